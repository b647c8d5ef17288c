#include <kandrel/post/turn.h>

namespace post {

zvTurn zvTurn::OfDegrees(double deg) noexcept {
  const double rad = deg * misc::kRadiansPerDegree;
  return {std::cos(rad), std::sin(rad)};
}

}  // namespace post
