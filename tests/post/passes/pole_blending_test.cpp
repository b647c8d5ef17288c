#include <kandrel/post/passes/pole_blending.h>
#include <tests/post/passes/pass_machine.h>
#include <tests/support/five_axis_scenes.h>

namespace post {
namespace {

using tests::Distance;
using tests::Point;
using Move = zvPosted5axMove;
using Moves = std::vector<Move>;

// A place on the X axis, and the first and second angle.
struct Line {
  double x, first, second;
};

std::vector<Line> LinesOf(const std::vector<double>& numbers) {
  std::vector<Line> lines;
  for (std::size_t i = 0; i < numbers.size(); i += 3)
    lines.push_back({numbers[i], numbers[i + 1], numbers[i + 2]});
  return lines;
}

// The first angle of the move at this place of the path.
double FirstAngleAt(const Moves& moves, double x) {
  for (const Move& move : moves)
    if (move.GetPartPosition().x == x) return move.GetAngle(0);
  ADD_FAILURE() << "no move at " << x;
  return 0;
}

// The tables of pass_machine.h: the second axis stands at 0 on the pole of the first.
struct Blending : testing::TestWithParam<zvKDRParam::PoleHandling> {
  Blending() {
    m_scene.par.SetPoleHandling(zvKDRParam::spreadEvenly);
    m_scene.par.SetMaxAngleJump(1000);
  }

  static Moves Build(const std::vector<Line>& lines) {
    Moves moves;
    for (const Line& line : lines)
      moves.push_back(tests::TableMove<Move>({line.x, 0, 7}, {line.first, line.second}));
    return moves;
  }
  Moves Blended(const Moves& given) {
    tests::PassList<Move> moves(given);
    m_count = BlendPoles(moves.list, m_scene.par, m_ranges, m_scene.Solver());
    return {moves.list.begin(), moves.list.end()};
  }
  static void ExpectLines(const Moves& moves, const std::vector<Line>& lines) {
    ASSERT_EQ(moves.size(), lines.size());
    const tests::TableMachine<Move> kinematics;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      SCOPED_TRACE(i);
      EXPECT_NEAR(moves[i].GetAngle(0), lines[i].first, 1e-9);
      EXPECT_EQ(moves[i].GetAngle(1), lines[i].second);
      EXPECT_LT(Distance(moves[i].GetPartPosition(), Point{lines[i].x, 0, 7}), 1e-9);
      EXPECT_LT(Distance(moves[i].GetMachinePosition(), kinematics.MachinePosition(moves[i])),
                1e-9);
      EXPECT_LT(Distance(moves[i].GetOrientation(), kinematics.Orientation(moves[i])), 1e-9);
    }
  }
  // What the moves of the cubic with flat ends have turned.
  static double Smooth(double jump, double u) { return jump * (3 * u * u - 2 * u * u * u); }

  tests::FiveAxisScene m_scene;
  std::array<zvRotaryRange, 2> m_ranges{{{-1e5, 1e5}, {-1e5, 1e5}}};
  std::uint32_t m_count = 0;
};

TEST_F(Blending, LinearSpreadsTheJumpOverTheLength) {
  for (const auto& c : tests::NumberCases("passes/data/linear_blending.txt")) {
    SCOPED_TRACE(c.line);
    ExpectLines(Blended(Build(LinesOf(c[0]))), LinesOf(c[1]));
    EXPECT_EQ(m_count, c[0].size() == 18 ? 2u : 1u);
  }
}

TEST_F(Blending, CubicStartsAndEndsFlatWithoutNeighbours) {
  m_scene.par.SetPoleHandling(zvKDRParam::spreadOnCubic);
  for (const double sense : {1.0, -1.0}) {
    const double end = 80 + sense * 61;
    const Moves moves = Blended(Build({{0, 80, 5}, {10, 80, 0}, {30, 80, 0}, {50, end, 5}}));
    // Steepest in the middle with 1.5 * 61 / 50 degrees per unit: 3 degrees take 50 / 30.5 units.
    std::vector<Line> lines{{0, 80, 5}};
    const double spacing = 50 / 30.5;
    for (int k = 1; k <= 30; ++k) {
      for (const double x : {10.0, 30.0})
        if (x > (k - 1) * spacing && x < k * spacing) lines.push_back({x, 0, 0});
      lines.push_back({k * spacing, 0, 0});
    }
    for (std::size_t i = 1; i < lines.size(); ++i)
      lines[i].first = 80 + sense * Smooth(61, lines[i].x / 50);
    lines.push_back({50, end, 5});
    ASSERT_EQ(lines.size(), 34u);
    ExpectLines(moves, lines);
    for (std::size_t i = 1; i < moves.size(); ++i) {
      const double step = sense * (moves[i].GetAngle(0) - moves[i - 1].GetAngle(0));
      EXPECT_GT(step, 0);
      EXPECT_LT(step, 3);
    }
  }
}

// The slope of the neighbours, 1 degree per unit, reaches the cubic with its sign reversed where
// the angle rises: deliberate.
TEST_F(Blending, CubicTakesTheSlopesOfItsNeighbours) {
  m_scene.par.SetPoleHandling(zvKDRParam::spreadOnCubic);
  const struct { double sense, at10, at30; } cases[] = {{-1, 11.04, 36.48}, {1, 1.44, 41.28}};
  for (const auto& c : cases) {
    std::vector<Line> lines;
    for (const double x : {-40.0, -30.0, -20.0, -10.0, 0.0})
      // What lies beyond half the length doesn't count.
      lines.push_back({x, 90 + c.sense * (x < -30 ? 77 : x), 5});
    lines.push_back({10, 90, 0});
    lines.push_back({30, 90, 0});
    for (const double x : {50.0, 60.0, 70.0, 80.0, 90.0})
      lines.push_back({x, 90 + c.sense * (x > 80 ? -50 : x + 10), 5});
    const Moves moves = Blended(Build(lines));
    EXPECT_EQ(m_count, 1u);
    EXPECT_NEAR(FirstAngleAt(moves, 10), 90 + c.sense * c.at10, 1e-9);
    EXPECT_NEAR(FirstAngleAt(moves, 30), 90 + c.sense * c.at30, 1e-9);
  }
}

TEST_F(Blending, CubicKeepsTheStepWhateverItsShape) {
  m_scene.par.SetPoleHandling(zvKDRParam::spreadOnCubic);
  for (const auto& c : tests::NumberCases("passes/data/cubic_steps.txt")) {
    SCOPED_TRACE(c.line);
    const Moves moves = Blended(Build(LinesOf(c[1])));
    EXPECT_EQ(moves.size(), c[1].size() / 3 + static_cast<std::size_t>(c[0][0]));
    for (std::size_t k = 1; k < moves.size(); ++k)
      if (moves[k].GetAngle(1) == 0 || moves[k - 1].GetAngle(1) == 0) {
        EXPECT_LE(moves[k].AngleDistance(moves[k - 1]), 5 + 1e-9) << k;
      }
  }
}

// Angles that a range from 0 up has wrapped: 20 degrees over the pole, unless there is no room. As
// solved they run to 180 on both sides: over that seam lies the short way, whatever the range.
TEST_F(Blending, TakesTheShortWayWhereTheRangeHasRoom) {
  for (const auto& c : tests::NumberCases("passes/data/short_ways.txt")) {
    m_ranges[0] = {c[0][0], c[0][1]};
    const double from = c[0][2], to = c[0][3];
    const Moves moves = Blended(Build({{0, from, 5}, {5, from, 0}, {10, from, 0}, {20, to, 5}}));
    EXPECT_NEAR(FirstAngleAt(moves, 5), c[0][4], 1e-9) << c.line;
  }
  // The first axis stands at 0 by chance, and the true pole lies inside the stretch.
  m_ranges[0] = {-1e5, 1e5};
  const Moves moves =
      Blended(Build({{0, 10, 5}, {5, 0, 5}, {10, 0, 0}, {20, 0, 0}, {30, 70, 5}, {35, 80, 5}}));
  EXPECT_EQ(m_count, 1u);
  EXPECT_NEAR(FirstAngleAt(moves, 20), 42, 1e-9);
}

TEST_F(Blending, MovesTakeTheFormOfTheirNeighbours) {
  Moves given = Build({{0, 10, 5}, {10, 10, 0}, {30, 10, 0}, {50, 70, 5}});
  given[1].SetFeed(100);
  given[2].SetFeed(300);
  given[2].SetType(zvPostedMove::link4);
  given[3].SetRapid(true);
  given[3].SetFeed(9000);
  const Moves small = Blended(given);
  ASSERT_EQ(small.size(), 6u);
  for (int i = 0; i < 4; ++i) {
    Move& m = given[static_cast<std::size_t>(i)];
    m = Move(m.GetMachinePosition(), m.GetPartPosition(), m.GetOrientation(), m.GetAngle(0),
             m.GetAngle(1), 0, m.GetFeed(), m.IsRapid(), m.GetType(), {1.0 * i, 2, 3},
             {0, 1.0 * i, 0}, 7, i != 3, i + 40, false);
  }
  const Moves extended = Blended(given);
  ASSERT_EQ(extended.size(), 6u);
  EXPECT_FALSE(extended[1].IsInserted());
  // The feed is that of the one that isn't rapid; type, index, data and id follow.
  using Case = std::tuple<std::size_t, tests::Numbers, Point, Point>;
  using Types = zvPostedMove;
  for (const auto& [index, form, point, vector] :
       {Case{2, {200, Types::link4, 42, 1, 7}, {1.5, 2, 3}, {0, 1.5, 0}},
        {4, {300, Types::noLink, 43, 0, 0}, {}, {0, 0, 1}}}) {
    EXPECT_TRUE(small[index].HasNoExtended());
    const Move& move = extended[index];
    EXPECT_EQ(tests::Flat(move.GetFeed(), move.GetType(), move.GetSourceIndex(),
                          move.HasExtendedData(), move.GetExtendedId()),
              form);
    EXPECT_EQ(tests::Flat(small[index].GetFeed(), small[index].GetType()),
              tests::Numbers(form.begin(), form.begin() + 2));
    for (const Move& any : {small[index], move})
      EXPECT_TRUE(!any.IsRapid() && any.GetPoleStatus() == 0);
    EXPECT_TRUE(move.IsInserted());
    EXPECT_LT(Distance(move.GetExtendedPoint(), point), 1e-12);
    EXPECT_LT(Distance(move.GetExtendedVector(), vector), 1e-12);
  }
  given[2].SetExtendedId(8);
  EXPECT_EQ(Blended(given)[2].GetExtendedId(), 0u);
}

TEST_P(Blending, LeavesAloneWhatIsNoPoleOrNeedsNothing) {
  m_scene.par.SetPoleHandling(GetParam());
  for (const auto& c : tests::NumberCases("passes/data/no_blending.txt")) {
    SCOPED_TRACE(c.line);
    m_scene.par.SetMaxAngleStep(c[0][0]);
    m_scene.par.SetMaxAngleJump(c[0][1]);
    const Moves given = Build(LinesOf(c[1]));
    const bool isBlended = c[0][2] == 1 && GetParam() >= zvKDRParam::spreadEvenly;
    EXPECT_EQ(Blended(given) != given, isBlended);
    EXPECT_EQ(m_count, isBlended ? 1u : 0u);
  }
}

INSTANTIATE_TEST_SUITE_P(Ways, Blending,
                         testing::Values(zvKDRParam::PoleHandling{}, zvKDRParam::keepWithinLimits,
                                         zvKDRParam::spreadEvenly, zvKDRParam::spreadOnCubic));

}  // namespace
}  // namespace post
