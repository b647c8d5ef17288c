#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/kintree/held_tool.h>
#include <tests/kintree/machine_files.h>

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

}  // namespace
}  // namespace kintree
