// zvPosted3axTPCreator: posts toolpaths of constant tool axis for 3-axis machines.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/creators/creator_of.h>
#include <kandrel/post/geometry/three_axis_move_maker.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>
#include <utility>

/// Machine coordinates beside the original part position and orientation. Limits are reported or
/// ignored, by limitsCheck; nothing is clipped or moved.
///
/// 1. The constructors throw for the spindle direction alone: what else zvCreatorOf names, such a
///    machine doesn't have.
/// 2. SetMachDef changes the machine of the limit, unit and orientation checks and of alignments.
/// 3. A toolpath that needs no alignment leaves the matrix of an earlier run in force, so that one
///    which the caller has set isn't lost.
/// 4. A path tolerance of any size is taken, and holds without a line more: nothing turns, so that
///    the tip goes straight from line to line. Its report is empty.
class KANDREL_API zvPosted3axTPCreator
    : public zvCreatorOf<zvPosted3axTPCreator, post::zv3axMachDef, post::zvPosted3axMove,
                         post::zvPosted3axMoveMaker> {
 public:
  using zvCreatorOf::zvCreatorOf;
  /// Shares the transformation; starts with no posted list.
  zvPosted3axTPCreator(const zvPosted3axTPCreator& other) = default;
  ~zvPosted3axTPCreator() override;

  /// A transformation from part to machine coordinates that replaces part origin, tool length and
  /// machine axes; orientations are then not checked. Null by default.
  misc::zvAutoPointer<post::zvTransformation3d> GetTransfor3d() const;
  void SetTransfor3d(const misc::zvAutoPointer<post::zvTransformation3d>& transformation);

  /// Posts a toolpath into a new list, which the creator empties when it dies; `smallMoves` leaves
  /// the extended blocks out. A toolpath without passes, or with an empty first one, gives an empty
  /// list whatever else it holds.
  ///
  /// Throws zvPostException 5032, 5033 for units that differ; 5029 for an orientation off the
  /// spindle; 5010 to 5012, 5015 to 5017 for a limit broken by more than 1e-12 (limitsCheck 1, 3);
  /// 5046 for an unknown limitsCheck; 5039 for a position, orientation, feed, part origin or tool
  /// length that is infinite or NaN, for a transformation that is, which stands for the last two,
  /// for a machine position that comes out so, and for more than 2^31 - 2 moves between two others;
  /// 2503 for a plain zvCNCMove; zvKandrelException 2637 for a link type above 5; zvcadcamException
  /// 2189 for a zero orientation, and with alignToolpath for one opposite to the spindle;
  /// "Accessing NULL pointer" for a null in the toolpath. Linear in the number of posted moves.
  ListPointer Post(const cadcam::zvToolPath& toolpath, bool smallMoves);

  /// A single move with an extended block, without limit or orientation check; aligned where a
  /// matrix is set. Throws zvPostException 5039 as Post does, 2503 for a plain zvCNCMove,
  /// "Accessing NULL pointer" for a null one.
  Move PostMove(const cadcam::zvMovePointer& move, post::zvPostedMove::Types type) const;
  /// The same with the linear limits checked (5010 to 5012, 5015 to 5017), unless limitsCheck is 0
  /// or 2: any unknown value checks here. The second member is always null.
  std::pair<misc::zvAutoPointer<Move>, misc::zvAutoPointer<Move>> PostMoveWithinMachLimits(
      const cadcam::zvMovePointer& move, post::zvPostedMove::Types type) const;

 private:
  friend zvCreatorOf;
  static constexpr InstanceType kInstance = instance3ax;
  static const post::zv3axMachDef& AsOwnClass(const post::zvMachDef& machDef);
  static post::zvPosted3axMoveMaker MakeSolver(const post::zv3axMachDef& machDef,
                                               const post::zvKDRParam& par,
                                               const cadcam::zvTPoint3d<double>& partOrigin,
                                               double toolLengthCompensation);

  ListPointer PostAll(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void AlignToolpath(const cadcam::zvToolPath& toolpath);
  void BuildPostedMoves(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void PostInOneWalk(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void PostWhole(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void CheckOrientation(const cadcam::zvTPoint3d<double>& orientation) const;
  void AppendPostedMove(const post::zvMoveView& move, post::zvPostedMove::Types type,
                        std::uint64_t index, bool smallMoves);
  const Move* Interpolate(const Move& previous, List::iterator current, bool smallMoves);
  Move MakeMove(const cadcam::zvMovePointer& move, post::zvPostedMove::Types type) const;
  void RequireFiniteMaker() const;

  double m_sum = 0;  // of all moves of the list: post::AddNumbers
};
