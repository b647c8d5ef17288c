// zv4axPathKeeper: lines that keep a 4-axis posting within a tolerance of its path.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/geometry/four_axis_move_maker.h>
#include <kandrel/post/geometry/pose_bound.h>
#include <kandrel/post/model/path_tolerance.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/model/tolerance_report.h>
#include <kandrel/post/passes/block_rules.h>
#include <kandrel/post/passes/path_reader.h>

#include <algorithm>
#include <cmath>

namespace post {

/// Places lines by the deviation that the blocks between them leave: each as far from the one
/// before as path tolerance, maxAngleStep and interpolationDistance allow together, by zvBlockLaw.
/// Between two moves the tip goes straight and the rotary axis turns evenly, the short way round.
///
/// 1. Between two orientations one axis has one way, along its cone, wherever lines stand on it. A
///    flat cone is the arc between them. From a narrower one the arc departs: no line brings the
///    tool nearer. What leaves the axis tolerance by that goes into the report, and the lines stay
///    as dense as tip and steps ask.
/// 2. There is no leap: what points alike stands alike. A move counts as on a pole, at exactly 0 or
///    180 degrees, only where angles can't be solved.
/// 3. Between opposite orientations the axis turns half round, on either side. A flat cone holds
///    the tolerance there too.
///
/// Refers to the maker.
class KANDREL_API zv4axPathKeeper {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  using Move = zvPosted4axMove;
  using List = misc::zvMemoryPoolList<Move>;
  using Iterator = List::iterator;

  /// `tolerance` is on. Throws misc::zvRangeException, which names the smallest, for a tolerance
  /// below what numbers hold at the size of the machine.
  zv4axPathKeeper(const zvPosted4axMoveMaker& maker, const zvPathTolerance& tolerance,
                  const zvKDRParam& par, const Point& partOrigin, double toolLengthCompensation,
                  bool smallMoves);
  zv4axPathKeeper(const zv4axPathKeeper&) = delete;
  zv4axPathKeeper& operator=(const zv4axPathKeeper&) = delete;

  /// The cone in which a move counts as on a pole, whatever the parameters say.
  const zvPosted4axMoveMaker::PoleCone& GetPoleCone() const noexcept { return m_cone; }

  /// Throws misc::zvRangeException for a part position so far off that numbers don't hold the
  /// tolerance there.
  void RequireHeldAt(const Point& p_part) const { m_rules.RequireHeldAt(p_part); }

  /// Whether a block clearly needs no line. Of two moves as they were solved, wound or not.
  ///
  /// By zvPoseBound for the tip; the tool leaves its arc by what a piece of the cone does, m_bend
  /// times the square of the turn.
  bool IsPlain(const Move& from, const Move& to) const noexcept {
    const double deg = to.GetRotaryAngle() - from.GetRotaryAngle();
    if (!(std::fabs(deg) <= m_plainTurn)) return false;
    const double rad = deg * misc::kRadiansPerDegree;
    if (!(rad * rad * m_bend <= m_plainAxis)) return false;
    if (m_rules.GetDistance() > 0 && !(PartDistance(from, to) <= m_rules.GetDistance()))
      return false;
    const Point& start = from.GetPartPosition();
    const Point& end = to.GetPartPosition();
    if (m_poseBound.Roughly(start, end, std::fabs(rad)) <= m_plainTip) return true;
    // Of one axis the tool's is not asked for.
    return m_poseBound.TipOff({start, {}}, {end, {}}, rad, 0, 0, m_plainTip).most <= m_plainTip;
  }

  /// Puts the lines between `to`, a feed move, and the move before it. Angles are not wound. Throws
  /// zvPostException 5039 for more than 2^31 - 2 of them by a rule of steps.
  void Join(List& list, Iterator to);

  /// Divides each feed block of a wound list that breaks the tip's tolerance or the steps, its ends
  /// staying as they are; not those whose ends another machine has made. Linear in the number of
  /// lines, those put in included.
  void Keep(List& list);

  /// Whether Join has left what is to be reported.
  bool HasBroken() const noexcept { return m_hasBroken; }

  /// What breaks the tolerance in a wound list of the moves that `reader` has still to give.
  zvToleranceReport Report(const List& list, zvPathReader& reader) const;

 private:
  class Walk;
  struct Place;

  Place PlaceOf(const Move& move) const;
  Place EndOf(const Move& from, const Move& to) const;
  double Use(const Place& from, const Place& to) const;
  bool LeavesArc(const Move& from, const Move& to) const;
  void Divide(List& list, Iterator to);

  const zvPosted4axMoveMaker& m_maker;
  zvBlockRules m_rules;
  zvBlockLaw m_law;
  zvPoseBound m_poseBound;
  bool m_smallMoves;
  double m_plainTurn = 0;
  double m_plainTip = 0;
  double m_plainAxis = 0;  // radians
  double m_bend = 0;       // of the cone: what a piece of it leaves its arc by, over its square
  zvPosted4axMoveMaker::PoleCone m_cone;
  bool m_hasBroken = false;
};

}  // namespace post
