#include <kandrel/cadcam/stl/stl_reader.h>
#include <kandrel/cadcam/stl/stl_writer.h>
#include <kandrel/misc/misc_exception.h>
#include <tests/support/bytes.h>
#include <tests/support/memory_streams.h>
#include <tests/support/numbers.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using tests::ThrowsId;

template <class T>
zvTMesh<T> OneTriangle(const zvTPoint3d<T>& last, const zvTPoint3d<T>& normal) {
  zvTMesh<T> mesh;
  mesh.AddTriangle({zvTPoint3d<T>(0, T(-0.0), 1), zvTPoint3d<T>(1, 2.5, 1), last}, normal);
  return mesh;
}

template <class T>
std::string Written(const zvTMesh<T>& mesh, zvSTLForm form) {
  tests::MemoryOutput out;
  form == zvSTLForm::text ? WriteText(out, mesh) : WriteBinary(out, mesh);
  return out.GetBytes();
}

template <class T>
zvTMesh<T> Read(const std::string& bytes, zvSTLForm form) {
  zvTMesh<T> mesh;
  tests::MemoryInput stream(bytes);
  EXPECT_EQ(LoadSTL(stream, bytes.size(), mesh), form);
  return mesh;
}

TEST(STLWriter, WritesTheseBytes) {
  const auto mesh = OneTriangle<float>({0.1f, 1e-10f, 3e10f}, {0, 0, -1});
  EXPECT_EQ(Written(mesh, zvSTLForm::text),
            "solid ascii\n"
            "  facet normal 0 0 -1\n"
            "    outer loop\n"
            "      vertex 0 -0 1\n"
            "      vertex 1 2.5 1\n"
            "      vertex 0.1 1e-10 3e+10\n"
            "    endloop\n"
            "  endfacet\n"
            "endsolid\n");
  EXPECT_EQ(Written(zvTMesh<double>(), zvSTLForm::text), "solid ascii\nendsolid\n");
  tests::Bytes bytes;
  bytes.Raw("STL File" + std::string(72, ' ')).Hex("01 00 00 00");
  bytes.Hex("00 00 00 00  00 00 00 00  00 00 80 BF");
  bytes.Hex("00 00 00 00  00 00 00 80  00 00 80 3F");
  bytes.Hex("00 00 80 3F  00 00 20 40  00 00 80 3F");
  bytes.Hex("CD CC CC 3D  FF E6 DB 2E  76 84 DF 50  00 00");
  EXPECT_EQ(Written(mesh, zvSTLForm::binary), bytes.Get());
  EXPECT_EQ(Written(OneTriangle<double>({0.1, 1e-10, 3e10}, {0, 0, -1}), zvSTLForm::binary),
            bytes.Get());
}

// Any finite float, most of them no round numbers, the smallest and the largest among them.
template <class T>
T AnyNumber(tests::Seeded& random) {
  const int kind = random.Integer(0, 9);
  if (kind == 0) return std::numeric_limits<T>::max();
  if (kind == 1) return -std::numeric_limits<T>::denorm_min();
  return static_cast<T>(random.Real(-1, 1) * std::pow(10.0, random.Real(-44, 38)));
}

template <class T>
void ExpectRoundTrip(zvSTLForm form) {
  tests::Seeded random;
  zvTMesh<T> mesh;
  const auto point = [&] {
    const T x = AnyNumber<T>(random), y = AnyNumber<T>(random), z = AnyNumber<T>(random);
    return zvTPoint3d<T>(x, y, z);
  };
  for (int i = 0; i < 3000; ++i) {
    const auto n = random.UnitVector();
    const zvTPoint3d<T> normal{static_cast<T>(n.x), static_cast<T>(n.y), static_cast<T>(n.z)};
    mesh.AddTriangle({point(), point(), point()}, normal);
    mesh.AddTriangle(zvMeshCorners{random.Integer(0, 3 * i + 2), 3 * i + 2, 3 * i},
                     normal);  // shared
  }
  const zvTMesh<T> read = Read<T>(Written(mesh, form), form);
  ASSERT_EQ(read.GetVertices().size(), 3 * mesh.GetTriangles().size());
  for (std::size_t i = 0; i < mesh.GetTriangles().size(); ++i) {
    const auto &one = mesh.GetTriangles()[i], &other = read.GetTriangles()[i];
    ASSERT_EQ(other.normal, one.normal);
    for (std::size_t k = 0; k < 3; ++k)
      ASSERT_EQ(read.GetVertices()[other.corners[k]], mesh.GetVertices()[one.corners[k]]);
  }
}

TEST(STLWriter, WhatIsWrittenIsReadBackBitForBit) {
  ExpectRoundTrip<float>(zvSTLForm::text);
  ExpectRoundTrip<float>(zvSTLForm::binary);
  ExpectRoundTrip<double>(zvSTLForm::text);
}

TEST(STLWriter, RefusesWhatNoReaderTakes) {
  const tests::ScratchFolder folder;
  const std::string path = folder.Path("x.stl");
  tests::WriteFile(path, "old");
  for (const double bad : {tests::kNaN, tests::kInfinity, -tests::kInfinity}) {
    const auto mesh = OneTriangle<double>({0, bad, 0}, {0, 0, 1});
    tests::MemoryOutput out;
    EXPECT_TRUE(ThrowsId<misc::zvException>([&] { WriteText(out, mesh); }, 0));
    EXPECT_TRUE(ThrowsId<misc::zvException>([&] { WriteBinary(out, mesh); }, 0));
    EXPECT_EQ(out.GetBytes(), "");
    EXPECT_TRUE(ThrowsId<misc::zvException>([&] { WriteText(folder.WidePath("x.stl"), mesh); }, 0));
    EXPECT_EQ(tests::FileText(path), "old");
    // A normal alone does no harm: it is left to readers.
    const auto normal = OneTriangle<double>({0, 0, 0}, {0, bad, 1});
    EXPECT_NE(Written(normal, zvSTLForm::text).find("facet normal 0 0 0\n"), std::string::npos);
  }
  const auto steep = OneTriangle<double>({0, 1, 0}, {0, 1e300, 1});
  EXPECT_EQ(Written(steep, zvSTLForm::binary),
            Written(OneTriangle<double>({0, 1, 0}, {}), zvSTLForm::binary));
  EXPECT_NE(Written(steep, zvSTLForm::text).find("normal 0 1e+300 1\n"), std::string::npos);
  const auto large = OneTriangle<double>({0, 1e39, 0}, {0, 0, 1});
  EXPECT_TRUE(
      ThrowsId<misc::zvException>([&] { WriteBinary(folder.WidePath("x.stl"), large); }, 0));
  EXPECT_EQ(Read<double>(Written(large, zvSTLForm::text), zvSTLForm::text).GetMaximum().y, 1e39);
  WriteText(folder.WidePath("x.stl"), large);
  EXPECT_EQ(tests::FileText(path), Written(large, zvSTLForm::text));
  EXPECT_TRUE(ThrowsId<misc::zvmiscException>(
      [] { WriteBinary(std::wstring(L"/dev/full"), zvTMesh<float>()); }, 2149));
}

}  // namespace
}  // namespace cadcam
