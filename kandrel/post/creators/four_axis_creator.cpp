#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/alignment.h>
#include <kandrel/post/passes/angle_jumps.h>
#include <kandrel/post/passes/control_limits.h>
#include <kandrel/post/passes/four_axis_list_builder.h>
#include <kandrel/post/passes/four_axis_path_keeper.h>
#include <kandrel/post/passes/limit_checker.h>
#include <kandrel/post/passes/move_times.h>
#include <kandrel/post/passes/path_reader.h>
#include <kandrel/post/passes/repair_machine.h>
#include <kandrel/post/passes/rewinder/rewinder.h>
#include <kandrel/post/passes/winding.h>

#include <new>
#include <optional>
#include <utility>

using post::zv4axMachDef;
using post::zvKDRParam;
using post::zvLimitType;
using post::zvPosted4axMove;
using post::zvPosted4axMoveMaker;
using post::zvPostedMove;
using post::zvPostException;

zvPosted4axTPCreator::~zvPosted4axTPCreator() = default;

const zv4axMachDef& zvPosted4axTPCreator::AsOwnClass(const post::zvMachDef& machDef) {
  return post::zvMachDefUtils::As4ax(machDef);
}

zvPosted4axMoveMaker zvPosted4axTPCreator::MakeSolver(const zv4axMachDef& machDef,
                                                      const zvKDRParam& par,
                                                      const cadcam::zvTPoint3d<double>& partOrigin,
                                                      double toolLengthCompensation) {
  return {machDef, par, partOrigin, toolLengthCompensation};
}

zvPosted4axTPCreator::ListPointer zvPosted4axTPCreator::Post(const cadcam::zvToolPath& toolpath,
                                                             bool smallMoves) {
  return PostPolled(toolpath, [&] { return PostAll(toolpath, smallMoves); });
}

zvPosted4axTPCreator::ListPointer zvPosted4axTPCreator::PostAll(const cadcam::zvToolPath& toolpath,
                                                                bool smallMoves) {
  using Stage = misc::zvProgress::Stage;
  if (!StartPosting(toolpath)) return m_posted.Get();
  List& list = *m_posted.Get();
  Polling().Enter(Stage::kExamining);
  AlignToolpath(toolpath);
  RequireFiniteSetup();
  std::optional<post::zv4axPathKeeper> tolerance;
  if (GetPathTolerance().IsOn())
    tolerance.emplace(m_solver, GetPathTolerance(), GetPar(), GetPartOrigin(),
                      GetToolLengthCompensationValue(), smallMoves);
  post::zv4axPathKeeper* const keeper = tolerance ? &*tolerance : nullptr;
  Polling().Enter(Stage::kSolving);
  BuildPostedMoves(toolpath, smallMoves, keeper);
  Polling().Enter(Stage::kWinding, 2);
  post::WrapIntoRanges(list, post::RotaryRangesOf(m_machDef));
  const double largestStep = post::CalcWindedAngles(list);
  Polling().Enter(Stage::kJumps);
  MakeJumps(largestStep, smallMoves);
  Polling().Enter(Stage::kLimits, 2);
  CheckLinearLimits();
  const zvLimitType excess = KeepRotaryLimits(smallMoves, keeper);
  ExceedingLimit(excess);
  if (keeper != nullptr) ReportTolerance(*keeper, toolpath);
  Polling().Enter(Stage::kTimes);
  post::ComputeMoveTimes(list);
  Polling().Enter(Stage::kControl);
  post::ApplyControlLimitations(list, GetControlDef());
  return m_posted.Get();
}

void zvPosted4axTPCreator::AlignToolpath(const cadcam::zvToolPath& toolpath) {
  if (!GetPar().GetAlignToolpath() || toolpath.begin() == toolpath.end()) return;
  if (const post::zvAlignMatrix matrix =
          post::AlignToRotaryAxis(toolpath, m_machDef, Polling().Get()))
    SetAlignMatrix(matrix);
}

// Takes some moves at a time through all steps, so that moves are read from memory once and no
// flattened toolpath is kept.
void zvPosted4axTPCreator::BuildPostedMoves(const cadcam::zvToolPath& toolpath, bool smallMoves,
                                            post::zv4axPathKeeper* keeper) {
  try {
    post::zv4axListBuilder builder(*m_posted.Get(), m_solver, m_machDef, GetPar(), smallMoves,
                                   keeper);
    post::zvPathReader reader(toolpath, GetAlignMatrix(), Polling().Get());
    while (builder.AppendSome(reader)) {
    }
  } catch (const misc::zvOutOfMemory&) {
    m_posted.Get()->Clear();  // not all of its moves are solved
    throw;                    // a second attempt would need as much
  } catch (const std::bad_alloc&) {
    m_posted.Get()->Clear();
    throw;
  } catch (const misc::zvException&) {
    if (Polling().HasStopped()) throw;
    // Where a toolpath has several faults, the order of the checks over the whole of it decides
    // which one is reported, and how far the list is filled.
    m_posted.Get()->Clear();
    BuildPostedMovesWhole(toolpath, smallMoves, keeper);
    throw;
  }
}

void zvPosted4axTPCreator::BuildPostedMovesWhole(const cadcam::zvToolPath& toolpath,
                                                 bool smallMoves, post::zv4axPathKeeper* keeper) {
  CheckMoves(toolpath);
  post::zv4axListBuilder builder(*m_posted.Get(), m_solver, m_machDef, GetPar(), smallMoves,
                                 keeper);
  const auto forEach = [&](const auto& take) {
    post::ForEachMove(toolpath, GetAlignMatrix(), take, Polling().Get());
  };
  forEach([&](const cadcam::zvCNCMove& move, zvPostedMove::Types) {
    builder.RequireOnCone(move.GetOrientation().Normalized());
  });
  forEach([&](const cadcam::zvCNCMove& move, zvPostedMove::Types type) {
    builder.Append(post::zvMoveView(move), type);
  });
}

void zvPosted4axTPCreator::MakeJumps(double largestStep, bool smallMoves) {
  const post::zv4axRepairMachine machine(m_solver, m_machDef, GetPar(), smallMoves, m_counts);
  m_counts.largeJumps =
      post::HandleLargeAngleJumps(*m_posted.Get(), largestStep, GetPar().GetMaxAngleJump(),
                                  [&](const Move& move) { return machine.Retract(move); });
}

// All blocks of a list to which nothing was done are known to hold the tolerance.
void zvPosted4axTPCreator::ReportTolerance(const post::zv4axPathKeeper& keeper,
                                           const cadcam::zvToolPath& toolpath) {
  if (!keeper.HasBroken() && m_counts.largeJumps == 0 && m_counts.rewindings == 0) return;
  Polling().Enter(misc::zvProgress::kTolerance);
  post::zvPathReader reader(toolpath, GetAlignMatrix());
  SetToleranceReport(keeper.Report(*m_posted.Get(), reader));
}

// Shifts or rewinds a list that is out of its rotary range; with checks of the rotary axes alone
// the list stays as it is. Returns the limit that is broken then.
zvLimitType zvPosted4axTPCreator::KeepRotaryLimits(bool smallMoves, post::zv4axPathKeeper* keeper) {
  zvLimitType excess;
  if (!post::ChecksRotaryAxes(GetPar().GetLimitsCheck())) return excess;
  post::zvListLimits<Move> limits(*m_posted.Get(), m_machDef, GetPar().GetLimitTolerance());
  if (!limits.RotaryExceeded(excess)) return excess;
  if (GetPar().GetLimitsCheck() != zvKDRParam::checkAllAxes) return excess;
  const bool isShiftTooLittle = limits.TryShiftAll();
  if (isShiftTooLittle) {
    Rewind(smallMoves);
    if (keeper != nullptr) keeper->Keep(*m_posted.Get());
  }
  limits.RotaryExceeded(excess);
  return excess;
}

void zvPosted4axTPCreator::Rewind(bool smallMoves) {
  const zvPosted4axMoveMaker maker(m_machDef, GetPar(), GetPartOrigin(),
                                   GetToolLengthCompensationValue());
  const post::zv4axRepairMachine machine(maker, m_machDef, GetPar(), smallMoves, m_counts);
  post::zvRewinder<Move, post::zv4axRepairMachine> rewinder(
      *m_posted.Get(), post::RotaryRangesOf(m_machDef), GetPar(), smallMoves, machine);
  m_counts.rewindings = rewinder.Run();
}

zvPosted4axMove zvPosted4axTPCreator::PostMove(const cadcam::zvMovePointer& move,
                                               zvPostedMove::Types type) const {
  Move posted = SolveMove(move, type);
  post::RequireNumbers(posted);
  return posted;
}

zvPosted4axMove zvPosted4axTPCreator::SolveMove(const cadcam::zvMovePointer& move,
                                                zvPostedMove::Types type) const {
  RequireFiniteSetup();
  cadcam::zv5axMove aligned;
  const post::zvMoveView view(SingleMove(move, aligned));
  return m_solver.Make(view, view.GetOrientation().Normalized(), type, 0, true,
                       m_solver.MakePoleCone(), false);
}

std::pair<misc::zvAutoPointer<zvPosted4axMove>, misc::zvAutoPointer<zvPosted4axMove>>
zvPosted4axTPCreator::PostMoveWithinMachLimits(const cadcam::zvMovePointer& move,
                                               zvPostedMove::Types type) const {
  auto posted = misc::MakeAutoPointer<Move>(SolveMove(move, type));
  const zvKDRParam::LimitsCheck check = GetPar().GetLimitsCheck();
  const bool checksLinear = post::ChecksLinearAxes(check);
  const bool checksRotary = post::ChecksRotaryAxes(check);
  const auto ranges = post::RotaryRangesOf(m_machDef);
  const double slack = GetPar().GetPoleAngleTolerance();
  if (checksRotary && !post::RotaryOut(*posted, ranges, slack).IsNone())
    post::WrapIntoRanges(*posted, ranges);
  const Move unwrapped = *posted;
  posted->SetRotaryAngle(
      ApplyAngleLimitToRotAxis(posted->GetRotaryAngle(), GetControlDef().GetFirstAxisLimit()));
  if (checksLinear) ExceedingLimit(post::LinearOut(posted->GetMachinePosition(), m_machDef));
  if (checksRotary) ExceedingLimit(post::RotaryOut(unwrapped, *posted, ranges, slack));
  if (!checksLinear && !checksRotary && check != zvKDRParam::checkNothing)
    throw zvPostException(zvPostException::kUnknownLimits);
  post::RequireNumbers(*posted);
  return {std::move(posted), nullptr};
}
