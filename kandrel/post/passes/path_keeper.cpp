#include <kandrel/misc/angles.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/range_exception.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/geometry/solution_choice.h>
#include <kandrel/post/passes/intermediate_moves.h>
#include <kandrel/post/passes/move_between.h>
#include <kandrel/post/passes/path_keeper.h>
#include <kandrel/post/passes/pole_blending.h>
#include <kandrel/post/passes/step_division.h>
#include <kandrel/post/passes/step_march.h>
#include <kandrel/post/passes/thinning.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>

namespace post {

using Point = cadcam::zvTPoint3d<double>;

namespace {

// What is held of a tolerance: whole turns that are added later, and what they take away again,
// round the angles anew.
constexpr double kKept = 1 - 1e-6;

constexpr double kInfinite = std::numeric_limits<double>::infinity();

// The angle that is within half a turn of `near`.
double Near(double deg, double near) {
  return deg + misc::kFullTurnDeg * misc::WindsBetween(near, deg);
}

double LargerTurn(const zvBlockLaw::Line& a, const zvBlockLaw::Line& b) {
  return std::max(std::fabs(b.firstAngle - a.firstAngle), std::fabs(b.secondAngle - a.secondAngle));
}

bool IsSame(const zvBlockLaw::Line& a, const zvBlockLaw::Line& b) {
  return a.firstAngle == b.firstAngle && a.secondAngle == b.secondAngle && a.p_mach == b.p_mach;
}

zvBlockLaw::Line LineOf(const zvPosted5axMove& move) {
  return {move.GetMachinePosition(), move.GetAngle(0), move.GetAngle(1)};
}

// Most orientations are unit vectors already.
Point UnitOf(const Point& orientation) {
  const double squared = orientation.SquaredLength();
  return std::fabs(squared - 1) <= 1e-14 ? orientation : orientation / std::sqrt(squared);
}

// The shortest arc between two orientations, turned evenly.
class Arc {
 public:
  // Of unit vectors.
  Arc(const Point& from, const Point& to) : m_from(from), m_normal(Cross(from, to)) {
    const double sine = m_normal.Length();
    m_rad = misc::ArcTangent(sine, Dot(from, to));
    // Where the plane is lost in rounding the ends are one, or opposite.
    if (!(sine > misc::kEqual)) return;
    m_normal = m_normal / sine;
    m_across = Cross(m_normal, from);
  }

  double GetRad() const { return m_rad; }
  double GetDeg() const { return m_rad * misc::kDegreesPerRadian; }
  Point At(double t) const {
    const auto [sine, cosine] = misc::SineAndCosineOfRadians(t * m_rad);
    return cosine * m_from + sine * m_across;
  }
  // Where the arc is nearest to `axis`, as a parameter; outside of 0 to 1 beyond the ends.
  double Nearest(const Point& axis) const {
    return misc::ArcTangent(Dot(axis, m_across), Dot(axis, m_from)) / m_rad;
  }

 private:
  Point m_from;
  Point m_normal;
  Point m_across;  // a quarter turn on from `from`; zero where there is no plane
  double m_rad;
};

}  // namespace

// A line with what is needed to judge the blocks beside it. Its angles are within half a turn of
// those of the line before; `solved` are those that go into the list.
struct zv5axPathKeeper::Place {
  zvBlockLaw::Pose pose;
  zvBlockLaw::Line line;
  mutable std::optional<zvBlockLaw::Station> station;  // of the line, once a block is judged
  std::array<double, 2> solved{};
  bool isOnPole = false;                   // of the first axis
  std::uint32_t poleStatus = kDetermined;  // of a line whose free angle none before it tells
};

// What March walks with: from a settled line to `to`, whose solutions are given, or whose angles
// stand where they are not.
class zv5axPathKeeper::Walk {
 public:
  Walk(zv5axPathKeeper& keeper, List& list, Iterator to, const zvRotarySolutions* solutions)
      : m_keeper(keeper),
        m_solver(keeper.m_solver),
        m_list(list),
        m_to(to),
        m_fromMove(std::prev(to)),
        m_lastMove(m_fromMove),
        m_solutions(solutions),
        m_last(PlaceOf(*m_lastMove)),
        m_end(PlaceOf(*to)),
        m_start(m_last.pose.tip),
        m_way(m_end.pose.tip - m_start),
        m_arc(m_last.pose.axis, m_end.pose.axis),
        m_isSmall(keeper.m_smallMoves || to->HasNoExtended() || m_lastMove->HasNoExtended()),
        m_between(*m_lastMove, *to, m_isSmall, zvBlendedOrientations::kUnitVectors) {
    m_last.isOnPole = keeper.IsOnPole(m_last.pose.axis);
    m_end.isOnPole = keeper.IsOnPole(m_end.pose.axis);
    // Between given angles the axes turn evenly where that is the tool's way: the free one on a
    // pole, and both between opposite orientations, which have none of their own.
    m_isOpposite = AreOpposite(m_last.pose.axis, m_end.pose.axis);
    m_turnsEvenly =
        solutions == nullptr && (m_isOpposite || (m_last.isOnPole && m_end.isOnPole &&
                                                  Dot(m_last.pose.axis, m_end.pose.axis) > 0));
    m_first = m_last.line;
  }

  double GetPlace() const { return m_at; }
  bool IsTiny(double step) const {
    const double way = step * m_way.Length();
    return m_turnsEvenly ? m_keeper.m_rules.IsTiny(step * Turn(), misc::kSameStep, way)
                         : m_keeper.m_rules.IsTiny(step * Turn(), misc::kTinyTurn, way);
  }

  double Try(double t) {
    m_triedAt = t;
    m_turned.reset();
    const bool isEnd = t >= 1;
    if (isEnd && m_solutions == nullptr) {
      m_tried = m_end;
      return m_keeper.Use(m_last, m_tried);
    }
    const zvBlockLaw::Pose pose = isEnd ? m_end.pose : PoseAt(t);
    if (m_turnsEvenly) return TryTurned(pose, t);
    const zvRotarySolutions solutions =
        isEnd ? *m_solutions
              : m_solver.SolveAngles(pose.tip, pose.axis, m_keeper.m_cone, m_last.solved[0]);
    return solutions.poleStatus != kDetermined ? TryOnPole(pose, solutions)
                                               : TrySolved(pose, solutions);
  }

  void Accept() {
    if (m_turned) {
      m_keeper.m_hasLeftTurns = true;
      Put(*m_turned, m_at);
    }
    if (m_triedAt < 1) {
      Put(m_tried, m_triedAt);
    } else if (m_solutions != nullptr) {
      Set(m_tried, *m_to);
    }
    m_last = m_tried;
    m_at = m_triedAt;
  }

  // Goes on to the end, by way of the pole where the arc meets one between its ends.
  zvMarchResult Run() {
    m_keeper.m_rules.RequireCounted(Turn(), m_way.Length());
    zvMarchResult result;
    if (const std::optional<double> pole = PlaceOfPole()) result = March(*this, *pole);
    const zvMarchResult rest = March(*this, 1);
    return {result.leaps + rest.leaps, result.canBeThin || rest.canBeThin};
  }

 private:
  // What is divided: that of the axes where they turn evenly, else that of the tool.
  double Turn() const { return m_turnsEvenly ? LargerTurn(m_first, m_end.line) : m_arc.GetDeg(); }

  zvBlockLaw::Pose PoseAt(double t) const {
    return {(1 - t) * m_start + t * m_end.pose.tip, m_arc.At(t)};
  }

  Place PlaceAt(const zvBlockLaw::Pose& pose, double first, double second,
                const Point& position) const {
    Place place;
    place.pose = pose;
    place.line = {position, Near(first, m_last.line.firstAngle),
                  Near(second, m_last.line.secondAngle)};
    place.solved = {first, second};
    return place;
  }

  std::optional<double> PlaceOfPole() const {
    if (!m_keeper.m_hasPole || m_turnsEvenly || m_last.isOnPole || m_end.isOnPole)
      return std::nullopt;
    const Point& axis = m_solver.GetKinematics().GetFirstWorkingDirection();
    for (const Point& pole : {axis, -axis}) {
      const double t = m_arc.Nearest(pole);
      if (t > 0 && t < 1 && m_keeper.IsOnPole(m_arc.At(t))) return t;
    }
    return std::nullopt;
  }

  // The free axis stands where it stood.
  double TryOnPole(const zvBlockLaw::Pose& pose, const zvRotarySolutions& solutions) {
    const zvRotarySolution& s = solutions.first;
    Move move(s.position, pose.tip, pose.axis, s.firstAngle, s.secondAngle, solutions.poleStatus, 0,
              false, zvPostedMove::noLink);
    m_solver.FixPoleAngle(*m_lastMove, move);
    m_tried = PlaceAt(pose, move.GetAngle(0), move.GetAngle(1), move.GetMachinePosition());
    m_tried.isOnPole = solutions.poleStatus == kOnFirstPole;
    m_tried.poleStatus = move.GetPoleStatus();
    return m_keeper.Use(m_last, m_tried);
  }

  // On a pole the tool stands along the axis, where the free one turns without it.
  double TryTurned(zvBlockLaw::Pose pose, double t) {
    const double first = (1 - t) * m_first.firstAngle + t * m_end.line.firstAngle;
    double second = (1 - t) * m_first.secondAngle + t * m_end.line.secondAngle;
    if (!m_isOpposite)
      second = SecondAngleOnPole(m_solver, m_keeper.m_cone, pose.axis, second).value_or(second);
    const zv5axKinematics& kinematics = m_solver.GetKinematics();
    if (m_isOpposite) pose.axis = kinematics.OrientationFromAngles(first, second);
    m_tried = PlaceAt(pose, first, second, kinematics.MachinePosition(pose.tip, first, second));
    m_tried.isOnPole = m_last.isOnPole;
    return m_keeper.Use(m_last, m_tried);
  }

  // The solution of the rule, or the other where that goes on while the first leaps.
  double TrySolved(const zvBlockLaw::Pose& pose, const zvRotarySolutions& solutions) {
    const zvKDRParam& par = m_solver.GetParameters();
    const bool isMirror =
        TakesMirrorNext(m_last.line.firstAngle, m_last.line.secondAngle, solutions, par, m_solver);
    const zvRotarySolution& rule = solutions.Of(isMirror);
    m_tried = PlaceAt(pose, rule.firstAngle, rule.secondAngle, rule.position);
    m_tried.isOnPole = m_solver.HasLimitKeeper() && m_keeper.IsOnPole(pose.axis);
    double use = m_keeper.Use(m_last, m_tried);
    if (use <= 1) return use;

    const zvRotarySolution& second = solutions.Of(!isMirror);
    if (KeepsAskedLimits(second, par, m_solver) || !KeepsAskedLimits(rule, par, m_solver)) {
      const Place other = PlaceAt(pose, second.firstAngle, second.secondAngle, second.position);
      const double otherUse = m_keeper.Use(m_last, other);
      if (otherUse <= 1) {
        m_tried = other;
        return otherUse;
      }
      use = std::min(use, otherUse);
    }
    if (m_last.isOnPole && m_last.poleStatus == kDetermined) {
      // The free axis turns where the tip stands, and the tool leaves without turning it.
      Place turned = m_last;
      turned.station.reset();
      turned.line.firstAngle = m_tried.line.firstAngle;
      turned.solved[0] = m_tried.solved[0];
      const auto onPole = [&](double deg) {
        return SecondAngleOnPole(m_solver, m_keeper.m_cone, turned.pose.axis, deg).value_or(deg);
      };
      turned.line.secondAngle = onPole(turned.line.secondAngle);
      turned.solved[1] = onPole(turned.solved[1]);
      turned.line.p_mach =
          m_solver.MachinePosition(turned.pose.tip, turned.solved[0], turned.solved[1]);
      const double turnedUse = m_keeper.Use(turned, m_tried);
      if (turnedUse <= 1) m_turned = turned;
      use = std::min(use, turnedUse);
    }
    return use;
  }

  void Put(const Place& place, double t) {
    m_lastMove = m_list.EmplaceWith(m_to, [&] {
      Move move = m_isOpposite ? MadeBetween(place, t) : MadeAt(t);
      move.SetOrientation(place.pose.axis);
      Set(place, move);
      return move;
    });
  }
  Move MadeAt(double t) {
    const cadcam::zvCNCMove& blended = m_between.At(t);
    return zv5axMoveSolver::MakeMove(zvMoveView(blended), m_between.GetType(), {}, kDetermined,
                                     m_between.GetSourceIndex(), m_between.IsInserted(), m_isSmall);
  }
  // Opposite orientations have no blend halfway.
  Move MadeBetween(const Place& place, double t) const {
    Move move = MoveBetween(*m_fromMove, *m_to, t, place.line.firstAngle, place.line.secondAngle,
                            place.pose.axis, m_solver.GetKinematics());
    if (!move.HasNoExtended()) move.SetSourceIndex(m_fromMove->GetSourceIndex());
    return move;
  }

  // Wound lists get wound angles.
  void Set(const Place& place, Move& move) const {
    move.SetAngle(m_solutions != nullptr ? place.solved[0] : place.line.firstAngle, 0);
    move.SetAngle(m_solutions != nullptr ? place.solved[1] : place.line.secondAngle, 1);
    move.SetMachinePosition(place.line.p_mach);
    move.SetPoleStatus(place.poleStatus);
  }

  zv5axPathKeeper& m_keeper;
  const zv5axMoveSolver& m_solver;
  List& m_list;
  Iterator m_to;
  Iterator m_fromMove;
  Iterator m_lastMove;
  const zvRotarySolutions* m_solutions;
  Place m_last;
  Place m_end;
  Place m_tried;
  std::optional<Place> m_turned;
  zvBlockLaw::Line m_first;
  Point m_start;
  Point m_way;
  Arc m_arc;
  bool m_isSmall;
  bool m_isOpposite = false;
  bool m_turnsEvenly = false;
  zvIntermediateMoves m_between;
  double m_at = 0;
  double m_triedAt = 0;
};

zv5axPathKeeper::zv5axPathKeeper(const zv5axMoveSolver& solver, const zvPathTolerance& tolerance,
                                 const Point& partOrigin, double toolLengthCompensation,
                                 bool smallMoves, const std::function<double()>& reach)
    : m_solver(solver),
      m_rules(tolerance, solver.GetParameters(),
              LargestCoordinate(partOrigin) + std::fabs(toolLengthCompensation) +
                  LargestCoordinate(solver.GetFirstRotationPivot()) +
                  LargestCoordinate(solver.GetSecondRotationPivot())),
      m_law(solver, partOrigin, toolLengthCompensation),
      m_poseBound(m_law),
      m_smallMoves(smallMoves) {
  const zvKDRParam& par = solver.GetParameters();
  // What tilts from the edge of the cone onto the pole, over no way, takes the tip at most 3/8 w^2
  // R off its line, by |P''| <= 3 w^2 R with the tilt w and the largest arm R. So half of the axis
  // tolerance and a part of the tip's are all that the cone costs.
  double widest = tolerance.GetAxis() / 2;
  if (par.GetPoleAngleTolerance() > misc::kNarrowestPole && widest > misc::kNarrowestPole)
    widest = std::min(widest, std::sqrt(tolerance.GetTip() / (m_rules.GetSize() + 2 * reach())) *
                                  misc::kDegreesPerRadian);
  m_coneDeg = std::max(std::min(par.GetPoleAngleTolerance(), widest), misc::kNarrowestPole);
  m_cone = solver.MakePoleCone(m_coneDeg);
  m_allowed = {kKept * tolerance.GetTip(), kKept * tolerance.GetAxis()};
  m_plain = {m_allowed.tip, m_allowed.axis - m_coneDeg - misc::kSnappedTool};
  m_plainTurn = std::sqrt(8 * std::sin(std::clamp(m_plain.axis, 0.0, misc::kFullTurnDeg / 4) *
                                       misc::kRadiansPerDegree));
  // An axis on whose pole the tool can't stand has none: its second one doesn't take the spindle
  // there.
  try {
    const Point& pole = solver.GetKinematics().GetFirstWorkingDirection();
    m_hasPole = solver.SolveAngles({}, pole, m_cone, 0).poleStatus == kOnFirstPole;
  } catch (const misc::zvException&) {
  }
}

zv5axPathKeeper::Place zv5axPathKeeper::PlaceOf(const Move& move) {
  Place place;
  const Point& o = move.GetOrientation();
  place.pose = {move.GetPartPosition(), o / o.Length()};
  place.line = LineOf(move);
  place.solved = {move.GetAngle(0), move.GetAngle(1)};
  place.poleStatus = move.GetPoleStatus();
  return place;
}

bool zv5axPathKeeper::IsOnPole(const Point& orientation) const {
  return !m_cone.onSecondPole && m_solver.IsOnFirstPole(orientation, m_cone);
}

// How much of a block's greatest length this one uses: the tolerance goes by the square of it.
double zv5axPathKeeper::Use(const Place& from, const Place& to) const {
  constexpr double kFarTurn = 45;  // beyond it a mirror solution, or far too long
  const double turn = LargerTurn(from.line, to.line);
  const double use = m_rules.UseOfSteps(turn, (to.pose.tip - from.pose.tip).Length());
  if (!(turn <= kFarTurn)) return std::max(use, 2.0);
  for (const Place* place : {&from, &to})
    if (!place->station) place->station = m_law.StationAt(place->line);
  // What is far below needs no exact figure.
  constexpr double kFarBelow = 0.25;
  const zvBlockDeviation off =
      m_law.BoundAbove(*from.station, *to.station, {from.pose, to.pose},
                       {kFarBelow * m_allowed.tip, kFarBelow * m_allowed.axis});
  const double tip = std::sqrt(off.tip / m_allowed.tip);
  const double axis = std::sqrt(off.axis / m_allowed.axis);
  if (!(tip >= 0 && axis >= 0)) return kInfinite;
  return std::max({use, tip, axis});
}

bool zv5axPathKeeper::KeepsSteps(const Move& from, const Move& to) const {
  const double turn = std::max(std::fabs(to.GetAngle(0) - from.GetAngle(0)),
                               std::fabs(to.GetAngle(1) - from.GetAngle(1)));
  if (m_rules.GetStep() > 0 && !(turn <= m_rules.GetStep())) return false;
  if (m_rules.GetDistance() > 0 && !(PartDistance(from, to) <= m_rules.GetDistance())) return false;
  // Two undetermined moves stand at the same angle, whichever they will take.
  return from.GetPoleStatus() == to.GetPoleStatus();
}

// What a solved line has the tool off its orientation by, radians.
double zv5axPathKeeper::AxisOff(const Move& move, const Point& axis) const {
  const auto isSnapped = [](double deg) {
    return deg == 0 || std::fabs(deg) == misc::kFullTurnDeg / 2;
  };
  constexpr double kOfSolving = 1e-9;
  double deg = isSnapped(move.GetAngle(0)) || isSnapped(move.GetAngle(1)) ? misc::kSnappedTool : 0;
  if (m_cone.onSecondPole ||
      m_cone.Holds(Dot(axis, m_solver.GetKinematics().GetFirstWorkingDirection())))
    deg += m_coneDeg;
  return deg * misc::kRadiansPerDegree + kOfSolving;
}

bool zv5axPathKeeper::IsPlain(const Move& from, const Move& to) {
  if (!KeepsSteps(from, to)) return false;
  const double first = (to.GetAngle(0) - from.GetAngle(0)) * misc::kRadiansPerDegree;
  const double second = (to.GetAngle(1) - from.GetAngle(1)) * misc::kRadiansPerDegree;
  const double turns = std::fabs(first) + std::fabs(second);
  // The tool axis is off its arc by the eighth of the square of its turns at most, as a sine.
  const bool isAxisPlain = turns <= m_plainTurn;
  if (isAxisPlain &&
      m_poseBound.Roughly(from.GetPartPosition(), to.GetPartPosition(), turns) <= m_plain.tip)
    return true;
  const zvBlockLaw::Pose start{from.GetPartPosition(), UnitOf(from.GetOrientation())};
  const zvBlockLaw::Pose end{to.GetPartPosition(), UnitOf(to.GetOrientation())};
  const double axisOff = std::max(AxisOff(from, start.axis), AxisOff(to, end.axis));
  const zvPoseBound::Range tip =
      m_poseBound.TipOff(start, end, first, second, axisOff, m_plain.tip);
  if (isAxisPlain && tip.most <= m_plain.tip) return true;
  if (tip.least > m_allowed.tip) return false;
  // The end of one block is the start of the next.
  const zvBlockLaw::Station from2 =
      m_behind && IsSame(m_behind->line, LineOf(from)) ? *m_behind : m_law.StationAt(LineOf(from));
  const zvBlockLaw::Station& to2 = m_behind.emplace(m_law.StationAt(LineOf(to)));
  return m_law.Holds(from2, to2, {start, end}, m_allowed);
}

// The same of lines that stand as they were made later.
bool zv5axPathKeeper::StandsPlainly(const Move& from, const Move& to) {
  if (!KeepsSteps(from, to)) return false;
  const zvBlockDeviation most = m_law.Glance(LineOf(from), LineOf(to));
  if (most.tip <= m_plain.tip && most.axis <= m_plain.axis) return true;
  // The end of one block is the start of the next.
  const zvBlockLaw::Station start =
      m_behind && IsSame(m_behind->line, LineOf(from)) ? *m_behind : m_law.StationAt(LineOf(from));
  const zvBlockLaw::Station& end = m_behind.emplace(m_law.StationAt(LineOf(to)));
  const zvBlockDeviation off = m_law.Guess(start, end);
  return off.tip <= m_plain.tip && off.axis <= m_plain.axis;
}

void zv5axPathKeeper::Join(List& list, Iterator to, const zvRotarySolutions& solutions) {
  const Iterator from = std::prev(to);
  m_solver.FixPoleAngle(*to, *from);
  Walk walk(*this, list, to, &solutions);
  if (AreOpposite(from->GetOrientation(), to->GetOrientation())) {
    walk.Try(1);
    walk.Accept();
    m_hasLeftTurns = true;
    return;
  }
  const zvMarchResult result = walk.Run();
  if (result.leaps != 0) m_hasLeftTurns = true;
  if (result.canBeThin) Thin(list, from, to);
}

void zv5axPathKeeper::Thin(List& list, Iterator from, Iterator to) const {
  ThinOut(list, from, to, [this](const Move& a, const Move& b) {
    const Place anchor = PlaceOf(a);
    Place place = PlaceOf(b);
    place.line.firstAngle = Near(place.line.firstAngle, anchor.line.firstAngle);
    place.line.secondAngle = Near(place.line.secondAngle, anchor.line.secondAngle);
    return Use(anchor, place) <= 1;
  });
}

std::uint32_t zv5axPathKeeper::Keep(List& list, double maxAngleJump) {
  if (list.GetCount() < 2) return 0;
  // Join has kept all steps by it but those between opposite orientations; between lifted lines
  // nobody needs it.
  m_rules.KeepDistance(false);
  std::uint32_t divided = 0;
  misc::zvPolledEnd end(list);
  for (Iterator from = list.begin(), to = std::next(from); end.IsBefore(to); from = to++) {
    list.PrefetchAfter(*to);
    if (to->IsRapid() || StandsPlainly(*from, *to)) continue;
    if (Use(PlaceOf(*from), PlaceOf(*to)) <= 1) continue;
    divided += Divide(list, from, to, maxAngleJump);
  }
  return divided;
}

bool zv5axPathKeeper::Divide(List& list, Iterator from, Iterator to, double maxAngleJump) {
  m_rules.KeepDistance(AreOpposite(from->GetOrientation(), to->GetOrientation()));
  Walk walk(*this, list, to, nullptr);
  const zvMarchResult result = walk.Run();
  if (result.canBeThin) Thin(list, from, to);
  m_rules.KeepDistance(false);
  for (Iterator a = from; result.leaps != 0 && a != to;) {
    const Iterator b = std::next(a);
    if (!(Use(PlaceOf(*a), PlaceOf(*b)) <= 1)) DivideLeap(list, a, b, maxAngleJump);
    a = b;
  }
  return std::next(from) != to;
}

void zv5axPathKeeper::DivideLeap(List& list, Iterator from, Iterator to, double maxAngleJump) {
  const double turn = LargerTurn(LineOf(*from), LineOf(*to));
  if (const double step = m_rules.GetStep(); !(step > 0 && turn > step + misc::kAngleBorder))
    return;
  if (maxAngleJump < from->AngleDistance(*to)) return;
  const Place start = PlaceOf(*from);
  const Place end = PlaceOf(*to);
  const bool isHeld = m_law.Holds(start.line, end.line, {start.pose, end.pose}, m_allowed);
  DivideStep(list, from, to, m_solver.GetParameters(), turn, m_solver.GetKinematics());
  // What breaks a step alone stays on the path, with the tool as the machine has it.
  if (isHeld) return;
  // They belong to the path, which the tool leaves here: so that they are reported.
  m_hasLeaps = true;
  const Arc arc(start.pose.axis, end.pose.axis);
  const auto parts = static_cast<double>(std::distance(from, to));
  double part = 0;
  for (Iterator move = std::next(from); move != to; ++move)
    move->SetOrientation(arc.At(++part / parts));
}

zvToleranceReport zv5axPathKeeper::Report(const List& list) {
  zvToleranceReport report;
  if (list.GetCount() < 2) return report;
  std::uint32_t index = 1;
  auto from = list.begin();
  misc::zvPolledEnd end(list);
  for (auto to = std::next(from); end.IsBefore(to); from = to++, ++index) {
    // A plain block keeps to its way when its lines stand on it, which those of a leap don't.
    if (to->IsRapid() || (!m_hasLeaps && StandsPlainly(*from, *to))) continue;
    const Place a = PlaceOf(*from);
    const Place b = PlaceOf(*to);
    const zvBlockDeviation off = m_law.Bound(a.line, b.line, {a.pose, b.pose});
    if (off.tip <= m_rules.GetTolerance().GetTip() && off.axis <= m_rules.GetTolerance().GetAxis())
      continue;
    report.Add(index, to->HasNoExtended() ? -1 : to->GetSourceIndex(), off.tip, off.axis);
  }
  return report;
}

}  // namespace post
