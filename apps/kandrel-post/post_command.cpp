#include <fmt/format.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/mach_def_utils.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>

#include "cl_reader.h"
#include "commands.h"
#include "csv_writer.h"
#include "errors.h"
#include "memory_limit.h"
#include "nc_writer.h"
#include "output_folder.h"
#include "parameters.h"
#include "progress.h"
#include "report.h"
#include "rotary_motion.h"

namespace kandrel_post {

namespace {

// Bytes of a posted move in its list, with and without its extended block, rounded down.
constexpr double kSmallMoveBytes = 144;
constexpr double kExtendedMoveBytes = 205;

constexpr std::uint64_t kMovesBetweenReports = 4096;

// In radians; 0 for orientations that are no directions, which the creator refuses.
double HalfAngleBetween(const cadcam::zvCNCMove& a, const cadcam::zvCNCMove& b) {
  const auto& from = a.GetOrientation();
  const auto& to = b.GetOrientation();
  if (from == to) return 0;
  const double half = (to / to.Length() - from / from.Length()).Length() / 2;
  return half > 0 ? std::asin(std::min(half, 1.0)) : 0;
}

// A step that is tiny against the path would fill the memory for minutes and then fail: say so at
// once. Only a bound: whatever passes here may still turn out not to fit.
void RefuseHopelessSteps(const cadcam::zvToolPath& toolPath, const post::zvKDRParam& par,
                         bool turning, bool small) {
  constexpr double kDegrees = 57.29577951308232;
  const double step = par.GetInterpolateByDistance() ? par.GetInterpolationDistance() : 0;
  const double angleStep = turning ? par.GetMaxAngleStep() : 0;
  if (!(step > 0) && !(angleStep > 0)) return;
  double byDistance = 0, byAngle = 0;
  const cadcam::zvCNCMove* previous = nullptr;
  for (const auto& pass : toolPath.Children()) {
    for (const auto& slice : pass->Children()) {
      for (const auto& section : slice->Children()) {
        for (const cadcam::zvMovePointer& move : *section) {
          if (previous != nullptr && (!move->IsRapid() || par.GetInterpolateRapidMoves())) {
            const double distance = (move->GetPosition() - previous->GetPosition()).Length();
            if (step > 0 && distance > step) byDistance += distance / step;
            // Two axes that turn the tool by an angle: one of them turns by half of it at least.
            const double half = angleStep > 0 ? HalfAngleBetween(*previous, *move) * kDegrees : 0;
            if (half > angleStep) byAngle += half / angleStep;
          }
          previous = move.Get();
        }
      }
    }
  }
  const double inserted = std::max(byDistance, byAngle);
  const double bytes = inserted * (small ? kSmallMoveBytes : kExtendedMoveBytes);
  if (bytes > static_cast<double>(UsableMemory()))
    Fail(fmt::format("{} of {} inserts {:.2g} moves, more than memory holds",
                     byDistance >= byAngle ? "an interpolationDistance" : "a maxAngleStep",
                     byDistance >= byAngle ? step : angleStep, inserted));
}

struct Job {
  const PostOptions& options;
  const Machine& machine;
  const post::zvKDRParam& par;
  const cadcam::zvToolPath& toolPath;
  OutputFolder& folder;
  Progress& progress;
  Report& report;
};

// Writes the posted moves that `forEachMove` hands over one by one, and collects what the summary
// tells of them.
template <class ForEach>
PostedStatistics WriteFiles(const Job& job, std::uint64_t count, const ForEach& forEachMove) {
  const post::zvMachDef& machDef = *job.machine.builder.GetMachDef();
  const post::zv5axControlDef& control = job.options.control;
  const std::array<bool, 3> wrapped = WrappedAxes(control);
  job.progress.Stage("writing");
  CsvWriter csv(job.folder.Create("posted.csv"));
  NcWriter nc(job.folder.Create("posted.nc"), job.machine.name, AxisNames(job.machine),
              machDef.GetUnits() == measures::zvUnitsFactory::inch, wrapped);
  PostedStatistics statistics(wrapped);
  std::optional<RotaryMotion> motion;
  if (const int axes = AxisCount(job.machine); axes >= 5)
    motion.emplace(axes == 5 ? post::zvMachDefUtils::Cast5ax(machDef)
                             : post::TurningPart(post::zvMachDefUtils::Cast6ax(machDef)),
                   control, job.options.origin, job.options.toolLength,
                   job.par.GetPoleAngleTolerance());
  forEachMove([&](const post::zvPostedMove& move) {
    const PostedRow row = RowOf(move);
    csv.Write(row);
    nc.Write(row);
    statistics.Add(row);
    if (motion) motion->Add(row);
    if (statistics.GetCount() % kMovesBetweenReports == 0)
      job.progress.Fraction(static_cast<double>(statistics.GetCount()) /
                            static_cast<double>(count));
  });
  nc.Finish();
  job.report.wrapped = wrapped;
  job.report.rotarySlackDeg = job.par.GetLimitTolerance();
  if (motion) {
    job.report.polesCrossed = motion->GetPolesCrossed();
    job.report.deviation = {motion->GetLargest(), motion->GetIndex(),
                            NcWriter::NumberOf(motion->GetIndex())};
  }
  return statistics;
}

// Whatever the machine: moves with their extended blocks.
PostedStatistics PostAny(const Job& job) {
  const misc::zvAutoPointer<post::zvMachDef> machDef = job.machine.builder.GetMachDef();
  zvKDR5AxBase kernel(machDef, job.options.control, job.par, job.options.origin,
                      job.options.toolLength);
  const post::zvPostedTP& posted = kernel.Post(job.toolPath);
  job.report.counts = kernel.GetCounts();
  job.report.aligned = posted.HasAlignMatrix();
  return WriteFiles(job, posted.GetCount(), [&](const auto& write) {
    for (auto move = posted.Begin(); move != posted.End(); ++move) write(**move);
  });
}

// Moves without extended blocks, which the creator of the machine's class makes.
template <class Creator>
PostedStatistics PostSmall(const Job& job) {
  Creator creator(job.machine.builder.GetMachDef(), job.options.control, job.par,
                  job.options.origin, job.options.toolLength);
  const auto posted = creator.Post(job.toolPath, true);
  if constexpr (requires { creator.GetCounts(); }) job.report.counts = creator.GetCounts();
  job.report.aligned = !creator.GetAlignMatrix().IsNull();
  return WriteFiles(job, posted->GetCount(), [&](const auto& write) {
    for (const auto& move : *posted) write(move);
  });
}

PostedStatistics Post(const Job& job) {
  if (!job.options.small) return PostAny(job);
  switch (AxisCount(job.machine)) {
    case 3:
      return PostSmall<zvPosted3axTPCreator>(job);
    case 4:
      return PostSmall<zvPosted4axTPCreator>(job);
    case 5:
      return PostSmall<zvPosted5axTPCreator>(job);
    default:
      return PostSmall<zvPosted6axTPCreator>(job);
  }
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

  Report report;
  report.small = options.small;
  OutputFolder folder(options.folder);
  progress.Stage("posting");
  const PostedStatistics statistics =
      Post({options, machine, par, program.toolPath, folder, progress, report});
  progress.Stop();

  const std::string prefix = options.folder + (options.folder.ends_with('/') ? "" : "/");
  report.toolPathFile = options.toolPathFile;
  report.outputFiles = {prefix + "posted.csv", prefix + "posted.nc"};
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  report.secondsTaken = taken.count();
  // Told before the files get their names: a job whose summary can't be written leaves none.
  TextSink out(STDOUT_FILENO, "standard output");
  out.Put(FormatReport(report, machine, program, statistics));
  out.Flush();
  folder.Commit();
}

}  // namespace kandrel_post
