// Whole 4-axis postings, against the closed form alone and a plain append; and lists of small and
// extended moves.
#include <kandrel/post/creators/four_axis_creator.h>

#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "bench/closed_form_solve.h"
#include "bench/plain_append.h"
#include "bench/suites.h"
#include "bench/support.h"

namespace bench {

namespace {

using Point = cadcam::zvTPoint3d<double>;
using Move = post::zvPosted4axMove;
using List = zvPosted4axTPCreator::List;

// The tool of a machine whose axis stands at 80 degrees to the spindle, by half a degree a move:
// one turn every 720 moves.
constexpr double kOpening = 80 * kDegree;

Point OnCone(double turn) {
  // The axis is tilted from Z by the opening in the XZ plane; its cone holds Z.
  const Point a = Direction(kOpening, 0);
  const Point z{0, 0, 1};
  return z * std::cos(turn) + Cross(a, z) * std::sin(turn) + a * (Dot(a, z) * (1 - std::cos(turn)));
}

TipAndAxis Spiral(int i) {
  const double turn = i * 0.5 * kDegree;
  return {{1e-4 * i, 80 * std::cos(turn), 80 * std::sin(turn)}, OnCone(turn)};
}

// Source moves 40 degrees apart, of which interpolation makes steps below 3.
TipAndAxis Sweep(int i) {
  return {{i * 0.5, 10.0 * (i % 2), 0}, OnCone((10 + 40.0 * (i % 2)) * kDegree)};
}

struct Scene {
  post::zv4axMachDef machDef;
  post::zv5axControlDef control;
  post::zvKDRParam par{measures::zvUnitsFactory::metric};
  Point origin{10, 20, 30};
  double toolLength = 120;
  std::unique_ptr<zvPosted4axTPCreator> creator;
  std::unique_ptr<zvPosted4axTPCreator> rewinding;
  std::unique_ptr<zvPosted4axTPCreator> held;  // to a tolerance
  post::zvKDRParam rewindingPar = par;
  std::unique_ptr<ClosedFormFourAxisSolve> closedForm;
  misc::zvMemoryPoolProvider provider;
  std::unique_ptr<List> list;

  Scene() {
    machDef.SetRotaryOnWorkpiece(1);
    machDef.SetRotationDirection(Direction(kOpening, 0));
    machDef.SetRotationPivot({3, -4, 50});
    machDef.Normalize();
    creator = std::make_unique<zvPosted4axTPCreator>(machDef, control, par, origin, toolLength);
    post::zv4axMachDef limited = machDef;
    limited.SetMinAngle(-3600);
    limited.SetMaxAngle(3600);
    rewindingPar.SetLimitsCheck(post::zvKDRParam::checkAllAxes);
    rewinding =
        std::make_unique<zvPosted4axTPCreator>(limited, control, rewindingPar, origin, toolLength);
    held = std::make_unique<zvPosted4axTPCreator>(machDef, control, par, origin, toolLength);
    closedForm = std::make_unique<ClosedFormFourAxisSolve>(
        machDef.GetRotationDirection(), machDef.GetSpindleDirection(), machDef.GetRotationPivot(),
        origin, toolLength);
  }

  using Shape = TipAndAxis (*)(int);
  const cadcam::zvToolPath& Path(Shape shape, int moves) {
    auto& path = m_paths[{shape, moves}];
    if (!path) path = std::make_unique<cadcam::zvToolPath>(MakePath(moves, shape));
    return *path;
  }

  void Drop() {
    list.reset();
    creator->ClearPostedList();
    rewinding->ClearPostedList();
    held->ClearPostedList();
  }

 private:
  std::map<std::pair<Shape, int>, std::unique_ptr<cadcam::zvToolPath>> m_paths;
};

void SolveByYardstick(Scene& scene) {
  double sum = 0;
  ForEachMove(scene.Path(Spiral, kMillion), [&](const cadcam::zvCNCMove& move) {
    const auto r = scene.closedForm->Solve(move.GetPosition(), move.GetOrientation());
    sum += r.deg + r.position.x;
  });
  Keep(&sum);
}

// The floor of a posting: the closed form and a plain append of its record.
void SolveAndAppendPlainly(Scene& scene, PlainAppend& append) {
  Move* last = nullptr;
  ForEachMove(scene.Path(Spiral, kMillion), [&](const cadcam::zvCNCMove& move) {
    const Point& p = move.GetPosition();
    const Point& t = move.GetOrientation();
    const auto r = scene.closedForm->Solve(p, t);
    // Small moves own nothing: they need no destructor.
    last = ::new (append.Next())
        Move(r.position, p, t, r.deg, move.GetFeed(), move.IsRapid(), post::zvPostedMove::noLink);
  });
  Keep(last);
}

// The floor of a list: a plain append of a million small records that are all alike.
void AppendPlainly(PlainAppend& append) {
  const Point p{1, 2, 3};
  Move* last = nullptr;
  for (int i = 0; i < kMillion; ++i)
    last = ::new (append.Next()) Move(p, p, p, 1.0, 2.0, false, post::zvPostedMove::noLink);
  Keep(last);
}

// A list of a million moves that are all alike.
void Append(Scene& scene, bool smallMoves) {
  scene.list = std::make_unique<List>(scene.provider);
  const Point p{1, 2, 3};
  for (int i = 0; i < kMillion; ++i) {
    if (smallMoves)
      scene.list->EmplaceBack(p, p, p, 1.0, 2.0, false, post::zvPostedMove::noLink);
    else
      scene.list->EmplaceBack(p, p, p, 1.0, 2.0, false, post::zvPostedMove::noLink, p, p, 0u, false,
                              i, false);
  }
  Keep(&scene.list->Back());
}

// Resident bytes a move of what `fill` leaves behind.
template <class Fill>
double BytesAMove(Scene& scene, const Fill& fill) {
  scene.Drop();
  const double before = ResidentBytes();
  fill();
  const double bytes = (ResidentBytes() - before) / kMillion;
  scene.Drop();
  return bytes;
}

}  // namespace

void AddFourAxisCreator(Suite& suite) {
  const auto scene = std::make_shared<Scene>();
  const auto path = [scene](Scene::Shape shape, int moves) {
    return [scene, shape, moves] {
      scene->Drop();
      scene->Path(shape, moves);
    };
  };
  const auto post = [scene](Scene::Shape shape, int moves, bool smallMoves) {
    return [=] { scene->creator->Post(scene->Path(shape, moves), smallMoves); };
  };
  const auto postWithin = [scene](Scene::Shape shape, int moves, double tip, double axis) {
    return [=] {
      scene->held->SetPathTolerance({tip, axis});
      scene->held->Post(scene->Path(shape, moves), true);
    };
  };
  const auto add = [&suite](const char* name, int moves, std::function<void()> run,
                            std::function<void()> prepare) {
    suite.cases.push_back({name, 1.0 * moves, std::move(run), std::move(prepare)});
  };

  const auto append = std::make_shared<PlainAppend>(List::kNodeSize);
  add(
      "4ax/closed_form/1M", kMillion, [scene] { SolveByYardstick(*scene); },
      path(Spiral, kMillion));
  add(
      "4ax/closed_form_append/1M", kMillion,
      [scene, append] { SolveAndAppendPlainly(*scene, *append); },
      [append, path] {
        append->Clear();
        path(Spiral, kMillion)();
      });
  add("4ax/post_small/1M", kMillion, post(Spiral, kMillion, true), path(Spiral, kMillion));
  add("4ax/post_small/10M", 10 * kMillion, post(Spiral, 10 * kMillion, true),
      path(Spiral, 10 * kMillion));
  add("4ax/post_extended/1M", kMillion, post(Spiral, kMillion, false), path(Spiral, kMillion));
  // With a rewinding every 20 turns of 720 moves, of 2,400 moves each.
  add(
      "4ax/post_rewound/1M", kMillion,
      [scene] { scene->rewinding->Post(scene->Path(Spiral, kMillion), true); },
      path(Spiral, kMillion));
  // 40 degrees at 3 degrees a step give 13 moves between two, so that 71,429 become a million.
  add("4ax/sweep/1M", kMillion, post(Sweep, 71429, true), path(Sweep, 71429));
  // Half a degree at 80 from the axis leaves 8e-4, and the cone its arc by 1e-4 degrees.
  add("4ax/within_tolerance/1M", kMillion, postWithin(Spiral, kMillion, 0.01, 0.1),
      path(Spiral, kMillion));
  // 3 degrees leave 0.1 or more there; 0.01 asks for 51 lines a step, to 0.97 million.
  add("4ax/sweep_to_tolerance/1M", kMillion, postWithin(Sweep, 19000, 0.01, 45),
      path(Sweep, 19000));
  add(
      "4ax/plain_append/1M", kMillion, [append] { AppendPlainly(*append); },
      [append, scene] {
        scene->Drop();
        append->Clear();
      });
  for (const bool smallMoves : {true, false})
    add(
        smallMoves ? "4ax/append_small/1M" : "4ax/append_extended/1M", kMillion,
        [scene, smallMoves] { Append(*scene, smallMoves); }, [scene] { scene->Drop(); });

  suite.goals.push_back({"4 axes: post 1M, small, over closed form and append", "4ax/post_small/1M",
                         "4ax/closed_form_append/1M", 1.5});
  suite.goals.push_back({"4 axes: post 10M over post 1M, with windings, whole time",
                         "4ax/post_small/10M", "4ax/post_small/1M", 10.5, true});
  suite.goals.push_back({"4 axes: extended list, over a plain append of small moves",
                         "4ax/append_extended/1M", "4ax/plain_append/1M", 1.6});
  suite.goals.push_back(
      {"4 axes: extended list over small", "4ax/append_extended/1M", "4ax/append_small/1M", 1.6});
  suite.goals.push_back(
      {"4 axes: post, extended over small", "4ax/post_extended/1M", "4ax/post_small/1M", 1.6});
  suite.goals.push_back({"4 axes: post with rewindings over without", "4ax/post_rewound/1M",
                         "4ax/post_small/1M", 2.5});

  suite.goals.push_back({"4 axes: post to a tolerance that needs no line, over post",
                         "4ax/within_tolerance/1M", "4ax/post_small/1M", 1.3});

  suite.instructionGoals.push_back({"4 axes: post, small, over the closed form",
                                    "4ax/post_small/1M", "4ax/closed_form/1M", 1.6});

  constexpr double kNode = List::kNodeSize;  // the record and its links
  suite.figures.push_back(
      {"4 axes: bytes a move of a small list over record and links",
       [scene] { return BytesAMove(*scene, [&] { Append(*scene, true); }) / kNode; }, 1.01});
  suite.figures.push_back(
      {"4 axes: bytes a move of an extended list over 249",
       [scene] { return BytesAMove(*scene, [&] { Append(*scene, false); }) / 249; }, 1});
  suite.figures.push_back({"4 axes: peak of a posting over record, links and 25 bytes",
                           [scene, post] {
                             scene->Drop();
                             scene->Path(Spiral, kMillion);
                             const double before = ResidentBytes();
                             ResetPeak();
                             post(Spiral, kMillion, true)();
                             const double bytes = (PeakResidentBytes() - before) / kMillion;
                             scene->Drop();
                             return bytes / (kNode + 25);
                           },
                           1});
}

}  // namespace bench
