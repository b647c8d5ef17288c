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
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace post {

namespace {

using Point = zvBlockLaw::Point;
using Station = zvBlockLaw::Station;
using Way = zvBlockLaw::Way;

constexpr double kInfinite = std::numeric_limits<double>::infinity();
/// What is added for rounding: of the size of the numbers, and of radians.
constexpr double kRounding = 1e-13;
constexpr double kAxisRounding = 2e-13;
/// What bounds may be above what is reached: as a factor, in length and as a sine (1e-6 degrees).
constexpr double kNear = 1.02;
constexpr double kNearLength = 1e-9;
constexpr double kNearSine = 1.7e-8;
/// The largest turn, radians, that is looked at piece by piece, and that of one piece at first.
constexpr double kLargestTurn = 40 * misc::kPi;
constexpr double kLargestPiece = 0.25;
/// How often a piece is halved at most.
constexpr int kDeepest = 14;
/// sqrt(3) / 216: the error of a quadratic interpolant for a third derivative of 1.
constexpr double kQuadraticError = 0.008018753738744802;

/// x(s) of one axis of a point: linear.
Point Between(const Point& from, const Point& step, double s) {
  return from + s * step;
}

/// Of an angle in radians of any size: a few terms of the series where it is small.
zvTurn TurnOf(double rad) noexcept {
  if (!(std::fabs(rad) < 0.2)) {
    const misc::zvSineAndCosine turn = misc::SineAndCosineOfRadians(rad);
    return {turn.cosine, turn.sine};
  }
  // The first term left out is below 2e-17 of the result.
  const double z = rad * rad;
  const double sine =
      rad * (1 - z / 6 * (1 - z / 20 * (1 - z / 42 * (1 - z / 72 * (1 - z / 110)))));
  const double cosine =
      1 - z / 2 * (1 - z / 12 * (1 - z / 30 * (1 - z / 56 * (1 - z / 90 * (1 - z / 132)))));
  return {cosine, sine};
}

zvTurn operator+(const zvTurn& a, const zvTurn& b) noexcept {
  return {a.cosine * b.cosine - a.sine * b.sine, a.sine * b.cosine + a.cosine * b.sine};
}

/// A vector turned about a direction through the origin; with the turn of 0 it stays.
Point Turned(const Point& v, const Point& direction, const zvTurn& turn) noexcept {
  return v * turn.cosine + Cross(direction, v) * turn.sine +
         direction * (Dot(direction, v) * (1 - turn.cosine));
}

double Length(const Point& v) noexcept {
  return misc::Sqrt(v.SquaredLength());
}

double SizeOf(const Point& p) noexcept {
  return std::fabs(p.x) + std::fabs(p.y) + std::fabs(p.z);
}

/// The angle of a bound of its sine, never too small. From 1 on it says nothing.
double AngleOfSine(double sine) noexcept {
  if (sine < 0.3) return sine * (1 + 0.2 * sine * sine);  // z/6 + 3 z^2/40 + ... < z/5 up to there
  if (!(sine < 1)) return misc::kPi;
  return misc::ArcTangent(sine, misc::Sqrt((1 - sine) * (1 + sine)));
}

/// The straight line of a way, from which distances of points are taken.
class Segment {
 public:
  explicit Segment(const Way& way)
      : m_from(way.from.tip), m_step(way.to.tip - way.from.tip), m_squared(m_step.SquaredLength()) {
    m_inverse = m_squared > 0 ? 1 / m_squared : 0;
  }
  double Distance(const Point& p) const noexcept {
    const Point v = p - m_from;
    const double t = std::min(1.0, std::max(0.0, Dot(v, m_step) * m_inverse));
    return Length(v - t * m_step);
  }

 private:
  Point m_from;
  Point m_step;
  double m_squared;
  double m_inverse;
};

/// The sector that the arc of a way spans. A ray where the arc is a point or next to one.
class Sector {
 public:
  /// `halfway`: where the tool points halfway through the block.
  Sector(const Way& way, const Point& halfway) : m_from(way.from.axis), m_to(way.to.axis) {
    // By the difference: square to both ends however near they are.
    Point normal = Cross(m_from, m_to - m_from);
    double length = Length(normal);
    const bool areOpposite = (m_from + m_to).SquaredLength() <= misc::kOpposite * misc::kOpposite;
    if (areOpposite) {
      normal = Cross(m_from, halfway);
      length = Length(normal);
    }
    m_isRay = !(length > kNoArc);
    if (m_isRay) return;
    m_normal = normal / length;
    m_past = Cross(m_normal, m_from);
    m_before = Cross(m_to, m_normal);
    if (areOpposite) m_before = m_past;
  }

  double Distance(const Point& t) const noexcept {
    if (IsAbove(t)) return Height(t);
    return std::min(OffRay(t, m_from), OffRay(t, m_to));
  }
  /// In radians.
  double Angle(const Point& t) const noexcept {
    if (IsAbove(t)) return AngleOfSine(Height(t));
    return std::min(AngleTo(t, m_from), AngleTo(t, m_to));
  }
  bool IsRay() const noexcept { return m_isRay; }
  const Point& GetNormal() const noexcept { return m_normal; }
  double Height(const Point& t) const noexcept { return std::fabs(Dot(m_normal, t)); }
  /// How far a point's foot in the plane lies outside of the ends.
  double Past(const Point& t) const noexcept {
    return std::max({0.0, -Dot(m_past, t), -Dot(m_before, t)});
  }
  /// Whether the tool, turning by `turn` at most on its way between two points, can't turn back as
  /// seen along the arc's ends: then nothing on the way lies past them by more than these. Its rate
  /// is that from point to point, but for turn^3 / 24, and changes by turn^2 / 2 from the middle.
  bool GoesOn(const Point& from, const Point& to, double turn) const noexcept {
    const Point step = to - from;
    const double change = turn * turn * (0.5 + turn / 24);
    return Dot(m_past, step) > change && -Dot(m_before, step) > change;
  }

 private:
  // Rays at a smaller angle, in radians, are one: either serves for both, within kNearSine.
  static constexpr double kNoArc = 1e-9;

  bool IsAbove(const Point& t) const noexcept {
    return !m_isRay && Dot(m_past, t) >= 0 && Dot(m_before, t) >= 0;
  }
  static double OffRay(const Point& t, const Point& ray) noexcept {
    return Length(t - std::max(0.0, Dot(t, ray)) * ray);
  }
  static double AngleTo(const Point& t, const Point& ray) noexcept {
    return misc::ArcTangent(Length(Cross(t, ray)), Dot(t, ray));
  }

  Point m_from;
  Point m_to;
  Point m_normal;
  Point m_past;    // in the plane of the arc, square to its start, towards its end
  Point m_before;  // the same of its end, towards its start
  bool m_isRay = true;
};

}  // namespace

zvBlockLaw::zvBlockLaw(const zvMachDef& machDef, const Point& partOrigin,
                       double toolLengthCompensation) {
  const auto own = machDef.Clone();
  own->Normalize();
  m_isIdentity = own->IsIdentityTransform();
  m_x = own->GetXAxisDirection();
  m_y = own->GetYAxisDirection();
  m_z = own->GetZAxisDirection();
  m_spindle = own->GetSpindleDirection();
  const double l = toolLengthCompensation;
  switch (own->GetNumbersOfAxes()) {
    case zvMachDef::threeAxes:
      m_outer = -l * m_spindle;
      break;
    case zvMachDef::fourAxes:
      Take(zvMachDefUtils::As4ax(*own), l);
      break;
    case zvMachDef::fiveAxes:
      Take(zvMachDefUtils::As5ax(*own), l);
      break;
    case zvMachDef::sixAxes: {
      zv5axMachDef five = Get5axMachDef(zvMachDefUtils::As6ax(*own));
      five.Normalize();
      Take(five, l);
      break;
    }
    default:
      throw zvPostException(zvPostException::kUnknownMachine);
  }
  m_outer = m_outer - partOrigin;
  m_size = SizeOf(m_outer) + SizeOf(m_middle) + SizeOf(m_inner) + std::fabs(l);
}

// A table at the angle a has turned the part by a about its axis: from the part the tip is seen
// turned by -a, p = B + R(-a)(nose - L s - B) - origin. In the head the axis goes through the nose,
// which the slides' position lies off by the pivot: p = nose - B + R(a)(-L s) - origin.
void zvBlockLaw::Take(const zv4axMachDef& machDef, double toolLength) {
  const Point tool = -toolLength * m_spindle;
  const Point& pivot = machDef.GetRotationPivot();
  m_hasFirst = true;
  if (machDef.GetRotaryOnWorkpiece() != 0) {
    m_first = -machDef.GetRotationDirection();
    m_carrier = Carrier::kMiddle;
    m_outer = pivot;
    m_middle = tool - pivot;
  } else {
    m_first = machDef.GetRotationDirection();
    m_carrier = Carrier::kOuter;
    m_outer = -pivot;
    m_middle = tool;
  }
}

// With the pivots B1 and B2, R1 and R2 the turns of part or tool by the angles:
//   both on the table, 2 carrying 1:  p = B1 + R1'(B2 - B1 + R2'(nose - L s - B2)) - origin
//   1 on the table, 2 in the head:    p = B1 + R1'(nose + B2 - B1 + R2(-L s - B2)) - origin
//   both in the head, 1 carrying 2:   p = nose + B1 + B2 + R1(-B1 + R2(-L s - B2)) - origin
// B2 of a head is measured from the nose, B1 of one from B2. A kind that leaves the length out has
// the tip for its nose.
void zvBlockLaw::Take(const zv5axMachDef& machDef, double toolLength) {
  const std::int32_t kind = machDef.GetFiveAxisKind();
  const Point& b1 = machDef.GetFirstRotationPivot();
  const Point& b2 = machDef.GetSecondRotationPivot();
  const double length = kind == zv5axMachDef::kBothOnTableLengthLeftOut ? 0 : toolLength;
  m_hasFirst = m_hasSecond = true;
  m_inner = -length * m_spindle - b2;
  switch (kind) {
    case zv5axMachDef::kBothOnTableLengthLeftOut:
    case zv5axMachDef::kBothOnTable:
      m_first = -machDef.GetFirstRotationDirection();
      m_second = -machDef.GetSecondRotationDirection();
      m_carrier = Carrier::kInner;
      m_outer = b1;
      m_middle = b2 - b1;
      break;
    case zv5axMachDef::kBothInHead:
      m_first = machDef.GetFirstRotationDirection();
      m_second = machDef.GetSecondRotationDirection();
      m_carrier = Carrier::kOuter;
      m_outer = b1 + b2;
      m_middle = -b1;
      break;
    default:
      m_first = -machDef.GetFirstRotationDirection();
      m_second = machDef.GetSecondRotationDirection();
      m_carrier = Carrier::kMiddle;
      m_outer = b1;
      m_middle = b2 - b1;
      break;
  }
}

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
    m_across = Length(Cross(law.m_second, start));
    double acrossStep = 0;
    if (isInner) {
      m_across = std::max(m_across, Length(Cross(law.m_second, start + m_step)));
      acrossStep = Length(Cross(law.m_second, m_step));
    }
    const double b = std::fabs(m_second);
    m_second2 = b * (b * m_across + 2 * acrossStep);
    m_second3 = b * b * (b * m_across + 3 * acrossStep);
    m_acrossSpindle = Length(Cross(law.m_second, law.m_spindle));
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

  Place At(double s) const noexcept {
    const Point& first = m_law.m_first;
    const Point& second = m_law.m_second;
    const zvTurn one = m_first == 0 ? m_from.first : m_from.first + TurnOf(s * m_first);
    const zvTurn two = m_second == 0 ? m_from.second : m_from.second + TurnOf(s * m_second);
    const Point nose = Between(m_from.nose, m_step, s);
    Point outer = m_law.m_outer;
    Point middle = m_law.m_middle;
    Point inner = m_law.m_inner;
    m_law.NoseOf(outer, middle, inner) += nose;
    const Point reach = Turned(inner, second, two);
    const Point arm = middle + reach;
    const Point dir = Turned(m_law.m_spindle, second, two);
    Place place;
    place.tip = outer + Turned(arm, first, one);
    place.dir_tool = Turned(dir, first, one);
    if (m_first == 0) return place;
    Point rate = Cross(second, reach) * m_second;
    if (m_law.m_carrier == Carrier::kMiddle) rate += m_step;
    if (m_law.m_carrier == Carrier::kInner) rate += Turned(m_step, second, two);
    place.across = Length(Cross(first, arm));
    place.crossRate = Length(Cross(first, rate));
    place.acrossDir = Length(Cross(first, dir));
    place.dirRate = Length(Cross(first, Cross(second, dir))) * std::fabs(m_second);
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
        m_second == 0 ? m_law.m_first : Turned(m_law.m_second, m_law.m_first, m_from.first);
    const double rate = m_first + m_second;
    return std::min(all, std::fabs(rate * rate * rate) * Length(Cross(direction, normal)));
  }

  zvBlockDeviation Guess(const Station& to) const noexcept {
    const Point& first = m_law.m_first;
    const double a = std::fabs(m_first);
    const double b = std::fabs(m_second);
    // What F and F' are off by from the line between F(0) and F(1), and from its rate.
    const double across =
        std::max(Length(Cross(first, m_from.arm)), Length(Cross(first, to.arm))) + m_second2 / 8;
    const double rate = Length(Cross(first, to.arm - m_from.arm)) + m_second2 / 2;
    const double second2 = b * b * m_acrossSpindle;
    const double acrossDir =
        std::max(Length(Cross(first, m_from.dir)), Length(Cross(first, to.dir))) + second2 / 8;
    const double dirRate = Length(Cross(first, to.dir - m_from.dir)) + second2 / 2;
    return {(a * (a * across + 2 * rate) + m_second2) / 8,
            (a * (a * acrossDir + 2 * dirRate) + second2) / 8};
  }

  /// The size of the numbers, by which rounding is measured.
  double Size() const noexcept { return m_law.m_size + SizeOf(m_from.nose) + SizeOf(m_step); }

 private:
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
  const Motion& motion;
  const Segment segment;

  static const Point& Of(const Place& place) noexcept { return place.tip; }
  double Value(const Point& p) const noexcept { return segment.Distance(p); }
  /// Bounds the values on a piece of length h about a place.
  double Upper(const Controls& q, const Place& middle, double h) const noexcept {
    return q.Largest([this](const Point& p) { return segment.Distance(p); }) +
           motion.TipThird(middle, h / 2) * (kQuadraticError * h * h * h);
  }
};

/// The tool axis and its angle to the arc, radians.
struct AxisCurve {
  const Motion& motion;
  const Sector sector;

  static const Point& Of(const Place& place) noexcept { return place.dir_tool; }
  double Value(const Point& t) const noexcept { return sector.Angle(t); }
  double Upper(const Controls& q, const Place& middle, double h) const noexcept {
    const double turn = h * motion.TurnSize();
    const double byTurn = sector.Angle(q.middle) + turn / 2;
    if (!(byTurn < misc::kPi / 2)) return byTurn;
    const double cube = kQuadraticError * h * h * h;
    double sine = q.Largest([this](const Point& t) { return sector.Distance(t); }) +
                  motion.AxisThird(middle, h / 2) * cube;
    if (!sector.IsRay() && sector.GoesOn(q.from, q.to, turn)) {
      const double height = q.Largest([this](const Point& t) { return sector.Height(t); }) +
                            motion.AxisThirdAlong(middle, h / 2, sector.GetNormal()) * cube;
      const double past = std::max(sector.Past(q.from), sector.Past(q.to));
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
    for (int i = 0; i < pieces; ++i) Reach(m_motion.At((i + 0.5) / pieces));
    Point from = start;
    for (int i = 0; i < pieces && !IsTooMuch(); ++i) {
      const Piece piece{i / (1.0 * pieces), (i + 1) / (1.0 * pieces)};
      const Point to = i + 1 == pieces ? end : Curve::Of(m_motion.At(piece.to));
      Settle(piece, from, m_motion.At(piece.Middle()), to, 0);
      from = to;
    }
    return Result();
  }

 private:
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
    if (depth == kDeepest ||
        upper <= std::max({m_content.known, kNear * m_reached, m_reached + m_content.near})) {
      m_bound = std::max(m_bound, upper);
      return;
    }
    const Piece first{piece.from, piece.Middle()};
    const Piece second{piece.Middle(), piece.to};
    Settle(first, from, m_motion.At(first.Middle()), halfway, depth + 1);
    if (!IsTooMuch()) Settle(second, halfway, m_motion.At(second.Middle()), to, depth + 1);
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
  const Place middle = motion.At(0.5);
  const TipCurve tip{motion, Segment(way)};
  const AxisCurve axis{motion, Sector(way, middle.dir_tool)};
  const int pieces = std::max(1, static_cast<int>(std::ceil(turn / kLargestPiece)));
  return {Search(motion, tip, {kNearLength, known.tip, allowed.tip})
              .Over(pieces, from.pose.tip, middle, to.pose.tip),
          Search(motion, axis, {kNearSine, known.axis, allowed.axis})
              .Over(pieces, from.pose.axis, middle, to.pose.axis)};
}

zvBlockDeviation InRadians(const zvBlockDeviation& deviation) noexcept {
  return {deviation.tip, deviation.axis * misc::kRadiansPerDegree};
}

}  // namespace

zvBlockLaw::Station zvBlockLaw::StationAt(const Line& line) const noexcept {
  Station station;
  station.line = line;
  const Point& p = line.p_mach;
  station.nose = m_isIdentity ? p : p.x * m_x + p.y * m_y + p.z * m_z;
  Point outer = m_outer;
  Point middle = m_middle;
  Point inner = m_inner;
  NoseOf(outer, middle, inner) += station.nose;
  Point arm = inner;
  Point dir = m_spindle;
  if (m_hasSecond) {
    station.second = zvTurn::OfDegrees(line.secondAngle);
    arm = Turned(inner, m_second, station.second);
    dir = Turned(m_spindle, m_second, station.second);
  }
  station.arm = middle + arm;
  station.dir = dir;
  if (m_hasFirst) {
    station.first = zvTurn::OfDegrees(line.firstAngle);
    station.pose = {outer + Turned(station.arm, m_first, station.first),
                    Turned(dir, m_first, station.first)};
  } else {
    station.pose = {outer + station.arm, dir};
  }
  return station;
}

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
  if (!(size < kInfinite) || !(turn < kInfinite)) return {kInfinite, kInfinite};
  if (turn > kLargestTurn) return {size, misc::kFullTurnDeg / 2};
  zvBlockDeviation bound;
  if (turn == 0) {
    // The axes go straight: what is furthest off is an end.
    const Segment segment(way);
    const Sector sector(way, from.pose.axis);
    bound = {std::max(segment.Distance(from.pose.tip), segment.Distance(to.pose.tip)),
             sector.Angle(from.pose.axis)};
  } else {
    bound = Searched(motion, from, to, way, InRadians(known), {kInfinite, kInfinite});
  }
  return {bound.tip + kRounding * size, (bound.axis + kAxisRounding) * misc::kDegreesPerRadian};
}

bool zvBlockLaw::Holds(const Station& from, const Station& to, const Way& way,
                       const zvBlockDeviation& allowed) const noexcept {
  const double tipOff = std::max(Length(from.pose.tip - way.from.tip),  //
                                 Length(to.pose.tip - way.to.tip));
  const double axisOff =
      std::max(Length(from.pose.axis - way.from.axis), Length(to.pose.axis - way.to.axis));
  const zvBlockMotion motion(*this, from, to);
  const double size = motion.Size() + SizeOf(way.from.tip) + SizeOf(way.to.tip);
  const zvBlockDeviation most{allowed.tip - kRounding * size,
                              allowed.axis * misc::kRadiansPerDegree - kAxisRounding};
  const zvBlockDeviation guess = motion.Guess(to);
  if (guess.tip + tipOff <= most.tip && AngleOfSine(guess.axis + axisOff) <= most.axis) return true;
  if (!(motion.TurnSize() <= kLargestTurn) || !(size < kInfinite)) return false;
  const zvBlockDeviation bound = Searched(motion, from, to, way, most, most);
  return bound.tip <= most.tip && bound.axis <= most.axis;
}

}  // namespace post
