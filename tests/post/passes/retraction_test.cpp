#include <kandrel/post/geometry/five_axis_kinematics.h>
#include <kandrel/post/passes/angle_jumps.h>
#include <kandrel/post/passes/retraction.h>
#include <tests/post/passes/pass_machine.h>

namespace post {
namespace {

using tests::kInfinity;
using tests::Point;
using tests::ThrowsId;

zv5axMachDef Machine(int kind, double limit) {
  zv5axMachDef machDef;
  machDef.SetFiveAxisKind(kind);
  machDef.SetMinLimits({-limit, -limit, -limit});
  machDef.SetMaxLimits({limit, limit, limit});
  return machDef;
}

zvPosted5axMove Lift(const zv5axMachDef& machDef, const zvPosted5axMove& move,
                     zvRecompute recompute = zvRecompute::kNothing, bool useAngles = false) {
  const Point origin;
  return RetractToMachineLimits(zv5axKinematics(machDef, origin, 0), machDef, move, useAngles,
                                recompute);
}

// Lifts end on a limit, never below where they start, and rounding never makes them fail. An axis
// that the lift doesn't move stands exactly where it stood.
TEST(Retraction, ToLimitsEndsOnALimitAndNeverPlunges) {
  tests::Seeded random;
  const Point origin{10, -20, 5};
  int still = 0;
  for (const double limit : {500.0, 1000.0, 100000.0})
    for (int i = 0; i < 12000; ++i) {
      const zv5axMachDef machDef = Machine(i % 4, limit);
      const zv5axKinematics kinematics(machDef, origin, 80);
      zvPosted5axMove move(true);
      move.SetAngle(random.Chance(0.3) ? 90.0 * random.Integer(-4, 4) : random.Real(-180, 180), 0);
      move.SetAngle(random.Chance(0.2) ? 0 : random.Real(-100, 100), 1);
      move.SetPartPosition(random.Vector(150));
      move.SetOrientation(kinematics.Orientation(move));
      move.SetMachinePosition(kinematics.MachinePosition(move));
      if (random.Chance(0.1)) {
        // On its limit, or past it by what the check lets pass.
        Point p = move.GetMachinePosition();
        p.x = random.Chance(0.5) ? limit : limit + 5e-13;
        move.SetMachinePosition(p);
        move.SetPartPosition(kinematics.PartPosition(move));
      }
      const Point& from = move.GetMachinePosition();
      if (!LinearOut(from, machDef).IsNone()) continue;
      zvPosted5axMove lifted(true);
      ASSERT_NO_THROW(
          lifted = RetractToMachineLimits(kinematics, machDef, move, false, zvRecompute::kNothing));
      const Point& m = lifted.GetMachinePosition();
      EXPECT_NEAR(std::max({std::fabs(m.x), std::fabs(m.y), std::fabs(m.z)}), limit, 1e-12);
      const Point rise = lifted.GetPartPosition() - move.GetPartPosition();
      EXPECT_GE(Dot(rise, move.GetOrientation()), 0);
      EXPECT_LT((kinematics.MachinePosition(lifted) - m).Length(), 1e-9 * limit);
      EXPECT_TRUE(lifted.IsRapid());
      if (rise.Length() < 1) continue;
      for (double Point::*axis : {&Point::x, &Point::y, &Point::z}) {
        const double way = std::fabs(m.*axis - from.*axis);
        EXPECT_TRUE(way == 0 || way > 1e-11) << way;
        still += way == 0;
      }
    }
  EXPECT_GT(still, 1000);
}

TEST(Retraction, LiftsAlongTheOrientationAsGiven) {
  const Point origin;
  const zv5axKinematics kinematics(Machine(2, 1000), origin, 0);
  zvPosted5axMove move({}, {1, 2, 3}, {0, 0, 2}, 0, 0, 1, 300, false, zvPostedMove::link3,
                       {4, 5, 6}, {0, 1, 0}, 9, true, 17, false);
  zvPosted5axMove expected = move;
  expected.SetPartPosition({1, 2, 103});
  expected.SetMachinePosition({1, 2, 103});
  expected.SetRapid(true);
  expected.SetInserted(true);
  EXPECT_EQ(RetractAlongTool(kinematics, move, 50.0), expected);
  EXPECT_NO_THROW(RetractAlongTool(kinematics, move, 1e307));
  for (const double distance : {kInfinity, -kInfinity, tests::kNaN})
    EXPECT_TRUE(
        ThrowsId<zvPostException>([&] { RetractAlongTool(kinematics, move, distance); }, 5039));
}

TEST(Retraction, ToLimitsGoesByTheLimitsThereAreAndRefusesTheRest) {
  const zv5axMachDef machDef = Machine(2, 100);
  zvPosted5axMove move(true);
  move.SetMachinePosition({0, 0, 100.1});
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { Lift(machDef, move); }, 5008));
  // Worked out anew it stands inside.
  EXPECT_EQ(Lift(machDef, move, zvRecompute::kMachinePosition).GetMachinePosition(),
            Point(0, 0, 100));
  constexpr auto kPart = zvRecompute::kPartPosition;
  move.SetMachinePosition({1, 2, 3});
  EXPECT_EQ(Lift(machDef, move, kPart).GetPartPosition(), Point(1, 2, 100));
  move.SetOrientation({});
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { Lift(machDef, move, kPart); }, 5039));
  EXPECT_EQ(Lift(machDef, move, kPart, true).GetPartPosition(), Point(1, 2, 100));
  // An infinite limit is none: the axes that have one decide, and where none has, nothing does.
  for (const auto& c : tests::NumberCases("passes/data/lifts.txt")) {
    SCOPED_TRACE(c.line);
    zv5axMachDef limited = Machine(2, 100);
    limited.SetMaxLimits({c[0][0], c[0][1], c[0][2]});
    move = zvPosted5axMove(true);
    move.SetPartPosition({1, 2, 3});
    move.SetMachinePosition({1, 2, 3});
    move.SetOrientation({c[1][0], c[1][1], c[1][2]});
    if (c[2].empty()) {
      EXPECT_TRUE(ThrowsId<zvPostException>([&] { Lift(limited, move); }, 5039));
      continue;
    }
    const zvPosted5axMove lifted = Lift(limited, move);
    const Point top{c[2][0], c[2][1], c[2][2]};
    EXPECT_LT((lifted.GetMachinePosition() - top).Length(), 1e-11 * top.Length());
    EXPECT_EQ(lifted.GetOrientation(), move.GetOrientation());
  }
}

template <class Move>
struct Jumps : testing::Test {
  static std::uint32_t Run(tests::PassList<Move>& moves, double maxJump, int failsAt = 0) {
    return HandleLargeAngleJumps(moves.list, 180, maxJump, [&](const Move& move) {
      if (--failsAt == 0) throw zvPostException(zvPostException::kOutOfLimits);
      return tests::TableMachine<Move>().Retract(move);
    });
  }
};
using Classes = testing::Types<zvPosted4axMove, zvPosted5axMove>;
TYPED_TEST_SUITE(Jumps, Classes);

TYPED_TEST(Jumps, AreLiftedAwayFromPartAtBothAngles) {
  for (const auto& c : tests::NumberCases("passes/data/jumps.txt")) {
    SCOPED_TRACE(c.line);
    const double to = c[0][0], jumps = c[0][3];
    tests::PassList<TypeParam> moves;
    moves.list.PushBack(tests::TableMove<TypeParam>({10, 0, 0}, {0, 0}));
    TypeParam& last = moves.list.PushBack(tests::TableMove<TypeParam>({20, 0, 0}, {to, 0}));
    last.SetRapid(c[0][2] == 1);
    EXPECT_EQ(this->Run(moves, c[0][1]), jumps);
    ASSERT_EQ(moves.list.GetCount(), 2 + 2 * jumps);
    if (jumps == 0) continue;
    auto lift = std::next(moves.list.begin());
    EXPECT_EQ(lift->GetPartPosition(), Point(10, 0, 100));
    EXPECT_EQ(std::next(lift)->GetPartPosition(), Point(20, 0, 100));
    EXPECT_EQ(moves.Angles(), (std::vector<double>{0, 0, to, to}));
    EXPECT_TRUE(lift->IsRapid() && std::next(lift)->IsRapid());
  }
}

TYPED_TEST(Jumps, ThatFailKeepWhatWasPutInBefore) {
  tests::PassList<TypeParam> moves;
  for (const double deg : {0.0, 150.0, 0.0})
    moves.list.PushBack(tests::TableMove<TypeParam>({10, 0, 0}, {deg, 0}));
  tests::PassList<TypeParam> other(moves.list);
  EXPECT_EQ(this->Run(other, 120), 2u);
  EXPECT_EQ(other.Angles(), (std::vector<double>{0, 0, 150, 150, 150, 0, 0}));
  EXPECT_THROW(this->Run(moves, 120, 4), zvPostException);
  EXPECT_EQ(moves.list.GetCount(), 5u);
}

}  // namespace
}  // namespace post
