// What the tests of the host application share.
#pragma once

#include <fcntl.h>
#include <fmt/format.h>
#include <kandrel-post/cl/reader.h>
#include <kandrel-post/out/text_sink.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/testing.h>

#include <cstring>
#include <regex>

namespace tests {

/// A text as a source, `bytesAtATime` bytes at a time.
inline kandrel_post::ByteSource SourceOf(std::string_view text, std::size_t bytesAtATime) {
  return [text, bytesAtATime](char* buffer, std::size_t bytes) mutable {
    const std::size_t count = std::min({bytes, bytesAtATime, text.size()});
    std::memcpy(buffer, text.data(), count);
    text.remove_prefix(count);
    return count;
  };
}

/// Reads CL text from memory.
inline kandrel_post::ClProgram ReadClText(std::string_view text, std::size_t bytesAtATime = 1 << 20,
                                          std::uint32_t linkType = 5) {
  kandrel_post::ClOptions options;
  options.rapidLinkType = linkType;
  const std::string name = "test.cl";
  return kandrel_post::ReadCl(SourceOf(text, bytesAtATime), name, options);
}

/// A text in which \n, \t, \r, \xHH and \\ stand for what they do in C.
inline std::string Unescaped(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char escaped = text[i] == '\\' ? text[++i] : '\0';
    if (escaped == 'x') {
      plain += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
      continue;
    }
    const std::string_view from = "ntr", to = "\n\t\r";
    const std::size_t known = from.find(escaped);
    plain += known == from.npos ? text[i] : to[known];
  }
  return plain;
}

/// The cases of a file in the folder `data`: a line each, with columns between "=>". Blanks about
/// columns, empty lines and lines that begin with # are left out.
inline std::vector<std::vector<std::string>> Cases(std::string_view fileName) {
  static const std::regex between(" *=> *");
  std::ifstream file(KANDREL_SOURCE_DIR "/tests/apps/kandrel_post/data/" + std::string(fileName));
  std::vector<std::vector<std::string>> cases;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    auto& columns = cases.emplace_back();
    for (std::sregex_token_iterator it(line.begin(), line.end(), between, -1), end; it != end; ++it)
      columns.push_back(Unescaped(*it));
    if (line.ends_with("=>")) columns.emplace_back();
  }
  EXPECT_FALSE(cases.empty()) << fileName;
  return cases;
}

inline void Replace(std::string& text, std::string_view word, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos; at += by.size())
    text.replace(at, word.size(), by);
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

/// What `write` writes into a sink that ends in a file.
template <class Write>
std::string Written(Write&& write) {
  const ScratchFolder folder;
  const std::string fileName = folder.Path("out");
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
