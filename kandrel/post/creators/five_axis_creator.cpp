#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/geometry/tool_leap.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/angle_jumps.h>
#include <kandrel/post/passes/control_limits.h>
#include <kandrel/post/passes/five_axis_interpolation.h>
#include <kandrel/post/passes/five_axis_repair.h>
#include <kandrel/post/passes/move_times.h>
#include <kandrel/post/passes/pole_blending.h>
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
using post::zvRotarySolutions;
using Point = cadcam::zvTPoint3d<double>;

namespace {

bool IsZeroAngle(double deg) {
  return std::fabs(deg) <= misc::kEqual;
}

}  // namespace

// Where the rotary axes stand for a toolpath of one orientation, and what takes the part there;
// no transformation when they need not move.
struct zvPosted5axTPCreator::FixedAxes {
  double firstAngle = 0;
  double secondAngle = 0;
  misc::zvAutoPointer<post::zvTransformation3d> transformation;
};

zvPosted5axTPCreator::zvPosted5axTPCreator(const zv5axMachDef& machDef,
                                           const post::zv5axControlDef& control,
                                           const zvKDRParam& par, const Point& partOrigin,
                                           double toolLengthCompensation)
    : zvPostedTPCreator(control, par, partOrigin, toolLengthCompensation),
      m_machDef(post::Normalised(machDef)),
      m_solver(machDef, par, partOrigin, toolLengthCompensation) {
  SetInstanceType(instance5ax);
}

zvPosted5axTPCreator::zvPosted5axTPCreator(const misc::zvAutoPointer<post::zvMachDef>& machDef,
                                           const post::zv5axControlDef& control,
                                           const zvKDRParam& par, const Point& partOrigin,
                                           double toolLengthCompensation)
    : zvPosted5axTPCreator(post::zvMachDefUtils::As5ax(*machDef), control, par, partOrigin,
                           toolLengthCompensation) {}

zvPosted5axTPCreator::zvPosted5axTPCreator(const zvPosted5axTPCreator& other)
    : zvPostedTPCreator(other), m_machDef(other.m_machDef), m_solver(other.m_solver) {
  SetInstanceType(instance5ax);
}

zvPosted5axTPCreator::~zvPosted5axTPCreator() = default;

void zvPosted5axTPCreator::SetMachDef(const zv5axMachDef& machDef) {
  m_machDef = post::Normalised(machDef);
}

void zvPosted5axTPCreator::SetMachDef(const misc::zvAutoPointer<post::zvMachDef>& machDef) {
  SetMachDef(post::zvMachDefUtils::As5ax(*machDef));
}

misc::zvAutoPointer<post::zvMachDef> zvPosted5axTPCreator::GetMachDefPtr() const {
  return m_machDef.Clone();
}

zvPosted5axTPCreator::ListPointer zvPosted5axTPCreator::Post(const cadcam::zvToolPath& toolpath,
                                                             bool smallMoves) {
  m_posted.Renew();
  m_counts = {};
  if (post::HasNothingToPost(toolpath)) return m_posted.Get();
  CheckUnits(m_machDef, toolpath);
  bool is3ax = PostMain(toolpath, smallMoves);
  CheckLimits(toolpath, is3ax, smallMoves);
  post::ComputeMoveTimes(*m_posted.Get());
  if (!is3ax) post::ApplyControlLimitations(*m_posted.Get(), GetControlDef());
  return m_posted.Get();
}

void zvPosted5axTPCreator::PostRun(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  Post(toolpath, smallMoves);
}

// True when the toolpath was posted as a 3-axis path.
bool zvPosted5axTPCreator::PostMain(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  m_counts = {};
  RequireFiniteSetup();
  const zvKDRParam& par = GetPar();
  const bool prefersAnAngle = par.GetFirstMoveRule() == zvKDRParam::byFirstAxis ||
                              par.GetFirstMoveRule() == zvKDRParam::bySecondAxis;
  if (par.GetFirstMoveByRule() && prefersAnAngle &&
      !std::isfinite(par.GetFirstMovePreferredAngle()))
    throw zvPostException(zvPostException::kInvalidVector);
  try {
    return PostInOneWalk(toolpath, smallMoves);
  } catch (const misc::zvException&) {
    // What is wrong with the toolpath as such, wherever it stands, is told before what goes wrong
    // in posting it, and leaves the list empty.
    try {
      CheckMoves(toolpath);
    } catch (...) {
      m_posted.Get()->Clear();
      throw;
    }
    throw;
  }
}

bool zvPosted5axTPCreator::PostInOneWalk(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  post::zvPathReader reader(toolpath, GetAlignMatrix());
  if (!reader.Next()) return false;
  const bool mayBe3ax =
      m_machDef.IsIdentityTransform() && GetPar().GetPoleHandling() != zvKDRParam::keepWithinLimits;
  if (mayBe3ax && IsToolpathFor3AxisMachine(toolpath)) {
    const cadcam::zv5axMove first(reader.GetMove().GetPosition(), reader.GetMove().GetOrientation(),
                                  {}, {}, 0, false, 0, false);
    CreatePostedTP(toolpath, FixAxes(first), smallMoves);
    return true;
  }
  BuildPostedMoves(toolpath, smallMoves);
  RepairAngles();
  return false;
}

void zvPosted5axTPCreator::RepairAngles() {
  List& list = *m_posted.Get();
  BlendingInterpolation();
  const double largestStep = post::CalcWindedAngles(list);
  const post::zv5axRepairMachine machine(m_machDef, GetPar(), GetPartOrigin(),
                                         GetToolLengthCompensationValue(),
                                         list.Front().HasNoExtended(), m_counts);
  m_counts.largeJumps = post::HandleLargeAngleJumps(
      list, largestStep, JumpRules(), [&](const Move& move) { return machine.Retract(move); },
      [&](const Move& from, const Move& to) {
        return post::LeavesItsWay(from, to, JumpRules().smallestLeap, m_solver.GetKinematics());
      });
  DivideLargeSteps(largestStep);
}

void zvPosted5axTPCreator::BlendingInterpolation() {
  if (!m_mayHavePoles) return;
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

// By the steps that the solutions were made with.
void zvPosted5axTPCreator::DivideLargeSteps(double largestStep) {
  post::DivideLargeSteps(*m_posted.Get(), largestStep, m_solver.GetParameters(),
                         GetPar().GetMaxAngleJump(), m_solver.GetKinematics());
}

void zvPosted5axTPCreator::BuildPostedMoves(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  List& list = *m_posted.Get();
  const auto cone = m_solver.MakePoleCone();
  post::zv5axInterpolator interpolator(m_solver, smallMoves);
  const auto solve = [&](const post::zvMoveView& move, double lastFirstAngle) {
    return m_solver.SolveAngles(move.GetPosition(), move.GetOrientation(), cone, lastFirstAngle);
  };
  const auto next = [&](const Move& previous, const zvRotarySolutions& solutions) {
    return post::TakesMirrorNext(previous.GetAngle(0), previous.GetAngle(1), solutions,
                                 m_solver.GetParameters(), m_solver);
  };
  // Where the limit keeper starts its search: 0 after an undetermined move.
  double lastFirstAngle = 0;
  bool isPreviousDetermined = false;
  bool hasMetPole = false;

  post::zvPathReader reader(toolpath, GetAlignMatrix());
  for (std::uint64_t index = 0; reader.Next(); ++index) {
    const post::zvMoveView& move = reader.GetMove();
    if (index == 0 && m_solver.HasLimitKeeper()) {
      const zvRotarySolutions solutions = solve(move, 0);
      const bool isMirror = SelectFirst(solutions);
      if (solutions.poleStatus == 0) lastFirstAngle = solutions.Of(isMirror).firstAngle;
    }
    const zvRotarySolutions solutions = solve(move, lastFirstAngle);
    const auto previous = index != 0 ? std::prev(list.end()) : list.end();
    // After an undetermined move the solution is picked as for a first one, to interpolate to.
    const bool isFirstPick = !isPreviousDetermined;
    const bool isMirror = isFirstPick ? SelectFirst(solutions) : next(*previous, solutions);
    const auto current = list.EmplaceWith(list.end(), [&] {
      return zv5axMoveSolver::MakeMove(move, reader.GetType(), solutions.Of(isMirror),
                                       solutions.poleStatus, static_cast<std::int32_t>(index),
                                       false, smallMoves);
    });
    if (index != 0) {
      auto last = previous;
      const auto settle = [&](const Move& before) {
        const post::zvRotarySolution& solution = solutions.Of(next(before, solutions));
        current->SetAngle(solution.firstAngle, 0);
        current->SetAngle(solution.secondAngle, 1);
        current->SetMachinePosition(solution.position);
        current->SetPoleStatus(solutions.poleStatus);
        m_solver.FixPoleAngle(before, *current);
      };
      try {
        m_solver.FixPoleAngle(*previous, *current);
        bool isLastStepLeft = interpolator.Between(list, current);
        last = std::prev(current);
        // The solution is settled against the move that stands just before it in the end. A step
        // left for that is subdivided then, whichever solution it leads to.
        if (last != previous || isFirstPick) {
          settle(*last);
          for (int round = 0; isLastStepLeft && round < interpolator.kMostRounds; ++round) {
            isLastStepLeft = interpolator.Between(list, current);
            if (std::prev(current) == last) break;
            last = std::prev(current);
            settle(*last);
          }
        }
      } catch (...) {
        // What fails between two moves leaves nothing behind the last that was settled.
        while (std::prev(list.end()) != last) list.Erase(std::prev(list.end()));
        throw;
      }
    }
    hasMetPole = hasMetPole || solutions.poleStatus != 0;
    isPreviousDetermined = current->GetPoleStatus() == 0;
    lastFirstAngle = isPreviousDetermined ? current->GetAngle(0) : 0;
  }
  FixFirstMoves();
  // Blending turns poles alone, and these were solved as such: unless moves were not solved, or the
  // caller has changed the tolerance since the creator took its copy.
  m_mayHavePoles =
      hasMetPole || interpolator.HasMetPole() || !interpolator.Solves() ||
      GetPar().GetPoleAngleTolerance() != m_solver.GetParameters().GetPoleAngleTolerance();
}

// Gives a run of undetermined moves at the very start the angles of the first determined move.
void zvPosted5axTPCreator::FixFirstMoves() {
  List& list = *m_posted.Get();
  // Where no angle is out of its range and the first move is determined, all are.
  if (post::HoldSolvedAngles(post::RotaryRangesOf(m_machDef)) &&
      (list.IsEmpty() || list.Front().GetPoleStatus() == 0))
    return;
  Move determined(true);
  if (!GetFirstDeterminedPostedMoveAndFixAngles(determined)) return;
  for (Move& move : list) m_solver.FixPoleAngle(determined, move);
}

// Brings angles that lie out of their ranges into them where a turn does it. True when a determined
// move exists, of which `determined` becomes a copy.
bool zvPosted5axTPCreator::GetFirstDeterminedPostedMoveAndFixAngles(Move& determined) {
  const auto ranges = post::RotaryRangesOf(m_machDef);
  bool isFound = false;
  for (Move& move : *m_posted.Get()) {
    post::WrapIntoRanges(move, ranges);
    if (isFound || move.GetPoleStatus() != 0) continue;
    determined = move;
    isFound = true;
  }
  return isFound;
}

bool zvPosted5axTPCreator::SelectFirst(const zvRotarySolutions& solutions) const {
  const post::zvSolutionChoice choice = post::ChooseFirst(solutions, GetPar(), m_machDef);
  // A position with a free angle at 0 tells nothing of the limits: the list's own check follows.
  if (solutions.poleStatus == 0) ExceedingLimit(choice.excess);
  return choice.isMirror;
}

zvPosted5axMove zvPosted5axTPCreator::SelectPostedMoveFirstTime(
    const post::zvSolutionPair& pair) const {
  return SelectFirst(post::SolutionsOf(pair)) ? post::MirrorSolutionMove(pair)
                                              : post::FirstSolutionMove(pair);
}

// Compared with the first move's orientation, so that drift can't add up. Lengths count: (0, 0, 1)
// and (0, 0, 2) differ; of vectors next to nothing the directions count too. Looks no further than
// the first that differs.
bool zvPosted5axTPCreator::IsToolpathFor3AxisMachine(const cadcam::zvToolPath& toolpath) const {
  post::zvPathReader reader(toolpath, GetAlignMatrix());
  if (!reader.Next()) return false;
  const Point o = reader.GetMove().GetOrientation();
  const double mostSquared = misc::kDirectionDifferenceSquared * o.SquaredLength();
  while (reader.Next()) {
    const Point d = reader.GetMove().GetOrientation() - o;
    if (!(std::fabs(d.x) <= misc::kEqual && std::fabs(d.y) <= misc::kEqual &&
          std::fabs(d.z) <= misc::kEqual && d.SquaredLength() <= mostSquared))
      return false;
  }
  return true;
}

zvPosted5axTPCreator::FixedAxes zvPosted5axTPCreator::FixAxes(
    const cadcam::zvCNCMove& first) const {
  const zvRotarySolutions solutions =
      m_solver.SolveAngles(first.GetPosition(), first.GetOrientation(), m_solver.MakePoleCone(), 0);
  const post::zvRotarySolution& chosen = solutions.Of(SelectFirst(solutions));
  const zvKDRParam& par = GetPar();
  FixedAxes axes{chosen.firstAngle, chosen.secondAngle, nullptr};
  if (par.GetFirstMoveRule() == zvKDRParam::byFirstAxis && solutions.poleStatus == 1)
    axes.firstAngle = par.GetFirstMovePreferredAngle();
  if (par.GetFirstMoveRule() == zvKDRParam::bySecondAxis && solutions.poleStatus == 2)
    axes.secondAngle = par.GetFirstMovePreferredAngle();
  if (!std::isfinite(axes.firstAngle) || !std::isfinite(axes.secondAngle))
    throw zvPostException(zvPostException::kInvalidVector);
  axes.firstAngle = misc::WrapIntoRange(axes.firstAngle, m_machDef.GetMinFirstAngle(),
                                        m_machDef.GetMaxFirstAngle());
  axes.secondAngle = misc::WrapIntoRange(axes.secondAngle, m_machDef.GetMinSecondAngle(),
                                         m_machDef.GetMaxSecondAngle());
  Move fixed(true);
  fixed.SetAngle(axes.firstAngle, 0);
  fixed.SetAngle(axes.secondAngle, 1);
  // The second axis is wrapped by the first one's limit, here and for single moves: deliberate.
  const auto wrap = GetControlDef().GetFirstAxisLimit();
  if (wrap != post::zv5axControlDef::angleLimitNone)
    axes.firstAngle = ApplyAngleLimitToRotAxis(axes.firstAngle, wrap);
  if (GetControlDef().GetSecondAxisLimit() != post::zv5axControlDef::angleLimitNone)
    axes.secondAngle = ApplyAngleLimitToRotAxis(axes.secondAngle, wrap);

  if (IsZeroAngle(axes.firstAngle) && IsZeroAngle(axes.secondAngle)) {
    // Along the spindle the path is one for a plain 3-axis machine, tool length added for every
    // kind. Snapped to a pole it isn't quite, and its orientation is not to be checked again.
    const Point t = first.GetOrientation().Normalized();
    if ((m_machDef.GetSpindleDirection() - t).SquaredLength() < misc::kDirectionDifferenceSquared)
      return axes;
  }
  const post::zv5axKinematics kinematics(m_machDef, GetPartOrigin(),
                                         GetToolLengthCompensationValue());
  const auto at = [&](const Point& p) {
    return kinematics.MachinePosition(p, axes.firstAngle, axes.secondAngle);
  };
  const Point translation = at({});
  const Point columns[] = {at({1, 0, 0}) - translation, at({0, 1, 0}) - translation,
                           at({0, 0, 1}) - translation};
  post::zvTransformation3d::Rotation rotation;
  for (std::size_t j = 0; j < 3; ++j) {
    rotation(0, j) = columns[j].x;
    rotation(1, j) = columns[j].y;
    rotation(2, j) = columns[j].z;
  }
  axes.transformation = misc::MakeAutoPointer<post::zvTransformation3d>(rotation, translation);

  const bool isAtZero = IsZeroAngle(axes.firstAngle) && IsZeroAngle(axes.secondAngle);
  const zvKDRParam::LimitsCheck check = par.GetLimitsCheck();
  if (!isAtZero && (check == zvKDRParam::checkRotaryAxes || check == zvKDRParam::checkAllAxes)) {
    Move written(true);
    written.SetAngle(axes.firstAngle, 0);
    written.SetAngle(axes.secondAngle, 1);
    ExceedingLimit(post::RotaryOut(fixed, written, post::RotaryRangesOf(m_machDef),
                                   par.GetPoleAngleTolerance()));
  }
  return axes;
}

void zvPosted5axTPCreator::CreatePostedTP(const cadcam::zvToolPath& toolpath, const FixedAxes& axes,
                                          bool smallMoves) {
  // The machine's own axis system is plain here. An alignment would turn the part a second time.
  const post::zv3axMachDef linearPart(m_machDef.GetUnits(), m_machDef.GetSpindleDirection(),
                                      m_machDef.GetMinLimits(), m_machDef.GetMaxLimits(), {1, 0, 0},
                                      {0, 1, 0}, {0, 0, 1});
  zvKDRParam par = GetPar();
  par.SetAlignToolpath(false);
  zvPosted3axTPCreator creator(linearPart, GetControlDef(), par, GetPartOrigin(),
                               GetToolLengthCompensationValue());
  creator.SetTransfor3d(axes.transformation);
  List& list = *m_posted.Get();
  const zvPosted3axTPCreator::ListPointer posted = creator.Post(toolpath, smallMoves);
  for (const post::zvPosted3axMove& move : *posted) {
    list.EmplaceWith(list.end(), [&] {
      if (smallMoves)
        return Move(move.GetMachinePosition(), move.GetPartPosition(), move.GetOrientation(),
                    axes.firstAngle, axes.secondAngle, 0, move.GetFeed(), move.IsRapid(),
                    move.GetType());
      return Move(move.GetMachinePosition(), move.GetPartPosition(), move.GetOrientation(),
                  axes.firstAngle, axes.secondAngle, 0, move.GetFeed(), move.IsRapid(),
                  move.GetType(), move.GetExtendedPoint(), move.GetExtendedVector(),
                  move.GetExtendedId(), move.HasExtendedData(), move.GetSourceIndex(),
                  move.IsInserted());
    });
  }
}

void zvPosted5axTPCreator::CheckLimits(const cadcam::zvToolPath& toolpath, bool is3ax,
                                       bool smallMoves) {
  switch (GetPar().GetLimitsCheck()) {
    case zvKDRParam::checkNothing:
      return;
    case zvKDRParam::checkLinearAxes:
      CheckLinearLimits();
      return;
    case zvKDRParam::checkRotaryAxes:
      if (!is3ax) KeepRotaryLimits(toolpath, smallMoves, false);
      return;
    case zvKDRParam::checkAllAxes:
      if (!is3ax) return KeepRotaryLimits(toolpath, smallMoves, true);
      CheckLinearLimits();
      return;
  }
  throw zvPostException(zvPostException::kUnknownLimits);
}

post::zvLimitChecker zvPosted5axTPCreator::Checker(post::zvLowerBounds lowerBounds) {
  return {*m_posted.Get(), m_machDef, GetPartOrigin(), GetPar(), GetToolLengthCompensationValue(),
          lowerBounds};
}

void zvPosted5axTPCreator::CheckLinearLimits() {
  zvLimitType limit;
  if (Checker().LinearExceeded(limit)) ExceedingLimit(limit);
}

void zvPosted5axTPCreator::KeepRotaryLimits(const cadcam::zvToolPath& toolpath, bool smallMoves,
                                            bool checksLinear) {
  using post::zvLowerBounds;
  const zvKDRParam::SolutionIndex own = GetPar().GetFirstMoveSolutionIndex();
  zvLimitType limit;
  if (!IsOutAfterRewind(smallMoves, zvLowerBounds::kShared, limit)) {
    if (checksLinear) CheckLinearLimits();
    return;
  }
  // The other first solution may have the room.
  Par().SetFirstMoveSolutionIndex(own == zvKDRParam::firstSolution ? zvKDRParam::mirrorSolution
                                                                   : zvKDRParam::firstSolution);
  m_posted.Get()->Clear();
  try {
    PostMain(toolpath, smallMoves);
    if (IsOutAfterRewind(smallMoves, zvLowerBounds::kShared, limit, checksLinear))
      ExceedingLimit(limit);
  } catch (const misc::zvOutOfMemory&) {
    throw;
  } catch (const misc::zvException&) {
    if (!PostsWithOwnBounds(toolpath, smallMoves, checksLinear, own)) throw;
  }
}

// Before a limit is told, the posting starts once more from its own first solution, now with each
// axis measured for itself: the shared lower bound hides what a shift would mend. Where that fails
// too, all is as it was before.
bool zvPosted5axTPCreator::PostsWithOwnBounds(const cadcam::zvToolPath& toolpath, bool smallMoves,
                                              bool checksLinear, zvKDRParam::SolutionIndex own) {
  const ListPointer list = m_posted.Get();
  const post::zvPostingCounts counts = m_counts;
  const zvKDRParam::SolutionIndex other = GetPar().GetFirstMoveSolutionIndex();
  const auto restore = [&] {
    m_posted.Get() = list;
    m_counts = counts;
    Par().SetFirstMoveSolutionIndex(other);
  };
  try {
    m_posted.Renew();
    Par().SetFirstMoveSolutionIndex(own);
    PostMain(toolpath, smallMoves);
    zvLimitType limit;
    if (!IsOutAfterRewind(smallMoves, post::zvLowerBounds::kOwn, limit) &&
        !(checksLinear && Checker().LinearExceeded(limit)))
      return true;
  } catch (const misc::zvOutOfMemory&) {
    restore();
    throw;
  } catch (const misc::zvException&) {
    // The limit is what is told.
  } catch (...) {
    restore();
    throw;
  }
  restore();
  return false;
}

// Shifts or rewinds a list that is out of its rotary ranges, and tells what is still out then.
bool zvPosted5axTPCreator::IsOutAfterRewind(bool smallMoves, post::zvLowerBounds lowerBounds,
                                            zvLimitType& limit, bool checksLinear) {
  post::zvLimitChecker checker = Checker(lowerBounds);
  checker.CountInto(m_counts);
  const std::uint32_t rewindings = m_counts.rewindings;
  const bool isOut = checksLinear ? checker.CheckAllWithRewind(limit, smallMoves)
                                  : checker.CheckRotaryWithRewind(limit, smallMoves);
  if (m_counts.rewindings != rewindings) DivideLargeSteps(misc::kNoValue);
  return isOut;
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
  Move first = post::FirstSolutionMove(pair);
  Move mirror = post::MirrorSolutionMove(pair);
  const zvKDRParam& par = GetPar();
  const zvKDRParam::LimitsCheck check = par.GetLimitsCheck();
  const auto ranges = post::RotaryRangesOf(m_machDef);
  const auto rotaryExcess = [&](const Move& solution) {
    return post::RotaryOut(solution, ranges, par.GetPoleAngleTolerance());
  };
  const bool checksRotary =
      check == zvKDRParam::checkRotaryAxes || check == zvKDRParam::checkAllAxes;
  const bool checksLinear =
      check == zvKDRParam::checkLinearAxes || check == zvKDRParam::checkAllAxes;
  const auto wrap = GetControlDef().GetFirstAxisLimit();
  zvLimitType excesses[2];
  zvLimitType* excess = excesses;
  if (check != zvKDRParam::checkNothing && !checksLinear && !checksRotary)
    throw zvPostException(zvPostException::kUnknownLimits);
  for (Move* solution : {&first, &mirror}) {
    if (checksRotary)
      // Only the first broken bound is mended.
      if (const zvLimitType limit = rotaryExcess(*solution); !limit.IsNone()) {
        const auto axis = static_cast<std::int16_t>(limit.limitAxis - zvLimitType::kFirstRotary);
        const auto [min, max] = ranges[static_cast<std::size_t>(axis)];
        solution->SetAngle(misc::WrapIntoRange(solution->GetAngle(axis), min, max), axis);
      }
    const Move unwrapped = *solution;
    if (wrap != post::zv5axControlDef::angleLimitNone)
      solution->SetAngle(ApplyAngleLimitToRotAxis(solution->GetAngle(0), wrap), 0);
    if (GetControlDef().GetSecondAxisLimit() != post::zv5axControlDef::angleLimitNone)
      solution->SetAngle(ApplyAngleLimitToRotAxis(solution->GetAngle(1), wrap), 1);
    if (checksLinear) *excess = post::LinearOut(solution->GetMachinePosition(), m_machDef);
    if (excess->IsNone() && checksRotary)
      *excess = post::RotaryOut(unwrapped, *solution, ranges, par.GetPoleAngleTolerance());
    ++excess;
  }
  const auto& [firstExcess, mirrorExcess] = excesses;
  if (!firstExcess.IsNone() && !mirrorExcess.IsNone()) ExceedingLimit(mirrorExcess);
  const auto keep = [](const zvLimitType& limit, Move& solution) {
    if (!limit.IsNone()) return misc::zvAutoPointer<Move>();
    post::RequireNumbers(solution);
    return misc::MakeAutoPointer<Move>(std::move(solution));
  };
  return {keep(firstExcess, first), keep(mirrorExcess, mirror)};
}
