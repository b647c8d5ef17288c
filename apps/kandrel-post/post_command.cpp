#include <fmt/format.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/mach_def_utils.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>

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
constexpr double kSmallMoveBytes = 160;
constexpr double kExtendedMoveBytes = 240;

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

// Writes a posted list and collects what the summary tells of it.
template <class List, class Observe>
PostedStatistics WriteFiles(const List& posted, OutputFolder& folder, const Machine& machine,
                            const std::array<bool, 3>& wrapped, Progress& progress,
                            Observe&& observe) {
  progress.Stage("writing");
  CsvWriter csv(folder.Create("posted.csv"));
  NcWriter nc(folder.Create("posted.nc"), machine.name, AxisNames(machine),
              machine.builder.GetMachDef()->GetUnits() == measures::zvUnitsFactory::inch, wrapped);
  PostedStatistics statistics;
  for (const auto& move : posted) {
    const PostedRow row = RowOf(move);
    csv.Write(row);
    nc.Write(row);
    statistics.Add(row);
    observe(move);
    if (statistics.GetCount() % kMovesBetweenReports == 0)
      progress.Fraction(static_cast<double>(statistics.GetCount()) / posted.GetCount());
  }
  nc.Finish();
  return statistics;
}

PostedStatistics PostThreeAxes(const PostOptions& options, const Machine& machine,
                               const post::zvKDRParam& par, const ClProgram& program,
                               OutputFolder& folder, Progress& progress) {
  progress.Stage("posting");
  zvPosted3axTPCreator creator(machine.builder.GetMachDef(), options.control, par, options.origin,
                               options.toolLength);
  const auto posted = creator.Post(program.toolPath, options.small);
  return WriteFiles(*posted, folder, machine, {}, progress, [](const post::zvPosted3axMove&) {});
}

PostedStatistics PostFiveAxes(const PostOptions& options, const Machine& machine,
                              const post::zvKDRParam& par, const ClProgram& program,
                              OutputFolder& folder, Progress& progress, Report& report) {
  progress.Stage("posting");
  zvPosted5axTPCreator creator(machine.builder.GetMachDef(), options.control, par, options.origin,
                               options.toolLength);
  const auto posted = creator.Post(program.toolPath, options.small);
  const std::array<bool, 3> wrapped = WrappedAxes(options.control);
  RotaryMotion motion(creator.GetMachDef(), options.control, options.origin, options.toolLength,
                      par.GetPoleAngleTolerance());
  const PostedStatistics statistics =
      WriteFiles(*posted, folder, machine, wrapped, progress,
                 [&](const post::zvPosted5axMove& move) { motion.Add(move); });
  report.counts = creator.GetCounts();
  report.polesCrossed = motion.GetPolesCrossed();
  report.rotarySlackDeg = par.GetLimitTolerance();
  report.wrapped = wrapped;
  report.turns = {motion.GetTurns(0), motion.GetTurns(1)};
  report.deviation = {motion.GetLargest(), motion.GetIndex(),
                      NcWriter::NumberOf(motion.GetIndex())};
  return statistics;
}

}  // namespace

void RunPost(const PostOptions& options) {
  const auto start = std::chrono::steady_clock::now();
  const Machine machine = LoadMachine(options.machine);
  post::zvKDRParam par(machine.builder.GetMachDef()->GetUnits());
  for (const std::string& setting : options.settings) ApplySetting(par, setting);
  const int axes = AxisCount(machine);
  if (axes != 3 && axes != 5)
    Fail(fmt::format("{}: only 3- and 5-axis machines can be posted for yet, this one has {} axes",
                     options.machine, axes));

  Progress progress;
  progress.Stage("reading");
  const ClProgram program = ReadClFile(options.toolPathFile, options.rapidLinkType, progress);
  RefuseHopelessSteps(program.toolPath, par, axes > 3, options.small);

  Report report;
  report.small = options.small;
  OutputFolder folder(options.folder);
  const PostedStatistics statistics =
      axes == 3 ? PostThreeAxes(options, machine, par, program, folder, progress)
                : PostFiveAxes(options, machine, par, program, folder, progress, report);
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
