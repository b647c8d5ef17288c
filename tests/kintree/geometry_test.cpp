#include <kandrel/cadcam/stl_parser_exception.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/toolpath_graphic.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/memory_streams.h>

namespace kintree {
namespace {

TEST(Geometry, MeshesAndGraphicsAreSharedAndChangeTheirUnitsOnce) {
  const auto mesh = MakeAutoPointer<cadcam::zvTMesh<float>>();
  mesh->AddVertex({0, 254, 0});
  mkdPolygonalGeometry body(L"body", mesh, L"body.stl", kMetric);
  mkdWorkPiece part(L"workpiece", mesh, L"body.stl", kMetric);
  EXPECT_EQ(body.GetMesh().Get(), mesh.Get());
  EXPECT_EQ(body.GetSourceFile(), L"body.stl");
  EXPECT_EQ(body.GetKindTags()[0], 2);
  body.SetUnits(kInch);
  part.SetUnits(kInch);
  EXPECT_EQ(mesh->GetVertices()[0].y, 10);

  const auto graphic = MakeAutoPointer<zvToolPathGraphic<float>>(kMetric);
  graphic->Begin({1, 0, 0}, {0, 0, 25.4f});
  mkdToolpathGeometry path(L"toolpath", graphic, L"p.asc", kMetric);
  EXPECT_EQ(path.GetKindTags()[0], 1);
  path.SetUnits(kInch);
  EXPECT_EQ(graphic->GetPoints(0)[0].z, 1);
  mkdToolpathGeometry(L"", nullptr, L"", kMetric).SetUnits(kInch);
  mkdPolygonalGeometry(L"", nullptr, L"", kMetric).SetUnits(kInch);
}

TEST(Geometry, AStockCountsTheMeshesThatFollowTheFirst) {
  mkdStockGeometry stock(L"stock", nullptr, L"", kMetric);
  EXPECT_EQ(stock.GetMeshVersion(), 0u);
  EXPECT_EQ(stock.misc::zvVersionedObject::GetVersion(), 0);
  for (const void* data : stock.GetSimulationData()) EXPECT_EQ(data, nullptr);
  const auto mesh = MakeAutoPointer<cadcam::zvTMesh<float>>();
  stock.SetMesh(mesh);
  EXPECT_EQ(stock.GetMeshVersion(), 1u);
  EXPECT_EQ(stock.GetMesh().Get(), mesh.Get());
}

TEST(HeldTool, ShowsTheCuttingPartOfItsToolInTheObjectsUnits) {
  const auto tool = MakeAutoPointer<cadcam::zvEndMill>();  // 10 mm across, flutes of 20 mm
  mkdHeldTool::Appearances looks;
  looks[mkdHeldTool::holder] = {{{0, 1, 1}}, {{1, 1, 0}}, true, false};
  mkdHeldTool held(L"tool", tool, 0.1, looks, kMetric);
  EXPECT_EQ(held.GetMesh()->GetMinimum(), FloatVector(-5, -5, 0));
  EXPECT_EQ(held.GetMesh()->GetMaximum(), FloatVector(5, 5, 20));
  EXPECT_EQ(held.GetMeshVersion(), 0u);
  EXPECT_EQ(held.GetTool().Get(), tool.Get());
  EXPECT_TRUE(held.GetPartAppearance(mkdHeldTool::arbor).isVisible);
  EXPECT_FALSE(held.GetPartAppearance(mkdHeldTool::holder).isVisible);
  EXPECT_TRUE(held.GetPartAppearance(mkdHeldTool::holder).isDefaultTaken);
  EXPECT_EQ(held.GetPartAppearance(mkdHeldTool::holder).defaultAppearance.colour,
            FloatVector(1, 1, 0));

  held.SetUnits(kInch);
  EXPECT_NEAR(tool->GetDiameter(), 10 / 25.4, 1e-12);
  EXPECT_NEAR(held.GetTolerance(), 0.1 / 25.4, 1e-12);
  EXPECT_NEAR(held.GetMesh()->GetMaximum().z, 20 / 25.4, 1e-6);
  const mkdHeldTool metric(L"tool", tool, 0.1, {}, kMetric);
  EXPECT_NEAR(metric.GetMesh()->GetMaximum().z, 20, 1e-5);
  EXPECT_TRUE(ThrowsNull([] { mkdHeldTool(L"tool", nullptr, 0.1, {}, kMetric); }));
}

TEST(HeldTool, ThatIsRefusedLeavesTheCallersTool) {
  for (const double tolerance : {kNaN, 0.0, -1.0, -kInfinity, 1e300}) {
    const auto tool = MakeAutoPointer<cadcam::zvEndMill>();
    const std::wstring text = tolerance > 0 ? L"profile tolerance larger than toolRadius"
                                            : L"Polygonization tolerance is invalid.";
    EXPECT_TRUE(ThrowsId<misc::zvException>(
        [&] { mkdHeldTool(L"tool", tool, tolerance, {}, kInch); }, 0, text));
    EXPECT_EQ(tool->GetUnits(), kMetric);
    EXPECT_EQ(tool->GetDiameter(), 10);
  }
}

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
