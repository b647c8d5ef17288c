#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/point3d.h>

#include <cmath>

namespace cadcam {

namespace detail {

double Length(double x, double y, double z) noexcept {
  const double plain = std::sqrt(x * x + y * y + z * z);
  return plain != 0 && !std::isinf(plain) ? plain : std::hypot(x, y, z);
}

void ThrowNullVector() {
  throw zvcadcamException(2189);
}

}  // namespace detail

}  // namespace cadcam
