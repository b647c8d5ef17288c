#include <kandrel/cadcam/curves/triangulation.h>
#include <kandrel/misc/mathdef_exception.h>
#include <tests/support/numbers.h>
#include <tests/support/seeded.h>
#include <tests/support/throws_id.h>

#include <map>

namespace geoDef {
namespace {

using Point = zv2dPoint<double>;
using Polygon = std::vector<Point>;

double AreaOf(const Point& a, const Point& b, const Point& c) {
  return ((b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y)) / 2;
}

// All that a triangulation promises; areas to `tolerance` of the whole.
void ExpectTriangulated(const Polygon& polygon, const std::string& what) {
  SCOPED_TRACE(what);
  const auto triangles = Triangulate(polygon);
  EXPECT_EQ(triangles.size(), polygon.size() - 2);
  double area = 0;
  std::map<std::pair<std::size_t, std::size_t>, int> sides;
  for (const auto& t : triangles) {
    const double one = AreaOf(polygon[t[0]], polygon[t[1]], polygon[t[2]]);
    EXPECT_GT(one, 0);
    area += one;
    for (std::size_t i = 0; i < 3; ++i) ++sides[{t[i], t[(i + 1) % 3]}];
  }
  const double whole = TwiceArea(polygon) / 2;
  EXPECT_NEAR(area, std::fabs(whole), 1e-9 * std::fabs(whole));
  const std::size_t n = polygon.size();
  for (std::size_t i = 0; i < n; ++i) {
    const std::size_t next = (i + 1) % n;
    const auto side = whole > 0 ? std::pair(i, next) : std::pair(next, i);
    EXPECT_EQ(sides[side], 1);
    EXPECT_EQ((sides.count({side.second, side.first})), 0u);
    sides.erase(side);
  }
  for (const auto& [side, uses] : sides) {
    EXPECT_EQ(uses, 1);
    EXPECT_EQ((sides.count({side.second, side.first})), 1u);
  }
}

TEST(Triangulation, CutsPolygonsOfAnyShapeIntoTriangles) {
  Polygon comb, spiral;
  for (int i = 0; i < 40; ++i) comb.push_back({0.5 * i, i % 2 ? 10.0 : 0.0});
  comb.insert(comb.end(), {{30, 0}, {30, -1}, {-1, -1}});
  for (int i = 0; i < 240; ++i) {  // out, and back beside
    const double turn = 0.2 * std::min(i, 239 - i), radius = turn + (i < 120 ? 1 : 3);
    spiral.push_back({radius * std::cos(turn), radius * std::sin(turn)});
  }
  const struct {
    const char* what;
    Polygon polygon;
  } cases[] = {
      {"triangle", {{0, 0}, {4, 0}, {0, 3}}},
      {"square", {{0, 0}, {4, 0}, {4, 4}, {0, 4}}},
      {"points on straight sides",
       {{0, 0}, {1, 0}, {2, 0}, {4, 0}, {4, 2}, {4, 4}, {1, 4}, {0, 4}, {0, 3}}},
      {"three sides of a triangle divided", {{0, 0}, {2, 0}, {4, 0}, {2, 2}, {0, 4}, {0, 2}}},
      {"L", {{0, 0}, {6, 0}, {6, 2}, {2, 2}, {2, 6}, {0, 6}}},
      {"U with its arms in line", {{0, 0}, {6, 0}, {6, 4}, {4, 4}, {4, 2}, {2, 2}, {2, 4}, {0, 4}}},
      {"arrow", {{0, 0}, {4, 4}, {0, 8}, {1, 4}}},
      {"comb", comb},
      {"spiral", spiral},
  };
  for (const auto& c : cases) {
    Polygon polygon = c.polygon;
    // Whichever way round, and wherever it begins.
    for (std::size_t i = 0; i < 7; ++i) {
      ExpectTriangulated(polygon, c.what);
      std::rotate(polygon.begin(), polygon.begin() + 1, polygon.end());
      std::reverse(polygon.begin(), polygon.end());
    }
  }
  tests::Seeded random;
  for (int i = 0; i < 200; ++i) {
    Polygon star;
    const int n = random.Integer(3, 60);
    for (int k = 0; k < n; ++k) {
      const double turn = 2 * std::acos(-1.0) * k / n, radius = random.Real(1, 10);
      star.push_back({radius * std::cos(turn), radius * std::sin(turn)});
    }
    ExpectTriangulated(star, "star " + std::to_string(i));
  }
}

TEST(Triangulation, RefusesWhatEnclosesNothingAndWhatCrosses) {
  const double bad = tests::kNaN;
  const struct {
    const char* what;
    Polygon polygon;
  } cases[] = {
      {"nothing", {}},
      {"two points", {{0, 0}, {1, 0}}},
      {"line", {{0, 0}, {1, 0}, {2, 0}}},
      {"eight", {{0, 0}, {4, 3}, {4, 0}, {0, 4}}},
      {"star drawn in one stroke", {{0, 3}, {2, -2}, {-3, 1}, {3, 1}, {-2, -2}}},
      {"a corner beyond the other side", {{0, 0}, {4, 0}, {4, 4}, {2, -1}, {0, 4}}},
      {"crosses, and yet has an ear at each step", {{2, 4}, {4, 2}, {1, 2}, {4, 4}, {0, 1}}},
      {"NaN", {{0, 0}, {4, bad}, {4, 4}}},
      {"infinity", {{0, 0}, {tests::kInfinity, 0}, {4, 4}}},
      {"there and back", {{0, 0}, {4, 0}, {2, 0}, {2, 4}}},
      {"too many", Polygon(8193)},
  };
  for (const auto& c : cases)
    EXPECT_TRUE(tests::ThrowsId<mathdef::zvWMException>([&] { Triangulate(c.polygon); }, 7051,
                                                        L"Contour triangulation error"))
        << c.what;
}

}  // namespace
}  // namespace geoDef
