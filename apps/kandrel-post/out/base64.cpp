#include "kandrel-post/out/base64.h"

#include <string_view>

namespace kandrel_post {

namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

void Base64Writer::Encode() {
  std::array<char, 4 * 4096> text;
  std::size_t length = 0;
  for (std::size_t i = 0; i < m_used; i += 3) {
    const std::uint32_t group = m_buffer[i] << 16 | m_buffer[i + 1] << 8 | m_buffer[i + 2];
    text[length++] = kDigits[group >> 18];
    text[length++] = kDigits[group >> 12 & 63];
    text[length++] = kDigits[group >> 6 & 63];
    text[length++] = kDigits[group & 63];
  }
  m_sink.Put(std::string_view(text.data(), length));
  m_used = 0;
}

void Base64Writer::Finish() {
  const std::size_t lone = m_used % 3;
  m_used -= lone;
  const std::array<std::uint8_t, 2> rest{m_buffer[m_used], lone == 2 ? m_buffer[m_used + 1]
                                                                     : std::uint8_t{0}};
  Encode();
  if (lone == 0) return;
  m_sink.Put(kDigits[rest[0] >> 2]);
  m_sink.Put(kDigits[(rest[0] & 3) << 4 | rest[1] >> 4]);
  m_sink.Put(lone == 2 ? kDigits[(rest[1] & 15) << 2] : '=');
  m_sink.Put('=');
}

}  // namespace kandrel_post
