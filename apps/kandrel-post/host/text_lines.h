// Texts line by line, in one pass and in bounded memory.
#pragma once

#include <cstddef>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kandrel_post {

/// Fills a buffer with the next bytes of a text; 0 at its end. Throws when it can't be read.
using ByteSource = std::function<std::size_t(char* buffer, std::size_t bytes)>;

/// A file opened for reading, without a buffer of its own. Fails with error 0, which names it.
class InputFile {
 public:
  explicit InputFile(std::string name);

  std::size_t Read(char* buffer, std::size_t bytes);
  /// It must outlive the source.
  ByteSource Source() {
    return [this](char* buffer, std::size_t bytes) { return Read(buffer, bytes); };
  }
  /// Bytes; 0 where the system doesn't know.
  double GetSize() const;

 private:
  std::string m_name;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file;
};

/// Views that Next gives are valid until it is called again. A text holds at most kLongestLine
/// bytes at a time, so that a file without a line end costs no memory.
class TextLines {
 public:
  static constexpr std::size_t kLongestLine = std::size_t{1} << 16;

  TextLines(ByteSource source, std::string name);

  /// The next line without its end, a byte order mark left out; false at the end of the text. Fails
  /// with error 0 at a line that is too long or has a NUL.
  bool Next(std::string_view& line);

  /// Of the line that Next gave last, from 1.
  unsigned long long GetLine() const noexcept { return m_line; }
  const std::string& GetName() const noexcept { return m_name; }
  /// Bytes taken from the source so far.
  unsigned long long GetBytesRead() const noexcept { return m_bytesRead; }

 private:
  void Refill();

  ByteSource m_source;
  std::string m_name;
  std::vector<char> m_buffer;
  const char* m_from;
  const char* m_to;
  const char* m_nul = nullptr;  // first NUL byte among the bytes present
  bool m_atEnd = false;
  unsigned long long m_line = 0;
  unsigned long long m_bytesRead = 0;
};

/// Without the blanks at both ends. Carriage returns and the end mark of old systems count as such.
std::string_view Trimmed(std::string_view text);

}  // namespace kandrel_post
