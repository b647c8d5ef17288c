// Where in a link a rewinding goes best.
#pragma once

#include <kandrel/misc/progress.h>
#include <kandrel/post/model/posted_move.h>

#include <array>
#include <cstddef>
#include <optional>

namespace post {

/// The best move for a rewinding in the link that ends at `at` and reaches back to its start or to
/// `first`. Link types by their rank: 5, 4, 3, 0, 1; type 2 is never taken. Of 5 and 4 it is the
/// nearest before `at`, of the others the first of the link, and `at` itself where it is of the
/// type. Nothing where none is of them, or `at` lies on no link. One walk back.
template <class Iterator>
std::optional<Iterator> FindLinkByRank(Iterator at, Iterator first,
                                       misc::zvPolling* polling = nullptr) {
  using Types = zvPostedMove::Types;
  std::array<std::optional<Iterator>, Types::noLink + 1> found;
  const auto own = at->GetType();
  for (Iterator move = at; move->GetType() != Types::noLink; --move) {
    std::optional<Iterator>& best = found[static_cast<std::size_t>(move->GetType())];
    const bool takesNearest = move->GetType() >= Types::link4 || move->GetType() == own;
    if (!best || !takesNearest) best = move;
    if (move == first) break;
    if (polling != nullptr) polling->Touch(1);
  }
  for (const Types type : {Types::link5, Types::link4, Types::link3, Types::link0, Types::link1})
    if (found[type]) return found[type];
  return std::nullopt;
}

}  // namespace post
