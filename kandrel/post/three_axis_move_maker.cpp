#include <kandrel/post/move_grabber.h>
#include <kandrel/post/three_axis_move_maker.h>

namespace post {

zvPosted3axMoveMaker::zvPosted3axMoveMaker(const zv3axMachDef& machDef, const Point& partOrigin,
                                           double toolLengthCompensation)
    : m_machDef(machDef), m_partOrigin(&partOrigin) {
  m_machDef.Normalize();
  m_toolVector = toolLengthCompensation * m_machDef.GetSpindleDirection();
}

zvPosted3axMoveMaker::Point zvPosted3axMoveMaker::MachinePosition(const Point& partPosition) const {
  if (m_transformation) return *m_transformation * partPosition;
  const Point p_mach = partPosition + *m_partOrigin + m_toolVector;
  return m_machDef.IsIdentityTransform() ? p_mach : *m_machDef.GetInverseAxisMatrix() * p_mach;
}

zvPosted3axMove zvPosted3axMoveMaker::Make(const zvMoveView& move, zvPostedMove::Types type,
                                           std::int32_t sourceIndex, bool inserted,
                                           bool smallMoves) const {
  const Point& p_part = move.GetPosition();
  if (smallMoves)
    return zvPosted3axMove(MachinePosition(p_part), p_part, move.GetOrientation(), move.GetFeed(),
                           move.IsRapid(), type);
  return zvPosted3axMove(MachinePosition(p_part), p_part, move.GetOrientation(), move.GetFeed(),
                         move.IsRapid(), type, move.GetExtendedPoint(), move.GetExtendedVector(),
                         move.GetExtendedId(), move.HasExtendedData(), sourceIndex, inserted);
}

}  // namespace post
