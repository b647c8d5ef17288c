#include <kandrel/kintree/machine_input.h>
#include <kandrel/kintree/machine_overwrite.h>
#include <kandrel/kintree/machine_reader.h>
#include <kandrel/misc/math_exception.h>
#include <kandrel/persistence/settings_file.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <sys/stat.h>
#include <tests/kintree/machine_files.h>

#include <regex>

namespace {

using namespace tests;
using post::zvMachDefUtils;
using post::zvPostException;

// "Z(X(tool))": axes by their letters with what they carry in brackets; X, Y and Z shift along the
// base vector of their place in the alphabet, A, B, C turn, each with limits and pivots of its own.
// A small letter behind another letter is its direction.
std::string Elements(const std::string& text) {
  const auto replace = [](const std::string& in, const std::string& what, const std::string& by) {
    return std::regex_replace(in, std::regex(what), by);
  };
  std::string xml = replace(text, "[A-Z][a-z]{3}|[a-z]{4,}",
                            R"(<geometry name="$&" clrr="1" clrg="1" clrb="1"/>)");
  xml = replace(xml, "\"fixture\"", "$& objtype=\"geometry\"");
  xml = replace(xml, "\"Tool\"", "$& objtype=\"tool\"");
  const std::string turns = "type='rotation' rzz='0' ";
  const std::pair<const char*, std::string> axes[] = {
      {"(X)", "x='2' y='0' z='0' minvalue='-1' maxvalue='1'"},
      {"(Y)", "x='0' y='-2' z='0' minvalue='-2' maxvalue='2'"},
      {"(Z)", "x='0' y='0' z='3' minvalue='-3' maxvalue='3'"},
      {"(A)", turns + "x='1' y='0' z='0' rzx='10' rzy='1' minvalue='-4' maxvalue='4'"},
      {"(B)", turns + "x='0' y='1' z='0' rzx='20' rzy='2' minvalue='-5' maxvalue='5'"},
      {"(C)", turns + "x='0' y='0' z='1' rzx='30' rzy='3' minvalue='-6' maxvalue='6'"},
      {"([A-Z])x", "x='1' y='0' z='0'"},
      {"([A-Z])y", "x='0' y='-1' z='0'"},
      {"([A-Z])z", "x='0' y='0' z='1'"},
      {"([A-Z])s", "x='1' y='1' z='1'"},
      // 1 but for rounding.
      {"([A-Z])u", "x='0.9999999' y='0' z='0'"},
      {"([A-Z])v", "x='0' y='1.0000002' z='0'"},
      {"([A-Z])w", "x='0' y='0' z='0.9999998'"},
      {"([A-Z])r", turns + "x='0.9999999' y='0' z='0' rzx='0' rzy='0'"},
      {"([A-Z])q", turns + "x='1.0000002' y='0' z='0' rzx='0' rzy='0'"}};
  for (const auto& [letters, attributes] : axes)
    xml = replace(xml, std::string("\\b") + letters + "\\(", "<axis id='$1' " + attributes + ">");
  return replace(xml, "\\)", "</axis>");
}

Names Letters(const std::wstring& letters) {
  Names names;
  for (const wchar_t letter : letters) names.emplace_back(1, letter);
  return names;
}

class MachineReader : public testing::Test {
 protected:
  post::zvMachDefBuilder Read(const std::string& elements, const std::string& version = "1.4",
                              const std::string& units = "metric") {
    WriteFile(m_folder.Path("m.xml"),
              MachineFile(Elements(elements), "version='" + version + "' units='" + units + "'"));
    return m_reader.Read();
  }
  std::uint32_t IdOfReading(const std::string& elements) {
    return IdOf([&] { Read(elements); });
  }
  void Settings(int kind, const Names& names, const post::zvMachDef& machDef) {
    post::zvMachDefBuilder builder;
    builder.SetKind(kind);
    builder.SetAxisNames(names);
    builder.SetMachDef(machDef.Clone());
    zvKDSOutput(m_folder.WidePath("m.kds"), builder);
  }
  std::string Text() const { return FileText(m_folder.Path("m.xml")); }

  ScratchFolder m_folder;
  zvMachDefReader m_reader{m_folder.WidePath("m.xml")};
};

std::string Joined(const Names& names) {
  std::wstring all;
  for (const std::wstring& name : names) all += name;
  return misc::ToUtf8(all);
}

// As the cases have it.
std::string InWords(const zvMachDefReader& reader, const post::zvMachDefBuilder& builder) {
  std::ostringstream words;
  words << Joined(builder.GetAxisNames()) << ' ';
  const post::zvMachDef& machDef = *builder.GetMachDef();
  std::vector<Point> pivots;
  if (machDef.GetNumbersOfAxes() == post::zvMachDef::fourAxes) {
    const post::zv4axMachDef& four = zvMachDefUtils::As4ax(machDef);
    words << four.GetRotaryOnWorkpiece() << ' ';
    pivots = {four.GetRotationPivot()};
  } else if (machDef.GetNumbersOfAxes() == post::zvMachDef::fiveAxes) {
    const post::zv5axMachDef& five = zvMachDefUtils::As5ax(machDef);
    words << five.GetFiveAxisKind() << ' ';
    pivots = {five.GetFirstRotationPivot(), five.GetSecondRotationPivot()};
  }
  words << (pivots.empty() ? "-" : Joined(reader.GetRotAxisFound())) << ' '
        << Joined(reader.GetTranAxisFound());
  for (const Point& pivot : pivots) words << ' ' << pivot.x << ',' << pivot.y << ',' << pivot.z;
  return words.str();
}

TEST_F(MachineReader, FindsTheAxesOfMachines) {
  const auto check = [&](const std::string& machine, const std::string& wanted) {
    std::string found;
    try {
      found = InWords(m_reader, Read(machine));
    } catch (const misc::zvException& e) {
      found = std::to_string(e.GetId());
    }
    EXPECT_EQ(found, wanted);
  };
  EXPECT_GT(tests::ForEachCase("machine_reader_cases.txt", check), 20);
}

TEST_F(MachineReader, TakesTheNumbersOfEachAxis) {
  const post::zvMachDefBuilder builder = Read("X(Y(Z(tool)))A(C(workpiece))");
  const post::zv5axMachDef& m = zvMachDefUtils::As5ax(*builder.GetMachDef());
  EXPECT_EQ(builder.GetKind(), 0);
  EXPECT_EQ(Flat(m.GetFirstRotationDirection(), m.GetSecondRotationDirection(),
                 m.GetYAxisDirection(), m.GetMinLimits(), m.GetMaxLimits(), m.GetMinFirstAngle(),
                 m.GetMaxFirstAngle(), m.GetMinSecondAngle(), m.GetMaxSecondAngle()),
            (Numbers{0, 0, 1, 1, 0, 0, 0, -1, 0, -1, -2, -3, 1, 2, 3, -6, 6, -4, 4}));
  EXPECT_TRUE(m_reader.ActivateSpindleRotation());
}

TEST_F(MachineReader, ReadsMachinesOfFewerAxes) {
  // The Y axis moves the workpiece, which drives the tool the other way, its zeros too.
  auto builder = Read("Y(A(workpiece))X(Z(tool))", "1.4", "inch");
  const post::zv4axMachDef& four = zvMachDefUtils::As4ax(*builder.GetMachDef());
  EXPECT_EQ(four.GetRotaryOnWorkpiece(), 1);
  EXPECT_EQ(four.GetYAxisDirection(), Point(0, 1, 0));
  EXPECT_TRUE(std::signbit(four.GetYAxisDirection().x));
  EXPECT_TRUE(std::signbit(four.GetYAxisDirection().z));
  EXPECT_FALSE(std::signbit(four.GetXAxisDirection().y));
  EXPECT_EQ(four.GetUnits(), measures::zvUnitsFactory::inch);
  EXPECT_EQ(m_reader.GetTranAxisFound(), Letters(L"XYZ"));
  builder = Read("X(Y(Z(A(tool))))workpiece", "1.3");
  EXPECT_EQ(zvMachDefUtils::As4ax(*builder.GetMachDef()).GetRotaryOnWorkpiece(), 0);
  // Up to version 1.3 there are no directions.
  EXPECT_EQ(builder.GetMachDef()->GetYAxisDirection(), Point(0, 1, 0));
  EXPECT_FALSE(m_reader.ActivateSpindleRotation());
  Read("X(Y(Z(tool)))workpiece", "1.305");
  EXPECT_TRUE(m_reader.ActivateSpindleRotation());
  builder = Read("X(Y(Z(tool)))workpiece", "1.30000001");
  EXPECT_EQ(builder.GetMachDef()->GetNumbersOfAxes(), post::zvMachDef::threeAxes);
  EXPECT_FALSE(m_reader.ActivateSpindleRotation());
}

TEST_F(MachineReader, StandsStillAlongAnAxisThatIsMissingInOldFiles) {
  const auto old = Read("X(Y(tool))", "1.3");
  EXPECT_EQ(old.GetAxisNames(), (Names{L"X", L"Y", L""}));
  EXPECT_EQ(old.GetMachDef()->GetMaxLimits(), Point(1, 2, 0));
  EXPECT_TRUE(ThrowsId<misc::zvMathException>([&] { Read("X(Y(tool))"); }, 7108));
}

TEST_F(MachineReader, KeepsWhatItHasReadAndWhatItHasMet) {
  for (const wchar_t* const path : {L"machine.XML", L"", L"m.xml "})
    EXPECT_TRUE(ThrowsId<zvKandrelException>([&] { zvMachDefReader(path).Read(); }, 5300));
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { zvMachDefReader(L"no/such.xml").Read(); }, 0,
                                          L"Xml file not found."));
  // What the walk has met is known after a failure too.
  EXPECT_EQ(IdOfReading("A(B(C(tool)))"), 5040u);
  zvXMLInputSurround input(m_folder.WidePath("m.xml"), {}, {0, 0, 1});
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { input.GetMachDef(); }, 5040));
    EXPECT_EQ(input.GetRotAxisFound(), Letters(L"ABC"));
  }
  Read("X(Y(Z(tool)))");
  const auto machDef = input.GetMachDef();
  std::filesystem::remove(m_folder.Path("m.xml"));
  EXPECT_EQ(input.GetMachDef().Get(), machDef.Get());
  EXPECT_EQ(input.GetAxisName(), Letters(L"XYZ"));
}

TEST_F(MachineReader, TakesNamesAndSpindleOrAllFromTheSettings) {
  const char* const trunnion = "X(Y(Z(tool)))A(C(workpiece))";
  post::zv5axMachDef settings;
  settings.SetSpindleDirection({0, 1, 0});
  Settings(1, Letters(L"XYZAC"), settings);
  auto builder = Read(trunnion);
  EXPECT_EQ(builder.GetKind(), 1);
  const post::zv5axMachDef& m = zvMachDefUtils::As5ax(*builder.GetMachDef());
  EXPECT_EQ(m.GetSpindleDirection(), Point(0, 1, 0));
  EXPECT_EQ(m.GetFirstRotationDirection(), Point(1, 0, 0));  // the order of the names
  EXPECT_EQ(m.GetMaxFirstAngle(), 4);
  // A settings file of six axes keeps all its names.
  post::zv6axMachDef six;
  six.SetThirdRotationDirection({0, 1, 0});
  for (const auto& [names, id] :
       std::initializer_list<std::pair<const wchar_t*, std::uint32_t>>{{L"XYZ", 0},
                                                                       {L"XXZ", 7108},
                                                                       {L"XYW", 5037},
                                                                       {L"XY", 5038},
                                                                       {L"XYZUC", 5025},
                                                                       {L"XYZCAC", 5040},
                                                                       {L"XYZCAWW", 5038}}) {
    Settings(1, Letters(names), six);
    EXPECT_EQ(IdOfReading(trunnion), id) << id;
  }
  // Without names the axes and the spindle are the file's.
  Settings(1, {}, settings);
  builder = Read("X(Y(Z(tool)))C(workpiece)");
  EXPECT_EQ(builder.GetKind(), 1);
  EXPECT_TRUE(builder.GetAxisNames().empty());
  EXPECT_EQ(builder.GetMachDef()->GetNumbersOfAxes(), post::zvMachDef::fourAxes);
  EXPECT_EQ(builder.GetMachDef()->GetSpindleDirection(), Point(0, 0, 1));
  Settings(2, Letters(L"UVW"), post::zv3axMachDef());
  std::filesystem::remove(m_folder.Path("m.xml"));
  builder = m_reader.Read();
  EXPECT_EQ(builder.GetKind(), 2);
  EXPECT_EQ(builder.GetAxisNames()[0], L"U");
  EXPECT_TRUE(m_reader.GetTranAxisFound().empty());
  EXPECT_TRUE(m_reader.ActivateSpindleRotation());
}

TEST_F(MachineReader, WithNamesTheLastTranslationAxisGivesTheUnits) {
  const auto read = [&] {
    WriteFile(m_folder.Path("m.xml"),
              MachineFile(Elements("X(Y(Z(tool)))") + "<machine_data version='1.4' units='inch'/>" +
                              Elements("Ux()"),
                          "version='1.4' units='metric'"));
    return m_reader.Read().GetMachDef()->GetUnits();
  };
  EXPECT_EQ(read(), kMetric);
  Settings(1, Letters(L"XYZ"), post::zv3axMachDef());
  EXPECT_EQ(read(), kInch);
}

TEST_F(MachineReader, SettingsThatCannotBeReadAreNotPassedOver) {
  const std::string path = m_folder.Path("m.kds");
  const struct {
    const char* what;
    std::function<void()> make;
    bool isRefused;
  } cases[] = {
      {"folder", [&] { std::filesystem::create_directory(path); }, false},
      {"pipe", [&] { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }, true},
      {"device", [&] { std::filesystem::create_symlink("/dev/zero", path); }, true},
      {"loop", [&] { std::filesystem::create_symlink("m.kds", path); }, true},
      {"link to nothing", [&] { std::filesystem::create_symlink("none", path); }, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    c.make();
    const auto read = [&] { Read("X(Y(Z(tool)))"); };
    if (c.isRefused)
      EXPECT_TRUE(ThrowsId<misc::zvException>(read, 0,
                                              L"File open failed.\n" + m_folder.WidePath("m.kds")));
    else
      EXPECT_NO_THROW(read());
    std::filesystem::remove(path);
  }
}

TEST_F(MachineReader, OverwritingRefusesWhatDoesNotMatchAndLeavesTheFile) {
  const post::zv5axMachDef five;
  post::zv6axMachDef six;
  six.SetThirdRotationDirection({0, 1, 0});
  six.SetThirdRotationPivot({7, 8, 9});
  const post::zv4axMachDef four;
  const post::zv3axMachDef three;
  const char* const trunnion = "X(Y(Z(tool)))A(C(workpiece))";
  const struct {
    const char* elements;
    const post::zvMachDef& machDef;
    const wchar_t* names;
    std::uint32_t id;
  } cases[] = {
      {trunnion, five, L"XYZAC", 0},
      {trunnion, five, L"", 5042},
      {trunnion, five, L"XYZA", 5003},
      {trunnion, five, L"XYWAC", 5037},
      {trunnion, six, L"", 0},
      {trunnion, four, L"", 5042},
      {trunnion, three, L"", 5042},
      {"X(Y(Z(tool)))A(workpiece)", four, L"", 0},
      {"X(Y(Z(tool)))A(workpiece)C(fixture)", four, L"", 5042},
      {"X(Y(Z(tool)))", three, L"", 0},
      {"X(Y(Z(Us(tool))))", three, L"", 5038},
      {"Us(X(Y(Z(tool))))", three, L"", 5037},
      {"X(Y(Z(A(B(C(tool))))))", six, L"XYZABC", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.elements + std::to_string(c.id));
    IdOfReading(c.elements);  // writes the file, whatever it is to posting
    const std::string file = Text();
    const auto machDef = c.machDef.Clone();
    EXPECT_EQ(IdOf([&] {
                zvXMLOverwrite(m_folder.WidePath("m.xml"), machDef, Letters(c.names)).Overwrite();
              }),
              c.id);
    EXPECT_EQ(Text() == file, c.id != 0);
  }
  // Of six axes the third has no limits of its own.
  EXPECT_NE(Text().find(R"(rzx="7.00000000" rzy="8.00000000" rzz="9.00000000" )"
                        R"(minvalue="-100000.00000000" maxvalue="100000.00000000")"),
            std::string::npos)
      << Text();
}

}  // namespace
