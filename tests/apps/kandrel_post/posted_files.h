// Toolpath files and posted.csv read by means of the tests' own, and the program run from within.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "support.h"

namespace tests {

using Numbers3 = std::array<double, 3>;

/// The folder of the sample data: KANDREL_DATA, or "shared/data" beside one of the folders above
/// the sources; empty when there is none.
std::filesystem::path DataFolder();

/// A GOTO; without an axis of its own it has the last one.
struct SourceMove {
  Numbers3 tip;
  Numbers3 axis;
};

std::vector<SourceMove> SourceMoves(const std::filesystem::path& fileName);

struct PostedLine {
  int type = 0;
  bool rapid = false;
  Numbers3 machine{};
  std::vector<double> angles;
  Numbers3 part{};
  Numbers3 axis{};
  std::string source;
  std::string inserted;
};

std::vector<PostedLine> PostedLines(const std::string& fileName);

/// `kandrel-post post`; gives the exit code.
int Post(const std::string& machine, const std::filesystem::path& toolPath,
         const std::string& folder, std::vector<const char*> more = {});

}  // namespace tests
