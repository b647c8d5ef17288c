// report.html: a posted run as a page that a browser shows without a network.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>

#include "kandrel-post/out/text_sink.h"
#include "kandrel-post/pictures/held_lines.h"

namespace kandrel_post {

/// Puts a run into the template that the build has made, and writes the page. `run` is what the
/// page says beside the lines; how lines are held, and what their columns are, is added. The lines
/// follow as one block of little-endian columns in base64, each beginning at a multiple of 8 bytes.
/// Does nothing where the template was not built.
void WriteReportPage(TextSink& sink, nlohmann::ordered_json run, const HeldLines& lines,
                     std::size_t axisCount);

}  // namespace kandrel_post
