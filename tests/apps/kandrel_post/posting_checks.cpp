#include "posting_checks.h"

#include <kandrel-post/cl/writer.h>
#include <kandrel-post/commands/command_line.h>
#include <kandrel-post/machine/presets.h>
#include <kandrel-post/samples/samples.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>

namespace tests {

std::filesystem::path DataFolder() {
  namespace fs = std::filesystem;
  if (const char* const given = std::getenv("KANDREL_DATA")) return fs::path(given) / "toolpaths";
  const fs::path source(KANDREL_SOURCE_DIR);
  for (fs::path p = source; p != p.parent_path(); p = p.parent_path()) {
    fs::path folder = p.parent_path() / "shared" / "data" / "toolpaths";
    if (fs::is_directory(folder)) return folder;
  }
  return {};
}

std::vector<SourceMove> SourceMoves(const std::filesystem::path& fileName) {
  std::ifstream file(fileName);
  std::vector<SourceMove> moves;
  Numbers3 axis{0, 0, 1};
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with("GOTO/")) continue;
    std::vector<double> numbers;
    const char* at = line.c_str() + 4;
    for (char* end = nullptr; *at == '/' || *at == ','; at = end)
      numbers.push_back(std::strtod(at + 1, &end));
    if (numbers.size() == 6) axis = {numbers[3], numbers[4], numbers[5]};
    numbers.resize(3);
    moves.push_back({{numbers[0], numbers[1], numbers[2]}, axis});
  }
  return moves;
}

std::vector<PostedLine> PostedLines(const std::string& fileName) {
  std::ifstream file(fileName);
  std::vector<PostedLine> lines;
  std::vector<std::string> columns;
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    columns.clear();
    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
      end = line.find(',', at);
      columns.push_back(line.substr(at, end - at));
    }
    EXPECT_EQ(columns.size(), 20u) << line;
    if (columns.size() != 20) break;
    const auto number = [&](std::size_t i) { return std::strtod(columns[i].c_str(), nullptr); };
    const auto three = [&](std::size_t i) {
      return Numbers3{number(i), number(i + 1), number(i + 2)};
    };
    PostedLine& posted = lines.emplace_back();
    posted.type = static_cast<int>(number(1));
    posted.rapid = columns[2] == "1";
    posted.machine = three(5);
    for (std::size_t i = 8; i < 11 && !columns[i].empty(); ++i) posted.angles.push_back(number(i));
    posted.part = three(11);
    posted.axis = three(14);
    posted.source = columns[18];
    posted.inserted = columns[19];
  }
  return lines;
}

namespace {

rigid::Vector VectorOf(const post::zvMachDef::Point& p) {
  return {p.x, p.y, p.z};
}

}  // namespace

rigid::Pose PoseAt(const kandrel_post::MachineValues& values, const rigid::Vector& origin,
                   double toolLength, const PostedLine& line) {
  const auto joint = [&](std::size_t i) {
    return rigid::Joint{VectorOf(values.rotary[i].direction), VectorOf(values.rotary[i].pivot)};
  };
  const rigid::LinearMachine linear{
      {VectorOf(values.xAxis), VectorOf(values.yAxis), VectorOf(values.zAxis)},
      VectorOf(values.spindle),
      origin,
      toolLength};
  EXPECT_EQ(line.angles.size(), static_cast<std::size_t>(values.RotaryCount()));
  if (values.axes == 3) return linear.At(line.machine);
  if (values.axes == 4)
    return rigid::OneTurnMachine{linear, joint(0), values.rotaryOnWorkpiece == 0}.At(
        line.machine, line.angles.at(0));
  using Layout = rigid::RotaryMachine::Layout;
  const auto layout = [&](bool firstOnTable, bool secondOnTable) {
    return firstOnTable ? secondOnTable ? Layout::kTables : Layout::kTableAndHead : Layout::kHeads;
  };
  const int kind = values.fiveAxisKind;
  const rigid::RotaryMachine machine{
      values.axes == 6 ? layout(values.onWorkpiece[0] == 1, values.onWorkpiece[1] == 1)
                       : layout(kind != 1, kind == 0 || kind == 3),
      linear, joint(0), joint(1), values.axes == 5 && kind == 0};
  if (values.axes == 5) return machine.At(line.machine, line.angles.at(0), line.angles.at(1));
  return rigid::ThirdAxisMachine{machine, joint(2), values.thirdAngle}.At(
      line.machine, line.angles.at(0), line.angles.at(1), line.angles.at(2));
}

void ExpectTruth(const std::vector<PostedLine>& posted, const std::vector<SourceMove>& source,
                 const kandrel_post::MachineValues& values, const rigid::Vector& origin,
                 double toolLength) {
  // On a pole an axis is snapped by as much as the pole's tolerance, 0.01 degrees.
  constexpr double kTip = 1e-8, kAxis = 0.0101 * std::numbers::pi / 180;
  std::size_t next = 0;
  for (std::size_t i = 0; i < posted.size(); ++i) {
    const rigid::Pose pose = PoseAt(values, origin, toolLength, posted[i]);
    ASSERT_LE(rigid::Distance(pose.tip, posted[i].part), kTip) << i;
    ASSERT_LE(rigid::Distance(pose.axis, rigid::Unit(posted[i].axis)), kAxis) << i;
    if (posted[i].inserted == "1") continue;
    if (posted[i].inserted.empty()) {  // a small move
      if (next < source.size() && posted[i].part == source[next].tip) ++next;
      continue;
    }
    ASSERT_LT(next, source.size()) << i;
    ASSERT_EQ(posted[i].source, std::to_string(next)) << i;
    ASSERT_EQ(posted[i].part, source[next].tip) << i;
    ++next;
  }
  EXPECT_EQ(next, source.size());
}

void ExpectNcRules(const std::string& text, std::size_t moves) {
  std::istringstream lines(text);
  std::string line;
  std::size_t blocks = 0;
  bool inverse = false, feedMotion = false, feedKnown = false;
  for (int number = 5; std::getline(lines, line);) {
    if (line.starts_with('(')) continue;
    std::istringstream words(line);
    std::string word;
    words >> word;
    ASSERT_EQ(word, std::string("N").append(std::to_string(number += 5)));
    bool turns = false, feed = false, moved = false;
    while (words >> word) {
      if (word == "G93" || word == "G94") {
        inverse = word == "G93";
        feedKnown = false;
      } else if (word == "G0" || word == "G1") {
        feedMotion = word == "G1";
      } else if (word[0] == 'F') {
        feed = feedKnown = true;
        char* end = nullptr;
        const double value = std::strtod(word.c_str() + 1, &end);
        ASSERT_TRUE(*end == 0 && value > 0 && std::isfinite(value)) << line;
      } else if (word[0] != 'G' && word[0] != 'M') {
        char* end = nullptr;
        const double value = std::strtod(word.c_str() + 1, &end);
        ASSERT_TRUE(std::isfinite(value) && *end == 0) << line;
        ASSERT_FALSE(value == 0 && std::signbit(value)) << line;
        moved = true;
        turns = turns || word[0] == 'A' || word[0] == 'B' || word[0] == 'C';
      }
    }
    ++blocks;
    if (!feedMotion || !moved) continue;
    ASSERT_EQ(turns, inverse) << line;
    ASSERT_TRUE(inverse ? feed : feedKnown) << line;
  }
  EXPECT_EQ(blocks, moves + 3);
}

long Told(const std::string& summary, const std::string& what) {
  const std::size_t at = summary.find(std::string("\n").append(what));
  return at == std::string::npos ? -1
                                 : std::strtol(summary.c_str() + at + 1 + what.size(), nullptr, 10);
}

void ExpectSummary(const std::string& summary, const std::vector<PostedLine>& posted,
                   std::size_t sourceMoves) {
  const auto count = [&](auto&& is) {
    return static_cast<long>(std::count_if(posted.begin(), posted.end(), is));
  };
  EXPECT_EQ(Told(summary, "source moves"), static_cast<long>(sourceMoves));
  EXPECT_EQ(Told(summary, "posted moves"), static_cast<long>(posted.size()));
  const bool small = !posted.empty() && posted.front().inserted.empty();
  EXPECT_EQ(Told(summary, "inserted"),
            small ? static_cast<long>(posted.size() - sourceMoves)
                  : count([](const auto& l) { return l.inserted == "1"; }));
  EXPECT_EQ(Told(summary, "rapid"), count([](const auto& l) { return l.rapid; }));
}

Outcome RunPost(const std::string& machine, const std::filesystem::path& file,
                const std::string& folder, const std::vector<const char*>& more) {
  const std::string fileName = file.string();
  std::vector<const char*> arguments{"kandrel-post", "post",           "-m", machine.c_str(),
                                     "-t",           fileName.c_str(), "-o", folder.c_str()};
  arguments.insert(arguments.end(), more.begin(), more.end());
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Outcome run;
  run.exitCode = kandrel_post::RunCommandLine(static_cast<int>(arguments.size()), arguments.data());
  run.summary = testing::internal::GetCapturedStdout();
  run.failure = testing::internal::GetCapturedStderr();
  return run;
}

kandrel_post::MachineValues PresetValues(std::string_view name) {
  return kandrel_post::ValuesOf(*kandrel_post::MakePreset(name).builder.GetMachDef());
}

std::string ExpectedFailure(const kandrel_post::MachineValues& values,
                            const std::filesystem::path& file) {
  const bool inch = FileText(file.string()).find("UNITS/INCHES") != std::string::npos;
  if (inch != (values.units == measures::zvUnitsFactory::inch))
    return inch ? "error 5033: " : "error 5032: ";
  // The axes that the tool can take make a cone about the first rotary axis, or fill the space
  // between two such cones.
  constexpr double kSlackDeg = 0.02;
  const auto between = [](const rigid::Vector& a, const rigid::Vector& b) {
    return std::acos(std::clamp(rigid::Cosine(a, b), -1.0, 1.0)) * 180 / std::numbers::pi;
  };
  const rigid::Vector spindle = VectorOf(values.spindle);
  const rigid::Vector first = values.axes == 3 ? spindle : VectorOf(values.rotary[0].direction);
  double least = between(first, spindle), most = least;
  if (values.axes > 4) {
    const rigid::Vector second = VectorOf(values.rotary[1].direction);
    const double toSecond = between(first, second), swing = between(second, spindle);
    least = std::abs(toSecond - swing);
    most = std::min(toSecond + swing, 360 - toSecond - swing);
  }
  for (const SourceMove& move : SourceMoves(file)) {
    const double angle = between(first, move.axis);
    if (angle < least - kSlackDeg || angle > most + kSlackDeg)
      return values.axes == 3 ? "error 5029: " : values.axes == 4 ? "error 5030: " : "error 5000: ";
  }
  return "";
}

std::filesystem::path SampleFile(const ScratchFolder& folder, std::string_view name) {
  const std::string fileName = folder.Path("sample.cl");
  Written(fileName, [&](kandrel_post::TextSink& sink) {
    kandrel_post::WriteCl(sink, kandrel_post::FindSample(name).make(), name);
  });
  return fileName;
}

}  // namespace tests
