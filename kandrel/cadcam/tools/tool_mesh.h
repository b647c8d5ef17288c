// zvToolMeshCreator and what it is made of: the parts of a tool as triangles.
#pragma once

#include <kandrel/cadcam/mesh.h>
#include <kandrel/cadcam/tools/lathe_tool.h>
#include <kandrel/cadcam/tools/tool_approximation.h>
#include <kandrel/cadcam/tools/tool_part.h>
#include <kandrel/cadcam/tools/tool_visitor.h>
#include <kandrel/misc/export.h>

#include <array>
#include <memory>

namespace cadcam {

/// The parts of a tool that have a mesh each, and the mask of one: 1 << part.
enum zvToolMeshPart : int { cuttingPart, nonCuttingPart, arborPart, holderPart };
/// The mask of all four.
inline constexpr unsigned kAllToolMeshParts = 15;

/// How meshes of tools are made.
struct zvToolMeshRules {
  /// How far the mesh may lie from the tool, in the tool's units.
  double tolerance = 0.1;
  /// As in zvRevolveProfileSrv; 0 for none.
  double largestAngle = 0;
  /// The parts wanted; the mesh of any other is empty.
  unsigned parts = kAllToolMeshParts;

  /// True where the mesh of the part is to be made.
  bool Wants(zvToolMeshPart part) const noexcept { return (parts >> part & 1u) != 0; }
};

/// The four meshes of a tool, in its units and coordinates: the tip at z = 0, the axis +z; the
/// arbor begins at the shoulder length, the holder where the arbor ends. Each encloses its part,
/// with normals that point outwards. T, float or double, is what the meshes hold.
template <class T>
class KANDREL_API zvToolMeshBase {
 public:
  virtual ~zvToolMeshBase() = default;

  /// A part's mesh, from 0 in the order of zvToolMeshPart; empty for a part without extent. It
  /// lives as long as this object. Throws zvmiscException 2052 for a number that is no part's.
  virtual const zvTMesh<T>& GetMesh(int part) const;

 protected:
  /// Four empty meshes in these units. Throws zvmeasuresException 2141 for units that are none.
  explicit zvToolMeshBase(measures::zvUnitsFactory::Units units);

  /// Sets a mesh, or leaves it empty where the rules don't want it; `maker` returns it.
  template <class Maker>
  void Set(const zvToolMeshRules& rules, zvToolMeshPart part, const Maker& maker) {
    if (rules.Wants(part)) m_meshes[part] = maker();
  }
  /// Sets those of arbor and holder.
  void SetShank(const zvToolMeshRules& rules, const zvTool& tool);

 private:
  std::array<zvTMesh<T>, 4> m_meshes;
};

/// Makes the mesh of the solid that it visits: what a profile sweeps around the axis; the prism
/// over the first outline of an extruded solid, from z = 0 to its height, closed; and meshes as
/// they are.
template <class T>
class KANDREL_API zvToolPartMeshCreator : public zvSolidDefinitionVisitor<double> {
 public:
  using Units = measures::zvUnitsFactory::Units;

  /// The mesh is labelled with `units`, and moved up by `lift`.
  zvToolPartMeshCreator(const zvToolMeshRules& rules, Units units, double lift = 0)
      : m_rules(rules), m_lift(lift), m_mesh(units) {}

  /// Throws zvException, id 0, as zvRevolveProfileSrv; zvtoolapproximationException, "Unknown
  /// error.", for numbers that are none or too large for T; and mathdef::zvWMException 7051
  /// "Contour triangulation error" for an outline that crosses itself or encloses no area. An
  /// extruded solid without points or height gives an empty mesh. zvSolidDefinition itself is
  /// refused: zvcadcamException 2177.
  void Visit(const zvMeshSolidDefinition<double>& solid) override;
  void Visit(const zvExtrudedSolidDefinition<double>& solid) override;
  void Visit(const zvRevolvedSolidDefinition<double>& solid) override;
  void Visit(const zvSolidDefinition<double>& solid) override;

  /// Of the solid visited last.
  const zvTMesh<T>& GetMesh() const noexcept { return m_mesh; }

  /// The mesh of a part; empty where it isn't defined. Throws as the visits.
  static zvTMesh<T> Create(const zvToolPartDefinition<double>& part, const zvToolMeshRules& rules,
                           Units units, double lift);

 private:
  zvToolMeshRules m_rules;
  double m_lift;
  zvTMesh<T> m_mesh;
};

/// Makes the meshes of the revolved tool that it visits. Throws what the tool's approximation
/// throws and zvToolPartMeshCreator; for an arbor whose numbers are none
/// zvtoolapproximationException kInvalidArborProfile; and where it visits a zvLatheTool,
/// zvtoolapproximationException 2176, or a class beyond those it knows, 0.
template <class T>
class KANDREL_API zvRevolvedToolMeshCreator : public zvToolVisitor, public zvToolMeshBase<T> {
 public:
  /// Makes what the rules want of the tool that it visits, in `units`.
  zvRevolvedToolMeshCreator(const zvToolMeshRules& rules, measures::zvUnitsFactory::Units units)
      : zvToolMeshBase<T>(units), m_rules(rules) {}

  void Visit(const zvLatheTool& tool) override;
  void Visit(const zvGenericRevolvedTool& tool) override;
  void Visit(const zvConvexTipMill& tool) override { Make(tool); }
  void Visit(const zvBarrelMill& tool) override { Make(tool); }
  void Visit(const zvTapRH& tool) override { Make(tool); }
  void Visit(const zvTapLH& tool) override { Make(tool); }
  void Visit(const zvTaperMill& tool) override { Make(tool); }
  void Visit(const zvSpotDrill& tool) override { Make(tool); }
  void Visit(const zvSpherMill& tool) override { Make(tool); }
  void Visit(const zvSlotMill& tool) override { Make(tool); }
  void Visit(const zvReamer& tool) override { Make(tool); }
  void Visit(const zvRadMill& tool) override { Make(tool); }
  void Visit(const zvLolMill& tool) override { Make(tool); }
  void Visit(const zvFaceMill& tool) override { Make(tool); }
  void Visit(const zvEndMill& tool) override { Make(tool); }
  void Visit(const zvDrill& tool) override { Make(tool); }
  void Visit(const zvDoveMill& tool) override { Make(tool); }
  void Visit(const zvCtrDrill& tool) override { Make(tool); }
  void Visit(const zvCSink& tool) override { Make(tool); }
  void Visit(const zvCntrBore& tool) override { Make(tool); }
  void Visit(const zvChamferMill& tool) override { Make(tool); }
  void Visit(const zvBullMill& tool) override { Make(tool); }
  void Visit(const zvBoreBar& tool) override { Make(tool); }
  void Visit(const zvTool& tool) override;

 protected:
  /// Makes the meshes of the profiles; the non-cutting one counts its heights from the lift.
  virtual void Take(const zvRevolvedToolApproximation<double>& approximation,
                    double nonCuttingLift);

 private:
  template <class Tool>
  void Make(const Tool& tool) {
    Take(zvTypedToolApproximation<double, Tool>(tool, m_rules.tolerance), 0);
  }

  zvToolMeshRules m_rules;
};

/// Makes the meshes of a lathe tool: its solid as the cutting part, arbor and holder; there is no
/// non-cutting part. Throws as zvToolPartMeshCreator.
template <class T>
class KANDREL_API zvLatheToolMeshCreator : public zvToolMeshBase<T> {
 public:
  /// Makes what the rules want of the tool, which isn't kept.
  zvLatheToolMeshCreator(const zvLatheTool& tool, const zvToolMeshRules& rules);
};

/// Makes the meshes of any tool: visit it, `tool.AcceptVisitor(creator)`, and ask for its meshes.
template <class T>
class KANDREL_API zvToolMeshCreator : public zvToolBranchVisitor {
 public:
  /// Tolerance and angle as in zvToolMeshRules; `parts` is a mask, 15 for all.
  zvToolMeshCreator(T tolerance, T largestAngle, unsigned parts);
  explicit zvToolMeshCreator(const zvToolMeshRules& rules) : m_rules(rules) {}

  /// Throw as the creators of the two branches do; nothing is there to be asked for then.
  void Visit(const zvLatheTool& tool) override;
  void Visit(const zvGenericRevolvedTool& tool) override;
  void Visit(const zvTypedRevolvedTool& tool) override;
  /// Throws zvException, id 0, "Abstract class passed in ToolMeshCreator": for a tool of no branch.
  virtual void Visit(const zvTool& tool);

  /// Of the tool visited last. Throws zvException, id 0, "Accessing NULL pointer" where there is
  /// none, and as zvToolMeshBase::GetMesh.
  const zvTMesh<T>& GetMesh(int part) const { return m_creator->GetMesh(part); }
  /// What holds the meshes, which may be kept; null before a visit.
  const misc::zvAutoPointer<zvToolMeshBase<T>>& GetCreator() const noexcept { return m_creator; }

 private:
  void VisitRevolved(const zvTool& tool);

  zvToolMeshRules m_rules;
  misc::zvAutoPointer<zvToolMeshBase<T>> m_creator;
};

extern template class zvToolMeshBase<float>;
extern template class zvToolMeshBase<double>;
extern template class zvToolPartMeshCreator<float>;
extern template class zvToolPartMeshCreator<double>;
extern template class zvRevolvedToolMeshCreator<float>;
extern template class zvRevolvedToolMeshCreator<double>;
extern template class zvLatheToolMeshCreator<float>;
extern template class zvLatheToolMeshCreator<double>;
extern template class zvToolMeshCreator<float>;
extern template class zvToolMeshCreator<double>;

}  // namespace cadcam
