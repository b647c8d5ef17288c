#include <kandrel/persistence/log_parts.h>
#include <tests/support/memory_streams.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/testing.h>

#include <nlohmann/json.hpp>

#include "posting_checks.h"

namespace {

using namespace tests;
using nlohmann::json;

TEST(Logs, OfPostingsAreShownAndReplayed) {
  const ScratchFolder scratch;
  const std::string cl = scratch.Path("part.cl"), out = scratch.Path("out"), log = out + "/run.kdr";
  std::ofstream(cl) << "PARTNO/run\nUNITS/MM\nMULTAX/ON\n$$ PASS\n$$ SLICE\n$$ LINK 3\nFEDRAT/600\n"
                       "RAPID\nGOTO/0,0,20\n$$ CONTOUR\nGOTO/0,0,0\nGOTO/10,5,0,0,0.6,0.8\n"
                       "GOTO/20,5,0\nFINI\n";
  ASSERT_EQ(RunLine("post -m preset:trunnion_ca -t " + cl + " -o " + out +
                    " --origin 1,2,3 --tool-length 4 --set maxAngleStep=1.5 --control 180,360")
                .exitCode,
            0);
  EXPECT_EQ(RunLine("log cl " + log).summary, FileText(cl));
  EXPECT_EQ(RunLine("log csv " + log).summary, FileText(out + "/posted.csv"));
  EXPECT_EQ(RunLine("log replay " + log).exitCode, 0);
  const json shown = json::parse(RunLine("log show --json " + log).summary);
  const std::pair<const char*, json> told[] = {{"/version", 226},
                                               {"/control", {"180", "360"}},
                                               {"/origin", {1, 2, 3}},
                                               {"/toolLength", 4},
                                               {"/parameters/maxAngleStep", 1.5},
                                               {"/tool/type", "zvEndMill"},
                                               {"/counts/passes", 1},
                                               {"/counts/slices", 1},
                                               {"/counts/sections", 2},
                                               {"/counts/moves", 4},
                                               {"/lostData", json::array()}};
  for (const auto& [place, value] : told)
    EXPECT_EQ(shown.at(json::json_pointer(place)), value) << place;
  std::ofstream(scratch.Path("m.json")) << shown.at("machine").dump();
  EXPECT_EQ(RunLine("machine show " + scratch.Path("m.json")).exitCode, 0);
  EXPECT_NE(RunLine("log show " + log).summary.find("\n  maxAngleStep             1.5\n"),
            std::string::npos);

  // A line that was changed: the time of the last one, which ends 8 bytes before "NULL".
  std::string bytes = FileText(log);
  const double time = 77;
  const std::size_t end = bytes.size() - 12 - 6;  // matrix; mark of contact data, source, inserted
  std::memcpy(bytes.data() + end - sizeof time, &time, sizeof time);
  std::ofstream(log, std::ios::binary) << bytes;
  const auto run = RunLine("log replay " + log);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.failure.find("differs: time is stored as 77, posted again it is "),
            std::string::npos)
      << run.failure;
}

// A log of small moves in which one isn't, or of others in which one is small.
TEST(Logs, OfMixedMovesAreReplayed) {
  const ScratchFolder scratch;
  const std::string cl = scratch.Path("part.cl"), log = scratch.Path("out/run.kdr");
  std::ofstream(cl) << "GOTO/0,0,20\nGOTO/1,0,20\nGOTO/2,0,20\nFINI\n";
  for (const bool isSmall : {false, true}) {
    ASSERT_EQ(RunLine("post -m preset:mill3_metric -t " + cl + " -o " + scratch.Path("out") +
                      (isSmall ? " --small" : ""))
                  .exitCode,
              0);
    std::string bytes = FileText(log);
    // From the end: the matrix, "NULL", and the record of the last move with its extended block.
    const std::size_t record = isSmall ? 94 : 100, flag = 81;
    const std::size_t last = bytes.size() - 12 - record;
    ASSERT_EQ(bytes[last + flag], isSmall);
    bytes[last + flag] = static_cast<char>(!isSmall);
    const std::string block("\0\2\0\0\0\0", 6);
    isSmall ? bytes.insert(last + record, block) : bytes.erase(last + record - 6, 6);
    std::ofstream(log, std::ios::binary) << bytes;
    const auto run = RunLine("log replay " + log);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.failure.find("line 2 differs: extended block is stored as "), std::string::npos)
        << run.failure;
  }
}

TEST(Logs, AreLeftOutWhereTheyCouldNotBeRead) {
  const ScratchFolder scratch;
  const std::string cl = scratch.Path("part.cl"), empty = scratch.Path("empty.cl");
  std::ofstream(cl) << "GOTO/0,0,20\nFINI\n";
  std::ofstream(empty) << "FINI\n";
  const std::tuple<const char*, std::string, bool> cases[] = {{"mill6_cb_w --small", cl, false},
                                                              {"mill6_cb_w", cl, true},
                                                              {"mill3_metric", empty, false},
                                                              {"mill3_metric --small", empty, true},
                                                              {"trunnion_ca", empty, true}};
  for (const auto& [options, path, hasLog] : cases) {
    SCOPED_TRACE(options + path);
    const ScratchFolder out;
    const auto run =
        RunLine(std::string("post -t ") + path + " -o " + out.Path("o") + " -m preset:" + options);
    ASSERT_EQ(run.exitCode, 0) << run.failure;
    EXPECT_EQ(run.summary.find("no run.kdr") == std::string::npos, hasLog) << run.summary;
    const auto replay = RunLine("log replay " + out.Path("o/run.kdr"));
    EXPECT_EQ(replay.exitCode, hasLog ? 0 : 1) << replay.failure;
  }
}

// Of a version in which the sources of lines are found by their places: the first has none.
TEST(Logs, OfOldVersionsShowWhatWasInsertedInFront) {
  const ScratchFolder scratch;
  const std::string log = scratch.Path("old.kdr");
  std::filesystem::copy_file(std::string(KANDREL_SOURCE_DIR) + "/fuzz/corpus/log/log_v183", log);
  const std::string csv = RunLine("log csv " + log).summary;
  EXPECT_NE(csv.find("\n0,6,0,500,1.5,-1,0,0,0,0,,-1,0,0,0,0,1,0,-1,1\n1,"), std::string::npos)
      << csv;
}

TEST(Logs, SiblingsAreShownByTheirTags) {
  using Manager = zvKDRBinaryIOManager;
  const ScratchFolder scratch;
  const post::zv5axMachDef machDef;
  const post::zv5axControlDef control;
  const post::zvKDRParam par(measures::zvUnitsFactory::metric);
  const cadcam::zvTPoint3d<double> origin;
  const zvKDR5AxBase base(machDef, control, par, origin, 9);
  const zvKDRWriterParam writer(measures::zvUnitsFactory::inch);
  const std::tuple<const char*, std::function<void(MemoryOutput&)>, const char*, json> cases[] = {
      {"KDRM", [&](auto& out) { Manager::SaveMachineDefinition(out, machDef); }, "/machine/axes",
       5},
      {"KDRC",
       [&](auto& out) { Manager::SaveControlDefinition(out, control); },
       "/control",
       {"none", "none"}},
      {"KDRP", [&](auto& out) { Manager::SaveKandrelParams(out, par); }, "/parameters/poleHandling",
       3},
      {"KDRT", [&](auto& out) { Manager::SaveToolParams(out, 12.5); }, "/toolLength", 12.5},
      {"KDRW", [&](auto& out) { Manager::SaveWriterParams(out, writer); }, "/writer/toolComment",
       "SAMPLE TOOL"},
      {"KDRA", [&](auto& out) { Manager::SaveAllKandrelParams(out, base, writer); }, "/toolLength",
       9},
      {"KDRA", [&](auto& out) { Manager::SaveAllKandrelParams(out, base, writer); },
       "/writer/units", "inch"}};
  for (const auto& [tag, save, place, value] : cases) {
    MemoryOutput bytes;
    save(bytes);
    std::ofstream(scratch.Path("f.kdr"), std::ios::binary) << tag << bytes.GetBytes().substr(4);
    const json shown = json::parse(RunLine("log show --json " + scratch.Path("f.kdr")).summary);
    EXPECT_EQ(shown.at(json::json_pointer(place)), value) << place;
  }
  // The other commands take logs alone, and a tag of none is refused by all.
  for (const char* const line : {"log csv ", "log cl ", "log replay "})
    EXPECT_TRUE(RunLine(line + scratch.Path("f.kdr")).failure.starts_with("error 2019: ")) << line;
  std::ofstream(scratch.Path("odd.kdr")) << "KDS and more";
  EXPECT_EQ(RunLine("log show " + scratch.Path("odd.kdr")).failure,
            "error 2019: ZVGL binary marker not found. Cannot process this file\n  caused by 0: " +
                scratch.Path("odd.kdr") + "\n");
}

}  // namespace
