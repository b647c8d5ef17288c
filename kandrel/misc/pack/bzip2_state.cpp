#include <bzlib.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/pack/bzip2_state.h>

#include <algorithm>
#include <array>

namespace pack {

namespace {

constexpr int kBlockSize = 9;
constexpr int kQuiet = 0;
constexpr int kWorkFactor = 0;                        // the library's default
constexpr int kFast = 0;                              // not with less memory
constexpr misc::zvStreamSize kLargestCall = 1 << 30;  // the library counts in int

constexpr std::array<const wchar_t*, 9> kTexts = {
    L"Sequence error!",     L"Parameter error!", L"Memory error!",   L"Data error!",
    L"Magic error!",        L"IO error!",        L"Unexpected EOF!", L"Output buffer overflow!",
    L"Configuration error!"};
constexpr const wchar_t* kUnknown = L"Unknown exception!";

}  // namespace

zvBzip2State::~zvBzip2State() {
  if (m_mode == kWriting)
    Abandon();
  else
    Close();
}

void zvBzip2State::Abandon() noexcept {
  std::clearerr(m_file);  // the library frees nothing for a file with an error
  int result = BZ_OK;
  BZ2_bzWriteClose(&result, m_stream, 1, nullptr, nullptr);
}

void zvBzip2State::Throw(int result) {
  const bool hasText = result < 0 && -result <= static_cast<int>(kTexts.size());
  throw misc::zvException(0, hasText ? kTexts[static_cast<std::size_t>(-result - 1)] : kUnknown);
}

void zvBzip2State::Open(std::FILE* file, Mode mode) {
  if (mode != kReading && mode != kWriting) throw misc::zvException(0, L"Unsupported open mode!");
  if (file == nullptr) throw misc::zvException(0, L"File open failed!");
  if (IsOpen()) Throw(BZ_SEQUENCE_ERROR);
  m_length = 0;
  m_isAtEnd = false;
  m_hasFailed = false;
  m_file = file;
  int result = BZ_OK;
  if (mode == kReading) {
    if (std::fread(&m_length, sizeof m_length, 1, file) != 1)
      throw misc::zvException(0, L"Couldn't read from the given handle!");
    m_stream = BZ2_bzReadOpen(&result, file, kQuiet, kFast, nullptr, 0);
  } else {
    if (std::fwrite(&m_length, sizeof m_length, 1, file) != 1)
      throw misc::zvException(0, L"Couldn't write to the given handle!");
    m_stream = BZ2_bzWriteOpen(&result, file, kBlockSize, kQuiet, kWorkFactor);
  }
  if (result != BZ_OK) Throw(result);
  m_mode = mode;
}

misc::zvStreamSize zvBzip2State::Read(void* buffer, misc::zvStreamSize size) {
  if (m_mode != kReading) Throw(BZ_SEQUENCE_ERROR);
  auto* out = static_cast<char*>(buffer);
  misc::zvStreamSize left = size;
  // Asked again after its end, the library would say that the calls came in the wrong order.
  while (left > 0 && !m_isAtEnd) {
    int result = BZ_OK;
    const int count =
        BZ2_bzRead(&result, m_stream, out, static_cast<int>(std::min(left, kLargestCall)));
    if (result != BZ_OK && result != BZ_STREAM_END) Throw(result);
    m_isAtEnd = result == BZ_STREAM_END;
    out += count;
    left -= static_cast<misc::zvStreamSize>(count);
  }
  return size - left;
}

void zvBzip2State::Write(const void* buffer, misc::zvStreamSize size) {
  if (m_mode != kWriting) Throw(BZ_SEQUENCE_ERROR);
  // The library takes its input by a pointer to what it doesn't change.
  auto* in = const_cast<char*>(static_cast<const char*>(buffer));
  for (misc::zvStreamSize left = size; left > 0;) {
    const misc::zvStreamSize count = std::min(left, kLargestCall);
    int result = BZ_OK;
    BZ2_bzWrite(&result, m_stream, in, static_cast<int>(count));
    m_hasFailed = result != BZ_OK;
    if (m_hasFailed) Throw(result);
    in += count;
    left -= count;
  }
  m_length += size;
}

void zvBzip2State::CloseWriter() {
  int result = BZ_OK;
  // After a failed write the library would leave the stream's end out and report nothing.
  if (!m_hasFailed) BZ2_bzWriteClose(&result, m_stream, 0, nullptr, nullptr);
  if (m_hasFailed || result != BZ_OK) {
    Abandon();
    throw misc::zvException(0, kUnknown);
  }
  if (std::fseek(m_file, 0, SEEK_SET) != 0 ||
      std::fwrite(&m_length, sizeof m_length, 1, m_file) != 1)
    throw misc::zvException(0, L"Couldn't write to the given handle!");
}

void zvBzip2State::Close() {
  const Mode mode = m_mode;
  m_mode = kClosed;
  if (mode == kReading) {
    int result = BZ_OK;  // there is nothing to lose
    BZ2_bzReadClose(&result, m_stream);
  }
  if (mode == kWriting) CloseWriter();
}

}  // namespace pack
