// zv4axPairSolver: angles and machine positions of 4-axis moves, two at a time.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/lanes.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/geometry/four_axis_kinematics.h>
#include <kandrel/post/geometry/pole.h>
#include <kandrel/post/geometry/turn.h>
#include <kandrel/post/model/posted_move.h>

#include <limits>

namespace post {

/// Solves the ordinary moves of a long path at half the cost: those that a zvPosted4axMoveMaker
/// solves without a special case, by the same formulas (see zv4axKinematics). What it computes with
/// is copied; the kinematics are referred to and must outlive it.
class zv4axPairSolver {
 public:
  using Move = zvPosted4axMove;

  /// `poleEps` as for zv4axKinematics::Angle.
  zv4axPairSolver(const zv4axKinematics& kinematics, const zvOrientationCone& cone, double poleEps)
      : m_kinematics(kinematics),
        m_isOnTable(kinematics.GetConstants().isOnTable),
        m_spindle(Both(kinematics.GetConstants().spindle)),
        m_axis(Both(kinematics.GetConstants().axis)),
        m_pivot(Both(kinematics.GetConstants().pivot)),
        m_toolVector(Both(kinematics.GetConstants().toolVector)),
        m_spindleCrossAxis(Both(kinematics.GetConstants().spindleCrossAxis)),
        m_origin(Both(kinematics.GetPartOrigin())),
        m_coneAxis(Both(cone.GetAxis())),
        m_coneCosine(misc::Spread(cone.GetCosine())),
        m_alongSquared(misc::Spread(kinematics.GetConstants().alongSquared)),
        m_acrossSquared(misc::Spread(1 - kinematics.GetConstants().alongSquared)),
        m_poleEps(misc::Spread(poleEps)) {}

  /// Gives two moves angle and machine position for their part position and orientation, to the bit
  /// what each gets alone. False, and nothing is set, unless both are ordinary: finite, on the
  /// cone, off the pole, away from the snap of the arc cosine, and nothing that turns lies on its
  /// axis.
  bool Solve(Move& a, Move& b) const noexcept {
    const Points t_raw = Both(a.GetOrientation(), b.GetOrientation());
    const Lanes length = misc::Sqrt(t_raw.SquaredLength());
    const Points t = t_raw / length;
    const Lanes c = Dot(m_spindle, t);
    const Lanes x = (c - m_alongSquared) / m_acrossSquared;
    // A comparison with what is not a number doesn't hold: what a length of 0 gives goes out too.
    const misc::LaneMask isInReach =
        misc::And(length <= m_largest, misc::Abs(Dot(t, m_coneAxis) - m_coneCosine) <= m_equal);
    const misc::LaneMask isOffPole =
        misc::And(zvPoleCone::IsOff(c, m_one, m_poleEps), misc::Abs(x) < m_farFromSnap);
    if (!misc::AreAll(misc::And(isInReach, isOffPole))) return false;

    const misc::LaneMask signs = misc::SignBits(Dot(m_spindleCrossAxis, t) < misc::Spread(0));
    const Lanes deg = misc::Reversed(misc::ArcCosine(x) * misc::kDegreesPerRadian, signs);
    const Lanes sine = misc::Reversed(misc::Sqrt((m_one - x) * (m_one + x)), signs);
    const Points q = Both(a.GetPartPosition(), b.GetPartPosition()) + m_origin;
    Points p_mach;
    if (m_isOnTable) {
      const ArmOf<Lanes> arm(q, m_axis, m_pivot);
      // What is not finite, or whose square isn't, makes no finite arm.
      if (!misc::AreAll(misc::And(arm.IsOffLine(), arm.across.SquaredLength() <= m_largest)))
        return false;
      p_mach = arm.Turned(m_axis, m_pivot, x, sine) + m_toolVector;
    } else {
      if (!misc::AreAll(q.x * 0.0 + q.y * 0.0 + q.z * 0.0 == misc::Spread(0))) return false;
      const ArmOf<Lanes> arm(m_toolVector, m_axis, {});
      const bool turns = misc::AreAll(arm.IsOffLine());
      p_mach = q + m_pivot + (turns ? arm.Turned(m_axis, {}, x, -sine) : m_toolVector);
    }
    Set(a, 0, p_mach, deg);
    Set(b, 1, p_mach, deg);
    return true;
  }

 private:
  using Lanes = misc::Lanes;
  using Point = cadcam::zvTPoint3d<double>;
  using Points = cadcam::zvTPoint3d<Lanes>;

  static Points Both(const Point& a, const Point& b) noexcept {
    return {Lanes{a.x, b.x}, Lanes{a.y, b.y}, Lanes{a.z, b.z}};
  }
  static Points Both(const Point& p) noexcept { return Both(p, p); }

  void Set(Move& move, int lane, const Points& p_mach, Lanes deg) const noexcept {
    move.SetRotaryAngle(deg[lane]);
    move.SetMachinePosition(
        m_kinematics.OnLinearAxes({p_mach.x[lane], p_mach.y[lane], p_mach.z[lane]}));
  }

  const zv4axKinematics& m_kinematics;
  bool m_isOnTable;
  Points m_spindle;
  Points m_axis;
  Points m_pivot;
  Points m_toolVector;
  Points m_spindleCrossAxis;
  Points m_origin;
  Points m_coneAxis;
  Lanes m_coneCosine;
  Lanes m_alongSquared;
  Lanes m_acrossSquared;
  Lanes m_poleEps;
  // Kept in memory, as the arc cosine's are.
  Lanes m_one = misc::Spread(1);
  Lanes m_equal = misc::Spread(misc::kEqual);
  Lanes m_farFromSnap = misc::Spread(misc::kFarFromSnap);
  Lanes m_largest = misc::Spread(std::numeric_limits<double>::max());
};

}  // namespace post
