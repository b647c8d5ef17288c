// mkdHeldTool: the tool in a machine's spindle.
#pragma once

#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/kintree/geometry.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>

#include <array>
#include <cstddef>
#include <string>

namespace kintree {

/// How one of a tool's parts looks.
struct zvToolPartAppearance {
  zvAppearance current;            ///< what a viewer shows
  zvAppearance defaultAppearance;  ///< what it goes back to, and files hold
  bool isDefaultTaken = false;     ///< the file named no colour for the part
  bool isVisible = true;
};

/// A tool with its tip in the origin of the object's frame and its axis along z. The tool is
/// shared, also by copies; it changes its units with the object, and so does the tolerance.
class KANDREL_API mkdHeldTool : public mkdDynamicGeometry {
 public:
  /// The parts of a tool, in the order of its meshes.
  enum Part : std::size_t { cutting, nonCutting, arbor, holder };
  /// How many there are.
  static constexpr std::size_t kParts = 4;

  using Tool = misc::zvAutoPointer<cadcam::zvTool>;
  using Appearances = std::array<zvToolPartAppearance, kParts>;

  /// Makes the meshes of all parts of the tool, to `tolerance` in the object's units, and keeps
  /// that of the cutting part; a tool in other units is converted to them. Throws "Accessing NULL
  /// pointer" without a tool, zvException, id 0, "Polygonization tolerance is invalid." for a
  /// tolerance that is not above 0, and what cadcam::zvToolMeshCreator throws of the tool; that is
  /// as it was then.
  mkdHeldTool(std::wstring name, Tool tool, double tolerance, Appearances appearances, Units units);

  /// The tool, shared; and the largest distance of a chord of its meshes from the curve, in the
  /// object's units.
  const Tool& GetTool() const noexcept { return m_tool; }
  double GetTolerance() const noexcept { return m_tolerance; }

  /// The four parts in the order of Part.
  const Appearances& GetPartAppearances() const noexcept { return m_appearances; }
  const zvToolPartAppearance& GetPartAppearance(Part part) const { return m_appearances.at(part); }
  void SetPartAppearance(Part part, zvToolPartAppearance appearance) {
    m_appearances.at(part) = std::move(appearance);
  }

  void AcceptVisitor(mkdKOConstVisitor& visitor) const override;
  void AcceptVisitor(mkdKOVisitor& visitor) override;

 protected:
  void Scale(Units newUnits, double factor) override;
  void SetUnitsOfParts(Units units, bool keepNumbers) override;

 private:
  Tool m_tool;
  double m_tolerance;
  Appearances m_appearances;
};

}  // namespace kintree
