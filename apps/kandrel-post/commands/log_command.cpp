#include <fmt/format.h>
#include <kandrel/misc/text.h>
#include <kandrel/persistence/log_parts.h>
#include <kandrel/post/creators/creator_caster.h>
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "kandrel-post/cl/writer.h"
#include "kandrel-post/commands/commands.h"
#include "kandrel-post/commands/parameters.h"
#include "kandrel-post/commands/report.h"
#include "kandrel-post/commands/tool_text.h"
#include "kandrel-post/host/errors.h"
#include "kandrel-post/host/progress.h"
#include "kandrel-post/machine/json.h"
#include "kandrel-post/machine/run_log.h"
#include "kandrel-post/out/csv_writer.h"
#include "kandrel-post/out/json_text.h"
#include "kandrel-post/out/posted_row.h"
#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

namespace {

using nlohmann::ordered_json;
using Manager = zvKDRBinaryIOManager;

void Print(std::string_view text) {
  TextSink out(STDOUT_FILENO, "standard output");
  out.Put(text);
  out.Flush();
}

struct Counts {
  std::uint64_t passes = 0;
  std::uint64_t slices = 0;
  std::uint64_t sections = 0;
  std::uint64_t moves = 0;
};

Counts CountsOf(const cadcam::zvToolPath& toolpath) {
  Counts counts;
  counts.moves = toolpath.GetMoveCount();
  counts.passes = toolpath.Children().size();
  for (const auto& pass : toolpath.Children()) {
    counts.slices += pass->Children().size();
    for (const auto& slice : pass->Children()) counts.sections += slice->Children().size();
  }
  return counts;
}

std::uint64_t PostedCount(const zvKDRInput& log) {
  return WithOwnClass(log.GetPostedTPCreator(), [](const auto& creator) -> std::uint64_t {
    return creator.GetPostedList() ? creator.GetPostedList()->GetCount() : 0;
  });
}

// What `log show` prints, in words or as JSON, part by part.
class LogPage {
 public:
  LogPage(std::string fileName, bool json) : m_fileName(std::move(fileName)), m_json(json) {}

  void Add(std::string_view key, ordered_json value) {
    if (m_json) {
      m_object[std::string(key)] = std::move(value);
      return;
    }
    // A line a value, that of an object a line each.
    if (!value.is_object() || value.empty()) {
      m_words += fmt::format("{:<16}{}\n", key, InWords(value));
      return;
    }
    m_words += fmt::format("{}\n", key);
    for (const auto& item : value.items())
      m_words += fmt::format("  {:<24} {}\n", item.key(), InWords(item.value()));
  }
  void Add(std::string_view key, double value) { Add(key, Number(value)); }
  void Add(const misc::zvAutoPointer<post::zvMachDef>& machDef) {
    const Machine machine = MachineOfLog(m_fileName, machDef);
    if (m_json)
      m_object["machine"] = ordered_json::parse(MachineToJson(machine));
    else
      m_words += DescribeMachine(machine);
  }
  void Add(const post::zv5axControlDef& control) {
    const auto word = [](post::zv5axControlDef::angleLimit limit) {
      return limit == post::zv5axControlDef::angleLimit360   ? "360"
             : limit == post::zv5axControlDef::angleLimit180 ? "180"
                                                             : "none";
    };
    Add("control", ordered_json::array(
                       {word(control.GetFirstAxisLimit()), word(control.GetSecondAxisLimit())}));
  }
  void Add(std::string_view key, const cadcam::zvTPoint3d<double>& point) {
    Add(key, ordered_json::array({Number(point.x), Number(point.y), Number(point.z)}));
  }
  void Add(const post::zvKDRParam& par) {
    ordered_json object = ordered_json::object();
    for (const auto& setting : SettingsOf(par)) {
      ordered_json& target = object[std::string(setting.first)];
      if (const double* number = std::get_if<double>(&setting.second))
        target = Number(*number);
      else if (const bool* flag = std::get_if<bool>(&setting.second))
        target = *flag;
      else
        target = std::get<std::int32_t>(setting.second);
    }
    Add("parameters", std::move(object));
  }
  void Add(const cadcam::zvTool& tool) {
    if (m_json)
      m_object["tool"] = ordered_json::parse(ToolToJson(tool));
    else
      m_words += DescribeTool(tool);
  }
  void Add(const zvKDRWriterParam& par) {
    ordered_json names = ordered_json::array();
    for (const std::wstring& name : par.GetAxisNames()) names.push_back(misc::ToUtf8(name));
    Add("writer",
        {{"units", UnitsWord(par.GetUnits())},
         {"outputAbsoluteMachineCoords", par.GetOutputAbsoluteMachineCoordsFlag()},
         {"progNo", par.GetProgNo()},
         {"axisNames", names},
         {"toolComment", misc::ToUtf8(par.GetToolComment())},
         {"toolPathComment", misc::ToUtf8(par.GetToolPathComment())},
         {"toolNumber", par.GetToolNumber()},
         {"startLineNo", par.GetStartLineNo()},
         {"lineNoIncrement", par.GetLineNoIncrement()},
         {"spindleSpeed", par.GetSpindleSpeed()},
         {"outputCoordinatesType", static_cast<std::int32_t>(par.GetOutputCoordinatesType())}});
  }
  void Add(const std::vector<misc::zvBILostData>& lostData) {
    ordered_json list = ordered_json::array();
    for (const misc::zvBILostData& lost : lostData)
      list.push_back({{"name", misc::ToUtf8(lost.name)}, {"code", lost.code}});
    Add("lostData", std::move(list));
  }

  // The fields of JSON stand in one line each.
  std::string Text() const {
    if (!m_json) return m_words;
    return JsonText(m_object);
  }

 private:
  // A number that is not finite can be shown, but has no form in JSON.
  ordered_json Number(double value) const {
    if (!m_json && !std::isfinite(value)) return fmt::format("{}", value);
    return JsonNumber(value, "a log");
  }
  static std::string InWords(const ordered_json& value) {
    return Printable(value.is_string() ? value.get<std::string>() : value.dump());
  }

  std::string m_fileName;
  bool m_json;
  ordered_json m_object;
  std::string m_words;
};

zvKDRInput ReadLogOnTerminal(const std::string& fileName) {
  Progress progress;
  progress.Stage("reading");
  return ReadLog(fileName);
}

void AddLog(LogPage& page, misc::zvBinInputStream& stream) {
  zvKDRInput log(stream);
  const Counts counts = CountsOf(log.GetToolPath());
  page.Add(log.GetMachDef());
  page.Add(log.GetControlDef());
  page.Add("origin", log.GetPartOrigin());
  page.Add("toolLength", log.GetToolLengthCompensation());
  page.Add(*log.GetKDRParam());
  page.Add(*log.GetTool());
  page.Add("counts", {{"passes", counts.passes},
                      {"slices", counts.slices},
                      {"sections", counts.sections},
                      {"moves", counts.moves},
                      {"posted", PostedCount(log)}});
  page.Add(log.GetLostData());
}

void AddMachine(LogPage& page, misc::zvBinInputStream& stream) {
  misc::zvAutoPointer<post::zvMachDef> machDef;
  const auto lostData = Manager::LoadMachineDefinition(stream, machDef);
  page.Add(machDef);
  page.Add(lostData);
}

void AddControl(LogPage& page, misc::zvBinInputStream& stream) {
  post::zv5axControlDef control;
  Manager::LoadControlDefinition(stream, control);
  page.Add(control);
}

void AddParameters(LogPage& page, misc::zvBinInputStream& stream) {
  misc::zvAutoPointer<post::zvKDRParam> par;
  Manager::LoadKandrelParams(stream, par);
  page.Add(*par);
}

void AddToolValue(LogPage& page, misc::zvBinInputStream& stream) {
  double value = 0;
  Manager::LoadToolParams(stream, value);
  page.Add("toolLength", value);
}

void AddWriter(LogPage& page, misc::zvBinInputStream& stream) {
  misc::zvAutoPointer<zvKDRWriterParam> par;
  Manager::LoadWriterParams(stream, par);
  page.Add(*par);
}

void AddAll(LogPage& page, misc::zvBinInputStream& stream) {
  misc::zvAutoPointer<zvKDR5AxBase> base;
  misc::zvAutoPointer<zvKDRWriterParam> par;
  const auto lostData = Manager::LoadAllKandrelParams(stream, base, par);
  page.Add(base->GetMachDef().Clone());
  page.Add(base->GetControlDef());
  page.Add("origin", base->GetPartOrigin());
  page.Add("toolLength", base->GetToolLengthCompensationValue());
  page.Add(base->GetPar());
  page.Add(*par);
  page.Add(lostData);
}

struct Form {
  std::string_view tag;
  std::string_view words;
  void (*add)(LogPage& page, misc::zvBinInputStream& stream);
};

constexpr Form kForms[] = {
    {"KDR ", "log of a posting", &AddLog},
    {"KDRM", "machine definition", &AddMachine},
    {"KDRC", "control definition", &AddControl},
    {"KDRP", "posting parameters", &AddParameters},
    {"KDRT", "tool length", &AddToolValue},
    {"KDRW", "writer parameters", &AddWriter},
    {"KDRA", "set-up and writer parameters", &AddAll},
};

// All that a posted move holds, by the names of the columns of posted.csv. Moves with the same
// extended block and contact data have the same columns.
using Column = std::pair<std::string_view, double>;
std::vector<Column> ColumnsOf(const PostedRow& row) {
  const post::zvPostedMove& m = row.move;
  std::vector<Column> columns = {{"type", m.GetType()},
                                 {"rapid", m.IsRapid()},
                                 {"feed", m.GetFeed()},
                                 {"time", m.GetMoveTime()},
                                 {"x", m.GetMachinePosition().x},
                                 {"y", m.GetMachinePosition().y},
                                 {"z", m.GetMachinePosition().z},
                                 {"r1", row.angles[0]},
                                 {"r2", row.angles[1]},
                                 {"r3", row.angles[2]},
                                 {"part_x", m.GetPartPosition().x},
                                 {"part_y", m.GetPartPosition().y},
                                 {"part_z", m.GetPartPosition().z},
                                 {"i", m.GetOrientation().x},
                                 {"j", m.GetOrientation().y},
                                 {"k", m.GetOrientation().z},
                                 {"pole", row.pole.value_or(0)}};
  columns.emplace_back("extended block", !m.HasNoExtended());
  if (m.HasNoExtended()) return columns;
  columns.emplace_back("source", m.GetSourceIndex());
  columns.emplace_back("inserted", m.IsInserted());
  columns.emplace_back("contact data", m.HasExtendedData());
  if (!m.HasExtendedData()) return columns;
  for (int axis = 0; axis < 3; ++axis) {
    columns.emplace_back("contact point", m.GetExtendedPoint()[axis]);
    columns.emplace_back("contact vector", m.GetExtendedVector()[axis]);
  }
  columns.emplace_back("contact id", m.GetExtendedId());
  return columns;
}

// A log doesn't hold the tolerance that its run had.
constexpr const char* kMaybe = " (another --tolerance, or off?)";

// Fails at the first line that is not the same in all columns.
template <class List>
void RequireEqual(const List& stored, const List& again) {
  if (stored.GetCount() != again.GetCount())
    Fail(fmt::format("{} lines are stored, posted again there are {}{}", stored.GetCount(),
                     again.GetCount(), kMaybe));
  std::uint64_t index = 0;
  for (auto a = stored.begin(), b = again.begin(); a != stored.end(); ++a, ++b, ++index) {
    const std::vector<Column> was = ColumnsOf(RowOf(*a));
    const std::vector<Column> is = ColumnsOf(RowOf(*b));
    // Where the first ones are equal, both have the next.
    for (std::size_t i = 0; i < was.size(); ++i)
      if (was[i].second != is[i].second && !(std::isnan(was[i].second) && std::isnan(is[i].second)))
        Fail(fmt::format("line {} differs: {} is stored as {}, posted again it is {}{}", index,
                         was[i].first, was[i].second, is[i].second, kMaybe));
  }
}

}  // namespace

void ShowLog(const std::string& fileName, bool json) {
  LogPage page(fileName, json);
  ReadTagged(fileName,
             [&](const std::string& tag, std::uint32_t version, misc::zvBinInputStream& stream) {
               const Form* form = &kForms[0];  // which says that other tags are none
               for (const Form& known : kForms)
                 if (known.tag == tag) form = &known;
               LogPage read(fileName, json);
               if (!json) read.Add("file", std::string(form->words));
               read.Add("version", ordered_json(version));
               form->add(read, stream);
               page = read;
             });
  Print(page.Text());
}

void PrintLogCsv(const std::string& fileName) {
  zvKDRInput log = ReadLogOnTerminal(fileName);
  TextSink out(STDOUT_FILENO, "standard output");
  CsvWriter csv(out);
  WithOwnClass(log.GetPostedTPCreator(), [&](const auto& creator) {
    if (!creator.GetPostedList()) return;
    for (const auto& move : *creator.GetPostedList()) csv.Write(RowOf(move));
  });
  out.Flush();
}

void PrintLogCl(const std::string& fileName) {
  zvKDRInput log = ReadLogOnTerminal(fileName);
  TextSink out(STDOUT_FILENO, "standard output");
  WriteCl(out, log.GetToolPath(), std::filesystem::path(fileName).stem().string());
  out.Flush();
}

void ReplayLog(const std::string& fileName, const ToleranceOption& tolerance) {
  Progress progress;
  progress.Stage("reading");
  zvKDRInput log = ReadLog(fileName);
  const std::uint64_t count = PostedCount(log);
  WithOwnClass(log.GetPostedTPCreator(), [&]<class Creator>(Creator& creator) {
    const auto stored = creator.GetPostedList();
    creator.SetPathTolerance(PathToleranceOf(tolerance, log.GetToolPath().GetUnits()));
    const bool isSmall = stored && stored->Front().HasNoExtended();
    creator.SetProgress(progress.Hook());
    const auto again = creator.Post(log.GetToolPath(), isSmall);
    progress.Stage("comparing");
    if (stored)
      RequireEqual(*stored, *again);
    else if (!again->IsEmpty())
      Fail(fmt::format("no line is stored, posted again there are {}", again->GetCount()));
  });
  progress.Stop();
  Print(fmt::format("{} lines posted again: all equal\n", count));
}

}  // namespace kandrel_post
