// zvToolPartDefinition, zvHolderDefinition, zvArborDefinition: the parts of a tool that are solids.
#pragma once

#include <kandrel/cadcam/curves/point2d.h>
#include <kandrel/cadcam/tools/solid_definition.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/measurable.h>

#include <vector>

namespace cadcam {

/// A part of a tool: a solid, in the part's units. A copy has a solid of its own. What was moved
/// from has none.
template <class T>
class KANDREL_API zvToolPartDefinition : public measures::zvMeasurable {
 public:
  using Units = measures::zvUnitsFactory::Units;
  using SolidPointer = misc::zvAutoPointer<zvSolidDefinition<T>>;
  using Point = geoDef::zv2dPoint<T>;

  /// A part that isn't defined, metric: it has no solid.
  zvToolPartDefinition() : zvMeasurable(measures::zvUnitsFactory::metric) {}
  /// A part of a copy of this solid, in its units.
  explicit zvToolPartDefinition(const zvSolidDefinition<T>& solid);
  /// A revolved solid whose profile are the lines that join `points`, x being the radius and y the
  /// height. Less than two points give a profile without elements. Throws zvmeasuresException 2141
  /// for unknown units, as all that follow.
  zvToolPartDefinition(const std::vector<Point>& points, Units units);
  /// A cylinder, of which the height comes first: the one line from (radius, 0) to (radius,
  /// height). Two zeros are a part without extent, which all checks let pass.
  zvToolPartDefinition(T height, T radius, Units units);

  /// A deep copy: the solid is cloned.
  zvToolPartDefinition(const zvToolPartDefinition& other);
  zvToolPartDefinition(zvToolPartDefinition&&) noexcept = default;
  /// A deep copy: the solid is cloned.
  zvToolPartDefinition& operator=(const zvToolPartDefinition& other);
  zvToolPartDefinition& operator=(zvToolPartDefinition&&) noexcept = default;

  /// The solid, which belongs to this part; null where it isn't defined.
  const SolidPointer& GetSolidDefinition() const noexcept { return m_solid; }
  /// The height of the solid; 0 without one.
  T GetHeight() const { return m_solid ? m_solid->GetHeight() : T(0); }

 protected:
  void Scale(Units, double) override {}
  void SetUnitsOfParts(Units units, bool keepNumbers) override;

 private:
  SolidPointer m_solid;
};

/// What holds the tool in the spindle; it begins where the arbor ends.
template <class T>
class KANDREL_API zvHolderDefinition final : public zvToolPartDefinition<T> {
 public:
  using zvToolPartDefinition<T>::zvToolPartDefinition;
};

/// The shank between the tool's shoulder and the holder.
template <class T>
class KANDREL_API zvArborDefinition final : public zvToolPartDefinition<T> {
 public:
  using zvToolPartDefinition<T>::zvToolPartDefinition;
};

extern template class zvToolPartDefinition<double>;

}  // namespace cadcam
