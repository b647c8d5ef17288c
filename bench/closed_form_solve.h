// The yardstick of the five-axis solve: the closed form alone, written for the benchmark. Table and
// table, both solutions, four angles in degrees and two machine positions, all that depends on the
// machine worked out beforehand, four arc cosines and no sine or cosine.
#pragma once

#include <kandrel/cadcam/point3d.h>

#include <cmath>

namespace bench {

class ClosedFormSolve {
 public:
  using Point = cadcam::zvTPoint3d<double>;

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
    const Turn fp = TurnOf((Dot(up, t) - q1) / (1 - q1), Dot(across, up));
    const Turn fm = TurnOf((Dot(um, t) - q1) / (1 - q1), Dot(across, um));
    const Turn sp = TurnOf((Dot(up, m_s) - m_q2) / (1 - m_q2), Dot(m_sCrossA2, up));
    const Turn sm = TurnOf((Dot(um, m_s) - m_q2) / (1 - m_q2), Dot(m_sCrossA2, um));
    const Point q = p + m_origin;
    return {fp.deg,
            sp.deg,
            fm.deg,
            sm.deg,
            m_tool + Rotate(Rotate(q, m_a1, m_b1, fp), m_a2, m_b2, sp),
            m_tool + Rotate(Rotate(q, m_a1, m_b1, fm), m_a2, m_b2, sm)};
  }

 private:
  struct Turn {
    double deg, cosine, sine;
  };

  static Turn TurnOf(double x, double sense) {
    constexpr double kDegrees = 57.29577951308232;
    x = x > 1 - 1e-10 ? 1 : x < -1 + 1e-10 ? -1 : x;
    const double deg = std::acos(x) * kDegrees;
    const double sine = std::sqrt((1 - x) * (1 + x));
    return sense < 0 ? Turn{-deg, x, -sine} : Turn{deg, x, sine};
  }

  static Point Rotate(const Point& p, const Point& d, const Point& b, const Turn& turn) {
    const Point v = p - b;
    return b + v * turn.cosine + Cross(d, v) * turn.sine + d * (Dot(d, v) * (1 - turn.cosine));
  }

  Point m_a1, m_a2, m_s, m_b1, m_b2, m_origin, m_tool;
  double m_c12, m_c2, m_q2, m_k;
  Point m_n, m_sCrossA2;
};

}  // namespace bench
