#include <kandrel/cadcam/stl_parser_exception.h>
#include <kandrel/kintree/toolpath_graphic.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/memory_streams.h>

namespace kintree {
namespace {

using Graphic = zvToolPathGraphic<float>;

Graphic Read(const std::string& text) {
  Graphic graphic(kMetric);
  graphic.Begin({}, {9, 9, 9});  // goes
  MemoryInput stream(text);
  ReadToolPathGraphic(stream, graphic);
  return graphic;
}

// The colour and the points of each polyline, e.g. "111: 123 456, ".
std::string InWords(const Graphic& graphic) {
  std::ostringstream words;
  words.imbue(std::locale::classic());
  for (std::size_t i = 0; i < graphic.GetNumberOfPolyLines(); ++i) {
    const auto& c = graphic.GetColour(i);
    words << c.x << c.y << c.z << ':';
    for (const auto& p : graphic.GetPoints(i)) words << ' ' << p.x << p.y << p.z;
    words << ", ";
  }
  return words.str();
}

TEST(ToolPathGraphic, ReadsPolylinesPointsAndColours) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {" ;\t\r\n;; ", ""},
      {"PA 1 2 3 PT 4 5 6 PE 7 8 9", "111: 123 456 789, "},
      {"PA;1;2;3;;PE;4;5;6;", "111: 123 456, "},
      {"RGB 1 0 0\r\nPA\t1 2 3\nRGB 0 1 0 PT 4 5 6 PA 7 8 9", "100: 123 456, 010: 789, "},
      {"PT 1 2 3 PT 4 5 6 PE 7 8 9", "111: 123, 111: 456, 111: 789, "},
      {"PA 1 2 3 PE 4 5 6 PT 7 8 9", "111: 123 456, 111: 789, "},
      {"PA +1 .5e1 -0.25", "111: 15-0.25, "},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(InWords(Read(text)), expected) << text;
}

TEST(ToolPathGraphic, RefusesOtherWordsAndWhatIsNoNumber) {
  using cadcam::zvParserException;
  for (const char* text : {"XX", "PA 1 2 3 4", "pa 1 2 3", "PA 1 2 3\n\nRG 1 2 3"})
    EXPECT_TRUE(ThrowsId<zvParserException>([&] { Read(text); }, 6251, L"Unknown keyword !"))
        << text;
  for (const char* text :
       {"PA", "PA 1 2", "PA 1 2 PT", "PA 1 2 nan", "PA 1e39 0 0", "RGB 1 2 x", "PA 1,5 2 3"})
    EXPECT_TRUE(ThrowsId<misc::zvmiscException>([&] { Read(text); }, 2579)) << text;
  try {
    Read("PA 1 2 3\n\nRG 1 2 3");
    FAIL();
  } catch (const zvParserException& e) {
    EXPECT_EQ(e.GetDetail(), 3);
  }
  Graphic kept(kMetric);
  kept.Begin({}, {1, 2, 3});
  const std::string cut = "PT 4 5 6 PT 7";
  MemoryInput stream(cut);
  EXPECT_THROW(ReadToolPathGraphic(stream, kept), misc::zvmiscException);
  EXPECT_EQ(InWords(kept), "000: 123, ");
}

TEST(ToolPathGraphic, ATextOfManyBlocksIsReadWhole) {
  std::string text;
  for (int i = 0; i < 20000; ++i) text += "PT " + std::to_string(i) + " 0.125 -7;\n";
  const Graphic graphic = Read(text);
  ASSERT_EQ(graphic.GetNumberOfPolyLines(), 20000u);
  for (std::size_t i = 0; i < 20000; ++i)
    ASSERT_EQ(graphic.GetPoints(i)[0], Graphic::Point(static_cast<float>(i), 0.125f, -7));
}

TEST(ToolPathGraphic, AMissingFileIsAnEmptyGraphic) {
  const ScratchFolder folder;
  Graphic graphic(kMetric);
  WriteFile(folder.Path("p.asc"), "PA 1 2 3 PE 4 5 6");
  EXPECT_TRUE(LoadToolPathGraphic(folder.WidePath("p.asc"), graphic));
  EXPECT_EQ(InWords(graphic), "111: 123 456, ");
  EXPECT_FALSE(LoadToolPathGraphic(folder.WidePath("none.asc"), graphic));
  EXPECT_TRUE(graphic.IsEmpty());
  EXPECT_FALSE(LoadToolPathGraphic(folder.WidePath(""), graphic));
}

TEST(ToolPathGraphic, IndicesAreChecked) {
  Graphic graphic(kMetric);
  for (const auto& action : std::vector<std::function<void()>>{[&] { graphic.Append({}); },
                                                               [&] { graphic.GetColour(0); },
                                                               [&] { graphic.GetPoints(0); }})
    EXPECT_TRUE(ThrowsId<misc::zvmiscException>(action, 2052));
}

}  // namespace
}  // namespace kintree
