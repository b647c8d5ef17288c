// Alignment: the rotation that brings a toolpath made in a turned frame onto the machine.
#pragma once

#include <kandrel/cadcam/matrix.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/progress.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/passes/flat_moves.h>

namespace post {

/// The rotation about b x a that turns direction b into direction a, both unit vectors, by the
/// formula of Rodrigues: I + sin(t) K + (1 - cos(t)) K K. Throws zvcadcamException 2189 for
/// directions that are exactly parallel or opposite.
KANDREL_API cadcam::zvMatrix<double, 4, 4> RotationBetween(const cadcam::zvTPoint3d<double>& a,
                                                           const cadcam::zvTPoint3d<double>& b);

/// What FindToolPathAxis has found.
struct zvToolPathAxis {
  cadcam::zvTPoint3d<double> axis;
  bool found = false;
};

/// The direction about which the orientations of a toolpath turn, a unit vector. Where there is
/// none, `found` is false and the axis is the first orientation, or zero below three moves. Throws
/// zvcadcamException 2189 where an orientation is zero or those that turn are parallel,
/// zvPostException 5039 for an orientation that is infinite or NaN. Looks at no more moves than it
/// needs; `polling` is told of each, and what that throws passes through.
KANDREL_API zvToolPathAxis FindToolPathAxis(const cadcam::zvToolPath& toolpath,
                                            misc::zvPolling* polling = nullptr);

/// The matrix that turns the first move's orientation into the spindle, null when it already lies
/// there within 1e-12. The definition is normalised. Throws zvcadcamException 2189 for an
/// orientation opposite to the spindle, zvPostException 5039 as above. Only the first move counts.
KANDREL_API zvAlignMatrix AlignToSpindle(const cadcam::zvToolPath& toolpath,
                                         const zvMachDef& machDef);

/// True when the orientations turn about the machine's rotary axis, or, where they don't turn,
/// stand to it as the spindle does. The definition is normalised. Throws as FindToolPathAxis does.
KANDREL_API bool FitsRotaryAxis(const cadcam::zvToolPath& toolpath, const zv4axMachDef& machDef);

/// The matrix that turns the machine's rotary axis onto the toolpath's; null when the path fits.
/// This is the reverse of AlignToSpindle, which turns the path's direction onto the machine's: so
/// the path's axis lands on the machine's only where the two are perpendicular. It is kept: another
/// matrix would move every path that has been posted with it. Throws zvPostException 5044 below
/// three moves that don't fit, and as RotationBetween and FindToolPathAxis do.
KANDREL_API zvAlignMatrix AlignToRotaryAxis(const cadcam::zvToolPath& toolpath,
                                            const zv4axMachDef& machDef,
                                            misc::zvPolling* polling = nullptr);

}  // namespace post
