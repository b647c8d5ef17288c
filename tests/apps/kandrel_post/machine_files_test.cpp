// Machines as files of both forms, through the command line: what they show, and the names of axes.
#include <kandrel-post/machine/json.h>
#include <kandrel-post/machine/presets.h>
#include <tests/support/bytes.h>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <regex>

#include "posting_checks.h"

namespace {

using tests::Outcome;
using tests::RunLine;

std::string Shown(const std::string& machine, const std::string& option = "") {
  const Outcome run = RunLine("machine show " + machine + " " + option);
  EXPECT_EQ(run.exitCode, 0) << run.failure;
  return run.summary;
}

// What `pattern` finds all over the text, by its first group.
std::string AllOf(const std::string& text, const std::string& pattern, const std::string& between) {
  const std::regex regex(pattern);
  std::string found;
  for (std::sregex_iterator it(text.begin(), text.end(), regex), end; it != end; ++it)
    found += (found.empty() ? "" : between) + it->str(1);
  return found;
}

TEST(SettingsFiles, ShowTheMachineThatWasWritten) {
  const tests::ScratchFolder scratch;
  for (const kandrel_post::Preset& preset : kandrel_post::Presets()) {
    const std::string file = scratch.Path(preset.name + ".kds");
    tests::WriteSettingsFile(file, kandrel_post::MakePreset(preset.name).builder);
    EXPECT_EQ(Shown(file, "--json"), Shown("preset:" + preset.name, "--json"));
    EXPECT_EQ(Shown(file), Shown("preset:" + preset.name));
  }
}

// Any names do: in words and JSON on the way there and back, and in NC text, in both forms.
TEST(AxisNames, StandWhereTheyCanAndElseTheirDefaults) {
  const tests::ScratchFolder scratch;
  const std::string json = scratch.Path("m.json"), kds = scratch.Path("m.kds");
  const std::string out = scratch.Path("out");
  std::ofstream(scratch.Path("m.cl")) << "RAPID\nGOTO/1,2,3\nFINI\n";
  for (const auto& c : tests::Cases("axis_names.txt")) {
    SCOPED_TRACE(c.at(0) + c.at(1));
    const auto axes = static_cast<std::size_t>(std::stoi(c[0]));
    const std::string rotary = axes < 6 ? "" : R"(, "rotary": [{}, {}, {"direction": [1, 0, 0]}])";
    std::ofstream(json) << R"({"axes": )" << c[0] << R"(, "names": )" << c[1] << rotary << "}";
    const auto builder = kandrel_post::ReadMachineFile(json).builder;
    tests::WriteSettingsFile(kds, builder);
    const std::string shown = Shown(json, "--json");
    EXPECT_NE(shown.find("\"names\": " + c[1] + ",\n"), std::string::npos) << shown;
    if (axes == 6 || builder.GetAxisNames().size() <= axes) {
      EXPECT_EQ(Shown(kds, "--json"), shown);
    }
    std::ofstream(json) << shown;
    EXPECT_EQ(Shown(json, "--json"), shown);
    EXPECT_EQ(AllOf(Shown(json), "\n  (.*): (?:linear|rotary),", "|"), c.at(2));
    std::string written;
    for (const std::string& machine : {json, kds}) {
      const Outcome run =
          RunLine("post -m " + machine + " -t " + scratch.Path("m.cl") + " -o " + out);
      ASSERT_EQ(run.exitCode, 0) << run.failure;
      EXPECT_EQ(AllOf(run.summary, "\n  (\\S+) +[-0-9.]+ +[-0-9.]+ +\\S+ +[0-9.e+]+(?=\n)", "|"),
                c[2]);
      const std::string nc = tests::FileText(out + "/posted.nc");
      EXPECT_TRUE(written.empty() || nc == written) << nc << written;
      written = nc;
    }
    const std::string one =
        "\\(AXIS ([1-6]) HAS NO NAME THAT CAN STAND HERE. ITS WORD IS [XYZABC]\\)\n";
    const std::string all =
        "\\(NOT ALL NAMES OF AXES CAN STAND HERE. ([Aa])LL AXES HAVE THEIR DEFAULT LETTERS\\)\n";
    const std::string said =
        AllOf(written, one, "") + (AllOf(written, all, "") == "A" ? "all" : "");
    EXPECT_EQ(said, c.at(3)) << written;
    EXPECT_TRUE(written.starts_with("(MACHINE m, AXES " + c.at(4) + ")\n")) << written;
    const std::string block = written.substr(written.find("N20 G0"));
    EXPECT_EQ(AllOf(block.substr(0, block.find('\n')), " ([A-Za-z]+)-?[0-9]+[.]", " "), c[4]);
    // Comments and four blocks are all.
    const auto comments = static_cast<std::ptrdiff_t>(said == "all" ? 1 : said.size());
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 1 + comments + 4);
  }
}

// Settings files of five axes as they were written long ago.
std::string OldSettings(std::initializer_list<double> directions, double minAngle) {
  tests::Bytes bytes;
  bytes.Raw("KDS ").Int({108}).Hex("01 00").Int({1, 3}).Double({0, 0, 1}).Double(directions);
  bytes.Double({0, 0, 0, 0, 0, 0, minAngle, -120, 100000, 120});
  return bytes.Double({-500, -500, -500, 500, 500, 500}).Int({0});
}

TEST(SettingsFiles, SayWhatHadToBeChanged) {
  const tests::ScratchFolder scratch;
  const std::string file = scratch.Path("old.kds"), path = scratch.Path("m.cl");
  std::ofstream(path) << "RAPID\nGOTO/1,2,3\nFINI\n";
  const auto expect = [&](const std::string& bytes, const std::string& rotary,
                          const std::string& change) {
    std::ofstream(file, std::ios::binary) << bytes;
    const std::string words = Shown(file);
    EXPECT_EQ(AllOf(words, "  [AB]: rotary, about (.*), pivot", " "), rotary);
    EXPECT_EQ(AllOf(words, "\n  changed on reading: (.*)", "|"), change);
    EXPECT_EQ(Shown(file, "--json").find("spindle:"), std::string::npos);
    const Outcome run = RunLine("post -m " + file + " -t " + path + " -o " + scratch.Path("out"));
    EXPECT_EQ(AllOf(run.summary, "\nnote            in the machine, (.*)", "|"), change);
  };
  expect(OldSettings({0, 0, 1, 1, 0, 0}, -90), "(0, 0, 1) (1, 0, 0)", "");
  expect(OldSettings({1, 0, 0, 0, 0, 1}, -90), "(0, 0, 1) (1, 0, 0)",
         "the directions of the rotary axes have changed places: the second was parallel to the "
         "spindle");
  expect(OldSettings({0, 0, 1, 0, 0, -1}, -90), "(0, 0, 1) (1, 0, 0)",
         "the direction of the second rotary axis was replaced by one at right angles: both were "
         "parallel to the spindle");
}

TEST(SettingsFiles, AreNamedWhereTheyCantBeRead) {
  const tests::ScratchFolder scratch;
  const std::string file = scratch.Path("cut.KDS");
  std::ofstream(file, std::ios::binary) << OldSettings({0, 0, 1, 1, 0, 0}, -90).substr(0, 99);
  EXPECT_EQ(RunLine("machine show " + file).failure,
            "error 2148: Unexpected end of input stream!\n  caused by 0: " + file + "\n");
  EXPECT_EQ(RunLine("machine show odd\xFF.kds").failure,
            "error 0: odd\uFFFD.kds: the name of a settings file is UTF-8\n");
}

TEST(SettingsFiles, AreNoJsonWhereANumberIsNotFinite) {
  const tests::ScratchFolder scratch;
  const std::string file = scratch.Path("old.kds");
  for (const double number :
       {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
        std::numeric_limits<double>::quiet_NaN()}) {
    std::ofstream(file, std::ios::binary) << OldSettings({0, 0, 1, 1, 0, 0}, number);
    EXPECT_NE(Shown(file), "");
    const Outcome run = RunLine("machine show --json " + file);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.failure, "error 0: a machine with a number that is not finite can't be JSON\n");
    EXPECT_EQ(run.summary, "");
  }
}

// Its table moves the part: the directions of X and Y are turned round, zeros included.
TEST(MachineDescriptions, ShowNoZeroWithASign) {
  const std::string file = std::string(KANDREL_SOURCE_DIR) + "/machines/mill3.xml";
  EXPECT_NE(Shown(file).find("X: linear, along (1, 0, 0)"), std::string::npos) << Shown(file);
  const std::string json = Shown(file, "--json");
  EXPECT_NE(json.find("\"xAxis\": [1,0,0]"), std::string::npos) << json;
}

TEST(MachineDescriptions, AreReadAndOverwritten) {
  const tests::ScratchFolder scratch;
  const std::string machines = std::string(KANDREL_SOURCE_DIR) + "/machines/";
  const std::string file = scratch.Path("t.xml"), json = scratch.Path("t.json");
  std::filesystem::copy_file(machines + "trunnion_ca.xml", file);
  const std::string shown = Shown(file, "--json");
  EXPECT_EQ(shown, Shown("preset:trunnion_ca", "--json"));
  const std::string narrow = std::regex_replace(shown, std::regex("-120"), "-119.5");
  ASSERT_NE(narrow, shown);
  tests::WriteFile(json, narrow);
  ASSERT_EQ(RunLine("machine overwrite " + file + " --from " + json).exitCode, 0);
  EXPECT_EQ(Shown(file, "--json"), narrow);
  // Without names the axes are looked for under those that are usual: C and B.
  const std::string before = tests::FileText(file);
  tests::WriteFile(json, std::regex_replace(narrow, std::regex("\"names\": [^\n]*\n"), ""));
  const Outcome run = RunLine("machine overwrite " + file + " --from " + json);
  EXPECT_EQ(run.exitCode, 1);
  // The bodies' files are not beside this copy.
  EXPECT_TRUE(run.failure.starts_with("note: The file '" + scratch.Path("base.stl") +
                                      "' isn't there; the body 'base' has no triangles.\n"))
      << run.failure;
  EXPECT_NE(run.failure.find("\nerror 5042: "), std::string::npos) << run.failure;
  EXPECT_EQ(tests::FileText(file), before);
  // A settings file of kind 2 stands for the machine file.
  auto builder = kandrel_post::MakePreset("mill3_metric").builder;
  builder.SetKind(2);
  tests::WriteSettingsFile(scratch.Path("none.kds"), builder);
  EXPECT_EQ(Shown(scratch.Path("none.xml"), "--json"), Shown("preset:mill3_metric", "--json"));
  EXPECT_EQ(RunLine("machine show " + scratch.Path("no.xml")).failure,
            "error 0: Xml file not found.\n  caused by 0: There is no such file.\n  caused by 0: " +
                scratch.Path("no.xml") + "\n");
}

TEST(MachineDescriptions, SayWhatOverwritingDidNotTakeAsItWasMeant) {
  const tests::ScratchFolder scratch;
  const std::string file = scratch.Path("t.xml"), json = scratch.Path("t.json");
  const std::string five = R"("axes": 5, "names": ["X", "Y", "Z", "C", "A"])";
  const std::string limits =
      R"(, "minLimits": [-1, -2, -3], "maxLimits": [1, 2, 3], "rotary": [)"
      R"({"direction": [0, 0, -1], "pivot": [0, 0, 0], "min": -9, "max": 9}, )"
      R"({"direction": [-1, 0, 0], "pivot": [0, 0, 0], "min": -9, "max": 9})";
  const std::string no = "note: " + json + " has no ", taken = ": the default counts, ";
  const std::string widest = "[100000, 100000, 100000]\n";
  const std::string second = no + "rotary[1].direction" + taken + "[0, -1, 0]\n" + no +
                             "rotary[1].pivot" + taken + "[0, 0, 0]\n" + no + "rotary[1].min" +
                             taken + "-100000\n" + no + "rotary[1].max" + taken + "100000\n";
  const std::string out =
      "error 5042: Synchronization betweem machine definition and xml passed to "
      "zvXMLOutputInterpreter failed!.\n";
  const struct {
    std::string json, told;
  } cases[] = {
      {five + limits + "]", ""},
      {five + limits + R"(], "units": "inch")",
       "note: The machine is inch and the machine file is metric: the machine's numbers are "
       "written as they are.\n"},
      {R"("axes": 6, "names": ["X", "Y", "Z", "C", "A", "W"])" + limits +
           R"(, {"direction": [0, 1, 0]}])",
       "note: The machine file has no axis 'W': what the machine says of it is not written.\n" +
           no + "rotary[2].pivot" + taken + "[0, 0, 0]\n"},
      {five + R"(, "minLimits": [1, 2, 3], "rotary": [{"direction": [0, 0, -1], "min": 0}, {}])",
       no + "maxLimits" + taken + widest + no + "rotary[0].pivot" + taken + "[0, 0, 0]\n" + no +
           "rotary[0].max" + taken + "100000\n" + second},
      {R"("axes": 4, "names": ["X", "Y", "Z", "A"])",
       out + "  caused by 0: The file's axis 'C' is its second rotary axis, and the machine has "
             "one.\n"},
      {R"("axes": 5)", out + "  caused by 0: The file's axis 'A' is none of 'C', 'B'.\n"},
      {R"("axes": 3)",
       out + "  caused by 0: The file's axis 'A' is a rotary axis, and the machine has none.\n"},
      {R"("axes": 5, "names": ["U", "Y", "Z", "C", "A"])",
       "error 5037: A translation axis missing in xml.\n"
       "  caused by 0: The file's axis 'X' is none of 'U', 'Y', 'Z'.\n"},
      {R"("axes": 5, "names": ["X", "Y", "Z", "C"])",
       "error 5003: The number of axes names is invalid.\n"
       "  caused by 0: The machine has 5 axes and 4 names.\n"},
      {five + R"(, "minLimits": [0, 0, 0], "maxLimits": [1, 1, 1])",
       no + "rotary[0].direction" + taken + "[0, 0, -1]\n" + no + "rotary[0].pivot" + taken +
           "[0, 0, 0]\n" + no + "rotary[0].min" + taken + "-100000\n" + no + "rotary[0].max" +
           taken + "100000\n" + second},
  };
  const std::string machines = KANDREL_SOURCE_DIR "/machines/";
  for (const char* bodies : {"trunnion_ca", "shared"})
    std::filesystem::copy(machines + bodies, scratch.Path(bodies));
  for (const auto& c : cases) {
    std::filesystem::copy_file(machines + "trunnion_ca.xml", file,
                               std::filesystem::copy_options::overwrite_existing);
    tests::WriteFile(json, "{" + c.json + "}");
    const Outcome run = RunLine("machine overwrite " + file + " --from " + json);
    const bool isError = c.told.starts_with("error");
    EXPECT_EQ(run.exitCode, isError ? 1 : 0);
    EXPECT_EQ(run.failure, c.told + (isError ? "  caused by 0: " + file + "\n" : "")) << c.json;
  }
  tests::WriteFile(json, "{" + five + limits + "]}");
  tests::WriteFile(scratch.Path("t.kds"), "");
  std::filesystem::remove(scratch.Path("shared/chuck.stl"));
  std::filesystem::remove(scratch.Path("chuck.stl"));
  std::filesystem::copy_file(machines + "trunnion_ca.xml", file,
                             std::filesystem::copy_options::overwrite_existing);
  EXPECT_EQ(RunLine("machine overwrite " + file + " --from " + json).failure,
            "note: The file '" + scratch.Path("shared/chuck.stl") +
                "' isn't there; the body 'chuck' has no triangles.\nnote: The file '" +
                scratch.Path("shared/chuck.stl") +
                "' isn't there; the machine file names it without its folder from now on.\nnote: " +
                scratch.Path("t.kds") +
                " stands beside it: posting takes from there what its kind says\n");
  std::filesystem::remove(scratch.Path("t.kds"));
  std::filesystem::copy_file(machines + "fork_ca.xml", file,
                             std::filesystem::copy_options::overwrite_existing);
  tests::WriteFile(json, RunLine("machine show " + file + " --json").summary);
  EXPECT_NE(RunLine("machine overwrite " + file + " --from " + json)
                .failure.find("note: Both rotary axes are in the head: the first pivot is"),
            std::string::npos);
}

// The example of the page moves the tool over the part as it is told to.
TEST(MachineDescriptions, PostTheExampleOfTheirPage) {
  const tests::ScratchFolder scratch;
  const std::string page = tests::FileText(KANDREL_SOURCE_DIR "/docs/machine-files.md");
  const std::size_t begin = page.find("<?xml");
  tests::WriteFile(scratch.Path("mill.xml"), page.substr(begin, page.find("```", begin) - begin));
  tests::WriteFile(scratch.Path("m.cl"), "RAPID\nGOTO/10,20,5\nFINI\n");
  const Outcome run = RunLine("post -m " + scratch.Path("mill.xml") + " -t " +
                              scratch.Path("m.cl") + " -o " + scratch.Path("out"));
  ASSERT_EQ(run.exitCode, 0) << run.failure;
  EXPECT_NE(
      tests::FileText(scratch.Path("out/posted.nc")).find("G0 X10.0000 Y20.0000 Z5.0000 C0.0000\n"),
      std::string::npos);
}

TEST(MachineDescriptions, NameTheFileAndTheReasonWhereTheyCantBeRead) {
  const tests::ScratchFolder scratch;
  const std::string good = tests::FileText(std::string(KANDREL_SOURCE_DIR) + "/machines/mill3.xml");
  const std::string none = "error 0: Xml file not found.\n";
  std::filesystem::create_directories(scratch.Path("folder.xml"));
  tests::WriteSettingsFile(scratch.Path("cut.kds"),
                           kandrel_post::MakePreset("mill3_metric").builder);
  const struct {
    std::string file, bytes, settings, told, blamed;
  } cases[] = {
      {"folder.xml", "", "", none + "  caused by 0: It is a folder.\n", "folder.xml"},
      {"empty.xml", "", "", none + "  caused by 0: The file is empty.\n", "empty.xml"},
      {"cut.xml", "<a>\n<b>\n</a>", "",
       none + "  caused by 0: XML_ERROR_MISMATCHED_ELEMENT in line 2\n", "cut.xml"},
      {"kds.xml", good, "KDS", "error 2148: Unexpected end of input stream!\n", "kds.kds"},
      {"MILL.XML", good, "",
       "error 5300: Wrong xml file passed to function zvMachDefReader::Read().\n"
       "  caused by 0: The ending .xml has to be in small letters, as has .kds.\n",
       "MILL.XML"},
      {"Mill.Xml", good, "",
       "error 5300: Wrong xml file passed to function zvMachDefReader::Read().\n"
       "  caused by 0: The ending .xml has to be in small letters, as has .kds.\n",
       "Mill.Xml"},
  };
  for (const auto& c : cases) {
    const std::string file = scratch.Path(c.file);
    if (!std::filesystem::is_directory(file)) tests::WriteFile(file, c.bytes);
    const std::string settings = std::filesystem::path(file).replace_extension("kds").string();
    if (!c.settings.empty()) tests::WriteFile(settings, c.settings);
    EXPECT_EQ(RunLine("machine show " + file).failure,
              c.told + "  caused by 0: " + scratch.Path(c.blamed) + "\n");
  }
}

}  // namespace
