#include "kandrel-post/out/base64.h"

#include <string_view>

namespace kandrel_post {

namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The two digits of each 12 bits: pages of some 50 MB are looked up twice a group.
constexpr auto kPairs = [] {
  std::array<std::array<char, 2>, 4096> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = {kDigits[i >> 6], kDigits[i & 63]};
  return pairs;
}();

}  // namespace

void Base64Writer::Encode() {
  std::array<char, 4 * kGroups> text;
  char* end = text.data();
  const std::uint8_t* from = m_buffer.data();
  const std::size_t rest = m_used % 3;
  for (const std::uint8_t* const last = from + (m_used - rest); from != last; from += 3) {
    const std::uint32_t group = from[0] << 16 | from[1] << 8 | from[2];
    std::memcpy(end, kPairs[group >> 12].data(), 2);
    std::memcpy(end + 2, kPairs[group & 4095].data(), 2);
    end += 4;
  }
  m_sink.Put(std::string_view(text.data(), static_cast<std::size_t>(end - text.data())));
  std::memmove(m_buffer.data(), from, rest);
  m_used = rest;
}

void Base64Writer::Finish() {
  Encode();
  const std::size_t lone = m_used;
  if (lone == 0) return;
  const std::uint32_t group = m_buffer[0] << 16 | (lone == 2 ? m_buffer[1] << 8 : 0);
  m_sink.Put(std::string_view(kPairs[group >> 12].data(), 2));
  m_sink.Put(lone == 2 ? kDigits[group >> 6 & 63] : '=');
  m_sink.Put('=');
}

}  // namespace kandrel_post
