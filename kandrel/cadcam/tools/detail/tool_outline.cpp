// In the formulas R is half the diameter, S the shoulder length, F the flute length and r a corner
// radius, whose slack below 0 is cut off; angles are degrees.
#include <kandrel/cadcam/tool_approximation_exception.h>
#include <kandrel/cadcam/tools/detail/tool_outline.h>
#include <kandrel/cadcam/tools/detail/tool_rules.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

#include <algorithm>
#include <cmath>

namespace cadcam::detail {

namespace {

using Contour = geoDef::zv2dContour<double>;

[[noreturn]] void Refuse() {
  throw zvtoolapproximationException(0);
}

double Sine(double deg) {
  return misc::SineAndCosineOfDegrees(deg).sine;
}
double Cosine(double deg) {
  return misc::SineAndCosineOfDegrees(deg).cosine;
}
double Tangent(double deg) {
  return Sine(deg) / Cosine(deg);
}
double ArcTangentDeg(double y, double x) {
  return misc::kDegreesPerRadian * misc::ArcTangent(y, x);
}
/// The root of a number that is below 0 by rounding alone, if at all; NaN below that.
double Root(double square) {
  return std::sqrt(square < 0 && square > -misc::kToolParameterEqual ? 0 : square);
}

double CornerRadius(const auto& tool) {
  return std::max(tool.GetCornerRadius(), 0.0);
}

// Strings lines and arcs together, from the tip on.
class Outline {
 public:
  Outline& To(double x, double y) {
    const Point to{x, y};
    if (!std::isfinite(x) || !std::isfinite(y)) Refuse();
    if (std::hypot(to.x - m_at.x, to.y - m_at.y) > misc::kEqual)
      m_contour.Add(geoDef::zv2dLine<double>{m_at, to});
    m_at = to;
    return *this;
  }

  // With a line to where it starts.
  Outline& Turn(double x, double y, double radius, double start, double sweep) {
    if (!(radius >= 0 && radius <= misc::kNoValue) || !std::isfinite(sweep)) Refuse();
    if (radius <= misc::kEqual || sweep == 0) return *this;
    const geoDef::zv2dArc<double> arc({x, y}, radius, start, sweep);
    const Point from = arc.PointAt(start);
    To(from.x, from.y);
    m_contour.Add(arc);
    m_at = arc.PointAt(arc.GetEndAngle());
    if (!std::isfinite(m_at.x) || !std::isfinite(m_at.y)) Refuse();
    return *this;
  }

  // Up to the shoulder length.
  Contour Up(double x, double height) { return To(x, height).m_contour; }

 private:
  Point m_at;
  Contour m_contour;
};

Contour Cylinder(const zvTypedRevolvedTool& tool) {
  const double R = tool.GetDiameter() / 2;
  return Outline().To(R, 0).Up(R, tool.GetShoulderLength());
}

Contour Ball(double R, double S) {
  return Outline().Turn(0, R, R, 270, 90).Up(R, S);
}

// A flat tip, a corner, and a flank that widens by an angle from the axis, to the shoulder length.
Contour Cone(const auto& tool) {
  const double R = tool.GetDiameter() / 2, S = tool.GetShoulderLength(), r = CornerRadius(tool);
  const double A = tool.GetTaperAngle();
  const double x = R - r + r * Cosine(A), z = r - r * Sine(A);
  return Outline()
      .To(R - r, 0)
      .Turn(R - r, r, r, 270, 90 - A)
      .To(x, z)
      .Up(x + Tangent(A) * (S - z), S);
}

double TipHeight(const auto& tool) {
  return tool.GetDiameter() / 2 * Cosine(tool.GetTipAngle() / 2) / Sine(tool.GetTipAngle() / 2);
}

Contour PointedCylinder(const auto& tool) {
  const double R = tool.GetDiameter() / 2;
  return Outline().To(R, TipHeight(tool)).Up(R, tool.GetShoulderLength());
}

// The corner between the tip's cone and the cylinder is round.
Contour RoundedPoint(const auto& tool) {
  const double R = tool.GetDiameter() / 2, r = CornerRadius(tool);
  const double B = tool.GetTipAngle() / 2;
  const double y = TipHeight(tool) + r * Tangent(B / 2);
  return Outline()
      .To(R - r + r * Cosine(B), y - r * Sine(B))
      .Turn(R - r, y, r, 360 - B, B)
      .To(R, y)
      .Up(R, tool.GetShoulderLength());
}

}  // namespace

Contour OutlineOf(const zvEndMill& tool) {
  return Cylinder(tool);
}
Contour OutlineOf(const zvReamer& tool) {
  return Cylinder(tool);
}
Contour OutlineOf(const zvCntrBore& tool) {
  return Cylinder(tool);
}

Contour OutlineOf(const zvSpherMill& tool) {
  return Ball(tool.GetDiameter() / 2, tool.GetShoulderLength());
}

Contour OutlineOf(const zvBullMill& tool) {
  const double R = tool.GetDiameter() / 2, r = CornerRadius(tool);
  return Outline().To(R - r, 0).Turn(R - r, r, r, 270, 90).To(R, r).Up(R, tool.GetShoulderLength());
}

// The corner touches the arc of the tip from inside: their centres are T - r apart. Where they are
// one, the tool is a ball.
Contour OutlineOf(const zvConvexTipMill& tool) {
  const double R = tool.GetDiameter() / 2, S = tool.GetShoulderLength(), r = CornerRadius(tool);
  const double T = std::max(tool.GetTipRadius(), R);
  if (!(r - R <= T - r + misc::kEqual)) Refuse();
  if (T - r <= misc::kEqual) return Ball(R, S);
  const double rise = Root((T - r) * (T - r) - (R - r) * (R - r));
  const double f = ArcTangentDeg(R - r, rise);
  return Outline()
      .Turn(0, T, T, 270, f)
      .Turn(R - r, T - rise, r, 270 + f, 90 - f)
      .To(R, T - rise)
      .Up(R, S);
}

// A corner larger than the tool's radius ends on the axis, at the top as at the bottom.
Contour OutlineOf(const zvSlotMill& tool) {
  const double R = tool.GetDiameter() / 2, S = tool.GetShoulderLength(), r = CornerRadius(tool);
  const double rise = r > R ? Root(r * r - (r - R) * (r - R)) : r;
  return Outline()
      .To(R - r, 0)
      .Turn(R - r, r, r, 270, 90)
      .To(R, S - r)
      .Turn(R - r, S - r, r, 0, r > R ? ArcTangentDeg(rise, r - R) : 90)
      .Up(std::max(R - r, 0.0), S - r + rise);
}

Contour OutlineOf(const zvChamferMill& tool) {
  const double R = tool.GetDiameter() / 2, r = CornerRadius(tool);
  const double A = tool.GetTaperAngle(), a = 90 - A;
  const double x = R - r * Tangent(a / 2);
  const double outer = tool.GetOutsideDiameter() / 2;
  return Outline()
      .To(x, 0)
      .Turn(x, r, r, 270, a)
      .To(outer, (outer - R) / Tangent(A))
      .Up(outer, tool.GetShoulderLength());
}

// A cone that meets the shoulder length first is cut off there.
Contour OutlineOf(const zvFaceMill& tool) {
  const double R = tool.GetDiameter() / 2, r = CornerRadius(tool);
  const double A = std::min(tool.GetTaperAngle(), 90.0), a = 90 - A;
  const double x = R + r * Sine(a), y = r - r * Cosine(a);
  const double outer = tool.GetOutsideDiameter() / 2;
  const double rise = std::max(outer - x, 0.0) * Cosine(A) / Sine(A);
  return Outline()
      .To(R, 0)
      .Turn(R, r, r, 270, a)
      .To(outer, y + rise)
      .Up(outer, std::max(y + rise, tool.GetShoulderLength()));
}

Contour OutlineOf(const zvTaperMill& tool) {
  return Cone(tool);
}
Contour OutlineOf(const zvBoreBar& tool) {
  return Cone(tool);
}

// Narrows from the corner to the flute length by the taper angle.
Contour OutlineOf(const zvDoveMill& tool) {
  const double R = tool.GetDiameter() / 2, F = tool.GetFluteLength(), r = CornerRadius(tool);
  const double A = tool.GetTaperAngle();
  const double x = R - r + r * Cosine(A), z = r + r * Sine(A);
  const double upper = x - Tangent(A) * (F - z);
  return Outline()
      .To(R - r, 0)
      .Turn(R - r, r, r, 270, 90 + A)
      .To(x, z)
      .To(upper, F)
      .Up(upper, tool.GetShoulderLength());
}

Contour OutlineOf(const zvLolMill& tool) {
  const double R = tool.GetDiameter() / 2;
  const double n = std::min(tool.GetNeckDiameter() / 2, R);
  const double rise = Root(R * R - n * n);
  return Outline()
      .Turn(0, R, R, 270, 90 + ArcTangentDeg(rise, n))
      .To(n, R + rise)
      .Up(n, tool.GetShoulderLength());
}

// The corner touches the flank's arc from inside; the arc's centre is at (c, z), z being the height
// of the widest place. Where the upper diameter ends left of the centre, the flutes' end is level.
Contour OutlineOf(const zvBarrelMill& tool) {
  const double F = tool.GetFluteLength(), r = CornerRadius(tool);
  const double flank = tool.GetProfileRadius(), upper = tool.GetUpperDiameter() / 2;
  const BarrelFlank arc = BarrelFlankOf(tool.GetNumbers());
  const double c = arc.centre.x;
  const double z = arc.centre.y, h = F - z;
  const double run = Root((flank - r) * (flank - r) - (z - r) * (z - r));
  // No corner reaches above the widest place, but by rounding.
  const double b = std::min(ArcTangentDeg(r - z, run), 0.0);
  const double g = ArcTangentDeg(h, std::fabs(upper - c));
  return Outline()
      .To(c + run, 0)
      .Turn(c + run, r, r, 270, 90 + b)
      .Turn(c, z, flank, 360 + b, g - b)
      .To(upper, F)
      .Up(upper, tool.GetShoulderLength());
}

// Hollow: rounds an edge of the part.
Contour OutlineOf(const zvRadMill& tool) {
  const double R = tool.GetDiameter() / 2, q = tool.GetRadius();
  return Outline()
      .To(R, 0)
      .Turn(R + q, 0, q, 180, -90)
      .To(R + q, q)
      .Up(R + q, std::max(q, tool.GetShoulderLength()));
}

Contour OutlineOf(const zvDrill& tool) {
  return PointedCylinder(tool);
}
Contour OutlineOf(const zvSpotDrill& tool) {
  return PointedCylinder(tool);
}

Contour OutlineOf(const zvCSink& tool) {
  return RoundedPoint(tool);
}
Contour OutlineOf(const zvTapRH& tool) {
  return RoundedPoint(tool);
}
Contour OutlineOf(const zvTapLH& tool) {
  return RoundedPoint(tool);
}

Contour OutlineOf(const zvCtrDrill& tool) {
  const double R = tool.GetDiameter() / 2, t = TipHeight(tool);
  const double F = std::max(t, tool.GetFluteLength());
  const double wide = tool.GetShoulderDefinition().GetShoulderDiameter() / 2;
  const double half = tool.GetShoulderAngle() / 2;
  const double rise = std::max(wide - R, 0.0) * Cosine(half) / Sine(half);
  return Outline()
      .To(R, t)
      .To(R, F)
      .To(wide, F + rise)
      .Up(wide, std::max(F + rise, tool.GetShoulderLength()));
}

}  // namespace cadcam::detail
