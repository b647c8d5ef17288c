// zvXMLInputInterpreter: makes a machine definition of the axes of a kinematic tree.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/kintree/kinematic_axis.h>
#include <kandrel/kintree/kinematic_visitor.h>
#include <kandrel/kintree/kintree_mach_def.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/post/model/mach_def.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kintree::detail {

/// Whether a file of this version gives the directions of its translation axes, and asks for its
/// spindle's rotation. Both are single precision: 1.30000001 is not above 1.3.
constexpr bool HasDirections(float version) {
  return version > 1.3f;
}

/// Visits the objects of a tree in pre-order; then Finish, and the definition can be made. What it
/// takes and throws, zvXMLInputSurround says.
class zvXMLInputInterpreter final : public mkdKOConstVisitor {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  using Names = std::vector<std::wstring>;

  /// All outlive the interpreter. What is met is appended to the last two at once.
  zvXMLInputInterpreter(const zvKintreeMachDef& machine, const Names& requestedNames,
                        const Point& spindleDirection, Names& rotAxisFound, Names& tranAxisFound);

  void Visit(const mkdRotationalAxis& axis) override;
  void Visit(const mkdTranslationalAxis& axis) override;
  void Visit(const mkdHeldTool& tool) override;
  void Visit(const mkdWorkPiece& workpiece) override;
  void Visit(const mkdInitialStock& /*object*/) override {}
  void Visit(const mkdStockGeometry& /*object*/) override {}
  void Visit(const mkdCoordinateTransform& /*object*/) override {}
  void Visit(const mkdToolpathGeometry& /*object*/) override {}
  void Visit(const mkdPolygonalGeometry& /*object*/) override {}
  void Visit(const mkdKinematicObject& /*object*/) override {}

  /// Finds out which translation axis is X, Y and Z.
  void Finish();
  misc::zvAutoPointer<post::zvMachDef> MakeMachDef() const;
  const Names& GetAxisNames() const noexcept { return m_axisNames; }

 private:
  struct Rotary {
    Point direction;
    Point pivot;
    double minimum = 0;
    double maximum = 0;
  };
  struct Translation {
    std::wstring name;
    Point direction;
    double minimum = 0;
    double maximum = 0;
  };
  static constexpr std::size_t kNone = 3;

  bool Carries(const mkdAxis& axis, std::wstring_view word) const;
  bool CarriesAny(const mkdAxis& axis) const;
  Point SignedDirection(const mkdAxis& axis) const;
  void TakeRotary(const mkdRotationalAxis& axis, std::size_t slot);
  void ExchangeRotaries();
  std::size_t SlotByName(std::size_t record) const;
  std::size_t SlotByDirection(std::size_t record, const std::array<std::size_t, 3>& slots) const;

  const zvKintreeMachDef& m_machine;
  const Names& m_requestedNames;
  Names& m_rotAxisFound;
  Names& m_tranAxisFound;
  bool m_namesGiven;
  Point m_spindle{0, 0, 1};
  measures::zvUnitsFactory::Units m_units = measures::zvUnitsFactory::metric;
  Names m_axisNames = Names(3);

  std::array<Translation, 3> m_records;  // as they are met, without names
  std::array<Translation, 3> m_linear;   // by X, Y, Z
  std::array<bool, 3> m_isFound{};       // with names
  std::size_t m_tranCount = 0;
  std::array<Rotary, 2> m_rotary;
  int m_rotaryCount = 0;
  bool m_toolSeen = false;
  bool m_workpieceSeen = false;
  bool m_rotaryOnWorkpiece = false;
  std::int32_t m_fiveAxisKind = 0;
};

}  // namespace kintree::detail
