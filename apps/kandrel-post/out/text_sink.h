// Buffered text output with exact number text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kandrel_post {

/// Room for the text of any double that WriteFixed makes: 309 digits, a sign, a point, decimals.
inline constexpr std::size_t kNumberRoom = 400;

/// Writes `value` in the shortest form that reads back to the same double; returns the text's end.
char* WriteShortest(char* out, double value);

/// Writes `value` with `decimals` places and never as a negative zero; returns the text's end.
char* WriteFixed(char* out, double value, int decimals);

/// Collects text and writes it to a file descriptor in blocks; a longer text goes there at once.
/// Every operation that writes fails with error 0, which names the file, when the system does not
/// take the bytes.
class TextSink {
 public:
  /// `name` is what failures call the file. The descriptor stays the caller's.
  TextSink(int descriptor, std::string name);
  TextSink(const TextSink&) = delete;
  TextSink& operator=(const TextSink&) = delete;
  /// Drops what was not flushed.
  ~TextSink() = default;

  void Put(std::string_view text);
  void Put(char c) { *Room(1) = c, ++m_used; }
  void PutInteger(std::uint64_t value);
  void PutShortest(double value) { m_used = Offset(WriteShortest(Room(kNumberRoom), value)); }

  /// Hands everything to the system.
  void Flush();

 private:
  static constexpr std::size_t kBlock = std::size_t{1} << 16;

  void Write(std::string_view text);
  char* Room(std::size_t bytes) {
    if (kBlock - m_used < bytes) Flush();
    return m_buffer.data() + m_used;
  }
  std::size_t Offset(const char* end) const {
    return static_cast<std::size_t>(end - m_buffer.data());
  }

  int m_descriptor;
  std::string m_name;
  std::vector<char> m_buffer;
  std::size_t m_used = 0;
};

}  // namespace kandrel_post
