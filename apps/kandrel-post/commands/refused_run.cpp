#include "kandrel-post/commands/refused_run.h"

#include <kandrel/misc/text.h>
#include <kandrel/post/model/limit_type.h>

#include <cstddef>
#include <vector>

#include "kandrel-post/commands/parameters.h"
#include "kandrel-post/machine/machine.h"
#include "kandrel-post/out/posted_row.h"
#include "kandrel-post/pictures/report_page.h"

namespace kandrel_post {

namespace {

Refusal RefusalOf(const misc::zvException& failure) {
  Refusal refusal;
  refusal.id = failure.GetId();
  refusal.text = failure.what();
  for (const misc::zvException::Cause& cause : failure.GetCauses())
    refusal.causes.emplace_back(cause.first, misc::ToUtf8(cause.second));
  return refusal;
}

}  // namespace

RefusedRun::RefusedRun(const Setup& setup, const misc::zvException& failure, HeldLines& lines,
                       std::optional<PoleCounter> poles)
    : m_setup(setup),
      m_refusal(RefusalOf(failure)),
      m_lines(lines),
      m_poles(poles),
      m_statistics(WrappedAxes(setup.options.control)) {}

void RefusedRun::Start(std::uint64_t count, const post::zvPostingCounts& counts) {
  m_counts = counts;
  m_lines.Start(count, counts);
}

void RefusedRun::Take(const post::zvPostedMove& move) {
  const PostedRow row = RowOf(move);
  m_statistics.Add(row);
  const bool isOnPole = m_poles && m_poles->Add(move);
  m_lines.Write(row, isOnPole);
}

void RefusedRun::TakeBreach(const post::zvLimitBreach& breach, std::uint64_t index,
                            std::int64_t source) {
  using Finding = post::zvPostingFinding;
  const int axis = breach.limit.limitAxis;
  const Finding::Kind kind =
      axis < post::zvLimitType::kFirstRotary ? Finding::kLinearLimit : Finding::kRotaryLimit;
  ++m_breaches.counts[kind];
  const Finding finding{kind, index, source, axis, breach.value, breach.bound, breach.excess};
  std::vector<Finding>& findings = m_breaches.findings;
  const std::size_t side = breach.value > breach.bound ? 1 : 0;
  std::optional<std::size_t>& last = m_last[2 * static_cast<std::size_t>(axis) + side];
  if (last && m_refusal.stretches[*last].second + 1 == index) {
    m_refusal.stretches[*last].second = index;
    if (breach.excess > findings[*last].excess) findings[*last] = finding;
  } else if (findings.size() < kMostStretches) {
    last = findings.size();
    findings.push_back(finding);
    m_refusal.stretches.emplace_back(index, index);
  }
}

void RefusedRun::TakeShift(const cadcam::zvTPoint3d<double>& shift) {
  m_refusal.shift = shift;
}

void RefusedRun::WritePage(TextSink& sink, const std::string& fileName,
                           const cadcam::zvEndMill& tool) const {
  Report report;
  report.outputFiles = {fileName};
  report.counts = m_counts;
  report.polesCrossed = m_poles ? m_poles->GetCrossed() : 0;
  report.rotarySlackDeg = m_setup.par.GetLimitTolerance();
  report.tolerance =
      PathToleranceOf(m_setup.options.tolerance, m_setup.program.toolPath.GetUnits());
  const std::string noSummary;
  WriteReportPage(
      sink,
      FactsToJson({m_setup.options, m_setup.machine, m_setup.program, report, m_statistics,
                   m_breaches, m_setup.par.GetLimitsCheck(), tool, noSummary, &m_refusal}),
      m_lines, static_cast<std::size_t>(AxisCount(m_setup.machine)));
}

}  // namespace kandrel_post
