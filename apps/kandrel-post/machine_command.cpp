#include <fmt/format.h>
#include <unistd.h>

#include "commands.h"
#include "machine.h"
#include "machine_json.h"
#include "presets.h"
#include "report.h"
#include "text_sink.h"

namespace kandrel_post {

void ListPresets() {
  TextSink out(STDOUT_FILENO, "standard output");
  for (const Preset& preset : Presets())
    out.Put(fmt::format("{:<16} {}\n", preset.name, preset.description));
  out.Flush();
}

void ShowMachine(const std::string& machine, bool json) {
  const Machine loaded = LoadMachine(machine);
  TextSink out(STDOUT_FILENO, "standard output");
  out.Put(json ? MachineToJson(loaded) : DescribeMachine(loaded));
  out.Flush();
}

}  // namespace kandrel_post
