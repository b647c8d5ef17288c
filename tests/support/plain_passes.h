// Passes in their plain forms: restarts, double loops and explicit shifts in place of what is
// carried along. The tuned ones are held equal to them on random input.
#pragma once

#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/geometry/solution_choice.h>
#include <kandrel/post/model/move_traits.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/intermediate_moves.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <list>
#include <optional>
#include <vector>

namespace tests::plain {

/// Brings each angle within half a turn of the one before, and all later ones with it.
inline void Wind(std::vector<double>& degs) {
  for (std::size_t i = 1; i < degs.size(); ++i) {
    const double d = degs[i] - degs[i - 1];
    const double n = std::trunc((std::fabs(d) - 180) / 360);
    const double turns = d < -180 ? n + 1 : d > 180 ? -n - 1 : 0;
    for (std::size_t j = i; j < degs.size(); ++j) degs[j] += 360 * turns;
  }
}

/// Rewinding over a list in which every shift is added at once to all later moves and every search
/// walks. `Ranges` are {min, max} by axis.
template <class Move, class Machine>
class Rewinder {
 public:
  using Traits = post::zvMoveTraits<Move>;
  using List = std::list<Move>;
  using Node = typename List::iterator;
  static constexpr int kNoLink = 6;

  Rewinder(List& list, const std::vector<std::array<double, 2>>& ranges,
           const post::zvKDRParam& par, const Machine& machine)
      : m_list(list), m_ranges(ranges), m_par(par), m_machine(machine) {}

  int Run() {
    std::vector<bool> mayRewind;
    for (int axis = 0; axis < Traits::kAxes; ++axis) {
      const auto [min, max] = m_ranges[static_cast<std::size_t>(axis)];
      mayRewind.push_back(std::fabs(max - min) >= 360);
      if (mayRewind.back()) continue;
      for (const Move& move : m_list)
        if (Traits::Angle(move, axis) < min || Traits::Angle(move, axis) > max) return 0;
    }
    for (m_axis = 0; m_axis < Traits::kAxes; ++m_axis)
      if (mayRewind[static_cast<std::size_t>(m_axis)]) RunAxis();
    return m_count;
  }

 private:
  double Deg(Node node) const { return Traits::Angle(*node, m_axis); }
  void AddFrom(Node node, double shift) {
    for (; node != m_list.end(); ++node) Traits::SetAngle(*node, m_axis, Deg(node) + shift);
  }
  long Place(Node node) { return std::distance(m_list.begin(), node); }

  void RunAxis() {
    m_min = m_ranges[static_cast<std::size_t>(m_axis)][0];
    m_max = m_ranges[static_cast<std::size_t>(m_axis)][1];
    double shift = 0;
    Node start = m_list.begin();
    Node next = start;
    if (FindExcess(start, next, shift) && shift != 0) {
      AddFrom(start, shift);
      start = next;
    }
    Node previousStart = m_list.begin();
    while (FindExcess(start, next, shift)) {
      const int before = m_count;
      Insert(start, next, previousStart, shift);
      if (m_count == before && Place(next) <= Place(start)) return;
      previousStart = start;
      start = next;
    }
  }

  bool FindExcess(Node start, Node& next, double& shift) {
    bool isOut = false;
    for (Node node = start; node != m_list.end(); ++node)
      isOut = isOut || Deg(node) < m_min || Deg(node) > m_max;
    if (!isOut) return false;
    shift = 0;
    double low = Deg(start);
    double high = low;
    for (next = start; next != m_list.end(); ++next) {
      low = std::min(low, Deg(next));
      high = std::max(high, Deg(next));
      const double s = std::ceil((m_min - low) / 360) * 360;
      if (std::fabs(s) > 1e7 || low + s < m_min - 1e-12 || high + s > m_max + 1e-12) return true;
      shift = s;
    }
    return true;
  }

  void Insert(Node start, Node& next, Node previousStart, double shift) {
    if (std::fabs(shift) < 359.999999999999 || start == m_list.begin()) return;
    const double dir = shift > 0 ? 1 : -1;
    const double asked = shift;
    Node before = std::prev(start);
    Node place;
    bool found = FindPlace(place, before, previousStart, shift);
    while (found) {
      const double q = std::trunc(std::trunc(std::fabs(Deg(place) - Deg(std::next(place)))) / 360);
      const double cut = shift - dir * 360 * (q + (std::fabs(shift) > 360 ? 1 : 0));
      found = cut * dir >= 359.999999999999;
      if (!found) break;
      const auto goesOut = [&](Node node) { return IsOut(Deg(node) + cut); };
      Node last = start;  // the last one that goes out
      for (Node node = place; node != start; ++node)
        if (goesOut(node)) last = node;
      if (last == start) {
        shift = cut;
        before = place;
        break;
      }
      Node at = std::prev(start);
      while (at != last && at->GetType() == kNoLink) --at;
      found = at != last && ByRank(place, at, std::next(last));
    }
    if (!found) {
      if (std::optional<Move> move = MoveAtLimit(*before, *start))
        before = m_list.insert(start, *move);
      while (std::fabs(shift) > 360 && IsOut(Deg(before) + shift)) shift -= dir * 360;
    }
    const Node rest = std::next(before);
    const auto add = [&](Move move, double deg, bool syncs) {
      Traits::SetAngle(move, m_axis, Traits::Angle(move, m_axis) + deg);
      move.SetType(post::zvPostedMove::noLink);
      if (syncs) {
        move.SetPartPosition(m_machine.Kinematics().PartPosition(move));
        move.SetOrientation(m_machine.Kinematics().Orientation(move));
      }
      m_list.insert(rest, move);
    };
    const Move lift = m_machine.Retract(*before);
    add(lift, 0, false);
    if (m_par.GetMaxAngleStep() > 0)
      for (double acc = 0; dir * acc < std::fabs(shift) - m_par.GetLimitTolerance();
           acc += dir * m_par.GetMaxAngleStep())
        add(lift, acc, acc != 0);
    add(lift, shift, true);
    add(*before, shift, true);
    AddFrom(rest, shift);
    ++m_count;
    if (!found && shift == asked) return;
    const auto isBeyond = [&](Node node) {
      return dir < 0 ? Deg(node) >= m_max : Deg(node) <= m_min;
    };
    Node last = next == m_list.end() ? std::prev(next) : next;
    if (found && isBeyond(last)) {
      next = last;
      while (next != previousStart && next != m_list.begin() && isBeyond(std::prev(next))) --next;
    }
    if (Place(next) < Place(start)) return;
    next = std::find_if(start, next,
                        [&](const Move& move) { return IsOut(Traits::Angle(move, m_axis)); });
  }

  bool IsOut(double deg) const { return deg < m_min - 1e-12 || deg > m_max + 1e-12; }

  bool FindPlace(Node& place, Node before, Node previousStart, double shift) {
    if (!(m_max - m_min > 360)) return false;
    Node candidate = before;
    for (bool isFirst = true;; isFirst = false, --candidate) {
      if (candidate == m_list.begin() && !isFirst) break;
      if (candidate == previousStart) return false;
      if (candidate->GetType() != kNoLink) break;
      if (shift > 0 ? Deg(candidate) > m_max - 360 : Deg(candidate) < m_min + 360) return false;
    }
    if (!ByRank(place, candidate, m_list.begin())) return false;
    const double v = Deg(place) + (shift >= 0 ? 360 : -360);
    return v >= m_min - 1e-12 && v <= m_max + 1e-12;
  }

  // The link up to `at`, from its start or from `first`; nothing when `at` lies on none.
  bool ByRank(Node& place, Node at, Node first) {
    if (at->GetType() == kNoLink) return false;
    std::vector<Node> link{at};
    while (link.back() != first && std::prev(link.back())->GetType() != kNoLink)
      link.push_back(std::prev(link.back()));
    for (const int type : {5, 4, 3, 0, 1}) {
      const auto is = [type](Node node) { return node->GetType() == type; };
      const auto nearest = std::find_if(link.begin(), link.end(), is);
      if (nearest == link.end()) continue;
      const bool takesFirst = type < 4 && !is(at);
      place = takesFirst ? *std::find_if(link.rbegin(), link.rend(), is) : *nearest;
      return true;
    }
    return false;
  }

  std::optional<Move> MoveAtLimit(const Move& a, const Move& b) {
    const double from = Traits::Angle(a, m_axis);
    const double to = Traits::Angle(b, m_axis);
    for (const Move* move : {&a, &b})
      for (const double limit : {m_min, m_max})
        if (std::fabs(Traits::Angle(*move, m_axis) - limit) <= 1e-12) return *move;
    const double limit = to > from ? m_max : m_min;
    if (!(std::min(from, to) <= limit && limit <= std::max(from, to))) return std::nullopt;
    Move low = a;
    Move high = b;
    Move result = a;
    for (;;) {
      std::optional<Move> mid = m_machine.Midpoint(low, high, 0);
      if (!mid) {
        result = low;
        break;
      }
      if (!(*mid == low) && *mid == high) {
        result = low;
        break;
      }
      result = *mid;
      const double d = std::remainder(Traits::Angle(*mid, m_axis) - limit, 360.0);
      if (*mid == low || std::fabs(d) <= 9.999999974752427e-7) break;
      ((to > from ? d > 0 : d < 0) ? high : low) = *mid;
    }
    Traits::SetAngle(result, m_axis, limit);
    for (int axis = 0; axis < Traits::kAxes; ++axis) {
      if (axis == m_axis) continue;
      const double otherA = Traits::Angle(a, axis);
      const double otherB = Traits::Angle(b, axis);
      double other = Traits::Angle(result, axis);
      if (std::fabs(otherA - otherB) <= 1e-6) other = otherA;
      const double turns = std::ceil((std::min(otherA, otherB) - other) / 360) * 360;
      if (other + turns <= std::max(otherA, otherB)) other += turns;
      Traits::SetAngle(result, axis, other);
    }
    result.SetMachinePosition(m_machine.Kinematics().MachinePosition(result));
    result.SetOrientation(m_machine.Kinematics().Orientation(result));
    return result;
  }

  List& m_list;
  std::vector<std::array<double, 2>> m_ranges;
  const post::zvKDRParam& m_par;
  const Machine& m_machine;
  int m_axis = 0;
  int m_count = 0;
  double m_min = 0;
  double m_max = 0;
};

/// The moves between two 5-axis moves, from copied lists with a thinning that starts anew after
/// each drop. It counts which of its ways were taken.
class Interpolator {
 public:
  using Move = post::zvPosted5axMove;
  using List = std::list<Move>;

  Interpolator(const post::zv5axMoveSolver& solver, bool smallMoves)
      : m_solver(solver), m_par(solver.GetParameters()), m_smallMoves(smallMoves) {}

  int dropped = 0;
  int emptied = 0;
  int left = 0;
  int refined = 0;
  int chosenAgain = 0;
  int freeTurns = 0;
  int tooDeep = 0;
  int skipped = 0;
  int carried = 0;

  /// `isLeft`: the step to `to` stays large until `to` is chosen again.
  std::optional<List> Between(const Move& from, const Move& to, bool& isLeft, int depth = 0) {
    isLeft = false;
    if (to.IsRapid() && !m_par.GetInterpolateRapidMoves()) return std::nullopt;
    if (depth >= 4) {
      ++tooDeep;
      return std::nullopt;
    }
    if (Skips(from, to)) {
      ++skipped;
      return std::nullopt;
    }
    const int byDistance =
        !m_par.GetInterpolateByDistance() || m_par.GetInterpolationDistance() >= Length(from, to)
            ? 0
            : static_cast<int>(Length(from, to) / m_par.GetInterpolationDistance()) + 1;
    const double angle = from.AngleDistance(to);
    const int byAngle = to.IsRapid() || m_par.GetMaxAngleStep() + 1e-12 >= angle
                            ? 0
                            : static_cast<int>(angle / m_par.GetMaxAngleStep());
    const int n = std::max(byDistance, byAngle);
    if (n == 0 || post::AreOpposite(from.GetOrientation(), to.GetOrientation()))
      return std::nullopt;
    List list = Even(from, to, n);

    list.push_front(from);
    list.push_back(to);
    const bool isMade = IsMade(list, false);
    if (m_par.GetPoleHandling() >= 2 && !isMade && IsOnFirstPole(from) && !TurnsBesides(from, to) &&
        !IsMade(list, true)) {
      ++freeTurns;
      return List{};
    }
    bool isChanged = false;
    for (auto b = std::next(list.begin()); std::next(b) != list.end(); ++b) {
      const Move a = *std::prev(b);
      if (isChanged) isChanged = ChooseAgain(a, *b);
      if (IsWithinStep(a, *b)) continue;
      List more = Rounds(a, *b, isChanged, depth);
      list.splice(b, more);
    }
    const auto end = std::prev(list.end());
    const Move last = *std::prev(end);
    if (!IsWithinStep(last, to)) {
      isLeft = Turn(last, to) >= std::max(m_par.GetMaxAngleStep() - 1e-12, Turn(from, to) - 1e-6);
      left += isLeft;
      if (!isLeft)
        if (auto more = Between(last, to, isLeft, depth + 1)) list.splice(end, *more);
    }
    if (!isMade && (!IsMade(list, isLeft) || TurnsAtOnce(list, isLeft))) {
      ++emptied;
      isLeft = false;
      return List{};
    }
    refined += !isMade;
    if (depth == 0) Thin(list);
    if (list.size() < 3) return List{};
    list.pop_front();
    list.pop_back();
    return list;
  }

 private:
  static double Circular(double a, double b) { return std::fabs(std::remainder(a - b, 360.0)); }
  static double Length(const Move& a, const Move& b) {
    return (a.GetPartPosition() - b.GetPartPosition()).Length();
  }
  static double Turn(const Move& a, const Move& b) {
    double turn = 0;
    if (a.GetPoleStatus() != 1 && b.GetPoleStatus() != 1)
      turn = Circular(a.GetAngle(0), b.GetAngle(0));
    if (a.GetPoleStatus() != 2 && b.GetPoleStatus() != 2)
      turn = std::max(turn, Circular(a.GetAngle(1), b.GetAngle(1)));
    return turn;
  }

  bool IsWithinStep(const Move& a, const Move& b) const {
    return Turn(a, b) < m_par.GetMaxAngleStep() - 1e-12 &&
           (!m_par.GetInterpolateByDistance() ||
            Length(a, b) < m_par.GetInterpolationDistance() - 1e-12);
  }

  bool Skips(const Move& a, const Move& b) const {
    if (m_par.GetInterpolateByDistance() && m_par.GetInterpolationDistance() < Length(a, b))
      return false;
    const double excess = Turn(a, b) - m_par.GetMaxAngleStep();
    return (a.GetPoleStatus() != 0 || b.GetPoleStatus() != 0) && excess > 0 &&
           excess < m_par.GetPoleAngleTolerance() - 1e-12;
  }

  cadcam::zv5axMove Source(const Move& move) const {
    const cadcam::zvCNCMove base(move.GetPartPosition(), move.GetOrientation(), move.GetFeed(),
                                 move.IsRapid());
    if (m_smallMoves) return {base, {}, {}, 0, false};
    return {base, move.GetExtendedPoint(), move.GetExtendedVector(), move.GetExtendedId(),
            move.HasExtendedData()};
  }

  List Even(const Move& from, const Move& to, int n) {
    List list;
    double t = 0;
    for (int k = 0; k < n; ++k) {
      t += 1.0 / (n + 1);
      cadcam::zv5axMove blend = Interpolate(1 - t, Source(from), t, Source(to));
      if (from.GetType() != to.GetType()) blend.SetFeed(to.GetFeed());
      const Move& previous = list.empty() ? from : list.back();
      const post::zvRotarySolutions both =
          m_solver.SolveAngles(blend.GetPosition(), blend.GetOrientation(), m_solver.MakePoleCone(),
                               previous.GetAngle(0));
      const bool isMirror =
          post::TakesMirrorNext(previous.GetAngle(0), previous.GetAngle(1), both, m_par, m_solver);
      const post::zvRotarySolution& solution = both.Of(isMirror);
      Move move(m_smallMoves);
      move.SetMachinePosition(solution.position);
      move.SetPartPosition(blend.GetPosition());
      move.SetOrientation(blend.GetOrientation());
      move.SetAngle(solution.firstAngle, 0);
      move.SetAngle(solution.secondAngle, 1);
      move.SetPoleStatus(both.poleStatus);
      move.SetFeed(blend.GetFeed());
      move.SetRapid(blend.IsRapid());
      move.SetType(to.GetType());
      if (!m_smallMoves) {
        move.SetExtendedPoint(blend.GetExtendedPoint());
        move.SetExtendedVector(blend.GetExtendedVector());
        move.SetExtendedId(blend.GetExtendedId());
        move.SetHasExtendedData(blend.HasExtendedData());
        move.SetSourceIndex(from.GetSourceIndex());
        move.SetInserted(true);
      }
      const std::uint32_t status = move.GetPoleStatus();
      if (status != 0 && from.GetPoleStatus() != status && to.GetPoleStatus() != status) {
        const auto axis = static_cast<std::int16_t>(status - 1);
        const bool isSame = std::fabs(from.GetAngle(axis) - to.GetAngle(axis)) <= 1e-6;
        move.SetAngle((isSame ? from : previous).GetAngle(axis), axis);
        ++carried;
      }
      list.push_back(move);
    }
    return list;
  }

  // The moves before `b`, which is chosen again as long as that helps.
  List Rounds(const Move& a, Move& b, bool& isChanged, int depth) {
    const double whole = Turn(a, b);
    List made{a};
    for (int round = 0; round < 4 && !IsWithinStep(made.back(), b); ++round) {
      bool isLeft = false;
      auto more = Between(made.back(), b, isLeft, depth + 1);
      if (!more || more->empty()) break;
      made.splice(made.end(), *more);
      if (IsWithinStep(made.back(), b)) break;
      const bool isOther = ChooseAgain(made.back(), b);
      isChanged = isChanged || isOther;
      if (!isOther && !isLeft) break;
    }
    if (made.size() > 1 && !IsWithinStep(made.back(), b) && Turn(made.back(), b) >= whole - 1e-6) {
      made.erase(std::next(made.begin()), made.end());
      isChanged = ChooseAgain(a, b) || isChanged;
    }
    made.pop_front();
    return made;
  }

  bool ChooseAgain(const Move& previous, Move& move) {
    Move old = move;
    if (move.GetPoleStatus() != 0) {
      const auto axis = static_cast<std::int16_t>(move.GetPoleStatus() - 1);
      move.SetAngle(previous.GetAngle(axis), axis);
    } else {
      const post::zvRotarySolutions both =
          m_solver.SolveAngles(move.GetPartPosition(), move.GetOrientation(),
                               m_solver.MakePoleCone(), previous.GetAngle(0));
      const post::zvRotarySolution& solution = both.Of(
          post::TakesMirrorNext(previous.GetAngle(0), previous.GetAngle(1), both, m_par, m_solver));
      move.SetAngle(solution.firstAngle, 0);
      move.SetAngle(solution.secondAngle, 1);
      move.SetMachinePosition(solution.position);
    }
    const bool isOther = old.GetAngle(0) != move.GetAngle(0) || old.GetAngle(1) != move.GetAngle(1);
    chosenAgain += isOther;
    return isOther;
  }

  bool IsOnFirstPole(const Move& move) const {
    if (move.GetPoleStatus() != 0) return false;
    const auto both = m_solver.SolveAngles({}, move.GetOrientation(), m_solver.MakePoleCone(), 0);
    return both.poleStatus == 1;
  }
  static double SecondTurn(const Move& a, const Move& b) {
    return Circular(a.GetAngle(1), b.GetAngle(1));
  }
  bool TurnsBesides(const Move& from, const Move& to) const {
    return SecondTurn(from, to) >= m_par.GetMaxAngleStep();
  }
  bool IsMade(const List& list, bool leavesLastOut) const {
    double turn = 0;
    double turnOffPole = 0;
    double length = 0;
    for (auto b = std::next(list.begin()); b != list.end(); ++b) {
      const Move& a = *std::prev(b);
      length = std::max(length, Length(a, *b));
      if (leavesLastOut && std::next(b) == list.end() && list.size() > 2) continue;
      const bool isFirst = std::prev(b) == list.begin();
      turn = std::max(turn, Turn(a, *b));
      turnOffPole = std::max(turnOffPole, isFirst ? SecondTurn(a, *b) : Turn(a, *b));
    }
    const Move& from = list.front();
    const Move& to = list.back();
    return turn < Turn(from, to) - 1e-6 ||
           (IsOnFirstPole(from) && TurnsBesides(from, to) &&
            turnOffPole < SecondTurn(from, to) - 1e-6) ||
           (m_par.GetInterpolateByDistance() && std::fabs(length - Length(from, to)) > 1e-6);
  }
  // On a pole that the list crosses.
  static bool TurnsAtOnce(const List& list, bool leavesLastOut) {
    const double whole = Turn(list.front(), list.back());
    for (auto b = std::next(list.begin()); b != list.end(); ++b) {
      const Move& a = *std::prev(b);
      if (leavesLastOut && std::next(b) == list.end()) break;
      if ((a.GetPoleStatus() != 0 || b->GetPoleStatus() != 0) &&
          std::fabs(a.AngleDistance(*b) - whole) <= 1e-6)
        return true;
    }
    return false;
  }

  void Thin(List& list) {
    auto anchor = list.begin();
    for (auto candidate = std::next(anchor); std::next(candidate) != list.end();) {
      if (IsWithinStep(*anchor, *candidate) && IsWithinStep(*anchor, *std::next(candidate))) {
        list.erase(candidate);
        ++dropped;
        anchor = list.begin();
      } else {
        anchor = candidate;
      }
      candidate = std::next(anchor);
    }
    for (auto move = std::next(list.begin()); std::next(move) != list.end(); ++move)
      m_solver.FixPoleAngle(*std::prev(move), *move);
  }

  const post::zv5axMoveSolver& m_solver;
  const post::zvKDRParam& m_par;
  bool m_smallMoves;
};

}  // namespace tests::plain
