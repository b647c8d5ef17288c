// zv5axPathKeeper: lines that keep a 5-axis posting within a tolerance of its path.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/geometry/pose_bound.h>
#include <kandrel/post/model/path_tolerance.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/tolerance_report.h>
#include <kandrel/post/passes/block_rules.h>

#include <functional>
#include <optional>

namespace post {

/// Places lines by the deviation that the blocks between them leave: each as far from the one
/// before as path tolerance, maxAngleStep and interpolationDistance allow together, by zvBlockLaw.
/// Between two moves the tip goes straight and the tool on the shortest arc, evenly. Steps, pole
/// tolerance and choices are those of the solver's parameters. interpolationMode is not looked at:
/// lines are solved whatever it says, as it is the tolerance that decides.
///
/// 1. On a pole the free axis stands still. An arc that comes within the cone of one is taken to
///    its nearest place there, with the tool along the axis: that leaves the path by at most half
///    of the axis tolerance.
/// 2. Where the free axis must turn there, because the path leaves in another direction or limits
///    forbid the solution that goes on, a line of the new angle is put where the tip stands. The
///    turn between the two is left whole, for what spreads it or takes it off the part; Keep then
///    divides it.
/// 3. Between opposite orientations no arc is the shortest. There the machine goes its own way from
///    one to the other, both axes evenly, and the tip keeps to its line.
///
/// Refers to solver and origin. Throws what the solver throws for an orientation on the way, and
/// zvPostException 5039 for a step that the rules of steps divide into more than 2^31 - 2 blocks.
class KANDREL_API zv5axPathKeeper {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  using Move = zvPosted5axMove;
  using List = misc::zvMemoryPoolList<Move>;
  using Iterator = List::iterator;

  /// `tolerance` is on. `reach` gives the largest coordinate of the path; it is asked only where
  /// the parameters have a pole tolerance. Throws misc::zvRangeException, which names the smallest,
  /// for a tolerance below what numbers hold at the size of the machine.
  zv5axPathKeeper(const zv5axMoveSolver& solver, const zvPathTolerance& tolerance,
                  const Point& partOrigin, double toolLengthCompensation, bool smallMoves,
                  const std::function<double()>& reach);
  zv5axPathKeeper(const zv5axPathKeeper&) = delete;
  zv5axPathKeeper& operator=(const zv5axPathKeeper&) = delete;

  /// The cone in which a move counts as on a pole: that of the parameters, but at most half of the
  /// axis tolerance, and so narrow that the tip may tilt over it at once; at least as wide as where
  /// angles can't be solved.
  const zv5axMoveSolver::PoleCone& GetPoleCone() const noexcept { return m_cone; }

  /// Throws misc::zvRangeException for a part position so far off that numbers don't hold the
  /// tolerance there.
  void RequireHeldAt(const Point& p_part) const { m_rules.RequireHeldAt(p_part); }

  /// Whether a block clearly needs no line, of two moves as they were solved; false where one of
  /// the two is determined and the other isn't.
  bool IsPlain(const Move& from, const Move& to);

  /// Puts the lines between `to`, a feed move with these solutions, and the move before it, and
  /// gives `to` the solution that goes on from the last of them. What fails leaves `to` as it is,
  /// behind lines that are settled. Angles are not wound.
  void Join(List& list, Iterator to, const zvRotarySolutions& solutions);

  /// Divides each feed block of a wound list that breaks the tolerance or the steps, its ends
  /// staying as they are, and turns on a pole with the free axis turning evenly. A leap that no
  /// division mends is divided by maxAngleStep alone, with the tip on its line; not at all where it
  /// turns by more than `maxAngleJump`. Lines of a block that breaks steps alone take the tool's
  /// orientation there. Returns the number of blocks divided. Linear in the number
  /// of lines, those put in included.
  std::uint32_t Keep(List& list, double maxAngleJump);

  /// Whether Join has left what Keep is for.
  bool HasLeftTurns() const noexcept { return m_hasLeftTurns; }

  /// What breaks the tolerance in a wound list, each block by the way between its own two lines.
  /// Lines stand on the path's segments and arcs by construction, but for those between opposite
  /// orientations, which have no arc, and those that divide a block which holds the tolerance
  /// whole.
  zvToleranceReport Report(const List& list);

 private:
  class Walk;
  struct Place;

  static Place PlaceOf(const Move& move);
  bool KeepsSteps(const Move& from, const Move& to) const;
  bool StandsPlainly(const Move& from, const Move& to);
  double AxisOff(const Move& move, const Point& axis) const;
  double Use(const Place& from, const Place& to) const;
  bool IsOnPole(const Point& orientation) const;
  void Thin(List& list, Iterator from, Iterator to) const;
  bool Divide(List& list, Iterator from, Iterator to, double maxAngleJump);
  void DivideLeap(List& list, Iterator from, Iterator to, double maxAngleJump);

  const zv5axMoveSolver& m_solver;
  zvBlockRules m_rules;
  zvBlockLaw m_law;
  zvPoseBound m_poseBound;
  bool m_smallMoves;
  double m_coneDeg;
  zv5axMoveSolver::PoleCone m_cone;
  zvBlockDeviation m_allowed;
  zvBlockDeviation m_plain;                     // what a guess may be
  double m_plainTurn;                           // of which the square has a tool axis that is
  std::optional<zvBlockLaw::Station> m_behind;  // of the line asked about last
  bool m_hasPole = false;                       // of the first axis, within reach
  bool m_hasLeftTurns = false;
  bool m_hasLeaps = false;  // lines off the way that they belong to
};

}  // namespace post
