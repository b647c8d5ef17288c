#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tool_approximation_exception.h>
#include <kandrel/cadcam/tools/mesh_factory.h>
#include <kandrel/cadcam/tools/revolve_profile.h>
#include <kandrel/cadcam/tools/tool_mesh.h>
#include <kandrel/misc/mathdef_exception.h>
#include <kandrel/misc/misc_exception.h>
#include <tests/cadcam/tools/tool_cases.h>
#include <tests/support/numbers.h>
#include <tests/support/points.h>
#include <tests/support/seeded.h>
#include <tests/support/throws_id.h>

#include <map>

namespace cadcam {
namespace {

using tests::kInfinity;
using tests::kNaN;
using tests::MakeTool;
using tests::Point;
using tests::ThrowsId;
using Points2d = tests::Points;
using Part = zvToolPartDefinition<double>;
using Holder = zvHolderDefinition<double>;
using Arbor = zvArborDefinition<double>;

using tests::kInch;
using tests::kMetric;
const double kPi = std::acos(-1.0);

template <class T>
zvTPoint3d<double> VertexOf(const zvTMesh<T>& mesh, zvMeshIndex index) {
  const auto& v = mesh.GetVertices()[static_cast<std::size_t>(index)];
  return {v.x, v.y, v.z};
}

// The volume that a closed mesh encloses, above 0 where its triangles turn outwards.
template <class T>
double VolumeOf(const zvTMesh<T>& mesh) {
  double volume = 0;
  for (const auto& t : mesh.GetTriangles()) {
    const auto [a, b, c] = t.corners;
    volume += Dot(VertexOf(mesh, a), Cross(VertexOf(mesh, b), VertexOf(mesh, c))) / 6;
  }
  return volume;
}

// Every side belongs to two triangles, once in each direction, where vertices of one place count
// as one; every triangle has three corners, and a normal that fits them; every vertex is used.
template <class T>
testing::AssertionResult IsClosed(const zvTMesh<T>& mesh) {
  using Place = std::array<T, 3>;
  std::map<std::pair<Place, Place>, int> sides;
  std::vector<char> isUsed(mesh.GetVertices().size());
  for (const auto& t : mesh.GetTriangles()) {
    std::array<Place, 3> places;
    for (std::size_t i = 0; i < 3; ++i) {
      const auto corner = static_cast<std::size_t>(t.corners[i]);
      const auto& v = mesh.GetVertices()[corner];
      places[i] = {v.x, v.y, v.z};
      isUsed[corner] = 1;
    }
    for (std::size_t i = 0; i < 3; ++i) {
      const Place &from = places[i], &to = places[(i + 1) % 3];
      if (from == to) return testing::AssertionFailure() << "two equal corners at z = " << from[2];
      if (from < to)
        ++sides[{from, to}];
      else
        sides[{to, from}] += 1000000;
    }
    const auto a = VertexOf(mesh, t.corners[0]);
    const auto normal = Cross(VertexOf(mesh, t.corners[1]) - a, VertexOf(mesh, t.corners[2]) - a);
    const zvTPoint3d<double> given(t.normal.x, t.normal.y, t.normal.z);
    if (!(Dot(normal, given) > 0.99 * normal.Length()))
      return testing::AssertionFailure() << "normal at z = " << a.z;
  }
  for (const auto& [side, uses] : sides)
    if (uses != 1000001)
      return testing::AssertionFailure()
             << uses % 1000000 << " triangles on one side and " << uses / 1000000
             << " on the other, at z = " << side.first[2] << " to " << side.second[2];
  if (std::count(isUsed.begin(), isUsed.end(), 0) > 0)
    return testing::AssertionFailure() << "vertex without triangle";
  return testing::AssertionSuccess();
}

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

TEST(ToolMesh, IsClosedForToolsOfEveryType) {
  tests::Seeded random;
  int refused = 0;
  for (const zvToolType* type : ToolTypes()) {
    for (int i = 0; i < 15; ++i) {
      const auto tool = RandomTool(*type, random);
      const double tolerance = tool->GetDiameter() / 2 * std::pow(10, random.Real(-3, -0.01));
      SCOPED_TRACE(std::string(type->name) + ' ' + std::to_string(i));
      std::optional<tests::Profiles> made;
      try {
        made.emplace(*tool, zvToolMeshRules{.tolerance = tolerance});
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
        const zvTMesh<double>& mesh = made->GetMesh(part);
        EXPECT_TRUE(IsClosed(mesh)) << part;
        EXPECT_TRUE(IsClosed(inFloat.GetMesh(part))) << part;
        if (mesh.IsEmpty()) continue;
        EXPECT_EQ(mesh.GetMinimum().x, -mesh.GetMaximum().x);
        EXPECT_EQ(mesh.GetMinimum().y, -mesh.GetMaximum().x);
        EXPECT_EQ(mesh.GetMaximum().y, mesh.GetMaximum().x);
        if (part > 1) continue;
        // Cutting and non-cutting part meet exactly where the flutes end.
        if (!made->GetMesh(nonCuttingPart).IsEmpty()) {
          EXPECT_EQ(part == 0 ? mesh.GetMaximum().z : mesh.GetMinimum().z, tool->GetFluteLength());
        }
        const Points2d& profile = part == 0 ? made->cutting : made->nonCutting;
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
  for (const double bad : {kNaN, kInfinity, 1e39})
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
  const Arbor endless({{1, 0}, {kInfinity, 3}}, kMetric);
  EXPECT_TRUE(ThrowsId<zvtoolapproximationException>(
      [&] { MeshesOf(zvEndMill(10, Holder(), 9, 9, endless, kMetric)); },
      zvtoolapproximationException::kInvalidArborProfile, L"Invalid Arbor Profile"));
}

using Profile = geoDef::zv2dPolyLine<double>;

const wchar_t* const kTolerance = L"Polygonization tolerance is invalid.";

template <class T = double>
zvTMesh<T> Revolved(const Points2d& points, double tolerance = 0.1, double lift = 0,
                    double largestAngle = 0) {
  return zvRevolveProfileSrv<T>(tolerance, largestAngle).Revolve({points}, kInch, lift);
}

TEST(MeshFactory, AsksForProfilesOfOneLength) {
  using Factory = zvMeshFactory<double>;
  using Line = Factory::Profile;
  EXPECT_TRUE(ThrowsId<misc::zvException>(
      [] { Factory::Create({Line(3)}, kInch); }, 0,
      L"zvMeshFactory::ValidateProfiles -> Profile list must contain at least two profiles!"));
  const std::vector<Line> uneven{Line(3), Line(3), Line(2)};
  EXPECT_TRUE(ThrowsId<misc::zvException>(
      [&] { Factory::ValidateProfiles(uneven); }, 0,
      L"zvMeshFactory::ValidateProfiles -> All profiles must contain the same number of points!"));
  // A flat strip: one triangle is left of the second pair, as the profiles meet at its top.
  const auto mesh = Factory::Create(
      {{{0, 0, 0}, {0, 0, 1}}, {{1, 0, 0}, {1, 0, 1}}, {{2, 0, 0}, {1, 0, 1}}}, kInch);
  EXPECT_EQ(mesh.GetUnits(), kInch);
  EXPECT_EQ(mesh.GetVertices().size(), 5u);
  ASSERT_EQ(mesh.GetTriangles().size(), 3u);
  for (const auto& triangle : mesh.GetTriangles()) EXPECT_EQ(triangle.normal, Point(0, -1, 0));
}

TEST(RevolveProfile, TakesAsManyStepsAroundAsTheToleranceAsksFor) {
  const struct {
    double radius, tolerance, angle, count;
  } cases[] = {{0.5, 0.1, 0, 8}, {5, 0.1, 0, 16}, {25, 0.1, 0, 36},  {5, 100, 0, 8},
               {5, 0.1, 10, 36}, {5, 0.1, 9, 40}, {5, 0.1, 100, 16}, {5, 0.01, 0, 52}};
  for (const auto& c : cases) {
    EXPECT_EQ(zvRevolveProfileSrv<double>(c.tolerance, c.angle).CountAround(c.radius), c.count)
        << c.radius << ' ' << c.tolerance << ' ' << c.angle;
    const auto mesh = Revolved({{0, 0}, {c.radius, 0}, {c.radius, 2}}, c.tolerance, 7, c.angle);
    EXPECT_EQ(mesh.GetTriangles().size(), 4 * c.count);
    EXPECT_EQ(mesh.GetMinimum(), Point(-c.radius, -c.radius, 7));
    EXPECT_EQ(mesh.GetMaximum(), Point(c.radius, c.radius, 9));
    EXPECT_EQ(mesh.GetUnits(), kInch);
    EXPECT_TRUE(IsClosed(mesh));
    const double turn = 2 * std::acos(-1.0) / c.count;
    EXPECT_NEAR(VolumeOf(mesh), c.radius * c.radius * c.count * std::sin(turn), 1e-9);
  }
}

TEST(RevolveProfile, EnclosesWhatAnyProfileSweeps) {
  const double factor = 16 / (2 * kPi) * std::sin(2 * kPi / 16);
  const struct {
    const char* what;
    Points2d points;
    double volume;
  } cases[] = {
      {"open at both ends", {{5, 0}, {5, 4}}, 100 * kPi},
      {"downwards", {{0, 4}, {5, 4}, {5, 0}}, 100 * kPi},
      {"double cone", {{0, 0}, {5, 3}, {0, 6}}, 50 * kPi},
      {"runs along the axis", {{0, -2}, {0, 0}, {5, 0}, {5, 4}, {0, 4}, {0, 9}}, 100 * kPi},
      {"equal points", {{0, 0}, {5, 0}, {5, 0}, {5, 4}, {5, 4}}, 100 * kPi},
      {"a hair off the axis", {{1e-13, 0}, {5, 0}, {5, 4}, {-1e-13, 4}}, 100 * kPi},
      {"beyond the axis", {{-1, 0}, {5, 0}, {5, 4}, {-3, 4}}, 100 * kPi},
      {"waist on the axis", {{5, 0}, {0, 3}, {5, 6}}, 50 * kPi},
      {"level step", {{0, 0}, {5, 0}, {5, 2}, {3, 2}, {3, 5}}, 77 * kPi},
      {"disc without thickness", {{5, 0}, {5, 3}, {0, 3}, {4, 3}}, 75 * kPi},
      {"rim without thickness", {{0, 0}, {5, 0}, {5, 3}, {7, 3}, {5, 3}, {0, 3}}, 75 * kPi},
      {"axis behind a spike", {{5, 0}, {5, 5}, {0, 5}, {0, 8}, {2, 8}, {0, 8}}, 125 * kPi},
      {"axis before a spike", {{5, 0}, {0, 0}, {0, 3}, {5, 3}, {5, 6}}, 75 * kPi},
      {"hollow", {{5, 0}, {5, 4}, {3, 4}, {3, 1}}, (100 - 27) * kPi},
  };
  for (const auto& c : cases) {
    EXPECT_TRUE(IsClosed(Revolved(c.points))) << c.what;
    EXPECT_NEAR(VolumeOf(Revolved(c.points)), factor * c.volume, 1e-9) << c.what;
    EXPECT_TRUE(IsClosed(Revolved<float>(c.points, 0.1, 1e4))) << c.what;
    EXPECT_NEAR(VolumeOf(Revolved<float>(c.points)), factor * c.volume, 1e-3) << c.what;
  }
  // What stood behind the spike is gone with it.
  EXPECT_EQ(Revolved({{5, 0}, {5, 5}, {0, 5}, {0, 8}, {2, 8}, {0, 8}}).GetMaximum().z, 5);
}

TEST(RevolveProfile, SweepsNothingWhereThereIsNoVolume) {
  for (const Points2d& points :
       {Points2d{}, Points2d{{5, 1}}, Points2d{{0, 0}, {0, 0}}, Points2d{{0, 0}, {0, 5}},
        Points2d{{3, 1}, {5, 1}}, Points2d{{-3, 0}, {-3, 7}}, Points2d{{1e-13, 0}, {1e-13, 7}}}) {
    EXPECT_TRUE(Revolved(points).IsEmpty());
    EXPECT_TRUE(Revolved(points, kNaN).IsEmpty());
  }
  // Heights that the numbers of the mesh can't tell apart.
  EXPECT_TRUE(Revolved<float>({{5, 0}, {5, 1e-6}}, 0.1, 1000).IsEmpty());
  EXPECT_TRUE(IsClosed(Revolved<float>({{5, 0}, {4, 1e-6}, {4, 1}}, 0.1, 1000)));
}

TEST(RevolveProfile, RefusesWhatGivesNoMesh) {
  const Points2d cylinder{{5, 0}, {5, 4}};
  for (const auto& [tolerance, angle] : {std::pair{0.0, 0.0},
                                         {-1, 0},
                                         {kNaN, 0},
                                         {1e-300, 0},
                                         {1e-12, 0},
                                         {0.1, -1},
                                         {0.1, kNaN},
                                         {0.1, 1e-9},
                                         {0.1, 1e-320}})
    EXPECT_TRUE(ThrowsId<misc::zvException>(
        [&, t = tolerance, a = angle] { Revolved(cylinder, t, 0, a); }, 0, kTolerance))
        << tolerance << ' ' << angle;
  for (const Points2d& points :
       {Points2d{{5, 0}, {5, kNaN}}, Points2d{{kNaN, 0}, {5, 3}}, Points2d{{5, 0}, {kInfinity, 3}},
        Points2d{{5, 0}, {5, -kInfinity}}})
    EXPECT_TRUE(ThrowsId<zvtoolapproximationException>([&] { Revolved(points); }, 0));
  const Points2d large{{1e39, 0}, {5, 3}};
  EXPECT_TRUE(ThrowsId<zvtoolapproximationException>([&] { Revolved<float>(large); }, 0));
}

}  // namespace
}  // namespace cadcam
