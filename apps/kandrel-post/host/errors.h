// How a job of this program fails.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace kandrel_post {

/// Exit codes of the program.
enum ExitCode : int {
  kDone = 0,
  kJobFailed = 1,
  kWrongCommandLine = 2,
};

/// The command line asks for something that doesn't exist; exit code 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A failure whose lines stand on standard error already; exit code 1.
class ToldFailure : public std::exception {};

/// Throws a misc::zvException with id 0: a failure of this program rather than of the library.
[[noreturn]] void Fail(std::string_view text);

/// Fail with "<file>: <what>: <text of the system's error number>".
[[noreturn]] void FailWithErrno(std::string_view file, std::string_view what, int errorNumber);

/// Fail with "<file>:<line>: <what was expected>".
[[noreturn]] void FailAtLine(std::string_view file, unsigned long long line,
                             std::string_view expected);

/// A failure in reading or writing a file, which is reported as it is, with the file, or the place
/// in it, as its last cause. In front of it stand the system's words, where these are the reason.
class FailureInFile : public std::runtime_error {
 public:
  FailureInFile(std::exception_ptr failure, const std::string& place, std::string systemWords)
      : std::runtime_error(place),
        m_failure(std::move(failure)),
        m_systemWords(std::move(systemWords)) {}

  const std::string& GetSystemWords() const noexcept { return m_systemWords; }

  [[noreturn]] void Rethrow() const { std::rethrow_exception(m_failure); }

 private:
  std::exception_ptr m_failure;
  std::string m_systemWords;
};

/// Throws the exception being handled as a FailureInFile: "<file>:<line>" where it knows the line,
/// and with the system's words where an STL file can't be opened.
/// To be called in a catch clause.
[[noreturn]] void ThrowInFile(const std::string& file);

/// What `use` gives, which reads or writes the file; what it throws becomes a FailureInFile.
template <class Use>
auto NamingFile(const std::string& file, const Use& use) {
  try {
    return use();
  } catch (...) {
    ThrowInFile(file);
  }
}

/// A file name as the library takes paths. Fails with error 0 for one that is not UTF-8; `what`
/// names the file: "a log".
std::wstring PathOf(const std::string& fileName, std::string_view what);

/// A line of standard error, "note: <text>", for what a job did though it may not be what was
/// meant.
void Note(std::string_view text);

/// The lines of standard error for the exception being handled: `error <id>: <text>` and a line for
/// each cause, and for the file that is to blame. To be called in a catch clause.
std::string DescribeCurrentFailure();

/// `text` with everything replaced that a terminal could take for a command.
std::string Printable(std::string_view text);

}  // namespace kandrel_post
