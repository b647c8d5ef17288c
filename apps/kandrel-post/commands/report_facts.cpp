#include "kandrel-post/commands/report_facts.h"

#include <fmt/format.h>
#include <kandrel/cadcam/tools/tool_approximation.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/version.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "kandrel-post/commands/verdict_text.h"
#include "kandrel-post/host/errors.h"
#include "kandrel-post/machine/values.h"

namespace kandrel_post {

namespace {

using nlohmann::ordered_json;

// How fine the tool's outline is, in parts of its diameter.
constexpr double kOutlineTolerance = 0.005;

// The unit of the numbers of a finding.
enum class FindingUnit { none, length, angle, lengthPerMinute, anglePerMinute };

// How the page knows a kind of finding, and which of the finding's numbers it has.
struct KindOnPage {
  const char* name;
  FindingUnit unit;
  bool hasBound;
};

KindOnPage OnPage(post::zvPostingFinding::Kind kind) {
  using Finding = post::zvPostingFinding;
  switch (kind) {
    case Finding::kTipOffWay:
      return {"tipOffWay", FindingUnit::length, true};
    case Finding::kAxisOffWay:
      return {"axisOffWay", FindingUnit::angle, true};
    case Finding::kLineTipOff:
      return {"lineTipOff", FindingUnit::length, false};
    case Finding::kLineAxisOff:
      return {"lineAxisOff", FindingUnit::angle, false};
    case Finding::kTipOffSource:
      return {"tipOffSource", FindingUnit::length, false};
    case Finding::kAxisOffSource:
      return {"axisOffSource", FindingUnit::angle, false};
    case Finding::kLinearLimit:
      return {"linearLimit", FindingUnit::length, true};
    case Finding::kRotaryLimit:
      return {"rotaryLimit", FindingUnit::angle, true};
    case Finding::kRotarySpeed:
      return {"rotarySpeed", FindingUnit::anglePerMinute, true};
    case Finding::kFeed:
      return {"feed", FindingUnit::lengthPerMinute, true};
    case Finding::kRapid:
      return {"rapid", FindingUnit::none, false};
    case Finding::kSourceMissing:
      return {"sourceMissing", FindingUnit::none, false};
    case Finding::kSourceOrder:
      return {"sourceOrder", FindingUnit::none, false};
    case Finding::kSourceUnknown:
      return {"sourceUnknown", FindingUnit::none, false};
    case Finding::kGoesBack:
      return {"goesBack", FindingUnit::length, false};
    case Finding::kTurnsBack:
      return {"turnsBack", FindingUnit::angle, false};
    case Finding::kWholeTurn:
      return {"wholeTurn", FindingUnit::angle, false};
    case Finding::kNotFinite:
    case Finding::kKinds:
      break;
  }
  return {"notFinite", FindingUnit::none, false};
}

std::string InWords(FindingUnit unit, bool isInch) {
  std::string length = isInch ? "in" : "mm";
  switch (unit) {
    case FindingUnit::length:
      return length;
    case FindingUnit::angle:
      return "deg";
    case FindingUnit::lengthPerMinute:
      return length + "/min";
    case FindingUnit::anglePerMinute:
      return "deg/min";
    case FindingUnit::none:
      break;
  }
  return {};
}

bool IsInch(const RunFacts& facts) {
  return facts.machine.builder.GetMachDef()->GetUnits() == measures::zvUnitsFactory::inch;
}

std::string FileName(const std::string& file) {
  return Printable(std::filesystem::path(file).filename().string());
}

const char* WrapWord(post::zv5axControlDef::angleLimit limit) {
  switch (limit) {
    case post::zv5axControlDef::angleLimit360:
      return "360";
    case post::zv5axControlDef::angleLimit180:
      return "180";
    default:
      return "none";
  }
}

ordered_json AxesToJson(const RunFacts& facts) {
  const MachineValues values = ValuesOf(*facts.machine.builder.GetMachDef());
  const std::vector<std::string> names = ShownAxisNames(facts.machine);
  const std::vector<AxisLimits> limits = LimitsOf(values);
  const post::zv5axControlDef& control = facts.options.control;
  ordered_json axes = ordered_json::array();
  for (std::size_t i = 0; i < limits.size(); ++i) {
    const PostedStatistics::Range& used = facts.posted.GetRange(i);
    const bool isUsed = facts.posted.GetCount() != 0;
    const bool isLinear = i < 3;
    axes.push_back({
        {"letter", names[i]},
        {"kind", isLinear ? "linear" : "rotary"},
        {"min", limits[i].min},
        {"max", limits[i].max},
        {"usedMin", isUsed ? ordered_json(used.min) : ordered_json()},
        {"usedMax", isUsed ? ordered_json(used.max) : ordered_json()},
        // What leaves the limits of a refused run stands among its findings.
        {"checked", facts.refusal != nullptr ||
                        (isLinear ? post::ChecksLinearAxes(facts.limitsCheck)
                                  : i < 5 && post::ChecksRotaryAxes(facts.limitsCheck))},
        {"slack", isLinear ? misc::kEqual : facts.report.rotarySlackDeg},
        {"wrapped", i == 3   ? WrapWord(control.GetFirstAxisLimit())
                    : i == 4 ? WrapWord(control.GetSecondAxisLimit())
                             : "none"},
    });
  }
  return axes;
}

ordered_json CountsToJson(const RunFacts& facts) {
  return {{"source", facts.program.moveCount},
          {"posted", facts.posted.GetCount()},
          {"inserted", InsertedOf(facts.report, facts.program, facts.posted)},
          {"rapid", facts.posted.GetRapidCount()},
          {"largeJumps", facts.report.counts.largeJumps},
          {"rewindings", facts.report.counts.rewindings}};
}

ordered_json LargestToJson(const post::zvPostingVerdict::Largest& largest) {
  return {{"value", largest.value}, {"line", largest.line}};
}

// Findings of lines that follow each other, of one kind, axis and side of its bound, as the worst
// of them, with the first and the last of the lines.
struct Joined {
  explicit Joined(const std::vector<post::zvPostingFinding>& findings) {
    std::map<std::tuple<int, int, bool>, std::size_t> last;
    for (const post::zvPostingFinding& f : findings) {
      const auto [at, isNew] =
          last.try_emplace({f.kind, f.axis, f.value > f.bound}, stretches.size());
      if (!isNew && f.line - stretches[at->second].second <= 1) {
        stretches[at->second].second = f.line;
        post::zvPostingFinding& before = worst.findings[at->second];
        if (f.excess > before.excess) before = f;
        continue;
      }
      if (stretches.size() == kMostStretches) break;
      at->second = stretches.size();
      worst.findings.push_back(f);
      stretches.emplace_back(f.line, f.line);
    }
  }

  post::zvPostingVerdict worst;
  LineStretches stretches;
};

ordered_json FindingsToJson(const RunFacts& facts, const post::zvPostingVerdict& verdict,
                            const LineStretches& stretches) {
  const std::vector<std::string> names = ShownAxisNames(facts.machine);
  const std::vector<std::string> words = FindingsInWords(verdict, facts.machine);
  ordered_json findings = ordered_json::array();
  for (std::size_t i = 0; i < words.size(); ++i) {
    const post::zvPostingFinding& f = verdict.findings[i];
    const bool hasAxis = f.axis >= 0 && static_cast<std::size_t>(f.axis) < names.size();
    const KindOnPage kind = OnPage(f.kind);
    const bool hasValue =
        f.kind != post::zvPostingFinding::kRapid && f.kind != post::zvPostingFinding::kNotFinite;
    // The third axis is held against where it should stand.
    const bool hasBound =
        kind.hasBound || (f.kind == post::zvPostingFinding::kLineAxisOff && f.axis >= 0);
    findings.push_back(
        {{"line", f.line},
         {"from", stretches[i].first},
         {"to", stretches[i].second},
         {"source", f.source >= 0 ? ordered_json(f.source) : ordered_json()},
         {"axis", hasAxis ? ordered_json(names[static_cast<std::size_t>(f.axis)]) : ordered_json()},
         {"kind", kind.name},
         {"text", words[i]},
         {"unit", InWords(kind.unit, IsInch(facts))},
         {"value", hasValue ? ordered_json(f.value) : ordered_json()},
         {"bound", hasBound ? ordered_json(f.bound) : ordered_json()},
         {"excess", f.excess}});
  }
  return findings;
}

// Those of a refused run stand for stretches of lines already.
ordered_json FindingsToJson(const RunFacts& facts) {
  if (facts.refusal != nullptr)
    return FindingsToJson(facts, facts.verdict, facts.refusal->stretches);
  const Joined joined(facts.verdict.findings);
  return FindingsToJson(facts, joined.worst, joined.stretches);
}

ordered_json NotHeldToJson(const post::zvToleranceReport& report) {
  if (report.IsHeld()) return nullptr;
  ordered_json lines = ordered_json::array();
  for (std::size_t i = 0; i < report.GetLineCount(); ++i) {
    const post::zvToleranceReport::Line& line = report.lines[i];
    lines.push_back({{"line", line.index},
                     {"source", line.source >= 0 ? ordered_json(line.source) : ordered_json()},
                     {"tip", line.tip},
                     {"axis", line.axis}});
  }
  return {{"count", report.count},
          {"largestTip", report.largestTip},
          {"largestAxis", report.largestAxis},
          {"lines", std::move(lines)}};
}

// The profiles of its parts one above the other, from the tip upwards. The holder ends where the
// tool length compensation counts from: a tool of another length stands out of it by more or less.
ordered_json OutlineToJson(const cadcam::zvEndMill& tool, double toolLength) {
  const cadcam::zvEndMillApproximation<double> outline(tool,
                                                       kOutlineTolerance * tool.GetDiameter());
  double top = tool.GetTotalLength();
  for (const auto& point : outline.GetHolderProfile().points)
    top = std::max(top, tool.GetTotalLength() + point.y);
  const double lift = toolLength > 0 ? toolLength - top : 0;
  const double shoulder = tool.GetShoulderLength();
  ordered_json points = ordered_json::array();
  const auto add = [&](const auto& profile, double base) {
    for (const auto& point : profile.points) {
      const double y = base + point.y;
      ordered_json next = {point.x, base < shoulder ? y : std::max(y + lift, shoulder)};
      if (points.empty() || points.back() != next) points.push_back(std::move(next));
    }
  };
  add(outline.GetCuttingProfile(), 0);
  add(outline.GetNonCuttingProfile(), 0);
  add(outline.GetArborProfile(), shoulder);
  add(outline.GetHolderProfile(), tool.GetTotalLength());
  return points;
}

ordered_json ToolToJson(const RunFacts& facts) {
  return {{"name", fmt::format("default end mill D{:.4g}", facts.tool.GetDiameter())},
          {"isStandIn", true},  // nothing says what tool the run is for
          {"outline", OutlineToJson(facts.tool, facts.options.toolLength)}};
}

ordered_json RefusalToJson(const Refusal& refusal) {
  ordered_json causes = ordered_json::array();
  for (const auto& [id, text] : refusal.causes) causes.push_back({{"id", id}, {"text", text}});
  const auto& shift = refusal.shift;
  return {{"id", refusal.id},
          {"text", refusal.text},
          {"causes", std::move(causes)},
          {"shift", shift ? ordered_json{shift->x, shift->y, shift->z} : ordered_json()}};
}

ordered_json LinesOf(std::string_view text) {
  ordered_json lines = ordered_json::array();
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
  }
  return lines;
}

}  // namespace

ordered_json FactsToJson(const RunFacts& facts) {
  const post::zvPathTolerance& tolerance = facts.report.tolerance;
  const bool hasTolerance = tolerance.IsOn() && AxisCount(facts.machine) > 3;
  ordered_json files = ordered_json::array();
  for (const std::string& file : facts.report.outputFiles) files.push_back(FileName(file));
  ordered_json json;
  json["format"] = 1;
  json["kandrel"] = misc::kKandrelVersion;
  json["title"] = FileName(facts.options.toolPathFile);
  json["machine"] = Printable(facts.options.machine);
  json["units"] = IsInch(facts) ? "in" : "mm";
  json["axes"] = AxesToJson(facts);
  json["counts"] = CountsToJson(facts);
  json["polesCrossed"] = facts.report.polesCrossed;
  json["totalTime"] = facts.posted.GetSeconds();
  json["tolerance"] = hasTolerance
                          ? ordered_json{{"tip", tolerance.GetTip()}, {"axis", tolerance.GetAxis()}}
                          : ordered_json();
  const std::optional<double>& maxSpeed = facts.options.maxRotarySpeed;
  json["maxRotarySpeed"] = maxSpeed ? ordered_json(*maxSpeed) : ordered_json();
  json["refused"] = facts.refusal != nullptr ? RefusalToJson(*facts.refusal) : ordered_json();
  json["maxima"] = facts.refusal != nullptr
                       ? ordered_json()
                       : ordered_json{{"tip", LargestToJson(facts.verdict.tip)},
                                      {"axis", LargestToJson(facts.verdict.axis)}};
  json["verified"] = facts.refusal == nullptr && facts.verdict.IsClean();
  json["verdict"] = LinesOf(facts.report.verdict);
  json["findings"] = FindingsToJson(facts);
  json["findingCount"] = FindingCount(facts.verdict);
  json["notHeld"] = NotHeldToJson(facts.report.notHeld);
  json["summary"] = facts.summary;
  json["files"] = std::move(files);
  json["tool"] = ToolToJson(facts);
  json["toolLength"] = facts.options.toolLength;
  return json;
}

}  // namespace kandrel_post
