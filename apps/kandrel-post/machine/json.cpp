#include "kandrel-post/machine/json.h"

#include <fmt/format.h>
#include <kandrel/misc/text.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/mach_def.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/machine/values.h"
#include "kandrel-post/out/axis_words.h"
#include "kandrel-post/out/json_text.h"

namespace kandrel_post {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using Point = post::zvMachDef::Point;

constexpr std::size_t kLargestFile = std::size_t{1} << 20;
constexpr const char* kOnWorkpieceKeys[] = {"firstOnWorkpiece", "secondOnWorkpiece",
                                            "thirdOnWorkpiece"};

// Runs over a text and keeps the line that the parser has reached.
class LineCounter {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  LineCounter(const char* at, unsigned& line) : m_at(at), m_line(&line) {}

  reference operator*() const { return *m_at; }
  LineCounter& operator++() {
    if (*m_at == '\n') ++*m_line;
    ++m_at;
    return *this;
  }
  LineCounter operator++(int) {
    LineCounter before(*this);
    ++*this;
    return before;
  }
  friend bool operator==(const LineCounter& a, const LineCounter& b) { return a.m_at == b.m_at; }
  friend bool operator!=(const LineCounter& a, const LineCounter& b) { return !(a == b); }

 private:
  const char* m_at;
  unsigned* m_line;
};

// A parsed text that knows on which line each key stands. A key of a rotary entry is found under
// "rotary[0].min".
class Document {
 public:
  Document(std::string_view text, const std::string& name) : m_name(name) {
    unsigned line = 1;
    std::string key;
    int entry = -1;
    const json::parser_callback_t callback = [&](int depth, json::parse_event_t event,
                                                 json& parsed) {
      if (event == json::parse_event_t::object_start && depth == 2) ++entry;
      if (event != json::parse_event_t::key) return true;
      const std::string& word = parsed.get_ref<const std::string&>();
      if (depth == 1) {
        key = word;
        entry = -1;
      }
      const std::string path = depth == 1 ? word : fmt::format("{}[{}].{}", key, entry, word);
      if (depth <= 3 && !m_lines.emplace(path, line).second)
        FailAtLine(m_name, line, fmt::format("the key \"{}\" once expected", word));
      return true;
    };
    try {
      m_json = json::parse(LineCounter(text.data(), line),
                           LineCounter(text.data() + text.size(), line), callback);
    } catch (const json::exception& e) {
      const std::string_view reason(e.what());
      const std::size_t colon = reason.rfind(": ");
      FailAtLine(m_name, line,
                 fmt::format("JSON expected: {}",
                             colon == std::string_view::npos ? reason : reason.substr(colon + 2)));
    }
    if (!m_json.is_object()) FailAtLine(m_name, 1, "an object with the keys of a machine expected");
  }

  const json& Root() const noexcept { return m_json; }

  [[noreturn]] void Expected(const std::string& path, std::string_view what) const {
    const auto line = m_lines.find(path);
    FailAtLine(m_name, line != m_lines.end() ? line->second : 1, what);
  }

 private:
  const std::string& m_name;
  json m_json;
  std::map<std::string, unsigned> m_lines;
};

// One object of a document: reads its keys and refuses those that nobody asked for.
class ObjectReader {
 public:
  ObjectReader(const Document& document, const json& object, std::string prefix,
               std::vector<std::string>& absentKeys)
      : m_document(document),
        m_object(object),
        m_prefix(std::move(prefix)),
        m_absentKeys(absentKeys) {}

  // The value of a key, or null when the object lacks it.
  const json* Find(const char* key) {
    m_known.emplace_back(key);
    const auto value = m_object.find(key);
    if (value != m_object.end()) return &*value;
    m_absentKeys.push_back(m_prefix + key);
    return nullptr;
  }
  [[noreturn]] void Expected(const char* key, std::string_view what) const {
    m_document.Expected(m_prefix + key, fmt::format("{} expected for \"{}\"", what, key));
  }

  void Read(const char* key, double& value) {
    if (const json* found = Find(key)) {
      if (!IsFinite(*found)) Expected(key, "a number");
      value = found->get<double>();
    }
  }
  void Read(const char* key, std::int32_t& value) {
    if (const json* found = Find(key)) {
      constexpr double kMin = std::numeric_limits<std::int32_t>::min();
      constexpr double kMax = std::numeric_limits<std::int32_t>::max();
      const double number = found->is_number_integer() ? found->get<double>() : 2 * kMax;
      if (!(number >= kMin && number <= kMax)) Expected(key, "an integer");
      value = static_cast<std::int32_t>(number);
    }
  }
  void Read(const char* key, Point& point) {
    if (const json* found = Find(key)) {
      if (!found->is_array() || found->size() != 3 ||
          !std::all_of(found->begin(), found->end(), IsFinite))
        Expected(key, "three numbers");
      point = {(*found)[0].get<double>(), (*found)[1].get<double>(), (*found)[2].get<double>()};
    }
  }

  void RefuseOtherKeys() const {
    for (const auto& item : m_object.items()) {
      if (std::find(m_known.begin(), m_known.end(), item.key()) != m_known.end()) continue;
      if (m_prefix.empty() && item.key() == "description") continue;  // a text for people
      std::string known;
      for (const std::string& key : m_known)
        known += fmt::format("{}{}", known.empty() ? "" : ", ", key);
      m_document.Expected(m_prefix + item.key(),
                          fmt::format("one of {} expected, not \"{}\"", known, item.key()));
    }
  }

 private:
  static bool IsFinite(const json& value) {
    return value.is_number() && std::isfinite(value.get<double>());
  }

  const Document& m_document;
  const json& m_object;
  std::string m_prefix;
  std::vector<std::string> m_known;
  std::vector<std::string>& m_absentKeys;
};

int ReadAxes(ObjectReader& reader) {
  std::int32_t axes = 3;
  reader.Read("axes", axes);
  if (axes < 3 || axes > 6) reader.Expected("axes", "3, 4, 5 or 6");
  return axes;
}

void ReadUnits(ObjectReader& reader, MachineValues& values) {
  if (const json* units = reader.Find("units")) {
    if (*units == "metric") {
      values.units = measures::zvUnitsFactory::metric;
    } else if (*units == "inch") {
      values.units = measures::zvUnitsFactory::inch;
    } else {
      reader.Expected("units", "\"metric\" or \"inch\"");
    }
  }
}

std::vector<std::wstring> ReadNames(ObjectReader& reader, int axes) {
  std::vector<std::wstring> names;
  const json* const found = reader.Find("names");
  if (found == nullptr) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(axes); ++i)
      names.push_back(misc::FromUtf8(kDefaultAxisNames[i]));
    return names;
  }
  if (!found->is_array()) reader.Expected("names", "an array of texts");
  for (const json& entry : *found) {
    if (!entry.is_string()) reader.Expected("names", "an array of texts");
    names.push_back(misc::FromUtf8(entry.get_ref<const std::string&>()));
  }
  return names;
}

void ReadRotary(const Document& document, ObjectReader& reader, MachineValues& values,
                std::vector<std::string>& absentKeys) {
  const json* const entries = reader.Find("rotary");
  if (entries == nullptr) return;
  const std::size_t count = static_cast<std::size_t>(values.RotaryCount());
  if (!entries->is_array() || entries->size() != count)
    reader.Expected("rotary", fmt::format("an array of {} rotary axes", count));
  for (std::size_t i = 0; i < count; ++i) {
    if (!(*entries)[i].is_object()) reader.Expected("rotary", "an array of objects");
    ObjectReader entry(document, (*entries)[i], fmt::format("rotary[{}].", i), absentKeys);
    entry.Read("direction", values.rotary[i].direction);
    entry.Read("pivot", values.rotary[i].pivot);
    if (i < 2) {
      entry.Read("min", values.rotary[i].min);
      entry.Read("max", values.rotary[i].max);
    }
    entry.RefuseOtherKeys();
  }
}

ordered_json Number(double value) {
  return JsonNumber(value == 0 ? 0 : value, "a machine");  // no 0 with a sign
}

ordered_json Vector(const Point& p) {
  return {Number(p.x), Number(p.y), Number(p.z)};
}

std::string ReadSmallFile(const std::string& fileName) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(fileName.c_str(), "rb"),
                                                             &std::fclose);
  if (!file) FailWithErrno(fileName, "cannot be opened", errno);
  std::string text(kLargestFile + 1, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (std::ferror(file.get()) != 0) FailWithErrno(fileName, "cannot be read", errno);
  if (text.size() > kLargestFile)
    Fail(fmt::format("{}:1: a machine of at most 1048576 bytes expected", fileName));
  return text;
}

}  // namespace

Machine ParseMachine(std::string_view text, const std::string& name) {
  Machine machine;
  const Document document(text, name);
  ObjectReader reader(document, document.Root(), "", machine.absentKeys);
  MachineValues values = DefaultValues(ReadAxes(reader));
  ReadUnits(reader, values);
  const std::vector<std::wstring> names = ReadNames(reader, values.axes);
  reader.Read("spindle", values.spindle);
  reader.Read("minLimits", values.minLimits);
  reader.Read("maxLimits", values.maxLimits);
  reader.Read("xAxis", values.xAxis);
  reader.Read("yAxis", values.yAxis);
  reader.Read("zAxis", values.zAxis);
  if (values.axes == 4) reader.Read("rotaryOnWorkpiece", values.rotaryOnWorkpiece);
  if (values.axes >= 5) reader.Read("fiveAxisKind", values.fiveAxisKind);
  if (values.axes >= 4) ReadRotary(document, reader, values, machine.absentKeys);
  if (values.axes == 6) {
    reader.Read("thirdAngle", values.thirdAngle);
    for (std::size_t i = 0; i < 3; ++i) reader.Read(kOnWorkpieceKeys[i], values.onWorkpiece[i]);
  }
  reader.RefuseOtherKeys();

  machine.builder.SetMachDef(MakeMachDef(values));
  machine.builder.SetAxisNames(names);
  return machine;
}

Machine ReadMachineFile(const std::string& fileName) {
  Machine machine = ParseMachine(ReadSmallFile(fileName), fileName);
  machine.name = std::filesystem::path(fileName).stem().string();
  return machine;
}

std::string MachineToJson(const Machine& machine) {
  const MachineValues values = ValuesOf(*machine.builder.GetMachDef());
  ordered_json object;
  object["axes"] = values.axes;
  object["units"] = UnitsWord(values.units);
  object["names"] = AxisNames(machine);
  object["spindle"] = Vector(values.spindle);
  object["minLimits"] = Vector(values.minLimits);
  object["maxLimits"] = Vector(values.maxLimits);
  object["xAxis"] = Vector(values.xAxis);
  object["yAxis"] = Vector(values.yAxis);
  object["zAxis"] = Vector(values.zAxis);
  if (values.axes == 4) object["rotaryOnWorkpiece"] = values.rotaryOnWorkpiece;
  if (values.axes >= 5) object["fiveAxisKind"] = values.fiveAxisKind;
  for (int i = 0; i < values.RotaryCount(); ++i) {
    const RotaryValues& rotary = values.rotary[static_cast<std::size_t>(i)];
    ordered_json entry;
    entry["direction"] = Vector(rotary.direction);
    entry["pivot"] = Vector(rotary.pivot);
    if (i < 2) {
      entry["min"] = Number(rotary.min);
      entry["max"] = Number(rotary.max);
    }
    object["rotary"].push_back(entry);
  }
  if (values.axes == 6) {
    object["thirdAngle"] = Number(values.thirdAngle);
    for (std::size_t i = 0; i < 3; ++i) object[kOnWorkpieceKeys[i]] = values.onWorkpiece[i];
  }

  return JsonText(object);
}

}  // namespace kandrel_post
