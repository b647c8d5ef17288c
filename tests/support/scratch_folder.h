// Files that a test writes and reads, in a folder of its own.
#pragma once

#include <kandrel/misc/text.h>
#include <tests/support/testing.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace tests {

/// An empty folder of the running test, removed with the object.
class ScratchFolder {
 public:
  ScratchFolder()
      : m_path(std::filesystem::temp_directory_path() /
               ("kandrel_tests-" + std::to_string(::getpid()) + "-" + std::to_string(s_count++))) {
    std::filesystem::remove_all(m_path);
    std::filesystem::create_directories(m_path);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() { std::filesystem::remove_all(m_path); }

  std::string Path(std::string_view name) const { return (m_path / name).string(); }
  std::wstring WidePath(std::string_view name) const { return misc::FromUtf8(Path(name)); }

 private:
  static inline int s_count = 0;

  std::filesystem::path m_path;
};

inline std::string FileText(const std::string& fileName) {
  std::ifstream file(fileName, std::ios::binary | std::ios::ate);
  if (!file) return {};
  std::string text(static_cast<std::size_t>(file.tellg()), '\0');
  file.seekg(0).read(text.data(), static_cast<std::streamsize>(text.size()));
  return text;
}

inline void WriteFile(const std::string& fileName, std::string_view bytes) {
  std::ofstream(fileName, std::ios::binary) << bytes;
}

}  // namespace tests
