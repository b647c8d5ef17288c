#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <string>

#include "kandrel-post/commands/commands.h"
#include "kandrel-post/commands/report.h"
#include "kandrel-post/host/progress.h"
#include "kandrel-post/machine/argument.h"
#include "kandrel-post/machine/description.h"
#include "kandrel-post/machine/json.h"
#include "kandrel-post/machine/presets.h"
#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

void ListPresets() {
  std::size_t width = 0;
  for (const Preset& preset : Presets()) width = std::max(width, preset.name.size());
  TextSink out(STDOUT_FILENO, "standard output");
  for (const Preset& preset : Presets())
    out.Put(fmt::format("{:<{}} {}\n", preset.name, width, preset.description));
  out.Flush();
}

void ShowMachine(const std::string& machine, bool json) {
  Progress progress;
  progress.Stage("reading");
  const Machine loaded = LoadMachine(machine);
  progress.Stop();
  TextSink out(STDOUT_FILENO, "standard output");
  out.Put(json ? MachineToJson(loaded) : DescribeMachine(loaded));
  out.Flush();
}

void OverwriteMachine(const std::string& fileName, const std::string& from) {
  const Machine machine = ReadMachineFile(from);
  OverwriteMachineDescription(fileName, machine);
  NoteDefaultsWritten(machine, from);
}

}  // namespace kandrel_post
