// The poles that a posted list crosses, and which angles a control wraps.
#pragma once

#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/posted_move.h>

#include <array>
#include <cstdint>

namespace kandrel_post {

/// Which rotary axes have their angles wrapped by the control.
std::array<bool, 3> WrappedAxes(const post::zv5axControlDef& control);

/// Counts over a posted list of five or six axes how often the tool passes along the first rotary
/// axis, where that axis doesn't turn it, in feed moves.
class PoleCounter {
 public:
  using Point = post::zvPostedMove::Point;

  /// `firstAxis` is the direction of the first rotary axis, of any length.
  PoleCounter(const Point& firstAxis, double poleToleranceDeg);

  /// The moves of a list, in order. Returns whether the tool stands on a pole there or crosses one
  /// on the way there.
  bool Add(const post::zvPostedMove& move);

  /// Poles entered and left again, both in feed moves.
  std::uint64_t GetCrossed() const noexcept { return m_crossed; }

 private:
  Point m_axis;
  double m_poleSine;
  bool m_isFirst = true;
  Point m_offPole;             // of the tool axis: its part across the first rotary axis
  bool m_enteredPole = false;  // in a feed move, and still there
  std::uint64_t m_crossed = 0;
};

}  // namespace kandrel_post
