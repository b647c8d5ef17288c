#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/text.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace misc {

static_assert(std::endian::native == std::endian::little, "the stored bytes are little-endian");

namespace {

constexpr std::uint32_t kStringBlock = 4096;  // characters that are read at a time

}  // namespace

zvBIBasicTypes::zvBIBasicTypes(zvBinInputStream& stream, bool compact, bool wideStrings,
                               bool sizes64)
    : m_stream(stream), m_compact(compact), m_wideStrings(wideStrings), m_sizes64(sizes64) {
  auto* windowed = dynamic_cast<zvWindowedInput*>(&stream);
  m_window = windowed != nullptr ? &windowed->GetWindow() : nullptr;
}

zvBIBasicTypes::~zvBIBasicTypes() = default;

// Six decimals are all that a float of a length or an angle can mean; 0.1 is 0.1 again so.
double zvBIBasicTypes::SixDecimals(float value) noexcept {
  const double tenMillionths = static_cast<double>(value) * 1e7;
  return std::trunc((tenMillionths + (tenMillionths >= 0 ? 5 : -5)) / 10) / 1e6;
}

void zvBIBasicTypes::ReadBytes(void* buffer, zvStreamSize size) {
  zvStreamSize delivered = size;
  m_stream.Read(buffer, delivered);
  if (delivered != size) throw zvmiscException(zvmiscException::kEndOfStream);
}

zvBIBasicTypes& zvBIBasicTypes::ReadInt64(std::int64_t& value) {
  value = Raw<std::int64_t>();
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadString(std::wstring& text) {
  text.clear();
  std::array<std::uint16_t, kStringBlock> wide;
  std::array<unsigned char, kStringBlock> narrow;
  for (std::uint32_t left = ReadSizeValue(); left > 0;) {
    const std::uint32_t count = std::min(left, kStringBlock);
    if (m_wideStrings) {
      ReadBytes(wide.data(), sizeof(std::uint16_t) * count);
      std::for_each_n(wide.begin(), count, [&](std::uint16_t unit) { AppendUtf16(text, unit); });
    } else {
      ReadBytes(narrow.data(), count);
      std::for_each_n(narrow.begin(), count, [&](unsigned char byte) { text += FromAnsi(byte); });
    }
    left -= count;
  }
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadWords64(zvWords64& value) {
  std::int64_t both = 0;
  ReadInt64(both);
  value = std::bit_cast<zvWords64>(both);
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadSize(std::uint32_t& size) {
  if (!m_sizes64) return ReadUnsigned(size);
  const zvWords64 words = ReadWords64Value();
  // From 2^31 on, though 32 bits would hold it: the low word is taken as a signed number.
  if (words.high != 0 || words.low > 0x7FFFFFFF)
    throw zvmiscException(zvmiscException::kSizeBeyond32Bits);
  size = words.low;
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadUnsigned64(std::uint64_t& value) {
  value = Raw<std::uint64_t>();
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadLongDouble(long double& value) {
  double read = 0;
  ReadDouble(read);
  value = read;
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadUnsignedLong(unsigned long& value) {
  std::uint32_t read = 0;
  ReadUnsigned(read);
  value = read;
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadWideChar(wchar_t& value) {
  value = static_cast<wchar_t>(Raw<std::uint16_t>());
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadUnsignedShort(std::uint16_t& value) {
  value = Raw<std::uint16_t>();
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadLong(long& value) {
  std::int32_t read = 0;
  ReadInt(read);
  value = read;
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadShort(std::int16_t& value) {
  value = Raw<std::int16_t>();
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadChar(signed char& value) {
  value = Raw<signed char>();
  return *this;
}

zvBIBasicTypes& zvBIBasicTypes::ReadFloat(float& value) {
  value = Raw<float>();
  return *this;
}

std::uint32_t zvBIBasicTypes::ReadSizeValue() {
  std::uint32_t size = 0;
  ReadSize(size);
  return size;
}

zvWords64 zvBIBasicTypes::ReadWords64Value() {
  zvWords64 value;
  ReadWords64(value);
  return value;
}

}  // namespace misc
