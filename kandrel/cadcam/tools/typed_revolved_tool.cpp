#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/detail/wrap_failures.h>
#include <kandrel/cadcam/tools/typed_revolved_tool.h>
#include <kandrel/misc/tolerances.h>

#include <cmath>
#include <vector>

namespace cadcam {

namespace {

using Points = std::vector<geoDef::zv2dPoint<double>>;
using Extender = zvTypedRevolvedTool::zvShoulderDefinitionExtender;
using misc::kEqual;

constexpr auto kMetric = measures::zvUnitsFactory::metric;

// The numbers that the type has, without others that the caller may have set.
zvToolNumbers NumbersOf(const zvToolType& type, const zvToolNumbers& all) {
  zvToolNumbers numbers{.diameter = all.diameter,
                        .fluteLength = all.fluteLength,
                        .shoulderLength = type.hasOneLength ? all.fluteLength : all.shoulderLength};
  for (const zvToolParameter parameter : type.parameters)
    SetParameter(numbers, parameter, GetParameter(all, parameter));
  return numbers;
}

template <class Part>
Part PartThrough(zvToolType::Points points) {
  return Part(Points(points.begin(), points.end()), kMetric);
}

}  // namespace

Extender::zvShoulderDefinitionExtender(double shoulderDiameter, double shoulderBaseLength,
                                       Units units)
    : zvMeasurable(units), m_diameter(0), m_baseLength(0) {
  SetShoulderDiameter(shoulderDiameter);
  SetShoulderBaseLength(shoulderBaseLength);
}

Extender::zvShoulderDefinitionExtender(const zvToolShoulder& unchecked, Units units)
    : zvMeasurable(units), m_diameter(unchecked.diameter), m_baseLength(unchecked.baseLength) {}

void Extender::SetShoulderDiameter(double shoulderDiameter) {
  if (!(shoulderDiameter > kEqual)) throw zvcadcamException(zvcadcamException::kShoulderDiameter);
  m_diameter = shoulderDiameter;
}

void Extender::SetShoulderBaseLength(double shoulderBaseLength) {
  if (!(shoulderBaseLength > kEqual))
    throw zvcadcamException(zvcadcamException::kShoulderBaseLength);
  m_baseLength = shoulderBaseLength;
}

void Extender::Scale(Units, double factor) {
  m_diameter *= factor;
  m_baseLength *= factor;
}

zvTypedRevolvedTool::zvTypedRevolvedTool(const zvToolType& type)
    : zvRevolvedTool(PartThrough<Holder>(type.holder), PartThrough<Arbor>(type.arbor), kMetric,
                     Checks::none),
      m_type(&type),
      m_numbers(type.defaults),
      m_shoulder(TypesShoulder(), kMetric) {}

zvTypedRevolvedTool::zvTypedRevolvedTool(const zvToolType& type, const zvToolValues& values)
    : zvRevolvedTool(values.holder, values.arbor, values.units, Checks::all),
      m_type(&type),
      m_numbers(NumbersOf(type, values.numbers)),
      m_shoulder({m_numbers.diameter, m_numbers.fluteLength}, values.units) {
  if (values.shoulder) {
    m_shoulder = *values.shoulder;
    m_shoulder.SetUnits(values.units);
  }
  detail::WrapFailures(zvcadcamException::kNoTypedTool, [this] {
    ValidateDiameter(m_numbers.diameter);
    ValidateFluteLength(m_numbers.fluteLength);
    ValidateShoulderLength(m_numbers.shoulderLength);
    ValidateShoulder();
  });
  detail::WrapFailures(type.failure, [&] {
    RunOwnChecks();
    if (values.shoulder || type.shoulder == nullptr) return;
    m_shoulder = Extender(TypesShoulder(), values.units);
    ValidateShoulder();
  });
}

void zvTypedRevolvedTool::RunOwnChecks() {
  if (m_type->check != nullptr) m_type->check(m_numbers, GetArbor());
  // Not all types compare all of their numbers; what is no number is refused all the same.
  for (const zvToolParameter parameter : m_type->parameters)
    if (std::isnan(GetParameter(m_numbers, parameter)))
      throw zvcadcamException(RowOf(parameter).id);
}

void zvTypedRevolvedTool::ValidateShoulder() const {
  const Extender checked(m_shoulder.m_diameter, m_shoulder.m_baseLength, m_shoulder.GetUnits());
  const double base = checked.GetShoulderBaseLength();
  if (!(base >= m_numbers.fluteLength - kEqual && base <= m_numbers.shoulderLength + kEqual))
    throw zvcadcamException(zvcadcamException::kShoulderBase);
}

zvToolShoulder zvTypedRevolvedTool::TypesShoulder() const {
  if (m_type->shoulder == nullptr) return {m_numbers.diameter, m_numbers.fluteLength};
  return m_type->shoulder(m_numbers);
}

bool zvTypedRevolvedTool::HasShoulderDefinition() const {
  const zvToolShoulder own = TypesShoulder();
  return std::fabs(m_shoulder.m_diameter - own.diameter) > kEqual ||
         std::fabs(m_shoulder.m_baseLength - own.baseLength) > kEqual;
}

zvToolValues zvTypedRevolvedTool::GetValues() const {
  zvToolValues values{
      .numbers = m_numbers, .holder = GetHolder(), .arbor = GetArbor(), .units = GetUnits()};
  if (HasShoulderDefinition()) values.shoulder = m_shoulder;
  return values;
}

void zvTypedRevolvedTool::Validate() const {
  m_type->make(GetValues());
}

void zvTypedRevolvedTool::Scale(Units newUnits, double factor) {
  const bool hasShoulder = HasShoulderDefinition();
  ScaleLengths(m_numbers, factor);
  // A shoulder of the type stays just that: rounding must not make it one of the tool's own.
  if (!hasShoulder) m_shoulder = Extender(TypesShoulder(), newUnits);
}

void zvTypedRevolvedTool::SetUnitsOfParts(Units units, bool keepNumbers) {
  zvRevolvedTool::SetUnitsOfParts(units, keepNumbers);
  m_shoulder.SetUnits(units, keepNumbers);
}

}  // namespace cadcam
