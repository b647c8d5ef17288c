// Reads posted lines from comma-separated values, of this program or of anybody.
#pragma once

#include <kandrel/post/verifier/posting_verifier.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "kandrel-post/host/text_lines.h"

namespace kandrel_post {

/// Texts in the form of posted.csv, read line by line in bounded memory. Anything that is not of
/// that form fails with error 0 and `<name>:<line>: <what was expected>`.
///
/// 1. The first line names the columns of posted.csv, in any order. index, type, time, pole, source
///    and inserted may be missing, as may r1 to r3 for axes that the machine lacks.
/// 2. All values are finite numbers; rapid and inserted are 0 or 1. Source and inserted may be
/// empty,
///    in all lines or in some; an angle of an axis that the machine lacks has to be.
/// 3. Empty lines are passed over. Index, type, time and pole are not looked at.
class PostedCsvReader {
 public:
  /// For a machine of so many rotary axes. Reads the header line.
  PostedCsvReader(ByteSource source, std::string name, int rotaryCount);

  /// The next posted line; false at the end of the text.
  bool Next(post::zvPostedLine& line);

  /// Bytes taken from the source so far.
  unsigned long long GetBytesRead() const noexcept { return m_lines.GetBytesRead(); }

 private:
  void ReadHeader(int rotaryCount);
  [[noreturn]] void Expected(std::string_view what) const;

  TextLines m_lines;
  std::vector<std::size_t> m_columns;  // of the text, by their places among those of posted.csv
  int m_rotaryCount;
};

}  // namespace kandrel_post
