// zvBIBasicTypes: reads primitive values from a byte stream.
#pragma once

#include <kandrel/misc/byte_streams.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace misc {

/// A note about data that a reader had to change or couldn't represent.
struct zvBILostData {
  std::wstring name;
  std::uint32_t code = 0;

  bool operator==(const zvBILostData&) const = default;
};

/// A 64-bit value as two words.
struct zvWords64 {
  std::uint32_t low = 0;
  std::uint32_t high = 0;

  bool operator==(const zvWords64&) const = default;
};

/// Reads the values of all stored forms: little-endian, IEEE 754, nothing between them.
///
/// 1. `compact`: doubles are stored as floats, 32-bit integers as 16-bit ones. `wideStrings`:
///    strings have 16 bits a character and not 8. `sizes64`: sizes have 64 bits and not 32.
/// 2. The operations are named after what they read, and stand for a fixed number of bytes: "long"
///    is a 32-bit value here, whatever it is in C++.
/// 3. Each returns the reader, so that reads can chain, or the value where its name says so.
/// 4. After a failure the stream stands in the middle of a value, and is of no use any more.
/// 5. All throw zvmiscException 2018 where the stream delivers less than a value needs, and let the
///    stream's own exceptions pass.
class KANDREL_API zvBIBasicTypes {
 public:
  /// The stream is the caller's and outlives the reader. Several readers may take turns on it.
  zvBIBasicTypes(zvBinInputStream& stream, bool compact, bool wideStrings, bool sizes64);

  /// 8 bytes.
  virtual zvBIBasicTypes& ReadInt64(std::int64_t& value);
  /// A size, then as many characters. Grows with what is there, not with what the size promises.
  /// With `wideStrings` UTF-16, in which half a surrogate pair stays as it is; else code page 1252.
  virtual zvBIBasicTypes& ReadString(std::wstring& text);
  /// 8 bytes, through ReadInt64.
  virtual zvBIBasicTypes& ReadWords64(zvWords64& value);
  /// An unsigned int; with `sizes64` 8 bytes through ReadWords64, which throw zvmiscException 2157
  /// from 2^31 on.
  virtual zvBIBasicTypes& ReadSize(std::uint32_t& size);
  /// 8 bytes.
  virtual zvBIBasicTypes& ReadUnsigned64(std::uint64_t& value);
  /// Through ReadDouble.
  virtual zvBIBasicTypes& ReadLongDouble(long double& value);
  /// Through ReadUnsigned.
  virtual zvBIBasicTypes& ReadUnsignedLong(unsigned long& value);
  /// 4 bytes, or 2 that are extended by zeros.
  virtual zvBIBasicTypes& ReadUnsigned(std::uint32_t& value) {
    value = m_compact ? Raw<std::uint16_t>() : Raw<std::uint32_t>();
    return *this;
  }
  /// 2 bytes: one unit of UTF-16, not joined with a second.
  virtual zvBIBasicTypes& ReadWideChar(wchar_t& value);
  /// 2 bytes.
  virtual zvBIBasicTypes& ReadUnsignedShort(std::uint16_t& value);
  /// 1 byte.
  virtual zvBIBasicTypes& ReadUnsignedChar(unsigned char& value) {
    value = Raw<unsigned char>();
    return *this;
  }
  /// Through ReadInt.
  virtual zvBIBasicTypes& ReadLong(long& value);
  /// 4 bytes, or 2 that are extended by their sign.
  virtual zvBIBasicTypes& ReadInt(std::int32_t& value) {
    value = m_compact ? Raw<std::int16_t>() : Raw<std::int32_t>();
    return *this;
  }
  /// 2 bytes.
  virtual zvBIBasicTypes& ReadShort(std::int16_t& value);
  /// 1 byte.
  virtual zvBIBasicTypes& ReadChar(signed char& value);
  /// 1 byte, true unless it is 0.
  virtual zvBIBasicTypes& ReadBool(bool& value) {
    value = Raw<unsigned char>() != 0;
    return *this;
  }
  /// 4 bytes.
  virtual zvBIBasicTypes& ReadFloat(float& value);
  /// 8 bytes; in compact form a float, rounded to six decimals.
  virtual zvBIBasicTypes& ReadDouble(double& value) {
    value = m_compact ? SixDecimals(Raw<float>()) : Raw<double>();
    return *this;
  }
  /// Through ReadSize.
  virtual std::uint32_t ReadSizeValue();
  /// Through ReadWords64.
  virtual zvWords64 ReadWords64Value();

  virtual ~zvBIBasicTypes();

 private:
  static double SixDecimals(float value) noexcept;

  template <class Value>
  Value Raw() {
    Value value;
    if (m_window != nullptr &&
        static_cast<std::size_t>(m_window->end - m_window->next) >= sizeof value) {
      std::memcpy(&value, m_window->next, sizeof value);
      m_window->next += sizeof value;
    } else {
      ReadBytes(&value, sizeof value);
    }
    return value;
  }
  void ReadBytes(void* buffer, zvStreamSize size);

  zvBinInputStream& m_stream;
  zvByteWindow* m_window;  // null for a stream without
  bool m_compact;
  bool m_wideStrings;
  bool m_sizes64;
};

}  // namespace misc
