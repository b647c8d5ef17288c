// What the tests say of points.
#pragma once

#include <kandrel/cadcam/point3d.h>

namespace tests {

using Point = cadcam::zvTPoint3d<double>;

inline double Distance(const Point& a, const Point& b) {
  return (a - b).Length();
}

}  // namespace tests
