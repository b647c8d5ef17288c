#include <kandrel/post/passes/four_axis_interpolation.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/outcome.h>

namespace {

using post::zvPosted4axMove;
using tests::Distance;
using tests::FourAxisScene;
using tests::Point;
using Moves = std::vector<zvPosted4axMove>;

// The two moves with what comes between them.
Moves Interpolated(const FourAxisScene& scene, const zvPosted4axMove& from,
                   const zvPosted4axMove& to) {
  const post::zvPosted4axMoveMaker maker = scene.Maker();
  misc::zvMemoryPoolProvider provider;
  misc::zvMemoryPoolList<zvPosted4axMove> list(provider);
  list.PushBack(from);
  list.PushBack(to);
  post::zv4axInterpolator(maker, scene.par, true).Between(list, std::prev(list.end()));
  return {list.begin(), list.end()};
}

double Length(const zvPosted4axMove& a, const zvPosted4axMove& b) {
  return Distance(a.GetPartPosition(), b.GetPartPosition());
}

TEST(FourAxisInterpolation, KeepsToTheLineWithNoStepTooLargeAndNoMoveTooMany) {
  tests::Seeded random;
  std::size_t between = 0;
  int large = 0, refused = 0;
  for (int i = 0; i < 4000; ++i) {
    SCOPED_TRACE(i);
    FourAxisScene scene = tests::RandomFourAxisScene(random);
    const double step = random.Real(0.5, 20);
    scene.par.SetMaxAngleStep(step);
    const bool byDistance = random.Chance(0.5);
    scene.par.SetInterpolateByDistance(byDistance);
    const double distance = random.Real(0.3, 10);
    scene.par.SetInterpolationDistance(distance);
    scene.par.SetInterpolateRapidMoves(random.Chance(0.7));
    // Nearly opposite ones take the most levels.
    const bool isFlip = random.Chance(0.3);
    const double turn =
        isFlip ? 180 + random.Real(-1, 1) * std::pow(10, -random.Real(3, 17)) : random.Real(0, 170);
    const double deg = random.Real(-180, 180);
    const auto maker = scene.Maker();
    const auto move = [&](double at) {
      const Point o = scene.DirectionAt(at);
      const double feed = random.Real(1, 100);
      const Point p = random.Vector(10);
      const cadcam::zv3axMove source(p, o, feed, random.Chance(0.2));
      return maker.Make(post::zvMoveView(source), o, post::zvPostedMove::noLink, 0, false,
                        maker.MakePoleCone(), true);
    };
    const zvPosted4axMove from = move(deg);
    const zvPosted4axMove to = move(deg + turn);
    Moves moves;
    if (const auto id = tests::IdOf([&] { moves = Interpolated(scene, from, to); })) {
      ASSERT_EQ(id, 2189u) << "exactly opposite";
      ++refused;
      continue;
    }
    ASSERT_EQ(moves.front(), from);
    ASSERT_EQ(moves.back(), to);
    between += moves.size() - 2;
    if (to.IsRapid() && !scene.par.GetInterpolateRapidMoves()) {
      ASSERT_EQ(moves.size(), 2u);
      continue;
    }
    const auto isShort = [&](const zvPosted4axMove& a, const zvPosted4axMove& b) {
      return a.AngleDistance(b) < step - 1e-12 && (!byDistance || Length(a, b) < distance - 1e-12);
    };
    tests::ExpectPoses(tests::Rules::Of(scene), tests::LinesOf(moves));
    const double opening = Dot(scene.machine.spindle.Normalized(), scene.machine.axis.Normalized());
    for (std::size_t k = 1; k < moves.size(); ++k) {
      const zvPosted4axMove& a = moves[k - 1];
      const zvPosted4axMove& b = moves[k];
      ASSERT_NEAR(Length(from, a) + Length(a, b) + Length(b, to), Length(from, to), 1e-9);
      ASSERT_NEAR(Dot(b.GetOrientation(), scene.machine.axis.Normalized()), opening, 1e-9);
      const double t = Length(from, b) / Length(from, to);
      const double feed = from.IsRapid() == to.IsRapid()
                              ? (1 - t) * from.GetFeed() + t * to.GetFeed()
                              : (from.IsRapid() ? to : from).GetFeed();
      if (k + 1 < moves.size()) {
        ASSERT_NEAR(b.GetFeed(), feed, 1e-6);
        ASSERT_EQ(b.IsRapid(), from.IsRapid() && to.IsRapid());
        ASSERT_FALSE(isShort(a, b) && isShort(a, moves[k + 1])) << "a move too many";
      }
      ASSERT_TRUE(!byDistance || Length(a, b) <= distance + 1e-12);
      if (to.IsRapid() || a.AngleDistance(b) <= step + 1e-12) continue;
      // The depth ends the division of what is nearly a leap.
      ASSERT_TRUE(isFlip);
      ++large;
    }
  }
  EXPECT_GT(between, 10000u);
  EXPECT_GT(large, 10);
  EXPECT_LT(large, 2000);
  EXPECT_GT(refused, 0);
}

// Both point nearly alike, so that the move between stands where no angle of theirs does: by an
// angle that is larger by next to nothing. Only where distance brings nothing either does that
// count. Two that point alike are not divided at all.
TEST(FourAxisInterpolation, DropsASubdivisionThatBringsNothing) {
  using Case = std::tuple<bool, double, std::size_t>;
  for (const auto& [byDistance, apart, count] :
       {Case{false, 1e-9, 3}, {true, 1e-9, 2}, {false, 1e-12, 2}, {true, 1e-12, 2}}) {  // degrees
    FourAxisScene scene;
    scene.par.SetInterpolateByDistance(byDistance);
    const auto move = [&](double deg, double at) {
      return zvPosted4axMove(Point(), Point(), scene.DirectionAt(at), deg, 100, false,
                             post::zvPostedMove::noLink);
    };
    EXPECT_EQ(Interpolated(scene, move(5, 10), move(10 - 5e-7, 10 + apart)).size(), count)
        << byDistance << ' ' << apart;
  }
}

}  // namespace
