// zvKDRParam: the parameters of a posting run.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/units_factory.h>

#include <cstdint>

namespace post {

/// Tolerances, step sizes and choices of a posting; a plain value. Lengths are in the units of
/// machine and toolpath, angles in degrees. Only SetPoleAngleTolerance checks its argument: a step
/// that is not above 0 switches its rule off when posting.
///
/// Nothing compares the units that it was made for with those of the machine, and nothing converts
/// it: parameters made for inches lift a tool by 4 mm in place of 100 on a metric machine. Make it
/// with the machine's own, zvKDRParam(machine.GetUnits()).
class KANDREL_API zvKDRParam {
 public:
  using Units = measures::zvUnitsFactory::Units;

  // The enumerations hold any value that a file may bring.

  /// What creators do about limits. Any other value: zvPostException 5046 during a run. Rotary axes
  /// are shifted by whole turns and rewound first where that helps: on 5- and 6-axis machines with
  /// 2 and 3, on 4-axis ones with 3 alone: there 2 reports a path as it stands.
  enum LimitsCheck : std::int32_t {
    checkNothing = 0,
    checkLinearAxes = 1,
    checkRotaryAxes = 2,  ///< nothing on a 3-axis machine
    checkAllAxes = 3,
  };
  /// Which of the two solutions of its first move a posting takes, on machines that have two.
  enum FirstMoveRule : std::int32_t {
    bySolutionIndex = 0,
    byFirstAxis = 1,   ///< the solution whose first axis lies nearer to firstMovePreferredAngle
    bySecondAxis = 2,  ///< the same with the second axis
  };
  /// The solution that bySolutionIndex takes.
  enum SolutionIndex : std::int32_t {
    firstSolution = 0,
    mirrorSolution = 1,
  };
  /// What becomes of the free angle of a tool that stands on a pole, which would jump where it
  /// leaves it. Any other value than these: the jump stays there, and is divided as a large step.
  enum PoleHandling : std::int32_t {
    keepWithinLimits = 1,  ///< it brings linear axes out of their limits into them, and 3-axis
                           ///< paths are posted like any other
    spreadEvenly = 2,      ///< the jump is spread over the stretch in steps
    spreadOnCubic = 3,     ///< it is spread on a cubic that continues the motion before and after
  };

  /// `units` decides the default lengths: metric, or inch for any other value.
  explicit zvKDRParam(Units units);

  /// True: the first move's solution is chosen by FirstMoveRule, and each later move takes the one
  /// nearer to the move before. False: FirstMoveMirror chooses for every move, not only the first,
  /// and nothing keeps neighbours near each other.
  bool GetFirstMoveByRule() const noexcept { return m_firstMoveByRule; }
  void SetFirstMoveByRule(bool value) noexcept { m_firstMoveByRule = value; }
  /// Without FirstMoveByRule: true takes the mirror solution.
  bool GetFirstMoveMirror() const noexcept { return m_firstMoveMirror; }
  void SetFirstMoveMirror(bool value) noexcept { m_firstMoveMirror = value; }
  /// Decides the defaults and is kept; creators compare machine and toolpath instead. Setting them
  /// changes no length.
  Units GetParamUnits() const noexcept { return m_paramUnits; }
  void SetParamUnits(Units units) noexcept { m_paramUnits = units; }
  /// A circular distance of angles above this is a large jump, repaired by retract and approach. On
  /// 5 axes so is a smaller one that takes the tool off its way, unless MaxAngleStep is switched
  /// off; 180 or more switches both off.
  double GetMaxAngleJump() const noexcept { return m_maxAngleJump; }
  void SetMaxAngleJump(double deg) noexcept { m_maxAngleJump = deg; }
  /// Largest rotary step between posted moves. A step, not a tolerance on the path.
  double GetMaxAngleStep() const noexcept { return m_maxAngleStep; }
  void SetMaxAngleStep(double deg) noexcept { m_maxAngleStep = deg; }
  /// How far a large-jump repair retracts along the tool axis.
  double GetRetractDistance() const noexcept { return m_retractDistance; }
  void SetRetractDistance(double length) noexcept { m_retractDistance = length; }
  /// Largest linear step with InterpolateByDistance.
  double GetInterpolationDistance() const noexcept { return m_interpolationDistance; }
  void SetInterpolationDistance(double length) noexcept { m_interpolationDistance = length; }
  /// Half-angle of the pole cone; also the rotary slack when single moves are posted on a 4-axis
  /// machine within its limits.
  double GetPoleAngleTolerance() const noexcept { return m_poleAngleTolerance; }
  /// Throws zvPostException 5009 unless 0.001 <= deg <= 10, and keeps the old value then.
  void SetPoleAngleTolerance(double deg);
  /// MaxAngleStep applies whether or not this is set.
  bool GetInterpolateByDistance() const noexcept { return m_interpolateByDistance; }
  void SetInterpolateByDistance(bool value) noexcept { m_interpolateByDistance = value; }
  /// What is done about limits.
  LimitsCheck GetLimitsCheck() const noexcept { return m_limitsCheck; }
  void SetLimitsCheck(LimitsCheck value) noexcept { m_limitsCheck = value; }
  /// Slack of the rotary limit tests of a whole run.
  double GetLimitTolerance() const noexcept { return m_limitTolerance; }
  void SetLimitTolerance(double deg) noexcept { m_limitTolerance = deg; }
  /// Any other value takes the first solution.
  FirstMoveRule GetFirstMoveRule() const noexcept { return m_firstMoveRule; }
  void SetFirstMoveRule(FirstMoveRule value) noexcept { m_firstMoveRule = value; }
  /// Any value but 0 takes the mirror solution.
  SolutionIndex GetFirstMoveSolutionIndex() const noexcept { return m_firstMoveSolutionIndex; }
  void SetFirstMoveSolutionIndex(SolutionIndex value) noexcept { m_firstMoveSolutionIndex = value; }
  /// The angle that FirstMoveRule prefers, degrees.
  double GetFirstMovePreferredAngle() const noexcept { return m_firstMovePreferredAngle; }
  void SetFirstMovePreferredAngle(double deg) noexcept { m_firstMovePreferredAngle = deg; }
  /// Whether rapid moves are interpolated too.
  bool GetInterpolateRapidMoves() const noexcept { return m_interpolateRapidMoves; }
  void SetInterpolateRapidMoves(bool value) noexcept { m_interpolateRapidMoves = value; }
  /// Old files bring 0, which is none of the three.
  PoleHandling GetPoleHandling() const noexcept { return m_poleHandling; }
  void SetPoleHandling(PoleHandling value) noexcept { m_poleHandling = value; }
  /// Allows the 3- and 4-axis creators to rotate a toolpath onto the machine.
  bool GetAlignToolpath() const noexcept { return m_alignToolpath; }
  void SetAlignToolpath(bool value) noexcept { m_alignToolpath = value; }
  /// 0: intermediate moves of a 5-axis path are solved; any other: axes move linearly.
  std::int32_t GetInterpolationMode() const noexcept { return m_interpolationMode; }
  void SetInterpolationMode(std::int32_t value) noexcept { m_interpolationMode = value; }
  /// A large-jump repair retracts up to the machine limits instead of by RetractDistance.
  bool GetRetractToLimits() const noexcept { return m_retractToLimits; }
  void SetRetractToLimits(bool value) noexcept { m_retractToLimits = value; }

 private:
  bool m_firstMoveByRule = true;
  bool m_firstMoveMirror = false;
  Units m_paramUnits;
  double m_maxAngleJump = 120;
  double m_maxAngleStep = 3;
  double m_retractDistance;
  double m_interpolationDistance;
  double m_poleAngleTolerance = 0;
  bool m_interpolateByDistance = false;
  LimitsCheck m_limitsCheck = checkNothing;
  double m_limitTolerance = 0.0001;
  FirstMoveRule m_firstMoveRule = bySolutionIndex;
  SolutionIndex m_firstMoveSolutionIndex = firstSolution;
  double m_firstMovePreferredAngle = 0;
  bool m_interpolateRapidMoves = false;
  PoleHandling m_poleHandling = spreadOnCubic;
  bool m_alignToolpath = false;
  std::int32_t m_interpolationMode = 0;
  bool m_retractToLimits = false;
};

/// Whether a check asks for the limits of the linear axes; false for a value that is none.
constexpr bool ChecksLinearAxes(zvKDRParam::LimitsCheck check) noexcept {
  return check == zvKDRParam::checkLinearAxes || check == zvKDRParam::checkAllAxes;
}
/// Whether it asks for those of the rotary axes.
constexpr bool ChecksRotaryAxes(zvKDRParam::LimitsCheck check) noexcept {
  return check == zvKDRParam::checkRotaryAxes || check == zvKDRParam::checkAllAxes;
}

}  // namespace post
