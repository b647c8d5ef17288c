#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/detail/wrap_failures.h>
#include <kandrel/cadcam/tools/lathe_tool.h>

namespace cadcam {

namespace {

constexpr auto kMetric = measures::zvUnitsFactory::metric;

}  // namespace

zvLatheTool::zvLatheTool()
    : zvTool(kMetric), m_holder(0, 0, kMetric), m_arbor(0, 0, kMetric), m_solid({}, kMetric) {}

zvLatheTool::zvLatheTool(const Holder& holder, const Arbor& arbor, const Part& solid, Units units)
    : zvTool(units), m_holder(holder), m_arbor(arbor), m_solid(solid) {
  m_holder.SetUnits(units);
  m_arbor.SetUnits(units);
  m_solid.SetUnits(units);
  detail::WrapFailures(zvcadcamException::kNoLatheTool, [this] {
    ValidateHolder(m_holder);
    ValidateArbor(m_arbor);
  });
}

misc::zvAutoPointer<zvTool> zvLatheTool::Clone() const {
  return misc::MakeAutoPointer<zvLatheTool>(*this);
}

void zvLatheTool::Validate() const {
  zvLatheTool(m_holder, m_arbor, m_solid, GetUnits());
}

void zvLatheTool::SetUnitsOfParts(Units units, bool keepNumbers) {
  m_holder.SetUnits(units, keepNumbers);
  m_arbor.SetUnits(units, keepNumbers);
  m_solid.SetUnits(units, keepNumbers);
}

}  // namespace cadcam
