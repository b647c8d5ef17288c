// Posted moves as plain NC text.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kandrel-post/out/posted_row.h"
#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

/// Text for a control of the ISO 6983 kind: one block a move, absolute, linear, with G0 and G1
/// modal and the axes by their AxisWords. An axis is written when its text differs from the
/// last one written; four decimals metric, five inch, degrees as lengths.
///
/// Feeds: F in length per minute when it changes on a feed move. A feed move that turns a rotary
/// axis gets inverse time (G93, F in 1/min, on every such block) from its move time; one without a
/// time, as a turn on the spot, turns at 3600 degrees a minute. A feed move without a feed gets no
/// F, and a comment before the first of them.
class NcWriter {
 public:
  /// Writes the head of the text. `axisNames` are any texts, for X, Y, Z and the rotary
  /// axes; six at most. The control takes the shorter way to the angles of `wrapped` rotary axes.
  NcWriter(TextSink& sink, std::string_view machineName, const std::vector<std::string>& axisNames,
           bool inch, const std::array<bool, 3>& wrapped = {});

  /// Fails with error 0 for a position or an angle that is infinite or not a number.
  void Write(const PostedRow& row);

  /// The number of the block of the posted move with this index.
  static std::uint64_t NumberOf(std::uint64_t index) noexcept {
    return kFirstNumber + kNumberStep * (kHeadBlocks + index);
  }

  /// Writes the end of the text.
  void Finish();

 private:
  static constexpr std::size_t kMostAxes = 6;
  static constexpr std::uint64_t kFirstNumber = 10;
  static constexpr std::uint64_t kNumberStep = 5;
  static constexpr std::uint64_t kHeadBlocks = 2;

  struct Word {
    std::array<char, kNumberRoom> text;
    std::size_t length = 0;
    double value = 0;
  };

  bool Update(Word& word, double value);
  void PutFeed(const PostedRow& row, bool turns, double turnDeg);
  void PutF(double value);
  void BeginBlock();

  TextSink& m_sink;
  std::vector<std::string> m_axisWords;
  int m_decimals;
  std::array<bool, 3> m_wrapped;
  std::uint64_t m_number = kFirstNumber;
  std::uint64_t m_moves = 0;
  std::array<Word, kMostAxes> m_axes{};
  int m_motion = -1;  // 0 and 1: G0 and G1 in force
  bool m_inverseTime = false;
  double m_feed = 0;  // F in force, 0 for none
  bool m_notedNoFeed = false;
};

}  // namespace kandrel_post
