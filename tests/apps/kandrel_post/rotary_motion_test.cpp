// How far the tip leaves its line, and the poles that a posted list crosses.
#include <kandrel-post/machine/json.h>
#include <kandrel-post/out/rotary_motion.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <tests/support/number_cases.h>

#include <numbers>

#include "support.h"

namespace {

constexpr double kRadians = std::numbers::pi / 180;

using Point = cadcam::zvTPoint3d<double>;

// A trunnion whose table turns about a direction that is no unit vector.
post::zv5axMachDef Trunnion() {
  const auto builder =
      kandrel_post::ParseMachine(
          R"({"axes": 5, "fiveAxisKind": 3, "rotary": [{"direction": [0,0,2]}, {"direction": [1,0,0]}]})",
          "trunnion")
          .builder;
  return post::zvMachDefUtils::Cast5ax(*builder.GetMachDef());
}

post::zvPosted5axMove MoveAt(const Point& machine, double firstDeg, bool rapid = false) {
  return {machine, {100, 0, 0}, {0, 0, 1}, firstDeg, 0, 0, 100, rapid, post::zvPostedMove::noLink};
}

// A tip 100 mm off the table's axis that shall stand still in the part while the table turns by 30
// degrees: the slides cut the arc short by 100 (1 - cos 15).
TEST(RotaryMotion, MeasuresHowFarTheTipLeavesItsLine) {
  const double c = 100 * std::cos(30 * kRadians), s = 100 * std::sin(30 * kRadians);
  const double expected = 100 * (1 - std::cos(15 * kRadians));
  post::zv5axControlDef unwrapped, wrapped, secondWrapped;
  wrapped.SetFirstAxisLimit(post::zv5axControlDef::angleLimit360);
  secondWrapped.SetSecondAxisLimit(post::zv5axControlDef::angleLimit180);
  EXPECT_EQ(kandrel_post::WrappedAxes(secondWrapped), (std::array{false, true, false}));
  const Point origin;
  for (const tests::NumberCase& k : tests::NumberCases("../apps/kandrel_post/data/sags.txt")) {
    const bool isRapid = k[0].at(3) == 1, sags = k[1].at(0) == 1;
    kandrel_post::RotaryMotion motion(Trunnion(), k[0].at(0) == 1 ? wrapped : unwrapped, origin, 0,
                                      0.01);
    for (const auto& move : {MoveAt({100, 0, 0}, k[0].at(1)),
                             MoveAt({c, s, 0}, k[0].at(2), isRapid), MoveAt({c, s, 0}, k[0].at(2))})
      motion.Add(kandrel_post::RowOf(move));
    EXPECT_NEAR(motion.GetLargest(), sags ? expected : 0, 1e-6) << k.line;
    EXPECT_EQ(motion.GetIndex(), sags ? 1u : 0u);
  }
}

// Enters and leaves a pole: through a line on it, between two lines, and not where the tool lifts.
TEST(RotaryMotion, CountsPolesThatFeedMovesCross) {
  const Point origin;
  for (const tests::NumberCase& k : tests::NumberCases("../apps/kandrel_post/data/poles.txt")) {
    const std::vector<double>& tilts = k[0];
    kandrel_post::RotaryMotion motion(Trunnion(), {}, origin, 0, 0.01);
    for (std::size_t i = 0; i < tilts.size(); ++i) {
      const double tilt = tilts[i] * kRadians;
      const post::zvPosted5axMove move({}, {}, {0, -2 * std::sin(tilt), 2 * std::cos(tilt)}, 0,
                                       tilts[i], 0, 100, static_cast<double>(i) == k[1].at(0),
                                       post::zvPostedMove::noLink);
      motion.Add(kandrel_post::RowOf(move));
    }
    EXPECT_EQ(motion.GetPolesCrossed(), k[2].at(0)) << k.line;
  }
}

}  // namespace
