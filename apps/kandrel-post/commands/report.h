// What a posting did, on one screen.
#pragma once

#include <kandrel/post/model/path_tolerance.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/tolerance_report.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kandrel-post/cl/reader.h"
#include "kandrel-post/machine/machine.h"
#include "kandrel-post/out/posted_row.h"

namespace kandrel_post {

/// Collects what the summary says about the posted moves, in one walk beside the writers.
class PostedStatistics {
 public:
  struct Range {
    double min = 0;
    double max = 0;
  };

  /// The control takes the shorter way to the angles of `wrapped` rotary axes.
  explicit PostedStatistics(const std::array<bool, 3>& wrapped) : m_wrapped(wrapped) {}

  void Add(const PostedRow& row);

  std::uint64_t GetCount() const noexcept { return m_count; }
  std::uint64_t GetRapidCount() const noexcept { return m_rapidCount; }
  /// Moves that the kernel made; only moves with an extended block say so, others count as none.
  std::uint64_t GetInsertedCount() const noexcept { return m_insertedCount; }
  double GetSeconds() const noexcept { return m_seconds; }
  /// Of X, Y, Z and the rotary axes; meaningless before the first Add.
  const Range& GetRange(std::size_t axis) const { return m_ranges[axis]; }
  /// All the way of a rotary axis, both directions and rapid moves counted, in turns of 360
  /// degrees.
  double GetTurns(std::size_t axis) const { return m_wayDeg[axis] / 360; }

 private:
  std::uint64_t m_count = 0;
  std::uint64_t m_rapidCount = 0;
  std::uint64_t m_insertedCount = 0;
  double m_seconds = 0;
  std::array<Range, 6> m_ranges{};
  std::array<bool, 3> m_wrapped;
  std::array<double, 3> m_anglesDeg{};  // of the move before
  std::array<double, 3> m_wayDeg{};
};

struct Report {
  std::string toolPathFile;
  std::vector<std::string> outputFiles;
  bool aligned = false;          ///< the toolpath was turned onto the machine
  bool small = false;            ///< posted moves don't say whether they are inserted
  bool hasLog = true;            ///< otherwise none can be read again
  post::zvPostingCounts counts;  ///< of rotary axes; a machine without any has none
  std::uint64_t polesCrossed = 0;
  double rotarySlackDeg = 0;      ///< by which angles may pass their limits
  std::array<bool, 3> wrapped{};  ///< rotary axes whose angles the control wraps
  /// A bound of the largest distance of the tip from its line, and the line of its block's end.
  struct Deviation {
    double largest = 0;
    std::uint64_t index = 0;
    std::uint64_t number = 0;  ///< of the block in the NC text
  };
  Deviation deviation;
  post::zvPathTolerance tolerance;
  post::zvToleranceReport notHeld;  ///< where the posting couldn't keep it
  std::string verdict;              ///< of the verification, lines with their ends
  std::string pageLeftOut;          ///< why there is no report.html though it was asked for
  double secondsTaken = 0;
};

/// How many moves the kernel made; of small moves, which don't say it, as many as are more than the
/// toolpath's.
std::uint64_t InsertedOf(const Report& report, const ClProgram& program,
                         const PostedStatistics& posted);

/// The summary's text.
std::string FormatReport(const Report& report, const Machine& machine, const ClProgram& program,
                         const PostedStatistics& posted);

/// A machine in words.
std::string DescribeMachine(const Machine& machine);

}  // namespace kandrel_post
