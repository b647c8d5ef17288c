// zvLimitKeeper: spends the free angle of a pole on the limits of the linear axes.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/geometry/five_axis_kinematics.h>
#include <kandrel/post/model/mach_def.h>

namespace post {

/// On the pole of the first axis its angle doesn't turn the tool, but moves the part on a circle: a
/// position out of the limits may be brought in. Works where the tool's axis is the first axis:
/// kind 2, and kind 3 with the first axis along the spindle.
class KANDREL_API zvLimitKeeper {
 public:
  /// `machDef` is normalised and copied.
  explicit zvLimitKeeper(const zv5axMachDef& machDef);

  /// Looks for a first angle at which the tip, with the second angle as it stands, lies inside the
  /// limits of X, Y and Z; `position` and `firstAngle` then belong together. False, and nothing
  /// changed, when the position is inside already or no angle is found. The search starts near
  /// `lastAngle`. Kinematics are passed at each call, so that copies of a solver can't mix theirs.
  bool KeepInLimits(const zv5axKinematics& kinematics, const cadcam::zvTPoint3d<double>& p_part,
                    double lastAngle, double secondAngle, cadcam::zvTPoint3d<double>& position,
                    double& firstAngle) const;

 private:
  using Point = cadcam::zvTPoint3d<double>;
  struct Place;

  bool IsInside(const Point& p) const noexcept;
  bool TurnOnCircle(const Place& place, Point& position, double& firstAngle) const;
  bool Scan(const Place& place, double lastAngle, Point& position, double& firstAngle) const;
  bool Bisect(const Place& place, double angle1, double angle2, int axis, double plane,
              Point& position, double& firstAngle) const;

  bool m_active;
  bool m_hasCircle;  // the first axis is exactly Z or its opposite, in a plain axis system
  Point m_pivot;
  Point m_low;
  Point m_high;
};

}  // namespace post
