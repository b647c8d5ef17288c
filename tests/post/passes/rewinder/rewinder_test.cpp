#include <gtest/gtest.h>
#include <kandrel/post/passes/rewinder/rewinder.h>
#include <tests/post/passes/pass_machine.h>
#include <tests/support/plain_passes.h>
#include <tests/support/seeded.h>
#include <tests/support/throws_id.h>

#include <algorithm>
#include <limits>
#include <list>

namespace {

using post::zvKDRParam;
using post::zvPosted4axMove;
using post::zvPosted5axMove;
using post::zvPostedMove;
using post::zvRotaryRange;
using tests::Point;
using Types = zvPostedMove::Types;

template <class Move>
class Rewinding : public testing::Test {
 protected:
  using Traits = post::zvMoveTraits<Move>;
  using Machine = tests::TableMachine<Move>;
  using Ranges = std::array<zvRotaryRange, Traits::kAxes>;

  static Ranges RangesOf(zvRotaryRange first, zvRotaryRange second = {-360, 360}) {
    Ranges ranges;
    ranges.fill(second);
    ranges[0] = first;
    return ranges;
  }

  // Angles from `from` to `to` in steps, on the link type where the angle lies in [linkLow,
  // linkHigh].
  static std::vector<Move> Ramp(double from, double to, double step, int linkType = 6,
                                double linkLow = 1, double linkHigh = 0) {
    std::vector<Move> moves;
    const int count = static_cast<int>(std::round((to - from) / step));
    for (int i = 0; i <= count; ++i) {
      const double deg = from + i * step;
      const bool isLink = deg >= linkLow && deg <= linkHigh;
      moves.push_back(
          tests::TableMove<Move>({50.0, 0.01 * i, 3}, {deg, 10},
                                 isLink ? static_cast<Types>(linkType) : zvPostedMove::noLink));
    }
    return moves;
  }

  std::uint32_t Run(tests::PassList<Move>& moves, const Ranges& ranges) {
    post::zvRewinder<Move, Machine> rewinder(moves.list, ranges, par, true, machine);
    return rewinder.Run();
  }

  static void ExpectKept(tests::PassList<Move>& moves, zvRotaryRange range) {
    for (const double deg : moves.Angles()) {
      ASSERT_GE(deg, range.min - 1e-9);
      ASSERT_LE(deg, range.max + 1e-9);
    }
  }

  // Each tip stands where its move says, and the path's moves are there in their order, each turned
  // by whole turns alone.
  void ExpectPath(tests::PassList<Move>& moves, const std::vector<Move>& path) {
    std::size_t passed = 0;
    for (const Move& move : moves.list) {
      const Point tip = machine.kinematics.PartPosition(move);
      ASSERT_LT((tip - move.GetPartPosition()).Length(), 1e-9);
      if (passed == path.size()) continue;
      const Move& source = path[passed];
      const double turned = Traits::Angle(move, 0) - Traits::Angle(source, 0);
      if (move.GetType() == source.GetType() && std::fabs(std::remainder(turned, 360)) < 1e-8 &&
          (move.GetPartPosition() - source.GetPartPosition()).Length() == 0)
        ++passed;
    }
    ASSERT_EQ(passed, path.size());
  }

  zvKDRParam par{measures::zvUnitsFactory::metric};
  Machine machine;
};

using Classes = testing::Types<zvPosted4axMove, zvPosted5axMove>;
TYPED_TEST_SUITE(Rewinding, Classes);

TYPED_TEST(Rewinding, KnownRuns) {
  using Move = TypeParam;
  const struct {
    const char* name;
    double to, step;
    int linkType;
    double linkLow, linkHigh;
    std::size_t count;
    double low, high, last;
    std::uint32_t rewindings;
  } cases[] = {
      // Shift by -360, one rewinding of -720 at the limit: the copy there, lift, 240 turns, end,
      // drop.
      {"rising", 900, 3, 6, 1, 0, 545, -360, 360, -180, 1},
      // Shift by 360, one rewinding of 360.
      {"falling", -900, -3, 6, 1, 0, 301 + 124, -360, 360, -180, 1},
      // The link lies at 270 after the shift; one turn is enough there.
      {"rising with a link", 900, 3, 5, 600, 630, 301 + 123, -360, 360, 180, 1},
      {"inside", 300, 3, 6, 1, 0, 101, 0, 300, 300, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    tests::PassList<Move> moves(this->Ramp(0, c.to, c.step, c.linkType, c.linkLow, c.linkHigh));
    const std::uint32_t rewindings = this->Run(moves, this->RangesOf({-360, 360}));
    EXPECT_EQ(rewindings, c.rewindings);
    const std::vector<double> degs = moves.Angles();
    EXPECT_EQ(degs.size(), c.count);
    EXPECT_GE(*std::min_element(degs.begin(), degs.end()), c.low - 1e-9);
    EXPECT_LE(*std::max_element(degs.begin(), degs.end()), c.high + 1e-9);
    EXPECT_NEAR(degs.back(), c.last, 1e-9);
  }
}

// A link takes fewer turns than the run needs: the search goes back to the first move beyond the
// limit, also where that is the last stretch of the list, rising and falling.
TYPED_TEST(Rewinding, RunsThatAreOutAgainAfterALinkAreRewoundAgain) {
  for (const double sense : {1.0, -1.0})
    for (const double end : {1000.0, 1400.0, 2200.0, 3000.0}) {
      const double link = sense * 600;
      tests::PassList<TypeParam> moves(this->Ramp(0, sense * end, sense * 4, 5,
                                                  std::min(link, link + sense * 40),
                                                  std::max(link, link + sense * 40)));
      EXPECT_GT(this->Run(moves, this->RangesOf({-360, 360})), 0u);
      this->ExpectKept(moves, {-360, 360});
    }
}

// The link takes one turn of the two that the stretch needs, which is back within the limits at its
// end.
TYPED_TEST(Rewinding, AStretchThatTurnsRoundBeyondTheLimitIsRewoundAgain) {
  for (const double sense : {1.0, -1.0}) {
    std::vector<TypeParam> moves =
        this->Ramp(0, sense * 1096, sense * 4, 5, sense > 0 ? 532 : -540, sense > 0 ? 540 : -532);
    const std::vector<TypeParam> back = this->Ramp(sense * 1092, sense * 740, -sense * 4);
    moves.insert(moves.end(), back.begin(), back.end());
    tests::PassList<TypeParam> list(moves);
    EXPECT_EQ(this->Run(list, this->RangesOf({-360, 360})), 2u);
    this->ExpectKept(list, {-360, 360});
  }
}

// Whole turns that the stretch asks for may take the axis from its limit across the other one.
TYPED_TEST(Rewinding, RangesJustShortOfWholeTurnsAreKept) {
  for (const double limit : {359.0, 359.9, 359.999, 719.9, 719.999, 1079.9})
    for (const double sense : {1.0, -1.0})
      for (const double step : {2.0, 3.0, 5.0, 170.0})
        for (const int linkType : {6, 5, 0}) {
          SCOPED_TRACE(testing::Message() << limit << ' ' << sense * step << ' ' << linkType);
          const double link = sense > 0 ? 601.3 : -641.3;
          const std::vector<TypeParam> path =
              this->Ramp(sense * 1.3, sense * 5401.3, sense * step, linkType, link, link + 40);
          tests::PassList<TypeParam> moves(path);
          const std::uint32_t rewindings = this->Run(moves, this->RangesOf({-limit, limit}));
          // No more than one for each turn of the path, and no fewer than the range asks.
          EXPECT_GE(rewindings, std::floor(5400 / (2 * limit)));
          EXPECT_LE(rewindings, 15u);
          this->ExpectKept(moves, {-limit, limit});
          this->ExpectPath(moves, path);
        }
}

// The rewinding turns back by one turn: from 300 or the limit, but not from the link's start at 0,
// behind which the link goes down to -100.
TYPED_TEST(Rewinding, APlaceFromWhichMovesWouldGoOutIsPassedOver) {
  const struct {
    int linkType;
    double standsAt;
    std::size_t turns;
  } cases[] = {{0, 300, 1}, {4, 300, 1}, {2, 400, 2}};
  for (const double sense : {1.0, -1.0})
    for (const auto& c : cases) {
      SCOPED_TRACE(testing::Message() << sense << ' ' << c.linkType);
      std::vector<TypeParam> path = this->Ramp(-sense * 400, sense * -10, sense * 10);
      const auto append = [&](double from, double to, double step, int type) {
        for (TypeParam& move : this->Ramp(from, to, step)) {
          move.SetType(static_cast<Types>(type));
          path.push_back(std::move(move));
        }
      };
      append(0, 0, 1, 5);
      append(-sense * 10, -sense * 100, -sense * 10, c.linkType);
      append(-sense * 90, sense * 300, sense * 10, c.linkType);
      append(sense * 310, sense * 500, sense * 10, 6);
      tests::PassList<TypeParam> moves(path);
      EXPECT_EQ(this->Run(moves, this->RangesOf({-400, 400})), 1u);
      this->ExpectKept(moves, {-400, 400});
      const auto lift = std::find_if(moves.list.begin(), moves.list.end(),
                                     [](const TypeParam& move) { return move.IsRapid(); });
      ASSERT_TRUE(lift != moves.list.end());
      EXPECT_EQ(post::zvMoveTraits<TypeParam>::Angle(*lift, 0), sense * c.standsAt);
    }
}

// A huge limit is no reason to lose the angles.
TYPED_TEST(Rewinding, ShiftsThatWouldBlurTheAnglesAreNotMade) {
  for (const double low : {-1e9, -1e17, -1e300}) {
    tests::PassList<TypeParam> moves(this->Ramp(0.1, 900, 30));
    const std::vector<double> before = moves.Angles();
    EXPECT_EQ(this->Run(moves, this->RangesOf({low, 100})), 0u);
    EXPECT_EQ(moves.Angles(), before);
  }
}

TYPED_TEST(Rewinding, GoesToTheLowestTurnThatFits) {
  tests::PassList<TypeParam> moves(this->Ramp(0, 500, 5));
  EXPECT_EQ(this->Run(moves, this->RangesOf({-100000, 400})), 0u);
  EXPECT_EQ(moves.Angles().front(), -99720);
}

// A limit that isn't hit by a move: the tip stays where the path has it, the angle is exact.
TYPED_TEST(Rewinding, MovesAtTheLimitStayOnTheirLine) {
  for (const bool solves : {false, true})
    for (const double limit : {359.9, 360.0, 720.5, 400.25}) {
      this->machine.solves = solves;
      tests::PassList<TypeParam> moves(this->Ramp(1, 1000, 3));
      this->Run(moves, this->RangesOf({limit - 370, limit}));
      this->ExpectKept(moves, {limit - 370, limit});
      for (const TypeParam& move : moves.list) {
        const Point tip = this->machine.kinematics.PartPosition(move);
        EXPECT_LT((tip - move.GetPartPosition()).Length(), 1e-9);
      }
    }
}

TYPED_TEST(Rewinding, NothingHappensWhereAnAxisCantBeRewound) {
  tests::PassList<TypeParam> moves(this->Ramp(0, 200, 5));
  EXPECT_EQ(this->Run(moves, this->RangesOf({0, 180}, {0, 100})), 0u);
  EXPECT_EQ(moves.list.GetCount(), 41u);
  tests::PassList<TypeParam> none;
  EXPECT_EQ(this->Run(none, this->RangesOf({-360, 360})), 0u);
}

TYPED_TEST(Rewinding, StepsThatAreNoStepsTurnAtOnceAndTinyOnesAreRefused) {
  for (const double step : {0.0, -3.0, std::numeric_limits<double>::quiet_NaN()}) {
    this->par.SetMaxAngleStep(step);
    tests::PassList<TypeParam> moves(this->Ramp(0, -900, -3));
    EXPECT_EQ(this->Run(moves, this->RangesOf({-360, 360})), 1u);
    EXPECT_EQ(moves.list.GetCount(), 301u + 4);
  }
  this->par.SetMaxAngleStep(1e-300);
  tests::PassList<TypeParam> moves(this->Ramp(0, -900, -3));
  EXPECT_TRUE(tests::ThrowsId<post::zvPostException>(
      [&] {
        this->Run(moves, this->RangesOf({-360, 360}));
      },
      5039, L"Invalid vector was passed."));
}

TYPED_TEST(Rewinding, EndsOnLimitsAndAnglesThatAreNone) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const zvRotaryRange odd[] = {{360, -360}, {nan, 360},  {-360, nan}, {-inf, 360},    {0, inf},
                               {inf, -inf}, {-inf, inf}, {0, 360},    {1e300, -1e300}};
  for (const zvRotaryRange& range : odd)
    for (const double deg : {0.0, nan, inf, -inf, 1e300}) {
      tests::PassList<TypeParam> moves(this->Ramp(0, 900, 30));
      post::zvMoveTraits<TypeParam>::SetAngle(*std::next(moves.list.begin(), 4), 0, deg);
      try {
        this->Run(moves, this->RangesOf(range));
      } catch (const post::zvPostException&) {
      }
      EXPECT_LT(moves.list.GetCount(), 20000u);
    }
}

TYPED_TEST(Rewinding, AMidpointThatNeverComesNearIs5051) {
  struct Stubborn : tests::TableMachine<TypeParam> {
    std::optional<TypeParam> Midpoint(const TypeParam& a, const TypeParam& b, double) const {
      TypeParam middle = a;
      post::zvMoveTraits<TypeParam>::SetAngle(middle, 0, 100);
      middle.SetFeed(b.GetFeed() + a.GetFeed() + 1);
      return middle;
    }
  } stubborn;
  tests::PassList<TypeParam> moves(this->Ramp(1, 1000, 3));
  post::zvRewinder<TypeParam, Stubborn> rewinder(moves.list, this->RangesOf({-10, 380}), this->par,
                                                 true, stubborn);
  EXPECT_TRUE(tests::ThrowsId<post::zvPostException>(
      [&] { rewinder.Run(); }, 5051,
      L"Rewind algorithm faild to create first move. This can happen because of machine "
      L"limitations. One reason may be the angle between axes of rotation which is different from "
      L"90 degrees."));
}

// Midpoints leap, to the angle of the far move at once or at the last. Turned to the limit, the
// near move stands as before on the pole of the first axis; elsewhere the leap is made in the air,
// from over the move before it to over the move behind.
TEST(RewindingAtALeap, KeepsTheToolOrSwingsInTheAir) {
  struct Leaping : tests::TableMachine<zvPosted5axMove> {
    bool isLate = false;
    std::optional<zvPosted5axMove> Midpoint(const zvPosted5axMove& a, const zvPosted5axMove& b,
                                            double) const {
      zvPosted5axMove middle = isLate ? a : b;
      middle.SetPartPosition(0.5 * (a.GetPartPosition() + b.GetPartPosition()));
      middle.SetMachinePosition(kinematics.MachinePosition(middle));
      return middle;
    }
  } leaping;
  const zvKDRParam par{measures::zvUnitsFactory::metric};
  for (const bool isLate : {false, true})
    for (const double tilt : {0.0, 0.001, 0.1, 10.0}) {
      leaping.isLate = isLate;
      tests::PassList<zvPosted5axMove> moves;
      for (int i = 0; i < 300; ++i)
        moves.list.PushBack(tests::TableMove<zvPosted5axMove>({50, 0.01 * i, 3}, {3.0 * i, tilt}));
      post::zvRewinder<zvPosted5axMove, Leaping> rewinder(moves.list, {{{-362, 362}, {-100, 100}}},
                                                          par, true, leaping);
      EXPECT_EQ(rewinder.Run(), 1u);
      for (const double deg : moves.Angles()) EXPECT_LE(std::fabs(deg), 362 + 1e-9);
      const auto lift = std::find_if(moves.list.begin(), moves.list.end(),
                                     [](const zvPosted5axMove& move) { return move.IsRapid(); });
      ASSERT_TRUE(lift != moves.list.end());
      if (tilt > 0.01) {
        const auto over = std::next(lift);
        const auto behind = std::next(over);
        EXPECT_EQ(moves.list.GetCount(), 302u);
        EXPECT_EQ(lift->GetAngle(0), std::prev(lift)->GetAngle(0));
        EXPECT_TRUE(over->IsRapid());
        EXPECT_EQ(over->GetAngle(0), behind->GetAngle(0));
        EXPECT_NEAR((over->GetPartPosition() - behind->GetPartPosition()).Length(), 100, 1e-9);
        EXPECT_LT(behind->GetAngle(0), std::prev(lift)->GetAngle(0) - 300);
        continue;
      }
      const zvPosted5axMove& atLimit = *std::prev(lift);
      const zvPosted5axMove& near = *std::prev(lift, 2);
      EXPECT_EQ(atLimit.GetAngle(0), 362);
      EXPECT_LE((atLimit.GetPartPosition() - near.GetPartPosition()).Length(), 0.01 + 1e-9);
      EXPECT_LT((atLimit.GetOrientation() - near.GetOrientation()).Length(), 2e-5);
    }
}

// A midpoint on the pole comes with angle 0, which tells nothing.
TEST(RewindingAtALeap, TakesTheMoveOnThePole) {
  struct Standing : tests::TableMachine<zvPosted5axMove> {
    std::optional<zvPosted5axMove> Midpoint(const zvPosted5axMove& a, const zvPosted5axMove& b,
                                            double) const {
      zvPosted5axMove middle = a;
      middle.SetPartPosition(0.5 * (a.GetPartPosition() + b.GetPartPosition()));
      middle.SetAngle(0, 0);
      middle.SetPoleStatus(1);
      return middle;
    }
  } standing;
  const zvKDRParam par{measures::zvUnitsFactory::metric};
  tests::PassList<zvPosted5axMove> moves;
  for (int i = 0; i < 300; ++i)
    moves.list.PushBack(tests::TableMove<zvPosted5axMove>({50, 0.01 * i, 3}, {3.0 * i, 0}));
  post::zvRewinder<zvPosted5axMove, Standing> rewinder(moves.list, {{{-362, 362}, {-100, 100}}},
                                                       par, true, standing);
  rewinder.Run();
  const auto lift = std::find_if(moves.list.begin(), moves.list.end(),
                                 [](const zvPosted5axMove& move) { return move.IsRapid(); });
  ASSERT_TRUE(lift != moves.list.end());
  const zvPosted5axMove& atLimit = *std::prev(lift);
  const zvPosted5axMove& near = *std::prev(lift, 2);
  EXPECT_EQ(atLimit.GetAngle(0), 362);
  EXPECT_EQ(atLimit.GetPoleStatus(), 0u);
  EXPECT_NEAR((atLimit.GetPartPosition() - near.GetPartPosition()).Length(), 0.005, 1e-12);
}

// The list of a run that fails is as far as it had come: what is rewound is rewound to its end.
TYPED_TEST(Rewinding, AFailureKeepsTheTurnsMadeBeforeIt) {
  struct Failing : tests::TableMachine<TypeParam> {
    mutable int left = 1;
    TypeParam Retract(const TypeParam& move) const {
      if (left-- == 0) throw post::zvPostException(5008);
      return tests::TableMachine<TypeParam>::Retract(move);
    }
  } failing;
  tests::PassList<TypeParam> moves(this->Ramp(0, 2200, 4));
  post::zvRewinder<TypeParam, Failing> rewinder(moves.list, this->RangesOf({-360, 360}), this->par,
                                                true, failing);
  EXPECT_THROW(rewinder.Run(), post::zvPostException);
  // No step is a turn: the moves behind have the turns of the first rewinding too.
  const std::vector<double> degs = moves.Angles();
  for (std::size_t i = 1; i < degs.size(); ++i) ASSERT_LE(std::fabs(degs[i] - degs[i - 1]), 4.001);
}

TYPED_TEST(Rewinding, TenThousandTurnsAreKept) {
  tests::PassList<TypeParam> moves(this->Ramp(0, 3600000, 60));
  EXPECT_GT(this->Run(moves, this->RangesOf({-360, 360})), 4000u);
  this->ExpectKept(moves, {-360, 360});
}

TYPED_TEST(Rewinding, IsTheQuadraticOneOnRandomRuns) {
  using Move = TypeParam;
  using Angles = post::zvMoveTraits<Move>;
  tests::Seeded random;
  const zvRotaryRange ranges[] = {
      {-360, 360}, {0, 360},    {0, 900},        {-100, 500},         {-200, 200.5}, {-720, 0},
      {-1.5, 400}, {-359, 359}, {-359.9, 359.9}, {-719.999, 719.999}, {-0.1, 719.8}};
  int rewindings = 0;
  int out = 0;
  for (int run = 0; run < 4000; ++run) {
    std::vector<Move> moves;
    const int count = random.Integer(1, 120);
    const double drift = random.Integer(-1, 1) * random.Real(0, 25);
    double degs[] = {30.0 * random.Integer(-20, 20), random.Real(-100, 100)};
    int type = 6;
    for (int i = 0; i < count; ++i) {
      if (random.Chance(0.15)) type = random.Chance(0.4) ? 6 : random.Integer(0, 5);
      moves.push_back(
          tests::TableMove<Move>({40, 0.5 * i, 7}, {degs[0], degs[1]}, static_cast<Types>(type)));
      const double wide = random.Chance(0.05) ? 170 : 20;
      degs[0] += std::clamp(
          drift + (random.Chance(0.3) ? 10.0 * random.Integer(-2, 2) : random.Real(-wide, wide)),
          -179.0, 179.0);
      degs[1] += random.Chance(0.5) ? 0 : random.Real(-30, 30);
    }
    const zvRotaryRange first = ranges[random.Integer(0, 10)];
    const zvRotaryRange second =
        random.Chance(0.7) ? zvRotaryRange{-100000, 100000} : ranges[random.Integer(0, 10)];
    this->par.SetMaxAngleStep(random.Chance(0.2) ? 0 : random.Real(5, 100));
    this->machine.solves = random.Chance(0.5);
    tests::PassList<Move> tuned(moves);
    const auto tunedRanges = this->RangesOf(first, second);
    std::list<Move> plain(moves.begin(), moves.end());
    tests::plain::Rewinder<Move, tests::TableMachine<Move>> oracle(
        plain, {{first.min, first.max}, {second.min, second.max}}, this->par, this->machine);
    const int expected = oracle.Run();
    ASSERT_EQ(this->Run(tuned, tunedRanges), static_cast<std::uint32_t>(expected)) << run;
    rewindings += expected;
    ASSERT_EQ(tuned.list.GetCount(), plain.size()) << run;
    auto other = plain.begin();
    bool isOut = false;
    for (const Move& move : tuned.list) {
      for (int axis = 0; axis < Angles::kAxes; ++axis) {
        ASSERT_NEAR(Angles::Angle(move, axis), Angles::Angle(*other, axis), 1e-8) << run;
        isOut = isOut || Angles::Angle(move, axis) < tunedRanges[axis].min - 1e-4 ||
                Angles::Angle(move, axis) > tunedRanges[axis].max + 1e-4;
      }
      ASSERT_EQ(move.GetType(), other->GetType()) << run;
      ASSERT_LT((move.GetPartPosition() - other->GetPartPosition()).Length(), 1e-7) << run;
      ASSERT_LT((move.GetMachinePosition() - other->GetMachinePosition()).Length(), 1e-7) << run;
      ++other;
    }
    out += isOut;
  }
  EXPECT_GT(rewindings, 1000);
  EXPECT_EQ(out, 0);
}

// Whatever is wound, in steps of less than half a turn, ends within its limits.
TYPED_TEST(Rewinding, RandomRunsEndWithinTheirLimits) {
  using Move = TypeParam;
  tests::Seeded random;
  const double limits[] = {180, 190, 270, 350, 358, 359, 359.9, 359.999, 360, 400, 719.9, 1079.99};
  std::uint32_t rewindings = 0;
  for (int run = 0; run < 3000; ++run) {
    SCOPED_TRACE(run);
    std::vector<Move> path;
    const int count = random.Integer(2, 400);
    const bool hasLinks = random.Chance(0.7);
    const double changes = random.Chance(0.5) ? 0.07 : 0;
    double deg = random.Real(-180, 180);
    double step = random.Real(-12, 12);
    int type = 6;
    for (int i = 0; i < count; ++i) {
      if (random.Chance(changes)) step = random.Real(-12, 12) * random.Integer(1, 3);
      if (hasLinks && random.Chance(0.1)) type = random.Integer(0, 6);
      deg += random.Chance(0.02) ? random.Real(-170, 170) : step;
      if (random.Chance(0.03)) deg = std::round(deg / 90) * 90;
      path.push_back(tests::TableMove<Move>({50, 0.1 * i, 3}, {deg, 10}, static_cast<Types>(type)));
    }
    const double limit = limits[random.Integer(0, 11)];
    const double low = random.Real(-800, 100);
    const zvRotaryRange range = random.Chance(0.3)
                                    ? zvRotaryRange{low, low + random.Real(360, 1500)}
                                    : zvRotaryRange{-limit, limit};
    this->par.SetMaxAngleStep(random.Chance(0.2) ? 0 : random.Real(1, 30));
    this->machine.solves = random.Chance(0.5);
    tests::PassList<Move> moves(path);
    rewindings += this->Run(moves, this->RangesOf(range));
    this->ExpectKept(moves, range);
    this->ExpectPath(moves, path);
    if (this->HasFatalFailure()) return;
  }
  EXPECT_GT(rewindings, 3000u);
}

}  // namespace
