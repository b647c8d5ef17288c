#include "kandrel-post/machine/presets.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/machine/json.h"
#include "kandrel-post/machine/preset_files.h"

namespace kandrel_post {

namespace {

Preset Read(const EmbeddedFile& file) {
  const nlohmann::json document = nlohmann::json::parse(file.text);
  return {std::string(file.name), document.at("description").get<std::string>(),
          std::string(file.text)};
}

}  // namespace

const std::vector<Preset>& Presets() {
  static const std::vector<Preset> presets = [] {
    std::vector<Preset> read;
    for (const EmbeddedFile& file : PresetFiles()) read.push_back(Read(file));
    return read;
  }();
  return presets;
}

Machine MakePreset(std::string_view name) {
  const std::vector<Preset>& presets = Presets();
  const auto preset =
      std::find_if(presets.begin(), presets.end(), [&](const Preset& p) { return p.name == name; });
  if (preset != presets.end()) {
    Machine machine = ParseMachine(preset->json, fmt::format("preset:{}", name));
    machine.name = preset->name;
    return machine;
  }
  std::string names;
  for (const Preset& p : presets) names += fmt::format("{}{}", names.empty() ? "" : ", ", p.name);
  throw UsageError(fmt::format("{}: no such preset; there are {}", Printable(name), names));
}

}  // namespace kandrel_post
