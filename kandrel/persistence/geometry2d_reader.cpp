#include <kandrel/misc/exception.h>
#include <kandrel/persistence/geometry2d_reader.h>
#include <kandrel/persistence/record_tags.h>

#include <utility>

namespace geoDef {

namespace {

// Contours in contours, the outermost included: deep enough for any profile, and no danger to the
// stack.
constexpr int kMostDepth = 16;

[[noreturn]] void Refuse(const wchar_t* text) {
  throw misc::zvException(0, text);
}

[[noreturn]] void RefuseUnknown() {
  Refuse(L"Unknown geometric type");
}

}  // namespace

template <class T>
T zvBI2dGeometry<T>::ReadNumber() {
  double value = 0;
  m_basic.ReadDouble(value);
  return static_cast<T>(value);
}

template <class T>
std::int32_t zvBI2dGeometry<T>::ReadTag() {
  std::int32_t tag = 0;
  m_basic.ReadInt(tag);
  return tag;
}

template <class T>
void zvBI2dGeometry<T>::RequireTag(std::int32_t wanted) {
  if (ReadTag() != wanted) RefuseUnknown();
}

template <class T>
zv2dPoint<T> zvBI2dGeometry<T>::ReadPointBody() {
  zv2dPoint<T> point;
  point.x = ReadNumber();
  point.y = ReadNumber();
  return point;
}

template <class T>
zv2dPoint<T> zvBI2dGeometry<T>::ReadPoint() {
  RequireTag(persistence::kPointTag);
  return ReadPointBody();
}

template <class T>
zv2dPolyLine<T> zvBI2dGeometry<T>::ReadPolyLineBody() {
  zv2dPolyLine<T> line;
  const auto count = static_cast<std::uint32_t>(ReadTag());
  for (std::uint32_t i = 0; i < count; ++i) line.points.push_back(ReadPoint());
  return line;
}

template <class T>
zv2dPolyLine<T> zvBI2dGeometry<T>::ReadPolyLine() {
  RequireTag(persistence::kPolyLineTag);
  return ReadPolyLineBody();
}

template <class T>
zv2dContour<T> zvBI2dGeometry<T>::ReadContourBody(int depth) {
  if (depth > kMostDepth) RefuseUnknown();
  zv2dContour<T> contour;
  const auto count = static_cast<std::uint32_t>(ReadTag());
  for (std::uint32_t i = 0; i < count; ++i) contour.Add(ReadElement(depth));
  return contour;
}

template <class T>
zv2dContour<T> zvBI2dGeometry<T>::ReadContour() {
  RequireTag(persistence::kCurveContourTag);
  return ReadContourBody(1);
}

template <class T>
zv2dArc<T> zvBI2dGeometry<T>::ReadArcBody() {
  const zv2dPoint<T> centre = ReadPoint();
  const T radius = ReadNumber();
  const T startAngle = ReadNumber();
  return {centre, radius, startAngle, ReadNumber()};
}

template <class T>
zv2dElement<T> zvBI2dGeometry<T>::ReadElement(int depth) {
  switch (ReadTag()) {
    case persistence::kPointTag:
      return ReadPointBody();
    case persistence::kLineTag: {
      const zv2dPoint<T> start = ReadPoint();
      return zv2dLine<T>{start, ReadPoint()};
    }
    case persistence::kArcTag:
      return ReadArcBody();
    case persistence::kSplineTag:
      Refuse(L"Please define >> operator for spline.");
    case persistence::kCurveContourTag:
      return ReadContourBody(depth + 1);
    case persistence::kPolyLineTag:
      return ReadPolyLineBody();
    case persistence::kClosedContourTag:
      Refuse(L"Please define >> operator for closed contour.");
    case persistence::kParabolaTag: {
      const zv2dPoint<T> vertex = ReadPoint();
      return zv2dParabola<T>{vertex, ReadPoint()};
    }
    case persistence::kEllipseTag:
      Refuse(L"Please define >> operator for ellipse.");
    case persistence::kBezierTag:
      Refuse(L"Please setup a valid Bezier object.");
    default:
      RefuseUnknown();
  }
}

template class zvBI2dGeometry<double>;

}  // namespace geoDef
