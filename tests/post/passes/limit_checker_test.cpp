#include <gtest/gtest.h>
#include <kandrel/post/passes/control_limits.h>
#include <kandrel/post/passes/limit_checker.h>
#include <tests/post/passes/pass_machine.h>

#include <limits>

namespace {

using post::zv4axMachDef;
using post::zv5axControlDef;
using post::zv5axMachDef;
using post::zvLimitType;
using post::zvListLimits;
using post::zvPosted4axMove;
using post::zvPosted5axMove;
using Degs = std::vector<double>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

zv5axMachDef Machine(double min1, double max1, double min2 = -100000, double max2 = 100000) {
  zv5axMachDef machDef;
  machDef.SetMinFirstAngle(min1);
  machDef.SetMaxFirstAngle(max1);
  machDef.SetMinSecondAngle(min2);
  machDef.SetMaxSecondAngle(max2);
  return machDef;
}

void Fill(tests::PassList<zvPosted5axMove>& moves, const Degs& first, const Degs& second = {}) {
  for (std::size_t i = 0; i < first.size(); ++i) {
    zvPosted5axMove move(true);
    move.SetAngle(first[i], 0);
    move.SetAngle(i < second.size() ? second[i] : 0, 1);
    moves.list.PushBack(std::move(move));
  }
}

TEST(LimitChecker, RotaryLimitsHaveTheSlackAndAreNotCircular) {
  constexpr zvLimitType kNone;
  const struct {
    double first, second;
    zvLimitType excess;
  } cases[] = {{0, 0, kNone},
               {-10.0001, 20.0001, kNone},
               {-10.0002, 99, {3, zvLimitType::kMinimum}},
               {10.0002, 99, {3, zvLimitType::kMaximum}},
               {360, 0, {3, zvLimitType::kMaximum}},
               {0, -20.0002, {4, zvLimitType::kMinimum}},
               {0, 20.0002, {4, zvLimitType::kMaximum}},
               {kNaN, 0, {3, zvLimitType::kMinimum}},
               {0, kInfinity, {4, zvLimitType::kMaximum}}};
  const zv5axMachDef machDef = Machine(-10, 10, -20, 20);
  for (const auto& c : cases) {
    tests::PassList<zvPosted5axMove> moves;
    Fill(moves, {0, c.first}, {0, c.second});
    zvLimitType limit{7, 7};
    const zvListLimits<zvPosted5axMove> limits(moves.list, machDef, 0.000101);
    EXPECT_EQ(limits.RotaryExceeded(limit), !c.excess.IsNone());
    EXPECT_EQ(limit, c.excess) << c.first << ' ' << c.second;
  }
}

TEST(LimitChecker, TheFirstMoveOutDecides) {
  const zv5axMachDef machDef = Machine(-10, 10, -20, 20);
  tests::PassList<zvPosted5axMove> moves;
  Fill(moves, {0, 0, 99}, {0, -99, 0});
  const zvListLimits<zvPosted5axMove> checker(moves.list, machDef, 0);
  zvLimitType limit;
  EXPECT_TRUE(checker.RotaryExceeded(limit));
  EXPECT_EQ(limit.limitAxis, 4);
  const auto linear = [&](const tests::Point& p) {
    moves.list.begin()->SetMachinePosition(p);
    EXPECT_TRUE(checker.LinearExceeded(limit));
    return limit;
  };
  EXPECT_EQ(linear({0, 0, kNaN}), (zvLimitType{zvLimitType::kZ, zvLimitType::kMinimum}));
  EXPECT_EQ(linear({100001, -100001, 0}), (zvLimitType{zvLimitType::kX, zvLimitType::kMaximum}));
}

TEST(LimitChecker, ShiftsAllMovesOrNone) {
  constexpr auto kOwn = post::zvLowerBounds::kOwn;
  // clang-format off
  const struct {
    const char* name;
    double min1, max1, min2, max2;
    Degs first, second;
    bool isNotEnough;
    Degs shiftedFirst, shiftedSecond;
    post::zvLowerBounds bounds = post::zvLowerBounds::kShared;
  } cases[] = {
      {"fits", 0, 360, -1, 1, {0, 360}, {}, false, {0, 360}, {0, 0}},
      {"empty", 0, 360, -1, 1, {}, {}, true, {}, {}},
      {"up", 0, 180, -1, 1, {-300, -200}, {}, false, {60, 160}, {0, 0}},
      {"down", -90, 90, -1, 1, {730, 800}, {}, false, {10, 80}, {0, 0}},
      {"to the lowest turn", -1000, 300, -1, 1, {0, 400}, {}, false, {-720, -320}, {0, 0}},
      {"too wide", -360, 360, -1, 1, {0, 900}, {}, true, {0, 900}, {0, 0}},
      {"across the range", 0, 360, -1, 1, {-10, 350}, {}, true, {-10, 350}, {0, 0}},
      {"second axis", 0, 1, 350, 380, {0, 1}, {0, 10}, false, {0, 1}, {360, 370}},
      {"second axis too high", 0, 1, 0, 100, {0, 1}, {0, 110}, true, {0, 1}, {0, 110}},
      // The second axis' low values lower the first one's bound ...
      {"falls below the first", -50, 400, -500, 500, {0, 0}, {0, -60}, false, {360, 360}, {0, -60}},
      // ... or raise it, and hide what the first one lacks.
      {"hides", -100, 100, -100, 100, {0, -200, -400, 50}, {30, 20, 10, 5}, false, {0, -200, -400, 50}, {30, 20, 10, 5}},
      // An under-run of the second axis alone is not seen.
      {"unseen", -1000, 1000, 0, 100, {0, 0}, {10, -10}, false, {0, 0}, {10, -10}},
      // Each measured for itself all is seen.
      {"nothing lower", -50, 400, -500, 500, {0, 0}, {0, -60}, false, {0, 0}, {0, -60}, kOwn},
      {"nothing hidden", -100, 450, -100, 100, {0, -200, -400, 50}, {30, 20, 10, 5}, false, {360, 160, -40, 410}, {30, 20, 10, 5}, kOwn},
      {"seen", -1000, 1000, 0, 400, {0, 0}, {10, -10}, false, {0, 0}, {370, 350}, kOwn},
      {"first shifted, second too wide", 0, 180, 0, 100, {-300, -200}, {0, 500}, true, {60, 160}, {0, 500}},
      {"minimum above maximum", 10, -10, -1, 1, {0, 0}, {}, true, {0, 0}, {0, 0}},
      {"infinite minimum", -kInfinity, 100, -1, 1, {0, 200}, {}, true, {0, 200}, {0, 0}},
      {"a shift that would blur", -1e17, 100, -1, 1, {0.1, 200}, {}, true, {0.1, 200}, {0, 0}},
      {"the largest shift", -1e7, 100, -1, 1, {0, 200}, {}, false, {-9999720, -9999520}, {0, 0}},
      {"no number", kNaN, 100, -1, 1, {0, 200}, {}, true, {0, 200}, {0, 0}},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const zv5axMachDef machDef = Machine(c.min1, c.max1, c.min2, c.max2);
    tests::PassList<zvPosted5axMove> moves;
    Fill(moves, c.first, c.second);
    zvListLimits<zvPosted5axMove> checker(moves.list, machDef, 1e-4);
    EXPECT_EQ(checker.TryShiftAll(c.bounds), c.isNotEnough);
    EXPECT_EQ(moves.Angles(0), c.shiftedFirst);
    EXPECT_EQ(moves.Angles(1), c.shiftedSecond);
  }
}

TEST(LimitChecker, ServesOneAxis) {
  zv4axMachDef machDef;
  machDef.SetMinAngle(0);
  machDef.SetMaxAngle(180);
  tests::PassList<zvPosted4axMove> moves(
      std::vector{tests::TableMove<zvPosted4axMove>({}, {-300}),
                  tests::TableMove<zvPosted4axMove>({}, {-310})});
  zvListLimits<zvPosted4axMove> checker(moves.list, machDef, 1e-4);
  zvLimitType limit;
  EXPECT_TRUE(checker.RotaryExceeded(limit));
  EXPECT_EQ(limit.limitAxis, 3);
  EXPECT_FALSE(checker.TryShiftAll());
  EXPECT_EQ(moves.Angles(), (Degs{60, 50}));
  EXPECT_FALSE(checker.RotaryExceeded(limit));
  EXPECT_TRUE(limit.IsNone());
}

TEST(ControlLimits, WrapEachAxisByItsOwn) {
  using Limit = zv5axControlDef::angleLimit;
  constexpr auto kNone = zv5axControlDef::angleLimitNone;
  constexpr auto k180 = zv5axControlDef::angleLimit180;
  const struct {
    Limit first, second;
    Degs firstDegs, secondDegs;
  } cases[] = {{zv5axControlDef::angleLimit360, kNone, {270, 0, 0}, {-90, 500, 180}},
               {kNone, k180, {-90, 720, -1e-17}, {-90, 140, 180}},
               {static_cast<Limit>(7), kNone, {-90, 720, -1e-17}, {-90, 500, 180}}};
  zv5axControlDef control;
  for (const auto& c : cases) {
    tests::PassList<zvPosted5axMove> moves;
    Fill(moves, {-90, 720, -1e-17}, {-90, 500, 180});
    control.SetFirstAxisLimit(c.first);
    control.SetSecondAxisLimit(c.second);
    post::ApplyControlLimitations(moves.list, control);
    EXPECT_EQ(moves.Angles(0), c.firstDegs);
    EXPECT_EQ(moves.Angles(1), c.secondDegs);
  }
  // Nothing loops on what is no angle.
  control.SetFirstAxisLimit(k180);
  tests::PassList<zvPosted5axMove> absurd;
  Fill(absurd, {1e300, kInfinity});
  post::ApplyControlLimitations(absurd.list, control);
  EXPECT_LE(std::fabs(absurd.Angles(0)[0]), 180);
}

}  // namespace
