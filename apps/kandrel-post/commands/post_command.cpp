#include <fmt/format.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/range_exception.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/persistence/log_file.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posted_toolpath.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/verifier/posting_verifier.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "kandrel-post/cl/reader.h"
#include "kandrel-post/commands/commands.h"
#include "kandrel-post/commands/hopeless_steps.h"
#include "kandrel-post/commands/hopeless_tolerance.h"
#include "kandrel-post/commands/limit_lines.h"
#include "kandrel-post/commands/parameters.h"
#include "kandrel-post/commands/refused_run.h"
#include "kandrel-post/commands/report.h"
#include "kandrel-post/commands/report_facts.h"
#include "kandrel-post/commands/verdict_text.h"
#include "kandrel-post/host/errors.h"
#include "kandrel-post/host/progress.h"
#include "kandrel-post/host/side_task.h"
#include "kandrel-post/machine/argument.h"
#include "kandrel-post/machine/machine.h"
#include "kandrel-post/machine/run_log.h"
#include "kandrel-post/machine/values.h"
#include "kandrel-post/out/csv_writer.h"
#include "kandrel-post/out/nc_writer.h"
#include "kandrel-post/out/output_folder.h"
#include "kandrel-post/out/pole_counter.h"
#include "kandrel-post/out/posted_row.h"
#include "kandrel-post/out/text_sink.h"
#include "kandrel-post/pictures/held_lines.h"
#include "kandrel-post/pictures/page_template.h"
#include "kandrel-post/pictures/report_page.h"
#include "kandrel-post/pictures/run_model.h"

namespace kandrel_post {

namespace {

constexpr std::uint64_t kMovesBetweenReports = 4096;
constexpr const char* kPageFile = "report.html";
// A name of its own: beside it the files of an earlier run may stand.
constexpr const char* kRefusedFile = "refused.html";
// All that a run may write: a folder shows one run.
constexpr std::array<std::string_view, 6> kRunFiles{"posted.csv", "posted.nc", "run.kdr",
                                                    kPageFile,    "run.glb",   kRefusedFile};
constexpr std::size_t kMostFindingsShown = 16;
constexpr std::size_t kMostFindingsInPage = 100000;  // before those of neighbours are joined
// What of a tolerance the page doesn't tell from nothing: less than its colours do.
constexpr double kPartNotShown = 1.0 / 64;

// run.glb, which is written while the posting is verified and logged.
struct RunModelFile {
  std::unique_ptr<RunModel> model;
  SideTask writing;  // goes first, and waits
};

struct Job {
  const PostOptions& options;
  const Machine& machine;
  const post::zvKDRParam& par;
  const cadcam::zvToolPath& toolPath;
  post::zvPathTolerance tolerance;
  HeldLines* lines;  // for the page; null for none
  RunModelFile& modelFile;
};

// What a walk over the posted moves has shown.
struct Walked {
  PostedStatistics statistics;
  std::uint64_t polesCrossed = 0;
  std::string uncheckedLimits{};  // what leaves them, in words
  bool hasModel = false;          // run.glb
};

struct PostOutcome {
  post::zvPostingCounts counts;
  bool aligned = false;
  Walked walked;
  post::zvPostingVerdict verdict;
  post::zvToleranceReport notHeld;
  bool hasLog = true;
};

// Holds what was posted against toolpath and machine; `posted` is a list or a zvPostedTP.
template <class Posted>
post::zvPostingVerdict Verify(const Job& job, const Posted& posted,
                              const post::zvAlignMatrix& alignment, Progress& progress) {
  progress.Stage("verifying");
  const PostOptions& options = job.options;
  post::zvVerifierRules rules =
      VerifierRules(options, job.machine, job.par, job.toolPath.GetUnits());
  rules.alignment = alignment;
  rules.mostFindings = job.lines != nullptr ? kMostFindingsInPage : kMostFindingsShown;
  const post::zvPathTolerance shown = PathToleranceOf({}, job.toolPath.GetUnits());
  rules.sinkFloor = {kPartNotShown * shown.GetTip(), kPartNotShown * shown.GetAxis()};
  post::zvPostingVerifier verifier(*job.machine.builder.GetMachDef(), options.control,
                                   options.origin, options.toolLength);
  verifier.SetRules(rules);
  verifier.SetProgress(progress.Hook());
  post::zvPostingVerdict verdict = verifier.Verify(job.toolPath, posted, job.lines);
  progress.Stage("writing");  // of the log, which comes next
  return verdict;
}

// The command line has no tool: log and page get the default end mill, in the machine's units.
cadcam::zvEndMill ToolFor(const Machine& machine) {
  cadcam::zvEndMill tool;
  tool.SetUnits(machine.builder.GetMachDef()->GetUnits());
  return tool;
}

// Writes run.kdr, as `write(stream, tool)` does.
template <class WriteLog>
void WriteRun(const Job& job, OutputFolder& folder, const WriteLog& write) {
  ByteSink stream(folder.Create("run.kdr"));
  write(stream, ToolFor(job.machine));
}

// From five axes on.
std::optional<PoleCounter> MakePoleCounter(const Job& job) {
  const MachineValues values = ValuesOf(*job.machine.builder.GetMachDef());
  if (values.axes < 5) return std::nullopt;
  return PoleCounter(values.rotary[0].direction, job.par.GetPoleAngleTolerance());
}

// Writes the posted moves, `count` of them, that `forEachMove` hands over one by one, of a posting
// that counted `counts`.
template <class ForEach>
Walked WriteFiles(const Job& job, OutputFolder& folder, Progress& progress,
                  const post::zvPostingCounts& counts, std::uint64_t count,
                  const ForEach& forEachMove) {
  const bool inch = job.machine.builder.GetMachDef()->GetUnits() == measures::zvUnitsFactory::inch;
  const std::array<bool, 3> wrapped = WrappedAxes(job.options.control);
  progress.Stage("writing");
  CsvWriter csv(folder.Create("posted.csv"));
  NcWriter nc(folder.Create("posted.nc"), job.machine.name, NamesByAxis(job.machine), inch,
              wrapped);
  std::unique_ptr<RunModel>& model = job.modelFile.model;
  if (job.options.report)
    model = std::make_unique<RunModel>(job.machine, job.options.machine,
                                       ModelSetup{job.options.origin, job.options.toolLength},
                                       wrapped, count);
  Walked walked{PostedStatistics(wrapped)};
  std::optional<PoleCounter> poles = MakePoleCounter(job);
  UncheckedLimits limits(job.machine, job.options.control, job.par);
  if (job.lines != nullptr) job.lines->Start(count, counts);
  forEachMove([&](const post::zvPostedMove& move) {
    const PostedRow row = RowOf(move);
    csv.Write(row);
    nc.Write(row);
    if (model) model->Write(row);
    walked.statistics.Add(row);
    limits.Add({move.GetMachinePosition(), row.angles[0], row.angles[1]});
    const bool isOnPole = poles && poles->Add(move);
    if (job.lines != nullptr) job.lines->Write(row, isOnPole);
    const std::uint64_t written = walked.statistics.GetCount();
    if (written % kMovesBetweenReports == 0)
      progress.Fraction(static_cast<double>(written) / static_cast<double>(count));
  });
  nc.Finish();
  if (model) {
    walked.hasModel = model->Prepare(folder);
    job.modelFile.writing.Start([&model] { model->Finish(); });
  }
  if (poles) walked.polesCrossed = poles->GetCrossed();
  walked.uncheckedLimits = limits.InWords(job.machine);
  return walked;
}

// Moves with their extended blocks, by the façade, whatever the class of the machine.
PostOutcome PostExtended(const Job& job, OutputFolder& folder, Progress& progress) {
  const misc::zvAutoPointer<post::zvMachDef> machDef = job.machine.builder.GetMachDef();
  zvKDR5AxBase kernel(machDef, job.options.control, job.par, job.options.origin,
                      job.options.toolLength);
  kernel.SetPathTolerance(job.tolerance);
  kernel.SetProgress(progress.Hook());
  const post::zvPostedTP& posted = kernel.Post(job.toolPath);
  PostOutcome outcome{kernel.GetCounts(), posted.HasAlignMatrix(),
                      WriteFiles(job, folder, progress, kernel.GetCounts(), posted.GetCount(),
                                 [&](const auto& write) {
                                   for (auto move = posted.Begin(); move != posted.End(); ++move)
                                     write(**move);
                                 }),
                      Verify(job, posted, posted.GetAlignMatrix(), progress),
                      kernel.GetToleranceReport()};
  // A log without a line says five axes, whatever the machine has, and could not be read.
  outcome.hasLog = posted.GetCount() != 0 || AxisCount(job.machine) == 5;
  if (outcome.hasLog)
    WriteRun(job, folder, [&](misc::zvBinOutputStream& stream, const cadcam::zvTool& tool) {
      zvKDROutput(stream, kernel, job.toolPath, posted, tool);
    });
  return outcome;
}

// Moves without extended blocks, which the creator of the machine's class makes.
template <class Creator>
PostOutcome PostSmall(const Job& job, OutputFolder& folder, Progress& progress) {
  const auto creator =
      misc::MakeAutoPointer<Creator>(job.machine.builder.GetMachDef(), job.options.control, job.par,
                                     job.options.origin, job.options.toolLength);
  creator->SetPathTolerance(job.tolerance);
  creator->SetProgress(progress.Hook());
  const auto posted = creator->Post(job.toolPath, true);
  post::zvPostingCounts counts;
  if constexpr (requires { creator->GetCounts(); }) counts = creator->GetCounts();
  PostOutcome outcome{counts, !creator->GetAlignMatrix().IsNull(),
                      WriteFiles(job, folder, progress, counts, posted->GetCount(),
                                 [&](const auto& write) {
                                   for (const auto& move : *posted) write(move);
                                 }),
                      Verify(job, *posted, creator->GetAlignMatrix(), progress),
                      creator->GetToleranceReport()};
  // Small moves of six axes are stored so that no reader of the same version takes them.
  outcome.hasLog = !std::is_same_v<Creator, zvPosted6axTPCreator>;
  if (outcome.hasLog)
    WriteRun(job, folder, [&](misc::zvBinOutputStream& stream, const cadcam::zvTool& tool) {
      zvKDROutput(stream, creator, job.toolPath, tool);
    });
  return outcome;
}

PostOutcome Post(const Job& job, OutputFolder& folder, Progress& progress) {
  if (!job.options.small) return PostExtended(job, folder, progress);
  switch (AxisCount(job.machine)) {
    case 3:
      return PostSmall<zvPosted3axTPCreator>(job, folder, progress);
    case 4:
      return PostSmall<zvPosted4axTPCreator>(job, folder, progress);
    case 5:
      return PostSmall<zvPosted5axTPCreator>(job, folder, progress);
    default:
      return PostSmall<zvPosted6axTPCreator>(job, folder, progress);
  }
}

Report MakeReport(const Job& job, const PostOutcome& outcome) {
  const PostOptions& options = job.options;
  const std::string prefix = options.folder + (options.folder.ends_with('/') ? "" : "/");
  Report report;
  report.toolPathFile = options.toolPathFile;
  report.outputFiles = {prefix + "posted.csv", prefix + "posted.nc"};
  if (outcome.hasLog) report.outputFiles.push_back(prefix + "run.kdr");
  if (job.lines != nullptr)
    report.outputFiles.push_back(prefix + kPageFile);
  else if (options.report)
    report.pageLeftOut = PageLeftOut();
  if (outcome.walked.hasModel) report.outputFiles.push_back(prefix + "run.glb");
  report.hasLog = outcome.hasLog;
  report.aligned = outcome.aligned;
  report.small = options.small;
  report.counts = outcome.counts;
  report.polesCrossed = outcome.walked.polesCrossed;
  report.rotarySlackDeg = job.par.GetLimitTolerance();
  report.wrapped = WrappedAxes(options.control);
  const post::zvPostingVerdict::Largest& tip = outcome.verdict.tip;
  report.deviation = {tip.value, tip.line, NcWriter::NumberOf(tip.line)};
  report.tolerance = job.tolerance;
  report.notHeld = outcome.notHeld;
  report.verdict = VerdictInWords(outcome.verdict, job.machine, kMostFindingsShown,
                                  outcome.walked.uncheckedLimits);
  return report;
}

// Posts; where the machine's limits refuse the run, says what leaves them and fails as told. Writes
// the page of a refused run where it is asked for.
PostOutcome PostOrTellRefusal(const Job& job, const ClProgram& program, OutputFolder& folder,
                              Progress& progress) {
  bool isByLimits = false;
  std::optional<RefusedRun> refused;
  try {
    return Post(job, folder, progress);
  } catch (const misc::zvException& e) {
    isByLimits = IsRefusedByLimits(e);
    // Failures of this program have no id, and are none that the kernel refuses; of the kernel's
    // only numbers out of range have none.
    const bool isByKernel =
        e.GetId() != 0 || dynamic_cast<const misc::zvRangeException<double>*>(&e) != nullptr;
    if (job.options.refusedReport && job.lines != nullptr && isByKernel)
      refused.emplace(RefusedRun::Setup{job.options, job.machine, job.par, program}, e, *job.lines,
                      MakePoleCounter(job));
    if (!isByLimits && !refused) throw;
    progress.Stop();
    std::fputs(DescribeCurrentFailure().c_str(), stderr);
  }
  // The failure's own lines stand; what goes wrong from here on follows them.
  const auto follow = [](const char* what, const auto& act) {
    try {
      act();
    } catch (...) {
      std::fputs(fmt::format("  {}: {}", what, DescribeCurrentFailure()).c_str(), stderr);
    }
  };
  if (isByLimits)
    follow("no limits told", [&] {
      WriteLimitLines(job.options, job.machine, job.par, job.toolPath,
                      refused ? &*refused : nullptr);
    });
  if (refused)
    follow("no page written", [&] {
      OutputFolder pageFolder(job.options.folder);
      refused->WritePage(pageFolder.Create(kRefusedFile), kRefusedFile, ToolFor(job.machine));
      pageFolder.Commit();
    });
  throw ToldFailure();
}

}  // namespace

void RunPost(const PostOptions& options) {
  const auto start = std::chrono::steady_clock::now();
  const Machine machine = LoadMachine(options.machine);
  post::zvKDRParam par(machine.builder.GetMachDef()->GetUnits());
  for (const std::string& setting : options.settings) ApplySetting(par, setting);

  Progress progress;
  progress.Stage("reading");
  const ClProgram program = ReadClFile(options.toolPathFile, options.rapidLinkType, progress);
  RefuseHopelessSteps(program.toolPath, par, AxisCount(machine) > 3, options.small);
  progress.Stage("posting");
  RefuseHopelessTolerance(options, machine, par, program.toolPath);

  OutputFolder folder(options.folder, kRunFiles);
  HeldLines lines(WrappedAxes(options.control));
  const bool hasPage = options.report && !PageTemplate().empty();
  RunModelFile modelFile;
  const Job job{options,
                machine,
                par,
                program.toolPath,
                PathToleranceOf(options.tolerance, program.toolPath.GetUnits()),
                hasPage ? &lines : nullptr,
                modelFile};
  const PostOutcome outcome = PostOrTellRefusal(job, program, folder, progress);

  Report report = MakeReport(job, outcome);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  report.secondsTaken = taken.count();
  const PostedStatistics& posted = outcome.walked.statistics;
  const std::string summary = FormatReport(report, machine, program, posted);
  if (hasPage) {
    progress.Stage("writing the page");
    const cadcam::zvEndMill tool = ToolFor(machine);
    WriteReportPage(folder.Create(kPageFile),
                    FactsToJson({options, machine, program, report, posted, outcome.verdict,
                                 par.GetLimitsCheck(), tool, summary}),
                    lines, static_cast<std::size_t>(AxisCount(machine)));
  }
  modelFile.writing.Finish();
  progress.Stop();
  if (modelFile.model)
    for (const std::string& note : modelFile.model->GetNotes()) Note(note);
  // Printed before the files get their names: a job whose summary can't be written leaves none.
  TextSink out(STDOUT_FILENO, "standard output");
  out.Put(summary);
  out.Flush();
  folder.Commit();
}

}  // namespace kandrel_post
