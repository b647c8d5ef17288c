// zvStandingAxes: the rotary axes of a toolpath that needs no rotary motion.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/progress.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/geometry/transformation3d.h>
#include <kandrel/post/model/align_matrix.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/limit_type.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posting_parameters.h>

namespace post {

/// Where the rotary axes stand, degrees.
struct zvStandingAxes {
  double firstAngle = 0;
  double secondAngle = 0;

  /// Whether both stand at exactly 0.
  KANDREL_API bool AreAtZero() const noexcept;
};

/// Whether all moves of a toolpath have one orientation; false without moves. Each is compared with
/// the first, so that drift can't add up. Lengths count: (0, 0, 1) and (0, 0, 2) differ; of vectors
/// next to nothing the directions count too. Looks no further than the first that differs. Throws
/// as zvPathReader::Next does, which `polling` is for.
KANDREL_API bool HasOneOrientation(const cadcam::zvToolPath& toolpath,
                                   const zvAlignMatrix& alignment,
                                   misc::zvPolling* polling = nullptr);

/// The angles for a tip and an orientation, on a pole by `cone`, chosen as for a first move, an
/// angle that a pole leaves free as firstMoveRule prefers it, and brought into their ranges where a
/// turn does it. Throws as the solver and TakesMirrorFirst do, zvPostException 5039 for a preferred
/// angle that is infinite or NaN.
KANDREL_API zvStandingAxes ChooseStandingAxes(const cadcam::zvTPoint3d<double>& p_part,
                                              const cadcam::zvTPoint3d<double>& orientation,
                                              const zv5axMoveSolver& solver,
                                              const zv5axMoveSolver::PoleCone& cone,
                                              const zv5axMachDef& machDef, const zvKDRParam& par);

/// The angles as the control wants them written. The second axis is wrapped when it has a limit of
/// its own, but by the first one's: single moves are written so too, and stay comparable with
/// these.
KANDREL_API zvStandingAxes AsWritten(const zvStandingAxes& axes, const zv5axControlDef& control);

/// The first rotary limit that the axes break by more than poleAngleTolerance, as they stand and as
/// they are written: an axis fits when either does.
KANDREL_API zvLimitType RotaryOut(const zvStandingAxes& axes, const zvStandingAxes& written,
                                  const zv5axMachDef& machDef, const zvKDRParam& par);

/// What takes a part position to the machine position with the axes as they stand.
KANDREL_API misc::zvAutoPointer<zvTransformation3d> TransformationAt(
    const zvStandingAxes& axes, const zv5axKinematics& kinematics);

}  // namespace post
