#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/kintree/machine_file_validator.h>
#include <kandrel/misc/misc_exception.h>
#include <sys/stat.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/throws_id.h>

namespace kintree {
namespace {

using exceptions::zvKintreeMachDefSemanticException;
using measures::zvUnitsFactory;
using tests::As;
using tests::Axis;
using tests::Geometry;
using tests::ReadBody;
using Machine = zvV2XMLReader::Machine;
using Semantic = zvKintreeMachDefSemanticException;
using Vector = cadcam::zvTPoint3d<float>;

zvV2XMLReader::DefaultUnits Inch() {
  return misc::MakeAutoPointer<zvUnitsFactory::Units>(zvUnitsFactory::inch);
}

Machine ReadBytes(const std::string& bytes, const zvV2XMLReader::DefaultUnits& units = nullptr) {
  return zvV2XMLReader(L"/nowhere/m.xml").ReadBytes(bytes, units);
}

TEST(MachineFileReader, AxesHaveTheirRangeAndStartInside) {
  const struct {
    const char* attributes;
    double minimum, maximum, value;
  } cases[] = {
      {"", -1000, 1000, 0},
      {"minvalue='' maxvalue=''", -1000, 1000, 0},
      {"minvalue='10' maxvalue='20'", 10, 20, 15},
      {"minvalue='0' maxvalue='20'", 0, 20, 0},
      {"minvalue='1e-13' maxvalue='20'", 1e-13, 20, 0},
      {"minvalue='1e-11' maxvalue='20'", 1e-11, 20, 10.000000000005},
      {"minvalue='-20' maxvalue='-10'", -20, -10, -15},
      {"minvalue='-20' maxvalue='-1e-13'", -20, -1e-13, 0},
      {"minvalue='20' maxvalue='10'", 20, 10, 0},
      {"minvalue='5' maxvalue='5'", 5, 5, 0},
      {"minvalue=' +1e2mm' maxvalue='1,5e9'", 100, 1, 0},
  };
  for (const auto& c : cases) {
    const Machine machine = ReadBody(Axis("X", c.attributes));
    const auto& axis = As<mkdTranslationalAxis>(machine, L"X");
    EXPECT_EQ(axis.GetMinimum(), c.minimum) << c.attributes;
    EXPECT_EQ(axis.GetMaximum(), c.maximum) << c.attributes;
    EXPECT_DOUBLE_EQ(axis.GetValue(), c.value) << c.attributes;
  }
}

TEST(MachineFileReader, AxesTakeTheValuesThatTheirTypeOfValueHas) {
  const struct {
    const char* attributes;
    std::vector<double> taken, refused;
  } cases[] = {
      {"valuetype='cont' step='1'", {1.3}, {}},
      {"valuetype='Discrete_stepped' step='x'", {1.3}, {}},
      {"valuetype='discrete_stepped' step='0.5' minvalue='0' maxvalue='9'", {1.5, 9}, {1.3}},
      {"valuetype='discrete_stepped' step='0'", {}, {0, 1}},
      {"valuetype='discrete_list' values='1,,2,\"3\"'", {1, 2, 3}, {0, 1.5}},
      {"valuetype='discrete_list' values=',\"\",'", {1.3}, {}},
      {"valuetype='discrete_list'", {1.3}, {}},
  };
  for (const auto& c : cases) {
    const Machine machine = ReadBody(Axis("X", c.attributes));
    auto& axis = As<mkdAxis>(machine, L"X");
    for (const double value : c.taken) EXPECT_NO_THROW(axis.SetValue(value)) << c.attributes;
    for (const double value : c.refused) EXPECT_ANY_THROW(axis.SetValue(value)) << c.attributes;
  }
}

constexpr const wchar_t* kNotPlaced =
    L"Coordinate transformation matrix contains more than rotations or/and "
    L"transformations.\nIdentity matrix will be used by default.";
constexpr const wchar_t* kNot16 =
    L"Coordinate transformation matrix does not conform 4x4 requirement.\nIdentity matrix will be "
    L"considered by default.";

TEST(MachineFileReader, OnlyRotationsAndShiftsAreTransforms) {
  const struct {
    const char* matrix;
    bool isTaken;
    const wchar_t* report;
  } cases[] = {
      {"1,0,0,10, 0,1,0,20, 0,0,1,30, 0,0,0,1", true, nullptr},
      {"0,-1,0,10,1,0,0,20,0,0,1,30,0,0,0,1", true, nullptr},
      {"-1,0,0,10,0,1,0,0,0,0,1,0,0,0,0,7", true, nullptr},
      {"1.000004,0,0,10,0,1,0,0,0,0,1,0,0,0,0,1", true, nullptr},
      {"1.000006,0,0,10,0,1,0,0,0,0,1,0,0,0,0,1", false, kNotPlaced},
      {"1,0.5,0,10,0,1,0,0,0,0,1,0,0,0,0,1", false, kNotPlaced},
      {"2,0,0,10,0,2,0,0,0,0,2,0,0,0,0,1", false, kNotPlaced},
      {"1,0,0,10,0,1,0,0,0,0,1,0,0,0,1e-9,1", false, kNotPlaced},
      {"1e38,0,0,10,0,1e38,0,0,0,0,1,0,0,0,0,1", false, kNotPlaced},
      {"1,0,0,10,0,1,0,0,0,0,1,0,0,0,0", false, kNot16},
      {"1,0,0,10,0,1,0,0,0,0,1,0,0,0,0,1,1", false, kNot16},
      {"", false, kNot16},
  };
  for (const char* version : {"1.4", "1.0", "1.00000001", "0.9"}) {
    const bool isTold = std::string_view(version) == "1.4" || std::string_view(version) == "0.9";
    for (const auto& c : cases) {
      const tests::Reports reports;
      const Machine machine =
          ReadBody(std::string("<transform id='T' initialvalue='") + c.matrix + "'/>",
                   std::string("units='metric' version='") + version + "'");
      const mkdMatrix& matrix = As<mkdCoordinateTransform>(machine, L"T").GetLocalMatrix();
      EXPECT_EQ(matrix == mkdMatrix::Identity(), !c.isTaken) << c.matrix;
      EXPECT_EQ(matrix(0, 3), c.isTaken ? 10 : 0) << c.matrix;
      using Texts = std::vector<std::wstring>;
      EXPECT_EQ(reports.Get(), c.report && isTold ? Texts{c.report} : Texts{}) << c.matrix;
    }
  }
}

TEST(MachineFileReader, GeometryIsWhatItSaysOrWhatItsNamesSay) {
  const struct {
    const char* name;
    const char* attributes;
    const std::type_info& type;
  } cases[] = {
      {"a", "objtype='tool'", typeid(mkdHeldTool)},
      {"tool", "objtype='geometry'", typeid(mkdPolygonalGeometry)},
      {"tool", "", typeid(mkdHeldTool)},
      {"tools", "geo='x.stl'", typeid(mkdHeldTool)},
      {"toolpath", "geo='X.ASC'", typeid(mkdToolpathGeometry)},
      {"my_toolpath", "geo='ascii/x'", typeid(mkdToolpathGeometry)},
      {"tool_toolpath", "geo='X.StL'", typeid(mkdPolygonalGeometry)},
      {"werkstueck", "", typeid(mkdWorkPiece)},
      {"workpiece", "geo='x.asc'", typeid(mkdWorkPiece)},
      {"stock", "", typeid(mkdStockGeometry)},
      {"initialstock", "", typeid(mkdInitialStock)},
      {"a", "geo='stl.asc'", typeid(mkdPolygonalGeometry)},
  };
  for (const auto& c : cases) {
    const Machine machine = ReadBody(Geometry(c.name, c.attributes));
    const mkdKinematicObject& object = *machine->GetObject(misc::FromUtf8(c.name));
    EXPECT_STREQ(typeid(object).name(), c.type.name()) << c.name << ' ' << c.attributes;
  }
  const Machine machine = ReadBody(Geometry("g", "objtype='stock' alpha='.5'"), "units='inch'");
  const auto& stock = As<mkdStockGeometry>(machine, L"g");
  EXPECT_EQ(stock.GetAppearance(), (zvAppearance{{1, 0, 0}, 0.5f, 0, L""}));
  EXPECT_EQ(stock.GetMesh()->GetUnits(), zvUnitsFactory::inch);
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

TEST(MachineFileReader, ElementsAreNestedAsTheyCarryEachOther) {
  const Machine machine = ReadBytes(
      "<?xml version='1.0' encoding='iso-8859-1'?><!-- m --><machine_definition>"
      "<other><axis id='no'/></other>text"
      "<base name='b' objtype='geometry' clrr='1' clrg='1' clrb='1'>"
      "<axis id='Y' x='0' y='1' z='0'><base name='no'/><collcheck id='no' group1='no'/>"
      "<geometry name='g' objtype='stock' clrr='1' clrg='1' clrb='1'>"
      "<transform id='T'><geometry name='tool'/></transform></geometry></axis>"
      "<axis id='X' x='1' y='0' z='0'/></base><geometry name='workpiece' clrr='0' clrg='0' "
      "clrb='0'/></machine_definition><axis id='behind' x='1' y='0' z='0'/>");
  EXPECT_EQ(tests::Nested(machine), "b(Y(g(T(tool))),X),workpiece");
}

TEST(MachineFileReader, CollisionChecksNameObjects) {
  const std::string objects = Axis("X") + Geometry("a,b", "objtype='stock'") + Axis(" X");
  const Machine machine =
      ReadBody(objects +
               "<collcheck id='1' group1='X,\"a,b\"' group2=' X' dynamic1='true' dynamic2='True'/>"
               "<collcheck id='2' group1='' group2='unknown'/><collcheck group1=',\"\"' id='3'/>"
               "<collcheck id='4' group1='X' dynamic2='true'/><collcheck id='4' group1=' X'/>");
  const auto& checks = machine->GetCollisionChecks();
  ASSERT_EQ(checks.size(), 2u);
  const zvCollisionCheck& first = checks.at(L"1");
  EXPECT_EQ(first.first.names, (std::vector<std::wstring>{L"X", L"a,b"}));
  EXPECT_EQ(first.second.names, std::vector<std::wstring>{L" X"});
  EXPECT_EQ(first.first.kind, zvCollisionGroup::isDynamic);
  EXPECT_EQ(first.second.kind, zvCollisionGroup::isStatic);
  EXPECT_EQ(first.name, L"");
  EXPECT_EQ(checks.at(L"4").first.names, std::vector<std::wstring>{L" X"});
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

TEST(MachineFileReader, OldFilesGetTheToolpathThatTheyLack) {
  const std::string transform =
      "<transform id='workpiece_transform' "
      "initialvalue='1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1'/>";
  for (const char* data : {"version='1.3' units='inch'", "version='1.4' units='inch'"}) {
    const Machine machine = ReadBody(transform, data);
    EXPECT_EQ(tests::Nested(machine), "workpiece_transform(toolpath)");
    const auto& toolpath = As<mkdToolpathGeometry>(machine, L"toolpath");
    EXPECT_TRUE(toolpath.GetGraphic()->IsEmpty());
    EXPECT_EQ(toolpath.GetSourceFile(), L"");
    EXPECT_EQ(toolpath.GetUnits(), zvUnitsFactory::inch);
    EXPECT_EQ(machine->GetSchema(), L"/nowhere/toolpath.scm");
    EXPECT_EQ(machine->GetFiles(), std::vector<std::wstring>{L"/nowhere/toolpath.scm"});
  }
  EXPECT_EQ(tests::Nested(ReadBody(transform + Geometry("path", "objtype='toolpath'"))),
            "workpiece_transform,path");
  EXPECT_EQ(tests::Nested(ReadBody("<axis id='workpiece_transform' x='1' y='0' z='0'/>")),
            "workpiece_transform");
  EXPECT_TRUE(tests::ThrowsId<zvMachineSimulatorException>(
      [&] { ReadBody(transform + Axis("toolpath")); }, 5,
      L"An object with this identifier already exists (toolpath)"));
  // A toolpath of such a file has that schema whatever it says; from 1.4 on it says so itself.
  const std::string named = Geometry("p", "objtype='toolpath' schema='own.scm'");
  EXPECT_EQ(ReadBody(named, "units='inch' version='1.3'")->GetSchema(), L"/nowhere/toolpath.scm");
  EXPECT_EQ(ReadBody(named, "units='inch' version='1.3999995'")->GetSchema(), L"/nowhere/own.scm");
}

TEST(MachineFileReader, WhatFailsInAnElementIsToldWithTheElement) {
  const std::wstring noNumber = L"Conversion from string to value failed.";
  const struct {
    std::string body;
    const wchar_t* tag;
    const wchar_t* id;
    const wchar_t* inner;
    std::uint32_t cause;
  } cases[] = {
      {"<axis id='X' x='0' y='0' z='0'/>", L"axis", L"X", L"Can't normalize null vector.", 2189},
      {"<axis id='X' x='0' y='0'/>", L"axis", L"X", noNumber.c_str(), 2579},
      {"<axis id='A' type='rotation' x='1' y='0' z='0' rzx='1' rzy='1'/>", L"axis", L"A",
       noNumber.c_str(), 2579},
      {Axis("X", "minvalue='1'"), L"axis", L"X", noNumber.c_str(), 2579},
      {Axis("X", "maxvalue='1e999' minvalue='0'"), L"axis", L"X", noNumber.c_str(), 2579},
      {Axis("X", "valuetype='discrete_stepped'"), L"axis", L"X", noNumber.c_str(), 2579},
      {Axis("X", "valuetype='discrete_list' values='1,a'"), L"axis", L"X", noNumber.c_str(), 2579},
      {"<transform id='T' initialvalue='1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,z'/>", L"transform", L"T",
       noNumber.c_str(), 2579},
      {Axis("X") + Axis("X"), L"axis", L"X", L"An object with this identifier already exists (X)",
       5},
      {Axis("") + "<transform/>", L"transform", L"",
       L"An object with this identifier already exists", 5},
      {"<geometry name='g' objtype='geometry'/>", L"geometry", L"g", noNumber.c_str(), 2579},
      {Geometry("g", "objtype='stock' alpha='x'"), L"geometry", L"g", noNumber.c_str(), 2579},
      {Geometry("g", "geo='x.obj'"), L"geometry", L"g",
       L"Semantic error in element <geometry>, ID - \" g \" : Cannot determine geometry type ", 0},
      {"<base name='g' objtype='Tool'/>", L"base", L"g",
       L"Semantic error in element <base>, ID - \" g \" : Unknown objtype", 0},
      {"<collcheck id='c' group1='no'/>", L"collcheck", L"c", L"Object not found (no)", 0},
      {Axis("X") + "<collcheck id='c' group1='X' group2='X, X'/>", L"collcheck", L"c",
       L"Object not found ( X)", 0},
  };
  for (const auto& c : cases) {
    try {
      ReadBody(c.body);
      ADD_FAILURE() << "nothing thrown: " << c.body;
    } catch (const Semantic& e) {
      EXPECT_EQ(e.GetId(), 0u);
      EXPECT_EQ(e.GetMessage(), std::wstring(L"Semantic error in element <") + c.tag +
                                    L">, ID - \" " + c.id + L" \" : " + c.inner + L" ");
      ASSERT_EQ(e.GetCauses().size(), 1u) << c.body;
      EXPECT_EQ(e.GetCauses()[0], (misc::zvException::Cause{c.cause, c.inner}));
    }
  }
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

// Everything that a file can have.
const std::string kWhole =
    "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n<machine_definition>"
    "<machine_data name='m' version='1.4' units='metric'/>"
    "<base name='base' geo='b.stl' clrr='1' clrg='0' clrb='0' alpha='0.5'>"
    "<axis id='A' type='rotation' x='1' y='0' z='0' rzx='0' rzy='0' rzz='5' minvalue='-1' "
    "maxvalue='1' valuetype='discrete_list' values='0,1' show_slider='false'>"
    "<transform id='t' initialvalue='1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1'>"
    "<geometry name='tool'/></transform></axis></base>"
    "<collcheck id='c' group1='base' group2='tool' dynamic2='true'/></machine_definition>";

TEST(MachineFileReader, AnyByteMayBeAnyOther) {
  const tests::Reports reports;
  for (std::size_t i = 0; i < kWhole.size(); ++i) {
    for (const char c : {'\0', '<', '"', '\'', '-', '9', 'e', ' ', '\xFF'}) {
      std::string bytes = kWhole;
      bytes[i] = c;
      try {
        EXPECT_LE(ReadBytes(bytes)->GetTree().GetSize(), 4u);
      } catch (const misc::zvException& e) {
        EXPECT_FALSE(e.GetMessage().empty());
      }
    }
  }
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
    ASSERT_EQ(e.GetCauses().size(), 98u);
    // Each element around a failure tells it again; the innermost is the failure itself.
    EXPECT_EQ(e.GetCauses()[97], (misc::zvException::Cause{2579,
                                                           L"Conversion from string to value "
                                                           L"failed."}));
    EXPECT_EQ(e.GetMessage().find(e.GetCauses()[0].second), e.GetMessage().find(L" : ") + 3);
    // The identifiers are cut to what a person reads.
    EXPECT_LT(e.GetMessage().size(), 110000u);
  }
}

}  // namespace
}  // namespace kintree
