// The types of tools as they are stored.
#pragma once

#include <kandrel/cadcam/tools/tool_parameters.h>
#include <kandrel/cadcam/tools/tool_type.h>

#include <cstdint>
#include <span>

namespace persistence {

/// The number of a type in its record, and its own parameters in the order of the record, which is
/// not that of the constructors.
struct zvStoredToolType {
  std::int32_t code;
  const cadcam::zvToolType* type;
  std::span<const cadcam::zvToolParameter> parameters;
};

/// Tools that are no typed ones.
inline constexpr std::int32_t kLatheTool = 19;
inline constexpr std::int32_t kGenericTool = 22;

/// By the order of their numbers; without the two above.
std::span<const zvStoredToolType> StoredToolTypes();

/// True for parameters that are stored as whole numbers in 4 bytes; the others are doubles.
inline bool IsStoredWhole(cadcam::zvToolParameter parameter) {
  return parameter == cadcam::zvToolParameter::cornerRadiusType ||
         parameter == cadcam::zvToolParameter::threadParameter;
}

}  // namespace persistence
