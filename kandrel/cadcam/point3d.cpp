#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/point3d.h>

#include <cmath>

namespace cadcam {

namespace detail {

// In pairs: the form of three arguments drops a NaN in the last one in some libraries.
double ScaledLength(double x, double y, double z) noexcept {
  return std::hypot(std::hypot(x, y), z);
}

void ThrowNullVector() {
  throw zvcadcamException(zvcadcamException::kNullVector);
}

}  // namespace detail

}  // namespace cadcam
