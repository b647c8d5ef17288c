#include <kandrel/post/passes/move_between.h>

namespace post {

using Point = cadcam::zvTPoint3d<double>;

zvPosted5axMove MoveBetween(const zvPosted5axMove& a, const zvPosted5axMove& b, double t,
                            double firstAngle, double secondAngle, const Point& orientation,
                            const zv5axKinematics& kinematics) {
  const auto blend = [t](const auto& from, const auto& to) { return (1 - t) * from + t * to; };
  const Point p_part = blend(a.GetPartPosition(), b.GetPartPosition());
  const Point p_mach = kinematics.MachinePosition(p_part, firstAngle, secondAngle);
  const bool rapid = a.IsRapid() && b.IsRapid();
  const double feed = a.IsRapid() == b.IsRapid() ? blend(a.GetFeed(), b.GetFeed())
                      : a.IsRapid()              ? b.GetFeed()
                                                 : a.GetFeed();
  if (a.HasNoExtended() || b.HasNoExtended())
    return zvPosted5axMove(p_mach, p_part, orientation, firstAngle, secondAngle, 0, feed, rapid,
                           b.GetType());
  const bool hasData = a.HasExtendedData() && b.HasExtendedData();
  return zvPosted5axMove(
      p_mach, p_part, orientation, firstAngle, secondAngle, 0, feed, rapid, b.GetType(),
      hasData ? blend(a.GetExtendedPoint(), b.GetExtendedPoint()) : Point{},
      hasData ? blend(a.GetExtendedVector(), b.GetExtendedVector()) : Point{0, 0, 1},
      hasData && a.GetExtendedId() == b.GetExtendedId() ? a.GetExtendedId() : 0, hasData,
      b.GetSourceIndex(), true);
}

}  // namespace post
