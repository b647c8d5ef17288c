#include <kandrel/misc/exception.h>
#include <kandrel/misc/file_streams.h>
#include <kandrel/misc/pack/bzip2_state.h>
#include <kandrel/misc/pack/compressed_streams.h>
#include <kandrel/misc/platform.h>
#include <kandrel/misc/text.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <exception>
#include <limits>
#include <new>

namespace pack {

namespace {

constexpr std::array<char, 4> kZlibTag = {'Z', 'L', 'I', 'B'};
constexpr std::size_t kFirstCapacity = 0x40000;
constexpr int kLevel = 1;  // a log is written on every posting: speed over size
// No deflate stream gives more bytes for one of its own.
constexpr std::uint64_t kLargestGain = 1032;

[[noreturn]] void Fail(const wchar_t* text) {
  throw misc::zvException(0, text);
}

zvBytes Allocate(std::size_t size) {
  zvBytes bytes(static_cast<unsigned char*>(std::malloc(std::max<std::size_t>(size, 1))));
  if (bytes == nullptr) throw std::bad_alloc();
  misc::platform::PreferHugePages(bytes.get(), size);
  return bytes;
}

// What zlib has come to, for a failure of this text.
void Expect(int result, const wchar_t* text) {
  if (result == Z_MEM_ERROR) throw std::bad_alloc();
  if (result != Z_OK) Fail(text);
}

zvFile OpenToWrite(const std::wstring& path) {
  std::string bytes;
  errno = 0;
  if (!misc::ToPathBytes(path, bytes)) return nullptr;
  return zvFile(std::fopen(bytes.c_str(), "wb+"));
}

// Up to `size` bytes of what is left of the file.
std::size_t ReadAtMost(std::FILE* file, zvBytes& bytes, std::size_t size) {
  const off_t place = ftello(file);
  if (place < 0 || fseeko(file, 0, SEEK_END) != 0) return 0;
  const off_t end = ftello(file);
  if (end < place || fseeko(file, place, SEEK_SET) != 0) return 0;
  size = std::min(size, static_cast<std::size_t>(end - place));
  bytes = Allocate(size);
  return std::fread(bytes.get(), 1, size, file);
}

}  // namespace

zvCompressedOutputFileStream::zvCompressedOutputFileStream(const std::wstring& path, bool useBzip2)
    : zvCompressedOutputFileStream(path, useBzip2 ? kBzip2 : kZlib) {}

zvCompressedOutputFileStream::zvCompressedOutputFileStream(const std::wstring& path, Method method)
    : m_exceptions(std::uncaught_exceptions()) {
  if (method != kBzip2 && method != kZlib)
    Fail(L"pack::zvCompressedOutputFileStream::Open Unknown pack method. Please revisit code.");
  m_file = OpenToWrite(path);
  if (m_file == nullptr) {
    const bool isMissing = errno == ENOENT;
    std::wstring text = L"File open failed.\n" + misc::PathLengthRemark(path);
    if (isMissing) text += L"\n" + path + L" doesn't exist";
    Fail(text.c_str());
  }
  if (method == kZlib) return;
  m_bzip2 = std::make_unique<zvBzip2State>();
  m_bzip2->Open(m_file.get(), zvBzip2State::kWriting);
}

zvCompressedOutputFileStream::~zvCompressedOutputFileStream() noexcept(false) {
  try {
    Close();
  } catch (...) {
    if (std::uncaught_exceptions() <= m_exceptions) throw;
  }
}

void zvCompressedOutputFileStream::Append(const void* buffer, misc::zvStreamSize size) {
  if (size > std::numeric_limits<std::size_t>::max() / 4 - m_size) throw std::bad_alloc();
  const std::size_t needed = m_size + static_cast<std::size_t>(size);
  std::size_t capacity = std::max(m_capacity, kFirstCapacity);
  while (capacity < needed) capacity *= 2;
  if (capacity != m_capacity) {
    void* grown = std::realloc(m_buffer.get(), capacity);
    if (grown == nullptr) throw std::bad_alloc();
    misc::platform::PreferHugePages(grown, capacity);
    static_cast<void>(m_buffer.release());
    m_buffer.reset(static_cast<unsigned char*>(grown));
    m_capacity = capacity;
  }
  if (size > 0) std::memcpy(m_buffer.get() + m_size, buffer, static_cast<std::size_t>(size));
  m_size = needed;
}

void zvCompressedOutputFileStream::Write(const void* buffer, const misc::zvStreamSize& size) {
  if (m_file == nullptr)
    Fail(L"pack::zvCompressedOutputFileStream::Write Unknown pack method. Please revisit code.");
  if (m_bzip2 != nullptr)
    m_bzip2->Write(buffer, size);
  else
    Append(buffer, size);
}

void zvCompressedOutputFileStream::WriteZlib(std::FILE* file, const unsigned char* plain) const {
  constexpr std::size_t kLargest = 0xFFFFFFFF;
  if (m_size > kLargest) Fail(L"Failed to compress data");
  auto packedSize = static_cast<uLongf>(1.15 * static_cast<double>(m_size) + 12);
  const zvBytes packed = Allocate(packedSize);
  const Bytef nothing = 0;
  if (plain == nullptr) plain = &nothing;
  Expect(compress2(packed.get(), &packedSize, plain, m_size, kLevel), L"Failed to compress data");
  if (packedSize > kLargest) Fail(L"Failed to compress data");
  const std::array<std::uint32_t, 2> lengths = {static_cast<std::uint32_t>(packedSize),
                                                static_cast<std::uint32_t>(m_size)};
  if (std::fwrite(kZlibTag.data(), sizeof kZlibTag, 1, file) != 1 ||
      std::fwrite(lengths.data(), sizeof lengths, 1, file) != 1 ||
      std::fwrite(packed.get(), 1, packedSize, file) != packedSize)
    Fail(L"Couldn't write to the given handle!");
}

void zvCompressedOutputFileStream::Close() {
  if (m_file == nullptr) return;
  // However it ends, this is the last that is done with the file; bzip2 lets go of it first.
  const zvFile file = std::move(m_file);
  const std::unique_ptr<zvBzip2State> bzip2 = std::move(m_bzip2);
  const zvBytes buffer = std::move(m_buffer);
  if (bzip2 != nullptr)
    bzip2->Close();
  else
    WriteZlib(file.get(), buffer.get());
  if (std::fflush(file.get()) != 0) Fail(L"Couldn't write to the given handle!");
}

zvCompressedInputFileStream::zvCompressedInputFileStream(const std::wstring& path)
    : m_file(misc::OpenToRead(path)) {
  if (m_file == nullptr) {
    const misc::zvException file(0, path);
    throw misc::zvException(0, L"File open failed.\n" + misc::PathLengthRemark(path), &file);
  }
  std::array<char, 4> tag = {};
  m_isZlib = std::fread(tag.data(), sizeof tag, 1, m_file.get()) == 1 && tag == kZlibTag;
  if (m_isZlib) {
    Decompress();
    return;
  }
  std::rewind(m_file.get());
  m_bzip2 = std::make_unique<zvBzip2State>();
  m_bzip2->Open(m_file.get(), zvBzip2State::kReading);
}

zvCompressedInputFileStream::~zvCompressedInputFileStream() = default;

void zvCompressedInputFileStream::Decompress() {
  const zvFile file = std::move(m_file);
  std::array<std::uint32_t, 2> lengths = {};
  if (std::fread(lengths.data(), sizeof lengths, 1, file.get()) != 1)
    Fail(L"Failed to decompress data");
  zvBytes packed;
  const std::size_t packedSize = ReadAtMost(file.get(), packed, lengths[0]);
  // The length that the file gives is a promise; what it can become is not.
  auto size =
      static_cast<uLongf>(std::min<std::uint64_t>(lengths[1], kLargestGain * packedSize + 64));
  m_buffer = Allocate(size);
  if (packed == nullptr) Fail(L"Failed to decompress data");
  Expect(uncompress(m_buffer.get(), &size, packed.get(), packedSize), L"Failed to decompress data");
  m_size = size;
  GetWindow() = {m_buffer.get(), m_buffer.get() + size};
}

void zvCompressedInputFileStream::Read(void* buffer, misc::zvStreamSize& size) {
  if (size == 0) return;
  if (!m_isZlib) {
    size = m_bzip2->Read(buffer, size);
    return;
  }
  if (m_size == 0) Fail(L"Empty stream");
  misc::zvByteWindow& window = GetWindow();
  if (size > static_cast<misc::zvStreamSize>(window.end - window.next))
    Fail(L"Not enough data in stream left");
  std::memcpy(buffer, window.next, static_cast<std::size_t>(size));
  window.next += size;
}

}  // namespace pack
