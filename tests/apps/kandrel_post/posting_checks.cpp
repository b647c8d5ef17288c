#include "posting_checks.h"

#include <fcntl.h>
#include <kandrel-post/cl_writer.h>
#include <kandrel-post/presets.h>
#include <kandrel-post/samples.h>
#include <kandrel-post/text_sink.h>

#include <algorithm>
#include <cmath>

namespace tests {

rigid::Pose PoseAt(const kandrel_post::MachineValues& values, const rigid::Vector& origin,
                   double toolLength, const PostedLine& line) {
  const auto vector = [](const post::zvMachDef::Point& p) { return rigid::Vector{p.x, p.y, p.z}; };
  const auto joint = [&](std::size_t i) {
    return rigid::Joint{vector(values.rotary[i].direction), vector(values.rotary[i].pivot)};
  };
  const rigid::LinearMachine linear{
      {vector(values.xAxis), vector(values.yAxis), vector(values.zAxis)},
      vector(values.spindle),
      origin,
      toolLength};
  EXPECT_EQ(line.angles.size(), static_cast<std::size_t>(values.RotaryCount()));
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
  constexpr double kTip = 1e-8, kAxis = 0.0101 * 0.017453292519943295;
  std::size_t next = 0;
  for (std::size_t i = 0; i < posted.size(); ++i) {
    const rigid::Pose pose = PoseAt(values, origin, toolLength, posted[i]);
    ASSERT_LE(rigid::Distance(pose.tip, posted[i].part), kTip) << i;
    ASSERT_LE(rigid::Distance(pose.axis, rigid::Unit(posted[i].axis)), kAxis) << i;
    if (posted[i].inserted == "1") continue;
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
        ASSERT_TRUE(std::isfinite(std::strtod(word.c_str() + 1, &end)) && *end == 0) << line;
        ASSERT_FALSE(word.ends_with("-0.0000")) << line;
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
  return at == std::string::npos ? -1 : std::atol(summary.c_str() + at + 1 + what.size());
}

void ExpectSummary(const std::string& summary, const std::vector<PostedLine>& posted,
                   std::size_t sourceMoves) {
  const auto count = [&](auto&& is) {
    return static_cast<long>(std::count_if(posted.begin(), posted.end(), is));
  };
  EXPECT_EQ(Told(summary, "source moves"), static_cast<long>(sourceMoves));
  EXPECT_EQ(Told(summary, "posted moves"), static_cast<long>(posted.size()));
  EXPECT_EQ(Told(summary, "inserted"), count([](const auto& l) { return l.inserted == "1"; }));
  EXPECT_EQ(Told(summary, "rapid"), count([](const auto& l) { return l.rapid; }));
}

Outcome RunPost(const std::string& machine, const std::filesystem::path& file,
                const std::string& folder, std::vector<const char*> more) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Outcome run{Post(machine, file, folder, std::move(more)), "", ""};
  run.summary = testing::internal::GetCapturedStdout();
  run.failure = testing::internal::GetCapturedStderr();
  return run;
}

void ExpectGoodPosting(const ScratchFolder& scratch, const std::string& preset,
                       const std::filesystem::path& file, std::vector<const char*> options) {
  const std::vector<SourceMove> source = SourceMoves(file);
  ASSERT_FALSE(source.empty());
  options.insert(options.end(), {"--origin", "12.5,-20,35", "--tool-length", "80"});
  const Outcome run =
      RunPost(std::string("preset:").append(preset), file, scratch.Path("out"), options);
  ASSERT_EQ(run.exitCode, 0) << run.failure;
  const auto values =
      kandrel_post::ValuesOf(*kandrel_post::MakePreset(preset).builder.GetMachDef());
  const std::vector<PostedLine> posted = PostedLines(scratch.Path("out/posted.csv"));
  ExpectTruth(posted, source, values, {12.5, -20, 35}, 80);
  ExpectNcRules(FileText(scratch.Path("out/posted.nc")), posted.size());
  ExpectSummary(run.summary, posted, source.size());
}

std::filesystem::path SampleFile(const ScratchFolder& folder, std::string_view name) {
  const std::string fileName = folder.Path("sample.cl");
  const int descriptor = ::open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  kandrel_post::TextSink sink(descriptor, fileName);
  kandrel_post::WriteCl(sink, kandrel_post::FindSample(name).make(), name);
  sink.Flush();
  ::close(descriptor);
  return fileName;
}

}  // namespace tests
