#include <kandrel/cadcam/stl/detail/line_reader.h>
#include <kandrel/cadcam/stl_parser_exception.h>

#include <algorithm>
#include <cstring>

namespace cadcam::detail {

namespace {

constexpr std::size_t kBlock = 65536;
constexpr std::size_t kLongestLine = 4095;

}  // namespace

LineReader::LineReader(misc::zvBinInputStream& stream) : m_stream(&stream), m_block(kBlock) {}

bool LineReader::Next(std::string_view& line) {
  for (;;) {
    const char* const begin = m_block.data() + m_next;
    const std::size_t left = m_end - m_next;
    const auto* const feed =
        static_cast<const char*>(std::memchr(begin, '\n', std::min(left, kLongestLine + 2)));
    if (feed != nullptr) {
      line = Take(static_cast<std::size_t>(feed - begin), 1);
      return true;
    }
    if (m_isAtEnd || left > kLongestLine + 1) {  // more than a line and a carriage return
      line = Take(left, 0);
      return left != 0;
    }
    Refill();
  }
}

// The next `size` bytes as a line, which have `ending` bytes behind them.
std::string_view LineReader::Take(std::size_t size, std::size_t ending) {
  std::string_view line(m_block.data() + m_next, size);
  if (line.ends_with('\r')) line.remove_suffix(1);
  if (line.size() > kLongestLine) throw zvSTLParserException(zvSTLParserException::kInvalidFormat);
  m_next += size + ending;
  return line;
}

void LineReader::Refill() {
  std::copy(m_block.begin() + static_cast<std::ptrdiff_t>(m_next),
            m_block.begin() + static_cast<std::ptrdiff_t>(m_end), m_block.begin());
  m_end -= m_next;
  m_next = 0;
  misc::zvStreamSize size = m_block.size() - m_end;
  m_stream->Read(m_block.data() + m_end, size);
  m_end += static_cast<std::size_t>(size);
  m_isAtEnd = size == 0;
}

std::size_t ReadAll(misc::zvBinInputStream& stream, void* buffer, std::size_t size) {
  std::size_t count = 0;
  while (count < size) {
    misc::zvStreamSize part = size - count;
    stream.Read(static_cast<char*>(buffer) + count, part);
    if (part == 0) break;
    count += static_cast<std::size_t>(part);
  }
  return count;
}

}  // namespace cadcam::detail
