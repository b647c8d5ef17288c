#include <kandrel/cadcam/curves/polygonizer.h>
#include <kandrel/cadcam/tool_approximation_exception.h>
#include <kandrel/cadcam/tools/detail/tool_outline.h>
#include <kandrel/cadcam/tools/solid_users.h>
#include <kandrel/cadcam/tools/tool_approximation.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/tolerances.h>

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>

namespace cadcam {

namespace {

using geoDef::zv2dContour;
using geoDef::zv2dLine;
using geoDef::zv2dPoint;
using geoDef::zv2dPolyLine;

template <class T>
zv2dPolyLine<T> Polygonize(const zv2dContour<T>& contour, T tolerance, std::uint32_t failure = 0) {
  // Curves would refuse it; lines alone wouldn't.
  if (!(tolerance > 0)) throw misc::zvException(0, L"Polygonization tolerance is invalid.");
  auto profile = geoDef::zv2dGeometryPolygonizer<T>(tolerance).Polygonize(contour);
  for (const zv2dPoint<T>& p : profile.points)
    if (!std::isfinite(p.x) || !std::isfinite(p.y)) throw zvtoolapproximationException(failure);
  return profile;
}

const zv2dContour<double>& RevolvedOf(const zvToolPartDefinition<double>& part) {
  static const zv2dContour<double> kNone;
  if (!part.GetSolidDefinition()) return kNone;
  return zvRevolvedSolidExtractor<double>::Extract(*part.GetSolidDefinition()).GetProfile();
}

template <class Tool>
void RequireSmaller(double tolerance, const Tool& tool) {
  if (tool.GetDiameter() / 2 - tolerance > misc::kEqual) return;
  constexpr bool kNamesCorner =
      std::is_same_v<Tool, zvSpherMill> || std::is_same_v<Tool, zvCntrBore>;
  throw misc::zvException(0, kNamesCorner
                                 ? L"profile tolerance larger than toolRadius or cornerRadius"
                                 : L"profile tolerance larger than toolRadius");
}

// The outline of a zvCtrDrill has its shoulder already.
bool HasShoulderStep(const zvTypedRevolvedTool& tool) {
  return (tool.HasShoulderDefinition() || tool.GetType().shoulder) &&
         &tool.GetType() != &zvCtrDrill::kType;
}

// The outline up to the flute length, which isn't empty, with what stands on it.
zv2dContour<double> WithShoulder(zv2dContour<double> stepped, const zvTypedRevolvedTool& tool) {
  const auto& shoulder = tool.GetShoulderDefinition();
  const double radius = shoulder.GetShoulderDiameter() / 2, top = tool.GetShoulderLength();
  const double height =
      std::min(std::max(shoulder.GetShoulderBaseLength(), tool.GetFluteLength()), top);
  const zv2dPoint<double> base{radius, height};
  const zv2dPoint<double> end = *EndPoint(stepped);
  if (std::hypot(base.x - end.x, base.y - end.y) > misc::kEqual)
    stepped.Add(zv2dLine<double>{end, base});
  if (height < top) stepped.Add(zv2dLine<double>{base, {radius, top}});
  return stepped;
}

// The place of the cut is as high as it should be, also where it was found on an arc.
template <class T>
void SetHeight(zv2dPoint<T>& point, T height) {
  if (std::fabs(point.y - height) <= misc::kEqual) point.y = height;
}

}  // namespace

template <class T>
zv2dPolyLine<T> zvRevolvedToolApproximation<T>::GetArborProfile() const {
  return Polygonize(RevolvedOf(GetTool().GetArbor()), m_tolerance,
                    zvtoolapproximationException::kInvalidArborProfile);
}

template <class T>
zv2dPolyLine<T> zvRevolvedToolApproximation<T>::GetHolderProfile() const {
  return Polygonize(RevolvedOf(GetTool().GetHolder()), m_tolerance);
}

template <class T>
void zvRevolvedToolApproximation<T>::SetProfiles(Profile cutting, Profile nonCutting) {
  m_cutting = std::move(cutting);
  m_nonCutting = std::move(nonCutting);
}

template <class T, class Tool>
zvTypedToolApproximation<T, Tool>::zvTypedToolApproximation(const Tool& tool, T tolerance)
    : zvRevolvedToolApproximation<T>(tolerance), m_tool(tool) {
  if (!m_tool.HasPassedChecks()) m_tool.Validate();
  RequireSmaller(tolerance, m_tool);
  zv2dContour<T> outline = SplitAtRadius(detail::OutlineOf(m_tool), T(0)).second;
  outline = SplitAtHeight(outline, m_tool.GetShoulderLength()).first;
  const T fluteLength = m_tool.GetFluteLength();
  const zv2dContour<T> left = SplitAtHeight(outline, fluteLength).first;
  const geoDef::zv2dBox<T> box = Extents(left);
  if (box.IsEmpty() || !(box.maximum.x > misc::kEqual)) throw zvtoolapproximationException(0);
  if (HasShoulderStep(m_tool)) outline = WithShoulder(left, m_tool);
  const auto parts = SplitAtHeight(outline, fluteLength);
  auto cutting = Polygonize(parts.first, tolerance);
  auto nonCutting = Polygonize(parts.second, tolerance);
  SetHeight(cutting.points.back(), fluteLength);
  // One point, however the two parts of an arc are rounded where they meet.
  if (!nonCutting.points.empty()) nonCutting.points.front() = cutting.points.back();
  this->SetProfiles(std::move(cutting), std::move(nonCutting));
}

template <class T>
zvGenericRevolvedApproximation<T>::zvGenericRevolvedApproximation(const zvGenericRevolvedTool& tool,
                                                                  T tolerance)
    : zvRevolvedToolApproximation<T>(tolerance), m_tool(tool) {
  if (!m_tool.HasPassedChecks()) m_tool.Validate();
  this->SetProfiles(Polygonize(RevolvedOf(m_tool.GetCuttingPart()), tolerance),
                    Polygonize(RevolvedOf(m_tool.GetNonCuttingPart()), tolerance));
}

template class zvRevolvedToolApproximation<double>;
template class zvTypedToolApproximation<double, zvConvexTipMill>;
template class zvTypedToolApproximation<double, zvBarrelMill>;
template class zvTypedToolApproximation<double, zvTapRH>;
template class zvTypedToolApproximation<double, zvTapLH>;
template class zvTypedToolApproximation<double, zvTaperMill>;
template class zvTypedToolApproximation<double, zvSpotDrill>;
template class zvTypedToolApproximation<double, zvSpherMill>;
template class zvTypedToolApproximation<double, zvSlotMill>;
template class zvTypedToolApproximation<double, zvReamer>;
template class zvTypedToolApproximation<double, zvRadMill>;
template class zvTypedToolApproximation<double, zvLolMill>;
template class zvTypedToolApproximation<double, zvFaceMill>;
template class zvTypedToolApproximation<double, zvEndMill>;
template class zvTypedToolApproximation<double, zvDrill>;
template class zvTypedToolApproximation<double, zvDoveMill>;
template class zvTypedToolApproximation<double, zvCtrDrill>;
template class zvTypedToolApproximation<double, zvCSink>;
template class zvTypedToolApproximation<double, zvCntrBore>;
template class zvTypedToolApproximation<double, zvChamferMill>;
template class zvTypedToolApproximation<double, zvBullMill>;
template class zvTypedToolApproximation<double, zvBoreBar>;
template class zvGenericRevolvedApproximation<double>;

}  // namespace cadcam
