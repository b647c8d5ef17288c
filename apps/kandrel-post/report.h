// What a posting did, on one screen.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "cl_reader.h"
#include "machine.h"
#include "posted_row.h"

namespace kandrel_post {

/// Collects what the summary tells about the posted moves, in one walk beside the writers.
class PostedStatistics {
 public:
  struct Range {
    double min = 0;
    double max = 0;
  };

  void Add(const PostedRow& row);

  std::uint64_t GetCount() const noexcept { return m_count; }
  std::uint64_t GetRapidCount() const noexcept { return m_rapidCount; }
  double GetSeconds() const noexcept { return m_seconds; }
  /// Of X, Y, Z and the rotary axes; meaningless before the first Add.
  const Range& GetRange(std::size_t axis) const { return m_ranges[axis]; }

 private:
  std::uint64_t m_count = 0;
  std::uint64_t m_rapidCount = 0;
  double m_seconds = 0;
  std::array<Range, 6> m_ranges{};
};

struct Report {
  std::string toolPathFile;
  std::vector<std::string> outputFiles;
  std::uint64_t largeJumps = 0;  ///< of rotary axes; a machine without any has none
  std::uint64_t rewindings = 0;
  double secondsTaken = 0;
};

/// The summary's text.
std::string FormatReport(const Report& report, const Machine& machine, const ClProgram& program,
                         const PostedStatistics& posted);

/// A machine in words.
std::string DescribeMachine(const Machine& machine);

}  // namespace kandrel_post
