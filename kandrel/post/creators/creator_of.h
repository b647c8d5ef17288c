// zvCreatorOf: what the creators of all classes of machine have alike.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/post/creators/posted_tp_creator.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_list.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/flat_moves.h>

/// The base of the creator `Derived`, which posts for machines of the class `MachDef` into lists of
/// `MoveType`: constructors, machine definition and posted list. `Solver` solves single moves.
///
/// Each creator takes over the constructors and has Post. For the base it has, which may be private
/// where the base is a friend:
///   kInstance                               its instance type
///   AsOwnClass(machDef)                     the machine as a MachDef; throws zvPostException 5043
///   MakeSolver(machDef, par, origin, length)
template <class Derived, class MachDef, class MoveType, class Solver>
class KANDREL_API zvCreatorOf : public zvPostedTPCreator {
 public:
  using Move = MoveType;
  using List = typename post::zvPostedList<Move>::List;
  using ListPointer = misc::zvAutoPointer<List>;

  /// Throws zvcadcamException 2189 for a direction that is exactly zero, zvPostException 5039 for
  /// directions and pivots that are infinite or NaN; the second form also 5043 for a machine of
  /// another class and "Accessing NULL pointer" for a null pointer.
  zvCreatorOf(const MachDef& machDef, const post::zv5axControlDef& control,
              const post::zvKDRParam& par, const cadcam::zvTPoint3d<double>& partOrigin,
              double toolLengthCompensation)
      : zvPostedTPCreator(control, par, partOrigin, toolLengthCompensation),
        m_machDef(post::Normalised(machDef)),
        m_solver(Derived::MakeSolver(machDef, par, partOrigin, toolLengthCompensation)) {
    SetInstanceType(Derived::kInstance);
  }
  /// The same for a machine whose class isn't known.
  zvCreatorOf(const misc::zvAutoPointer<post::zvMachDef>& machDef,
              const post::zv5axControlDef& control, const post::zvKDRParam& par,
              const cadcam::zvTPoint3d<double>& partOrigin, double toolLengthCompensation)
      : zvCreatorOf(Derived::AsOwnClass(*machDef), control, par, partOrigin,
                    toolLengthCompensation) {}
  /// No temporaries: control, parameters and part origin are referred to.
  template <class M>
  zvCreatorOf(const M&, const post::zv5axControlDef&&, const post::zvKDRParam&,
              const cadcam::zvTPoint3d<double>&, double) = delete;
  template <class M>
  zvCreatorOf(const M&, const post::zv5axControlDef&, const post::zvKDRParam&&,
              const cadcam::zvTPoint3d<double>&, double) = delete;
  template <class M>
  zvCreatorOf(const M&, const post::zv5axControlDef&, const post::zvKDRParam&,
              const cadcam::zvTPoint3d<double>&&, double) = delete;

  /// Changes the machine of checks and passes. Moves are solved with the machine of the
  /// constructor: a caller can so check the solutions of one machine against the limits of another.
  /// What else stays with that one is said by each creator. Throws as the constructors do.
  void SetMachDef(const MachDef& machDef) { m_machDef = post::Normalised(machDef); }
  /// The same for a machine whose class isn't known.
  void SetMachDef(const misc::zvAutoPointer<post::zvMachDef>& machDef) {
    SetMachDef(Derived::AsOwnClass(*machDef));
  }
  /// With directions of unit length.
  const MachDef& GetMachDef() const noexcept { return m_machDef; }
  misc::zvAutoPointer<post::zvMachDef> GetMachDefPtr() const override { return m_machDef.Clone(); }

  void PostRun(const cadcam::zvToolPath& toolpath, bool smallMoves) override {
    static_cast<Derived&>(*this).Post(toolpath, smallMoves);
  }

  /// The result of the last Post; null before the first.
  const ListPointer& GetPostedList() const noexcept { return m_posted.Get(); }
  /// The same, so that the list can be moved out.
  ListPointer& GetPostedList() noexcept { return m_posted.Get(); }
  /// Empties the present list and starts a new one with copies of the moves of `list`.
  void SetPostedList(const ListPointer& list) { m_posted.Set(list); }
  void ClearPostedList() override { m_posted.Clear(); }

 protected:
  /// Starts with no posted list, and has done nothing.
  zvCreatorOf(const zvCreatorOf& other)
      : zvPostedTPCreator(other), m_machDef(other.m_machDef), m_solver(other.m_solver) {
    SetInstanceType(Derived::kInstance);
  }
  /// Empties the posted list, also for whoever shares it.
  ~zvCreatorOf() override = default;

  /// Post of each creator: what `post()` does with `toolpath`, with the hook asked. Where the hook
  /// has ended it, all is as before it but the list. A 5039 names the move that it is of.
  template <class PostAll>
  ListPointer PostPolled(const cadcam::zvToolPath& toolpath, const PostAll& post) {
    try {
      return PostPolled(post);
    } catch (const post::zvPostException& e) {
      post::TellWhichMove(e, toolpath);
      throw;
    }
  }

  /// The same without the name.
  template <class PostAll>
  ListPointer PostPolled(const PostAll& post) {
    if (Polling().Get() == nullptr) return post();
    const auto firstSolution = GetPar().GetFirstMoveSolutionIndex();
    const post::zvAlignMatrix matrix = GetAlignMatrix();
    Polling().Start();
    try {
      ListPointer list = post();
      Polling().Finish();
      list->SetPolling(nullptr);
      return list;
    } catch (...) {
      if (m_posted.Get()) m_posted.Get()->SetPolling(nullptr);
      if (Polling().HasStopped()) {
        Par().SetFirstMoveSolutionIndex(firstSolution);
        SetAlignMatrix(matrix);
        SetToleranceReport({});
        m_counts = {};
        m_posted.Clear();
      }
      throw;
    }
  }

  /// Starts a new list, on whose growth and walks the hook is asked.
  void RenewList() {
    m_posted.Renew();
    m_posted.Get()->SetPolling(Polling().Get());
  }

  /// How each posting begins: with a new list. False for a toolpath without anything to post.
  /// Throws zvPostException 5032, 5033 for units that differ.
  bool StartPosting(const cadcam::zvToolPath& toolpath) {
    RenewList();
    m_counts = {};
    SetToleranceReport({});
    if (post::HasNothingToPost(toolpath)) return false;
    CheckUnits(m_machDef, toolpath);
    return true;
  }

  /// Throws zvPostException 5010 to 5012 and 5015 to 5017 for the first move that breaks a linear
  /// limit, where limitsCheck asks for them; 5046 for an unknown limitsCheck.
  void CheckLinearLimits() const {
    const post::zvKDRParam::LimitsCheck check = GetPar().GetLimitsCheck();
    if (post::ChecksLinearAxes(check)) {
      misc::zvPolledEnd end(*m_posted.Get());
      for (auto move = m_posted.Get()->begin(); end.IsBefore(move); ++move)
        if (const auto excess = post::LinearOut(move->GetMachinePosition(), m_machDef);
            !excess.IsNone())
          ExceedingLimit(excess);
    } else if (check != post::zvKDRParam::checkNothing && !post::ChecksRotaryAxes(check)) {
      throw post::zvPostException(post::zvPostException::kUnknownLimits);
    }
  }

  MachDef m_machDef;
  Solver m_solver;
  post::zvPostedList<Move> m_posted;
  post::zvPostingCounts m_counts;
};
