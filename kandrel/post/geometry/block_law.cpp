#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/geometry/small_turn.h>
#include <kandrel/post/geometry/way_distance.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>

#include <cmath>

namespace post {

namespace {

using Point = zvBlockLaw::Point;

}  // namespace

zvBlockLaw::zvBlockLaw(const zvMachDef& machDef, const Point& partOrigin,
                       double toolLengthCompensation) {
  const auto own = machDef.Clone();
  own->Normalize();
  m_isIdentity = own->IsIdentityTransform();
  m_x = own->GetXAxisDirection();
  m_y = own->GetYAxisDirection();
  m_z = own->GetZAxisDirection();
  m_spindle = own->GetSpindleDirection();
  const double l = toolLengthCompensation;
  switch (own->GetNumbersOfAxes()) {
    case zvMachDef::threeAxes:
      m_outer = -l * m_spindle;
      break;
    case zvMachDef::fourAxes:
      Take(zvMachDefUtils::As4ax(*own), l);
      break;
    case zvMachDef::fiveAxes:
      Take(zvMachDefUtils::As5ax(*own), l);
      break;
    case zvMachDef::sixAxes: {
      zv5axMachDef five = Get5axMachDef(zvMachDefUtils::As6ax(*own));
      five.Normalize();
      Take(five, l);
      break;
    }
    default:
      throw zvPostException(zvPostException::kUnknownMachine);
  }
  m_outer = m_outer - partOrigin;
  m_size = SizeOf(m_outer) + SizeOf(m_middle) + SizeOf(m_inner) + std::fabs(l);
  m_firsts = PairOf(m_first, m_first);
  m_seconds = PairOf(m_second, m_second);
  m_outers = PairOf(m_outer, {});
  m_middles = PairOf(m_middle, {});
  m_inners = PairOf(m_inner, m_spindle);
  m_radians = misc::Lanes{m_hasFirst ? misc::kRadiansPerDegree : 0,
                          m_hasSecond ? misc::kRadiansPerDegree : 0};
}

// A table at the angle a has turned the part by a about its axis: from the part the tip is seen
// turned by -a, p = B + R(-a)(nose - L s - B) - origin. In the head the axis goes through the nose,
// which the slides' position lies off by the pivot: p = nose - B + R(a)(-L s) - origin.
void zvBlockLaw::Take(const zv4axMachDef& machDef, double toolLength) {
  const Point tool = -toolLength * m_spindle;
  const Point& pivot = machDef.GetRotationPivot();
  m_hasFirst = true;
  if (machDef.GetRotaryOnWorkpiece() != 0) {
    m_first = -machDef.GetRotationDirection();
    m_carrier = Carrier::kMiddle;
    m_outer = pivot;
    m_middle = tool - pivot;
  } else {
    m_first = machDef.GetRotationDirection();
    m_carrier = Carrier::kOuter;
    m_outer = -pivot;
    m_middle = tool;
  }
}

// With the pivots B1 and B2, R1 and R2 the turns of part or tool by the angles:
//   both on the table, 2 carrying 1:  p = B1 + R1'(B2 - B1 + R2'(nose - L s - B2)) - origin
//   1 on the table, 2 in the head:    p = B1 + R1'(nose + B2 - B1 + R2(-L s - B2)) - origin
//   both in the head, 1 carrying 2:   p = nose + B1 + B2 + R1(-B1 + R2(-L s - B2)) - origin
// B2 of a head is measured from the nose, B1 of one from B2. A kind that leaves the length out has
// the tip for its nose.
void zvBlockLaw::Take(const zv5axMachDef& machDef, double toolLength) {
  const std::int32_t kind = machDef.GetFiveAxisKind();
  const Point& b1 = machDef.GetFirstRotationPivot();
  const Point& b2 = machDef.GetSecondRotationPivot();
  const double length = kind == zv5axMachDef::kBothOnTableLengthLeftOut ? 0 : toolLength;
  m_hasFirst = m_hasSecond = true;
  m_inner = -length * m_spindle - b2;
  switch (kind) {
    case zv5axMachDef::kBothOnTableLengthLeftOut:
    case zv5axMachDef::kBothOnTable:
      m_first = -machDef.GetFirstRotationDirection();
      m_second = -machDef.GetSecondRotationDirection();
      m_carrier = Carrier::kInner;
      m_outer = b1;
      m_middle = b2 - b1;
      break;
    case zv5axMachDef::kBothInHead:
      m_first = machDef.GetFirstRotationDirection();
      m_second = machDef.GetSecondRotationDirection();
      m_carrier = Carrier::kOuter;
      m_outer = b1 + b2;
      m_middle = -b1;
      break;
    default:
      m_first = -machDef.GetFirstRotationDirection();
      m_second = machDef.GetSecondRotationDirection();
      m_carrier = Carrier::kMiddle;
      m_outer = b1;
      m_middle = b2 - b1;
      break;
  }
}

// Where the tool stands with the angles turned.
inline void zvBlockLaw::Stand(Station& station) const noexcept {
  const Point& p = station.line.p_mach;
  const Point nose = m_isIdentity ? p : p.x * m_x + p.y * m_y + p.z * m_z;
  station.nose = nose;
  Pair outer = m_outers;
  Pair middle = m_middles;
  Pair inner = m_inners;
  NoseOf(outer, middle, inner) += PairOf(nose, {});
  const zvTurnPair& turns = station.turns;
  if (m_hasSecond)
    inner = Turned(inner, m_seconds, misc::Spread(turns.cosine[1]), misc::Spread(turns.sine[1]));
  station.reaches = inner;
  station.lengths = misc::Sqrt(inner.SquaredLength());
  const Pair arms = middle + inner;
  station.arms = arms;
  Pair pose = arms;
  if (m_hasFirst)
    pose = Turned(arms, m_firsts, misc::Spread(turns.cosine[0]), misc::Spread(turns.sine[0]));
  pose += outer;
  station.pose = {{pose.x[0], pose.y[0], pose.z[0]}, {pose.x[1], pose.y[1], pose.z[1]}};
}

zvBlockLaw::Station zvBlockLaw::StationAt(const Line& line) const noexcept {
  Station station;
  station.line = line;
  const zvTurn first = m_hasFirst ? zvTurn::OfDegrees(line.firstAngle) : zvTurn();
  const zvTurn second = m_hasSecond ? zvTurn::OfDegrees(line.secondAngle) : zvTurn();
  station.turns = {misc::Lanes{first.cosine, second.cosine}, misc::Lanes{first.sine, second.sine}};
  Stand(station);
  return station;
}

void zvBlockLaw::MoveOn(const Station& previous, const Line& line,
                        Station& station) const noexcept {
  const misc::Lanes turns = TurnsBetween(previous.line, line);
  if (previous.steps == kMostSteps || !misc::AreAll(misc::Abs(turns) < misc::Spread(kSeriesTurn)))
      [[unlikely]] {
    station = StationAt(line);
    return;
  }
  station.line = line;
  station.steps = previous.steps + 1;
  station.turns = TurnedOn(previous.turns, turns);
  Stand(station);
}

}  // namespace post
