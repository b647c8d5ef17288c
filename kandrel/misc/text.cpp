#include <kandrel/misc/text.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <system_error>

namespace misc {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsScalarValue(char32_t c) {
  return c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF);
}

void AppendUtf8(std::string& out, char32_t c) {
  if (!IsScalarValue(c)) c = kReplacement;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// The code point that starts at text[0] and its length in bytes, or length 0 when the bytes are
// not valid: overlong forms, surrogates and stray continuation bytes are not.
struct Decoded {
  char32_t value;
  std::size_t length;
};

Decoded DecodeUtf8(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  constexpr char32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {kReplacement, 0};
  char32_t value = lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return {kReplacement, 0};
    value = (value << 6) | (byte(i) & 0x3Fu);
  }
  if (value < kLowest[length] || !IsScalarValue(value)) return {kReplacement, 0};
  return {value, length};
}

bool IsHighSurrogate(char32_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}

bool IsLowSurrogate(char32_t c) {
  return c >= 0xDC00 && c <= 0xDFFF;
}

char32_t JoinSurrogates(char32_t high, char32_t low) {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// Code page 1252 from 80 to 9F; the other bytes are their own characters.
constexpr wchar_t kAnsi[] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                             0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                             0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                             0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

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
  return isNegative ? place <= exponent : exponent <= -place;
}

// The next eight bytes, when none of them has its highest bit set, are ASCII.
bool StartsWithEightAscii(std::string_view text) {
  std::uint64_t bytes = 0;
  if (text.size() < sizeof bytes) return false;
  std::memcpy(&bytes, text.data(), sizeof bytes);
  return (bytes & 0x8080808080808080u) == 0;
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (const wchar_t c : text) AppendUtf8(out, static_cast<char32_t>(c));
  return out;
}

std::wstring FromUtf8(std::string_view text) {
  std::wstring out;
  out.reserve(text.size());
  while (!text.empty()) {
    const Decoded decoded = DecodeUtf8(text);
    out += static_cast<wchar_t>(decoded.value);
    text.remove_prefix(decoded.length != 0 ? decoded.length : 1);
  }
  return out;
}

bool IsUtf8(std::string_view text) noexcept {
  while (!text.empty()) {
    const std::size_t length = StartsWithEightAscii(text) ? 8 : DecodeUtf8(text).length;
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::vector<std::uint16_t> ToUtf16(std::wstring_view text) {
  std::vector<std::uint16_t> units;
  units.reserve(text.size());
  for (const wchar_t character : text) {
    auto c = static_cast<char32_t>(character);
    if (c > 0x10FFFF) c = kReplacement;
    if (c < 0x10000) {
      units.push_back(static_cast<std::uint16_t>(c));
    } else {
      units.push_back(static_cast<std::uint16_t>(0xD800 + ((c - 0x10000) >> 10)));
      units.push_back(static_cast<std::uint16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
    }
  }
  return units;
}

void AppendUtf16(std::wstring& text, std::uint16_t unit) {
  const auto last = text.empty() ? char32_t{0} : static_cast<char32_t>(text.back());
  if (IsLowSurrogate(unit) && IsHighSurrogate(last))
    text.back() = static_cast<wchar_t>(JoinSurrogates(last, unit));
  else
    text += static_cast<wchar_t>(unit);
}

bool ToPathBytes(std::wstring_view path, std::string& bytes) {
  bytes.clear();
  for (std::size_t i = 0; i < path.size(); ++i) {
    auto c = static_cast<char32_t>(path[i]);
    if (IsHighSurrogate(c) && i + 1 < path.size() &&
        IsLowSurrogate(static_cast<char32_t>(path[i + 1])))
      c = JoinSurrogates(c, static_cast<char32_t>(path[++i]));
    if (c == 0 || !IsScalarValue(c)) return false;
    AppendUtf8(bytes, c);
  }
  return true;
}

wchar_t FromAnsi(unsigned char byte) noexcept {
  return byte >= 0x80 && byte < 0xA0 ? kAnsi[byte - 0x80] : static_cast<wchar_t>(byte);
}

std::string ToText(double value) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

bool FromText(std::string_view text, double& value) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

template <class T>
std::size_t ScanNumber(std::string_view text, T& value) noexcept {
  // from_chars takes a minus and no plus.
  const bool hasPlus = !text.empty() && text.front() == '+';
  if (hasPlus) text.remove_prefix(1);
  if (hasPlus && !text.empty() && text.front() == '-') return 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::invalid_argument) return 0;
  const auto length = static_cast<std::size_t>(result.ptr - text.data());
  if (result.ec == std::errc::result_out_of_range) {
    value = IsTooSmall(text.substr(0, length)) ? T{0} : std::numeric_limits<T>::infinity();
    if (text.front() == '-') value = -value;
  }
  return length + (hasPlus ? 1 : 0);
}

template KANDREL_API std::size_t ScanNumber(std::string_view, float&) noexcept;
template KANDREL_API std::size_t ScanNumber(std::string_view, double&) noexcept;

std::string ToFixedText(double value, int decimals) {
  char buffer[352];  // a sign, 309 digits, a point and the decimals
  const auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
  return std::string(buffer, result.ptr);
}

}  // namespace misc
