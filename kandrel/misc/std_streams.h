// zvStdInputStream, zvStdOutputStream: byte streams over wide standard streams.
#pragma once

#include <kandrel/misc/byte_streams.h>

#include <istream>
#include <ostream>

namespace misc {

/// Reads a byte for each wide character, of which it keeps the low 8 bits. The stream, a zvIFStream
/// opened in binary mode as a rule, stays the caller's and outlives this object.
class KANDREL_API zvStdInputStream : public zvBinInputStream {
 public:
  /// Throws zvException, id 0, "Accessing NULL pointer" for a null stream.
  explicit zvStdInputStream(std::wistream* stream);

  /// `size` stays as it is. Throws zvmiscException 2148 where the stream's state afterwards is not
  /// good, be it for an end that came too early; what had been read until then is in the buffer.
  void Read(void* buffer, zvStreamSize& size) override;

 private:
  std::wistream* m_stream;
};

/// Writes each byte as one wide character. The stream, a zvOFStream opened in binary mode as a
/// rule, stays the caller's and outlives this object.
class KANDREL_API zvStdOutputStream : public zvBinOutputStream {
 public:
  /// Throws zvException, id 0, "Accessing NULL pointer" for a null stream.
  explicit zvStdOutputStream(std::wostream* stream);

  /// Throws zvmiscException 2149 where the stream's state afterwards is not good. A full disk may
  /// show only at Flush.
  void Write(const void* buffer, const zvStreamSize& size) override;
  /// Flushes the stream. Throws zvmiscException 2149 where its state afterwards is not good.
  void Flush();

 private:
  std::wostream* m_stream;
};

}  // namespace misc
