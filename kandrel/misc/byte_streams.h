// zvBinInputStream, zvBinOutputStream: where the stored forms come from and go to.
#pragma once

#include <kandrel/misc/export.h>

#include <cstdint>

namespace misc {

/// A number of bytes in a stream, whatever the width of std::size_t.
using zvStreamSize = std::uint64_t;

/// A source of bytes.
class KANDREL_API zvBinInputStream {
 public:
  /// Delivers up to `size` bytes at `buffer` and sets `size` to what it delivered, or throws.
  virtual void Read(void* buffer, zvStreamSize& size) = 0;
  virtual ~zvBinInputStream();

 protected:
  zvBinInputStream() = default;
  zvBinInputStream(const zvBinInputStream&) = default;
  zvBinInputStream& operator=(const zvBinInputStream&) = default;
};

/// A sink of bytes.
class KANDREL_API zvBinOutputStream {
 public:
  /// Takes all `size` bytes at `buffer`, or throws.
  virtual void Write(const void* buffer, const zvStreamSize& size) = 0;
  /// May throw: some sinks learn only when they close that what they took is lost. A smart pointer
  /// that deletes one ends the program then, zvAutoPointer loses the exception: whoever holds a
  /// sink by a pointer closes it first, where it has such an operation.
  virtual ~zvBinOutputStream() noexcept(false);

 protected:
  zvBinOutputStream() = default;
  zvBinOutputStream(const zvBinOutputStream&) = default;
  zvBinOutputStream& operator=(const zvBinOutputStream&) = default;
};

/// Bytes of a stream that lie in memory already, from `next` to `end`.
struct zvByteWindow {
  const unsigned char* next = nullptr;
  const unsigned char* end = nullptr;
};

/// A source that holds some of its bytes in memory and lets a reader take them there, which saves a
/// call for each value. `Read` goes on behind what was taken.
class KANDREL_API zvWindowedInput : public zvBinInputStream {
 public:
  /// What is in memory already; who takes bytes from it moves its `next`.
  zvByteWindow& GetWindow() noexcept { return m_window; }

 private:
  zvByteWindow m_window;
};

}  // namespace misc
