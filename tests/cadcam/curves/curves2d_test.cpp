#include <kandrel/cadcam/curves/polygonizer.h>
#include <kandrel/misc/range_exception.h>
#include <tests/support/numbers.h>
#include <tests/support/seeded.h>
#include <tests/support/throws_id.h>

namespace geoDef {
namespace {

using tests::kInfinity;
using tests::kNaN;
using tests::ThrowsId;

using Point = zv2dPoint<double>;
using Line = zv2dLine<double>;
using Arc = zv2dArc<double>;
using Parabola = zv2dParabola<double>;
using Ellipse = zv2dEllipse<double>;
using PolyLine = zv2dPolyLine<double>;
using Contour = zv2dContour<double>;
using Element = zv2dElement<double>;

Point RandomPoint(tests::Seeded& random, double size) {
  return {random.Real(-size, size), random.Real(-size, size)};
}

// Two to six elements, each of which begins where the one before ends; parabolas and ellipses too
// where asked for.
Contour RandomContour(tests::Seeded& random, bool withUncut) {
  Contour contour;
  Point at = RandomPoint(random, 10);
  for (int i = random.Integer(2, 6); i > 0; --i) {
    const Point to = RandomPoint(random, 10);
    switch (random.Integer(0, withUncut ? 4 : 2)) {
      case 0:
        contour.Add(Line{at, to});
        break;
      case 1:
        contour.Add(PolyLine{{at, RandomPoint(random, 10), to}});
        break;
      case 2: {
        const double quarter = 90.0 * random.Integer(0, 3);
        const double start = random.Chance(0.5) ? quarter : random.Real(0, 360);
        const double sweep = random.Chance(0.3) ? quarter - 180 : random.Real(-360, 360);
        const Arc at0({}, random.Real(0.5, 8), start, sweep);
        contour.Add(Arc(at - at0.PointAt(start), at0.GetRadius(), start, sweep));
        break;
      }
      case 3:
        contour.Add(Parabola{at, to});
        break;
      default:
        contour.Add(Ellipse{RandomPoint(random, 10), at, to});
    }
    at = *EndPoint(contour);
  }
  return contour;
}

double Distance(const Point& a, const Point& b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

// Of lines, polylines and arcs.
double LengthOf(const Contour& contour) {
  double length = 0;
  for (const Element& element : Walk(contour)) {
    if (const auto* line = std::get_if<Line>(&element)) length += Distance(line->start, line->end);
    if (const auto* arc = std::get_if<Arc>(&element))
      length += arc->GetRadius() * std::fabs(arc->GetSweepAngle()) * std::acos(-1.0) / 180;
    if (const auto* lines = std::get_if<PolyLine>(&element))
      for (std::size_t i = 1; i < lines->points.size(); ++i)
        length += Distance(lines->points[i - 1], lines->points[i]);
  }
  return length;
}

// The integral of x dy.
double AreaUnder(const std::vector<Point>& points) {
  double area = 0;
  for (std::size_t i = 1; i < points.size(); ++i)
    area += (points[i].x + points[i - 1].x) * (points[i].y - points[i - 1].y) / 2;
  return area;
}

// The mirror image in which x and y have changed places.
struct Swap {
  Point operator()(const Point& p) const { return {p.y, p.x}; }
  Line operator()(const Line& line) const { return {(*this)(line.start), (*this)(line.end)}; }
  Arc operator()(const Arc& arc) const {
    return {(*this)(arc.GetCentre()), arc.GetRadius(), std::fmod(450 - arc.GetStartAngle(), 360),
            -arc.GetSweepAngle()};
  }
  Parabola operator()(const Parabola& p) const { return {(*this)(p.vertex), (*this)(p.end)}; }
  Ellipse operator()(const Ellipse& e) const {
    return {(*this)(e.centre), (*this)(e.first), (*this)(e.second)};
  }
  PolyLine operator()(PolyLine lines) const {
    for (Point& p : lines.points) p = (*this)(p);
    return lines;
  }
  Contour operator()(const Contour& contour) const {
    Contour swapped;
    for (const Element& element : Walk(contour))
      std::visit([&](const auto& e) { swapped.Add((*this)(e)); }, element);
    return swapped;
  }
};

// The same elements, with numbers that differ by no more than 1e-10.
testing::AssertionResult Near(const Contour& a, const Contour& b) {
  const auto numbers = [](const Contour& contour) {
    tests::Numbers n;
    for (const Element& element : contour.GetElements()) {
      const Contour alone({element});
      const auto box = Extents(alone);
      const auto* arc = std::get_if<Arc>(&element);
      tests::Append(n,
                    tests::Flat(element.index(), LengthOf(alone), arc ? arc->GetSweepAngle() : 0));
      for (const Point& p : {*StartPoint(element), *EndPoint(element), box.minimum, box.maximum})
        n.insert(n.end(), {p.x, p.y});
    }
    return n;
  };
  const auto x = numbers(a), y = numbers(b);
  if (x.size() != y.size()) return testing::AssertionFailure() << x.size() << " != " << y.size();
  for (std::size_t i = 0; i < x.size(); ++i)
    if (!(std::fabs(x[i] - y[i]) <= 1e-10))
      return testing::AssertionFailure() << "number " << i << ": " << x[i] << ", " << y[i];
  return testing::AssertionSuccess();
}

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
    EXPECT_TRUE(Near(before, c.before)) << c.what;
    EXPECT_TRUE(Near(after, c.after)) << c.what;
    const auto [left, right] = SplitAtRadius(Swap()(c.contour), c.height);
    EXPECT_TRUE(Near(left, Swap()(c.before))) << c.what;
    EXPECT_TRUE(Near(right, Swap()(c.after))) << c.what;
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

using Polygonizer = zv2dGeometryPolygonizer<double>;

std::vector<Point> PointsOf(const Contour& contour, double tolerance) {
  return Polygonizer(tolerance).Polygonize(contour).points;
}

double DistanceToChord(const Point& p, const Point& a, const Point& b) {
  const double length = Distance(a, b);
  if (length == 0) return Distance(p, a);
  const Point u = (b - a) * (1 / length);
  const double along = std::clamp((p - a).x * u.x + (p - a).y * u.y, 0.0, length);
  return Distance(p, a + along * u);
}

// The largest distance of the curve from its chords, 50 points each, where `at` gives the curve
// from 0 to 1.
double ChordError(const std::vector<Point>& points, const std::function<Point(double)>& at) {
  double error = 0;
  const auto n = static_cast<double>(points.size() - 1);
  for (std::size_t i = 1; i < points.size(); ++i)
    for (int k = 0; k <= 50; ++k) {
      const double t = (static_cast<double>(i - 1) + k / 50.0) / n;
      error = std::max(error, DistanceToChord(at(t), points[i - 1], points[i]));
    }
  return error;
}

TEST(Polygonizer, DividesAnArcIntoTheLeastNumberOfEqualSteps) {
  EXPECT_NEAR(Polygonizer(0.1).LargestStep(5), 22.9567, 1e-4);
  EXPECT_EQ(Polygonizer(5).LargestStep(5), 180);
  EXPECT_EQ(Polygonizer(kInfinity).LargestStep(5), 180);
  const struct {
    double radius, tolerance, start, sweep;
    std::size_t chords;
  } cases[] = {{5, 0.1, 270, 90, 4},   {5, 0.1, 0, 360, 16},        {5, 0.1, 0, -360, 16},
               {5, 6, 270, 90, 1},     {5, 6, 0, 360, 2},           {5, 0.1, 10, 0, 1},
               {0.5, 0.1, 0, 90, 2},   {25, 0.1, 0, 360, 36},       {5, 0.1, 0, 22.9566, 1},
               {5, 0.1, 0, 22.957, 2}, {1000, 1e-8, 0, 360, 702482}};
  for (const auto& c : cases)
    EXPECT_EQ(PointsOf(Contour({Arc({1, 2}, c.radius, c.start, c.sweep)}), c.tolerance).size(),
              c.chords + 1)
        << c.radius << ' ' << c.sweep;

  const Arc circle({0.1, 0.7}, 0.3, 0, 360), back({0.1, 0.7}, 0.3, 270, -360);
  const auto points = PointsOf(Contour({circle}), 0.011);
  const auto backPoints = PointsOf(Contour({back}), 0.011);
  ASSERT_EQ(points.size(), 13u);
  for (std::size_t quarter = 0; quarter <= 4; ++quarter) {
    EXPECT_EQ(points[3 * quarter], circle.PointAt(90.0 * static_cast<double>(quarter)));
    EXPECT_EQ(backPoints[3 * quarter], circle.PointAt(270 - 90.0 * static_cast<double>(quarter)));
  }
}

TEST(Polygonizer, KeepsChordsOfEveryCurveWithinTheTolerance) {
  tests::Seeded random;
  double arcError = 0, ellipseError = 0, parabolaError = 0;
  for (int i = 0; i < 100; ++i) {
    const double tolerance = std::pow(10, random.Real(-5, 0.5));
    const double radius = random.Real(0.1, 20), sweep = random.Real(-360, 360);
    const Arc arc(RandomPoint(random, 5), radius, random.Real(0, 360), sweep);
    const auto points = PointsOf(Contour({arc}), tolerance);
    const double error =
        ChordError(points, [&](double t) { return arc.PointAt(arc.GetStartAngle() + t * sweep); });
    arcError = std::max(arcError, error / tolerance);
    EXPECT_EQ(points.back(), arc.PointAt(arc.GetEndAngle()));
    // One chord less would leave it.
    const auto fewer = static_cast<double>(points.size() - 2);
    const double wider = std::fabs(sweep) / 360 * std::acos(-1.0) / fewer;
    if (fewer > 0 && tolerance < radius) {
      EXPECT_GT(radius * (1 - std::cos(wider)), tolerance);
    }

    const Ellipse e{RandomPoint(random, 5), RandomPoint(random, 20), RandomPoint(random, 20)};
    const auto onEllipse = [&](double t) {
      const double angle = t * 2 * std::acos(-1.0);
      return e.centre + std::cos(angle) * (e.first - e.centre) +
             std::sin(angle) * (e.second - e.centre);
    };
    ellipseError = std::max(ellipseError,
                            ChordError(PointsOf(Contour({e}), tolerance), onEllipse) / tolerance);
    const Parabola p{RandomPoint(random, 20), RandomPoint(random, 20)};
    const auto onParabola = [&](double t) {
      const Point d = p.end - p.vertex;
      return p.vertex + Point{t * d.x, t * t * d.y};
    };
    parabolaError = std::max(parabolaError,
                             ChordError(PointsOf(Contour({p}), tolerance), onParabola) / tolerance);
  }
  for (const double error : {arcError, ellipseError, parabolaError}) {
    EXPECT_LE(error, 1 + 1e-6);
    EXPECT_GT(error, 0.9);
  }
}

TEST(Polygonizer, JoinsElementsAndNeverTurnsBack) {
  const Contour corner({Line{{0, 0}, {3, 0}}, Arc({3, 2}, 2, 270, 90), Point{5, 2},
                        Contour({PolyLine{{{5, 2 + 1e-13}, {5, 4}}}}), PolyLine{},
                        Parabola{{5, 4}, {6, 8}}, Ellipse{{4, 8}, {6, 8}, {4, 10}}});
  const auto points = PointsOf(corner, 0.3);
  EXPECT_EQ(points.front(), (Point{0, 0}));
  EXPECT_EQ(points.back(), (Point{6, 8}));
  double turned = 0;
  for (std::size_t i = 2; i < points.size(); ++i) {
    const Point a = points[i - 1] - points[i - 2], b = points[i] - points[i - 1];
    EXPECT_GT(Distance(points[i - 1], points[i]), 1e-6) << i;
    const double turn = std::atan2(a.x * b.y - a.y * b.x, a.x * b.x + a.y * b.y);
    EXPECT_LT(std::fabs(turn), 1.5) << i;
    turned += turn;
  }
  EXPECT_GT(turned, 1.5);
  // What isn't joined keeps both its points, and an element of one place too.
  EXPECT_EQ(PointsOf(Contour({Line{{0, 0}, {0, 0}}, Line{{0, 1e-11}, {0, 1}}}), 0.1).size(), 4u);
  EXPECT_TRUE(PointsOf(Contour(), kNaN).empty());
}

TEST(Polygonizer, RefusesTolerancesAndRadiiThatGiveNoStep) {
  const wchar_t* const kTolerance = L"Polygonization tolerance is invalid.";
  const wchar_t* const kRadius = L"Arc radius is invalid.";
  const auto refuses = [](const Contour& contour, double tolerance, const wchar_t* text) {
    return ThrowsId<misc::zvException>([&] { PointsOf(contour, tolerance); }, 0, text);
  };
  const Element arc = Arc({1, 2}, 5, 0, 90), circle = Arc({}, 1000, 0, 360);
  const Element ellipse = Ellipse{{0, 0}, {2, 0}, {0, 3}};
  const Element parabola = Parabola{{0, 0}, {2, 4}};
  for (const double tolerance : {0.0, -0.1, -6.0, kNaN, -kInfinity, 1e-300, 1e-17})
    for (const Element& element : {arc, ellipse, parabola})
      EXPECT_TRUE(refuses(Contour({element}), tolerance, kTolerance))
          << tolerance << ' ' << element.index();
  // Passes as a step, but for hundreds of millions of chords; and chords count together.
  EXPECT_GT(Polygonizer(1e-15).LargestStep(5), 0);
  EXPECT_TRUE(refuses(Contour({arc}), 1e-15, kTolerance));
  EXPECT_TRUE(refuses(Contour({circle, circle}), 1e-8, kTolerance));
  // Two short of all that there may be; each arc has a chord of its own besides.
  Contour many({circle, Arc({}, 1000, 0, 177.36)});
  EXPECT_EQ(PointsOf(many, 1e-8).size(), 1048573u);
  for (int i = 0; i < 100; ++i) many.Add(Arc({}, 1000, 0, 1e-9));
  EXPECT_EQ(PointsOf(many, 1e-8).size(), 1048573u + 200);

  for (const auto& [radius, text] : {std::pair{0.0, kRadius},
                                     {0.9e-12, kRadius},
                                     {-0.9e-12, kRadius},
                                     {kNaN, kRadius},
                                     {-5, kTolerance}})
    EXPECT_TRUE(
        ThrowsId<misc::zvException>([r = radius] { Polygonizer(0.1).LargestStep(r); }, 0, text))
        << radius;
  EXPECT_TRUE(refuses(Contour({Ellipse{{1, 1}, {1, 1}, {1, 1}}}), 0.1, kRadius));
  EXPECT_TRUE(refuses(Contour({Arc({}, 0, 0, 0)}), 0.1, kRadius));
}

}  // namespace
}  // namespace geoDef
