// Passes in their plain forms: restarts, double loops and explicit shifts in place of what is
// carried along. The tuned ones are held equal to them on random input.
#pragma once

#include <kandrel/post/model/move_traits.h>
#include <kandrel/post/model/posting_parameters.h>

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

}  // namespace tests::plain
