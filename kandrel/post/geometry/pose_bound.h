// zvPoseBound: how far a tip leaves its line inside a block, by the poses at the block's ends.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/geometry/way_distance.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace post {

/// Bounds of what a block takes the tip off its line by, some 20 ns each: they ask for no angle's
/// sine, as where the tool stands says enough of the angles. For blocks that turn little, where
/// they are a few percent above what is reached. Whoever needs more asks zvBlockLaw.
///
/// Why they hold. With the letters of zvBlockLaw, w = A a and v = B b the turning of both axes as
/// the part sees it, and n = |A| + |B|: what Ra turns, x = Ra F, has
///   x'' = w x (2 x' - w x x) + Ra F''
/// and so has Rb W with v. Where the part is turned, x is the tip less U, which stands. F'' comes
/// of W alone:
///   Ra F'' = v x (v x Ra Rb W), or with the nose in W  v x (2 (x' - w x x) - v x (x - Ra V)).
/// In a head p'' is that of Ra V + Ra Rb W, and Ra Rb W is the tool axis times the length W . s but
/// for what W has across the spindle. And v follows from the tool axis t = Ra Rb s, as its own
/// derivative is w x t + v x t:
///   v = t x (t' - w x t) + B (b . s) t.
/// Halfway, x' is the difference of both ends but for a 24th of the largest |x'''|, and x their
/// mean but for an eighth of the largest |x''|. That gives p'' halfway, P, and what is linear at
/// both ends is off the linear by |P| / 8 and a 48th of the largest |p'''| at most. With Z the
/// largest |x| and what stands of V and W, and E = |x(1) - x(0)| + n Z, for n up to 0.15:
///   |x''| <= 4 n E,  |x'''| <= 6 n^2 E,
/// so that P is exact to n^3 E (1 + 1/8), to 4 E h + Z h^2 for an error h of v and to 6 E d for one
/// d of the tool axis; h is 0.42 n^3 + (2 + 3 n) d.
///
/// Where the tip doesn't turn back on its line, which |p''| / 2 <= |p(1) - p(0)| tells, what P has
/// along the line takes it nowhere off.
class KANDREL_API zvPoseBound {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  using Pose = zvBlockLaw::Pose;

  /// What is reached at most, and at least.
  struct Range {
    double most = std::numeric_limits<double>::infinity();  ///< an upper bound
    double least = 0;                                       ///< a lower bound
  };

  /// Of the machine that a law has; nothing is referred to.
  explicit zvPoseBound(const zvBlockLaw& law) noexcept;

  /// What is reached at most by the tips and the sum of the turns, in radians, alone: some 5 ns,
  /// and often far too large.
  double Roughly(const Point& from, const Point& to, double turns) const noexcept {
    const double shift = SizeOf(to - from);
    const double size = SizeOf(to - m_outer) + shift;
    const double second2 = m_isInHead ? turns * turns * m_standing
                                      : turns * (2.4 * shift + 3.6 * turns * (m_standing + size));
    if (!(turns <= kFarthestTurn)) return std::numeric_limits<double>::infinity();
    return second2 / 8 + 3 * kRounding * (m_size + size);
  }

  /// Of a block with these poses at its ends, tips exact but for rounding and tool axes within
  /// `axisOff`, which turns its axes by so much, all in radians. What is above `enough` is looked
  /// at more closely. Infinite for far turns. The tool axis is not looked at where the
  /// second axis stands and no head carries both.
  Range TipOff(const Pose& from, const Pose& to, double first, double second, double axisOff,
               double enough) const noexcept {
    const double b = std::fabs(second);
    const double n = std::fabs(first) + b;
    if (!(n <= kFarthestTurn)) return {};
    const Point shift = to.tip - from.tip;
    const double rounding = kRounding * (m_size + SizeOf(from.tip) + SizeOf(to.tip));
    const Point axisStep = to.axis - from.axis;
    const Point axis = 0.5 * (from.axis + to.axis);
    const Point x = m_isInHead ? m_along * axis : 0.5 * (from.tip + to.tip) - m_outer;
    const Point step = m_isInHead ? m_along * axisStep : shift;
    const Point w = first * m_first;
    const Point rate = step - Cross(w, x);  // of what the first axis carries, as the part sees it
    Point second2 = Cross(w, step + rate);
    double slack = 0;
    const double length = m_isInHead ? 0 : step.Length();
    const double z = m_standing + (m_isInHead ? 0 : x.Length() + length / 2);
    const double e = length + n * z;
    if (b > 0) {
      const Point v = Cross(axis, axisStep - Cross(w, axis)) + (second * m_secondAlong) * axis;
      second2 += m_isNoseInner ? Cross(v, 2.0 * rate - Cross(v, x - m_middleAlong))
                               : Cross(v, Cross(v, m_along * axis));
      const double off = n * n * n / 2 + 2.5 * axisOff;
      slack = off * (4 * e + off * z);
    }
    if (b > 0 || m_isInHead) slack += 6 * e * axisOff;
    slack += n * n * (e * (1 + 2 * n) + m_across);
    const auto rangeOf = [&](double size2) {
      const double size = std::sqrt(size2);
      return Range{(size + slack) / 8 + rounding, std::max(0.0, (size - slack) / 8 - rounding)};
    };
    const Range range = rangeOf(second2.SquaredLength());
    if (range.most <= enough) return {range.most, 0};
    const double squared = shift.SquaredLength();
    const double along = Dot(second2, shift);
    // The largest |p''| is within 24 times the bound: P, and half of the largest |p'''|.
    if (!(range.most * range.most * 144 < squared)) return {range.most, 0};
    return rangeOf(std::max(0.0, second2.SquaredLength() - along * along / squared));
  }

 private:
  static constexpr double kRounding = 1e-13;  // of the size of the numbers
  static constexpr double kFarthestTurn = 0.15;

  bool m_isInHead;
  bool m_isNoseInner;
  Point m_first;
  Point m_outer;         // what stands of U
  Point m_middleAlong;   // V along the first axis, where it stands
  double m_along;        // W along the spindle, where it stands
  double m_secondAlong;  // the second axis along the spindle
  double m_standing;     // the lengths of what stands of V and W
  double m_across;       // what of them isn't along, of which |p''| is n^2 times that at most
  double m_size;
};

}  // namespace post
