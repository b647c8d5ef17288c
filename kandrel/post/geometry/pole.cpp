#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/geometry/pole.h>

namespace post {

zvPoleCone zvPoleCone::OfDegrees(double deg) noexcept {
  const double cosine = misc::SineAndCosineOfDegrees(deg).cosine;
  return {1 - cosine * cosine};
}

}  // namespace post
