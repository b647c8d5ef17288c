#include <kandrel/misc/tolerances.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/geometry/four_axis_pair_solver.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/alignment.h>
#include <kandrel/post/passes/angle_jumps.h>
#include <kandrel/post/passes/control_limits.h>
#include <kandrel/post/passes/four_axis_interpolation.h>
#include <kandrel/post/passes/move_times.h>
#include <kandrel/post/passes/path_reader.h>
#include <kandrel/post/passes/retraction.h>
#include <kandrel/post/passes/rewinder/rewinder.h>
#include <kandrel/post/passes/winding.h>

#include <cmath>
#include <iterator>
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
using Point = cadcam::zvTPoint3d<double>;

namespace {

// What retractions and rewindings compute with: limits and distances of the creator as they are
// now, kinematics of the maker given.
class RepairMachine {
 public:
  RepairMachine(const zvPosted4axMoveMaker& maker, const zv4axMachDef& machDef,
                const zvKDRParam& par, bool smallMoves, post::zvPostingCounts& counts)
      : m_kinematics(maker.GetKinematics()),
        m_machDef(machDef),
        m_par(par),
        m_counts(counts),
        m_interpolator(maker, par, smallMoves) {}

  const post::zv4axKinematics& Kinematics() const { return m_kinematics; }

  zvPosted4axMove Retract(const zvPosted4axMove& move) const {
    return post::RetractAsAsked(m_kinematics, m_machDef, m_par, move, m_counts);
  }

  std::optional<zvPosted4axMove> Midpoint(const zvPosted4axMove& from, const zvPosted4axMove& to,
                                          double tolerance) const {
    return m_interpolator.Midpoint(from, to, tolerance);
  }

 private:
  const post::zv4axKinematics& m_kinematics;
  const zv4axMachDef& m_machDef;
  const zvKDRParam& m_par;
  post::zvPostingCounts& m_counts;
  post::zv4axInterpolator m_interpolator;
};

void RequireOn(const post::zvOrientationCone& cone, const Point& dir_tool) {
  if (!cone.IsNear(dir_tool)) throw zvPostException(zvPostException::kNotFor4Axes);
}

// Posts one move after the other to the end of a list.
class ListBuilder {
 public:
  ListBuilder(zvPosted4axTPCreator::List& list, const zvPosted4axMoveMaker& maker,
              const zvKDRParam& par, bool smallMoves)
      : m_list(list),
        m_maker(maker),
        m_cone(maker.MakePoleCone()),
        m_interpolator(maker, par, smallMoves),
        m_smallMoves(smallMoves) {}

  void Append(const post::zvMoveView& move, const Point& dir_tool, zvPostedMove::Types type) {
    const bool isFirst = m_list.IsEmpty();
    const auto previous = isFirst ? m_list.end() : std::prev(m_list.end());
    const auto current = m_list.EmplaceWith(m_list.end(), [&] {
      return m_maker.Make(move, dir_tool, type, static_cast<std::int32_t>(m_index), false, m_cone,
                          m_smallMoves);
    });
    ++m_index;
    if (isFirst) return;
    if (std::fabs(current->GetRotaryAngle() - previous->GetRotaryAngle()) <=
        m_interpolator.GetShortStep())
      return;
    try {
      m_interpolator.Between(m_list, current);
    } catch (...) {
      // What fails between two moves leaves nothing behind the first of them.
      while (std::prev(m_list.end()) != previous) m_list.Erase(std::prev(m_list.end()));
      throw;
    }
  }

 private:
  zvPosted4axTPCreator::List& m_list;
  const zvPosted4axMoveMaker& m_maker;
  zvPosted4axMoveMaker::PoleCone m_cone;
  post::zv4axInterpolator m_interpolator;
  bool m_smallMoves;
  std::uint64_t m_index = 0;
};

// Posts moves to the end of a list, some at a time: read all, solved in pairs, interpolated
// between. The list is of no use when it throws.
class BlockBuilder {
 public:
  BlockBuilder(zvPosted4axTPCreator::List& list, const zvPosted4axMoveMaker& maker,
               const post::zvOrientationCone& cone, const zvKDRParam& par, bool smallMoves)
      : m_list(list),
        m_maker(maker),
        m_orientationCone(cone),
        m_poleCone(maker.MakePoleCone()),
        m_pairs(maker.GetKinematics(), cone, m_poleCone.eps),
        m_interpolator(maker, par, smallMoves),
        m_smallMoves(smallMoves) {}

  /// False when the reader has come to the end.
  bool Append(post::zvPathReader& reader) {
    const bool isFirst = m_list.IsEmpty();
    const Iterator last = isFirst ? m_list.end() : std::prev(m_list.end());
    const bool hasMore = Read(reader);
    const Iterator first = isFirst ? m_list.begin() : std::next(last);
    Solve(first);
    if (first == m_list.end()) return hasMore;
    const double shortStep = m_interpolator.GetShortStep();
    double deg = (isFirst ? first : last)->GetRotaryAngle();
    for (Iterator move = isFirst ? std::next(first) : first; move != m_list.end(); ++move) {
      const double previousDeg = std::exchange(deg, move->GetRotaryAngle());
      if (!(std::fabs(deg - previousDeg) <= shortStep)) m_interpolator.Between(m_list, move);
    }
    return hasMore;
  }

 private:
  using Iterator = zvPosted4axTPCreator::List::iterator;

  // So many that they stay in the processor's nearest memory until they are done.
  static constexpr int kMoves = 64;

  // Small moves have no place for their index.
  bool Read(post::zvPathReader& reader) {
    if (m_smallMoves)
      return reader.TakeUnchecked(
          kMoves, [this](const post::zvMoveView& move, zvPostedMove::Types type) {
            m_list.EmplaceWith(m_list.end(), [&] {
              return zvPosted4axMoveMaker::MakeUnsolved(move, type, 0, false, true);
            });
          });
    return reader.TakeUnchecked(
        kMoves, [this](const post::zvMoveView& move, zvPostedMove::Types type) {
          m_list.EmplaceWith(m_list.end(), [&] {
            return zvPosted4axMoveMaker::MakeUnsolved(
                move, type, static_cast<std::int32_t>(m_index), false, false);
          });
          ++m_index;
        });
  }

  void Solve(Iterator move) {
    while (move != m_list.end()) {
      zvPosted4axMove& one = *move;
      if (++move == m_list.end()) return SolveAlone(one);
      zvPosted4axMove& other = *move;
      ++move;
      if (m_pairs.Solve(one, other)) continue;
      SolveAlone(one);
      SolveAlone(other);
    }
  }

  void SolveAlone(zvPosted4axMove& move) {
    if (!IsFinite(move.GetPartPosition()) || !IsFinite(move.GetOrientation()))
      throw zvPostException(zvPostException::kInvalidVector);
    const Point dir_tool = move.GetOrientation().Normalized();
    RequireOn(m_orientationCone, dir_tool);
    m_maker.Solve(move, dir_tool, m_poleCone);
  }

  zvPosted4axTPCreator::List& m_list;
  const zvPosted4axMoveMaker& m_maker;
  const post::zvOrientationCone& m_orientationCone;
  zvPosted4axMoveMaker::PoleCone m_poleCone;
  post::zv4axPairSolver m_pairs;
  post::zv4axInterpolator m_interpolator;
  bool m_smallMoves;
  std::uint64_t m_index = 0;
};

}  // namespace

zvPosted4axTPCreator::zvPosted4axTPCreator(const zv4axMachDef& machDef,
                                           const post::zv5axControlDef& control,
                                           const zvKDRParam& par, const Point& partOrigin,
                                           double toolLengthCompensation)
    : zvPostedTPCreator(control, par, partOrigin, toolLengthCompensation),
      m_machDef(post::Normalised(machDef)),
      m_maker(machDef, par, partOrigin, toolLengthCompensation) {
  SetInstanceType(instance4ax);
}

zvPosted4axTPCreator::zvPosted4axTPCreator(const misc::zvAutoPointer<post::zvMachDef>& machDef,
                                           const post::zv5axControlDef& control,
                                           const zvKDRParam& par, const Point& partOrigin,
                                           double toolLengthCompensation)
    : zvPosted4axTPCreator(post::zvMachDefUtils::As4ax(*machDef), control, par, partOrigin,
                           toolLengthCompensation) {}

zvPosted4axTPCreator::zvPosted4axTPCreator(const zvPosted4axTPCreator& other)
    : zvPostedTPCreator(other), m_machDef(other.m_machDef), m_maker(other.m_maker) {
  SetInstanceType(instance4ax);
}

zvPosted4axTPCreator::~zvPosted4axTPCreator() = default;

void zvPosted4axTPCreator::SetMachDef(const zv4axMachDef& machDef) {
  m_machDef = post::Normalised(machDef);
}

void zvPosted4axTPCreator::SetMachDef(const misc::zvAutoPointer<post::zvMachDef>& machDef) {
  SetMachDef(post::zvMachDefUtils::As4ax(*machDef));
}

misc::zvAutoPointer<post::zvMachDef> zvPosted4axTPCreator::GetMachDefPtr() const {
  return m_machDef.Clone();
}

zvPosted4axTPCreator::ListPointer zvPosted4axTPCreator::Post(const cadcam::zvToolPath& toolpath,
                                                             bool smallMoves) {
  m_posted.Renew();
  m_counts = {};
  if (post::HasNothingToPost(toolpath)) return m_posted.Get();
  CheckUnits(m_machDef, toolpath);
  PostMain(toolpath, smallMoves);
  CheckLimits(smallMoves);
  post::ComputeMoveTimes(*m_posted.Get());
  post::ApplyControlLimitations(*m_posted.Get(), GetControlDef());
  return m_posted.Get();
}

void zvPosted4axTPCreator::PostRun(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  Post(toolpath, smallMoves);
}

void zvPosted4axTPCreator::PostMain(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  AlignToolpath(toolpath);
  RequireFiniteSetup();
  BuildPostedMoves(toolpath, smallMoves);
  RepairAngles(smallMoves);
}

void zvPosted4axTPCreator::AlignToolpath(const cadcam::zvToolPath& toolpath) {
  if (!GetPar().GetAlignToolpath() || toolpath.begin() == toolpath.end()) return;
  // A path that fits leaves the matrix of an earlier run in force, deliberately.
  if (const post::zvAlignMatrix matrix = post::AlignToRotaryAxis(toolpath, m_machDef))
    SetAlignMatrix(matrix);
}

void zvPosted4axTPCreator::BuildPostedMoves(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  try {
    BuildPostedMovesInOneWalk(toolpath, smallMoves);
  } catch (const misc::zvOutOfMemory&) {
    m_posted.Get()->Clear();  // not all of its moves are solved
    throw;                    // a second attempt would need as much
  } catch (const std::bad_alloc&) {
    m_posted.Get()->Clear();
    throw;
  } catch (const misc::zvException&) {
    // Where a toolpath has several faults, the order of the checks over the whole of it decides
    // which one is told, and how far the list is filled.
    m_posted.Get()->Clear();
    BuildPostedMovesWhole(toolpath, smallMoves);
    throw;
  }
}

// Takes each move through all steps at once, so that moves are read from memory once and no
// flattened toolpath is kept.
void zvPosted4axTPCreator::BuildPostedMovesInOneWalk(const cadcam::zvToolPath& toolpath,
                                                     bool smallMoves) {
  const post::zvOrientationCone cone(m_machDef);
  BlockBuilder builder(*m_posted.Get(), m_maker, cone, GetPar(), smallMoves);
  post::zvPathReader reader(toolpath, GetAlignMatrix());
  while (builder.Append(reader)) {
  }
}

void zvPosted4axTPCreator::CheckToolPath(const cadcam::zvToolPath& toolpath) const {
  const post::zvOrientationCone cone(m_machDef);
  post::ForEachMove(toolpath, GetAlignMatrix(),
                    [&](const cadcam::zvCNCMove& move, zvPostedMove::Types) {
                      RequireOn(cone, move.GetOrientation().Normalized());
                    });
}

void zvPosted4axTPCreator::BuildPostedMovesWhole(const cadcam::zvToolPath& toolpath,
                                                 bool smallMoves) {
  CheckMoves(toolpath);
  CheckToolPath(toolpath);
  const auto forEach = [&](const auto& take) {
    post::ForEachMove(toolpath, GetAlignMatrix(), take);
  };
  ListBuilder builder(*m_posted.Get(), m_maker, GetPar(), smallMoves);
  forEach([&](const cadcam::zvCNCMove& source, zvPostedMove::Types type) {
    const post::zvMoveView move(source);
    builder.Append(move, move.GetOrientation().Normalized(), type);
  });
}

void zvPosted4axTPCreator::FixAnglesIfIsPossible() {
  const auto ranges = post::RotaryRangesOf(m_machDef);
  if (post::HoldSolvedAngles(ranges)) return;
  for (Move& move : *m_posted.Get()) post::WrapIntoRanges(move, ranges);
}

void zvPosted4axTPCreator::RepairAngles(bool smallMoves) {
  List& list = *m_posted.Get();
  FixAnglesIfIsPossible();
  const double largestStep = post::CalcWindedAngles(list);
  const RepairMachine machine(m_maker, m_machDef, GetPar(), smallMoves, m_counts);
  m_counts.largeJumps =
      post::HandleLargeAngleJumps(list, largestStep, GetPar().GetMaxAngleJump(),
                                  [&](const Move& move) { return machine.Retract(move); });
}

void zvPosted4axTPCreator::CheckLimits(bool smallMoves) {
  Limits limits(*m_posted.Get(), m_machDef, GetPar().GetLimitTolerance());
  zvLimitType limit;
  switch (GetPar().GetLimitsCheck()) {
    case zvKDRParam::checkNothing:
      return;
    case zvKDRParam::checkLinearAxes:
      if (limits.LinearExceeded(limit)) ExceedingLimit(limit);
      return;
    case zvKDRParam::checkRotaryAxes:
      // Told as they are: shifts and rewindings are for the check of all axes.
      if (limits.RotaryExceeded(limit)) ExceedingLimit(limit);
      return;
    case zvKDRParam::checkAllAxes:
      if (limits.LinearExceeded(limit)) ExceedingLimit(limit);
      KeepRotaryLimits(limits, smallMoves);
      return;
  }
  throw zvPostException(zvPostException::kUnknownLimits);
}

void zvPosted4axTPCreator::KeepRotaryLimits(Limits& limits, bool smallMoves) {
  zvLimitType limit;
  if (!limits.RotaryExceeded(limit)) return;
  if (limits.TryShiftAll()) {
    const zvPosted4axMoveMaker maker(m_machDef, GetPar(), GetPartOrigin(),
                                     GetToolLengthCompensationValue());
    const RepairMachine machine(maker, m_machDef, GetPar(), smallMoves, m_counts);
    post::zvRewinder<Move, RepairMachine> rewinder(*m_posted.Get(), post::RotaryRangesOf(m_machDef),
                                                   GetPar(), smallMoves, machine);
    m_counts.rewindings = rewinder.Run();
  }
  if (limits.RotaryExceeded(limit)) ExceedingLimit(limit);
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
  return m_maker.Make(view, view.GetOrientation().Normalized(), type, 0, true,
                      m_maker.MakePoleCone(), false);
}

std::pair<misc::zvAutoPointer<zvPosted4axMove>, misc::zvAutoPointer<zvPosted4axMove>>
zvPosted4axTPCreator::PostMoveWithinMachLimits(const cadcam::zvMovePointer& move,
                                               zvPostedMove::Types type) const {
  auto posted = misc::MakeAutoPointer<Move>(SolveMove(move, type));
  const zvKDRParam::LimitsCheck check = GetPar().GetLimitsCheck();
  const bool checksLinear =
      check == zvKDRParam::checkLinearAxes || check == zvKDRParam::checkAllAxes;
  const bool checksRotary =
      check == zvKDRParam::checkRotaryAxes || check == zvKDRParam::checkAllAxes;
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
