#include <kandrel/misc/angles.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/geometry/solution_choice.h>
#include <kandrel/post/geometry/tool_leap.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/control_limits.h>
#include <kandrel/post/passes/five_axis_limits.h>
#include <kandrel/post/passes/five_axis_list_builder.h>
#include <kandrel/post/passes/move_times.h>
#include <kandrel/post/passes/path_reader.h>
#include <kandrel/post/passes/pole_blending.h>
#include <kandrel/post/passes/repair_machine.h>
#include <kandrel/post/passes/step_division.h>
#include <kandrel/post/passes/winding.h>

#include <algorithm>
#include <cmath>

using post::zv5axMachDef;
using post::zv5axMoveSolver;
using post::zvKDRParam;
using post::zvLimitType;
using post::zvPosted5axMove;
using post::zvPostException;
using Point = cadcam::zvTPoint3d<double>;

zvPosted5axTPCreator::~zvPosted5axTPCreator() = default;

const zv5axMachDef& zvPosted5axTPCreator::AsOwnClass(const post::zvMachDef& machDef) {
  return post::zvMachDefUtils::As5ax(machDef);
}

zv5axMoveSolver zvPosted5axTPCreator::MakeSolver(const zv5axMachDef& machDef, const zvKDRParam& par,
                                                 const Point& partOrigin,
                                                 double toolLengthCompensation) {
  return {machDef, par, partOrigin, toolLengthCompensation};
}

zvPosted5axTPCreator::ListPointer zvPosted5axTPCreator::Post(const cadcam::zvToolPath& toolpath,
                                                             bool smallMoves) {
  return PostPolled(toolpath, [&] { return PostAll(toolpath, smallMoves); });
}

zvPosted5axTPCreator::ListPointer zvPosted5axTPCreator::PostAll(const cadcam::zvToolPath& toolpath,
                                                                bool smallMoves) {
  if (!StartPosting(toolpath)) return m_posted.Get();
  RequireFiniteSetup();
  RequireFinitePreferredAngle();
  try {
    RunPasses(toolpath, smallMoves);
  } catch (const misc::zvException&) {
    if (Polling().HasStopped()) throw;
    // What is wrong with the toolpath as such, wherever it stands, is reported before what goes
    // wrong in posting it, and leaves the list empty.
    try {
      CheckMoves(toolpath);
    } catch (...) {
      m_posted.Clear();
      throw;
    }
    throw;
  }
  return m_posted.Get();
}

// What holds the posting to its tolerance, where there is one.
std::optional<post::zv5axPathKeeper> zvPosted5axTPCreator::MakeKeeper(
    const cadcam::zvToolPath& toolpath, bool smallMoves) const {
  if (!GetPathTolerance().IsOn()) return std::nullopt;
  const auto reach = [&] {
    double most = 0;
    post::zvPathReader reader(toolpath, GetAlignMatrix(), Polling().Get());
    while (reader.Next()) {
      const Point& p = reader.GetMove().GetPosition();
      most = std::max({most, std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
    }
    return most;
  };
  return std::optional<post::zv5axPathKeeper>(std::in_place, m_solver, GetPathTolerance(),
                                              GetPartOrigin(), GetToolLengthCompensationValue(),
                                              smallMoves, reach);
}

// All blocks of a list to which nothing was done are known to hold the tolerance.
void zvPosted5axTPCreator::ReportTolerance(post::zv5axPathKeeper& keeper) {
  Polling().Enter(misc::zvProgress::kTolerance);
  if (keeper.HasLeftTurns() || m_counts.largeJumps != 0 || m_counts.rewindings != 0)
    SetToleranceReport(keeper.Report(*m_posted.Get()));
}

// The passes in their order: those of docs/architecture.md.
void zvPosted5axTPCreator::RunPasses(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  using Stage = misc::zvProgress::Stage;
  Polling().Enter(Stage::kExamining, GetPathTolerance().IsOn() ? 2 : 1);
  if (IsToolpathFor3AxisMachine(toolpath)) return PostStanding(toolpath, smallMoves);
  PostInAttempts([&](Attempt attempt) {
    List& list = *m_posted.Get();
    std::optional<post::zv5axPathKeeper> tolerance = MakeKeeper(toolpath, smallMoves);
    post::zv5axPathKeeper* const keeper = tolerance ? &*tolerance : nullptr;
    Polling().Enter(Stage::kSolving);
    const bool mayHavePoles = BuildPostedMoves(toolpath, smallMoves, keeper);
    Polling().Enter(Stage::kPoles, 2);
    post::WrapIntoRanges(list, post::RotaryRangesOf(m_machDef));
    SettleFirstMoves();
    if (mayHavePoles && keeper == nullptr) BlendPoles();
    Polling().Enter(Stage::kWinding);
    const double largestStep = post::CalcWindedAngles(list);
    if (keeper != nullptr && keeper->HasLeftTurns())
      m_counts.blendedPoles =
          post::SpreadPoleTurns(list, GetPar(), m_solver, keeper->GetPoleCone());
    Polling().Enter(Stage::kJumps);
    MakeJumps(largestStep, smallMoves);
    Polling().Enter(Stage::kTolerance);
    if (keeper != nullptr && keeper->HasLeftTurns()) keeper->Keep(list, GetPar().GetMaxAngleJump());
    Polling().Enter(Stage::kDividing);
    DivideLargeSteps(largestStep);
    Polling().Enter(Stage::kLimits, 2);
    // The second attempt is checked before its rewinding, the others with what theirs puts in.
    if (attempt == Attempt::kOtherSolution) CheckLinearLimits();
    const zvLimitType excess = KeepRotaryLimits(attempt, smallMoves, keeper);
    if (attempt == Attempt::kOwnSolution && !excess.IsNone()) return false;
    ExceedingLimit(excess);
    if (attempt != Attempt::kOtherSolution) CheckLinearLimits();
    if (keeper != nullptr) ReportTolerance(*keeper);
    return true;
  });
  Polling().Enter(Stage::kTimes);
  post::ComputeMoveTimes(*m_posted.Get());
  Polling().Enter(Stage::kControl, 2);
  post::ApplyControlLimitations(*m_posted.Get(), GetControlDef());
}

// Runs `passes` until the rotary limits are kept. They return true then, and false where another
// attempt may keep them; what the last attempts can't keep they throw.
template <class Passes>
void zvPosted5axTPCreator::PostInAttempts(const Passes& passes) {
  if (passes(Attempt::kOwnSolution)) return;
  const zvKDRParam::SolutionIndex own = GetPar().GetFirstMoveSolutionIndex();
  // The other first solution may have the room.
  Par().SetFirstMoveSolutionIndex(own == zvKDRParam::firstSolution ? zvKDRParam::mirrorSolution
                                                                   : zvKDRParam::firstSolution);
  m_posted.Clear();
  m_counts = {};
  try {
    passes(Attempt::kOtherSolution);
  } catch (const misc::zvOutOfMemory&) {
    throw;
  } catch (const misc::zvException&) {
    if (Polling().HasStopped() || !TryOwnBounds(passes, own)) throw;
  }
}

// Before a limit is reported, the posting starts once more from its own first solution, now with
// each axis measured for itself: the shared lower bound hides what a shift would mend. Where that
// fails too, all is as it was before.
template <class Passes>
bool zvPosted5axTPCreator::TryOwnBounds(const Passes& passes, zvKDRParam::SolutionIndex own) {
  const ListPointer list = m_posted.Get();
  const post::zvPostingCounts counts = m_counts;
  const zvKDRParam::SolutionIndex other = GetPar().GetFirstMoveSolutionIndex();
  const auto restore = [&] {
    m_posted.Get() = list;
    m_counts = counts;
    Par().SetFirstMoveSolutionIndex(other);
  };
  try {
    RenewList();
    m_counts = {};
    Par().SetFirstMoveSolutionIndex(own);
    passes(Attempt::kOwnBounds);
    return true;
  } catch (const misc::zvOutOfMemory&) {
    restore();
    throw;
  } catch (const misc::zvException&) {
    if (Polling().HasStopped()) {
      restore();
      throw;
    }
    // What the second attempt threw is what is reported.
  } catch (...) {
    restore();
    throw;
  }
  restore();
  return false;
}

// Returns whether the list may have poles to blend.
bool zvPosted5axTPCreator::BuildPostedMoves(const cadcam::zvToolPath& toolpath, bool smallMoves,
                                            post::zv5axPathKeeper* keeper) {
  post::zv5axListBuilder builder(*m_posted.Get(), m_solver, m_machDef, GetPar(), smallMoves,
                                 keeper);
  post::zvPathReader reader(toolpath, GetAlignMatrix(), Polling().Get());
  builder.AppendAll(reader);
  return builder.MayHavePoles();
}

// Moves on a pole at the very start take the angles of the first move that is determined.
void zvPosted5axTPCreator::SettleFirstMoves() {
  List& list = *m_posted.Get();
  const auto isDetermined = [](const Move& move) {
    return move.GetPoleStatus() == post::kDetermined;
  };
  misc::zvPolledEnd end(list, list.begin(), list.end());
  auto determined = list.begin();
  while (end.IsBefore(determined) && !isDetermined(*determined)) ++determined;
  if (determined == list.end()) return;
  misc::zvPolledEnd endOfFirst(list, list.begin(), determined);
  for (auto move = list.begin(); endOfFirst.IsBefore(move); ++move)
    m_solver.FixPoleAngle(*determined, *move);
}

void zvPosted5axTPCreator::BlendPoles() {
  m_counts.blendedPoles =
      post::BlendPoles(*m_posted.Get(), GetPar(), post::RotaryRangesOf(m_machDef), m_solver);
}

// A step that the interpolation could not divide, where limits make the machine change to its other
// solution, takes the tool off its way however small the turn. Such a step is made in the air as
// well, unless such repairs are switched off altogether. Two steps and the pole's tolerance are
// what a turn of the free axis may take it off when it leaves a pole.
post::zvJumpRules zvPosted5axTPCreator::JumpRules() const {
  post::zvJumpRules rules{GetPar().GetMaxAngleJump()};
  const double step = m_solver.GetParameters().GetMaxAngleStep();
  if (rules.maxAngleJump < misc::kFullTurnDeg / 2 && step > 0)
    rules.smallestLeap = 2 * step + std::max(m_solver.GetParameters().GetPoleAngleTolerance(),
                                             GetPar().GetPoleAngleTolerance());
  return rules;
}

void zvPosted5axTPCreator::MakeJumps(double largestStep, bool smallMoves) {
  const zv5axMoveSolver solver(m_machDef, GetPar(), GetPartOrigin(),
                               GetToolLengthCompensationValue());
  const post::zv5axRepairMachine machine(solver, m_machDef, GetPar(), smallMoves, m_counts);
  const post::zvJumpRules rules = JumpRules();
  m_counts.largeJumps = post::HandleLargeAngleJumps(
      *m_posted.Get(), largestStep, rules, [&](const Move& move) { return machine.Retract(move); },
      [&](const Move& from, const Move& to) {
        return post::LeavesItsWay(from, to, rules.smallestLeap, m_solver.GetKinematics());
      });
}

// By the steps that the solutions were made with.
void zvPosted5axTPCreator::DivideLargeSteps(double largestStep) {
  post::DivideLargeSteps(*m_posted.Get(), largestStep, m_solver.GetParameters(),
                         GetPar().GetMaxAngleJump(), m_solver.GetKinematics());
}

// Shifts or rewinds a list that is out of its rotary ranges, where these are checked, and divides
// what a rewinding has left large. Returns what is still out.
zvLimitType zvPosted5axTPCreator::KeepRotaryLimits(Attempt attempt, bool smallMoves,
                                                   post::zv5axPathKeeper* keeper) {
  using post::zvLowerBounds;
  zvLimitType excess;
  if (!post::ChecksRotaryAxes(GetPar().GetLimitsCheck())) return excess;
  post::zvLimitChecker checker(
      *m_posted.Get(), m_machDef, GetPartOrigin(), GetPar(), GetToolLengthCompensationValue(),
      attempt == Attempt::kOwnBounds ? zvLowerBounds::kOwn : zvLowerBounds::kShared);
  checker.CountInto(m_counts);
  checker.CheckRotaryWithRewind(excess, smallMoves);
  if (m_counts.rewindings == 0) return excess;
  // What is put in now must keep the limits as well.
  if (keeper != nullptr && keeper->Keep(*m_posted.Get(), GetPar().GetMaxAngleJump()) != 0)
    checker.RotaryExceeded(excess);
  DivideLargeSteps(misc::kNoValue);
  return excess;
}

void zvPosted5axTPCreator::RequireFinitePreferredAngle() const {
  const zvKDRParam& par = GetPar();
  const bool prefersAnAngle = par.GetFirstMoveRule() == zvKDRParam::byFirstAxis ||
                              par.GetFirstMoveRule() == zvKDRParam::bySecondAxis;
  if (par.GetFirstMoveByRule() && prefersAnAngle &&
      !std::isfinite(par.GetFirstMovePreferredAngle()))
    throw zvPostException(zvPostException::kInvalidVector);
}

zvPosted5axMove zvPosted5axTPCreator::SelectPostedMoveFirstTime(
    const post::zvSolutionPair& pair) const {
  return post::TakesMirrorFirst(post::SolutionsOf(pair), GetPar(), m_machDef)
             ? post::MirrorSolutionMove(pair)
             : post::FirstSolutionMove(pair);
}

post::zvSolutionPair zvPosted5axTPCreator::PostMove2(const cadcam::zvMovePointer& move,
                                                     Types type) const {
  post::zvSolutionPair pair = SolveMove(move, type);
  post::RequireNumbers(pair);
  return pair;
}

post::zvSolutionPair zvPosted5axTPCreator::SolveMove(const cadcam::zvMovePointer& move,
                                                     Types type) const {
  RequireFiniteSetup();
  return m_solver.Solve(move, type, 0, true, misc::kNoValue, false, 0);
}

std::pair<zvPosted5axMove, zvPosted5axMove> zvPosted5axTPCreator::PostMove(
    const cadcam::zvMovePointer& move, Types type) const {
  const post::zvSolutionPair pair = PostMove2(move, type);
  return {post::FirstSolutionMove(pair), post::MirrorSolutionMove(pair)};
}

std::pair<misc::zvAutoPointer<zvPosted5axMove>, misc::zvAutoPointer<zvPosted5axMove>>
zvPosted5axTPCreator::PostMoveWithinMachLimits(const cadcam::zvMovePointer& move,
                                               Types type) const {
  const post::zvSolutionPair pair = SolveMove(move, type);
  const zvKDRParam& par = GetPar();
  const zvKDRParam::LimitsCheck check = par.GetLimitsCheck();
  const bool checksRotary = post::ChecksRotaryAxes(check);
  const bool checksLinear = post::ChecksLinearAxes(check);
  if (check != zvKDRParam::checkNothing && !checksLinear && !checksRotary)
    throw zvPostException(zvPostException::kUnknownLimits);
  const auto ranges = post::RotaryRangesOf(m_machDef);
  const double slack = par.GetPoleAngleTolerance();
  // Brings a solution into its ranges and writes it as the control wants it. Returns what it
  // breaks.
  const auto keepLimits = [&](Move& solution) {
    if (checksRotary)
      // Only the first broken bound is mended.
      if (const zvLimitType limit = post::RotaryOut(solution, ranges, slack); !limit.IsNone()) {
        const auto axis = static_cast<std::int16_t>(limit.limitAxis - zvLimitType::kFirstRotary);
        const auto [min, max] = ranges[static_cast<std::size_t>(axis)];
        solution.SetAngle(misc::WrapIntoRange(solution.GetAngle(axis), min, max), axis);
      }
    const Move unwrapped = solution;
    const post::zvStandingAxes written =
        post::AsWritten({solution.GetAngle(0), solution.GetAngle(1)}, GetControlDef());
    solution.SetAngle(written.firstAngle, 0);
    solution.SetAngle(written.secondAngle, 1);
    zvLimitType excess;
    if (checksLinear) excess = post::LinearOut(solution.GetMachinePosition(), m_machDef);
    if (excess.IsNone() && checksRotary)
      excess = post::RotaryOut(unwrapped, solution, ranges, slack);
    return excess;
  };
  Move first = post::FirstSolutionMove(pair);
  Move mirror = post::MirrorSolutionMove(pair);
  const zvLimitType firstExcess = keepLimits(first);
  const zvLimitType mirrorExcess = keepLimits(mirror);
  if (!firstExcess.IsNone() && !mirrorExcess.IsNone()) ExceedingLimit(mirrorExcess);
  const auto within = [](const zvLimitType& excess, Move& solution) {
    if (!excess.IsNone()) return misc::zvAutoPointer<Move>();
    post::RequireNumbers(solution);
    return misc::MakeAutoPointer<Move>(std::move(solution));
  };
  return {within(firstExcess, first), within(mirrorExcess, mirror)};
}
