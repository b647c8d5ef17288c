#include "posted_files.h"

#include <kandrel-post/command_line.h>

#include <cstdlib>

namespace tests {

std::filesystem::path DataFolder() {
  namespace fs = std::filesystem;
  if (const char* const given = std::getenv("KANDREL_DATA")) return fs::path(given) / "toolpaths";
  const fs::path source(KANDREL_SOURCE_DIR);
  for (fs::path p = source; p != p.parent_path(); p = p.parent_path()) {
    const fs::path folder = p.parent_path() / "shared" / "data" / "toolpaths";
    if (fs::is_directory(folder)) return folder;
  }
  return {};
}

std::vector<SourceMove> SourceMoves(const std::filesystem::path& fileName) {
  std::ifstream file(fileName);
  std::vector<SourceMove> moves;
  Numbers3 axis{0, 0, 1};
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with("GOTO/")) continue;
    std::vector<double> numbers;
    const char* at = line.c_str() + 4;
    for (char* end = nullptr; *at == '/' || *at == ','; at = end)
      numbers.push_back(std::strtod(at + 1, &end));
    if (numbers.size() == 6) axis = {numbers[3], numbers[4], numbers[5]};
    numbers.resize(3);
    moves.push_back({{numbers[0], numbers[1], numbers[2]}, axis});
  }
  return moves;
}

std::vector<PostedLine> PostedLines(const std::string& fileName) {
  std::ifstream file(fileName);
  std::vector<PostedLine> lines;
  std::vector<std::string> columns;
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    columns.clear();
    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
      end = line.find(',', at);
      columns.push_back(line.substr(at, end - at));
    }
    EXPECT_EQ(columns.size(), 20u) << line;
    if (columns.size() != 20) break;
    const auto number = [&](std::size_t i) { return std::strtod(columns[i].c_str(), nullptr); };
    const auto three = [&](std::size_t i) {
      return Numbers3{number(i), number(i + 1), number(i + 2)};
    };
    PostedLine& posted = lines.emplace_back();
    posted.type = std::atoi(columns[1].c_str());
    posted.rapid = columns[2] == "1";
    posted.machine = three(5);
    for (std::size_t i = 8; i < 11 && !columns[i].empty(); ++i) posted.angles.push_back(number(i));
    posted.part = three(11);
    posted.axis = three(14);
    posted.source = columns[18];
    posted.inserted = columns[19];
  }
  return lines;
}

int Post(const std::string& machine, const std::filesystem::path& toolPath,
         const std::string& folder, std::vector<const char*> more) {
  const std::string file = toolPath.string();
  std::vector<const char*> arguments{"kandrel-post", "post",       "-m", machine.c_str(),
                                     "-t",           file.c_str(), "-o", folder.c_str()};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return kandrel_post::RunCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

}  // namespace tests
