#include <tests/support/laws.h>
#include <tests/support/testing.h>

namespace tests {

namespace {

constexpr double kRadians = 3.14159265358979323846 / 180;
// The arc cosine snaps what is nearer to 0 or 180 degrees.
constexpr double kSnap = 1.5e-5;

double DegOffAxis(const Point& dir, const Point& axis) {
  const double deg = DegBetween(dir, axis);
  return std::min(deg, 180 - deg);
}

// How far a direction lies from the shorter way between two others, degrees.
double DegOffWay(const Point& dir, const Point& from, const Point& to) {
  const double nearest = std::min(DegBetween(dir, from), DegBetween(dir, to));
  const Point n = Cross(from, to);
  if (n.Length() < 1e-9) return nearest;
  const Point across = n.Normalized();
  const Point onWay = (dir - across * Dot(dir, across)).Normalized();
  const bool isBetween =
      DegBetween(from, onWay) + DegBetween(onWay, to) < DegBetween(from, to) + 1e-6;
  return isBetween ? DegBetween(dir, onWay) : nearest;
}

// Degrees between the nearer end of the pole and the tool on its way from one line to the next.
double ToPole(const Rules& rules, const Line& a, const Line& b) {
  const Point from = ToPoint(rules.PoseAt(a).axis), to = ToPoint(rules.PoseAt(b).axis);
  double nearest = 90;
  for (int k = 0; k <= 20; ++k)
    nearest = std::min(nearest, DegOffAxis(from * (1 - 0.05 * k) + to * (0.05 * k), rules.pole));
  return nearest;
}

}  // namespace

double DegBetween(const Point& a, const Point& b) {
  return std::atan2(Cross(a, b).Length(), Dot(a, b)) / kRadians;
}

double OffLine(const Point& p, const Point& from, const Point& to) {
  const Point way = to - from;
  const double squared = way.SquaredLength();
  const double t = squared > 0 ? std::clamp(Dot(p - from, way) / squared, 0.0, 1.0) : 0.0;
  return (p - (from + way * t)).Length();
}

Line Between(const Line& a, const Line& b, double t, bool shortWay) {
  Line line = a;
  line.machine = a.machine * (1 - t) + b.machine * t;
  for (std::size_t i = 0; i < a.degs.size(); ++i) {
    const double turn = b.degs[i] - a.degs[i];
    line.degs[i] += t * (shortWay ? std::remainder(turn, 360) : turn);
  }
  return line;
}

Lines Small(Lines lines) {
  for (Line& line : lines) {
    const Line& l = line;
    line = {l.machine, l.part, l.orientation, l.degs,      l.feed,
            l.time,    l.type, l.rapid,       l.poleStatus};
  }
  return lines;
}

double Turn(const Line& a, const Line& b) {
  double turn = 0;
  for (std::size_t i = 0; i < a.degs.size(); ++i)
    turn = std::max(turn, std::fabs(std::remainder(a.degs[i] - b.degs[i], 360)));
  return turn;
}

void ExpectPoses(const Rules& rules, const Lines& lines) {
  const double coneDeg = rules.par.GetPoleAngleTolerance();
  const std::size_t rotary = rules.ranges.size();
  for (std::size_t k = 0; k < lines.size(); ++k) {
    const Line& line = lines[k];
    const rigid::Pose pose = rules.PoseAt(line);
    const double size = rules.size + line.part.Length() + line.machine.Length();
    ASSERT_LE(Distance(ToPoint(pose.tip), line.part), rules.slack * size) << k;
    // Moves of linear axes hold a marker.
    if (rules.par.GetInterpolationMode() != 0 && rotary == 2 && line.inserted) continue;
    // With one rotary axis its pole is the spindle; with two the second is free along others.
    const bool isOnPole = rotary == 2 || DegOffAxis(line.orientation, rules.pole) <= coneDeg + 1e-6;
    const double slack = rotary == 0 ? 1e-6 : isOnPole ? coneDeg * kRadians + kSnap : kSnap;
    ASSERT_LE(Distance(ToPoint(pose.axis), line.orientation.Normalized()), slack) << k;
  }
}

void ExpectSource(const Source& source, const Lines& lines) {
  std::size_t next = 0;
  for (const Line& line : lines) {
    if (line.inserted) continue;
    if (line.isSmall && next < source.size() && line.part != source[next].tip) continue;
    ASSERT_LT(next, source.size());
    const SourceMove& move = source[next];
    ASSERT_TRUE(line.isSmall || line.source == static_cast<int>(next)) << line.source;
    ASSERT_EQ(line.part, move.tip) << next;
    ++next;
    if (move.feed < 0) continue;
    ASSERT_EQ(line.orientation, move.orientation) << next;
    ASSERT_EQ(line.feed, move.feed) << next;
    ASSERT_EQ(line.rapid, move.rapid) << next;
    ASSERT_EQ(line.type, move.link < 0 ? 6 : move.link) << next;
    if (line.isSmall) continue;
    const Point& p = move.tip;
    ASSERT_EQ(line.extended, (std::vector<double>{p.x + 1, p.y + 2, p.z + 3, 0, 1, 0, 7})) << next;
  }
  EXPECT_EQ(next, source.size());
}

void ExpectWithinRanges(const Rules& rules, const Lines& lines) {
  const double slack = rules.par.GetLimitTolerance() * 1.01;
  for (const Line& line : lines)
    for (std::size_t i = 0; i < rules.ranges.size(); ++i)
      ASSERT_EQ(
          std::clamp(line.degs[i], rules.ranges[i].first - slack, rules.ranges[i].second + slack),
          line.degs[i])
          << i;
}

void ExpectMotion(const Rules& rules, const Lines& lines) {
  const zv5axControlDef::angleLimit wraps[] = {rules.control.GetFirstAxisLimit(),
                                               rules.control.GetSecondAxisLimit()};
  const zvKDRParam::LimitsCheck check = rules.par.GetLimitsCheck();
  const bool checksRotary = check >= zvKDRParam::checkRotaryAxes;
  const std::size_t rotary = rules.ranges.size();
  const bool isWrapped = std::any_of(
      wraps, wraps + rotary, [](auto wrap) { return wrap != zv5axControlDef::angleLimitNone; });
  for (std::size_t k = 1; k < lines.size(); ++k) {
    const Line &a = lines[k - 1], &b = lines[k];
    const double way = Distance(a.part, b.part);
    ASSERT_NEAR(b.time, 60 * way / b.feed, 1e-12 * (1 + way)) << k;
    if (isWrapped) continue;
    // A rewinding without steps turns back at once. Its move at the limit may lie on the other
    // solution where a rapid step runs from one to the other: then no number of turns is near both
    // of its neighbours.
    if (checksRotary && b.inserted && !(rules.par.GetMaxAngleStep() > 0)) continue;
    const bool canSwing = checksRotary && rotary == 2 && b.rapid;
    for (std::size_t i = 0; i < rotary; ++i) {
      const double turn = std::fabs(b.degs[i] - a.degs[i]);
      ASSERT_TRUE(canSwing || turn <= 180 + 1e-9) << k << ": " << turn;
      if (turn <= 360 + 1e-9) continue;
      // Where the angle leaps over its limit a rewinding makes all its turns at once, between two
      // lifts. Of the turns that bring what follows into the range it takes the lowest, even where
      // that is more than one away.
      ASSERT_TRUE(a.rapid && a.inserted && b.inserted) << k;
      double lowest = b.degs[i];
      for (std::size_t n = k; n < lines.size(); ++n) lowest = std::min(lowest, lines[n].degs[i]);
      ASSERT_LT(lowest, rules.ranges[i].first + 360) << k;
    }
  }
  if (checksRotary && !isWrapped) ExpectWithinRanges(rules, lines);
  for (const Line& line : lines) {
    for (std::size_t i = 0; i < rotary; ++i) {
      const double deg = line.degs[i];
      ASSERT_TRUE(wraps[i] != zv5axControlDef::angleLimit360 || (0 <= deg && deg < 360)) << deg;
      ASSERT_TRUE(wraps[i] != zv5axControlDef::angleLimit180 || (-180 < deg && deg <= 180)) << deg;
    }
    // Of all axes, rewinding comes after the linear check.
    if (check != zvKDRParam::checkLinearAxes && (rotary != 0 || check != zvKDRParam::checkAllAxes))
      continue;
    const Point &p = line.machine, &low = rules.low, &high = rules.high;
    ASSERT_GE(std::min({p.x - low.x, p.y - low.y, p.z - low.z}), -1e-12);
    ASSERT_LE(std::max({p.x - high.x, p.y - high.y, p.z - high.z}), 1e-12);
  }
}

void ExpectSmallSteps(const Rules& rules, const Lines& lines, Steps& steps) {
  const zvKDRParam& par = rules.par;
  const std::size_t rotary = rules.ranges.size();
  if (par.GetLimitsCheck() != zvKDRParam::checkNothing || rules.model.slidesTellTip) return;
  const double step = par.GetMaxAngleStep() > 0 ? par.GetMaxAngleStep() : 360;
  for (std::size_t k = 1; k < lines.size(); ++k) {
    const Line &a = lines[k - 1], &b = lines[k];
    // What leads to a rapid move of the path is sized by distance alone.
    std::size_t end = k;
    while (end + 1 < lines.size() && lines[end].inserted) ++end;
    if (b.rapid || lines[end].rapid) continue;
    ++steps.all;
    const double turn = Turn(a, b), way = Distance(a.part, b.part);
    const bool isByDistance = par.GetInterpolateByDistance() && !(a.inserted && a.rapid);
    ASSERT_TRUE(!isByDistance || rotary == 2 || way <= par.GetInterpolationDistance() + 1e-9) << k;
    if (turn > step + 1e-9) {
      ++steps.large;
      // A large jump is repaired off the part; its lines are all inserted but the last.
      if (rotary == 2 && turn > par.GetMaxAngleJump()) {
        ASSERT_TRUE(a.inserted && b.inserted) << k;
        continue;
      }
      // The pole's tolerance is one of directions: on a narrow cone it is a larger turn. With two
      // axes the free one turns on a pole as it must, and beside one the depth of the subdivision
      // ends before the step is small.
      const double cone = par.GetPoleAngleTolerance();
      if (rotary == 1) {
        const rigid::Machine& m = rules.model;
        const rigid::Joint& joint = (m.tables.empty() ? m.heads : m.tables).front().joint;
        const double opening = DegBetween(ToPoint(joint.direction), rules.pole);
        const double zero = std::min(std::fabs(std::remainder(a.degs[0], 360)),
                                     std::fabs(std::remainder(b.degs[0], 360)));
        ASSERT_TRUE(zero == 0 && turn <= 1.01 * cone / std::sin(opening * kRadians)) << turn;
      } else {
        const double toPole = ToPole(rules, a, b);
        ASSERT_TRUE(toPole <= cone + 1e-3 || (toPole < 2 && turn < 10 * step))
            << k << ": " << turn << " pole " << toPole;
      }
      continue;
    }
    if (step > 8) continue;
    const Line middle = Between(a, b, 0.5, true);
    const Point want = (a.part + b.part) * 0.5;
    const double radius = rules.size + 2 * middle.machine.Length() + want.Length();
    // The axes' sag, and the turn of the motion itself.
    const double rad = turn * kRadians;
    const double sag = radius * std::pow(static_cast<double>(rotary) * rad, 2) / 8 + rad * way;
    ASSERT_LE(Distance(ToPoint(rules.PoseAt(middle).tip), want), sag + 1e-9 * radius) << k;
  }
}

void ExpectFollows(const Rules& rules, const Source& source, const Lines& lines,
                   const Slack& slack) {
  std::size_t passed = 0;
  for (std::size_t k = 1; k < lines.size(); ++k) {
    const Line &a = lines[k - 1], &b = lines[k];
    passed += a.inserted ? 0 : 1;
    if (b.rapid || passed == 0) continue;
    const bool comesDown = a.rapid && a.inserted && Turn(a, b) < 1e-9;
    const SourceMove& to = source[std::min(passed, source.size() - 1)];
    const SourceMove& from = comesDown && !b.inserted ? to : source[passed - 1];
    for (double t = slack.onTheWay ? 0 : 1; t <= 1; t += 0.125) {
      const rigid::Pose pose = rules.PoseAt(Between(a, b, t, false));
      ASSERT_LT(DegOffWay(ToPoint(pose.axis), from.orientation, to.orientation), slack.mostDeg)
          << k;
      if (!comesDown) {
        ASSERT_LT(OffLine(ToPoint(pose.tip), from.tip, to.tip), slack.mostLength) << k;
      }
    }
  }
}

}  // namespace tests
