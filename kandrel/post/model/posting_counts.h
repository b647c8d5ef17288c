// zvPostingCounts: what a posting did beyond solving its moves.
#pragma once

#include <cstdint>

namespace post {

/// Places in a list where a pass has put moves in; all 0 for a path that needed none.
struct zvPostingCounts {
  /// Stretches on a pole over which a jump was spread. Not how many poles a path crosses: most are
  /// crossed without a jump, and the status of their moves is 0 in a finished list. A host finds
  /// them by the orientations of posted moves: on a pole of the first rotary axis they lie within
  /// the pole tolerance of its direction. docs/guides/own-host.md has the rule.
  std::uint32_t blendedPoles = 0;
  /// Turns above maxAngleJump, and changes of solution below it, made off the part.
  std::uint32_t largeJumps = 0;
  /// Places where a rotary axis was turned back by whole turns.
  std::uint32_t rewindings = 0;
  /// Lifts to the limits (retractToLimits) that came out shorter than retractDistance: the tool may
  /// swing close to the part there.
  std::uint32_t shortLifts = 0;
};

}  // namespace post
