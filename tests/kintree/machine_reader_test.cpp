#include <kandrel/kintree/machine_input.h>
#include <kandrel/kintree/machine_overwrite.h>
#include <kandrel/kintree/machine_reader.h>
#include <kandrel/misc/math_exception.h>
#include <kandrel/persistence/settings_file.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/points.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

#include <regex>

namespace {

using post::zvMachDefUtils;
using post::zvPostException;
using tests::Point;
using tests::ScratchFolder;
using tests::ThrowsId;
using Names = std::vector<std::wstring>;

// "Z(X(tool))": axes by their letters with what they carry in brackets; X, Y, Z and others shift
// along the base vector of their place in the alphabet, A, B, C turn. Limits and pivots tell the
// axes apart.
std::string Elements(const std::string& text) {
  const std::string geometry = R"(<geometry name="$&" clrr="1" clrg="1" clrb="1"/>)";
  std::string xml = std::regex_replace(text, std::regex("[a-z]{4,}"), geometry);
  xml = std::regex_replace(xml, std::regex("\"fixture\""), "$& objtype=\"geometry\"");
  const auto axis = [&](const char* letters, const std::string& attributes) {
    xml = std::regex_replace(xml, std::regex("\\b([" + std::string(letters) + "])\\("),
                             "<axis id=\"$1\" " + attributes + ">");
  };
  const std::string pivot = " type=\"rotation\" rzz=\"0\" ";
  axis("X", "x=\"2\" y=\"0\" z=\"0\" minvalue=\"-1\" maxvalue=\"1\"");
  axis("Y", "x=\"0\" y=\"-2\" z=\"0\" minvalue=\"-2\" maxvalue=\"2\"");
  axis("Z", "x=\"0\" y=\"0\" z=\"3\" minvalue=\"-3\" maxvalue=\"3\"");
  axis("A", pivot + "x=\"1\" y=\"0\" z=\"0\" rzx=\"10\" rzy=\"1\" minvalue=\"-4\" maxvalue=\"4\"");
  axis("B", pivot + "x=\"0\" y=\"1\" z=\"0\" rzx=\"20\" rzy=\"2\" minvalue=\"-5\" maxvalue=\"5\"");
  axis("C", pivot + "x=\"0\" y=\"0\" z=\"1\" rzx=\"30\" rzy=\"3\" minvalue=\"-6\" maxvalue=\"6\"");
  return std::regex_replace(xml, std::regex("\\)"), "</axis>");
}

std::string File(const std::string& elements, const std::string& version = "1.4",
                 const std::string& units = "metric") {
  return "<machine_definition><machine_data version=\"" + version + "\" units=\"" + units + "\"/>" +
         elements + "</machine_definition>";
}

class MachineReader : public testing::Test {
 protected:
  post::zvMachDefBuilder Read(const std::string& file) {
    tests::WriteFile(m_folder.Path("m.xml"), file);
    return m_reader.Read();
  }
  std::uint32_t IdOf(const std::string& file) {
    return tests::IdOf([&] { Read(file); });
  }
  void Settings(int kind, const Names& names, const post::zvMachDef& machDef) {
    post::zvMachDefBuilder builder;
    builder.SetKind(kind);
    builder.SetAxisNames(names);
    builder.SetMachDef(machDef.Clone());
    zvKDSOutput(m_folder.WidePath("m.kds"), builder);
  }

  ScratchFolder m_folder;
  zvMachDefReader m_reader{m_folder.WidePath("m.xml")};
};

TEST_F(MachineReader, OrdersRotaryAxesWhateverTheOrderOfTheBranches) {
  const struct {
    const char* elements;
    const wchar_t* rotaries;
    int kind;
    Point pivot1, pivot2;
  } cases[] = {
      {"X(Y(Z(tool)))A(C(workpiece))", L"CA", 3, {30, 3, 0}, {10, 1, 0}},
      {"A(C(workpiece))X(Y(Z(tool)))", L"CA", 3, {30, 3, 0}, {10, 1, 0}},
      {"X(Y(Z(B(tool))))C(workpiece)", L"CB", 2, {30, 3, 0}, {20, 2, 0}},
      {"C(werkstueck)X(Y(Z(B(tool))))", L"CB", 2, {30, 3, 0}, {20, 2, 0}},
      {"X(Y(Z(C(B(tool)))))workpiece", L"CB", 1, {10, 1, 0}, {20, 2, 0}},
      {"workpieceX(Y(Z(C(B(tool)))))", L"CB", 1, {10, 1, 0}, {20, 2, 0}},
      // One that carries neither is met and left out.
      {"A(fixture)X(Y(Z(B(tool))))C(workpiece)", L"CB", 2, {30, 3, 0}, {20, 2, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.elements);
    const post::zvMachDefBuilder builder = Read(File(Elements(c.elements)));
    EXPECT_EQ(builder.GetKind(), 0);
    const post::zv5axMachDef& m = zvMachDefUtils::As5ax(*builder.GetMachDef());
    EXPECT_EQ(builder.GetAxisNames(), (Names{L"X", L"Y", L"Z", std::wstring(1, c.rotaries[0]),
                                             std::wstring(1, c.rotaries[1])}));
    EXPECT_EQ(m.GetFiveAxisKind(), c.kind);
    EXPECT_EQ(m.GetFirstRotationPivot(), c.pivot1);
    EXPECT_EQ(m.GetSecondRotationPivot(), c.pivot2);
    EXPECT_EQ(m.GetFirstRotationDirection(), Point(0, 0, 1));
    EXPECT_EQ(m.GetMaxFirstAngle(), 6);
    EXPECT_EQ(m.GetMinSecondAngle(), c.rotaries[1] == L'A' ? -4 : -5);
    EXPECT_EQ(m.GetMinLimits(), Point(-1, -2, -3));
    EXPECT_EQ(m.GetMaxLimits(), Point(1, 2, 3));
    EXPECT_EQ(m.GetYAxisDirection(), Point(0, -1, 0));
    EXPECT_TRUE(m_reader.ActivateSpindleRotation());
  }
  EXPECT_EQ(m_reader.GetRotAxisFound(), (Names{L"A", L"B", L"C"}));
}

TEST_F(MachineReader, ReadsMachinesOfFewerAxes) {
  // The Y axis moves the workpiece, which drives the tool the other way.
  auto builder = Read(File(Elements("Y(A(workpiece))X(Z(tool))"), "1.4", "inch"));
  const post::zv4axMachDef& four = zvMachDefUtils::As4ax(*builder.GetMachDef());
  EXPECT_EQ(four.GetRotaryOnWorkpiece(), 1);
  EXPECT_EQ(four.GetYAxisDirection(), Point(0, 1, 0));
  EXPECT_EQ(four.GetUnits(), measures::zvUnitsFactory::inch);
  EXPECT_EQ(m_reader.GetTranAxisFound(), (Names{L"X", L"Y", L"Z"}));
  builder = Read(File(Elements("X(Y(Z(A(tool))))workpiece"), "1.3"));
  EXPECT_EQ(zvMachDefUtils::As4ax(*builder.GetMachDef()).GetRotaryOnWorkpiece(), 0);
  // Up to version 1.3 there are no directions.
  EXPECT_EQ(builder.GetMachDef()->GetYAxisDirection(), Point(0, 1, 0));
  EXPECT_FALSE(m_reader.ActivateSpindleRotation());
  Read(File(Elements("X(Y(Z(tool)))workpiece"), "1.305"));
  EXPECT_TRUE(m_reader.ActivateSpindleRotation());
  builder = Read(File(Elements("X(Y(Z(tool)))workpiece"), "1.30000001"));
  EXPECT_EQ(builder.GetMachDef()->GetNumbersOfAxes(), post::zvMachDef::threeAxes);
  EXPECT_FALSE(m_reader.ActivateSpindleRotation());
}

TEST_F(MachineReader, FindsLinearAxesByNameThenByDirection) {
  const auto axis = [](const std::string& id, const char* direction) {
    return "<axis id=\"" + id + "\" " + direction + ">";
  };
  const char* const x = "x=\"1\" y=\"0\" z=\"0\"";
  const char* const y = "x=\"0\" y=\"-1\" z=\"0\"";
  const char* const z = "x=\"0\" y=\"0\" z=\"1\"";
  const char* const skew = "x=\"1\" y=\"1\" z=\"1\"";
  const std::string end = Elements("tool") + "</axis></axis></axis>";
  const struct {
    std::string axes;
    Names names;
    std::uint32_t id;
  } cases[] = {
      {axis("A", y) + axis("Q", z) + axis("B", x), {L"B", L"A", L"Q"}, 0},
      {axis("A", skew) + axis("B", z) + axis("Q", y), {L"A", L"Q", L"B"}, 0},
      {axis("Z", x) + axis("Y", z) + axis("W", y), {L"W", L"Y", L"Z"}, 0},
      {axis("A", x) + axis("B", x) + axis("Q", y), {}, 5037},
      {axis("A", x) + axis("B", skew) + axis("Q", skew), {}, 5037},
      {axis("Q", x) + axis("X", y) + axis("R", z), {}, 5036},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.axes);
    const std::string file = File(c.axes + end);
    EXPECT_EQ(IdOf(file), c.id);
    if (c.id != 0) continue;
    EXPECT_EQ(Read(file).GetAxisNames(), c.names);
    EXPECT_EQ(m_reader.GetTranAxisFound(), c.names);
  }
  // One that carries neither is met, and lost where the three take the first places.
  Read(File("<axis id=\"U\" x=\"1\" y=\"0\" z=\"0\"/>" + Elements("X(Y(Z(tool)))")));
  EXPECT_EQ(m_reader.GetTranAxisFound(), (Names{L"X", L"Y", L"Z", L"Z"}));
  // Two axes and an empty third: without directions a machine that stands still along it.
  const std::string two = Elements("X(Y(tool))");
  const auto old = Read(File(two, "1.3"));
  EXPECT_EQ(old.GetAxisNames(), (Names{L"X", L"Y", L""}));
  EXPECT_EQ(old.GetMachDef()->GetMaxLimits(), Point(1, 2, 0));
  EXPECT_TRUE(ThrowsId<misc::zvMathException>([&] { Read(File(two)); }, 7108));
}

TEST_F(MachineReader, RefusesWhatIsNoPostingMachine) {
  const std::string fourth = R"(<axis id="U" x="1" y="1" z="0">)";
  EXPECT_EQ(IdOf(File(Elements("X(Y(Z(") + fourth + Elements("tool))))"))), 5038u);
  EXPECT_EQ(IdOf(File(Elements("X(Y(Z(A(B(C(tool))))))"))), 5040u);
  EXPECT_EQ(IdOf(File(Elements("workpiece"))), 5037u);
  for (const wchar_t* const path : {L"machine.XML", L"", L"m.xml "})
    EXPECT_TRUE(ThrowsId<zvKandrelException>([&] { zvMachDefReader(path).Read(); }, 5300));
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { zvMachDefReader(L"no/such.xml").Read(); }, 0,
                                          L"Xml file not found."));
  // What the walk has met is known after a failure too.
  tests::WriteFile(m_folder.Path("m.xml"), File(Elements("A(B(C(tool)))")));
  zvXMLInputSurround input(m_folder.WidePath("m.xml"), {}, {0, 0, 1});
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { input.GetMachDef(); }, 5040));
    EXPECT_EQ(input.GetRotAxisFound(), (Names{L"A", L"B", L"C"}));
  }
  // What was read once is kept.
  tests::WriteFile(m_folder.Path("m.xml"), File(Elements("X(Y(Z(tool)))")));
  const auto machDef = input.GetMachDef();
  std::filesystem::remove(m_folder.Path("m.xml"));
  EXPECT_EQ(input.GetMachDef().Get(), machDef.Get());
  EXPECT_EQ(input.GetAxisName(), (Names{L"X", L"Y", L"Z"}));
}

TEST_F(MachineReader, TakesNamesAndSpindleOrAllFromTheSettings) {
  const std::string file = File(Elements("X(Y(Z(tool)))A(C(workpiece))"));
  post::zv5axMachDef settings;
  settings.SetSpindleDirection({0, 1, 0});
  Settings(1, {L"X", L"Y", L"Z", L"A", L"C"}, settings);
  auto builder = Read(file);
  EXPECT_EQ(builder.GetKind(), 1);
  const post::zv5axMachDef& m = zvMachDefUtils::As5ax(*builder.GetMachDef());
  EXPECT_EQ(m.GetSpindleDirection(), Point(0, 1, 0));
  EXPECT_EQ(m.GetFirstRotationDirection(), Point(1, 0, 0));  // the order of the names
  EXPECT_EQ(m.GetMaxFirstAngle(), 4);
  const struct {
    Names names;
    std::uint32_t id;
  } cases[] = {{{L"X", L"Y", L"Z"}, 0},
               {{L"X", L"X", L"Z"}, 7108},
               {{L"X", L"Y", L"W"}, 5037},
               {{L"X", L"Y"}, 5038},
               {{L"X", L"Y", L"Z", L"U", L"C"}, 5025},
               {{L"X", L"Y", L"Z", L"C", L"A", L"C"}, 5040},
               {{L"X", L"Y", L"Z", L"C", L"A", L"W", L"W"}, 5038}};
  for (const auto& c : cases) {
    // A settings file of six axes keeps all its names.
    post::zv6axMachDef six;
    six.SetThirdRotationDirection({0, 1, 0});
    Settings(1, c.names, six);
    EXPECT_EQ(IdOf(file), c.id) << c.names.size();
  }
  Settings(2, {L"U", L"V", L"W"}, post::zv3axMachDef());
  std::filesystem::remove(m_folder.Path("m.xml"));
  builder = m_reader.Read();
  EXPECT_EQ(builder.GetKind(), 2);
  EXPECT_EQ(builder.GetAxisNames()[0], L"U");
  EXPECT_TRUE(m_reader.GetTranAxisFound().empty());
  EXPECT_TRUE(m_reader.ActivateSpindleRotation());
}

class Overwriting : public MachineReader {
 protected:
  void Overwrite(const post::zvMachDef& machDef, const Names& names) {
    const auto pointer = machDef.Clone();
    zvXMLOverwrite(m_folder.WidePath("m.xml"), pointer, names).Overwrite();
  }
  std::string Text() const { return tests::FileText(m_folder.Path("m.xml")); }
};

TEST_F(Overwriting, RefusesWhatDoesNotMatchAndLeavesTheFile) {
  const post::zv5axMachDef five;
  post::zv6axMachDef six;
  six.SetThirdRotationDirection({0, 1, 0});
  const post::zv4axMachDef four;
  const post::zv3axMachDef three;
  const std::string trunnion = "X(Y(Z(tool)))A(C(workpiece))";
  const struct {
    std::string elements;
    const post::zvMachDef& machDef;
    Names names;
    std::uint32_t id;
  } cases[] = {
      {trunnion, five, {L"X", L"Y", L"Z", L"A", L"C"}, 0},
      {trunnion, five, {}, 5042},
      {trunnion, five, {L"X", L"Y", L"Z", L"A"}, 5003},
      {trunnion, five, {L"X", L"Y", L"W", L"A", L"C"}, 5037},
      {trunnion, six, {}, 0},
      {trunnion, four, {}, 5042},
      {trunnion, three, {}, 5042},
      {"X(Y(Z(tool)))A(workpiece)", four, {}, 0},
      {"X(Y(Z(tool)))A(workpiece)C(fixture)", four, {}, 5042},
      {"X(Y(Z(tool)))", three, {}, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.elements + std::to_string(c.id));
    const std::string file = File(Elements(c.elements));
    tests::WriteFile(m_folder.Path("m.xml"), file);
    EXPECT_EQ(tests::IdOf([&] { Overwrite(c.machDef, c.names); }), c.id);
    EXPECT_EQ(Text() == file, c.id != 0);
  }
  const std::string other = R"(<axis id="U" x="1" y="1" z="0">)";
  for (const auto& [file, id] :
       {std::pair(Elements("X(Y(Z(") + other + Elements("tool))))"), 5038u),
        std::pair(other + Elements("X(Y(Z(tool))))"), 5037u)}) {
    tests::WriteFile(m_folder.Path("m.xml"), File(file));
    EXPECT_EQ(tests::IdOf([&] { Overwrite(three, {}); }), id);
  }
  // Of six axes the third has no limits of its own, and a fourth rotary axis is one too many.
  tests::WriteFile(m_folder.Path("m.xml"), File(Elements("X(Y(Z(A(B(C(tool))))))")));
  Overwrite(six, {L"X", L"Y", L"Z", L"A", L"B", L"C"});
  EXPECT_NE(Text().find(R"(minvalue="-100000.00000000" maxvalue="100000.00000000")"),
            std::string::npos)
      << Text();
}

}  // namespace
