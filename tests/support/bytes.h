// Stored bytes put together by hand, which share nothing with the library's writers.
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>

namespace tests {

class Bytes {
 public:
  Bytes& Byte(int value) {
    m_bytes += static_cast<char>(value);
    return *this;
  }
  Bytes& Int(std::initializer_list<std::int64_t> values) {
    for (const std::int64_t value : values) Number(static_cast<std::uint64_t>(value), 4);
    return *this;
  }
  /// `size` bytes, the lowest first.
  Bytes& Number(std::uint64_t value, int size) {
    for (int i = 0; i < size; ++i) Byte(static_cast<int>(value >> 8 * i & 0xFF));
    return *this;
  }
  Bytes& Double(std::initializer_list<double> values) {
    for (const double value : values) {
      std::uint64_t bits = 0;
      std::memcpy(&bits, &value, sizeof bits);
      Number(bits, 8);
    }
    return *this;
  }
  /// ASCII in 16 bits a character, behind their number.
  Bytes& Wide(std::string_view text) {
    Number(text.size(), 4);
    for (const char c : text) Number(static_cast<unsigned char>(c), 2);
    return *this;
  }
  /// As it stands.
  Bytes& Raw(std::string_view bytes) {
    m_bytes += bytes;
    return *this;
  }
  /// "0A 0B  0C": white space and what stands behind a bar is left out.
  Bytes& Hex(std::string_view text);

  const std::string& Get() const noexcept { return m_bytes; }
  operator const std::string&() const noexcept { return m_bytes; }

 private:
  std::string m_bytes;
};

inline Bytes& Bytes::Hex(std::string_view text) {
  const auto digit = [](char c) {
    return static_cast<int>(std::string_view("0123456789ABCDEF").find(c));
  };
  bool isRemark = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '|' || text[i] == '\n') isRemark = text[i] == '|';
    if (isRemark || std::string_view(" \n|").find(text[i]) != std::string_view::npos) continue;
    Byte(digit(text[i]) * 16 + digit(text[i + 1]));
    ++i;
  }
  return *this;
}

}  // namespace tests
