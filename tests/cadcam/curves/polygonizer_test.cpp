#include <kandrel/cadcam/curves/polygonizer.h>
#include <tests/cadcam/curves/random_contours.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>

namespace geoDef {
namespace {

using namespace tests::curves;
using tests::kInfinity;
using tests::kNaN;
using tests::ThrowsId;
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
