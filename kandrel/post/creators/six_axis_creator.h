// zvPosted6axTPCreator: posts toolpaths for machines whose third rotary axis stands still.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/creators/creator_of.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/mirror_angle.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/posting_parameters.h>

#include <utility>

/// Posts as zvPosted5axTPCreator does for the machine without its third axis, and adds the third
/// angle to each line.
///
/// 1. The sides of the first two axes follow from the flags firstOnWorkpiece and secondOnWorkpiece,
///    not from fiveAxisKind: (0, 0) both in the head, (1, 1) both on the table, anything else the
///    first on the table and the second in the head. (0, 1), the default of zv6axMachDef, thus
///    swaps the sides that it names: of mixed sides the 5-axis solution knows one order alone. Give
///    the axis on the table first, as (1, 0).
/// 2. Direction, pivot and side of the third axis have no influence; its angle is on every line,
///    inserted ones included, and is tested against nothing but that it is a number (5039).
/// 3. A failed Post leaves the former list as it was, unlike those of the other creators.
/// 4. An alignment matrix has no effect here.
/// 5. Postings don't influence each other: a first solution that a rewinding turned round is
///    forgotten with the run.
/// 6. The constructors throw also zvPostException 5002 for first and second directions that are
///    equal once they are unit vectors and 5045 for a second one parallel to the spindle. From
///    SetMachDef on, these two come from the next posting.
/// 7. A path tolerance holds as of 5 axes.
/// 8. SetMachDef changes the machine of postings and the third angle; PostMove and PostMove2 solve
///    with the machine of the constructor.
class KANDREL_API zvPosted6axTPCreator
    : public zvCreatorOf<zvPosted6axTPCreator, post::zv6axMachDef, post::zvPosted6axMove,
                         post::zv5axMoveSolver> {
 public:
  using Types = post::zvPostedMove::Types;

  using zvCreatorOf::zvCreatorOf;
  /// Starts with no posted list.
  zvPosted6axTPCreator(const zvPosted6axTPCreator& other) = default;
  ~zvPosted6axTPCreator() override;

  /// What the last Post did; all zero after one that failed.
  const post::zvPostingCounts& GetCounts() const noexcept { return m_counts; }

  /// Posts a toolpath into a new list, as zvPosted5axTPCreator::Post does, and throws what it
  /// throws. Each move of the 5-axis run is let go when its line is made, so that the two lists are
  /// never both whole in memory; a former list stays until the run has succeeded.
  ListPointer Post(const cadcam::zvToolPath& toolpath, bool smallMoves);

  /// A single move in both solutions, without limits; with extended blocks. Reads the parameters
  /// that the constructor was given. Throws as Post does for the move itself.
  std::pair<Move, Move> PostMove(const cadcam::zvMovePointer& move, Types type) const;
  std::pair<Move, post::zvMirrorAngle> PostMove2(const cadcam::zvMovePointer& move,
                                                 Types type) const;
  /// zvPosted5axTPCreator::PostMoveWithinMachLimits with the third angle added.
  std::pair<misc::zvAutoPointer<Move>, misc::zvAutoPointer<Move>> PostMoveWithinMachLimits(
      const cadcam::zvMovePointer& move, Types type) const;

 private:
  friend zvCreatorOf;
  ListPointer PostAll(const cadcam::zvToolPath& toolpath, bool smallMoves);
  static constexpr InstanceType kInstance = instance6ax;
  static const post::zv6axMachDef& AsOwnClass(const post::zvMachDef& machDef);
  static post::zv5axMoveSolver MakeSolver(const post::zv6axMachDef& machDef,
                                          const post::zvKDRParam& par,
                                          const cadcam::zvTPoint3d<double>& partOrigin,
                                          double toolLengthCompensation);

  zvPosted5axTPCreator FiveAxisCreator() const;
  void RequireFiniteThirdAngle() const;
};
