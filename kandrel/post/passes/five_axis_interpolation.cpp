#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/solution_choice.h>
#include <kandrel/post/passes/five_axis_interpolation.h>
#include <kandrel/post/passes/intermediate_moves.h>
#include <kandrel/post/passes/pole_blending.h>
#include <kandrel/post/passes/step_counts.h>
#include <kandrel/post/passes/thinning.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace post {

namespace {

constexpr int kDeepest = 4;

// Upper bound of the circular distance, up to rounding.
double PlainDistance(const zvPosted5axMove& a, const zvPosted5axMove& b) {
  return std::max(std::fabs(a.GetAngle(0) - b.GetAngle(0)),
                  std::fabs(a.GetAngle(1) - b.GetAngle(1)));
}

double SecondTurn(const zvPosted5axMove& a, const zvPosted5axMove& b) {
  return misc::CircularDistance(a.GetAngle(1), b.GetAngle(1));
}

void EraseBetween(misc::zvMemoryPoolList<zvPosted5axMove>& list,
                  misc::zvMemoryPoolList<zvPosted5axMove>::iterator from,
                  misc::zvMemoryPoolList<zvPosted5axMove>::iterator to) {
  for (auto move = std::next(from); move != to;) move = list.Erase(move);
}

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
      m_solves(m_par.GetInterpolationMode() == 0),
      m_blendsPoles(BlendsPoles(m_par)) {}

bool zv5axInterpolator::Between(List& list, List::iterator to) {
  const Iterator from = std::prev(to);
  // Plain differences are never shorter than the ways round, but for rounding that the angle rule
  // allows for: most moves need no more than this.
  const double step = m_par.GetMaxAngleStep();
  if (!m_hasDistanceRule && std::fabs(to->GetAngle(0) - from->GetAngle(0)) <= step &&
      std::fabs(to->GetAngle(1) - from->GetAngle(1)) <= step)
    return false;
  return Subdivide(list, from, to, 0);
}

std::optional<zvPosted5axMove> zv5axInterpolator::Midpoint(const Move& from, const Move& to,
                                                           double tolerance) const {
  if (SkipForPole(from, to, tolerance)) return std::nullopt;
  if (!m_solves) return Linear(from, to, 0.5);
  if (AreOpposite(from.GetOrientation(), to.GetOrientation())) return std::nullopt;
  zvIntermediateMoves between(from, to, m_smallMoves, zvBlendedOrientations::kUnitVectors);
  return Solved(between.At(0.5), between.GetType(), from, m_solver.MakePoleCone(tolerance),
                between.GetSourceIndex(), between.IsInserted());
}

std::optional<std::vector<zvPosted5axMove>> zv5axInterpolator::MovesBetween(const Move& from,
                                                                            const Move& to,
                                                                            int depth,
                                                                            double tolerance) {
  const std::uint32_t count = CountBetween(from, to, depth, tolerance);
  if (count == 0) return std::nullopt;
  misc::zvMemoryPoolProvider provider;
  List list(provider);
  list.PushBack(from);
  list.PushBack(to);
  Fill(list, list.begin(), std::prev(list.end()), depth, count, m_solver.MakePoleCone(tolerance));
  return std::vector<Move>(std::next(list.begin()), std::prev(list.end()));
}

std::optional<std::vector<zvPosted5axMove>> zv5axMoveSolver::InterpolateMoves(
    const zvPosted5axMove& from, const zvPosted5axMove& to, bool smallMoves, bool forceMidpoint,
    int depth, double tolerance) const {
  zv5axInterpolator interpolator(*this, smallMoves);
  if (!forceMidpoint) return interpolator.MovesBetween(from, to, depth, tolerance);
  std::optional<zvPosted5axMove> middle;
  if (depth < kDeepest) middle = interpolator.Midpoint(from, to, tolerance);
  if (!middle) return std::nullopt;
  return std::vector{*std::move(middle)};
}

// How many moves are wanted between two, at first.
std::uint32_t zv5axInterpolator::CountBetween(const Move& from, const Move& to, int depth,
                                              double tolerance) const {
  if (to.IsRapid() && !m_par.GetInterpolateRapidMoves()) return 0;
  if (depth >= kDeepest || SkipForPole(from, to, tolerance)) return 0;
  const std::uint32_t count = std::max(StepsByDistance(from, to), StepsByAngle(from, to));
  if (count == 0) return 0;
  // No direction lies between opposite ones more than any other.
  return m_solves && AreOpposite(from.GetOrientation(), to.GetOrientation()) ? 0 : count;
}

bool zv5axInterpolator::Subdivide(List& list, Iterator from, Iterator to, int depth) {
  const std::uint32_t count = CountBetween(*from, *to, depth, misc::kNoValue);
  return count != 0 && Fill(list, from, to, depth, count, m_cone);
}

bool zv5axInterpolator::Fill(List& list, Iterator from, Iterator to, int depth, std::uint32_t count,
                             const zv5axMoveSolver::PoleCone& cone) {
  EvenMoves(list, from, to, count, cone);
  if (!m_solves) return false;

  const Progress progress = Measure(from, to, false);
  // A turn of the free axis off a pole can't be divided. Where nothing else needs it, the turn is
  // spread over the whole step when poles are blended.
  if (m_blendsPoles && !progress.isMade && IsFreeTurn(*from, *to) &&
      !Measure(from, to, true).isMade) {
    EraseBetween(list, from, to);
    return false;
  }

  Iterator last = from;
  bool isChanged = false;
  for (Iterator move = std::next(from); move != to; last = move++) {
    if (isChanged) isChanged = ChooseAgain(*last, *move);
    if (StepTooLarge(*last, *move)) isChanged = Refine(list, last, move, depth) || isChanged;
  }
  bool isLastLeft = false;
  if (StepTooLarge(*last, *to)) {
    // A last step that turns no less than the whole can only be mended by choosing `to` again,
    // which its maker does.
    const double turn = PoleAwareDistance(*last, *to);
    isLastLeft = m_hasAngleRule && turn >= m_par.GetMaxAngleStep() - misc::kEqual &&
                 turn >= progress.wholeAngle - misc::kSameStep;
    if (!isLastLeft) isLastLeft = Subdivide(list, last, to, depth + 1);
  }
  // Beside a pole the first subdivision may turn more in a step than the whole: what counts is what
  // the refinement makes of it.
  if (!progress.isMade && !IsReduced(from, to, isLastLeft)) {
    EraseBetween(list, from, to);
    return false;
  }
  if (depth == 0) Thin(list, from, to);
  return isLastLeft;
}

// Subdivides the step to an inserted move. That was chosen against `first`; where the moves now
// before it follow the other solution it is chosen again. True when it has changed.
bool zv5axInterpolator::Refine(List& list, Iterator first, Iterator move, int depth) {
  const double whole = PoleAwareDistance(*first, *move);
  bool isChanged = false;
  Iterator last = first;
  for (int round = 0; round < kMostRounds; ++round) {
    const bool isLastLeft = Subdivide(list, last, move, depth + 1);
    if (std::prev(move) == last) break;
    last = std::prev(move);
    if (!StepTooLarge(*last, *move)) return isChanged;
    const bool isOther = ChooseAgain(*last, *move);
    isChanged = isChanged || isOther;
    if (!isLastLeft && !isOther) break;
    if (!StepTooLarge(*last, *move)) return isChanged;
  }
  if (last != first && PoleAwareDistance(*last, *move) >= whole - misc::kSameStep) {
    EraseBetween(list, first, move);
    isChanged = ChooseAgain(*first, *move) || isChanged;
  }
  return isChanged;
}

// Settles an inserted move against the one that now stands before it. True when it has changed.
bool zv5axInterpolator::ChooseAgain(const Move& previous, Move& move) const {
  if (move.GetPoleStatus() != kDetermined) {
    const std::int16_t axis = move.GetPoleStatus() == kOnFirstPole ? 0 : 1;
    const bool isOther = move.GetAngle(axis) != previous.GetAngle(axis);
    move.SetAngle(previous.GetAngle(axis), axis);
    return isOther;
  }
  const zvRotarySolutions solutions = m_solver.SolveAngles(
      move.GetPartPosition(), move.GetOrientation(), m_cone, previous.GetAngle(0));
  const zvRotarySolution& solution = solutions.Of(
      TakesMirrorNext(previous.GetAngle(0), previous.GetAngle(1), solutions, m_par, m_solver));
  if (solution.firstAngle == move.GetAngle(0) && solution.secondAngle == move.GetAngle(1))
    return false;
  move.SetAngle(solution.firstAngle, 0);
  move.SetAngle(solution.secondAngle, 1);
  move.SetMachinePosition(solution.position);
  return true;
}

// No interpolation is wanted although the step is slightly large: at a pole, where the excess lies
// within the pole's tolerance.
bool zv5axInterpolator::SkipForPole(const Move& from, const Move& to, double tolerance) const {
  if (from.GetPoleStatus() == kDetermined && to.GetPoleStatus() == kDetermined) return false;
  if (StepsByDistance(from, to) != 0) return false;
  // Exactly: a larger value is a tolerance here.
  const double slack = tolerance == misc::kNoValue ? m_par.GetPoleAngleTolerance() : tolerance;
  const double excess = PoleAwareDistance(from, to) - m_par.GetMaxAngleStep();
  return excess > 0 && excess < slack - misc::kEqual;
}

std::uint32_t zv5axInterpolator::StepsByDistance(const Move& from, const Move& to) const {
  return m_hasDistanceRule ? post::StepsByDistance(m_par, PartDistance(from, to)) : 0;
}

// Undetermined angles count too: SkipForPole has decided about them.
std::uint32_t zv5axInterpolator::StepsByAngle(const Move& from, const Move& to) const {
  if (to.IsRapid()) return 0;
  return post::StepsByAngle(m_par, from.AngleDistance(to));
}

bool zv5axInterpolator::StepTooLarge(const Move& a, const Move& b) const {
  const double step = m_par.GetMaxAngleStep();
  if (m_hasAngleRule && !(PlainDistance(a, b) < step - misc::kAngleBorder) &&
      PoleAwareDistance(a, b) >= step - misc::kEqual)
    return true;
  return m_hasDistanceRule && PartDistance(a, b) >= m_par.GetInterpolationDistance() - misc::kEqual;
}

bool zv5axInterpolator::IsWithinStep(const Move& a, const Move& b) const {
  return !StepTooLarge(a, b);
}

void zv5axInterpolator::EvenMoves(List& list, Iterator from, Iterator to, std::uint32_t count,
                                  const zv5axMoveSolver::PoleCone& cone) {
  const double step = 1.0 / (count + 1.0);
  double t = 0;
  if (!m_solves) {
    for (std::uint32_t k = 0; k < count; ++k) {
      t += step;
      list.EmplaceWith(to, [&] { return Linear(*from, *to, t); });
    }
    return;
  }
  zvIntermediateMoves between(*from, *to, m_smallMoves, zvBlendedOrientations::kUnitVectors);
  Iterator previous = from;
  for (std::uint32_t k = 0; k < count; ++k) {
    t += step;
    previous = list.EmplaceWith(to, [&] {
      return Solved(between.At(t), between.GetType(), *previous, cone, between.GetSourceIndex(),
                    between.IsInserted());
    });
    m_hasMetPole = m_hasMetPole || previous->GetPoleStatus() != kDetermined;
    CarryPole(*from, *to, *std::prev(previous), *previous);
  }
}

// A move on a pole between two that are not takes its free angle from the first, where that changes
// next to nothing; otherwise from the move before it, so that the next is chosen against the angle
// at which the axis will stand. The machine position stays until the moves are thinned, which fixes
// poles.
void zv5axInterpolator::CarryPole(const Move& from, const Move& to, const Move& previous,
                                  Move& move) const {
  const std::uint32_t status = move.GetPoleStatus();
  if (status == kDetermined || from.GetPoleStatus() == status || to.GetPoleStatus() == status)
    return;
  const std::int16_t axis = status == 1 ? 0 : 1;
  const bool isSame = std::fabs(from.GetAngle(axis) - to.GetAngle(axis)) <= misc::kSameStep;
  move.SetAngle((isSame ? from : previous).GetAngle(axis), axis);
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
    // By the shorter way: angles are not wound yet.
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
  Move between(p_mach, p_part, marker, first, second, 0, feed, rapid, b.GetType());
  if (!m_smallMoves) between.SetExtended({}, {0, 0, 1}, 0, false, a.GetSourceIndex(), true);
  return between;
}

// Whether the subdivision has made the largest step smaller.
zv5axInterpolator::Progress zv5axInterpolator::Measure(Iterator from, Iterator to,
                                                       bool leavesLastOut) const {
  const Iterator second = std::next(from);
  double largestAngle = 0;
  double largestDistance = 0;
  for (Iterator a = from; a != to; ++a) {
    const Iterator b = std::next(a);
    const bool counts = a != from && !(leavesLastOut && b == to);
    if (counts && !(PlainDistance(*a, *b) <= largestAngle))
      largestAngle = std::max(largestAngle, PoleAwareDistance(*a, *b));
    if (m_hasDistanceRule) largestDistance = std::max(largestDistance, PartDistance(*a, *b));
  }
  const auto isReduced = [&](double firstAngle, double whole) {
    return std::max(largestAngle, firstAngle) < whole - misc::kSameStep;
  };
  Progress progress;
  progress.wholeAngle = PoleAwareDistance(*from, *to);
  const bool isMadeByDistance =
      m_hasDistanceRule && std::fabs(largestDistance - PartDistance(*from, *to)) > misc::kSameStep;
  progress.isMade =
      isMadeByDistance || isReduced(PoleAwareDistance(*from, *second), progress.wholeAngle);
  // The free axis turns off a pole in the first step, whatever the subdivision.
  if (!progress.isMade && IsOnFirstPole(*from) && !IsFreeTurn(*from, *to))
    progress.isMade = isReduced(SecondTurn(*from, *second), SecondTurn(*from, *to));
  return progress;
}

// Whether a refinement has made the largest step smaller. What turns on a pole counts only where it
// is the whole turn: then nothing was gained.
bool zv5axInterpolator::IsReduced(Iterator from, Iterator to, bool leavesLastOut) const {
  const Progress progress = Measure(from, to, leavesLastOut);
  if (!progress.isMade) return false;
  for (Iterator a = from; a != to; ++a) {
    const Iterator b = std::next(a);
    const bool isOnPole = a->GetPoleStatus() != kDetermined || b->GetPoleStatus() != kDetermined;
    if (isOnPole && std::fabs(a->AngleDistance(*b) - progress.wholeAngle) <= misc::kSameStep)
      return false;
  }
  return true;
}

// Whether a move that took its free angle from the one before it lies on the first axis' pole.
bool zv5axInterpolator::IsOnFirstPole(const Move& move) const {
  return move.GetPoleStatus() == kDetermined &&
         m_solver.IsOnFirstPole(move.GetOrientation(), m_cone);
}

// Whether nothing but the free axis turns so far off a pole that it needs a subdivision.
bool zv5axInterpolator::IsFreeTurn(const Move& from, const Move& to) const {
  return SecondTurn(from, to) < m_par.GetMaxAngleStep() && IsOnFirstPole(from);
}

void zv5axInterpolator::Thin(List& list, Iterator from, Iterator to) const {
  ThinOut(list, from, to, [this](const Move& a, const Move& b) { return IsWithinStep(a, b); });
  for (Iterator move = std::next(from); move != to; ++move)
    m_solver.FixPoleAngle(*std::prev(move), *move);
}

}  // namespace post
