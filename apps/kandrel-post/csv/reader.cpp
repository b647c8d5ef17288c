#include "kandrel-post/csv/reader.h"

#include <fmt/format.h>
#include <kandrel/misc/text.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "kandrel-post/host/errors.h"

namespace kandrel_post {

namespace {

enum Column : std::size_t {
  kIndex,
  kType,
  kRapid,
  kFeed,
  kTime,
  kX,
  kY,
  kZ,
  kR1,
  kR2,
  kR3,
  kPartX,
  kPartY,
  kPartZ,
  kI,
  kJ,
  kK,
  kPole,
  kSource,
  kInserted,
  kColumns,
};

constexpr std::array<std::string_view, kColumns> kNames{
    "index", "type",   "rapid",  "feed",   "time", "x", "y", "z",    "r1",     "r2",
    "r3",    "part_x", "part_y", "part_z", "i",    "j", "k", "pole", "source", "inserted"};

// Takes the text up to the next comma off the front.
std::string_view TakeField(std::string_view& rest, bool& isLast) {
  const std::size_t comma = rest.find(',');
  isLast = comma == std::string_view::npos;
  const std::string_view field = Trimmed(rest.substr(0, comma));
  rest.remove_prefix(isLast ? rest.size() : comma + 1);
  return field;
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kMost = 40;
  return fmt::format("\"{}{}\"", Printable(text.substr(0, kMost)),
                     text.size() > kMost ? "..." : "");
}

bool IsNumber(std::string_view text, double& value) {
  return misc::FromText(text, value) && std::isfinite(value);
}

// A whole number that a source index can be; -1 stands in front of the first move.
bool IsIndex(std::string_view text, std::int64_t& index) {
  double value = 0;
  if (!IsNumber(text, value) || value != std::floor(value)) return false;
  if (!(value >= -1 && value <= std::numeric_limits<std::int32_t>::max())) return false;
  index = static_cast<std::int64_t>(value);
  return true;
}

}  // namespace

PostedCsvReader::PostedCsvReader(ByteSource source, std::string name, int rotaryCount)
    : m_lines(std::move(source), std::move(name)), m_rotaryCount(rotaryCount) {
  ReadHeader(rotaryCount);
}

void PostedCsvReader::Expected(std::string_view what) const {
  FailAtLine(m_lines.GetName(), std::max(m_lines.GetLine(), 1ull), what);
}

void PostedCsvReader::ReadHeader(int rotaryCount) {
  std::string_view rest;
  if (!m_lines.Next(rest)) Expected("a line with the names of columns expected: index,type,...");
  std::array<bool, kColumns> isThere{};
  for (bool isLast = false; !isLast;) {
    const std::string_view name = TakeField(rest, isLast);
    const auto known = std::find(kNames.begin(), kNames.end(), name);
    if (known == kNames.end())
      Expected(fmt::format("the name of a column of posted.csv expected, {} found", Quoted(name)));
    const auto column = static_cast<std::size_t>(known - kNames.begin());
    if (std::exchange(isThere[column], true))
      Expected(fmt::format("each column once expected, {} found again", name));
    m_columns.push_back(column);
  }
  for (const std::size_t column :
       {kRapid, kFeed, kX, kY, kZ, kR1, kR2, kR3, kPartX, kPartY, kPartZ, kI, kJ, kK}) {
    const bool isLacking = column >= kR1 + static_cast<std::size_t>(rotaryCount) && column <= kR3;
    if (!isThere[column] && !isLacking)
      Expected(fmt::format("a column {} expected", kNames[column]));
  }
}

bool PostedCsvReader::Next(post::zvPostedLine& line) {
  std::string_view rest;
  do {
    if (!m_lines.Next(rest)) return false;
  } while (Trimmed(rest).empty());

  std::array<double, kColumns> numbers{};
  line.source = -1;
  std::size_t count = 0;
  for (bool isLast = false; !isLast; ++count) {
    const std::string_view field = TakeField(rest, isLast);
    if (count == m_columns.size() || (isLast && count + 1 != m_columns.size()))
      Expected(fmt::format("{} columns expected, {} found", m_columns.size(),
                           isLast ? fmt::format("{}", count + 1) : "more"));
    const std::size_t column = m_columns[count];
    const auto expected = [&](std::string_view what) {
      Expected(
          fmt::format("{} expected in column {}, {} found", what, kNames[column], Quoted(field)));
    };
    double& number = numbers[column];
    switch (column) {
      case kIndex:
      case kType:
      case kTime:
      case kPole:
        break;
      case kRapid:
      case kInserted:
        if (column == kInserted && field.empty()) break;
        if (field != "0" && field != "1") expected("0 or 1");
        number = field == "1" ? 1 : 0;
        break;
      case kSource:
        if (!field.empty() && !IsIndex(field, line.source)) expected("the index of a move");
        break;
      case kR1:
      case kR2:
      case kR3:
        if (column >= kR1 + static_cast<std::size_t>(m_rotaryCount)) {
          if (!field.empty()) expected("nothing, as the machine lacks that axis,");
          break;
        }
        [[fallthrough]];
      default:
        if (!IsNumber(field, number)) expected("a finite number");
    }
  }
  line.p_mach = {numbers[kX], numbers[kY], numbers[kZ]};
  line.degs = {numbers[kR1], numbers[kR2], numbers[kR3]};
  line.p_part = {numbers[kPartX], numbers[kPartY], numbers[kPartZ]};
  line.dir_tool = {numbers[kI], numbers[kJ], numbers[kK]};
  line.feed = numbers[kFeed];
  line.isRapid = numbers[kRapid] != 0;
  line.isInserted = numbers[kInserted] != 0;
  if (line.dir_tool.IsZero())
    Expected("a tool axis other than 0,0,0 expected in columns i, j and k");
  return true;
}

}  // namespace kandrel_post
