#include <kandrel/cadcam/stl/parser_commands.h>
#include <kandrel/cadcam/stl_parser_exception.h>
#include <kandrel/misc/tokeniser.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <system_error>

namespace cadcam {

namespace {

using Id = zvSTLParserException::Id;

void Require(bool holds, Id id, int number) {
  if (!holds) throw zvSTLParserException(id, nullptr, number);
}

auto TokensOf(std::string_view line) {
  return misc::zvTokeniser<char>(line, ' ', '"');
}

std::size_t CountTokens(std::string_view line) {
  std::size_t count = 0;
  auto tokens = TokensOf(line);
  for (std::string_view token; tokens.Next(token);) ++count;
  return count;
}

void SkipBlanks(std::string_view& text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
}

// Three numbers with blanks around them and nothing else. What looks otherwise may be three tokens
// all the same, with quotes or a plus in them.
template <class T>
bool ReadPlainPoint(std::string_view text, zvTPoint3d<T>& point) {
  for (T* value : {&point.x, &point.y, &point.z}) {
    SkipBlanks(text);
    const auto result = std::from_chars(text.data(), text.data() + text.size(), *value);
    if (result.ec != std::errc()) return false;
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    if (!text.empty() && text.front() != ' ') return false;
  }
  SkipBlanks(text);
  return text.empty();
}

// Three numbers behind so many words and nothing behind them. They are tried in place first: nearly
// all lines are plain, and to look for the ends of tokens takes as long as to read numbers.
template <class T>
bool ReadPoint(std::string_view line, std::size_t words, zvTPoint3d<T>& point) {
  auto tokens = TokensOf(line);
  std::string_view token;
  while (words-- > 0)
    if (!tokens.Next(token)) return false;
  if (ReadPlainPoint(tokens.GetRest(), point)) return true;
  for (T* value : {&point.x, &point.y, &point.z})
    if (!tokens.Next(token) || !ReadSTLNumber(token, *value)) return false;
  return !tokens.Next(token);
}

template <class T>
bool IsAllFinite(const zvTPoint3d<T>& p) {
  return p.x * 0 + p.y * 0 + p.z * 0 == 0;  // infinity and NaN give NaN
}

// The three commands that close something, under both their names: `words` are those of the name.
template <class T>
void EndLoop(zvSTLFile<T>& file, std::string_view line, std::size_t words, int number) {
  Require(CountTokens(line) <= words, Id::kWrongEndLoop, number);
  Require(file.EndLoop(), Id::kInvalidSyntax, number);
}

template <class T>
void EndFacet(zvSTLFile<T>& file, std::string_view line, std::size_t words, int number) {
  Require(CountTokens(line) <= words, Id::kWrongEndFacet, number);
  Require(file.EndFacet(), Id::kInvalidSyntax, number);
}

template <class T>
void EndSolid(zvSTLFile<T>& file, int number) {
  Require(file.EndSolid(), Id::kInvalidSyntax, number);
}

// Without the blanks and tabs around it, in capitals, whatever the locale.
std::string TrimmedCapitals(std::string_view word) {
  const std::size_t first = word.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  std::string capitals(word.substr(first, word.find_last_not_of(" \t") - first + 1));
  for (char& c : capitals)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return capitals;
}

// Of a number outside the range of its type: whether it is too small rather than too large, by the
// place of its first digit in front of or behind the point.
bool IsTooSmall(std::string_view text) {
  const std::size_t mark = text.find_first_of("eE");
  const std::string_view digits = text.substr(0, mark);
  const auto first = static_cast<std::ptrdiff_t>(digits.find_first_of("123456789"));
  const auto point = static_cast<std::ptrdiff_t>(std::min(digits.find('.'), digits.size()));
  const std::ptrdiff_t place = point > first ? point - first : point - first + 1;
  if (mark == std::string_view::npos) return place <= 0;
  const bool isNegative = text[mark + 1] == '-';
  const std::size_t start = mark + (isNegative || text[mark + 1] == '+' ? 2 : 1);
  std::int64_t exponent = 0;
  const auto read = std::from_chars(text.data() + start, text.data() + text.size(), exponent);
  if (read.ec != std::errc()) return isNegative;
  return isNegative ? place <= exponent : place + exponent <= 0;
}

}  // namespace

template <class T>
void zvParserCmdSolid<T>::Execute(std::string_view /*line*/, int number) {
  Require(this->GetFile().BeginSolid(), Id::kInvalidSyntax, number);
}

template <class T>
void zvParserCmdFacet<T>::Execute(std::string_view line, int number) {
  zvTPoint3d<T> normal;
  Require(ReadPoint(line, 2, normal), Id::kWrongFacet, number);
  Require(this->GetFile().BeginFacet(normal), Id::kInvalidSyntax, number);
}

template <class T>
void zvParserCmdOuter<T>::Execute(std::string_view line, int number) {
  auto tokens = TokensOf(line);
  std::string_view token;
  const bool hasSecond = tokens.Next(token) && tokens.Next(token);
  const bool isLoop = token == "loop";
  Require(!hasSecond || isLoop || tokens.Next(token), Id::kWrongOuter, number);
  Require(this->GetFile().BeginLoop(), Id::kInvalidSyntax, number);
}

template <class T>
void zvParserCmdVertex<T>::Execute(std::string_view line, int number) {
  zvTPoint3d<T> vertex;
  Require(ReadPoint(line, 1, vertex), Id::kWrongVertex, number);
  Require(this->GetFile().AddVertex(vertex), Id::kInvalidSyntax, number);
  Require(IsAllFinite(vertex), Id::kWrongTriangle, number);
}

template <class T>
void zvParserCmdEndLoop<T>::Execute(std::string_view line, int number) {
  EndLoop(this->GetFile(), line, 1, number);
}

template <class T>
void zvParserCmdEndFacet<T>::Execute(std::string_view line, int number) {
  EndFacet(this->GetFile(), line, 1, number);
}

template <class T>
void zvParserCmdEndSolid<T>::Execute(std::string_view /*line*/, int number) {
  EndSolid(this->GetFile(), number);
}

template <class T>
void zvParserCmdEndBlock<T>::Execute(std::string_view line, int number) {
  auto tokens = TokensOf(line);
  std::string_view token;
  const bool hasSecond = tokens.Next(token) && tokens.Next(token);
  const std::string word = hasSecond ? TrimmedCapitals(token) : std::string();
  if (word == "LOOP") return EndLoop(this->GetFile(), line, 2, number);
  if (word == "FACET") return EndFacet(this->GetFile(), line, 2, number);
  Require(word == "SOLID", Id::kWrongEnd, number);
  EndSolid(this->GetFile(), number);
}

template <class T>
bool ReadSTLNumber(std::string_view text, T& value) noexcept {
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ptr != end || result.ec == std::errc::invalid_argument) return false;
  if (result.ec == std::errc()) return true;
  value = IsTooSmall(text) ? T{0} : std::numeric_limits<T>::infinity();
  if (text.front() == '-') value = -value;
  return true;
}

template KANDREL_API bool ReadSTLNumber(std::string_view, float&) noexcept;
template KANDREL_API bool ReadSTLNumber(std::string_view, double&) noexcept;
template class zvParserCmdSolid<float>;
template class zvParserCmdSolid<double>;
template class zvParserCmdFacet<float>;
template class zvParserCmdFacet<double>;
template class zvParserCmdOuter<float>;
template class zvParserCmdOuter<double>;
template class zvParserCmdVertex<float>;
template class zvParserCmdVertex<double>;
template class zvParserCmdEndLoop<float>;
template class zvParserCmdEndLoop<double>;
template class zvParserCmdEndFacet<float>;
template class zvParserCmdEndFacet<double>;
template class zvParserCmdEndSolid<float>;
template class zvParserCmdEndSolid<double>;
template class zvParserCmdEndBlock<float>;
template class zvParserCmdEndBlock<double>;

}  // namespace cadcam
