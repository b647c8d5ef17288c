#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/geometry/turn.h>

namespace post {

zvTurn zvTurn::OfDegrees(double deg) noexcept {
  const auto [sine, cosine] = misc::SineAndCosineOfDegrees(deg);
  return {cosine, sine};
}

zvTurn zvTurn::OfRadians(double rad) noexcept {
  const auto [sine, cosine] = misc::SineAndCosineOfRadians(rad);
  return {cosine, sine};
}

}  // namespace post
