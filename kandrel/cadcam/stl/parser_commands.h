// zvParserCommand and its family: what the keywords of an STL text do.
#pragma once

#include <kandrel/cadcam/stl/stl_file.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>

#include <cstdint>
#include <string_view>
#include <utility>

namespace cadcam {

/// Reads the lines of one keyword into a zvSTLFile. Lines are split at blanks, with " as quote; a
/// tab is no blank.
template <class T>
class KANDREL_API zvParserCommand {
 public:
  virtual ~zvParserCommand() = default;

  /// `line` begins with the keyword; `number` is its number, from 1, which exceptions carry. Throws
  /// zvSTLParserException 3510 where the keyword may not stand in this place, and what the command
  /// adds.
  virtual void Execute(std::string_view line, int number) = 0;

 protected:
  /// The command works on `file` and shares it with the parser's other commands.
  explicit zvParserCommand(misc::zvAutoPointer<zvSTLFile<T>> file) : m_file(std::move(file)) {}
  zvParserCommand(const zvParserCommand&) = default;
  zvParserCommand& operator=(const zvParserCommand&) = default;

  /// What the command works on.
  zvSTLFile<T>& GetFile() const { return *m_file; }

 private:
  misc::zvAutoPointer<zvSTLFile<T>> m_file;
};

/// "solid", with anything behind it: begins the solid.
template <class T>
class KANDREL_API zvParserCmdSolid final : public zvParserCommand<T> {
 public:
  /// Works on `file`, as all commands do.
  explicit zvParserCmdSolid(misc::zvAutoPointer<zvSTLFile<T>> file)
      : zvParserCommand<T>(std::move(file)) {}
  void Execute(std::string_view line, int number) override;
};

/// "facet", a word and the three numbers of the normal. Throws 3502 for another number of tokens
/// and for what is no number; the word is "normal", but nothing looks at it.
template <class T>
class KANDREL_API zvParserCmdFacet final : public zvParserCommand<T> {
 public:
  /// Works on `file`, as all commands do.
  explicit zvParserCmdFacet(misc::zvAutoPointer<zvSTLFile<T>> file)
      : zvParserCommand<T>(std::move(file)) {}
  void Execute(std::string_view line, int number) override;
};

/// "outer loop" or "outerloop". Throws 3503 where the second of two tokens is another word; one
/// token alone, and more than two, are accepted.
template <class T>
class KANDREL_API zvParserCmdOuter final : public zvParserCommand<T> {
 public:
  /// Works on `file`, as all commands do.
  explicit zvParserCmdOuter(misc::zvAutoPointer<zvSTLFile<T>> file)
      : zvParserCommand<T>(std::move(file)) {}
  void Execute(std::string_view line, int number) override;
};

/// "vertex" and three coordinates. Throws 3504 for another number of tokens and for what is no
/// number, 3509 for a coordinate that is not finite, or not finite as a T.
template <class T>
class KANDREL_API zvParserCmdVertex final : public zvParserCommand<T> {
 public:
  /// Works on `file`, as all commands do.
  explicit zvParserCmdVertex(misc::zvAutoPointer<zvSTLFile<T>> file)
      : zvParserCommand<T>(std::move(file)) {}
  void Execute(std::string_view line, int number) override;
};

/// "endloop". Throws 3505 for anything behind it.
template <class T>
class KANDREL_API zvParserCmdEndLoop final : public zvParserCommand<T> {
 public:
  /// Works on `file`, as all commands do.
  explicit zvParserCmdEndLoop(misc::zvAutoPointer<zvSTLFile<T>> file)
      : zvParserCommand<T>(std::move(file)) {}
  void Execute(std::string_view line, int number) override;
};

/// "endfacet". Throws 3506 for anything behind it.
template <class T>
class KANDREL_API zvParserCmdEndFacet final : public zvParserCommand<T> {
 public:
  /// Works on `file`, as all commands do.
  explicit zvParserCmdEndFacet(misc::zvAutoPointer<zvSTLFile<T>> file)
      : zvParserCommand<T>(std::move(file)) {}
  void Execute(std::string_view line, int number) override;
};

/// "endsolid", with anything behind it: ends the solid and the reading.
template <class T>
class KANDREL_API zvParserCmdEndSolid final : public zvParserCommand<T> {
 public:
  /// Works on `file`, as all commands do.
  explicit zvParserCmdEndSolid(misc::zvAutoPointer<zvSTLFile<T>> file)
      : zvParserCommand<T>(std::move(file)) {}
  void Execute(std::string_view line, int number) override;
};

/// "end" with "loop", "facet" or "solid" in any case, which does what the keyword of the two words
/// in one does, refusals included. Throws 3507 for another word or none.
template <class T>
class KANDREL_API zvParserCmdEndBlock final : public zvParserCommand<T> {
 public:
  /// Works on `file`, as all commands do.
  explicit zvParserCmdEndBlock(misc::zvAutoPointer<zvSTLFile<T>> file)
      : zvParserCommand<T>(std::move(file)) {}
  void Execute(std::string_view line, int number) override;
};

/// Reads all of `text` as a number: decimal, with or without an exponent, "nan" and "inf" too, and
/// one sign in front, of which from_chars alone would not take a plus. A value too large for a T is
/// infinite, one too small is 0. False for anything else.
template <class T>
KANDREL_API bool ReadSTLNumber(std::string_view text, T& value) noexcept;

}  // namespace cadcam
