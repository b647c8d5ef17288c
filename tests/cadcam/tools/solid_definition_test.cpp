#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/profile_validation.h>
#include <kandrel/cadcam/tools/solid_users.h>
#include <kandrel/cadcam/tools/tool_part.h>
#include <kandrel/misc/misc_exception.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>

#include "tool_cases.h"

namespace cadcam {
namespace {

using geoDef::zv2dArc;
using geoDef::zv2dContour;
using geoDef::zv2dLine;
using geoDef::zv2dPolyLine;
using tests::IdOf;
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

// Ids of radius, height, start, negative and last.
struct Validation {
  std::shared_ptr<zvProfileValidation> validation;
  std::array<std::uint32_t, 5> ids;
};
const Validation kValidations[] = {
    {std::make_shared<zvCuttingPartValidation>(), {2198, 2200, 2202, 2206, 2210}},
    {std::make_shared<zvNonCuttingPartValidation>(), {2199, 2201, 2203, 2207, 2211}},
    {std::make_shared<zvArborValidation>(), {2136, 2137, 2204, 2208, 2212}},
    {std::make_shared<zvHolderValidation>(), {2134, 2135, 2205, 2209, 2213}},
    {std::make_shared<zvToolPartProfileValidation>(), {2145, 2146, 2160, 2161, 2162}}};

// The id of `part` for what a line says of a profile.
std::uint32_t IdFor(const Validation& part, const std::string& word) {
  const std::array<std::string, 5> words{"radius", "height", "start", "negative", "last"};
  for (std::size_t i = 0; i < words.size(); ++i)
    if (words[i] == word) return part.ids[i];
  EXPECT_EQ(word, "ok");
  return 0;
}

// The id of the zvcadcamException of a profile, 0 for none.
std::uint32_t Failure(const Validation& part, const zv2dContour<double>& profile) {
  const std::string failure = tests::FailureOf([&] { part.validation->Validate(profile); });
  return failure == "nothing" ? 0 : static_cast<std::uint32_t>(std::stoul(failure));
}

TEST(ProfileValidation, EachClassReportsWithItsOwnIds) {
  std::ifstream file(KANDREL_SOURCE_DIR "/tests/cadcam/data/part_profiles.txt");
  std::size_t cases = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    ++cases;
    const std::size_t arrow = line.find(" => ");
    const auto words = tests::SplitAt(line.substr(arrow + 4), ' ');
    const auto points = tests::PointsOf(line.substr(0, arrow));
    // The same points as lines and as one polyline, which is one element: its end isn't looked at.
    const zv2dContour<double> lines = LinesThrough(points);
    for (const Validation& part : kValidations) {
      const bool isCutting = &part == &kValidations[0];
      const std::string& word = isCutting ? words.back() : words.front();
      EXPECT_EQ(Failure(part, lines), IdFor(part, word)) << line;
      const zv2dContour<double> polyLine({zv2dPolyLine<double>{points}});
      const std::string& alone = words.front() == "last" ? "ok" : words.front();
      EXPECT_EQ(Failure(part, polyLine), IdFor(part, alone)) << line;
    }
  }
  EXPECT_GT(cases, 30u);
}

TEST(ProfileValidation, SeesTheEndsOfCurvesAndNothingWithin) {
  const zvHolderValidation holder;
  const zvCuttingPartValidation cutting;
  EXPECT_EQ(IdOf([&] { holder.Validate({}); }), 0u);
  // A ball of radius 5 on the axis, its flank above; the holder sees its first point at radius 0.
  const zv2dContour<double> ball(
      {zv2dArc<double>({0, 5}, 5, 270, 90), zv2dLine<double>{{5, 5}, {5, 9}}});
  EXPECT_EQ(IdOf([&] { cutting.Validate(ball); }), 0u);
  EXPECT_EQ(IdOf([&] { holder.Validate(ball); }), 2134u);
  // This arc dips below the axis between ends that are good.
  const zv2dContour<double> dip(
      {zv2dArc<double>({1, 2}, 2, 270, -270), zv2dLine<double>{{3, 2}, {3, 4}}});
  EXPECT_LT(Extents(dip).minimum.x, -0.9);
  EXPECT_EQ(IdOf([&] { holder.Validate(dip); }), 0u);
  // A gap between elements: the second line would rise by 4, but all that counts is where it ends.
  const zv2dContour<double> gap(
      {zv2dLine<double>{{5, 0}, {5, 9}}, zv2dLine<double>{{5, 4}, {5, 8}}});
  EXPECT_EQ(IdOf([&] { holder.Validate(gap); }), 2135u);
  EXPECT_EQ(ProfilePoints(gap), tests::PointsOf("5,0;5,9;5,8"));
  // Contours within contours are dissolved.
  const zv2dContour<double> nested({LinesThrough(tests::PointsOf("5,0;5,3;9,3"))});
  EXPECT_EQ(IdOf([&] { holder.Validate(nested); }), 2213u);
}

// Where no corner shows it.
TEST(ProfileValidation, SeesEveryNumberThatIsNone) {
  using Point = geoDef::zv2dPoint<double>;
  const zv2dLine<double> good{{5, 0}, {5, 9}};
  for (const Validation& part : kValidations)
    for (const bool isRadius : {true, false}) {
      const Point bad = isRadius ? Point{tests::kNaN, 9} : Point{5, tests::kNaN};
      const zv2dContour<double> cases[] = {
          zv2dContour<double>({good, zv2dLine<double>{bad, {5, 12}}}),
          zv2dContour<double>({good, zv2dPolyLine<double>{{bad, {5, 12}}}}),
          zv2dContour<double>({good, zv2dContour<double>({zv2dPolyLine<double>{{bad, {5, 12}}}})}),
          zv2dContour<double>({good, geoDef::zv2dParabola<double>{bad, {5, 12}}}),
          zv2dContour<double>({geoDef::zv2dEllipse<double>{bad, {5, 0}, {4, 1}}}),
          zv2dContour<double>({geoDef::zv2dEllipse<double>{{4, 0}, {5, 0}, bad}})};
      for (const auto& profile : cases)
        EXPECT_EQ(Failure(part, profile), part.ids[isRadius ? 0 : 1]) << &profile - cases;
    }
}

// The slots for segments, by themselves.
TEST(ProfileValidation, CylindersAndConesDifferInTheirSmallestRadius) {
  const zvArborValidation arbor;
  EXPECT_EQ(IdOf([&] { arbor.ValidateCylinderSegment(1e-6, 1); }), 2136u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateCylinderSegment(1.1e-6, 1e-6); }), 0u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateCylinderSegment(1, 0.9e-6); }), 2137u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateCylinderSegment(0, 0); }), 2136u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateConeSegment(1e-6, 1e-6, 1e-6); }), 0u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateConeSegment(1, 0.9e-6, 0); }), 2136u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateConeSegment(0.9e-6, 1, 0); }), 2136u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateConeSegment(1, 2, tests::kNaN); }), 2137u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateSegments(LinesThrough(tests::PointsOf("5,7;5,9;-1,9"))); }),
            0u);
}

}  // namespace
}  // namespace cadcam
