#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/detail/tool_rules.h>
#include <kandrel/misc/tolerances.h>

#include <cmath>

namespace cadcam::detail {

namespace {

using misc::kEqual;
using misc::kToolParameterEqual;

// The slack stands on the radius, so that one of half the length and 1e-6 passes; kEqual takes up
// the rounding of the subtraction.
bool HoldsCornerTwice(double length, double cornerRadius) {
  return 2 * (cornerRadius - kToolParameterEqual) <= length + kEqual;
}

}  // namespace

void RequireRange(const zvToolNumbers& n, zvToolParameter parameter) {
  RequireRange(n, parameter, RowOf(parameter).highest);
}

void RequireRange(const zvToolNumbers& n, zvToolParameter parameter, double highest) {
  const zvToolParameterRow& row = RowOf(parameter);
  const double value = GetParameter(n, parameter);
  if (!(value >= row.lowest - row.slack && value <= highest)) throw zvcadcamException(row.id);
}

void NormalizeCorner(zvToolNumbers& n, double full, double noneBelow) {
  RequireRange(n, zvToolParameter::cornerRadiusType);
  if (n.cornerRadiusType == cornerRadiusType::given && std::fabs(n.cornerRadius) < noneBelow)
    n.cornerRadiusType = cornerRadiusType::none;
  if (n.cornerRadiusType == cornerRadiusType::none) n.cornerRadius = 0;
  if (n.cornerRadiusType == cornerRadiusType::full) n.cornerRadius = full;
}

void RequireCornerInDiameter(const zvToolNumbers& n) {
  if (!HoldsCornerTwice(n.diameter, n.cornerRadius))
    throw zvcadcamException(zvcadcamException::kDiameterBelowCorner);
}

void RequireCornerInFlute(const zvToolNumbers& n) {
  if (!HoldsCornerTwice(n.fluteLength, n.cornerRadius))
    throw zvcadcamException(zvcadcamException::kFluteBelowCorner);
}

void RequireTipInShoulder(const zvToolNumbers& n) {
  const double tipHeight = n.diameter / 2 / TanDeg(n.tipAngle / 2);
  if (!(tipHeight <= n.shoulderLength + kToolParameterEqual))
    throw zvcadcamException(zvcadcamException::kTipAndShoulder);
}

BarrelFlank BarrelFlankOf(const zvToolNumbers& n) {
  const double run = n.upperDiameter / 2 + n.profileRadius - n.diameter / 2;
  const double riseSquared = n.profileRadius * n.profileRadius - run * run;
  return {{n.diameter / 2 - n.profileRadius, n.fluteLength - std::sqrt(riseSquared)}, riseSquared};
}

}  // namespace cadcam::detail
