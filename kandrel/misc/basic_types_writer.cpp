#include <kandrel/misc/basic_types_writer.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/text.h>

#include <bit>
#include <exception>

namespace misc {

static_assert(std::endian::native == std::endian::little, "the stored bytes are little-endian");

zvBOBasicTypes::Gathering::Gathering(zvBOBasicTypes& writer)
    : m_writer(writer), m_exceptions(std::uncaught_exceptions()) {
  if (writer.m_block == nullptr) writer.m_block = std::make_unique<std::array<char, kBlock>>();
  if (writer.m_gatherings++ == 0) {
    writer.m_next = writer.m_block->data();
    writer.m_end = writer.m_next + kBlock;
  }
}

zvBOBasicTypes::Gathering::~Gathering() noexcept(false) {
  if (--m_writer.m_gatherings != 0) return;
  const bool isUnwinding = std::uncaught_exceptions() > m_exceptions;
  try {
    m_writer.HandOn();
  } catch (...) {
    m_writer.m_next = m_writer.m_end = nullptr;
    if (!isUnwinding) throw;
  }
  m_writer.m_next = m_writer.m_end = nullptr;
}

void zvBOBasicTypes::HandOn() {
  char* const begin = m_block->data();
  const auto size = static_cast<zvStreamSize>(m_next - begin);
  m_next = begin;  // before the stream may throw: nothing is handed on twice
  if (size > 0) m_stream.Write(begin, size);
}

void zvBOBasicTypes::PutBytes(const void* bytes, std::size_t size) {
  if (m_next == nullptr) return m_stream.Write(bytes, size);
  if (static_cast<std::size_t>(m_end - m_next) < size) HandOn();
  if (size >= kBlock) return m_stream.Write(bytes, size);
  std::memcpy(m_next, bytes, size);
  m_next += size;
}

void zvBOBasicTypes::WriteCount(std::size_t count) {
  if (count > (m_compact ? 0xFFFFu : 0xFFFFFFFFu))
    throw zvmiscException(zvmiscException::kSizeBeyond32Bits);
  WriteUnsigned(static_cast<std::uint32_t>(count));
}

void zvBOBasicTypes::WriteString(const std::wstring& text) {
  const std::vector<std::uint16_t> units = ToUtf16(text);
  if (units.size() > (m_compact ? 0xFFFFu : 0xFFFFFFFFu))
    throw zvmiscException(zvmiscException::kStringTooBig);
  WriteUnsigned(static_cast<std::uint32_t>(units.size()));
  if (!units.empty()) PutBytes(units.data(), units.size() * sizeof units[0]);
}

void zvBOBasicTypes::WriteStrings(const std::vector<std::wstring>& texts) {
  WriteCount(texts.size());
  for (const std::wstring& text : texts) WriteString(text);
}

}  // namespace misc
