// zvBlockLaw: how far a machine leaves its way inside a block of linearly moving axes.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/lanes.h>
#include <kandrel/post/geometry/small_turn.h>
#include <kandrel/post/model/mach_def.h>

namespace post {

/// Upper bounds of what a block leaves its way by: the tip in the machine's units, the tool axis in
/// degrees.
struct zvBlockDeviation {
  double tip = 0;
  double axis = 0;
};

/// What a block leaves its way by at most, and what it reaches at least: in the first lane the tip
/// in the machine's units, in the second the sine of the tool axis' angle.
struct zvBlockEstimate {
  misc::Lanes most{};
  misc::Lanes least{};
};

/// A machine of 3 to 6 axes as rigid bodies, made of its definition alone, and the bounds of what
/// it does between two lines. Nothing here solves or shares anything with what does.
///
/// In the part's frame the tip stands at U + Ra (V + Rb W) and the tool points along Ra Rb s: Ra
/// and Rb turn about fixed directions by the first and the second rotary angle, s is the spindle,
/// and of U, V, W one is the nose of the machine plus a constant, two are constants. Which one says
/// where the rotary axes stand. The header of block_bounds.cpp has the bounds that follow from this
/// form.
///
/// 1. A third rotary axis stands and has no influence, an axis system within 1e-5 of the identity
///    counts as it, and kinds of machines mean what zv5axMachDef says.
/// 2. Bounds hold in doubles: 1e-13 of the size of the numbers, and 1e-11 degrees, are added for
///    rounding. "Size" is that of the machine position, the way and the machine's own lengths.
/// 3. A line that is infinite or NaN has infinite bounds, and holds nothing.
/// 4. A block that turns its axes by more than 5 turns in sum has bounds of what can be reached at
///    all: so the work for a block has an end, some 0.3 us for one of a few degrees and some 0.1 ms
///    for one of a turn.
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
  /// to axis, of unit vectors. Between opposite ones (within 1e-6) no arc is the shortest: the half
  /// circle through where the tool points halfway is taken, so that the machine has its choice.
  struct Way {
    Pose from;
    Pose to;
  };
  /// Two vectors, one in each lane.
  using Pair = cadcam::zvTPoint3d<misc::Lanes>;
  static Pair PairOf(const Point& first, const Point& second) noexcept {
    return {misc::Lanes{first.x, second.x}, misc::Lanes{first.y, second.y},
            misc::Lanes{first.z, second.z}};
  }
  /// A line with what is worked out of it once for the two blocks that it belongs to. What belongs
  /// to the tip stands in the first lane, what belongs to the tool axis in the second.
  struct Station {
    Line line;
    Pose pose;
    zvTurnPair turns;     ///< of the first and the second axis
    Pair reaches;         ///< Rb W and Rb s
    Pair arms;            ///< V + Rb W and Rb s: before the first axis turns them
    misc::Lanes lengths;  ///< of the reaches
    Point nose;           ///< in the directions of the part's axes
    int steps = 0;        ///< how many MoveOn have led here from a line that was worked out whole

    /// V + Rb W and Rb s.
    Point Arm() const noexcept { return {arms.x[0], arms.y[0], arms.z[0]}; }
    Point Dir() const noexcept { return {arms.x[1], arms.y[1], arms.z[1]}; }
  };

  /// The machine's directions need no unit length. Nothing is referred to. Throws as
  /// zvMachDef::Normalize and Get5axMachDef do, zvPostException 2503 for a definition of no class.
  zvBlockLaw(const zvMachDef& machDef, const Point& partOrigin, double toolLengthCompensation);

  /// The sum of the machine's own lengths and the part origin's.
  double GetSize() const noexcept { return m_size; }

  /// What the law needs of a line, worked out.
  Station StationAt(const Line& line) const noexcept;
  /// The same for a line after another one, in less time where both turn little: angles are added
  /// to those of the line before, for 32 lines at most, which adds 1e-14 of rounding. `station` is
  /// not `previous`.
  void MoveOn(const Station& previous, const Line& line, Station& station) const noexcept;
  /// Where a line puts the tool.
  Pose PoseAt(const Line& line) const noexcept { return StationAt(line).pose; }

  /// Bounds without an angle's sine, some 40 ns: never too small, often far too large. For lines
  /// whose poses are those of the way, but for rounding. What tips are off it by comes on top; what
  /// tool axes are, divided by the cosine of half the angle between the two.
  zvBlockDeviation Guess(const Station& from, const Station& to) const noexcept;
  zvBlockDeviation Guess(const Line& from, const Line& to) const noexcept {
    return Guess(StationAt(from), StationAt(to));
  }

  /// The same by lengths and turns alone, without a sine: some 5 ns, and larger still. Infinite for
  /// axes that are not plain.
  zvBlockDeviation Glance(const Line& from, const Line& to) const noexcept;

  /// Bounds by the middle of the block, some 15 ns: most of them within 1% of what is reached. For
  /// lines whose poses are those of the way, as Guess. Infinite where an axis turns by more than 11
  /// degrees. The header of block_estimate.cpp has the derivation.
  zvBlockEstimate Estimate(const Station& from, const Station& to) const noexcept;

  /// What bounds may be above what is reached: by a factor, or by a length and by degrees.
  static constexpr double kNear = 1.02;
  static constexpr double kNearLength = 1e-9;
  static constexpr double kNearDeg = 1e-6;

  /// Proven bounds for any way and any turns, as near as that above what is reached. Distances are
  /// to the segment and to the arc, ends included.
  zvBlockDeviation Bound(const Station& from, const Station& to, const Way& way) const noexcept {
    return BoundAbove(from, to, way, {0, 0});
  }
  zvBlockDeviation Bound(const Line& from, const Line& to, const Way& way) const noexcept {
    return Bound(StationAt(from), StationAt(to), way);
  }
  /// The same where a bound comes out above `known`; any smaller bound may be as large as that. For
  /// a maximum over many blocks, as it spares most of the work: all of it for an infinite one,
  /// which comes back.
  zvBlockDeviation BoundAbove(const Station& from, const Station& to, const Way& way,
                              const zvBlockDeviation& known) const noexcept;

  /// Whether the block is proved to stay within both: Guess where that is enough, else Bound, which
  /// stops as soon as the answer is known. False within 2% below where it would leave them.
  bool Holds(const Station& from, const Station& to, const Way& way,
             const zvBlockDeviation& allowed) const noexcept;
  bool Holds(const Line& from, const Line& to, const Way& way,
             const zvBlockDeviation& allowed) const noexcept {
    return Holds(StationAt(from), StationAt(to), way, allowed);
  }

 private:
  friend class zvBlockMotion;
  friend class zvPoseBound;
  /// Which of U, V and W moves with the nose.
  enum class Carrier { kOuter, kMiddle, kInner };

  static constexpr int kMostSteps = 32;
  /// What is added for rounding: of the size of the numbers, and of radians.
  static constexpr double kRounding = 1e-13;
  static constexpr double kAxisRounding = 2e-13;

  [[gnu::always_inline]] inline void Stand(Station& station) const noexcept;
  /// What either axis turns by from a line to another one, radians.
  misc::Lanes TurnsBetween(const Line& from, const Line& to) const noexcept {
    return (misc::Lanes{to.firstAngle, to.secondAngle} -
            misc::Lanes{from.firstAngle, from.secondAngle}) *
           m_radians;
  }
  void Take(const zv4axMachDef& machDef, double toolLength);
  void Take(const zv5axMachDef& machDef, double toolLength);
  /// That of the three which moves with the nose.
  template <class Vector>
  Vector& NoseOf(Vector& outer, Vector& middle, Vector& inner) const noexcept {
    return m_carrier == Carrier::kOuter ? outer : m_carrier == Carrier::kMiddle ? middle : inner;
  }

  Carrier m_carrier = Carrier::kOuter;
  bool m_hasFirst = false;
  bool m_hasSecond = false;
  bool m_isIdentity = true;
  Point m_spindle;
  Point m_first;  // the directions of Ra and Rb, with the sense in which their angles turn the tool
  Point m_second;  // as seen from the part; zero for an axis that the machine lacks
  Point m_outer;   // the constants of U, V and W
  Point m_middle;
  Point m_inner;
  Point m_x;  // the directions of the linear axes
  Point m_y;
  Point m_z;
  double m_size = 0;  // the sum of the constants' lengths
  // The same for both lanes; of the tool axis U and V are 0 and W is the spindle.
  Pair m_firsts;
  Pair m_seconds;
  Pair m_outers;
  Pair m_middles;
  Pair m_inners;
  misc::Lanes m_radians{};  // of a degree of either axis: 0 for one that the machine lacks
};

}  // namespace post
