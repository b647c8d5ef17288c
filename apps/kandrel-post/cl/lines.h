// Splits CL text into statements, in one pass and in bounded memory.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "kandrel-post/host/text_lines.h"

namespace kandrel_post {

/// One statement: the text of a line, or of several that a `$` at the end joins, without comment.
struct ClStatement {
  std::string_view text;     ///< trimmed, not empty unless it is a comment
  std::string_view comment;  ///< what stands after `$$` on a line that has nothing before it
  unsigned long long line = 0;
};

/// Views that Next gives are valid until it is called again.
class ClLines {
 public:
  ClLines(ByteSource source, std::string name) : m_lines(std::move(source), std::move(name)) {}

  /// The next statement that is not empty; false at the end of the text.
  bool Next(ClStatement& statement);

  /// Bytes taken from the source so far.
  unsigned long long GetBytesRead() const noexcept { return m_lines.GetBytesRead(); }

 private:
  bool Join(std::string_view text, ClStatement& statement);

  TextLines m_lines;
  std::string m_joined;
};

}  // namespace kandrel_post
