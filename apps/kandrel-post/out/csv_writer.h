// Posted moves as comma-separated values.
#pragma once

#include <cstdint>

#include "kandrel-post/out/posted_row.h"
#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

/// One line a move. Numbers are written in the shortest form that reads back to the same double;
/// what a move lacks stays empty.
class CsvWriter {
 public:
  /// Writes the header line. The sink must outlive the writer.
  explicit CsvWriter(TextSink& sink);

  void Write(const PostedRow& row);

 private:
  TextSink& m_sink;
  std::uint64_t m_index = 0;
};

}  // namespace kandrel_post
