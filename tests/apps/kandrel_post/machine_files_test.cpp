// Machines as files of both forms, through the command line: what they show, and the names of axes.
#include <kandrel-post/machine/json.h>
#include <kandrel-post/machine/presets.h>
#include <tests/support/bytes.h>
#include <tests/support/numbers.h>

#include "posting_checks.h"

namespace {

using namespace tests;

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
  const ScratchFolder scratch;
  for (const kandrel_post::Preset& preset : kandrel_post::Presets()) {
    const std::string file = scratch.Path(preset.name + ".kds");
    WriteSettingsFile(file, kandrel_post::MakePreset(preset.name).builder);
    EXPECT_EQ(Shown(file, "--json"), Shown("preset:" + preset.name, "--json"));
    EXPECT_EQ(Shown(file), Shown("preset:" + preset.name));
  }
}

// Any names do: in words and JSON on the way there and back, and in NC text, in both forms.
TEST(AxisNames, StandWhereTheyCanAndElseTheirDefaults) {
  const ScratchFolder scratch;
  const std::string json = scratch.Path("m.json"), kds = scratch.Path("m.kds");
  const std::string out = scratch.Path("out");
  std::ofstream(scratch.Path("m.cl")) << "RAPID\nGOTO/1,2,3\nFINI\n";
  for (const auto& c : Cases("axis_names.txt")) {
    SCOPED_TRACE(c.at(0) + c.at(1));
    const auto axes = static_cast<std::size_t>(std::stoi(c[0]));
    const std::string rotary = axes < 6 ? "" : R"(, "rotary": [{}, {}, {"direction": [1, 0, 0]}])";
    std::ofstream(json) << R"({"axes": )" << c[0] << R"(, "names": )" << c[1] << rotary << "}";
    const auto builder = kandrel_post::ReadMachineFile(json).builder;
    WriteSettingsFile(kds, builder);
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
      const std::string nc = FileText(out + "/posted.nc");
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
std::string OldSettings(const Numbers& directions, double minAngle) {
  Bytes bytes;
  bytes.Raw("KDS ").Int({108}).Hex("01 00").Int({1, 3}).Double({0, 0, 1});
  for (const double number : directions) bytes.Double({number});
  bytes.Double({0, 0, 0, 0, 0, 0, minAngle, -120, 100000, 120});
  return bytes.Double({-500, -500, -500, 500, 500, 500}).Int({0});
}

TEST(SettingsFiles, SayWhatHadToBeChanged) {
  const ScratchFolder scratch;
  const std::string file = scratch.Path("old.kds"), path = scratch.Path("m.cl");
  std::ofstream(path) << "RAPID\nGOTO/1,2,3\nFINI\n";
  const std::pair<Numbers, std::string> cases[] = {
      {{0, 0, 1, 1, 0, 0}, ""},
      {{1, 0, 0, 0, 0, 1},
       "the directions of the rotary axes have changed places: the second was parallel to the "
       "spindle"},
      {{0, 0, 1, 0, 0, -1},
       "the direction of the second rotary axis was replaced by one at right angles: both were "
       "parallel to the spindle"}};
  for (const auto& [directions, change] : cases) {
    std::ofstream(file, std::ios::binary) << OldSettings(directions, -90);
    const std::string words = Shown(file);
    EXPECT_EQ(AllOf(words, "  [AB]: rotary, about (.*), pivot", " "), "(0, 0, 1) (1, 0, 0)");
    EXPECT_EQ(AllOf(words, "\n  changed on reading: (.*)", "|"), change);
    EXPECT_EQ(Shown(file, "--json").find("spindle:"), std::string::npos);
    const Outcome run = RunLine("post -m " + file + " -t " + path + " -o " + scratch.Path("out"));
    EXPECT_EQ(AllOf(run.summary, "\nnote            in the machine, (.*)", "|"), change);
  }
}

TEST(SettingsFiles, ThatCantBeReadOrShownAreNamed) {
  const ScratchFolder scratch;
  const std::string cut = scratch.Path("cut.KDS"), odd = scratch.Path("odd.kds");
  std::ofstream(cut, std::ios::binary) << OldSettings({0, 0, 1, 1, 0, 0}, -90).substr(0, 99);
  EXPECT_EQ(RunLine("machine show " + cut).failure,
            "error 2148: Unexpected end of input stream!\n  caused by 0: " + cut + "\n");
  EXPECT_EQ(RunLine("machine show odd\xFF.kds").failure,
            "error 0: odd\uFFFD.kds: the name of a settings file is UTF-8\n");
  for (const double number : {kInfinity, -kInfinity, kNaN}) {
    std::ofstream(odd, std::ios::binary) << OldSettings({0, 0, 1, 1, 0, 0}, number);
    EXPECT_NE(Shown(odd), "");
    const Outcome run = RunLine("machine show --json " + odd);
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
  const ScratchFolder scratch;
  const std::string machines = std::string(KANDREL_SOURCE_DIR) + "/machines/";
  const std::string file = scratch.Path("t.xml"), json = scratch.Path("t.json");
  std::filesystem::copy_file(machines + "trunnion_ca.xml", file);
  const std::string shown = Shown(file, "--json");
  EXPECT_EQ(shown, Shown("preset:trunnion_ca", "--json"));
  const std::string narrow = std::regex_replace(shown, std::regex("-120"), "-119.5");
  ASSERT_NE(narrow, shown);
  WriteFile(json, narrow);
  ASSERT_EQ(RunLine("machine overwrite " + file + " --from " + json).exitCode, 0);
  EXPECT_EQ(Shown(file, "--json"), narrow);
  // A settings file of kind 2 stands for the machine file.
  auto builder = kandrel_post::MakePreset("mill3_metric").builder;
  builder.SetKind(2);
  WriteSettingsFile(scratch.Path("none.kds"), builder);
  EXPECT_EQ(Shown(scratch.Path("none.xml"), "--json"), Shown("preset:mill3_metric", "--json"));
}

TEST(MachineDescriptions, SayWhatOverwritingDidNotTakeAsItWasMeant) {
  const ScratchFolder scratch;
  const std::string file = scratch.Path("t.xml"), json = scratch.Path("t.json");
  const std::string machines = KANDREL_SOURCE_DIR "/machines/";
  for (const char* bodies : {"trunnion_ca", "shared"})
    std::filesystem::copy(machines + bodies, scratch.Path(bodies));
  const auto overwrite = [&](const std::string& machine) {
    std::filesystem::copy_file(machines + machine, file,
                               std::filesystem::copy_options::overwrite_existing);
    return RunLine("machine overwrite " + file + " --from " + json);
  };
  for (const auto& c : Cases("overwriting.txt")) {
    std::string text = "{" + c.at(0) + "}";
    Replace(text, "FIVE", R"("axes": 5, "names": ["X", "Y", "Z", "C", "A"])");
    Replace(text, " LIMITS",
            R"(, "minLimits": [-1, -2, -3], "maxLimits": [1, 2, 3], "rotary": [)"
            R"({"direction": [0, 0, -1], "pivot": [0, 0, 0], "min": -9, "max": 9}, )"
            R"({"direction": [-1, 0, 0], "pivot": [0, 0, 0], "min": -9, "max": 9})");
    WriteFile(json, text);
    std::string told;
    for (std::size_t i = 1; i < c.size(); ++i) {
      const std::size_t value = c[i].find(' ', 3);
      told += c[i].starts_with("no ") ? "note: " + json + " has " + c[i].substr(0, value) +
                                            ": the default counts," + c[i].substr(value) + "\n"
                                      : (c[i].starts_with("caused") ? "  " : "") + c[i] + "\n";
    }
    const Outcome run = overwrite("trunnion_ca.xml");
    const bool isError = told.starts_with("error");
    EXPECT_EQ(run.exitCode, isError ? 1 : 0);
    EXPECT_EQ(run.failure, told + (isError ? "  caused by 0: " + file + "\n" : "")) << c[0];
  }
  WriteFile(json, Shown(machines + "trunnion_ca.xml", "--json"));
  WriteFile(scratch.Path("t.kds"), "");
  std::filesystem::remove(scratch.Path("shared/chuck.stl"));
  std::filesystem::remove(scratch.Path("chuck.stl"));
  EXPECT_EQ(overwrite("trunnion_ca.xml").failure,
            "note: The file '" + scratch.Path("shared/chuck.stl") +
                "' isn't there; the body 'chuck' has no triangles.\nnote: The file '" +
                scratch.Path("shared/chuck.stl") +
                "' isn't there; the machine file names it without its folder from now on.\nnote: " +
                scratch.Path("t.kds") +
                " stands beside it: posting takes from there what its kind says\n");
  WriteFile(json, Shown(machines + "fork_ca.xml", "--json"));
  EXPECT_NE(overwrite("fork_ca.xml")
                .failure.find("note: Both rotary axes are in the head: the first pivot is"),
            std::string::npos);
}

// The example of the page moves the tool over the part as it is told to.
TEST(MachineDescriptions, PostTheExampleOfTheirPage) {
  const ScratchFolder scratch;
  const std::string page = FileText(KANDREL_SOURCE_DIR "/docs/machine-files.md");
  const std::size_t begin = page.find("<?xml");
  WriteFile(scratch.Path("mill.xml"), page.substr(begin, page.find("```", begin) - begin));
  WriteFile(scratch.Path("m.cl"), "RAPID\nGOTO/10,20,5\nFINI\n");
  const Outcome run = RunLine("post -m " + scratch.Path("mill.xml") + " -t " +
                              scratch.Path("m.cl") + " -o " + scratch.Path("out"));
  ASSERT_EQ(run.exitCode, 0) << run.failure;
  EXPECT_NE(FileText(scratch.Path("out/posted.nc")).find("G0 X10.0000 Y20.0000 Z5.0000 C0.0000\n"),
            std::string::npos);
}

TEST(MachineDescriptions, NameTheFileAndTheReasonWhereTheyCantBeRead) {
  const ScratchFolder scratch;
  std::filesystem::create_directories(scratch.Path("folder.xml"));
  for (const auto& c : Cases("unreadable_machines.txt")) {
    const std::string file = scratch.Path(c.at(0));
    if (c.at(1) != "none") WriteFile(file, c[1]);
    const std::string settings = std::filesystem::path(file).replace_extension("kds").string();
    if (!c.at(2).empty()) WriteFile(settings, c[2]);
    EXPECT_EQ(RunLine("machine show " + file).failure,
              c.at(3) + "\n" + (c.at(4).empty() ? "" : "  caused by 0: " + c[4] + "\n") +
                  "  caused by 0: " + scratch.Path(c.at(5)) + "\n");
  }
}

}  // namespace
