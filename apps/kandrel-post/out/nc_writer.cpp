#include "kandrel-post/out/nc_writer.h"

#include <fmt/format.h>
#include <kandrel/post/model/posted_move.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/out/axis_words.h"

namespace kandrel_post {

namespace {

constexpr double kTurnFeed = 3600;          // degrees a minute
constexpr double kOnTheSpotSeconds = 1e-7;  // tips blended between equal ones differ by rounding
constexpr double kSmallestTurnDeg = 1e-5;   // what the text can show

// Text that a control takes as a comment: printable ASCII without brackets.
std::string Comment(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c < 0x20 || c > 0x7e || c == '(' || c == ')') c = '_';
  }
  return "(" + result + ")\n";
}

}  // namespace

NcWriter::NcWriter(TextSink& sink, std::string_view machineName,
                   const std::vector<std::string>& axisNames, bool inch,
                   const std::array<bool, 3>& wrapped)
    : m_sink(sink), m_decimals(inch ? 5 : 4), m_wrapped(wrapped) {
  AxisWords words = AxisWordsOf(axisNames);
  m_axisWords = std::move(words.words);
  std::string axes;
  for (const std::string& word : m_axisWords) axes += " " + word;
  m_sink.Put(Comment(fmt::format("MACHINE {}, AXES{}", machineName, axes)));
  for (const std::string& comment : words.comments) m_sink.Put(Comment(comment));
  BeginBlock();
  m_sink.Put(inch ? " G20\n" : " G21\n");
  BeginBlock();
  m_sink.Put(m_axisWords.size() > 3 ? " G90 G94\n" : " G90\n");
}

void NcWriter::BeginBlock() {
  m_sink.Put('N');
  m_sink.PutInteger(m_number);
  m_number += kNumberStep;
}

// True when the number's text is another than the last one.
bool NcWriter::Update(Word& word, double value) {
  if (word.length != 0 && value == word.value) return false;
  if (!std::isfinite(value))
    Fail(fmt::format("posted move {} has a position that is no finite number", m_moves));
  std::array<char, kNumberRoom> text;
  const std::size_t length =
      static_cast<std::size_t>(WriteFixed(text.data(), value, m_decimals) - text.data());
  word.value = value;
  if (length == word.length && std::memcmp(text.data(), word.text.data(), length) == 0)
    return false;
  std::memcpy(word.text.data(), text.data(), length);
  word.length = length;
  return true;
}

void NcWriter::Write(const PostedRow& row) {
  const post::zvPostedMove::Point& p = row.move.GetMachinePosition();
  const std::array<double, kMostAxes> values{p.x,           p.y,           p.z,
                                             row.angles[0], row.angles[1], row.angles[2]};
  const std::size_t axes =
      std::min(m_axisWords.size(), static_cast<std::size_t>(3 + row.rotaryCount));
  std::array<bool, kMostAxes> changed{};
  double turnDeg = 0;
  bool turns = false;
  for (std::size_t i = 0; i < axes; ++i) {
    const double before = m_axes[i].value;
    changed[i] = Update(m_axes[i], values[i]);
    if (i < 3 || !changed[i] || values[i] == before) continue;
    turns = true;
    const double way = values[i] - before;
    turnDeg = std::max(turnDeg, std::abs(m_wrapped[i - 3] ? std::remainder(way, 360) : way));
  }

  const bool feedMove = !row.move.IsRapid();
  if (feedMove && !(row.move.GetFeed() > 0) && !std::exchange(m_notedNoFeed, true))
    m_sink.Put(Comment("NO FEED WAS GIVEN FOR THE FEED MOVES FROM HERE ON"));
  BeginBlock();
  if (feedMove && turns != m_inverseTime) {
    m_inverseTime = turns;
    m_feed = 0;
    m_sink.Put(turns ? " G93" : " G94");
  }
  const int motion = feedMove ? 1 : 0;
  if (std::exchange(m_motion, motion) != motion) m_sink.Put(feedMove ? " G1" : " G0");
  for (std::size_t i = 0; i < axes; ++i) {
    if (!changed[i]) continue;
    m_sink.Put(' ');
    m_sink.Put(m_axisWords[i]);
    m_sink.Put({m_axes[i].text.data(), m_axes[i].length});
  }
  if (feedMove) PutFeed(row, turns, turnDeg);
  m_sink.Put('\n');
  ++m_moves;
}

void NcWriter::PutFeed(const PostedRow& row, bool turns, double turnDeg) {
  if (turns) {
    const double seconds = row.move.GetMoveTime();
    if (seconds > kOnTheSpotSeconds && std::isfinite(seconds)) return PutF(60 / seconds);
    return PutF(kTurnFeed / std::max(turnDeg, kSmallestTurnDeg));
  }
  const double feed = row.move.GetFeed();
  if (!(feed > 0) || !std::isfinite(feed) || feed == m_feed) return;
  m_feed = feed;
  PutF(feed);
}

// Rounded as positions are, without idle zeros; what would round to 0 is written in full.
void NcWriter::PutF(double value) {
  std::array<char, kNumberRoom> text;
  char* end = WriteFixed(text.data(), value, m_decimals);
  while (end[-1] == '0') --end;
  if (end[-1] == '.') --end;
  if (end == text.data() + 1 && text[0] == '0')
    end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed).ptr;
  m_sink.Put(" F");
  m_sink.Put({text.data(), static_cast<std::size_t>(end - text.data())});
}

void NcWriter::Finish() {
  BeginBlock();
  m_sink.Put(" M30\n");
  m_sink.Flush();
}

}  // namespace kandrel_post
