// posted.csv and posted.nc, from moves made by hand; posted lines from comma-separated values; and
// the poles that a posted list crosses.
#include <kandrel-post/csv/reader.h>
#include <kandrel-post/out/csv_writer.h>
#include <kandrel-post/out/nc_writer.h>
#include <kandrel-post/out/pole_counter.h>
#include <tests/support/number_cases.h>
#include <tests/support/text_numbers.h>

#include <numbers>

#include "support.h"

namespace {

using namespace tests;
using kandrel_post::PostedCsvReader;
using kandrel_post::RowOf;
using post::zvPosted3axMove;
using post::zvPosted5axMove;
using Point = post::zvPostedMove::Point;

TEST(CsvWriter, WritesEveryColumnAndLeavesWhatAMoveLacksEmpty) {
  const std::string text = Written([](kandrel_post::TextSink& sink) {
    kandrel_post::CsvWriter csv(sink);
    zvPosted3axMove small(Point(0.1, -0.0, 1e-7), Point(1, 2, 3), Point(0, 0, 1), 1e6, true,
                          post::zvPostedMove::link5);
    small.SetMoveTime(1.0 / 3);
    csv.Write(RowOf(small));
    csv.Write(RowOf(post::zvPosted4axMove(Point(), Point(), Point(0, 0, 1), -720.5, 0, false,
                                          post::zvPostedMove::noLink, Point(), Point(), 0, false,
                                          41, true)));
    csv.Write(
        RowOf(zvPosted5axMove(Point(), Point(), Point(0, 0, 1), 1, 2, 1, 5, false,
                              post::zvPostedMove::link0, Point(), Point(), 0, false, 2, false)));
    csv.Write(RowOf(post::zvPosted6axMove(Point(), Point(), Point(0, 0, 1), 1, 2, 3, 2, 5, false,
                                          post::zvPostedMove::link1)));
  });
  EXPECT_EQ(text,
            "index,type,rapid,feed,time,x,y,z,r1,r2,r3,part_x,part_y,part_z,i,j,k,pole,source,"
            "inserted\n"
            "0,5,1,1e+06,0.3333333333333333,0.1,-0,1e-07,,,,1,2,3,0,0,1,,,\n"
            "1,6,0,0,0,0,0,0,-720.5,,,0,0,0,0,0,1,,41,1\n"
            "2,0,0,5,0,0,0,0,1,2,,0,0,0,0,0,1,1,2,0\n"
            "3,1,0,5,0,0,0,0,1,2,3,0,0,0,0,0,1,2,,\n");
}

// Numbers "a,b; c,d" as lists.
std::vector<std::vector<double>> Lists(const std::string& text) {
  std::vector<std::vector<double>> lists(1);
  for (const char* at = text.c_str(); *at != 0; at += *at != 0) {
    const char* end = nullptr;
    lists.back().push_back(NumberFrom(at, &end));
    at = end;
    if (*at == ';') lists.emplace_back();
  }
  return lists;
}

std::string NcProgram(const std::string& machine, const std::string& moves) {
  const bool whole = machine == "whole";
  const auto write = [&](kandrel_post::TextSink& sink) {
    const auto lists = Lists(moves);
    std::vector<std::string> names{"X", "Y", whole ? "W" : "Z"};
    if (lists[0].size() > 5) names.insert(names.end(), {"C", "A"});
    kandrel_post::NcWriter nc(sink, whole ? "my (old) mill\n" : "mill", names, machine == "inch",
                              {machine == "wrapped", false, false});
    for (const auto& n : lists) {
      const Point p(n.at(1), n.at(2), n.at(3));
      const zvPosted3axMove three(p, p, Point(0, 0, 1), n.at(4), n.at(0) == 1,
                                  post::zvPostedMove::noLink);
      if (n.size() == 5) nc.Write(RowOf(three));
      if (n.size() == 5) continue;
      zvPosted5axMove five(p, p, Point(0, 0, 1), n.at(5), n.at(6), 0, n.at(4), n.at(0) == 1,
                           post::zvPostedMove::noLink);
      five.SetMoveTime(n.at(7));
      nc.Write(RowOf(five));
    }
    nc.Finish();
  };
  const std::string text = Written(write);
  const std::size_t head = text.find("N20 "), end = text.rfind('N');
  return whole ? text : text.substr(head, end - head);
}

TEST(NcWriter, WritesAxesThatChangeAndFeedsThatAControlCanTake) {
  for (const auto& c : Cases("nc.txt")) {
    std::string program;
    const std::string failure = FailureText([&] { program = NcProgram(c.at(0), c.at(1)); });
    EXPECT_EQ(program + failure, c.at(2)) << c.at(0) << c.at(1);
  }
  EXPECT_EQ(kandrel_post::NcWriter::NumberOf(0), 20u);
  EXPECT_EQ(kandrel_post::NcWriter::NumberOf(7), 55u);
}

std::string Shown(const post::zvPostedLine& line) {
  const auto three = [](const auto& p) { return fmt::format(" {},{},{}", p[0], p[1], p[2]); };
  return fmt::format("{}{}{}{}{} {}{}{};", line.feed, three(line.p_mach), three(line.degs),
                     three(line.p_part), three(line.dir_tool), line.isRapid ? "R" : "", line.source,
                     line.isInserted ? "I" : "");
}

std::string ShownText(std::string_view text, int rotaryCount, std::size_t bytesAtATime) {
  std::string shown;
  const std::string failure = FailureText([&] {
    PostedCsvReader reader(SourceOf(text, bytesAtATime), "test.csv", rotaryCount);
    for (post::zvPostedLine line; reader.Next(line);) shown += Shown(line);
  });
  return failure.empty() ? shown : failure;
}

TEST(CsvReader, TakesTheFormOfPostedCsvAndNamesTheLineThatIsNot) {
  for (const auto& c : Cases("csv.txt"))
    for (const std::size_t bytesAtATime : {std::size_t{1}, std::size_t{1000}}) {
      SCOPED_TRACE(c.at(1));
      const std::string shown = ShownText(c.at(1), std::stoi(c.at(0)), bytesAtATime);
      const bool isFailure = c.at(2).starts_with("test.csv");
      EXPECT_EQ(isFailure ? shown.substr(0, c.at(2).size()) : shown, c.at(2));
    }
}

TEST(CsvReader, KeepsALineWithoutEndOutOfTheMemory) {
  std::size_t given = 0;
  const auto source = [&](char* buffer, std::size_t bytes) {
    std::memset(buffer, 'x', bytes);
    given += bytes;
    return bytes;
  };
  EXPECT_EQ(FailureText([&] { PostedCsvReader(source, "test.csv", 0); }),
            "test.csv:1: a line of at most 65536 characters expected");
  EXPECT_LT(given, std::size_t{1} << 22);
}

constexpr double kRadians = std::numbers::pi / 180;

// Enters and leaves a pole: through a line on it, between two lines, and not where the tool lifts.
TEST(PoleCounter, CountsPolesThatFeedMovesCross) {
  for (const NumberCase& k : NumberCases("../apps/kandrel_post/data/poles.txt")) {
    const std::vector<double>& tilts = k[0];
    kandrel_post::PoleCounter counter({0, 0, 2}, 0.01);
    for (std::size_t i = 0; i < tilts.size(); ++i) {
      const double tilt = tilts[i] * kRadians;
      counter.Add(post::zvPosted5axMove({}, {}, {0, -2 * std::sin(tilt), 2 * std::cos(tilt)}, 0,
                                        tilts[i], 0, 100, static_cast<double>(i) == k[1].at(0),
                                        post::zvPostedMove::noLink));
    }
    EXPECT_EQ(counter.GetCrossed(), k[2].at(0)) << k.line;
  }
}

// Numbers that a file may bring and that name no rule wrap nothing.
TEST(PoleCounter, TellsWhichAxesAreWrapped) {
  using Control = post::zv5axControlDef;
  Control control;
  control.SetFirstAxisLimit(static_cast<Control::angleLimit>(7));
  control.SetSecondAxisLimit(Control::angleLimit180);
  EXPECT_EQ(kandrel_post::WrappedAxes(control), (std::array{false, true, false}));
}

}  // namespace
