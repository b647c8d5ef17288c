#include <kandrel/post/passes/control_limits.h>
#include <kandrel/post/passes/limit_checker.h>
#include <tests/post/passes/pass_machine.h>

namespace post {
namespace {

using Degs = std::vector<double>;

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
    zvPosted5axMove& move = moves.list.PushBack(zvPosted5axMove(true));
    move.SetAngle(first[i], 0);
    move.SetAngle(i < second.size() ? second[i] : 0, 1);
  }
}

TEST(LimitChecker, RotaryLimitsHaveTheSlackAndAreNotCircular) {
  const zv5axMachDef machDef = Machine(-10, 10, -20, 20);
  for (const auto& c : tests::NumberCases("passes/data/rotary_excess.txt")) {
    SCOPED_TRACE(c.line);
    tests::PassList<zvPosted5axMove> moves;
    Fill(moves, {0, c[0][0]}, {0, c[0][1]});
    zvLimitType limit{7, 7};
    const zvListLimits<zvPosted5axMove> limits(moves.list, machDef, 0.000101);
    EXPECT_EQ(limits.RotaryExceeded(limit), !c[1].empty());
    const zvLimitType none;
    EXPECT_EQ(tests::Flat(limit.limitAxis, limit.limitSide),
              c[1].empty() ? tests::Flat(none.limitAxis, none.limitSide) : c[1]);
  }
  // The first move out decides.
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
  EXPECT_EQ(linear({0, 0, tests::kNaN}), (zvLimitType{zvLimitType::kZ, zvLimitType::kMinimum}));
  EXPECT_EQ(linear({100001, -100001, 0}), (zvLimitType{zvLimitType::kX, zvLimitType::kMaximum}));
}

TEST(LimitChecker, ShiftsAllMovesOrNone) {
  for (const auto& c : tests::NumberCases("passes/data/shifts.txt")) {
    SCOPED_TRACE(c.line);
    const zv5axMachDef machDef = Machine(c[0][0], c[0][1], c[0][2], c[0][3]);
    tests::PassList<zvPosted5axMove> moves;
    Fill(moves, c[1], c[2]);
    zvListLimits<zvPosted5axMove> checker(moves.list, machDef, 1e-4);
    const auto bounds = c[0][4] == 0 ? zvLowerBounds::kShared : zvLowerBounds::kOwn;
    EXPECT_EQ(checker.TryShiftAll(bounds), c[0][5] == 1);
    EXPECT_EQ(moves.Angles(0), c[3]);
    EXPECT_EQ(moves.Angles(1), c[4]);
  }
}

TEST(ControlLimits, WrapEachAxisByItsOwn) {
  zv5axControlDef control;
  for (const auto& c : tests::NumberCases("passes/data/control_limits.txt")) {
    SCOPED_TRACE(c.line);
    tests::PassList<zvPosted5axMove> moves;
    Fill(moves, {-90, 720, -1e-17}, {-90, 500, 180});
    control.SetFirstAxisLimit(static_cast<zv5axControlDef::angleLimit>(c[0][0]));
    control.SetSecondAxisLimit(static_cast<zv5axControlDef::angleLimit>(c[0][1]));
    ApplyControlLimitations(moves.list, control);
    EXPECT_EQ(moves.Angles(0), c[1]);
    EXPECT_EQ(moves.Angles(1), c[2]);
  }
  // Nothing loops on what is no angle.
  control.SetFirstAxisLimit(zv5axControlDef::angleLimit180);
  tests::PassList<zvPosted5axMove> absurd;
  Fill(absurd, {1e300, tests::kInfinity});
  ApplyControlLimitations(absurd.list, control);
  EXPECT_LE(std::fabs(absurd.Angles(0)[0]), 180);
}

}  // namespace
}  // namespace post
