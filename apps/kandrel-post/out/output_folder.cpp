#include "kandrel-post/out/output_folder.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <system_error>
#include <utility>

#include "kandrel-post/host/errors.h"

namespace kandrel_post {

namespace fs = std::filesystem;

namespace {

constexpr int kMostAttempts = 100;

// The outermost part of a path that does not exist yet; empty when all of it does.
fs::path FirstMissing(const fs::path& folder) {
  fs::path missing;
  std::error_code ignored;
  for (fs::path p = folder; !p.empty() && !fs::exists(p, ignored); p = p.parent_path()) {
    missing = p;
    if (p == p.parent_path()) break;
  }
  return missing;
}

}  // namespace

OutputFolder::OutputFolder(const std::string& folder) : m_folder(folder) {
  if (!m_folder.has_filename()) m_folder = m_folder.parent_path();  // DIR/ is DIR
  m_firstMade = FirstMissing(m_folder);
  const SignalsHeld held;  // no folder without an entry that removes it
  std::error_code error;
  fs::create_directories(m_folder, error);
  if (!m_firstMade.empty()) {
    fs::path made = m_folder;
    for (; made != m_firstMade; made = made.parent_path())
      m_madeRemoved.push_back(std::make_unique<RemovedBySignal>(made.string()));
    m_madeRemoved.push_back(std::make_unique<RemovedBySignal>(made.string()));
  }
  if (error) FailWithErrno(folder, "cannot be made", error.value());
  if (!fs::is_directory(m_folder, error)) FailWithErrno(folder, "is no folder", ENOTDIR);
}

OutputFolder::~OutputFolder() {
  for (File& file : m_files) {
    if (file.descriptor >= 0) ::close(file.descriptor);
    if (!m_committed) ::unlink(file.temporary.c_str());
  }
  if (m_committed || m_firstMade.empty()) return;
  // Only folders that are still empty go, from the inside out.
  for (fs::path p = m_folder; ::rmdir(p.c_str()) == 0 && p != m_firstMade; p = p.parent_path()) {
  }
}

TextSink& OutputFolder::Create(std::string_view fileName) {
  const fs::path target = m_folder / fileName;
  std::error_code ignored;
  if (fs::is_directory(target, ignored)) FailWithErrno(target.string(), "cannot be made", EISDIR);
  m_files.reserve(m_files.size() + 1);
  for (int attempt = 0;; ++attempt) {
    const fs::path temporary = m_folder / fmt::format(".{}.{}-{}", fileName, ::getpid(), attempt);
    const SignalsHeld held;  // no file without an entry that removes it
    const int descriptor = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) {
      if (errno == EEXIST && attempt < kMostAttempts) continue;
      FailWithErrno(target.string(), "cannot be made", errno);
    }
    m_files.push_back({target, temporary, descriptor, nullptr, nullptr});
    m_files.back().removed = std::make_unique<RemovedBySignal>(temporary.string());
    m_files.back().sink = std::make_unique<TextSink>(descriptor, target.string());
    return *m_files.back().sink;
  }
}

void OutputFolder::Commit() {
  for (File& file : m_files) {
    file.sink->Flush();
    const int descriptor = std::exchange(file.descriptor, -1);
    if (::close(descriptor) != 0) FailWithErrno(file.target.string(), "cannot be written", errno);
  }
  const SignalsHeld held;  // all files or none
  for (std::size_t i = 0; i < m_files.size(); ++i) {
    const File& file = m_files[i];
    if (std::rename(file.temporary.c_str(), file.target.c_str()) == 0) continue;
    const int error = errno;
    for (std::size_t k = 0; k < i; ++k) ::unlink(m_files[k].target.c_str());
    FailWithErrno(file.target.string(), "cannot be made", error);
  }
  m_committed = true;
}

}  // namespace kandrel_post
