// zvPostedTPCreator: base of the posting algorithms.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/progress.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/limit_type.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/path_tolerance.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/model/setup_owner.h>
#include <kandrel/post/model/tolerance_report.h>
#include <kandrel/post/passes/flat_moves.h>

#include <cstdint>
#include <list>

/// What the creators of all machine classes share. A creator is built once for a machine and posts
/// any number of toolpaths, on one thread at a time.
///
/// 1. Part origin and control definition are referred to, not copied, and so are the parameters by
///    a creator's move maker: the caller's objects must outlive the creator. Temporaries are
///    refused.
/// 2. Limits, steps and choices of a run are read from the creator's own copy of the parameters.
/// 3. Between postings only the posted list and the alignment matrix stay. A posting that computes
///    no alignment of its own uses the matrix of an earlier one.
/// 4. After a failed Post the list may be partly filled, with solved moves, with move times or
///    without. That holds for std::bad_alloc too; after one that was cancelled see SetProgress.
/// 5. Toolpath and machine are read without a reference being counted: any number of threads, each
///    with its creator, may post the same const toolpath, or toolpaths that share children, and
///    build creators from the same machine pointer. Operations that are const, those for single
///    moves, may run on several threads at once, while none posts with the creator.
/// 6. A finished list goes to another thread by std::move(creator.GetPostedList()), which leaves no
///    second reference, once what Post returned is gone. It may outlive the creator then.
class KANDREL_API zvPostedTPCreator {
 public:
  /// The class of a creator; instanceBase for one of no known class.
  enum InstanceType : std::int32_t {
    instanceBase = 0,
    instance3ax = 1,
    instance4ax = 2,
    instance5ax = 3,
    instance6ax = 4,
  };

  /// A new heap copy of the creator's machine definition.
  virtual misc::zvAutoPointer<post::zvMachDef> GetMachDefPtr() const = 0;
  /// Runs the creator's own Post; the result stays in its posted list.
  virtual void PostRun(const cadcam::zvToolPath& toolpath, bool smallMoves) = 0;
  virtual ~zvPostedTPCreator();
  /// Empties the posted list, also for whoever shares it; does nothing before the first posting.
  virtual void ClearPostedList() = 0;

  /// The control definition that the creator refers to, and its own copy of the parameters.
  const post::zv5axControlDef& GetControlDef() const noexcept { return m_controlDef; }
  const post::zvKDRParam& GetPar() const noexcept { return m_par; }
  /// Added to every part position on the way to machine coordinates, in the machine's units.
  const cadcam::zvTPoint3d<double>& GetPartOrigin() const noexcept { return m_partOrigin; }
  /// Length from the tool tip to the spindle's reference point along the spindle direction, in the
  /// machine's units.
  const double& GetToolLengthCompensationValue() const noexcept { return m_toolLengthCompensation; }
  /// Of which class the creator is.
  const InstanceType& GetInstanceType() const noexcept { return m_instanceType; }

  /// May be null. A copy of the pointer shares the matrix.
  const post::zvAlignMatrix& GetAlignMatrix() const noexcept { return m_alignMatrix; }
  /// Shares the argument, which then belongs to this creator's thread. The matrix must be a
  /// rotation with zero translation.
  void SetAlignMatrix(const post::zvAlignMatrix& matrix) { m_alignMatrix = matrix; }
  /// The spelling is part of the interface.
  bool IsAlignMatrixValide() const noexcept { return !m_alignMatrix.IsNull(); }

  /// How far the machine may leave the path between two lines: see zvPathTolerance. Off at first;
  /// copies take it over. Of 3 axes it has no effect: they go straight from line to line.
  const post::zvPathTolerance& GetPathTolerance() const noexcept { return m_pathTolerance; }
  void SetPathTolerance(const post::zvPathTolerance& tolerance) noexcept {
    m_pathTolerance = tolerance;
  }
  /// Where the last Post could not hold the tolerance; nothing after one that failed.
  const post::zvToleranceReport& GetToleranceReport() const noexcept { return m_toleranceReport; }

  /// Who is told how far a posting has come and may cancel it, by the thread that posts; null, as
  /// at first, is nobody. Not owned; copies take it over. What is posted doesn't depend on it. A
  /// posting that is cancelled throws misc::zvCancelled, one whose hook throws what that throws:
  /// the posted list is empty then, counts and report too, and all else is as before. Not while the
  /// creator posts, nor from its hook. Creators on several threads that share a hook call it at the
  /// same time; single moves ask nobody.
  misc::zvProgress* GetProgress() const noexcept { return m_polling.GetHook(); }
  void SetProgress(misc::zvProgress* progress) noexcept { m_polling = misc::zvPolling(progress); }

  /// Lets the owner of what this creator refers to live as long as it and its copies. Its count is
  /// not atomic: what one log gave, with all copies, is copied and destroyed on one thread.
  void KeepAlive(const post::zvSetupOwnerPointer& owner) { m_owner = owner; }

  /// The posted move type of the section in which the iterator stands. Throws zvcadcamException
  /// 2639 for a section that is neither link nor contour, zvKandrelException 2637 for a link type
  /// above 5, "Accessing NULL pointer" at the toolpath's end.
  post::zvPostedMove::Types GetPostedMoveType(
      const cadcam::zvToolPath& toolpath, const cadcam::zvToolPath::const_iterator& position) const;

  zvPostedTPCreator& operator=(const zvPostedTPCreator&) = delete;

 protected:
  /// For derived classes. Control and part origin are referred to, the parameters copied:
  /// properties 1 and 2.
  zvPostedTPCreator(const post::zv5axControlDef& control, const post::zvKDRParam& par,
                    const cadcam::zvTPoint3d<double>& partOrigin, double toolLengthCompensation);
  /// The copy has a matrix of its own; its instance type restarts at 0.
  zvPostedTPCreator(const zvPostedTPCreator& other);

  /// For derived classes: the instance type, the creator's own copy of the parameters, and the
  /// report of the last Post.
  void SetInstanceType(InstanceType type) noexcept { m_instanceType = type; }
  post::zvKDRParam& Par() noexcept { return m_par; }
  /// What the posting is at, for Post and what it calls alone.
  misc::zvPolling& Polling() const noexcept { return m_polling; }
  void SetToleranceReport(const post::zvToleranceReport& report) noexcept {
    m_toleranceReport = report;
  }

  using SectionIterator = std::list<misc::zvAutoPointer<cadcam::zvTPSection>>::const_iterator;
  /// The type of a section. Throws as the public form does.
  post::zvPostedMove::Types GetPostedMoveType(const SectionIterator& section) const;

  /// Flattens a toolpath into an array of its move count (post::Flatten), aligned where a matrix is
  /// set. For creators of other makers: the array shares the moves, and so counts references to
  /// them.
  void BuildMoves(const cadcam::zvToolPath& toolpath, post::zvFlatMoves& moves) const;

  /// Throws what BuildMoves throws for the toolpath, with neither an array nor references.
  void CheckMoves(const cadcam::zvToolPath& toolpath) const;

  /// Throws zvPostException 5039 for a part origin, tool length or alignment matrix that is
  /// infinite or NaN. What a posting reads only in places is looked at there: nothing infinite or
  /// NaN is posted, and what isn't read may be anything.
  void RequireFiniteSetup() const;
  /// The same for the alignment matrix alone.
  void RequireFiniteAlignment() const;

  /// The move for a single-move operation: a null pointer throws "Accessing NULL pointer", a
  /// position or orientation that is infinite or NaN 5039; with an alignment matrix it is
  /// `aligned`, which becomes an aligned copy.
  const cadcam::zvCNCMove& SingleMove(const cadcam::zvMovePointer& move,
                                      cadcam::zv5axMove& aligned) const;

  /// Throws zvPostException 5032 or 5033 when the two units differ.
  void CheckUnits(const post::zvMachDef& machDef, const cadcam::zvToolPath& toolpath) const;

  /// Throws zvPostException 5010 to 5019 for the limit; returns for what names no limit.
  void ExceedingLimit(const post::zvLimitType& limit) const;

  /// `angle` as the control wants it, degrees; unchanged for an unknown limit.
  double ApplyAngleLimitToRotAxis(double angle, post::zv5axControlDef::angleLimit limit) const;

 private:
  const cadcam::zvTPoint3d<double>& m_partOrigin;
  double m_toolLengthCompensation;
  post::zvKDRParam m_par;
  const post::zv5axControlDef& m_controlDef;
  InstanceType m_instanceType = instanceBase;
  post::zvAlignMatrix m_alignMatrix;
  post::zvPathTolerance m_pathTolerance;
  post::zvToleranceReport m_toleranceReport;
  post::zvSetupOwnerPointer m_owner;
  mutable misc::zvPolling m_polling;
};
