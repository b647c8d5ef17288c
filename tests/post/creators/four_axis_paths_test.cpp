// Whole 4-axis paths against their moves alone, and places where a turn hardly shows.
#include <tests/post/creators/rows.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/outcome.h>

namespace tests {

namespace {

// Its paths are posted move by move, with nothing between.
FourAxisScene Plain(FourAxisScene scene = {}) {
  scene.par.SetMaxAngleStep(0);
  scene.par.SetMaxAngleJump(1000);
  return scene;
}

Line Alone(const FourAxisScene& scene, const SourceMove& move) {
  return LineOf(
      scene.Creator().PostMove(Move5(move.tip, move.orientation), post::zvPostedMove::noLink));
}

// A path is solved some moves at a time; each must come out to the bit as it does alone, whatever
// stands beside it.
TEST(FourAxisPaths, ArePostedAsTheirMovesAreAlone) {
  Seeded random;
  const int rounds = Rounds(600);
  int alike = 0;
  for (int i = 0; i < rounds; ++i) {
    FourAxisScene scene = Plain(RandomFourAxisScene(random));
    scene.par.SetPoleAngleTolerance(random.Chance(0.5) ? 0.1 : random.Real(1, 10));
    const auto any = [&](const std::array<double, 4>& values, int from, int to) {
      return values[static_cast<std::size_t>(random.Integer(from, to))];
    };
    Source source;
    for (int k = random.Integer(2, 200); k > 0; --k) {
      const double apart = any({0, 1e-6, 5e-4, 1e-3}, 0, 3);
      const double deg = random.Chance(0.8)   ? random.Real(-180, 180)
                         : random.Chance(0.5) ? 180 - apart
                                              : -apart;
      const bool isUsual = random.Chance(0.9);
      const double length = any({1, 1.1, 1e-200, 1e200}, isUsual ? 0 : 2, isUsual ? 1 : 3);
      const bool isOnAxis = scene.machine.onTable && random.Chance(0.02);
      source.push_back({isOnAxis ? scene.machine.pivot - scene.origin : random.Vector(200),
                        scene.Tool(deg) * length});
      if (length == 1 && random.Chance(0.05))
        source.back().orientation = Rounded(source.back().orientation);
      if (isOnAxis && random.Chance(0.5))  // hardly off it, far from the pivot
        source.back().tip += scene.machine.axis.Normalized() * 900 + random.Vector(1e-10);
    }
    const Lines lines = Post(scene, source).lines;
    ASSERT_EQ(lines.size(), source.size()) << i;
    for (std::size_t k = 0; k < lines.size(); ++k) {
      const Line alone = Alone(scene, source[k]);
      const double deg = lines[k].degs[0];
      ASSERT_EQ(lines[k].machine, alone.machine) << i << ' ' << k;
      ASSERT_EQ(deg, alone.degs[0] + 360 * std::round((deg - alone.degs[0]) / 360)) << i;
      ASSERT_EQ(lines[k].source, static_cast<int>(k)) << i;
      ++alike;
    }
  }
  EXPECT_GT(alike, 80 * rounds);
}

// A turn shows at any distance from the axis above 1e-12, and none below; alone and in a path.
TEST(FourAxisPaths, TurnPointsByTheirDistanceFromTheAxis) {
  const FourAxisScene scene = Plain();
  for (const double y : {1e-10, 1.1e-12, 0.9e-12}) {
    const Source source(2, {{1000, y, 0}, scene.Tool(120)});
    const Line alone = Alone(scene, source[0]);
    EXPECT_NEAR(alone.machine.y, y > 1e-12 ? -y / 2 : y, 1e-25);
    for (const Line& line : Post(scene, source).lines) EXPECT_EQ(line.machine, alone.machine);
  }
}

// An orientation hardly off the cone, on either side of it, has the turn of the one on it and stays
// as it was given.
TEST(FourAxisPaths, SolveOrientationsNearTheConeAsOnIt) {
  Seeded random;
  FourAxisScene scene = Plain();
  for (const double opening : {20.0, 45.0, 90.0, 120.0}) {
    scene.machine.spindle = SpindleAt(scene.machine.axis, opening, random);
    for (const double deg : {-170.0, -60.0, 2.0, 80.0})
      for (const double off : {-0.99e-6, 1e-9, 0.99e-6}) {
        const Point on = scene.Tool(deg);
        const Point across = Cross(Cross(on, scene.machine.axis), on).Normalized();
        const Source source(2, {{10, 20, 30}, on + off * across});
        for (const Line& line : Post(scene, source).lines) {
          EXPECT_NEAR(line.degs[0], deg, 1e-9) << opening << ' ' << off;
          EXPECT_EQ(line.orientation, source[0].orientation);
        }
      }
  }
}

// Checks then follow the new machine and solutions the old one, whose cone says nothing about what
// lies between.
TEST(FourAxisPaths, AreBlendedAsTheyStandAfterAChangeOfTheMachine) {
  const FourAxisScene scene;
  FourAxisScene other;
  other.machine.axis = {0, 1, 0};
  auto creator = scene.Creator();
  creator.SetMachDef(other.machine.MachDef());
  const Lines lines =
      PostBy(creator, Build({{{0, 0, 0}, other.Tool(-20)}, {{9, 0, 0}, other.Tool(-60)}})).lines;
  EXPECT_GT(lines.size(), 10u);
  double tilt = 0;
  for (const Line& line : lines) {
    EXPECT_NEAR(line.orientation.Length(), 1, 1e-12);
    EXPECT_NEAR(line.orientation.y, 0, 1e-12);
    EXPECT_GT(line.orientation.x, tilt);
    tilt = line.orientation.x;
  }
}

// Nor may a move that can't be posted hide beside one that can.
TEST(FourAxisPaths, AreRefusedWhereverTheFaultStands) {
  const auto faults = Rows<7>("four_axis_faults.txt");
  for (const bool onTable : {true, false})
    for (std::size_t place = 0; place < 70; ++place)
      for (const auto& [name, id, x, y, z, i, j, k] : faults) {
        FourAxisScene scene;
        scene.machine.onTable = onTable;
        scene.toolLength = 50;
        Source source;
        for (int m = 0; m < 70; ++m) source.push_back({{1.0 * m, 0, 0}, scene.Tool(20 + m)});
        source[place] = {{x, y, z}, {i, j, k}};
        EXPECT_EQ(Post(scene, source, true).id, id)
            << name << " at " << place << (onTable ? " table" : " head");
      }
}

}  // namespace

}  // namespace tests
