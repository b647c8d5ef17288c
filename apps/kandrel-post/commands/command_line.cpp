#include "kandrel-post/commands/command_line.h"

#include <fmt/format.h>
#include <kandrel/kintree/message_hook.h>
#include <kandrel/misc/text.h>
#include <kandrel/version.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "kandrel-post/commands/commands.h"
#include "kandrel-post/commands/parameters.h"
#include "kandrel-post/host/errors.h"
#include "kandrel-post/host/memory_limit.h"
#include "kandrel-post/host/signals.h"
#include "kandrel-post/out/text_sink.h"
#include "kandrel-post/pictures/page_template.h"

namespace kandrel_post {

namespace {

// CLI11 shows the text that a check returns; empty means good.
template <class Parse>
CLI::Validator Check(Parse parse) {
  return CLI::Validator(
      [parse](std::string& text) {
        try {
          parse(text);
          return std::string();
        } catch (const UsageError& e) {
          return std::string(e.what());
        }
      },
      "");
}

void AddSample(CLI::App& app) {
  CLI::App& command = *app.add_subcommand(
      "sample", "Write a built-in toolpath to standard output as CL text; without NAME list them");
  command.footer("Example: kandrel-post sample pocket_plate > plate.cl");
  auto name = std::make_shared<std::string>();
  command.add_option("NAME", *name, "name of the sample");
  command.callback([name] { name->empty() ? ListSamples() : PrintSample(*name); });
}

constexpr const char* kToleranceHelp =
    "how far the machine may leave the path between lines: TIP in the path's units, AXIS in "
    "degrees "
    "(0.01 mm or 0.0005 in, 0.1); off: lines by steps alone";

// The options of a run, which a verification of it takes too.
std::string SettingNames() {
  std::string names;
  for (const auto& setting : SettingsOf(post::zvKDRParam(measures::zvUnitsFactory::metric)))
    names += fmt::format("{}{}", names.empty() ? "" : ", ", setting.first);
  return names;
}

class RunOptions {
 public:
  explicit RunOptions(CLI::App& command) {
    command
        .add_option("-m,--machine", m_options.machine, "preset:NAME, a .json, .kds or .xml file")
        ->required();
    command.add_option("-t,--toolpath", m_options.toolPathFile, "file with CL text")->required();
    command.add_option("--origin", m_origin, "part origin X,Y,Z (0,0,0)")
        ->check(Check(&ParsePoint));
    command.add_option("--tool-length", m_toolLength, "tool length compensation (0)")
        ->check(Check(&ParseLength));
    command
        .add_option(
            "--set", m_options.settings,
            "NAME=VALUE, a posting parameter by its field name; repeatable: " + SettingNames())
        ->allow_extra_args(false)
        ->check(Check(&CheckSetting));
    command.add_option("--control", m_control, "none, 360 or 180 for each rotary axis (none,none)")
        ->check(Check(&ParseControl));
    command.add_flag("--small", m_options.small, "posted moves without their extended block");
    command.add_option("--link-type", m_options.rapidLinkType, "link type of rapid stretches (5)")
        ->check(CLI::Range(0, 5));
    command.add_option("--tolerance", m_tolerance, kToleranceHelp)->check(Check(&ParseTolerance));
    command
        .add_option("--max-rotary-speed", m_maxRotarySpeed,
                    "degrees a minute; tell of blocks that turn an axis faster at their feed")
        ->check(Check(&ParsePositive));
  }

  PostOptions Take() const {
    PostOptions options = m_options;
    options.origin = ParsePoint(m_origin);
    options.toolLength = ParseLength(m_toolLength);
    options.control = ParseControl(m_control);
    if (!m_tolerance.empty()) options.tolerance = ParseTolerance(m_tolerance);
    if (!m_maxRotarySpeed.empty()) options.maxRotarySpeed = ParsePositive(m_maxRotarySpeed);
    return options;
  }

 private:
  PostOptions m_options;
  std::string m_origin = "0,0,0";
  std::string m_toolLength = "0";
  std::string m_control = "none,none";
  std::string m_tolerance;
  std::string m_maxRotarySpeed;
};

// A line for what the build had to leave out; empty where that is nothing.
std::string LeftOut() {
  return PageLeftOut().empty() ? "" : fmt::format("\nreport.html left out: {}", PageLeftOut());
}

void AddPost(CLI::App& app) {
  CLI::App& command = *app.add_subcommand("post",
                                          "Post a toolpath for a machine; write posted.csv, "
                                          "posted.nc, run.kdr, report.html, run.glb and a "
                                          "summary; those that another run left in the folder, "
                                          "and this one doesn't write, go");
  command.footer("Example: kandrel-post post -m preset:mill3_metric -t plate.cl -o out" +
                 LeftOut());
  auto options = std::make_shared<RunOptions>(command);
  auto folder = std::make_shared<std::string>();
  command.add_option("-o,--output", *folder, "folder for the results, made if missing")->required();
  auto noReport = std::make_shared<bool>(false);
  command.add_flag("--no-report", *noReport,
                   "without report.html, the run as a page for a browser, and run.glb, its "
                   "motion for a viewer of glTF");
  auto refusedReport = std::make_shared<bool>(false);
  command
      .add_flag("--refused-report", *refusedReport,
                "where the kernel refuses the run, write refused.html, a page that says why; for "
                "limits with the lines of the same run posted without checks")
      ->excludes("--no-report");
  command.callback([options, folder, noReport, refusedReport] {
    PostOptions taken = options->Take();
    taken.folder = *folder;
    taken.report = !*noReport;
    taken.refusedReport = *refusedReport;
    RunPost(taken);
  });
}

void AddVerify(CLI::App& app) {
  CLI::App& command = *app.add_subcommand(
      "verify",
      "Hold posted lines of anybody against toolpath and machine; a line for each finding");
  command.footer(
      "Give the options that the lines were posted with. Limits are looked at unless --set "
      "limitsCheck says which. --small and --link-type are taken, but change nothing here.\n"
      "POSTED.csv may have the columns of posted.csv alone; one with any other is refused.\n"
      "Example: kandrel-post verify -m preset:trunnion_ca -t part.cl out/posted.csv --tolerance "
      "0.01");
  auto options = std::make_shared<RunOptions>(command);
  auto file = std::make_shared<std::string>();
  command.add_option("POSTED.csv", *file, "posted lines in the form of posted.csv")->required();
  auto lineTolerance = std::make_shared<std::string>();
  command
      .add_option("--line-tolerance", *lineTolerance,
                  "how far a line may lie off where it should, for numbers of few decimals: TIP in "
                  "the path's units, AXIS in degrees (by rounding alone, 0.0017)")
      ->check(Check(&ParseLineTolerance));
  command.callback([options, file, lineTolerance] {
    PostOptions taken = options->Take();
    if (!lineTolerance->empty()) taken.lineTolerance = ParseLineTolerance(*lineTolerance);
    RunVerify(taken, *file);
  });
}

void AddMachine(CLI::App& app) {
  CLI::App& command = *app.add_subcommand("machine", "Built-in machines and machine files");
  command.require_subcommand(1);
  command.footer("Example: kandrel-post machine show preset:mill3_metric --json");
  CLI::App& presets = *command.add_subcommand("presets", "List the built-in machines");
  presets.footer("Example: kandrel-post machine presets");
  presets.callback([] { ListPresets(); });
  CLI::App& show = *command.add_subcommand("show", "Show a machine in words or as JSON");
  show.footer("Example: kandrel-post machine show preset:mill3_metric --json > mill.json");
  auto machine = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  show.add_option("MACHINE", *machine, "preset:NAME, a .json, .kds or .xml file")->required();
  show.add_flag("--json", *json, "as JSON, which can be given back as MACHINE");
  show.callback([machine, json] { ShowMachine(*machine, *json); });
  CLI::App& overwrite = *command.add_subcommand(
      "overwrite", "Write limits and rotary geometry back into a machine description file");
  overwrite.footer(
      "Numbers are written as they are, also where units differ; limits and rotary geometry that\n"
      "the JSON lacks become the defaults. Bodies keep the names of their files without the "
      "folders,\n"
      "and a file of that name beside FILE.xml stays, be it another machine's: a folder for each\n"
      "machine. Notes on standard error tell of all these.\n"
      "Example: kandrel-post machine overwrite mill.xml --from mill.json");
  auto file = std::make_shared<std::string>();
  auto from = std::make_shared<std::string>();
  overwrite.add_option("FILE.xml", *file, "the machine description file")->required();
  overwrite.add_option("--from", *from, "a machine as JSON, with the names of the file's axes")
      ->required();
  overwrite.callback([file, from] { OverwriteMachine(*file, *from); });
}

void AddLog(CLI::App& app) {
  CLI::App& command = *app.add_subcommand("log", "Logs of postings (run.kdr)");
  command.require_subcommand(1);
  command.footer("Example: kandrel-post log replay out/run.kdr");
  auto file = std::make_shared<std::string>();
  const auto add = [&](const char* name, const char* what, void (*run)(const std::string&)) {
    CLI::App& sub = *command.add_subcommand(name, what);
    sub.footer(fmt::format("Example: kandrel-post log {} out/run.kdr", name));
    sub.add_option("RUN.kdr", *file, "a log")->required();
    sub.callback([file, run] { run(*file); });
  };
  CLI::App& show = *command.add_subcommand("show", "Show what a log or one of its siblings holds");
  show.footer("Example: kandrel-post log show out/run.kdr --json");
  auto json = std::make_shared<bool>(false);
  show.add_option("RUN.kdr", *file, "a log, or a file KDRM, KDRC, KDRP, KDRT, KDRW or KDRA")
      ->required();
  show.add_flag("--json", *json, "as JSON");
  show.callback([file, json] { ShowLog(*file, *json); });
  add("csv", "Write the posted moves to standard output", &PrintLogCsv);
  add("cl", "Write the toolpath to standard output as CL text", &PrintLogCl);
  CLI::App& replay = *command.add_subcommand(
      "replay", "Post the toolpath again and compare with the stored moves");
  replay.footer("Example: kandrel-post log replay out/run.kdr");
  auto tolerance = std::make_shared<std::string>();
  replay.add_option("RUN.kdr", *file, "a log")->required();
  replay.add_option("--tolerance", *tolerance, kToleranceHelp)->check(Check(&ParseTolerance));
  replay.callback([file, tolerance] {
    ReplayLog(*file, tolerance->empty() ? ToleranceOption() : ParseTolerance(*tolerance));
  });
}

void AddSTL(CLI::App& app) {
  CLI::App& command = *app.add_subcommand("stl", "STL files, as text and binary");
  command.require_subcommand(1);
  command.footer("Example: kandrel-post stl show part.stl");
  CLI::App& show = *command.add_subcommand("show", "Show form, triangles and extents");
  show.footer("Example: kandrel-post stl show part.stl --json");
  auto file = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  show.add_option("FILE", *file, "an STL file of either form")->required();
  show.add_flag("--json", *json, "as JSON");
  show.callback([file, json] { ShowSTL(*file, *json); });
  CLI::App& convert = *command.add_subcommand("convert", "Write an STL file in the form of IN");
  convert.footer(
      "A binary file of fewer than two triangles can't be read back.\n"
      "Example: kandrel-post stl convert part.stl part.txt.stl --text");
  auto in = std::make_shared<std::string>();
  auto out = std::make_shared<std::string>();
  convert.add_option("IN", *in, "an STL file of either form")->required();
  convert.add_option("OUT", *out, "the file to write; an older one stays unless all goes well")
      ->required();
  auto text = std::make_shared<bool>(false);
  auto binary = std::make_shared<bool>(false);
  CLI::Option* const asText = convert.add_flag("--text", *text, "write a text");
  convert.add_flag("--binary", *binary, "write a binary file")->excludes(asText);
  convert.callback([in, out, text, binary] {
    ConvertSTL(*in, *out, *text || *binary ? std::optional(*text) : std::nullopt);
  });
}

void AddToolMesh(CLI::App& tool) {
  CLI::App& mesh = *tool.add_subcommand("mesh", "Write a tool as triangles, to an STL file");
  mesh.footer("Example: kandrel-post tool mesh zvEndMill mill.stl --set diameter=6 --part cutting");
  auto options = std::make_shared<ToolMeshOptions>();
  auto tolerance = std::make_shared<std::string>("0.1");
  auto part = std::make_shared<std::string>();
  // By the numbers of cadcam::zvToolMeshPart.
  const std::vector<std::string> parts = {"cutting", "noncutting", "arbor", "holder"};
  mesh.add_option("TYPE", options->type, "type of the tool, as tool list names it")->required();
  mesh.add_option("OUT", options->file,
                  "the file to write; an older one stays unless all goes well")
      ->required();
  mesh.add_option("--tolerance", *tolerance,
                  "how far the mesh may lie from the tool, in the tool's units (0.1)")
      ->check(Check(&ParseLength));
  mesh.add_option("--part", *part, "cutting, noncutting, arbor or holder (all of them)")
      ->check(CLI::IsMember(parts));
  mesh.add_option("--set", options->settings,
                  "NAME=VALUE, a parameter of the tool by its field name; repeatable")
      ->allow_extra_args(false);
  mesh.callback([options, tolerance, part, parts] {
    options->tolerance = ParseLength(*tolerance);
    if (!part->empty())
      options->part =
          static_cast<int>(std::find(parts.begin(), parts.end(), *part) - parts.begin());
    MeshTool(*options);
  });
}

void AddTool(CLI::App& app) {
  CLI::App& command = *app.add_subcommand("tool", "Cutting tools and their parameters");
  command.require_subcommand(1);
  command.footer("Example: kandrel-post tool show zvBullMill --set cornerRadius=1.5 --json");
  CLI::App& list = *command.add_subcommand("list", "List the types of tools");
  list.footer("Example: kandrel-post tool list");
  list.callback([] { ListTools(); });
  CLI::App& show = *command.add_subcommand("show", "Show a tool in words or as JSON");
  show.footer("Example: kandrel-post tool show zvDrill --set diameter=6 --set tipAngle=140");
  struct Options {
    std::string type;
    std::vector<std::string> settings;
    bool json = false;
  };
  auto options = std::make_shared<Options>();
  show.add_option("TYPE", options->type, "type of the tool, as tool list names it")->required();
  show.add_option("--set", options->settings,
                  "NAME=VALUE, a parameter of the tool by its field name; repeatable")
      ->allow_extra_args(false);
  show.add_flag("--json", options->json, "as JSON");
  show.callback([options] { ShowTool(options->type, options->settings, options->json); });
  AddToolMesh(command);
}

int Run(int argc, const char* const* argv) {
  CLI::App app("Posts toolpaths for CNC machines: a small host of the Kandrel library",
               "kandrel-post");
  app.set_version_flag("--version",
                       fmt::format("kandrel-post {}", misc::kKandrelVersion) + LeftOut());
  app.require_subcommand(1);
  app.footer("Example: kandrel-post sample square > square.cl");
  AddSample(app);
  AddPost(app);
  AddVerify(app);
  AddMachine(app);
  AddLog(app);
  AddSTL(app);
  AddTool(app);
  try {
    app.parse(argc, argv);
    return kDone;
  } catch (const CLI::ParseError& e) {
    std::ostringstream help, complaint;
    app.exit(e, help, complaint);
    const std::vector<std::string> rest = app.remaining(true);
    if (std::string_view(e.what()).starts_with("A subcommand") && !rest.empty() &&
        !rest.front().starts_with('-'))
      std::fputs(fmt::format("{}: no such command\n", Printable(rest.front())).c_str(), stderr);
    std::fputs(complaint.str().c_str(), stderr);
    if (e.get_exit_code() != 0) return kWrongCommandLine;
    TextSink out(STDOUT_FILENO, "standard output");
    out.Put(help.str());
    out.Flush();
    return kDone;
  }
}

}  // namespace

int RunCommandLine(int argc, const char* const* argv) noexcept {
  try {
    PrepareProcess();
    LimitMemory();
    kintree::SetMessageHook([](const std::wstring& text) { Note(misc::ToUtf8(text)); });
    return Run(argc, argv);
  } catch (const UsageError& e) {
    std::fputs(fmt::format("{}\n", e.what()).c_str(), stderr);
    return kWrongCommandLine;
  } catch (const ToldFailure&) {
    return kJobFailed;
  } catch (...) {
    std::fputs(DescribeCurrentFailure().c_str(), stderr);
    return kJobFailed;
  }
}

}  // namespace kandrel_post
