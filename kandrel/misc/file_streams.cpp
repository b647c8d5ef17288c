#include <kandrel/misc/exception.h>
#include <kandrel/misc/file_streams.h>
#include <kandrel/misc/platform.h>
#include <kandrel/misc/text.h>

#include <cerrno>
#include <locale>

namespace misc {

namespace {

constexpr std::size_t kLongestPath = 260;

[[noreturn]] void ThrowOpenFailed(const std::wstring& path, bool isMissing) {
  std::wstring text = L"File open failed.\n" + path;
  if (isMissing) text += L" doesn't exist";
  throw zvException(0, text + PathLengthRemark(path));
}

// The conversion goes in before the file is opened: later it would only serve what comes after.
void Imbue(std::wios& stream, std::unique_ptr<zvCodecvt> conversion) {
  stream.imbue(std::locale(std::locale::classic(), conversion.release()));
}

}  // namespace

std::wstring PathLengthRemark(const std::wstring& path) {
  if (path.size() <= kLongestPath) return {};
  return L"\nFile path exceeds the maximum path length allowed by OS";
}

zvIFStream::zvIFStream(const std::wstring& path, openmode mode,
                       std::unique_ptr<zvCodecvt> conversion) {
  Imbue(*this, std::move(conversion));
  std::string bytes;
  if (!ToPathBytes(path, bytes)) ThrowOpenFailed(path, false);
  const platform::FileKind kind = platform::KindOfFile(bytes.c_str());
  if (kind == platform::FileKind::kRegular) open(bytes, mode);
  if (!is_open()) ThrowOpenFailed(path, kind == platform::FileKind::kMissing);
}

zvIFStream::~zvIFStream() = default;

zvOFStream::zvOFStream(const std::wstring& path, openmode mode,
                       std::unique_ptr<zvCodecvt> conversion) {
  Imbue(*this, std::move(conversion));
  std::string bytes;
  if (!ToPathBytes(path, bytes)) ThrowOpenFailed(path, false);
  errno = 0;
  open(bytes, mode);
  if (!is_open()) ThrowOpenFailed(path, errno == ENOENT);
}

zvOFStream::~zvOFStream() = default;

}  // namespace misc
