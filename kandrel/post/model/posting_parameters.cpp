#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posting_parameters.h>

namespace post {

zvKDRParam::zvKDRParam(Units units)
    : m_paramUnits(units),
      m_retractDistance(units == measures::zvUnitsFactory::metric ? 100 : 4),
      m_interpolationDistance(units == measures::zvUnitsFactory::metric ? 1 : 0.05) {
  SetPoleAngleTolerance(0.01);
}

void zvKDRParam::SetPoleAngleTolerance(double deg) {
  // Written so that a value that is not a number is refused too.
  if (!(deg >= 0.001 && deg <= 10)) throw zvPostException(zvPostException::kPoleTolerance);
  m_poleAngleTolerance = deg;
}

}  // namespace post
