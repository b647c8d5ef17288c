#include "kandrel-post/pictures/machine_model.h"

#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/model/mach_def_utils.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "kandrel-post/out/axis_words.h"

namespace kandrel_post {

namespace {

using Point = ModelNode::Point;
using Matrix = ModelNode::Matrix;

constexpr int kFirstRotary = 3;

Matrix Shift(const Point& p) {
  Matrix shift = Matrix::Identity();
  for (std::size_t i = 0; i < 3; ++i) shift(i, 3) = p[static_cast<int>(i)];
  return shift;
}

// Rodrigues' rotation about a line; the direction is a unit vector.
Matrix Turn(const Point& direction, const Point& pivot, double deg) {
  const misc::zvSineAndCosine turn = misc::SineAndCosineOfDegrees(deg);
  Matrix matrix = Matrix::Identity();
  for (int column = 0; column < 3; ++column) {
    Point base;
    base[column] = 1;
    const Point turned = base * turn.cosine + Cross(direction, base) * turn.sine +
                         direction * (direction[column] * (1 - turn.cosine));
    for (int row = 0; row < 3; ++row)
      matrix(static_cast<std::size_t>(row), static_cast<std::size_t>(column)) = turned[row];
  }
  return Shift(pivot) * matrix * Shift(-pivot);
}

bool IsBothInHead(const MachineValues& values) {
  return values.axes == 4 ? values.rotaryOnWorkpiece == 0
                          : values.fiveAxisKind == post::zv5axMachDef::kBothInHead;
}

bool IsBothOnTable(const MachineValues& values) {
  return values.fiveAxisKind == post::zv5axMachDef::kBothOnTable ||
         values.fiveAxisKind == post::zv5axMachDef::kBothOnTableLengthLeftOut;
}

// Adds the objects of a definition one below the other.
class Chain {
 public:
  Chain(MachineModel& model, const MachineValues& values, std::vector<std::string> names)
      : m_model(model), m_values(values), m_names(std::move(names)) {}

  void BeginAt(std::size_t node) { m_last = static_cast<int>(node); }
  std::size_t Add(std::string name, const Matrix& zero = Matrix::Identity()) {
    return AddNode({.name = std::move(name), .zero = zero});
  }
  void AddLinear(int axis, const Point& direction) {
    AddNode({.name = NameOf(axis), .axis = axis, .direction = direction});
  }
  /// The rotary axis of this index, about a line through the pivot.
  void AddRotary(std::size_t index, const Point& pivot) {
    const int axis = kFirstRotary + static_cast<int>(index);
    AddNode({.name = NameOf(axis),
             .zero = Shift(pivot),
             .axis = axis,
             .direction = m_values.rotary[index].direction,
             .pivot = pivot});
  }
  /// One that stands, and has no influence.
  void AddStanding(std::size_t index) { Add(NameOf(kFirstRotary + static_cast<int>(index))); }

 private:
  std::size_t AddNode(ModelNode node) {
    node.parent = m_last;
    const std::size_t added = m_model.Add(std::move(node));
    BeginAt(added);
    return added;
  }
  std::string NameOf(int axis) const {
    const std::string& name = m_names[static_cast<std::size_t>(axis)];
    return name.empty() ? std::string(kDefaultAxisNames[static_cast<std::size_t>(axis)]) : name;
  }

  MachineModel& m_model;
  const MachineValues& m_values;
  std::vector<std::string> m_names;
  int m_last = ModelNode::kNone;
};

}  // namespace

Matrix TurnOfZOnto(const Point& direction) {
  constexpr double kDegreesOfHalfTurn = 180;
  const Point z(0, 0, 1);
  const double angle = std::atan2(Cross(z, direction).Length(), direction.z);
  const Point across = Cross(z, direction);
  if (across.IsZero()) return Turn({1, 0, 0}, {}, direction.z < 0 ? kDegreesOfHalfTurn : 0);
  return Turn(across.Normalized(), {}, angle * misc::kDegreesPerRadian);
}

std::size_t MachineModel::Add(ModelNode node) {
  nodes.push_back(std::move(node));
  return nodes.size() - 1;
}

Matrix MachineModel::Placed(std::size_t node, const AxisValues& values) const {
  Matrix placed = nodes[node].zero;
  for (int at = static_cast<int>(node); at != ModelNode::kNone;) {
    const ModelNode& object = nodes[static_cast<std::size_t>(at)];
    if (object.axis != ModelNode::kNone) {
      const double value = values[static_cast<std::size_t>(object.axis)];
      placed = (object.axis < kFirstRotary ? Shift(object.direction * value)
                                           : Turn(object.direction, object.pivot, value)) *
               placed;
    }
    at = object.parent;
  }
  return placed;
}

Matrix MachineModel::ToolInPart(const AxisValues& values) const {
  return Inverse(Placed(path, values)) * Placed(tip, values);
}

void MachineModel::PutTip(const Point& p_zero, const Point& spindle) {
  nodes[tip].zero = Shift(p_zero) * TurnOfZOnto(spindle);
}

MachineValues NormalisedValues(const Machine& machine) {
  const auto machDef = machine.builder.GetMachDef()->Clone();
  machDef->Normalize();
  MachineValues values = ValuesOf(*machDef);
  if (machDef->IsIdentityTransform()) {
    values.xAxis = {1, 0, 0};
    values.yAxis = {0, 1, 0};
    values.zAxis = {0, 0, 1};
  }
  if (values.axes == 6)
    values.fiveAxisKind = Get5axMachDef(post::zvMachDefUtils::As6ax(*machDef)).GetFiveAxisKind();
  return values;
}

// Where the head has one rotary axis, that goes through the nose, which the slides' position lies
// off by the pivot. Else the nose is where the slides stand.
Point TipAtZero(const MachineValues& values, double toolLength, bool withLength) {
  const bool isLeftOut = !withLength && values.axes == 5 &&
                         values.fiveAxisKind == post::zv5axMachDef::kBothOnTableLengthLeftOut;
  const Point tool = values.spindle * (isLeftOut ? 0 : -toolLength);
  return values.axes == 4 && IsBothInHead(values) ? tool - values.rotary[0].pivot : tool;
}

// With the pivots of a definition: those of a table are points of the machine at zero; in a head
// the second counts from the nose and the first from the second.
MachineModel ModelOfDefinition(const Machine& machine, const MachineValues& values,
                               const ModelSetup& setup) {
  MachineModel model;
  Chain chain(model, values, NamesByAxis(machine));
  const Point& b1 = values.rotary[0].pivot;
  const Point& b2 = values.rotary[1].pivot;
  const bool isStandingOnTable = values.axes == 6 && values.onWorkpiece[2] != 0;
  const std::size_t base = chain.Add("base");

  if (values.axes == 4 && !IsBothInHead(values)) chain.AddRotary(0, b1);
  if (values.axes >= 5 && IsBothOnTable(values)) chain.AddRotary(1, b2);
  if (values.axes >= 5 && !IsBothInHead(values)) chain.AddRotary(0, b1);
  if (isStandingOnTable) chain.AddStanding(2);
  chain.Add("workpiece");
  model.path = chain.Add("path", Shift(setup.partOrigin));

  chain.BeginAt(base);
  chain.AddLinear(0, values.xAxis);
  chain.AddLinear(1, values.yAxis);
  chain.AddLinear(2, values.zAxis);
  if (values.axes == 4 && IsBothInHead(values)) chain.AddRotary(0, -b1);
  if (values.axes >= 5 && IsBothInHead(values)) chain.AddRotary(0, b1 + b2);
  if (values.axes >= 5 && !IsBothOnTable(values)) chain.AddRotary(1, b2);
  if (values.axes == 6 && !isStandingOnTable) chain.AddStanding(2);
  chain.Add("tool");
  model.tip = chain.Add("tip");
  model.PutTip(TipAtZero(values, setup.toolLength, false), values.spindle);
  return model;
}

}  // namespace kandrel_post
