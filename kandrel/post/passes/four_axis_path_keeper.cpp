#include <kandrel/misc/angles.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/post/passes/four_axis_path_keeper.h>
#include <kandrel/post/passes/intermediate_moves.h>
#include <kandrel/post/passes/step_march.h>
#include <kandrel/post/passes/thinning.h>

#include <iterator>
#include <limits>
#include <optional>

namespace post {

using Point = cadcam::zvTPoint3d<double>;

namespace {

/// Degrees up to which a bound of a piece of the cone by its square is of use.
constexpr double kSmallTurn = 20;
/// What is held of a tolerance: whole turns that are added later round the angles anew.
constexpr double kKept = 0.999;

// The angle that is within half a turn of `near`.
double Near(double deg, double near) {
  return deg + misc::kFullTurnDeg * misc::WindsBetween(near, deg);
}

}  // namespace

// A line with what is needed to judge the blocks beside it.
struct zv4axPathKeeper::Place {
  zvBlockLaw::Station station;
  Point p_part;

  double Deg() const { return station.line.firstAngle; }
};

// What March walks with: from the line before `to` to that.
class zv4axPathKeeper::Walk {
 public:
  Walk(const zv4axPathKeeper& keeper, List& list, Iterator to)
      : m_keeper(keeper),
        m_list(list),
        m_to(to),
        m_last(keeper.PlaceOf(*std::prev(to))),
        m_start(m_last),
        m_end(keeper.EndOf(*std::prev(to), *to)),
        m_isSmall(keeper.m_smallMoves || to->HasNoExtended() || std::prev(to)->HasNoExtended()),
        m_between(*std::prev(to), *to, m_isSmall, zvBlendedOrientations::kOfCurrent) {}

  double Turn() const { return std::fabs(m_end.Deg() - m_start.Deg()); }
  double Length() const { return (m_end.p_part - m_start.p_part).Length(); }

  double GetPlace() const { return m_at; }
  bool IsTiny(double step) const {
    return m_keeper.m_rules.IsTiny(step * Turn(), misc::kSameStep, step * Length());
  }
  double Try(double t) {
    m_triedAt = t;
    m_tried = t >= 1 ? m_end : At(t);
    return m_keeper.Use(m_last, m_tried);
  }
  void Accept() {
    if (m_triedAt < 1) Put();
    m_last = m_tried;
    m_at = m_triedAt;
  }

 private:
  Place At(double t) const {
    const double deg = (1 - t) * m_start.Deg() + t * m_end.Deg();
    const Point p_part = (1 - t) * m_start.p_part + t * m_end.p_part;
    const Point p_mach = m_keeper.m_maker.GetKinematics().MachinePosition(p_part, deg);
    return {m_keeper.m_law.StationAt({p_mach, deg}), p_part};
  }

  void Put() {
    m_list.EmplaceWith(m_to, [&] {
      const zvMoveView view(m_between.At(m_triedAt));
      Move move = zvPosted4axMoveMaker::MakeUnsolved(
          view, m_between.GetType(), m_between.GetSourceIndex(), m_between.IsInserted(), m_isSmall);
      move.SetOrientation(m_keeper.m_maker.GetKinematics().Orientation(m_tried.Deg()));
      move.SetRotaryAngle(m_tried.Deg());
      move.SetMachinePosition(m_tried.station.line.p_mach);
      return move;
    });
  }

  const zv4axPathKeeper& m_keeper;
  List& m_list;
  Iterator m_to;
  Place m_last;
  Place m_start;
  Place m_end;
  Place m_tried;
  bool m_isSmall;
  zvIntermediateMoves m_between;
  double m_at = 0;
  double m_triedAt = 0;
};

zv4axPathKeeper::zv4axPathKeeper(const zvPosted4axMoveMaker& maker,
                                 const zvPathTolerance& tolerance, const zvKDRParam& par,
                                 const Point& partOrigin, double toolLengthCompensation,
                                 bool smallMoves)
    : m_maker(maker),
      m_rules(tolerance, par,
              LargestCoordinate(partOrigin) + std::fabs(toolLengthCompensation) +
                  LargestCoordinate(maker.GetKinematics().GetConstants().pivot)),
      m_law(maker.GetKinematics().MachDef(), partOrigin, toolLengthCompensation),
      m_poseBound(m_law),
      m_smallMoves(smallMoves),
      m_cone(maker.MakePoleCone(misc::kNarrowestPole)) {
  // Between two directions of the cone, 2 h apart about its axis a, the plane of their arc goes
  // through k a + r cos(h) e and f, where k and r are cosine and sine of the cone's half-angle and
  // e, f, a are square to each other. The direction at the turn u is off the plane by the sine
  // |k| r (cos(u) - cos(h)) / sqrt(1 - r^2 sin(h)^2): halfway at most |k| r h^2 / 2 / cos(h).
  const double k = maker.GetKinematics().GetCone().GetCosine();
  constexpr double kCosineAndAngle = 1.05;  // of a small turn: the cosine, and an angle by its sine
  m_bend = std::fabs(k) * std::sqrt(std::max(0.0, 1 - k * k)) / 8 * kCosineAndAngle;
  m_plainTurn = m_rules.GetStep() > 0 ? std::min(m_rules.GetStep(), kSmallTurn) : kSmallTurn;
  m_plainTip = kKept * tolerance.GetTip();
  m_plainAxis = (tolerance.GetAxis() - misc::kSnappedTool) * misc::kRadiansPerDegree;
}

zv4axPathKeeper::Place zv4axPathKeeper::PlaceOf(const Move& move) const {
  return {m_law.StationAt({move.GetMachinePosition(), move.GetRotaryAngle()}),
          move.GetPartPosition()};
}

// A line with its angle on the shorter way from the line before. Next to half a turn the angles,
// which may be snapped to 0 or 180, don't tell which it is: then the orientations do.
zv4axPathKeeper::Place zv4axPathKeeper::EndOf(const Move& from, const Move& to) const {
  const double start = from.GetRotaryAngle();
  double deg = Near(to.GetRotaryAngle(), start);
  if (std::fabs(deg - start) > misc::kFullTurnDeg / 2 - 2 * misc::kSnappedTool) {
    const double other = deg > start ? deg - misc::kFullTurnDeg : deg + misc::kFullTurnDeg;
    const Point halfway = from.GetOrientation().Normalized() + to.GetOrientation().Normalized();
    const zv4axKinematics& kinematics = m_maker.GetKinematics();
    const auto towards = [&](double end) {
      return Dot(kinematics.Orientation((start + end) / 2), halfway);
    };
    if (towards(other) > towards(deg)) deg = other;
  }
  return {m_law.StationAt({to.GetMachinePosition(), deg}), to.GetPartPosition()};
}

// How much of a block's greatest length this one uses: the tolerance goes by the square of it.
// Blocks of far turns are divided in any case, so that nobody takes them the other way round.
double zv4axPathKeeper::Use(const Place& from, const Place& to) const {
  constexpr double kFarTurn = 45;
  const double turn = std::fabs(to.Deg() - from.Deg());
  const double use = m_rules.UseOfSteps(turn, (to.p_part - from.p_part).Length());
  if (!(turn <= kFarTurn)) return std::max(use, turn / kFarTurn);
  const zvBlockLaw::Way way{{from.p_part, from.station.pose.axis},
                            {to.p_part, to.station.pose.axis}};
  constexpr double kAnyAngle = misc::kFullTurnDeg;
  const zvBlockDeviation off = m_law.BoundAbove(from.station, to.station, way, {0, kAnyAngle});
  const double tip = std::sqrt(off.tip / (kKept * m_rules.GetTolerance().GetTip()));
  return tip >= 0 ? std::max(use, tip) : std::numeric_limits<double>::infinity();
}

// Whether the cone leaves the arc by more than is allowed, between two solved moves.
bool zv4axPathKeeper::LeavesArc(const Move& from, const Move& to) const {
  const Place start = PlaceOf(from);
  const Place end = EndOf(from, to);
  const double rad = (end.Deg() - start.Deg()) * misc::kRadiansPerDegree;
  if (std::fabs(rad) <= kSmallTurn * misc::kRadiansPerDegree && rad * rad * m_bend <= m_plainAxis)
    return false;
  const zvBlockLaw::Way way{{start.p_part, from.GetOrientation().Normalized()},
                            {end.p_part, to.GetOrientation().Normalized()}};
  return !m_law.Holds(start.station, end.station, way,
                      {std::numeric_limits<double>::infinity(), m_rules.GetTolerance().GetAxis()});
}

void zv4axPathKeeper::Join(List& list, Iterator to) {
  if (LeavesArc(*std::prev(to), *to)) m_hasBroken = true;
  Divide(list, to);
}

void zv4axPathKeeper::Divide(List& list, Iterator to) {
  const Iterator from = std::prev(to);
  Walk walk(*this, list, to);
  m_rules.RequireCounted(walk.Turn(), walk.Length());
  const zvMarchResult result = March(walk, 1);
  if (result.leaps != 0) m_hasBroken = true;
  if (result.canBeThin)
    ThinOut(list, from, to,
            [this](const Move& a, const Move& b) { return Use(PlaceOf(a), EndOf(a, b)) <= 1; });
}

void zv4axPathKeeper::Keep(List& list) {
  if (list.GetCount() < 2) return;
  const auto isOwn = [&](const Move& move) {
    const Place place = PlaceOf(move);
    return (place.station.pose.tip - place.p_part).Length() <= m_rules.GetTolerance().GetTip() / 2;
  };
  misc::zvPolledEnd end(list);
  for (Iterator from = list.begin(), to = std::next(from); end.IsBefore(to); from = to++) {
    list.PrefetchAfter(*to);
    if (to->IsRapid() || IsPlain(*from, *to)) continue;
    // What doesn't turn is on its way; and nothing belongs on that down to the part.
    if (to->GetRotaryAngle() == from->GetRotaryAngle()) continue;
    if (isOwn(*from) && isOwn(*to) && !(Use(PlaceOf(*from), PlaceOf(*to)) <= 1)) Divide(list, to);
  }
}

// Lines of the path are known by place and orientation, which they keep. The arc is that between
// the moves of the path which the block lies between.
zvToleranceReport zv4axPathKeeper::Report(const List& list, zvPathReader& reader) const {
  struct Source {
    Point p_part;
    Point orientation;
  };
  std::optional<Source> next;
  const auto read = [&] {
    next.reset();
    if (reader.Next())
      next = Source{reader.GetMove().GetPosition(), reader.GetMove().GetOrientation()};
  };
  read();
  zvToleranceReport report;
  Source last = next.value_or(Source{});
  const Move* from = nullptr;
  std::uint32_t index = 0;
  misc::zvPolledEnd listEnd(list);
  for (auto move = list.begin(); listEnd.IsBefore(move); ++move) {
    const Move& to = *move;
    const Source end = next.value_or(last);
    if (from != nullptr && !to.IsRapid()) {
      const zvBlockLaw::Way way{{from->GetPartPosition(), last.orientation.Normalized()},
                                {to.GetPartPosition(), end.orientation.Normalized()}};
      const zvBlockDeviation off = m_law.Bound(PlaceOf(*from).station, PlaceOf(to).station, way);
      if (!(off.tip <= m_rules.GetTolerance().GetTip() &&
            off.axis <= m_rules.GetTolerance().GetAxis()))
        report.Add(index, to.HasNoExtended() ? -1 : to.GetSourceIndex(), off.tip, off.axis);
    }
    if (next && to.GetPartPosition() == next->p_part && to.GetOrientation() == next->orientation) {
      last = *next;
      read();
    }
    from = &to;
    ++index;
  }
  return report;
}

}  // namespace post
