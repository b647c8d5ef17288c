// posted.csv and posted.nc, from moves made by hand.
#include <kandrel-post/out/csv_writer.h>
#include <kandrel-post/out/nc_writer.h>

#include <cmath>
#include <limits>

#include "support.h"

namespace {

using kandrel_post::RowOf;
using post::zvPosted3axMove;
using post::zvPosted5axMove;
using Point = post::zvPostedMove::Point;

template <class Write>
std::string Written(Write&& write) {
  const tests::ScratchFolder folder;
  return tests::Written(folder.Path("out"), write);
}

zvPosted3axMove Move(const Point& p, double feed, bool rapid) {
  return {p, p, Point(0, 0, 1), feed, rapid, post::zvPostedMove::noLink};
}

zvPosted5axMove Move5(const Point& p, double first, double second, double feed, double seconds,
                      bool rapid = false) {
  zvPosted5axMove move(p, p, Point(0, 0, 1), first, second, 0, feed, rapid,
                       post::zvPostedMove::noLink);
  move.SetMoveTime(seconds);
  return move;
}

// The lines after the head and before M30, joined by newlines.
std::string Body(const std::string& text) {
  std::istringstream lines(text);
  std::string line, body;
  for (int i = 0; std::getline(lines, line); ++i) {
    if (i >= 3 && line.find("M30") == std::string::npos) body += line + "\n";
  }
  return body;
}

template <class Moves>
std::string NcBody(const Moves& moves, bool inch = false) {
  return Body(Written([&](kandrel_post::TextSink& sink) {
    const bool five = std::is_same_v<typename Moves::value_type, zvPosted5axMove>;
    std::vector<std::string> names{"X", "Y", "Z"};
    if (five) names.insert(names.end(), {"C", "A"});
    kandrel_post::NcWriter nc(sink, "mill", names, inch);
    for (const auto& move : moves) nc.Write(RowOf(move));
    nc.Finish();
  }));
}

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

TEST(NcWriter, WritesAWholeProgram) {
  const std::string text = Written([](kandrel_post::TextSink& sink) {
    kandrel_post::NcWriter nc(sink, "my (old) mill\n", {"X", "Y", "W"}, false);
    nc.Write(RowOf(Move({0, 0, 20}, 600, true)));
    nc.Write(RowOf(Move({0, 0, -1}, 600, false)));
    nc.Write(RowOf(Move({10, 0, -1}, 600, false)));
    nc.Write(RowOf(Move({10, 0, 20}, 600, true)));
    nc.Write(RowOf(Move({10, 0, 0}, 600, false)));
    nc.Write(RowOf(Move({10, 5, 0}, 1200.5, false)));
    nc.Finish();
  });
  EXPECT_EQ(text,
            "(MACHINE my _old_ mill_, AXES X Y W)\n"
            "N10 G21\n"
            "N15 G90\n"
            "N20 G0 X0.0000 Y0.0000 W20.0000\n"
            "N25 G1 W-1.0000 F600\n"
            "N30 X10.0000\n"
            "N35 G0 W20.0000\n"
            "N40 G1 W0.0000\n"
            "N45 Y5.0000 F1200.5\n"
            "N50 M30\n");
}

TEST(NcWriter, WritesAnAxisOnlyWhenItsTextChangesAndNoNegativeZero) {
  EXPECT_EQ(
      NcBody(std::vector{Move({-0.0, -0.00001, 1}, 5, true), Move({0.00004, 0.00001, 1}, 5, true),
                         Move({0.00006, 1.00001, 1}, 5, true), Move({1e15, 1.00004, 1}, 5, true)}),
      "N20 G0 X0.0000 Y0.0000 Z1.0000\n"
      "N25\n"
      "N30 X0.0001 Y1.0000\n"
      "N35 X1000000000000000.0000\n");
  EXPECT_EQ(NcBody(std::vector{Move({0.123456, -0.000004, 1}, 5, true)}, true),
            "N20 G0 X0.12346 Y0.00000 Z1.00000\n");
}

TEST(NcWriter, NeverWritesAFeedOfZero) {
  EXPECT_EQ(NcBody(std::vector{Move({0, 0, 0}, 0, true), Move({1, 0, 0}, 0, false),
                               Move({2, 0, 0}, 0, false), Move({3, 0, 0}, 1e-6, false)}),
            "N20 G0 X0.0000 Y0.0000 Z0.0000\n"
            "(NO FEED WAS GIVEN FOR THE FEED MOVES FROM HERE ON)\n"
            "N25 G1 X1.0000\n"
            "N30 X2.0000\n"
            "N35 X3.0000 F0.000001\n");
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(NcBody(std::vector{Move({0, 0, 0}, inf, false)}), "N20 G1 X0.0000 Y0.0000 Z0.0000\n");
  EXPECT_EQ(tests::FailureText([&] {
              NcBody(std::vector{Move({0, inf, 0}, 1, false)});
            }),
            "posted move 0 has a position that is no finite number");
}

TEST(NcWriter, TurnsRotaryAxesInInverseTime) {
  EXPECT_EQ(NcBody(std::vector{
                Move5({0, 0, 0}, 0, 10, 600, 0, true),
                Move5({1, 0, 0}, 0, 10, 600, 0.1),    // along a line
                Move5({2, 0, 0}, 90, 10, 600, 0.5),   // turns in its time: 60 / 0.5
                Move5({2, 0, 0}, 90, -26, 600, 0),    // on the spot: 36 degrees at 3600 a minute
                Move5({3, 0, 0}, 90, -26, 600, 0.1),  // along a line again: F anew
                Move5({4, 0, 0}, 0, 0, 600, 0.1, true),
                Move5({5, 0, 0}, 0, 0, 600, 0.1),
            }),
            "N20 G0 X0.0000 Y0.0000 Z0.0000 C0.0000 A10.0000\n"
            "N25 G1 X1.0000 F600\n"
            "N30 G93 X2.0000 C90.0000 F120\n"
            "N35 A-26.0000 F100\n"
            "N40 G94 X3.0000 F600\n"
            "N45 G0 X4.0000 C0.0000 A0.0000\n"
            "N50 G1 X5.0000\n");
}

// Times that a division would make nonsense of: such a turn takes the rotary feed instead.
TEST(NcWriter, WritesOnlyFiniteInverseTimes) {
  const double inf = std::numeric_limits<double>::infinity();
  for (const double seconds : {0.0, -1.0, inf, std::nan(""), 5e-324, 1.3e-16}) {
    EXPECT_EQ(NcBody(std::vector{Move5({0, 0, 0}, 0, 0, 600, 0, true),
                                 Move5({1, 0, 0}, 36, 0, 600, seconds)}),
              "N20 G0 X0.0000 Y0.0000 Z0.0000 C0.0000 A0.0000\n"
              "N25 G93 G1 X1.0000 C36.0000 F100\n")
        << seconds;
  }
  // On the spot from 350 to 26 degrees of a wrapped axis: 36 degrees, not 324.
  const std::string wrapped = Body(Written([&](kandrel_post::TextSink& sink) {
    kandrel_post::NcWriter nc(sink, "mill", {"X", "Y", "Z", "C", "A"}, false, {true, false, false});
    nc.Write(RowOf(Move5({0, 0, 0}, 350, 0, 600, 0, true)));
    nc.Write(RowOf(Move5({0, 0, 0}, 26, 0, 600, 0)));
    nc.Finish();
  }));
  EXPECT_NE(wrapped.find("N25 G93 G1 C26.0000 F100\n"), std::string::npos) << wrapped;
  EXPECT_EQ(kandrel_post::NcWriter::NumberOf(0), 20u);
  EXPECT_EQ(kandrel_post::NcWriter::NumberOf(7), 55u);
}

}  // namespace
