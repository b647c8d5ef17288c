// Byte streams over memory.
#pragma once

#include <kandrel/misc/byte_streams.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace tests {

/// Delivers what is there, and less than was asked for at its end.
class MemoryInput final : public misc::zvBinInputStream {
 public:
  MemoryInput(const void* data, std::size_t size)
      : m_next(static_cast<const std::uint8_t*>(data)), m_left(size) {}
  explicit MemoryInput(const std::string& bytes) : MemoryInput(bytes.data(), bytes.size()) {}
  explicit MemoryInput(std::string&& bytes) = delete;  // they must outlive the stream

  void Read(void* buffer, misc::zvStreamSize& size) override {
    size = std::min<misc::zvStreamSize>(size, m_left);
    if (size > 0) std::memcpy(buffer, m_next, size);
    m_next += size;
    m_left -= size;
  }

  std::size_t GetLeft() const noexcept { return m_left; }

 private:
  const std::uint8_t* m_next;
  std::size_t m_left;
};

/// The same, with its bytes as a window.
class WindowedMemoryInput final : public misc::zvWindowedInput {
 public:
  WindowedMemoryInput(const std::uint8_t* data, std::size_t size) {
    GetWindow() = {data, data + size};
  }

  void Read(void* buffer, misc::zvStreamSize& size) override {
    misc::zvByteWindow& window = GetWindow();
    size = std::min<misc::zvStreamSize>(size, static_cast<std::size_t>(window.end - window.next));
    if (size > 0) std::memcpy(buffer, window.next, size);
    window.next += size;
  }
};

/// Keeps what it is given.
class MemoryOutput final : public misc::zvBinOutputStream {
 public:
  void Write(const void* buffer, const misc::zvStreamSize& size) override {
    m_bytes.append(static_cast<const char*>(buffer), size);
  }

  const std::string& GetBytes() const noexcept { return m_bytes; }

 private:
  std::string m_bytes;
};

}  // namespace tests
