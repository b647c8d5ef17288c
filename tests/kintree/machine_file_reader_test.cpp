#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/misc/misc_exception.h>
#include <sys/stat.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/throws_id.h>

namespace kintree {
namespace {

using measures::zvUnitsFactory;
using tests::As;
using tests::Axis;
using tests::Geometry;
using tests::ReadBody;
using Machine = zvV2XMLReader::Machine;
using Semantic = exceptions::zvKintreeMachDefSemanticException;
using Vector = cadcam::zvTPoint3d<float>;

zvV2XMLReader::DefaultUnits Inch() {
  return misc::MakeAutoPointer<zvUnitsFactory::Units>(zvUnitsFactory::inch);
}

Machine ReadBytes(const std::string& bytes, const zvV2XMLReader::DefaultUnits& units = nullptr) {
  return zvV2XMLReader(L"/nowhere/m.xml").ReadBytes(bytes, units);
}

// What machine_file_cases.txt can't see.
TEST(MachineFileReader, ObjectsHaveWhatIsNotWritten) {
  const Machine machine =
      ReadBody(Axis("S", "valuetype='discrete_stepped' step='0.5' minvalue='-.25' maxvalue='9'") +
                   Axis("L", "valuetype='discrete_list' values='1,2'") +
                   Geometry("g", "objtype='stock' alpha='.5'") +
                   "<transform id='workpiece_transform'/>" + "<collcheck id='c' group1='S'/>",
               "version='1.0' units='inch'");
  const std::tuple<const wchar_t*, double, bool> values[] = {
      {L"S", 0.25, true}, {L"S", 1, false}, {L"L", 2, true}, {L"L", 0, false}};
  for (const auto& [name, value, isTaken] : values)
    EXPECT_EQ(
        tests::IdOf([&, axis = name, to = value] { As<mkdAxis>(machine, axis).SetValue(to); }),
        isTaken ? 0 : tests::kNullPointer);
  const auto& stock = As<mkdStockGeometry>(machine, L"g");
  EXPECT_EQ(stock.GetAppearance(), (zvAppearance{{1, 0, 0}, 0.5f, 0, L""}));
  EXPECT_EQ(stock.GetMesh()->GetUnits(), zvUnitsFactory::inch);
  EXPECT_EQ(As<mkdToolpathGeometry>(machine, L"toolpath").GetUnits(), zvUnitsFactory::inch);
  EXPECT_EQ(machine->GetSchema(), L"/nowhere/toolpath.scm");
  EXPECT_EQ(machine->GetFiles(), std::vector<std::wstring>{L"/nowhere/toolpath.scm"});
  EXPECT_EQ(machine->GetCollisionChecks().at(L"c").name, L"");
  EXPECT_TRUE(tests::ThrowsId<zvMachineSimulatorException>(
      [&] { ReadBody("<transform id='workpiece_transform'/>" + Axis("toolpath")); }, 5,
      L"An object with this identifier already exists (toolpath)"));
}

TEST(MachineFileReader, PartsOfAToolHaveTheirColours) {
  const Vector orange{1, 0.50196081f, 0}, grey{0.5f, 0.5f, 0.5f}, cyan{0, 1, 1},
      arbor{0.75294119f, 0, 0}, old{0.7529411911964417f, 0.7529411911964417f, 0.7529411911964417f},
      own{0.1f, 0.2f, 0.3f};
  const char* const all =
      "cuttr='.1' cuttg='.2' cuttb='.3' noncuttr='.1' noncuttg='.2' noncuttb='.3' arborr='.1' "
      "arborg='.2' arborb='.3' holderr='.1' holderg='.2' holderb='.3' clrr='.1' clrg='.2' "
      "clrb='.3'";
  const struct {
    const char* version;
    const char* attributes;
    std::array<Vector, 4> current;
    std::array<bool, 4> isDefault;
  } cases[] = {
      {"1.4", "", {orange, grey, arbor, cyan}, {true, true, true, true}},
      {"1.4", all, {own, own, own, own}, {}},
      {"1.1999995", all, {own, own, own, own}, {}},
      {"1.4",
       "cuttr='.1' cuttg='.2' holderb='.3'",
       {orange, grey, arbor, cyan},
       {true, true, true, true}},
      {"1.1", all, {own, grey, old, own}, {false, true, true, false}},
      {"1.1", "clrr='.1' clrg='.2'", {orange, grey, old, cyan}, {true, true, true, true}},
  };
  for (const auto& c : cases) {
    const Machine machine = ReadBody(
        std::string("<geometry name='tool' alpha='0.5' reflectivity='0.25' ") + c.attributes + "/>",
        std::string("units='metric' version='") + c.version + "'");
    const auto& tool = As<mkdHeldTool>(machine, L"tool");
    const std::array<Vector, 4> usual = {
        orange, grey, c.version[2] == '1' && c.version[3] == 0 ? old : arbor, cyan};
    for (std::size_t i = 0; i < mkdHeldTool::kParts; ++i) {
      const auto& look = tool.GetPartAppearances()[i];
      EXPECT_EQ(look.current, (zvAppearance{c.current[i], 0.5f, 0.25f, L""})) << c.attributes << i;
      EXPECT_EQ(look.defaultAppearance.colour, usual[i]) << c.version << i;
      EXPECT_EQ(look.defaultAppearance.alpha, 0.5f);
      EXPECT_EQ(look.isDefaultTaken, c.isDefault[i]) << c.attributes << i;
      EXPECT_TRUE(look.isVisible);
    }
  }
  const Machine machine = ReadBody("<geometry name='tool'/>", "units='inch'");
  const auto& tool = As<mkdHeldTool>(machine, L"tool");
  EXPECT_EQ(tool.GetTolerance(), 0.1);
  EXPECT_EQ(tool.GetTool()->GetUnits(), zvUnitsFactory::inch);
  EXPECT_EQ(tool.GetTool()->GetDiameter(), 1);
  EXPECT_FLOAT_EQ(tool.GetMesh()->GetMaximum().z, 1);
}

TEST(MachineFileReader, FilesAreFoundFromTheFolderOfTheMachine) {
  const tests::ScratchFolder folder;
  std::filesystem::create_directory(folder.Path("Parts"));
  std::filesystem::create_directory(folder.Path("folder.stl"));
  std::filesystem::create_directory(folder.Path("machine"));
  ASSERT_EQ(mkfifo(folder.Path("pipe.stl").c_str(), 0600), 0);
  for (const char* name : {"Base.STL", "Parts/Base.stl", "outside.stl"})
    tests::WriteFile(folder.Path(name), tests::TwoTriangles());
  tests::WriteFile(folder.Path("path.asc"), "RGB 1 0 0\nPA 0 0 0; PE 1 2 3\n");
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"Base.STL", "Base.STL", true},
      {"base.stl", "base.stl", false},
      {"Parts\\Base.stl", "Parts/Base.stl", true},
      {"./Parts/../Base.STL", "Base.STL", true},
      {"machine/../outside.stl", "outside.stl", true},
      {"missing.stl", "missing.stl", false},
      {"folder.stl", "folder.stl", false},
      {"pipe.stl", "pipe.stl", false},
      {"C:\\Base.STL", "C:/Base.STL", false},
  };
  for (const auto& [geo, path, isThere] : cases) {
    const Machine machine = ReadBody(Geometry("g", std::string("geo='") + geo + "'"),
                                     "units='inch'", folder.WidePath("m.xml"));
    const auto& geometry = As<mkdPolygonalGeometry>(machine, L"g");
    EXPECT_EQ(geometry.GetSourceFile(), folder.WidePath(path)) << geo;
    EXPECT_EQ(geometry.GetMesh()->GetTriangles().size(), isThere ? 2u : 0u) << geo;
    EXPECT_EQ(machine->GetFiles(), std::vector<std::wstring>{folder.WidePath(path)}) << geo;
  }
  const Machine machine = ReadBody(
      Geometry("a", "objtype='geometry' geo='/dev/zero'") +
          Geometry("p", "geo='path.asc' schema='s\\x.scm'") +
          Geometry("tool_changer", "objtype='geometry' geo='Base.STL'") +
          Geometry("tool", "objtype='tool' geo='Base.STL' reflectivityBitmapFileName='b'") +
          Geometry("empty", "objtype='stock' geo=''"),
      "version='1.4' units='metric'", folder.WidePath("m.xml"));
  EXPECT_TRUE(As<mkdPolygonalGeometry>(machine, L"a").GetMesh()->IsEmpty());
  EXPECT_EQ(As<mkdToolpathGeometry>(machine, L"p").GetGraphic()->GetNumberOfPolyLines(), 1u);
  EXPECT_EQ(As<mkdPolygonalGeometry>(machine, L"tool_changer").GetMesh()->GetTriangles().size(),
            2u);
  EXPECT_EQ(machine->GetSchema(), folder.WidePath("s/x.scm"));
  EXPECT_EQ(machine->GetFiles(),
            (std::vector<std::wstring>{L"/dev/zero", folder.WidePath("path.asc"),
                                       folder.WidePath("s/x.scm"), folder.WidePath("Base.STL"),
                                       folder.WidePath("b")}));
  // The process stays in its folder, and a relative path of the machine file counts from there.
  const Machine relative = ReadBody(Geometry("g", "geo='x.stl'"), "units='metric'", L"m.xml");
  EXPECT_EQ(relative->GetFiles().at(0),
            misc::FromUtf8((std::filesystem::current_path() / "x.stl").string()));
}

TEST(MachineFileReader, UnitsAndVersionAreThoseOfTheFileOrTheDefaults) {
  constexpr auto metric = zvUnitsFactory::metric, inch = zvUnitsFactory::inch;
  const struct {
    const char* file;
    zvUnitsFactory::Units withoutDefault, withInch;
    float version;
  } cases[] = {
      {"<machine_definition/>", metric, inch, 1.4f},
      {"<machine_data units='metric'/>", metric, metric, 1.0f},
      {"<machine_data version='' units='inch'/>", inch, inch, 1.0f},
      {"<machine_data version='1.30000001' units='inch'/>", inch, inch, 1.30000001f},
      {"<machine_definition><machine_definition><machine_data version='2' "
       "units='inch'/></machine_definition><machine_data units='no'/></machine_definition>",
       inch, inch, 2.0f},
      {"<machine_definition/><machine_data units='no'/>", metric, inch, 1.4f},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ReadBytes(c.file)->GetUnits(), c.withoutDefault) << c.file;
    const Machine machine = ReadBytes(c.file, Inch());
    EXPECT_EQ(machine->GetUnits(), c.withInch) << c.file;
    EXPECT_EQ(machine->GetVersion(), c.version) << c.file;
  }
  EXPECT_EQ(ReadBytes("<machine_data version='1'/>", Inch())->GetUnits(), inch);
  // What stands in front keeps the units from before, and its numbers.
  const Machine machine = ReadBytes(Axis("X", "minvalue='0' maxvalue='254'") +
                                    "<machine_data name='\xC3\xA9' units='inch'/>" + Axis("Y"));
  EXPECT_EQ(As<mkdAxis>(machine, L"X").GetUnits(), metric);
  EXPECT_EQ(As<mkdAxis>(machine, L"X").GetMaximum(), 254);
  EXPECT_EQ(As<mkdAxis>(machine, L"Y").GetUnits(), inch);
  EXPECT_EQ(machine->GetName(), L"\u00E9");
}

TEST(MachineFileReader, PreprocessorsMustBeThere) {
  const tests::ScratchFolder folder;
  tests::WriteFile(folder.Path("p.lua"), "");
  const auto read = [&](const std::string& attributes) {
    return ReadBody("<preprocessor " + attributes + "/>", "units='metric'",
                    folder.WidePath("m.xml"));
  };
  const Machine machine = read("instance='p' fileName='p.lua'");
  ASSERT_EQ(machine->GetPreprocessors().size(), 1u);
  EXPECT_EQ(machine->GetPreprocessors()[0].instanceName, L"p");
  EXPECT_EQ(machine->GetPreprocessors()[0].fileName, folder.WidePath("p.lua"));
  EXPECT_EQ(machine->GetFiles(), std::vector<std::wstring>{folder.WidePath("p.lua")});
  const std::wstring start = L"Semantic error in element <preprocessor>, ID - \" ";
  EXPECT_TRUE(tests::ThrowsId<Semantic>(
      [&] { read("fileName='p.lua'"); }, 0,
      start + L"instance \" : The preprocessor tag has no specified instance variable name"));
  EXPECT_TRUE(tests::ThrowsId<Semantic>(
      [&] { read("instance='p'"); }, 0,
      start + L"fileName \" : The preprocessor tag has no specified filename"));
  for (const char* name : {"q.lua", "../m.xml", "."})
    EXPECT_TRUE(tests::ThrowsId<misc::zvException>(
        [&] { read(std::string("instance='p' fileName='") + name + "'"); }, 0,
        L"Preprocessor source code file not found"));
}

TEST(MachineFileReader, FailuresOutsideElementsOfTheTreeComePlain) {
  EXPECT_TRUE(tests::ThrowsId<Semantic>(
      [] { ReadBody("", "name='m' version='1.4'"); }, 100,
      L"Semantic error in element <machine_data>, ID - \" m \" : The machine has no specified "
      L"units"));
  EXPECT_TRUE(tests::ThrowsId<misc::zvException>([] { ReadBody("", "units='Inch'"); }, 2141,
                                                 L"Unknown Units"));
  EXPECT_TRUE(tests::ThrowsId<misc::zvmiscException>(
      [] { ReadBody("", "version='a' units='inch'"); }, 2579));
  EXPECT_TRUE(tests::ThrowsId<misc::zvException>([] { ReadBytes(""); }, 0, L"Xml file not found."));
  EXPECT_TRUE(tests::ThrowsId<misc::zvException>([] { zvV2XMLReader(L"/no.xml").Read(nullptr); }, 0,
                                                 L"Xml file not found."));
}

std::string Deep(int levels, const std::string& id, const std::string& inside) {
  std::string text;
  for (int i = 0; i < levels; ++i) text += "<transform id='" + id + std::to_string(i) + "'>";
  text += inside;
  for (int i = 0; i < levels; ++i) text += "</transform>";
  return text;
}

TEST(MachineFileReader, DepthIsBounded) {
  const tests::Reports reports;
  const Machine machine = ReadBytes(Deep(98, "t", ""), Inch());
  EXPECT_EQ(machine->GetTree().GetSize(), 98u);
  for (const int levels : {99, 5000})
    EXPECT_TRUE(tests::ThrowsId<misc::zvException>([&] { ReadBytes(Deep(levels, "t", "")); }, 0,
                                                   L"Xml file not found."));
  try {
    ReadBytes(Deep(97, std::string(100000, 'i'), "<axis id='X'/>"));
    ADD_FAILURE() << "nothing thrown";
  } catch (const Semantic& e) {
    ASSERT_EQ(e.GetCauses().size(), 99u);
    // Each element around a failure tells it again; then come the failure itself and its attribute.
    EXPECT_EQ(e.GetCauses()[97], (misc::zvException::Cause{2579,
                                                           L"Conversion from string to value "
                                                           L"failed."}));
    EXPECT_EQ(e.GetCauses()[98], (misc::zvException::Cause{0, L"x=\"\""}));
    EXPECT_EQ(e.GetMessage().find(e.GetCauses()[0].second), e.GetMessage().find(L" : ") + 3);
    // The identifiers are cut to what a person reads.
    EXPECT_LT(e.GetMessage().size(), 110000u);
  }
}

TEST(MachineFileReader, WhatIsWrongIsNamed) {
  const std::pair<const char*, const wchar_t*> cases[] = {
      {"<base name='b' objtype='geometry' clrr='1' clrg='1'/>", L"clrb=\"\""},
      {"<base name='b' objtype='geometry' clrr='r' clrg='1'/>", L"clrr=\"r\""},
      {"<axis id='X' x='1' y='0' z='0' maxvalue='1'/>", L"minvalue=\"\""},
      {"<base name='b' clrr='1' clrg='1' clrb='1'/>",
       L"objtype is empty, and neither name nor geo says what it is"}};
  for (const auto& [body, cause] : cases) {
    try {
      ReadBytes(body);
      ADD_FAILURE() << body;
    } catch (const Semantic& e) {
      EXPECT_EQ(e.GetCauses().back(), (misc::zvException::Cause{0, cause})) << body;
    }
  }
}

TEST(MachineFileReader, AMissingMeshIsTold) {
  const tests::Reports reports;
  tests::ReadBody(tests::Geometry("none", "objtype='stock'") +
                  tests::Geometry("lost", "geo='parts/gone.stl'") +
                  tests::Geometry("path", "geo='gone.asc'"));
  EXPECT_EQ(reports.Get(),
            std::vector<std::wstring>{L"The file '/nowhere/parts/gone.stl' isn't there; the body "
                                      L"'lost' has no triangles."});
}

}  // namespace
}  // namespace kintree
