// zvTransformation3d: a rigid transformation.
#pragma once

#include <kandrel/cadcam/matrix.h>
#include <kandrel/cadcam/point3d.h>

namespace post {

/// Takes a point p to R p + t.
class zvTransformation3d {
 public:
  using Rotation = cadcam::zvMatrix<double, 3, 3>;
  using Point = cadcam::zvTPoint3d<double>;

  /// The identity.
  zvTransformation3d() = default;
  /// Of these two; nothing is checked.
  zvTransformation3d(const Rotation& rotation, const Point& translation)
      : m_rotation(rotation), m_translation(translation) {}

  /// R and t.
  const Rotation& GetRotation() const noexcept { return m_rotation; }
  const Point& GetTranslation() const noexcept { return m_translation; }

  /// The point R p + t.
  Point operator*(const Point& p) const {
    const Rotation& r = m_rotation;
    return Point{r(0, 0) * p.x + r(0, 1) * p.y + r(0, 2) * p.z,
                 r(1, 0) * p.x + r(1, 1) * p.y + r(1, 2) * p.z,
                 r(2, 0) * p.x + r(2, 1) * p.y + r(2, 2) * p.z} +
           m_translation;
  }

 private:
  Rotation m_rotation = Rotation::Identity();
  Point m_translation;
};

}  // namespace post
