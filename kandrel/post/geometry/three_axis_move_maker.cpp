#include <kandrel/post/geometry/three_axis_move_maker.h>

namespace post {

zvPosted3axMoveMaker::zvPosted3axMoveMaker(const zv3axMachDef& machDef, const Point& partOrigin,
                                           double toolLengthCompensation)
    : m_machDef(machDef), m_partOrigin(&partOrigin) {
  m_machDef.Normalize();
  m_toolVector = toolLengthCompensation * m_machDef.GetSpindleDirection();
}

}  // namespace post
