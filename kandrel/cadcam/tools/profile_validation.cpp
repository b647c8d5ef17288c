#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/profile_validation.h>
#include <kandrel/misc/tolerances.h>

#include <cmath>
#include <cstddef>
#include <variant>

namespace cadcam {

namespace {

using Point = geoDef::zv2dPoint<double>;
using misc::kProfileStep;
using misc::kToolParameterEqual;

// The points by which an element is told. The angles and the radius of an arc are numbers: its
// constructor sees to it.
struct Definition {
  using Points = std::vector<Point>;
  Points operator()(const Point& point) const { return {point}; }
  Points operator()(const geoDef::zv2dLine<double>& line) const { return {line.start, line.end}; }
  Points operator()(const geoDef::zv2dArc<double>& arc) const { return {arc.GetCentre()}; }
  Points operator()(const geoDef::zv2dContour<double>&) const { return {}; }  // not met in a walk
  Points operator()(const geoDef::zv2dPolyLine<double>& line) const { return line.points; }
  Points operator()(const geoDef::zv2dParabola<double>& p) const { return {p.vertex, p.end}; }
  Points operator()(const geoDef::zv2dEllipse<double>& e) const {
    return {e.centre, e.first, e.second};
  }
};

}  // namespace

void zvProfileValidation::ValidateNumbers(double radius, double height) const {
  if (std::isnan(radius)) ReportInvalidRadius();
  if (std::isnan(height)) ReportInvalidHeight();
}

void zvProfileValidation::ReportInvalidRadius() const {
  throw zvcadcamException(m_reports.radius);
}
void zvProfileValidation::ReportInvalidHeight() const {
  throw zvcadcamException(m_reports.height);
}
void zvProfileValidation::ReportWrongStart() const {
  throw zvcadcamException(m_reports.start);
}
void zvProfileValidation::ReportNegativeX() const {
  throw zvcadcamException(m_reports.negativeX);
}
void zvProfileValidation::ReportEqualLastHeights() const {
  throw zvcadcamException(m_reports.lastHeights);
}

zvHolderValidation::zvHolderValidation() : zvProfileValidation({2134, 2135, 2205, 2209, 2213}) {}
zvArborValidation::zvArborValidation() : zvProfileValidation({2136, 2137, 2204, 2208, 2212}) {}
zvCuttingPartValidation::zvCuttingPartValidation()
    : zvProfileValidation({2198, 2200, 2202, 2206, 2210}) {}
zvNonCuttingPartValidation::zvNonCuttingPartValidation()
    : zvProfileValidation({2199, 2201, 2203, 2207, 2211}) {}
zvToolPartProfileValidation::zvToolPartProfileValidation()
    : zvProfileValidation({2145, 2146, 2160, 2161, 2162}) {}

std::vector<Point> ProfilePoints(const geoDef::zv2dContour<double>& profile) {
  std::vector<Point> points;
  for (const auto& element : Walk(profile)) {
    if (const auto* line = std::get_if<geoDef::zv2dPolyLine<double>>(&element)) {
      const bool isFirst = points.empty();
      for (std::size_t i = isFirst ? 0 : 1; i < line->points.size(); ++i)
        points.push_back(line->points[i]);
      continue;
    }
    if (points.empty())
      if (const auto start = StartPoint(element)) points.push_back(*start);
    if (const auto end = EndPoint(element)) points.push_back(*end);
  }
  return points;
}

bool zvProfileValidation::HasSeveralElements(const Profile& profile) {
  return Walk(profile).size() > 1;
}

void zvProfileValidation::ValidateSegments(const Profile& profile) const {
  ValidateSegmentsOf(ProfilePoints(profile));
}

void zvProfileValidation::ValidateSegmentsOf(const Points& points) const {
  for (std::size_t i = 1; i < points.size(); ++i) {
    const Point &from = points[i - 1], &to = points[i];
    const double height = to.y - from.y;
    if (std::fabs(height) < kProfileStep) continue;
    if (std::fabs(to.x - from.x) < kProfileStep)
      ValidateCylinderSegment(to.x, height);
    else
      ValidateConeSegment(from.x, to.x, height);
  }
}

void zvProfileValidation::ValidateCylinderSegment(double radius, double height) const {
  if (!(radius > kToolParameterEqual)) ReportInvalidRadius();
  if (!(height >= kToolParameterEqual)) ReportInvalidHeight();
}

void zvProfileValidation::ValidateConeSegment(double firstRadius, double secondRadius,
                                              double height) const {
  if (!(firstRadius >= kToolParameterEqual && secondRadius >= kToolParameterEqual))
    ReportInvalidRadius();
  if (!(height >= kToolParameterEqual)) ReportInvalidHeight();
}

void zvProfileValidation::Validate(const Profile& profile) const {
  Validate(profile, ProfilePoints(profile));
}

void zvProfileValidation::Validate(const Profile& profile, const Points& points) const {
  ValidatePoints(points, HasSeveralElements(profile));
  // Some of them no corner shows: where a later element starts, and what bends a curve.
  for (const auto& element : Walk(profile))
    for (const Point& p : std::visit(Definition(), element)) ValidateNumbers(p.x, p.y);
}

void zvProfileValidation::ValidatePoints(const Points& points, bool hasSeveralElements) const {
  ValidateSegmentsOf(points);
  if (points.empty()) return;
  if (!(std::fabs(points.front().y) < kToolParameterEqual)) ReportWrongStart();
  for (const Point& point : points)
    if (!(point.x >= -kToolParameterEqual)) ReportNegativeX();
  if (!hasSeveralElements) return;
  const std::size_t count = points.size();
  if (count < 2 || !(std::fabs(points[count - 1].y - points[count - 2].y) >= kProfileStep))
    ReportEqualLastHeights();
}

void zvCuttingPartValidation::Validate(const Profile& profile) const {
  Points points = ProfilePoints(profile);
  if (HasSeveralElements(profile) && points.size() > 1 && std::fabs(points[0].x) <= misc::kEqual)
    points[0].x = points[1].x;
  zvProfileValidation::Validate(profile, points);
}

}  // namespace cadcam
