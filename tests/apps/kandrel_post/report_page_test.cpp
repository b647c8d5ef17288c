// report.html: what it holds is what posted.csv and the summary say; which lines a long run keeps.
#include <kandrel-post/pictures/held_lines.h>
#include <kandrel-post/pictures/page_template.h>
#include <tests/support/text_numbers.h>

#include <charconv>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>

#include "posting_checks.h"

namespace {

namespace fs = std::filesystem;
using kandrel_post::HeldLine;
using kandrel_post::HeldLines;
using tests::Outcome;
using tests::RunLine;
using tests::Told;
using Point = post::zvPostedMove::Point;

// What stands in the element with this id, of which there is one.
std::string Element(const std::string& page, const std::string& id) {
  const std::string begin = "id=\"" + id + "\">";
  const std::size_t at = page.find(begin);
  EXPECT_NE(at, page.npos) << id;
  EXPECT_EQ(page.find(begin, at + 1), page.npos) << id;
  if (at == page.npos) return "";
  const std::size_t from = at + begin.size();
  return page.substr(from, page.find("</script>", from) - from);
}

std::string FromBase64(const std::string& text) {
  std::string bytes;
  std::uint32_t bits = 0;
  int count = 0;
  for (const char c : text) {
    if (c == '=') break;
    const std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    bits = bits << 6 | static_cast<std::uint32_t>(digits.find(c));
    if ((count += 6) < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count & 255);
  }
  EXPECT_EQ(text.size() % 4, 0u);
  EXPECT_EQ(bytes.size(), text.size() / 4 * 3 - std::count(text.begin(), text.end(), '='));
  return bytes;
}

// Columns by their names, as numbers.
using Columns = std::map<std::string, std::vector<double>>;

Columns ColumnsOf(const nlohmann::json& run, const std::string& bytes) {
  Columns columns;
  std::size_t at = 0;
  const std::size_t rows = run.at("rows");
  const auto take = [&](auto number) {
    std::memcpy(&number, bytes.substr(at, sizeof number).data(), sizeof number);
    at += sizeof number;
    return static_cast<double>(number);
  };
  for (const auto& column : run.at("columns")) {
    at = (at + 7) / 8 * 8;
    std::vector<double>& values = columns[column.at("name")];
    const std::string type = column.at("type");
    EXPECT_LE(at + rows * (type == "f64" ? 8 : type == "u8" ? 1 : 4), bytes.size());
    for (std::size_t i = 0; i < rows; ++i)
      values.push_back(type == "f64"   ? take(0.0)
                       : type == "f32" ? take(0.0F)
                       : type == "u32" ? take(std::uint32_t{0})
                                       : take(std::uint8_t{0}));
  }
  EXPECT_EQ(at, bytes.size());
  return columns;
}

// posted.csv, column by column; an empty field is NaN.
Columns CsvColumns(const std::string& fileName) {
  std::ifstream file(fileName);
  std::string line, name;
  std::getline(file, line);
  std::vector<std::string> names;
  for (std::istringstream words(line); std::getline(words, name, ',');) names.push_back(name);
  Columns columns;
  while (std::getline(file, line)) {
    std::istringstream words(line + ",");
    for (const std::string& column : names) {
      std::getline(words, name, ',');
      columns[column].push_back(name.empty() ? std::nan("") : tests::NumberFrom(name.c_str()));
    }
  }
  return columns;
}

std::vector<double> Floats(std::vector<double> values) {
  for (double& value : values) value = static_cast<double>(static_cast<float>(value));
  return values;
}

// How many stretches of lines bear a flag.
int Stretches(const std::vector<double>& flags, int flag) {
  int count = 0;
  bool was = false;
  for (const double value : flags) {
    const bool is = (static_cast<int>(value) & flag) != 0;
    count += is && !was ? 1 : 0;
    was = is;
  }
  return count;
}

struct Page {
  std::string text;
  nlohmann::json run;
  Columns columns;
};

Page ReadPage(const std::string& fileName) {
  Page page{tests::FileText(fileName), {}, {}};
  page.run = nlohmann::json::parse(Element(page.text, "kandrel-run"));
  page.columns = ColumnsOf(page.run, FromBase64(Element(page.text, "kandrel-lines")));
  EXPECT_EQ(page.text.find(kandrel_post::kRunPlace), page.text.npos);
  return page;
}

void ExpectColumns(const Columns& page, const Columns& csv, std::size_t axes) {
  const std::array<const char*, 6> kAxes{"x", "y", "z", "r1", "r2", "r3"};
  for (std::size_t i = 0; i < axes; ++i)
    ASSERT_EQ(page.at("a" + std::to_string(i)), csv.at(kAxes[i])) << i;
  ASSERT_EQ(page.count("a" + std::to_string(axes)), 0u);
  ASSERT_EQ(page.at("line"), csv.at("index"));
  for (const auto& [name, column] : std::map<std::string, std::string>{{"px", "part_x"},
                                                                       {"py", "part_y"},
                                                                       {"pz", "part_z"},
                                                                       {"i", "i"},
                                                                       {"j", "j"},
                                                                       {"k", "k"},
                                                                       {"feed", "feed"}})
    ASSERT_EQ(page.at(name), Floats(csv.at(column))) << name;
  double seconds = 0;
  for (std::size_t row = 0; row < csv.at("index").size(); ++row) {
    seconds += csv.at("time")[row];
    ASSERT_EQ(page.at("time")[row], seconds);
    const int flags = static_cast<int>(page.at("flags")[row]);
    ASSERT_EQ((flags & 1) != 0, csv.at("rapid")[row] == 1);
    const bool isSmall = std::isnan(csv.at("source")[row]);
    ASSERT_EQ((flags & 2) != 0, !isSmall && csv.at("inserted")[row] == 1);
    ASSERT_EQ(page.at("source")[row], isSmall ? 4294967295.0 : csv.at("source")[row]);
  }
}

// Where blocks of feed motion end there are deviations, and they come up to the maxima.
void ExpectDeviations(const Page& page) {
  for (const char* name : {"tip", "axis"}) {
    const std::vector<double>& values = page.columns.at(name);
    double largest = 0;
    for (std::size_t row = 0; row < values.size(); ++row) {
      const bool ends = row != 0 && (static_cast<int>(page.columns.at("flags")[row]) & 1) == 0;
      ASSERT_EQ(std::isnan(values[row]), !ends) << name << row;
      if (ends) largest = std::max(largest, values[row]);
    }
    const auto& most = page.run.at("maxima").at(name);
    const double value = static_cast<float>(most.at("value").get<double>());
    // What is too small to be seen may be told larger; a maximum may stand 2% above a block's own.
    const double floor = std::string(name) == "tip" ? 0.01 / 64 : 0.1 / 64;
    EXPECT_LE(largest, std::max(value * (1 + 1e-7), floor)) << name;
    EXPECT_GE(largest * 1.0201 + 1e-9, value) << name;
    if (value > floor) {
      EXPECT_GE(values[most.at("line").get<std::size_t>()] * 1.0201, value) << name;
    }
  }
}

TEST(ReportPage, HoldsWhatPostedCsvAndTheSummarySay) {
  if (kandrel_post::PageTemplate().empty()) GTEST_SKIP() << kandrel_post::PageLeftOut();
  for (const auto& c : tests::Cases("pages.txt")) {
    SCOPED_TRACE(c.at(0) + " " + c.at(1) + " " + c.at(2));
    const tests::ScratchFolder scratch;
    const Outcome run =
        RunLine(fmt::format("post -m preset:{} -t {} -o {} {}", c.at(0),
                            SampleFile(scratch, c.at(1)), scratch.Path("out"), c.at(2)));
    ASSERT_EQ(run.exitCode, 0) << run.failure;
    const Page page = ReadPage(scratch.Path("out/report.html"));
    const kandrel_post::MachineValues values = tests::PresetValues(c.at(0));
    ExpectColumns(page.columns, CsvColumns(scratch.Path("out/posted.csv")),
                  static_cast<std::size_t>(values.axes));
    ExpectDeviations(page);
    EXPECT_EQ(page.run.at("rows"), page.run.at("ofLines"));
    EXPECT_EQ(page.run.at("summary"), run.summary);
    const auto& counts = page.run.at("counts");
    for (const auto& [key, word] : std::map<std::string, std::string>{{"source", "source moves"},
                                                                      {"posted", "posted moves"},
                                                                      {"inserted", "inserted"},
                                                                      {"rapid", "rapid"},
                                                                      {"largeJumps", "large jumps"},
                                                                      {"rewindings", "rewindings"}})
      EXPECT_EQ(counts.at(key).get<long>(), Told(run.summary, word)) << key;
    EXPECT_EQ(page.run.at("totalTime").get<double>(), page.columns.at("time").back());
    EXPECT_EQ(page.run.at("axes").size(), static_cast<std::size_t>(values.axes));
    EXPECT_EQ(page.run.at("axes").back().at("wrapped"), c.at(3));
    const std::size_t speed = c.at(2).find("--max-rotary-speed 100");
    const bool hasSpeed = speed != c.at(2).npos;
    EXPECT_EQ(page.run.at("maxRotarySpeed"), hasSpeed ? nlohmann::json(100.0) : nlohmann::json());
    std::uint64_t told = 0;  // some stand for several lines
    for (const auto& finding : page.run.at("findings")) {
      EXPECT_EQ(finding.at("kind"), "rotarySpeed");
      told += finding.at("to").get<std::uint64_t>() - finding.at("from").get<std::uint64_t>() + 1;
      EXPECT_EQ(finding.at("unit"), "deg/min");
      EXPECT_EQ(finding.at("bound"), 100);
    }
    if (c.at(2) == "--tool-length 2") {
      EXPECT_NEAR(page.run.at("tool").at("outline").back().at(1), 2, 1e-12);
    }
    EXPECT_EQ(page.run.at("verified").get<bool>(), c.at(4) == "verified");
    EXPECT_EQ(told, page.run.at("findingCount"));
    EXPECT_EQ(page.run.at("findings").empty(), c.at(4) == "verified");
    EXPECT_EQ(Stretches(page.columns.at("flags"), 4), std::stoi(c.at(5)));
    EXPECT_EQ(Stretches(page.columns.at("flags"), 8), std::stoi(c.at(6)));
    EXPECT_EQ(Stretches(page.columns.at("flags"), 16), std::stoi(c.at(7)));
  }
}

// Why, and for limits where, in the numbers of the error lines; nothing else is written, and
// nothing said that isn't said without the page.
TEST(ReportPage, TellsOfARefusedRunWhenAskedTo) {
  struct Case {
    const char* options;
    const char* sample;
    int id;
    bool hasLines;
  };
  for (const Case& c :
       {Case{"preset:trunnion_ca --origin 0,600,0 --set limitsCheck=1", "screw", 5015, true},
        Case{"preset:trunnion_ca --tolerance 0.01,0.001", "screw", 0, false},
        Case{"preset:mill3_metric", "screw", 0, false}}) {
    SCOPED_TRACE(c.options);
    const tests::ScratchFolder scratch;
    const std::string command = fmt::format("post -t {} -o {} -m {}", SampleFile(scratch, c.sample),
                                            scratch.Path("out"), c.options);
    const Outcome plain = RunLine(command);
    ASSERT_EQ(plain.exitCode, 1);
    EXPECT_FALSE(fs::exists(scratch.Path("out")));
    const Outcome run = RunLine(command + " --refused-report");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.failure, plain.failure);
    EXPECT_EQ(run.summary, "");
    if (kandrel_post::PageTemplate().empty()) continue;
    ASSERT_EQ(std::distance(fs::directory_iterator(scratch.Path("out")), {}), 1);
    const Page page = ReadPage(scratch.Path("out/refused.html"));
    const auto& refused = page.run.at("refused");
    EXPECT_EQ(run.failure.find(fmt::format("error {}: {}\n", refused.at("id").get<int>(),
                                           refused.at("text").get<std::string>())),
              0u);
    if (c.id != 0) {
      EXPECT_EQ(refused.at("id"), c.id);
    }
    EXPECT_FALSE(page.run.at("verified").get<bool>());
    EXPECT_EQ(page.run.at("rows") != 0, c.hasLines);
    EXPECT_EQ(page.run.at("refused").at("shift").is_array(),
              run.failure.find("\n  shift ") != run.failure.npos);
    // Value and bound of each line and axis that the error lines name.
    std::map<std::pair<std::string, std::uint64_t>, std::pair<double, double>> told;
    std::istringstream failure(run.failure);
    for (std::string text; std::getline(failure, text);) {
      if (text.rfind("  breach ", 0) != 0) continue;
      std::istringstream words(text.substr(9));
      std::string index, source, axis, value, bound;
      words >> index >> source >> axis >> value >> bound;
      told[{axis, std::stoull(index)}] = {tests::NumberFrom(value), tests::NumberFrom(bound)};
    }
    EXPECT_EQ(told.empty(), !c.hasLines);
    EXPECT_EQ(page.run.at("findingCount"), told.size());
    // Stretches hold them all, and each stands for its worst.
    for (const auto& f : page.run.at("findings")) {
      const std::string axis = f.at("axis");
      const std::vector<double>& column =
          page.columns.at("a" + std::to_string(std::string("XYZ").find(axis)));
      const double bound = f.at("bound");
      const double excess = f.at("excess");
      EXPECT_EQ(column.at(f.at("line")), f.at("value"));
      EXPECT_EQ(std::abs(f.at("value").get<double>() - bound), excess);
      for (std::uint64_t line = f.at("from"); line <= f.at("to"); ++line) {
        const auto it = told.find({axis, line});
        ASSERT_NE(it, told.end()) << axis << line;
        ASSERT_EQ(it->second, std::pair(column.at(line), bound));
        ASSERT_LE(std::abs(it->second.first - bound), excess);
        told.erase(it);
      }
    }
    EXPECT_TRUE(told.empty());
  }
}

// Texts of anybody's must not end the element that they stand in, nor the JSON be none.
TEST(ReportPage, HoldsAnyNamesAndIsLeftOutWhenAskedTo) {
  const tests::ScratchFolder scratch;
  fs::create_directory(scratch.Path("<"));
  const std::string file = scratch.Path("a<!--<script>\xff\"\\.cl");
  tests::WriteFile(file, "PARTNO/</script><b>\nGOTO/0,0,0\nFEDRAT/100\nGOTO/1,2,3\nFINI\n");
  tests::WriteFile(scratch.Path("m.json"), R"({"axes": 3, "names": ["</script>", "\u0001", "Z"]})");
  const auto post = [&](const std::string& options) {
    return RunLine(
        fmt::format("post -m {} -o {} {} -t", scratch.Path("m.json"), scratch.Path("out"), options),
        file);
  };
  const Outcome plain = post("--no-report");
  ASSERT_EQ(plain.exitCode, 0) << plain.failure;
  EXPECT_FALSE(fs::exists(scratch.Path("out/report.html")));
  EXPECT_EQ(plain.summary.find("report.html"), plain.summary.npos);

  const Outcome run = post("");
  ASSERT_EQ(run.exitCode, 0) << run.failure;
  const bool isBuilt = !kandrel_post::PageTemplate().empty();
  EXPECT_EQ(fs::exists(scratch.Path("out/report.html")), isBuilt);
  const std::string note = fmt::format("report.html left out: {}", kandrel_post::PageLeftOut());
  EXPECT_EQ(run.summary.find(note) == run.summary.npos, isBuilt);
  if (!isBuilt) return;
  const Page page = ReadPage(scratch.Path("out/report.html"));
  EXPECT_EQ(Element(page.text, "kandrel-run").find('<'), page.text.npos);
  EXPECT_EQ(page.run.at("title"), "a<!--<script>\xef\xbf\xbd\"\\.cl");
  EXPECT_EQ(page.run.at("axes").at(0).at("letter"), "</script>");
  EXPECT_NE(page.run.at("summary").get<std::string>().find("</script><b>"), std::string::npos);
  EXPECT_EQ(page.columns.at("line"), (std::vector<double>{0, 1}));
}

// The lines held of a run of one axis that stands at `place(line)`, rapid where `isRapid` says.
template <class Place, class IsRapid>
std::vector<HeldLine> Held(HeldLines& lines, std::uint64_t count, const Place& place,
                           const IsRapid& isRapid) {
  lines.Start(count, {});
  for (std::uint64_t i = 0; i < count; ++i) {
    post::zvPosted3axMove move(Point(place(i), 0, 0), {}, Point(0, 0, 1), 100, isRapid(i),
                               post::zvPostedMove::noLink);
    move.SetMoveTime(0.5);
    lines.Write(kandrel_post::RowOf(move), false);
  }
  // Each block has its number as the deviation, but for one.
  for (std::uint64_t i = 1; i < count; ++i)
    if (!isRapid(i)) lines.Take({i, -1, {i == 1237 ? 1e6 : static_cast<double>(i), 0.5}});
  return lines.GetLines();
}

TEST(HeldLines, KeepOfALongRunWhatItIsKnownBy) {
  constexpr std::size_t kMost = 200;
  HeldLines lines({}, kMost);
  const auto isRapid = [](std::uint64_t i) { return i >= 5003 && i < 5007; };
  const auto place = [](std::uint64_t i) {
    return i == 777 ? 5e3 : i == 3331 ? -7.0 : static_cast<double>(i) / 10;
  };
  const std::vector<HeldLine> held = Held(lines, 10000, place, isRapid);
  EXPECT_EQ(lines.GetCount(), 10000u);
  std::map<std::uint32_t, HeldLine> byLine;
  for (const HeldLine& line : held) byLine[line.line] = line;
  ASSERT_EQ(byLine.size(), held.size());
  EXPECT_TRUE(std::is_sorted(held.begin(), held.end(),
                             [](const auto& a, const auto& b) { return a.line < b.line; }));
  for (const std::uint32_t line : {0, 100, 5100, 9999, 777, 3331, 5002, 5003, 5006, 5007}) {
    ASSERT_EQ(byLine.count(line), 1u) << line;
    EXPECT_EQ(byLine[line].axes[0], place(line));
    EXPECT_EQ(byLine[line].seconds, 0.5 * (line + 1));
    EXPECT_EQ(byLine[line].flags, isRapid(line) ? 1 : 0);
  }
  EXPECT_EQ(held.size(), 100u + 1 + 2 + 4);
  // The largest of a stretch stands with the line that ends it.
  EXPECT_EQ(byLine[1300].tip, 1e6F);
  EXPECT_EQ(byLine[1400].tip, 1400.0F);
  EXPECT_TRUE(std::isnan(byLine[5006].tip));
}

TEST(HeldLines, StayFewWhereEveryLineIsMarkedAndAreAllOfAShortRun) {
  HeldLines many({}, 200);
  const std::vector<HeldLine> held = Held(
      many, 10000, [](std::uint64_t) { return 1.0; }, [](std::uint64_t i) { return i % 2 != 0; });
  EXPECT_GT(held.size(), 190u);
  EXPECT_LE(held.size(), 200u + 3);
  EXPECT_GT(std::count_if(held.begin(), held.end(), [](const auto& l) { return l.line > 5000; }),
            90);
  for (const std::uint64_t count : {0, 1, 2, 199, 200}) {
    HeldLines few({}, 200);
    const auto never = [](std::uint64_t) { return false; };
    EXPECT_EQ(Held(
                  few, count, [](std::uint64_t i) { return static_cast<double>(i); }, never)
                  .size(),
              count);
  }
}

}  // namespace
