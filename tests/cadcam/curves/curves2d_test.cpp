#include <kandrel/cadcam/curves/polygonizer.h>
#include <kandrel/misc/range_exception.h>
#include <tests/cadcam/curves/random_contours.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>

namespace geoDef {
namespace {

using namespace tests::curves;
using tests::kInfinity;
using tests::kNaN;

TEST(Curves2d, AnArcRefusesWhatIsOutOfRangeRadiusFirst) {
  for (const auto& [radius, start, sweep] :
       {std::array{0.0, 0.0, -360.0}, {1e308, 360.0, 360.0}, {5.0, 270.0, 90.0}})
    EXPECT_EQ(Arc({}, radius, start, sweep).GetSweepAngle(), sweep);
  struct Case {
    double radius, start, sweep, refused;
  };
  for (const Case& c :
       {Case{-1e-9, 400, 400, -1e-9}, Case{kInfinity, 0, 0, kInfinity}, Case{1, -90, 400, -90},
        Case{1, 360.0001, 400, 360.0001}, Case{1, 0, 361, 361}, Case{1, 0, -361, -361}}) {
    try {
      Arc({}, c.radius, c.start, c.sweep);
      ADD_FAILURE() << c.refused;
    } catch (const misc::zvRangeException<double>& e) {
      EXPECT_EQ(e.GetValue(), c.refused);
    }
  }
  EXPECT_TRUE(tests::ThrowsId<misc::zvRangeException<double>>(
      [] { Arc({}, 1, 0, kNaN); }, 0, L"Given value (nan) is out of range (-360, 360)"));
}

TEST(Curves2d, AnArcIsExactAtQuarterTurns) {
  const Arc arc({0.1, 0.7}, 0.3, 0, 0);
  const Point right{0.1 + 0.3, 0.7}, top{0.1, 0.7 + 0.3}, left{0.1 - 0.3, 0.7},
      bottom{0.1, 0.7 - 0.3};
  for (const double turn : {-360.0, 0.0, 360.0, 720.0}) {
    EXPECT_EQ(arc.PointAt(turn), right);
    EXPECT_EQ(arc.PointAt(turn + 90), top);
    EXPECT_EQ(arc.PointAt(turn + 180), left);
    EXPECT_EQ(arc.PointAt(turn + 270), bottom);
  }
}

TEST(Curves2d, AContourIsWalkedThroughItsContours) {
  const Contour inner({Point{3, 4}, PolyLine{}, Line{{3, 4}, {5, 6}}});
  const Contour contour({Contour(), PolyLine{}, Contour({inner}), Ellipse{{5, 0}, {5, 6}, {6, 0}}});
  EXPECT_EQ(StartPoint(contour), (Point{3, 4}));
  EXPECT_EQ(EndPoint(contour), (Point{5, 6}));
  const std::vector<Element> walked{PolyLine{}, Point{3, 4}, PolyLine{}, Line{{3, 4}, {5, 6}},
                                    Ellipse{{5, 0}, {5, 6}, {6, 0}}};
  EXPECT_EQ(Walk(contour), walked);
  EXPECT_FALSE(StartPoint(Contour({Contour(), PolyLine{}})));
  EXPECT_TRUE(Extents(Contour({Contour(), PolyLine{}})).IsEmpty());

  EXPECT_EQ(LinesThrough<double>({{1, 2}, {3, 4}, {3, 4}}),
            Contour({Line{{1, 2}, {3, 4}}, Line{{3, 4}, {3, 4}}}));
  EXPECT_TRUE(LinesThrough<double>({{1, 2}}).IsEmpty());
}

TEST(Curves2d, ExtentsHoldAllOfTheCurvesAndNoMore) {
  const struct {
    Element element;
    Point minimum, maximum;
  } cases[] = {
      {Arc({1, 2}, 5, 270, 90), {1, -3}, {6, 2}},
      {Arc({1, 2}, 5, 0, 360), {-4, -3}, {6, 7}},
      {Arc({1, 2}, 5, 90, -270), {-4, -3}, {6, 7}},
      {Arc({1, 2}, 5, 360, -90), {1, -3}, {6, 2}},
      {Ellipse{{1, 2}, {4, 2}, {1, 7}}, {-2, -3}, {4, 7}},
      {Ellipse{{0, 0}, {3, 4}, {4, -3}}, {-5, -5}, {5, 5}},
      {Parabola{{1, 2}, {-3, 5}}, {-3, 2}, {1, 5}},
  };
  for (const auto& c : cases) {
    const zv2dBox<double> box = Extents(Contour({c.element}));
    EXPECT_EQ(box.minimum, c.minimum) << c.element.index();
    EXPECT_EQ(box.maximum, c.maximum) << c.element.index();
  }
  tests::Seeded random;
  for (int i = 0; i < 300; ++i) {
    const Contour contour = RandomContour(random, true);
    const zv2dBox<double> box = Extents(contour);
    zv2dBox<double> seen;
    for (const Point& p : zv2dGeometryPolygonizer(1e-4).Polygonize(contour).points) seen.Add(p);
    for (const double Point::*at : {&Point::x, &Point::y}) {
      EXPECT_LE(box.minimum.*at, seen.minimum.*at + 1e-9);
      EXPECT_GE(box.maximum.*at, seen.maximum.*at - 1e-9);
      EXPECT_GT(box.minimum.*at, seen.minimum.*at - 2e-4);
      EXPECT_LT(box.maximum.*at, seen.maximum.*at + 2e-4);
    }
  }
}

TEST(Curves2d, ScalingMultipliesEveryLengthAndNoAngle) {
  tests::Seeded random;
  for (int i = 0; i < 100; ++i) {
    const Contour contour({RandomContour(random, true), Point{1, 2}, PolyLine{{{3, 4}}}});
    // Powers of two round nothing.
    const auto points = zv2dGeometryPolygonizer(0.5).Polygonize(contour).points;
    const auto scaled = zv2dGeometryPolygonizer(2.0).Polygonize(Scaled(contour, 4.0)).points;
    ASSERT_EQ(scaled.size(), points.size());
    for (std::size_t k = 0; k < points.size(); ++k) EXPECT_EQ(scaled[k], points[k] * 4.0);
  }
  const Contour large = Scaled(Contour({Arc({}, 1e307, 0, 90)}), 25.4);
  EXPECT_EQ(std::get<Arc>(large.GetElements()[0]).GetRadius(), 1e308);
}

TEST(Curves2d, SplittingCutsLinesAndArcsExactly) {
  const Arc corner({3, 2}, 2, 270, 90);
  const struct {
    const char* what;
    Contour contour;
    double height;
    Contour before, after;
  } cases[] = {
      {"line", LinesThrough<double>({{0, 0}, {2, 4}}), 1, LinesThrough<double>({{0, 0}, {0.5, 1}}),
       LinesThrough<double>({{0.5, 1}, {2, 4}})},
      {"at a joint", LinesThrough<double>({{0, 0}, {5, 0}, {5, 3}, {5, 7}}), 3,
       LinesThrough<double>({{0, 0}, {5, 0}, {5, 3}}), LinesThrough<double>({{5, 3}, {5, 7}})},
      {"a level run at the height stays below",
       LinesThrough<double>({{4, 0}, {4, 3}, {2, 3}, {2, 7}}), 3,
       LinesThrough<double>({{4, 0}, {4, 3}, {2, 3}}), LinesThrough<double>({{2, 3}, {2, 7}})},
      {"nothing above", LinesThrough<double>({{0, 0}, {5, 0}, {5, 3}}), 3,
       LinesThrough<double>({{0, 0}, {5, 0}, {5, 3}}), Contour()},
      {"all above", LinesThrough<double>({{0, 4}, {5, 4}}), 3, Contour(),
       LinesThrough<double>({{0, 4}, {5, 4}})},
      {"only the first crossing", LinesThrough<double>({{0, 0}, {1, 4}, {2, 0}, {3, 4}}), 2,
       LinesThrough<double>({{0, 0}, {0.5, 2}}),
       LinesThrough<double>({{0.5, 2}, {1, 4}, {2, 0}, {3, 4}})},
      {"polyline", Contour({PolyLine{{{0, 0}, {1, 1}, {1, 5}}}}), 3,
       Contour({PolyLine{{{0, 0}, {1, 1}, {1, 3}}}}), Contour({PolyLine{{{1, 3}, {1, 5}}}})},
      {"polyline from the height on", Contour({PolyLine{{{1, 3}, {1, 5}}}}), 3, Contour(),
       Contour({PolyLine{{{1, 3}, {1, 5}}}})},
      {"arc", Contour({corner}), 1, Contour({Arc({3, 2}, 2, 270, 60)}),
       Contour({Arc({3, 2}, 2, 330, 30)})},
      {"arc that turns back", Contour({Arc({3, 2}, 2, 270, -180)}), 3,
       Contour({Arc({3, 2}, 2, 270, -120)}), Contour({Arc({3, 2}, 2, 150, -60)})},
      {"arc from its top", Contour({Arc({3, 2}, 2, 90, 360)}), 2, Contour(),
       Contour({Arc({3, 2}, 2, 90, 360)})},
      {"arc from its bottom", Contour({corner}), 0, Contour(), Contour({corner})},
      {"arc that ends at the height", Contour({corner}), 2, Contour({corner}), Contour()},
      {"contours in it are dissolved", Contour({Contour({corner}), Line{{5, 2}, {5, 4}}}), 2,
       Contour({corner}), Contour({Line{{5, 2}, {5, 4}}})},
      {"parabola", Contour({Parabola{{0, 0}, {2, 4}}}), 2, Contour(),
       Contour({Parabola{{0, 0}, {2, 4}}})},
      {"ellipse", Contour({Ellipse{{0, 0}, {2, 0}, {0, 3}}, Point{2, 0}}), 3,
       Contour({Ellipse{{0, 0}, {2, 0}, {0, 3}}, Point{2, 0}}), Contour()},
  };
  for (const auto& c : cases) {
    const auto [before, after] = SplitAtHeight(c.contour, c.height);
    EXPECT_TRUE(Near(before, c.before, 1e-13)) << c.what;
    EXPECT_TRUE(Near(after, c.after, 1e-13)) << c.what;
    const auto [left, right] = SplitAtRadius(Swapped(c.contour), c.height);
    EXPECT_TRUE(Near(left, Swapped(c.before), 1e-13)) << c.what;
    EXPECT_TRUE(Near(right, Swapped(c.after), 1e-13)) << c.what;
  }
}

// A level that differs from an arc's start by no more than rounding leaves nothing before it.
TEST(Curves2d, AnArcThatStartsAtTheLevelButForRoundingIsAbove) {
  tests::Seeded random;
  for (int i = 0; i < 3000; ++i) {
    const double risen = random.Integer(0, 1) * 300 + random.Real(0, 60);
    const bool isBack = random.Chance(0.5);
    const double start = isBack ? std::fmod(540 - risen, 360) : risen;
    const double sweep = random.Real(20, 300) * (isBack ? -1 : 1);
    const Arc arc(RandomPoint(random, 10), random.Real(1e5, 1e6), start, sweep);
    double height = arc.PointAt(start).y;
    const double towards = random.Chance(0.5) ? tests::kInfinity : -tests::kInfinity;
    for (int ulps = random.Integer(0, 2); ulps > 0; --ulps)
      height = std::nextafter(height, towards);
    const auto [before, after] = SplitAtHeight(Contour({arc}), height);
    EXPECT_LT(LengthOf(before), 1e-8) << i;
    EXPECT_NEAR(LengthOf(after), LengthOf(Contour({arc})), 1e-7) << i;
  }
}

TEST(Curves2d, SplitPartsRejoinToTheWhole) {
  tests::Seeded random;
  int cuts = 0;
  for (int i = 0; i < 2000; ++i) {
    const Contour contour = RandomContour(random, false);
    const double height = random.Real(-5, 15);
    const auto [before, after] = SplitAtHeight(contour, height);
    EXPECT_NEAR(LengthOf(before) + LengthOf(after), LengthOf(contour), 1e-9);
    EXPECT_EQ(StartPoint(before.IsEmpty() ? after : before), StartPoint(contour));
    EXPECT_LE(Extents(before).maximum.y, height + 1e-9);  // that of nothing is -3e38
    if (before.IsEmpty() || after.IsEmpty()) continue;
    ++cuts;
    const Point end = *EndPoint(before), start = *StartPoint(after);
    EXPECT_NEAR(end.y, height, 1e-9);
    EXPECT_NEAR(start.y, height, 1e-9);
    EXPECT_NEAR(end.x, start.x, 1e-9);
    EXPECT_GT(Extents(after).maximum.y, height);
    EXPECT_TRUE(SplitAtHeight(after, height).first.IsEmpty());
    // The rest goes on as before: the same curve, whatever its chords.
    const zv2dGeometryPolygonizer polygonizer(1e-3);
    const double area = AreaUnder(polygonizer.Polygonize(Contour({before, after})).points);
    EXPECT_NEAR(area, AreaUnder(polygonizer.Polygonize(contour).points), 2e-3 * LengthOf(contour));
  }
  EXPECT_GT(cuts, 500);
}

}  // namespace
}  // namespace geoDef
