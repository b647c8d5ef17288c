// Logs of postings (.kdr) and their siblings.
#pragma once

#include <kandrel/misc/byte_streams.h>
#include <kandrel/persistence/log_file.h>

#include <functional>
#include <string>

#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

class TextSink;

/// Reads a log. Throws those of zvKDRInput as a FailureInFile.
zvKDRInput ReadLog(const std::string& fileName);

/// Opens a log or one of its siblings, plain or compressed, and hands its tag, version and stream
/// to `read`; the stream stands at the file's start. What is thrown becomes a FailureInFile.
void ReadTagged(const std::string& fileName,
                const std::function<void(const std::string& tag, std::uint32_t version,
                                         misc::zvBinInputStream& stream)>& read);

/// A machine of a log, which keeps no axis names: it has the default ones.
Machine MachineOfLog(const std::string& fileName,
                     const misc::zvAutoPointer<post::zvMachDef>& machDef);

/// Bytes into a sink, which outlives this.
class ByteSink final : public misc::zvBinOutputStream {
 public:
  explicit ByteSink(TextSink& sink) : m_sink(sink) {}
  void Write(const void* buffer, const misc::zvStreamSize& size) override;

 private:
  TextSink& m_sink;
};

}  // namespace kandrel_post
