#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/misc/angles.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/post_exception.h>

#include <cmath>

namespace post {

// How a solution is found: subproblem 2 of Paden and Kahan, a turn about each of two axes (Murray,
// Li and Sastry, A Mathematical Introduction to Robotic Manipulation, 1994, chapter 3). With the
// unit vectors t of the tool, s of the spindle, a1 and a2 of the working directions: the first
// angle turns the part, and t with it, onto some u; the second turns u onto the spindle.
//
//   A turn keeps the cosine to its axis:  u . a1 = t . a1 = c1,  u . a2 = s . a2 = c2,  |u| = 1
//   u in parts along and off the axes:    u = alpha a1 + beta a2 +- sqrt(w) n,  n = a1 x a2, unit
//   the first two equations, c12 = a1 . a2:  alpha = (c1 - c2 c12) k,  beta = (c2 - c1 c12) k
//   with                                     k = 1 / (1 - c12^2)
//   the third:  w = 1 - |alpha a1 + beta a2|^2 = 1 - (c1^2 + c2^2 - 2 c1 c2 c12) k
//
// w below 0 is out of reach; both signs of its root give the two solutions.

namespace {

using Point = cadcam::zvTPoint3d<double>;

// The turns about one axis that concern a fixed direction, one that makes the cosine c with it.
// Less their parts along the axis, this and another direction u of the same cosine have the squared
// length 1 - c^2 and the product u . fixed - c^2: their ratio is the cosine of the turn.
struct TurnAbout {
  const Point& fixed;
  const Point& across;  // its product with u has the sign of the turn's sine
  double q;             // c^2

  // Asked four times a move: inline, as the angle itself is.
  [[gnu::always_inline]] zvSolvedAngle With(const Point& u) const {
    return AngleOfCosine((Dot(u, fixed) - q) / (1 - q), Dot(across, u) < 0);
  }
};

// What both signs of the root of w give; zero turns where a pole leaves them undetermined.
struct BothTurns {
  zvSolvedAngle plus{0, {1, 0}};
  zvSolvedAngle minus{0, {1, 0}};
};

}  // namespace

zv5axMoveSolver::zv5axMoveSolver(const zv5axMachDef& machDef, const zvKDRParam& par,
                                 const Point& partOrigin, double toolLengthCompensation)
    : zv5axMachDef(Normalised(machDef)),
      m_par(&par),
      m_kinematics(*this, partOrigin, toolLengthCompensation),
      m_a1(m_kinematics.GetFirstWorkingDirection()),
      m_a2(m_kinematics.GetSecondWorkingDirection()),
      m_s(GetSpindleDirection()),
      m_c12(Dot(m_a2, m_a1)),
      m_c2(Dot(m_a2, m_s)),
      m_k(1 / (1 - m_c12 * m_c12)),
      m_n(Cross(m_a1, m_a2)),
      m_isParallel(m_n.SquaredLength() < misc::kParallelAxes * misc::kParallelAxes),
      m_sCrossA2(Cross(m_s, m_a2)) {
  if (!m_isParallel) m_n.Normalize();
  if (par.GetPoleHandling() == zvKDRParam::keepWithinLimits) m_limitKeeper.emplace(*this);
}

zv5axMoveSolver::PoleCone zv5axMoveSolver::MakePoleCone(double deg) const {
  if (deg >= misc::kNoValue) deg = m_par->GetPoleAngleTolerance();
  PoleCone cone{zvPoleCone::OfDegrees(deg), false, m_c2, m_c2 * m_c2};
  if (cone.Holds(m_c2)) {
    cone.onSecondPole = true;
    cone.c2 = m_c2 >= 0 ? 1 : -1;
    cone.q2 = 1;
  }
  return cone;
}

// The cosines of u to both axes, with their squares.
struct zv5axMoveSolver::Cosines {
  double c1;
  double q1;
  double c2;
  double q2;
};

double zv5axMoveSolver::SquaredPartOffAxes(const Cosines& c) const {
  return 1 - (c.q2 + c.q1 - 2 * c.c1 * c.c2 * m_c12) * m_k;
}

// Snapping an orientation to a pole on axes that are not quite square can take it out of reach
// although the orientation itself is within: only what neither form reaches is refused.
void zv5axMoveSolver::RequireReach(double exactC1, bool isSnapped) const {
  const Cosines exact{exactC1, exactC1 * exactC1, m_c2, m_c2 * m_c2};
  if (!isSnapped || !(SquaredPartOffAxes(exact) >= -misc::kUnreachable))
    throw zvPostException(zvPostException::kOutOfReach);
}

zvRotarySolution zv5axMoveSolver::At(const Point& p_part, const zvSolvedAngle& first,
                                     const zvSolvedAngle& second) const {
  return {first.deg, second.deg, m_kinematics.MachinePosition(p_part, first.turn, second.turn)};
}

zvRotarySolutions zv5axMoveSolver::SolveAngles(const Point& p_part, const Point& orientation,
                                               const PoleCone& cone, double lastFirstAngle) const {
  if (orientation.IsZero() || m_isParallel) cadcam::detail::ThrowNullVector();
  const Point t = orientation / orientation.Length();

  const double exactC1 = Dot(t, m_a1);
  const bool onFirstPole = cone.Holds(exactC1);
  Cosines c{exactC1, exactC1 * exactC1, cone.c2, cone.q2};
  if (onFirstPole) {
    c.c1 = exactC1 >= 0 ? 1 : -1;
    c.q1 = 1;
  }
  double w = SquaredPartOffAxes(c);
  if (!(w >= -misc::kUnreachable)) {
    RequireReach(exactC1, onFirstPole || cone.onSecondPole);
    w = 0;
  }

  const Point base = ((c.c1 - c.c2 * m_c12) * m_k) * m_a1 + ((c.c2 - c.c1 * m_c12) * m_k) * m_a2;
  const Point side = (w >= 0 ? std::sqrt(w) : 0.0) * m_n;
  const Point u_plus = base + side;
  const Point u_minus = base - side;

  zvRotarySolutions result;
  BothTurns first;
  if (onFirstPole) {
    result.poleStatus = kOnFirstPole;
  } else {
    // From t onto u: (t x u) . a1 = (a1 x t) . u.
    const Point across = Cross(m_a1, t);
    const TurnAbout turn{t, across, c.q1};
    first = {turn.With(u_plus), turn.With(u_minus)};
  }
  BothTurns second;
  if (cone.onSecondPole) {
    result.poleStatus = kOnSecondPole;
  } else {
    // From u onto s: (u x s) . a2 = (s x a2) . u.
    const TurnAbout turn{m_s, m_sCrossA2, c.q2};
    second = {turn.With(u_plus), turn.With(u_minus)};
  }
  result.first = At(p_part, first.plus, second.plus);
  result.mirror = At(p_part, first.minus, second.minus);

  if (m_limitKeeper && result.poleStatus == kOnFirstPole) SpendPole(p_part, lastFirstAngle, result);
  return result;
}

// Spends the free angle of a pole of the first axis on the limits, where that helps.
void zv5axMoveSolver::SpendPole(const Point& p_part, double lastFirstAngle,
                                zvRotarySolutions& result) const {
  if (!m_limitKeeper->KeepInLimits(m_kinematics, p_part, lastFirstAngle, result.first.secondAngle,
                                   result.first.position, result.first.firstAngle))
    return;
  // The mirror shares the angle, and where its second angle differs it has a position of its own,
  // so that angles and tip belong together.
  result.poleStatus = kDetermined;
  result.mirror.firstAngle = result.first.firstAngle;
  result.mirror.position = result.mirror.secondAngle == result.first.secondAngle
                               ? result.first.position
                               : m_kinematics.MachinePosition(p_part, result.mirror.firstAngle,
                                                              result.mirror.secondAngle);
}

zvRotarySolutions zv5axMoveSolver::SolveAngles(const cadcam::zvMovePointer& move,
                                               double poleTolerance, double lastFirstAngle) const {
  RequireFinite(*move);
  const zvMoveView view(*move);
  return SolveAngles(view.GetPosition(), view.GetOrientation(), MakePoleCone(poleTolerance),
                     lastFirstAngle);
}

zvSolutionPair zv5axMoveSolver::Solve(const cadcam::zvMovePointer& move, zvPostedMove::Types type,
                                      int sourceIndex, bool inserted, double poleTolerance,
                                      bool smallMoves, double lastFirstAngle) const {
  const zvRotarySolutions solutions = SolveAngles(move, poleTolerance, lastFirstAngle);
  const zvRotarySolution& mirror = solutions.mirror;
  return {MakeMove(zvMoveView(*move), type, solutions.first, solutions.poleStatus, sourceIndex,
                   inserted, smallMoves),
          zvMirrorAngle{mirror.firstAngle, mirror.secondAngle, mirror.position}};
}

void zv5axMoveSolver::TakeAngleFrom(const zvPosted5axMove& previous,
                                    zvPosted5axMove& current) const {
  const std::uint32_t status = current.GetPoleStatus();
  double first = current.GetAngle(0);
  double second = current.GetAngle(1);
  if (status == 1) first = previous.GetAngle(0);
  if (status == 2) second = previous.GetAngle(1);
  const Point& p_part = current.GetPartPosition();
  Point position = m_kinematics.MachinePosition(p_part, first, second);
  // Only the first axis' angle is free to be spent on the limits, and the angle found stays with
  // the position found: otherwise the tip would leave the path.
  if (m_limitKeeper && status == 1)
    m_limitKeeper->KeepInLimits(m_kinematics, p_part, previous.GetAngle(0), second, position,
                                first);
  current.SetAngle(first, 0);
  current.SetAngle(second, 1);
  current.SetMachinePosition(position);
  current.SetPoleStatus(kDetermined);
}

}  // namespace post
