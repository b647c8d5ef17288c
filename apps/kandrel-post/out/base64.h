// Bytes as base64 text.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

/// Writes numbers as base64 (RFC 4648) into a sink, which outlives it. Nothing is kept but a buffer
/// of some kilobytes.
class Base64Writer {
 public:
  explicit Base64Writer(TextSink& sink) : m_sink(sink) {}

  /// A number, little-endian whatever the machine is.
  template <class Number>
  void Put(Number value) {
    if (m_buffer.size() - m_used < sizeof value) Encode();
    std::uint8_t* const to = m_buffer.data() + m_used;
    std::memcpy(to, &value, sizeof value);
    if constexpr (std::endian::native == std::endian::big) std::reverse(to, to + sizeof value);
    m_used += sizeof value;
    m_count += sizeof value;
  }

  /// Zeros up to a multiple of `size` bytes.
  void Align(std::size_t size) {
    while (m_count % size != 0) Put(std::uint8_t{0});
  }

  /// Writes what is left, with its padding. Nothing may follow.
  void Finish();

 private:
  static constexpr std::size_t kGroups = 4096;

  // Writes all whole groups of three bytes.
  void Encode();

  TextSink& m_sink;
  std::array<std::uint8_t, 3 * kGroups> m_buffer{};
  std::size_t m_used = 0;
  std::uint64_t m_count = 0;
};

}  // namespace kandrel_post
