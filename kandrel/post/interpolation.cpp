#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/intermediate_moves.h>
#include <kandrel/post/interpolation.h>
#include <kandrel/post/solution_choice.h>
#include <kandrel/post/step_counts.h>
#include <kandrel/post/thinning.h>

#include <algorithm>
#include <cmath>

namespace post {

namespace {

constexpr int kDeepest = 4;

}  // namespace

double PoleAwareDistance(const zvPosted5axMove& a, const zvPosted5axMove& b) noexcept {
  double distance = 0;
  for (std::int16_t axis = 0; axis < 2; ++axis) {
    const std::uint32_t undetermined = axis == 0 ? 1 : 2;
    if (a.GetPoleStatus() == undetermined || b.GetPoleStatus() == undetermined) continue;
    distance = std::max(distance, misc::CircularDistance(a.GetAngle(axis), b.GetAngle(axis)));
  }
  return distance;
}

zv5axInterpolator::zv5axInterpolator(const zv5axMoveSolver& solver, bool smallMoves)
    : m_solver(solver),
      m_par(solver.GetParameters()),
      m_cone(solver.MakePoleCone()),
      m_smallMoves(smallMoves),
      m_hasAngleRule(m_par.GetMaxAngleStep() > 0),
      m_hasDistanceRule(m_par.GetInterpolateByDistance() && m_par.GetInterpolationDistance() > 0),
      m_solves(m_par.GetInterpolationMode() == 0) {}

bool zv5axInterpolator::Between(List& list, List::iterator to) {
  const Iterator from = std::prev(to);
  // Plain differences are never shorter than the ways round, but for rounding that the angle rule
  // allows for: most moves need no more than this.
  const double step = m_par.GetMaxAngleStep();
  if (!m_hasDistanceRule && std::fabs(to->GetAngle(0) - from->GetAngle(0)) <= step &&
      std::fabs(to->GetAngle(1) - from->GetAngle(1)) <= step)
    return false;
  m_current = to;
  return Subdivide(list, from, to, 0);
}

std::optional<zvPosted5axMove> zv5axInterpolator::Midpoint(const Move& from, const Move& to,
                                                           double tolerance) const {
  if (IsSkippedAtPole(from, to, tolerance)) return std::nullopt;
  if (!m_solves) return Linear(from, to, 0.5);
  zvIntermediateMoves between(from, to, m_smallMoves);
  return Solved(between.At(0.5), between.GetType(), from, m_solver.MakePoleCone(tolerance),
                between.GetSourceIndex(), between.IsInserted());
}

bool zv5axInterpolator::Subdivide(List& list, Iterator from, Iterator to, int depth) {
  if (to->IsRapid() && !m_par.GetInterpolateRapidMoves()) return false;
  if (depth >= kDeepest || IsSkippedAtPole(*from, *to, misc::kNoValue)) return false;
  const std::uint32_t count = std::max(StepsByDistance(*from, *to), StepsByAngle(*from, *to));
  if (count == 0) return false;
  InsertEvenMoves(list, from, to, count);
  if (!m_solves) return false;

  bool isLastLeft = false;
  switch (Measure(from, to)) {
    case Progress::kMade:
      break;
    case Progress::kAllButLast:
      // The last step can only be mended by choosing the move ahead again, which its maker does for
      // the move that it is about to append, and for no other.
      isLastLeft = to == m_current;
      if (isLastLeft) break;
      [[fallthrough]];
    case Progress::kNone:
      for (Iterator move = std::next(from); move != to;) move = list.Erase(move);
      return false;
  }
  for (Iterator first = from; first != to;) {
    const Iterator second = std::next(first);
    if (IsStepTooLarge(*first, *second) && !(isLastLeft && second == to))
      isLastLeft = Subdivide(list, first, second, depth + 1) || isLastLeft;
    first = second;
  }
  if (depth == 0) Thin(list, from, to);
  return isLastLeft;
}

// No interpolation is wanted although the step is slightly large: at a pole, where the excess lies
// within the pole's tolerance.
bool zv5axInterpolator::IsSkippedAtPole(const Move& from, const Move& to, double tolerance) const {
  if (from.GetPoleStatus() == 0 && to.GetPoleStatus() == 0) return false;
  if (StepsByDistance(from, to) != 0) return false;
  // Exactly: a larger value is a tolerance here.
  const double slack = tolerance == misc::kNoValue ? m_par.GetPoleAngleTolerance() : tolerance;
  const double excess = PoleAwareDistance(from, to) - m_par.GetMaxAngleStep();
  return excess > 0 && excess < slack - misc::kEqual;
}

std::uint32_t zv5axInterpolator::StepsByDistance(const Move& from, const Move& to) const {
  return m_hasDistanceRule ? post::StepsByDistance(m_par, PartDistance(from, to)) : 0;
}

// One less than the distance rule gives, deliberately; and it doesn't look at poles.
std::uint32_t zv5axInterpolator::StepsByAngle(const Move& from, const Move& to) const {
  if (to.IsRapid()) return 0;
  return post::StepsByAngle(m_par, from.AngleDistance(to));
}

bool zv5axInterpolator::IsStepTooLarge(const Move& a, const Move& b) const {
  if (m_hasAngleRule && PoleAwareDistance(a, b) >= m_par.GetMaxAngleStep() - misc::kEqual)
    return true;
  return m_hasDistanceRule && PartDistance(a, b) >= m_par.GetInterpolationDistance() - misc::kEqual;
}

bool zv5axInterpolator::IsWithinStep(const Move& a, const Move& b) const {
  return !IsStepTooLarge(a, b);
}

void zv5axInterpolator::InsertEvenMoves(List& list, Iterator from, Iterator to,
                                        std::uint32_t count) {
  const double step = 1.0 / (count + 1.0);
  double t = 0;
  if (!m_solves) {
    for (std::uint32_t k = 0; k < count; ++k) {
      t += step;
      list.EmplaceWith(to, [&] { return Linear(*from, *to, t); });
    }
    return;
  }
  zvIntermediateMoves between(*from, *to, m_smallMoves);
  Iterator previous = from;
  for (std::uint32_t k = 0; k < count; ++k) {
    t += step;
    previous = list.EmplaceWith(to, [&] {
      return Solved(between.At(t), between.GetType(), *previous, m_cone, between.GetSourceIndex(),
                    between.IsInserted());
    });
    m_hasMetPole = m_hasMetPole || previous->GetPoleStatus() != 0;
    CarryPole(*from, *to, *previous);
  }
}

// A move on a pole between two that are not takes its free angle from the first, where that changes
// next to nothing. The machine position stays until the moves are thinned, which fixes poles.
void zv5axInterpolator::CarryPole(const Move& from, const Move& to, Move& move) const {
  const std::uint32_t status = move.GetPoleStatus();
  if (status == 0 || from.GetPoleStatus() == status || to.GetPoleStatus() == status) return;
  const std::int16_t axis = status == 1 ? 0 : 1;
  if (std::fabs(from.GetAngle(axis) - to.GetAngle(axis)) <= misc::kSameStep)
    move.SetAngle(from.GetAngle(axis), axis);
}

zvPosted5axMove zv5axInterpolator::Solved(const cadcam::zvCNCMove& blended,
                                          zvPostedMove::Types type, const Move& previous,
                                          const zv5axMoveSolver::PoleCone& cone,
                                          std::int32_t sourceIndex, bool inserted) const {
  const zvMoveView view(blended);
  const zvRotarySolutions solutions =
      m_solver.SolveAngles(view.GetPosition(), view.GetOrientation(), cone, previous.GetAngle(0));
  const bool isMirror =
      TakesMirrorNext(previous.GetAngle(0), previous.GetAngle(1), solutions, m_par, m_solver);
  return zv5axMoveSolver::MakeMove(view, type, solutions.Of(isMirror), solutions.poleStatus,
                                   sourceIndex, inserted, m_smallMoves);
}

zvPosted5axMove zv5axInterpolator::Linear(const Move& a, const Move& b, double t) const {
  using Point = cadcam::zvTPoint3d<double>;
  const Point p_part = (1 - t) * a.GetPartPosition() + t * b.GetPartPosition();
  const auto blend = [t](double from, double to) {
    // By the shorter way: angles are not winded yet.
    const double near = to + misc::kFullTurnDeg * misc::WindsBetween(from, to);
    return (1 - t) * from + t * near;
  };
  const double first = blend(a.GetAngle(0), b.GetAngle(0));
  const double second = blend(a.GetAngle(1), b.GetAngle(1));
  const double feed = !a.IsRapid() && b.IsRapid()   ? a.GetFeed()
                      : a.IsRapid() && !b.IsRapid() ? b.GetFeed()
                                                    : (1 - t) * a.GetFeed() + t * b.GetFeed();
  const bool rapid = a.IsRapid() && b.IsRapid();
  const Point p_mach = m_solver.MachinePosition(p_part, first, second);
  // A marker only: degrees where radians are read. It stays so that files agree; what moves the
  // machine takes the orientation from the angles.
  const Point marker = m_solver.OrientationFromAngles(first, second);
  if (m_smallMoves)
    return zvPosted5axMove(p_mach, p_part, marker, first, second, 0, feed, rapid, b.GetType());
  return zvPosted5axMove(p_mach, p_part, marker, first, second, 0, feed, rapid, b.GetType(),
                         Point{}, Point{0, 0, 1}, 0, false, a.GetSourceIndex(), true);
}

// Whether the subdivision has made the largest step smaller.
zv5axInterpolator::Progress zv5axInterpolator::Measure(Iterator from, Iterator to) const {
  const double wholeAngle = PoleAwareDistance(*from, *to);
  const double wholeDistance = PartDistance(*from, *to);
  double largestAngle = 0;
  double largestButLast = 0;
  double largestDistance = 0;
  for (Iterator a = from; a != to; ++a) {
    const Iterator b = std::next(a);
    largestButLast = largestAngle;
    largestAngle = std::max(largestAngle, PoleAwareDistance(*a, *b));
    if (m_hasDistanceRule) largestDistance = std::max(largestDistance, PartDistance(*a, *b));
  }
  const bool angleFailed =
      largestAngle >= wholeAngle || std::fabs(largestAngle - wholeAngle) <= misc::kSameStep;
  const bool distanceFailed =
      !m_hasDistanceRule || std::fabs(largestDistance - wholeDistance) <= misc::kSameStep;
  if (!angleFailed || !distanceFailed) return Progress::kMade;
  return largestButLast < wholeAngle ? Progress::kAllButLast : Progress::kNone;
}

void zv5axInterpolator::Thin(List& list, Iterator from, Iterator to) const {
  ThinOut(list, from, to, [this](const Move& a, const Move& b) { return IsWithinStep(a, b); });
  for (Iterator move = std::next(from); move != to; ++move)
    m_solver.FixPoleAngle(*std::prev(move), *move);
}

}  // namespace post
