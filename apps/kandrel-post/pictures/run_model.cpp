#include "kandrel-post/pictures/run_model.h"

#include <kandrel/misc/angles.h>
#include <kandrel/post/model/posted_move.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <utility>

namespace kandrel_post {

namespace {

constexpr int kFirstRotary = 3;
constexpr float kLargest = std::numeric_limits<float>::max();

float ToFloat(double number) {
  return static_cast<float>(std::clamp(number, -double{kLargest}, double{kLargest}));
}

std::array<float, 3> ToFloats(const post::zvMachDef::Point& p) {
  return {ToFloat(p.x), ToFloat(p.y), ToFloat(p.z)};
}

void Enclose(post::zvMachDef::Point& low, post::zvMachDef::Point& high,
             const post::zvMachDef::Point& p, bool isFirst) {
  for (int i = 0; i < 3; ++i) {
    low[i] = isFirst ? p[i] : std::min(low[i], p[i]);
    high[i] = isFirst ? p[i] : std::max(high[i], p[i]);
  }
}

// Neither too large nor too small for meshes of floats.
bool IsDrawable(const RunExtent& extent, const MachineValues& values, const ModelSetup& setup) {
  constexpr double kFarthest = 1e12;
  double sum = std::fabs(setup.toolLength);
  for (const post::zvMachDef::Point& p :
       {extent.minPart, extent.maxPart, extent.minSlides, extent.maxSlides, setup.partOrigin,
        values.rotary[0].pivot, values.rotary[1].pivot})
    sum += std::fabs(p.x) + std::fabs(p.y) + std::fabs(p.z);
  return sum <= kFarthest;
}

}  // namespace

RunModel::RunModel(const Machine& machine, const std::string& machineArgument,
                   const ModelSetup& setup, const std::array<bool, 3>& wrapped, std::uint64_t lines)
    : m_machine(machine),
      m_setup(setup),
      m_values(NormalisedValues(machine)),
      m_model(ModelOfDefinition(machine, m_values, setup)),
      m_wrapped(wrapped),
      m_rotary(static_cast<std::size_t>(std::min(m_values.RotaryCount(), 2))) {
  if (machineArgument.ends_with(".xml")) {
    if (auto ofFile = ModelOfFile(machine, m_model))
      m_model = std::move(*ofFile);
    else
      m_notes.emplace_back(
          "run.glb has plain bodies: the objects of the machine's file don't move as its "
          "definition says");
  }
  if (lines > kMostLines) return;
  const auto count = static_cast<std::size_t>(lines);
  m_times.reserve(count);
  m_slides.reserve(count);
  for (std::size_t i = 0; i < m_rotary; ++i) m_turns[i].reserve(count);
  m_path.reserve(count);
  m_pathLines.reserve(count);
}

void RunModel::Write(const PostedRow& row) {
  if (++m_lines > kMostLines) return;
  const post::zvPostedMove& move = row.move;
  const bool isFirst = m_lines == 1;
  TakePathPoint(row);
  Enclose(m_extent.minPart, m_extent.maxPart, move.GetPartPosition(), isFirst);
  Enclose(m_extent.minSlides, m_extent.maxSlides, move.GetMachinePosition(), isFirst);
  for (std::size_t i = 0; i < m_rotary; ++i) {
    double deg = row.angles[i];
    if (m_wrapped[i]) {
      deg += m_carried[i];
      const double more = isFirst ? 0 : misc::kFullTurnDeg * misc::WindsBetween(m_degs[i], deg);
      m_carried[i] += more;
      deg += more;
    }
    m_degs[i] = deg;
  }
  TakeKey(row);
  if (!isFirst) return;
  m_firstTip = move.GetPartPosition();
  for (int i = 0; i < 3; ++i)
    m_firstAxes[static_cast<std::size_t>(i)] = move.GetMachinePosition()[i];
  for (std::size_t i = 0; i < m_rotary; ++i) m_firstAxes[kFirstRotary + i] = m_degs[i];
}

// Between two points that are the same, no line is drawn.
void RunModel::TakePathPoint(const PostedRow& row) {
  const Floats p = ToFloats(row.move.GetPartPosition());
  const bool isDrawn = !m_path.empty() && p != m_path.back();
  const PathLine line = row.move.IsRapid() ? PathLine::rapid : PathLine::feed;
  m_pathLines.push_back(isDrawn ? line : PathLine::none);
  m_path.push_back(p);
}

void RunModel::TakeKey(const PostedRow& row) {
  const double seconds = row.move.GetMoveTime();
  m_seconds += seconds;
  const Floats slides = ToFloats(row.move.GetMachinePosition());
  bool isNew = m_times.empty();
  float time = ToFloat(m_seconds);
  if (!isNew && seconds > 0) {
    if (!(time > m_times.back())) time = std::nextafter(m_times.back(), kLargest);
    isNew = time > m_times.back() && time - m_seconds <= kMostLate;
  }
  if (isNew) {
    m_times.push_back(time);
    m_slides.push_back(slides);
    for (std::size_t i = 0; i < m_rotary; ++i) m_turns[i].push_back(m_degs[i]);
    return;
  }
  m_slides.back() = slides;
  for (std::size_t i = 0; i < m_rotary; ++i) m_turns[i].back() = m_degs[i];
}

// A kind of machine that leaves the tool's length out adds it where a run has one orientation
// alone: the first line tells.
void RunModel::ChooseTip() {
  if (m_values.axes != 5 || m_lines == 0 ||
      m_values.fiveAxisKind != post::zv5axMachDef::kBothOnTableLengthLeftOut)
    return;
  double nearest = std::numeric_limits<double>::infinity();
  for (const bool withLength : {false, true}) {
    MachineModel model = m_model;
    model.PutTip(TipAtZero(m_values, m_setup.toolLength, withLength), m_values.spindle);
    const MachineModel::Matrix tool = model.ToolInPart(m_firstAxes);
    const double off = (tool * Point{} - m_firstTip).Length();
    if (!(off < nearest)) continue;
    nearest = off;
    m_model = std::move(model);
  }
}

bool RunModel::Prepare(OutputFolder& folder) {
  if (m_lines > kMostLines) {
    m_notes = {"run.glb is left out: no such file holds as many lines"};
    return false;
  }
  ChooseTip();
  if (IsDrawable(m_extent, m_values, m_setup)) {
    if (!m_model.isOfFile) AddPlainBodies(m_model, m_values, m_setup, m_extent);
    AddPlainTool(m_model, m_values, m_setup, m_extent);
  }
  ModelScene(m_file, m_model,
             {m_times, m_slides, m_turns, m_path, m_pathLines, ToFloats(m_extent.minPart),
              ToFloats(m_extent.maxPart)})
      .Make(m_machine.name, m_values.units);
  if (!m_file.Fits()) {
    m_notes = {"run.glb is left out: it would be longer than such a file can be"};
    return false;
  }
  m_sink = &folder.Create("run.glb");
  return true;
}

void RunModel::Finish() {
  if (m_sink != nullptr) m_file.Write(*m_sink);
}

}  // namespace kandrel_post
