#include "kandrel-post/cl/words.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <system_error>

namespace kandrel_post {

namespace {

constexpr char Upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
constexpr bool IsLetter(char c) {
  return Upper(c) >= 'A' && Upper(c) <= 'Z';
}
constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
constexpr bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

constexpr std::string_view kBlanks = " \t";
constexpr std::size_t kLongestWord = 40;  // of those that the summary shows

// Words that move the tool, repeat moves, or change what later coordinates mean. Those of moves
// that are understood stand here too, for statements that have them in another form.
constexpr auto kMovingWords = std::to_array<std::string_view>(
    {"APPROACH", "ARC",   "AUTOPS", "BSPLIN", "BSPLINE", "CALL",    "CIRCLE", "COPY",   "CYCLE",
     "FROM",     "GO",    "GOBACK", "GOCLER", "GODLTA",  "GODOWN",  "GOFWD",  "GOFWDA", "GOHOME",
     "GOLFT",    "GORGT", "GOTO",   "GOUP",   "HELIX",   "HOME",    "INDEX",  "INDIRP", "INDIRV",
     "LOOPST",   "MACRO", "MOVARC", "NURBS",  "POCKET",  "POLYNOM", "RETRCT", "ROTABL", "ROTATE",
     "ROTHED",   "SCURV", "SPLINE", "THREAD", "TLAXIS",  "TRACUT",  "TRANS"});
static_assert(std::is_sorted(kMovingWords.begin(), kMovingWords.end()));

template <std::size_t N>
bool IsOneOf(const std::array<std::string_view, N>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

// The word's views: head and arguments.
ClWord Split(std::string_view statement) {
  ClWord word;
  const std::size_t slash = statement.find('/');
  word.hasSlash = slash != std::string_view::npos;
  word.head = statement.substr(0, slash);
  if (word.hasSlash) {
    word.arguments = statement.substr(slash + 1);
  } else if (const std::size_t blank = word.head.find_first_of(kBlanks);
             blank != std::string_view::npos) {
    word.arguments = statement.substr(blank);
  }
  while (!word.arguments.empty() && IsBlank(word.arguments.front()))
    word.arguments.remove_prefix(1);
  return word;
}

// True for what begins with a letter and has no control characters.
bool IsText(std::string_view head) {
  return !head.empty() && IsLetter(head.front()) &&
         std::all_of(head.begin(), head.end(),
                     [](char c) { return static_cast<unsigned char>(c) >= 0x20 || IsBlank(c); });
}

// Without blanks; cut where it is longer than any word that means something.
std::string Key(std::string_view head) {
  std::string key;
  for (const char c : head) {
    if (!IsBlank(c) && key.size() <= kLongestWord) key += Upper(c);
  }
  return key;
}

// Words that take text need no slash, as PPRINT TEXT: only the first of them is shown then.
std::string Shown(const ClWord& word) {
  const std::string_view head =
      word.hasSlash ? word.head : word.head.substr(0, word.head.find_first_of(kBlanks));
  std::string shown;
  for (const char c : head.substr(0, kLongestWord)) shown += IsBlank(c) ? ' ' : Upper(c);
  while (shown.ends_with(' ')) shown.pop_back();
  return shown;
}

// A letter and a number, as N10 and G1: a line of NC text, in which no APT word would be found.
bool IsNcText(const ClWord& word) {
  return !word.hasSlash && word.shown.size() > 1 && word.head.find('=') == std::string_view::npos &&
         std::all_of(word.shown.begin() + 1, word.shown.end(), IsDigit);
}

// True for SET/MODE,INCR: from there on coordinates would be increments.
bool SetsIncremental(const ClWord& word) {
  if (word.key != "SET" && word.key != "MODE") return false;
  ClArguments arguments(word.arguments);
  do {
    if (arguments.Word().starts_with("INCR")) return true;
  } while (arguments.SkipComma());
  return false;
}

}  // namespace

ClWord TakeApart(std::string_view statement) {
  ClWord word = Split(statement);
  if (!IsText(word.head)) return word;
  word.shown = Shown(word);
  // PARTNO NAME needs no slash.
  if (!IsNcText(word)) word.key = word.shown == "PARTNO" ? word.shown : Key(word.head);
  return word;
}

ClArguments::Result ClArguments::Number(double& value) {
  SkipBlanks();
  const char* from = m_from;
  if (from != m_to && *from == '+') ++from;
  const char* const digits = from != m_to && *from == '-' && from == m_from ? from + 1 : from;
  if (digits == m_to || !(IsDigit(*digits) || *digits == '.')) return kNoNumber;
  const auto [end, error] = std::from_chars(from, m_to, value);
  if (error == std::errc::result_out_of_range) return kOutOfRange;
  if (error != std::errc{}) return kNoNumber;
  m_from = end;
  return kNumber;
}

std::string ClArguments::Word() {
  SkipBlanks();
  std::string word;
  for (; m_from != m_to && *m_from != ',' && !IsBlank(*m_from); ++m_from) {
    if (word.size() < kLongestWord) word += Upper(*m_from);
  }
  return word;
}

bool ClArguments::SkipComma() {
  SkipBlanks();
  if (m_from == m_to || *m_from != ',') return false;
  ++m_from;
  return true;
}

bool ClArguments::AtEnd() {
  SkipBlanks();
  return m_from == m_to;
}

LinkDirective ReadLinkDirective(std::string_view comment) {
  constexpr std::string_view kLink = "LINK";
  if (comment.size() <= kLink.size() || !IsBlank(comment[kLink.size()]) ||
      !EqualsIgnoringCase(comment.substr(0, kLink.size()), kLink))
    return {};
  comment.remove_prefix(kLink.size());
  while (IsBlank(comment.front())) comment.remove_prefix(1);
  const char* const end = comment.data() + comment.size();
  LinkDirective link;
  const auto [next, error] = std::from_chars(comment.data(), end, link.type);
  if (error == std::errc{} && next == end) {
    link.kind = LinkDirective::kLink;
  } else if (comment.find_first_not_of("+-.0123456789") == std::string_view::npos) {
    link.kind = LinkDirective::kBad;
  }
  return link;
}

bool StartsWithGoto(std::string_view statement) {
  if (statement.size() < 5 || !EqualsIgnoringCase(statement.substr(0, 4), "GOTO")) return false;
  std::size_t at = 4;
  while (at < statement.size() && IsBlank(statement[at])) ++at;
  return at < statement.size() && statement[at] == '/';
}

std::string FindMovingWord(const ClWord& word) {
  if (SetsIncremental(word)) return word.key + "/INCR";
  if (word.head.find('=') != std::string_view::npos) return {};  // a definition moves nothing
  if (IsOneOf(kMovingWords, word.key)) return word.key;
  if (!word.hasSlash && word.head.find(',') == std::string_view::npos)
    return IsOneOf(kMovingWords, word.shown) ? word.shown : std::string();
  // TLLFT,GOLFT/LINE: any of the words may be the one that moves.
  std::string token;
  for (const char c : word.head) {
    if (c != ',' && !IsBlank(c)) {
      token += Upper(c);
    } else if (IsOneOf(kMovingWords, token)) {
      return token;
    } else {
      token.clear();
    }
  }
  return IsOneOf(kMovingWords, token) ? token : std::string();
}

bool EqualsIgnoringCase(std::string_view text, std::string_view upperCase) {
  return std::equal(text.begin(), text.end(), upperCase.begin(), upperCase.end(),
                    [](char a, char b) { return Upper(a) == b; });
}

bool IsMetricWord(std::string_view word) {
  constexpr auto kWords = std::to_array<std::string_view>(
      {"MM", "METRIC", "MILLIMETERS", "MILLIMETRES", "MILLIMETER", "MILLIMETRE"});
  return IsOneOf(kWords, word);
}

bool IsInchWord(std::string_view word) {
  constexpr auto kWords = std::to_array<std::string_view>({"INCHES", "INCH", "IN"});
  return IsOneOf(kWords, word);
}

bool IsFeedPerMinute(std::string_view word) {
  return word == "PERMIN" || word == "UPM";
}

bool IsFeedPerRevolution(std::string_view word) {
  constexpr auto kWords =
      std::to_array<std::string_view>({"PERREV", "MMPR", "IPR", "REV", "UPR", "PREV"});
  return IsOneOf(kWords, word);
}

}  // namespace kandrel_post
