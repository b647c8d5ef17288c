#include "kandrel-post/commands/report_facts.h"

#include <kandrel/cadcam/tools/tool_approximation.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/version.h>

#include <cstddef>
#include <filesystem>
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
        {"checked", isLinear ? post::ChecksLinearAxes(facts.limitsCheck)
                             : i < 5 && post::ChecksRotaryAxes(facts.limitsCheck)},
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

ordered_json FindingsToJson(const RunFacts& facts) {
  const std::vector<std::string> names = ShownAxisNames(facts.machine);
  const std::vector<std::string> words = FindingsInWords(facts.verdict, facts.machine);
  ordered_json findings = ordered_json::array();
  for (std::size_t i = 0; i < words.size(); ++i) {
    const post::zvPostingFinding& f = facts.verdict.findings[i];
    const bool hasAxis = f.axis >= 0 && static_cast<std::size_t>(f.axis) < names.size();
    findings.push_back(
        {{"line", f.line},
         {"source", f.source >= 0 ? ordered_json(f.source) : ordered_json()},
         {"axis", hasAxis ? ordered_json(names[static_cast<std::size_t>(f.axis)]) : ordered_json()},
         {"kind", words[i]},
         {"value", f.value},
         {"bound", f.bound},
         {"excess", f.excess}});
  }
  return findings;
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

// The profiles of its parts one above the other, from the tip upwards.
ordered_json OutlineToJson(const cadcam::zvEndMill& tool) {
  const cadcam::zvEndMillApproximation<double> outline(tool,
                                                       kOutlineTolerance * tool.GetDiameter());
  ordered_json points = ordered_json::array();
  const auto add = [&](const auto& profile, double base) {
    for (const auto& point : profile.points) {
      ordered_json next = {point.x, base + point.y};
      if (points.empty() || points.back() != next) points.push_back(std::move(next));
    }
  };
  add(outline.GetCuttingProfile(), 0);
  add(outline.GetNonCuttingProfile(), 0);
  add(outline.GetArborProfile(), tool.GetShoulderLength());
  add(outline.GetHolderProfile(), tool.GetTotalLength());
  return points;
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
  const bool isInch =
      facts.machine.builder.GetMachDef()->GetUnits() == measures::zvUnitsFactory::inch;
  const post::zvPathTolerance& tolerance = facts.report.tolerance;
  const bool hasTolerance = tolerance.IsOn() && AxisCount(facts.machine) > 3;
  ordered_json files = ordered_json::array();
  for (const std::string& file : facts.report.outputFiles) files.push_back(FileName(file));
  ordered_json json;
  json["format"] = 1;
  json["kandrel"] = misc::kKandrelVersion;
  json["title"] = FileName(facts.options.toolPathFile);
  json["machine"] = Printable(facts.options.machine);
  json["units"] = isInch ? "in" : "mm";
  json["axes"] = AxesToJson(facts);
  json["counts"] = CountsToJson(facts);
  json["polesCrossed"] = facts.report.polesCrossed;
  json["totalTime"] = facts.posted.GetSeconds();
  json["tolerance"] = hasTolerance
                          ? ordered_json{{"tip", tolerance.GetTip()}, {"axis", tolerance.GetAxis()}}
                          : ordered_json();
  json["maxima"] = {{"tip", LargestToJson(facts.verdict.tip)},
                    {"axis", LargestToJson(facts.verdict.axis)}};
  json["verified"] = facts.verdict.IsClean();
  json["verdict"] = LinesOf(facts.report.verdict);
  json["findings"] = FindingsToJson(facts);
  json["findingCount"] = FindingCount(facts.verdict);
  json["notHeld"] = NotHeldToJson(facts.report.notHeld);
  json["summary"] = facts.summary;
  json["files"] = std::move(files);
  json["tool"] = {{"outline", OutlineToJson(facts.tool)}};
  json["toolLength"] = facts.options.toolLength;
  return json;
}

}  // namespace kandrel_post
