// zvMachDef and its classes zv3axMachDef to zv6axMachDef: what a machine's axes are and how far
// they travel.
#pragma once

#include <kandrel/cadcam/matrix.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/measurable.h>
#include <kandrel/post/model/machine_visitor.h>

#include <cstdint>

namespace post {

/// What all machines share: where the spindle points, how far X, Y and Z travel, and how they stand
/// to the part's axes. Lengths are in the definition's units, angles in degrees.
///
/// 1. Directions need not be of unit length: the creators normalise their own copies (Normalize).
/// 2. The axis system may be left-handed or skew as long as it can be inverted. Within 1e-5 of the
///    identity, element by element, it counts as the identity.
/// 3. Limits are inclusive; an infinite one is no limit.
/// 4. A change of units scales limits and pivots, not directions and angles.
///
/// Constructors throw, in this order: zvmeasuresException 2141 for unknown units, zvPostException
/// 5024 for a spindle direction that is exactly zero, misc::zvMathException of kind 7 for axis
/// directions without an inverse, then what the class names. Default constructors check nothing.
class KANDREL_API zvMachDef : public measures::zvMeasurable {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  using Matrix = cadcam::zvMatrix<double, 4, 4>;
  using Units = measures::zvUnitsFactory::Units;

  /// Selects the class; files hold the number.
  enum NumbersOfAxes : std::int32_t {
    threeAxes = 0,
    fourAxes = 1,
    fiveAxes = 2,
    sixAxes = 3,
  };

  ~zvMachDef() override;

  /// Calls the visitor's slot of the definition's own class.
  virtual void AcceptVisitor(zvMachineVisitor& visitor) const;
  /// A deep copy of the definition's own class.
  virtual misc::zvAutoPointer<zvMachDef> Clone() const = 0;
  /// Makes the directions unit vectors. Throws zvcadcamException 2189 for one that is exactly zero
  /// and zvPostException 5039 where a direction or pivot is infinite or NaN.
  virtual void Normalize();

  /// The direction in which the spindle points, from the tool's tip to the spindle, in the part's
  /// frame.
  const Point& GetSpindleDirection() const noexcept { return m_spindleDirection; }
  void SetSpindleDirection(const Point& direction) noexcept { m_spindleDirection = direction; }
  /// The number that stands for the class.
  NumbersOfAxes GetNumbersOfAxes() const noexcept { return m_numbersOfAxes; }
  /// Set by each class; a value that disagrees with the class is refused where it is used (5031,
  /// 5043).
  void SetNumbersOfAxes(NumbersOfAxes value) noexcept { m_numbersOfAxes = value; }
  /// The range of each linear axis, in the definition's units.
  const Point& GetMinLimits() const noexcept { return m_minLimits; }
  const Point& GetMaxLimits() const noexcept { return m_maxLimits; }
  void SetMinLimits(const Point& limits) noexcept { m_minLimits = limits; }
  void SetMaxLimits(const Point& limits) noexcept { m_maxLimits = limits; }

  /// Where the linear axes point, in the part's frame.
  const Point& GetXAxisDirection() const noexcept { return m_axes.x; }
  const Point& GetYAxisDirection() const noexcept { return m_axes.y; }
  const Point& GetZAxisDirection() const noexcept { return m_axes.z; }
  /// Throws misc::zvMathException of kind 7 when they have no inverse, and changes nothing then.
  void SetAxisDirections(const Point& x, const Point& y, const Point& z);
  /// The matrix whose columns are the axis directions: from machine coordinates to the part's
  /// directions.
  Matrix GetAxisMatrix() const;
  /// Its inverse, which creators apply to machine positions unless IsIdentityTransform.
  const misc::zvAutoPointer<const Matrix>& GetInverseAxisMatrix() const noexcept {
    return m_inverseAxisMatrix;
  }
  /// Whether the axes count as the identity: property 2.
  bool IsIdentityTransform() const noexcept { return m_isIdentityTransform; }

 protected:
  /// For derived classes: the defaults.
  explicit zvMachDef(NumbersOfAxes numbersOfAxes);
  /// For derived classes. Throws as the class says.
  zvMachDef(NumbersOfAxes numbersOfAxes, Units units, const Point& spindleDirection,
            const Point& minLimits, const Point& maxLimits, const Point& xAxisDirection,
            const Point& yAxisDirection, const Point& zAxisDirection);
  /// Copies work the matrix out anew: two definitions never share one.
  zvMachDef(const zvMachDef& other);
  zvMachDef& operator=(const zvMachDef& other);

  void Scale(Units newUnits, double factor) override;

 private:
  struct Axes {
    Point x{1, 0, 0};
    Point y{0, 1, 0};
    Point z{0, 0, 1};
  };

  void CommitAxes(const Axes& axes);

  Point m_spindleDirection{0, 0, 1};
  NumbersOfAxes m_numbersOfAxes;
  Point m_minLimits{-100000, -100000, -100000};
  Point m_maxLimits{100000, 100000, 100000};
  Axes m_axes;
  misc::zvAutoPointer<const Matrix> m_inverseAxisMatrix;
  bool m_isIdentityTransform = true;
};

/// Three linear axes; the tool's orientation is fixed along the spindle.
class KANDREL_API zv3axMachDef : public zvMachDef {
 public:
  zv3axMachDef();
  /// Throws as zvMachDef says.
  zv3axMachDef(Units units, const Point& spindleDirection, const Point& minLimits,
               const Point& maxLimits, const Point& xAxisDirection, const Point& yAxisDirection,
               const Point& zAxisDirection);

  void AcceptVisitor(zvMachineVisitor& visitor) const override;
  misc::zvAutoPointer<zvMachDef> Clone() const override;
};

/// Three linear axes and a rotary one.
class KANDREL_API zv4axMachDef : public zvMachDef {
 public:
  /// The rotary axis lies in the head and points along (0, 0, -1): parallel to the spindle, so that
  /// only paths along the spindle can be posted until it is set.
  zv4axMachDef();
  /// `rotaryOnWorkpiece` is taken as it is. Also throws zvPostException 5025 for a rotation
  /// direction that is exactly zero.
  zv4axMachDef(const std::int32_t& rotaryOnWorkpiece, Units units, const Point& spindleDirection,
               const Point& rotationDirection, const Point& rotationPivot, double minAngle,
               double maxAngle, const Point& minLimits, const Point& maxLimits,
               const Point& xAxisDirection, const Point& yAxisDirection,
               const Point& zAxisDirection);

  void AcceptVisitor(zvMachineVisitor& visitor) const override;
  misc::zvAutoPointer<zvMachDef> Clone() const override;
  void Normalize() override;

  /// 0: the axis lies in the head and turns the tool; else on the table and turns the part.
  std::int32_t GetRotaryOnWorkpiece() const noexcept { return m_rotaryOnWorkpiece; }
  void SetRotaryOnWorkpiece(std::int32_t value) noexcept { m_rotaryOnWorkpiece = value; }
  /// The direction about which the axis turns, right-handed.
  const Point& GetRotationDirection() const noexcept { return m_rotationDirection; }
  void SetRotationDirection(const Point& direction) noexcept { m_rotationDirection = direction; }
  /// A point on the axis.
  const Point& GetRotationPivot() const noexcept { return m_rotationPivot; }
  void SetRotationPivot(const Point& pivot) noexcept { m_rotationPivot = pivot; }
  /// The range of the axis, degrees.
  double GetMinAngle() const noexcept { return m_minAngle; }
  double GetMaxAngle() const noexcept { return m_maxAngle; }
  void SetMinAngle(double deg) noexcept { m_minAngle = deg; }
  void SetMaxAngle(double deg) noexcept { m_maxAngle = deg; }

 protected:
  void Scale(Units newUnits, double factor) override;

 private:
  std::int32_t m_rotaryOnWorkpiece = 0;
  Point m_rotationDirection{0, 0, -1};
  Point m_rotationPivot;
  double m_minAngle = -100000;
  double m_maxAngle = 100000;
};

/// Three linear axes and two rotary ones.
class KANDREL_API zv5axMachDef : public zvMachDef {
 public:
  /// Where the rotary axes stand, as `fiveAxisKind`; files hold the number. Any other counts as
  /// kFirstOnTable.
  static constexpr std::int32_t kBothOnTableLengthLeftOut = 0;  ///< as 3, tool length not added
  static constexpr std::int32_t kBothInHead = 1;                ///< the first carries the second
  static constexpr std::int32_t kFirstOnTable = 2;              ///< and the second in the head
  static constexpr std::int32_t kBothOnTable = 3;               ///< the second carries the first

  zv5axMachDef();
  /// Also throws zvPostException 5026, 5027 for a first, second direction that is exactly zero,
  /// 5002 when both are equal as they stand, 5045 when the second is parallel to the spindle (their
  /// normalised dot product is exactly 1 or -1) and 5031 for a `fiveAxisKind` above 3. A negative
  /// kind passes, and counts as 2 as an unknown one does wherever kinds are told apart.
  zv5axMachDef(std::int32_t fiveAxisKind, Units units, const Point& spindleDirection,
               const Point& firstRotationDirection, const Point& secondRotationDirection,
               const Point& firstRotationPivot, const Point& secondRotationPivot,
               double minFirstAngle, double minSecondAngle, double maxFirstAngle,
               double maxSecondAngle, const Point& minLimits, const Point& maxLimits,
               const Point& xAxisDirection, const Point& yAxisDirection,
               const Point& zAxisDirection);

  void AcceptVisitor(zvMachineVisitor& visitor) const override;
  misc::zvAutoPointer<zvMachDef> Clone() const override;
  void Normalize() override;

  /// One of the four kinds, or a number that counts as the third.
  std::int32_t GetFiveAxisKind() const noexcept { return m_fiveAxisKind; }
  void SetFiveAxisKind(std::int32_t kind) noexcept { m_fiveAxisKind = kind; }
  /// The directions about which the axes turn, right-handed; a point on each axis; and their ranges
  /// in degrees.
  const Point& GetFirstRotationDirection() const noexcept { return m_firstRotationDirection; }
  const Point& GetSecondRotationDirection() const noexcept { return m_secondRotationDirection; }
  void SetFirstRotationDirection(const Point& p) noexcept { m_firstRotationDirection = p; }
  void SetSecondRotationDirection(const Point& p) noexcept { m_secondRotationDirection = p; }
  const Point& GetFirstRotationPivot() const noexcept { return m_firstRotationPivot; }
  const Point& GetSecondRotationPivot() const noexcept { return m_secondRotationPivot; }
  void SetFirstRotationPivot(const Point& p) noexcept { m_firstRotationPivot = p; }
  void SetSecondRotationPivot(const Point& p) noexcept { m_secondRotationPivot = p; }
  double GetMinFirstAngle() const noexcept { return m_minFirstAngle; }
  double GetMinSecondAngle() const noexcept { return m_minSecondAngle; }
  double GetMaxFirstAngle() const noexcept { return m_maxFirstAngle; }
  double GetMaxSecondAngle() const noexcept { return m_maxSecondAngle; }
  void SetMinFirstAngle(double deg) noexcept { m_minFirstAngle = deg; }
  void SetMinSecondAngle(double deg) noexcept { m_minSecondAngle = deg; }
  void SetMaxFirstAngle(double deg) noexcept { m_maxFirstAngle = deg; }
  void SetMaxSecondAngle(double deg) noexcept { m_maxSecondAngle = deg; }

 protected:
  void Scale(Units newUnits, double factor) override;

 private:
  std::int32_t m_fiveAxisKind = kFirstOnTable;
  Point m_firstRotationDirection{0, 0, -1};
  Point m_secondRotationDirection{0, -1, 0};
  Point m_firstRotationPivot;
  Point m_secondRotationPivot;
  double m_minFirstAngle = -100000;
  double m_minSecondAngle = -100000;
  double m_maxFirstAngle = 100000;
  double m_maxSecondAngle = 100000;
};

/// Three linear axes and three rotary ones, of which the third stands still at `thirdAngle`.
class KANDREL_API zv6axMachDef : public zvMachDef {
 public:
  /// The third direction is zero: Normalize throws 2189 until it is set.
  zv6axMachDef();
  /// Checks as zv5axMachDef does, but not 5045; 5028 for a third direction that is exactly zero
  /// comes after 5027.
  zv6axMachDef(std::int32_t fiveAxisKind, Units units, const Point& spindleDirection,
               const Point& firstRotationDirection, const Point& secondRotationDirection,
               const Point& thirdRotationDirection, const Point& firstRotationPivot,
               const Point& secondRotationPivot, const Point& thirdRotationPivot,
               double minFirstAngle, double minSecondAngle, double maxFirstAngle,
               double maxSecondAngle, double thirdAngle, const Point& minLimits,
               const Point& maxLimits, const Point& xAxisDirection, const Point& yAxisDirection,
               const Point& zAxisDirection);

  void AcceptVisitor(zvMachineVisitor& visitor) const override;
  misc::zvAutoPointer<zvMachDef> Clone() const override;
  void Normalize() override;

  /// Checked at construction and otherwise unused: the three flags decide.
  std::int32_t GetFiveAxisKind() const noexcept { return m_fiveAxisKind; }
  void SetFiveAxisKind(std::int32_t kind) noexcept { m_fiveAxisKind = kind; }
  /// The directions about which the axes turn, right-handed; a point on each axis; and their ranges
  /// in degrees.
  const Point& GetFirstRotationDirection() const noexcept { return m_firstRotationDirection; }
  const Point& GetSecondRotationDirection() const noexcept { return m_secondRotationDirection; }
  const Point& GetThirdRotationDirection() const noexcept { return m_thirdRotationDirection; }
  void SetFirstRotationDirection(const Point& p) noexcept { m_firstRotationDirection = p; }
  void SetSecondRotationDirection(const Point& p) noexcept { m_secondRotationDirection = p; }
  void SetThirdRotationDirection(const Point& p) noexcept { m_thirdRotationDirection = p; }
  const Point& GetFirstRotationPivot() const noexcept { return m_firstRotationPivot; }
  const Point& GetSecondRotationPivot() const noexcept { return m_secondRotationPivot; }
  const Point& GetThirdRotationPivot() const noexcept { return m_thirdRotationPivot; }
  void SetFirstRotationPivot(const Point& p) noexcept { m_firstRotationPivot = p; }
  void SetSecondRotationPivot(const Point& p) noexcept { m_secondRotationPivot = p; }
  void SetThirdRotationPivot(const Point& p) noexcept { m_thirdRotationPivot = p; }
  double GetMinFirstAngle() const noexcept { return m_minFirstAngle; }
  double GetMinSecondAngle() const noexcept { return m_minSecondAngle; }
  double GetMaxFirstAngle() const noexcept { return m_maxFirstAngle; }
  double GetMaxSecondAngle() const noexcept { return m_maxSecondAngle; }
  void SetMinFirstAngle(double deg) noexcept { m_minFirstAngle = deg; }
  void SetMinSecondAngle(double deg) noexcept { m_minSecondAngle = deg; }
  void SetMaxFirstAngle(double deg) noexcept { m_maxFirstAngle = deg; }
  void SetMaxSecondAngle(double deg) noexcept { m_maxSecondAngle = deg; }
  /// Fixed position of the third axis.
  double GetThirdAngle() const noexcept { return m_thirdAngle; }
  void SetThirdAngle(double deg) noexcept { m_thirdAngle = deg; }
  /// 1 when the axis lies on the workpiece side, 0 when it lies in the head.
  std::int32_t GetFirstOnWorkpiece() const noexcept { return m_firstOnWorkpiece; }
  std::int32_t GetSecondOnWorkpiece() const noexcept { return m_secondOnWorkpiece; }
  std::int32_t GetThirdOnWorkpiece() const noexcept { return m_thirdOnWorkpiece; }
  void SetFirstOnWorkpiece(std::int32_t value) noexcept { m_firstOnWorkpiece = value; }
  void SetSecondOnWorkpiece(std::int32_t value) noexcept { m_secondOnWorkpiece = value; }
  void SetThirdOnWorkpiece(std::int32_t value) noexcept { m_thirdOnWorkpiece = value; }

 protected:
  void Scale(Units newUnits, double factor) override;

 private:
  std::int32_t m_fiveAxisKind = 0;
  Point m_firstRotationDirection{0, 0, -1};
  Point m_secondRotationDirection{-1, 0, 0};
  Point m_thirdRotationDirection;
  Point m_firstRotationPivot;
  Point m_secondRotationPivot;
  Point m_thirdRotationPivot;
  double m_minFirstAngle = -100000;
  double m_minSecondAngle = -100000;
  double m_maxFirstAngle = 100000;
  double m_maxSecondAngle = 100000;
  double m_thirdAngle = 0;
  std::int32_t m_firstOnWorkpiece = 0;
  std::int32_t m_secondOnWorkpiece = 1;
  std::int32_t m_thirdOnWorkpiece = 1;
};

/// A copy whose directions have unit length. Throws as Normalize does.
template <class MachDef>
MachDef Normalised(MachDef machDef) {
  machDef.Normalize();
  return machDef;
}

}  // namespace post
