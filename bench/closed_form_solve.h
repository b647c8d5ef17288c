// The yardsticks of the solves: the closed forms alone, written for the benchmark, all that depends
// on the machine worked out beforehand, no sine or cosine.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/tolerances.h>

#include <cmath>

namespace bench {

struct ClosedFormTurn {
  using Point = cadcam::zvTPoint3d<double>;

  double deg, cosine, sine;

  static ClosedFormTurn Of(double x, double sense) {
    x = x > 1 - 1e-10 ? 1 : x < -1 + 1e-10 ? -1 : x;
    const double deg = std::acos(x) * misc::kDegreesPerRadian;
    const double sine = std::sqrt((1 - x) * (1 + x));
    return sense < 0 ? ClosedFormTurn{-deg, x, -sine} : ClosedFormTurn{deg, x, sine};
  }

  /// `p` turned about the line through `b` along `d`.
  Point Rotate(const Point& p, const Point& d, const Point& b) const {
    const Point v = p - b;
    return b + v * cosine + Cross(d, v) * sine + d * (Dot(d, v) * (1 - cosine));
  }
};

/// Four axes, the rotary one on the table: one angle and one position, one arc cosine.
class ClosedFormFourAxisSolve {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  struct Result {
    double deg;
    Point position;
  };

  ClosedFormFourAxisSolve(const Point& a, const Point& spindle, const Point& b, const Point& origin,
                          double toolLength)
      : m_a(a),
        m_s(spindle),
        m_b(b),
        m_origin(origin),
        m_tool(toolLength * spindle),
        m_q(Dot(a, spindle) * Dot(a, spindle)),
        m_sCrossA(Cross(spindle, a)) {}

  Result Solve(const Point& p, const Point& orientation) const {
    const Point t = orientation / std::sqrt(orientation.SquaredLength());
    const ClosedFormTurn turn =
        ClosedFormTurn::Of((Dot(t, m_s) - m_q) / (1 - m_q), Dot(m_sCrossA, t));
    return {turn.deg, m_tool + turn.Rotate(p + m_origin, m_a, m_b)};
  }

 private:
  Point m_a, m_s, m_b, m_origin, m_tool;
  double m_q;
  Point m_sCrossA;
};

/// Five axes, both on the table: both solutions, four angles in degrees and two machine positions,
/// four arc cosines.
class ClosedFormSolve {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  using Turn = ClosedFormTurn;

  struct Result {
    double firstPlus, secondPlus, firstMinus, secondMinus;
    Point plus, minus;
  };

  ClosedFormSolve(const Point& a1, const Point& a2, const Point& spindle, const Point& b1,
                  const Point& b2, const Point& origin, double toolLength)
      : m_a1(a1),
        m_a2(a2),
        m_s(spindle),
        m_b1(b1),
        m_b2(b2),
        m_origin(origin),
        m_tool(toolLength * spindle),
        m_c12(Dot(a1, a2)),
        m_c2(Dot(a2, spindle)),
        m_q2(m_c2 * m_c2),
        m_k(1 / (1 - m_c12 * m_c12)),
        m_n(Cross(a1, a2).Normalized()),
        m_sCrossA2(Cross(spindle, a2)) {}

  Result Solve(const Point& p, const Point& orientation) const {
    const Point t = orientation / std::sqrt(orientation.SquaredLength());
    const double c1 = Dot(t, m_a1);
    const double q1 = c1 * c1;
    const double w = 1 - (m_q2 + q1 - 2 * c1 * m_c2 * m_c12) * m_k;
    const Point base = ((c1 - m_c2 * m_c12) * m_k) * m_a1 + ((m_c2 - c1 * m_c12) * m_k) * m_a2;
    const Point side = (w > 0 ? std::sqrt(w) : 0.0) * m_n;
    const Point up = base + side;
    const Point um = base - side;
    const Point across = Cross(m_a1, t);
    const Turn fp = Turn::Of((Dot(up, t) - q1) / (1 - q1), Dot(across, up));
    const Turn fm = Turn::Of((Dot(um, t) - q1) / (1 - q1), Dot(across, um));
    const Turn sp = Turn::Of((Dot(up, m_s) - m_q2) / (1 - m_q2), Dot(m_sCrossA2, up));
    const Turn sm = Turn::Of((Dot(um, m_s) - m_q2) / (1 - m_q2), Dot(m_sCrossA2, um));
    const Point q = p + m_origin;
    return {fp.deg,
            sp.deg,
            fm.deg,
            sm.deg,
            m_tool + sp.Rotate(fp.Rotate(q, m_a1, m_b1), m_a2, m_b2),
            m_tool + sm.Rotate(fm.Rotate(q, m_a1, m_b1), m_a2, m_b2)};
  }

 private:
  Point m_a1, m_a2, m_s, m_b1, m_b2, m_origin, m_tool;
  double m_c12, m_c2, m_q2, m_k;
  Point m_n, m_sCrossA2;
};

}  // namespace bench
