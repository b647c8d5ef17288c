#include <kandrel/misc/measurable.h>
#include <kandrel/misc/units_factory.h>

namespace measures {

namespace {

constexpr misc::zvMessageRow kRows[] = {
    {zvmeasuresException::kUnknownUnits, L"Unknown Units"},
    {zvmeasuresException::kUndefinedScale, L"Undefined ScaleFactor"},
};
static_assert(misc::IsSortedById(kRows));

constexpr double kMillimetresPerInch = 25.4;
// The rounded inverse of 25.4; going there and back keeps a length within one rounding each.
constexpr double kInchesPerMillimetre = 0.03937007874015748;

}  // namespace

zvmeasuresException::zvmeasuresException(std::uint32_t id, const misc::zvException* previous)
    : zvExceptionOf(id, misc::FindMessage(kRows, id, misc::kUnknownError), previous) {}

misc::zvMessageTable zvmeasuresException::Table() noexcept {
  return kRows;
}

double zvUnitsFactory::GetScaleFactor(Units from, Units to) {
  if (from == to) return 1.0;
  if (from == inch && to == metric) return kMillimetresPerInch;
  if (from == metric && to == inch) return kInchesPerMillimetre;
  throw zvmeasuresException(zvmeasuresException::kUndefinedScale);
}

zvMeasurable::zvMeasurable(zvUnitsFactory::Units units) : m_units(units) {
  if (!zvUnitsFactory::IsKnown(units))
    throw zvmeasuresException(zvmeasuresException::kUnknownUnits);
}

zvMeasurable::~zvMeasurable() = default;

void zvMeasurable::SetUnitsOfParts(zvUnitsFactory::Units, bool) {}

void zvMeasurable::SetUnits(zvUnitsFactory::Units units, bool keepNumbers) {
  if (!zvUnitsFactory::IsKnown(units))
    throw zvmeasuresException(zvmeasuresException::kUnknownUnits);
  if (!keepNumbers) {
    if (units == m_units) return;
    Scale(units, zvUnitsFactory::GetScaleFactor(m_units, units));
  }
  SetUnitsOfParts(units, keepNumbers);
  m_units = units;
}

}  // namespace measures
