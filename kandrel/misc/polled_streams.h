// zvPolledInput, zvPolledOutput: byte streams on whose way a host is asked.
#pragma once

#include <kandrel/misc/byte_streams.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/progress.h>

namespace misc {

/// Hands on what another stream delivers, and asks a hook every kilobyte or at each longer read:
/// reading a log or a mesh through it is a stage of zvProgress, which ends with Finish. All that is
/// given stays the caller's and outlives this object.
class KANDREL_API zvPolledInput final : public zvBinInputStream {
 public:
  /// `total` bytes are expected, 0 where that isn't known. Throws as Read.
  zvPolledInput(zvBinInputStream& stream, zvProgress* progress, zvStreamSize total = 0,
                zvProgress::Stage stage = zvProgress::kReading);

  /// Throws as the stream does, zvCancelled, and what the hook throws.
  void Read(void* buffer, zvStreamSize& size) override;
  /// All is read that is wanted: the stage ends. Throws zvCancelled, and what the hook throws.
  void Finish() { m_polling.Finish(); }

 private:
  zvBinInputStream& m_stream;
  zvPolling m_polling;
};

/// The same of what is written to another stream. What was written until the hook cancels stays
/// there: who writes to a file uses one that takes its place only when it is complete, such as
/// zvBinOutputFile.
class KANDREL_API zvPolledOutput final : public zvBinOutputStream {
 public:
  /// Refers to both; `total` is how many bytes are to come, 0 where that is not known.
  zvPolledOutput(zvBinOutputStream& stream, zvProgress* progress, zvStreamSize total = 0,
                 zvProgress::Stage stage = zvProgress::kWriting);

  void Write(const void* buffer, const zvStreamSize& size) override;
  /// All is written: the stage ends. Throws zvCancelled, and what the hook throws.
  void Finish() { m_polling.Finish(); }

 private:
  zvBinOutputStream& m_stream;
  zvPolling m_polling;
};

}  // namespace misc
