// zvBlockLaw: how far a machine leaves its way inside a block of linearly moving axes.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/model/mach_def.h>

namespace post {

/// Upper bounds of what a block leaves its way by: the tip in the machine's units, the tool axis in
/// degrees.
struct zvBlockDeviation {
  double tip = 0;
  double axis = 0;
};

/// A machine of 3 to 6 axes as rigid bodies, made of its definition alone, and the bounds of what
/// it does between two lines. Nothing here solves or shares anything with what does.
class KANDREL_API zvBlockLaw {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// A line as the machine runs it: positions of the linear axes, rotary angles in degrees (0 for
  /// an axis that the machine lacks).
  struct Line {
    Point p_mach;
    double firstAngle = 0;
    double secondAngle = 0;
  };
  /// Where a line puts the tool in the part's frame: the tip, and the unit vector from the tip
  /// towards the spindle.
  struct Pose {
    Point tip;
    Point axis;
  };
  /// What a block ought to follow: the straight line from tip to tip and the shortest arc from axis
  /// to axis, of unit vectors.
  struct Way {
    Pose from;
    Pose to;
  };

  /// The machine's directions need no unit length. Nothing is referred to. Throws as
  /// zvMachDef::Normalize does.
  zvBlockLaw(const zvMachDef& machDef, const Point& partOrigin, double toolLengthCompensation);

  Pose PoseAt(const Line& line) const noexcept;

  /// Bounds without an angle's sine, some 20 ns: never too small, often far too large. For lines
  /// whose poses are those of the way, but for rounding.
  zvBlockDeviation Guess(const Line& from, const Line& to) const noexcept;

  /// Proven bounds for any way and any turns, within 2% (or 1e-9 in length, 1e-6 degrees) above
  /// what is reached: how, and why they hold, stands in block_law.cpp. Distances are to the segment
  /// and to the arc, ends included.
  zvBlockDeviation Bound(const Line& from, const Line& to, const Way& way) const noexcept;

  /// Whether the block stays within both bounds: Guess where that is enough, else Bound, which
  /// stops as soon as the answer is known.
  bool Holds(const Line& from, const Line& to, const Way& way,
             const zvBlockDeviation& allowed) const noexcept;
};

}  // namespace post
