#include <fmt/format.h>
#include <unistd.h>

#include "cl_writer.h"
#include "commands.h"
#include "samples.h"
#include "text_sink.h"

namespace kandrel_post {

void ListSamples() {
  TextSink out(STDOUT_FILENO, "standard output");
  for (const Sample& sample : Samples())
    out.Put(fmt::format("{:<16} {}\n", sample.name, sample.description));
  out.Flush();
}

void PrintSample(const std::string& name) {
  const Sample& sample = FindSample(name);
  TextSink out(STDOUT_FILENO, "standard output");
  WriteCl(out, sample.make(), sample.name);
  out.Flush();
}

}  // namespace kandrel_post
