// zvPosted3axMoveMaker: one posted move of a 3-axis machine from one toolpath move.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/geometry/move_grabber.h>
#include <kandrel/post/geometry/posted_from.h>
#include <kandrel/post/geometry/transformation3d.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>

#include <cstdint>

namespace post {

/// Keeps a normalised copy of the machine and a reference to the part origin, which must outlive
/// it. Lengths in the machine's units.
class KANDREL_API zvPosted3axMoveMaker {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// Throws as zvMachDef::Normalize does.
  zvPosted3axMoveMaker(const zv3axMachDef& machDef, const Point& partOrigin,
                       double toolLengthCompensation);
  zvPosted3axMoveMaker(const zv3axMachDef&, const Point&&, double) = delete;

  /// Machine position of a part position: p + part origin + L s, then through the inverse of the
  /// machine's axis matrix unless it counts as the identity. With a transformation set it is that
  /// of p and nothing else.
  Point MachinePosition(const Point& partPosition) const {
    if (m_transformation) return *m_transformation * partPosition;
    const Point p_nose = partPosition + *m_partOrigin + m_toolVector;  // in part directions
    return m_machDef.IsIdentityTransform() ? p_nose : *m_machDef.GetInverseAxisMatrix() * p_nose;
  }

  /// The posted move; `sourceIndex` and `inserted` go into the extended block, which a small move
  /// doesn't have. Nothing is checked.
  zvPosted3axMove Make(const zvMoveView& move, zvPostedMove::Types type, std::int32_t sourceIndex,
                       bool inserted, bool smallMoves) const {
    return PostedFrom<zvPosted3axMove>(move, MachinePosition(move.GetPosition()),
                                       {type, sourceIndex, inserted, smallMoves});
  }

  /// A transformation that stands in place of everything else; null for none. It is shared.
  const misc::zvAutoPointer<zvTransformation3d>& GetTransformation() const noexcept {
    return m_transformation;
  }
  void SetTransformation(const misc::zvAutoPointer<zvTransformation3d>& transformation) {
    m_transformation = transformation;
  }

 private:
  zv3axMachDef m_machDef;
  const Point* m_partOrigin;
  Point m_toolVector;  // L s
  misc::zvAutoPointer<zvTransformation3d> m_transformation;
};

}  // namespace post
