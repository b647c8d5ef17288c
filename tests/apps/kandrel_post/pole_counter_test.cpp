// The poles that a posted list crosses.
#include <kandrel-post/out/pole_counter.h>
#include <tests/support/number_cases.h>

#include <numbers>

#include "support.h"

namespace {

using namespace tests;

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
