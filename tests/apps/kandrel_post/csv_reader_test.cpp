// Posted lines from comma-separated values: what is taken, and where what is not fails.
#include <kandrel-post/csv/reader.h>

#include "support.h"

namespace {

using namespace tests;
using kandrel_post::PostedCsvReader;

kandrel_post::ByteSource SourceOf(std::string_view text, std::size_t bytesAtATime) {
  return [text, bytesAtATime](char* buffer, std::size_t bytes) mutable {
    const std::size_t count = std::min({bytes, bytesAtATime, text.size()});
    std::memcpy(buffer, text.data(), count);
    text.remove_prefix(count);
    return count;
  };
}

std::string Shown(const post::zvPostedLine& line) {
  const auto three = [](const auto& p) { return fmt::format(" {},{},{}", p[0], p[1], p[2]); };
  return fmt::format("{}{}{}{}{} {}{}{};", line.feed, three(line.p_mach), three(line.degs),
                     three(line.p_part), three(line.dir_tool), line.isRapid ? "R" : "", line.source,
                     line.isInserted ? "I" : "");
}

std::string ShownText(std::string_view text, int rotaryCount, std::size_t bytesAtATime) {
  std::string shown;
  const std::string failure = FailureText([&] {
    PostedCsvReader reader(SourceOf(text, bytesAtATime), "test.csv", rotaryCount);
    for (post::zvPostedLine line; reader.Next(line);) shown += Shown(line);
  });
  return failure.empty() ? shown : failure;
}

TEST(CsvReader, TakesTheFormOfPostedCsvAndNamesTheLineThatIsNot) {
  for (const auto& c : Cases("csv.txt"))
    for (const std::size_t bytesAtATime : {std::size_t{1}, std::size_t{1000}}) {
      SCOPED_TRACE(c.at(1));
      const std::string shown = ShownText(c.at(1), std::stoi(c.at(0)), bytesAtATime);
      const bool isFailure = c.at(2).starts_with("test.csv");
      EXPECT_EQ(isFailure ? shown.substr(0, c.at(2).size()) : shown, c.at(2));
    }
}

TEST(CsvReader, KeepsALineWithoutEndOutOfTheMemory) {
  std::size_t given = 0;
  const auto source = [&](char* buffer, std::size_t bytes) {
    std::memset(buffer, 'x', bytes);
    given += bytes;
    return bytes;
  };
  EXPECT_EQ(FailureText([&] { PostedCsvReader(source, "test.csv", 0); }),
            "test.csv:1: a line of at most 65536 characters expected");
  EXPECT_LT(given, std::size_t{1} << 22);
}

}  // namespace
