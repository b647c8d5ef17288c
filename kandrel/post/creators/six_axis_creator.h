// zvPosted6axTPCreator: posts toolpaths for machines whose third rotary axis stands still.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/posted_tp_creator.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/mirror_angle.h>
#include <kandrel/post/model/posted_list.h>
#include <kandrel/post/model/posting_counts.h>

#include <utility>

/// Posts as zvPosted5axTPCreator does for the machine without its third axis, and adds the third
/// angle to each line.
///
/// 1. The sides of the first two axes follow from the flags firstOnWorkpiece and secondOnWorkpiece,
///    not from fiveAxisKind: (0, 0) both in the head, (1, 1) both on the table, anything else the
///    first on the table and the second in the head. (0, 1), the default of zv6axMachDef, thus
///    swaps the sides that it names, deliberately: give the axis on the table first, as (1, 0).
/// 2. Direction, pivot and side of the third axis have no influence; its angle is on every line,
///    inserted ones included, and is tested against nothing but that it is a number (5039).
/// 3. A failed Post leaves the former list as it was, unlike those of the other creators.
/// 4. An alignment matrix has no effect here.
/// 5. Postings don't influence each other: a first solution that a rewinding turned round is
///    forgotten with the run.
class KANDREL_API zvPosted6axTPCreator : public zvPostedTPCreator {
 public:
  using Move = post::zvPosted6axMove;
  using List = post::zvPostedList<Move>::List;
  using ListPointer = misc::zvAutoPointer<List>;
  using Types = post::zvPostedMove::Types;

  /// Throws zvcadcamException 2189 for a direction that is exactly zero, zvPostException 5039 for
  /// directions and pivots of the spindle and the first two axes that are infinite or NaN; then
  /// 5002 for first and second directions that are equal once they are unit vectors and 5045 for a
  /// second one parallel to the spindle. The second form also throws 5043 for a machine of another
  /// class and "Accessing NULL pointer" for a null pointer.
  zvPosted6axTPCreator(const post::zv6axMachDef& machDef, const post::zv5axControlDef& control,
                       const post::zvKDRParam& par, const cadcam::zvTPoint3d<double>& partOrigin,
                       double toolLengthCompensation);
  zvPosted6axTPCreator(const misc::zvAutoPointer<post::zvMachDef>& machDef,
                       const post::zv5axControlDef& control, const post::zvKDRParam& par,
                       const cadcam::zvTPoint3d<double>& partOrigin, double toolLengthCompensation);
  /// No temporaries: control, parameters and part origin are referred to.
  template <class MachDef>
  zvPosted6axTPCreator(const MachDef&, const post::zv5axControlDef&&, const post::zvKDRParam&,
                       const cadcam::zvTPoint3d<double>&, double) = delete;
  template <class MachDef>
  zvPosted6axTPCreator(const MachDef&, const post::zv5axControlDef&, const post::zvKDRParam&&,
                       const cadcam::zvTPoint3d<double>&, double) = delete;
  template <class MachDef>
  zvPosted6axTPCreator(const MachDef&, const post::zv5axControlDef&, const post::zvKDRParam&,
                       const cadcam::zvTPoint3d<double>&&, double) = delete;
  /// Starts with no posted list.
  zvPosted6axTPCreator(const zvPosted6axTPCreator& other);
  /// Empties the posted list, also for whoever shares it.
  ~zvPosted6axTPCreator() override;

  /// Changes the machine of postings and the third angle; PostMove and PostMove2 solve with the
  /// machine of the constructor, deliberately. Throws 2189 and 5039 as the constructors do, and the
  /// second form 5043 and for a null pointer; 5002 and 5045 come from the next posting.
  void SetMachDef(const post::zv6axMachDef& machDef);
  void SetMachDef(const misc::zvAutoPointer<post::zvMachDef>& machDef);
  const post::zv6axMachDef& GetMachDef() const noexcept { return m_machDef; }
  misc::zvAutoPointer<post::zvMachDef> GetMachDefPtr() const override;

  /// The result of the last Post that did not fail; null before the first.
  const ListPointer& GetPostedList() const noexcept { return m_posted.Get(); }
  ListPointer& GetPostedList() noexcept { return m_posted.Get(); }
  /// Empties the present list and starts a new one with copies of the moves of `list`.
  void SetPostedList(const ListPointer& list) { m_posted.Set(list); }
  void ClearPostedList() override { m_posted.Clear(); }
  /// What the last Post did; all zero after one that failed.
  const post::zvPostingCounts& GetCounts() const noexcept { return m_counts; }

  /// Posts a toolpath into a new list, as zvPosted5axTPCreator::Post does, and throws what it
  /// throws. Each move of the 5-axis run is let go when its line is made, so that the two lists are
  /// never both whole in memory; a former list stays until the run has succeeded.
  ListPointer Post(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void PostRun(const cadcam::zvToolPath& toolpath, bool smallMoves) override;

  /// A single move in both solutions, without limits; with extended blocks. Reads the parameters
  /// that the constructor was given. Throws as Post does for the move itself.
  std::pair<Move, Move> PostMove(const cadcam::zvMovePointer& move, Types type) const;
  std::pair<Move, post::zvMirrorAngle> PostMove2(const cadcam::zvMovePointer& move,
                                                 Types type) const;
  /// zvPosted5axTPCreator::PostMoveWithinMachLimits with the third angle added.
  std::pair<misc::zvAutoPointer<Move>, misc::zvAutoPointer<Move>> PostMoveWithinMachLimits(
      const cadcam::zvMovePointer& move, Types type) const;

 private:
  zvPosted5axTPCreator FiveAxisCreator() const;
  void RequireFiniteThirdAngle() const;

  post::zv6axMachDef m_machDef;
  post::zv5axMoveSolver m_solver;
  post::zvPostedList<Move> m_posted;
  post::zvPostingCounts m_counts;
};
