// zvPosted5axTPCreator: posts toolpaths for machines with two rotary axes.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/creators/creator_of.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/geometry/transformation3d.h>
#include <kandrel/post/model/limit_type.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/mirror_angle.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/angle_jumps.h>
#include <kandrel/post/passes/path_keeper.h>
#include <kandrel/post/passes/standing_axes.h>

#include <optional>
#include <utility>

/// Solves each orientation for the rotary axes, steps through poles, interpolates, keeps angles
/// continuous, retracts around large jumps, divides what is still too large a step, and keeps
/// limits by shifting and rewinding.
///
/// 1. Angles of the list run on past a turn; the control's wrapping is the last step of a posting.
/// 2. A toolpath of one orientation is posted as a 3-axis path with the rotary axes standing, where
///    the machine's axes are plain and poleHandling isn't 1: no winding, blending, jumps, rewinding
///    or wrapping then, and of the rotary limits only the two fixed angles are checked, not where
///    they are both 0.
/// 3. An alignment matrix acts on Post alone, and not on a toolpath of one orientation.
/// 4. A feed step that interpolation can't divide and that would take the tool off the way between
///    its orientations, where limits force a change of solution, counts as a large jump, unless
///    maxAngleJump is 180 or more.
/// 5. Rotary limits are kept in three attempts: by a shift or a rewinding; from the other first
///    solution; and from the own one again, with each axis' range measured for itself, and
///    limitTolerance for an axis that can't be rewound. The parameters'
///    firstMoveSolutionIndex, in the creator's own copy, stays as the second attempt turned it for
///    later postings, also when all fail; the third, when it succeeds, leaves it as it was.
/// 6. Linear limits are checked on the list that the first attempt has left, so that the lifts and
///    turns of its rewindings are checked, and in the third attempt too. In the second they are
///    checked before its rewinding, whose lifts and turns are not.
/// 7. SetMachDef changes the machine of checks, retractions and rewindings.
/// 8. With a path tolerance every feed block holds it: with all axes moving linearly from line to
///    line the tip stays within its tolerance of the line between the two part positions and of the
///    source segment, and the tool within its own of the shortest arc between the source
///    orientations, which it follows evenly. maxAngleStep and interpolationDistance stay upper
///    bounds; all lines are solved, whatever interpolationMode says, and what is put on the way of
///    a rapid move is rapid. The pole tolerance counts as half of the axis tolerance at most, and
///    blending keeps the tilt of the path. What can't be held, where limits make the machine change
///    to its other solution and jumps are switched off, stands in GetToleranceReport. Lifts and
///    what comes down from them are off the path, and straight.
class KANDREL_API zvPosted5axTPCreator
    : public zvCreatorOf<zvPosted5axTPCreator, post::zv5axMachDef, post::zvPosted5axMove,
                         post::zv5axMoveSolver> {
 public:
  using Types = post::zvPostedMove::Types;

  using zvCreatorOf::zvCreatorOf;
  /// Starts with no posted list.
  zvPosted5axTPCreator(const zvPosted5axTPCreator& other) = default;
  ~zvPosted5axTPCreator() override;

  /// What the last Post did.
  const post::zvPostingCounts& GetCounts() const noexcept { return m_counts; }

  /// Posts a toolpath into a new list; `smallMoves` leaves the extended blocks out. A toolpath
  /// without passes, or with an empty first one, gives an empty list whatever else it holds.
  ///
  /// Throws zvPostException 5032, 5033 for units that differ; 5000 for an orientation that the
  /// machine can't reach; 5010 to 5019 for a limit that can't be kept (limitsCheck 1 to 3); 5046
  /// for an unknown limitsCheck, after the posting; 5039 for what is infinite or NaN, and for
  /// counts of moves beyond 2^31 - 2; 5008 for a retraction to limits (retractToLimits) from
  /// outside them; 5051 for a rewinding whose first move isn't found; 2503 for a plain zvCNCMove;
  /// misc::zvRangeException for a path tolerance too small for the machine's and the path's size,
  /// or for angles (0.002 degrees): it names the smallest; zvKandrelException 2637 for a link type
  /// above 5; zvcadcamException 2189 for a zero orientation and for rotary axes less than 1e-3 rad
  /// off parallel; "Accessing NULL pointer" for a null in the toolpath. Linear in the number of
  /// posted moves.
  ListPointer Post(const cadcam::zvToolPath& toolpath, bool smallMoves);

  /// A single move in both solutions, without limits; with extended blocks. Throws as Post does for
  /// the move itself.
  std::pair<Move, Move> PostMove(const cadcam::zvMovePointer& move, Types type) const;
  post::zvSolutionPair PostMove2(const cadcam::zvMovePointer& move, Types type) const;
  /// Both solutions with angles brought into their ranges and wrapped for the control; null for one
  /// that breaks the limits of limitsCheck. A rotary angle keeps its limit as it is or as it is
  /// wrapped, with the slack of poleAngleTolerance, so that none is refused for how its control
  /// counts turns. Both axes are wrapped by the control's limit of the first; that of the second
  /// says only whether it is wrapped: see post::AsWritten. Throws the limit of the mirror solution
  /// when both break limits, 5046 for an unknown limitsCheck.
  std::pair<misc::zvAutoPointer<Move>, misc::zvAutoPointer<Move>> PostMoveWithinMachLimits(
      const cadcam::zvMovePointer& move, Types type) const;

  /// The solution that a posting takes for its first move. Throws 5010 to 5012 and 5015 to 5017
  /// when both break a linear limit, or one that and the other the rotary ranges, unless a pole
  /// leaves an angle free.
  Move SelectPostedMoveFirstTime(const post::zvSolutionPair& pair) const;

 private:
  friend zvCreatorOf;
  static constexpr InstanceType kInstance = instance5ax;
  static const post::zv5axMachDef& AsOwnClass(const post::zvMachDef& machDef);
  static post::zv5axMoveSolver MakeSolver(const post::zv5axMachDef& machDef,
                                          const post::zvKDRParam& par,
                                          const cadcam::zvTPoint3d<double>& partOrigin,
                                          double toolLengthCompensation);

  /// At rotary limits: the posting as it is asked for, and two more while they aren't kept.
  enum class Attempt { kOwnSolution, kOtherSolution, kOwnBounds };
  template <class Passes>
  void PostInAttempts(const Passes& passes);
  template <class Passes>
  bool TryOwnBounds(const Passes& passes, post::zvKDRParam::SolutionIndex own);

  std::optional<post::zv5axPathKeeper> MakeKeeper(const cadcam::zvToolPath& toolpath,
                                                  bool smallMoves) const;
  ListPointer PostAll(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void RunPasses(const cadcam::zvToolPath& toolpath, bool smallMoves);
  bool BuildPostedMoves(const cadcam::zvToolPath& toolpath, bool smallMoves,
                        post::zv5axPathKeeper* keeper);
  void SettleFirstMoves();
  void BlendPoles();
  post::zvJumpRules JumpRules() const;
  void MakeJumps(double largestStep, bool smallMoves);
  void DivideLargeSteps(double largestStep);
  post::zvLimitType KeepRotaryLimits(Attempt attempt, bool smallMoves,
                                     post::zv5axPathKeeper* keeper);
  void ReportTolerance(post::zv5axPathKeeper& keeper);

  void RequireFinitePreferredAngle() const;
  bool IsToolpathFor3AxisMachine(const cadcam::zvToolPath& toolpath) const;
  void PostStanding(const cadcam::zvToolPath& toolpath, bool smallMoves);
  void CreatePostedTP(const cadcam::zvToolPath& toolpath, const post::zvStandingAxes& axes,
                      const misc::zvAutoPointer<post::zvTransformation3d>& transformation,
                      bool smallMoves);
  post::zvSolutionPair SolveMove(const cadcam::zvMovePointer& move, Types type) const;
};
