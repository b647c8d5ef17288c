// Which limit of its machine a machine position or a posted move breaks.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/angles.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_type.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/move_traits.h>

#include <algorithm>
#include <array>

namespace post {

/// The first limit that a machine position breaks by more than 1e-12, in the order x minimum, x
/// maximum, y, z; none when it keeps them all. A coordinate or limit that is not a number breaks.
KANDREL_API zvLimitType LinearOut(const cadcam::zvTPoint3d<double>& p_mach,
                                  const zvMachDef& machDef);

/// The range of one rotary axis, degrees.
struct zvRotaryRange {
  double min;
  double max;
};

/// The ranges of a machine's rotary axes in the order of its moves' angles.
KANDREL_API std::array<zvRotaryRange, 1> RotaryRangesOf(const zv4axMachDef& machDef);
KANDREL_API std::array<zvRotaryRange, 2> RotaryRangesOf(const zv5axMachDef& machDef);

/// The first rotary limit that a move breaks by more than `slack`, each axis' minimum before its
/// maximum, without reducing angles by whole turns.
template <class Move>
zvLimitType RotaryOut(const Move& move,
                      const std::array<zvRotaryRange, zvMoveTraits<Move>::kAxes>& ranges,
                      double slack) {
  for (int axis = 0; axis < zvMoveTraits<Move>::kAxes; ++axis) {
    const double deg = zvMoveTraits<Move>::Angle(move, axis);
    if (!(ranges[axis].min - slack <= deg))
      return {zvLimitType::kFirstRotary + axis, zvLimitType::kMinimum};
    if (!(ranges[axis].max + slack >= deg))
      return {zvLimitType::kFirstRotary + axis, zvLimitType::kMaximum};
  }
  return {};
}

/// The same for angles that a control writes otherwise: an axis fits when its angle fits or the one
/// written. The limit of one that doesn't is that which `written` breaks.
template <class Move>
zvLimitType RotaryOut(const Move& move, const Move& written,
                      const std::array<zvRotaryRange, zvMoveTraits<Move>::kAxes>& ranges,
                      double slack) {
  for (int axis = 0; axis < zvMoveTraits<Move>::kAxes; ++axis) {
    const double deg = zvMoveTraits<Move>::Angle(move, axis);
    if (ranges[axis].min - slack <= deg && deg <= ranges[axis].max + slack) continue;
    const double writtenDeg = zvMoveTraits<Move>::Angle(written, axis);
    if (!(ranges[axis].min - slack <= writtenDeg))
      return {zvLimitType::kFirstRotary + axis, zvLimitType::kMinimum};
    if (!(ranges[axis].max + slack >= writtenDeg))
      return {zvLimitType::kFirstRotary + axis, zvLimitType::kMaximum};
  }
  return {};
}

/// Throws zvPostException 5010 to 5014 for a limit that is the minimum of an axis, 5015 to 5019 for
/// a maximum; returns for what names no limit.
KANDREL_API void RequireNoExcess(const zvLimitType& limit);

/// True if no solved angle can lie outside: those lie in (-180, 180], or in [0, 360) where limits
/// are kept at a pole.
template <class Ranges>
bool HoldSolvedAngles(const Ranges& ranges) {
  return std::all_of(ranges.begin(), ranges.end(), [](const zvRotaryRange& range) {
    return range.min <= -misc::kFullTurnDeg && range.max >= misc::kFullTurnDeg;
  });
}

}  // namespace post
