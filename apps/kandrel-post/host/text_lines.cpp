#include "kandrel-post/host/text_lines.h"

#include <sys/stat.h>

#include <cerrno>
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

}  // namespace

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

InputFile::InputFile(std::string name)
    : m_name(std::move(name)), m_file(std::fopen(m_name.c_str(), "rb"), &std::fclose) {
  if (!m_file) FailWithErrno(m_name, "cannot be opened", errno);
  std::setvbuf(m_file.get(), nullptr, _IONBF, 0);
}

std::size_t InputFile::Read(char* buffer, std::size_t bytes) {
  const std::size_t read = std::fread(buffer, 1, bytes, m_file.get());
  if (read == 0 && std::ferror(m_file.get()) != 0) FailWithErrno(m_name, "cannot be read", errno);
  return read;
}

double InputFile::GetSize() const {
  struct ::stat status {};
  const bool isKnown = ::fstat(::fileno(m_file.get()), &status) == 0 && status.st_size > 0;
  return isKnown ? static_cast<double>(status.st_size) : 0;
}

TextLines::TextLines(ByteSource source, std::string name)
    : m_source(std::move(source)),
      m_name(std::move(name)),
      m_buffer(kBlock + kLongestLine),
      m_from(m_buffer.data()),
      m_to(m_buffer.data()) {}

// Moves what is left to the front and reads on behind it.
void TextLines::Refill() {
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

bool TextLines::Next(std::string_view& line) {
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

}  // namespace kandrel_post
