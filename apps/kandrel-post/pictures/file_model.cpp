// The objects of machine description files.
#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/kinematic_axis.h>
#include <kandrel/kintree/kinematic_visitor.h>
#include <kandrel/kintree/kintree_mach_def.h>
#include <kandrel/misc/text.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "kandrel-post/pictures/machine_model.h"

namespace kandrel_post {

namespace {

using Point = ModelNode::Point;
using Matrix = ModelNode::Matrix;

constexpr int kFirstRotary = 3;
/// How far two places may be apart, as a part of the machine's size, and two directions: far above
/// the rounding of floats, of which machine files are read, and below what can be seen.
constexpr double kSamePlace = 1e-5;

Matrix ToDouble(const kintree::mkdMatrix& matrix) {
  Matrix copy;
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j) copy(i, j) = matrix(i, j);
  return copy;
}

Point ToDouble(const kintree::mkdAxis::Vector& p) {
  return {p.x, p.y, p.z};
}

Point Column(const Matrix& matrix, std::size_t column) {
  return {matrix(0, column), matrix(1, column), matrix(2, column)};
}

Point Turned(const Matrix& matrix, const Point& v) {
  return matrix * v - Column(matrix, 3);
}

// Makes nodes of the objects that it visits, which stand in pre-order. Transforms of files turn and
// shift and no more: the reader sees to that.
class NodeMaker final : public kintree::mkdKOConstVisitor {
 public:
  NodeMaker(MachineModel& model, const std::vector<std::wstring>& axisNames)
      : m_model(model), m_axisNames(axisNames) {}

  void Add(const kintree::mkdKinematicNode& node) {
    const kintree::mkdKinematicObject& object = *node.GetValue();
    const kintree::mkdKinematicNode* const above = node.GetParent();
    const auto parent = m_places.find(above);
    m_node = {.name = misc::ToUtf8(object.GetName())};
    m_frame = Matrix::Identity();
    if (parent != m_places.end()) {
      m_node.parent = static_cast<int>(parent->second.node);
      m_frame = parent->second.frame;
    }
    m_node.zero = m_frame;
    object.AcceptVisitor(*this);
    m_places[&node] = {m_model.Add(m_node), m_frame};
  }

  void Visit(const kintree::mkdTranslationalAxis& axis) override { TakeAxis(axis, {}, false); }
  void Visit(const kintree::mkdRotationalAxis& axis) override {
    TakeAxis(axis, ToDouble(axis.GetPivot()), true);
  }
  void Visit(const kintree::mkdCoordinateTransform& object) override {
    m_node.zero = m_frame = m_frame * ToDouble(object.GetLocalMatrix());
  }
  void Visit(const kintree::mkdPolygonalGeometry& object) override { TakeBody(object, 1); }
  void Visit(const kintree::mkdWorkPiece& object) override { TakeBody(object, 1); }
  // A blank is in the way of what is cut out of it.
  void Visit(const kintree::mkdInitialStock& object) override { TakeBody(object, 0.5); }
  void Visit(const kintree::mkdStockGeometry& object) override { TakeBody(object, 0.5); }
  // The tool is the run's, and so is the path.
  void Visit(const kintree::mkdHeldTool& /*object*/) override {}
  void Visit(const kintree::mkdToolpathGeometry& /*object*/) override {}
  void Visit(const kintree::mkdKinematicObject& /*object*/) override {}

 private:
  struct Place {
    std::size_t node;
    Matrix frame;  // of what stands below it
  };

  void TakeAxis(const kintree::mkdAxis& axis, const Point& pivot, bool isRotary) {
    const auto named = std::find(m_axisNames.begin(), m_axisNames.end(), axis.GetName());
    if (named == m_axisNames.end()) return;
    const auto index = static_cast<int>(named - m_axisNames.begin());
    if (isRotary != (index >= kFirstRotary)) return;  // not what a posting takes it for
    m_node.axis = index;
    m_node.direction = Turned(m_frame, ToDouble(axis.GetInitialDirection()));
    if (isRotary && !m_node.direction.IsZero()) m_node.direction.Normalize();
    m_node.pivot = m_frame * pivot;
    m_node.zero = Matrix::Identity();
    for (int i = 0; i < 3; ++i) m_node.zero(static_cast<std::size_t>(i), 3) = m_node.pivot[i];
  }

  void TakeBody(const kintree::mkdPolygonalGeometry& object, double mostOpacity) {
    if (!object.GetMesh() || object.GetMesh()->GetTriangles().empty()) return;
    const kintree::zvAppearance& look = object.GetDefaultAppearance();
    m_node.body = {.mesh = object.GetMesh(),
                   .colour = {look.colour.x, look.colour.y, look.colour.z},
                   .opacity = std::min(1.0 - double{look.alpha}, mostOpacity),
                   .source = misc::ToUtf8(object.GetSourceFile())};
  }

  MachineModel& m_model;
  const std::vector<std::wstring>& m_axisNames;
  std::map<const kintree::mkdKinematicNode*, Place> m_places;
  ModelNode m_node;
  Matrix m_frame;
};

std::optional<std::size_t> FindNode(const MachineModel& model, std::string_view name) {
  const auto found = std::find_if(model.nodes.begin(), model.nodes.end(),
                                  [&](const ModelNode& node) { return node.name == name; });
  if (found == model.nodes.end()) return std::nullopt;
  return static_cast<std::size_t>(found - model.nodes.begin());
}

// Puts the frames of path and tip below the file's objects; false where there are none for it.
bool AddFrames(MachineModel& model, const MachineModel& plain) {
  const auto tool = FindNode(model, "tool");
  std::optional<std::size_t> workpiece = FindNode(model, "workpiece");
  if (!workpiece) {
    // The other word that files have for it.
    const auto other = FindNode(model, "werkstueck");
    if (!other) return false;
    workpiece = model.Add({.name = "workpiece",
                           .parent = static_cast<int>(*other),
                           .zero = model.nodes[*other].zero});
  }
  if (!tool) return false;
  model.path = model.Add({.name = "path",
                          .parent = static_cast<int>(*workpiece),
                          .zero = plain.nodes[plain.path].zero});
  model.tip = model.Add(
      {.name = "tip", .parent = static_cast<int>(*tool), .zero = plain.nodes[plain.tip].zero});
  return true;
}

// Whether both put the tool at the same place of the part, wherever the axes stand: a machine's
// motion is that of few numbers, and three places in general position tell it.
bool MoveAlike(const MachineModel& a, const MachineModel& b) {
  double size = 1;
  for (const ModelNode& node : b.nodes) size = std::max(size, Column(node.zero, 3).Length());
  const MachineModel::AxisValues places[] = {
      {0, 0, 0, 0, 0, 0}, {0.41, -0.73, 0.29, 37, -71, 0}, {-0.57, 0.31, 0.83, -113, 49, 0}};
  for (MachineModel::AxisValues place : places) {
    for (std::size_t i = 0; i < kFirstRotary; ++i) place[i] *= size;
    const Matrix inA = a.ToolInPart(place);
    const Matrix inB = b.ToolInPart(place);
    for (std::size_t i = 0; i < 3; ++i)
      for (std::size_t j = 0; j < 4; ++j)
        if (!(std::fabs(inA(i, j) - inB(i, j)) <= kSamePlace * (j == 3 ? size : 1))) return false;
  }
  return true;
}

}  // namespace

std::optional<MachineModel> ModelOfFile(const Machine& machine, const MachineModel& plain) {
  // With any other kind of settings file the machine is that file's: no objects were read.
  if (!machine.objects) return std::nullopt;
  const kintree::zvKintreeMachDef& file = *machine.objects;
  if (file.GetUnits() != machine.builder.GetMachDef()->GetUnits()) return std::nullopt;
  MachineModel model;
  model.isOfFile = true;
  NodeMaker maker(model, machine.builder.GetAxisNames());
  for (const kintree::mkdKinematicNode& node : file.GetTree()) maker.Add(node);
  if (!AddFrames(model, plain) || !MoveAlike(model, plain)) return std::nullopt;
  return model;
}

}  // namespace kandrel_post
