#include "kandrel-post/out/text_sink.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <utility>

#include "kandrel-post/host/errors.h"

namespace kandrel_post {

char* WriteShortest(char* out, double value) {
  return std::to_chars(out, out + kNumberRoom, value).ptr;
}

char* WriteFixed(char* out, double value, int decimals) {
  char* const end =
      std::to_chars(out, out + kNumberRoom, value, std::chars_format::fixed, decimals).ptr;
  if (*out != '-' || std::any_of(out, end, [](char c) { return c >= '1' && c <= '9'; })) return end;
  std::memmove(out, out + 1, static_cast<std::size_t>(end - out - 1));
  return end - 1;
}

TextSink::TextSink(int descriptor, std::string name)
    : m_descriptor(descriptor), m_name(std::move(name)), m_buffer(kBlock) {}

void TextSink::Put(std::string_view text) {
  if (text.size() >= kBlock) {
    Flush();
    return Write(text);
  }
  while (!text.empty()) {
    char* const room = Room(1);
    const std::size_t bytes = std::min(text.size(), kBlock - m_used);
    std::memcpy(room, text.data(), bytes);
    m_used += bytes;
    text.remove_prefix(bytes);
  }
}

void TextSink::PutInteger(std::uint64_t value) {
  char* const room = Room(kNumberRoom);
  m_used = Offset(std::to_chars(room, room + kNumberRoom, value).ptr);
}

void TextSink::Flush() {
  Write({m_buffer.data(), std::exchange(m_used, 0)});
}

void TextSink::Write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(m_descriptor, text.data(), text.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      FailWithErrno(m_name, "cannot be written", errno);
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace kandrel_post
