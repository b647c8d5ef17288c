#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/way_distance.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/verifier/detail/verification.h>

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
/// Between two ends that are off their arc on one side its middle is off by more, as their chord is
/// nearer to the origin: 1 / cos 0.2 for the largest turns that have an estimate.
constexpr double kMostAside = 1.03;
constexpr double kInfinite = std::numeric_limits<double>::infinity();

bool IsFinite(const zvLineView& line) {
  const auto zero = [](double a, double b) { return misc::Lanes{a, b} * misc::Spread(0); };
  // Finite numbers times 0 sum up to 0; infinity and NaN give NaN.
  const misc::Lanes sum =
      zero(line.p_mach.x, line.p_mach.y) + zero(line.p_mach.z, line.p_part.x) +
      zero(line.p_part.y, line.p_part.z) + zero(line.dir_tool.x, line.dir_tool.y) +
      zero(line.dir_tool.z, line.feed) + zero(line.degs[0], line.degs[1]) + zero(line.degs[2], 0);
  return sum[0] + sum[1] == 0;
}

// The largest number for what is above all.
double Finite(double size) {
  return std::min(size, std::numeric_limits<double>::max());
}

// What is no number bounds nothing.
zvBlockDeviation Bound(double tip, double axis) {
  return {tip < kInfinite ? tip : kInfinite, axis < kInfinite ? axis : kInfinite};
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
  std::array<double, 6> least;
  std::array<double, 6> most;
  least.fill(-kInfinite);
  most.fill(kInfinite);
  if (ChecksLinearAxes(rules.limitsCheck)) {
    for (int axis = 0; axis < 3; ++axis) {
      least[static_cast<std::size_t>(axis)] = machDef.GetMinLimits()[axis] - misc::kEqual;
      most[static_cast<std::size_t>(axis)] = machDef.GetMaxLimits()[axis] + misc::kEqual;
    }
  }
  if (ChecksRotaryAxes(rules.limitsCheck)) {
    for (std::size_t axis = 0; axis < RotaryCount(); ++axis) {
      least[3 + axis] = m_ranges[axis].min - rules.limitTolerance;
      most[3 + axis] = m_ranges[axis].max + rules.limitTolerance;
    }
  }
  for (std::size_t i = 0; i < 3; ++i) {
    m_least[i] = misc::Lanes{least[2 * i], least[2 * i + 1]};
    m_most[i] = misc::Lanes{most[2 * i], most[2 * i + 1]};
  }
}

void zvVerification::Report(Finding::Kind kind, int axis, double value, double bound,
                            double excess) {
  AddFinding(m_verdict, m_rules, {kind, m_line, m_sourceOfLine, axis, value, bound, excess});
}

void zvVerification::TakeNotFinite(const zvLineView& line) {
  m_sourceOfLine = line.source;
  Report(Finding::kNotFinite, -1, 0, 0, 0);
  m_finder.PassUnjudged(line);
  m_hasPrevious = false;
}

// Whether no axis turns faster than one has, or may, or by more than half a turn: by squares, of
// which the last digit may be off.
inline bool zvVerification::TurnsSlower(const zvLineView& line, const Judged& judged) const {
  const Judged& previous = Previous();
  const zvBlockLaw::Line& from = previous.station.line;
  const zvBlockLaw::Line& to = judged.station.line;
  const misc::Lanes turns = misc::Abs(misc::Lanes{to.firstAngle, to.secondAngle} -
                                      misc::Lanes{from.firstAngle, from.secondAngle});
  const misc::Lanes speeds = turns * line.feed;
  const double most = std::min(m_verdict.rotarySpeed.value, m_rules.maxRotarySpeed);
  const double known = most * most * (judged.p_part - previous.p_part).SquaredLength();
  return known < std::numeric_limits<double>::infinity() &&
         misc::AreAll(misc::And(turns <= misc::Spread(misc::kFullTurnDeg / 2),
                                speeds * speeds <= misc::Spread(known * (1 - 1e-14))));
}

void zvVerification::Take(const zvLineView& line) {
  m_line = m_verdict.lines++;
  if (!IsFinite(line)) [[unlikely]]
    return TakeNotFinite(line);
  Judged& judged = m_judged[m_current];
  judged.p_part = line.p_part;
  zvBlockLaw::Line unwrapped{line.p_mach, line.degs[0], line.degs[1]};
  if (m_isWrapped[0] || m_isWrapped[1]) Unwrap(unwrapped);
  if (m_hasPrevious) [[likely]]
    m_law->MoveOn(Previous().station, unwrapped, judged.station);
  else
    judged.station = m_law->StationAt(unwrapped);
  // The size of the line's numbers and the machine's. Where the sum is too large for a number the
  // slack is not infinite for that: a distance that is would pass.
  const double size = Finite(1 + m_law->GetSize() + SizeOf(line.p_mach) + SizeOf(line.p_part));
  m_slack = Finite(m_rules.lineTip * size + m_rules.lineLength);
  m_finder.SetSlack(size, m_slack);
  if (m_line == 0 && m_machine.standingLaw != nullptr) ChooseLaw(judged);
  const zvBlockLaw::Pose& pose = judged.station.pose;
  // Where there is none it is off by half a turn.
  judged.dir_tool = line.dir_tool.IsZero() ? -pose.axis : UnitOf(line.dir_tool);
  // Of a line without a number its place tells whether it is inserted.
  if (m_rules.hasMarkers &&
      (line.isInserted || (line.source < 0 && !m_finder.IsAtNext(line, judged))))
    judged.dir_tool = pose.axis;
  const misc::Lanes off = misc::Sqrt(
      (zvBlockLaw::PairOf(pose.tip, pose.axis) - zvBlockLaw::PairOf(judged.p_part, judged.dir_tool))
          .SquaredLength());
  judged.tipOff = off[0];
  judged.axisOff = off[1];

  m_sourceOfLine = m_finder.FindSource(line, judged, m_hasPrevious ? &Previous() : nullptr);
  const misc::Lanes mostOff{m_slack, m_rules.lineAxis * misc::kRadiansPerDegree};
  if (m_rotary == 3 || !misc::AreAll(off <= mostOff)) [[unlikely]]
    CheckPose(line, judged);
  if (!IsInLimits(line)) [[unlikely]]
    CheckLimits(line);
  if (m_hasPrevious && !line.isRapid) {
    ++m_verdict.blocks;
    CheckBlock(judged);
    if (!TurnsSlower(line, judged)) CheckTurns(line, judged);
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
void zvVerification::Unwrap(zvBlockLaw::Line& line) {
  const zvBlockLaw::Line& previous = Previous().station.line;
  const auto unwrap = [&](std::size_t axis, double& deg, double before) {
    if (!m_isWrapped[axis]) return;
    deg += m_carried[axis];
    if (!m_hasPrevious || std::fabs(deg - before) <= misc::kFullTurnDeg / 2) return;
    const double more = misc::kFullTurnDeg * misc::WindsBetween(before, deg);
    m_carried[axis] += more;
    deg += more;
  };
  unwrap(0, line.firstAngle, previous.firstAngle);
  unwrap(1, line.secondAngle, previous.secondAngle);
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

// Whether all axes stand within their ranges as they are written.
bool zvVerification::IsInLimits(const zvLineView& line) const {
  const misc::Lanes places[]{
      {line.p_mach.x, line.p_mach.y}, {line.p_mach.z, line.degs[0]}, {line.degs[1], 0}};
  misc::LaneMask isIn = misc::And(m_least[0] <= places[0], places[0] <= m_most[0]);
  for (std::size_t i = 1; i < 3; ++i)
    isIn = misc::And(isIn, misc::And(m_least[i] <= places[i], places[i] <= m_most[i]));
  return misc::AreAll(isIn);
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

// What a block may leave its way by without being looked at: the largest of those before it, or
// what is allowed.
zvBlockDeviation zvVerification::Known() const {
  const zvBlockDeviation known{m_verdict.tip.value, m_verdict.axis.value};
  const zvPathTolerance& tolerance = m_rules.tolerance;
  if (!tolerance.IsOn()) return known;
  return {std::min(known.tip, tolerance.GetTip()), std::min(known.axis, tolerance.GetAxis())};
}

// By an estimate, and without a division or a root where that serves. Angles are x + 0.18 x^3 at
// most, for x the sum of their sine and of the chords that are added.
bool zvVerification::StaysWithinKnown(const Judged& judged) const {
  const Judged& previous = Previous();
  const misc::Lanes off = misc::Max(misc::Lanes{previous.tipOff, previous.axisOff},
                                    misc::Lanes{judged.tipOff, judged.axisOff});
  const misc::Lanes sourceOff = misc::Max(misc::Lanes{previous.sourceTipOff, previous.sourceOff},
                                          misc::Lanes{judged.sourceTipOff, judged.sourceOff});
  constexpr misc::Lanes kLargest{std::numeric_limits<double>::infinity(), 0.2};
  constexpr misc::Lanes kCube{0, 0.18};
  constexpr misc::Lanes kAside{1, kMostAside};
  const misc::Lanes most =
      m_law->Estimate(previous.station, judged.station).most + kAside * (off + sourceOff);
  return misc::AreAll(misc::And(most < kLargest, most + kCube * most * most * most <= m_known));
}

// Notes what a block reaches in its middle.
void zvVerification::ReachMiddle(const zvBlockLaw::Way& way, const Judged& judged) {
  const zvBlockLaw::Line& from = Previous().station.line;
  const zvBlockLaw::Line& to = judged.station.line;
  const zvBlockLaw::Pose pose =
      m_law->PoseAt({(from.p_mach + to.p_mach) * 0.5, (from.firstAngle + to.firstAngle) / 2,
                     (from.secondAngle + to.secondAngle) / 2});
  const double tip = zvWaySegment(way.from.tip, way.to.tip).Distance(pose.tip);
  m_reached.tip = std::max(m_reached.tip, tip);
  // As a sine: Angle rounds up.
  const double sine =
      misc::Sqrt(zvWayArc(way.from.axis, way.to.axis, pose.axis).SquaredDistance(pose.axis));
  m_reached.axis = std::max(m_reached.axis, sine * misc::kDegreesPerRadian);
}

zvVerification::Block zvVerification::BlockTo(const Judged& judged) const {
  const Judged& previous = Previous();
  const double sourceOff = previous.isLift ? 0 : std::max(previous.sourceOff, judged.sourceOff);
  const double tipOff = previous.isLift ? 0 : std::max(previous.sourceTipOff, judged.sourceTipOff);
  return {previous.station,
          judged.station,
          {{previous.p_part, previous.dir_tool}, {judged.p_part, judged.dir_tool}},
          sourceOff > 0 ? m_finder.LastWay() : nullptr,
          tipOff,
          std::max(previous.tipOff, judged.tipOff) + tipOff,
          std::max(previous.axisOff, judged.axisOff) + sourceOff};
}

zvBlockDeviation zvVerification::Estimated(const Block& block,
                                           const zvBlockEstimate& estimate) const {
  zvBlockDeviation bound{estimate.most[0], AngleOfSine(estimate.most[1]) * misc::kDegreesPerRadian};
  if (!(bound.tip < kInfinite && bound.axis < kInfinite))
    bound = m_law->Guess(block.from, block.to);
  // What both ends are off by on one side their chord is too, and the arc by more.
  const double middle = PlainLength(block.from.pose.axis + block.to.pose.axis) / 2;
  const double aside = AngleOfSine(block.ownChord / middle) * misc::kDegreesPerRadian;
  return Bound(bound.tip + block.ownOff, bound.axis + aside);
}

// A smaller bound than the one at hand where that is above what is known, infinite for one that
// serves. The tool axis is held against its own way and that of the source, where the two part:
// between cones of one rotary axis.
zvBlockDeviation zvVerification::Searched(const Block& block, zvBlockDeviation bound,
                                          const zvBlockDeviation& known) const {
  if (!(known.tip < kInfinite || known.axis < kInfinite)) return bound;
  const zvBlockDeviation nearer = m_law->BoundAbove(
      block.from, block.to, block.way, {std::max(0.0, known.tip - block.tipOff), known.axis});
  bound.tip = std::min(bound.tip, nearer.tip + block.tipOff);
  if (!(known.axis < kInfinite)) return bound;
  bound.axis = std::min(bound.axis, nearer.axis);
  if (block.sourceWay != nullptr)
    bound.axis =
        std::max(bound.axis, m_law->BoundAbove(block.from, block.to, *block.sourceWay, known).axis);
  return bound;
}

// Hands the block's own deviation to the sink: no more than the tolerance where it is proved to
// hold.
void zvVerification::TellBlock(const Judged& judged, bool holdsTip, bool holdsAxis) {
  const Block block = BlockTo(judged);
  zvBlockDeviation known = m_rules.sinkFloor;
  zvBlockDeviation bound{kInfinite, kInfinite};
  if (known.tip > 0 || known.axis > 0) {
    bound = Estimated(block, m_law->Estimate(block.from, block.to));
    if (bound.tip <= known.tip) known.tip = kInfinite;
    if (bound.axis <= known.axis) known.axis = kInfinite;
  }
  bound = Searched(block, bound, known);
  const zvPathTolerance& tolerance = m_rules.tolerance;
  if (tolerance.IsOn() && holdsTip) bound.tip = std::min(bound.tip, tolerance.GetTip());
  if (tolerance.IsOn() && holdsAxis) bound.axis = std::min(bound.axis, tolerance.GetAxis());
  m_sink->Take({m_line, m_sourceOfLine, bound});
}

void zvVerification::CheckBlockClosely(const Judged& judged) {
  const Block block = BlockTo(judged);
  const zvPathTolerance& tolerance = m_rules.tolerance;
  zvBlockDeviation known = Known();
  const zvBlockEstimate estimate = m_law->Estimate(block.from, block.to);
  zvBlockDeviation bound = Estimated(block, estimate);
  // What is as near to what is reached here or before as a bound has to be is one.
  const double axisLeast =
      (estimate.least[1] - kMostAside * block.ownChord) * misc::kDegreesPerRadian;
  m_reached.tip = std::max(m_reached.tip, estimate.least[0] - block.ownOff);
  m_reached.axis = std::max(m_reached.axis, axisLeast);
  const double mostTip = tolerance.IsOn() ? tolerance.GetTip() : kInfinite;
  const double mostAxis = tolerance.IsOn() ? tolerance.GetAxis() : kInfinite;
  const auto isNear = [](double most, double reached, double near) {
    return most <= std::max(zvBlockLaw::kNear * reached, reached + near);
  };
  if (bound.tip <= known.tip ||
      (bound.tip <= mostTip && isNear(bound.tip, m_reached.tip, zvBlockLaw::kNearLength)))
    known.tip = kInfinite;
  if (bound.axis <= known.axis ||
      (bound.axis <= mostAxis && isNear(bound.axis, m_reached.axis, zvBlockLaw::kNearDeg)))
    known.axis = kInfinite;
  if (known.tip < kInfinite || known.axis < kInfinite) {
    bound = Searched(block, bound, known);
    ReachMiddle(block.way, judged);
  }
  if (tolerance.IsOn() && !(bound.tip <= tolerance.GetTip() && bound.axis <= tolerance.GetAxis())) {
    // What is proved to hold is no finding, though a bound may come out 2% larger.
    const zvBlockDeviation tip{tolerance.GetTip() - block.tipOff, kInfinite};
    const zvBlockDeviation axis{kInfinite, tolerance.GetAxis()};
    const bool hasSourceWay = block.sourceWay != nullptr && known.axis < kInfinite;
    const auto holds = [&](const zvBlockDeviation& most) {
      return m_law->Holds(block.from, block.to, block.way, most);
    };
    if (!(bound.tip <= tolerance.GetTip())) {
      if (holds(tip))
        bound.tip = tolerance.GetTip();
      else
        Report(Finding::kTipOffWay, -1, bound.tip, tolerance.GetTip(),
               bound.tip - tolerance.GetTip());
    }
    if (!(bound.axis <= tolerance.GetAxis())) {
      if (holds(axis) &&
          (!hasSourceWay || m_law->Holds(block.from, block.to, *block.sourceWay, axis)))
        bound.axis = tolerance.GetAxis();
      else
        Report(Finding::kAxisOffWay, -1, bound.axis, tolerance.GetAxis(),
               bound.axis - tolerance.GetAxis());
    }
  }
  Raise(m_verdict.tip, bound.tip);
  Raise(m_verdict.axis, bound.axis);
  const zvBlockDeviation next = Known();
  m_known = misc::Lanes{next.tip, next.axis * misc::kRadiansPerDegree * (1 - 1e-15)};
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
