#include <kandrel/misc/polled_end.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_visitor.h>
#include <kandrel/post/verifier/detail/verification.h>
#include <kandrel/post/verifier/posting_verifier.h>

#include <cmath>

namespace post {

namespace {

using Point = zvPostingVerifier::Point;

misc::zvAutoPointer<zvMachDef> NormalisedCopy(const zvMachDef& machDef) {
  auto copy = machDef.Clone();
  copy->Normalize();
  return copy;
}

template <class Move>
struct MoveClass;
template <>
struct MoveClass<zvPosted3axMove> {
  static constexpr auto kNumber = zvMachDef::threeAxes;
  static std::array<double, 3> Degs(const zvPosted3axMove&) { return {}; }
};
template <>
struct MoveClass<zvPosted4axMove> {
  static constexpr auto kNumber = zvMachDef::fourAxes;
  static std::array<double, 3> Degs(const zvPosted4axMove& move) {
    return {move.GetRotaryAngle(), 0, 0};
  }
};
template <>
struct MoveClass<zvPosted5axMove> {
  static constexpr auto kNumber = zvMachDef::fiveAxes;
  static std::array<double, 3> Degs(const zvPosted5axMove& move) {
    return {move.GetAngle(0), move.GetAngle(1), 0};
  }
};
template <>
struct MoveClass<zvPosted6axMove> {
  static constexpr auto kNumber = zvMachDef::sixAxes;
  static std::array<double, 3> Degs(const zvPosted6axMove& move) {
    return {move.GetAngle(0), move.GetAngle(1), move.GetAngle(2)};
  }
};

template <class Move>
zvLineView ViewOf(const Move& move) {
  const bool isSmall = move.HasNoExtended();
  return {move.GetMachinePosition(),
          move.GetPartPosition(),
          move.GetOrientation(),
          MoveClass<Move>::Degs(move),
          move.GetFeed(),
          move.IsRapid(),
          !isSmall && move.IsInserted(),
          isSmall ? -1 : move.GetSourceIndex()};
}

void RequireClass(const zvMachDef& machDef, int number) {
  if (machDef.GetNumbersOfAxes() != number) throw zvPostException(zvPostException::kWrongCast);
}

/// Hands a move of its machine's class to a verification.
class MoveTaker : public zvPostedVisitor {
 public:
  MoveTaker(const zvMachDef& machDef, zvVerification& verification)
      : m_machDef(machDef), m_verification(verification) {}

  void Visit(const zvPosted6axMove& move) override { Take(move); }
  void Visit(const zvPosted5axMove& move) override { Take(move); }
  void Visit(const zvPosted4axMove& move) override { Take(move); }
  void Visit(const zvPosted3axMove& move) override { Take(move); }
  void Visit(const zvPostedMove&) override {
    throw zvPostException(zvPostException::kAbstractMember);
  }

 private:
  template <class Move>
  void Take(const Move& move) {
    RequireClass(m_machDef, MoveClass<Move>::kNumber);
    m_verification.Take(ViewOf(move));
  }

  const zvMachDef& m_machDef;
  zvVerification& m_verification;
};

}  // namespace

zvBlockSink::~zvBlockSink() = default;

zvPostingVerifier::zvPostingVerifier(const zvMachDef& machDef, const zv5axControlDef& control,
                                     const Point& partOrigin, double toolLengthCompensation)
    : m_machDef(NormalisedCopy(machDef)),
      m_control(control),
      m_law(machDef, partOrigin, toolLengthCompensation) {
  if (!IsFinite(partOrigin) || !std::isfinite(toolLengthCompensation))
    throw zvPostException(zvPostException::kInvalidVector);
  if (m_machDef->GetNumbersOfAxes() != zvMachDef::fiveAxes) return;
  zv5axMachDef five = zvMachDefUtils::As5ax(*m_machDef);
  if (five.GetFiveAxisKind() != zv5axMachDef::kBothOnTableLengthLeftOut) return;
  five.SetFiveAxisKind(zv5axMachDef::kBothOnTable);
  m_standingLaw.emplace(five, partOrigin, toolLengthCompensation);
}

template <class Move>
zvPostingVerdict zvPostingVerifier::VerifyList(const cadcam::zvToolPath& toolpath,
                                               const misc::zvMemoryPoolList<Move>& list,
                                               zvBlockSink* sink) const {
  RequireClass(*m_machDef, MoveClass<Move>::kNumber);
  misc::zvPolling polling(m_progress);
  polling.Enter(misc::zvProgress::kVerifying);
  zvVerification verification(Machine(), m_rules, toolpath, m_rules.alignment, sink);
  verification.SetPolling(polling.Get());
  misc::zvPolledEnd end(polling.Get(), list.begin(), list.end(), list.GetCount());
  for (auto move = list.begin(); end.IsBefore(move); ++move) {
    list.PrefetchAfter(*move);
    verification.Take(ViewOf(*move));
  }
  polling.Finish();
  return verification.Finish();
}

zvPostingVerdict zvPostingVerifier::Verify(const cadcam::zvToolPath& toolpath,
                                           const misc::zvMemoryPoolList<zvPosted3axMove>& list,
                                           zvBlockSink* sink) const {
  return VerifyList(toolpath, list, sink);
}

zvPostingVerdict zvPostingVerifier::Verify(const cadcam::zvToolPath& toolpath,
                                           const misc::zvMemoryPoolList<zvPosted4axMove>& list,
                                           zvBlockSink* sink) const {
  return VerifyList(toolpath, list, sink);
}

zvPostingVerdict zvPostingVerifier::Verify(const cadcam::zvToolPath& toolpath,
                                           const misc::zvMemoryPoolList<zvPosted5axMove>& list,
                                           zvBlockSink* sink) const {
  return VerifyList(toolpath, list, sink);
}

zvPostingVerdict zvPostingVerifier::Verify(const cadcam::zvToolPath& toolpath,
                                           const misc::zvMemoryPoolList<zvPosted6axMove>& list,
                                           zvBlockSink* sink) const {
  return VerifyList(toolpath, list, sink);
}

zvPostingVerdict zvPostingVerifier::Verify(const cadcam::zvToolPath& toolpath,
                                           const zvPostedTP& posted, zvBlockSink* sink) const {
  const zvAlignMatrix own = posted.GetAlignMatrix();
  zvVerification verification(Machine(), m_rules, toolpath, own ? own : m_rules.alignment, sink);
  MoveTaker taker(*m_machDef, verification);
  misc::zvPolling polling(m_progress);
  verification.SetPolling(polling.Get());
  polling.Enter(misc::zvProgress::kVerifying);
  misc::zvPolledEnd end(polling.Get(), posted.Begin(), posted.End(), posted.GetCount());
  for (auto move = posted.Begin(); end.IsBefore(move); ++move) (**move).AcceptVisitor(taker);
  polling.Finish();
  return verification.Finish();
}

zvPostingVerdict zvPostingVerifier::Verify(const cadcam::zvToolPath& toolpath, const NextLine& next,
                                           zvBlockSink* sink) const {
  zvVerification verification(Machine(), m_rules, toolpath, m_rules.alignment, sink);
  misc::zvPolling polling(m_progress);
  verification.SetPolling(polling.Get());
  polling.Enter(misc::zvProgress::kVerifying);
  polling.StartWalk(toolpath.GetMoveCount());  // nobody knows how many lines will come
  zvPostedLine line;
  while (next(line)) {
    polling.Advance(1);
    verification.Take({line.p_mach, line.p_part, line.dir_tool, line.degs, line.feed, line.isRapid,
                       line.source >= 0 && line.isInserted, line.source});
  }
  polling.Finish();
  return verification.Finish();
}

zvVerifiedMachine zvPostingVerifier::Machine() const {
  return {*m_machDef, m_control, m_law, m_standingLaw ? &*m_standingLaw : nullptr};
}

}  // namespace post
