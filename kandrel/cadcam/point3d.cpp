#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/point3d.h>

#include <cmath>

namespace cadcam {

namespace detail {

double ScaledLength(double x, double y, double z) noexcept {
  return std::hypot(x, y, z);
}

void ThrowNullVector() {
  throw zvcadcamException(2189);
}

}  // namespace detail

}  // namespace cadcam
