// zvVerification: the state of one verification, line by line.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/lanes.h>
#include <kandrel/misc/progress.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/verifier/detail/judged_line.h>
#include <kandrel/post/verifier/detail/source_finder.h>
#include <kandrel/post/verifier/posting_findings.h>
#include <kandrel/post/verifier/verifier_rules.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace post {

/// What all verifications by one verifier refer to.
struct zvVerifiedMachine {
  const zvMachDef& machDef;
  const zv5axControlDef& control;
  const zvBlockLaw& law;
  /// For a machine that leaves the tool length out: the law with it, else null. A path of one
  /// orientation along the spindle is posted as on a plain 3-axis machine, with the length added.
  const zvBlockLaw* standingLaw;
};

/// Takes the lines of a posting one after the other: what the machine does at each and between two
/// of them. Refers to all that it is given.
class zvVerification {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// `sink` may be null. Throws as zvSourceWalk for what is wrong with the toolpath as such.
  zvVerification(const zvVerifiedMachine& machine, const zvVerifierRules& rules,
                 const cadcam::zvToolPath& toolpath, const zvAlignMatrix& alignment,
                 zvBlockSink* sink);
  zvVerification(const zvVerification&) = delete;  // the finder refers to its verdict
  zvVerification& operator=(const zvVerification&) = delete;

  /// Who is asked while one line is looked at, where that takes long; null, at first, for nobody.
  void SetPolling(misc::zvPolling* polling) noexcept { m_finder.SetPolling(polling); }

  /// Takes the next line; and, after the last one, says what was found.
  void Take(const zvLineView& line);
  zvPostingVerdict Finish();

 private:
  using Finding = zvPostingFinding;
  using Judged = zvJudgedLine;

  /// What the machine does between two lines, and what it ought to do.
  struct Block {
    const zvBlockLaw::Station& from;
    const zvBlockLaw::Station& to;
    zvBlockLaw::Way way;
    const zvBlockLaw::Way* sourceWay;  // of the toolpath, where the tool axis leaves it; or null
    double tipOff;                     // what the part positions lie off the source by
    double ownOff;                     // the same and what the machine puts the tip off them by
    double ownChord;                   // the same of the tool axis
  };

  const Judged& Previous() const noexcept { return m_judged[1 - m_current]; }
  std::size_t RotaryCount() const noexcept { return m_rotary < 2 ? m_rotary : 2; }
  void Unwrap(zvBlockLaw::Line& line);
  void ChooseLaw(Judged& judged);

  void TakeNotFinite(const zvLineView& line);
  void CheckPose(const zvLineView& line, const Judged& judged);
  bool IsOnPole(const Judged& judged) const;
  bool IsInLimits(const zvLineView& line) const;
  void CheckLimits(const zvLineView& line);
  void CheckRotaryLimit(std::size_t axis, double deg);
  void CheckBlock(const Judged& judged) {
    const std::uint64_t tips = CountOf(Finding::kTipOffWay);
    const std::uint64_t axes = CountOf(Finding::kAxisOffWay);
    if (!StaysWithinKnown(judged)) CheckBlockClosely(judged);
    if (m_sink != nullptr)
      TellBlock(judged, CountOf(Finding::kTipOffWay) == tips,
                CountOf(Finding::kAxisOffWay) == axes);
  }
  bool StaysWithinKnown(const Judged& judged) const;
  void CheckBlockClosely(const Judged& judged);
  void TellBlock(const Judged& judged, bool holdsTip, bool holdsAxis);
  std::uint64_t CountOf(Finding::Kind kind) const noexcept {
    return m_verdict.counts[static_cast<std::size_t>(kind)];
  }
  Block BlockTo(const Judged& judged) const;
  zvBlockDeviation Estimated(const Block& block, const zvBlockEstimate& estimate) const;
  zvBlockDeviation Searched(const Block& block, zvBlockDeviation bound,
                            const zvBlockDeviation& known) const;
  zvBlockDeviation Known() const;
  void ReachMiddle(const zvBlockLaw::Way& way, const Judged& judged);
  [[gnu::always_inline]] inline bool TurnsSlower(const zvLineView& line,
                                                 const Judged& judged) const;
  void CheckTurns(const zvLineView& line, const Judged& judged);
  void Raise(zvPostingVerdict::Largest& largest, double value) const;
  void Report(Finding::Kind kind, int axis, double value, double bound, double excess);

  const zvVerifiedMachine m_machine;
  const zvVerifierRules& m_rules;
  const zvBlockLaw* m_law;
  zvBlockSink* m_sink;
  std::array<zvRotaryRange, 2> m_ranges{};
  std::array<bool, 2> m_isWrapped{};
  std::size_t m_rotary = 0;      // 0 to 3
  Point m_pole;                  // the direction of the tool in the part at which an axis is free
  bool m_hasSecondPole = false;  // the second axis is free everywhere
  double m_thirdAngle = 0;
  std::array<misc::Lanes, 3> m_least{};  // X and Y, Z and the first rotary axis, the second
  std::array<misc::Lanes, 3> m_most{};

  zvPostingVerdict m_verdict;
  zvSourceFinder m_finder;
  std::uint64_t m_line = 0;
  std::int64_t m_sourceOfLine = -1;
  double m_slack = 0;  // what a length may be off by: a part of the size of the line's numbers
  std::array<double, 2> m_carried{};  // whole turns of wrapped axes, degrees
  bool m_hasPrevious = false;
  std::array<Judged, 2> m_judged;
  std::size_t m_current = 0;
  misc::Lanes m_known{};       // what Known says, the axis in radians less rounding
  zvBlockDeviation m_reached;  // what some block reaches: a maximum may be kNear above it
};

}  // namespace post
