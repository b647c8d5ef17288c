#include "kandrel-post/pictures/report_page.h"

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kandrel-post/out/base64.h"
#include "kandrel-post/pictures/page_template.h"

namespace kandrel_post {

namespace {

using nlohmann::ordered_json;

// Columns are announced and written by one walk, so that neither can differ from the other.
template <class Column>
void ForEachColumn(std::size_t axisCount, const Column& column) {
  column("line", "u32", [](const HeldLine& l) { return l.line; });
  column("time", "f64", [](const HeldLine& l) { return l.seconds; });
  for (std::size_t i = 0; i < axisCount; ++i)
    column(fmt::format("a{}", i), "f64", [i](const HeldLine& l) { return l.axes[i]; });
  constexpr std::array<const char*, 3> kPart{"px", "py", "pz"};
  constexpr std::array<const char*, 3> kTool{"i", "j", "k"};
  for (std::size_t i = 0; i < 3; ++i)
    column(kPart[i], "f32", [i](const HeldLine& l) { return l.part[i]; });
  for (std::size_t i = 0; i < 3; ++i)
    column(kTool[i], "f32", [i](const HeldLine& l) { return l.tool[i]; });
  column("feed", "f32", [](const HeldLine& l) { return l.feed; });
  column("tip", "f32", [](const HeldLine& l) { return l.tip; });
  column("axis", "f32", [](const HeldLine& l) { return l.axis; });
  column("source", "u32", [](const HeldLine& l) { return l.source; });
  column("flags", "u8", [](const HeldLine& l) { return l.flags; });
}

// Texts may be of any bytes; within a script element nothing may look like its end.
void PutJson(TextSink& sink, const ordered_json& json) {
  const std::string text = json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t at = rest.find('<');
    sink.Put(rest.substr(0, at));
    if (at == rest.npos) break;
    sink.Put("\\u003c");
    rest.remove_prefix(at + 1);
  }
}

void PutRun(TextSink& sink, const ordered_json& run, const std::vector<HeldLine>& lines,
            std::size_t axisCount) {
  sink.Put("<script type=\"application/json\" id=\"kandrel-run\">");
  PutJson(sink, run);
  sink.Put("</script>\n<script type=\"text/plain\" id=\"kandrel-lines\">");
  Base64Writer writer(sink);
  ForEachColumn(axisCount, [&](const auto&, const char*, const auto& value) {
    constexpr std::size_t kBlock = 8;
    writer.Align(kBlock);
    for (const HeldLine& line : lines) writer.Put(value(line));
  });
  writer.Finish();
  sink.Put("</script>");
}

}  // namespace

void WriteReportPage(TextSink& sink, ordered_json run, const HeldLines& lines,
                     std::size_t axisCount) {
  run["rows"] = lines.GetLines().size();
  run["ofLines"] = lines.GetCount();
  ordered_json& columns = run["columns"] = ordered_json::array();
  ForEachColumn(axisCount, [&](const auto& name, const char* type, const auto&) {
    columns.push_back({{"name", name}, {"type", type}});
  });
  for (const std::string_view piece : PageTemplate()) {
    const std::size_t at = piece.find(kRunPlace);
    sink.Put(piece.substr(0, at));
    if (at == piece.npos) continue;
    PutRun(sink, run, lines.GetLines(), axisCount);
    sink.Put(piece.substr(at + kRunPlace.size()));
  }
}

}  // namespace kandrel_post
