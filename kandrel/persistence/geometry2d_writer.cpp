#include <kandrel/persistence/geometry2d_writer.h>
#include <kandrel/persistence/record_tags.h>

#include <variant>

namespace geoDef {

template <class T>
void zvBO2dGeometry<T>::zvBinGeom::operator()(const zv2dPoint<T>& point) {
  m_basic.WriteInt(persistence::kPointTag);
  WriteNumber(point.x);
  WriteNumber(point.y);
}

template <class T>
void zvBO2dGeometry<T>::zvBinGeom::operator()(const zv2dLine<T>& line) {
  m_basic.WriteInt(persistence::kLineTag);
  (*this)(line.start);
  (*this)(line.end);
}

template <class T>
void zvBO2dGeometry<T>::zvBinGeom::operator()(const zv2dArc<T>& arc) {
  m_basic.WriteInt(persistence::kArcTag);
  (*this)(arc.GetCentre());
  WriteNumber(arc.GetRadius());
  WriteNumber(arc.GetStartAngle());
  WriteNumber(arc.GetSweepAngle());
}

template <class T>
void zvBO2dGeometry<T>::zvBinGeom::operator()(const zv2dContour<T>& contour) {
  m_basic.WriteInt(persistence::kCurveContourTag);
  m_basic.WriteCount(contour.GetElements().size());
  for (const zv2dElement<T>& element : contour.GetElements()) std::visit(*this, element);
}

template <class T>
void zvBO2dGeometry<T>::zvBinGeom::operator()(const zv2dPolyLine<T>& line) {
  m_basic.WriteInt(persistence::kPolyLineTag);
  m_basic.WriteCount(line.points.size());
  for (const zv2dPoint<T>& point : line.points) (*this)(point);
}

template <class T>
void zvBO2dGeometry<T>::zvBinGeom::operator()(const zv2dParabola<T>& parabola) {
  m_basic.WriteInt(persistence::kParabolaTag);
  (*this)(parabola.vertex);
  (*this)(parabola.end);
}

template <class T>
void zvBO2dGeometry<T>::zvBinGeom::operator()(const zv2dEllipse<T>& ellipse) {
  m_basic.WriteInt(persistence::kEllipseTag);
  (*this)(ellipse.centre);
  (*this)(ellipse.first);
  (*this)(ellipse.second);
}

template <class T>
void zvBO2dGeometry<T>::Write(const zv2dContour<T>& contour) {
  zvBinGeom{m_basic}(contour);
}

template <class T>
void zvBO2dGeometry<T>::Write(const zv2dPolyLine<T>& line) {
  zvBinGeom{m_basic}(line);
}

template class zvBO2dGeometry<double>;

}  // namespace geoDef
