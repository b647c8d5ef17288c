#include "kandrel-post/out/output_folder.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
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

bool IsFolder(const fs::path& path) {
  std::error_code ignored;
  return fs::is_directory(path, ignored);
}

// Changes of names that are undone, the last one first, unless they are kept. All return the error
// number where the system refuses, else 0.
class Renames {
 public:
  explicit Renames(std::size_t most) {
    m_done.reserve(most);
    m_aside.reserve(most);
  }
  Renames(const Renames&) = delete;
  Renames& operator=(const Renames&) = delete;
  ~Renames() {
    for (auto done = m_done.rbegin(); done != m_done.rend(); ++done) {
      // Nothing happens where both are still one file, and the second name goes.
      if (std::rename(done->to.c_str(), done->from.c_str()) == 0 && done->isLink)
        ::unlink(done->to.c_str());
    }
  }

  int Move(const fs::path& from, const fs::path& to) {
    Done done{from, to, false};
    if (std::rename(from.c_str(), to.c_str()) != 0) return errno;
    m_done.push_back(std::move(done));
    return 0;
  }

  // A hidden name beside it, by which the file can be had back; it has its own as well where
  // `staysThere`, so that even a program that is killed leaves it, unless the file system knows no
  // second names.
  int PutAside(const fs::path& path, bool staysThere) {
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
      const fs::path to = path.parent_path() / fmt::format(".{}.{}-old{}", path.filename().string(),
                                                           ::getpid(), attempt);
      Done done{path, to, true};
      if (::link(path.c_str(), to.c_str()) == 0) {
        m_done.push_back(std::move(done));
        m_aside.push_back(to);
        if (staysThere || ::unlink(path.c_str()) == 0) return 0;
        return errno;
      }
      if (errno == EEXIST) continue;
      if (errno != EPERM && errno != EOPNOTSUPP && errno != EMLINK && errno != ENOSYS) return errno;
      const int error = Move(path, to);
      if (error == 0) m_aside.push_back(to);
      return error;
    }
    return EEXIST;
  }

  void Keep() {
    m_done.clear();
    for (const fs::path& path : m_aside) ::unlink(path.c_str());
  }

 private:
  struct Done {
    fs::path from;
    fs::path to;
    bool isLink;
  };
  std::vector<Done> m_done;
  std::vector<fs::path> m_aside;
};

}  // namespace

OutputFolder::OutputFolder(const std::string& folder, Names names)
    : m_folder(folder), m_names(names) {
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
  if (IsFolder(target)) FailWithErrno(target.string(), "cannot be made", EISDIR);
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
  Renames renames(2 * m_files.size() + m_names.size());
  for (const File& file : m_files) {
    if (IsFolder(file.target)) FailWithErrno(file.target.string(), "cannot be made", EISDIR);
    const int error = renames.PutAside(file.target, /*staysThere=*/true);
    if (error != 0 && error != ENOENT)
      FailWithErrno(file.target.string(), "cannot be replaced", error);
  }
  // Where there is none of the first name, nobody knows whose the others are.
  std::error_code ignored;
  if (!m_names.empty() && fs::is_regular_file(m_folder / m_names.front(), ignored))
    for (const std::string_view name : m_names) {
      const fs::path path = m_folder / name;
      if (IsMade(path) || IsFolder(path)) continue;
      const int error = renames.PutAside(path, /*staysThere=*/false);
      if (error != 0 && error != ENOENT) FailWithErrno(path.string(), "cannot be removed", error);
    }
  for (const File& file : m_files)
    if (const int error = renames.Move(file.temporary, file.target); error != 0)
      FailWithErrno(file.target.string(), "cannot be made", error);
  renames.Keep();
  m_committed = true;
}

bool OutputFolder::IsMade(const fs::path& target) const {
  return std::any_of(m_files.begin(), m_files.end(),
                     [&](const File& file) { return file.target == target; });
}

}  // namespace kandrel_post
