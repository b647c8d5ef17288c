// zvCompressedInputFileStream, zvCompressedOutputFileStream: compressed files as byte streams.
#pragma once

#include <kandrel/misc/byte_files.h>
#include <kandrel/misc/byte_streams.h>
#include <kandrel/misc/export.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace pack {

class zvBzip2State;

using misc::zvFile;

/// Gives back what malloc gave.
struct zvFree {
  /// Frees the memory.
  void operator()(void* memory) const noexcept { std::free(memory); }
};
using zvBytes = std::unique_ptr<unsigned char, zvFree>;

/// Writes a file in one of two containers.
///
/// zlib: "ZLIB", the lengths of the compressed and of the plain data in 4 bytes each, one zlib
/// stream of level 1. All data stay in memory until Close. bzip2: the length of the plain data in 8
/// bytes, 0 until Close, then one bzip2 stream of block size 9.
///
/// All failures but want of memory are zvException, id 0, with a text. A file that was begun is
/// left behind.
class KANDREL_API zvCompressedOutputFileStream : public misc::zvBinOutputStream {
 public:
  /// How the bytes are packed.
  enum Method : int {
    kBzip2 = 1,
    kZlib = 2,
  };

  /// Creates the file or empties it. Throws "File open failed.\n", with a remark for a path of more
  /// than 260 characters and a line that ends " doesn't exist" where a folder of the path is
  /// missing.
  zvCompressedOutputFileStream(const std::wstring& path, bool useBzip2);
  /// Throws "pack::zvCompressedOutputFileStream::Open Unknown pack method. Please revisit code."
  /// for another method.
  zvCompressedOutputFileStream(const std::wstring& path, Method method);
  /// Closes what is still open, and throws what Close throws unless another exception is on its
  /// way.
  ~zvCompressedOutputFileStream() noexcept(false) override;
  zvCompressedOutputFileStream(const zvCompressedOutputFileStream&) = delete;
  zvCompressedOutputFileStream& operator=(const zvCompressedOutputFileStream&) = delete;

  /// Throws the text of bzip2's result, std::bad_alloc for want of memory, and, once closed,
  /// "pack::zvCompressedOutputFileStream::Write Unknown pack method. Please revisit code.".
  void Write(const void* buffer, const misc::zvStreamSize& size) override;
  /// Brings all data into the file. Throws "Failed to compress data", also for data of 4 GiB and
  /// more in a zlib container; "Couldn't write to the given handle!" for a full disk; "Unknown
  /// exception!" where bzip2 fails. Closed it is in any case; nothing happens when it was before.
  void Close();

 private:
  void Append(const void* buffer, misc::zvStreamSize size);
  void WriteZlib(std::FILE* file, const unsigned char* plain) const;

  zvFile m_file;
  zvBytes m_buffer;
  std::size_t m_size = 0;
  std::size_t m_capacity = 0;
  std::unique_ptr<zvBzip2State> m_bzip2;
  int m_exceptions;
};

/// Reads a file in either container, told apart by the first four bytes.
///
/// A zlib container is decompressed at once, and lies in memory as a window. A file of nine bytes
/// and more that is neither opens without complaint and fails at its first Read with "Magic
/// error!", or with "Data error!" where bzip2's mark happens to stand behind its first eight bytes;
/// one of eight bytes fails there with "Unexpected EOF!". All failures but want of memory are
/// zvException, id 0, with a text.
class KANDREL_API zvCompressedInputFileStream : public misc::zvWindowedInput {
 public:
  /// Throws "File open failed.\n", with a remark for a path of more than 260 characters, also for
  /// what is no regular file; "Failed to decompress data"; "Couldn't read from the given handle!"
  /// for a file of less than eight bytes. Memory stays in proportion to the bytes that are there.
  explicit zvCompressedInputFileStream(const std::wstring& path);
  ~zvCompressedInputFileStream() override;
  zvCompressedInputFileStream(const zvCompressedInputFileStream&) = delete;
  zvCompressedInputFileStream& operator=(const zvCompressedInputFileStream&) = delete;

  /// Nothing happens for a size of 0. From a zlib container either all bytes come, or "Empty
  /// stream" or "Not enough data in stream left" is thrown and none. From a bzip2 stream fewer come
  /// at its end; throws the text of bzip2's result.
  void Read(void* buffer, misc::zvStreamSize& size) override;

 private:
  void Decompress();

  bool m_isZlib = false;
  zvFile m_file;
  zvBytes m_buffer;
  std::size_t m_size = 0;
  std::unique_ptr<zvBzip2State> m_bzip2;
};

}  // namespace pack
