#include <kandrel/misc/codecvt.h>
#include <kandrel/misc/text.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace misc {

zvCodecvt::~zvCodecvt() = default;

zvASCIICodecvt::~zvASCIICodecvt() = default;

zvCodecvt::result zvASCIICodecvt::do_out(state_type& /*state*/, const intern_type* from,
                                         const intern_type* fromEnd, const intern_type*& fromNext,
                                         extern_type* to, extern_type* toEnd,
                                         extern_type*& toNext) const {
  const std::ptrdiff_t count = std::min(fromEnd - from, toEnd - to);
  fromNext = std::find_if(from, from + count, [](wchar_t c) { return c < 0 || c > 0xFF; });
  toNext = std::transform(from, fromNext, to, [](wchar_t c) { return static_cast<char>(c); });
  if (fromNext != from + count) return error;
  return fromNext == fromEnd ? ok : partial;
}

zvCodecvt::result zvASCIICodecvt::do_in(state_type& /*state*/, const extern_type* from,
                                        const extern_type* fromEnd, const extern_type*& fromNext,
                                        intern_type* to, intern_type* toEnd,
                                        intern_type*& toNext) const {
  const std::ptrdiff_t count = std::min(fromEnd - from, toEnd - to);
  fromNext = from + count;
  // Through unsigned char: a plain one would make the byte FF the mark of a stream's end.
  toNext = std::transform(from, fromNext, to, [](char byte) {
    return static_cast<wchar_t>(static_cast<unsigned char>(byte));
  });
  return fromNext == fromEnd ? ok : partial;
}

zvCodecvt::result zvASCIICodecvt::do_unshift(state_type& /*state*/, extern_type* to,
                                             extern_type* /*toEnd*/, extern_type*& toNext) const {
  toNext = to;
  return noconv;
}

int zvASCIICodecvt::do_length(state_type& /*state*/, const extern_type* from,
                              const extern_type* fromEnd, std::size_t count) const {
  return static_cast<int>(std::min(static_cast<std::size_t>(fromEnd - from), count));
}

namespace {

constexpr std::uint16_t kLineFeed = 10;
constexpr std::uint16_t kCarriageReturn = 13;
constexpr wchar_t kEndOfText = 26;

std::uint16_t UnitAt(const char* bytes) {
  return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[0]) |
                                    static_cast<unsigned char>(bytes[1]) << 8);
}

bool IsFirstOfPair(std::uint16_t unit) {
  return (unit & 0xFC00) == 0xD800;
}

// What one step of reading takes and gives.
struct Step {
  std::ptrdiff_t bytes = 0;  // 0 while more are needed
  std::wstring text;         // a character, or none for a CR that is dropped by itself
};

Step ReadStep(const char* from, const char* end) {
  if (end - from < 2) return {};
  const std::uint16_t first = UnitAt(from);
  std::wstring text(1, static_cast<wchar_t>(first));
  if (first != kCarriageReturn && !IsFirstOfPair(first)) return {2, text};
  if (end - from < 4) return {};
  const std::uint16_t second = UnitAt(from + 2);
  if (first == kCarriageReturn) {
    if (IsFirstOfPair(second)) return {2, {}};
    return {4, std::wstring(1, static_cast<wchar_t>(second))};
  }
  AppendUtf16(text, second);
  if (text.size() == 1) return {4, text};
  return {2, text.substr(0, 1)};
}

// The units that stand in the file for a character, one or two.
std::vector<std::uint16_t> UnitsOf(wchar_t character) {
  if (character == kLineFeed) return {kCarriageReturn, kLineFeed};
  return ToUtf16({&character, 1});
}

}  // namespace

zvUTF16LECodecvt::~zvUTF16LECodecvt() = default;

zvCodecvt::result zvUTF16LECodecvt::do_out(state_type& /*state*/, const intern_type* from,
                                           const intern_type* fromEnd, const intern_type*& fromNext,
                                           extern_type* to, extern_type* toEnd,
                                           extern_type*& toNext) const {
  fromNext = from;
  toNext = to;
  for (; fromNext != fromEnd; ++fromNext) {
    if (*fromNext == kEndOfText) return error;
    const std::vector<std::uint16_t> units = UnitsOf(*fromNext);
    if (toEnd - toNext < static_cast<std::ptrdiff_t>(2 * units.size())) return partial;
    for (const std::uint16_t unit : units) {
      *toNext++ = static_cast<char>(unit & 0xFF);
      *toNext++ = static_cast<char>(unit >> 8);
    }
  }
  return ok;
}

zvCodecvt::result zvUTF16LECodecvt::do_in(state_type& /*state*/, const extern_type* from,
                                          const extern_type* fromEnd, const extern_type*& fromNext,
                                          intern_type* to, intern_type* toEnd,
                                          intern_type*& toNext) const {
  fromNext = from;
  toNext = to;
  while (fromNext != fromEnd) {
    const Step step = ReadStep(fromNext, fromEnd);
    const auto count = static_cast<std::ptrdiff_t>(step.text.size());
    if (step.bytes == 0 || toEnd - toNext < count) return partial;
    toNext = std::copy(step.text.begin(), step.text.end(), toNext);
    fromNext += step.bytes;
  }
  return ok;
}

zvCodecvt::result zvUTF16LECodecvt::do_unshift(state_type& /*state*/, extern_type* to,
                                               extern_type* /*toEnd*/, extern_type*& toNext) const {
  toNext = to;
  return noconv;
}

int zvUTF16LECodecvt::do_length(state_type& /*state*/, const extern_type* from,
                                const extern_type* fromEnd, std::size_t count) const {
  const extern_type* next = from;
  while (next != fromEnd) {
    const Step step = ReadStep(next, fromEnd);
    if (step.bytes == 0 || step.text.size() > count) break;
    count -= step.text.size();
    next += step.bytes;
  }
  return static_cast<int>(next - from);
}

}  // namespace misc
