// Writes a toolpath as CL text, from which ReadCl makes the same tree again.
#pragma once

#include <kandrel/cadcam/tool_path.h>

#include <string_view>

namespace kandrel_post {

class TextSink;

/// Numbers are written in the shortest form that reads back to the same double. Data that a text
/// has no statement for are dropped: tags, stamps and extended data of moves. In the name `?`
/// stands for `$`, which means something in CL text, and for control characters.
void WriteCl(TextSink& sink, const cadcam::zvToolPath& toolPath, std::string_view partName);

}  // namespace kandrel_post
