#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/verifier/detail/source_finder.h>

#include <algorithm>
#include <cmath>

namespace post {

namespace {

/// How far a source move's direction and an inserted line's may be off each other, in radians, and
/// count as the same: far above rounding, below what any tolerance asks.
constexpr double kSameDirection = 1e-9;
/// The same of a place, as a part of the size of the line's numbers.
constexpr double kSamePlace = 1e-12;
/// What a feed may be above its source's by, as a part: blends of two equal ones round.
constexpr double kFeedSlack = 1e-9;

zvBlockLaw::Way WayBetween(const zvSourceMove& from, const zvSourceMove& to) {
  return {{from.tip, UnitOf(from.dir_tool)}, {to.tip, UnitOf(to.dir_tool)}};
}

bool IsBetweenOpposites(const zvBlockLaw::Way& way) {
  return (way.from.axis + way.to.axis).SquaredLength() <= misc::kOpposite * misc::kOpposite;
}

}  // namespace

void AddFinding(zvPostingVerdict& verdict, const zvVerifierRules& rules,
                const zvPostingFinding& finding) {
  ++verdict.counts[static_cast<std::size_t>(finding.kind)];
  if (verdict.findings.size() < rules.mostFindings) verdict.findings.push_back(finding);
}

void zvSourceFinder::Report(Finding::Kind kind, double value, double bound, double excess,
                            int axis) {
  AddFinding(m_verdict, m_rules, {kind, GetLine(), m_sourceOfLine, axis, value, bound, excess});
}

std::int64_t zvSourceFinder::Search(const zvLineView& line, Judged& judged,
                                    const Judged* previous) {
  m_previous = previous;
  if (m_flight) SettleFlight(line, judged);
  m_sourceOfLine = m_source.GetNextIndex();
  Find(line, judged);
  if (!judged.isLift) m_flight.reset();
  return m_sourceOfLine;
}

void zvSourceFinder::Find(const zvLineView& line, Judged& judged) {
  if (line.source < 0) {
    const zvSourceMove* after = m_maybeThere ? m_source.Ahead(1) : nullptr;
    if (after != nullptr && IsAt(*after, line, judged) && !IsAt(m_source.Next(), line, judged))
      TakeAsThere();
    const bool isThere = !m_source.IsAtEnd() && IsAt(m_source.Next(), line, judged);
    // Turns on the spot may be divided by lines that stand there too, at feeds between the two.
    if (isThere && !IsBlendedFeed(line.feed)) return Match(line, judged);
    TakeInserted(line, judged);
    m_maybeThere = m_maybeThere || isThere;
    return;
  }
  const std::int64_t due = m_source.GetNextIndex();
  const std::int64_t last = m_source.GetCount() - 1;
  const auto value = static_cast<double>(line.source);
  if (line.source > last)
    return Report(Finding::kSourceUnknown, value, static_cast<double>(last),
                  static_cast<double>(line.source - last));
  // Inserted lines have the number of the move before them or of the one after them.
  if (line.source < due - (line.isInserted ? 1 : 0))
    return Report(Finding::kSourceOrder, value, static_cast<double>(due),
                  static_cast<double>(due - line.source));
  if (line.source > due) SkipMissing(line.source - due);
  if (line.isInserted)
    TakeInserted(line, judged);
  else
    Match(line, judged);
}

void zvSourceFinder::PassUnjudged(const zvLineView& line) {
  // It may stand for the move that is due all the same.
  const bool isDue = line.source < 0 ? line.p_part == m_source.Next().tip
                                     : !line.isInserted && line.source == m_source.GetNextIndex();
  if (isDue && !m_source.IsAtEnd()) Pass();
  if (m_flight && m_flight->doubt) ReportRapid(*m_flight->doubt);
  m_flight.reset();
}

void zvSourceFinder::Finish() {
  if (m_flight && m_flight->doubt) ReportRapid(*m_flight->doubt);
  if (m_maybeThere) TakeAsThere();
  const std::int64_t next = m_source.GetNextIndex();
  const auto missing = static_cast<double>(m_source.GetCount() - next);
  if (missing > 0)
    AddFinding(m_verdict, m_rules,
               {Finding::kSourceMissing, m_verdict.lines, next, -1, missing, 0, missing});
}

// Whether a line without a number stands where a source move does.
bool zvSourceFinder::IsAt(const zvSourceMove& move, const zvLineView& line,
                          const Judged& judged) const {
  if (line.isRapid != move.isRapid) return false;
  if (line.p_part == move.tip && line.dir_tool == move.dir_tool) return true;
  return PlainLength(line.p_part - move.tip) <= m_slack &&
         PlainLength(judged.dir_tool - UnitOf(move.dir_tool)) <=
             m_rules.lineAxis * misc::kRadiansPerDegree;
}

// Whether a feed is not the next source move's and one that a line before it may have.
bool zvSourceFinder::IsBlendedFeed(double feed) const {
  const double last = m_source.Last().feed;
  const double next = m_source.Next().feed;
  return feed != next && feed <= std::max(last, next);
}

// The line stands for the next source move.
void zvSourceFinder::Match(const zvLineView& line, Judged& judged) {
  const zvSourceMove& move = m_source.Next();
  if (!(line.p_part == move.tip)) {
    const double off = PlainLength(line.p_part - move.tip);
    judged.sourceTipOff = CountedOff(off);
    if (!(off <= m_slack)) Report(Finding::kTipOffSource, off, m_slack, off - m_slack);
  }
  if (!(line.dir_tool == move.dir_tool)) {
    const double deg = DegOfChord(PlainLength(judged.dir_tool - UnitOf(move.dir_tool)));
    if (!(deg <= m_rules.lineAxis))
      Report(Finding::kAxisOffSource, deg, m_rules.lineAxis, deg - m_rules.lineAxis);
  }
  CheckFeed(line, move.feed);
  if (line.isRapid != move.isRapid) Report(Finding::kRapid, line.isRapid, move.isRapid, 0);
  Pass();
  ++m_verdict.sources;
}

// What a place is off the path by, but for rounding. Beyond the slack it is a finding by itself.
double zvSourceFinder::CountedOff(double off) const {
  return off > kSamePlace * m_size && off <= m_slack ? off : 0;
}

void zvSourceFinder::CheckFeed(const zvLineView& line, double most) {
  if (line.isRapid || line.feed == most) return;
  if (!(line.feed <= most + kFeedSlack * std::fabs(most)))
    Report(Finding::kFeed, line.feed, most, line.feed - most);
}

void zvSourceFinder::SkipMissing(std::int64_t count) {
  auto& findings = m_verdict.findings;
  const auto value = static_cast<double>(count);
  if (!findings.empty() && findings.back().kind == Finding::kSourceMissing &&
      findings.back().line == GetLine()) {
    findings.back().value += value;
    findings.back().excess += value;
  } else {
    Report(Finding::kSourceMissing, value, 0, value);
  }
  for (; count > 0 && !m_source.IsAtEnd(); --count) {
    Pass();
    if (m_polling != nullptr) m_polling->Touch(1);
  }
  m_sourceOfLine = m_source.GetNextIndex();
}

const zvSourceFinder::Segment& zvSourceFinder::SegmentHere() {
  if (!m_segment || m_segment->next != m_source.GetNextIndex()) {
    const zvBlockLaw::Way way = WayBetween(m_source.Last(), m_source.Next());
    m_segment.emplace(Segment{m_source.GetNextIndex(), way, zvWaySegment(way.from.tip, way.to.tip),
                              zvWayArc(way.from.axis, way.to.axis, way.from.axis),
                              PlainLength(way.to.tip - way.from.tip)});
  }
  return *m_segment;
}

// Whether a place is that of a lift, or of none, from a line of the path along its tool. The tool
// may stand off the line's orientation by what a line's axis may, and so may the lift.
bool zvSourceFinder::IsOver(const Point& p_part, const Point& below, const Point& dir_tool) const {
  const Point away = p_part - below;
  const double height = Dot(away, dir_tool);
  const double tilt =
      (m_rules.lineAxis + m_rules.poleAngleTolerance) * misc::kRadiansPerDegree * height;
  return height >= -m_slack && PlainLength(away - height * dir_tool) <= m_slack + tilt;
}

// A rapid line that stands for no source move: it lies on a rapid step of the path, or off the path
// in the air.
void zvSourceFinder::TakeRapid(const zvLineView& line, const Judged& judged) {
  if (m_maybeThere) {
    // Where a rapid step follows it was the line before that stood for the source move.
    const zvSourceMove* const next = m_source.Ahead(1);
    if (next != nullptr && next->isRapid) {
      TakeAsThere();
      m_sourceOfLine = m_source.GetNextIndex();
    }
  }
  const Segment& segment = SegmentHere();
  const bool isOnPath = segment.line.Distance(line.p_part) <= m_slack;
  if (!m_source.Next().isRapid) return TakeFlight(line, judged, isOnPath);
  if (!isOnPath || m_previous == nullptr) return;
  // A lift goes up and down again on a step along the tool.
  const Judged& previous = *m_previous;
  if (IsOver(line.p_part, previous.p_part, previous.dir_tool) ||
      IsOver(previous.p_part, line.p_part, judged.dir_tool))
    return;
  CheckOrder(line, judged, segment);
}

// On a feed step the tool leaves the path along itself, turns in the air, and comes down along
// itself: only between its first line and its last do rotary axes turn. A lift on a step along the
// tool lies on the path as well: then only a turn explains it.
void zvSourceFinder::TakeFlight(const zvLineView& line, const Judged& judged, bool isOnPath) {
  if (m_previous == nullptr) return;
  const Judged& previous = *m_previous;
  const bool isFirst = !m_flight;
  if (isFirst) m_flight.emplace(Flight{previous.p_part, previous.dir_tool});
  Flight& flight = *m_flight;
  const Flight::Line taken{GetLine(), m_sourceOfLine, line.p_part, isOnPath};
  const bool isTurned = isFirst && !StandsAsBefore(judged);
  if (!isTurned && IsOver(line.p_part, flight.p_part, flight.dir_tool)) {
    flight.isLifted = true;
    const bool isThere = PlainLength(line.p_part - flight.p_part) <= m_slack;
    if (isOnPath && !isThere && !flight.onPath) flight.onPath = taken;
  } else if (!flight.isLifted ||
             !(PlainLength(line.p_mach - previous.station.line.p_mach) <= m_slack)) {
    flight.doubt = taken;  // no turn that leaves the linear axes where they are
  }
}

// Whether the rotary axes stand as in the line before.
bool zvSourceFinder::StandsAsBefore(const Judged& judged) const {
  const zvBlockLaw::Line& from = m_previous->station.line;
  const zvBlockLaw::Line& to = judged.station.line;
  return std::fabs(to.firstAngle - from.firstAngle) <= misc::kAngleBorder &&
         std::fabs(to.secondAngle - from.secondAngle) <= misc::kAngleBorder;
}

// What the next line says of the flight before it.
void zvSourceFinder::SettleFlight(const zvLineView& line, const Judged& judged) {
  Flight& flight = *m_flight;
  const bool isTurned = !StandsAsBefore(judged);
  if (isTurned) flight.hasTurned = true;
  if (flight.doubt) {
    const bool isDrop = !isTurned && IsOver(flight.doubt->p_part, judged.p_part, judged.dir_tool);
    if (isDrop && flight.doubt->isOnPath && !flight.onPath) flight.onPath = flight.doubt;
    if (!isDrop && (!line.isRapid || flight.doubt->isOnPath || !flight.isLifted))
      ReportRapid(*flight.doubt);
    flight.isLifted = flight.isLifted || isDrop;
    flight.doubt.reset();
  }
  // Where it comes down as it has left, it has turned by whole turns, which a control that wraps
  // doesn't see.
  if (!line.isRapid && flight.onPath && !flight.hasTurned &&
      !(PlainLength(judged.p_part - flight.p_part) <= m_slack))
    ReportRapid(*flight.onPath);
}

// Of a line before this one, among the findings in its place.
void zvSourceFinder::ReportRapid(const Flight::Line& line) {
  auto& findings = m_verdict.findings;
  const std::size_t kept = findings.size();
  AddFinding(m_verdict, m_rules, {Finding::kRapid, line.line, line.source, -1, 1, 0, 0});
  if (findings.size() == kept) return;
  const auto place =
      std::upper_bound(findings.begin(), findings.end() - 1, findings.back(),
                       [](const Finding& a, const Finding& b) { return a.line < b.line; });
  std::rotate(place, findings.end() - 1, findings.end());
}

// A line that stands for no source move.
void zvSourceFinder::TakeInserted(const zvLineView& line, Judged& judged) {
  judged.isLift = line.isRapid;
  if (line.isRapid) return TakeRapid(line, judged);
  const Segment* segment = &SegmentHere();
  double off = segment->line.Distance(line.p_part);
  if (!(off <= m_slack) && m_maybeThere) {
    // It was the line before that stood for the source move.
    TakeAsThere();
    m_sourceOfLine = m_source.GetNextIndex();
    if (!m_source.IsAtEnd() && IsAt(m_source.Next(), line, judged)) return Match(line, judged);
    segment = &SegmentHere();
    off = segment->line.Distance(line.p_part);
  }
  if (!(off <= m_slack)) {
    if (MatchAhead(line, judged)) return;
    segment = &SegmentHere();
    off = segment->line.Distance(line.p_part);
    if (!(off <= m_slack)) Report(Finding::kTipOffSource, off, m_slack, off - m_slack);
  }
  judged.sourceTipOff = CountedOff(off);
  const double angle = segment->arc.Angle(judged.dir_tool);
  CheckOrder(line, judged, *segment);
  // Between opposite orientations no arc is the shortest: the machine goes its own way.
  if (!(angle <= kSameDirection) && !IsBetweenOpposites(segment->way)) judged.sourceOff = angle;
  CheckFeed(line, std::max(m_source.Last().feed, m_source.Next().feed));
}

// Inserted lines go on on their segment, and where the tip stands on their arc.
void zvSourceFinder::CheckOrder(const zvLineView& line, const Judged& judged,
                                const Segment& segment) {
  const double along = segment.line.Along(line.p_part) * segment.length;
  if (!(along >= m_along - m_slack))
    Report(Finding::kGoesBack, m_along - along, 0, m_along - along);
  if (m_previous != nullptr && !m_previous->isLift && along <= m_along + m_slack)
    CheckTurn(judged, segment);
  else
    m_turn = {};
  m_along = std::max(m_along, along);
}

// On the spot a tool that stands, or that leaves its arc, has its axes turn evenly from one end to
// the other: none of them turns back. On its arc the tool doesn't; beside a pole, where it hardly
// turns, its axes tell. Where it comes onto a pole they may go on the other way.
void zvSourceFinder::CheckTurn(const Judged& judged, const Segment& segment) {
  const double slack = m_rules.lineAxis;
  const zvBlockLaw::Line& from = m_previous->station.line;
  const zvBlockLaw::Line& to = judged.station.line;
  const std::array<double, 2> turn{to.firstAngle - from.firstAngle,
                                   to.secondAngle - from.secondAngle};
  if (std::fabs(turn[0]) <= slack && std::fabs(turn[1]) <= slack) return;  // tells nothing
  // In the cone of a pole the tool's own axis is ahead of the lines' or behind it.
  const Point& toolAxis = judged.station.pose.axis;
  const double offArc = segment.arc.Angle(toolAxis);
  const bool stands = PlainLength(toolAxis - m_previous->station.pose.axis) <= kSameDirection;
  const bool isOnArc = offArc <= slack * misc::kRadiansPerDegree && !stands;
  if (isOnArc != m_isOnArc || stands != m_stands) m_turn = {};
  m_isOnArc = isOnArc;
  m_stands = stands;
  double back = 0;
  if (isOnArc) {
    const double turned = DegOfChord(PlainLength(toolAxis - segment.way.from.axis));
    back = m_turned - turned;
    m_turned = std::max(m_turned, turned);
    if (!(back <= slack)) return Report(Finding::kTurnsBack, back, 0, back);
  }
  const bool mayTurnBack = isOnArc && back <= kSameDirection * misc::kDegreesPerRadian;
  for (std::size_t i = 0; i < turn.size(); ++i) {
    if (!(std::fabs(turn[i]) > slack)) continue;
    if (turn[i] * m_turn[i] < 0 && !mayTurnBack) {
      const auto axis = static_cast<int>(i) + zvLimitType::kFirstRotary;
      return Report(Finding::kTurnsBack, std::fabs(turn[i]), 0, std::fabs(turn[i]), axis);
    }
    m_turn[i] = turn[i];
  }
}

void zvSourceFinder::TakeAsThere() {
  Pass();
  ++m_verdict.sources;
}

// Where a line lies off its segment, source moves may be missing before it: true if it stands for
// one of the next. Where it lies on one of the next segments, those before that are.
bool zvSourceFinder::MatchAhead(const zvLineView& line, Judged& judged) {
  if (line.source < 0) {
    for (std::size_t k = 1; k < zvSourceWalk::kAhead; ++k) {
      const zvSourceMove* move = m_source.Ahead(k);
      if (move == nullptr) break;
      if (!IsAt(*move, line, judged)) continue;
      SkipMissing(static_cast<std::int64_t>(k));
      Match(line, judged);
      return true;
    }
  }
  const zvSourceMove* from = m_source.Ahead(0);
  for (std::size_t k = 1; k < zvSourceWalk::kAhead; ++k) {
    const zvSourceMove* to = m_source.Ahead(k);
    if (to == nullptr) break;
    if (zvWaySegment(from->tip, to->tip).Distance(line.p_part) <= m_slack) {
      SkipMissing(static_cast<std::int64_t>(k));
      break;
    }
    from = to;
  }
  return false;
}

}  // namespace post
