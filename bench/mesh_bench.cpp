// Reading STL files against what their bytes alone cost, and against the plain way to read a text.
#include <kandrel/cadcam/stl/stl_reader.h>
#include <kandrel/cadcam/stl/stl_writer.h>
#include <kandrel/misc/text.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#ifdef KANDREL_BENCH_ADMESH
#include <admesh/stl.h>
#endif

#include "bench/suites.h"
#include "bench/support.h"

namespace bench {

namespace {

using Mesh = cadcam::zvTMesh<float>;
using Point = cadcam::zvTPoint3d<float>;

constexpr int kBinaryTriangles = kMillion;
constexpr int kTextTriangles = kMillion / 5;

// A torus of small triangles, whose coordinates have all digits that a float has.
Mesh MakeTorus(int triangles) {
  constexpr int kRound = 200;
  const auto point = [&](int i, int k) {
    const double along = i * 0.6180339887 * kDegree, around = k * 360.0 / kRound * kDegree;
    const double radius = 100 + 20 * std::cos(around);
    return Point(static_cast<float>(radius * std::cos(along)),
                 static_cast<float>(radius * std::sin(along)),
                 static_cast<float>(20 * std::sin(around)));
  };
  Mesh mesh;
  mesh.Reserve(3 * static_cast<std::size_t>(triangles), static_cast<std::size_t>(triangles));
  for (int i = 0; i < triangles; ++i) {
    const int row = i / 2 / kRound, column = i / 2 % kRound, other = i % 2;
    const std::array<Point, 3> corners = {point(row, column + other), point(row + 1, column),
                                          point(row + other, column + 1)};
    mesh.AddTriangle(corners, TriangleNormal(corners[0], corners[1], corners[2]));
  }
  return mesh;
}

// Files of both forms, made when first asked for.
struct Files {
  Files() {
    cadcam::WriteBinary(misc::FromUtf8(binary), MakeTorus(kBinaryTriangles));
    cadcam::WriteText(misc::FromUtf8(text), MakeTorus(kTextTriangles));
  }
  ~Files() {
    std::filesystem::remove(binary);
    std::filesystem::remove(text);
  }

  std::string stem =
      std::filesystem::temp_directory_path() / ("kandrel_bench." + std::to_string(getpid()));
  std::string binary = stem + ".binary.stl";
  std::string text = stem + ".text.stl";
};

void Load(const std::string& path) {
  Mesh mesh;
  cadcam::LoadSTL(misc::FromUtf8(path), mesh);
  Keep(mesh.GetTriangles().data());
}

// The whole file into memory of its size.
void FreadAlone(const std::string& path) {
  const std::size_t size = std::filesystem::file_size(path);
  const auto bytes = std::make_unique_for_overwrite<char[]>(size);
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  const std::size_t count = std::fread(bytes.get(), 1, size, file);
  std::fclose(file);
  Keep(bytes.get() + count);
}

// A text as readers of STL commonly take it: fscanf for each word and number.
void FscanfEach(const std::string& path) {
  std::FILE* const file = std::fopen(path.c_str(), "r");
  std::vector<std::array<float, 3>> points;
  for (char word[4096]; std::fscanf(file, " %4095s", word) == 1;) {
    if (std::strcmp(word, "vertex") != 0 && std::strcmp(word, "normal") != 0) continue;
    std::array<float, 3>& p = points.emplace_back();
    if (std::fscanf(file, "%f %f %f", &p[0], &p[1], &p[2]) != 3) break;
  }
  std::fclose(file);
  Keep(points.data());
}

#ifdef KANDREL_BENCH_ADMESH
// The library that Debian's admesh is built on.
void Admesh(const std::string& path) {
  stl_file file;
  stl_open(&file, const_cast<char*>(path.c_str()));  // which it only reads
  Keep(file.facet_start);
  stl_close(&file);
}
#endif

}  // namespace

void AddMesh(Suite& suite) {
  const auto files = std::make_shared<std::unique_ptr<Files>>();
  const auto add = [&](const std::string& name, int triangles, std::string Files::*path,
                       void (*run)(const std::string&)) {
    const auto prepare = [files] {
      if (*files == nullptr) *files = std::make_unique<Files>();
    };
    suite.cases.push_back(
        {name, double(triangles), [files, path, run] { run((**files).*path); }, prepare});
  };
  add("stl/fread_alone/binary", kBinaryTriangles, &Files::binary, FreadAlone);
  add("stl/load/binary", kBinaryTriangles, &Files::binary, Load);
  add("stl/fread_alone/text", kTextTriangles, &Files::text, FreadAlone);
  add("stl/fscanf_each/text", kTextTriangles, &Files::text, FscanfEach);
  add("stl/load/text", kTextTriangles, &Files::text, Load);
#ifdef KANDREL_BENCH_ADMESH
  add("stl/admesh/binary", kBinaryTriangles, &Files::binary, Admesh);
  add("stl/admesh/text", kTextTriangles, &Files::text, Admesh);
  suite.goals.push_back(
      {"a binary STL file over admesh", "stl/load/binary", "stl/admesh/binary", 0.5});
  suite.goals.push_back({"an STL text over admesh", "stl/load/text", "stl/admesh/text", 0.25});
#endif

  suite.goals.push_back({"a binary STL file over fread of the same bytes", "stl/load/binary",
                         "stl/fread_alone/binary", 1.3});
  suite.goals.push_back({"an STL text over fscanf", "stl/load/text", "stl/fscanf_each/text", 0.31});
}

}  // namespace bench
