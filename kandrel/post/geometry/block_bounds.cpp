// The bounds of zvBlockLaw, and why they hold.
//
// Over a block s goes from 0 to 1, the angles are a(s) = a0 + A s and b(s) = b0 + B s in radians,
// the nose moves by a constant rate. With w = (A x), the turning of the first axis, the tip
// p = U + Ra F, F = V + Rb W, has the derivatives
//
//   p'   = U' + Ra (w F + F')
//   p''  = Ra (w w F + 2 w F' + F'')
//   p''' = Ra (w w w F + 3 w w F' + 3 w F'' + F''')
//
// and with v = (B x), the turning of the second axis, as V and W are linear,
//
//   F' = V' + Rb (v W + W'),  F'' = Rb (v v W + 2 v W'),  F''' = Rb (v v v W + 3 v v W').
//
// Turning takes no length, w takes from a vector all but what it has across the axis, |w F| =
// |A| |first x F|, and any more of them just their factors |A|. This bounds p'' and p''' by
// numbers. For the tool axis t = Ra Rb s the same holds with U = V = 0 and W = s.
//
// Guess. What differs from the line between its ends by a curve is at most sup |p''| / 8, as the
// linear interpolant of a function of which the second derivative is bounded. Its distance from
// that line is no more than that, and the line between two unit vectors lies in the sector of their
// arc: so the same number is the sine of an angle that the tool axis leaves the arc by at most.
//
// Bound. On a piece of the block, of length h, the quadratic interpolant q through the curve at its
// two ends and its middle is off the curve by sup |p'''| h^3 / 6 at most times the largest size of
// u (u - 1/2) (u - 1) in [0, 1], which is sqrt(3) / 36. The distance from a convex set C is a
// convex function and grows by no more than what a point moves by: on q it is nowhere larger than
// at the control points of q, halved once as a Bezier curve. So the largest of five distances and
// the error above bound the distance of the curve, and the largest of those on the curve itself is
// what is reached. Where the two are too far apart the piece is halved; each halving makes the
// error an eighth. C is the segment of the way for the tip. For the tool axis it is the sector that
// the arc spans with the origin: the distance of a unit vector less than 90 degrees off is the sine
// of its angle to the arc. Further off, the bound is the angle in the middle of the piece and what
// the tool turns by in half of it.
//
// Where one axis alone turns, about the direction g as the part sees it, t''' is -A^2 t', and its
// part along the normal n of the arc no more than |A|^3 |g x n|: nothing where the tool swings in
// the plane of the arc. Where it also can't turn back on its way, it lies past an end of the arc by
// no more than where it starts or ends, so that such pieces need no halving.
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/geometry/small_turn.h>
#include <kandrel/post/geometry/way_distance.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace post {

namespace {

using Point = zvBlockLaw::Point;
using Station = zvBlockLaw::Station;
using Way = zvBlockLaw::Way;

constexpr double kInfinite = std::numeric_limits<double>::infinity();
/// zvBlockLaw::kNearDeg as a sine.
constexpr double kNearSine = 1.7e-8;
/// The largest turn, radians, that is looked at piece by piece, and that of one piece at first.
constexpr double kLargestTurn = 10 * misc::kPi;
constexpr double kLargestPiece = 0.5;
/// How often a piece is halved at most.
constexpr int kDeepest = 14;
/// sqrt(3) / 216: the error of a quadratic interpolant for a third derivative of 1.
constexpr double kQuadraticError = 0.008018753738744802;

}  // namespace

/// One block's motion: its rates, and where it stands in between.
class zvBlockMotion {
 public:
  using Carrier = zvBlockLaw::Carrier;
  using Station = zvBlockLaw::Station;

  zvBlockMotion(const zvBlockLaw& law, const Station& from, const Station& to)
      : m_law(law),
        m_from(from),
        m_step(to.nose - from.nose),
        m_first(law.m_hasFirst ? RadBetween(from.line.firstAngle, to.line.firstAngle) : 0),
        m_second(law.m_hasSecond ? RadBetween(from.line.secondAngle, to.line.secondAngle) : 0) {
    const bool isInner = law.m_carrier == Carrier::kInner;
    const Point start = isInner ? law.m_inner + from.nose : law.m_inner;
    // Of a point that moves linearly the distance is largest at an end.
    m_across = PlainLength(Cross(law.m_second, start));
    double acrossStep = 0;
    if (isInner) {
      m_across = std::max(m_across, PlainLength(Cross(law.m_second, start + m_step)));
      acrossStep = PlainLength(Cross(law.m_second, m_step));
    }
    const double b = std::fabs(m_second);
    m_second2 = b * (b * m_across + 2 * acrossStep);
    m_second3 = b * b * (b * m_across + 3 * acrossStep);
    m_acrossSpindle = PlainLength(Cross(law.m_second, law.m_spindle));
  }

  double TurnSize() const noexcept { return std::fabs(m_first) + std::fabs(m_second); }

  /// A place on the way with what its third derivatives are bounded from.
  struct Place {
    Point tip;
    Point dir_tool;
    double across = 0;     // |first x F|
    double crossRate = 0;  // |first x F'|
    double acrossDir = 0;  // the same of the tool axis
    double dirRate = 0;
  };

  /// Of the tip or of the tool axis: what belongs to the other stays 0.
  template <bool kIsTip>
  Place At(double s) const noexcept {
    const Point& first = m_law.m_first;
    const Point& second = m_law.m_second;
    const zvTurnPair& turns = m_from.turns;
    const zvTurn one = m_first == 0 ? turns.First() : turns.First() + TurnOf(s * m_first);
    const zvTurn two = m_second == 0 ? turns.Second() : turns.Second() + TurnOf(s * m_second);
    Place place;
    if constexpr (kIsTip) {
      Point outer = m_law.m_outer;
      Point middle = m_law.m_middle;
      Point inner = m_law.m_inner;
      m_law.NoseOf(outer, middle, inner) += m_from.nose + s * m_step;
      const Point reach = Turned(inner, second, two);
      const Point arm = middle + reach;
      place.tip = outer + Turned(arm, first, one);
      if (m_first == 0) return place;
      Point rate = Cross(second, reach) * m_second;
      if (m_law.m_carrier == Carrier::kMiddle) rate += m_step;
      if (m_law.m_carrier == Carrier::kInner) rate += Turned(m_step, second, two);
      place.across = PlainLength(Cross(first, arm));
      place.crossRate = PlainLength(Cross(first, rate));
    } else {
      const Point dir = Turned(m_law.m_spindle, second, two);
      place.dir_tool = Turned(dir, first, one);
      if (m_first == 0) return place;
      place.acrossDir = PlainLength(Cross(first, dir));
      place.dirRate = PlainLength(Cross(first, Cross(second, dir))) * std::fabs(m_second);
    }
    return place;
  }

  /// Bounds of |p'''| and |t'''| within `half` of a place.
  double TipThird(const Place& place, double half) const noexcept {
    const double a = std::fabs(m_first);
    const double rate = place.crossRate + half * m_second2;
    const double across = place.across + half * rate;
    return a * (a * (a * across + 3 * rate) + 3 * m_second2) + m_second3;
  }
  double AxisThird(const Place& place, double half) const noexcept {
    const double a = std::fabs(m_first);
    const double b = std::fabs(m_second);
    const double second2 = b * b * m_acrossSpindle;
    const double rate = place.dirRate + half * second2;
    const double across = std::min(1.0, place.acrossDir + half * rate);
    return a * (a * (a * across + 3 * rate) + 3 * second2) + b * second2;
  }

  /// The same of t''' along a normal.
  double AxisThirdAlong(const Place& place, double half, const Point& normal) const noexcept {
    const double all = AxisThird(place, half);
    if (m_first != 0 && m_second != 0) return all;
    // The second axis as the part sees it is turned by the first, which stands.
    const Point direction =
        m_second == 0 ? m_law.m_first : Turned(m_law.m_second, m_law.m_first, m_from.turns.First());
    const double rate = m_first + m_second;
    return std::min(all, std::fabs(rate * rate * rate) * PlainLength(Cross(direction, normal)));
  }

  /// As a length and a sine.
  zvBlockDeviation Guess(const Station& to) const noexcept {
    return {TipAcceleration(to) / 8, AxisAcceleration(to) / 8};
  }

  /// The size of the numbers, by which rounding is measured.
  double Size() const noexcept { return m_law.m_size + SizeOf(m_from.nose) + SizeOf(m_step); }

 private:
  /// Bounds p'' by w w F + 2 w F' and by 2 w G - w w F, where G = w F + F' is what moves the tip:
  /// next to nothing on a table whose slides follow it.
  double TipAcceleration(const Station& to) const noexcept {
    const Point& first = m_law.m_first;
    const Point& second = m_law.m_second;
    const double a = std::fabs(m_first);
    const double b = std::fabs(m_second);
    const Point step = to.Arm() - m_from.Arm();
    // F' is off the mean rate by half of what F'' makes, F off the line by an eighth. Where the
    // nose is the innermost, F'' is 2 v F' - v v Rb W as well.
    double second2 = m_second2;
    if (m_law.m_carrier == Carrier::kInner)
      second2 =
          std::min(second2, b * (2 * PlainLength(Cross(second, step)) + second2 + b * m_across));
    const Point arc0 = Cross(first, m_from.Arm());
    const Point arc1 = Cross(first, to.Arm());
    const double across =
        misc::Sqrt(std::max(arc0.SquaredLength(), arc1.SquaredLength())) + second2 / 8;
    const double rate = PlainLength(Cross(first, step)) + second2 / 2;
    const double moved = misc::Sqrt(std::max((m_first * arc0 + step).SquaredLength(),
                                             (m_first * arc1 + step).SquaredLength())) +
                         second2 * (0.5 + a / 8);
    return a * (a * across + 2 * std::min(rate, moved)) + second2;
  }

  /// Bounds t'', or what it has along the normal of the arc where the tool can't leave the arc past
  /// its ends: near one it goes along by the chord less half of the former at least. Between its
  /// ends the latter is off the linear by an eighth of its second derivative, which the turn
  /// bounds.
  double AxisAcceleration(const Station& to) const noexcept {
    const Point& first = m_law.m_first;
    const double a = std::fabs(m_first);
    const double b = std::fabs(m_second);
    const double second2 = b * b * m_acrossSpindle;
    const double across = misc::Sqrt(std::max(Cross(first, m_from.Dir()).SquaredLength(),
                                              Cross(first, to.Dir()).SquaredLength())) +
                          second2 / 8;
    const double rate = PlainLength(Cross(first, to.Dir() - m_from.Dir())) + second2 / 2;
    const double all = a * (a * across + 2 * rate) + second2;
    const Point step = to.pose.axis - m_from.pose.axis;
    const double squared = step.SquaredLength();
    if (!(squared < 0.25) || !(all * all <= 3.6 * squared)) return all;
    const Point square = Cross(m_from.pose.axis, step);
    const double length = PlainLength(square);
    if (!(length > 1e-9)) return all;
    const Point normal = square / length;
    // t'' = A a x (A a x t + 2 B b x t) + B b x (B b x t), with b as the part sees it.
    const Point acrossFirst = Cross(normal, first) * m_first;
    const auto along = [&](const Station& at) {
      const Point second = Turned(m_law.m_second, first, at.turns.First());
      const Point byFirst = Cross(first, at.pose.axis) * m_first;
      const Point bySecond = Cross(second, at.pose.axis) * m_second;
      return std::fabs(Dot(acrossFirst, byFirst + 2.0 * bySecond) +
                       m_second * Dot(Cross(normal, second), bySecond));
    };
    const double turn = a + b;
    return std::min(all, std::max(along(m_from), along(to)) + turn * turn * turn * turn / 8);
  }

  static double RadBetween(double from, double to) noexcept {
    return (to - from) * misc::kRadiansPerDegree;
  }

  const zvBlockLaw& m_law;
  const Station& m_from;
  Point m_step;
  double m_first;
  double m_second;
  double m_across;   // sup |second x W|
  double m_second2;  // sup |F''|
  double m_second3;  // sup |F'''|
  double m_acrossSpindle;
};

namespace {

using Motion = zvBlockMotion;
using Place = Motion::Place;

/// The control points of the quadratic interpolant through three points of a piece, halved once.
struct Controls {
  Point from;
  Point one;
  Point middle;
  Point two;
  Point to;

  Controls(const Point& start, const Point& halfway, const Point& end)
      : from(start), middle(halfway), to(end) {
    const Point control = 2.0 * halfway - 0.5 * (start + end);
    one = 0.5 * (start + control);
    two = 0.5 * (control + end);
  }
  template <class Value>
  double Largest(const Value& value) const {
    return std::max({value(from), value(one), value(middle), value(two), value(to)});
  }
};

/// The tip and its distance from the segment.
struct TipCurve {
  static constexpr bool kIsTip = true;

  const Motion& motion;
  const zvWaySegment segment;

  static const Point& Of(const Place& place) noexcept { return place.tip; }
  double Value(const Point& p) const noexcept { return segment.Distance(p); }
  /// Bounds the values on a piece of length h about a place.
  double Upper(const Controls& q, const Place& middle, double h) const noexcept {
    const auto squared = [this](const Point& p) { return segment.SquaredDistance(p); };
    return misc::Sqrt(q.Largest(squared)) +
           motion.TipThird(middle, h / 2) * (kQuadraticError * h * h * h);
  }
};

/// The tool axis and its angle to the arc, radians.
struct AxisCurve {
  static constexpr bool kIsTip = false;

  const Motion& motion;
  const zvWayArc arc;

  static const Point& Of(const Place& place) noexcept { return place.dir_tool; }
  double Value(const Point& t) const noexcept { return arc.Angle(t); }
  double Upper(const Controls& q, const Place& middle, double h) const noexcept {
    const double turn = h * motion.TurnSize();
    const double byTurn = arc.Angle(q.middle) + turn / 2;
    if (!(byTurn < misc::kPi / 2)) return byTurn;
    const double cube = kQuadraticError * h * h * h;
    const auto squared = [this](const Point& t) { return arc.SquaredDistance(t); };
    double sine = misc::Sqrt(q.Largest(squared)) + motion.AxisThird(middle, h / 2) * cube;
    if (!arc.IsRay() && arc.GoesOn(q.from, q.to, turn)) {
      const double height = q.Largest([this](const Point& t) { return arc.Height(t); }) +
                            motion.AxisThirdAlong(middle, h / 2, arc.GetNormal()) * cube;
      const double past = std::max(arc.Past(q.from), arc.Past(q.to));
      sine = std::min(sine, misc::Sqrt(height * height + past * past));
    }
    return std::min(byTurn, AngleOfSine(sine));
  }
};

/// What a search is content with: bounds up to `known`, or by as much as `near` above what is
/// reached. It ends as soon as more than `allowed` is.
struct Content {
  double near;
  double known;
  double allowed;
};

/// Looks for the largest value of a curve over a block.
template <class Curve>
class Search {
 public:
  Search(const Motion& motion, const Curve& curve, const Content& content)
      : m_motion(motion), m_curve(curve), m_content(content) {}

  /// The bound; infinity for more than what is allowed. `middle` is the place at 1/2.
  double Over(int pieces, const Point& start, const Place& middle, const Point& end) {
    m_reached = std::max(m_curve.Value(start), m_curve.Value(end));
    if (pieces == 1) {
      Settle({0, 1}, start, middle, end, 0);
      return Result();
    }
    // What is reached anywhere spares halving where less is.
    for (int i = 0; i < pieces; ++i) Reach(At((i + 0.5) / pieces));
    Point from = start;
    for (int i = 0; i < pieces && !IsTooMuch(); ++i) {
      const Piece piece{i / (1.0 * pieces), (i + 1) / (1.0 * pieces)};
      const Point to = i + 1 == pieces ? end : Curve::Of(At(piece.to));
      Settle(piece, from, At(piece.Middle()), to, 0);
      from = to;
    }
    return Result();
  }

 private:
  Place At(double s) const { return m_motion.At<Curve::kIsTip>(s); }

  struct Piece {
    double from;
    double to;

    double Middle() const { return (from + to) / 2; }
  };

  void Reach(const Place& place) {
    m_reached = std::max(m_reached, m_curve.Value(Curve::Of(place)));
  }
  bool IsTooMuch() const noexcept { return m_reached > m_content.allowed; }
  double Result() const noexcept { return IsTooMuch() ? kInfinite : m_bound; }

  void Settle(const Piece& piece, const Point& from, const Place& middle, const Point& to,
              int depth) {
    Reach(middle);
    if (IsTooMuch()) return;
    const Point& halfway = Curve::Of(middle);
    const double upper = m_curve.Upper(Controls(from, halfway, to), middle, piece.to - piece.from);
    if (depth == kDeepest || upper <= std::max({m_content.known, zvBlockLaw::kNear * m_reached,
                                                m_reached + m_content.near})) {
      m_bound = std::max(m_bound, upper);
      return;
    }
    const Piece first{piece.from, piece.Middle()};
    const Piece second{piece.Middle(), piece.to};
    Settle(first, from, At(first.Middle()), halfway, depth + 1);
    if (!IsTooMuch()) Settle(second, halfway, At(second.Middle()), to, depth + 1);
  }

  const Motion& m_motion;
  const Curve& m_curve;
  Content m_content;
  double m_reached = 0;
  double m_bound = 0;
};

/// Tip in length, axis in radians: bounds without rounding, infinite where more than `allowed` is
/// reached.
zvBlockDeviation Searched(const Motion& motion, const Station& from, const Station& to,
                          const Way& way, const zvBlockDeviation& known,
                          const zvBlockDeviation& allowed) noexcept {
  const double turn = motion.TurnSize();
  const int pieces = std::max(1, static_cast<int>(std::ceil(turn / kLargestPiece)));
  zvBlockDeviation bound = known;
  if (known.tip < kInfinite) {
    const TipCurve tip{motion, zvWaySegment(way.from.tip, way.to.tip)};
    bound.tip = Search(motion, tip, {zvBlockLaw::kNearLength, known.tip, allowed.tip})
                    .Over(pieces, from.pose.tip, motion.At<true>(0.5), to.pose.tip);
  }
  if (known.axis < kInfinite) {
    const Place middle = motion.At<false>(0.5);
    const AxisCurve axis{motion, zvWayArc(way.from.axis, way.to.axis, middle.dir_tool)};
    bound.axis = Search(motion, axis, {kNearSine, known.axis, allowed.axis})
                     .Over(pieces, from.pose.axis, middle, to.pose.axis);
  }
  return bound;
}

zvBlockDeviation InRadians(const zvBlockDeviation& deviation) noexcept {
  return {deviation.tip, deviation.axis * misc::kRadiansPerDegree};
}

}  // namespace

namespace {

// The size of a way's orientations: NaN and infinity show in it.
double AxisSize(const Way& way) noexcept {
  return SizeOf(way.from.axis) + SizeOf(way.to.axis);
}

}  // namespace

zvBlockDeviation zvBlockLaw::Guess(const Station& from, const Station& to) const noexcept {
  const zvBlockMotion motion(*this, from, to);
  const zvBlockDeviation guess = motion.Guess(to);
  const double rounding = kRounding * motion.Size();
  if (!(guess.tip + guess.axis + rounding < kInfinite)) return {kInfinite, kInfinite};
  return {guess.tip + rounding,
          (AngleOfSine(guess.axis) + kAxisRounding) * misc::kDegreesPerRadian};
}

// With the tip at U + Ra (V + Rb W), of which one moves with the nose X, evenly, and the turns of
// both axes together w:
//   |P''| <= w^2 (|V| + |W|) + 2 w |X'|, and |V| + |W| is at most the constants' lengths and |X|
//   |t''| <= w^2
// and what is linear at both ends is at most an eighth of that away.
zvBlockDeviation zvBlockLaw::Glance(const Line& from, const Line& to) const noexcept {
  if (!m_isIdentity) return {kInfinite, kInfinite};
  const double turn =
      (std::fabs(to.firstAngle - from.firstAngle) + std::fabs(to.secondAngle - from.secondAngle)) *
      misc::kRadiansPerDegree;
  const double size = m_size + std::max(SizeOf(from.p_mach), SizeOf(to.p_mach));
  const double shift = SizeOf(to.p_mach - from.p_mach);
  const double tip = (turn * size + 2 * shift) * turn / 8;
  const double axis = turn * turn / 8;
  if (!(tip + axis + size < kInfinite)) return {kInfinite, kInfinite};
  return {tip + kRounding * size, (AngleOfSine(axis) + kAxisRounding) * misc::kDegreesPerRadian};
}

zvBlockDeviation zvBlockLaw::BoundAbove(const Station& from, const Station& to, const Way& way,
                                        const zvBlockDeviation& known) const noexcept {
  const zvBlockMotion motion(*this, from, to);
  const double size = motion.Size() + SizeOf(way.from.tip) + SizeOf(way.to.tip);
  const double turn = motion.TurnSize();
  if (!(size + AxisSize(way) < kInfinite) || !(turn < kInfinite)) return {kInfinite, kInfinite};
  if (turn > kLargestTurn) return {size, misc::kFullTurnDeg / 2};
  zvBlockDeviation bound;
  if (turn == 0) {
    // The axes go straight: what is furthest off is an end.
    const zvWaySegment segment(way.from.tip, way.to.tip);
    const zvWayArc arc(way.from.axis, way.to.axis, from.pose.axis);
    bound = {std::max(segment.Distance(from.pose.tip), segment.Distance(to.pose.tip)),
             arc.Angle(from.pose.axis)};
  } else {
    bound = Searched(motion, from, to, way, InRadians(known), {kInfinite, kInfinite});
  }
  return {bound.tip + kRounding * size, (bound.axis + kAxisRounding) * misc::kDegreesPerRadian};
}

bool zvBlockLaw::Holds(const Station& from, const Station& to, const Way& way,
                       const zvBlockDeviation& allowed) const noexcept {
  const double tipOff = std::max(PlainLength(from.pose.tip - way.from.tip),  //
                                 PlainLength(to.pose.tip - way.to.tip));
  // What both ends are off their arc by on one side their chord is too, and the arc between them,
  // further out, by more.
  const double axisOff = 2 *
                         std::max(PlainLength(from.pose.axis - way.from.axis),
                                  PlainLength(to.pose.axis - way.to.axis)) /
                         PlainLength(from.pose.axis + to.pose.axis);
  const zvBlockMotion motion(*this, from, to);
  const double size = motion.Size() + SizeOf(way.from.tip) + SizeOf(way.to.tip);
  if (!(motion.TurnSize() < kInfinite) || !(size + AxisSize(way) < kInfinite)) return false;
  const zvBlockDeviation most{allowed.tip - kRounding * size,
                              allowed.axis * misc::kRadiansPerDegree - kAxisRounding};
  const zvBlockDeviation guess = motion.Guess(to);
  if (guess.tip + tipOff <= most.tip && AngleOfSine(guess.axis + axisOff) <= most.axis) return true;
  if (motion.TurnSize() > kLargestTurn) return false;
  const zvBlockDeviation bound = Searched(motion, from, to, way, most, most);
  return bound.tip <= most.tip && bound.axis <= most.axis;
}

}  // namespace post
