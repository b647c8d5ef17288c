// Postings and what they end in, as plain values.
#pragma once

#include <kandrel/post/model/path_tolerance.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/tolerance_report.h>
#include <tests/support/laws.h>
#include <tests/support/numbers.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace tests {

template <class Move>
Line LineOf(const Move& move) {
  Line line{move.GetMachinePosition(), move.GetPartPosition(), move.GetOrientation()};
  if constexpr (requires { move.GetRotaryAngle(); }) {
    line.degs = {move.GetRotaryAngle()};
  } else if constexpr (requires { move.GetAngle(0); }) {
    line.degs = {move.GetAngle(0), move.GetAngle(1)};
    if constexpr (std::is_same_v<Move, post::zvPosted6axMove>)
      line.degs.push_back(move.GetAngle(2));
    line.poleStatus = move.GetPoleStatus();
  }
  line.feed = move.GetFeed();
  line.time = move.GetMoveTime();
  line.type = move.GetType();
  line.rapid = move.IsRapid();
  line.isSmall = move.HasNoExtended();
  if (line.isSmall) return line;
  line.inserted = move.IsInserted();
  line.source = move.GetSourceIndex();
  const Point &p = move.GetExtendedPoint(), &v = move.GetExtendedVector();
  if (move.HasExtendedData())
    line.extended = {p.x, p.y, p.z, v.x, v.y, v.z, 1.0 * move.GetExtendedId()};
  return line;
}

template <class List>
Lines LinesOf(const List& list) {
  Lines lines;
  for (const auto& move : list) lines.push_back(LineOf(move));
  return lines;
}

/// What a posting ends in.
struct Outcome {
  std::uint32_t id = 0;  ///< of its error; 0 for none
  Lines lines{};         ///< as they stand in its list, after an error too
  post::zvPostingCounts counts{};
  post::zvKDRParam::SolutionIndex index = post::zvKDRParam::firstSolution;  ///< as it stays
  post::zvToleranceReport report{};
  friend bool operator==(const Outcome& a, const Outcome& b) {
    return a.id == b.id && a.lines == b.lines;
  }
};

template <class Creator>
Outcome PostBy(Creator& creator, const cadcam::zvToolPath& path, bool small = false) {
  Outcome outcome{IdOf([&] { creator.Post(path, small); })};
  if (creator.GetPostedList()) outcome.lines = LinesOf(*creator.GetPostedList());
  if constexpr (requires { creator.GetCounts(); }) outcome.counts = creator.GetCounts();
  outcome.index = creator.GetPar().GetFirstMoveSolutionIndex();
  outcome.report = creator.GetToleranceReport();
  return outcome;
}
template <class AnyScene>
auto CreatorOf(const AnyScene& scene) {
  if constexpr (requires { scene.SixAxisCreator(); })
    return scene.SixAxisCreator();
  else
    return scene.Creator();
}
template <class AnyScene>
Outcome Post(const AnyScene& scene, const PathBuilder& path, bool small = false,
             const post::zvPathTolerance& tolerance = {}) {
  auto creator = CreatorOf(scene);
  creator.SetPathTolerance(tolerance);
  return PostBy(creator, path, small);
}
template <class AnyScene>
Outcome Post(const AnyScene& scene, const Source& source, bool small = false,
             const post::zvPathTolerance& tolerance = {}) {
  return Post(scene, Build(source), small, tolerance);
}

}  // namespace tests
