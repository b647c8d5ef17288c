#include "kandrel-post/cl/reader.h"

#include <fmt/format.h>
#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tp_section.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/units_factory.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "kandrel-post/cl/words.h"
#include "kandrel-post/host/errors.h"
#include "kandrel-post/host/progress.h"

namespace kandrel_post {

namespace {

using cadcam::zvTPoint3d;
using measures::zvUnitsFactory;
using Point = zvTPoint3d<double>;
using Units = zvUnitsFactory::Units;

// Words beyond this many are counted together, whatever a text holds.
constexpr std::size_t kMostSkippedWords = 500;

constexpr Point kAlongZ{0, 0, 1};

// Adds moves to a toolpath and begins its containers.
class TreeBuilder {
 public:
  TreeBuilder(cadcam::zvToolPath& toolPath, std::uint32_t rapidLinkType)
      : m_toolPath(toolPath), m_rapidLinkType(rapidLinkType) {}

  void BeginPass() {
    m_pass = Append<cadcam::zvTPPass>(m_toolPath);
    m_slice = nullptr;
    m_section = nullptr;
  }
  void BeginSlice() {
    if (m_pass == nullptr) BeginPass();
    m_slice = Append<cadcam::zvTPSlice>(*m_pass);
    m_section = nullptr;
  }
  void BeginContour() {
    if (m_slice == nullptr) BeginSlice();
    m_section = Append<cadcam::zvTPContour>(*m_slice);
    m_sectionGiven = true;
  }
  void BeginLink(std::uint32_t type) {
    if (m_slice == nullptr) BeginSlice();
    m_section = Append<cadcam::zvTPLink>(*m_slice, type);
    m_sectionGiven = true;
  }

  void AddMove(const Point& position, const Point& axis, double feed, bool rapid) {
    if (m_section == nullptr || (!m_sectionGiven && rapid != m_sectionRapid)) {
      rapid ? BeginLink(m_rapidLinkType) : BeginContour();
      m_sectionGiven = false;
      m_sectionRapid = rapid;
    }
    if (axis == kAlongZ) {
      m_section->push_back(misc::MakeAutoPointer<cadcam::zv3axMove>(position, axis, feed, rapid));
    } else {
      m_section->push_back(misc::MakeAutoPointer<cadcam::zv5axMove>(
          position, axis, Point(), Point(), 0U, false, feed, rapid));
    }
  }

 private:
  template <class Child, class Parent, class... Arguments>
  static Child* Append(Parent& parent, Arguments&&... arguments) {
    auto child = misc::MakeAutoPointer<Child>(std::forward<Arguments>(arguments)...);
    Child* const raw = child.Get();
    parent.push_back(std::move(child));
    return raw;
  }

  cadcam::zvToolPath& m_toolPath;
  std::uint32_t m_rapidLinkType;
  cadcam::zvTPPass* m_pass = nullptr;
  cadcam::zvTPSlice* m_slice = nullptr;
  cadcam::zvTPSection* m_section = nullptr;
  bool m_sectionGiven = false;  // begun by the text itself
  bool m_sectionRapid = false;
};

class Reader {
 public:
  Reader(ByteSource source, const std::string& name, const ClOptions& options)
      : m_lines(std::move(source), name),
        m_name(name),
        m_options(options),
        m_tree(m_program.toolPath, options.rapidLinkType) {}

  ClProgram Run() {
    unsigned long long reported = 0;
    while (m_lines.Next(m_statement)) {
      if (m_statement.text.empty()) {
        Directive();
      } else if (StartsWithGoto(m_statement.text)) {
        Goto(ClArguments(m_statement.text.substr(m_statement.text.find('/') + 1)));
      } else {
        Statement(TakeApart(m_statement.text));
      }
      if (m_lines.GetBytesRead() != reported && m_options.onRead) {
        reported = m_lines.GetBytesRead();
        m_options.onRead(reported);
      }
    }
    m_program.toolPath.SetUnits(m_units, true);
    return std::move(m_program);
  }

 private:
  [[noreturn]] void Expected(std::string_view what) const {
    FailAtLine(m_name, m_statement.line, what);
  }

  void Directive() {
    const std::string_view comment = m_statement.comment;
    if (EqualsIgnoringCase(comment, "PASS")) return m_tree.BeginPass();
    if (EqualsIgnoringCase(comment, "SLICE")) return m_tree.BeginSlice();
    if (EqualsIgnoringCase(comment, "CONTOUR")) return m_tree.BeginContour();
    switch (const LinkDirective link = ReadLinkDirective(comment); link.kind) {
      case LinkDirective::kNone:
        return;
      case LinkDirective::kLink:
        return m_tree.BeginLink(link.type);
      case LinkDirective::kBad:
        Expected("a link type from 0 to 4294967295 expected after $$ LINK");
    }
  }

  void Statement(const ClWord& word) {
    const std::string& key = word.key;
    ClArguments arguments(word.arguments);
    if (key == "RAPID") {
      if (word.hasSlash) Expected("RAPID without anything after it expected");
      m_nextIsRapid = true;
    } else if (key == "FEDRAT") {
      Fedrat(arguments);
    } else if (key == "GOTO") {
      if (!word.hasSlash) Expected("GOTO/x,y,z or GOTO/x,y,z,i,j,k expected");
      Goto(arguments);
    } else if (key == "FROM") {
      Move(Coordinates(arguments, "FROM"), true);
    } else if (key == "UNITS") {
      SetUnits(arguments);
    } else if (key == "MULTAX") {
      Multax(word, arguments);
    } else if (key == "PARTNO") {
      m_program.partName = word.arguments;
    } else if (key == "FINI") {
      m_program.finished = true;
    } else if (key.empty()) {
      Expected("an APT word expected at the start of the line");
    } else if (const std::string mover = FindMovingWord(word); !mover.empty()) {
      Expected(mover == "GOTO" || mover == "FROM"
                   ? fmt::format("{0}/x,y,z or {0}/x,y,z,i,j,k expected", mover)
                   : fmt::format("a path of GOTO moves expected, {} is not understood", mover));
    } else {
      Skip(word.shown);
    }
  }

  void Skip(const std::string& word) {
    auto& words = m_program.skippedWords;
    const bool room = words.size() < kMostSkippedWords || words.contains(word);
    ++words[room ? word : "(others)"];
  }

  // x,y,z and perhaps i,j,k.
  struct CutterLocation {
    Point position;
    Point axis;
    bool hasAxis;
  };

  CutterLocation Coordinates(ClArguments& arguments, std::string_view word) const {
    std::array<double, 6> values{};
    std::size_t count = 0;
    for (bool more = true; more; more = arguments.SkipComma()) {
      if (count == values.size())
        Expected(fmt::format("3 or 6 numbers expected after {}/, more found", word));
      switch (arguments.Number(values[count])) {
        case ClArguments::kNumber:
          break;
        case ClArguments::kOutOfRange:
          Expected(fmt::format("a number that fits a double expected as number {} after {}/",
                               count + 1, word));
        case ClArguments::kNoNumber:
          Expected(fmt::format("a number expected as number {} after {}/", count + 1, word));
      }
      ++count;
    }
    if (!arguments.AtEnd())
      Expected(fmt::format("a comma or the end of the line expected after number {}", count));
    if (count != 3 && count != 6)
      Expected(fmt::format("3 or 6 numbers expected after {}/, {} found", word, count));
    const CutterLocation location{
        {values[0], values[1], values[2]}, {values[3], values[4], values[5]}, count == 6};
    if (location.hasAxis && location.axis.IsZero())
      Expected("a tool axis other than 0,0,0 expected");
    return location;
  }

  void Goto(ClArguments arguments) {
    Move(Coordinates(arguments, "GOTO"), m_nextIsRapid);
    m_nextIsRapid = false;
  }

  void Move(const CutterLocation& location, bool rapid) {
    if (m_program.finished) Expected("no move after FINI expected");
    if (location.hasAxis) {
      m_axis = location.axis;
    } else if (!m_axisHolds) {
      m_axis = kAlongZ;
    }
    m_tree.AddMove(location.position, m_axis, m_feed, rapid);
    ++m_program.moveCount;
    if (rapid) {
      ++m_program.rapidCount;
    } else if (m_feed == 0) {
      ++m_program.feedlessCount;
    }
  }

  void SetUnits(ClArguments& arguments) {
    const std::string word = arguments.Word();
    Units units = zvUnitsFactory::metric;
    if (IsInchWord(word)) {
      units = zvUnitsFactory::inch;
    } else if (!IsMetricWord(word)) {
      Expected("UNITS/MM or UNITS/INCHES expected");
    }
    if (!arguments.AtEnd()) Expected("UNITS/MM or UNITS/INCHES expected");
    if (m_program.moveCount != 0 && units != m_units)
      Expected(fmt::format("UNITS/{} expected: units cannot change after the first move",
                           m_units == zvUnitsFactory::metric ? "MM" : "INCHES"));
    m_units = units;
    UpdateFeed();
  }

  void Multax(const ClWord& word, ClArguments& arguments) {
    const std::string state = arguments.Word();
    const bool on = !word.hasSlash || state == "ON";
    if ((!on && state != "OFF") || !arguments.AtEnd()) Expected("MULTAX/ON or MULTAX/OFF expected");
    m_axisHolds = on;
    if (!on) m_axis = kAlongZ;
  }

  // FEDRAT/f, FEDRAT/f,UNIT or FEDRAT/UNIT,f.
  void Fedrat(ClArguments& arguments) {
    double feed = 0;
    std::string unit;
    ClArguments::Result result = arguments.Number(feed);
    if (result == ClArguments::kNumber) {
      if (arguments.SkipComma()) unit = arguments.Word();
    } else if (result == ClArguments::kNoNumber) {
      unit = arguments.Word();
      result = arguments.SkipComma() ? arguments.Number(feed) : ClArguments::kNoNumber;
      if (unit.empty()) unit.assign(1, '?');
    }
    if (IsFeedPerRevolution(unit))
      Expected(fmt::format("a feed per minute expected, {} is one per revolution", unit));
    if (result != ClArguments::kNumber || !arguments.AtEnd() || !(feed >= 0))
      Expected("a finite feed, not negative, expected: FEDRAT/f or FEDRAT/f,MMPM");
    if (unit.empty() || IsFeedPerMinute(unit)) {
      m_feedUnits.reset();
    } else if (unit == "MMPM") {
      m_feedUnits = zvUnitsFactory::metric;
    } else if (unit == "IPM") {
      m_feedUnits = zvUnitsFactory::inch;
    } else {
      Expected("a feed per minute expected: MMPM, IPM or PERMIN");
    }
    m_feedAsGiven = feed;
    UpdateFeed();
  }

  // The feed in the text's units, whichever of FEDRAT and UNITS came first.
  void UpdateFeed() {
    m_feed =
        m_feedAsGiven * (m_feedUnits ? zvUnitsFactory::GetScaleFactor(*m_feedUnits, m_units) : 1.0);
    if (!std::isfinite(m_feed)) Expected("a feed that fits a double expected");
  }

  ClLines m_lines;
  const std::string& m_name;
  const ClOptions& m_options;
  ClStatement m_statement;
  ClProgram m_program;
  TreeBuilder m_tree;
  Units m_units = zvUnitsFactory::metric;
  Point m_axis = kAlongZ;
  bool m_axisHolds = true;
  bool m_nextIsRapid = false;
  double m_feedAsGiven = 0;
  std::optional<Units> m_feedUnits;
  double m_feed = 0;
};

}  // namespace

ClProgram ReadCl(ByteSource source, const std::string& name, const ClOptions& options) {
  return Reader(std::move(source), name, options).Run();
}

ClProgram ReadClFile(const std::string& fileName, std::uint32_t rapidLinkType, Progress& progress) {
  InputFile file(fileName);
  ClOptions options;
  options.rapidLinkType = rapidLinkType;
  if (const double size = file.GetSize(); size > 0)
    options.onRead = [&progress, size](unsigned long long bytes) {
      progress.Fraction(static_cast<double>(bytes) / size);
    };
  return ReadCl(file.Source(), fileName, options);
}

}  // namespace kandrel_post
