#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/detail/wrap_failures.h>
#include <kandrel/cadcam/tools/profile_validation.h>
#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/misc/tolerances.h>

#include <utility>

namespace cadcam {

namespace {

using misc::kToolParameterEqual;

template <class Validator>
void ValidatePart(const zvToolPartDefinition<double>& part) {
  if (!part.GetSolidDefinition()) return;
  Validator validator;
  const zvSolidDefinition<double>& solid = *part.GetSolidDefinition();
  solid.AcceptVisitor(validator);
}

void ValidatePoint(const zvTPoint3d<double>& point, const zvProfileValidation& validation) {
  validation.ValidateNumbers(point.x, point.z);
  validation.ValidateNumbers(point.y, point.z);
}

void ValidateNumbers(const zvMeshSolidDefinition<double>& solid,
                     const zvProfileValidation& validation) {
  for (const auto& vertex : solid.GetMesh().GetVertices()) ValidatePoint(vertex, validation);
}

void ValidateNumbers(const zvExtrudedSolidDefinition<double>& solid,
                     const zvProfileValidation& validation) {
  for (const auto& line : solid.GetPolyLines())
    for (const auto& p : line.points) ValidatePoint({p.x, p.y, 0}, validation);
  validation.ValidateNumbers(0, solid.GetHeight());
  ValidatePoint(solid.GetPoint(), validation);
}

}  // namespace

double zvTool::GetTotalLength() const {
  return GetArbor().GetHeight() + GetShoulderLength();
}

void zvTool::ValidateHolder(const Holder& holder) const {
  ValidatePart<zvRevolvedTool::HolderValidator>(holder);
}
void zvTool::ValidateArbor(const Arbor& arbor) const {
  ValidatePart<zvRevolvedTool::ArborValidator>(arbor);
}

void zvTool::ValidateDiameter(double diameter) const {
  if (!(diameter > 0)) throw zvcadcamException(zvcadcamException::kDiameter);
}
void zvTool::ValidateFluteLength(double fluteLength) const {
  if (!(fluteLength > 0 && fluteLength <= GetShoulderLength() + kToolParameterEqual))
    throw zvcadcamException(zvcadcamException::kFluteLength);
}
void zvTool::ValidateShoulderLength(double shoulderLength) const {
  if (!(shoulderLength >= GetFluteLength() - kToolParameterEqual))
    throw zvcadcamException(zvcadcamException::kShoulderLength);
}

void zvRevolvedTool::HolderValidator::Visit(const zvMeshSolidDefinition<double>& solid) {
  ValidateNumbers(solid, zvHolderValidation());
}
void zvRevolvedTool::HolderValidator::Visit(const zvExtrudedSolidDefinition<double>& solid) {
  ValidateNumbers(solid, zvHolderValidation());
}
void zvRevolvedTool::HolderValidator::Visit(const zvRevolvedSolidDefinition<double>& solid) {
  zvHolderValidation().Validate(solid.GetProfile());
}
void zvRevolvedTool::ArborValidator::Visit(const zvMeshSolidDefinition<double>& solid) {
  ValidateNumbers(solid, zvArborValidation());
}
void zvRevolvedTool::ArborValidator::Visit(const zvExtrudedSolidDefinition<double>& solid) {
  ValidateNumbers(solid, zvArborValidation());
}
void zvRevolvedTool::ArborValidator::Visit(const zvRevolvedSolidDefinition<double>& solid) {
  zvArborValidation().Validate(solid.GetProfile());
}

zvRevolvedTool::zvRevolvedTool(Holder holder, Arbor arbor, Units units, Checks checks)
    : zvTool(units), m_checks(checks), m_holder(std::move(holder)), m_arbor(std::move(arbor)) {
  m_holder.SetUnits(units);
  m_arbor.SetUnits(units);
  if (checks == Checks::none) return;
  detail::WrapFailures(zvcadcamException::kNoRevolvedTool, [this] {
    ValidateHolder(m_holder);
    ValidateArbor(m_arbor);
  });
}

void zvRevolvedTool::SetUnitsOfParts(Units units, bool keepNumbers) {
  m_holder.SetUnits(units, keepNumbers);
  m_arbor.SetUnits(units, keepNumbers);
}

}  // namespace cadcam
