#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/step_counts.h>

#include <cmath>

namespace post {

namespace {

// Formed as a double: what doesn't fit is refused before it becomes an integer.
std::uint32_t Count(double value) {
  if (!(value <= misc::kLargestCount)) throw zvPostException(zvPostException::kInvalidVector);
  return static_cast<std::uint32_t>(value);
}

}  // namespace

std::uint32_t StepsByDistance(const zvKDRParam& par, double distance) {
  const double step = par.GetInterpolationDistance();
  if (!par.GetInterpolateByDistance() || !(step > 0) || !(step < distance)) return 0;
  return Count(std::trunc(distance / step) + 1);
}

std::uint32_t StepsByAngle(const zvKDRParam& par, double angle) {
  const double step = par.GetMaxAngleStep();
  if (!(step > 0) || !(step + misc::kEqual < angle)) return 0;
  return Count(std::trunc(angle / step));
}

}  // namespace post
