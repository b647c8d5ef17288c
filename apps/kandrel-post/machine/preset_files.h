// The files of machines/presets, as the build has embedded them.
#pragma once

#include <span>
#include <string_view>

namespace kandrel_post {

struct EmbeddedFile {
  std::string_view name;  ///< without folder and ending
  std::string_view text;
};

/// By name, in ascending order.
std::span<const EmbeddedFile> PresetFiles();

}  // namespace kandrel_post
