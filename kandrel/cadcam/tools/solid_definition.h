// zvSolidDefinition and its three kinds: the bodies that holders, arbors and other parts of a tool
// are made of.
#pragma once

#include <kandrel/cadcam/curves/curves2d.h>
#include <kandrel/cadcam/mesh.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tools/solid_visitor.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/measurable.h>

#include <cstddef>
#include <optional>
#include <vector>

namespace cadcam {

/// A body in coordinates of its own: the tool's axis is z, and its height counts from z = 0, where
/// it meets what is below it. All lengths are in its units. Its kind is found out by visitors. A
/// copy is deep. T is double in tools, for which the library has the kinds.
template <class T>
class KANDREL_API zvSolidDefinition : public measures::zvMeasurable {
 public:
  using Units = measures::zvUnitsFactory::Units;
  using Pointer = misc::zvAutoPointer<zvSolidDefinition>;

  /// A new copy, as its own class.
  virtual Pointer Clone() const = 0;
  /// How far it reaches along the axis; each kind says how it is found.
  virtual T GetHeight() const = 0;
  /// Both call the visitor's slot of the solid's own class.
  virtual void AcceptVisitor(zvSolidDefinitionVisitor<T>& visitor) const = 0;
  virtual void AcceptVisitor(zvSolidDefinitionVisitorGetter<T>& visitor) = 0;

 protected:
  using zvMeasurable::zvMeasurable;
};

/// The first four of the slots, which every kind has in the same form.
template <class T, class Solid>
class KANDREL_API zvSolidDefinitionOf : public zvSolidDefinition<T> {
 public:
  typename zvSolidDefinition<T>::Pointer Clone() const override {
    return misc::MakeAutoPointer<Solid>(static_cast<const Solid&>(*this));
  }
  void AcceptVisitor(zvSolidDefinitionVisitor<T>& visitor) const override {
    visitor.Visit(static_cast<const Solid&>(*this));
  }
  void AcceptVisitor(zvSolidDefinitionVisitorGetter<T>& visitor) override {
    visitor.Visit(static_cast<Solid&>(*this));
  }

 protected:
  using zvSolidDefinition<T>::zvSolidDefinition;
};

/// What a profile sweeps when it is turned about the axis: x is the radius, y the height.
template <class T>
class KANDREL_API zvRevolvedSolidDefinition final
    : public zvSolidDefinitionOf<T, zvRevolvedSolidDefinition<T>> {
 public:
  using Units = typename zvSolidDefinition<T>::Units;
  using Profile = geoDef::zv2dContour<T>;

  /// Any profile is taken, also one without points. Throws zvmeasuresException 2141 for unknown
  /// units.
  zvRevolvedSolidDefinition(Profile profile, Units units);

  /// The profile as the constructor took it, x being the radius and y the height.
  const Profile& GetProfile() const noexcept { return m_profile; }

  /// Of the profile's elements, where a contour counts as one.
  std::size_t GetNumberOfElements() const noexcept { return GetElements().size(); }
  const std::vector<geoDef::zv2dElement<T>>& GetElements() const noexcept {
    return m_profile.GetElements();
  }
  /// Throws zvmiscException 2052 "Index out of bounds" where there is none.
  const geoDef::zv2dElement<T>& GetFirstElement() const;
  /// Nothing for a profile without points.
  std::optional<geoDef::zv2dPoint<T>> GetFirstPoint() const { return StartPoint(m_profile); }

  /// The largest x of the profile, on curves too; 0 without points.
  T GetRadius() const;
  /// The y of the last point, 0 without points.
  T GetHeight() const override;

 protected:
  void Scale(Units newUnits, double factor) override;

 private:
  Profile m_profile;
};

/// What a closed outline sweeps along the axis. Only the first of the polylines counts as outline;
/// the others are kept.
template <class T>
class KANDREL_API zvExtrudedSolidDefinition final
    : public zvSolidDefinitionOf<T, zvExtrudedSolidDefinition<T>> {
 public:
  using Units = typename zvSolidDefinition<T>::Units;
  using PolyLine = geoDef::zv2dPolyLine<T>;

  /// Throws zvmeasuresException 2141 for unknown units.
  zvExtrudedSolidDefinition(std::vector<PolyLine> polyLines, T height, const zvTPoint3d<T>& point,
                            Units units);

  /// The outlines of the prism, in the order of the constructor's argument.
  const std::vector<PolyLine>& GetPolyLines() const noexcept { return m_polyLines; }
  /// The first of the polylines; an empty one where there is none.
  const PolyLine& GetContour() const noexcept;
  T GetHeight() const override { return m_height; }
  /// Carried along, without a meaning here.
  const zvTPoint3d<T>& GetPoint() const noexcept { return m_point; }

 protected:
  void Scale(Units newUnits, double factor) override;

 private:
  std::vector<PolyLine> m_polyLines;
  T m_height;
  zvTPoint3d<T> m_point;
};

/// What a mesh encloses.
template <class T>
class KANDREL_API zvMeshSolidDefinition final
    : public zvSolidDefinitionOf<T, zvMeshSolidDefinition<T>> {
 public:
  using Units = typename zvSolidDefinition<T>::Units;

  /// The solid's units are those of the mesh.
  explicit zvMeshSolidDefinition(zvTMesh<T> mesh);

  /// The mesh, in its own units.
  const zvTMesh<T>& GetMesh() const noexcept { return m_mesh; }
  /// The largest z of the mesh, 0 without vertices.
  T GetHeight() const override;

 protected:
  void Scale(Units, double) override {}
  void SetUnitsOfParts(Units units, bool keepNumbers) override;

 private:
  zvTMesh<T> m_mesh;
};

extern template class zvRevolvedSolidDefinition<double>;
extern template class zvExtrudedSolidDefinition<double>;
extern template class zvMeshSolidDefinition<double>;

}  // namespace cadcam
