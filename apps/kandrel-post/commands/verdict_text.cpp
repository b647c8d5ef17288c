#include "kandrel-post/commands/verdict_text.h"

#include <fmt/format.h>
#include <kandrel/post/model/limit_type.h>
#include <kandrel/post/model/mach_def.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <numeric>

#include "kandrel-post/commands/parameters.h"
#include "kandrel-post/machine/values.h"

namespace kandrel_post {

namespace {

using Finding = post::zvPostingFinding;

// Three digits, and no more than six decimals, rounded up: what is within the shown number is
// within the real one.
std::string RoundedUp(double value) {
  if (!(value > 0) || !std::isfinite(value)) return fmt::format("{:g}", value);
  constexpr int kMostDecimals = 6;
  const int decimals =
      std::clamp(2 - static_cast<int>(std::floor(std::log10(value))), 0, kMostDecimals);
  const double scale = std::pow(10.0, decimals);
  // The product rounds: 0.07 comes out above 700 and is not to be shown as 0.0701.
  constexpr double kSlack = 1e-12;
  const double shown = std::ceil(value * scale * (1 - kSlack)) / scale;
  std::string text = fmt::format("{:.{}f}", shown, decimals);
  if (decimals != 0) {
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
  }
  return text;
}

// What is wrong with a line, without saying which.
class FindingText {
 public:
  explicit FindingText(const Machine& machine)
      : m_names(ShownAxisNames(machine)),
        m_unit(machine.builder.GetMachDef()->GetUnits() == measures::zvUnitsFactory::inch ? "in"
                                                                                          : "mm") {}

  const char* GetUnit() const { return m_unit; }

  std::string Of(const Finding& f) const {
    switch (f.kind) {
      case Finding::kTipOffWay:
        return fmt::format("on the way there the tip leaves its line by {:.4g} {}, {:g} allowed",
                           f.value, m_unit, f.bound);
      case Finding::kAxisOffWay:
        return fmt::format(
            "on the way there the tool axis leaves its arc by {:.4g} deg, {:g} allowed", f.value,
            f.bound);
      case Finding::kLineTipOff:
        return fmt::format("the machine puts the tip {:.4g} {} off the part position", f.value,
                           m_unit);
      case Finding::kLineAxisOff:
        if (f.axis >= 0)
          return fmt::format("{} stands at {:g} deg, {:g} expected", Axis(f), f.value, f.bound);
        return fmt::format("the machine puts the tool axis {:.4g} deg off that of the line",
                           f.value);
      case Finding::kTipOffSource:
        return fmt::format("the part position lies {:.4g} {} off the toolpath", f.value, m_unit);
      case Finding::kAxisOffSource:
        return fmt::format("the tool axis lies {:.4g} deg off that of the toolpath", f.value);
      case Finding::kLinearLimit:
        return fmt::format("{} stands at {:g} {}, {:.4g} beyond its limit {:g}", Axis(f), f.value,
                           m_unit, f.excess, f.bound);
      case Finding::kRotaryLimit:
        return fmt::format("{} stands at {:g} deg, {:.4g} beyond its limit {:g}", Axis(f), f.value,
                           f.excess, f.bound);
      case Finding::kRotarySpeed:
        return fmt::format("{} turns at {:.4g} deg a minute at the feed there, {:g} allowed",
                           Axis(f), f.value, f.bound);
      case Finding::kFeed:
        return fmt::format("its feed is {:g}, that of the toolpath {:g}", f.value, f.bound);
      case Finding::kRapid:
        return "it is rapid where the toolpath is not, or not where that is";
      case Finding::kSourceMissing:
        return fmt::format("moves of the toolpath without a line before it: {:g}", f.value);
      case Finding::kSourceOrder:
        return fmt::format("it names the move {:g} of the toolpath, {} is due", f.value, f.source);
      case Finding::kSourceUnknown:
        return fmt::format("it names the move {:g}, which the toolpath doesn't have", f.value);
      case Finding::kWholeTurn:
        return fmt::format("{} turns by {:.6g} deg on the way there, more than half a turn",
                           Axis(f), f.value);
      case Finding::kGoesBack:
        return fmt::format("it lies {:.4g} {} behind the line before it on the toolpath", f.value,
                           m_unit);
      case Finding::kTurnsBack:
        return fmt::format("{} turns back by {:.4g} deg while the tip stands",
                           f.axis >= 0 ? Axis(f) : "the tool", f.value);
      case Finding::kNotFinite:
        return "it has a number that is infinite or not a number";
      case Finding::kKinds:
        break;
    }
    return "it is wrong";
  }

 private:
  std::string Axis(const Finding& f) const {
    const auto axis = static_cast<std::size_t>(f.axis);
    return f.axis >= 0 && axis < m_names.size() ? m_names[axis] : "an axis";
  }

  std::vector<std::string> m_names;
  const char* m_unit;
};

}  // namespace

post::zvVerifierRules VerifierRules(const PostOptions& options, const Machine& machine,
                                    const post::zvKDRParam& par,
                                    measures::zvUnitsFactory::Units units) {
  post::zvVerifierRules rules;
  if (AxisCount(machine) > 3) rules.tolerance = PathToleranceOf(options.tolerance, units);
  if (options.maxRotarySpeed) rules.maxRotarySpeed = *options.maxRotarySpeed;
  rules.limitsCheck = par.GetLimitsCheck();
  rules.limitTolerance = par.GetLimitTolerance();
  rules.poleAngleTolerance = par.GetPoleAngleTolerance();
  if (options.lineTolerance) {
    rules.lineLength = options.lineTolerance->tip;
    if (options.lineTolerance->axis)
      rules.lineAxis = rules.thirdAxis = *options.lineTolerance->axis;
  }
  // With a tolerance lines are put by it alone, whatever the mode is.
  rules.hasMarkers = !rules.tolerance.IsOn() && par.GetInterpolationMode() != 0;
  return rules;
}

std::vector<std::string> FindingsInWords(const post::zvPostingVerdict& verdict,
                                         const Machine& machine) {
  const FindingText words(machine);
  std::vector<std::string> texts;
  for (const Finding& finding : verdict.findings) texts.push_back(words.Of(finding));
  return texts;
}

std::uint64_t FindingCount(const post::zvPostingVerdict& verdict) {
  return std::accumulate(verdict.counts.begin(), verdict.counts.end(), std::uint64_t{0});
}

UncheckedLimits::UncheckedLimits(const Machine& machine, const post::zv5axControlDef& control,
                                 const post::zvKDRParam& par)
    : m_report(*machine.builder.GetMachDef(), control, par.GetLimitTolerance()),
      m_areLinearChecked(post::ChecksLinearAxes(par.GetLimitsCheck())),
      m_areRotaryChecked(post::ChecksRotaryAxes(par.GetLimitsCheck())) {}

void UncheckedLimits::Add(const post::zvBlockLaw::Line& line) {
  if (m_areLinearChecked && m_areRotaryChecked) return;
  for (const post::zvLimitBreach& breach : m_report.AddUnbound(line)) {
    const bool isRotary = breach.limit.limitAxis >= post::zvLimitType::kFirstRotary;
    if (isRotary ? m_areRotaryChecked : m_areLinearChecked) continue;
    post::zvLimitBreach& furthest = m_furthest[static_cast<std::size_t>(breach.limit.limitAxis)];
    if (furthest.limit.IsNone() || breach.excess > furthest.excess) furthest = breach;
  }
}

std::string UncheckedLimits::InWords(const Machine& machine) const {
  const FindingText words(machine);
  std::string text;
  for (const post::zvLimitBreach& breach : m_furthest) {
    if (breach.limit.IsNone()) continue;
    const std::int32_t axis = breach.limit.limitAxis;
    const Finding::Kind kind =
        axis >= post::zvLimitType::kFirstRotary ? Finding::kRotaryLimit : Finding::kLinearLimit;
    text += (text.empty() ? "" : "; ") +
            words.Of({kind, 0, -1, axis, breach.value, breach.bound, breach.excess});
  }
  return text;
}

std::string VerdictInWords(const post::zvPostingVerdict& verdict, const Machine& machine,
                           std::size_t most, const std::string& uncheckedLimits) {
  const FindingText words(machine);
  const std::string unchecked =
      uncheckedLimits.empty() ? "" : "limits were not checked: " + uncheckedLimits + '\n';
  if (verdict.IsClean())
    return fmt::format("verified{}tip within {} {}, axis within {} deg\n",
                       unchecked.empty() ? ": " : ", but " + unchecked + "  ",
                       RoundedUp(verdict.tip.value), words.GetUnit(),
                       RoundedUp(verdict.axis.value));
  const std::uint64_t count = FindingCount(verdict);
  std::string text;
  auto out = std::back_inserter(text);
  fmt::format_to(out, "not verified: {} finding{}\n", count, count == 1 ? "" : "s");
  const std::size_t shown = std::min(most, verdict.findings.size());
  for (std::size_t i = 0; i < shown; ++i) {
    const Finding& f = verdict.findings[i];
    fmt::format_to(out, "  line {}", f.line);
    if (f.source >= 0) fmt::format_to(out, ", source {}", f.source);
    fmt::format_to(out, ": {}\n", words.Of(f));
  }
  if (count > shown) fmt::format_to(out, "  and {} more\n", count - shown);
  if (!unchecked.empty()) fmt::format_to(out, "  {}", unchecked);
  return text;
}

}  // namespace kandrel_post
