#include <kandrel/misc/range_exception.h>
#include <kandrel/post/model/path_tolerance.h>

#include <limits>
#include <optional>

namespace post {

namespace {

double RequirePositive(double value, const wchar_t* what) {
  constexpr double kLargest = std::numeric_limits<double>::max();
  const auto refuse = [&](std::optional<double> minimum, std::optional<double> maximum) {
    const misc::zvException which(0, what);
    throw misc::zvRangeException<double>(minimum, maximum, value, &which);
  };
  if (!(value > 0)) refuse(0.0, std::nullopt);
  if (!(value <= kLargest)) refuse(std::nullopt, kLargest);
  return value;
}

}  // namespace

zvPathTolerance::zvPathTolerance(double tip, double axis)
    : m_tip(RequirePositive(tip, kTipTolerance)), m_axis(RequirePositive(axis, kAxisTolerance)) {}

}  // namespace post
