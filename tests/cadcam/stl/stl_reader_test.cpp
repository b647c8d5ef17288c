#include <kandrel/cadcam/stl/parser_stl.h>
#include <kandrel/cadcam/stl/stl_reader.h>
#include <kandrel/cadcam/stl_parser_exception.h>
#include <kandrel/misc/misc_exception.h>
#include <tests/support/bytes.h>
#include <tests/support/data_folder.h>
#include <tests/support/memory_streams.h>
#include <tests/support/numbers.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/testing.h>
#include <tests/support/text_numbers.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using tests::ThrowsId;
using Point = zvTPoint3d<float>;
using Mesh = zvTMesh<float>;

const std::string kText =
    "solid part\n"
    "  facet normal 0 0 1\n"
    "    outer loop\n"
    "      vertex 0 0 0\n"
    "      vertex 1 0 0\n"
    "      vertex 0 2 0\n"
    "    endloop\n"
    "  endfacet\n"
    "endsolid part\n";

// What became of a reading into a mesh that had something in it already.
struct Result {
  std::uint32_t id = 0;
  int line = 0;
  zvSTLForm form{};
  Mesh mesh{measures::zvUnitsFactory::inch};
};

Result Load(const std::string& bytes) {
  Result result;
  result.mesh.AddVertex({7, 8, 9});
  tests::MemoryInput stream(bytes);
  try {
    result.form = LoadSTL(stream, bytes.size(), result.mesh);
  } catch (const zvParserException& e) {
    EXPECT_EQ(typeid(e) == typeid(zvParserException), e.GetId() == 6251) << e.GetId();
    result.id = e.GetId();
    result.line = e.GetDetail();
    EXPECT_EQ(result.mesh.GetVertices().size(), 1u) << "a failed reading changes nothing";
  }
  EXPECT_EQ(result.mesh.GetUnits(), measures::zvUnitsFactory::inch);
  return result;
}

// kText with one part replaced: what it gives is an id and a line, or so many triangles.
struct TextCase {
  std::string from, to;
  std::uint32_t id;
  int lineOrTriangles;
};

const std::string kFacet = "facet normal 0 0 1", kVertex = "vertex 0 2 0";
const std::string kTail = "endsolid part\n";
const std::string kNotRead = kTail + "facet x\n" + std::string(5000, 'x');

const TextCase kTextCases[] = {
    {"", "", 0, 1},
    // lines, words, keywords
    {"solid part", " solid", 0, 1},
    {"solid part", " \t solid \"a b", 0, 1},
    {"solid part", "\t \tsolid", 6251, 1},
    {"solid part", "SOLID part", 6251, 1},
    {"solid part", "\"solid\" part", 6251, 1},
    {"solid part", "(a comment\n\n \t \nsolid", 0, 1},
    {"solid part", " (no comment\nsolid", 6251, 1},
    {kTail, "endsolid " + std::string(4086, 'x'), 0, 1},
    {kTail, "endsolid " + std::string(4087, 'x'), 3501, 9},
    {kTail, "(" + std::string(5000, 'x'), 3501, 9},
    {"endloop", "endloop\t", 6251, 7},
    // solid
    {"solid part\n", "", 3510, 3},
    {"solid part", "solid part\nsolid", 3510, 2},
    {"solid part", "endsolid", 3510, 1},
    {kTail, kNotRead, 0, 1},
    {kTail, "end soLid part", 0, 1},
    {kTail, "", 0, 1},
    // facet
    {kFacet, "facet normal 0 0", 3502, 2},
    {kFacet, "facet normal 0 0 1 0", 3502, 2},
    {kFacet, "facet normal 0 zero 1", 3502, 2},
    {kFacet, "facet\tnormal 0 0 1", 6251, 2},
    {kFacet, "facet \"nor mal\" +0 \"0\" 1\"\"", 0, 1},
    {kFacet, "facet normal nan inf 0", 0, 1},
    {kFacet, kFacet + "\n" + kFacet, 3510, 3},
    // outer
    {"outer loop", "outer", 0, 1},
    {"outer loop", "outerloop", 0, 1},
    {"outer loop", "outer loops and more", 0, 1},
    {"outer loop", "outer loops", 3503, 3},
    {"outer loop", "outer loop\nouter", 3510, 4},
    {"outer loop\n", "\n", 3510, 4},
    // vertex
    {kVertex, "vertex 0 2", 3504, 6},
    {kVertex, "vertex 0 2 0 0", 3504, 6},
    {kVertex, "vertex 0 2,0 0", 3504, 6},
    {kVertex, "vertex 0 0x2 0", 3504, 6},
    {kVertex, "vertex 0 2-0", 3504, 6},
    {kVertex, "vertex 0\t2 0 0", 3504, 6},
    {kVertex, "vertex 0 2 0\r\r", 3504, 6},
    {kVertex, "vertex  -0. +2e0 .0E+3 ", 0, 1},
    {kVertex, "vertex \"0\" 2 \"0", 0, 1},
    {kVertex, "vertex 1e-400 2 -1e-99", 0, 1},
    {kVertex, "vertex 0." + std::string(400, '0') + "1 2 " + std::string(50, '1') + "e-99", 0, 1},
    {kVertex, "vertex 0 2 1e39", 3509, 6},
    {kVertex, "vertex 0 2 -1e400", 3509, 6},
    {kVertex, "vertex 0 2 " + std::string(400, '1') + "e-9", 3509, 6},
    {kVertex, "vertex 0 nan 0", 3509, 6},
    {kVertex, "vertex -inf 2 0", 3509, 6},
    {kVertex, kVertex + "\nvertex 9 9 9", 0, 1},
    {kVertex, kVertex + "\nvertex 9 nan 9", 3509, 7},
    {kVertex, "", 0, 0},
    // what closes
    {"endloop", "endloop x", 3505, 7},
    {"endloop", "end LooP", 0, 1},
    {"endloop", "end \"\tloop \"", 0, 1},
    {"endloop", "end loop x", 3505, 7},
    {"endloop", "end", 3507, 7},
    {"endloop", "end endloop", 3507, 7},
    {"endloop", "endloop\nendloop", 3510, 8},
    {"endloop", "", 3501, 9},
    {"    endloop\n  endfacet\nendsolid part\n", "", 3501, 6},
    {kTail, "(" + std::string(4094, 'x') + "\r", 0, 1},
    {kTail, "(" + std::string(4095, 'x') + "\r", 3501, 9},
    {"endloop\n  endfacet\n", kFacet + "\n", 3510, 7},
    {"endloop\n", kFacet + "\n", 3510, 7},
    {"endloop\n  endfacet\n", "endfacet\n" + kFacet + "\nouter loop\n", 3510, 9},
    {"endfacet", "endfacet x", 3506, 8},
    {"endfacet", "end facet", 0, 1},
    {"endfacet", "end facet x", 3506, 8},
    {"endfacet", "endfacet\nendfacet", 3510, 9},
    {"endfacet", "outer loop\nvertex 1 1 1\nvertex 2 2 2\nendloop\nendfacet", 0, 1},
};

TEST(STLReader, TextsFollowTheRules) {
  for (const auto& [from, to, id, lineOrTriangles] : kTextCases) {
    for (const bool hasReturns : {false, true}) {
      std::string text = kText;
      const std::size_t place = text.find(from);
      ASSERT_NE(place, std::string::npos) << from;
      text.replace(place, from.size(), to);
      for (std::size_t i = 0; hasReturns && (i = text.find('\n', i)) != std::string::npos; i += 2)
        text.insert(i, 1, '\r');
      const Result result = Load(text);
      EXPECT_EQ(result.id, id) << to.substr(0, 60) << hasReturns;
      if (id != 0) {
        EXPECT_EQ(result.line, lineOrTriangles) << to.substr(0, 60);
        continue;
      }
      EXPECT_EQ(result.form, zvSTLForm::text);
      ASSERT_EQ(result.mesh.GetTriangles().size(), lineOrTriangles) << to.substr(0, 60);
      if (lineOrTriangles == 0) continue;
      EXPECT_EQ(result.mesh.GetTriangles()[0].normal, Point(0, 0, 1)) << to.substr(0, 60);
      EXPECT_EQ(result.mesh.GetMinimum(), Point()) << to.substr(0, 60);
      EXPECT_EQ(result.mesh.GetMaximum(), Point(1, 2, 0)) << to.substr(0, 60);
    }
  }
}

TEST(STLReader, ATextThatIsCutIsReadOnlyOutsideFacets) {
  std::string accepted;
  for (std::size_t size = 0; size <= kText.size(); ++size) {
    const Result result = Load(kText.substr(0, size));
    accepted += result.id == 0 ? 'y' : '-';
    if (result.id != 0) continue;
    EXPECT_EQ(result.mesh.GetTriangles().size(), size < 30 ? 0u : 1u);
  }
  // Nothing; "solid" and what it may have behind it; from "endfacet" to its line's end; the end.
  const std::size_t facetEnd = kText.find("endfacet") + 8, solidEnd = kText.find("endsolid") + 8;
  std::string expected(kText.size() + 1, '-');
  expected[0] = 'y';
  std::fill(expected.begin() + 5, expected.begin() + 14, 'y');
  std::fill(expected.begin() + facetEnd, expected.begin() + facetEnd + 2, 'y');
  std::fill(expected.begin() + solidEnd, expected.end(), 'y');
  EXPECT_EQ(accepted, expected);
}

// A binary file: `header` filled up with blanks, the count, and for each triangle its twelve
// numbers and two bytes.
std::string Binary(const std::string& header, std::uint32_t count,
                   const std::vector<std::array<float, 12>>& triangles) {
  tests::Bytes bytes;
  bytes.Raw(header + std::string(80 - header.size(), ' ')).Number(count, 4);
  for (const auto& triangle : triangles) {
    for (const float value : triangle) bytes.Number(std::bit_cast<std::uint32_t>(value), 4);
    bytes.Hex("AB CD");
  }
  return bytes;
}

constexpr std::array<float, 12> kUp = {0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0};

TEST(STLReader, BinaryFilesFitTheirCount) {
  const std::string two = Binary("solid facet", 2, {kUp, kUp});
  EXPECT_EQ(two.size(), 184u);
  for (std::size_t size = 0; size <= two.size(); ++size) {
    // Below 160 bytes it is a text, and a fine one until it comes to the number's bytes.
    const std::uint32_t id = size == 184              ? 0
                             : size >= 160            ? 3511
                             : size >= 5 || size == 0 ? 0
                                                      : 6251;
    EXPECT_EQ(Load(two.substr(0, size)).id, id) << size;
  }
  const Result read = Load(two);
  EXPECT_EQ(read.form, zvSTLForm::binary);
  EXPECT_EQ(read.mesh.GetTriangles().size(), 2u);
  EXPECT_EQ(read.mesh.GetMaximum(), Point(1, 1, 0));
  EXPECT_EQ(Load(two + "x").id, 3511u);
  // 2^31 + 2: the size of so many, in 32 bits, is that of two.
  for (const std::uint32_t count : {0u, 1u, 3u, 0x80000002u, 0xFFFFFFFFu})
    EXPECT_EQ(Load(Binary("", count, {kUp, kUp})).id, 3511u) << count;
  EXPECT_EQ(Load(Binary("", 0xFFFFFFFF, {})).id, 6251u);
  EXPECT_EQ(Load(Binary("", 1, {kUp})).id, 6251u);  // 134 bytes: a text
}

// Neither reserves what isn't there: the one is told a size of 200 GB, the other 35 GB.
TEST(STLReader, MoreTrianglesThanAMeshHoldsAreRefused) {
  for (const std::uint32_t count : {0xFFFFFFFFu, 0x7FFFFFFFu / 3 + 1}) {
    const std::string bytes = Binary("", count, {kUp, kUp});
    tests::MemoryInput stream(bytes);
    Mesh mesh;
    EXPECT_TRUE(tests::ThrowsId<misc::zvmiscException>(
        [&] { LoadSTL(stream, 84 + std::uint64_t{50} * count, mesh); }, 2157));
  }
}

TEST(STLReader, AWordBehindTheHeaderMakesAText) {
  for (const char* word : {"solid", "facet", "normal", "outer", "loop", "vertex", "endloop"})
    for (const std::size_t place : {80u, 120u, 153u}) {
      std::string bytes = Binary("", 2, {kUp, kUp});
      bytes.replace(place, std::strlen(word), word);
      const bool isSeen = place + std::strlen(word) <= 160;
      EXPECT_EQ(Load(bytes).id == 6251, isSeen || place == 80) << word << place;
    }
}

TEST(STLReader, LongLinesAreATextWhereTheSizeFitsNoBinaryFile) {
  std::string text = kText;
  text.replace(text.find(" 0 0 1"), 6, std::string(150, ' ') + "0 0 1");
  EXPECT_EQ(Load(text).form, zvSTLForm::text);
  EXPECT_EQ(Load(text).mesh.GetTriangles().size(), 1u);
  text[100] = '\a';
  EXPECT_EQ(Load(text).id, 3511u);
  // A long name, up to the longest line.
  for (const std::size_t size : {150u, 300u, 4089u}) {
    text = kText;
    text.replace(text.find("part"), 4, std::string(size, 'n'));
    EXPECT_EQ(Load(text).mesh.GetTriangles().size(), 1u) << size;
    text[159] = '\a';
    EXPECT_EQ(Load(text).id, 3511u) << size;
  }
  EXPECT_EQ(Load("(a comment" + std::string(150, ' ') + "\n" + kText).id, 3511u);
  // One of the size that its count, which could be letters, asks for is binary.
  text = "solid" + std::string(75, ' ') + "~~~~" + std::string(100, 'a');
  EXPECT_EQ(Load(text).id, 0u);
  tests::MemoryInput stream(text);
  Mesh mesh;
  EXPECT_TRUE(tests::ThrowsId<misc::zvmiscException>(
      [&] { LoadSTL(stream, 84 + std::uint64_t{50} * 0x7E7E7E7E, mesh); }, 2157));
}

TEST(STLReader, CoordinatesAreFiniteAndNormalsUnitVectors) {
  for (std::size_t place = 3; place < 12; ++place)
    for (const double bad : {tests::kNaN, tests::kInfinity, -tests::kInfinity}) {
      auto triangle = kUp;
      triangle[place] = static_cast<float>(bad);
      EXPECT_EQ(Load(Binary("", 2, {kUp, triangle})).id, 3509u) << place;
    }
  const auto nan = static_cast<float>(tests::kNaN);
  const auto infinity = static_cast<float>(tests::kInfinity);
  const Point kept = Point(1, 2, -3).Normalized();
  const Point cases[][2] = {
      {kept, kept},  // bit for bit
      {{0, -3, 4}, {0, -0.6f, 0.8f}},
      {{0, -2e-6f, 0}, {0, -1, 0}},
      {{9e-7f, 0, 0}, {0, 0, 1}},  // from here on that of the corners
      {{0, 0, 0}, {0, 0, 1}},
      {{nan, 0, 1}, {0, 0, 1}},
      {{0, -infinity, 0}, {0, 0, 1}},
  };
  for (const auto& [stored, expected] : cases) {
    auto triangle = kUp, point = kUp;
    std::fill(point.begin() + 3, point.end(), 5.f);  // without an area
    for (int i = 0; i < 3; ++i) triangle[i] = point[i] = stored[i];
    const Result read = Load(Binary("", 2, {triangle, point}));
    EXPECT_EQ(read.mesh.GetTriangles()[0].normal, expected);
    EXPECT_EQ(read.mesh.GetTriangles()[1].normal, expected.z == 1 ? Point() : expected);
  }
}

TEST(STLReader, PathsFailByTheirKind) {
  const tests::ScratchFolder folder;
  const std::pair<std::wstring, std::uint32_t> cases[] = {
      {folder.WidePath("missing.stl"), 3500},
      {std::wstring(L"a\0b", 3), 3500},
      {L"", 3500},
      {folder.WidePath(""), 3508},
      {L"/dev/zero", 3508},
  };
  Mesh mesh;
  for (const auto& c : cases)
    EXPECT_TRUE(tests::ThrowsId<zvSTLParserException>([&] { LoadSTL(c.first, mesh); }, c.second));
  tests::WriteFile(folder.Path("\u00E9.stl"), kText);
  EXPECT_EQ(LoadSTL(folder.WidePath("\u00E9.stl"), mesh), zvSTLForm::text);
  EXPECT_EQ(mesh.GetTriangles().size(), 1u);
  EXPECT_TRUE(tests::ThrowsId<zvSTLParserException>(
      [&] { LoadSTL(folder.WidePath("\u00E9.stl/x"), mesh); }, 3500));
}

// What admesh says of a file, or nothing where it isn't there or doesn't take it.
std::string SaidByAdmesh(const std::string& file) {
  std::string said;
  std::FILE* const pipe = ::popen(("admesh -n " + file + " 2>&1").c_str(), "r");
  for (int c = 0; (c = std::fgetc(pipe)) != EOF;) said += static_cast<char>(c);
  ::pclose(pipe);
  return said.find("Min X") == std::string::npos ? "" : said;
}

double NumberBehind(const std::string& text, const std::string& words) {
  return tests::NumberFrom(text.c_str() + text.find(words) + words.size());
}

TEST(STLReader, ForeignFilesAreReadAsOthersReadThem) {
  const std::filesystem::path folder = tests::DataFolder("stl");
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "no sample data";
  const struct {
    const char* name;
    std::uint32_t id;
    std::size_t triangles;
    zvSTLForm form;
  } cases[] = {
      {"cube_text_leading_space_crlf", 0, 12, zvSTLForm::text},
      {"empty_binary", 6251, 0, {}},
      {"empty_text", 0, 0, zvSTLForm::text},
      {"featuretype", 0, 3476, zvSTLForm::binary},
      {"halfdonut_binary_solid_header_extra_byte", 3511, 0, {}},
      {"idler_riser_binary_solid_header", 0, 1572, zvSTLForm::binary},
      {"moon_text_nonascii_name", 0, 116, zvSTLForm::text},
      {"star_text_end_loop_derived", 0, 68, zvSTLForm::text},
      {"tray_bottom_text_crlf", 0, 4520, zvSTLForm::text},
      {"triangle_and_empty_solid_text", 0, 1, zvSTLForm::text},
      {"two_bodies_mixed_case", 0, 12, zvSTLForm::text},
      {"two_bodies_text_crlf", 0, 12, zvSTLForm::text},
      {"wavy_vase_open", 0, 3312, zvSTLForm::binary},
  };
  for (const auto& c : cases) {
    const std::string file = folder / (std::string(c.name) + ".stl");
    const Result result = Load(tests::FileText(file));
    EXPECT_EQ(result.id, c.id) << c.name;
    if (c.id != 0) continue;
    EXPECT_EQ(result.mesh.GetTriangles().size(), c.triangles) << c.name;
    EXPECT_EQ(result.form, c.form) << c.name;
    const std::string said = SaidByAdmesh(file);
    if (said.empty()) continue;
    EXPECT_EQ(NumberBehind(said, "Number of facets                 :"), c.triangles) << c.name;
    for (int axis = 0; axis < 3; ++axis) {
      const std::string name(1, static_cast<char>('X' + axis));
      EXPECT_NEAR(NumberBehind(said, "Min " + name + " ="), result.mesh.GetMinimum()[axis], 1e-6);
      EXPECT_NEAR(NumberBehind(said, "Max " + name + " ="), result.mesh.GetMaximum()[axis], 1e-6);
    }
  }
}

using File = zvSTLFile<double>;

// Leaves everything to its base.
struct NothingParser : zvParser<int> {
  NothingParser() : zvParser(misc::MakeAutoPointer<int>(0)) {}
};

TEST(Parser, WhatNobodyImplementsIsRefused) {
  NothingParser parser;
  tests::MemoryInput stream(nullptr, 0);
  for (const auto& call : std::vector<std::function<void()>>{
           [&] { parser.Initialise(stream); }, [&] { parser.Parse(stream); },
           [&] { parser.BeforeParse(); }, [&] { parser.AfterParse(); }, [&] { parser.OnLine(); },
           [&] { parser.AfterLine(); }})
    EXPECT_TRUE(ThrowsId<zvParserException>(call, 6250, L"Parser not implemented !"));
  EXPECT_TRUE(
      ThrowsId<zvParserException>([&] { parser.UnknownKeyword("x"); }, 6251, L"Unknown keyword !"));
}

// Takes colours, and skips what it doesn't know.
class ColourParser : public zvParserSTL<double> {
 public:
  explicit ColourParser(const misc::zvAutoPointer<File>& file) : zvParserSTL(file) {
    Register("color", misc::MakeAutoPointer<Colour>(file, m_seen));
    Register("vertex", misc::MakeAutoPointer<Colour>(file, m_seen));
  }
  void UnknownKeyword(std::string_view word) override { m_seen += "?" + std::string(word) + ";"; }
  void AfterLine() override { m_seen += "."; }
  const std::string& GetSeen() const { return m_seen; }

 private:
  struct Colour final : zvParserCommand<double> {
    Colour(const misc::zvAutoPointer<File>& file, std::string& text)
        : zvParserCommand(file), seen(text) {}
    void Execute(std::string_view line, int number) override {
      seen += std::to_string(number) + ":" + std::string(line) + ";";
    }
    std::string& seen;
  };

  std::string m_seen;
};

TEST(Parser, CommandsCanBeAddedAndChanged) {
  const auto file = misc::MakeAutoPointer<File>();
  ColourParser parser(file);
  tests::MemoryInput stream("\tsolid\n\n  color red\r\nshape 2\nvertex x\nendsolid\ncolor blue",
                            58);
  parser.Parse(stream);
  EXPECT_EQ(parser.GetSeen(), "..3:color red;.?shape;.5:vertex x;..");
  EXPECT_TRUE(file->IsEndReached());
}

// Stands at the last line that an int counts.
struct LateParser : zvParserSTL<double> {
  using zvParserSTL::zvParserSTL;
  void BeforeParse() override { m_number = std::numeric_limits<int>::max() - 1; }
};

TEST(Parser, LinesAreCountedAsFarAsAnIntGoes) {
  LateParser parser(misc::MakeAutoPointer<File>());
  tests::MemoryInput stream("solid\n\n\nvertex\n", 15);
  try {
    parser.Parse(stream);
    ADD_FAILURE();
  } catch (const zvSTLParserException& e) {
    EXPECT_EQ(e.GetDetail(), std::numeric_limits<int>::max());
  }
}

TEST(Parser, ANumberIsAWholeText) {
  float value = 7;
  EXPECT_TRUE(ReadSTLNumber("+.5", value));
  EXPECT_EQ(value, 0.5f);
  for (const char* text : {"", "+", "-", "++1", "+-1", "1e", "e1", "1 ", "0x1", "1d3", "1,5"})
    EXPECT_FALSE(ReadSTLNumber(text, value)) << text;
}

// Delivers one byte at a time.
struct Trickle final : misc::zvBinInputStream {
  explicit Trickle(std::string bytes) : text(std::move(bytes)) {}
  void Read(void* buffer, misc::zvStreamSize& size) override {
    size = next < text.size() && size > 0;
    if (size != 0) *static_cast<char*>(buffer) = text[next++];
  }
  std::string text;
  std::size_t next = 0;
};

TEST(Parser, BlocksOfAnySizeGiveTheSameLines) {
  std::string text = "solid\n";
  for (int i = 0; i < 3000; ++i)  // several blocks of the reader
    text += "facet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 " +
            std::to_string(i) + ".25 0\nendloop\nendfacet\n";
  Trickle trickle(text);
  tests::MemoryInput whole(text);
  for (misc::zvBinInputStream* stream : {static_cast<misc::zvBinInputStream*>(&trickle),
                                         static_cast<misc::zvBinInputStream*>(&whole)}) {
    const auto file = misc::MakeAutoPointer<File>(measures::zvUnitsFactory::inch);
    zvParserSTL<double>(file).Parse(*stream);
    EXPECT_FALSE(file->IsEndReached());
    const zvTMesh<double> mesh = file->TakeMesh();
    ASSERT_EQ(mesh.GetTriangles().size(), 3000u);
    for (int i = 0; i < 3000; ++i) ASSERT_EQ(mesh.GetVertices()[3 * i + 2].y, i + 0.25);
  }
}

}  // namespace
}  // namespace cadcam
