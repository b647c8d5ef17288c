#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tool_approximation_exception.h>
#include <kandrel/cadcam/tools/revolve_profile.h>
#include <kandrel/cadcam/tools/tool_mesh.h>
#include <kandrel/misc/mathdef_exception.h>
#include <kandrel/misc/misc_exception.h>
#include <tests/cadcam/tools/mesh_laws.h>
#include <tests/cadcam/tools/tool_cases.h>
#include <tests/support/numbers.h>
#include <tests/support/points.h>
#include <tests/support/seeded.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using tests::IsClosed;
using tests::MakeTool;
using tests::Point;
using tests::ThrowsId;
using tests::VolumeOf;
using Points2d = tests::Points;
using Part = zvToolPartDefinition<double>;
using Holder = zvHolderDefinition<double>;
using Arbor = zvArborDefinition<double>;

using tests::kInch;
using tests::kMetric;
const double kPi = std::acos(-1.0);

template <class T = double>
zvToolMeshCreator<T> MeshesOf(const zvTool& tool, const zvToolMeshRules& rules = {}) {
  zvToolMeshCreator<T> creator(rules);
  tool.AcceptVisitor(static_cast<zvToolBranchVisitor&>(creator));
  return creator;
}

// Of a regular polygon of n corners to the circle around it.
double AreaFactor(double n) {
  return n / (2 * kPi) * std::sin(2 * kPi / n);
}

TEST(ToolMesh, EnclosesTheVolumesOfTheDefaults) {
  const struct {
    const char* type;
    double cutting, nonCutting;
  } cases[] = {{"zvEndMill", 1570.80, 1570.80},     {"zvSpherMill", 1832.60, 1178.10},
               {"zvBullMill", 1938.94, 1178.10},    {"zvDrill", 2432.73, 1507.96},
               {"zvChamferMill", 4501.90, 1570.80}, {"zvTaperMill", 2284.20, 314.61},
               {"zvDoveMill", 980.18, 1709.03},     {"zvLolMill", 339.29, 961.33}};
  // What chords cut off.
  for (const auto& c : cases) {
    const auto meshes = MeshesOf(*MakeTool(c.type), {.tolerance = 0.001});
    EXPECT_LT(VolumeOf(meshes.GetMesh(0)), c.cutting) << c.type;
    EXPECT_GT(VolumeOf(meshes.GetMesh(0)), 0.999 * c.cutting) << c.type;
    EXPECT_LT(VolumeOf(meshes.GetMesh(1)), c.nonCutting + 0.01) << c.type;
    EXPECT_GT(VolumeOf(meshes.GetMesh(1)), 0.999 * c.nonCutting) << c.type;
  }
  const auto meshes = MeshesOf(*MakeTool("zvEndMill"));
  EXPECT_NEAR(VolumeOf(meshes.GetMesh(0)), 500 * kPi * AreaFactor(16), 1e-9);
  EXPECT_NEAR(VolumeOf(meshes.GetMesh(0)), 1530.73, 0.005);
}

TEST(ToolMesh, PutsThePartsOnTopOfEachOther) {
  const auto tool = MakeTool("zvSpherMill", "fluteLength=12");
  const auto meshes = MeshesOf(*tool);
  const struct {
    int part;
    double bottom, top, radius;
  } cases[] = {{0, 0, 12, 5}, {1, 12, 40, 5}, {2, 40, 85, 8}, {3, 85, 115, 25}};
  for (const auto& c : cases) {
    EXPECT_EQ(meshes.GetMesh(c.part).GetMinimum(), Point(-c.radius, -c.radius, c.bottom));
    EXPECT_EQ(meshes.GetMesh(c.part).GetMaximum(), Point(c.radius, c.radius, c.top));
  }
  EXPECT_NEAR(VolumeOf(meshes.GetMesh(2)), (875 + 430) * kPi * AreaFactor(20), 1e-9);
  for (const int none : {-1, 4})
    EXPECT_TRUE(ThrowsId<misc::zvmiscException>([&] { meshes.GetMesh(none); }, 2052));

  // The parts of a generic tool stand on each other as well; all in the tool's units.
  const zvGenericRevolvedTool generic(Part({{0, 0}, {5, 0}, {5, 9}}, kInch),
                                      Part({{4, 0}, {4, 7}}, kInch), Arbor(2, 1, kInch),
                                      Holder(3, 6, kInch), kInch);
  const auto stacked = MeshesOf<float>(generic);
  const float tops[] = {9, 16, 18, 21};
  for (int part = 0; part < 4; ++part) {
    EXPECT_EQ(stacked.GetMesh(part).GetMaximum().z, tops[part]);
    EXPECT_EQ(stacked.GetMesh(part).GetMinimum().z, part == 0 ? 0 : tops[part - 1]);
    EXPECT_EQ(stacked.GetMesh(part).GetUnits(), kInch);
    EXPECT_TRUE(IsClosed(stacked.GetMesh(part)));
  }
}

TEST(ToolMesh, LeavesPartsEmptyThatAreNotWantedOrHaveNoExtent) {
  const auto tool = MakeTool("zvEndMill");
  for (unsigned parts = 0; parts <= kAllToolMeshParts; ++parts) {
    zvToolMeshCreator<float> creator(0.1f, 0, parts);
    tool->AcceptVisitor(static_cast<zvToolBranchVisitor&>(creator));
    for (int part = 0; part < 4; ++part)
      EXPECT_EQ(creator.GetMesh(part).IsEmpty(), (parts >> part & 1) == 0) << parts << ' ' << part;
  }
  EXPECT_TRUE(MeshesOf(*MakeTool("zvSlotMill")).GetMesh(nonCuttingPart).IsEmpty());
  EXPECT_TRUE(MeshesOf(*MakeTool("zvRadMill")).GetMesh(holderPart).IsEmpty());
  const auto lathe = MeshesOf(zvLatheTool());
  for (int part = 0; part < 4; ++part) EXPECT_TRUE(lathe.GetMesh(part).IsEmpty());
}

// A tool of the type with numbers that its checks take; the size may be anything.
zvToolType::ToolPointer RandomTool(const zvToolType& type, tests::Seeded& random) {
  for (;;) {
    zvToolValues values = type.makeDefault()->GetValues();
    zvToolNumbers& n = values.numbers;
    n.diameter = random.Real(1, 30);
    n.fluteLength = random.Real(0.5, 60);
    n.shoulderLength = n.fluteLength;
    if (!type.hasOneLength && random.Chance(0.8)) n.shoulderLength += random.Real(0, 30);
    for (const zvToolParameter parameter : type.parameters) {
      const auto kind = RowOf(parameter).kind;
      SetParameter(n, parameter,
                   kind == zvToolParameterRow::Kind::angle    ? random.Real(1, 180)
                   : kind == zvToolParameterRow::Kind::length ? random.Real(0, 20)
                                                              : random.Integer(0, 2));
    }
    if (random.Chance(0.3))
      values.shoulder.emplace(random.Real(0.5, 30), random.Real(n.fluteLength, n.shoulderLength),
                              kMetric);
    if (random.Chance(0.5)) values.holder = Holder(random.Real(1, 9), random.Real(1, 9), kMetric);
    values.arbor = Arbor({{0.4, 0}, {0.4, random.Real(1, 9)}, {3, 12}}, kMetric);
    try {
      return type.make(values);
    } catch (const misc::zvException&) {
    }
  }
}

// What the profile sweeps, by cones cut off; around the axis stand n copies of it.
double SweptVolume(const Points2d& profile) {
  double volume = 0;
  for (std::size_t i = 1; i < profile.size(); ++i) {
    const double a = std::max(profile[i - 1].x, 0.0), b = std::max(profile[i].x, 0.0);
    volume += kPi / 3 * (a * a + a * b + b * b) * (profile[i].y - profile[i - 1].y);
  }
  return volume;
}

// Hands out the profiles of which the meshes are made.
class Creator : public zvRevolvedToolMeshCreator<double> {
 public:
  using zvRevolvedToolMeshCreator::zvRevolvedToolMeshCreator;
  Points2d profiles[2];

 protected:
  void Take(const zvRevolvedToolApproximation<double>& approximation, double lift) override {
    profiles[0] = approximation.GetCuttingProfile().points;
    profiles[1] = approximation.GetNonCuttingProfile().points;
    zvRevolvedToolMeshCreator::Take(approximation, lift);
  }
};

TEST(ToolMesh, IsClosedForToolsOfEveryType) {
  tests::Seeded random;
  int refused = 0;
  for (const zvToolType* type : ToolTypes()) {
    for (int i = 0; i < 15; ++i) {
      const auto tool = RandomTool(*type, random);
      const double tolerance = tool->GetDiameter() / 2 * std::pow(10, random.Real(-3, -0.01));
      SCOPED_TRACE(std::string(type->name) + ' ' + std::to_string(i));
      Creator creator({.tolerance = tolerance}, kMetric);
      try {
        tool->AcceptVisitor(static_cast<zvToolVisitor&>(creator));
      } catch (const zvtoolapproximationException& e) {
        // No real outline: of the parameters that no check binds.
        static const std::set<std::string_view> kUnbound{"zvConvexTipMill", "zvBoreBar", "zvTapLH",
                                                         "zvTapRH"};
        EXPECT_TRUE(kUnbound.contains(type->name)) << e.what();
        ++refused;
        continue;
      }
      const auto inFloat = MeshesOf<float>(*tool, {.tolerance = tolerance});
      double last = 0;
      for (int part = 0; part < 4; ++part) {
        const zvTMesh<double>& mesh = creator.GetMesh(part);
        EXPECT_TRUE(IsClosed(mesh)) << part;
        EXPECT_TRUE(IsClosed(inFloat.GetMesh(part))) << part;
        if (mesh.IsEmpty()) continue;
        EXPECT_EQ(mesh.GetMinimum().x, -mesh.GetMaximum().x);
        EXPECT_EQ(mesh.GetMinimum().y, -mesh.GetMaximum().x);
        EXPECT_EQ(mesh.GetMaximum().y, mesh.GetMaximum().x);
        if (part > 1) continue;
        // Cutting and non-cutting part meet exactly where the flutes end.
        if (!creator.GetMesh(nonCuttingPart).IsEmpty()) {
          EXPECT_EQ(part == 0 ? mesh.GetMaximum().z : mesh.GetMinimum().z, tool->GetFluteLength());
        }
        const Points2d& profile = creator.profiles[part];
        for (const auto& p : profile) {
          EXPECT_GE(p.y, last - 1e-9);  // rises or is level
          EXPECT_LE(p.x, mesh.GetMaximum().x + 1e-9);
          last = std::max(p.y, last);
        }
        EXPECT_LE(last, tool->GetShoulderLength() + 1e-9);
        const double n = zvRevolveProfileSrv<double>(tolerance).CountAround(mesh.GetMaximum().x);
        EXPECT_NEAR(VolumeOf(mesh), SweptVolume(profile) * AreaFactor(n),
                    1e-9 * SweptVolume(profile) + 1e-9);
      }
    }
  }
  EXPECT_LT(refused, 15);
}

// The shoulder stands as a level disc on the axis.
TEST(ToolMesh, LeavesOutWhatHasNoThickness) {
  const auto ball = MakeTool("zvSlotMill",
                             "diameter=20 fluteLength=40 shoulderLength=40 cornerRadius=10 "
                             "cornerRadiusType=1 shoulder=10,40");
  EXPECT_TRUE(IsClosed(MeshesOf(*ball).GetMesh(cuttingPart)));
  EXPECT_TRUE(IsClosed(MeshesOf<float>(*ball).GetMesh(cuttingPart)));
}

TEST(ToolMesh, ExtrudesOutlinesAndTakesMeshesAsTheyAre) {
  const Points2d corner{{0, 0}, {6, 0}, {6, 2}, {2, 2}, {2, 6}, {0, 6}};
  Points2d clockwise(corner.rbegin(), corner.rend());
  Points2d joined = corner;
  joined.insert(joined.end(), {{0, 6}, {0, 0}});
  const auto solid = [](const Points2d& points, double height) {
    return zvExtrudedSolidDefinition<double>({{points}, {{{7, 7}}}}, height, {9, 9, 9}, kInch);
  };
  const struct {
    const char* what;
    Points2d points;
    double height, bottom, top;
  } cases[] = {{"concave", corner, 3, 7, 10},
               {"clockwise", clockwise, 3, 7, 10},
               {"ends where it begins", joined, 3, 7, 10},
               {"downwards", corner, -3, 4, 7}};
  for (const auto& c : cases) {
    zvToolPartMeshCreator<double> creator({}, kInch, 7);
    solid(c.points, c.height).AcceptVisitor(creator);
    EXPECT_TRUE(IsClosed(creator.GetMesh())) << c.what;
    EXPECT_NEAR(VolumeOf(creator.GetMesh()), 60, 1e-12) << c.what;
    EXPECT_EQ(creator.GetMesh().GetMinimum(), Point(0, 0, c.bottom)) << c.what;
    EXPECT_EQ(creator.GetMesh().GetMaximum(), Point(6, 6, c.top)) << c.what;
    EXPECT_EQ(creator.GetMesh().GetUnits(), kInch);
  }
  const auto meshOf = [&](const zvSolidDefinition<double>& body) {
    zvToolPartMeshCreator<float> creator({}, kMetric, 1);
    body.AcceptVisitor(creator);
    return creator.GetMesh();
  };
  EXPECT_TRUE(meshOf(zvExtrudedSolidDefinition<double>({}, 3, {}, kInch)).IsEmpty());
  EXPECT_TRUE(meshOf(solid(corner, 0)).IsEmpty());
  for (const Points2d& flat : {Points2d{{0, 0}, {4, 3}, {4, 0}, {0, 4}}, {{0, 0}, {4, 3}}})
    EXPECT_TRUE(ThrowsId<mathdef::zvWMException>([&] { meshOf(solid(flat, 3)); }, 7051));
  for (const double bad : {tests::kNaN, tests::kInfinity, 1e39})
    for (const auto& body : {solid({{0, 0}, {bad, 0}, {0, 1}}, 3), solid(corner, bad)})
      EXPECT_TRUE(ThrowsId<zvtoolapproximationException>([&] { meshOf(body); }, 0));

  zvTMesh<double> triangle(kInch);
  triangle.AddTriangle({Point(0, 0, 2), Point(1, 0, 2), Point(0, 1, 2)}, Point(0, 0, -1));
  const zvLatheTool lathe(Holder(solid(corner, 5)), Arbor(4, 1, kInch),
                          Part(zvMeshSolidDefinition<double>(triangle)), kInch);
  const auto meshes = MeshesOf(lathe);
  EXPECT_EQ(meshes.GetMesh(cuttingPart).GetVertices()[1], Point(1, 0, 2));
  EXPECT_EQ(meshes.GetMesh(cuttingPart).GetTriangles()[0], triangle.GetTriangles()[0]);
  EXPECT_TRUE(meshes.GetMesh(nonCuttingPart).IsEmpty());
  EXPECT_EQ(meshes.GetMesh(arborPart).GetMinimum().z, 2);
  EXPECT_EQ(meshes.GetMesh(holderPart).GetMinimum().z, 6);
  EXPECT_EQ(meshes.GetMesh(holderPart).GetMaximum().z, 11);
  zvRevolvedToolMeshCreator<float> creator({}, kInch);
  EXPECT_TRUE(ThrowsId<zvtoolapproximationException>(
      [&] { lathe.AcceptVisitor(static_cast<zvToolVisitor&>(creator)); }, 2176,
      L"Couldn't handle zvLatheTool object"));
}

TEST(ToolMesh, RefusesWithNothingToAskFor) {
  zvToolMeshCreator<double> creator({.tolerance = 5});
  EXPECT_TRUE(tests::ThrowsNull([&] { creator.GetMesh(0); }));
  const auto tool = MakeTool("zvDrill");
  EXPECT_TRUE(ThrowsId<misc::zvException>(
      [&] { tool->AcceptVisitor(static_cast<zvToolBranchVisitor&>(creator)); }, 0,
      L"profile tolerance larger than toolRadius"));
  EXPECT_TRUE(creator.GetCreator().IsNull());
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { creator.Visit(static_cast<const zvTool&>(*tool)); },
                                          0, L"Abstract class passed in ToolMeshCreator"));
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { MeshesOf(*tool, {.tolerance = 1e-300}); }, 0,
                                          L"Polygonization tolerance is invalid."));
  const Arbor endless({{1, 0}, {tests::kInfinity, 3}}, kMetric);
  EXPECT_TRUE(ThrowsId<zvtoolapproximationException>(
      [&] { MeshesOf(zvEndMill(10, Holder(), 9, 9, endless, kMetric)); },
      zvtoolapproximationException::kInvalidArborProfile, L"Invalid Arbor Profile"));
}

}  // namespace
}  // namespace cadcam
