// zvPosted4axMoveMaker: one posted move of a 4-axis machine from one toolpath move.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/four_axis_kinematics.h>
#include <kandrel/post/geometry/move_grabber.h>
#include <kandrel/post/geometry/pole.h>
#include <kandrel/post/geometry/posted_from.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>

namespace post {

/// Keeps the kinematics of the machine as it is now, and references to the parameters and the part
/// origin, which must outlive it. Lengths in the machine's units.
class KANDREL_API zvPosted4axMoveMaker {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  using PoleCone = zvPoleCone;

  /// Throws as zvMachDef::Normalize does.
  zvPosted4axMoveMaker(const zv4axMachDef& machDef, const zvKDRParam& par, const Point& partOrigin,
                       double toolLengthCompensation);
  zvPosted4axMoveMaker(const zv4axMachDef&, const zvKDRParam&&, const Point&, double) = delete;
  zvPosted4axMoveMaker(const zv4axMachDef&, const zvKDRParam&, const Point&&, double) = delete;

  /// The kinematics, which live as long as the maker.
  const zv4axKinematics& GetKinematics() const noexcept { return m_kinematics; }

  /// `deg` exactly 1e308 means poleAngleTolerance of the parameters.
  PoleCone MakePoleCone(double deg = misc::kNoValue) const;

  /// The posted move for a tool along `dir_tool`, the move's orientation as a unit vector.
  /// `sourceIndex` and `inserted` go into the extended block, which a small move doesn't have.
  /// An orientation less than 1e-6 rad off the machine's cone is solved as the one on it, and kept
  /// as it is. Nothing is checked: farther off the angle is that of no orientation.
  zvPosted4axMove Make(const zvMoveView& move, const Point& dir_tool, zvPostedMove::Types type,
                       std::int32_t sourceIndex, bool inserted, const PoleCone& cone,
                       bool smallMoves) const {
    zvPosted4axMove posted = MakeUnsolved(move, type, sourceIndex, inserted, smallMoves);
    Solve(posted, dir_tool, cone);
    return posted;
  }

  /// The same with the angle and the machine position still to be set.
  static zvPosted4axMove MakeUnsolved(const zvMoveView& move, zvPostedMove::Types type,
                                      std::int32_t sourceIndex, bool inserted, bool smallMoves) {
    return PostedFrom<zvPosted4axMove>(move, {}, {type, sourceIndex, inserted, smallMoves}, 0.0);
  }

  /// Sets them for the part position that the move has.
  void Solve(zvPosted4axMove& posted, const Point& dir_tool, const PoleCone& cone) const {
    const Point dir_solved = m_kinematics.GetCone().OntoIfNear(dir_tool);
    const zvSolvedAngle angle = m_kinematics.Angle(dir_solved, cone.eps);
    posted.SetRotaryAngle(angle.deg);
    posted.SetMachinePosition(m_kinematics.MachinePosition(posted.GetPartPosition(), angle.turn));
  }

 private:
  const zvKDRParam* m_par;
  zv4axKinematics m_kinematics;
};

}  // namespace post
