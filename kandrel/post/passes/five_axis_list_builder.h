// zv5axListBuilder: the posted moves of a toolpath, each solved, chosen and interpolated to.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/geometry/move_grabber.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/five_axis_interpolation.h>
#include <kandrel/post/passes/path_keeper.h>
#include <kandrel/post/passes/path_reader.h>

#include <cstdint>

namespace post {

/// Which solution a first move takes: that of ChooseFirst. Throws zvPostException 5010 to 5012 and
/// 5015 to 5017 when both break a linear limit, or one that and the other the rotary ranges, unless
/// a pole leaves an angle free.
KANDREL_API bool TakesMirrorFirst(const zvRotarySolutions& solutions, const zvKDRParam& par,
                                  const zv5axMachDef& machDef);

/// Posts toolpath moves to the end of a list. Each is solved, put behind the others with the moves
/// that belong between them, and settled: its solution is the one that follows from the move which
/// stands just before it in the end. Nothing of it is open when the next one is read.
///
/// 1. The first move, and one that follows a move on a pole, is chosen as a first one, by the
///    machine and the parameters given; any other by those of the solver, which may be older.
/// 2. A move on a pole takes the free angle of the move before it. Those on a pole at the very
///    start have none to take, and stay undetermined.
/// 3. With a path keeper the feed moves get the lines between them from that, and what is on a pole
///    is decided by its cone. What is put before a rapid move is rapid then.
/// 4. All that is given is referred to.
class KANDREL_API zv5axListBuilder {
 public:
  using Move = zvPosted5axMove;
  using List = misc::zvMemoryPoolList<Move>;

  /// `list` is empty, `machDef` normalised.
  zv5axListBuilder(List& list, const zv5axMoveSolver& solver, const zv5axMachDef& machDef,
                   const zvKDRParam& par, bool smallMoves, zv5axPathKeeper* keeper = nullptr);

  /// Posts the moves that the reader has still to give. Throws as it, TakesMirrorFirst, the solver
  /// and the interpolator do; the list then ends with the move before the one that failed, or with
  /// the last put between against which that one was settled. Linear in the number of moves made.
  void AppendAll(zvPathReader& reader);

  /// False when no move can stand on a pole by `par`: all were solved, by the same tolerance, and
  /// none was found on one.
  bool MayHavePoles() const noexcept;

 private:
  using Iterator = List::iterator;

  zvRotarySolutions Solve(const zvMoveView& move, double lastFirstAngle) const {
    return m_solver.SolveAngles(move.GetPosition(), move.GetOrientation(), m_cone, lastFirstAngle);
  }
  void Append(const zvMoveView& move, zvPostedMove::Types type);
  bool TakesMirrorAfter(const Move& previous, const zvRotarySolutions& solutions) const;
  void StartLimitSearch(const zvMoveView& move);
  void Join(Iterator previous, Iterator current, const zvRotarySolutions& solutions,
            bool isFirstPick);
  void JoinWithin(Iterator previous, Iterator current, const zvRotarySolutions& solutions,
                  bool isFirstPick);
  void Settle(const Move& previous, Move& current, const zvRotarySolutions& solutions) const;

  List& m_list;
  const zv5axMoveSolver& m_solver;
  const zv5axMachDef& m_machDef;
  const zvKDRParam& m_par;
  bool m_smallMoves;
  zv5axMoveSolver::PoleCone m_cone;
  zv5axInterpolator m_interpolator;
  zv5axPathKeeper* m_keeper;
  std::uint64_t m_index = 0;
  double m_lastFirstAngle = 0;  // where the limit keeper starts its search: 0 after a pole
  bool m_isPreviousDetermined = false;
  bool m_hasMetPole = false;
};

}  // namespace post
