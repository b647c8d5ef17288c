// Verifying a five-axis posting, against making it.
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/verifier/posting_verifier.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

#include "bench/suites.h"
#include "bench/support.h"

namespace bench {

namespace {

// A spiral at a tilt that swings between 10 and 30 degrees; every block turns both axes.
TipAndAxis Spiral(int i) {
  const double turn = i * 0.5 * kDegree;
  return {{80 * std::cos(turn), 80 * std::sin(turn), -1e-5 * i},
          Direction((20 + 10 * std::sin(i * 0.001)) * kDegree, turn)};
}

// Sweeps of 40 degrees between source moves: thirteen lines of each fourteen are inserted.
TipAndAxis Sweep(int i) {
  return {{i * 0.5, 10.0 * (i % 2), 0}, Direction((10 + 40.0 * (i % 2)) * kDegree, 0.3)};
}

struct Sum : post::zvBlockSink {
  double tip = 0;
  void Take(const post::zvVerifiedBlock& block) override { tip += block.deviation.tip; }
};

struct Scene {
  post::zv5axMachDef machDef;
  post::zv5axControlDef control;
  post::zvKDRParam par{measures::zvUnitsFactory::metric};
  cadcam::zvTPoint3d<double> origin{10, 20, 30};
  double toolLength = 120;
  std::unique_ptr<zvPosted5axTPCreator> creator;
  std::unique_ptr<post::zvPostingVerifier> verifier;
  std::unique_ptr<cadcam::zvToolPath> path;
  TipAndAxis (*shape)(int) = nullptr;

  Scene() {
    machDef.SetFiveAxisKind(3);
    machDef.SetFirstRotationDirection({0.01, 0.02, 1});
    machDef.SetSecondRotationDirection({1, 0.015, -0.01});
    machDef.SetFirstRotationPivot({3, -4, 50});
    machDef.SetSecondRotationPivot({-2, 7, 20});
    machDef.SetMaxFirstAngle(1e9);  // the spiral winds up
    machDef.SetMinFirstAngle(-1e9);
    machDef.Normalize();
    creator = std::make_unique<zvPosted5axTPCreator>(machDef, control, par, origin, toolLength);
    verifier = std::make_unique<post::zvPostingVerifier>(machDef, control, origin, toolLength);
  }
  void Use(TipAndAxis (*at)(int), int moves) {
    creator->ClearPostedList();
    if (shape != at) path = std::make_unique<cadcam::zvToolPath>(MakePath(moves, at));
    shape = at;
  }
  void Post() { creator->Post(*path, true); }
  void Verify(post::zvBlockSink* sink) {
    const post::zvPostingVerdict verdict = verifier->Verify(*path, *creator->GetPostedList(), sink);
    if (!verdict.IsClean()) std::abort();
    Keep(&verdict);
  }
};

}  // namespace

void AddVerifier(Suite& suite) {
  const auto scene = std::make_shared<Scene>();
  struct Shape {
    const char* name;
    TipAndAxis (*at)(int);
    int moves;
  };
  // Either becomes a million lines.
  for (const Shape& shape : {Shape{"spiral", Spiral, kMillion}, Shape{"sweep", Sweep, 71429}}) {
    const std::string name = std::string("verify/").append(shape.name);
    const auto use = [scene, shape] { scene->Use(shape.at, shape.moves); };
    const auto posted = [scene, use] {
      use();
      scene->Post();
    };
    suite.cases.push_back({name + "/post/1M", 1e6, [scene] { scene->Post(); }, use});
    suite.cases.push_back({name + "/maxima/1M", 1e6, [scene] { scene->Verify(nullptr); }, posted});
    suite.cases.push_back({name + "/blocks/1M", 1e6,
                           [scene] {
                             Sum sum;
                             scene->Verify(&sum);
                             Keep(&sum);
                           },
                           posted});
    suite.goals.push_back({std::string("verifying over posting, small: ").append(shape.name),
                           name + "/maxima/1M", name + "/post/1M", 0.5});
  }
}

}  // namespace bench
