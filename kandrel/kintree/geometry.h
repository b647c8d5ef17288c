// mkdGeometry and its family: the bodies of a machine.
#pragma once

#include <kandrel/cadcam/mesh.h>
#include <kandrel/kintree/appearance.h>
#include <kandrel/kintree/kinematic_object.h>
#include <kandrel/kintree/toolpath_graphic.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/versioned_object.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

namespace kintree {

/// What can be seen. Coordinates are in the object's own frame, which its world matrix places.
class KANDREL_API mkdGeometry : public mkdKinematicObject {
 public:
  /// The look that a viewer shows, and the one that it goes back to, which files hold.
  const zvAppearance& GetAppearance() const noexcept { return m_appearance; }
  const zvAppearance& GetDefaultAppearance() const noexcept { return m_defaultAppearance; }
  void SetAppearance(zvAppearance appearance) { m_appearance = std::move(appearance); }
  void SetDefaultAppearance(zvAppearance appearance) {
    m_defaultAppearance = std::move(appearance);
  }

  /// True until it is set.
  bool IsVisible() const noexcept { return m_isVisible; }
  void SetVisible(bool isVisible) noexcept { m_isVisible = isVisible; }

 protected:
  using mkdKinematicObject::mkdKinematicObject;

 private:
  zvAppearance m_appearance;
  zvAppearance m_defaultAppearance;
  bool m_isVisible = true;
};

/// A body of triangles. Its mesh is shared, also by copies, and may be null; it changes its units
/// with the object.
class KANDREL_API mkdPolygonalGeometry : public mkdGeometry {
 public:
  using Mesh = misc::zvAutoPointer<cadcam::zvTMesh<float>>;

  /// `sourceFile` is the path of the file that the mesh is of, empty for none; nothing is read.
  mkdPolygonalGeometry(std::wstring name, Mesh mesh, std::wstring sourceFile, Units units);

  /// The mesh, shared; null for none. The path of the file that it is of, empty for none.
  const Mesh& GetMesh() const noexcept { return m_mesh; }
  const std::wstring& GetSourceFile() const noexcept { return m_sourceFile; }

  void AcceptVisitor(mkdKOConstVisitor& visitor) const override;
  void AcceptVisitor(mkdKOVisitor& visitor) override;

 protected:
  void SetUnitsOfParts(Units units, bool keepNumbers) override;
  /// Takes another mesh, or null; the units of the object are not looked at.
  void ReplaceMesh(Mesh mesh) noexcept { m_mesh = std::move(mesh); }

 private:
  Mesh m_mesh;
  std::wstring m_sourceFile;
};

/// The part that is machined.
class KANDREL_API mkdWorkPiece : public mkdPolygonalGeometry {
 public:
  using mkdPolygonalGeometry::mkdPolygonalGeometry;
  void AcceptVisitor(mkdKOConstVisitor& visitor) const override;
  void AcceptVisitor(mkdKOVisitor& visitor) override;
};

/// The blank as it was before machining.
class KANDREL_API mkdInitialStock : public mkdPolygonalGeometry {
 public:
  using mkdPolygonalGeometry::mkdPolygonalGeometry;
  void AcceptVisitor(mkdKOConstVisitor& visitor) const override;
  void AcceptVisitor(mkdKOVisitor& visitor) override;
};

/// A body whose mesh changes while the machine is simulated.
class KANDREL_API mkdDynamicGeometry : public mkdPolygonalGeometry, public misc::zvVersionedObject {
 public:
  using mkdPolygonalGeometry::mkdPolygonalGeometry;

  /// Takes another mesh, which may be null, and counts it.
  void SetMesh(Mesh mesh) noexcept;
  /// How many meshes followed the first: a viewer sees that it shows an old one.
  std::uint32_t GetMeshVersion() const noexcept { return m_meshVersion; }

 private:
  std::uint32_t m_meshVersion = 0;
};

/// The blank as it is left by machining.
class KANDREL_API mkdStockGeometry : public mkdDynamicGeometry {
 public:
  using mkdDynamicGeometry::mkdDynamicGeometry;

  /// Three places for what whoever simulates the cutting keeps with the stock; null at first, and
  /// not owned.
  std::array<void*, 3>& AccessSimulationData() noexcept { return m_simulationData; }
  const std::array<void*, 3>& GetSimulationData() const noexcept { return m_simulationData; }

  void AcceptVisitor(mkdKOConstVisitor& visitor) const override;
  void AcceptVisitor(mkdKOVisitor& visitor) override;

 private:
  std::array<void*, 3> m_simulationData{};
};

/// A toolpath as it is drawn. Its graphic is shared, also by copies, and may be null; it changes
/// its units with the object.
class KANDREL_API mkdToolpathGeometry : public mkdGeometry {
 public:
  using Graphic = misc::zvAutoPointer<zvToolPathGraphic<float>>;

  /// `sourceFile` is the path of the file that the graphic is of, empty for none; nothing is read.
  mkdToolpathGeometry(std::wstring name, Graphic graphic, std::wstring sourceFile, Units units);

  /// The polylines, shared; null for none. The path of the file that they are of, empty for none.
  const Graphic& GetGraphic() const noexcept { return m_graphic; }
  const std::wstring& GetSourceFile() const noexcept { return m_sourceFile; }

  /// True once the toolpath shown is no longer that of the source file; whoever changes the graphic
  /// sets it.
  bool IsReplaced() const noexcept { return m_isReplaced; }
  void SetReplaced(bool isReplaced) noexcept { m_isReplaced = isReplaced; }

  void AcceptVisitor(mkdKOConstVisitor& visitor) const override;
  void AcceptVisitor(mkdKOVisitor& visitor) override;

 protected:
  void SetUnitsOfParts(Units units, bool keepNumbers) override;

 private:
  Graphic m_graphic;
  std::wstring m_sourceFile;
  bool m_isReplaced = false;
};

}  // namespace kintree
