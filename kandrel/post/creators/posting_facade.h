// zvKDR5AxBase: posts for a machine of any class.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/progress.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/mirror_angle.h>
#include <kandrel/post/model/path_tolerance.h>
#include <kandrel/post/model/posted_toolpath.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/model/setup_owner.h>
#include <kandrel/post/model/tolerance_report.h>
#include <kandrel/post/passes/flat_moves.h>

#include <utility>

/// What an application uses to post without caring for the machine's class: each request builds the
/// creator of the class, runs it and gives the result as class-neutral posted moves. Those are
/// zvPosted3axMove to zvPosted6axMove by class, as a zvPostedVisitor sees them.
///
/// 1. Machine, control, parameters and part origin are referred to, not copied. The caller keeps
///    them alive as long as this object and unchanged during a call; a change between two calls
///    reaches the next one. A machine given as a zvAutoPointer is not shared either: the caller
///    keeps the pointer. A temporary machine serves within one expression alone.
/// 2. Between calls stay the result of the last Post and the alignment matrix, nothing else: no
///    posting influences the next one.
/// 3. Post is not for two threads at a time; single moves are, while none posts. Objects on
///    different threads do not meet, also when they post one toolpath. A copy shares its moves and
///    belongs to the same thread; TakePostedTP gives them to another one.
///
/// Every operation that posts throws zvPostException 5031 for a machine of unknown numbersOfAxes,
/// then 5043 where numbersOfAxes is not that of the definition's class, 2503 for a definition of no
/// class, then what the creator of the class throws.
class KANDREL_API zvKDR5AxBase {
 public:
  using Types = post::zvPostedMove::Types;
  using PostedMovePointer = misc::zvAutoPointer<post::zvPostedMove>;

  /// `toolLengthCompensation` is in the machine's units. Throws "Accessing NULL pointer" for a null
  /// machine; definitions are checked when posting.
  zvKDR5AxBase(const misc::zvAutoPointer<post::zvMachDef>& machDef,
               const post::zv5axControlDef& control, const post::zvKDRParam& par,
               const cadcam::zvTPoint3d<double>& partOrigin, double toolLengthCompensation);
  zvKDR5AxBase(const post::zvMachDef& machDef, const post::zv5axControlDef& control,
               const post::zvKDRParam& par, const cadcam::zvTPoint3d<double>& partOrigin,
               double toolLengthCompensation);
  /// No temporaries: control, parameters and part origin are referred to.
  template <class MachDef>
  zvKDR5AxBase(const MachDef&, const post::zv5axControlDef&&, const post::zvKDRParam&,
               const cadcam::zvTPoint3d<double>&, double) = delete;
  template <class MachDef>
  zvKDR5AxBase(const MachDef&, const post::zv5axControlDef&, const post::zvKDRParam&&,
               const cadcam::zvTPoint3d<double>&, double) = delete;
  template <class MachDef>
  zvKDR5AxBase(const MachDef&, const post::zv5axControlDef&, const post::zvKDRParam&,
               const cadcam::zvTPoint3d<double>&&, double) = delete;
  /// Refers to the same definitions, and shares posted moves and alignment matrix.
  zvKDR5AxBase(const zvKDR5AxBase& other);
  zvKDR5AxBase& operator=(const zvKDR5AxBase&) = delete;
  ~zvKDR5AxBase();

  /// What the façade was given and refers to; lengths in the machine's units.
  const post::zvMachDef& GetMachDef() const noexcept { return m_machDef; }
  const post::zv5axControlDef& GetControlDef() const noexcept { return m_controlDef; }
  const post::zvKDRParam& GetPar() const noexcept { return m_par; }
  const cadcam::zvTPoint3d<double>& GetPartOrigin() const noexcept { return m_partOrigin; }
  double GetToolLengthCompensationValue() const noexcept { return m_toolLengthCompensation; }

  /// What PostMove aligns its move by: the matrix of the last Post of a 3- or 4-axis machine that
  /// computed one, or what was set. Null at first. Shared, not copied.
  post::zvAlignMatrix GetAlignMatrix() const { return m_alignMatrix; }
  /// The matrix must be a rotation with zero translation. Post computes its own and reads no other.
  void SetAlignMatrix(const post::zvAlignMatrix& matrix) { m_alignMatrix = matrix; }
  /// The spelling is part of the interface.
  bool IsAlignMatrixValide() const noexcept { return !m_alignMatrix.IsNull(); }

  /// How far the machine may leave the path between two lines, in postings from now on: see
  /// zvPathTolerance. Off at first; copies take it over.
  const post::zvPathTolerance& GetPathTolerance() const noexcept { return m_pathTolerance; }
  void SetPathTolerance(const post::zvPathTolerance& tolerance) noexcept {
    m_pathTolerance = tolerance;
  }
  /// Where the last Post could not hold it; nothing after one that failed.
  const post::zvToleranceReport& GetToleranceReport() const noexcept { return m_toleranceReport; }

  /// Who is told how far Post has come and may cancel it, by the thread that posts; null, as at
  /// first, is nobody. Not owned; copies take it over. What is posted doesn't depend on it. A
  /// posting that is cancelled throws misc::zvCancelled, one whose hook throws what that throws;
  /// both are failures like others. Not while this object posts. Objects on several threads that
  /// share a hook call it at the same time; single moves ask nobody.
  misc::zvProgress* GetProgress() const noexcept { return m_progress; }
  void SetProgress(misc::zvProgress* progress) noexcept { m_progress = progress; }

  /// Lets the owner of what this object refers to live as long as it and its copies. Its count is
  /// not atomic: what one log gave, with all copies, is copied and destroyed on one thread.
  void KeepAlive(const post::zvSetupOwnerPointer& owner) { m_owner = owner; }

  /// Posts a toolpath; the moves have extended blocks. The reference stays good as long as this
  /// object, its content until the next Post; moves that the caller shares live on. The result's
  /// alignment matrix is that of this posting, null without one. A toolpath without passes, or with
  /// an empty first one, gives an empty result, whatever the machine's class holds. After a failure
  /// the result is empty.
  ///
  /// Linear. The result takes some 250 to 270 bytes a move. Each move of the creator's list is let
  /// go when it has been taken over, so that a first Post needs little more; a later one that finds
  /// the heap full of holes may need half as much again.
  const post::zvPostedTP& Post(const cadcam::zvToolPath& toolpath);
  /// The result of the last Post; empty before the first.
  const post::zvPostedTP& GetPostedTP() const noexcept { return m_postedTP; }
  /// The same, moved out: with a matrix of its own it shares nothing with this object, whose result
  /// is empty then. What nobody else shares may go on to another thread.
  post::zvPostedTP TakePostedTP();
  /// What the last Post did beyond solving: all zero for a 3-axis machine and after a failure.
  const post::zvPostingCounts& GetCounts() const noexcept { return m_counts; }

  /// A single move, without limits. The second member is the mirror solution of a 5- or 6-axis
  /// machine, null for 3 and 4 axes; for these the move is aligned by the alignment matrix.
  ///
  /// For previews: each call builds a creator, with a copy of the machine. It takes 0.5 to 1.2
  /// microseconds, where a move of a long Post takes 0.2 to 0.5.
  std::pair<PostedMovePointer, misc::zvAutoPointer<post::zvMirrorAngle>> PostMove(
      const cadcam::zvMovePointer& move, Types type) const;
  /// PostMoveWithinMachLimits of the creator of the class: the two solutions, null where one breaks
  /// the limits; the second is always null for 3 and 4 axes. Not aligned: whether a move is within
  /// the limits doesn't depend on what was posted before.
  std::pair<PostedMovePointer, PostedMovePointer> PostMoveWithinMachLimits(
      const cadcam::zvMovePointer& move, Types type) const;

  /// The posted move type of the section in which the iterator stands. Throws zvcadcamException
  /// 2639 for a section that is neither link nor contour, zvKandrelException 2637 for a link type
  /// above 5, "Accessing NULL pointer" at the toolpath's end.
  Types GetPostedMoveType(const cadcam::zvToolPath& toolpath,
                          const cadcam::zvToolPath::const_iterator& position) const;
  /// The same for a move on a link; throws also zvcadcamException 2640 for one on none.
  Types GetLinkType(const cadcam::zvToolPath::const_iterator& position) const;

 private:
  const post::zvMachDef& m_machDef;
  const post::zv5axControlDef& m_controlDef;
  const post::zvKDRParam& m_par;
  const cadcam::zvTPoint3d<double>& m_partOrigin;
  double m_toolLengthCompensation;
  post::zvPostedTP m_postedTP;
  post::zvAlignMatrix m_alignMatrix;
  post::zvPostingCounts m_counts;
  post::zvPathTolerance m_pathTolerance;
  post::zvToleranceReport m_toleranceReport;
  post::zvSetupOwnerPointer m_owner;
  misc::zvProgress* m_progress = nullptr;
};
