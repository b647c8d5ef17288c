#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/misc/angles.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/post_exception.h>

#include <cmath>

namespace post {

namespace {

using Point = cadcam::zvTPoint3d<double>;

constexpr zvSolvedAngle kUndetermined{0, {1, 0}};

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

zvRotarySolutions zv5axMoveSolver::SolveAngles(const Point& p_part, const Point& orientation,
                                               const PoleCone& cone, double lastFirstAngle) const {
  if (orientation.IsZero() || m_isParallel) cadcam::detail::ThrowNullVector();
  const Point t = orientation / orientation.Length();

  double c1 = Dot(t, m_a1);
  double q1 = c1 * c1;
  const bool onFirstPole = cone.Holds(c1);
  const auto distance = [this](double cosine1, double square1, double cosine2, double square2) {
    return 1 - (square2 + square1 - 2 * cosine1 * cosine2 * m_c12) * m_k;
  };
  const double unsnappedC1 = c1;
  const double unsnappedQ1 = q1;
  if (onFirstPole) {
    c1 = c1 >= 0 ? 1 : -1;
    q1 = 1;
  }
  double w = distance(c1, q1, cone.c2, cone.q2);
  if (!(w >= -misc::kUnreachable)) {
    // Snapping an orientation to a pole on axes that are not quite square can take it out of reach
    // although the orientation itself is within: only what neither form reaches is refused.
    const bool isSnapped = onFirstPole || cone.onSecondPole;
    if (!isSnapped ||
        !(distance(unsnappedC1, unsnappedQ1, m_c2, m_c2 * m_c2) >= -misc::kUnreachable))
      throw zvPostException(zvPostException::kOutOfReach);
    w = 0;
  }

  // The base of u, and u itself on both sides of the plane of the axes.
  const Point base = ((c1 - cone.c2 * m_c12) * m_k) * m_a1 + ((cone.c2 - c1 * m_c12) * m_k) * m_a2;
  const Point side = (w >= 0 ? std::sqrt(w) : 0.0) * m_n;
  const Point up = base + side;
  const Point um = base - side;

  zvRotarySolutions result;
  zvSolvedAngle firstPlus = kUndetermined;
  zvSolvedAngle firstMinus = kUndetermined;
  if (onFirstPole) {
    result.poleStatus = 1;
  } else {
    const Point across = Cross(m_a1, t);
    firstPlus = AngleOfCosine((Dot(up, t) - q1) / (1 - q1), Dot(across, up) < 0);
    firstMinus = AngleOfCosine((Dot(um, t) - q1) / (1 - q1), Dot(across, um) < 0);
  }
  zvSolvedAngle secondPlus = kUndetermined;
  zvSolvedAngle secondMinus = kUndetermined;
  if (cone.onSecondPole) {
    result.poleStatus = 2;
  } else {
    const double q2 = cone.q2;
    secondPlus = AngleOfCosine((Dot(up, m_s) - q2) / (1 - q2), Dot(m_sCrossA2, up) < 0);
    secondMinus = AngleOfCosine((Dot(um, m_s) - q2) / (1 - q2), Dot(m_sCrossA2, um) < 0);
  }
  result.first = {firstPlus.deg, secondPlus.deg,
                  m_kinematics.MachinePosition(p_part, firstPlus.turn, secondPlus.turn)};
  result.mirror = {firstMinus.deg, secondMinus.deg,
                   m_kinematics.MachinePosition(p_part, firstMinus.turn, secondMinus.turn)};

  if (m_limitKeeper && result.poleStatus == 1) SpendPole(p_part, lastFirstAngle, result);
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
  result.poleStatus = 0;
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
  current.SetPoleStatus(0);
}

}  // namespace post
