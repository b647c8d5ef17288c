// zvIFStream, zvOFStream: wide file streams on wide paths.
//
// basic_ifstream_ex, basic_ofstream_ex: the streams beneath, which tell by their state alone
// whether a file could be opened.
#pragma once

#include <kandrel/misc/codecvt.h>

#include <fstream>
#include <memory>
#include <string>

namespace misc {

/// What takes a wide path opens it in UTF-8, whatever the locale.
class KANDREL_API basic_ifstream_ex : public std::wifstream {
 public:
  ~basic_ifstream_ex() override;

  /// Opens a regular file; sets failbit for anything else and for what can't be opened.
  void Open(const std::wstring& path, openmode mode = in);
};

/// The same to write, devices too.
class KANDREL_API basic_ofstream_ex : public std::wofstream {
 public:
  ~basic_ofstream_ex() override;

  /// Opens a file or device, made new where `mode` says so; sets failbit where it can't be opened.
  void Open(const std::wstring& path, openmode mode = out);
};

/// Reads a file.
///
/// Throws zvException, id 0, "File open failed.\n" and the path where it can't be opened, with
/// " doesn't exist" where nothing is there and "\nFile path exceeds the maximum path length allowed
/// by OS" for a path of more than 260 characters. What is no regular file, a folder or a device, is
/// not opened.
class KANDREL_API zvIFStream : public basic_ifstream_ex {
 public:
  /// `conversion` says what the file's bytes stand for, a byte for each character by default; it is
  /// not null.
  explicit zvIFStream(const std::wstring& path, openmode mode = in,
                      std::unique_ptr<zvCodecvt> conversion = std::make_unique<zvASCIICodecvt>());
  ~zvIFStream() override;
};

/// Writes a file anew, or what `mode` says. Throws as zvIFStream does, but opens devices too.
class KANDREL_API zvOFStream : public basic_ofstream_ex {
 public:
  /// `conversion` says what bytes characters become, by default a byte for each; it is not null.
  explicit zvOFStream(const std::wstring& path, openmode mode = out,
                      std::unique_ptr<zvCodecvt> conversion = std::make_unique<zvASCIICodecvt>());
  ~zvOFStream() override;
};

/// Throws what a file that can't be opened is told by: see zvIFStream.
[[noreturn]] KANDREL_API void ThrowOpenFailed(const std::wstring& path, bool isMissing);

/// What is added to the text of a failed opening for a path of more than 260 characters; else
/// nothing.
KANDREL_API std::wstring PathLengthRemark(const std::wstring& path);

}  // namespace misc
