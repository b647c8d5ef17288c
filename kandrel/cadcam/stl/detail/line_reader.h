// LineReader: the lines of a byte stream.
#pragma once

#include <kandrel/misc/byte_streams.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace cadcam::detail {

/// Reads block by block and gives lines that lie in the block: a text of any length takes 64 KiB.
class LineReader {
 public:
  /// The stream delivers less than it is asked for at its end, and outlives the object.
  explicit LineReader(misc::zvBinInputStream& stream);

  /// Gives the next line, without the line feed that ends it and a carriage return before that, or
  /// before the end of the stream; valid until the next call. False at the end. Throws
  /// zvSTLParserException 3501 for a line of 4096 bytes or more.
  bool Next(std::string_view& line);

 private:
  std::string_view Take(std::size_t size, std::size_t ending);
  void Refill();

  misc::zvBinInputStream* m_stream;
  std::vector<char> m_block;
  std::size_t m_next = 0;
  std::size_t m_end = 0;
  bool m_isAtEnd = false;
};

/// Reads until `size` bytes are there or the stream has no more; returns how many there are.
std::size_t ReadAll(misc::zvBinInputStream& stream, void* buffer, std::size_t size);

}  // namespace cadcam::detail
