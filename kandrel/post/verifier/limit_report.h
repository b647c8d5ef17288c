// zvLimitReport: which limits the lines of a run leave, and what shift of the part would spare it.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/limit_type.h>
#include <kandrel/post/model/mach_def.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace post {

/// A value outside its range: a position of a linear axis in the machine's units, an angle of a
/// rotary one in degrees. The excess is the distance to the bound.
struct zvLimitBreach {
  zvLimitType limit;
  double value = 0;
  double bound = 0;
  double excess = 0;
};

/// Collects a posted list line by line: what of it leaves the limits of its machine, and the shift
/// of the part origin that would bring the linear axes back. It is for a run that was posted
/// without checks, where one with checks was refused.
///
/// 1. A linear axis leaves its limits as LinearOut says, a rotary one by more than the tolerance.
///    An angle that the control wraps stands for all of its whole turns, and leaves them where none
///    lies inside.
/// 2. Of a machine with a rotary table the lines are kept, 40 bytes each; of others only extents.
class KANDREL_API zvLimitReport {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  using Line = zvBlockLaw::Line;

  /// Nothing is referred to; `limitTolerance` is that of the rotary axes, degrees. Throws as
  /// zvMachDef::Normalize does.
  zvLimitReport(const zvMachDef& machDef, const zv5axControlDef& control, double limitTolerance);

  /// Takes the next line. What it leaves is returned, in the order of the axes, and stands until
  /// the next call.
  std::span<const zvLimitBreach> Add(const Line& line);
  /// The next line for what it leaves alone: no shift needs to keep it. Such is one that is lifted
  /// to the limits, wherever the part stands.
  std::span<const zvLimitBreach> AddUnbound(const Line& line);

  /// Whether a linear axis has left its range in any line so far.
  bool HasLinearBreach() const noexcept { return m_hasLinearBreach; }

  /// The shortest shift of the part origin, in the machine's units, after which the linear axes of
  /// all lines stand `margin` inside their limits, but for half of it and rounding, if their angles
  /// stay as they are. None where no shift does that.
  ///
  /// A shift d moves the linear axes of a line by M^-1 T d, where T turns as the table does and M
  /// holds the axis directions, so that each limit of each line is a half-space of d. The shortest
  /// d in all of them is found from few: a shift that serves those seen so far, at first none, is
  /// held against all lines, and what it breaks worst is added, until nothing is broken or those
  /// seen have nothing in common. Linear in the lines for each such step, of which there are some
  /// ten.
  std::optional<Point> SmallestShift(double margin) const;

 private:
  // The shifts d for which normal . d <= reach.
  struct HalfSpace {
    Point normal;
    double reach = 0;

    double Excess(const Point& shift) const { return Dot(normal, shift) - reach; }
  };
  class Search;

  static constexpr std::size_t kAxes = 5;

  void Put(std::int32_t axis, std::int32_t side, double value, double bound);
  void Keep(const Line& line);
  Point Moved(const Line& line, const Point& shift) const;
  HalfSpace Limit(const Line& line, int axis, bool isMaximum, double margin) const;
  std::optional<Point> SmallestShift(double margin, double slack) const;
  static bool FindNearest(std::vector<HalfSpace>& spaces, double slack, Point& nearest);

  Point m_min;
  Point m_max;
  std::array<zvRotaryRange, 2> m_ranges{};
  std::array<bool, 2> m_wrapped{};
  int m_rotaryCount = 0;
  double m_tolerance;
  std::array<Point, 2> m_tableAxes;  // in the order in which they turn the part
  int m_tableAxisCount = 0;
  bool m_isIdentity;
  zvMachDef::Matrix m_inverseAxes;
  std::array<zvLimitBreach, kAxes> m_breaches;
  std::size_t m_breachCount = 0;
  bool m_hasLinearBreach = false;
  // Without a table two lines that stand at the extents: all moves are moved alike.
  std::vector<Line> m_lines;
};

}  // namespace post
