#include "kandrel-post/commands/report.h"

#include <fmt/format.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <utility>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/machine/values.h"

namespace kandrel_post {

namespace {

constexpr std::size_t kMostWordsShown = 10;

// A few decimals for people, and the exponent form where they would not do.
std::string ForPeople(double value) {
  if (!(std::abs(value) < 1e9)) return fmt::format("{:.4e}", value);
  const std::string text = fmt::format("{:.4f}", value);
  return text == "-0.0000" ? "0.0000" : text;
}

std::string Duration(double seconds) {
  if (!(seconds < 1e9)) return fmt::format("{:.4g} s", seconds);
  const auto whole = static_cast<std::uint64_t>(seconds);
  return fmt::format("{}:{:02}:{:02} ({:.3f} s)", whole / 3600, whole / 60 % 60, whole % 60,
                     seconds);
}

std::string Direction(const post::zvMachDef::Point& p) {
  return fmt::format("({:g}, {:g}, {:g})", p.x + 0.0, p.y + 0.0, p.z + 0.0);  // no 0 with a sign
}

std::string FiveAxisKindInWords(std::int32_t kind) {
  switch (kind) {
    case 0:
      return "both on the table, tool length not added";
    case 1:
      return "both in the head";
    case 3:
      return "both on the table";
    default:
      return "one in the head, one on the table";
  }
}

// Of a 6-axis machine's axis as postings take it: (0, 1), which names sides that no kind of machine
// has in that order, means the first on the table and the second in the head.
std::string SideInWords(const MachineValues& v, std::size_t axis) {
  const bool areInHead = v.onWorkpiece[0] == 0 && v.onWorkpiece[1] == 0;
  const bool areOnTable = v.onWorkpiece[0] == 1 && v.onWorkpiece[1] == 1;
  const bool isOnTable = axis == 0 ? !areInHead : axis == 1 ? areOnTable : v.onWorkpiece[2] != 0;
  const bool isAsNamed = isOnTable == (v.onWorkpiece[axis] != 0);
  return fmt::format("{}{}", isOnTable ? "on the table" : "in the head",
                     isAsNamed ? "" : ", other than its flag says");
}

std::string OffLine(const Report::Deviation& deviation, const MachineValues& values) {
  const char* const unit = values.units == measures::zvUnitsFactory::inch ? "in" : "mm";
  // Bounds hold in spite of rounding, and so are never quite 0.
  constexpr double kRounding = 1e-6;
  if (deviation.largest < kRounding) return fmt::format("0 {}", unit);
  return fmt::format("{:.3g} {} at most, on the way to posted move {} (N{})", deviation.largest,
                     unit, deviation.index, deviation.number);
}

std::string ToleranceInWords(const Report& report, measures::zvUnitsFactory::Units units) {
  if (!report.tolerance.IsOn()) return "off";
  const bool isInch = units == measures::zvUnitsFactory::inch;
  std::string text = fmt::format("tip {:g} {}, axis {:g} deg", report.tolerance.GetTip(),
                                 isInch ? "in" : "mm", report.tolerance.GetAxis());
  const post::zvToleranceReport& notHeld = report.notHeld;
  if (!notHeld.IsHeld())
    text += fmt::format("; not held on the way to {} posted move{}, first to {}", notHeld.count,
                        notHeld.count == 1 ? "" : "s", notHeld.lines[0].index);
  return text;
}

std::string SkippedWords(const ClProgram& program) {
  std::vector<std::pair<std::string, std::uint64_t>> words(program.skippedWords.begin(),
                                                           program.skippedWords.end());
  std::stable_sort(words.begin(), words.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  std::string text;
  for (std::size_t i = 0; i < std::min(words.size(), kMostWordsShown); ++i)
    text += fmt::format("{}{} {}", i == 0 ? "" : ", ", Printable(words[i].first), words[i].second);
  if (words.size() > kMostWordsShown)
    text += fmt::format(" and {} more", words.size() - kMostWordsShown);
  return text;
}

// Where each axis was, against its limits.
std::string AxisTable(const Report& report, const MachineValues& values,
                      const std::vector<std::string>& names, const PostedStatistics& posted) {
  if (posted.GetCount() == 0) return {};
  std::string text;
  auto out = std::back_inserter(text);
  const std::vector<AxisLimits> limits = LimitsOf(values);
  fmt::format_to(out, "axis            {:>14} {:>14} {:>14} {:>14}\n", "used from", "to",
                 "limit from", "to");
  for (std::size_t i = 0; i < limits.size(); ++i) {
    const PostedStatistics::Range& range = posted.GetRange(i);
    // A wrapped angle doesn't show where the axis stands.
    const bool comparable = i < 3 || !report.wrapped[i - 3];
    const double slack = i < 3 ? 0 : report.rotarySlackDeg;
    const bool outside =
        comparable && !(range.min >= limits[i].min - slack && range.max <= limits[i].max + slack);
    fmt::format_to(out, "  {:<13} {:>14} {:>14} {:>14} {:>14}{}\n", names[i], ForPeople(range.min),
                   ForPeople(range.max), ForPeople(limits[i].min), ForPeople(limits[i].max),
                   outside       ? "  outside"
                   : !comparable ? "  wrapped: not compared"
                                 : "");
  }
  return text;
}

std::string Counts(const Report& report, const MachineValues& values,
                   const std::vector<std::string>& names, const ClProgram& program,
                   const PostedStatistics& posted) {
  std::string text;
  auto out = std::back_inserter(text);
  fmt::format_to(out, "source moves    {}\n", program.moveCount);
  fmt::format_to(out, "posted moves    {}\n", posted.GetCount());
  fmt::format_to(out, "inserted        {}\n", InsertedOf(report, program, posted));
  fmt::format_to(out, "large jumps     {}\n", report.counts.largeJumps);
  fmt::format_to(out, "rewindings      {}\n", report.counts.rewindings);
  if (report.counts.shortLifts != 0)
    fmt::format_to(out, "short lifts     {}: shorter than the retract distance\n",
                   report.counts.shortLifts);
  if (values.axes > 4) {
    fmt::format_to(out, "poles crossed   {}", report.polesCrossed);
    if (report.counts.blendedPoles != 0)
      fmt::format_to(out, ", stretches on a pole blended: {}", report.counts.blendedPoles);
    fmt::format_to(out, "\n");
  }
  fmt::format_to(out, "rapid           {}\n", posted.GetRapidCount());
  if (values.RotaryCount() > 0) {
    std::string turns;
    for (std::size_t i = 3; i < names.size(); ++i)
      turns += fmt::format("{}{} {:.2f}", i == 3 ? "" : ", ", names[i], posted.GetTurns(i - 3));
    fmt::format_to(out, "turns           {}\n", turns);
  }
  fmt::format_to(out, "total time      {}\n", Duration(posted.GetSeconds()));
  if (values.axes > 3)
    fmt::format_to(out, "tip off line    {}\n", OffLine(report.deviation, values));
  return text;
}

std::string Notes(const Report& report, const Machine& machine, const ClProgram& program,
                  const PostedStatistics& posted) {
  std::string text;
  auto out = std::back_inserter(text);
  if (!program.skippedWords.empty())
    fmt::format_to(out, "words skipped   {}\n", SkippedWords(program));
  if (program.moveCount == 0) {
    fmt::format_to(out, "note            the toolpath has no moves\n");
  } else if (posted.GetCount() == 0) {
    fmt::format_to(out, "note            the first pass has no moves: nothing is posted\n");
  }
  for (const std::string& change : LostDataInWords(machine))
    fmt::format_to(out, "note            in the machine, {}\n", change);
  if (report.aligned)
    fmt::format_to(out,
                   "note            alignToolpath has turned the toolpath: part positions and tool "
                   "axes are those of the turned part\n");
  if (!program.finished)
    fmt::format_to(out, "note            the toolpath has no FINI: it may be cut off\n");
  if (program.feedlessCount != 0)
    fmt::format_to(out,
                   "note            feed moves without a feed: {}; their time is 0, and no F\n",
                   program.feedlessCount);
  if (!report.hasLog)
    fmt::format_to(out, "note            no run.kdr: {} can't be read back\n",
                   report.small ? "small moves of six axes" : "a log of no lines");
  if (!report.pageLeftOut.empty())
    fmt::format_to(out, "note            report.html left out: {}\n", report.pageLeftOut);
  return text;
}

}  // namespace

void PostedStatistics::Add(const PostedRow& row) {
  const post::zvPostedMove::Point& p = row.move.GetMachinePosition();
  const std::array<double, 6> values{p.x, p.y, p.z, row.angles[0], row.angles[1], row.angles[2]};
  for (std::size_t i = 0; i < values.size(); ++i) {
    Range& range = m_ranges[i];
    range.min = m_count == 0 ? values[i] : std::min(range.min, values[i]);
    range.max = m_count == 0 ? values[i] : std::max(range.max, values[i]);
  }
  for (std::size_t i = 0; i < m_wayDeg.size() && m_count != 0; ++i) {
    const double way = row.angles[i] - m_anglesDeg[i];
    m_wayDeg[i] += std::abs(m_wrapped[i] ? std::remainder(way, 360) : way);
  }
  m_anglesDeg = row.angles;
  ++m_count;
  m_rapidCount += row.move.IsRapid() ? 1 : 0;
  m_insertedCount += !row.move.HasNoExtended() && row.move.IsInserted() ? 1 : 0;
  m_seconds += row.move.GetMoveTime();
}

std::uint64_t InsertedOf(const Report& report, const ClProgram& program,
                         const PostedStatistics& posted) {
  return report.small ? posted.GetCount() - std::min(posted.GetCount(), program.moveCount)
                      : posted.GetInsertedCount();
}

std::string FormatReport(const Report& report, const Machine& machine, const ClProgram& program,
                         const PostedStatistics& posted) {
  const MachineValues values = ValuesOf(*machine.builder.GetMachDef());
  std::string text;
  auto out = std::back_inserter(text);
  fmt::format_to(out, "toolpath        {}", Printable(report.toolPathFile));
  if (!program.partName.empty()) fmt::format_to(out, " ({})", Printable(program.partName));
  fmt::format_to(out, "\nmachine         {}, {} axes, {}\n", Printable(machine.name), values.axes,
                 UnitsWord(values.units));
  text += AxisTable(report, values, ShownAxisNames(machine), posted);
  text += Counts(report, values, ShownAxisNames(machine), program, posted);
  if (values.axes > 3)
    fmt::format_to(out, "tolerance       {}\n", ToleranceInWords(report, values.units));
  text += report.verdict;
  fmt::format_to(out, "seconds taken   {:.3f}\n", report.secondsTaken);
  text += Notes(report, machine, program, posted);
  for (const std::string& file : report.outputFiles)
    fmt::format_to(out, "written         {}\n", Printable(file));
  return text;
}

std::string DescribeMachine(const Machine& machine) {
  const MachineValues v = ValuesOf(*machine.builder.GetMachDef());
  const std::vector<std::string> names = ShownAxisNames(machine);
  std::string text;
  auto out = std::back_inserter(text);
  fmt::format_to(out, "{}: {} axes, lengths in {}\n", Printable(machine.name), v.axes,
                 v.units == measures::zvUnitsFactory::inch ? "inches" : "millimetres");
  fmt::format_to(out, "  spindle points along {}\n", Direction(v.spindle));
  const post::zvMachDef::Point directions[] = {v.xAxis, v.yAxis, v.zAxis};
  const std::vector<AxisLimits> limits = LimitsOf(v);
  for (std::size_t i = 0; i < 3; ++i)
    fmt::format_to(out, "  {}: linear, along {}, from {:g} to {:g}\n", names[i],
                   Direction(directions[i]), limits[i].min, limits[i].max);
  for (std::size_t i = 3; i < limits.size(); ++i) {
    const RotaryValues& rotary = v.rotary[i - 3];
    fmt::format_to(out, "  {}: rotary, about {}, pivot {}", names[i], Direction(rotary.direction),
                   Direction(rotary.pivot));
    if (i < 5) {
      fmt::format_to(out, ", from {:g} to {:g} degrees", rotary.min, rotary.max);
    } else {
      fmt::format_to(out, ", fixed at {:g} degrees", v.thirdAngle);
    }
    if (v.axes == 6) fmt::format_to(out, ", {}", SideInWords(v, i - 3));
    fmt::format_to(out, "\n");
  }
  if (v.axes == 4)
    fmt::format_to(out, "  rotary axis {}\n",
                   v.rotaryOnWorkpiece != 0 ? "on the table" : "in the head");
  if (v.axes == 5) fmt::format_to(out, "  rotary axes {}\n", FiveAxisKindInWords(v.fiveAxisKind));
  for (const std::string& change : LostDataInWords(machine))
    fmt::format_to(out, "  changed on reading: {}\n", change);
  return text;
}

}  // namespace kandrel_post
