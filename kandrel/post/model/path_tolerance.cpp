#include <kandrel/misc/range_exception.h>
#include <kandrel/post/model/path_tolerance.h>

#include <limits>
#include <optional>

namespace post {

namespace {

double RequirePositive(double value) {
  constexpr double kLargest = std::numeric_limits<double>::max();
  if (!(value > 0)) throw misc::zvRangeException<double>(0.0, std::nullopt, value);
  if (!(value <= kLargest)) throw misc::zvRangeException<double>(std::nullopt, kLargest, value);
  return value;
}

}  // namespace

zvPathTolerance::zvPathTolerance(double tip, double axis)
    : m_tip(RequirePositive(tip)), m_axis(RequirePositive(axis)) {}

}  // namespace post
