// The façade and the 6-axis creator, against the creators that do their work.
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>

#include "bench/suites.h"
#include "bench/support.h"

namespace bench {

namespace {

using Point = cadcam::zvTPoint3d<double>;

constexpr int kCalls = 100000;  // of PostMove

// A spiral about Z at a tilt of 20 degrees, half a degree a move.
TipAndAxis Spiral(int i) {
  const double turn = i * 0.5 * kDegree;
  return {{80 * std::cos(turn), 80 * std::sin(turn), -1e-5 * i}, Direction(20 * kDegree, turn)};
}

// The same in one orientation.
TipAndAxis Upright(int i) {
  return {Spiral(i).tip, {0, 0, 1}};
}

struct Scene {
  post::zv3axMachDef threeAxes;
  post::zv4axMachDef fourAxes;
  post::zv5axMachDef fiveAxes;
  post::zv6axMachDef sixAxes;
  post::zv5axControlDef control;
  post::zvKDRParam par{measures::zvUnitsFactory::metric};
  Point origin{10, 20, 30};
  double toolLength = 120;
  std::unique_ptr<zvKDR5AxBase> threeAxisFacade;
  std::unique_ptr<zvKDR5AxBase> fiveAxisFacade;
  std::unique_ptr<zvPosted3axTPCreator> threeAxisCreator;
  std::unique_ptr<zvPosted5axTPCreator> fiveAxisCreator;
  std::unique_ptr<zvPosted6axTPCreator> sixAxisCreator;

  Scene() {
    fourAxes.SetRotaryOnWorkpiece(1);
    fourAxes.SetRotationDirection({1, 0, 0});
    fiveAxes.SetFiveAxisKind(3);
    fiveAxes.SetFirstRotationDirection({0, 0, 1});
    fiveAxes.SetSecondRotationDirection({1, 0, 0});
    fiveAxes.SetSecondRotationPivot({-2, 7, 20});
    sixAxes.SetFirstOnWorkpiece(1);
    sixAxes.SetFirstRotationDirection({0, 0, 1});
    sixAxes.SetSecondRotationDirection({1, 0, 0});
    sixAxes.SetThirdRotationDirection({0, 1, 0});
    sixAxes.SetSecondRotationPivot({-2, 7, 20});
    Drop();
  }

  // Everything that a case left behind.
  void Drop() {
    const auto renew = [&]<class T>(std::unique_ptr<T>& p, const auto& machDef) {
      p = std::make_unique<T>(machDef, control, par, origin, toolLength);
    };
    renew(threeAxisFacade, threeAxes);
    renew(fiveAxisFacade, fiveAxes);
    renew(threeAxisCreator, threeAxes);
    renew(fiveAxisCreator, fiveAxes);
    renew(sixAxisCreator, sixAxes);
    TrimHeap();
  }

  const cadcam::zvToolPath& UprightPath() { return Built(m_upright, Upright); }
  const cadcam::zvToolPath& SpiralPath() { return Built(m_spiral, Spiral); }

 private:
  template <class At>
  static const cadcam::zvToolPath& Built(std::unique_ptr<cadcam::zvToolPath>& path, At at) {
    if (!path) path = std::make_unique<cadcam::zvToolPath>(MakePath(kMillion, at));
    return *path;
  }

  std::unique_ptr<cadcam::zvToolPath> m_upright;
  std::unique_ptr<cadcam::zvToolPath> m_spiral;
};

void PostMoves(const zvKDR5AxBase& facade, const cadcam::zvMovePointer& move) {
  for (int i = 0; i < kCalls; ++i) {
    const auto posted = facade.PostMove(move, post::zvPostedMove::noLink);
    Keep(posted.first.Get());
  }
}

template <class Run>
double Seconds(const Run& run) {
  const auto start = std::chrono::steady_clock::now();
  run();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct Bytes {
  double left;
  double peak;
};

// Resident bytes a move that `run` leaves behind, and that it takes at most.
template <class Run>
Bytes BytesOf(Scene& scene, const Run& run) {
  scene.Drop();
  const double before = ResidentBytes();
  ResetPeak();
  run();
  const Bytes bytes{(ResidentBytes() - before) / kMillion,
                    (PeakResidentBytes() - before) / kMillion};
  scene.Drop();
  return bytes;
}

}  // namespace

void AddFacade(Suite& suite) {
  const auto scene = std::make_shared<Scene>();
  const auto upright = [scene] {
    scene->Drop();
    scene->UprightPath();
  };
  const auto spiral = [scene] {
    scene->Drop();
    scene->SpiralPath();
  };

  suite.cases.push_back({"facade/3ax_creator/1M", 1e6,
                         [scene] { scene->threeAxisCreator->Post(scene->UprightPath(), false); },
                         upright});
  suite.cases.push_back({"facade/3ax_facade/1M", 1e6,
                         [scene] { scene->threeAxisFacade->Post(scene->UprightPath()); }, upright});
  suite.cases.push_back({"facade/5ax_creator/1M", 1e6,
                         [scene] { scene->fiveAxisCreator->Post(scene->SpiralPath(), false); },
                         spiral});
  suite.cases.push_back({"facade/5ax_facade/1M", 1e6,
                         [scene] { scene->fiveAxisFacade->Post(scene->SpiralPath()); }, spiral});
  suite.cases.push_back({"facade/5ax_small/1M", 1e6,
                         [scene] { scene->fiveAxisCreator->Post(scene->SpiralPath(), true); },
                         spiral});
  suite.cases.push_back({"facade/6ax_small/1M", 1e6,
                         [scene] { scene->sixAxisCreator->Post(scene->SpiralPath(), true); },
                         spiral});
  const auto move =
      misc::MakeAutoPointer<cadcam::zv3axMove>(Point{1, 2, 3}, Point{0, 0, 1}, 1000.0, false);
  const auto single = [&](const char* name, const post::zvMachDef& machDef) {
    suite.cases.push_back(
        {name, 1.0 * kCalls, [scene, &machDef, move] {
           PostMoves({machDef, scene->control, scene->par, scene->origin, scene->toolLength}, move);
         }});
  };
  single("facade/post_move_3ax", scene->threeAxes);
  single("facade/post_move_4ax", scene->fourAxes);
  single("facade/post_move_5ax", scene->fiveAxes);
  single("facade/post_move_6ax", scene->sixAxes);

  suite.goals.push_back(
      {"facade over the creator, 5 axes", "facade/5ax_facade/1M", "facade/5ax_creator/1M", 2});
  suite.goals.push_back({"6-axis posting over a 5-axis one, small", "facade/6ax_small/1M",
                         "facade/5ax_small/1M", 1.6});
  const auto overTheList = [scene](const auto& prepare, const auto& post,
                                   const auto& postByFacade) {
    double list = 1;
    double facade = 1;
    for (int i = 0; i < 5; ++i) {
      prepare();
      list = std::min(list, Seconds(post));
      prepare();
      facade = std::min(facade, Seconds(postByFacade));
    }
    scene->Drop();
    return (facade - list) / kMillion * 1e9;
  };
  suite.figures.push_back(
      {"3 axes: facade's result over the list, ns a move over 260",
       [=] {
         return overTheList(
                    upright, [&] { scene->threeAxisCreator->Post(scene->UprightPath(), false); },
                    [&] { scene->threeAxisFacade->Post(scene->UprightPath()); }) /
                260;
       },
       1});
  suite.figures.push_back(
      {"5 axes: facade's result over the list, ns a move over 260",
       [=] {
         return overTheList(
                    spiral, [&] { scene->fiveAxisCreator->Post(scene->SpiralPath(), false); },
                    [&] { scene->fiveAxisFacade->Post(scene->SpiralPath()); }) /
                260;
       },
       1});
  const auto facadeBytes = [scene] {
    const auto& path = scene->SpiralPath();
    return BytesOf(*scene, [&] { scene->fiveAxisFacade->Post(path); });
  };
  suite.figures.push_back({"bytes a move of the facade's result over 320",
                           [=] { return facadeBytes().left / 320; }, 1});
  // What the work takes beside the result, a list of the creator's at first, is let go meanwhile.
  suite.figures.push_back({"peak bytes of the facade's posting over its result",
                           [=] {
                             const Bytes bytes = facadeBytes();
                             return bytes.peak / bytes.left;
                           },
                           1.1});
  suite.figures.push_back({"peak bytes of a 6-axis posting over its list",
                           [scene] {
                             const auto& path = scene->SpiralPath();
                             const Bytes bytes =
                                 BytesOf(*scene, [&] { scene->sixAxisCreator->Post(path, true); });
                             return bytes.peak / bytes.left;
                           },
                           1.1});
}

}  // namespace bench
