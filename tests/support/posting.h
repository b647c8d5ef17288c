// What an action comes to: the error that it ends with, or the lines that it has posted.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <kandrel/post/model/posting_counts.h>
#include <tests/support/numbers.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace tests {

/// How a posting ended, and the list that it has left.
template <class Move>
struct Posting {
  std::uint32_t id = 0;  // 0 for a posting without error
  std::vector<Move> lines;
  post::zvPostingCounts counts;  // none of 3 axes

  friend bool operator==(const Posting& a, const Posting& b) {
    return a.id == b.id && a.lines == b.lines;
  }
};

/// Copies the lines, as a creator empties its list when it dies.
template <class Creator>
Posting<typename Creator::Move> Post(Creator& creator, const cadcam::zvToolPath& path,
                                     bool smallMoves = false) {
  Posting<typename Creator::Move> outcome;
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
}

}  // namespace tests
