#include <kandrel/kintree/detail/machine_file_schema.h>
#include <kandrel/kintree/detail/machine_file_values.h>
#include <kandrel/kintree/detail/tree_fill_visitor.h>
#include <kandrel/kintree/kinematic_tree.h>
#include <kandrel/misc/exception.h>

#include <array>

namespace kintree {

using namespace detail;

namespace {

template <class Attribute, class Text>
void Set(const XmlElement& element, Attribute attribute, const Text& text) {
  element.Set(NameOf(attribute), text);
}

template <class Attribute>
void SetNumber(const XmlElement& element, Attribute attribute, double number) {
  Set(element, attribute, NumberText(number));
}

template <class Attribute>
void SetTrio(const XmlElement& element, Attribute first, const cadcam::zvTPoint3d<float>& p) {
  const auto [x, y, z] = Trio(first);
  SetNumber(element, x, p.x);
  SetNumber(element, y, p.y);
  SetNumber(element, z, p.z);
}

void SetSurface(const XmlElement& element, const zvAppearance& look) {
  using enum GeometryAttribute;
  SetNumber(element, alpha, look.alpha);
  SetNumber(element, reflectivity, look.reflectivity);
  Set(element, reflectivityBitmapFileName, NamePart(look.bitmapName));
}

void SetLook(const XmlElement& element, const zvAppearance& look) {
  SetTrio(element, GeometryAttribute::clrr, look.colour);
  SetSurface(element, look);
}

}  // namespace

namespace detail {

void DiscreteValueValidatorWriter::Visit(
    const misc::zvSteppingBasedDiscreteValueValidator<double>& validator) {
  Set(m_axis, AxisAttribute::valuetype, kStepped);
  SetNumber(m_axis, AxisAttribute::step, validator.GetStep());
}

void DiscreteValueValidatorWriter::Visit(
    const misc::zvListBasedDiscreteValueValidator<double>& validator) {
  Set(m_axis, AxisAttribute::valuetype, kListed);
  Set(m_axis, AxisAttribute::values, NumberTexts(validator.GetValues()));
}

void DiscreteValueValidatorWriter::Visit(const misc::zvValueValidator<double>&) {
  throw misc::zvException(0, L"Unknown discrete value validator visited");
}

}  // namespace detail

XML2TreeFillVisitor::XML2TreeFillVisitor(const zvKintreeMachDef& machine,
                                         const std::wstring& fileName, const XmlElement& root)
    : m_machine(machine), m_fileName(fileName), m_root(root) {}

void XML2TreeFillVisitor::Fill() {
  for (const mkdKinematicNode& node : m_machine.GetTree()) {
    const accessortreenode current(node);
    SetCurrentNode(&current);
    current.GetObject()->AcceptVisitor(*this);
  }
  SetCurrentNode(nullptr);
}

XmlElement XML2TreeFillVisitor::Add(const mkdKinematicObject& object, const char* tag) {
  const mkdKinematicObject* const parent = GetCurrentNode()->GetParentObject();
  const XmlElement& above = parent != nullptr ? m_elements.at(parent) : m_root;
  const XmlElement element = above.Add(tag);
  m_elements.emplace(&object, element);
  return element;
}

void XML2TreeFillVisitor::AddAxis(const mkdAxis& axis, const char* kind,
                                  const mkdAxis::Vector* pivot) {
  using enum AxisAttribute;
  const XmlElement element = Add(axis, kAxis);
  Set(element, id, axis.GetName());
  Set(element, type, kind);
  SetTrio(element, x, axis.GetInitialDirection());
  if (pivot != nullptr) SetTrio(element, rzx, *pivot);
  SetNumber(element, minvalue, axis.GetMinimum());
  SetNumber(element, maxvalue, axis.GetMaximum());
  if (axis.HasValidator()) {
    DiscreteValueValidatorWriter writer(element);
    axis.GetValidator()->AcceptVisitor(writer);
  } else {
    Set(element, valuetype, kContinuous);
  }
  if (!m_machine.IsSliderShown(axis.GetName())) Set(element, show_slider, kFalse);
}

void XML2TreeFillVisitor::Visit(const mkdTranslationalAxis& object) {
  AddAxis(object, kTranslation, nullptr);
}

void XML2TreeFillVisitor::Visit(const mkdRotationalAxis& object) {
  AddAxis(object, kRotation, &object.GetPivot());
}

void XML2TreeFillVisitor::Visit(const mkdCoordinateTransform& object) {
  using enum TransformAttribute;
  const XmlElement element = Add(object, kTransform);
  Set(element, id, object.GetName());
  std::array<float, 16> numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i)
    numbers[i] = object.GetLocalMatrix()(i / 4, i % 4);
  Set(element, initialvalue, NumberTexts(numbers));
}

XmlElement XML2TreeFillVisitor::AddGeometry(const mkdKinematicObject& object, const char* type) {
  const XmlElement element = Add(object, kGeometry);
  Set(element, GeometryAttribute::name, object.GetName());
  Set(element, GeometryAttribute::objtype, type);
  return element;
}

void XML2TreeFillVisitor::AddBody(const mkdPolygonalGeometry& object, const char* type) {
  const XmlElement element = AddGeometry(object, type);
  Set(element, GeometryAttribute::geo, NamePart(object.GetSourceFile()));
  SetLook(element, object.GetDefaultAppearance());
}

void XML2TreeFillVisitor::AddMesh(const mkdPolygonalGeometry& object) {
  const std::wstring name = NamePart(object.GetSourceFile());
  if (name.empty() || !object.GetMesh() || object.GetMesh()->GetTriangles().empty()) return;
  m_meshes.push_back(
      {object.GetMesh(), object.GetSourceFile(), FolderOf(m_fileName) + L'/' + name});
}

void XML2TreeFillVisitor::Visit(const mkdPolygonalGeometry& object) {
  AddBody(object, kGeometry);
  AddMesh(object);
}

void XML2TreeFillVisitor::Visit(const mkdWorkPiece& object) {
  AddBody(object, kWorkPiece);
  AddMesh(object);
}

void XML2TreeFillVisitor::Visit(const mkdStockGeometry& object) {
  AddBody(object, kStock);
  AddMesh(object);
}

void XML2TreeFillVisitor::Visit(const mkdInitialStock& object) {
  AddBody(object, kInitialStock);
}

void XML2TreeFillVisitor::Visit(const mkdToolpathGeometry& object) {
  const XmlElement element = AddGeometry(object, kToolpath);
  Set(element, GeometryAttribute::geo, NamePart(object.GetSourceFile()));
  SetLook(element, object.GetDefaultAppearance());
  Set(element, GeometryAttribute::schema, NamePart(m_machine.GetSchema()));
}

void XML2TreeFillVisitor::Visit(const mkdHeldTool& object) {
  using enum GeometryAttribute;
  const XmlElement element = AddGeometry(object, kTool);
  const auto colour = [&](GeometryAttribute first, mkdHeldTool::Part part) {
    SetTrio(element, first, object.GetPartAppearance(part).defaultAppearance.colour);
  };
  if (IsAtLeast(m_machine.GetWriterVersion(), kPartColoursVersion)) {
    colour(cuttr, mkdHeldTool::cutting);
    colour(noncuttr, mkdHeldTool::nonCutting);
    colour(arborr, mkdHeldTool::arbor);
  }
  colour(holderr, mkdHeldTool::holder);
  SetSurface(element, object.GetPartAppearance(mkdHeldTool::cutting).defaultAppearance);
}

void XML2TreeFillVisitor::Visit(const mkdKinematicObject&) {
  throw misc::zvException(0, L"Cannot visit abstract class");
}

}  // namespace kintree
