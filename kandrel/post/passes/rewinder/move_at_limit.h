// The move at which a rotary axis reaches its limit.
#pragma once

#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/move_traits.h>
#include <kandrel/post/model/post_exception.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace post {

/// What a search between two neighbours has found.
template <class Move>
struct zvLimitMove {
  /// How the move at the limit came about.
  enum class Kind {
    kNotBetween,  // the limit doesn't lie between the two
    kFound,       // `move` reaches it by itself, or is a copy of one of the two
    kForced,      // `move` stands where turning the axis to the limit leaves the tool: on its pole,
                  // and where the arc cosine's snap makes the angle leap
    kLeap,        // the angle leaps over it: at the limit the tool would point elsewhere
  };
  Kind kind = Kind::kNotBetween;
  std::optional<Move> move;
};

/// Finds the move between `a` and `b` at which the angle of `axis` stands exactly at the limit
/// towards which the step runs, by halving the step with machine.Midpoint; `a` or `b` itself where
/// it stands there. Its tip lies on the step, machine position and orientation are those of its
/// angles, and it is rapid as the step is. For `Machine` see zvRewinder. Throws zvPostException
/// 5051 when the halving comes to no end, and what Midpoint throws.
template <class Move, class Machine>
class zvLimitMoveFinder {
 public:
  using Traits = zvMoveTraits<Move>;
  using Result = zvLimitMove<Move>;

  /// Refers to the machine; the range is copied, in degrees.
  zvLimitMoveFinder(const Machine& machine, int axis, const zvRotaryRange& range, bool smallMoves)
      : m_machine(machine), m_axis(axis), m_range(range), m_smallMoves(smallMoves) {}

  /// The move at the limit between two neighbours of the list.
  Result Find(const Move& a, const Move& b) const {
    for (const Move* end : {&a, &b}) {
      const double deg = Traits::Angle(*end, m_axis);
      if (!(std::fabs(deg - m_range.max) <= misc::kEqual ||
            std::fabs(deg - m_range.min) <= misc::kEqual))
        continue;
      Result result{Kind::kFound, *end};
      if (!m_smallMoves && !end->HasNoExtended()) result.move->SetInserted(true);
      return result;
    }
    const double from = Traits::Angle(a, m_axis);
    const double to = Traits::Angle(b, m_axis);
    const bool isUpward = to > from;
    const double target = isUpward ? m_range.max : m_range.min;
    if (!(std::min(from, to) <= target && target <= std::max(from, to))) return {};

    Result result = Halve(a, b, target, isUpward);
    if (result.move) Settle(result, a, b, target);
    return result;
  }

 private:
  using Kind = typename Result::Kind;

  Result Halve(const Move& a, const Move& b, double target, bool isUpward) const {
    const double poleTolerance = misc::AsinSqrt(misc::kPoleOfHalvingSquared);
    Move low = a;
    Move high = b;
    for (int count = 0; count <= 2048; ++count) {
      std::optional<Move> middle = m_machine.Midpoint(low, high, poleTolerance);
      // At its pole the axis stands as well at the limit as anywhere.
      if (middle && Traits::IsAtPoleOf(*middle, m_axis)) return {Kind::kForced, std::move(middle)};
      // Nothing changes any more: the angle leaps here, from one of the two to the other.
      const bool isLow = middle && *middle == low;
      if (!middle || isLow || *middle == high) {
        if (!KeepsTool(low, target)) return {Kind::kLeap, std::nullopt};
        return {Kind::kForced, isLow ? std::move(middle) : std::move(low)};
      }
      const double d = std::remainder(Traits::Angle(*middle, m_axis) - target, misc::kFullTurnDeg);
      if (std::fabs(d) <= misc::kRotaryLimitHit) return {Kind::kFound, std::move(middle)};
      const bool hasPassed = isUpward ? d > 0 : d < 0;
      (hasPassed ? high : low) = std::move(*middle);
    }
    throw zvPostException(zvPostException::kNoFirstMoveOfRewinding);
  }

  // Whether the tool stays as it is when the axis turns to `deg`: beside a pole, and where the arc
  // cosine's snap makes the leap. It doesn't where the machine changes to its mirror solution.
  bool KeepsTool(const Move& move, double deg) const {
    Move turned = move;
    Traits::SetAngle(turned, m_axis, deg);
    const auto dir_tool = m_machine.Kinematics().Orientation(move);
    const auto difference = m_machine.Kinematics().Orientation(turned) - dir_tool;
    return Dot(difference, difference) <= 2 * misc::kArcCosineSnap * Dot(dir_tool, dir_tool);
  }

  void Settle(Result& result, const Move& a, const Move& b, double target) const {
    Move& move = *result.move;
    Traits::SetAngle(move, m_axis, target);
    for (int axis = 0; axis < Traits::kAxes; ++axis) {
      if (axis == m_axis) continue;
      const double otherA = Traits::Angle(a, axis);
      const double otherB = Traits::Angle(b, axis);
      double other = Traits::Angle(move, axis);
      // Where the axis was forced the tool stays only at the other angle as it was solved.
      const bool isFree =
          result.kind == Kind::kFound || misc::CircularDistance(other, otherA) <= misc::kSameStep;
      if (isFree && std::fabs(otherA - otherB) <= misc::kSameStep) other = otherA;
      // A solved angle comes without its whole turns, and a mirrored one from the far side: it is
      // brought within half a turn of a's, be that between the two or not, so that the way on from
      // a stays short.
      other += misc::kFullTurnDeg * misc::WindsBetween(otherA, other);
      Traits::SetAngle(move, axis, other);
    }
    // A forced angle is determined.
    Traits::LeavePole(move);
    // The forced angles move the tip unless the linear axes follow, and turn the tool, along which
    // the lift goes: far where the step runs from one solution to the other.
    move.SetMachinePosition(m_machine.Kinematics().MachinePosition(move));
    move.SetOrientation(m_machine.Kinematics().Orientation(move));
    move.SetRapid(b.IsRapid());
    if (m_smallMoves || move.HasNoExtended()) return;
    if (!a.HasNoExtended()) move.SetSourceIndex(a.GetSourceIndex());
    move.SetInserted(true);
  }

  const Machine& m_machine;
  int m_axis;
  zvRotaryRange m_range;
  bool m_smallMoves;
};

}  // namespace post
