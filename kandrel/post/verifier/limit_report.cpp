#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/turn.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/verifier/limit_report.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

namespace post {

namespace {

using Point = zvLimitReport::Point;

// What turns and how far, by the class of the machine.
struct Rotary {
  int count = 0;
  int onTable = 0;
  std::array<Point, 2> directions;
  std::array<zvRotaryRange, 2> ranges{};
};

Rotary RotaryOf(const zv5axMachDef& machDef) {
  const std::int32_t kind = machDef.GetFiveAxisKind();
  const bool areBothOnTable =
      kind == zv5axMachDef::kBothOnTable || kind == zv5axMachDef::kBothOnTableLengthLeftOut;
  return {2,
          areBothOnTable                      ? 2
          : kind == zv5axMachDef::kBothInHead ? 0
                                              : 1,
          {machDef.GetFirstRotationDirection(), machDef.GetSecondRotationDirection()},
          RotaryRangesOf(machDef)};
}

Rotary RotaryOf(const zvMachDef& machDef) {
  switch (machDef.GetNumbersOfAxes()) {
    case zvMachDef::fourAxes: {
      const zv4axMachDef four = Normalised(zvMachDefUtils::Cast4ax(machDef));
      return {1,
              four.GetRotaryOnWorkpiece() != 0 ? 1 : 0,
              {four.GetRotationDirection()},
              {RotaryRangesOf(four)[0]}};
    }
    case zvMachDef::fiveAxes:
      return RotaryOf(Normalised(zvMachDefUtils::Cast5ax(machDef)));
    case zvMachDef::sixAxes:
      return RotaryOf(Get5axMachDef(Normalised(zvMachDefUtils::Cast6ax(machDef))));
    default:
      return {};
  }
}

// Rules that files may bring and that nobody knows leave angles alone.
bool IsWrapping(zv5axControlDef::angleLimit limit) {
  return limit == zv5axControlDef::angleLimit360 || limit == zv5axControlDef::angleLimit180;
}

// Whether an angle, or another that a whole turn makes of it, lies in a range.
bool IsInside(double deg, const zvRotaryRange& range, double slack, bool isWrapped) {
  const double low = range.min - slack;
  const double high = range.max + slack;
  if (low <= deg && deg <= high) return true;
  if (!isWrapped) return false;
  return deg + misc::kFullTurnDeg * std::ceil((low - deg) / misc::kFullTurnDeg) <= high;
}

}  // namespace

zvLimitReport::zvLimitReport(const zvMachDef& machDef, const zv5axControlDef& control,
                             double limitTolerance)
    : m_min(machDef.GetMinLimits()),
      m_max(machDef.GetMaxLimits()),
      m_wrapped{IsWrapping(control.GetFirstAxisLimit()), IsWrapping(control.GetSecondAxisLimit())},
      m_tolerance(limitTolerance),
      m_isIdentity(machDef.IsIdentityTransform()),
      m_inverseAxes(*machDef.GetInverseAxisMatrix()) {
  const Rotary rotary = RotaryOf(machDef);
  m_rotaryCount = rotary.count;
  m_ranges = rotary.ranges;
  m_tableAxes = rotary.directions;
  m_tableAxisCount = rotary.onTable;
}

std::span<const zvLimitBreach> zvLimitReport::Add(const Line& line) {
  Keep(line);
  return AddUnbound(line);
}

std::span<const zvLimitBreach> zvLimitReport::AddUnbound(const Line& line) {
  m_breachCount = 0;
  // Compared so that what is not a number breaks its limit, as checks do.
  for (std::int32_t axis = zvLimitType::kX; axis <= zvLimitType::kZ; ++axis) {
    if (!(m_min[axis] - misc::kEqual <= line.p_mach[axis]))
      Put(axis, zvLimitType::kMinimum, line.p_mach[axis], m_min[axis]);
    else if (!(m_max[axis] + misc::kEqual >= line.p_mach[axis]))
      Put(axis, zvLimitType::kMaximum, line.p_mach[axis], m_max[axis]);
  }
  m_hasLinearBreach = m_hasLinearBreach || m_breachCount != 0;
  const std::array<double, 2> angles{line.firstAngle, line.secondAngle};
  for (std::size_t i = 0; i < static_cast<std::size_t>(m_rotaryCount); ++i) {
    const zvRotaryRange& range = m_ranges[i];
    if (IsInside(angles[i], range, m_tolerance, m_wrapped[i])) continue;
    const bool isBelow = !(range.min - m_tolerance <= angles[i]);
    Put(zvLimitType::kFirstRotary + static_cast<std::int32_t>(i),
        isBelow ? zvLimitType::kMinimum : zvLimitType::kMaximum, angles[i],
        isBelow ? range.min : range.max);
  }
  return {m_breaches.data(), m_breachCount};
}

void zvLimitReport::Put(std::int32_t axis, std::int32_t side, double value, double bound) {
  const double excess = side == zvLimitType::kMinimum ? bound - value : value - bound;
  m_breaches[m_breachCount++] = {{axis, side}, value, bound, excess};
}

void zvLimitReport::Keep(const Line& line) {
  if (m_tableAxisCount != 0 || m_lines.empty()) {
    m_lines.push_back(line);
    if (m_tableAxisCount == 0) m_lines.push_back(line);
    return;
  }
  for (int axis = 0; axis < 3; ++axis) {
    double& low = m_lines[0].p_mach[axis];
    double& high = m_lines[1].p_mach[axis];
    low = std::min(low, line.p_mach[axis]);
    high = std::max(high, line.p_mach[axis]);
  }
}

// Where the linear axes go when the part origin does.
Point zvLimitReport::Moved(const Line& line, const Point& shift) const {
  Point moved = shift;
  const std::array<double, 2> angles{line.firstAngle, line.secondAngle};
  for (std::size_t i = 0; i < static_cast<std::size_t>(m_tableAxisCount); ++i)
    moved = Rotate(moved, m_tableAxes[i], {}, zvTurn::OfDegrees(angles[i]));
  return line.p_mach + (m_isIdentity ? moved : m_inverseAxes * moved);
}

// The row of M^-1 T for the axis: its own row of M^-1, turned back.
zvLimitReport::HalfSpace zvLimitReport::Limit(const Line& line, int axis, bool isMaximum,
                                              double margin) const {
  Point row;
  row[axis] = 1;
  if (!m_isIdentity) {
    const auto i = static_cast<std::size_t>(axis);
    row = {m_inverseAxes(i, 0), m_inverseAxes(i, 1), m_inverseAxes(i, 2)};
  }
  const std::array<double, 2> angles{line.firstAngle, line.secondAngle};
  for (auto i = static_cast<std::size_t>(m_tableAxisCount); i-- > 0;)
    row = Rotate(row, m_tableAxes[i], {}, zvTurn::OfDegrees(angles[i]).Reversed());
  if (isMaximum) return {row, m_max[axis] - line.p_mach[axis] - margin};
  return {-row, line.p_mach[axis] - m_min[axis] - margin};
}

namespace {

// Up to three of a set, in place.
template <class T>
struct UpToThree {
  std::array<T, 3> items{};
  std::size_t count = 0;
};

// The point nearest to zero in one to three half-spaces normal . d <= reach, if it lies on the
// planes of all: then it is a sum of the normals with factors that are not above 0. None where it
// doesn't, or where planes are parallel.
std::optional<Point> HeldByAll(const UpToThree<Point>& normals, const UpToThree<double>& reaches,
                               double slack) {
  const auto& n = normals.items;
  const auto& reach = reaches.items;
  if (normals.count == 1) {
    const double factor = reach[0] / n[0].SquaredLength();
    return factor <= slack ? std::optional(n[0] * factor) : std::nullopt;
  }
  // The third plane of two is the one through zero across their line.
  const Point across = Cross(n[0], n[1]);
  const Point third = normals.count == 3 ? n[2] : across;
  const std::array<Point, 3> duals{Cross(n[1], third), Cross(third, n[0]), across};
  const double volume = Dot(across, third);
  const Point point = (duals[0] * reach[0] + duals[1] * reach[1] + duals[2] * reach[2]) / volume;
  if (!IsFinite(point)) return std::nullopt;
  for (std::size_t i = 0; i < normals.count; ++i)
    if (!(Dot(point, duals[i]) / volume <= slack)) return std::nullopt;
  return point;
}

}  // namespace

// The point nearest to zero in at most four half-spaces, which are reduced to those that hold it
// there. False, and nothing changed, where they have no point in common.
bool zvLimitReport::FindNearest(std::vector<HalfSpace>& spaces, double slack, Point& nearest) {
  for (unsigned chosen = 1; chosen < 1u << spaces.size(); ++chosen) {
    UpToThree<Point> normals;
    UpToThree<double> reaches;
    if (std::popcount(chosen) > 3) continue;
    for (std::size_t i = 0; i < spaces.size(); ++i) {
      if ((chosen >> i & 1u) == 0) continue;
      normals.items[normals.count++] = spaces[i].normal;
      reaches.items[reaches.count++] = spaces[i].reach;
    }
    const std::optional<Point> point = HeldByAll(normals, reaches, slack);
    if (!point) continue;
    if (!std::all_of(spaces.begin(), spaces.end(),
                     [&](const HalfSpace& space) { return space.Excess(*point) <= slack; }))
      continue;
    nearest = *point;
    std::vector<HalfSpace> holding;
    for (std::size_t i = 0; i < spaces.size(); ++i)
      if ((chosen >> i & 1u) != 0) holding.push_back(spaces[i]);
    spaces = std::move(holding);
    return true;
  }
  return false;
}

// The shortest shift for a growing set of half-spaces.
class zvLimitReport::Search {
 public:
  explicit Search(double slack) : m_slack(slack) {}

  const Point& GetShift() const { return m_shift; }
  void Add(const HalfSpace& space) { m_seen.push_back(space); }

  // False where those seen have nothing in common. At most three of them hold the shift where it
  // is: it is the shortest for these alone. With one more that it breaks it can only become longer,
  // so that no three come twice.
  bool Settle() {
    for (int step = 0; step < kMostSteps; ++step) {
      const auto worst = std::max_element(m_seen.begin(), m_seen.end(),
                                          [&](const HalfSpace& a, const HalfSpace& b) {
                                            return a.Excess(m_shift) < b.Excess(m_shift);
                                          });
      if (worst == m_seen.end() || worst->Excess(m_shift) <= m_slack) return true;
      m_holding.push_back(*worst);
      if (!FindNearest(m_holding, m_slack / 4, m_shift)) return false;
    }
    return false;
  }

 private:
  // Far beyond the dozens that come up, for what rounding could keep from ending.
  static constexpr int kMostSteps = 10000;

  double m_slack;
  Point m_shift;
  std::vector<HalfSpace> m_seen;
  std::vector<HalfSpace> m_holding;
};

// Limits that meet at small angles ask for more slack than rounding alone.
std::optional<Point> zvLimitReport::SmallestShift(double margin) const {
  double size = 1;
  for (const Line& line : m_lines)
    for (int axis = 0; axis < 3; ++axis) size = std::max(size, std::fabs(line.p_mach[axis]));
  for (const double roundings : {1.0, 100.0, 10000.0}) {
    const double slack = std::max(margin / 2, roundings * misc::kRoundingOfSize * size);
    if (const std::optional<Point> shift = SmallestShift(margin, slack)) return shift;
  }
  return std::nullopt;
}

std::optional<Point> zvLimitReport::SmallestShift(double margin, double slack) const {
  constexpr int kMostRounds = 500;
  Search search(slack);
  for (int round = 0; round < kMostRounds; ++round) {
    // The line that breaks each limit worst.
    std::array<double, 6> excess;
    excess.fill(slack);
    std::array<const Line*, 6> worst{};
    for (const Line& line : m_lines) {
      const Point moved = Moved(line, search.GetShift());
      for (int axis = 0; axis < 3; ++axis) {
        const std::array<double, 2> out{m_min[axis] + margin - moved[axis],
                                        moved[axis] - (m_max[axis] - margin)};
        for (int side = 0; side < 2; ++side) {
          const std::size_t i = 2 * static_cast<std::size_t>(axis) + static_cast<std::size_t>(side);
          const double by = out[static_cast<std::size_t>(side)];
          // What is not a number is broken by every shift.
          if (!(by <= excess[i]) && !(worst[i] != nullptr && std::isnan(excess[i]))) {
            excess[i] = by;
            worst[i] = &line;
          }
        }
      }
    }
    bool isBroken = false;
    for (std::size_t i = 0; i < worst.size(); ++i) {
      if (worst[i] == nullptr) continue;
      if (!std::isfinite(excess[i])) return std::nullopt;
      isBroken = true;
      search.Add(Limit(*worst[i], static_cast<int>(i / 2), i % 2 == 1, margin));
    }
    // Without negative zeros.
    if (!isBroken) return search.GetShift() + Point{};
    if (!search.Settle()) return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace post
