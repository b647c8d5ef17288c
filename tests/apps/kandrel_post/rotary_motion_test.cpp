// How far the tip leaves its line, and the poles that a posted list crosses.
#include <kandrel-post/machine/json.h>
#include <kandrel-post/out/rotary_motion.h>
#include <kandrel/post/model/mach_def_utils.h>

#include <numbers>

#include "support.h"

namespace {

constexpr double kRadians = std::numbers::pi / 180;

using Point = cadcam::zvTPoint3d<double>;

// A trunnion whose table turns about a direction that is no unit vector.
post::zv5axMachDef Trunnion() {
  const auto builder = kandrel_post::ParseMachine(
      R"({"axes": 5, "fiveAxisKind": 3, "rotary": [{"direction": [0,0,2]}, {"direction": [1,0,0]}]})",
      "trunnion");
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
  post::zv5axControlDef wrapped;
  wrapped.SetFirstAxisLimit(post::zv5axControlDef::angleLimit360);
  post::zv5axControlDef secondWrapped;
  secondWrapped.SetSecondAxisLimit(post::zv5axControlDef::angleLimit180);
  EXPECT_EQ(kandrel_post::WrappedAxes(secondWrapped), (std::array{false, true, false}));
  const Point origin;
  const struct {
    post::zv5axControlDef control;
    double from, to;
    bool rapid;
    double expected;
  } cases[] = {
      {{}, 0, 30, false, expected},        {{}, 0, 30, true, 0},
      {{}, 360, 390, false, expected},     {wrapped, 0, 30, false, expected},
      {wrapped, 360, 30, false, expected},
  };
  for (const auto& k : cases) {
    kandrel_post::RotaryMotion motion(Trunnion(), k.control, origin, 0, 0.01);
    for (const auto& move :
         {MoveAt({100, 0, 0}, k.from), MoveAt({c, s, 0}, k.to, k.rapid), MoveAt({c, s, 0}, k.to)})
      motion.Add(kandrel_post::RowOf(move));
    EXPECT_NEAR(motion.GetLargest(), k.expected, 1e-6);
    EXPECT_EQ(motion.GetIndex(), k.expected == 0 ? 0u : 1u);
  }
}

// Enters and leaves a pole: through a line on it, between two lines, and not where the tool lifts.
TEST(RotaryMotion, CountsPolesThatFeedMovesCross) {
  const struct {
    std::vector<double> tilts;  // of each line, in degrees
    std::size_t rapidAt;
    std::uint64_t poles;
  } cases[] = {
      {{-1, 0, 1}, 9, 1}, {{-1, 0, 0, 1}, 9, 1}, {{-1, 1}, 9, 1},   {{1, 0, 1}, 9, 1},
      {{0, 1}, 9, 0},     {{-1, 0}, 9, 0},       {{2, 1}, 9, 0},    {{-1, 0, 1}, 1, 0},
      {{-1, 0, 1}, 2, 0}, {{-1, 1}, 1, 0},       {{0, 0, 0}, 9, 0}, {{-1, 1, -1, 0, -1}, 9, 3},
  };
  const Point origin;
  for (const auto& k : cases) {
    kandrel_post::RotaryMotion motion(Trunnion(), {}, origin, 0, 0.01);
    for (std::size_t i = 0; i < k.tilts.size(); ++i) {
      const double tilt = k.tilts[i] * kRadians;
      const post::zvPosted5axMove move({}, {}, {0, -2 * std::sin(tilt), 2 * std::cos(tilt)}, 0,
                                       k.tilts[i], 0, 100, i == k.rapidAt,
                                       post::zvPostedMove::noLink);
      motion.Add(kandrel_post::RowOf(move));
    }
    EXPECT_EQ(motion.GetPolesCrossed(), k.poles) << (&k - cases);
  }
}

}  // namespace
