#include <kandrel/misc/exception.h>
#include <kandrel/misc/file_streams.h>
#include <kandrel/misc/platform.h>
#include <kandrel/misc/text.h>

#include <cerrno>
#include <locale>

namespace misc {

namespace {

constexpr std::size_t kLongestPath = 260;

// The conversion goes in before the file is opened: later it would only serve what comes after.
void Imbue(std::wios& stream, std::unique_ptr<zvCodecvt> conversion) {
  // A locale that finds no memory for itself has not taken the conversion.
  const std::locale locale(std::locale::classic(), conversion.get());
  static_cast<void>(conversion.release());
  stream.imbue(locale);
}

}  // namespace

std::wstring PathLengthRemark(const std::wstring& path) {
  if (path.size() <= kLongestPath) return {};
  return L"\nFile path exceeds the maximum path length allowed by OS";
}

void ThrowOpenFailed(const std::wstring& path, bool isMissing) {
  std::wstring text = L"File open failed.\n" + path;
  if (isMissing) text += L" doesn't exist";
  throw zvException(0, text + PathLengthRemark(path));
}

basic_ifstream_ex::~basic_ifstream_ex() = default;

void basic_ifstream_ex::Open(const std::wstring& path, openmode mode) {
  std::string bytes;
  if (ToPathBytes(path, bytes) &&
      platform::KindOfFile(bytes.c_str()) == platform::FileKind::kRegular)
    open(bytes, mode);
  else
    setstate(failbit);
}

basic_ofstream_ex::~basic_ofstream_ex() = default;

void basic_ofstream_ex::Open(const std::wstring& path, openmode mode) {
  std::string bytes;
  if (ToPathBytes(path, bytes))
    open(bytes, mode);
  else
    setstate(failbit);
}

zvIFStream::zvIFStream(const std::wstring& path, openmode mode,
                       std::unique_ptr<zvCodecvt> conversion) {
  Imbue(*this, std::move(conversion));
  errno = 0;
  Open(path, mode);
  if (!is_open()) ThrowOpenFailed(path, errno == ENOENT);
}

zvIFStream::~zvIFStream() = default;

zvOFStream::zvOFStream(const std::wstring& path, openmode mode,
                       std::unique_ptr<zvCodecvt> conversion) {
  Imbue(*this, std::move(conversion));
  errno = 0;
  Open(path, mode);
  if (!is_open()) ThrowOpenFailed(path, errno == ENOENT);
}

zvOFStream::~zvOFStream() = default;

}  // namespace misc
