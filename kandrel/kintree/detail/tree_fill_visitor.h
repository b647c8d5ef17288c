// XML2TreeFillVisitor: the elements of a machine file for the objects of a machine.
#pragma once

#include <kandrel/kintree/detail/xml_document.h>
#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/kinematic_axis.h>
#include <kandrel/kintree/kinematic_visitor.h>
#include <kandrel/kintree/kintree_mach_def.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/value_validator.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace kintree {

namespace detail {

/// Writes into the element of an axis which values its validator takes. Throws zvException, id 0,
/// "Unknown discrete value validator visited" for a validator of another kind.
class KANDREL_API DiscreteValueValidatorWriter final
    : public misc::zvValueValidatorVisitor<double> {
 public:
  explicit DiscreteValueValidatorWriter(const XmlElement& axis) : m_axis(axis) {}

  void Visit(const misc::zvSteppingBasedDiscreteValueValidator<double>& validator) override;
  void Visit(const misc::zvListBasedDiscreteValueValidator<double>& validator) override;
  void Visit(const misc::zvValueValidator<double>& validator) override;

 private:
  XmlElement m_axis;
};

}  // namespace detail

/// Makes an element for each object that it visits, in the element of the object above it, which
/// was visited before. The current node is set for each visit. Throws what zvV2XMLWriter::Write
/// tells of objects.
class KANDREL_API XML2TreeFillVisitor final : public mkdKOSimConstVisitor {
 public:
  /// A mesh, and the path that it is a file's.
  struct WrittenMesh {
    mkdPolygonalGeometry::Mesh mesh;
    std::wstring source;  ///< the file that the body came from; that need not be there
    std::wstring path;
  };

  /// Meshes go to the folder of the file. The machine outlives the object.
  XML2TreeFillVisitor(const zvKintreeMachDef& machine, const std::wstring& fileName,
                      const detail::XmlElement& root);

  /// Visits all objects of the machine, those above first.
  void Fill();

  /// The meshes that have triangles, of the objects that files are written for.
  const std::vector<WrittenMesh>& GetMeshes() const noexcept { return m_meshes; }

  void Visit(const mkdInitialStock& object) override;
  void Visit(const mkdStockGeometry& object) override;
  void Visit(const mkdWorkPiece& object) override;
  void Visit(const mkdTranslationalAxis& object) override;
  void Visit(const mkdRotationalAxis& object) override;
  void Visit(const mkdCoordinateTransform& object) override;
  void Visit(const mkdHeldTool& object) override;
  void Visit(const mkdToolpathGeometry& object) override;
  void Visit(const mkdPolygonalGeometry& object) override;
  void Visit(const mkdKinematicObject& object) override;

 private:
  detail::XmlElement Add(const mkdKinematicObject& object, const char* tag);
  void AddAxis(const mkdAxis& axis, const char* kind, const mkdAxis::Vector* pivot);
  detail::XmlElement AddGeometry(const mkdKinematicObject& object, const char* type);
  void AddBody(const mkdPolygonalGeometry& object, const char* type);
  void AddMesh(const mkdPolygonalGeometry& object);

  const zvKintreeMachDef& m_machine;
  std::wstring m_fileName;
  detail::XmlElement m_root;
  std::unordered_map<const mkdKinematicObject*, detail::XmlElement> m_elements;
  std::vector<WrittenMesh> m_meshes;
};

}  // namespace kintree
