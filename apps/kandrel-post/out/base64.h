// Bytes as base64 text.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

/// Writes bytes as base64 (RFC 4648) into a sink, which outlives it. Nothing is kept but a buffer
/// of some kilobytes.
class Base64Writer {
 public:
  explicit Base64Writer(TextSink& sink) : m_sink(sink) {}

  void Put(std::uint8_t byte) {
    m_buffer[m_used++] = byte;
    ++m_count;
    if (m_used == m_buffer.size()) Encode();
  }

  /// A number, little-endian whatever the machine is.
  template <class Number>
  void PutNumber(Number value) {
    using Bits = std::conditional_t<
        sizeof(Number) == 8, std::uint64_t,
        std::conditional_t<sizeof(Number) == 4, std::uint32_t, std::uint8_t>>;
    static_assert(sizeof(Bits) == sizeof(Number));
    Bits bits;
    std::memcpy(&bits, &value, sizeof bits);
    for (std::size_t i = 0; i < sizeof bits; ++i)
      Put(static_cast<std::uint8_t>(bits >> (8 * i)));
  }

  /// Zeros up to a multiple of `size` bytes.
  void Align(std::size_t size) {
    while (m_count % size != 0) Put(0);
  }

  /// Writes what is left, with its padding. Nothing may follow.
  void Finish();

 private:
  void Encode();

  TextSink& m_sink;
  std::array<std::uint8_t, 3 * 4096> m_buffer{};  // whole groups of three
  std::size_t m_used = 0;
  std::uint64_t m_count = 0;
};

}  // namespace kandrel_post
