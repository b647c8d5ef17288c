#include <kandrel/kintree/kinematic_axis.h>
#include <kandrel/kintree/kinematic_visitor.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/misc/range_exception.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

#include <cmath>
#include <limits>
#include <utility>

namespace kintree {

namespace {

constexpr std::uint8_t kTranslationTags[] = {3};
constexpr std::uint8_t kRotationTags[] = {4};

bool IsFloat(double number) {
  return std::fabs(number) <= double{std::numeric_limits<float>::max()};
}

}  // namespace

void zvValue::Set(double value) {
  requested = value;
  if (!(value >= minimum && value <= maximum))
    throw misc::zvRangeException<double>(minimum, maximum, value);
  lastInRange = value;
  if (validator && !validator->IsValid(value)) throw misc::zvDiscreteValueException<double>(value);
  current = value;
}

mkdAxis::mkdAxis(std::wstring name, const Vector& direction, std::span<const std::uint8_t> kindTags,
                 Units units)
    : mkdCoordinateTransform(std::move(name), kindTags, units),
      m_currentDirection(UnitVector(direction)),
      m_initialDirection(m_currentDirection) {}

void mkdAxis::CheckFinite(const Vector& v) const {
  if (!(std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z)))
    throw zvMachineSimulatorException(zvMachineSimulatorException::kInvalidAxis, GetName());
}

float mkdAxis::ToFloat(double number) const {
  if (!IsFloat(number))
    throw zvMachineSimulatorException(zvMachineSimulatorException::kInvalidAxis, GetName());
  return static_cast<float>(number);
}

mkdAxis::Vector mkdAxis::UnitVector(const Vector& direction) const {
  CheckFinite(direction);
  // Along a base vector the length is known: who asks for exactly this direction finds it.
  if ((direction.x != 0) + (direction.y != 0) + (direction.z != 0) == 1) {
    Vector unit = direction;
    for (int i = 0; i < 3; ++i)
      if (unit[i] != 0) unit[i] = std::copysign(1.0f, unit[i]);
    return unit;
  }
  const float squared = direction.SquaredLength();
  // Another division would only stir the last digits, and a file that is read and written would
  // never come to rest.
  if (std::fabs(squared - 1) <= misc::kUnitSquaredFloat) return direction;
  // The square of a very long or a very short direction has no place among the floats.
  if (!(squared >= std::numeric_limits<float>::min() && std::isfinite(squared))) {
    const auto unit =
        cadcam::zvTPoint3d<double>(direction.x, direction.y, direction.z).Normalized();
    return {static_cast<float>(unit.x), static_cast<float>(unit.y), static_cast<float>(unit.z)};
  }
  return direction / std::sqrt(squared);
}

void mkdAxis::SetInitialDirection(const Vector& direction) {
  m_initialDirection = UnitVector(direction);
}

void mkdAxis::SetCurrentDirection(const Vector& direction) {
  m_currentDirection = UnitVector(direction);
}

void mkdAxis::SetValue(double value) {
  const double lastInRange = m_value.lastInRange;
  const double current = m_value.current;
  m_value.Set(value);
  try {
    SetLocalMatrix(GetLocalTransform());
  } catch (...) {
    m_value.lastInRange = lastInRange;
    m_value.current = current;
    throw;
  }
  MoveChildren(GetCompositeMatrix());
}

void mkdAxis::SetWorldTransform(const mkdMatrix& world) {
  const Taken taken = TakeWorldTransform(world);
  if (!taken.isNewest) return;
  const mkdMatrix& m = GetWorldTransform();
  const Vector& d = m_initialDirection;
  m_currentDirection = {m(0, 0) * d.x + m(0, 1) * d.y + m(0, 2) * d.z,
                        m(1, 0) * d.x + m(1, 1) * d.y + m(1, 2) * d.z,
                        m(2, 0) * d.x + m(2, 1) * d.y + m(2, 2) * d.z};
  SetValue(m_value.requested);
}

mkdTranslationalAxis::mkdTranslationalAxis(std::wstring name, const Vector& direction, Units units)
    : mkdAxis(std::move(name), direction, kTranslationTags, units) {}

mkdMatrix mkdTranslationalAxis::GetLocalTransform() const {
  mkdMatrix local = mkdMatrix::Identity();
  for (int i = 0; i < 3; ++i)
    local(static_cast<std::size_t>(i), 3) = ToFloat(double{GetInitialDirection()[i]} * GetValue());
  return local;
}

void mkdTranslationalAxis::Scale(Units, double factor) {
  AccessValue().minimum *= factor;
  AccessValue().maximum *= factor;
}

void mkdTranslationalAxis::AcceptVisitor(mkdKOConstVisitor& visitor) const {
  visitor.Visit(*this);
}
void mkdTranslationalAxis::AcceptVisitor(mkdKOVisitor& visitor) {
  visitor.Visit(*this);
}

mkdRotationalAxis::mkdRotationalAxis(std::wstring name, const Vector& direction,
                                     const Vector& pivot, Units units)
    : mkdAxis(std::move(name), direction, kRotationTags, units) {
  SetPivot(pivot);
}

void mkdRotationalAxis::SetPivot(const Vector& pivot) {
  CheckFinite(pivot);
  m_pivot = pivot;
}

// The rotation by an angle about an axis, Rodrigues' formula, in double: its elements are rounded
// to float once. Whole right angles are exact.
mkdMatrix mkdRotationalAxis::GetLocalTransform() const {
  const auto [s, c] = misc::SineAndCosineOfDegrees(GetValue());
  const double t = 1 - c;
  const double x = GetInitialDirection().x;
  const double y = GetInitialDirection().y;
  const double z = GetInitialDirection().z;
  const double r[3][3] = {
      {x * x + (1 - x * x) * c, x * y * t - z * s, x * z * t + y * s},
      {x * y * t + z * s, y * y + (1 - y * y) * c, y * z * t - x * s},
      {x * z * t - y * s, y * z * t + x * s, z * z + (1 - z * z) * c},
  };
  const double p[3] = {m_pivot.x, m_pivot.y, m_pivot.z};
  mkdMatrix local = mkdMatrix::Identity();
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) local(i, j) = ToFloat(r[i][j]);
    // What keeps the pivot in its place: p - R p.
    local(i, 3) = ToFloat(p[i] - (r[i][0] * p[0] + r[i][1] * p[1] + r[i][2] * p[2]));
  }
  return local;
}

void mkdRotationalAxis::Scale(Units, double factor) {
  const Vector pivot = m_pivot;
  m_pivot = {ToFloat(pivot.x * factor), ToFloat(pivot.y * factor), ToFloat(pivot.z * factor)};
}

void mkdRotationalAxis::AcceptVisitor(mkdKOConstVisitor& visitor) const {
  visitor.Visit(*this);
}
void mkdRotationalAxis::AcceptVisitor(mkdKOVisitor& visitor) {
  visitor.Visit(*this);
}

}  // namespace kintree
