#include <kandrel/cadcam/tool_approximation_exception.h>
#include <kandrel/cadcam/tools/mesh_factory.h>
#include <kandrel/cadcam/tools/revolve_profile.h>
#include <tests/cadcam/tools/mesh_laws.h>
#include <tests/support/numbers.h>
#include <tests/support/points.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using tests::IsClosed;
using tests::kInfinity;
using tests::kNaN;
using tests::ThrowsId;
using tests::VolumeOf;
using Profile = geoDef::zv2dPolyLine<double>;
using Points = std::vector<geoDef::zv2dPoint<double>>;

constexpr auto kInch = measures::zvUnitsFactory::inch;
const wchar_t* const kTolerance = L"Polygonization tolerance is invalid.";

template <class T = double>
zvTMesh<T> Revolved(const Points& points, double tolerance = 0.1, double lift = 0,
                    double largestAngle = 0) {
  return zvRevolveProfileSrv<T>(tolerance, largestAngle).Revolve({points}, kInch, lift);
}

TEST(MeshFactory, AsksForProfilesOfOneLength) {
  using Factory = zvMeshFactory<double>;
  using Line = Factory::Profile;
  EXPECT_TRUE(ThrowsId<misc::zvException>(
      [] { Factory::Create({Line(3)}, kInch); }, 0,
      L"zvMeshFactory::ValidateProfiles -> Profile list must contain at least two profiles!"));
  const std::vector<Line> uneven{Line(3), Line(3), Line(2)};
  EXPECT_TRUE(ThrowsId<misc::zvException>(
      [&] { Factory::ValidateProfiles(uneven); }, 0,
      L"zvMeshFactory::ValidateProfiles -> All profiles must contain the same number of points!"));
  // A flat strip: one triangle is left of the second pair, as the profiles meet at its top.
  const auto mesh = Factory::Create(
      {{{0, 0, 0}, {0, 0, 1}}, {{1, 0, 0}, {1, 0, 1}}, {{2, 0, 0}, {1, 0, 1}}}, kInch);
  EXPECT_EQ(mesh.GetUnits(), kInch);
  EXPECT_EQ(mesh.GetVertices().size(), 5u);
  ASSERT_EQ(mesh.GetTriangles().size(), 3u);
  for (const auto& triangle : mesh.GetTriangles())
    EXPECT_EQ(triangle.normal, tests::Point(0, -1, 0));
}

TEST(RevolveProfile, TakesAsManyStepsAroundAsTheToleranceAsksFor) {
  const struct {
    double radius, tolerance, angle, count;
  } cases[] = {{0.5, 0.1, 0, 8}, {5, 0.1, 0, 16}, {25, 0.1, 0, 36},  {5, 100, 0, 8},
               {5, 0.1, 10, 36}, {5, 0.1, 9, 40}, {5, 0.1, 100, 16}, {5, 0.01, 0, 52}};
  for (const auto& c : cases) {
    EXPECT_EQ(zvRevolveProfileSrv<double>(c.tolerance, c.angle).CountAround(c.radius), c.count)
        << c.radius << ' ' << c.tolerance << ' ' << c.angle;
    const auto mesh = Revolved({{0, 0}, {c.radius, 0}, {c.radius, 2}}, c.tolerance, 7, c.angle);
    EXPECT_EQ(mesh.GetTriangles().size(), 4 * c.count);
    EXPECT_EQ(mesh.GetMinimum(), tests::Point(-c.radius, -c.radius, 7));
    EXPECT_EQ(mesh.GetMaximum(), tests::Point(c.radius, c.radius, 9));
    EXPECT_EQ(mesh.GetUnits(), kInch);
    EXPECT_TRUE(IsClosed(mesh));
    const double turn = 2 * std::acos(-1.0) / c.count;
    EXPECT_NEAR(VolumeOf(mesh), c.radius * c.radius * c.count * std::sin(turn), 1e-9);
  }
}

TEST(RevolveProfile, EnclosesWhatAnyProfileSweeps) {
  const double pi = std::acos(-1.0);
  const double factor = 16 / (2 * pi) * std::sin(2 * pi / 16);
  const struct {
    const char* what;
    Points points;
    double volume;
  } cases[] = {
      {"open at both ends", {{5, 0}, {5, 4}}, 100 * pi},
      {"downwards", {{0, 4}, {5, 4}, {5, 0}}, 100 * pi},
      {"double cone", {{0, 0}, {5, 3}, {0, 6}}, 50 * pi},
      {"runs along the axis", {{0, -2}, {0, 0}, {5, 0}, {5, 4}, {0, 4}, {0, 9}}, 100 * pi},
      {"equal points", {{0, 0}, {5, 0}, {5, 0}, {5, 4}, {5, 4}}, 100 * pi},
      {"a hair off the axis", {{1e-13, 0}, {5, 0}, {5, 4}, {-1e-13, 4}}, 100 * pi},
      {"beyond the axis", {{-1, 0}, {5, 0}, {5, 4}, {-3, 4}}, 100 * pi},
      {"waist on the axis", {{5, 0}, {0, 3}, {5, 6}}, 50 * pi},
      {"level step", {{0, 0}, {5, 0}, {5, 2}, {3, 2}, {3, 5}}, 77 * pi},
      {"disc without thickness", {{5, 0}, {5, 3}, {0, 3}, {4, 3}}, 75 * pi},
      {"rim without thickness", {{0, 0}, {5, 0}, {5, 3}, {7, 3}, {5, 3}, {0, 3}}, 75 * pi},
      {"axis behind a spike", {{5, 0}, {5, 5}, {0, 5}, {0, 8}, {2, 8}, {0, 8}}, 125 * pi},
      {"axis before a spike", {{5, 0}, {0, 0}, {0, 3}, {5, 3}, {5, 6}}, 75 * pi},
      {"hollow", {{5, 0}, {5, 4}, {3, 4}, {3, 1}}, (100 - 27) * pi},
  };
  for (const auto& c : cases) {
    EXPECT_TRUE(IsClosed(Revolved(c.points))) << c.what;
    EXPECT_NEAR(VolumeOf(Revolved(c.points)), factor * c.volume, 1e-9) << c.what;
    EXPECT_TRUE(IsClosed(Revolved<float>(c.points, 0.1, 1e4))) << c.what;
    EXPECT_NEAR(VolumeOf(Revolved<float>(c.points)), factor * c.volume, 1e-3) << c.what;
  }
  // What stood behind the spike is gone with it.
  EXPECT_EQ(Revolved({{5, 0}, {5, 5}, {0, 5}, {0, 8}, {2, 8}, {0, 8}}).GetMaximum().z, 5);
}

TEST(RevolveProfile, SweepsNothingWhereThereIsNoVolume) {
  for (const Points& points :
       {Points{}, Points{{5, 1}}, Points{{0, 0}, {0, 0}}, Points{{0, 0}, {0, 5}},
        Points{{3, 1}, {5, 1}}, Points{{-3, 0}, {-3, 7}}, Points{{1e-13, 0}, {1e-13, 7}}}) {
    EXPECT_TRUE(Revolved(points).IsEmpty());
    EXPECT_TRUE(Revolved(points, kNaN).IsEmpty());
  }
  // Heights that the numbers of the mesh can't tell apart.
  EXPECT_TRUE(Revolved<float>({{5, 0}, {5, 1e-6}}, 0.1, 1000).IsEmpty());
  EXPECT_TRUE(IsClosed(Revolved<float>({{5, 0}, {4, 1e-6}, {4, 1}}, 0.1, 1000)));
}

TEST(RevolveProfile, RefusesWhatGivesNoMesh) {
  const Points cylinder{{5, 0}, {5, 4}};
  for (const auto& [tolerance, angle] : {std::pair{0.0, 0.0},
                                         {-1, 0},
                                         {kNaN, 0},
                                         {1e-300, 0},
                                         {1e-12, 0},
                                         {0.1, -1},
                                         {0.1, kNaN},
                                         {0.1, 1e-9},
                                         {0.1, 1e-320}})
    EXPECT_TRUE(ThrowsId<misc::zvException>(
        [&, t = tolerance, a = angle] { Revolved(cylinder, t, 0, a); }, 0, kTolerance))
        << tolerance << ' ' << angle;
  for (const Points& points : {Points{{5, 0}, {5, kNaN}}, Points{{kNaN, 0}, {5, 3}},
                               Points{{5, 0}, {kInfinity, 3}}, Points{{5, 0}, {5, -kInfinity}}})
    EXPECT_TRUE(ThrowsId<zvtoolapproximationException>([&] { Revolved(points); }, 0));
  const Points large{{1e39, 0}, {5, 3}};
  EXPECT_TRUE(ThrowsId<zvtoolapproximationException>([&] { Revolved<float>(large); }, 0));
}

}  // namespace
}  // namespace cadcam
