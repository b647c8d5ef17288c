#include <kandrel/post/geometry/four_axis_move_maker.h>

namespace post {

zvPosted4axMoveMaker::zvPosted4axMoveMaker(const zv4axMachDef& machDef, const zvKDRParam& par,
                                           const Point& partOrigin, double toolLengthCompensation)
    : m_par(&par), m_kinematics(Normalised(machDef), partOrigin, toolLengthCompensation) {}

zvPosted4axMoveMaker::PoleCone zvPosted4axMoveMaker::MakePoleCone(double deg) const {
  if (deg == misc::kNoValue) deg = m_par->GetPoleAngleTolerance();
  return zvPoleCone::OfDegrees(deg);
}

}  // namespace post
