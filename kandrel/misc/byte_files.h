// zvBinInputFile, zvBinOutputFile: byte streams over plain files.
#pragma once

#include <kandrel/misc/byte_streams.h>
#include <kandrel/misc/export.h>

#include <cstdio>
#include <memory>
#include <string>

namespace misc {

/// Closes a C file for std::unique_ptr; a failure to close is not told.
struct zvFileCloser {
  /// Closes the file.
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using zvFile = std::unique_ptr<std::FILE, zvFileCloser>;

/// Opens a file to read; null for what can't be opened or is no regular file. The path is taken in
/// UTF-8, whatever the locale.
KANDREL_API zvFile OpenToRead(const std::wstring& path);

/// Reads a file, without a conversion to characters between.
class KANDREL_API zvBinInputFile : public zvBinInputStream {
 public:
  /// Throws as zvIFStream does, for the same files.
  explicit zvBinInputFile(const std::wstring& path);

  /// How many bytes the file had when it was opened.
  zvStreamSize GetSize() const noexcept { return m_size; }

  /// Delivers less than was asked for at the end of the file. Throws zvmiscException 2148 where the
  /// system fails to read.
  void Read(void* buffer, zvStreamSize& size) override;

 private:
  zvFile m_file;
  zvStreamSize m_size = 0;
};

/// Writes a file that takes its place only when it is complete: until Commit its bytes stand in
/// another file in the same folder, its path with .tmp and the number of the process, and a file at
/// the path stays as it is. Links are followed. A file that was there hands on its mode when this
/// one is opened, and its owner and group as far as the system lets this process set them. What is
/// there and no regular file, a device, is written to at once.
class KANDREL_API zvBinOutputFile : public zvBinOutputStream {
 public:
  /// Throws as zvOFStream does, also for a file that is there and may not be written.
  explicit zvBinOutputFile(const std::wstring& path);
  /// Without a Commit nothing is left.
  ~zvBinOutputFile() override;
  zvBinOutputFile(const zvBinOutputFile&) = delete;
  zvBinOutputFile& operator=(const zvBinOutputFile&) = delete;

  /// Where the bytes stand until Commit, in UTF-8; empty for a device.
  const std::string& GetTemporary() const noexcept { return m_temporary; }

  /// Throws zvmiscException 2149 where the system doesn't take the bytes. A full disk may show only
  /// at Commit.
  void Write(const void* buffer, const zvStreamSize& size) override;
  /// Completes the file and gives it its name; nothing is written afterwards. Throws
  /// zvmiscException 2149, and leaves nothing then.
  void Commit();

 private:
  void Discard() noexcept;

  std::string m_target;
  std::string m_temporary;
  zvFile m_file;
};

}  // namespace misc
