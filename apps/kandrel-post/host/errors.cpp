#include "kandrel-post/host/errors.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <kandrel/cadcam/stl_parser_exception.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/text.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

namespace kandrel_post {

void Fail(std::string_view text) {
  throw misc::zvException(0, misc::FromUtf8(text));
}

void FailWithErrno(std::string_view file, std::string_view what, int errorNumber) {
  Fail(fmt::format("{}: {}: {}", file, what, std::strerror(errorNumber)));
}

void FailAtLine(std::string_view file, unsigned long long line, std::string_view expected) {
  Fail(fmt::format("{}:{}: {}", file, line, expected));
}

namespace {

// The library breaks some of its texts into lines; here each is one line.
std::string OneLine(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return Printable(text);
}

// Why the system doesn't open a file to read it; empty where it does.
std::string WhyNotOpened(const std::string& file) {
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return std::strerror(errno);
  ::close(descriptor);
  return {};
}

}  // namespace

void ThrowInFile(const std::string& file) {
  using STLException = cadcam::zvSTLParserException;
  int line = 0;
  std::string words;
  try {
    throw;
  } catch (const STLException& e) {
    line = e.GetDetail();
    if (e.GetId() == STLException::kMissingFile || e.GetId() == STLException::kNotOpened)
      words = WhyNotOpened(file);
  } catch (const cadcam::zvParserException& e) {
    line = e.GetDetail();
  } catch (...) {
  }
  throw FailureInFile(std::current_exception(), line > 0 ? fmt::format("{}:{}", file, line) : file,
                      std::move(words));
}

std::wstring PathOf(const std::string& fileName, std::string_view what) {
  std::wstring path = misc::FromUtf8(fileName);
  if (misc::ToUtf8(path) != fileName)
    Fail(fmt::format("{}: the name of {} is UTF-8", fileName, what));
  return path;
}

void Note(std::string_view text) {
  std::fputs(fmt::format("note: {}\n", OneLine(std::string(text))).c_str(), stderr);
}

std::string DescribeCurrentFailure() {
  try {
    throw;
  } catch (const FailureInFile& e) {
    const std::string file = OneLine(e.what());
    try {
      e.Rethrow();
    } catch (...) {
      std::string text = DescribeCurrentFailure();
      const std::string cause = fmt::format("  caused by 0: {}\n", file);
      if (text.ends_with(cause)) return text;
      if (!e.GetSystemWords().empty())
        text += fmt::format("  caused by 0: {}\n", e.GetSystemWords());
      return text + cause;
    }
  } catch (const misc::zvException& e) {
    std::string text = fmt::format("error {}: {}\n", e.GetId(), OneLine(e.what()));
    for (const misc::zvException::Cause& cause : e.GetCauses()) {
      text += fmt::format("  caused by {}: {}\n", cause.first, OneLine(misc::ToUtf8(cause.second)));
    }
    return text;
  } catch (const std::bad_alloc&) {
    return "error 0: not enough memory\n";
  } catch (const std::exception& e) {
    return fmt::format("error 0: {}\n", Printable(e.what()));
  } catch (...) {
    return "error 0: unknown failure\n";
  }
}

std::string Printable(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
  }
  // The control characters U+0080 to U+009F, which terminals obey as well.
  for (std::size_t i = 1; i < result.size(); ++i)
    if (result[i - 1] == '\xC2' && static_cast<unsigned char>(result[i] ^ 0x80) < 0x20)
      result.replace(i - 1, 2, "?");
  return result;
}

}  // namespace kandrel_post
