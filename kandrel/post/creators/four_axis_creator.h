// zvPosted4axTPCreator: posts toolpaths for machines with one rotary axis.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/creators/posted_tp_creator.h>
#include <kandrel/post/geometry/four_axis_move_maker.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_list.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/passes/limit_checker.h>

#include <utility>

/// Solves each orientation for the rotary axis, interpolates, keeps angles continuous, retracts
/// around large jumps, and keeps limits by shifting and rewinding.
///
/// 1. Orientations must lie on the cone that the spindle sweeps about the rotary axis, which may
///    have any opening; one less than 1e-6 rad off it is solved as the one on it of the same turn.
/// 2. Angles of the list run on past a turn; the control's wrapping is the last step of a posting.
/// 3. Limits are checked as told by limitsCheck before that. Linear limits are checked before a
///    rewinding: the lifts and turns of rewindings are not checked.
/// 4. alignToolpath turns the machine's axis onto the toolpath's and not the reverse, deliberately:
///    see post::AlignToRotaryAxis.
class KANDREL_API zvPosted4axTPCreator : public zvPostedTPCreator {
 public:
  using Move = post::zvPosted4axMove;
  using List = post::zvPostedList<Move>::List;
  using ListPointer = misc::zvAutoPointer<List>;

  /// Throws zvcadcamException 2189 for a direction that is exactly zero, zvPostException 5039 for
  /// directions and pivots that are infinite or NaN; the second form also 5043 for a machine of
  /// another class and "Accessing NULL pointer" for a null pointer.
  zvPosted4axTPCreator(const post::zv4axMachDef& machDef, const post::zv5axControlDef& control,
                       const post::zvKDRParam& par, const cadcam::zvTPoint3d<double>& partOrigin,
                       double toolLengthCompensation);
  zvPosted4axTPCreator(const misc::zvAutoPointer<post::zvMachDef>& machDef,
                       const post::zv5axControlDef& control, const post::zvKDRParam& par,
                       const cadcam::zvTPoint3d<double>& partOrigin, double toolLengthCompensation);
  /// No temporaries: control, parameters and part origin are referred to.
  template <class MachDef>
  zvPosted4axTPCreator(const MachDef&, const post::zv5axControlDef&&, const post::zvKDRParam&,
                       const cadcam::zvTPoint3d<double>&, double) = delete;
  template <class MachDef>
  zvPosted4axTPCreator(const MachDef&, const post::zv5axControlDef&, const post::zvKDRParam&&,
                       const cadcam::zvTPoint3d<double>&, double) = delete;
  template <class MachDef>
  zvPosted4axTPCreator(const MachDef&, const post::zv5axControlDef&, const post::zvKDRParam&,
                       const cadcam::zvTPoint3d<double>&&, double) = delete;
  /// Starts with no posted list.
  zvPosted4axTPCreator(const zvPosted4axTPCreator& other);
  /// Empties the posted list, also for whoever shares it.
  ~zvPosted4axTPCreator() override;

  /// Changes the machine of checks, alignment and rewindings; solutions and the retractions around
  /// jumps stay with the machine of the constructor, deliberately. Throws as the constructors do.
  void SetMachDef(const post::zv4axMachDef& machDef);
  void SetMachDef(const misc::zvAutoPointer<post::zvMachDef>& machDef);
  const post::zv4axMachDef& GetMachDef() const noexcept { return m_machDef; }
  misc::zvAutoPointer<post::zvMachDef> GetMachDefPtr() const override;

  /// The result of the last Post; null before the first.
  const ListPointer& GetPostedList() const noexcept { return m_posted.Get(); }
  ListPointer& GetPostedList() noexcept { return m_posted.Get(); }
  /// Empties the present list and starts a new one with copies of the moves of `list`.
  void SetPostedList(const ListPointer& list) { m_posted.Set(list); }
  void ClearPostedList() override { m_posted.Clear(); }
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
  /// "Accessing NULL pointer" for a null in the toolpath. Linear in the number of posted moves.
  ListPointer Post(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void PostRun(const cadcam::zvToolPath& toolpath, bool smallMoves) override;

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
  void PostMain(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void AlignToolpath(const cadcam::zvToolPath& toolpath);
  void CheckToolPath(const cadcam::zvToolPath& toolpath) const;
  void BuildPostedMoves(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void BuildPostedMovesInOneWalk(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void BuildPostedMovesWhole(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void FixAnglesIfIsPossible();
  void RepairAngles(bool smallMoves);
  void CheckLimits(bool smallMoves);
  using Limits = post::zvListLimits<Move>;
  void KeepRotaryLimits(Limits& limits, bool smallMoves);
  Move SolveMove(const cadcam::zvMovePointer& move, post::zvPostedMove::Types type) const;

  post::zv4axMachDef m_machDef;
  post::zvPosted4axMoveMaker m_maker;
  post::zvPostedList<Move> m_posted;
  post::zvPostingCounts m_counts;
};
