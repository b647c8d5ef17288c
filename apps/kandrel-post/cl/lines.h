// Splits CL text into statements, in one pass and in bounded memory.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kandrel_post {

/// Fills a buffer with the next bytes of a text; 0 at its end. Throws when it can't be read.
using ByteSource = std::function<std::size_t(char* buffer, std::size_t bytes)>;

/// One statement: the text of a line, or of several that a `$` at the end joins, without comment.
struct ClStatement {
  std::string_view text;     ///< trimmed, not empty unless it is a comment
  std::string_view comment;  ///< what stands after `$$` on a line that has nothing before it
  unsigned long long line = 0;
};

/// Views that Next gives are valid until it is called again. A text holds at most kLongestLine
/// bytes at a time, so that a file without a line end costs no memory.
class ClLines {
 public:
  static constexpr std::size_t kLongestLine = std::size_t{1} << 16;

  ClLines(ByteSource source, std::string name);

  /// The next statement that is not empty; false at the end of the text.
  bool Next(ClStatement& statement);

  /// Bytes taken from the source so far.
  unsigned long long GetBytesRead() const noexcept { return m_bytesRead; }

 private:
  bool NextLine(std::string_view& line);
  void Refill();
  bool Join(std::string_view text, ClStatement& statement);

  ByteSource m_source;
  std::string m_name;
  std::vector<char> m_buffer;
  const char* m_from;
  const char* m_to;
  const char* m_nul = nullptr;  // first NUL byte among the bytes present
  bool m_atEnd = false;
  unsigned long long m_line = 0;
  unsigned long long m_bytesRead = 0;
  std::string m_joined;
};

}  // namespace kandrel_post
