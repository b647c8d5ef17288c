#include "kandrel-post/commands/limit_lines.h"

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/verifier/limit_report.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kandrel-post/commands/parameters.h"
#include "kandrel-post/out/axis_words.h"
#include "kandrel-post/out/posted_row.h"
#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

namespace {

using post::zvPostException;
using Point = cadcam::zvTPoint3d<double>;

// How far inside its limits a run is sought whose positions come out past them by rounding.
constexpr double kInside = 1e-8;

// The run as it would be without checks.
class UncheckedRun {
 public:
  UncheckedRun(const PostOptions& options, const Machine& machine, const post::zvKDRParam& par,
               const cadcam::zvToolPath& toolPath)
      : m_options(options),
        m_machDef(machine.builder.GetMachDef()),
        m_par(par),
        m_toolPath(toolPath) {
    m_par.SetLimitsCheck(post::zvKDRParam::checkNothing);
  }

  const post::zvMachDef& GetMachDef() const { return *m_machDef; }

  // Calls `take(move)` for each posted line, with the part origin shifted; before them
  // `start(count, counts)`.
  template <class Take, class Start>
  void ForEachLine(const Point& shift, const Take& take, const Start& start) const {
    const Point origin = m_options.origin + shift;
    zvKDR5AxBase kernel(m_machDef, m_options.control, m_par, origin, m_options.toolLength);
    kernel.SetPathTolerance(PathToleranceOf(m_options.tolerance, m_toolPath.GetUnits()));
    const post::zvPostedTP& posted = kernel.Post(m_toolPath);
    start(posted.GetCount(), kernel.GetCounts());
    for (auto move = posted.Begin(); move != posted.End(); ++move) take(**move);
  }

  // Lifts by their plain length from here on: those to the limits need a place inside them.
  void LiftPlainly() { m_par.SetRetractToLimits(false); }

  // Whether a line is lifted to the limits, and so stands at one wherever the part is.
  bool IsLifted(const post::zvPostedMove& move) const {
    if (!m_par.GetRetractToLimits() || !move.IsRapid()) return false;
    const Point& p = move.GetMachinePosition();
    const Point& low = m_machDef->GetMinLimits();
    const Point& high = m_machDef->GetMaxLimits();
    for (int axis = 0; axis < 3; ++axis)
      if (p[axis] == low[axis] || p[axis] == high[axis]) return true;
    return false;
  }

  bool IsWithinLinearLimits(const Point& shift) const {
    bool isWithin = true;
    try {
      ForEachLine(
          shift,
          [&](const post::zvPostedMove& move) {
            isWithin = isWithin && post::LinearOut(move.GetMachinePosition(), *m_machDef).IsNone();
          },
          [](std::uint64_t, const post::zvPostingCounts&) {});
    } catch (const zvPostException&) {
      return false;
    }
    return isWithin;
  }

 private:
  const PostOptions& m_options;
  misc::zvAutoPointer<post::zvMachDef> m_machDef;
  post::zvKDRParam m_par;
  const cadcam::zvToolPath& m_toolPath;
};

class LimitLines {
 public:
  LimitLines(UncheckedRun& run, const Machine& machine, const post::zv5axControlDef& control,
             double limitTolerance, UncheckedRunSink* sink)
      : m_run(run),
        m_sink(sink),
        m_report(run.GetMachDef(), control, limitTolerance),
        m_axes(AxisWordsOf(NamesByAxis(machine)).words),
        m_out(STDERR_FILENO, "standard error") {}

  void WriteBreaches() {
    std::uint64_t index = 0;
    m_run.ForEachLine(
        {},
        [&](const post::zvPostedMove& move) {
          if (m_sink != nullptr) m_sink->Take(move);
          const PostedRow row = RowOf(move);
          const post::zvBlockLaw::Line line{move.GetMachinePosition(), row.angles[0],
                                            row.angles[1]};
          const auto breaches =
              m_run.IsLifted(move) ? m_report.AddUnbound(line) : m_report.Add(line);
          for (const post::zvLimitBreach& breach : breaches)
            Put(breach, index, move.GetSourceIndex());
          ++index;
        },
        [this](std::uint64_t count, const post::zvPostingCounts& counts) {
          if (m_sink != nullptr) m_sink->Start(count, counts);
        });
  }

  void WriteShift() {
    if (!m_report.HasLinearBreach()) return;
    for (const double margin : {0.0, kInside}) {
      const std::optional<Point> shift = m_report.SmallestShift(margin);
      if (!shift || !m_run.IsWithinLinearLimits(*shift)) continue;
      m_out.Put("  shift ");
      m_out.PutShortest(shift->x);
      m_out.Put(',');
      m_out.PutShortest(shift->y);
      m_out.Put(',');
      m_out.PutShortest(shift->z);
      m_out.Put('\n');
      if (m_sink != nullptr) m_sink->TakeShift(*shift);
      return;
    }
  }

  void Flush() { m_out.Flush(); }

 private:
  void Put(const post::zvLimitBreach& breach, std::uint64_t index, std::int64_t source) {
    m_out.Put("  breach ");
    m_out.PutInteger(index);
    m_out.Put(' ');
    // -1 in front of the first move of the toolpath.
    if (source < 0) m_out.Put('-');
    m_out.PutInteger(static_cast<std::uint64_t>(source < 0 ? -source : source));
    m_out.Put(' ');
    m_out.Put(m_axes[static_cast<std::size_t>(breach.limit.limitAxis)]);
    for (const double number : {breach.value, breach.bound, breach.excess}) {
      m_out.Put(' ');
      m_out.PutShortest(number);
    }
    m_out.Put('\n');
    if (m_sink != nullptr) m_sink->TakeBreach(breach, index, source);
  }

  UncheckedRun& m_run;
  UncheckedRunSink* m_sink;
  post::zvLimitReport m_report;
  std::vector<std::string> m_axes;
  TextSink m_out;
};

}  // namespace

bool IsRefusedByLimits(const misc::zvException& failure) {
  const std::uint32_t id = failure.GetId();
  return dynamic_cast<const zvPostException*>(&failure) != nullptr &&
         (id == zvPostException::kOutOfLimits ||
          (id >= zvPostException::kXBelowMinimum &&
           id <= zvPostException::kSecondRotaryAboveMaximum));
}

void WriteLimitLines(const PostOptions& options, const Machine& machine,
                     const post::zvKDRParam& par, const cadcam::zvToolPath& toolPath,
                     UncheckedRunSink* sink) {
  UncheckedRun run(options, machine, par, toolPath);
  LimitLines lines(run, machine, options.control, par.GetLimitTolerance(), sink);
  try {
    lines.WriteBreaches();
  } catch (const zvPostException& e) {
    if (e.GetId() != zvPostException::kOutOfLimits) throw;
    run.LiftPlainly();
    lines.WriteBreaches();
  }
  lines.WriteShift();
  lines.Flush();
}

}  // namespace kandrel_post
