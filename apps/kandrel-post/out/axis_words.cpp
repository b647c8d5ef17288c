#include "kandrel-post/out/axis_words.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

namespace kandrel_post {

namespace {

constexpr std::size_t kLongestWord = 16;

char Capital(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool AreOneWord(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char left, char right) { return Capital(left) == Capital(right); });
}

bool IsWord(std::string_view name) {
  constexpr std::string_view kNcWords = "DFGMNOST";
  const bool isLetters = std::all_of(name.begin(), name.end(),
                                     [](char c) { return Capital(c) >= 'A' && Capital(c) <= 'Z'; });
  const bool isTaken =
      name.size() == 1 && kNcWords.find(Capital(name[0])) != std::string_view::npos;
  return !name.empty() && name.size() <= kLongestWord && isLetters && !isTaken;
}

std::ptrdiff_t CountOf(const std::vector<std::string>& words, std::string_view word) {
  return std::count_if(words.begin(), words.end(),
                       [&](const std::string& other) { return AreOneWord(other, word); });
}

}  // namespace

AxisWords AxisWordsOf(const std::vector<std::string>& names) {
  AxisWords result{names, {}};
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (IsWord(names[i]) && CountOf(names, names[i]) == 1) continue;
    result.words[i] = kDefaultAxisNames[i];
    result.comments.push_back(fmt::format("AXIS {} HAS NO NAME THAT CAN STAND HERE. ITS WORD IS {}",
                                          i + 1, result.words[i]));
  }
  const bool areDifferent =
      std::all_of(result.words.begin(), result.words.end(),
                  [&](const std::string& word) { return CountOf(result.words, word) == 1; });
  if (areDifferent) return result;
  for (std::size_t i = 0; i < names.size(); ++i) result.words[i] = kDefaultAxisNames[i];
  result.comments = {"NOT ALL NAMES OF AXES CAN STAND HERE. ALL AXES HAVE THEIR DEFAULT LETTERS"};
  return result;
}

}  // namespace kandrel_post
