#include <kandrel/cadcam/mesh.h>
#include <kandrel/misc/misc_exception.h>
#include <tests/support/numbers.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using measures::zvUnitsFactory;
using misc::zvmiscException;
using tests::ThrowsId;

template <class T>
struct MeshTest : testing::Test {
  using Mesh = zvTMesh<T>;

  static constexpr zvTPoint3d<T> kEmptyMinimum{T(3e38), T(3e38), T(3e38)};

  // A tetrahedron's corners and two of its triangles.
  static Mesh Two(zvUnitsFactory::Units units = zvUnitsFactory::metric) {
    Mesh mesh(units);
    for (const zvTPoint3d<T>& p : {zvTPoint3d<T>(0, 0, 0), zvTPoint3d<T>(2, 0, 0),
                                   zvTPoint3d<T>(0, 3, 0), zvTPoint3d<T>(0, 0, -4)})
      mesh.AddVertex(p);
    mesh.AddTriangle({0, 1, 2});
    mesh.AddTriangle({0, 3, 1}, {0, 1, 0});
    return mesh;
  }
  static std::vector<zvMeshCorners> CornersOf(const Mesh& mesh) {
    std::vector<zvMeshCorners> corners;
    for (const auto& triangle : mesh.GetTriangles()) corners.push_back(triangle.corners);
    return corners;
  }
  static void ExpectBox(const Mesh& mesh, const zvTPoint3d<T>& minimum,
                        const zvTPoint3d<T>& maximum) {
    EXPECT_EQ(mesh.GetMinimum(), minimum);
    EXPECT_EQ(mesh.GetMaximum(), maximum);
  }
};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(MeshTest, Types);

TYPED_TEST(MeshTest, HoldsWhatWasAddedAndItsBox) {
  using Point = zvTPoint3d<TypeParam>;
  typename TestFixture::Mesh empty;
  EXPECT_TRUE(empty.IsEmpty());
  TestFixture::ExpectBox(empty, TestFixture::kEmptyMinimum, -TestFixture::kEmptyMinimum);
  auto mesh = TestFixture::Two();
  EXPECT_FALSE(mesh.IsEmpty());
  TestFixture::ExpectBox(mesh, {0, 0, -4}, {2, 3, 0});
  EXPECT_EQ(mesh.GetTriangles()[0].normal, Point(0, 0, 1));
  EXPECT_EQ(mesh.GetTriangles()[1].normal, Point(0, 1, 0));
  mesh.AddTriangle({Point(5, 5, 5), Point(6, 5, 5), Point(5, 6, 5)}, {0, 0, 1});
  EXPECT_EQ(TestFixture::CornersOf(mesh),
            (std::vector<zvMeshCorners>{{0, 1, 2}, {0, 3, 1}, {4, 5, 6}}));
  TestFixture::ExpectBox(mesh, {0, 0, -4}, {6, 6, 5});
  const auto nan = std::numeric_limits<TypeParam>::quiet_NaN();
  EXPECT_EQ(mesh.AddVertex({nan, 7, nan}), 7);
  TestFixture::ExpectBox(mesh, {0, 0, -4}, {6, 7, 5});
  // Of the mesh itself, which moves them as it grows.
  for (int i = 0; i < 100; ++i) {
    mesh.AddVertex(mesh.GetVertices().front());
    mesh.AddTriangle({Point(), Point(), Point()}, mesh.GetVertices()[1]);
    ASSERT_EQ(mesh.GetTriangles().back().normal, Point(2, 0, 0));
  }
  TestFixture::ExpectBox(mesh, {0, 0, -4}, {6, 7, 5});
}

TYPED_TEST(MeshTest, RefusesIndicesThatAreNone) {
  auto mesh = TestFixture::Two();
  for (const zvMeshIndex bad :
       {-1, 4, std::numeric_limits<zvMeshIndex>::min(), std::numeric_limits<zvMeshIndex>::max()})
    for (std::size_t place = 0; place < 3; ++place) {
      zvMeshCorners corners = {0, 1, 2};
      corners[place] = bad;
      EXPECT_TRUE(ThrowsId<zvmiscException>([&] { mesh.AddTriangle(corners); }, 2052)) << bad;
      EXPECT_TRUE(ThrowsId<zvmiscException>([&] { mesh.AddTriangle(corners, {}); }, 2052));
    }
  EXPECT_EQ(mesh.GetTriangles().size(), 2u);
}

TYPED_TEST(MeshTest, MergesMeshesOfTheSameUnits) {
  auto mesh = TestFixture::Two();
  typename TestFixture::Mesh other;
  other.AddVertex({-1, 9, 9});
  other.AddTriangle({0, 0, 0});
  mesh.Merge(other);
  mesh.Merge(mesh);
  EXPECT_EQ(TestFixture::CornersOf(mesh),
            (std::vector<zvMeshCorners>{
                {0, 1, 2}, {0, 3, 1}, {4, 4, 4}, {5, 6, 7}, {5, 8, 6}, {9, 9, 9}}));
  EXPECT_EQ(mesh.GetVertices().size(), 10u);
  TestFixture::ExpectBox(mesh, {-1, 0, -4}, {2, 9, 9});
  typename TestFixture::Mesh empty;
  empty.Merge(typename TestFixture::Mesh());
  TestFixture::ExpectBox(empty, TestFixture::kEmptyMinimum, -TestFixture::kEmptyMinimum);
  EXPECT_TRUE(
      ThrowsId<misc::zvException>([&] { mesh.Merge(TestFixture::Two(zvUnitsFactory::inch)); }, 0,
                                  L"Could not merge two meshes with different units type"));
  EXPECT_EQ(mesh.GetTriangles().size(), 6u);
}

TYPED_TEST(MeshTest, RescalesLengthsAndNothingElse) {
  auto mesh = TestFixture::Two(zvUnitsFactory::inch);
  const auto copy = mesh;
  mesh.SetUnits(zvUnitsFactory::metric);
  const auto scaled = [](double value) { return static_cast<TypeParam>(value * 25.4); };
  TestFixture::ExpectBox(mesh, {0, 0, scaled(-4)}, {scaled(2), scaled(3), 0});
  EXPECT_EQ(mesh.GetVertices()[1], (zvTPoint3d<TypeParam>(scaled(2), 0, 0)));
  EXPECT_EQ(mesh.GetTriangles()[0], copy.GetTriangles()[0]);
  TestFixture::ExpectBox(copy, {0, 0, -4}, {2, 3, 0});  // a copy is deep
  EXPECT_EQ(copy.GetUnits(), zvUnitsFactory::inch);
  auto smaller = TestFixture::Two();
  smaller.SetUnits(zvUnitsFactory::inch);
  EXPECT_EQ(smaller.GetMaximum().y, static_cast<TypeParam>(3 * 0.03937007874015748));
  mesh.SetUnits(zvUnitsFactory::inch, true);
  TestFixture::ExpectBox(mesh, {0, 0, scaled(-4)}, {scaled(2), scaled(3), 0});
  constexpr auto kLargest = std::numeric_limits<TypeParam>::max();
  const auto infinity = std::numeric_limits<TypeParam>::infinity();
  typename TestFixture::Mesh large(zvUnitsFactory::inch);
  large.AddVertex({kLargest / 2, -kLargest / 25, std::numeric_limits<TypeParam>::quiet_NaN()});
  large.SetUnits(zvUnitsFactory::metric);
  EXPECT_EQ(large.GetVertices()[0].x, infinity);
  EXPECT_EQ(large.GetMinimum().y, -infinity);
  EXPECT_TRUE(std::isnan(large.GetVertices()[0].z));
}

TYPED_TEST(MeshTest, IsMadeOfPlainArrays) {
  zvContainerMesh<TypeParam> container;
  using Points = std::vector<zvTPoint3d<TypeParam>>;
  EXPECT_TRUE(tests::ThrowsNull([&] { typename TestFixture::Mesh mesh(container); }));
  container.points = misc::MakeAutoPointer<Points>(Points{{0, 0, 0}, {0, 5, 0}, {0, 0, 5}});
  container.triangles =
      misc::MakeAutoPointer<std::vector<zvMeshCorners>>(std::vector<zvMeshCorners>{{0, 1, 2}});
  container.units = zvUnitsFactory::inch;
  const typename TestFixture::Mesh mesh(container);
  EXPECT_EQ(mesh.GetTriangles()[0].normal, (zvTPoint3d<TypeParam>(1, 0, 0)));
  EXPECT_EQ(mesh.GetUnits(), zvUnitsFactory::inch);
  container.triangles->push_back({0, 1, 3});
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { typename TestFixture::Mesh bad(container); }, 2052));
}

TYPED_TEST(MeshTest, NormalsNeedAnAreaButNoSize) {
  using Point = zvTPoint3d<TypeParam>;
  const auto nan = std::numeric_limits<TypeParam>::quiet_NaN();
  for (const double size : {1e-310, 1e-170, 1e-38, 1e-20, 1.0, 1e20, 1e38, 1e160, 1e307}) {
    if (std::is_same_v<TypeParam, float> && !(size > 1e-39 && size < 1e39)) continue;
    const auto s = static_cast<TypeParam>(size);
    EXPECT_EQ(TriangleNormal<TypeParam>({0, 0, 0}, {0, s, 0}, {s, 0, 0}), Point(0, 0, -1)) << s;
    EXPECT_EQ(TriangleNormal<TypeParam>({s, s, s}, {0, 0, 0}, {s, s, s}), Point()) << s;
  }
  EXPECT_EQ(TriangleNormal<TypeParam>({0, 0, 0}, {0, nan, 0}, {1, 0, 0}), Point());
}

}  // namespace
}  // namespace cadcam
