#include "kandrel-post/out/pole_counter.h"

#include <kandrel/misc/tolerances.h>

#include <algorithm>
#include <cmath>

namespace kandrel_post {

namespace {

bool Wraps(post::zv5axControlDef::angleLimit limit) {
  return limit == post::zv5axControlDef::angleLimit360 ||
         limit == post::zv5axControlDef::angleLimit180;
}

}  // namespace

std::array<bool, 3> WrappedAxes(const post::zv5axControlDef& control) {
  return {Wraps(control.GetFirstAxisLimit()), Wraps(control.GetSecondAxisLimit()), false};
}

PoleCounter::PoleCounter(const Point& firstAxis, double poleToleranceDeg)
    : m_axis(firstAxis / firstAxis.Length()),
      m_poleSine(std::sin(poleToleranceDeg * misc::kRadiansPerDegree)) {}

bool PoleCounter::Add(const post::zvPostedMove& move) {
  const bool isFeed = !move.IsRapid();
  const Point unit = move.GetOrientation() / move.GetOrientation().Length();
  const Point before = m_offPole;
  m_offPole = unit - m_axis * Dot(unit, m_axis);
  const bool isOn = m_offPole.Length() <= m_poleSine;
  if (m_isFirst) {
    m_isFirst = false;
    return isOn;
  }
  const bool wasOn = before.Length() <= m_poleSine;
  if (wasOn && isOn) return true;
  bool crosses = false;
  if (wasOn) {
    m_crossed += m_enteredPole && isFeed ? 1 : 0;
  } else if (!isOn && isFeed) {
    // Between two lines; a step from one end of the axis to the other would be half a turn.
    const Point way = m_offPole - before;
    const double square = way.SquaredLength();
    const double t = square > 0 ? std::clamp(-Dot(before, way) / square, 0.0, 1.0) : 0.0;
    crosses = (before + way * t).Length() <= m_poleSine;
    m_crossed += crosses ? 1 : 0;
  }
  m_enteredPole = isOn && isFeed;
  return isOn || crosses;
}

}  // namespace kandrel_post
