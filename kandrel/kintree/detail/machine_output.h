// zvXMLOutputInterpreter: gives the axes of a kinematic tree the numbers of a machine definition.
#pragma once

#include <kandrel/kintree/kinematic_axis.h>
#include <kandrel/kintree/kinematic_visitor.h>
#include <kandrel/post/model/mach_def.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kintree::detail {

/// Visits the objects of a tree in pre-order and changes its axes. What it throws, zvXMLOverwrite
/// says.
class zvXMLOutputInterpreter final : public mkdKOVisitor {
 public:
  /// Both outlive the interpreter. Throws zvPostException 5003 for another number of names than
  /// axes.
  zvXMLOutputInterpreter(const post::zvMachDef& machDef, const std::vector<std::wstring>& names);

  /// The names that no visited axis has, between quotes; empty where there is none.
  std::wstring GetMissing() const;

  void Visit(mkdTranslationalAxis& axis) override;
  void Visit(mkdRotationalAxis& axis) override;
  void Visit(mkdInitialStock& /*object*/) override {}
  void Visit(mkdStockGeometry& /*object*/) override {}
  void Visit(mkdWorkPiece& /*object*/) override {}
  void Visit(mkdCoordinateTransform& /*object*/) override {}
  void Visit(mkdHeldTool& /*object*/) override {}
  void Visit(mkdToolpathGeometry& /*object*/) override {}
  void Visit(mkdPolygonalGeometry& /*object*/) override {}
  void Visit(mkdKinematicObject& /*object*/) override {}

 private:
  struct Rotary {
    post::zvMachDef::Point direction{1, 0, 0};
    post::zvMachDef::Point pivot{0, 0, 0};
    double minimum = -100000;
    double maximum = 100000;
  };

  Rotary RotaryOf(const mkdAxis& axis) const;
  /// Of a machine of five or six axes; none for another name.
  template <class MachDef>
  std::optional<Rotary> FirstOrSecond(const MachDef& m, const std::wstring& name) const;

  const post::zvMachDef& m_machDef;
  const std::vector<std::wstring>& m_names;
  std::vector<bool> m_isMet;  ///< by name
  int m_rotaryCount = 0;
  int m_tranCount = 0;
};

}  // namespace kintree::detail
