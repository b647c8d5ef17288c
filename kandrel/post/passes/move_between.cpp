#include <kandrel/post/passes/move_between.h>

#include <cstdint>

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
  zvPosted5axMove between(p_mach, p_part, orientation, firstAngle, secondAngle, 0, feed, rapid,
                          b.GetType());
  if (a.HasNoExtended() || b.HasNoExtended()) return between;
  const std::int32_t sourceIndex = b.GetSourceIndex();
  if (a.HasExtendedData() && b.HasExtendedData())
    between.SetExtended(blend(a.GetExtendedPoint(), b.GetExtendedPoint()),
                        blend(a.GetExtendedVector(), b.GetExtendedVector()),
                        a.GetExtendedId() == b.GetExtendedId() ? a.GetExtendedId() : 0, true,
                        sourceIndex, true);
  else
    between.SetExtended({}, {0, 0, 1}, 0, false, sourceIndex, true);
  return between;
}

}  // namespace post
