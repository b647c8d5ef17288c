// zvBOBasicTypes: writes primitive values into a byte stream.
#pragma once

#include <kandrel/misc/byte_streams.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace misc {

/// Writes the values of all stored forms: little-endian, IEEE 754, nothing between them. Strings
/// always have 16 bits a character, sizes 32 bits.
///
/// With `compact` doubles are narrowed to floats and integers to 16 bits, of which the upper ones
/// are lost; no file says that it was written so, its reader must be told.
class KANDREL_API zvBOBasicTypes {
 public:
  /// The stream is the caller's and outlives the writer.
  zvBOBasicTypes(zvBinOutputStream& stream, bool compact) : m_stream(stream), m_compact(compact) {}
  ~zvBOBasicTypes() = default;
  zvBOBasicTypes(const zvBOBasicTypes&) = delete;
  zvBOBasicTypes& operator=(const zvBOBasicTypes&) = delete;

  /// 1 byte; a flag is 0 or 1.
  void WriteByte(std::uint8_t value) { Put(value); }
  /// 4 bytes, or 2.
  void WriteInt(std::int32_t value) {
    m_compact ? Put(static_cast<std::int16_t>(value)) : Put(value);
  }
  /// 4 bytes, or 2.
  void WriteUnsigned(std::uint32_t value) {
    m_compact ? Put(static_cast<std::uint16_t>(value)) : Put(value);
  }
  /// 8 bytes, or 4.
  void WriteDouble(double value) { m_compact ? Put(static_cast<float>(value)) : Put(value); }
  /// A number of things that follow. Throws zvmiscException 2157 where it doesn't fit.
  void WriteCount(std::size_t count);
  /// The number of 16-bit units, then these: no terminator, no byte order mark. A character above
  /// U+FFFF is two units. Throws zvmiscException 2578 where the number doesn't fit.
  void WriteString(const std::wstring& text);
  /// The number of strings, then these.
  void WriteStrings(const std::vector<std::wstring>& texts);

  /// Writes into memory that is large enough; otherwise as the writer itself, but never compact.
  class Unchecked {
   public:
    /// Begins at `next`, which the caller keeps large enough.
    explicit Unchecked(char* next) : m_next(next) {}

    /// Each writes the value and steps behind it.
    void WriteByte(std::uint8_t value) { Put(value); }
    void WriteInt(std::int32_t value) { Put(value); }
    void WriteUnsigned(std::uint32_t value) { Put(value); }
    void WriteDouble(double value) { Put(value); }
    /// Where the next value would go.
    char* GetNext() const noexcept { return m_next; }

   private:
    template <class Value>
    void Put(Value value) {
      std::memcpy(m_next, &value, sizeof value);
      m_next += sizeof value;
    }

    char* m_next;
  };

  /// Calls `write` with this writer, or, where it may look for room once and not for each value,
  /// with an Unchecked. It writes at most `largest` bytes, which a gathered block can hold.
  template <class Write>
  void WriteRecord(std::size_t largest, const Write& write) {
    if (m_next == nullptr || m_compact) return write(*this);
    if (static_cast<std::size_t>(m_end - m_next) < largest) HandOn();
    Unchecked unchecked(m_next);
    write(unchecked);
    m_next = unchecked.GetNext();
  }

  /// While one lives, what is written is gathered and reaches the stream in blocks: a codec has one
  /// for the length of its record. The stream gets the same bytes in the same order.
  class KANDREL_API Gathering {
   public:
    /// Gathers what this writer writes, until it is destroyed.
    explicit Gathering(zvBOBasicTypes& writer);
    /// Hands on what is left; its failure is swallowed while another exception is on its way.
    ~Gathering() noexcept(false);
    Gathering(const Gathering&) = delete;
    Gathering& operator=(const Gathering&) = delete;

   private:
    zvBOBasicTypes& m_writer;
    int m_exceptions;
  };

 private:
  static constexpr std::size_t kBlock = 16384;

  template <class Value>
  void Put(Value value) {
    if (static_cast<std::size_t>(m_end - m_next) >= sizeof value) [[likely]] {
      std::memcpy(m_next, &value, sizeof value);
      m_next += sizeof value;
    } else {
      PutBytes(&value, sizeof value);
    }
  }
  void PutBytes(const void* bytes, std::size_t size);
  void HandOn();

  zvBinOutputStream& m_stream;
  bool m_compact;
  int m_gatherings = 0;
  std::unique_ptr<std::array<char, kBlock>> m_block;
  // Where the next value goes, and the block's end; both null while nothing is gathered.
  char* m_next = nullptr;
  char* m_end = nullptr;
};

}  // namespace misc
