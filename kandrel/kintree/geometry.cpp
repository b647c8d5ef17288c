#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/kinematic_visitor.h>

namespace kintree {

namespace {

constexpr std::uint8_t kPolygonalTags[] = {2};
constexpr std::uint8_t kToolpathTags[] = {1};

}  // namespace

mkdPolygonalGeometry::mkdPolygonalGeometry(std::wstring name, Mesh mesh, std::wstring sourceFile,
                                           Units units)
    : mkdGeometry(std::move(name), kPolygonalTags, units),
      m_mesh(std::move(mesh)),
      m_sourceFile(std::move(sourceFile)) {}

void mkdPolygonalGeometry::SetUnitsOfParts(Units units, bool keepNumbers) {
  if (m_mesh) m_mesh->SetUnits(units, keepNumbers);
}

void mkdPolygonalGeometry::AcceptVisitor(mkdKOConstVisitor& visitor) const {
  visitor.Visit(*this);
}
void mkdPolygonalGeometry::AcceptVisitor(mkdKOVisitor& visitor) {
  visitor.Visit(*this);
}

void mkdWorkPiece::AcceptVisitor(mkdKOConstVisitor& visitor) const {
  visitor.Visit(*this);
}
void mkdWorkPiece::AcceptVisitor(mkdKOVisitor& visitor) {
  visitor.Visit(*this);
}

void mkdInitialStock::AcceptVisitor(mkdKOConstVisitor& visitor) const {
  visitor.Visit(*this);
}
void mkdInitialStock::AcceptVisitor(mkdKOVisitor& visitor) {
  visitor.Visit(*this);
}

void mkdDynamicGeometry::SetMesh(Mesh mesh) noexcept {
  ReplaceMesh(std::move(mesh));
  ++m_meshVersion;
}

void mkdStockGeometry::AcceptVisitor(mkdKOConstVisitor& visitor) const {
  visitor.Visit(*this);
}
void mkdStockGeometry::AcceptVisitor(mkdKOVisitor& visitor) {
  visitor.Visit(*this);
}

mkdToolpathGeometry::mkdToolpathGeometry(std::wstring name, Graphic graphic,
                                         std::wstring sourceFile, Units units)
    : mkdGeometry(std::move(name), kToolpathTags, units),
      m_graphic(std::move(graphic)),
      m_sourceFile(std::move(sourceFile)) {}

void mkdToolpathGeometry::SetUnitsOfParts(Units units, bool keepNumbers) {
  if (m_graphic) m_graphic->SetUnits(units, keepNumbers);
}

void mkdToolpathGeometry::AcceptVisitor(mkdKOConstVisitor& visitor) const {
  visitor.Visit(*this);
}
void mkdToolpathGeometry::AcceptVisitor(mkdKOVisitor& visitor) {
  visitor.Visit(*this);
}

}  // namespace kintree
