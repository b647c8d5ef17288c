// Where files that are not the project's own lie, for tests that skip themselves without them.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace tests {

/// A folder of the sample data: below KANDREL_DATA, or below "shared/data" beside one of the
/// folders above the sources; empty when there is none.
inline std::filesystem::path DataFolder(std::string_view name) {
  namespace fs = std::filesystem;
  if (const char* const given = std::getenv("KANDREL_DATA")) return fs::path(given) / name;
  const fs::path source(KANDREL_SOURCE_DIR);
  for (fs::path p = source; p != p.parent_path(); p = p.parent_path()) {
    fs::path folder = p.parent_path() / "shared" / "data" / name;
    if (fs::is_directory(folder)) return folder;
  }
  return {};
}

}  // namespace tests
