#include <kandrel/post/passes/rewinder/rewinder.h>
#include <tests/post/passes/pass_machine.h>

namespace post {
namespace {

using tests::Point;
using Types = zvPostedMove::Types;

template <class Move>
struct Rewinding : testing::Test {
  using Traits = zvMoveTraits<Move>;
  using Ranges = std::array<zvRotaryRange, Traits::kAxes>;

  static Ranges RangesOf(zvRotaryRange first, zvRotaryRange second = {-360, 360}) {
    Ranges ranges;
    ranges.fill(second);
    ranges[0] = first;
    return ranges;
  }

  // Angles from `from` to `to` in steps.
  static std::vector<Move> Ramp(double from, double to, double step) {
    std::vector<Move> moves;
    for (double i = 0; i <= std::round((to - from) / step); ++i)
      moves.push_back(tests::TableMove<Move>({50, 0.01 * i, 3}, {from + i * step, 10}));
    return moves;
  }

  template <class Machine>
  std::uint32_t Run(tests::PassList<Move>& moves, const Ranges& ranges, const Machine& on) {
    return zvRewinder<Move, Machine>(moves.list, ranges, par, true, on).Run();
  }
  std::uint32_t Run(tests::PassList<Move>& moves, const Ranges& ranges) {
    return Run(moves, ranges, machine);
  }
  static void ExpectKept(tests::PassList<Move>& moves, zvRotaryRange range, int axis = 0) {
    for (const double deg : moves.Angles(axis))
      ASSERT_TRUE(range.min - 1e-9 <= deg && deg <= range.max + 1e-9) << deg;
  }

  // Each tip stands where its move says, and the path's moves are there in their order, each turned
  // by whole turns alone.
  void ExpectPath(tests::PassList<Move>& moves, const std::vector<Move>& path) {
    std::size_t passed = 0;
    for (const Move& move : moves.list) {
      const Point tip = machine.PartPosition(move);
      ASSERT_LT((tip - move.GetPartPosition()).Length(), 1e-9);
      if (passed == path.size()) continue;
      const Move& source = path[passed];
      const double turned = Traits::Angle(move, 0) - Traits::Angle(source, 0);
      passed += move.GetType() == source.GetType() &&
                std::fabs(std::remainder(turned, 360)) < 1e-8 &&
                move.GetPartPosition() == source.GetPartPosition();
    }
    ASSERT_EQ(passed, path.size());
  }

  zvKDRParam par{measures::zvUnitsFactory::metric};
  tests::TableMachine<Move> machine;
};

using Classes = testing::Types<zvPosted4axMove, zvPosted5axMove>;
TYPED_TEST_SUITE(Rewinding, Classes);

// The runs of the file were found alike by a rewinding in its plain form, with restarts and double
// loops, and those that have a name were worked out by hand.
TYPED_TEST(Rewinding, KnownRuns) {
  using Angles = zvMoveTraits<TypeParam>;
  for (const auto& c : tests::NumberCases("passes/data/rewindings.txt")) {
    SCOPED_TRACE(c.line);
    const auto& [range, ramps, links, expected, lifts] = std::tie(c[0], c[1], c[2], c[3], c[4]);
    std::vector<TypeParam> path{tests::TableMove<TypeParam>({50, 0, 3}, {ramps[0], 0})};
    for (std::size_t i = 1; i < ramps.size(); i += 2)
      for (double left = ramps[i]; left > 0; --left)
        path.push_back(tests::TableMove<TypeParam>({50, 0.5 * static_cast<double>(path.size()), 3},
                                                   {Angles::Angle(path.back(), 0) + ramps[i + 1]}));
    for (std::size_t i = 0; i < links.size(); i += 3)
      for (double at = links[i + 1]; at <= links[i + 2]; ++at)
        path[static_cast<std::size_t>(at)].SetType(static_cast<Types>(links[i]));
    this->par.SetMaxAngleStep(range[2]);
    this->machine.solves = range[3] == 1;
    tests::PassList<TypeParam> moves(path);
    EXPECT_EQ(this->Run(moves, this->RangesOf({range[0], range[1]}, {-1e5, 1e5})), expected[0]);
    EXPECT_EQ(moves.list.GetCount(), expected[1]);
    std::vector<double> found;  // where the tool is lifted
    double degs = 0, places = 0;
    const TypeParam* before = &*moves.list.begin();
    for (const TypeParam& move : moves.list) {
      const Point& p = move.GetPartPosition();
      degs += Angles::Angle(move, 0);
      places += p.x + 2 * p.y + 3 * p.z;
      ASSERT_TRUE(!move.IsRapid() || move.GetType() == Types::noLink) << "a lift in a link";
      if (move.IsRapid() && !before->IsRapid())
        found.insert(found.end(), {Angles::Angle(*before, 0), before->GetPartPosition().y});
      before = &move;
    }
    EXPECT_NEAR(Angles::Angle(*before, 0), expected[2], 1e-6);
    EXPECT_NEAR(degs, expected[3], 1e-9 * std::fabs(expected[3]) + 1e-6);
    EXPECT_NEAR(places, expected[4], 1e-9 * expected[4] + 1e-6);
    ASSERT_EQ(found.size(), lifts.size());
    for (std::size_t i = 0; i < lifts.size(); ++i) EXPECT_NEAR(found[i], lifts[i], 1e-6);
  }
  tests::PassList<TypeParam> none;
  EXPECT_EQ(this->Run(none, this->RangesOf({-360, 360})), 0u);
  tests::PassList<TypeParam> other(this->Ramp(0, 900, 5));
  EXPECT_EQ(this->Run(other, this->RangesOf({0, 180}, {0, 100})), 0u);
  // An axis that is out and can't be rewound keeps the other from it.
  EXPECT_EQ(this->Run(other, this->RangesOf({-360, 360}, {300, 400})),
            Angles::kAxes == 2 ? 0u : 1u);
}

TYPED_TEST(Rewinding, StepsThatAreNoStepsTurnAtOnceAndTinyOnesAreRefused) {
  for (const double step : {0.0, -3.0, tests::kNaN, 1e-300}) {
    this->par.SetMaxAngleStep(step);
    tests::PassList<TypeParam> moves(this->Ramp(0, -900, -3));
    const auto run = [&] { return this->Run(moves, this->RangesOf({-360, 360})); };
    if (step == 1e-300) {
      EXPECT_TRUE(tests::ThrowsId<zvPostException>(run, 5039, L"Invalid vector was passed."));
    } else {
      EXPECT_EQ(run(), 1u);
      EXPECT_EQ(moves.list.GetCount(), 301u + 4);
    }
  }
}

TYPED_TEST(Rewinding, EndsOnLimitsAndAnglesThatAreNone) {
  constexpr double inf = tests::kInfinity, nan = tests::kNaN;
  const zvRotaryRange odd[] = {{360, -360}, {nan, 360},  {-360, nan}, {-inf, 360},    {0, inf},
                               {inf, -inf}, {-inf, inf}, {0, 360},    {1e300, -1e300}};
  for (const zvRotaryRange& range : odd)
    for (const double deg : {0.0, nan, inf, -inf, 1e300}) {
      tests::PassList<TypeParam> moves(this->Ramp(0, 900, 30));
      zvMoveTraits<TypeParam>::SetAngle(*std::next(moves.list.begin(), 4), 0, deg);
      const auto id = tests::IdOf([&] { this->Run(moves, this->RangesOf(range)); });
      EXPECT_TRUE(id == 0 || id == 5008 || id == 5039 || id == 5051) << id;
      EXPECT_LT(moves.list.GetCount(), 20000u);
    }
}

TYPED_TEST(Rewinding, AMidpointThatNeverComesNearIs5051) {
  struct : tests::TableMachine<TypeParam> {
    std::optional<TypeParam> Midpoint(const TypeParam& a, const TypeParam& b, double) const {
      TypeParam middle = a;
      zvMoveTraits<TypeParam>::SetAngle(middle, 0, 100);
      middle.SetFeed(b.GetFeed() + a.GetFeed() + 1);
      return middle;
    }
  } stubborn;
  tests::PassList<TypeParam> moves(this->Ramp(1, 1000, 3));
  EXPECT_TRUE(tests::ThrowsId<zvPostException>(
      [&] {
        return this->Run(moves, this->RangesOf({-10, 380}), stubborn);
      },
      5051));
}

// Midpoints leap, to the angle of the far move at once or at the last, or stand on the pole with
// angle 0, which means nothing. Turned to the limit, the near move stands as before on the pole of
// the first axis; elsewhere the leap is made in the air, from over the move before it to over the
// move behind.
TEST(RewindingAtALeap, KeepsTheToolOrSwingsInTheAir) {
  using Move = zvPosted5axMove;
  enum Leap { kEarly, kLate, kOnPole };
  struct : tests::TableMachine<Move> {
    Leap leap = kEarly;
    std::optional<Move> Midpoint(const Move& a, const Move& b, double) const {
      Move middle = leap == kEarly ? b : a;
      middle.SetPartPosition(0.5 * (a.GetPartPosition() + b.GetPartPosition()));
      if (leap == kOnPole) {
        middle.SetAngle(0, 0);
        middle.SetPoleStatus(1);
      }
      middle.SetMachinePosition(this->MachinePosition(middle));
      return middle;
    }
  } leaping;
  using Machine = decltype(leaping);
  const zvKDRParam par{measures::zvUnitsFactory::metric};
  for (const Leap leap : {kEarly, kLate, kOnPole})
    for (const double tilt : {0.0, 0.001, 0.1, 10.0}) {
      if (leap == kOnPole && tilt > 0) continue;
      SCOPED_TRACE(testing::Message() << leap << ' ' << tilt);
      leaping.leap = leap;
      tests::PassList<Move> moves;
      for (int i = 0; i < 300; ++i)
        moves.list.PushBack(tests::TableMove<Move>({50, 0.01 * i, 3}, {3.0 * i, tilt}));
      zvRewinder<Move, Machine> rewinder(moves.list, {{{-362, 362}, {-100, 100}}}, par, true,
                                         leaping);
      EXPECT_EQ(rewinder.Run(), 1u);
      for (const double deg : moves.Angles()) EXPECT_LE(std::fabs(deg), 362 + 1e-9);
      const auto lift = std::find_if(moves.list.begin(), moves.list.end(),
                                     [](const Move& move) { return move.IsRapid(); });
      ASSERT_TRUE(lift != moves.list.end());
      const Move& last = *std::prev(lift);
      if (tilt > 0.01) {
        const auto over = std::next(lift), behind = std::next(over);
        EXPECT_EQ(moves.list.GetCount(), 302u);
        EXPECT_EQ(lift->GetAngle(0), last.GetAngle(0));
        EXPECT_TRUE(over->IsRapid());
        EXPECT_EQ(over->GetAngle(0), behind->GetAngle(0));
        EXPECT_NEAR((over->GetPartPosition() - behind->GetPartPosition()).Length(), 100, 1e-9);
        EXPECT_LT(behind->GetAngle(0), last.GetAngle(0) - 300);
        continue;
      }
      const Move& near = *std::prev(lift, 2);
      const double way = (last.GetPartPosition() - near.GetPartPosition()).Length();
      EXPECT_EQ(last.GetAngle(0), 362);
      EXPECT_EQ(last.GetPoleStatus(), 0u);
      EXPECT_TRUE(leap == kOnPole ? std::fabs(way - 0.005) < 1e-12 : way <= 0.01 + 1e-9) << way;
      EXPECT_LT((last.GetOrientation() - near.GetOrientation()).Length(), 2e-5);
    }
}

// The list of a run that fails is as far as it had come: what is rewound is rewound to its end.
TYPED_TEST(Rewinding, AFailureKeepsTheTurnsMadeBeforeIt) {
  struct : tests::TableMachine<TypeParam> {
    mutable int left = 1;
    TypeParam Retract(const TypeParam& move) const {
      if (left-- == 0) throw zvPostException(5008);
      return tests::TableMachine<TypeParam>::Retract(move);
    }
  } failing;
  tests::PassList<TypeParam> moves(this->Ramp(0, 2200, 4));
  EXPECT_THROW(this->Run(moves, this->RangesOf({-360, 360}), failing), zvPostException);
  // No step is a turn: the moves behind have the turns of the first rewinding too.
  const std::vector<double> degs = moves.Angles();
  for (std::size_t i = 1; i < degs.size(); ++i) ASSERT_LE(std::fabs(degs[i] - degs[i - 1]), 4.001);
}

// Whatever is wound, in steps of less than half a turn, ends within its limits.
TYPED_TEST(Rewinding, KeepsLimitsAndThePathOnRandomRuns) {
  using Move = TypeParam;
  using Angles = zvMoveTraits<Move>;
  tests::Seeded random;
  const zvRotaryRange listed[] = {
      {-360, 360}, {0, 360},    {0, 900},        {-100, 500},         {-200, 200.5}, {-720, 0},
      {-1.5, 400}, {-359, 359}, {-359.9, 359.9}, {-719.999, 719.999}, {-0.1, 719.8}};
  const double limits[] = {180, 190, 270, 350, 358, 359.999, 400, 719.9, 1079.99};
  const auto range = [&](bool isNoisy) -> zvRotaryRange {
    if (isNoisy) return listed[random.Integer(0, 10)];
    const double limit = limits[random.Integer(0, 8)];
    const double low = random.Real(-800, 100);
    if (random.Chance(0.3)) return {low, low + random.Real(360, 1500)};
    return {-limit, limit};
  };
  const int rounds = tests::Rounds(6000);
  std::uint32_t rewindings = 0;
  for (int run = 0; run < rounds; ++run) {
    SCOPED_TRACE(run);
    std::vector<Move> path;
    const bool isNoisy = random.Chance(0.6);
    const int count = random.Integer(1, isNoisy ? 120 : 300);
    const double changes = random.Chance(0.5) ? 0.07 : 0;
    double drift = random.Integer(-1, 1) * random.Real(0, 25);
    double degs[] = {30.0 * random.Integer(-20, 20), random.Real(-100, 100)};
    int type = 6;
    for (int i = 0; i < count; ++i) {
      if (random.Chance(0.15)) type = random.Chance(0.4) ? 6 : random.Integer(0, 5);
      path.push_back(
          tests::TableMove<Move>({40, 0.5 * i, 7}, {degs[0], degs[1]}, static_cast<Types>(type)));
      if (random.Chance(changes)) drift = random.Real(-12, 12) * random.Integer(1, 3);
      const double wide = random.Chance(0.05) ? 170 : isNoisy ? 20 : 0;
      degs[0] += std::clamp(
          drift + (random.Chance(0.3) ? 10.0 * random.Integer(-2, 2) : random.Real(-wide, wide)),
          -179.0, 179.0);
      degs[1] += random.Chance(0.5) ? 0 : random.Real(-30, 30);
    }
    const zvRotaryRange first = range(isNoisy);
    const zvRotaryRange second =
        random.Chance(0.7) ? zvRotaryRange{-100000, 100000} : range(isNoisy);
    const auto ranges = this->RangesOf(first, second);
    this->par.SetMaxAngleStep(random.Chance(0.2) ? 0 : random.Real(isNoisy ? 5 : 1, 100));
    this->machine.solves = random.Chance(0.5);
    tests::PassList<Move> moves(path);
    rewindings += this->Run(moves, ranges);
    for (int axis = 0; axis < Angles::kAxes; ++axis) this->ExpectKept(moves, ranges[axis], axis);
    this->ExpectPath(moves, path);
    if (this->HasFatalFailure()) return;
  }
  EXPECT_GT(rewindings, rounds / 2u);
  // Ten thousand turns.
  tests::PassList<Move> turns(this->Ramp(0, 3600000, 60));
  this->par = zvKDRParam(measures::zvUnitsFactory::metric);
  this->machine.solves = true;
  EXPECT_GT(this->Run(turns, this->RangesOf({-360, 360})), 4000u);
  this->ExpectKept(turns, {-360, 360});
}

}  // namespace
}  // namespace post
