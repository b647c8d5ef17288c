#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/post_exception.h>

namespace post {

zvLimitType LinearOut(const cadcam::zvTPoint3d<double>& p_mach, const zvMachDef& machDef) {
  const auto& low = machDef.GetMinLimits();
  const auto& high = machDef.GetMaxLimits();
  const auto& m = p_mach;
  const struct {
    double low, value, high;
  } axes[] = {{low.x, m.x, high.x}, {low.y, m.y, high.y}, {low.z, m.z, high.z}};
  std::int32_t axis = zvLimitType::kX;
  for (const auto& a : axes) {
    if (!(a.low - misc::kEqual <= a.value)) return {axis, zvLimitType::kMinimum};
    if (!(a.high + misc::kEqual >= a.value)) return {axis, zvLimitType::kMaximum};
    ++axis;
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
  throw zvPostException(static_cast<std::uint32_t>(zvPostException::kXBelowMinimum +
                                                   limit.limitAxis + 5 * limit.limitSide));
}

}  // namespace post
