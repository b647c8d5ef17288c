#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/std_streams.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace misc {

namespace {

constexpr zvStreamSize kBlock = 4096;  // characters that are converted at a time
using Block = std::array<wchar_t, kBlock>;

// Runs `transfer` and looks at the state: whatever goes wrong, other than with an exception of this
// library, has the one id.
template <class Stream, class Transfer>
void Guarded(Stream& stream, zvmiscException::Id id, const Transfer& transfer) {
  try {
    transfer(stream);
  } catch (const zvException&) {
    throw;
  } catch (...) {
    throw zvmiscException(id);
  }
  if (!stream.good()) throw zvmiscException(id);
}

}  // namespace

zvStdInputStream::zvStdInputStream(std::wistream* stream) : m_stream(stream) {
  if (stream == nullptr) detail::ThrowNullPointer();
}

void zvStdInputStream::Read(void* buffer, zvStreamSize& size) {
  Guarded(*m_stream, zvmiscException::kEndOfInput, [&](std::wistream& stream) {
    auto* out = static_cast<unsigned char*>(buffer);
    Block block;
    for (zvStreamSize left = size; left > 0 && stream.good();) {
      stream.read(block.data(), static_cast<std::streamsize>(std::min(left, kBlock)));
      const auto count = static_cast<zvStreamSize>(stream.gcount());
      out = std::transform(block.data(), block.data() + count, out,
                           [](wchar_t c) { return static_cast<unsigned char>(c); });
      left -= count;
    }
  });
}

zvStdOutputStream::zvStdOutputStream(std::wostream* stream) : m_stream(stream) {
  if (stream == nullptr) detail::ThrowNullPointer();
}

void zvStdOutputStream::Write(const void* buffer, const zvStreamSize& size) {
  Guarded(*m_stream, zvmiscException::kEndOfOutput, [&](std::wostream& stream) {
    const auto* in = static_cast<const unsigned char*>(buffer);
    Block block;
    for (zvStreamSize left = size; left > 0 && stream.good();) {
      const zvStreamSize count = std::min(left, kBlock);
      std::transform(in, in + count, block.data(),
                     [](unsigned char byte) { return static_cast<wchar_t>(byte); });
      stream.write(block.data(), static_cast<std::streamsize>(count));
      in += count;
      left -= count;
    }
  });
}

void zvStdOutputStream::Flush() {
  Guarded(*m_stream, zvmiscException::kEndOfOutput, [](std::wostream& stream) { stream.flush(); });
}

}  // namespace misc
