#include <kandrel/misc/byte_files.h>
#include <kandrel/misc/file_streams.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/platform.h>
#include <kandrel/misc/text.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace misc {

namespace fs = std::filesystem;

namespace {

using platform::FileKind;

constexpr int kMostAttempts = 100;  // names of files that an earlier run left behind

// Where a chain of links ends; the path itself where it is none.
std::string Resolved(const std::string& path) {
  std::error_code error;
  const fs::path resolved = fs::canonical(path, error);
  return error ? path : resolved.string();
}

}  // namespace

// Looks at the path first, as opening a named pipe would wait for its other end.
zvFile OpenToRead(const std::wstring& path) {
  std::string bytes;
  if (!ToPathBytes(path, bytes)) return nullptr;
  if (platform::KindOfFile(bytes.c_str()) != FileKind::kRegular) return nullptr;
  zvFile file(std::fopen(bytes.c_str(), "rb"));
  if (file != nullptr && platform::KindOfFile(file.get()) != FileKind::kRegular) file.reset();
  return file;
}

zvBinInputFile::zvBinInputFile(const std::wstring& path) : m_file(OpenToRead(path)) {
  if (m_file == nullptr) {
    std::string bytes;
    const bool isPath = ToPathBytes(path, bytes);
    ThrowOpenFailed(path, isPath && platform::KindOfFile(bytes.c_str()) == FileKind::kMissing);
  }
  m_size = platform::SizeOfFile(m_file.get());
}

void zvBinInputFile::Read(void* buffer, zvStreamSize& size) {
  if (size == 0) return;
  size = std::fread(buffer, 1, size, m_file.get());
  if (std::ferror(m_file.get()) != 0) throw zvmiscException(zvmiscException::kEndOfInput);
}

zvBinOutputFile::zvBinOutputFile(const std::wstring& path) {
  std::string bytes;
  if (!ToPathBytes(path, bytes)) ThrowOpenFailed(path, false);
  const FileKind kind = platform::KindOfFile(bytes.c_str());
  const bool isDevice = kind == FileKind::kOther;
  m_target = isDevice ? bytes : Resolved(bytes);
  // The folder may be writable, and the file be renamed away; but whoever protects a file means it.
  if (kind == FileKind::kRegular && !platform::IsWritable(m_target.c_str()))
    ThrowOpenFailed(path, false);
  errno = 0;
  if (isDevice) m_file.reset(std::fopen(m_target.c_str(), "wb"));
  for (int attempt = 0; !isDevice && m_file == nullptr && attempt < kMostAttempts; ++attempt) {
    m_temporary = m_target + ".tmp" + std::to_string(platform::ProcessNumber());
    if (attempt != 0) (m_temporary += '-') += std::to_string(attempt);
    m_file.reset(std::fopen(m_temporary.c_str(), "wbx"));
    if (m_file == nullptr && errno != EEXIST) break;
  }
  if (m_file == nullptr) ThrowOpenFailed(path, errno == ENOENT);
  // At once, and not when the bytes are there for others to read.
  if (kind == FileKind::kRegular) platform::TakeOwnerAndMode(m_file.get(), m_target.c_str());
}

zvBinOutputFile::~zvBinOutputFile() {
  if (m_file != nullptr) Discard();
}

void zvBinOutputFile::Write(const void* buffer, const zvStreamSize& size) {
  if (size != 0 && (m_file == nullptr || std::fwrite(buffer, 1, size, m_file.get()) != size))
    throw zvmiscException(zvmiscException::kEndOfOutput);
}

void zvBinOutputFile::Commit() {
  const bool isWritten = m_file != nullptr && std::fflush(m_file.get()) == 0 &&
                         std::ferror(m_file.get()) == 0 && std::fclose(m_file.release()) == 0;
  if (isWritten && m_temporary.empty()) return;
  if (isWritten && std::rename(m_temporary.c_str(), m_target.c_str()) == 0) return;
  Discard();
  throw zvmiscException(zvmiscException::kEndOfOutput);
}

void zvBinOutputFile::Discard() noexcept {
  m_file.reset();
  if (!m_temporary.empty()) std::remove(m_temporary.c_str());
}

}  // namespace misc
