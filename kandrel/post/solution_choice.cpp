#include <kandrel/misc/angles.h>
#include <kandrel/post/limit_checker.h>
#include <kandrel/post/solution_choice.h>

#include <algorithm>

namespace post {

namespace {

bool KeepsCircularRanges(const zvRotarySolution& s, const zvKDRParam& par,
                         const zv5axMachDef& machDef) {
  const double slack = par.GetLimitTolerance();
  return misc::InCircularRange(machDef.GetMinFirstAngle(), machDef.GetMaxFirstAngle(), s.firstAngle,
                               slack) &&
         misc::InCircularRange(machDef.GetMinSecondAngle(), machDef.GetMaxSecondAngle(),
                               s.secondAngle, slack);
}

// A solution out of the rotary ranges gets no linear test and leaves `excess` alone.
bool KeepsLimits(const zvRotarySolution& s, const zvKDRParam& par, const zv5axMachDef& machDef,
                 zvLimitType& excess) {
  const auto keepsLinear = [&] {
    const zvLimitType limit = FirstLinearExcess(s.position, machDef);
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
      return KeepsCircularRanges(s, par, machDef);
    default:
      return KeepsCircularRanges(s, par, machDef) && keepsLinear();
  }
}

bool IsMirrorNearer(double previousFirst, double previousSecond, const zvRotarySolutions& s) {
  const double d1 = misc::CircularDistance(previousFirst, s.first.firstAngle);
  const double d2 = misc::CircularDistance(previousSecond, s.first.secondAngle);
  const double d3 = misc::CircularDistance(previousFirst, s.mirror.firstAngle);
  const double d4 = misc::CircularDistance(previousSecond, s.mirror.secondAngle);
  const double largest = std::max({0.0, d1, d2, d3, d4});
  return d3 != largest && d4 != largest;
}

}  // namespace

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
