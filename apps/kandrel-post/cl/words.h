// The vocabulary of CL text: words, numbers and what they stand for.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kandrel_post {

/// A statement taken apart: the word before the slash, what follows, and how it is shown.
struct ClWord {
  std::string key;             ///< in upper case and without blanks; empty when it is no word
  std::string shown;           ///< in upper case, as the summary counts it
  std::string_view head;       ///< everything before the slash
  std::string_view arguments;  ///< everything after it, or after the first blank without one
  bool hasSlash = false;
};

/// The views of the word are parts of `statement`.
ClWord TakeApart(std::string_view statement);

/// What follows a word's slash, read from left to right. Blanks are free between its parts.
class ClArguments {
 public:
  enum Result { kNumber, kNoNumber, kOutOfRange };

  explicit ClArguments(std::string_view text)
      : m_from(text.data()), m_to(text.data() + text.size()) {}

  /// Reads a number in any usual form: +1.5, .5, 5., 1E-3. Infinity and NaN are no numbers.
  Result Number(double& value);
  /// Reads letters, digits and signs up to a comma, in upper case; empty when there are none.
  std::string Word();
  /// True when a comma was there.
  bool SkipComma();
  bool AtEnd();

 private:
  void SkipBlanks() {
    while (m_from != m_to && (*m_from == ' ' || *m_from == '\t')) ++m_from;
  }

  const char* m_from;
  const char* m_to;
};

struct LinkDirective {
  enum Kind { kNone, kLink, kBad };
  Kind kind = kNone;
  std::uint32_t type = 0;
};

/// Reads the comment `LINK n`; any other comment, also one that only begins so, is none.
LinkDirective ReadLinkDirective(std::string_view comment);

/// True for `GOTO` followed by a slash: the test that nearly every line of a text takes.
bool StartsWithGoto(std::string_view statement);

/// The first word of a statement that moves the tool, or the coordinates that follow, in a way
/// that isn't understood here; empty if there is none.
std::string FindMovingWord(const ClWord& word);

bool EqualsIgnoringCase(std::string_view text, std::string_view upperCase);
bool IsMetricWord(std::string_view word);
bool IsInchWord(std::string_view word);
/// Per minute, in the text's own units.
bool IsFeedPerMinute(std::string_view word);
bool IsFeedPerRevolution(std::string_view word);

}  // namespace kandrel_post
