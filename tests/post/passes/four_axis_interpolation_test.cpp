#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/passes/four_axis_interpolation.h>
#include <tests/support/four_axis_scenes.h>

#include <algorithm>
#include <cmath>
#include <list>
#include <optional>

namespace {

using post::zv4axInterpolator;
using post::zvKDRParam;
using post::zvPosted4axMove;
using post::zvPosted4axMoveMaker;
using tests::FourAxisScene;
using tests::Point;
using tests::Seeded;
using List = std::list<zvPosted4axMove>;

double Circular(const zvPosted4axMove& a, const zvPosted4axMove& b) {
  return std::fabs(std::remainder(a.GetRotaryAngle() - b.GetRotaryAngle(), 360.0));
}
double Length(const zvPosted4axMove& a, const zvPosted4axMove& b) {
  return (a.GetPartPosition() - b.GetPartPosition()).Length();
}

// The moves between two, from copied lists with a thinning that starts anew after each drop. It
// counts which of its ways were taken.
class PlainInterpolator {
 public:
  explicit PlainInterpolator(const FourAxisScene& scene)
      : m_par(scene.par), m_maker(scene.Maker()) {}

  int dropped = 0;
  int emptied = 0;
  int tooDeep = 0;
  int refined = 0;

  std::optional<List> Between(const zvPosted4axMove& a, const zvPosted4axMove& b, int depth = 0) {
    if (b.IsRapid() && !m_par.GetInterpolateRapidMoves()) return std::nullopt;
    if (depth >= 8) {
      ++tooDeep;
      return std::nullopt;
    }
    const double distance = m_par.GetInterpolationDistance();
    const bool byDistance = m_par.GetInterpolateByDistance();
    int n = 0;
    if (byDistance && distance < Length(a, b)) n = static_cast<int>(Length(a, b) / distance) + 1;
    if (!b.IsRapid() && m_par.GetMaxAngleStep() + 1e-12 < Circular(a, b))
      n = std::max(n, static_cast<int>(Circular(a, b) / m_par.GetMaxAngleStep()));
    const Point apart = b.GetOrientation().Normalized() - a.GetOrientation().Normalized();
    const bool isJump =
        apart.Length() <= 1e-12 && !(byDistance && Length(a, b) >= distance - 1e-12);
    if (n == 0 || isJump) return std::nullopt;
    List list{a};
    double t = 0;
    for (int k = 0; k < n; ++k) {
      t += 1.0 / (n + 1);
      list.push_back(At(a, b, t));
    }
    list.push_back(b);

    double turn = 0;
    double length = 0;
    for (auto v = std::next(list.begin()); v != list.end(); ++v) {
      turn = std::max(turn, Circular(*std::prev(v), *v));
      length = std::max(length, Length(*std::prev(v), *v));
    }
    const bool turnFailed = Circular(a, b) < turn && turn - Circular(a, b) <= 1e-6;
    const bool lengthFailed = byDistance && std::fabs(length - Length(a, b)) <= 1e-6;
    if (turnFailed && lengthFailed) {
      ++emptied;
      return List{};
    }
    for (auto v = std::next(list.begin()); v != list.end(); ++v) {
      if (IsShort(*std::prev(v), *v)) continue;
      ++refined;
      if (auto more = Between(*std::prev(v), *v, depth + 1)) list.splice(v, *more);
    }
    for (auto u = list.begin(); std::next(u) != list.end();) {
      const auto v = std::next(u);
      const auto w = std::next(v);
      if (w != list.end() && IsShort(*u, *v) && IsShort(*u, *w)) {
        list.erase(v);
        ++dropped;
        u = list.begin();
      } else {
        u = v;
      }
    }
    list.pop_front();
    list.pop_back();
    return list;
  }

 private:
  bool IsShort(const zvPosted4axMove& a, const zvPosted4axMove& b) const {
    return Circular(a, b) < m_par.GetMaxAngleStep() - 1e-12 &&
           (!m_par.GetInterpolateByDistance() ||
            Length(a, b) < m_par.GetInterpolationDistance() - 1e-12);
  }

  // Small moves of one type.
  zvPosted4axMove At(const zvPosted4axMove& a, const zvPosted4axMove& b, double t) const {
    Point o = (1 - t) * a.GetOrientation() + t * b.GetOrientation();
    o.Normalize();
    o = m_maker.GetKinematics().GetCone().Onto(o);
    const double feed = a.IsRapid() == b.IsRapid() ? (1 - t) * a.GetFeed() + t * b.GetFeed()
                        : a.IsRapid()              ? b.GetFeed()
                                                   : a.GetFeed();
    const cadcam::zv3axMove source((1 - t) * a.GetPartPosition() + t * b.GetPartPosition(), o, feed,
                                   a.IsRapid() && b.IsRapid());
    return m_maker.Make(post::zvMoveView(source), o, b.GetType(), 0, false, m_maker.MakePoleCone(),
                        true);
  }

  const zvKDRParam& m_par;
  zvPosted4axMoveMaker m_maker;
};

TEST(FourAxisInterpolation, EqualsThePlainForm) {
  Seeded random;
  int dropped = 0, emptied = 0, tooDeep = 0, refined = 0;
  std::size_t between = 0;
  for (int i = 0; i < 4000; ++i) {
    FourAxisScene scene = tests::RandomFourAxisScene(random);
    scene.par.SetMaxAngleStep(random.Real(0.5, 20));
    scene.par.SetInterpolateByDistance(random.Chance(0.5));
    scene.par.SetInterpolationDistance(random.Real(0.3, 10));
    scene.par.SetInterpolateRapidMoves(random.Chance(0.7));
    scene.par.SetPoleAngleTolerance(random.Chance(0.7) ? 0.01 : random.Real(0.01, 10));
    const auto maker = scene.Maker();
    const double deg = random.Real(-180, 180);
    // Nearly opposite ones take the most levels; on one spot rounding alone may seem to widen them.
    const bool isFlip = random.Chance(0.3);
    const double turn =
        isFlip ? 180 + random.Real(-1, 1) * std::pow(10, -random.Real(3, 17)) : random.Real(0, 180);
    const Point tip = random.Vector(10);
    const bool standsStill = isFlip && random.Chance(0.5);
    const auto move = [&](double at) {
      const Point o = scene.DirectionAt(at);
      const double feed = random.Real(1, 100);
      const Point p = standsStill ? tip : random.Vector(10);
      const cadcam::zv3axMove source(p, o, feed, random.Chance(0.2));
      return maker.Make(post::zvMoveView(source), o, post::zvPostedMove::noLink, 0, false,
                        maker.MakePoleCone(), true);
    };
    const zvPosted4axMove a = move(deg);
    const zvPosted4axMove b = move(deg + turn);
    misc::zvMemoryPoolProvider provider;
    zv4axInterpolator::List list(provider);
    list.PushBack(a);
    list.PushBack(b);
    PlainInterpolator plain(scene);
    try {
      zv4axInterpolator(maker, scene.par, true).Between(list, std::prev(list.end()));
    } catch (const cadcam::zvcadcamException&) {  // exactly opposite
      EXPECT_THROW(plain.Between(a, b), cadcam::zvcadcamException) << i;
      continue;
    }
    List wanted = plain.Between(a, b).value_or(List{});
    wanted.push_front(a);
    wanted.push_back(b);
    ASSERT_EQ(list.GetCount(), wanted.size()) << i;
    ASSERT_TRUE(std::equal(list.begin(), list.end(), wanted.begin())) << i;
    dropped += plain.dropped;
    emptied += plain.emptied;
    tooDeep += plain.tooDeep;
    refined += plain.refined;
    between += wanted.size() - 2;
  }
  EXPECT_GT(dropped, 1000);
  EXPECT_GT(refined, 1000);
  EXPECT_GT(tooDeep, 10);
  EXPECT_GT(between, 10000u);
  EXPECT_GT(emptied, 0);
}

// Both point nearly alike, so that the move between stands where no angle of theirs does: by an
// angle that is larger by next to nothing. Only where distance brings nothing either does that
// count. Two that point alike are not divided at all.
TEST(FourAxisInterpolation, DropsASubdivisionThatBringsNothing) {
  const struct {
    bool byDistance;
    double apart;  // degrees
    std::uint32_t count;
  } cases[] = {{false, 1e-9, 3}, {true, 1e-9, 2}, {false, 1e-12, 2}, {true, 1e-12, 2}};
  for (const auto& [byDistance, apart, count] : cases) {
    FourAxisScene scene;
    scene.par.SetInterpolateByDistance(byDistance);
    const auto maker = scene.Maker();
    misc::zvMemoryPoolProvider provider;
    zv4axInterpolator::List list(provider);
    for (const auto& [deg, at] : {std::pair{5.0, 10.0}, {10 - 5e-7, 10 + apart}})
      list.EmplaceBack(Point(), Point(), scene.DirectionAt(at), deg, 100.0, false,
                       post::zvPostedMove::noLink);
    zv4axInterpolator(maker, scene.par, true).Between(list, std::prev(list.end()));
    EXPECT_EQ(list.GetCount(), count) << byDistance << ' ' << apart;
  }
}

}  // namespace
