// The lines of a run that a picture of it holds.
#pragma once

#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/verifier/posting_findings.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "kandrel-post/out/posted_row.h"

namespace kandrel_post {

/// What is marked of a line.
enum LineFlag : std::uint8_t {
  kRapidLine = 1,
  kInsertedLine = 2,
  kPoleLine = 4,       ///< the tool stands on a pole there, or crosses one on the way there
  kLargeJumpLine = 8,  ///< made off the part to turn to the other solution
  kRewindingLine = 16,
};

/// A posted line as a picture shows it: lengths in the machine's units, angles in degrees. What
/// moves the machine are doubles; floats are plenty for what is only looked at.
struct HeldLine {
  static constexpr std::uint32_t kNoSource = 0xFFFFFFFF;

  double seconds = 0;  ///< the sum of the times up to it
  std::array<double, 6> axes{};
  std::array<float, 3> part{};
  std::array<float, 3> tool{};
  float feed = 0;
  /// Bounds of what the machine leaves its way by since the held line before; NaN where no block of
  /// feed motion ends.
  float tip = std::numeric_limits<float>::quiet_NaN();
  float axis = std::numeric_limits<float>::quiet_NaN();
  std::uint32_t line = 0;
  std::uint32_t source = kNoSource;
  std::uint8_t flags = 0;
};

/// Collects them: Start, then all lines, then the deviations of a verification.
///
/// A run of up to `most` lines is held whole. Of a longer one each k-th line is held, with k so
/// that they are half of `most`; the first and the last line, and those at which an axis stands
/// furthest either way; and up to the other half, spread over the run, the ends of what is marked
/// and of rapid stretches. Takes some 100 bytes a line held.
///
/// Small moves don't say whether they are inserted: their large jumps and rewindings aren't marked.
class HeldLines : public post::zvBlockSink {
 public:
  static constexpr std::size_t kMost = 500000;

  /// The control takes the shorter way to the angles of `wrapped` rotary axes.
  explicit HeldLines(const std::array<bool, 3>& wrapped, std::size_t most = kMost)
      : m_wrapped(wrapped), m_most(most) {}

  /// `count` lines will come, of a posting that counted these.
  void Start(std::uint64_t count, const post::zvPostingCounts& counts);
  /// The lines in order, `isOnPole` as kPoleLine says.
  void Write(const PostedRow& row, bool isOnPole);
  /// The deviations of the blocks in order, after the last line.
  void Take(const post::zvVerifiedBlock& block) override;

  const std::vector<HeldLine>& GetLines() const noexcept { return m_lines; }
  /// Of all lines that have come.
  std::uint64_t GetCount() const noexcept { return m_count; }

 private:
  // Lines that the posting put in off the part, one after the other.
  struct Flight {
    bool isOn = false;
    bool hasRewound = false;
    std::size_t first = 0;           // of the held lines, the first of it
    std::array<double, 6> before{};  // where the axes were
  };

  HeldLine LineOf(const PostedRow& row, bool isOnPole);
  void Follow(const HeldLine& line);
  void Settle(const HeldLine& next);
  void HoldPending(const HeldLine* next);
  void NoteExtremes(const HeldLine& line);
  void HoldExtremes();

  std::array<bool, 3> m_wrapped;
  std::size_t m_most;
  post::zvPostingCounts m_counts;
  std::uint64_t m_total = 0;
  std::uint64_t m_stride = 1;
  std::uint64_t m_count = 0;
  double m_seconds = 0;
  std::vector<HeldLine> m_lines;
  HeldLine m_pending;        // the last line, held or not as the next one is
  int m_marksBefore = 0;     // of the line before that
  std::uint64_t m_room = 0;  // for lines that are held for their marks
  Flight m_flight;
  std::array<HeldLine, 12> m_extremes;  // for each axis the line of its lowest and highest place
  std::size_t m_next = 0;               // the held line that blocks are taken for
};

}  // namespace kandrel_post
