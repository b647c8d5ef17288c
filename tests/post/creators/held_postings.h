// What postings held to a path tolerance are judged by.
#pragma once

#include <kandrel/misc/range_exception.h>
#include <tests/support/outcome.h>

namespace tests {

inline constexpr double kRad = 0.017453292519943295;

template <class AnyScene>
Outcome PostHeld(const AnyScene& scene, const Source& source,
                 const post::zvPathTolerance& tolerance, bool small = false) {
  return Post(scene, source, small, tolerance);
}

/// The fewest lines, found by trying: from line to line the longest block that keeps to the path
/// and to the largest step, looked for by halving and looked at in many places. `at(k, t, last)` is
/// the line behind `last` at the part `t` of the step to source move `k`.
template <class At>
std::size_t FewestLines(const Rules& rules, const post::zvPathTolerance& tolerance, Line last,
                        std::size_t moves, const At& at) {
  const auto holds = [&](const Line& to) {
    if (!(Turn(last, to) <= rules.par.GetMaxAngleStep())) return false;
    const Point across = Cross(last.orientation, to.orientation).Normalized();
    for (int part = 1; part < 16; ++part) {
      const rigid::Pose pose = rules.PoseAt(Between(last, to, part / 16.0, false));
      if (OffLine(ToPoint(pose.tip), last.part, to.part) > tolerance.GetTip()) return false;
      if (std::asin(std::fabs(Dot(ToPoint(pose.axis), across))) > tolerance.GetAxis() * kRad)
        return false;
    }
    return true;
  };
  std::size_t count = 1;
  for (std::size_t k = 1; k < moves; ++k)
    for (double low = 0; low < 1; ++count) {
      double high = 1;
      if (holds(at(k, 1, last))) low = 1;
      for (int i = 0; i < 25 && low < 1; ++i) {
        const double middle = (low + high) / 2;
        (holds(at(k, middle, last)) ? low : high) = middle;
      }
      last = at(k, low, last);
    }
  return count;
}

/// The smallest tolerance that the refusal of a posting names; 0 where there is none. The refusal
/// says which of the two it is.
template <class AnyScene>
double SmallestNamed(const AnyScene& scene, const Source& source,
                     const post::zvPathTolerance& tolerance) {
  auto creator = scene.Creator();
  creator.SetPathTolerance(tolerance);
  try {
    creator.Post(Build(source), true);
  } catch (const misc::zvRangeException<double>& refusal) {
    const bool isOfTip = refusal.GetValue() == tolerance.GetTip();
    EXPECT_EQ(refusal.GetCauses().at(0).second,
              isOfTip ? post::kTipTolerance : post::kAxisTolerance);
    return *refusal.GetMinimum();
  }
  return 0;
}

}  // namespace tests
