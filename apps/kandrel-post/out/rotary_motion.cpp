#include "kandrel-post/out/rotary_motion.h"

#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/posted_move.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kandrel_post {

namespace {

constexpr int kFewestSteps = 8;
constexpr int kMostSteps = 720;
constexpr double kDegreesAStep = 5;  // of large turns
constexpr int kRefinements = 16;     // of the golden section: 0.618^16 of two steps
constexpr double kGolden = 0.6180339887498949;
// A sample this much below the largest distance so far can't have a larger one beside it: with
// eight steps the top of a parabola is at most 1/64 above its best sample.
constexpr double kNearlyLargest = 0.9;

post::zv5axMachDef Normalized(post::zv5axMachDef machDef) {
  machDef.Normalize();
  return machDef;
}

bool Wraps(post::zv5axControlDef::angleLimit limit) {
  return limit == post::zv5axControlDef::angleLimit360 ||
         limit == post::zv5axControlDef::angleLimit180;
}

// The most by which a step of the linear axes is longer in space than in numbers.
double Stretch(const post::zvMachDef& machDef) {
  if (machDef.IsIdentityTransform()) return 1;
  return std::sqrt(machDef.GetXAxisDirection().SquaredLength() +
                   machDef.GetYAxisDirection().SquaredLength() +
                   machDef.GetZAxisDirection().SquaredLength());
}

}  // namespace

std::array<bool, 3> WrappedAxes(const post::zv5axControlDef& control) {
  return {Wraps(control.GetFirstAxisLimit()), Wraps(control.GetSecondAxisLimit()), false};
}

RotaryMotion::RotaryMotion(const post::zv5axMachDef& machDef, const post::zv5axControlDef& control,
                           const Point& partOrigin, double toolLength, double poleToleranceDeg)
    : m_kinematics(Normalized(machDef), partOrigin, toolLength),
      m_fixedReach(2 * (machDef.GetFirstRotationPivot().Length() +
                        machDef.GetSecondRotationPivot().Length()) +
                   std::abs(toolLength) + partOrigin.Length()),
      m_stretch(Stretch(machDef)),
      m_wrapped(WrappedAxes(control)),
      m_poleSine(std::sin(poleToleranceDeg * misc::kRadiansPerDegree)) {}

// More than the tip can be off its line: an eighth of the largest second derivative of its place,
// which two turns and a straight motion make.
double RotaryMotion::Bound(const Block& block) const {
  const double turn =
      (std::abs(block.turns[0]) + std::abs(block.turns[1])) * misc::kRadiansPerDegree;
  const double way = m_stretch * block.machineWay.Length();
  const double reach = m_fixedReach + m_stretch * block.machine.Length() + way;
  return turn * (turn * reach + 2 * way) / 8;
}

// From the tip to the line's segment, `t` of the block along.
double RotaryMotion::Distance(const Block& block, double t) const {
  const Point tip = m_kinematics.PartPosition(block.machine + block.machineWay * t,
                                              block.angles[0] + block.turns[0] * t,
                                              block.angles[1] + block.turns[1] * t);
  const Point off = tip - block.part;
  const double square = block.partWay.SquaredLength();
  const double along = square > 0 ? std::clamp(Dot(off, block.partWay) / square, 0.0, 1.0) : 0.0;
  return (off - block.partWay * along).Length();
}

void RotaryMotion::Examine(const Block& block) {
  if (Bound(block) <= m_largest) return;
  const double turn = std::max(std::abs(block.turns[0]), std::abs(block.turns[1]));
  const int steps =
      static_cast<int>(std::clamp(turn / kDegreesAStep, double{kFewestSteps}, double{kMostSteps}));
  int best = 0;
  double largest = 0;
  for (int i = 1; i < steps; ++i) {
    const double distance = Distance(block, static_cast<double>(i) / steps);
    if (!(distance > largest)) continue;
    largest = distance;
    best = i;
  }
  if (best == 0 || largest < kNearlyLargest * m_largest) return;
  double from = static_cast<double>(best - 1) / steps, to = static_cast<double>(best + 1) / steps;
  double left = to - kGolden * (to - from), right = from + kGolden * (to - from);
  double atLeft = Distance(block, left), atRight = Distance(block, right);
  for (int i = 0; i < kRefinements; ++i) {
    if (atLeft > atRight) {
      to = right;
      right = left;
      atRight = atLeft;
      left = to - kGolden * (to - from);
      atLeft = Distance(block, left);
    } else {
      from = left;
      left = right;
      atLeft = atRight;
      right = from + kGolden * (to - from);
      atRight = Distance(block, right);
    }
  }
  largest = std::max({largest, atLeft, atRight});
  if (!(largest > m_largest)) return;
  m_largest = largest;
  m_largestIndex = m_count;
}

void RotaryMotion::CountPoles(const Point& orientation, bool feedMove) {
  const Point& axis = m_kinematics.GetFirstWorkingDirection();
  const Point unit = orientation / orientation.Length();
  const Point before = m_offPole;
  m_offPole = unit - axis * Dot(unit, axis);
  if (m_count == 0) return;
  const bool wasOn = before.Length() <= m_poleSine, isOn = m_offPole.Length() <= m_poleSine;
  if (wasOn && isOn) return;
  if (wasOn) {
    m_polesCrossed += m_enteredPole && feedMove ? 1 : 0;
  } else if (!isOn && feedMove) {
    // Between two lines; a step from one end of the axis to the other would be half a turn.
    const Point way = m_offPole - before;
    const double square = way.SquaredLength();
    const double t = square > 0 ? std::clamp(-Dot(before, way) / square, 0.0, 1.0) : 0.0;
    m_polesCrossed += (before + way * t).Length() <= m_poleSine ? 1 : 0;
  }
  m_enteredPole = isOn && feedMove;
}

void RotaryMotion::Add(const PostedRow& row) {
  const post::zvPostedMove& move = row.move;
  CountPoles(move.GetOrientation(), !move.IsRapid());
  if (m_count != 0 && !move.IsRapid()) {
    Block block{m_machine, move.GetMachinePosition() - m_machine,
                m_part,    move.GetPartPosition() - m_part,
                m_angles,  {row.angles[0] - m_angles[0], row.angles[1] - m_angles[1]}};
    for (std::size_t i = 0; i < 2; ++i)
      if (m_wrapped[i]) block.turns[i] = std::remainder(block.turns[i], misc::kFullTurnDeg);
    // Without a turn the tip runs straight.
    if (block.turns[0] != 0 || block.turns[1] != 0) Examine(block);
  }
  m_machine = move.GetMachinePosition();
  m_part = move.GetPartPosition();
  m_angles = {row.angles[0], row.angles[1]};
  ++m_count;
}

}  // namespace kandrel_post
