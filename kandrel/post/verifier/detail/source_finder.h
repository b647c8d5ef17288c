// zvSourceFinder: which source move each line of a posting stands for.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/progress.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/geometry/way_distance.h>
#include <kandrel/post/verifier/detail/judged_line.h>
#include <kandrel/post/verifier/detail/source_walk.h>
#include <kandrel/post/verifier/posting_findings.h>
#include <kandrel/post/verifier/verifier_rules.h>

#include <array>
#include <cstdint>
#include <optional>

namespace post {

/// Adds a finding to a verdict: it is counted, and kept where there is room.
void AddFinding(zvPostingVerdict& verdict, const zvVerifierRules& rules,
                const zvPostingFinding& finding);

/// Takes the lines of a posting one after the other and finds the moves of the toolpath in them, in
/// order: from numbers where lines have them, else from places. What is wrong there goes to the
/// verdict, at the line that this counted last. Refers to all that it is given.
class zvSourceFinder {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  using Judged = zvJudgedLine;

  /// Stands before the first line and the first move.
  zvSourceFinder(zvPostingVerdict& verdict, const zvVerifierRules& rules,
                 const cadcam::zvToolPath& toolpath, const zvAlignMatrix& alignment)
      : m_verdict(verdict), m_rules(rules), m_source(toolpath, alignment) {}

  /// Who is asked while many source moves are passed over; null, at first, for nobody.
  void SetPolling(misc::zvPolling* polling) noexcept { m_polling = polling; }

  /// The size of the next line's numbers and the machine's, and what its lengths may be off by.
  void SetSlack(double size, double slack) noexcept {
    m_size = size;
    m_slack = slack;
  }
  /// Whether a line without a number stands where the next source move does.
  bool IsAtNext(const zvLineView& line, const Judged& judged) const {
    return IsAt(m_source.Next(), line, judged);
  }
  /// Returns the source move that the line runs to, and says in `judged` what it lies off the path
  /// by. `previous` is the line before, null where none is to be compared with.
  [[gnu::always_inline]] std::int64_t FindSource(const zvLineView& line, Judged& judged,
                                                 const Judged* previous) {
    judged.isLift = false;
    judged.sourceOff = 0;
    judged.sourceTipOff = 0;
    if (m_flight || !IsNext(line)) [[unlikely]]
      return Search(line, judged, previous);
    const std::int64_t source = m_source.GetNextIndex();
    Pass();
    ++m_verdict.sources;
    return source;
  }
  /// For a line of which nothing can be judged.
  void PassUnjudged(const zvLineView& line);
  void Finish();

  /// The step of the toolpath that a line was last held against, or null.
  const zvBlockLaw::Way* LastWay() const noexcept { return m_segment ? &m_segment->way : nullptr; }

 private:
  using Finding = zvPostingFinding;

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
    /// A line at an end of the flight; the position in the part's frame.
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
    std::optional<Line> doubt{};   // the last, if only the next line can tell
    std::optional<Line> onPath{};  // the first of its lifts that lies on the path
  };

  /// Whether a line says all that the next source move does, and nothing else.
  bool IsNext(const zvLineView& line) const noexcept {
    const zvSourceMove& next = m_source.Next();
    const bool isNamed =
        line.source < 0 || (line.source == m_source.GetNextIndex() && !line.isInserted);
    return line.p_part == next.tip && line.dir_tool == next.dir_tool && line.feed == next.feed &&
           line.isRapid == next.isRapid && isNamed && !m_maybeThere && !m_source.IsAtEnd();
  }
  std::int64_t Search(const zvLineView& line, Judged& judged, const Judged* previous);
  void Find(const zvLineView& line, Judged& judged);
  bool IsAt(const zvSourceMove& move, const zvLineView& line, const Judged& judged) const;
  void Match(const zvLineView& line, Judged& judged);
  bool MatchAhead(const zvLineView& line, Judged& judged);
  void TakeInserted(const zvLineView& line, Judged& judged);
  void TakeRapid(const zvLineView& line, const Judged& judged);
  void TakeFlight(const zvLineView& line, const Judged& judged, bool isOnPath);
  void CheckOrder(const zvLineView& line, const Judged& judged, const Segment& segment);
  void CheckTurn(const Judged& judged, const Segment& segment);
  bool StandsAsBefore(const Judged& judged) const;
  void SettleFlight(const zvLineView& line, const Judged& judged);
  void ReportRapid(const Flight::Line& line);
  bool IsOver(const Point& p_part, const Point& below, const Point& dir_tool) const;
  void SkipMissing(std::int64_t count);
  /// Goes past the next source move.
  void Pass() {
    m_source.Advance();
    m_along = 0;
    m_turned = 0;
    m_turn = {};
    m_maybeThere = false;
  }
  void TakeAsThere();
  bool IsBlendedFeed(double feed) const;
  const Segment& SegmentHere();
  double CountedOff(double off) const;
  void CheckFeed(const zvLineView& line, double most);
  std::uint64_t GetLine() const noexcept { return m_verdict.lines - 1; }
  void Report(Finding::Kind kind, double value, double bound, double excess, int axis = -1);

  zvPostingVerdict& m_verdict;
  const zvVerifierRules& m_rules;
  zvSourceWalk m_source;
  misc::zvPolling* m_polling = nullptr;
  std::int64_t m_sourceOfLine = -1;
  double m_size = 0;
  double m_slack = 0;
  double m_along = 0;              // how far inserted lines have come on their segment
  double m_turned = 0;             // the same on its arc where the tip stands, degrees
  std::array<double, 2> m_turn{};  // the last turn of each rotary axis there
  bool m_isOnArc = false;          // the tool turned along its arc then
  bool m_stands = false;           // or not at all
  bool m_maybeThere = false;       // the line before may stand for the next source move
  const Judged* m_previous = nullptr;
  std::optional<Flight> m_flight;
  std::optional<Segment> m_segment;  // the last that was asked for
};

}  // namespace post
