// A byte stream over the bytes of one fuzzing input.
#pragma once

#include <kandrel/misc/byte_streams.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace fuzz {

/// Delivers what is there, and less than was asked for at its end.
class MemoryInput final : public misc::zvBinInputStream {
 public:
  MemoryInput(const std::uint8_t* data, std::size_t size) : m_next(data), m_left(size) {}

  void Read(void* buffer, misc::zvStreamSize& size) override {
    size = std::min<misc::zvStreamSize>(size, m_left);
    if (size > 0) std::memcpy(buffer, m_next, size);
    m_next += size;
    m_left -= size;
  }

 private:
  const std::uint8_t* m_next;
  std::size_t m_left;
};

/// Keeps what it is given.
class MemoryOutput final : public misc::zvBinOutputStream {
 public:
  void Write(const void* buffer, const misc::zvStreamSize& size) override {
    const auto* bytes = static_cast<const std::uint8_t*>(buffer);
    m_bytes.insert(m_bytes.end(), bytes, bytes + size);
  }

  const std::vector<std::uint8_t>& GetBytes() const noexcept { return m_bytes; }

 private:
  std::vector<std::uint8_t> m_bytes;
};

}  // namespace fuzz
