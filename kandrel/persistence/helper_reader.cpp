#include <kandrel/persistence/helper_reader.h>

namespace cadcam {

void zvBIHelper::ReadUnits(Units& value) {
  std::int32_t number = 0;
  m_basic.ReadInt(number);
  const auto units = static_cast<Units>(number);
  if (!measures::zvUnitsFactory::IsKnown(units))
    throw measures::zvmeasuresException(measures::zvmeasuresException::kUnknownUnits);
  value = units;
}

}  // namespace cadcam
