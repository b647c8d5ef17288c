#include "kandrel-post/cl/lines.h"

#include <cstring>
#include <utility>

#include "kandrel-post/host/errors.h"

namespace kandrel_post {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

// Carriage returns and the end mark of old systems count as blanks at a line's end.
constexpr bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f' || c == '\x1a';
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace

ClLines::ClLines(ByteSource source, std::string name)
    : m_source(std::move(source)),
      m_name(std::move(name)),
      m_buffer(kBlock + kLongestLine),
      m_from(m_buffer.data()),
      m_to(m_buffer.data()) {}

// Moves what is left to the front and reads on behind it.
void ClLines::Refill() {
  const std::size_t left = static_cast<std::size_t>(m_to - m_from);
  char* const start = m_buffer.data();
  std::memmove(start, m_from, left);
  const std::size_t bytes = m_source(start + left, kBlock);
  m_from = start;
  m_to = start + left + bytes;
  m_atEnd = bytes == 0;
  m_bytesRead += bytes;
  m_nul = static_cast<const char*>(std::memchr(start, 0, left + bytes));
}

bool ClLines::NextLine(std::string_view& line) {
  const char* searchFrom = m_from;
  for (;;) {
    const std::size_t present = static_cast<std::size_t>(m_to - searchFrom);
    const char* end =
        present == 0 ? nullptr : static_cast<const char*>(std::memchr(searchFrom, '\n', present));
    if (end == nullptr && m_atEnd) {
      if (m_from == m_to) return false;
      end = m_to;
    }
    const std::size_t length = static_cast<std::size_t>((end != nullptr ? end : m_to) - m_from);
    if (end != nullptr || length > kLongestLine) {
      ++m_line;
      if (m_nul != nullptr && m_nul < m_from + length)
        FailAtLine(m_name, m_line, "text expected, a NUL byte found");
      if (length > kLongestLine)
        FailAtLine(m_name, m_line, "a line of at most 65536 characters expected");
      line = {m_from, length};
      m_from = end == m_to ? m_to : end + 1;
      if (m_line == 1 && line.starts_with(kByteOrderMark))
        line.remove_prefix(kByteOrderMark.size());
      return true;
    }
    Refill();
    searchFrom = m_from + length;
  }
}

bool ClLines::Next(ClStatement& statement) {
  std::string_view line;
  while (NextLine(line)) {
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
    statement.line = m_line;
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
    if (m_joined.size() > kLongestLine)
      FailAtLine(m_name, statement.line, "a statement of at most 65536 characters expected");
    if (!goesOn) break;
    for (bool comment = true; comment;) {
      if (!NextLine(text))
        FailAtLine(m_name, m_line, "a line that continues this statement expected after $");
      const std::size_t at = text.find("$$");
      comment = at != std::string_view::npos && Trimmed(text.substr(0, at)).empty();
      text = Trimmed(text.substr(0, at));
    }
  }
  statement.text = Trimmed(m_joined);
  if (statement.text.empty()) FailAtLine(m_name, statement.line, "a statement expected before $");
  return true;
}

}  // namespace kandrel_post
