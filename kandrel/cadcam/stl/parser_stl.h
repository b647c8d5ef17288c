// zvParserSTL: reads STL texts.
#pragma once

#include <kandrel/cadcam/stl/parser.h>
#include <kandrel/cadcam/stl/parser_commands.h>
#include <kandrel/cadcam/stl/stl_file.h>
#include <kandrel/misc/export.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cadcam {

namespace detail {
class LineReader;
}  // namespace detail

/// Reads the first solid of an STL text, line by line, into a zvSTLFile.
///
/// 1. Lines end with a line feed; a carriage return before it, or at the end of the text, is no
///    part of the line. A line of 4096 bytes or more is refused.
/// 2. A line that is empty, or whose first character is "(", is skipped. Then the blanks and after
///    them the tabs that it begins with are dropped; what has no word then is skipped too.
/// 3. The first word, up to a blank, is a keyword in lower case, which a zvParserCommand stands
///    for; another word is refused.
/// 4. "endsolid" ends the reading, whatever follows it; so does the end of the text, but not within
///    a facet or a loop.
template <class T>
class KANDREL_API zvParserSTL : public zvParser<zvSTLFile<T>> {
 public:
  /// Fills `file`, which is shared, with the triangles of the text that it parses.
  explicit zvParserSTL(misc::zvAutoPointer<zvSTLFile<T>> file);
  ~zvParserSTL() override;

  void Initialise(misc::zvBinInputStream& stream) override;
  /// Reads until the end is reached; the stream is then anywhere behind it. When this throws, the
  /// result is as far as it came, and the exception's GetDetail is the number of the line, that of
  /// the last at the end of the text, at most 2^31 - 1. Throws zvSTLParserException 3501 (line too
  /// long, end within a facet or loop), what the commands throw and zvParserException 6251 for a
  /// word that is no keyword. The stream's exceptions pass.
  void Parse(misc::zvBinInputStream& stream) override;
  void BeforeParse() override;
  void AfterParse() override;
  void OnLine() override;
  void AfterLine() override;

 protected:
  /// Lets `command` stand for a keyword; one that has a command already changes it.
  void Register(std::string keyword, misc::zvAutoPointer<zvParserCommand<T>> command);

 private:
  using Entry = std::pair<std::string, misc::zvAutoPointer<zvParserCommand<T>>>;

  Entry* Find(std::string_view keyword);

  std::vector<Entry> m_commands;  // the most frequent first
  std::unique_ptr<detail::LineReader> m_lines;
};

extern template class zvParserSTL<float>;
extern template class zvParserSTL<double>;

}  // namespace cadcam
