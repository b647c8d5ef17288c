#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/solid_users.h>
#include <kandrel/cadcam/tools/tool_part.h>
#include <kandrel/misc/misc_exception.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>

#include "tool_cases.h"

namespace cadcam {
namespace {

using tests::kInch;
using tests::kMetric;
using tests::ThrowsId;
using Solid = zvSolidDefinition<double>;
using Revolved = zvRevolvedSolidDefinition<double>;
using Extruded = zvExtrudedSolidDefinition<double>;
using Mesh = zvMeshSolidDefinition<double>;
using Part = zvToolPartDefinition<double>;

Mesh Corner() {
  zvTMesh<double> mesh(kMetric);
  mesh.AddTriangle({zvTPoint3d<double>{0, 0, -1}, {1, 0, 0}, {0, 1, 25.4}}, {1, 0, 0});
  return Mesh(mesh);
}
const Revolved kRevolved(LinesThrough(tests::PointsOf("2,0;7,3;5,9")), kMetric);
const Extruded kExtruded({{{{1, 2}, {3, 4}}}, {{{5, 6}}}}, 8, {1, 2, 3}, kMetric);
const Mesh kMesh = Corner();

// A kind of its own.
struct Other : Solid {
  Other() : Solid(kMetric) {}
  Pointer Clone() const override { return misc::MakeAutoPointer<Other>(*this); }
  double GetHeight() const override { return 3; }
  void AcceptVisitor(zvSolidDefinitionVisitor<double>& visitor) const override {
    visitor.Visit(*this);
  }
  void AcceptVisitor(zvSolidDefinitionVisitorGetter<double>& visitor) override {
    visitor.Visit(*this);
  }
  void Scale(Units, double) override {}
};

TEST(Solids, KnowTheirHeightAndTheirPoints) {
  EXPECT_EQ(kRevolved.GetHeight(), 9);
  EXPECT_EQ(kRevolved.GetRadius(), 7);
  EXPECT_EQ(kRevolved.GetNumberOfElements(), 2u);
  EXPECT_EQ(kRevolved.GetFirstPoint()->x, 2);
  EXPECT_EQ(EndPoint(kRevolved.GetFirstElement())->x, 7);
  // The radius of a ball is reached within its arc.
  const Revolved ball(geoDef::zv2dContour<double>({geoDef::zv2dArc<double>({0, 5}, 5, 270, 180)}),
                      kMetric);
  EXPECT_EQ(ball.GetRadius(), 5);
  EXPECT_EQ(ball.GetHeight(), 10);
  const Revolved empty({}, kInch);
  EXPECT_EQ(empty.GetHeight(), 0);
  EXPECT_EQ(empty.GetRadius(), 0);
  EXPECT_FALSE(empty.GetFirstPoint());
  EXPECT_TRUE(ThrowsId<misc::zvmiscException>([&] { empty.GetFirstElement(); }, 2052));
  EXPECT_EQ(kExtruded.GetHeight(), 8);
  EXPECT_EQ(kExtruded.GetContour().points.size(), 2u);
  EXPECT_TRUE(Extruded({}, 1, {}, kMetric).GetContour().points.empty());
  EXPECT_EQ(kMesh.GetHeight(), 25.4);
  EXPECT_EQ(Mesh(zvTMesh<double>(kInch)).GetHeight(), 0);
  EXPECT_EQ(Mesh(zvTMesh<double>(kInch)).GetUnits(), kInch);
}

TEST(Solids, ScaleWhateverTheyHold) {
  Revolved revolved = kRevolved;
  Extruded extruded = kExtruded;
  Mesh mesh = kMesh;
  for (Solid* solid : std::initializer_list<Solid*>{&revolved, &extruded, &mesh})
    solid->SetUnits(kInch);
  const tests::Numbers inInch =
      tests::Flat(revolved.GetRadius(), revolved.GetHeight(), extruded.GetHeight(),
                  extruded.GetPoint().z, extruded.GetPolyLines()[0].points[1].y,
                  extruded.GetPolyLines()[1].points[0].x, mesh.GetHeight());
  const tests::Numbers inMetric{7, 9, 8, 3, 4, 5, 25.4};
  for (std::size_t i = 0; i < inMetric.size(); ++i)
    EXPECT_NEAR(inInch.at(i) * 25.4, inMetric[i], 1e-13) << i;
  EXPECT_EQ(mesh.GetMesh().GetUnits(), kInch);
  mesh.SetUnits(kMetric, true);
  EXPECT_NEAR(mesh.GetHeight(), 1, 1e-15);
  EXPECT_EQ(mesh.GetMesh().GetUnits(), kMetric);
  EXPECT_EQ(kMesh.GetHeight(), 25.4);
}

TEST(Solids, RevolvedOnesAloneAreHandedOut) {
  using Checker = zvCasting2SolidDefinitionChecker<double>;
  const Other other;
  const std::tuple<const Solid&, std::uint32_t, std::wstring> refused[] = {
      {kMesh, 2172, L"Couldn't handle mesh solid definition"},
      {kExtruded, 2171, L"Couldn't handle extruded solid definition"},
      {other, 2177, L"Couldn't handle solid definition"}};
  for (const auto& [solid, id, text] : refused) {
    const Solid& given = solid;
    EXPECT_TRUE(ThrowsId<zvcadcamException>(
        [&] { zvRevolvedSolidExtractor<double>::Extract(given); }, id, text));
    Checker checker;
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { given.AcceptVisitor(checker); }, id, text));
    EXPECT_EQ(checker.GetSolid(), nullptr);
  }
  EXPECT_EQ(&zvRevolvedSolidExtractor<double>::Extract(kRevolved), &kRevolved);
}

// Changes the solid it visits.
struct Doubler : zvSolidDefinitionVisitorGetter<double> {
  void Visit(Mesh& solid) override { solid.SetUnits(kInch, true); }
  void Visit(Extruded& solid) override { solid.SetUnits(kInch, true); }
  void Visit(Revolved& solid) override { solid.SetUnits(kInch, true); }
  void Visit(Solid& solid) override { solid.SetUnits(kInch, true); }
};

TEST(Solids, CopiesAreOfTheirKindAndStandAlone) {
  const Other other;
  for (const Solid* solid :
       std::initializer_list<const Solid*>{&kRevolved, &kExtruded, &kMesh, &other}) {
    zvSolidDefinitionCloner<double> cloner;
    solid->AcceptVisitor(cloner);
    Solid& clone = *cloner.GetClone();
    EXPECT_NE(&clone, solid);
    EXPECT_EQ(typeid(clone), typeid(*solid));
    EXPECT_EQ(clone.GetHeight(), solid->GetHeight());
    Doubler doubler;
    clone.AcceptVisitor(doubler);
    EXPECT_EQ(clone.GetUnits(), kInch);
    EXPECT_EQ(solid->GetUnits(), kMetric);
  }
}

TEST(ToolPart, IsMadeOfPointsOrOfAHeightAndARadius) {
  const auto profile = [](const Part& part) {
    return zvRevolvedSolidExtractor<double>::Extract(*part.GetSolidDefinition()).GetProfile();
  };
  EXPECT_EQ(profile(Part(9, 2, kInch)), LinesThrough(tests::PointsOf("2,0;2,9")));
  EXPECT_EQ(Part(9, 2, kInch).GetHeight(), 9);
  EXPECT_EQ(profile(Part(tests::PointsOf("8,0;9,4"), kInch)),
            LinesThrough(tests::PointsOf("8,0;9,4")));
  EXPECT_TRUE(profile(Part(tests::PointsOf("8,0"), kMetric)).IsEmpty());
  EXPECT_EQ(Part(kMesh).GetUnits(), kMetric);
  EXPECT_EQ(Part().GetHeight(), 0);
  EXPECT_TRUE(Part().GetSolidDefinition().IsNull());
  EXPECT_TRUE(ThrowsId<measures::zvmeasuresException>(
      [] { Part(1, 1, measures::zvUnitsFactory::Units(0)); }, 2141));

  Part part(9, 2, kMetric);
  Part copy(part);
  part.SetUnits(kInch);
  EXPECT_EQ(copy.GetHeight(), 9);
  copy = part;
  EXPECT_EQ(copy.GetSolidDefinition()->GetUnits(), kInch);
  EXPECT_NE(copy.GetSolidDefinition().Get(), part.GetSolidDefinition().Get());
  Part undefined;
  copy = undefined;
  copy.SetUnits(kInch);
  EXPECT_TRUE(copy.GetSolidDefinition().IsNull());
}

}  // namespace
}  // namespace cadcam
