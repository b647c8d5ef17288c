#include <kandrel/misc/angles.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/polynomial.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/move_between.h>
#include <kandrel/post/passes/pole_blending.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

namespace post {

namespace {

using Move = zvPosted5axMove;
using List = misc::zvMemoryPoolList<Move>;
using Iterator = List::iterator;
using Polynomial = mathdef::zvPolynomial<double>;
using Ranges = std::array<zvRotaryRange, 2>;

bool IsZero(double deg) {
  return std::fabs(deg) <= misc::kEqual;
}

// A turn by its size and, reversed, its sense: -1 when it rises. Angles of the raw range [-180,
// 180] are assumed: the reduced difference is not circular.
struct Jump {
  double size;
  double sense;
};

Jump SignedJump(double from, double to) {
  const double plain = std::fabs(from - to);
  const double reducedFrom = misc::WrapTo360(from);
  const double reducedTo = misc::WrapTo360(to);
  const double reduced = std::fabs(reducedFrom - reducedTo);
  if (plain < reduced) return {plain, to <= from ? 1.0 : -1.0};
  return {reduced, reducedFrom < reducedTo ? -1.0 : 1.0};
}

// The same for an axis of this range. Angles may have been wrapped into it before: where it has
// room for a whole turn and the way round, the short way is taken.
Jump JumpWithin(const zvRotaryRange& range, double from, double to) {
  const Jump jump = SignedJump(from, to);
  const double around = misc::kFullTurnDeg - jump.size;
  if (jump.size > around && range.max - range.min >= misc::kFullTurnDeg + around)
    return {around, -jump.sense};
  return jump;
}

// The arc length at which the curve turns by `step` where it is steepest: at an end of the run, or
// at the vertex of its slope, a parabola, where that lies inside. Infinite where nothing turns.
double StepOnCurve(double step, const Polynomial& p, double length) {
  const Polynomial slope = p.Derivative();
  const Polynomial bend = slope.Derivative();
  const double vertex = -bend.GetCoefficient(0) / bend.GetCoefficient(1);
  double steepest = std::max(std::fabs(slope.Evaluate(0)), std::fabs(slope.Evaluate(length)));
  if (vertex >= 0 && vertex <= length)
    steepest = std::max(steepest, std::fabs(slope.Evaluate(vertex)));
  return step / steepest;
}

// The cubic of Hermite over the length L, from p(0) = 0 with p'(0) = mb to p(L) = jump with
// p'(L) = ma. Of p(s) = mb s + b s^2 + c s^3 the last two ask b L^2 + c L^3 = jump - mb L and
// 2 b L + 3 c L^2 = ma - mb, which b and c solve.
Polynomial HermiteCubic(double l, double jump, double mb, double ma) {
  const double quadratic = (3 * jump / l - 2 * mb - ma) / l;
  const double cubic = (ma + mb - 2 * jump / l) / (l * l);
  return Polynomial({0, mb, quadratic, cubic});
}

// A slope of the cubic's ends. Neighbours may be as steep as they like, and as short; within three
// times the mean a cubic without reversed ends doesn't turn back (Fritsch and Carlson, 1980).
double BoundedSlope(double slope, double jump, double length) {
  const double steepest = 3 * jump / length;
  return std::clamp(slope, -steepest, steepest);
}

class Run {
 public:
  Run(List& list, const zvKDRParam& par, const Ranges& ranges, const zv5axMoveSolver& solver,
      Iterator first, Iterator last, int axis, std::uint32_t count)
      : m_list(list),
        m_par(par),
        m_solver(solver),
        m_first(first),
        m_last(last),
        m_axis(static_cast<std::int16_t>(axis)),
        m_other(static_cast<std::int16_t>(1 - axis)),
        m_range(ranges[static_cast<std::size_t>(m_other)]),
        m_count(count),
        m_start(first->GetAngle(m_other)),
        m_jump(JumpWithin(m_range, m_start, last->GetAngle(m_other))) {
    misc::zvPolledEnd end(list, first, last);
    for (Iterator move = first; end.IsBefore(move); ++move)
      m_length += PartDistance(*move, *std::next(move));
  }

  bool IsToBeBlended() const {
    const double step = m_par.GetMaxAngleStep();
    return step > 0 && m_jump.size >= step &&
           (m_jump.size <= m_par.GetMaxAngleJump() || m_count > 1) && m_length > misc::kEqual;
  }

  bool BlendLinearly() {
    TurnMoves([this](double s) { return m_jump.size * s / m_length; });
    if (IsWithinStep()) return true;
    // The spacing is the number of steps in the jump, taken as a length: so it grows with the jump.
    // What it leaves above a step DivideLargeSteps divides later. Each new move has the angle of
    // its segment's end.
    InsertMoves(m_jump.size / m_par.GetMaxAngleStep(),
                [this](double, double segmentEnd) { return m_jump.size * segmentEnd / m_length; });
    return true;
  }

  bool BlendOnCubic() {
    const Polynomial p = FitCubic();
    const double spacing = StepOnCurve(m_par.GetMaxAngleStep(), p, m_length);
    if (!(spacing > misc::kEqual)) return false;
    TurnMoves([&p](double s) { return p.Evaluate(s); });
    if (!IsWithinStep())
      InsertMoves(spacing, [&p](double position, double) { return p.Evaluate(position); });
    return true;
  }

 private:
  double AngleAt(double turned) const { return m_start - m_jump.sense * turned; }

  // Gives each move strictly between the ends its turned angle by the arc length from the first.
  template <class Turn>
  void TurnMoves(const Turn& turn) {
    double s = 0;
    Iterator before = m_first;
    misc::zvPolledEnd end(m_list, m_first, m_last);
    for (Iterator move = std::next(m_first); end.IsBefore(move); before = move++) {
      s += PartDistance(*before, *move);
      move->SetAngle(AngleAt(turn(s)), m_other);
      move->SetAngle(0, m_axis);
      move->SetMachinePosition(m_solver.GetKinematics().MachinePosition(*move));
    }
  }

  bool IsWithinStep() const {
    misc::zvPolledEnd end(m_list, m_first, m_last);
    for (Iterator move = m_first; end.IsBefore(move);) {
      ++move;
      if (JumpWithin(m_range, m_start, move->GetAngle(m_other)).size > m_par.GetMaxAngleStep())
        return false;
    }
    return true;
  }

  // Puts a move at every multiple of the spacing, into the segment in which it falls.
  template <class Turn>
  void InsertMoves(double spacing, const Turn& turn) {
    if (!(m_length / spacing <= misc::kLargestCount))
      throw zvPostException(zvPostException::kInvalidVector);
    double position = spacing;
    double s = 0;
    misc::zvPolledEnd runEnd(m_list, m_first, m_last);
    for (Iterator start = m_first; runEnd.IsBefore(start) && position < m_length;) {
      const Iterator end = std::next(start);
      const double segment = PartDistance(*start, *end);
      while (position < m_length && position < s + segment) {
        const double t = std::fabs(position - s) / segment;
        if (!(t >= 0 && t <= 1)) return;
        const double other = AngleAt(turn(position, s + segment));
        m_list.EmplaceWith(end, [&] { return BlendMove(*start, *end, t, other); });
        position += spacing;
      }
      s += segment;
      start = end;
    }
  }

  // A move on the segment from a to b; its orientation is that of an end on the run's pole. The
  // other axis may stand at 0 by chance.
  Move BlendMove(const Move& a, const Move& b, double t, double other) const {
    const auto isOnPole = [this](const Move& move) { return IsZero(move.GetAngle(m_axis)); };
    if (!isOnPole(a) && !isOnPole(b)) return Move(a.HasNoExtended() || b.HasNoExtended());
    return MoveBetween(a, b, t, m_other == 0 ? other : 0, m_other == 1 ? other : 0,
                       isOnPole(a) ? a.GetOrientation() : b.GetOrientation(),
                       m_solver.GetKinematics());
  }

  // The mean slope of the other axis over half the run's length beyond one of its ends.
  struct Slope {
    double length = 0;
    double turned = 0;

    void Add(const Move& earlier, const Move& later, std::int16_t axis,
             const zvRotaryRange& range) {
      length += PartDistance(earlier, later);
      const Jump jump = JumpWithin(range, earlier.GetAngle(axis), later.GetAngle(axis));
      turned += jump.size * jump.sense;
    }
  };

  double Bounded(double slope) const { return BoundedSlope(slope, m_jump.size, m_length); }

  Polynomial FitCubic() const {
    Slope after;
    for (Iterator a = m_last, b = std::next(a); b != m_list.end() && after.length < m_length / 2;
         a = b++) {
      m_list.Poll();
      after.Add(*a, *b, m_other, m_range);
    }
    Slope before;
    for (Iterator b = m_first; b != m_list.begin() && before.length < m_length / 2; --b) {
      m_list.Poll();
      before.Add(*std::prev(b), *b, m_other, m_range);
    }

    const double l = m_length;
    const double jump = m_jump.size;
    // Measured from the run's start on, less the run itself: the rounding of both steps shows in
    // the posted digits.
    const double afterLength = (after.length + l) - l;
    const double ma = afterLength == 0 ? 0 : Bounded(((after.turned + jump) - jump) / afterLength);
    const double mb = before.length == 0 ? 0 : Bounded(before.turned / before.length);
    return HermiteCubic(l, jump, mb, ma);
  }

  List& m_list;
  const zvKDRParam& m_par;
  const zv5axMoveSolver& m_solver;
  Iterator m_first;
  Iterator m_last;
  std::int16_t m_axis;   // stands at 0
  std::int16_t m_other;  // jumps
  zvRotaryRange m_range;
  std::uint32_t m_count;
  double m_start;
  Jump m_jump;
  double m_length = 0;
};

// A run of lines on the first axis' pole in a wound list, whose angle stands but for a turn of
// `m_jump` to the last of them.
class WoundRun {
 public:
  WoundRun(List& list, const zvKDRParam& par, const zv5axMoveSolver& solver,
           const zv5axMoveSolver::PoleCone& cone, Iterator first, Iterator last)
      : m_list(list),
        m_step(par.GetMaxAngleStep()),
        m_solver(solver),
        m_first(first),
        m_last(last),
        m_start(first->GetAngle(0)),
        m_jump(last->GetAngle(0) - m_start),
        m_second(SecondAngleOnPole(solver, cone, first->GetOrientation(), first->GetAngle(1))) {
    misc::zvPolledEnd end(list, first, last);
    for (Iterator move = first; end.IsBefore(move); ++move)
      m_length += PartDistance(*move, *std::next(move));
  }

  bool IsToBeSpread(double maxAngleJump) const {
    return m_jump != 0 && std::fabs(m_jump) <= maxAngleJump && m_length > misc::kEqual;
  }

  void SpreadEvenly() {
    Turn([this](double s) { return m_jump * (s / m_length); }, misc::kNoValue);
  }
  void SpreadOnCubic() {
    const double size = std::fabs(m_jump);
    const Polynomial p = HermiteCubic(m_length, m_jump, BoundedSlope(SlopeBefore(), size, m_length),
                                      BoundedSlope(SlopeAfter(), size, m_length));
    const double spacing = m_step > 0 ? StepOnCurve(m_step, p, m_length) : misc::kNoValue;
    Turn([&p](double s) { return p.Evaluate(s); },
         spacing > misc::kEqual ? spacing : misc::kNoValue);
  }

 private:
  // Turns each line by its arc length, the last as it is, with lines between them that lie no
  // further apart than the spacing. What stands where the last one does has its angle; the last one
  // stays though nothing but its tilt moves to it any more, as it may be a move of the path.
  template <class Curve>
  void Turn(const Curve& curve, double spacing) {
    double s = 0;
    misc::zvPolledEnd end(m_list, m_first, m_last);
    for (Iterator from = m_first; end.IsBefore(from);) {
      const Iterator to = std::next(from);
      const double length = PartDistance(*from, *to);
      const double parts = std::ceil(length / spacing);
      if (!(parts <= misc::kLargestCount)) throw zvPostException(zvPostException::kInvalidVector);
      for (std::uint32_t k = 1; k < parts; ++k) {
        const double t = k / parts;
        m_list.EmplaceWith(to, [&] { return LineBetween(*from, *to, t, curve(s + t * length)); });
      }
      s += length;
      if (to == m_last) break;
      SetAngle(*to, m_start + curve(s));
      from = to;
    }
    const Iterator before = std::prev(m_last);
    if (before == m_first || PartDistance(*before, *m_last) > 0) return;
    SetAngle(*before, m_last->GetAngle(0));
  }

  void SetAngle(Move& move, double deg) const {
    move.SetAngle(deg, 0);
    move.SetAngle(OnPole(move.GetAngle(1)), 1);
    move.SetMachinePosition(m_solver.GetKinematics().MachinePosition(move));
  }

  // Where the tool stands while the free axis turns.
  double OnPole(double second) const {
    if (!m_second) return second;
    return *m_second + misc::kFullTurnDeg * misc::WindsBetween(second, *m_second);
  }

  Move LineBetween(const Move& a, const Move& b, double t, double turned) const {
    const auto unit = [](const Move& move) {
      return move.GetOrientation() / move.GetOrientation().Length();
    };
    const double second = (1 - t) * a.GetAngle(1) + t * b.GetAngle(1);
    Move move =
        MoveBetween(a, b, t, m_start + turned, OnPole(second),
                    ((1 - t) * unit(a) + t * unit(b)).Normalized(), m_solver.GetKinematics());
    if (!move.HasNoExtended()) move.SetSourceIndex(a.GetSourceIndex());
    return move;
  }

  // The mean slopes over half the run's length beyond its ends.
  double SlopeBefore() const {
    double length = 0;
    Iterator a = m_first;
    for (; a != m_list.begin() && length < m_length / 2; --a) {
      m_list.Poll();
      length += PartDistance(*std::prev(a), *a);
    }
    return length > 0 ? (m_start - a->GetAngle(0)) / length : 0;
  }
  double SlopeAfter() const {
    double length = 0;
    Iterator b = m_last;
    for (Iterator c = std::next(b); c != m_list.end() && length < m_length / 2; b = c++) {
      m_list.Poll();
      length += PartDistance(*b, *c);
    }
    return length > 0 ? (b->GetAngle(0) - m_last->GetAngle(0)) / length : 0;
  }

  List& m_list;
  double m_step;
  const zv5axMoveSolver& m_solver;
  Iterator m_first;
  Iterator m_last;
  double m_start;
  double m_jump;
  std::optional<double> m_second;
  double m_length = 0;
};

}  // namespace

std::uint32_t SpreadPoleTurns(List& list, const zvKDRParam& par, const zv5axMoveSolver& solver,
                              const zv5axMoveSolver::PoleCone& cone) {
  if (!BlendsPoles(par)) return 0;
  std::uint32_t spread = 0;
  for (Iterator first = list.begin(); first != list.end();) {
    Iterator last = first;
    Iterator next = std::next(first);
    list.Poll();
    const auto isOnPole = [&](const Move& move) {
      return solver.IsOnFirstPole(move.GetOrientation(), cone);
    };
    if (isOnPole(*first))
      // Both ends of the axis are on the pole; a run keeps to one of them.
      while (next != list.end() && !next->IsRapid() && isOnPole(*next) &&
             Dot(last->GetOrientation(), next->GetOrientation()) > 0) {
        list.Poll();
        last = next++;
      }
    if (first != last) {
      WoundRun run(list, par, solver, cone, first, last);
      if (run.IsToBeSpread(par.GetMaxAngleJump())) {
        if (par.GetPoleHandling() == zvKDRParam::spreadOnCubic)
          run.SpreadOnCubic();
        else
          run.SpreadEvenly();
        ++spread;
      }
    }
    first = next;
  }
  return spread;
}

std::optional<double> SecondAngleOnPole(const zv5axMoveSolver& solver,
                                        const zv5axMoveSolver::PoleCone& cone,
                                        const cadcam::zvTPoint3d<double>& orientation,
                                        double near) {
  const cadcam::zvTPoint3d<double>& axis = solver.GetKinematics().GetFirstWorkingDirection();
  try {
    const zvRotarySolutions solutions =
        solver.SolveAngles({}, Dot(orientation, axis) < 0 ? -axis : axis, cone, 0);
    if (solutions.poleStatus != kOnFirstPole) return std::nullopt;
    const double deg = solutions.first.secondAngle;
    return deg + misc::kFullTurnDeg * misc::WindsBetween(near, deg);
  } catch (const misc::zvException&) {
    return std::nullopt;
  }
}

bool BlendsPoles(const zvKDRParam& par) {
  return par.GetPoleHandling() == zvKDRParam::spreadEvenly ||
         par.GetPoleHandling() == zvKDRParam::spreadOnCubic;
}

std::uint32_t BlendPoles(List& list, const zvKDRParam& par, const Ranges& ranges,
                         const zv5axMoveSolver& solver) {
  if (!BlendsPoles(par)) return 0;
  const bool isCubic = par.GetPoleHandling() == zvKDRParam::spreadOnCubic;
  const zv5axMoveSolver::PoleCone cone = solver.MakePoleCone(par.GetPoleAngleTolerance());
  // Whether turning the axis that isn't at 0 leaves the tool where it is.
  const auto turnsFreely = [&](const Move& move, int axisAtZero) {
    if (axisAtZero == 0) return true;
    // Moves of linear axes hold a marker instead of their orientation.
    return solver.IsOnFirstPole(par.GetInterpolationMode() == 0
                                    ? move.GetOrientation()
                                    : solver.GetKinematics().Orientation(move),
                                cone);
  };

  std::uint32_t blended = 0;
  for (Iterator first = list.begin(); first != list.end();) {
    Iterator next = std::next(first);
    list.Poll();
    // Off the second axis' pole a stretch with the first at 0 is none, and may have one inside.
    for (std::int16_t axis = cone.onSecondPole ? 0 : 1; axis < 2; ++axis) {
      if (IsZero(first->GetAngle(axis))) continue;
      std::uint32_t count = 0;
      bool isPole = true;
      Iterator last = std::next(first);
      for (; last != list.end() && IsZero(last->GetAngle(axis)); ++last) {
        list.Poll();
        ++count;
        isPole = isPole && turnsFreely(*last, axis);
      }
      if (count == 0 || last == list.end()) continue;
      // Found: the walk goes on from the end, whether or not the run is blended.
      next = last;
      Run run(list, par, ranges, solver, first, last, axis, count);
      if (isPole && run.IsToBeBlended())
        blended += isCubic ? run.BlendOnCubic() : run.BlendLinearly();
      break;
    }
    first = next;
  }
  return blended;
}

}  // namespace post
