// The words by which NC text calls the axes of a machine.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace kandrel_post {

/// The names of axes that have none: X, Y, Z and the rotary axes.
inline constexpr std::array<std::string_view, 6> kDefaultAxisNames{"X", "Y", "Z", "A", "B", "C"};

struct AxisWords {
  std::vector<std::string> words;     ///< one for each axis, all different
  std::vector<std::string> comments;  ///< where words are other than the names; mostly none
};

/// `names` are any texts, one for each axis, six at most. A name stands as it is when it is 1 to 16
/// letters, no word of NC text itself (D, F, G, M, N, O, S, T) and no other axis' name; a control
/// takes small letters for capitals, and so does this. Else the axis takes its default name, and
/// where that is the name of another, all axes take theirs.
AxisWords AxisWordsOf(const std::vector<std::string>& names);

}  // namespace kandrel_post
