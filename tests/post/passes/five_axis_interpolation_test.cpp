#include <kandrel/misc/angles.h>
#include <kandrel/post/geometry/solution_choice.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/five_axis_interpolation.h>
#include <kandrel/post/passes/step_counts.h>
#include <tests/post/passes/pass_machine.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/outcome.h>

namespace post {
namespace {

using tests::Distance;
using tests::Point;
using Move = zvPosted5axMove;
using Moves = std::vector<Move>;

TEST(StepCounts, Tables) {
  zvKDRParam par(measures::zvUnitsFactory::metric);
  for (const auto& c : tests::NumberCases("passes/data/step_counts.txt")) {
    SCOPED_TRACE(c.line);
    const double size = c[0][1];
    par.SetMaxAngleStep(c[0][0]);
    par.SetInterpolationDistance(c[0][0]);
    par.SetInterpolateByDistance(true);
    const auto byAngle = [&] { return StepsByAngle(par, size); };
    const auto byDistance = [&] { return StepsByDistance(par, size); };
    if (c[1].empty()) {
      EXPECT_TRUE(tests::ThrowsId<zvPostException>(byAngle, 5039));
      EXPECT_TRUE(tests::ThrowsId<zvPostException>(byDistance, 5039));
      continue;
    }
    EXPECT_EQ(tests::Flat(byAngle(), byDistance()), c[1]);
    par.SetInterpolateByDistance(false);
    EXPECT_EQ(byDistance(), 0u);
  }
}

// The tables of pass_machine.h.
struct Interpolation : testing::Test {
  // What comes between two moves.
  Moves Between(const Move& from, const Move& to) {
    tests::PassList<Move> moves(Moves{from, to});
    const zv5axMoveSolver solver = m_scene.Solver();
    zv5axInterpolator interpolator(solver, from.HasNoExtended());
    m_isLastLeft = interpolator.Between(moves.list, std::next(moves.list.begin()));
    EXPECT_EQ(moves.list.Front(), from);
    EXPECT_EQ(moves.list.Back(), to);
    return {std::next(moves.list.begin()), std::prev(moves.list.end())};
  }
  static Move At(const Point& p, double first, double second) {
    return tests::TableMove<Move>(p, {first, second});
  }
  static Move Rapid(Move move, bool isRapid = true) {
    move.SetRapid(isRapid);
    return move;
  }
  static Move Extended(const Move& m, int index, bool hasData, std::uint32_t id, const Point& v) {
    return Move(m.GetMachinePosition(), m.GetPartPosition(), m.GetOrientation(), m.GetAngle(0),
                m.GetAngle(1), m.GetPoleStatus(), m.GetFeed(), m.IsRapid(), m.GetType(), 2.0 * v, v,
                id, hasData, index, false);
  }
  // Index, data, id, vector and point of a move that was put in.
  static tests::Numbers FormOf(const Move& m) {
    EXPECT_TRUE(m.IsInserted());
    return tests::Flat(m.GetSourceIndex(), m.HasExtendedData(), m.GetExtendedId(),
                       m.GetExtendedVector(), m.GetExtendedPoint());
  }
  static double Length(const Move& a, const Move& b) {
    return Distance(a.GetPartPosition(), b.GetPartPosition());
  }
  // What the axes turn that are determined in both moves.
  static double Turn(const Move& a, const Move& b) {
    double largest = 0;
    for (std::int16_t axis = 0; axis < 2; ++axis)
      if (a.GetPoleStatus() != axis + 1u && b.GetPoleStatus() != axis + 1u)
        largest = std::max(largest, misc::CircularDistance(a.GetAngle(axis), b.GetAngle(axis)));
    return largest;
  }
  bool IsWithinStep(const Move& a, const Move& b) const {
    return Turn(a, b) < m_scene.par.GetMaxAngleStep() - 1e-12 &&
           (!m_scene.par.GetInterpolateByDistance() ||
            Length(a, b) < m_scene.par.GetInterpolationDistance() - 1e-12);
  }
  // Tip and tool stand as the moves say, on the line from the first to the last.
  void ExpectOnLine(const Moves& moves) const {
    tests::ExpectPoses(tests::Rules::Of(m_scene), tests::LinesOf(moves));
    const Move &from = moves.front(), &to = moves.back();
    for (std::size_t k = 1; k < moves.size(); ++k) {
      const double way = Length(from, moves[k - 1]) + Length(moves[k - 1], moves[k]);
      ASSERT_NEAR(way + Length(moves[k], to), Length(from, to), 1e-9);
    }
  }
  struct Counts {
    int steps, large, left, poles, otherSolutions;
  };
  // No move could be left out. Between the first step and the last none off the poles turns as much
  // as the whole. A move on a pole keeps the angle of the move before it; each of the others has
  // the solution that is chosen against that.
  void ExpectThinAndChosen(const Moves& moves, Counts& counts) const {
    const zv5axMoveSolver solver = m_scene.Solver();
    bool wasOnPole = false;
    for (std::size_t k = 1; k < moves.size(); ++k) {
      const Move& a = moves[k - 1];
      const Move& b = moves[k];
      ++counts.steps;
      const bool isLast = k + 1 == moves.size();
      if (!IsWithinStep(a, b)) ++(m_isLastLeft && isLast ? counts.left : counts.large);
      if (isLast) break;
      ASSERT_FALSE(IsWithinStep(a, b) && IsWithinStep(a, moves[k + 1]));
      const auto both = solver.SolveAngles(b.GetPartPosition(), b.GetOrientation(),
                                           solver.MakePoleCone(), a.GetAngle(0));
      const bool isOnPole = both.poleStatus != 0;
      ASSERT_TRUE(k == 1 || m_isLastLeft || m_scene.par.GetInterpolateByDistance() || isOnPole ||
                  wasOnPole || Turn(a, b) < Turn(moves.front(), moves.back()) - 1e-6);
      wasOnPole = isOnPole;
      if (isOnPole) {
        ++counts.poles;
        const std::int16_t axis = both.poleStatus == 1 ? 0 : 1;
        ASSERT_EQ(b.GetAngle(axis), a.GetAngle(axis));
        continue;
      }
      const zvRotarySolution& chosen = both.Of(TakesMirrorNext(
          a.GetAngle(0), a.GetAngle(1), both, m_scene.par, m_scene.machine.MachDef()));
      counts.otherSolutions +=
          chosen.firstAngle != b.GetAngle(0) || chosen.secondAngle != b.GetAngle(1);
    }
  }

  tests::FiveAxisScene m_scene;
  tests::TableMachine<Move> m_kinematics;
  bool m_isLastLeft = false;
};

TEST_F(Interpolation, DividesEvenlyByAngleOrDistance) {
  m_scene.par.SetInterpolationDistance(0.4);
  for (const auto& c : tests::NumberCases("passes/data/even_division.txt")) {
    SCOPED_TRACE(c.line);
    m_scene.par.SetInterpolateByDistance(c[0][0] == 1);
    m_scene.par.SetInterpolateRapidMoves(c[0][1] == 1);
    const Move from = Rapid(At({}, c[1][1], c[1][2]), c[1][0] == 1);
    const Move to = Rapid(At({c[2][1], 0, 0}, c[2][2], c[2][3]), c[2][0] == 1);
    const double count = c[3][0];
    const Moves moves = Between(from, to);
    EXPECT_FALSE(m_isLastLeft);
    ASSERT_EQ(moves.size(), count);
    for (std::size_t k = 0; k < moves.size(); ++k) {
      const double t = static_cast<double>(k + 1) / (count + 1);
      const Point p = (1 - t) * from.GetPartPosition() + t * to.GetPartPosition();
      EXPECT_LT(Distance(moves[k].GetPartPosition(), p), 1e-12);
      EXPECT_NEAR(Turn(from, moves[k]), t * Turn(from, to), 0.1);
    }
  }
}

TEST_F(Interpolation, SolvedMovesTakeTheirFormFromBothEnds) {
  Move from = At({0, 0, 0}, 10, 30);
  Move to = At({4, 0, 0}, 13.5, 30);
  from.SetFeed(100);
  to.SetFeed(300);
  Moves moves = Between(from, to);
  ASSERT_EQ(moves.size(), 1u);
  EXPECT_TRUE(moves[0].HasNoExtended());
  EXPECT_EQ(moves[0].GetFeed(), 200);
  // Orientations of another length than 1 are blended as unit vectors, those within 1e-6 as given.
  for (const double length : {1 + 5e-7, 3.0}) {
    Move longer = from;
    longer.SetOrientation(length * from.GetOrientation());
    const Point blend = (length == 3 ? from : longer).GetOrientation() + to.GetOrientation();
    EXPECT_LT(Distance(Between(longer, to).at(0).GetOrientation(), blend.Normalized()), 1e-10);
  }
  to.SetType(zvPostedMove::link2);
  using Case = std::tuple<bool, std::uint32_t, std::uint32_t, Point>;
  for (const auto& [hasData, toId, id, vector] :
       {Case{true, 7, 7, {1, 2, 0}}, {true, 8, 0, {1, 2, 0}}, {false, 7, 0, {0, 0, 1}}}) {
    moves =
        Between(Extended(from, 41, true, 7, {2, 0, 0}), Extended(to, 42, hasData, toId, {0, 4, 0}));
    ASSERT_EQ(moves.size(), 1u);
    EXPECT_EQ(moves[0].GetType(), zvPostedMove::link2);
    EXPECT_EQ(moves[0].GetFeed(), 300);
    EXPECT_EQ(FormOf(moves[0]),
              tests::Flat(41, hasData, id, vector, hasData ? 2.0 * vector : Point{}));
  }
}

TEST_F(Interpolation, LinearAxesGoTheShortWay) {
  m_scene.par.SetInterpolationMode(1);
  m_scene.par.SetInterpolationDistance(1);
  Move from = At({0, 50, 0}, 170, 30);
  Move to = At({7, 50, 0}, -170, 37);
  from.SetFeed(100);
  to.SetFeed(800);
  to.SetType(zvPostedMove::link3);
  const Point v{2, 0, 0};
  const Moves small = Between(from, to);
  const Moves extended = Between(Extended(from, 41, true, 7, v), Extended(to, 42, true, 7, v));
  ASSERT_EQ(small.size(), 6u);
  ASSERT_EQ(extended.size(), 6u);
  for (std::size_t k = 0; k < 6; ++k) {
    const auto n = static_cast<double>(k + 1);
    const Point p_part{n, 50, 0};
    Move expected = At(p_part, 170 + 20 * n / 7, 30 + n);
    // A marker that files hold: the degrees taken as radians.
    Move marker = expected;
    for (std::int16_t axis = 0; axis < 2; ++axis)
      marker.SetAngle(expected.GetAngle(axis) * 57.29577951308232, axis);
    expected.SetOrientation(m_kinematics.Orientation(marker));
    for (const Move* move : {&small[k], &extended[k]}) {
      for (std::int16_t axis = 0; axis < 2; ++axis)
        EXPECT_NEAR(move->GetAngle(axis), expected.GetAngle(axis), 1e-9);
      EXPECT_LT(Distance(move->GetPartPosition(), p_part), 1e-12);
      EXPECT_LT(Distance(move->GetMachinePosition(), expected.GetMachinePosition()), 1e-9);
      EXPECT_LT(Distance(move->GetOrientation(), expected.GetOrientation()), 1e-9);
      EXPECT_NEAR(move->GetFeed(), 100 + 100 * n, 1e-9);  // blended across types too
      EXPECT_EQ(move->GetType(), zvPostedMove::link3);
    }
    EXPECT_TRUE(small[k].HasNoExtended());
    EXPECT_EQ(FormOf(extended[k]), tests::Flat(41, false, 0, Point{0, 0, 1}, Point{}));
  }
  m_scene.par.SetInterpolateByDistance(true);
  m_scene.par.SetInterpolateRapidMoves(true);
  for (const bool isFromRapid : {false, true})
    for (const bool isToRapid : {false, true}) {
      const Move fourth = Between(Rapid(from, isFromRapid), Rapid(to, isToRapid)).at(3);
      EXPECT_EQ(fourth.IsRapid(), isFromRapid && isToRapid);
      const double mixed = isToRapid ? 100 : 800;
      EXPECT_NEAR(fourth.GetFeed(), isFromRapid == isToRapid ? 100 + 2800 / 9.0 : mixed, 1e-9);
    }
}

// Straight across the pole to the other solution: the last step stays as large as the whole. Where
// the limits keep the second axis from passing, the turn happens in the middle and nothing helps.
TEST_F(Interpolation, ReducesNothingThatTurnsAtOnce) {
  const Move from = At({0, 0, 0}, 0, 5);
  const Move to = At({20, 0, 0}, 180, 5);
  const Moves moves = Between(from, to);
  EXPECT_TRUE(m_isLastLeft);
  ASSERT_FALSE(moves.empty());
  EXPECT_NEAR(moves.back().GetAngle(0), 0, 1e-6);
  EXPECT_LT(moves.back().GetAngle(1), -2);
  m_scene.machine.secondRange = {0, 90};
  m_scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  EXPECT_TRUE(Between(from, to).empty());
  EXPECT_FALSE(m_isLastLeft);
}

// The free axis turns off a pole at once. Moves serve only what else turns; a tilt of less than a
// step leaves the turn to be spread by blending, if that is asked for.
TEST_F(Interpolation, ATurnOffAPoleIsDividedForTheTiltAlone) {
  const Move pole = At({0, 0, 0}, 10, 0);
  const Moves moves = Between(pole, At({20, 0, 0}, 90, 30));
  ASSERT_GE(moves.size(), 9u);
  for (const Move& move : moves) EXPECT_NEAR(move.GetAngle(0), 90, 1e-6);
  EXPECT_TRUE(Between(pole, At({20, 0, 0}, 90, 2.9)).empty());
  // Slight excess at a pole is none.
  m_scene.par.SetPoleAngleTolerance(0.01);
  Move from = At({0, 0, 0}, 50, 0);
  from.SetPoleStatus(1);
  const Move within = At({1, 0, 0}, 50, 3.005);
  EXPECT_TRUE(Between(from, within).empty());
  EXPECT_FALSE(Between(from, At({1, 0, 0}, 50, 3.011)).empty());
  Move determined = from;
  determined.SetPoleStatus(0);
  EXPECT_FALSE(Between(determined, within).empty());
  m_scene.par.SetInterpolateByDistance(true);
  m_scene.par.SetInterpolationDistance(0.4);
  EXPECT_FALSE(Between(from, within).empty());
}

// Solved it points where its angles do; linear axes stand halfway, and its orientation is a marker.
TEST_F(Interpolation, AMidpointIsForcedInItsMode) {
  for (const int mode : {0, 1}) {
    m_scene.par.SetInterpolationMode(mode);
    const auto solver = m_scene.Solver();
    const auto middle = [&](const Move& from, const Move& to, double tolerance) {
      return zv5axInterpolator(solver, true).Midpoint(from, to, tolerance);
    };
    for (const double turn : {2.0, 80.0}) {
      const auto move = middle(At({0, 0, 0}, 10, 30), Rapid(At({4, 0, 0}, 10 + turn, 30)), 0);
      ASSERT_TRUE(move.has_value());
      EXPECT_NEAR(move->GetAngle(0), 10 + turn / 2, 1e-9);
      EXPECT_EQ(move->GetPartPosition(), (Point{2, 0, 0}));
      EXPECT_EQ(Distance(move->GetOrientation(), m_kinematics.Orientation(*move)) < 2e-5,
                mode == 0);
      EXPECT_EQ(move->GetAngle(1) > 29.9, mode == 1 || turn == 2);
    }
    Move pole = At({0, 0, 0}, 0, 0);
    pole.SetPoleStatus(1);
    EXPECT_FALSE(middle(pole, At({0, 0, 0}, 50, 3.005), 0.01).has_value());
    EXPECT_TRUE(middle(pole, At({0, 0, 0}, 50, 3.005), 0.001).has_value());
  }
}

// Random steps beside, out of and far from poles, from solutions of either sort.
TEST_F(Interpolation, KeepsItsLaws) {
  tests::Seeded random;
  Counts counts{};
  int undivided = 0, refused = 0;
  for (int run = 0; run < 6000; ++run) {
    SCOPED_TRACE(run);
    m_scene = tests::RandomScene(random);
    const bool isPlain = random.Chance(0.6);
    if (isPlain) m_scene.machine = {};
    if (random.Chance(0.3)) {
      m_scene.machine.secondRange = {random.Real(-90, 0), random.Real(10, 120)};
      m_scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
    }
    const double step = random.Real(0.5, 12);
    m_scene.par.SetMaxAngleStep(step);
    m_scene.par.SetPoleAngleTolerance(random.Chance(0.5) ? 0.01 : 1);
    m_scene.par.SetInterpolateByDistance(random.Chance(0.4));
    m_scene.par.SetInterpolationDistance(random.Real(0.2, 6));
    m_scene.par.SetInterpolateRapidMoves(random.Chance(0.5));
    const zv5axMoveSolver solver = m_scene.Solver();
    const auto orientation = [&]() -> Point {
      if (!isPlain) return random.UnitVector();
      const double beside = random.Chance(0.2) ? (step + 0.5) * 0.0174533 : random.Real(-0.4, 0.4);
      const double tilt = random.Chance(0.2) ? 0 : beside;
      const double side = 1.5707963267948966 * random.Integer(0, 3) +
                          (random.Chance(0.5) ? random.Real(-1e-3, 1e-3) : 0);
      return {std::sin(tilt) * std::sin(side), std::sin(tilt) * std::cos(side), std::cos(tilt)};
    };
    const auto make = [&] {
      const Point tip = random.Vector(5), t = orientation();
      const double feed = random.Real(1, 900);
      const cadcam::zv3axMove source(tip, t, feed, random.Chance(0.1));
      const auto both = solver.SolveAngles(tip, t, solver.MakePoleCone(), 0);
      return zv5axMoveSolver::MakeMove(zvMoveView(source), zvPostedMove::noLink,
                                       both.Of(random.Chance(0.3)), both.poleStatus, 0, false,
                                       true);
    };
    Moves moves;
    try {
      Move from = make();
      // As a fixed pole: its free angle is that of a move before it.
      if (from.GetPoleStatus() == 1 && random.Chance(0.7)) {
        Move before = from;
        before.SetPoleStatus(0);
        before.SetAngle(random.Real(-180, 180), 0);
        solver.FixPoleAngle(before, from);
      }
      moves = {from, make()};
      const Moves between = Between(moves[0], moves[1]);
      moves.insert(std::next(moves.begin()), between.begin(), between.end());
    } catch (const zvPostException& e) {
      ASSERT_EQ(e.GetId(), 5000u);
      ++refused;
      continue;
    }
    ExpectOnLine(moves);
    ExpectThinAndChosen(moves, counts);
    if (HasFatalFailure()) return;
    undivided += moves.size() == 2 && !IsWithinStep(moves[0], moves[1]);
  }
  // The depth ends the division beside a pole; some have an end nothing divides.
  EXPECT_GT(counts.steps, 50000);
  // Exactly, as a single round in place of the four in which an end is chosen leaves one fewer.
  EXPECT_EQ(counts.large, 1191);
  EXPECT_GT(counts.left, 500);
  EXPECT_GT(counts.poles, 500);
  // What is left out may stand between a move and the one it was chosen against.
  EXPECT_LT(counts.otherSolutions, 20);
  EXPECT_EQ(undivided, 537);
  EXPECT_LT(refused, 3000);
}

}  // namespace
}  // namespace post
