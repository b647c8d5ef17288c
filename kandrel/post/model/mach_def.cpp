#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/post_exception.h>

#include <cmath>
#include <cstddef>
#include <initializer_list>

namespace post {

namespace {

using Point = zvMachDef::Point;
using Matrix = zvMachDef::Matrix;

void RequireNotZero(const Point& direction, std::uint32_t id) {
  if (direction.IsZero()) throw zvPostException(id);
}

// What a creator can't compute with is refused when it takes its copy.
void RequireFinite(std::initializer_list<const Point*> vectors) {
  for (const Point* vector : vectors)
    if (!IsFinite(*vector)) throw zvPostException(zvPostException::kInvalidVector);
}

// What the definitions with two moving rotary axes check of them.
void RequireRotaryPair(const Point& first, const Point& second) {
  // Equal as they stand: (0, 0, 1) and (0, 0, 2) pass here.
  if (first == second) throw zvPostException(zvPostException::kEqualRotaryAxes);
}

void RequireFiveAxisKind(std::int32_t kind) {
  if (kind > zv5axMachDef::kBothOnTable) throw zvPostException(zvPostException::kUnknownMachine);
}

bool IsNearIdentity(const Matrix& matrix) {
  const Matrix identity = Matrix::Identity();
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j)
      if (!(std::fabs(matrix(i, j) - identity(i, j)) <= misc::kAxisIdentity)) return false;
  return true;
}

// The axis directions are its columns: it takes machine coordinates to the part's directions.
Matrix AxisMatrix(const Point& x, const Point& y, const Point& z) {
  Matrix matrix = Matrix::Identity();
  std::size_t column = 0;
  for (const Point* axis : {&x, &y, &z}) {
    matrix(0, column) = axis->x;
    matrix(1, column) = axis->y;
    matrix(2, column) = axis->z;
    ++column;
  }
  return matrix;
}

}  // namespace

zvMachDef::zvMachDef(NumbersOfAxes numbersOfAxes)
    : zvMeasurable(measures::zvUnitsFactory::metric), m_numbersOfAxes(numbersOfAxes) {
  CommitAxes(m_axes);
}

zvMachDef::zvMachDef(NumbersOfAxes numbersOfAxes, Units units, const Point& spindleDirection,
                     const Point& minLimits, const Point& maxLimits, const Point& xAxisDirection,
                     const Point& yAxisDirection, const Point& zAxisDirection)
    : zvMeasurable(units),
      m_spindleDirection(spindleDirection),
      m_numbersOfAxes(numbersOfAxes),
      m_minLimits(minLimits),
      m_maxLimits(maxLimits) {
  RequireNotZero(spindleDirection, zvPostException::kNullSpindle);
  CommitAxes({xAxisDirection, yAxisDirection, zAxisDirection});
}

zvMachDef::zvMachDef(const zvMachDef& other)
    : zvMeasurable(other),
      m_spindleDirection(other.m_spindleDirection),
      m_numbersOfAxes(other.m_numbersOfAxes),
      m_minLimits(other.m_minLimits),
      m_maxLimits(other.m_maxLimits) {
  CommitAxes(other.m_axes);
}

zvMachDef& zvMachDef::operator=(const zvMachDef& other) {
  // First what may fail, for want of memory.
  CommitAxes(Axes(other.m_axes));
  zvMeasurable::operator=(other);
  m_spindleDirection = other.m_spindleDirection;
  m_numbersOfAxes = other.m_numbersOfAxes;
  m_minLimits = other.m_minLimits;
  m_maxLimits = other.m_maxLimits;
  return *this;
}

zvMachDef::~zvMachDef() = default;

void zvMachDef::AcceptVisitor(zvMachineVisitor& visitor) const {
  visitor.Visit(*this);
}

void zvMachDef::Normalize() {
  RequireFinite({&m_spindleDirection, &m_axes.x, &m_axes.y, &m_axes.z});
  m_spindleDirection.Normalize();
}

void zvMachDef::SetAxisDirections(const Point& x, const Point& y, const Point& z) {
  CommitAxes({x, y, z});
}

Matrix zvMachDef::GetAxisMatrix() const {
  return AxisMatrix(m_axes.x, m_axes.y, m_axes.z);
}

// Works everything out before it changes anything.
void zvMachDef::CommitAxes(const Axes& axes) {
  const Matrix matrix = AxisMatrix(axes.x, axes.y, axes.z);
  m_inverseAxisMatrix = misc::MakeAutoPointer<const Matrix>(Inverse(matrix));
  m_isIdentityTransform = IsNearIdentity(matrix);
  m_axes = axes;
}

void zvMachDef::Scale(Units, double factor) {
  m_minLimits *= factor;
  m_maxLimits *= factor;
}

zv3axMachDef::zv3axMachDef() : zvMachDef(threeAxes) {}

zv3axMachDef::zv3axMachDef(Units units, const Point& spindleDirection, const Point& minLimits,
                           const Point& maxLimits, const Point& xAxisDirection,
                           const Point& yAxisDirection, const Point& zAxisDirection)
    : zvMachDef(threeAxes, units, spindleDirection, minLimits, maxLimits, xAxisDirection,
                yAxisDirection, zAxisDirection) {}

void zv3axMachDef::AcceptVisitor(zvMachineVisitor& visitor) const {
  visitor.Visit(*this);
}

misc::zvAutoPointer<zvMachDef> zv3axMachDef::Clone() const {
  return misc::MakeAutoPointer<zv3axMachDef>(*this);
}

zv4axMachDef::zv4axMachDef() : zvMachDef(fourAxes) {}

zv4axMachDef::zv4axMachDef(const std::int32_t& rotaryOnWorkpiece, Units units,
                           const Point& spindleDirection, const Point& rotationDirection,
                           const Point& rotationPivot, double minAngle, double maxAngle,
                           const Point& minLimits, const Point& maxLimits,
                           const Point& xAxisDirection, const Point& yAxisDirection,
                           const Point& zAxisDirection)
    : zvMachDef(fourAxes, units, spindleDirection, minLimits, maxLimits, xAxisDirection,
                yAxisDirection, zAxisDirection),
      m_rotaryOnWorkpiece(rotaryOnWorkpiece),
      m_rotationDirection(rotationDirection),
      m_rotationPivot(rotationPivot),
      m_minAngle(minAngle),
      m_maxAngle(maxAngle) {
  RequireNotZero(rotationDirection, zvPostException::kNullRotaryAxis);
}

void zv4axMachDef::AcceptVisitor(zvMachineVisitor& visitor) const {
  visitor.Visit(*this);
}

misc::zvAutoPointer<zvMachDef> zv4axMachDef::Clone() const {
  return misc::MakeAutoPointer<zv4axMachDef>(*this);
}

void zv4axMachDef::Normalize() {
  zvMachDef::Normalize();
  RequireFinite({&m_rotationDirection, &m_rotationPivot});
  m_rotationDirection.Normalize();
}

void zv4axMachDef::Scale(Units newUnits, double factor) {
  zvMachDef::Scale(newUnits, factor);
  m_rotationPivot *= factor;
}

zv5axMachDef::zv5axMachDef() : zvMachDef(fiveAxes) {}

zv5axMachDef::zv5axMachDef(std::int32_t fiveAxisKind, Units units, const Point& spindleDirection,
                           const Point& firstRotationDirection,
                           const Point& secondRotationDirection, const Point& firstRotationPivot,
                           const Point& secondRotationPivot, double minFirstAngle,
                           double minSecondAngle, double maxFirstAngle, double maxSecondAngle,
                           const Point& minLimits, const Point& maxLimits,
                           const Point& xAxisDirection, const Point& yAxisDirection,
                           const Point& zAxisDirection)
    : zvMachDef(fiveAxes, units, spindleDirection, minLimits, maxLimits, xAxisDirection,
                yAxisDirection, zAxisDirection),
      m_fiveAxisKind(fiveAxisKind),
      m_firstRotationDirection(firstRotationDirection),
      m_secondRotationDirection(secondRotationDirection),
      m_firstRotationPivot(firstRotationPivot),
      m_secondRotationPivot(secondRotationPivot),
      m_minFirstAngle(minFirstAngle),
      m_minSecondAngle(minSecondAngle),
      m_maxFirstAngle(maxFirstAngle),
      m_maxSecondAngle(maxSecondAngle) {
  RequireNotZero(firstRotationDirection, zvPostException::kNullFirstRotaryAxis);
  RequireNotZero(secondRotationDirection, zvPostException::kNullSecondRotaryAxis);
  RequireRotaryPair(firstRotationDirection, secondRotationDirection);
  // Exactly 1: rounding lets some parallel pairs pass, which then lie on the pole throughout.
  if (std::fabs(Dot(spindleDirection.Normalized(), secondRotationDirection.Normalized())) == 1.0)
    throw zvPostException(zvPostException::kSpindleAxisNotFirst);
  RequireFiveAxisKind(fiveAxisKind);
}

void zv5axMachDef::AcceptVisitor(zvMachineVisitor& visitor) const {
  visitor.Visit(*this);
}

misc::zvAutoPointer<zvMachDef> zv5axMachDef::Clone() const {
  return misc::MakeAutoPointer<zv5axMachDef>(*this);
}

void zv5axMachDef::Normalize() {
  zvMachDef::Normalize();
  RequireFinite({&m_firstRotationDirection, &m_secondRotationDirection, &m_firstRotationPivot,
                 &m_secondRotationPivot});
  m_firstRotationDirection.Normalize();
  m_secondRotationDirection.Normalize();
}

void zv5axMachDef::Scale(Units newUnits, double factor) {
  zvMachDef::Scale(newUnits, factor);
  m_firstRotationPivot *= factor;
  m_secondRotationPivot *= factor;
}

zv6axMachDef::zv6axMachDef() : zvMachDef(sixAxes) {}

zv6axMachDef::zv6axMachDef(std::int32_t fiveAxisKind, Units units, const Point& spindleDirection,
                           const Point& firstRotationDirection,
                           const Point& secondRotationDirection,
                           const Point& thirdRotationDirection, const Point& firstRotationPivot,
                           const Point& secondRotationPivot, const Point& thirdRotationPivot,
                           double minFirstAngle, double minSecondAngle, double maxFirstAngle,
                           double maxSecondAngle, double thirdAngle, const Point& minLimits,
                           const Point& maxLimits, const Point& xAxisDirection,
                           const Point& yAxisDirection, const Point& zAxisDirection)
    : zvMachDef(sixAxes, units, spindleDirection, minLimits, maxLimits, xAxisDirection,
                yAxisDirection, zAxisDirection),
      m_fiveAxisKind(fiveAxisKind),
      m_firstRotationDirection(firstRotationDirection),
      m_secondRotationDirection(secondRotationDirection),
      m_thirdRotationDirection(thirdRotationDirection),
      m_firstRotationPivot(firstRotationPivot),
      m_secondRotationPivot(secondRotationPivot),
      m_thirdRotationPivot(thirdRotationPivot),
      m_minFirstAngle(minFirstAngle),
      m_minSecondAngle(minSecondAngle),
      m_maxFirstAngle(maxFirstAngle),
      m_maxSecondAngle(maxSecondAngle),
      m_thirdAngle(thirdAngle) {
  RequireNotZero(firstRotationDirection, zvPostException::kNullFirstRotaryAxis);
  RequireNotZero(secondRotationDirection, zvPostException::kNullSecondRotaryAxis);
  RequireNotZero(thirdRotationDirection, zvPostException::kNullThirdRotaryAxis);
  RequireRotaryPair(firstRotationDirection, secondRotationDirection);
  RequireFiveAxisKind(fiveAxisKind);
}

void zv6axMachDef::AcceptVisitor(zvMachineVisitor& visitor) const {
  visitor.Visit(*this);
}

misc::zvAutoPointer<zvMachDef> zv6axMachDef::Clone() const {
  return misc::MakeAutoPointer<zv6axMachDef>(*this);
}

void zv6axMachDef::Normalize() {
  zvMachDef::Normalize();
  RequireFinite({&m_firstRotationDirection, &m_secondRotationDirection, &m_firstRotationPivot,
                 &m_secondRotationPivot});
  m_firstRotationDirection.Normalize();
  m_secondRotationDirection.Normalize();
  // Of the third axis, which stands, only the angle is read.
  if (IsFinite(m_thirdRotationDirection)) m_thirdRotationDirection.Normalize();
}

void zv6axMachDef::Scale(Units newUnits, double factor) {
  zvMachDef::Scale(newUnits, factor);
  m_firstRotationPivot *= factor;
  m_secondRotationPivot *= factor;
  m_thirdRotationPivot *= factor;
}

}  // namespace post
