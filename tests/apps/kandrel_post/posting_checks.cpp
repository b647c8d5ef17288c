#include "posting_checks.h"

#include <kandrel-post/cl/writer.h>
#include <kandrel-post/commands/command_line.h>
#include <kandrel-post/machine/presets.h>
#include <kandrel-post/samples/samples.h>
#include <kandrel/misc/text.h>
#include <kandrel/persistence/settings_file.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/text_numbers.h>

#include <cstdlib>
#include <cstring>

namespace tests {

Source SourceMoves(const std::filesystem::path& fileName) {
  std::ifstream file(fileName);
  Source moves;
  Point axis{0, 0, 1};
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with("GOTO/")) continue;
    std::vector<double> numbers;
    const char* at = line.c_str() + 4;
    for (const char* end = nullptr; *at == '/' || *at == ','; at = end)
      numbers.push_back(tests::NumberFrom(at + 1, &end));
    if (numbers.size() == 6) axis = {numbers[3], numbers[4], numbers[5]};
    numbers.resize(3);
    moves.push_back({{numbers[0], numbers[1], numbers[2]}, axis, -1});
  }
  return moves;
}

Lines PostedLines(const std::string& fileName) {
  std::ifstream file(fileName);
  Lines lines;
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    // Where each column begins.
    std::array<const char*, 20> columns = {line.c_str()};
    std::size_t count = 1;
    for (const char* at = line.c_str(); (at = std::strchr(at, ',')) != nullptr; ++count)
      if (++at; count < columns.size()) columns[count] = at;
    EXPECT_EQ(count, columns.size()) << line;
    if (count != columns.size()) break;
    const auto ends = [](char c) { return c == ',' || c == 0; };
    const auto isEmpty = [&](std::size_t i) { return ends(columns[i][0]); };
    const auto isOne = [&](std::size_t i) { return columns[i][0] == '1' && ends(columns[i][1]); };
    const auto number = [&](std::size_t i) {
      return isEmpty(i) ? 0 : tests::NumberFrom(columns[i]);
    };
    const auto three = [&](std::size_t i) {
      return Point{number(i), number(i + 1), number(i + 2)};
    };
    Line& posted = lines.emplace_back();
    posted.type = static_cast<int>(number(1));
    posted.rapid = isOne(2);
    posted.machine = three(5);
    for (std::size_t i = 8; i < 11 && !isEmpty(i); ++i) posted.degs.push_back(number(i));
    posted.part = three(11);
    posted.orientation = three(14);
    EXPECT_EQ(isEmpty(18), isEmpty(19)) << line;
    posted.isSmall = isEmpty(18);
    posted.source = static_cast<int>(number(18));
    posted.inserted = isOne(19);
  }
  return lines;
}

void ExpectTruth(const Lines& posted, const Source& source,
                 const kandrel_post::MachineValues& values, const Point& origin,
                 double toolLength) {
  Rules rules;
  rules.par.SetPoleAngleTolerance(0.01);
  rules.slack = 1e-11;
  rules.pole = values.axes < 5 ? values.spindle : values.rotary[0].direction;
  rules.ranges.resize(std::min<std::size_t>(values.axes - 3, 2));
  const auto& [first, second, third] = values.rotary;
  const LinearSetup linear{values.spindle, {values.xAxis, values.yAxis, values.zAxis}};
  rigid::Machine& model = rules.model = linear.Model();
  if (values.axes == 4)
    model =
        FourAxisSetup{linear, values.rotaryOnWorkpiece != 0, first.direction, first.pivot}.Model();
  if (values.axes > 4) {
    const auto& [firstOnTable, secondOnTable, ignored] = values.onWorkpiece;
    const int kind = values.axes == 5     ? values.fiveAxisKind
                     : firstOnTable != 1  ? 1
                     : secondOnTable == 1 ? 3
                                          : 2;
    model =
        FiveAxisSetup{linear, kind, first.direction, second.direction, first.pivot, second.pivot}
            .Model();
  }
  if (values.axes == 6)
    model.tables.push_back(
        {{ToVector(third.direction), ToVector(third.pivot)}, 2, values.thirdAngle});
  model.partOrigin = ToVector(origin);
  model.toolLength = toolLength;
  ExpectPoses(rules, posted);
  ExpectSource(source, posted);
}

void ExpectNcRules(const std::string& text, std::size_t moves) {
  std::istringstream lines(text);
  std::size_t blocks = 0;
  bool inverse = false, feedMotion = false, feedKnown = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('(')) continue;
    std::istringstream words(line);
    std::string word;
    words >> word;
    ASSERT_EQ(word, fmt::format("N{}", 10 + 5 * blocks++));
    bool turns = false, feed = false, moved = false;
    while (words >> word) {
      const char* end = nullptr;
      const double value = tests::NumberFrom(word.c_str() + 1, &end);
      ASSERT_TRUE(*end == 0 && std::isfinite(value)) << line;
      if (word == "G93" || word == "G94") {
        inverse = word == "G93";
        feedKnown = false;
      } else if (word == "G0" || word == "G1") {
        feedMotion = word == "G1";
      } else if (word[0] == 'F') {
        feed = feedKnown = true;
        ASSERT_GT(value, 0) << line;
      } else if (word[0] != 'G' && word[0] != 'M') {
        ASSERT_FALSE(value == 0 && std::signbit(value)) << line;
        moved = true;
        turns = turns || word[0] == 'A' || word[0] == 'B' || word[0] == 'C';
      }
    }
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

void ExpectSummary(const std::string& summary, const Lines& posted, std::size_t sourceMoves) {
  const auto count = [&](bool Line::*is) {
    return static_cast<long>(std::count_if(posted.begin(), posted.end(), std::mem_fn(is)));
  };
  const auto all = static_cast<long>(posted.size()), given = static_cast<long>(sourceMoves);
  EXPECT_EQ(Told(summary, "source moves"), given);
  EXPECT_EQ(Told(summary, "posted moves"), all);
  const bool isSmall = !posted.empty() && posted.front().isSmall;
  EXPECT_EQ(Told(summary, "inserted"), isSmall ? all - given : count(&Line::inserted));
  EXPECT_EQ(Told(summary, "rapid"), count(&Line::rapid));
}

Outcome RunLine(const std::string& line, const std::string& last) {
  std::istringstream given(line);
  std::vector<std::string> words(std::istream_iterator<std::string>(given), {});
  if (!last.empty()) words.push_back(last);
  std::vector<const char*> arguments{"kandrel-post"};
  for (const std::string& word : words) arguments.push_back(word.c_str());
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int count = static_cast<int>(arguments.size());
  const int exitCode = kandrel_post::RunCommandLine(count, arguments.data());
  return {exitCode, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

void WriteSettingsFile(const std::string& fileName, const post::zvMachDefBuilder& builder) {
  const zvKDSOutput output(misc::FromUtf8(fileName), builder);
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
  const Point& spindle = values.spindle;
  const Point& first = values.axes == 3 ? spindle : values.rotary[0].direction;
  double least = DegBetween(first, spindle), most = least;
  if (values.axes > 4) {
    const Point& second = values.rotary[1].direction;
    const double toSecond = DegBetween(first, second), swing = DegBetween(second, spindle);
    least = std::abs(toSecond - swing);
    most = std::min(toSecond + swing, 360 - toSecond - swing);
  }
  for (const SourceMove& move : SourceMoves(file)) {
    const double angle = DegBetween(first, move.orientation);
    if (angle < least - kSlackDeg || angle > most + kSlackDeg)
      return values.axes == 3 ? "error 5029: " : values.axes == 4 ? "error 5030: " : "error 5000: ";
  }
  return "";
}

std::string SampleFile(const ScratchFolder& folder, std::string_view name) {
  const std::string fileName = folder.Path("sample.cl");
  WriteFile(fileName, Written([&](kandrel_post::TextSink& sink) {
              kandrel_post::WriteCl(sink, kandrel_post::FindSample(name).make(), name);
            }));
  return fileName;
}

}  // namespace tests
