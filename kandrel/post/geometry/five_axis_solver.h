// zv5axMoveSolver: the two rotary solutions of a tool orientation on a 5-axis machine.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/five_axis_kinematics.h>
#include <kandrel/post/geometry/move_grabber.h>
#include <kandrel/post/geometry/pole.h>
#include <kandrel/post/geometry/pole_limits.h>
#include <kandrel/post/geometry/posted_from.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/mirror_angle.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace post {

/// One way to reach an orientation: angles in degrees, and the linear axes that they need.
struct zvRotarySolution {
  double firstAngle = 0;
  double secondAngle = 0;
  cadcam::zvTPoint3d<double> position;  ///< in the machine's units
};

/// Both ways, with the pole status that zvPosted5axMove has.
struct zvRotarySolutions {
  zvRotarySolution first;
  zvRotarySolution mirror;
  std::uint32_t poleStatus = kDetermined;

  /// The solution that a flag names.
  const zvRotarySolution& Of(bool isMirror) const noexcept { return isMirror ? mirror : first; }
};

/// Solves toolpath moves for a machine. The spindle, turned about the second axis, gives an
/// intermediate direction u; u, turned about the first axis, gives the tool. u lies on two cones,
/// about the working directions A1s and A2s, which meet in two directions: the two solutions. The
/// formulas and their source stand in five_axis_solver.cpp.
///
/// 1. An orientation within the pole tolerance of an axis leaves that axis undetermined: its angle
///    is 0 and the pole status says so. A pole of the second axis wins over one of the first.
/// 2. Angles below 8.1e-4 degrees come out as exactly 0, those as near to 180 as exactly that.
/// 3. The tip lies where it should within 1e-9 for axes under 10 m, the orientation within 2e-5.
///
/// Parameters and part origin are referred to and must outlive the solver: temporaries are refused.
/// Copies share nothing else with each other. Changes of the machine definition that it derives
/// from don't reach a solver once it is made.
class KANDREL_API zv5axMoveSolver : public zv5axMachDef {
 public:
  /// The pole tolerance worked out for this machine: made once for many moves.
  struct PoleCone : zvPoleCone {
    bool onSecondPole = false;
    double c2 = 0;  ///< spindle and second axis, snapped when on the pole
    double q2 = 0;
  };

  /// Normalises its copy: throws as zvMachDef::Normalize does. A limit keeper is made when the
  /// parameters' poleHandling is 1 at this time.
  zv5axMoveSolver(const zv5axMachDef& machDef, const zvKDRParam& par, const Point& partOrigin,
                  double toolLengthCompensation);
  zv5axMoveSolver(const zv5axMachDef&, const zvKDRParam&&, const Point&, double) = delete;
  zv5axMoveSolver(const zv5axMachDef&, const zvKDRParam&, const Point&&, double) = delete;

  /// What it was made with.
  const zvKDRParam& GetParameters() const noexcept { return *m_par; }
  const zv5axKinematics& GetKinematics() const noexcept { return m_kinematics; }

  /// Whether poleHandling was 1 when the solver was made.
  bool HasLimitKeeper() const noexcept { return m_limitKeeper.has_value(); }

  /// `deg` 1e308 or more means poleAngleTolerance of the parameters.
  PoleCone MakePoleCone(double deg = misc::kNoValue) const;

  /// Whether an orientation of any length lies on the first axis' pole, as SolveAngles finds it.
  bool IsOnFirstPole(const Point& orientation, const PoleCone& cone) const {
    return cone.Holds(Dot(orientation / orientation.Length(), m_a1));
  }

  /// Both solutions for a tip and an orientation. Throws zvcadcamException 2189 for an orientation
  /// that is exactly zero and for axes of rotation less than 1e-3 rad off parallel, zvPostException
  /// 5000 for an orientation that the machine can't reach.
  zvRotarySolutions SolveAngles(const Point& p_part, const Point& orientation, const PoleCone& cone,
                                double lastFirstAngle) const;

  /// The same as a posted move with the first solution, and the mirror solution. `move` throws
  /// "Accessing NULL pointer" when null, zvPostException 2503 when it is a plain zvCNCMove, 5039
  /// for what is infinite or NaN. `lastFirstAngle` is where the limit keeper starts its search.
  zvSolutionPair Solve(const cadcam::zvMovePointer& move, zvPostedMove::Types type, int sourceIndex,
                       bool inserted, double poleTolerance, bool smallMoves,
                       double lastFirstAngle) const;

  /// The same without a posted move.
  zvRotarySolutions SolveAngles(const cadcam::zvMovePointer& move, double poleTolerance,
                                double lastFirstAngle) const;

  /// Of two solutions the one that a posting takes after `previous`.
  zvPosted5axMove SelectNextSolution(const zvPosted5axMove& previous,
                                     const zvSolutionPair& pair) const;

  /// The moves that belong between two, in order; nothing where none are wanted, an empty list
  /// where a subdivision brings nothing. `forceMidpoint` asks for the one halfway, however small
  /// the step. Nothing from `depth` 4 on; a posting starts at 0. `tolerance` as for MakePoleCone.
  /// Throws as SolveAngles does for a blended orientation, zvPostException 5039 for more than
  /// 2^31 - 2 moves.
  std::optional<std::vector<zvPosted5axMove>> InterpolateMoves(const zvPosted5axMove& from,
                                                               const zvPosted5axMove& to,
                                                               bool smallMoves, bool forceMidpoint,
                                                               int depth, double tolerance) const;

  /// A posted move at one of the solutions.
  static zvPosted5axMove MakeMove(const zvMoveView& move, zvPostedMove::Types type,
                                  const zvRotarySolution& solution, std::uint32_t poleStatus,
                                  std::int32_t sourceIndex, bool inserted, bool smallMoves) {
    return PostedFrom<zvPosted5axMove>(move, solution.position,
                                       {type, sourceIndex, inserted, smallMoves},
                                       solution.firstAngle, solution.secondAngle, poleStatus);
  }

  /// Gives an undetermined angle of `current` the value that it has at a determined `previous`,
  /// with the machine position that belongs to it. Changes nothing where `current` is determined or
  /// `previous` isn't.
  void FixPoleAngle(const zvPosted5axMove& previous, zvPosted5axMove& current) const {
    if (current.GetPoleStatus() != kDetermined && previous.GetPoleStatus() == kDetermined)
      TakeAngleFrom(previous, current);
  }

  /// As zv5axKinematics; angles in degrees.
  Point MachinePosition(const Point& p_part, double firstAngle, double secondAngle) const noexcept {
    return m_kinematics.MachinePosition(p_part, firstAngle, secondAngle);
  }
  Point PartPosition(const Point& p_mach, double firstAngle, double secondAngle) const noexcept {
    return m_kinematics.PartPosition(p_mach, firstAngle, secondAngle);
  }
  /// In radians.
  Point OrientationFromAngles(double firstRad, double secondRad) const noexcept {
    return m_kinematics.OrientationFromAnglesRad(firstRad, secondRad);
  }

 private:
  struct Cosines;

  double SquaredPartOffAxes(const Cosines& c) const;
  [[gnu::noinline]] void RequireReach(double exactC1, bool isSnapped) const;
  zvRotarySolution At(const Point& p_part, const zvSolvedAngle& first,
                      const zvSolvedAngle& second) const;
  [[gnu::noinline]] void SpendPole(const Point& p_part, double lastFirstAngle,
                                   zvRotarySolutions& result) const;
  void TakeAngleFrom(const zvPosted5axMove& previous, zvPosted5axMove& current) const;

  const zvKDRParam* m_par;
  zv5axKinematics m_kinematics;
  std::optional<zvLimitKeeper> m_limitKeeper;  // by value: copies of a solver share nothing

  // What depends on the machine alone. A1s, A2s are the working directions, S the spindle.
  Point m_a1;
  Point m_a2;
  Point m_s;
  double m_c12;       // A1s . A2s
  double m_c2;        // A2s . S
  double m_k;         // 1 / (1 - c12^2)
  Point m_n;          // A1s x A2s, normalised
  bool m_isParallel;  // or nearly so
  Point m_sCrossA2;   // S x A2s
};

}  // namespace post
