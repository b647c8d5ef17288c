// run.glb: the machine in motion, as glTF 2.0.
#pragma once

#include <kandrel/post/model/mach_def.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kandrel-post/machine/machine.h"
#include "kandrel-post/out/output_folder.h"
#include "kandrel-post/out/posted_row.h"
#include "kandrel-post/out/text_sink.h"
#include "kandrel-post/pictures/glb_file.h"
#include "kandrel-post/pictures/machine_model.h"
#include "kandrel-post/pictures/model_scene.h"
#include "kandrel-post/pictures/plain_bodies.h"

namespace kandrel_post {

/// Collects posted moves, some 45 bytes each, and writes them as the motion of a machine's objects.
/// docs/kandrel-post.md has what the file holds.
///
/// 1. Objects are those of a machine description file, with its bodies, where posted axes move them
///    as the definition says; else those of the definition, with plain bodies.
/// 2. Keys stand at the sum of the move times. Moves of no time share the key of the one before, in
///    which the last of them counts. Times are floats: what would fall on the key before gets the
///    next float, as long as it comes no more than kMostLate too late; else it shares that key.
/// 3. Linear axes go straight between keys. A rotary one goes from number to number; one that the
///    control wraps goes the shorter way from line to line. A rotation of glTF takes the shorter
///    way, so as many nodes as keep each below half a turn share one axis' turn.
/// 4. Numbers too large for a float become its largest.
class RunModel {
 public:
  /// `lines` is how many are to come, `wrapped` which rotary axes the control wraps. The machine
  /// must outlive the object.
  RunModel(const Machine& machine, const std::string& machineArgument, const ModelSetup& setup,
           const std::array<bool, 3>& wrapped, std::uint64_t lines);

  void Write(const PostedRow& row);
  /// Makes run.glb, or nothing where it would be longer than such a file can be: false then.
  bool Prepare(OutputFolder& folder);
  /// Writes what Prepare has made. Uses nothing but this object and the file, so that it can go on
  /// beside other work.
  void Finish();

  /// What the file can't show as one might expect; a sentence each.
  const std::vector<std::string>& GetNotes() const noexcept { return m_notes; }

 private:
  using Point = post::zvMachDef::Point;
  using Floats = std::array<float, 3>;

  static constexpr double kMostLate = 0.01;                ///< seconds
  static constexpr std::uint64_t kMostLines = 40'000'000;  ///< so that a file of 32 bits holds them

  void TakePathPoint(const PostedRow& row);
  void TakeKey(const PostedRow& row);
  void ChooseTip();

  const Machine& m_machine;
  ModelSetup m_setup;
  MachineValues m_values;
  MachineModel m_model;
  std::array<bool, 3> m_wrapped;
  std::size_t m_rotary;  ///< how many axes move

  std::uint64_t m_lines = 0;
  double m_seconds = 0;
  std::array<double, 3> m_carried{};  ///< degrees that wrapped angles are behind
  std::array<double, 3> m_degs{};     ///< of the last line, running on past a turn
  // By keys.
  std::vector<float> m_times;
  std::vector<Floats> m_slides;
  std::array<std::vector<double>, 3> m_turns;
  // By lines.
  std::vector<Floats> m_path;
  std::vector<PathLine> m_pathLines;
  RunExtent m_extent;
  MachineModel::AxisValues m_firstAxes{};
  Point m_firstTip;
  std::vector<std::string> m_notes;
  GlbFile m_file;
  TextSink* m_sink = nullptr;  // the folder's; null where there is no file
};

}  // namespace kandrel_post
