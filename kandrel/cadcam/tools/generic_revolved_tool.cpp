#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/detail/wrap_failures.h>
#include <kandrel/cadcam/tools/generic_revolved_tool.h>
#include <kandrel/cadcam/tools/profile_validation.h>
#include <kandrel/cadcam/tools/solid_users.h>

namespace cadcam {

namespace {

constexpr auto kMetric = measures::zvUnitsFactory::metric;

const zvRevolvedSolidDefinition<double>& RevolvedOf(const zvToolPartDefinition<double>& part) {
  return zvRevolvedSolidExtractor<double>::Extract(*part.GetSolidDefinition());
}

}  // namespace

zvGenericRevolvedTool::zvGenericRevolvedTool()
    : zvRevolvedTool(Holder({{8, 0}, {23, 0}, {25, 2}, {25, 30}}, kMetric),
                     Arbor({{5, 0}, {5, 35}, {8, 45}}, kMetric), kMetric, Checks::none),
      m_cuttingPart({{0, 0}, {5, 0}, {5, 20}}, kMetric),
      m_nonCuttingPart({{5, 0}, {5, 20}}, kMetric) {}

zvGenericRevolvedTool::zvGenericRevolvedTool(const Part& cuttingPart, const Part& nonCuttingPart,
                                             const Arbor& arbor, const Holder& holder, Units units)
    : zvRevolvedTool(holder, arbor, units, Checks::all),
      m_cuttingPart(cuttingPart),
      m_nonCuttingPart(nonCuttingPart) {
  m_cuttingPart.SetUnits(units);
  m_nonCuttingPart.SetUnits(units);
  detail::WrapFailures(zvcadcamException::kNoGenericTool, [this] {
    ValidateCuttingPart(m_cuttingPart);
    ValidateNonCuttingPart(m_nonCuttingPart);
  });
}

double zvGenericRevolvedTool::GetDiameter() const {
  return 2 * RevolvedOf(m_cuttingPart).GetRadius();
}

double zvGenericRevolvedTool::GetShoulderLength() const {
  return m_cuttingPart.GetHeight() + m_nonCuttingPart.GetHeight();
}

void zvGenericRevolvedTool::ValidateCuttingPart(const Part& part) const {
  zvCuttingPartValidation().Validate(RevolvedOf(part).GetProfile());
  if (!(part.GetHeight() > 0)) throw zvcadcamException(zvcadcamException::kNoCuttingHeight);
}

void zvGenericRevolvedTool::ValidateNonCuttingPart(const Part& part) const {
  zvNonCuttingPartValidation().Validate(RevolvedOf(part).GetProfile());
}

misc::zvAutoPointer<zvTool> zvGenericRevolvedTool::Clone() const {
  return misc::MakeAutoPointer<zvGenericRevolvedTool>(*this);
}

void zvGenericRevolvedTool::Validate() const {
  zvGenericRevolvedTool(m_cuttingPart, m_nonCuttingPart, GetArbor(), GetHolder(), GetUnits());
}

void zvGenericRevolvedTool::SetUnitsOfParts(Units units, bool keepNumbers) {
  zvRevolvedTool::SetUnitsOfParts(units, keepNumbers);
  m_cuttingPart.SetUnits(units, keepNumbers);
  m_nonCuttingPart.SetUnits(units, keepNumbers);
}

}  // namespace cadcam
