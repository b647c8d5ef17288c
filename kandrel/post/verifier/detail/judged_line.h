// zvLineView and zvJudgedLine: a posted line as it is read, and as it is judged.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/angles.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/geometry/way_distance.h>

#include <array>
#include <cmath>
#include <cstdint>

namespace post {

/// A posted line of any kind; it refers to where it is read from.
struct zvLineView {
  using Point = cadcam::zvTPoint3d<double>;

  const Point& p_mach;
  const Point& p_part;
  const Point& dir_tool;
  std::array<double, 3> degs{};
  double feed;
  bool isRapid;
  bool isInserted;
  std::int64_t source;  ///< -1: not known
};

/// A line as it is judged.
struct zvJudgedLine {
  using Point = cadcam::zvTPoint3d<double>;

  zvBlockLaw::Station station;
  Point p_part;
  Point dir_tool;           ///< a unit vector
  double tipOff = 0;        ///< what the machine puts the tip off the line by
  double axisOff = 0;       ///< the same of the tool axis, as a chord
  double sourceOff = 0;     ///< what the orientation lies off the source's arc by, radians
  double sourceTipOff = 0;  ///< what the part position lies off the source's move or segment by
  bool isLift = false;      ///< a rapid line that the posting put in
};

/// An orientation of any length as a unit vector; zero stays zero.
[[gnu::always_inline]] inline cadcam::zvTPoint3d<double> UnitOf(
    const cadcam::zvTPoint3d<double>& dir) {
  // Most have the length 1 but for rounding, and serve as they are.
  if (std::fabs(dir.SquaredLength() - 1) <= 1e-15) [[likely]]
    return dir;
  return dir.IsZero() ? dir : dir / dir.Length();
}

/// The angle of a chord of the unit circle, degrees, never too small.
inline double DegOfChord(double chord) {
  return 2 * AngleOfSine(chord / 2) * misc::kDegreesPerRadian;
}

}  // namespace post
