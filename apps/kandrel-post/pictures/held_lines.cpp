#include "kandrel-post/pictures/held_lines.h"

#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/posted_move.h>

#include <algorithm>
#include <cmath>

namespace kandrel_post {

namespace {

std::array<float, 3> Floats(const post::zvPostedMove::Point& p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

bool IsLift(const HeldLine& line) {
  constexpr int kLift = kRapidLine | kInsertedLine;
  return (line.flags & kLift) == kLift;
}

// What tells stretches apart whose ends are worth holding.
int MarksOf(const HeldLine& line) {
  return (line.flags & (kRapidLine | kPoleLine)) | (IsLift(line) ? kInsertedLine : 0);
}

// Of two bounds the larger, where NaN is none.
void Raise(float& bound, double value) {
  const auto other = static_cast<float>(value);
  if (!(other <= bound)) bound = other;
}

}  // namespace

void HeldLines::Start(std::uint64_t count, const post::zvPostingCounts& counts) {
  m_total = count;
  m_counts = counts;
  const std::uint64_t half = std::max<std::uint64_t>(m_most / 2, 1);
  m_stride = count <= m_most ? 1 : (count + half - 1) / half;
  m_lines.reserve(m_stride == 1 ? count : m_most + m_extremes.size() + 1);
}

HeldLine HeldLines::LineOf(const PostedRow& row, bool isOnPole) {
  const post::zvPostedMove& move = row.move;
  const post::zvPostedMove::Point& p = move.GetMachinePosition();
  HeldLine line;
  m_seconds += move.GetMoveTime();
  line.seconds = m_seconds;
  line.axes = {p.x, p.y, p.z, row.angles[0], row.angles[1], row.angles[2]};
  line.part = Floats(move.GetPartPosition());
  line.tool = Floats(move.GetOrientation());
  line.feed = static_cast<float>(move.GetFeed());
  line.line = static_cast<std::uint32_t>(m_count);
  int flags = (move.IsRapid() ? kRapidLine : 0) | (isOnPole ? kPoleLine : 0);
  if (!move.HasNoExtended()) {
    if (move.IsInserted()) flags |= kInsertedLine;
    // An index below 0, of a move in front of the first, comes out as none.
    if (move.GetSourceIndex() >= 0) line.source = static_cast<std::uint32_t>(move.GetSourceIndex());
  }
  line.flags = static_cast<std::uint8_t>(flags);
  return line;
}

void HeldLines::Write(const PostedRow& row, bool isOnPole) {
  const HeldLine line = LineOf(row, isOnPole);
  if (m_count != 0) HoldPending(&line);
  if (IsLift(line))
    Follow(line);
  else if (m_flight.isOn)
    Settle(line);
  if (m_stride != 1) NoteExtremes(line);
  m_pending = line;
  if (++m_count != m_total) return;
  HoldPending(nullptr);
  if (m_stride != 1) HoldExtremes();
}

// A rewinding turns an axis by more than half a turn, which nothing else does, or begins with a
// line that stands where the lift before it does; where the control wraps, that is all that is
// seen.
void HeldLines::Follow(const HeldLine& line) {
  if (!m_flight.isOn) {
    m_flight = {true, false, m_lines.size(), m_pending.axes};
    return;
  }
  bool stands = line.axes == m_pending.axes;
  for (std::size_t i = 0; i < m_wrapped.size(); ++i) {
    const double turn = std::abs(line.axes[3 + i] - m_pending.axes[3 + i]);
    if (!m_wrapped[i] && turn > misc::kFullTurnDeg / 2 + misc::kAngleBorder) stands = true;
  }
  m_flight.hasRewound = m_flight.hasRewound || stands;
}

// What a flight was for, as the line after it shows. Lines put in on a rapid step are no flight.
void HeldLines::Settle(const HeldLine& next) {
  m_flight.isOn = false;
  std::uint8_t flag = 0;
  if (m_flight.hasRewound)
    flag = m_counts.rewindings != 0 ? kRewindingLine : 0;
  else if ((next.flags & kRapidLine) == 0 && m_counts.largeJumps != 0)
    flag = kLargeJumpLine;
  for (std::size_t i = m_flight.first; i < m_lines.size(); ++i) m_lines[i].flags |= flag;
}

// `next` is null behind the last line.
void HeldLines::HoldPending(const HeldLine* next) {
  const int marks = MarksOf(m_pending);
  if (m_pending.line % m_stride == 0) {
    m_lines.push_back(m_pending);
    ++m_room;
  } else if (next == nullptr) {
    m_lines.push_back(m_pending);
  } else if (m_room != 0 && (marks != m_marksBefore || marks != MarksOf(*next))) {
    m_lines.push_back(m_pending);
    --m_room;
  }
  m_marksBefore = marks;
}

void HeldLines::NoteExtremes(const HeldLine& line) {
  for (std::size_t i = 0; i < line.axes.size(); ++i) {
    HeldLine& lowest = m_extremes[2 * i];
    HeldLine& highest = m_extremes[2 * i + 1];
    if (m_count == 0 || line.axes[i] < lowest.axes[i]) lowest = line;
    if (m_count == 0 || line.axes[i] > highest.axes[i]) highest = line;
  }
}

void HeldLines::HoldExtremes() {
  for (HeldLine& line : m_extremes) {
    const auto place = std::lower_bound(
        m_lines.begin(), m_lines.end(), line,
        [](const HeldLine& held, const HeldLine& wanted) { return held.line < wanted.line; });
    if (place->line == line.line) continue;  // the last line is held: there is always a place
    const int flight = IsLift(line) ? place->flags & (kLargeJumpLine | kRewindingLine) : 0;
    line.flags = static_cast<std::uint8_t>(line.flags | flight);
    m_lines.insert(place, line);
  }
}

void HeldLines::Take(const post::zvVerifiedBlock& block) {
  while (m_next < m_lines.size() && m_lines[m_next].line < block.line) ++m_next;
  if (m_next == m_lines.size()) return;
  Raise(m_lines[m_next].tip, block.deviation.tip);
  Raise(m_lines[m_next].axis, block.deviation.axis);
}

}  // namespace kandrel_post
