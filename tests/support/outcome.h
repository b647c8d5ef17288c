<<<<<<< HEAD
// Postings and what they end in, as plain values.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_counts.h>
#include <tests/support/laws.h>

#include <cstdint>
#include <type_traits>

namespace tests {

template <class Move>
Line LineOf(const Move& move) {
  Line line{move.GetMachinePosition(), move.GetPartPosition(), move.GetOrientation()};
  if constexpr (requires { move.GetRotaryAngle(); }) {
    line.degs = {move.GetRotaryAngle()};
  } else if constexpr (requires { move.GetAngle(0); }) {
    line.degs = {move.GetAngle(0), move.GetAngle(1)};
    if constexpr (std::is_same_v<Move, post::zvPosted6axMove>)
      line.degs.push_back(move.GetAngle(2));
    line.poleStatus = move.GetPoleStatus();
  }
  line.feed = move.GetFeed();
  line.time = move.GetMoveTime();
  line.type = move.GetType();
  line.rapid = move.IsRapid();
  line.isSmall = move.HasNoExtended();
  if (line.isSmall) return line;
  line.inserted = move.IsInserted();
  line.source = move.GetSourceIndex();
  const Point &p = move.GetExtendedPoint(), &v = move.GetExtendedVector();
  if (move.HasExtendedData())
    line.extended = {p.x, p.y, p.z, v.x, v.y, v.z, 1.0 * move.GetExtendedId()};
  return line;
}

template <class List>
Lines LinesOf(const List& list) {
  Lines lines;
  for (const auto& move : list) lines.push_back(LineOf(move));
  return lines;
}

/// What a posting ends in.
struct Outcome {
  std::uint32_t id = 0;  ///< of its error; 0 for none
  Lines lines{};         ///< as they stand in its list, after an error too
  post::zvPostingCounts counts{};
  post::zvKDRParam::SolutionIndex index = post::zvKDRParam::firstSolution;  ///< as it stays
};

template <class Creator>
Outcome PostBy(Creator& creator, const cadcam::zvToolPath& path, bool small = false) {
  Outcome outcome;
  try {
    creator.Post(path, small);
  } catch (const misc::zvException& e) {
    outcome.id = static_cast<std::uint32_t>(e.GetId());
  }
  if (creator.GetPostedList()) outcome.lines = LinesOf(*creator.GetPostedList());
  if constexpr (requires { creator.GetCounts(); }) outcome.counts = creator.GetCounts();
  outcome.index = creator.GetPar().GetFirstMoveSolutionIndex();
  return outcome;
}
template <class AnyScene>
auto CreatorOf(const AnyScene& scene) {
  if constexpr (requires { scene.SixAxisCreator(); })
    return scene.SixAxisCreator();
  else
    return scene.Creator();
}
template <class AnyScene>
Outcome Post(const AnyScene& scene, const PathBuilder& path, bool small = false) {
  auto creator = CreatorOf(scene);
  return PostBy(creator, path, small);
}
template <class AnyScene>
Outcome Post(const AnyScene& scene, const Source& source, bool small = false) {
  return Post(scene, Build(source), small);
=======
// What an action comes to: the error that it ends with, or the lines that it has posted.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/exception.h>
#include <kandrel/post/model/posting_counts.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace tests {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// In the place of the id of "Accessing NULL pointer", which has none.
inline constexpr std::uint32_t kNullPointer = 1;

/// The id of what `action` throws, 0 for nothing.
template <class Action>
std::uint32_t IdOf(Action&& action) {
  try {
    action();
  } catch (const misc::zvException& e) {
    return e.GetId() == 0 ? kNullPointer : e.GetId();
  }
  return 0;
}

/// How a posting ended, and the list that it has left.
template <class Move>
struct Outcome {
  std::uint32_t id = 0;  // 0 for a posting without error
  std::vector<Move> lines;
  post::zvPostingCounts counts;  // none of 3 axes

  friend bool operator==(const Outcome& a, const Outcome& b) {
    return a.id == b.id && a.lines == b.lines;
  }
};

/// Copies the lines, as a creator empties its list when it dies.
template <class Creator>
Outcome<typename Creator::Move> Post(Creator& creator, const cadcam::zvToolPath& path,
                                     bool smallMoves = false) {
  Outcome<typename Creator::Move> outcome;
  outcome.id = IdOf([&] { creator.Post(path, smallMoves); });
  if (const auto& list = creator.GetPostedList()) outcome.lines.assign(list->begin(), list->end());
  if constexpr (requires { creator.GetCounts(); }) outcome.counts = creator.GetCounts();
  return outcome;
}

/// Posts with the creator that `scene` makes.
template <class Scene>
auto PostAnew(const Scene& scene, const cadcam::zvToolPath& path, bool smallMoves = false) {
  auto creator = scene.Creator();
  return Post(creator, path, smallMoves);
>>>>>>> w/t_creators
}

}  // namespace tests
