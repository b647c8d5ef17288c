// zvIFStream, zvOFStream: wide file streams on wide paths.
#pragma once

#include <kandrel/misc/codecvt.h>

#include <fstream>
#include <memory>
#include <string>

namespace misc {

/// Reads a file. A path is taken in UTF-8, whatever the locale.
///
/// Throws zvException, id 0, "File open failed.\n" and the path where it can't be opened, with
/// " doesn't exist" where nothing is there and "\nFile path exceeds the maximum path length allowed
/// by OS" for a path of more than 260 characters. What is no regular file, a folder or a device, is
/// not opened.
class KANDREL_API zvIFStream : public std::wifstream {
 public:
  /// `conversion` says what the file's bytes stand for, a byte for each character by default; it is
  /// not null.
  explicit zvIFStream(const std::wstring& path, openmode mode = in,
                      std::unique_ptr<zvCodecvt> conversion = std::make_unique<zvASCIICodecvt>());
  ~zvIFStream() override;
};

/// Writes a file anew, or what `mode` says. Throws as zvIFStream does, but opens devices too.
class KANDREL_API zvOFStream : public std::wofstream {
 public:
  explicit zvOFStream(const std::wstring& path, openmode mode = out,
                      std::unique_ptr<zvCodecvt> conversion = std::make_unique<zvASCIICodecvt>());
  ~zvOFStream() override;
};

/// What is added to the text of a failed opening for a path of more than 260 characters; else
/// nothing.
KANDREL_API std::wstring PathLengthRemark(const std::wstring& path);

}  // namespace misc
