// zvVerification: the state of one verification, line by line.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/lanes.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/geometry/way_distance.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/verifier/posting_findings.h>
#include <kandrel/post/verifier/source_walk.h>
#include <kandrel/post/verifier/verifier_rules.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

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

/// A posted line of any kind; it refers to where it is read from.
struct zvLineView {
  using Point = cadcam::zvTPoint3d<double>;

  const Point& p_mach;
  const Point& p_part;
  const Point& dir_tool;
  std::array<double, 3> degs{};
  double feed;
  bool isRapid;
  bool isInserted;
  std::int64_t source;  // -1: not known
};

/// Takes the lines of a posting one after the other. Refers to all that it is given.
class zvVerification {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  zvVerification(const zvVerifiedMachine& machine, const zvVerifierRules& rules,
                 const cadcam::zvToolPath& toolpath, const zvAlignMatrix& alignment,
                 zvBlockSink* sink);

  void Take(const zvLineView& line);
  zvPostingVerdict Finish();

 private:
  using Finding = zvPostingFinding;

  /// A line as it is judged.
  struct Judged {
    zvBlockLaw::Station station;
    Point p_part;
    Point dir_tool;           // a unit vector
    double tipOff = 0;        // what the machine puts the tip off the line by
    double axisOff = 0;       // the same of the tool axis, as a chord
    double sourceTipOff = 0;  // what the part position lies off the source's move or segment by
    double sourceOff = 0;     // what the orientation lies off the source's arc by, radians
    bool isLift = false;      // a rapid line that the posting put in
  };

  /// A step of the toolpath.
  struct Segment {
    std::int64_t next;  // the index of its end
    zvBlockLaw::Way way;
    zvWaySegment line;
    zvWayArc arc;
    double length;
  };

  /// The rapid lines that a posting put in on its way to a feed move: lifts over lines of the path,
  /// and what turns in the air between them.
  struct Flight {
    struct Line {
      std::uint64_t line;
      std::int64_t source;
      Point p_part;
      bool isOnPath;
    };
    Point p_part;  // of the line that it left
    Point dir_tool;
    bool isLifted = false;
    bool hasTurned = false;
    std::optional<Line> doubt;   // the last, if only the next line can tell
    std::optional<Line> onPath;  // the first of its lifts that lies on the path
  };

  const Judged& Previous() const noexcept { return m_judged[1 - m_current]; }
  std::size_t RotaryCount() const noexcept { return m_rotary < 2 ? m_rotary : 2; }
  void Unwrap(zvBlockLaw::Line& line);
  void ChooseLaw(Judged& judged);

  void TakeNotFinite(const zvLineView& line);
  [[gnu::always_inline]] inline bool IsNext(const zvLineView& line) const;
  std::int64_t FindSource(const zvLineView& line, Judged& judged);
  bool IsAt(const zvSourceMove& move, const zvLineView& line, const Judged& judged) const;
  void Match(const zvLineView& line, Judged& judged);
  bool MatchAhead(const zvLineView& line, Judged& judged);
  void TakeInserted(const zvLineView& line, Judged& judged);
  void TakeRapid(const zvLineView& line, const Judged& judged);
  void TakeFlight(const zvLineView& line, bool isOnPath);
  void SettleFlight(const zvLineView& line, const Judged& judged);
  void ReportRapid(const Flight::Line& line);
  bool IsOver(const Point& p_part, const Point& below, const Point& dir_tool) const;
  void SkipMissing(std::int64_t count);
  void Pass();
  void TakeAsThere();
  bool IsBlendedFeed(double feed) const;
  const Segment& SegmentHere();

  double CountedOff(double off) const;
  void CheckFeed(const zvLineView& line, double most);
  void CheckPose(const zvLineView& line, const Judged& judged);
  bool IsOnPole(const Judged& judged) const;
  bool IsInLimits(const zvLineView& line) const;
  void CheckLimits(const zvLineView& line);
  void CheckRotaryLimit(std::size_t axis, double deg);
  void CheckBlock(const Judged& judged) {
    if (m_sink != nullptr || !StaysWithinKnown(judged)) CheckBlockClosely(judged);
  }
  bool StaysWithinKnown(const Judged& judged) const;
  void CheckBlockClosely(const Judged& judged);
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
  zvSourceWalk m_source;
  std::array<zvRotaryRange, 2> m_ranges{};
  std::array<bool, 2> m_isWrapped{};
  std::size_t m_rotary = 0;      // 0 to 3
  Point m_pole;                  // the direction of the tool in the part at which an axis is free
  bool m_hasSecondPole = false;  // the second axis is free everywhere
  double m_thirdAngle = 0;
  std::array<misc::Lanes, 3> m_least{};  // X and Y, Z and the first rotary axis, the second
  std::array<misc::Lanes, 3> m_most{};

  zvPostingVerdict m_verdict;
  std::uint64_t m_line = 0;
  std::int64_t m_sourceOfLine = -1;
  double m_size = 0;   // the size of the line's numbers and the machine's
  double m_slack = 0;  // what a length may be off by: a part of the size of the line's numbers
  std::array<double, 2> m_carried{};  // whole turns of wrapped axes, degrees
  double m_along = 0;                 // how far inserted lines have come on their segment
  bool m_maybeThere = false;          // the line before may stand for the next source move
  bool m_hasPrevious = false;
  std::array<double, 3> m_lastDegs{};  // of the line before, as it is written
  std::optional<Flight> m_flight;
  std::array<Judged, 2> m_judged;
  std::size_t m_current = 0;
  std::optional<Segment> m_segment;  // the last that was asked for
  misc::Lanes m_known{};             // what Known says, the axis in radians less rounding
  zvBlockDeviation m_reached;        // what some block reaches: a maximum may be kNear above it
};

}  // namespace post
