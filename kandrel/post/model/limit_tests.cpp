#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/post_exception.h>

#include <cstdint>

namespace post {

zvLimitType LinearOut(const cadcam::zvTPoint3d<double>& p_mach, const zvMachDef& machDef) {
  const auto& low = machDef.GetMinLimits();
  const auto& high = machDef.GetMaxLimits();
  // Compared so that what is not a number breaks its limit.
  for (std::int32_t axis = zvLimitType::kX; axis <= zvLimitType::kZ; ++axis) {
    if (!(low[axis] - misc::kEqual <= p_mach[axis])) return {axis, zvLimitType::kMinimum};
    if (!(high[axis] + misc::kEqual >= p_mach[axis])) return {axis, zvLimitType::kMaximum};
  }
  return {};
}

std::array<zvRotaryRange, 1> RotaryRangesOf(const zv4axMachDef& machDef) {
  return {{{machDef.GetMinAngle(), machDef.GetMaxAngle()}}};
}

std::array<zvRotaryRange, 2> RotaryRangesOf(const zv5axMachDef& machDef) {
  return {{{machDef.GetMinFirstAngle(), machDef.GetMaxFirstAngle()},
           {machDef.GetMinSecondAngle(), machDef.GetMaxSecondAngle()}}};
}

void RequireNoExcess(const zvLimitType& limit) {
  const bool isAxis =
      limit.limitAxis >= zvLimitType::kX && limit.limitAxis <= zvLimitType::kSecondRotary;
  const bool isSide =
      limit.limitSide == zvLimitType::kMinimum || limit.limitSide == zvLimitType::kMaximum;
  if (!isAxis || !isSide) return;
  constexpr int kSides = zvPostException::kXAboveMaximum - zvPostException::kXBelowMinimum;
  throw zvPostException(static_cast<std::uint32_t>(zvPostException::kXBelowMinimum +
                                                   limit.limitAxis + kSides * limit.limitSide));
}

}  // namespace post
