#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/geometry/tool_leap.h>

#include <algorithm>
#include <cmath>

namespace post {

using Point = cadcam::zvTPoint3d<double>;

bool LeavesItsWay(const zvPosted5axMove& a, const zvPosted5axMove& b, double deg,
                  const zv5axKinematics& kinematics) {
  const auto at = [&](double t) {
    return kinematics.OrientationFromAngles((1 - t) * a.GetAngle(0) + t * b.GetAngle(0),
                                            (1 - t) * a.GetAngle(1) + t * b.GetAngle(1));
  };
  const Point from = at(0);
  const Point to = at(1);
  const Point across = Cross(from, to);  // square to the plane of the shortest way
  const double sine = across.Length();
  const auto turn = [](const Point& u, const Point& v) {
    return misc::ArcTangent(Cross(u, v).Length(), Dot(u, v)) * misc::kDegreesPerRadian;
  };
  constexpr int kParts = 8;
  for (int k = 1; k < kParts; ++k) {
    const Point tool = at(static_cast<double>(k) / kParts);
    double off = std::min(turn(from, tool), turn(tool, to));
    // Beside the arc itself its plane is nearer than its ends: between the planes square to it at
    // both ends. The angle to a plane is what the one to its normal lacks of 90 degrees.
    if (sine > misc::kEqual && Dot(Cross(across, from), tool) > 0 &&
        Dot(Cross(to, across), tool) > 0)
      off = 90 - turn(across, tool);
    if (!(std::fabs(off) <= deg)) return true;
  }
  return false;
}

}  // namespace post
