// zvBzip2State: one bzip2 stream in an open file, behind an eight-byte length.
#pragma once

#include <kandrel/misc/byte_streams.h>
#include <kandrel/misc/export.h>

#include <cstdio>

namespace pack {

/// Reads or writes the container of bzip2: the length of the data in eight bytes, which a writer
/// leaves 0 until it closes, then one bzip2 stream. Failures are zvException, id 0, with a text for
/// each result of the library.
class KANDREL_API zvBzip2State {
 public:
  /// What it is open for.
  enum Mode : int {
    kReading = 0,
    kWriting = 1,
    kClosed = 2,
  };

  zvBzip2State() = default;
  /// Gives up what is still open; the file stays the caller's.
  ~zvBzip2State();
  zvBzip2State(const zvBzip2State&) = delete;
  zvBzip2State& operator=(const zvBzip2State&) = delete;

  /// To be called when closed. Reads or writes the length at the file's place and opens the stream
  /// behind it. Throws "File open failed!" for a null file, "Unsupported open mode!" for another
  /// mode than reading and writing, "Couldn't read from the given handle!" and "Couldn't write to
  /// the given handle!" where the length can't be transferred.
  void Open(std::FILE* file, Mode mode);
  /// Reads up to `size` bytes and returns how many there were: fewer only at the stream's end.
  /// Throws the text of the library's result, "Sequence error!" unless open for reading.
  misc::zvStreamSize Read(void* buffer, misc::zvStreamSize size);
  /// Throws the text of the library's result, "Sequence error!" unless open for writing.
  void Write(const void* buffer, misc::zvStreamSize size);
  /// Ends the stream; a writer then writes the length in its place. Nothing happens when closed.
  /// Throws "Unknown exception!" where the library fails, whatever its result.
  void Close();

  /// Whether Open has succeeded and Close hasn't come yet.
  bool IsOpen() const noexcept { return m_mode != kClosed; }
  /// The length that stood in front when reading, that of the data so far when writing.
  misc::zvStreamSize GetLength() const noexcept { return m_length; }

 private:
  [[noreturn]] static void Throw(int result);
  void CloseWriter();
  void Abandon() noexcept;

  std::FILE* m_file = nullptr;
  void* m_stream = nullptr;
  Mode m_mode = kClosed;
  bool m_isAtEnd = false;
  bool m_hasFailed = false;
  misc::zvStreamSize m_length = 0;
};

}  // namespace pack
