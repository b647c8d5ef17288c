#include <fmt/format.h>
#include <unistd.h>

#include <string>

#include "kandrel-post/cl/writer.h"
#include "kandrel-post/commands/commands.h"
#include "kandrel-post/out/text_sink.h"
#include "kandrel-post/samples/samples.h"

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
