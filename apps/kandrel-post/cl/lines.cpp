#include "kandrel-post/cl/lines.h"

#include <cstring>

#include "kandrel-post/host/errors.h"

namespace kandrel_post {

bool ClLines::Next(ClStatement& statement) {
  std::string_view line;
  while (m_lines.Next(line)) {
    std::string_view comment;
    const void* const dollar = line.empty() ? nullptr : std::memchr(line.data(), '$', line.size());
    if (dollar != nullptr) {
      const std::size_t at = line.find("$$");
      if (at != std::string_view::npos) {
        comment = line.substr(at + 2);
        line = line.substr(0, at);
      }
    }
    line = Trimmed(line);
    statement.line = m_lines.GetLine();
    if (line.empty()) {
      comment = Trimmed(comment);
      if (comment.empty()) continue;
      statement.text = {};
      statement.comment = comment;
      return true;
    }
    statement.comment = {};
    if (line.back() == '$') return Join(line, statement);
    statement.text = line;
    return true;
  }
  return false;
}

// Puts a statement of several lines together; its line is the first one.
bool ClLines::Join(std::string_view text, ClStatement& statement) {
  m_joined.clear();
  for (;;) {
    const bool goesOn = !text.empty() && text.back() == '$';
    m_joined += goesOn ? text.substr(0, text.size() - 1) : text;
    if (m_joined.size() > TextLines::kLongestLine)
      FailAtLine(m_lines.GetName(), statement.line,
                 "a statement of at most 65536 characters expected");
    if (!goesOn) break;
    for (bool comment = true; comment;) {
      if (!m_lines.Next(text))
        FailAtLine(m_lines.GetName(), m_lines.GetLine(),
                   "a line that continues this statement expected after $");
      const std::size_t at = text.find("$$");
      comment = at != std::string_view::npos && Trimmed(text.substr(0, at)).empty();
      text = Trimmed(text.substr(0, at));
    }
  }
  statement.text = Trimmed(m_joined);
  if (statement.text.empty())
    FailAtLine(m_lines.GetName(), statement.line, "a statement expected before $");
  return true;
}

}  // namespace kandrel_post
