// PostedFrom: a posted move with what it takes over from its toolpath move.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/post/geometry/move_grabber.h>
#include <kandrel/post/model/posted_move.h>

#include <cstdint>

namespace post {

/// Where a posted move belongs in its list and its toolpath.
struct zvMovePlace {
  zvPostedMove::Types type;
  std::int32_t sourceIndex;  ///< of the toolpath move; goes into the extended block
  bool inserted;             ///< made by the kernel; goes there too
  bool smallMove;            ///< without the block
};

/// A posted move of the class `Move` with linear axes at `p_mach` and what its constructor wants of
/// rotary axes: nothing for 3 axes, the angle for 4; both angles and the pole status for 5. Tip,
/// orientation, feed and contact data are those of the toolpath move. Nothing is checked.
template <class Move, class... Rotary>
inline Move PostedFrom(const zvMoveView& source, const cadcam::zvTPoint3d<double>& p_mach,
                       const zvMovePlace& place, Rotary... rotary) {
  Move posted(p_mach, source.GetPosition(), source.GetOrientation(), rotary..., source.GetFeed(),
              source.IsRapid(), place.type);
  if (!place.smallMove)
    posted.SetExtended(source.GetExtendedPoint(), source.GetExtendedVector(),
                       source.GetExtendedId(), source.HasExtendedData(), place.sourceIndex,
                       place.inserted);
  return posted;
}

}  // namespace post
