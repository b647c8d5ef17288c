#include <kandrel/cadcam/stl/parser_stl.h>
#include <kandrel/cadcam/stl_parser_exception.h>
#include <tests/support/memory_streams.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using File = zvSTLFile<double>;
using tests::ThrowsId;

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
