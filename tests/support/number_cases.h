// Tables of cases that are numbers, in files.
#pragma once

#include <gtest/gtest.h>
#include <tests/support/text_numbers.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace tests {

/// A line of a file: what is said of it before ": ", if anything, and groups of numbers between
/// "|". A group may be empty.
struct NumberCase {
  std::string line;
  std::vector<std::vector<double>> groups;

  const std::vector<double>& operator[](std::size_t group) const { return groups.at(group); }
};

/// The cases of a file of the source tree. Empty lines and lines that begin with # are left out.
inline std::vector<NumberCase> NumberCases(const std::string& fileName) {
  std::ifstream file(KANDREL_SOURCE_DIR "/tests/post/" + fileName);
  std::vector<NumberCase> cases;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    NumberCase& c = cases.emplace_back(NumberCase{line, {{}}});
    const std::size_t named = line.find(": ");
    std::istringstream words(named == line.npos ? line : line.substr(named + 2));
    for (std::string word; words >> word;)
      if (word == "|")
        c.groups.emplace_back();
      else
        c.groups.back().push_back(tests::NumberFrom(word));  // nan and inf too
  }
  EXPECT_FALSE(cases.empty()) << fileName;
  return cases;
}

}  // namespace tests
