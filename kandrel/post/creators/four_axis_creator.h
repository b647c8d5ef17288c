// zvPosted4axTPCreator: posts toolpaths for machines with one rotary axis.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/creators/creator_of.h>
#include <kandrel/post/geometry/four_axis_move_maker.h>
#include <kandrel/post/model/limit_type.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/posting_parameters.h>

#include <utility>

namespace post {
class zv4axPathKeeper;
}

/// Solves each orientation for the rotary axis, interpolates, keeps angles continuous, retracts
/// around large jumps, and keeps limits by shifting and rewinding.
///
/// 1. Orientations must lie on the cone that the spindle sweeps about the rotary axis, which may
///    have any opening; one less than 1e-6 rad off it is solved as the one on it of the same turn.
/// 2. Angles of the list run on past a turn; the control's wrapping is the last step of a posting.
/// 3. Limits are checked as limitsCheck asks before that. Linear limits are checked before a
///    rewinding: the lifts and turns of rewindings are not checked. Shifts and rewindings belong to
///    the check of all axes; with checkRotaryAxes what is out is reported as it is.
/// 4. alignToolpath turns the machine's axis onto the toolpath's and not the reverse: see
///    post::AlignToRotaryAxis. A toolpath that needs no alignment leaves the matrix of an earlier
///    run in force, so that one which the caller has set isn't lost.
/// 5. SetMachDef changes the machine of checks, alignment and rewindings; retractions around jumps
///    stay with the machine of the constructor, as they start from positions solved with it.
/// 6. With a path tolerance every feed block holds it: with all axes moving linearly from line to
///    line the tip stays within its tolerance of the line between the two part positions and of the
///    source segment, and the tool within its own of the shortest arc between the source
///    orientations. Between two moves the axis turns evenly, also between opposite orientations.
///    maxAngleStep and interpolationDistance stay upper bounds, the pole tolerance has no effect,
///    and what is put on the way of a rapid move is rapid. The one rotary axis has one way between
///    two orientations, along its cone: where that is no arc, and so off it by more than the
///    tolerance, no line can help, and the blocks concerned stand in GetToleranceReport. Lifts and
///    what comes down from them are off the path, and straight.
class KANDREL_API zvPosted4axTPCreator
    : public zvCreatorOf<zvPosted4axTPCreator, post::zv4axMachDef, post::zvPosted4axMove,
                         post::zvPosted4axMoveMaker> {
 public:
  using zvCreatorOf::zvCreatorOf;
  /// Starts with no posted list.
  zvPosted4axTPCreator(const zvPosted4axTPCreator& other) = default;
  ~zvPosted4axTPCreator() override;

  /// What the last Post did; there are no poles to blend.
  const post::zvPostingCounts& GetCounts() const noexcept { return m_counts; }

  /// Posts a toolpath into a new list; `smallMoves` leaves the extended blocks out. A toolpath
  /// without passes, or with an empty first one, gives an empty list whatever else it holds.
  ///
  /// Throws zvPostException 5032, 5033 for units that differ; 5044 for a toolpath that can't be
  /// aligned; 5030 for an orientation 1e-6 rad or more off the cone; 5010 to 5013 and 5015 to 5018
  /// for a limit that is broken (limitsCheck 1, 2) or can't be kept (3); 5046 for
  /// an unknown limitsCheck, after the posting; 5039 for what is infinite or NaN, and for counts of
  /// moves beyond 2^31 - 2; 5008 for a retraction to limits (retractToLimits) from outside them;
  /// 5051 for a rewinding whose first move isn't found; 2503 for a plain zvCNCMove;
  /// zvKandrelException 2637 for a link type above 5; zvcadcamException 2189 for a zero
  /// orientation, for an alignment that has no axis, and between orientations exactly opposite;
  /// "Accessing NULL pointer" for a null in the toolpath; misc::zvRangeException for a path
  /// tolerance too small for the machine's and the path's size, which names the smallest. Linear in
  /// the number of posted moves.
  ListPointer Post(const cadcam::zvToolPath& toolpath, bool smallMoves);

  /// A single move with an extended block, without limits and without a check that its orientation
  /// can be reached; aligned where a matrix is set. Throws zvPostException 5039 as Post does, 2503
  /// for a plain zvCNCMove, zvcadcamException 2189 for a zero orientation, "Accessing NULL pointer"
  /// for a null one.
  Move PostMove(const cadcam::zvMovePointer& move, post::zvPostedMove::Types type) const;
  /// The same with the angle brought into its range (limitsCheck 2, 3) and wrapped for the control.
  /// It keeps its limits as it is or as it is wrapped, with the slack of poleAngleTolerance: unlike
  /// in Post, where checks see angles unwrapped alone. Throws also 5010 to 5013, 5015 to 5018, and
  /// 5046 for an unknown limitsCheck. The second member is always null.
  std::pair<misc::zvAutoPointer<Move>, misc::zvAutoPointer<Move>> PostMoveWithinMachLimits(
      const cadcam::zvMovePointer& move, post::zvPostedMove::Types type) const;

 private:
  friend zvCreatorOf;
  static constexpr InstanceType kInstance = instance4ax;
  static const post::zv4axMachDef& AsOwnClass(const post::zvMachDef& machDef);
  static post::zvPosted4axMoveMaker MakeSolver(const post::zv4axMachDef& machDef,
                                               const post::zvKDRParam& par,
                                               const cadcam::zvTPoint3d<double>& partOrigin,
                                               double toolLengthCompensation);

  ListPointer PostAll(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void AlignToolpath(const cadcam::zvToolPath& toolpath);
  void BuildPostedMoves(const cadcam::zvToolPath& toolpath, bool smallMoves,
                        post::zv4axPathKeeper* keeper);
  void BuildPostedMovesWhole(const cadcam::zvToolPath& toolpath, bool smallMoves,
                             post::zv4axPathKeeper* keeper);
  void MakeJumps(double largestStep, bool smallMoves);
  post::zvLimitType KeepRotaryLimits(bool smallMoves, post::zv4axPathKeeper* keeper);
  void ReportTolerance(const post::zv4axPathKeeper& keeper, const cadcam::zvToolPath& toolpath);
  void Rewind(bool smallMoves);
  Move SolveMove(const cadcam::zvMovePointer& move, post::zvPostedMove::Types type) const;
};
