#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/way_distance.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/verifier/verification.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace post {

namespace {

using Point = zvVerification::Point;
using Finding = zvPostingFinding;

/// The cosine from which on a tool stands along an axis: 1e-6 rad.
constexpr double kAlongAxis = 1 - 5e-13;

bool IsFinite(const zvLineView& line) {
  double sum = line.feed * 0;
  for (const double deg : line.degs) sum += deg * 0;
  return sum == 0 && cadcam::IsFinite(line.p_mach) && cadcam::IsFinite(line.p_part) &&
         cadcam::IsFinite(line.dir_tool);
}

double SizeOf(const Point& p) {
  return std::fabs(p.x) + std::fabs(p.y) + std::fabs(p.z);
}

bool IsAlong(const Point& a, const Point& b) {
  return std::fabs(Dot(a, b)) > kAlongAxis;
}

bool IsWrapped(zv5axControlDef::angleLimit limit) {
  return limit == zv5axControlDef::angleLimit360 || limit == zv5axControlDef::angleLimit180;
}

}  // namespace

zvVerification::zvVerification(const zvVerifiedMachine& machine, const zvVerifierRules& rules,
                               const cadcam::zvToolPath& toolpath, const zvAlignMatrix& alignment,
                               zvBlockSink* sink)
    : m_machine(machine),
      m_rules(rules),
      m_law(&machine.law),
      m_sink(sink),
      m_finder(m_verdict, rules, toolpath, alignment) {
  const zvMachDef& machDef = machine.machDef;
  const zv5axControlDef& control = machine.control;
  m_isWrapped = {IsWrapped(control.GetFirstAxisLimit()), IsWrapped(control.GetSecondAxisLimit())};
  m_rotary = static_cast<std::size_t>(machDef.GetNumbersOfAxes());
  if (m_rotary == 1) {
    const zv4axMachDef& four = zvMachDefUtils::As4ax(machDef);
    m_ranges[0] = RotaryRangesOf(four)[0];
    m_pole = four.GetSpindleDirection();
  } else if (m_rotary == 2) {
    const zv5axMachDef& five = zvMachDefUtils::As5ax(machDef);
    m_ranges = RotaryRangesOf(five);
    m_pole = five.GetFirstRotationDirection();
    m_hasSecondPole = IsAlong(five.GetSpindleDirection(), five.GetSecondRotationDirection());
  } else if (m_rotary == 3) {
    const zv6axMachDef& six = zvMachDefUtils::As6ax(machDef);
    m_ranges = {zvRotaryRange{six.GetMinFirstAngle(), six.GetMaxFirstAngle()},
                zvRotaryRange{six.GetMinSecondAngle(), six.GetMaxSecondAngle()}};
    m_pole = six.GetFirstRotationDirection();
    m_hasSecondPole = IsAlong(six.GetSpindleDirection(), six.GetSecondRotationDirection());
    m_thirdAngle = six.GetThirdAngle();
  }
}

void zvVerification::Report(Finding::Kind kind, int axis, double value, double bound,
                            double excess) {
  AddFinding(m_verdict, m_rules, {kind, m_line, m_sourceOfLine, axis, value, bound, excess});
}

void zvVerification::Take(const zvLineView& line) {
  m_line = m_verdict.lines++;
  if (!IsFinite(line)) {
    m_sourceOfLine = line.source;
    Report(Finding::kNotFinite, -1, 0, 0, 0);
    m_finder.PassUnjudged(line);
    m_hasPrevious = false;
    return;
  }
  Judged& judged = m_judged[m_current];
  judged.p_part = line.p_part;
  if (m_hasPrevious)
    m_law->MoveOn(Previous().station, Unwrapped(line), judged.station);
  else
    judged.station = m_law->StationAt(Unwrapped(line));
  // The size of the line's numbers and the machine's.
  const double size = 1 + m_law->GetSize() + SizeOf(line.p_mach) + SizeOf(line.p_part);
  m_slack = m_rules.lineTip * size + m_rules.lineLength;
  m_finder.SetSlack(size, m_slack);
  if (m_line == 0 && m_machine.standingLaw != nullptr) ChooseLaw(judged);
  const Point& dir_mach = judged.station.pose.axis;
  // Where there is none it is off by half a turn.
  judged.dir_tool = line.dir_tool.IsZero() ? -dir_mach : UnitOf(line.dir_tool);
  // Of a line without a number its place tells whether it is inserted.
  if (m_rules.hasMarkers &&
      (line.isInserted || (line.source < 0 && !m_finder.IsAtNext(line, judged))))
    judged.dir_tool = dir_mach;
  judged.tipOff = PlainLength(judged.station.pose.tip - judged.p_part);
  judged.axisOff = PlainLength(dir_mach - judged.dir_tool);

  m_sourceOfLine = m_finder.FindSource(line, judged, m_hasPrevious ? &Previous() : nullptr);
  CheckPose(line, judged);
  CheckLimits(line);
  if (m_hasPrevious && !line.isRapid) {
    ++m_verdict.blocks;
    CheckBlock(judged);
    CheckTurns(line, judged);
  }
  m_hasPrevious = true;
  m_current = 1 - m_current;
}

void zvVerification::ChooseLaw(Judged& judged) {
  const zvBlockLaw::Station standing = m_machine.standingLaw->StationAt(judged.station.line);
  const auto off = [&](const zvBlockLaw::Station& station) {
    return PlainLength(station.pose.tip - judged.p_part);
  };
  if (!(off(standing) < off(judged.station))) return;
  m_law = m_machine.standingLaw;
  judged.station = standing;
}

zvPostingVerdict zvVerification::Finish() {
  m_finder.Finish();
  return std::move(m_verdict);
}

// A control that wraps goes the shorter way: whole turns are added so that angles run on. Of just
// half a turn both ways are as short, and the numbers tell.
zvBlockLaw::Line zvVerification::Unwrapped(const zvLineView& line) {
  zvBlockLaw::Line unwrapped{line.p_mach, line.degs[0], line.degs[1]};
  if (!m_isWrapped[0] && !m_isWrapped[1]) return unwrapped;
  const zvBlockLaw::Line& previous = Previous().station.line;
  const auto unwrap = [&](std::size_t axis, double& deg, double before) {
    if (!m_isWrapped[axis]) return;
    deg += m_carried[axis];
    if (!m_hasPrevious || std::fabs(deg - before) <= misc::kFullTurnDeg / 2) return;
    const double more = misc::kFullTurnDeg * misc::WindsBetween(before, deg);
    m_carried[axis] += more;
    deg += more;
  };
  unwrap(0, unwrapped.firstAngle, previous.firstAngle);
  unwrap(1, unwrapped.secondAngle, previous.secondAngle);
  return unwrapped;
}

void zvVerification::CheckPose(const zvLineView& line, const Judged& judged) {
  if (!(judged.tipOff <= m_slack))
    Report(Finding::kLineTipOff, -1, judged.tipOff, m_slack, judged.tipOff - m_slack);
  if (!(judged.axisOff <= m_rules.lineAxis * misc::kRadiansPerDegree)) {
    const double deg = DegOfChord(judged.axisOff);
    const double most = m_rules.lineAxis + (IsOnPole(judged) ? m_rules.poleAngleTolerance : 0);
    if (!(deg <= most)) Report(Finding::kLineAxisOff, -1, deg, most, deg - most);
  }
  if (m_rotary != 3) return;
  const double off = misc::CircularDistance(line.degs[2], m_thirdAngle);
  // Nothing computes it: it is the machine's own number.
  if (!(off <= m_rules.thirdAxis))
    Report(Finding::kLineAxisOff, 5, line.degs[2], m_thirdAngle, off - m_rules.thirdAxis);
}

// Beside an axis that may stand anywhere when the tool is put along it; with one rotary axis, along
// the spindle as it points at 0 and 180 degrees. Also on the way there from the edge of the cone:
// line and tool both stand in it then.
bool zvVerification::IsOnPole(const Judged& judged) const {
  if (m_hasSecondPole) return true;
  const double most = (m_rules.lineAxis + m_rules.poleAngleTolerance) * misc::kRadiansPerDegree;
  return m_rotary > 0 && Cross(judged.station.pose.axis, m_pole).Length() <= most &&
         Cross(judged.dir_tool, m_pole).Length() <= most;
}

void zvVerification::CheckLimits(const zvLineView& line) {
  if (ChecksLinearAxes(m_rules.limitsCheck)) {
    const Point& low = m_machine.machDef.GetMinLimits();
    const Point& high = m_machine.machDef.GetMaxLimits();
    for (int axis = 0; axis < 3; ++axis) {
      const double x = line.p_mach[axis];
      if (!(low[axis] - misc::kEqual <= x))
        Report(Finding::kLinearLimit, axis, x, low[axis], low[axis] - x);
      if (!(high[axis] + misc::kEqual >= x))
        Report(Finding::kLinearLimit, axis, x, high[axis], x - high[axis]);
    }
  }
  if (!ChecksRotaryAxes(m_rules.limitsCheck)) return;
  for (std::size_t axis = 0; axis < RotaryCount(); ++axis) CheckRotaryLimit(axis, line.degs[axis]);
}

// An angle that the control wraps stands for any number of turns: it fits where one of them does.
void zvVerification::CheckRotaryLimit(std::size_t axis, double deg) {
  const auto [min, max] = m_ranges[axis];
  const double slack = m_rules.limitTolerance;
  if (min - slack <= deg && deg <= max + slack) return;
  double below = min - deg;  // what it lies under the range by
  double above = deg - max;
  if (m_isWrapped[axis]) {
    const double turns = std::ceil((min - slack - deg) / misc::kFullTurnDeg);
    const double lowest = deg + turns * misc::kFullTurnDeg;  // of those not under the range
    if (lowest <= max + slack) return;
    above = lowest - max;
    below = min - (lowest - misc::kFullTurnDeg);
    if (above <= below)
      below = 0;
    else
      above = 0;
  }
  const bool isBelow = !(above > 0);
  Report(Finding::kRotaryLimit, static_cast<int>(axis) + zvLimitType::kFirstRotary, deg,
         isBelow ? min : max, isBelow ? below : above);
}

void zvVerification::CheckBlock(const Judged& judged) {
  const Judged& previous = Previous();
  const zvBlockLaw::Way way{{previous.p_part, previous.dir_tool}, {judged.p_part, judged.dir_tool}};
  const double sourceOff = previous.isLift ? 0 : std::max(previous.sourceOff, judged.sourceOff);
  const double tipOff = previous.isLift ? 0 : std::max(previous.sourceTipOff, judged.sourceTipOff);
  const zvPathTolerance& tolerance = m_rules.tolerance;
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  zvBlockDeviation known;
  zvBlockDeviation bound{kInfinite, kInfinite};
  const zvBlockDeviation& floor = m_rules.sinkFloor;
  if (m_sink == nullptr || floor.tip > 0 || floor.axis > 0) {
    known = {m_verdict.tip.value, m_verdict.axis.value};
    if (tolerance.IsOn())
      known = {std::min(known.tip, tolerance.GetTip()), std::min(known.axis, tolerance.GetAxis())};
    if (m_sink != nullptr)
      known = {std::min(known.tip, floor.tip), std::min(known.axis, floor.axis)};
    bound = m_law->Guess(previous.station, judged.station);
    bound.tip += std::max(previous.tipOff, judged.tipOff) + tipOff;
    bound.axis += DegOfChord(std::max(previous.axisOff, judged.axisOff) + sourceOff);
    if (bound.tip <= known.tip) known.tip = kInfinite;
    if (bound.axis <= known.axis) known.axis = kInfinite;
    if (known.tip == kInfinite && known.axis == kInfinite) {
      if (m_sink != nullptr) m_sink->Take({m_line, m_sourceOfLine, bound});
      return;
    }
  }
  zvBlockDeviation nearer = m_law->BoundAbove(previous.station, judged.station, way,
                                              {std::max(0.0, known.tip - tipOff), known.axis});
  nearer.tip += tipOff;
  bound = {std::min(bound.tip, nearer.tip), std::min(bound.axis, nearer.axis)};
  // On its own way and on that of the source, where the two part: between cones of one rotary axis.
  const zvBlockLaw::Way* const sourceWay = m_finder.LastWay();
  const bool hasSourceWay = sourceOff > 0 && sourceWay != nullptr && known.axis < kInfinite;
  if (hasSourceWay)
    bound.axis = std::max(
        bound.axis, m_law->BoundAbove(previous.station, judged.station, *sourceWay, known).axis);
  if (tolerance.IsOn() && (bound.tip > tolerance.GetTip() || bound.axis > tolerance.GetAxis())) {
    // What is proved to hold is no finding, though a bound may come out 2% larger.
    const zvBlockDeviation tip{tolerance.GetTip() - tipOff, kInfinite};
    const zvBlockDeviation axis{kInfinite, tolerance.GetAxis()};
    const auto holds = [&](const zvBlockDeviation& most) {
      return m_law->Holds(previous.station, judged.station, way, most);
    };
    if (bound.tip > tolerance.GetTip()) {
      if (holds(tip))
        bound.tip = tolerance.GetTip();
      else
        Report(Finding::kTipOffWay, -1, bound.tip, tolerance.GetTip(),
               bound.tip - tolerance.GetTip());
    }
    if (bound.axis > tolerance.GetAxis()) {
      if (holds(axis) &&
          (!hasSourceWay || m_law->Holds(previous.station, judged.station, *sourceWay, axis)))
        bound.axis = tolerance.GetAxis();
      else
        Report(Finding::kAxisOffWay, -1, bound.axis, tolerance.GetAxis(),
               bound.axis - tolerance.GetAxis());
    }
  }
  Raise(m_verdict.tip, bound.tip);
  Raise(m_verdict.axis, bound.axis);
  if (m_sink != nullptr) m_sink->Take({m_line, m_sourceOfLine, bound});
}

void zvVerification::Raise(zvPostingVerdict::Largest& largest, double value) const {
  if (!(value <= largest.value)) largest = {value, m_line, m_sourceOfLine};
}

void zvVerification::CheckTurns(const zvLineView& line, const Judged& judged) {
  const Judged& previous = Previous();
  const zvBlockLaw::Line& from = previous.station.line;
  const zvBlockLaw::Line& to = judged.station.line;
  const std::array<double, 2> turns{to.firstAngle - from.firstAngle,
                                    to.secondAngle - from.secondAngle};
  // On the spot a turn takes what time the control gives it, however little rounding moves the tip.
  const double way = PlainLength(judged.p_part - previous.p_part);
  const bool isTimed = line.feed > 0 && way > m_slack - m_rules.lineLength;
  for (std::size_t i = 0; i < RotaryCount(); ++i) {
    const int axis = static_cast<int>(i) + zvLimitType::kFirstRotary;
    const double turn = std::fabs(turns[i]);
    if (turn == 0) continue;
    if (!(turn <= misc::kFullTurnDeg / 2 + misc::kAngleBorder))
      Report(Finding::kWholeTurn, axis, turn, misc::kFullTurnDeg / 2,
             turn - misc::kFullTurnDeg / 2);
    if (!isTimed) continue;
    const double speed = turn * line.feed / way;
    Raise(m_verdict.rotarySpeed, speed);
    if (!(speed <= m_rules.maxRotarySpeed))
      Report(Finding::kRotarySpeed, axis, speed, m_rules.maxRotarySpeed,
             speed - m_rules.maxRotarySpeed);
  }
}

}  // namespace post
