// The table of all typed tools.
#pragma once

#include <kandrel/cadcam/tools/tool_type.h>
#include <kandrel/misc/export.h>

#include <span>
#include <string_view>

namespace cadcam {

/// The 21 types, by their names in alphabetical order. They have static lifetime.
KANDREL_API std::span<const zvToolType* const> ToolTypes() noexcept;

/// The type of the class of that name, exactly ("zvEndMill"); null for any other name.
KANDREL_API const zvToolType* FindToolType(std::string_view name) noexcept;

}  // namespace cadcam
