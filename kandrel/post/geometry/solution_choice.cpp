#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/solution_choice.h>
#include <kandrel/post/model/limit_tests.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace post {

namespace {

bool OutOfCircularRange(const zvRotarySolution& s, const zvKDRParam& par,
                        const zv5axMachDef& machDef) {
  const double slack = par.GetLimitTolerance();
  return !misc::InCircularRange(machDef.GetMinFirstAngle(), machDef.GetMaxFirstAngle(),
                                s.firstAngle, slack) ||
         !misc::InCircularRange(machDef.GetMinSecondAngle(), machDef.GetMaxSecondAngle(),
                                s.secondAngle, slack);
}

// A solution out of the rotary ranges gets no linear test and leaves `excess` alone.
bool KeepsLimits(const zvRotarySolution& s, const zvKDRParam& par, const zv5axMachDef& machDef,
                 zvLimitType& excess) {
  const auto keepsLinear = [&] {
    const zvLimitType limit = LinearOut(s.position, machDef);
    if (limit.IsNone()) return true;
    excess = limit;
    return false;
  };
  switch (par.GetLimitsCheck()) {
    case zvKDRParam::checkNothing:
      return true;
    case zvKDRParam::checkLinearAxes:
      return keepsLinear();
    case zvKDRParam::checkRotaryAxes:
      return !OutOfCircularRange(s, par, machDef);
    default:
      return !OutOfCircularRange(s, par, machDef) && keepsLinear();
  }
}

// The way round between two angles up to rounding; NaN where it takes more than this.
double RoughDistance(double a, double b) {
  const double plain = std::fabs(a - b);
  if (plain <= 180) return plain;
  return plain <= misc::kFullTurnDeg ? misc::kFullTurnDeg - plain
                                     : std::numeric_limits<double>::quiet_NaN();
}

// The larger of two; NaN when one is.
double Larger(double a, double b) {
  return a >= b ? a : b > a ? b : std::numeric_limits<double>::quiet_NaN();
}

bool IsMirrorNearer(double previousFirst, double previousSecond, const zvRotarySolutions& s) {
  // Where one solution clearly holds the largest travel it loses. Only what is close needs the
  // exact distances, on whose equality ties rest.
  const double roughFirst = Larger(RoughDistance(previousFirst, s.first.firstAngle),
                                   RoughDistance(previousSecond, s.first.secondAngle));
  const double roughMirror = Larger(RoughDistance(previousFirst, s.mirror.firstAngle),
                                    RoughDistance(previousSecond, s.mirror.secondAngle));
  if (roughMirror > roughFirst + misc::kAngleBorder) return false;
  if (roughFirst > roughMirror + misc::kAngleBorder) return true;

  const double d1 = misc::CircularDistance(previousFirst, s.first.firstAngle);
  const double d2 = misc::CircularDistance(previousSecond, s.first.secondAngle);
  const double d3 = misc::CircularDistance(previousFirst, s.mirror.firstAngle);
  const double d4 = misc::CircularDistance(previousSecond, s.mirror.secondAngle);
  return std::max(d3, d4) < std::max(d1, d2);
}

}  // namespace

zvRotarySolutions SolutionsOf(const zvSolutionPair& pair) {
  const auto& [move, mirror] = pair;
  return {{move.GetAngle(0), move.GetAngle(1), move.GetMachinePosition()},
          {mirror.firstAngle, mirror.secondAngle, mirror.machinePosition},
          move.GetPoleStatus()};
}

bool KeepsAskedLimits(const zvRotarySolution& solution, const zvKDRParam& par,
                      const zv5axMachDef& machDef) {
  zvLimitType unused;
  return KeepsLimits(solution, par, machDef, unused);
}

bool TakesMirrorNext(double previousFirstAngle, double previousSecondAngle,
                     const zvRotarySolutions& solutions, const zvKDRParam& par,
                     const zv5axMachDef& machDef) {
  if (par.GetLimitsCheck() != zvKDRParam::checkNothing) {
    zvLimitType unused;
    const bool firstKeeps = KeepsLimits(solutions.first, par, machDef, unused);
    const bool mirrorKeeps = KeepsLimits(solutions.mirror, par, machDef, unused);
    if (firstKeeps != mirrorKeeps) return mirrorKeeps;
  }
  return par.GetFirstMoveByRule()
             ? IsMirrorNearer(previousFirstAngle, previousSecondAngle, solutions)
             : par.GetFirstMoveMirror();
}

zvPosted5axMove zv5axMoveSolver::SelectNextSolution(const zvPosted5axMove& previous,
                                                    const zvSolutionPair& pair) const {
  return TakesMirrorNext(previous.GetAngle(0), previous.GetAngle(1), SolutionsOf(pair), *m_par,
                         *this)
             ? MirrorSolutionMove(pair)
             : FirstSolutionMove(pair);
}

zvSolutionChoice ChooseFirst(const zvRotarySolutions& solutions, const zvKDRParam& par,
                             const zv5axMachDef& machDef) {
  zvLimitType excess;
  const bool firstKeeps = KeepsLimits(solutions.first, par, machDef, excess);
  const bool mirrorKeeps = KeepsLimits(solutions.mirror, par, machDef, excess);
  if (firstKeeps != mirrorKeeps) return {mirrorKeeps, {}};
  zvSolutionChoice choice;
  if (!firstKeeps) choice.excess = excess;
  if (!par.GetFirstMoveByRule()) {
    choice.isMirror = par.GetFirstMoveMirror();
    return choice;
  }
  const double preferred = par.GetFirstMovePreferredAngle();
  const auto isCloser = [&](double mirror, double first) {
    return misc::CircularDistance(mirror, preferred) < misc::CircularDistance(first, preferred);
  };
  switch (par.GetFirstMoveRule()) {
    case zvKDRParam::bySolutionIndex:
      choice.isMirror = par.GetFirstMoveSolutionIndex() != zvKDRParam::firstSolution;
      break;
    case zvKDRParam::byFirstAxis:
      choice.isMirror = isCloser(solutions.mirror.firstAngle, solutions.first.firstAngle);
      break;
    case zvKDRParam::bySecondAxis:
      choice.isMirror = isCloser(solutions.mirror.secondAngle, solutions.first.secondAngle);
      break;
  }
  return choice;
}

}  // namespace post
