// zvParser: base of what reads a text file line by line.
#pragma once

#include <kandrel/cadcam/stl_parser_exception.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/byte_streams.h>
#include <kandrel/misc/export.h>

#include <string_view>
#include <utility>

namespace cadcam {

/// Reads a text into a T. A derived class says how: whatever operation it leaves to this base
/// throws zvParserException 6250 "Parser not implemented !", and UnknownKeyword 6251.
template <class T>
class KANDREL_API zvParser {
 public:
  virtual ~zvParser() = default;

  /// Makes the parser ready to read the stream, which delivers less than it is asked for at its end
  /// and outlives the reading.
  virtual void Initialise(misc::zvBinInputStream& /*stream*/) { Refuse(); }
  /// Reads the whole text. BeforeParse and AfterParse are called around it, OnLine and AfterLine
  /// for each line.
  virtual void Parse(misc::zvBinInputStream& /*stream*/) { Refuse(); }
  /// Called for a word where a keyword is wanted that stands for nothing.
  virtual void UnknownKeyword(std::string_view /*word*/) {
    throw zvParserException(zvParserException::kUnknownKeyword, nullptr, m_number);
  }
  /// Hooks around Parse and around each line: the parser of a format fills them in, this one
  /// refuses.
  virtual void BeforeParse() { Refuse(); }
  virtual void AfterParse() { Refuse(); }
  virtual void OnLine() { Refuse(); }
  virtual void AfterLine() { Refuse(); }

  /// What is read into.
  const misc::zvAutoPointer<T>& GetResult() const noexcept { return m_result; }

 protected:
  /// The parser fills `result` and shares it with the caller.
  explicit zvParser(misc::zvAutoPointer<T> result) : m_result(std::move(result)) {}
  zvParser(const zvParser&) = default;
  zvParser& operator=(const zvParser&) = default;

  /// The line that is being read, without its end, and its number from 1.
  std::string_view m_line;
  /// The number of the line, from 1.
  int m_number = 0;

 private:
  [[noreturn]] void Refuse() const {
    throw zvParserException(zvParserException::kNotImplemented, nullptr, m_number);
  }

  misc::zvAutoPointer<T> m_result;
};

}  // namespace cadcam
