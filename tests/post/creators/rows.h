// Tables of cases in the files of data/, whose lines are as NumberCases reads them.
#pragma once

#include <tests/support/number_cases.h>
#include <tests/support/testing.h>

namespace tests {

/// The lines of a file that has `kCount` numbers in each: what the line says, and its numbers.
template <std::size_t kCount>
auto Rows(const std::string& fileName) {
  std::vector<decltype(std::tuple_cat(std::tuple<std::string>(), std::array<double, kCount>()))>
      rows;
  for (const NumberCase& c : NumberCases("creators/data/" + fileName)) {
    std::array<double, kCount> numbers{};
    EXPECT_EQ(c[0].size(), kCount) << c.line;
    std::copy_n(c[0].begin(), std::min(kCount, c[0].size()), numbers.begin());
    rows.push_back(std::tuple_cat(std::tuple(c.line), numbers));
  }
  return rows;
}

}  // namespace tests
