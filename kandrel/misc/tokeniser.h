// zvTokeniser: the parts of a line between delimiters.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace misc {

/// Splits a text at a delimiter. Between two quotes a delimiter is a character like others; the
/// quotes themselves are dropped, wherever they stand, and a missing second one counts as being at
/// the end. Empty tokens are dropped; nothing is trimmed.
///
/// The text is the caller's and outlives the object.
template <class Character>
class zvTokeniser {
 public:
  using View = std::basic_string_view<Character>;

  /// Splits `text`, which must outlive the tokeniser, at each `delimiter` that doesn't stand
  /// between two `quote`.
  zvTokeniser(View text, Character delimiter, Character quote)
      : m_rest(text), m_delimiter(delimiter), m_quote(quote) {}

  /// Gives the next token, which is valid until the next call; false behind the last one.
  bool Next(View& token) {
    do {
      std::size_t length = 0;
      while (length < m_rest.size() && m_rest[length] == m_delimiter) ++length;
      m_rest.remove_prefix(length);
      if (m_rest.empty()) return false;
      length = 0;
      while (length < m_rest.size() && m_rest[length] != m_delimiter && m_rest[length] != m_quote)
        ++length;
      const bool isPlain = length == m_rest.size() || m_rest[length] == m_delimiter;
      token = isPlain ? Take(length) : Joined();
    } while (token.empty());
    return true;
  }

  /// What stands behind the token given last.
  View GetRest() const noexcept { return m_rest; }

 private:
  View Take(std::size_t length) {
    const View taken = m_rest.substr(0, length);
    m_rest.remove_prefix(length);
    return taken;
  }

  // A token with quotes in it, put together without them.
  View Joined() {
    m_joined.clear();
    bool isQuoted = false;
    for (; !m_rest.empty(); m_rest.remove_prefix(1)) {
      const Character c = m_rest.front();
      if (c == m_quote)
        isQuoted = !isQuoted;
      else if (c == m_delimiter && !isQuoted)
        break;
      else
        m_joined += c;
    }
    return m_joined;
  }

  View m_rest;
  Character m_delimiter;
  Character m_quote;
  std::basic_string<Character> m_joined;
};

/// All tokens of a list.
template <class Character>
std::vector<std::basic_string<Character>> Tokens(std::basic_string_view<Character> text,
                                                 Character delimiter, Character quote) {
  std::vector<std::basic_string<Character>> tokens;
  zvTokeniser<Character> tokeniser(text, delimiter, quote);
  for (std::basic_string_view<Character> token; tokeniser.Next(token);) tokens.emplace_back(token);
  return tokens;
}

}  // namespace misc
