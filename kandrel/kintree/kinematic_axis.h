// mkdAxis, mkdTranslationalAxis and mkdRotationalAxis: what moves in a machine.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/kintree/kinematic_object.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/value_validator.h>

#include <cstdint>
#include <span>
#include <string>

namespace kintree {

/// The range and the value of an axis: a length in the axis's units, or degrees. All values start
/// at 0, whether or not the range holds it.
struct zvValue {
  using Validator = misc::zvAutoPointer<misc::zvValueValidator<double>>;

  double minimum = -1000;
  double maximum = 1000;
  double lastInRange = 0;  ///< the last value that lay within the range
  double current = 0;      ///< the value that the axis stands at
  Validator validator;     ///< null: any value of the range is taken
  double requested = 0;    ///< the last value that was asked for, refused or not

  /// Keeps `value` as requested; as last in range, if it is; and as current, if the validator
  /// takes it. Throws zvRangeException<double> for a value that is not between minimum and maximum,
  /// both included, and zvDiscreteValueException<double> for one that the validator refuses.
  KANDREL_API void Set(double value);
};

/// A transform whose local matrix follows from a value. Directions are unit vectors, in the frame
/// that the axis stands in for the initial one and in the world's for the current one.
class KANDREL_API mkdAxis : public mkdCoordinateTransform {
 public:
  using Vector = cadcam::zvTPoint3d<float>;
  using Validator = zvValue::Validator;

  /// Both setters bring the direction to length 1, in single precision. One along a base vector
  /// becomes exactly that; any other that has the length but for rounding stays, so that a file
  /// that is read and written keeps its numbers. They throw zvcadcamException 2189 "Can't normalize
  /// null vector." where all components are exactly 0, and zvMachineSimulatorException kInvalidAxis
  /// where one is not finite. The local matrix takes a new initial direction with the next SetValue
  /// or SetWorldTransform.
  void SetInitialDirection(const Vector& direction);
  void SetCurrentDirection(const Vector& direction);
  const Vector& GetInitialDirection() const noexcept { return m_initialDirection; }
  const Vector& GetCurrentDirection() const noexcept { return m_currentDirection; }

  /// Any number is taken, also one that leaves the value outside or the range empty.
  void SetMinimum(double minimum) noexcept { m_value.minimum = minimum; }
  void SetMaximum(double maximum) noexcept { m_value.maximum = maximum; }
  double GetMinimum() const noexcept { return m_value.minimum; }
  double GetMaximum() const noexcept { return m_value.maximum; }

  /// Moves the axis, and all that is below it. Throws as zvValue::Set and GetLocalTransform, and
  /// what SetWorldTransform throws of the objects below; a value that is refused moves nothing and
  /// stays as requested.
  void SetValue(double value);
  /// The value that the axis stands at.
  double GetValue() const noexcept { return m_value.current; }
  /// Range and value with all that is kept of them.
  const zvValue& GetValueState() const noexcept { return m_value; }

  /// Null takes the validator away. The value is not checked until it is set.
  void SetValidator(Validator validator) noexcept { m_value.validator = std::move(validator); }
  const Validator& GetValidator() const noexcept { return m_value.validator; }
  bool HasValidator() const noexcept { return !m_value.validator.IsNull(); }

  /// Turns the current direction with `world`, and sets the requested value anew. Throws as
  /// SetValue when that was refused before: the world matrix and the current direction are new
  /// then, the local matrix and what is below stay.
  void SetWorldTransform(const mkdMatrix& world) override;

  /// The matrix that the value produces, from the frame below to the frame above. Throws
  /// zvMachineSimulatorException kInvalidAxis where it would not be finite, in floats.
  virtual mkdMatrix GetLocalTransform() const = 0;

 protected:
  /// Throws as SetInitialDirection, and as mkdKinematicObject.
  mkdAxis(std::wstring name, const Vector& direction, std::span<const std::uint8_t> kindTags,
          Units units);

  /// The range and the value of the axis, for what scales it.
  zvValue& AccessValue() noexcept { return m_value; }
  /// Throws zvMachineSimulatorException kInvalidAxis unless all components are finite.
  void CheckFinite(const Vector& vector) const;
  /// Throws the same for a number that is too large for a float, or none.
  float ToFloat(double number) const;

 private:
  Vector UnitVector(const Vector& direction) const;

  Vector m_currentDirection;
  Vector m_initialDirection;
  zvValue m_value;
};

/// Shifts what is below it along its direction, by a value in its units. A change of the units
/// converts its limits alone: the values stay as they are until they are set anew, and a validator
/// goes on with the numbers it has; whoever changes the units sets both. Until then a value may lie
/// outside the range, and placing the axis throws.
class KANDREL_API mkdTranslationalAxis : public mkdAxis {
 public:
  /// Throws as mkdAxis.
  mkdTranslationalAxis(std::wstring name, const Vector& direction, Units units);

  mkdMatrix GetLocalTransform() const override;
  void AcceptVisitor(mkdKOConstVisitor& visitor) const override;
  void AcceptVisitor(mkdKOVisitor& visitor) override;

 protected:
  /// Minimum and maximum change.
  void Scale(Units newUnits, double factor) override;
};

/// Turns what is below it about a line through the pivot, right-handed, by a value in degrees. A
/// change of the units converts the pivot; the local matrix takes it with the next SetValue or
/// SetWorldTransform.
class KANDREL_API mkdRotationalAxis : public mkdAxis {
 public:
  /// The pivot is in the frame that the axis stands in. Throws as mkdAxis, and kInvalidAxis for a
  /// pivot that is not finite.
  mkdRotationalAxis(std::wstring name, const Vector& direction, const Vector& pivot, Units units);

  /// A point of the axis, in the frame that the axis stands in and in its units.
  const Vector& GetPivot() const noexcept { return m_pivot; }
  /// Throws as the constructor. The local matrix takes it with the next SetValue or
  /// SetWorldTransform.
  void SetPivot(const Vector& pivot);

  mkdMatrix GetLocalTransform() const override;
  void AcceptVisitor(mkdKOConstVisitor& visitor) const override;
  void AcceptVisitor(mkdKOVisitor& visitor) override;

 protected:
  /// The pivot changes; limits, values and validators are angles. Throws
  /// zvMachineSimulatorException kInvalidAxis, and changes nothing, for a pivot that floats can't
  /// hold.
  void Scale(Units newUnits, double factor) override;

 private:
  Vector m_pivot;
};

}  // namespace kintree
