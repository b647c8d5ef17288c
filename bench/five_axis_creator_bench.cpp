// The five-axis solve and whole postings, against the closed form alone and a plain append.
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/passes/angle_jumps.h>
#include <kandrel/post/passes/move_times.h>
#include <kandrel/post/passes/winding.h>

#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/closed_form_solve.h"
#include "bench/plain_append.h"
#include "bench/suites.h"
#include "bench/support.h"

namespace bench {

namespace {

using Point = cadcam::zvTPoint3d<double>;
using Move = post::zvPosted5axMove;
using List = zvPosted5axTPCreator::List;

// A spiral at a tilt that swings between 10 and 30 degrees, with one turn every 720 moves.
TipAndAxis Spiral(int i) {
  const double turn = i * 0.5 * kDegree;
  return {{80 * std::cos(turn), 80 * std::sin(turn), -1e-5 * i},
          Direction((20 + 10 * std::sin(i * 0.001)) * kDegree, turn)};
}

// The same with a passage through the pole of a machine of plain axes in each turn of 720 moves.
TipAndAxis SpiralThroughPole(int i) {
  TipAndAxis at = Spiral(i);
  const int phase = i % 720;
  if (phase >= 700) at.axis = Direction(std::fabs(710 - phase) * kDegree, at.axis.x);
  return at;
}

// A screw of 10,000 turns over 1,000,000 moves, and a path of the same steps that turns to and fro.
TipAndAxis Screw(int i) {
  const double turn = i * 3.6 * kDegree;
  return {{20 * std::cos(turn), 20 * std::sin(turn), -1e-4 * i}, Direction(40 * kDegree, turn)};
}

TipAndAxis ToAndFro(int i) {
  const int phase = i % 80;
  return Screw(phase < 40 ? phase : 80 - phase);
}

// Sweeps of 40 degrees between source moves, of which interpolation makes steps below 3.
TipAndAxis Sweep(int i) {
  return {{i * 0.5, 10.0 * (i % 2), 0}, Direction((10 + 40.0 * (i % 2)) * kDegree, 0.3)};
}

// One move so long that interpolation by distance cuts it into `pieces`, with a turn on the way.
cadcam::zvToolPath LongMove(int pieces) {
  return MakePath(2, [pieces](int i) {
    return TipAndAxis{{1.0 * i * pieces, 0, 0}, Direction((10 + 10.0 * i) * kDegree, 0.3)};
  });
}

struct Scene {
  // General directions and pivots.
  post::zv5axMachDef machDef;
  post::zv5axControlDef control;
  post::zvKDRParam par{measures::zvUnitsFactory::metric};
  Point origin{10, 20, 30};
  double toolLength = 120;
  post::zvKDRParam longStepPar = par;
  post::zvKDRParam byDistancePar = par;
  std::unique_ptr<zvPosted5axTPCreator> creator;
  std::unique_ptr<zvPosted5axTPCreator> longSteps;
  std::unique_ptr<zvPosted5axTPCreator> byDistance;
  std::unique_ptr<zvPosted5axTPCreator> plainAxes;
  std::unique_ptr<post::zv5axMoveSolver> solver;
  std::unique_ptr<ClosedFormSolve> closedForm;
  misc::zvMemoryPoolProvider provider;
  std::unique_ptr<List> list;
  std::vector<Point> vectors;

  Scene() {
    longStepPar.SetMaxAngleStep(5);
    byDistancePar.SetInterpolateByDistance(true);
    byDistancePar.SetInterpolationDistance(1);
    machDef.SetFiveAxisKind(3);
    machDef.SetFirstRotationDirection({0.01, 0.02, 1});
    machDef.SetSecondRotationDirection({1, 0.015, -0.01});
    machDef.SetFirstRotationPivot({3, -4, 50});
    machDef.SetSecondRotationPivot({-2, 7, 20});
    machDef.Normalize();
    creator = std::make_unique<zvPosted5axTPCreator>(machDef, control, par, origin, toolLength);
    post::zv5axMachDef plain = machDef;
    plain.SetFirstRotationDirection({0, 0, 1});
    plain.SetSecondRotationDirection({1, 0, 0});
    plainAxes = std::make_unique<zvPosted5axTPCreator>(plain, control, par, origin, toolLength);
    byDistance =
        std::make_unique<zvPosted5axTPCreator>(machDef, control, byDistancePar, origin, toolLength);
    solver = std::make_unique<post::zv5axMoveSolver>(machDef, par, origin, toolLength);
    closedForm = std::make_unique<ClosedFormSolve>(
        machDef.GetFirstRotationDirection(), machDef.GetSecondRotationDirection(),
        machDef.GetSpindleDirection(), machDef.GetFirstRotationPivot(),
        machDef.GetSecondRotationPivot(), origin, toolLength);
    for (int i = 0; i < kMillion; ++i) {
      const double u = std::fmod(i * 0.6180339887498949, 1.0);
      vectors.push_back(Direction((5 + 75 * u) * kDegree, i * 2.399963));
    }
  }

  using Shape = TipAndAxis (*)(int);
  const cadcam::zvToolPath& Path(Shape shape, int moves) {
    auto& path = m_paths[{shape, moves}];
    if (!path) path = std::make_unique<cadcam::zvToolPath>(MakePath(moves, shape));
    return *path;
  }

  void Drop() {
    list.reset();
    longSteps.reset();
    byDistance->ClearPostedList();
    plainAxes->ClearPostedList();
    creator->ClearPostedList();
  }

 private:
  std::map<std::pair<Shape, int>, std::unique_ptr<cadcam::zvToolPath>> m_paths;
};

void SolveByYardstick(const Scene& scene) {
  double sum = 0;
  for (const Point& v : scene.vectors) {
    const auto r = scene.closedForm->Solve(v * 50, v);
    sum += r.firstPlus + r.secondMinus + r.plus.x + r.minus.z;
  }
  Keep(&sum);
}

void SolveBySolver(const Scene& scene) {
  const auto cone = scene.solver->MakePoleCone();
  double sum = 0;
  for (const Point& v : scene.vectors) {
    const auto r = scene.solver->SolveAngles(v * 50, v, cone, 0);
    sum += r.first.firstAngle + r.mirror.secondAngle + r.first.position.x + r.mirror.position.z;
  }
  Keep(&sum);
}

// The floor of a posting: the closed form and a plain append of its record.
void SolveAndAppendPlainly(Scene& scene, PlainAppend& append, const cadcam::zvToolPath& path) {
  Move* last = nullptr;
  ForEachMove(path, [&](const cadcam::zvCNCMove& move) {
    const Point& p = move.GetPosition();
    const Point& t = move.GetOrientation();
    const auto r = scene.closedForm->Solve(p, t);
    // Small moves own nothing: they need no destructor.
    last = ::new (append.Next()) Move(r.plus, p, t, r.firstPlus, r.secondPlus, 0u, move.GetFeed(),
                                      move.IsRapid(), post::zvPostedMove::noLink);
  });
  Keep(last);
}

// The same with the list of the library.
void SolveAndAppend(Scene& scene, const cadcam::zvToolPath& path) {
  scene.list = std::make_unique<List>(scene.provider);
  ForEachMove(path, [&](const cadcam::zvCNCMove& move) {
    const Point& p = move.GetPosition();
    const Point& t = move.GetOrientation();
    const auto r = scene.closedForm->Solve(p, t);
    scene.list->EmplaceBack(r.plus, p, t, r.firstPlus, r.secondPlus, 0u, move.GetFeed(),
                            move.IsRapid(), post::zvPostedMove::noLink);
  });
  Keep(&scene.list->Back());
}

// The yardstick of a pass: reads and writes each move of a list.
void TouchEachMove(List& list) {
  double last = 0;
  for (Move& move : list) {
    move.SetMoveTime(last);
    last = move.GetPartPosition().x;
  }
  Keep(&last);
}

}  // namespace

void AddFiveAxisCreator(Suite& suite) {
  const auto scene = std::make_shared<Scene>();
  const auto path = [scene](Scene::Shape shape, int moves) {
    return [scene, shape, moves] {
      scene->Drop();
      scene->Path(shape, moves);
    };
  };
  const auto post = [scene](Scene::Shape shape, int moves) {
    return [scene, shape, moves] { scene->creator->Post(scene->Path(shape, moves), true); };
  };
  const auto fill = [scene](int moves) {
    return [scene, moves] {
      scene->Drop();
      SolveAndAppend(*scene, scene->Path(SpiralThroughPole, moves));
    };
  };

  suite.cases.push_back({"5ax/closed_form/1M", 1e6, [scene] { SolveByYardstick(*scene); }});
  suite.cases.push_back({"5ax/solve/1M", 1e6, [scene] { SolveBySolver(*scene); }});
  const auto append = std::make_shared<PlainAppend>(List::kNodeSize);
  suite.cases.push_back(
      {"5ax/closed_form_append/1M", 1e6,
       [scene, append] { SolveAndAppendPlainly(*scene, *append, scene->Path(Spiral, kMillion)); },
       [scene, append, path] {
         append->Clear();
         path(Spiral, kMillion)();
       }});
  suite.cases.push_back({"5ax/post_small/1M", 1e6, post(Spiral, kMillion), path(Spiral, kMillion)});
  for (const auto& [name, moves] :
       {std::pair("5ax/post_poles/1M", kMillion), std::pair("5ax/post_poles/10M", 10 * kMillion)})
    suite.cases.push_back({name, 1.0 * moves,
                           [scene, moves = moves] {
                             scene->plainAxes->Post(scene->Path(SpiralThroughPole, moves), true);
                           },
                           path(SpiralThroughPole, moves)});
  // Half-degree steps, of which a hundredth is held without a line more.
  const auto postWithin = [scene](Scene::Shape shape, int moves, double tip) {
    return [=] {
      scene->creator->SetPathTolerance({tip, 0.1});
      scene->creator->Post(scene->Path(shape, moves), true);
      scene->creator->SetPathTolerance({});
    };
  };
  suite.cases.push_back({"5ax/post_within_loosely/1M", 1e6, postWithin(Spiral, kMillion, 0.01),
                         path(Spiral, kMillion)});
  // A hundredth takes 73 lines for 40 degrees at these arms: 13,700 moves become a million.
  suite.cases.push_back(
      {"5ax/post_within/1M", 1e6, postWithin(Sweep, 13700, 0.01), path(Sweep, 13700)});
  // Steps of 3.6 degrees are left as they are, so that both have a million posted moves.
  const auto postWithLongSteps = [scene](Scene::Shape shape) {
    return [=] {
      scene->longSteps = std::make_unique<zvPosted5axTPCreator>(
          scene->machDef, scene->control, scene->longStepPar, scene->origin, scene->toolLength);
      scene->longSteps->Post(scene->Path(shape, kMillion), true);
    };
  };
  suite.cases.push_back(
      {"5ax/to_and_fro/1M", 1e6, postWithLongSteps(ToAndFro), path(ToAndFro, kMillion)});
  suite.cases.push_back({"5ax/screw/1M", 1e6, postWithLongSteps(Screw), path(Screw, kMillion)});
  // 40 degrees at 3 degrees a step give 13 moves between two, so that 71,429 become a million.
  suite.cases.push_back({"5ax/sweep/1M", 1e6, post(Sweep, 71429), path(Sweep, 71429)});
  suite.cases.push_back(
      {"5ax/pass/1M", 1e6, [scene] { TouchEachMove(*scene->list); }, fill(kMillion)});
  for (const int millions : {1, 10}) {
    const int moves = millions * kMillion;
    suite.cases.push_back({millions == 1 ? "5ax/winding/1M" : "5ax/winding/10M", 1.0 * moves,
                           [scene] { post::CalcWindedAngles(*scene->list); }, fill(moves)});
  }
  for (const auto& [name, pieces] :
       {std::pair("5ax/thinning/100k", kMillion / 10), std::pair("5ax/thinning/1M", kMillion)})
    suite.cases.push_back(
        {name, 1.0 * pieces,
         [scene, pieces = pieces] { scene->byDistance->Post(LongMove(pieces), true); },
         [scene] { scene->Drop(); }});
  suite.cases.push_back({"5ax/jumps/1M", 1e6,
                         [scene] {
                           post::HandleLargeAngleJumps(*scene->list, 180, 120,
                                                       [](const Move& move) { return move; });
                         },
                         [scene, fill] {
                           fill(kMillion)();
                           post::CalcWindedAngles(*scene->list);
                         }});
  suite.cases.push_back(
      {"5ax/times/1M", 1e6, [scene] { post::ComputeMoveTimes(*scene->list); }, fill(kMillion)});

  suite.goals.push_back(
      {"solve, small, over the closed form", "5ax/solve/1M", "5ax/closed_form/1M", 1.3});
  suite.goals.push_back({"post 1M, small, over closed form and append", "5ax/post_small/1M",
                         "5ax/closed_form_append/1M", 1.5});
  suite.goals.push_back({"post 1M within a tolerance that inserts nothing over the plain posting",
                         "5ax/post_within_loosely/1M", "5ax/post_small/1M", 1.3});
  suite.goals.push_back({"sweep held to a tolerance, per line, over its solves",
                         "5ax/post_within/1M", "5ax/closed_form/1M", 8});
  suite.goals.push_back({"post 10M over post 1M, with poles, whole time", "5ax/post_poles/10M",
                         "5ax/post_poles/1M", 10.5, true});
  suite.goals.push_back(
      {"screw of 10,000 turns over a path without", "5ax/screw/1M", "5ax/to_and_fro/1M", 1.3});
  suite.goals.push_back(
      {"sweep interpolated to 1M over its solves", "5ax/sweep/1M", "5ax/closed_form/1M", 2.5});
  for (const char* pass : {"5ax/winding/1M", "5ax/jumps/1M", "5ax/times/1M"})
    suite.goals.push_back(
        {std::string("pass over the list: ").append(pass), pass, "5ax/pass/1M", 1.5});
  suite.goals.push_back({"interpolation of one move, thinned, per piece at 10 times the length",
                         "5ax/thinning/1M", "5ax/thinning/100k", 1.1});
  suite.goals.push_back(
      {"winding, per move at 10 times the length", "5ax/winding/10M", "5ax/winding/1M", 1.1});

  suite.instructionGoals.push_back(
      {"thinning, per piece at 10 times the length", "5ax/thinning/1M", "5ax/thinning/100k", 1.1});
  suite.instructionGoals.push_back(
      {"solve, small, over the closed form", "5ax/solve/1M", "5ax/closed_form/1M", 1.3});
  suite.instructionGoals.push_back(
      {"post, small, over the closed form", "5ax/post_small/1M", "5ax/closed_form/1M", 1.6});

  suite.figures.push_back({"bytes a move of a small list over 168.5",
                           [scene] {
                             scene->Drop();
                             const auto& source = scene->Path(Spiral, kMillion);
                             const double before = ResidentBytes();
                             SolveAndAppend(*scene, source);
                             const double bytes = (ResidentBytes() - before) / 1e6;
                             scene->Drop();
                             return bytes / 168.5;
                           },
                           1});
  suite.figures.push_back({"peak bytes a move of a posting over 193",
                           [scene] {
                             scene->Drop();
                             const auto& source = scene->Path(Spiral, kMillion);
                             const double before = ResidentBytes();
                             ResetPeak();
                             scene->creator->Post(source, true);
                             const double bytes = (PeakResidentBytes() - before) / 1e6;
                             scene->Drop();
                             return bytes / 193;
                           },
                           1});
}

}  // namespace bench
