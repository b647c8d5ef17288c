#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/passes/move_between.h>
#include <kandrel/post/passes/step_counts.h>
#include <kandrel/post/passes/step_division.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace post {

namespace {

using Move = zvPosted5axMove;
using List = misc::zvMemoryPoolList<Move>;
using Iterator = List::iterator;

double LargerTurn(const Move& a, const Move& b) {
  return std::max(std::fabs(b.GetAngle(0) - a.GetAngle(0)),
                  std::fabs(b.GetAngle(1) - a.GetAngle(1)));
}

void Divide(List& list, Iterator from, Iterator to, std::uint32_t count,
            const zv5axKinematics& kinematics) {
  const bool feedsMix = from->IsRapid() == to->IsRapid() && from->GetType() == to->GetType();
  for (std::uint32_t k = 1; k <= count; ++k) {
    const double t = k / (count + 1.0);
    const auto at = [&](std::int16_t axis) {
      return (1 - t) * from->GetAngle(axis) + t * to->GetAngle(axis);
    };
    list.EmplaceWith(to, [&] {
      Move part = MoveBetween(*from, *to, t, at(0), at(1),
                              kinematics.OrientationFromAngles(at(0), at(1)), kinematics);
      part.SetRapid(to->IsRapid());
      if (!feedsMix) part.SetFeed(to->GetFeed());
      if (!part.HasNoExtended()) part.SetSourceIndex(from->GetSourceIndex());
      return part;
    });
  }
}

}  // namespace

void DivideStep(List& list, Iterator from, Iterator to, const zvKDRParam& par, double turn,
                const zv5axKinematics& kinematics) {
  Divide(list, from, to, StepsByAngle(par, turn), kinematics);
}

std::uint32_t DivideLargeSteps(List& list, double largestStep, const zvKDRParam& par,
                               double maxAngleJump, const zv5axKinematics& kinematics) {
  // Whole turns round the difference of angles; interpolation has left no step above the largest by
  // less than that.
  const double largest = par.GetMaxAngleStep() + misc::kAngleBorder;
  if (!(largestStep > largest) || list.GetCount() < 2) return 0;
  std::uint32_t divided = 0;
  misc::zvPolledEnd end(list);
  for (Iterator from = list.begin(), to = std::next(from); end.IsBefore(to); from = to++) {
    list.PrefetchAfter(*to);
    const double turn = LargerTurn(*from, *to);
    if (!(turn > largest) || (to->IsRapid() && !par.GetInterpolateRapidMoves())) continue;
    if (maxAngleJump < from->AngleDistance(*to)) continue;
    const std::uint32_t count = StepsByAngle(par, turn);
    if (count == 0) continue;
    Divide(list, from, to, count, kinematics);
    ++divided;
  }
  return divided;
}

}  // namespace post
