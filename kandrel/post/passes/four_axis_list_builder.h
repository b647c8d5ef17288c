// zv4axListBuilder: the posted moves of a toolpath, each solved and interpolated to.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/geometry/four_axis_move_maker.h>
#include <kandrel/post/geometry/four_axis_pair_solver.h>
#include <kandrel/post/geometry/move_grabber.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/four_axis_interpolation.h>
#include <kandrel/post/passes/four_axis_path_keeper.h>
#include <kandrel/post/passes/path_reader.h>

#include <cstdint>

namespace post {

/// Posts toolpath moves to the end of a list, with the moves that belong between them: one after
/// the other, or at half the cost some at a time. Both give the same list; only what is in it when
/// a move fails differs. With a path keeper the feed moves get the lines between them from that,
/// and what is on a pole is decided by its cone. All that is given is referred to.
class KANDREL_API zv4axListBuilder {
 public:
  using Move = zvPosted4axMove;
  using List = misc::zvMemoryPoolList<Move>;

  /// `list` is empty. Orientations are checked against the cone of `machDef`, which is normalised;
  /// they are solved on that of `maker`, which may be of another machine.
  zv4axListBuilder(List& list, const zvPosted4axMoveMaker& maker, const zv4axMachDef& machDef,
                   const zvKDRParam& par, bool smallMoves, zv4axPathKeeper* keeper = nullptr);

  /// Throws zvPostException 5030 for a unit vector 1e-6 rad or more off the cone.
  void RequireOnCone(const cadcam::zvTPoint3d<double>& dir_tool) const;

  /// Posts one move, unchecked. Throws zvcadcamException 2189 for a zero orientation, and as the
  /// interpolator and the keeper do; the list then ends with the move before it.
  void Append(const zvMoveView& move, zvPostedMove::Types type);

  /// Posts the next moves of the reader and checks each; false when the reader has come to the end.
  /// Throws as the reader, RequireOnCone, the interpolator and the keeper do, zvPostException 5039
  /// for what is infinite or NaN, zvcadcamException 2189 for a zero orientation; the list is of no
  /// use then: not all of its moves are solved.
  bool AppendSome(zvPathReader& reader);

 private:
  using Iterator = List::iterator;

  bool Read(zvPathReader& reader);
  void Solve(Iterator move);
  void SolveAlone(Move& move);
  void Join(Iterator previous, Iterator move);
  void JoinWithin(Iterator last, Iterator first);

  List& m_list;
  const zvPosted4axMoveMaker& m_maker;
  zvOrientationCone m_orientationCone;
  zvPosted4axMoveMaker::PoleCone m_poleCone;
  zv4axPairSolver m_pairs;
  zv4axInterpolator m_interpolator;
  bool m_smallMoves;
  zv4axPathKeeper* m_keeper;
  std::uint64_t m_index = 0;
};

}  // namespace post
