// What the tests of the host application share.
#pragma once

#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <kandrel-post/cl/reader.h>
#include <kandrel-post/out/text_sink.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tests {

/// Reads CL text from memory, `bytesAtATime` bytes at a time.
inline kandrel_post::ClProgram ReadClText(std::string_view text, std::size_t bytesAtATime = 1 << 20,
                                          std::uint32_t linkType = 5) {
  kandrel_post::ClOptions options;
  options.rapidLinkType = linkType;
  const auto source = [text, bytesAtATime](char* buffer, std::size_t bytes) mutable {
    const std::size_t count = std::min({bytes, bytesAtATime, text.size()});
    std::memcpy(buffer, text.data(), count);
    text.remove_prefix(count);
    return count;
  };
  const std::string name = "test.cl";
  return kandrel_post::ReadCl(source, name, options);
}

/// The cases of a file in the folder `data`: a line each, its columns between "=>", without the
/// blanks about them; \n, \t, \r, \xHH and \\ as in C. Empty lines and those with # are left out.
inline std::vector<std::vector<std::string>> Cases(std::string_view fileName) {
  std::ifstream file(KANDREL_SOURCE_DIR "/tests/apps/kandrel_post/data/" + std::string(fileName));
  std::vector<std::vector<std::string>> cases;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    auto& columns = cases.emplace_back();
    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 2) {
      end = line.find("=>", at);
      std::string& column = columns.emplace_back();
      for (std::size_t i = at; i < std::min(end, line.size()); ++i) {
        const bool isHex = line[i] == '\\' && line[i + 1] == 'x';
        if (isHex)
          column += static_cast<char>(
              std::stoi(line.substr(std::exchange(i, i + 3) + 2, 2), nullptr, 16));
        else if (line[i] == '\\')
          column += line[++i] == 'n' ? '\n'
                    : line[i] == 't' ? '\t'
                    : line[i] == 'r' ? '\r'
                                     : line[i];
        else if (line[i] != ' ' || (!column.empty() && line.find_first_not_of(' ', i) != end))
          column += line[i];
      }
    }
  }
  EXPECT_FALSE(cases.empty()) << fileName;
  return cases;
}

/// The text of what `action` throws; "" when it throws nothing.
template <class Action>
std::string FailureText(Action&& action) {
  try {
    action();
  } catch (const std::exception& e) {
    return e.what();
  }
  return "";
}

/// A folder of the running test, removed with the object.
class ScratchFolder {
 public:
  ScratchFolder()
      : m_path(std::filesystem::temp_directory_path() /
               ("kandrel_post_tests-" + std::to_string(::getpid()))) {
    std::filesystem::remove_all(m_path);
    std::filesystem::create_directories(m_path);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() { std::filesystem::remove_all(m_path); }

  std::string Path(std::string_view name) const { return (m_path / name).string(); }

 private:
  std::filesystem::path m_path;
};

inline std::string FileText(const std::string& fileName) {
  std::ifstream file(fileName, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/// What `write` writes into a sink that ends in the file.
template <class Write>
std::string Written(const std::string& fileName, Write&& write) {
  const int descriptor = ::open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  kandrel_post::TextSink sink(descriptor, fileName);
  write(sink);
  sink.Flush();
  ::close(descriptor);
  return FileText(fileName);
}

/// A tree as text: P and S where a pass and a slice begin, sections in brackets, L<type> in front
/// of links; moves as x,y,z/i,j,k@feed, with R in front of rapid ones, exact numbers, and no axis
/// where it is 0,0,1.
inline std::string Shown(const cadcam::zvToolPath& toolPath) {
  std::string text;
  for (const auto& pass : toolPath.Children()) {
    text += "P";
    for (const auto& slice : pass->Children()) {
      text += "S";
      for (const auto& section : slice->Children()) {
        cadcam::zvTPSLinkVisitor visitor;
        section->AcceptVisitor(visitor);
        text += visitor.IsLink() ? fmt::format("[L{}", visitor.GetLinkType()) : "[C";
        for (const auto& move : *section) {
          const auto& p = move->GetPosition();
          const auto& o = move->GetOrientation();
          text += fmt::format(" {}{},{},{}", move->IsRapid() ? "R" : "", p.x, p.y, p.z);
          if (!(o == cadcam::zvTPoint3d<double>(0, 0, 1)))
            text += fmt::format("/{},{},{}", o.x, o.y, o.z);
          if (move->GetFeed() != 0) text += fmt::format("@{}", move->GetFeed());
        }
        text += "]";
      }
    }
  }
  return text;
}

}  // namespace tests
