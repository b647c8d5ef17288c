#include <kandrel/cadcam/stl/stl_reader.h>
#include <kandrel/kintree/held_tool.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/comma_locale.h>

namespace kintree {
namespace {

using exceptions::zvFileAccessException;
using measures::zvUnitsFactory;

std::string Written(const zvKintreeMachDef& machine, const ScratchFolder& folder,
                    const std::string& name = "out.xml") {
  zvV2XMLWriter(machine, folder.WidePath(name)).Write();
  return FileText(folder.Path(name));
}

const std::string kLimits = "minvalue=\"-1000.00000000\" maxvalue=\"1000.00000000\" ";
const std::string kX = "x=\"1.00000000\" y=\"0.00000000\" z=\"0.00000000\" ";

TEST(MachineFileWriter, ElementsStandInTheirOrderAndNested) {
  const ScratchFolder folder;
  WriteFile(folder.Path("p.lua"), "");
  const Machine machine =
      ReadBody("<collcheck id='0' group2='Y'/>" + Axis("Y") + "<axis id='X' x='1' y='0' z='0'>" +
                   Axis("a,b") +
                   "</axis>"
                   "<collcheck id='2' group1='X,\"a,b\"' group2='Y' dynamic2='true'/>"
                   "<collcheck id='1' group1='X' dynamic1='true'/>"
                   "<preprocessor fileName='./p.lua' instance='run'/>",
               "version='1.45' units='inch'", folder.WidePath("m.xml"));
  zvCollisionCheck named = machine->GetCollisionChecks().at(L"1");
  named.name = L"named";
  machine->SetCollisionCheck(L"1", named);
  const auto axis = [](const std::string& id, const std::string& end) {
    return "<axis id=\"" + id + "\" type=\"translation\" " + kX + kLimits + "valuetype=\"cont\"" +
           end + "\n";
  };
  const std::string expected =
      "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n<machine_definition>\n"
      "    <machine_data name=\"\" version=\"1.5\" units=\"inch\"/>\n"
      "    <preprocessor fileName=\"p.lua\" instance=\"run\"/>\n    " +
      axis("Y", "/>") + "    " + axis("X", ">") + "        " + axis("a,b", "/>") +
      "    </axis>\n"
      "    <collcheck id=\"1\" name=\"named\" group1=\"X\" dynamic1=\"true\" dynamic2=\"false\" "
      "active=\"true\" group2=\"\"/>\n"
      "    <collcheck id=\"2\" name=\"2\" group1=\"X,&quot;a,b&quot;\" dynamic1=\"false\" "
      "dynamic2=\"true\" active=\"true\" group2=\"Y\"/>\n"
      "</machine_definition>\n";
  EXPECT_EQ(Written(*machine, folder), expected);
  const Machine again = zvV2XMLReader(folder.WidePath("out.xml")).Read(nullptr);
  EXPECT_EQ(Nested(again), Nested(machine));
  EXPECT_EQ(Written(*again, folder), [&] {
    std::string text = expected;  // a name is not read
    return text.replace(text.find("named"), 5, "1");
  }());
}

TEST(MachineFileWriter, OtherReadersTakeIt) {
  if (std::system("xmllint --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "no xmllint";
  const ScratchFolder folder;
  const Machine machine =
      ReadBody(Axis("&quot;&lt;&gt;&amp;\xC3\xA9\xC5\x82\xF0\x9F\x94\xA7&#9;&#10;&#13;]]&gt;--") +
               Geometry("tool", "") + Geometry("stock", ""));
  Written(*machine, folder);
  EXPECT_EQ(std::system(("xmllint --noout " + folder.Path("out.xml")).c_str()), 0);
}

TEST(MachineFileWriter, SourcesComeAlongUnlessTheyAreThere) {
  const ScratchFolder source, target;
  std::filesystem::create_directories(source.Path("a"));
  std::filesystem::create_directories(source.Path("b"));
  const std::string large(200000, 'x');
  WriteFile(source.Path("a/one.stl"), TwoTriangles());
  WriteFile(source.Path("b/one.stl"), "solid ascii\nendsolid\n");
  WriteFile(source.Path("r.bmp"), large);
  WriteFile(source.Path("kept.stl"), TwoTriangles());
  WriteFile(source.Path("p.lua"), "lua");
  WriteFile(target.Path("kept.stl"), "mine");
  const Machine machine = ReadBody(
      Geometry("1", "geo='a/one.stl' reflectivityBitmapFileName='r.bmp'") +
          Geometry("2", "geo='b/one.stl'") + Geometry("3", "geo='kept.stl'") +
          Geometry("4", "geo='missing.stl'") + Geometry("5", "geo='a/../a'  objtype='stock'") +
          "<preprocessor fileName='p.lua' instance='p'/>",
      "units='metric'", source.WidePath("m.xml"));
  Written(*machine, target);
  EXPECT_EQ(FileText(target.Path("one.stl")), TwoTriangles());
  EXPECT_EQ(FileText(target.Path("r.bmp")), large);
  EXPECT_EQ(FileText(target.Path("kept.stl")), "mine");
  EXPECT_EQ(FileText(target.Path("p.lua")), "lua");
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(target.Path("")))
    ++files;
  EXPECT_EQ(files, 5u);
}

mkdPolygonalGeometry::Mesh MeshOf(int triangles) {
  const auto mesh = MakeAutoPointer<cadcam::zvTMesh<float>>();
  for (int i = 0; i < triangles; ++i)
    mesh->AddTriangle({{{0, 0, 0}, {1, 0, 0}, {0, 1, static_cast<float>(i)}}}, {0, 0, 1});
  return mesh;
}

TEST(MachineFileWriter, MeshesWithoutAFileAreWritten) {
  const ScratchFolder folder;
  zvKintreeMachDef machine(zvUnitsFactory::metric);
  const auto add = [&](const mkdKinematicObjectPointer& body) { machine.AddObject(body, nullptr); };
  add(MakeAutoPointer<mkdPolygonalGeometry>(L"g", MeshOf(2), L"/nowhere/g.stl", kMetric));
  add(MakeAutoPointer<mkdWorkPiece>(L"w", MeshOf(1), L"/nowhere/w.stl", kMetric));
  add(MakeAutoPointer<mkdStockGeometry>(L"s", MeshOf(2), L"/nowhere/s.stl", kMetric));
  add(MakeAutoPointer<mkdInitialStock>(L"i", MeshOf(3), L"/nowhere/i.stl", kMetric));
  add(MakeAutoPointer<mkdPolygonalGeometry>(L"empty", MeshOf(0), L"/nowhere/empty.stl", kMetric));
  add(MakeAutoPointer<mkdPolygonalGeometry>(L"null", nullptr, L"null.stl", kMetric));
  WriteFile(folder.Path("s.stl"), "kept");
  Written(machine, folder);
  const std::pair<const char*, int> cases[] = {{"g.stl", 2}, {"w.stl", 1}};
  for (const auto& [name, triangles] : cases) {
    cadcam::zvTMesh<float> mesh;
    EXPECT_EQ(cadcam::LoadSTL(folder.WidePath(name), mesh),
              triangles == 1 ? cadcam::zvSTLForm::text : cadcam::zvSTLForm::binary);
    EXPECT_EQ(mesh.GetTriangles().size(), static_cast<std::size_t>(triangles));
  }
  EXPECT_EQ(FileText(folder.Path("s.stl")), "kept");
  for (const char* name : {"i.stl", "empty.stl", "null.stl"})
    EXPECT_FALSE(std::filesystem::exists(folder.Path(name))) << name;
}

// What is named by a machine file and isn't the machine's own is told of, and nothing else is.
TEST(MachineFileWriter, WhatStaysInPlaceOfTheMachinesOwnIsTold) {
  std::string other = TwoTriangles();
  other[100] ^= 1;  // within the first corner
  const std::string text =
      "solid s\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n"
      "endloop\nendfacet\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
      "vertex 0 1 0\nendloop\nendfacet\nendsolid s\n";
  const struct {
    std::string geo, also;           // files of two bodies, the second with the same last part
    std::string source, alsoSource;  // what stands in them; "" for no file
    std::string there;               // and in b.stl beside the new machine file
    int triangles;                   // of a mesh that takes the place of the first, -1 for none
    bool isTold;
  } cases[] = {
      {"a/b.stl", "a/b.stl", TwoTriangles(), "", "", -1, false},
      {"a/b.stl", "b/b.stl", TwoTriangles(), TwoTriangles(), "", -1, false},
      {"a/b.stl", "b/b.stl", TwoTriangles(), other, "", -1, true},
      {"a/b.stl", "a/b.stl", TwoTriangles(), "", TwoTriangles(), -1, false},
      {"a/b.stl", "a/b.stl", TwoTriangles(), "", other, -1, true},
      {"a/b.stl", "a/b.stl", TwoTriangles(), "", text, -1, true},
      {"a/b.stl", "a/b.stl", "", "", text, -1, true},
      {"b.stl", "b.stl", "", "", text, -1, false},
      {"b.stl", "b.stl", "", "", other, -1, false},
      {"b.stl", "b.stl", "", "", text, 2, true},
      {"b.stl", "b.stl", "", "", text, 3, true},
      {"b.stl", "b.stl", "", "", "no STL", 1, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    const ScratchFolder folder;
    const auto write = [&](const std::string& name, const std::string& bytes) {
      std::filesystem::create_directories(std::filesystem::path(folder.Path(name)).parent_path());
      if (!bytes.empty()) WriteFile(folder.Path(name), bytes);
    };
    write(c.geo, c.source);
    write(c.also, c.alsoSource);
    if (c.there != "no STL") write("b.stl", c.there);
    const Machine machine = ReadBody(Geometry("1", "objtype='stock' geo='" + c.geo + "'") +
                                         Geometry("2", "geo='" + c.also + "'"),
                                     "units='metric'", folder.WidePath("m.xml"));
    if (c.triangles >= 0) As<mkdStockGeometry>(machine, L"1").SetMesh(MeshOf(c.triangles));
    write("b.stl", c.there);
    {
      const Reports reports;
      Written(*machine, folder);
      ASSERT_EQ(reports.Get().size(), c.isTold ? 1u : 0u);
      if (!c.isTold) continue;
      EXPECT_NE(reports.Get()[0].find(L"'" + folder.WidePath("b.stl") + L"'"), std::wstring::npos);
    }
    // Whoever throws then keeps the machine file.
    WriteFile(folder.Path("out.xml"), "old");
    SetMessageHook([](const std::wstring& told) { throw misc::zvException(7, told); });
    EXPECT_EQ(IdOf([&] { Written(*machine, folder); }), 7u);
    SetMessageHook(nullptr);
    EXPECT_EQ(FileText(folder.Path("out.xml")), "old");
  }
}

TEST(MachineFileWriter, AFileIsReplacedWholeAndKeepsItsPermissions) {
  const ScratchFolder folder;
  WriteFile(folder.Path("real.xml"), "old");
  std::filesystem::permissions(folder.Path("real.xml"), std::filesystem::perms(0640));
  std::filesystem::create_symlink("real.xml", folder.Path("out.xml"));
  const std::string text = Written(*ReadBody(Axis("X")), folder);
  EXPECT_NE(text, "old");
  EXPECT_EQ(FileText(folder.Path("real.xml")), text);
  EXPECT_TRUE(std::filesystem::is_symlink(folder.Path("out.xml")));
  EXPECT_EQ(std::filesystem::status(folder.Path("real.xml")).permissions(),
            std::filesystem::perms(0640));
}

class OddValidator final : public misc::zvValueValidator<double> {
 public:
  bool IsValid(const double&) const override { return true; }
};

TEST(MachineFileWriter, WhatCannotBeWrittenLeavesTheFileAsItWas) {
  const ScratchFolder folder;
  const auto addDeep = [](const Machine& machine) {
    mkdKinematicObjectPointer parent;
    for (int depth = 0; depth < 98; ++depth) {
      const mkdKinematicObjectPointer object = Transform(std::to_wstring(depth));
      machine->AddObject(object, parent);
      parent = object;
    }
  };
  const auto addCheck = [](const Machine& machine) {
    zvCollisionCheck check;
    check.second.kind = static_cast<zvCollisionGroup::Kind>(7);
    machine->SetCollisionCheck(L"c", check);
  };
  const auto setRange = [](const Machine& m) { As<mkdAxis>(m, L"X").SetMaximum(kNaN); };
  const auto setVersion = [](const Machine& m) {
    m->SetVersion(std::numeric_limits<float>::infinity());
  };
  const auto setValidator = [](const Machine& machine) {
    As<mkdAxis>(machine, L"X").SetValidator(MakeAutoPointer<OddValidator>());
  };
  const std::tuple<std::function<void(const Machine&)>, std::uint32_t, const wchar_t*> cases[] = {
      {setRange, 2579, L"Conversion from string to value failed."},
      {setVersion, 2579, L"Conversion from string to value failed."},
      {setValidator, 0, L"Unknown discrete value validator visited"},
      {addCheck, 0, L"Undefined implementation of collision group type! "},
      {addDeep, 0, L"A machine file can't hold objects so deep below each other"}};
  for (const auto& [spoil, id, text] : cases) {
    WriteFile(folder.Path("out.xml"), "old");
    const Machine machine = ReadBody(Axis("X"));
    spoil(machine);
    const auto write = [&] { Written(*machine, folder); };
    if (id != 0)
      EXPECT_TRUE(ThrowsId<misc::zvmiscException>(write, id, text));
    else
      EXPECT_TRUE(ThrowsId<misc::zvException>(write, id, text));
    EXPECT_EQ(FileText(folder.Path("out.xml")), "old");
  }
}

TEST(MachineFileWriter, WhatTheSystemRefusesIsToldByTheFile) {
  const ScratchFolder folder;
  const Machine machine = ReadBody(Axis("X"));
  const auto write = [&](const std::wstring& path) {
    return [&machine, path] { zvV2XMLWriter(*machine, path).Write(); };
  };
  for (const std::wstring& path :
       {folder.WidePath(""), folder.WidePath("no/out.xml"), std::wstring(L"/dev/full")})
    EXPECT_TRUE(ThrowsId<zvFileAccessException>(write(path), 0,
                                                L"File '" + path + L"' could not be written."));
}

TEST(MachineFileWriter, NothingDependsOnTheLocale) {
  const auto rewritten = [] {
    const Machine machine = ReadBody(Axis("X", "minvalue='-1.5' maxvalue='2.5'"));
    EXPECT_EQ(As<mkdAxis>(machine, L"X").GetMaximum(), 2.5);
    return zvV2XMLWriter(*machine, L"m.xml").GetBytes();
  };
  const std::string plain = rewritten();
  const CommaLocale locale;
  if (!locale.IsSet()) GTEST_SKIP() << "no localedef, or nothing for it to work from";
  EXPECT_EQ(rewritten(), plain);
}

}  // namespace
}  // namespace kintree
