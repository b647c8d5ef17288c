#include "kandrel-post/samples/samples.h"

#include <fmt/format.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/units_factory.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/samples/rotary.h"
#include "kandrel-post/samples/sample_path.h"

namespace kandrel_post {

namespace {

using measures::zvUnitsFactory;
using Point = cadcam::zvTPoint3d<double>;

// Link types of the samples: the one of long ways at safe height, and one of short ways.
constexpr std::uint32_t kFarLink = 5;
constexpr std::uint32_t kNearLink = 0;

// Once round a square of 60 mm at z = -1, from above and back.
cadcam::zvToolPath MakeSquare() {
  SamplePath path(zvUnitsFactory::metric, 1e4, 0.005);
  path.BeginPass();
  path.BeginSlice();
  path.SetFeed(600);
  path.BeginLink(kFarLink);
  path.Rapid({0, 0, 20});
  path.Rapid({0, 0, 2});
  path.BeginContour();
  for (const Point& corner :
       {Point(0, 0, -1), Point(60, 0, -1), Point(60, 60, -1), Point(0, 60, -1), Point(0, 0, -1)})
    path.Line(corner);
  path.BeginLink(kFarLink);
  path.Rapid({0, 0, 20});
  return path.Take();
}

// The plate, in millimetres: its top is z = 0, its lower left corner x = y = 0.
struct Plate {
  static constexpr double kLength = 340, kWidth = 240;
  static constexpr double kToolRadius = 6;
  static constexpr double kSafe = 25, kAbove = 1;
  static constexpr double kPlungeFeed = 300, kRoughFeed = 1400, kFinishFeed = 800;
  static constexpr double kAllowance = 0.3;
};

// One rectangular pocket of the plate.
struct Pocket {
  double x, y;          // centre
  double halfX, halfY;  // half its size
  double corner;        // radius of the outermost roughing round
  double depth;
};

std::array<Pocket, 6> Pockets() {
  std::array<Pocket, 6> pockets{};
  for (int i = 0; i < 6; ++i) {
    const int column = i % 3, row = i / 3;
    pockets[static_cast<std::size_t>(i)] = {75.0 + 95 * column, 72.5 + 95 * row,  40,
                                            37.5 - 4 * column,  9 + 1.5 * column, 15.0 + 3 * row};
  }
  return pockets;
}

// Over a place at safe height, then down to just above what is already cut.
void Approach(SamplePath& path, const Point& start) {
  path.BeginLink(kFarLink);
  path.Rapid({start.x, start.y, Plate::kSafe});
  path.Rapid(start);
}

void Retract(SamplePath& path, double x, double y) {
  path.BeginLink(kFarLink);
  path.Rapid({x, y, Plate::kSafe});
}

// One level of a pocket: down a helix, then rings from the inside out.
void RoughLevel(SamplePath& path, const Pocket& pocket, double top, double bottom) {
  constexpr double kHelixRadius = 4, kTurns = 4, kStep = 4.5;
  path.BeginSlice();
  Approach(path, {pocket.x + kHelixRadius, pocket.y, top + Plate::kAbove});
  path.BeginContour();
  path.SetFeed(Plate::kPlungeFeed);
  path.Arc(pocket.x, pocket.y, kHelixRadius, 0, 360 * kTurns, top + Plate::kAbove, bottom);
  path.Arc(pocket.x, pocket.y, kHelixRadius, 0, 360, bottom, bottom);
  path.SetFeed(Plate::kRoughFeed);
  const double away = Plate::kToolRadius + Plate::kAllowance;
  const double lastX = pocket.halfX - away, lastY = pocket.halfY - away;
  const int rings = static_cast<int>(std::min(lastX, lastY) / kStep);
  for (int ring = rings - 1; ring >= 0; --ring) {
    const double inside = ring * kStep;
    const double halfX = lastX - inside, halfY = lastY - inside;
    path.BeginLink(kNearLink);
    path.Line({pocket.x + halfX, pocket.y, bottom});
    path.BeginContour();
    path.RoundedRectangle(pocket.x, pocket.y, halfX, halfY,
                          std::min(pocket.corner, 0.8 * std::min(halfX, halfY)), bottom);
  }
  Retract(path, pocket.x + lastX, pocket.y);
}

// Once round the wall, onto it and off it on quarter circles.
void FinishWall(SamplePath& path, const Pocket& pocket, double z) {
  constexpr double kLead = 5;
  const double halfX = pocket.halfX - Plate::kToolRadius;
  const double halfY = pocket.halfY - Plate::kToolRadius;
  const double leadX = pocket.x + halfX - kLead;
  path.BeginSlice();
  Approach(path, {leadX, pocket.y - kLead, z + Plate::kAbove});
  path.BeginContour();
  path.SetFeed(Plate::kPlungeFeed);
  path.Line({leadX, pocket.y - kLead, z});
  path.SetFeed(Plate::kFinishFeed);
  path.Arc(leadX, pocket.y, kLead, 270, 90, z, z);
  path.RoundedRectangle(pocket.x, pocket.y, halfX, halfY, pocket.corner - 2, z);
  path.Arc(leadX, pocket.y, kLead, 0, 90, z, z);
  Retract(path, leadX, pocket.y + kLead);
}

// A round hole along a helix.
void BoreHole(SamplePath& path, double x, double y) {
  constexpr double kRadius = 3.5, kDepth = 27, kPitch = 1.5;
  path.BeginSlice();
  Approach(path, {x + kRadius, y, Plate::kAbove});
  path.BeginContour();
  path.SetFeed(Plate::kPlungeFeed);
  path.Arc(x, y, kRadius, 0, 360 * (kDepth + Plate::kAbove) / kPitch, Plate::kAbove, -kDepth);
  path.Arc(x, y, kRadius, 360 * (kDepth + Plate::kAbove) / kPitch, 360, -kDepth, -kDepth);
  path.Line({x, y, -kDepth});
  Retract(path, x, y);
}

void CutOutside(SamplePath& path, double z) {
  const double halfX = Plate::kLength / 2 + Plate::kToolRadius;
  const double halfY = Plate::kWidth / 2 + Plate::kToolRadius;
  const Point start(Plate::kLength / 2 + halfX, Plate::kWidth / 2, z);
  path.BeginSlice();
  Approach(path, start + Point(15, 0, 0));
  path.BeginContour();
  path.SetFeed(Plate::kRoughFeed);
  path.Line(start);
  path.RoundedRectangle(Plate::kLength / 2, Plate::kWidth / 2, halfX, halfY, 18, z);
  path.Line(start + Point(15, 0, 0));
  Retract(path, start.x + 15, start.y);
}

cadcam::zvToolPath MakePocketPlate() {
  constexpr double kLevel = 3;
  SamplePath path(zvUnitsFactory::metric, 1e4, 0.004);
  path.SetFeed(Plate::kPlungeFeed);
  path.BeginPass();
  for (const Pocket& pocket : Pockets()) {
    const int levels = static_cast<int>(std::ceil(pocket.depth / kLevel));
    for (int level = 0; level < levels; ++level)
      RoughLevel(path, pocket, -kLevel * level, -std::min(kLevel * (level + 1), pocket.depth));
  }
  path.BeginPass();
  for (const Pocket& pocket : Pockets()) {
    FinishWall(path, pocket, -pocket.depth / 2);
    FinishWall(path, pocket, -pocket.depth);
  }
  path.BeginPass();
  for (int i = 0; i < 8; ++i) {
    const int column = i % 2, row = i / 2;
    BoreHole(path, 17 + (Plate::kLength - 34) * column, 20 + 200.0 / 3 * row);
  }
  path.BeginPass();
  for (int level = 1; level <= 5; ++level) CutOutside(path, -5.0 * level);
  return path.Take();
}

// Inches: lanes over a plate of 12 by 7 with half turns between them, in three depths.
cadcam::zvToolPath MakeFaceInch() {
  constexpr double kLength = 12, kLane = 1.4, kSafe = 1;
  constexpr int kLanes = 6, kDepths = 3;
  SamplePath path(zvUnitsFactory::inch, 1e5, 0.0002);
  path.SetFeed(60);
  path.BeginPass();
  for (int depth = 1; depth <= kDepths; ++depth) {
    const double z = -0.03 * depth;
    path.BeginSlice();
    path.BeginLink(kFarLink);
    path.Rapid({-1.5, 0, kSafe});
    path.Rapid({-1.5, 0, z});
    path.BeginContour();
    for (int lane = 0; lane < kLanes; ++lane) {
      const double y = kLane * lane;
      const bool forward = lane % 2 == 0;
      path.Line({forward ? kLength : 0, y, z});
      if (lane + 1 < kLanes)
        path.Arc(forward ? kLength : 0, y + kLane / 2, kLane / 2, 270, forward ? 180 : -180, z, z);
    }
    path.Line({-1.5, kLane * (kLanes - 1), z});
    path.BeginLink(kFarLink);
    path.Rapid({-1.5, kLane * (kLanes - 1), kSafe});
  }
  return path.Take();
}

constexpr auto kSamples = std::to_array<Sample>({
    {"blade_swarf", "5 axes: flank milling round a twisted blade, in mm", &MakeBladeSwarf},
    {"face_inch", "facing of a plate in lanes, three depths, in inches", &MakeFaceInch},
    {"hemisphere_pole", "5 axes: a hemisphere finished in lanes through its pole, in mm",
     &MakeHemispherePole},
    {"pocket_plate", "a plate with six pockets, bores and its outside, in mm, over 20000 moves",
     &MakePocketPlate},
    {"screw", "5 axes: a thread of 20 turns with a tilted tool, in mm", &MakeScrew},
    {"square", "once round a square, in mm, 8 moves", &MakeSquare},
    {"tilted_pocket", "5 axes: a round pocket in a plane at 30 degrees, one tool axis, in mm",
     &MakeTiltedPocket},
    {"worm", "4 axes: a thread of 40 turns round a shaft along X, cut in two depths, in mm",
     &MakeWorm},
});

}  // namespace

std::span<const Sample> Samples() {
  return kSamples;
}

const Sample& FindSample(std::string_view name) {
  const auto sample = std::find_if(kSamples.begin(), kSamples.end(),
                                   [&](const Sample& s) { return s.name == name; });
  if (sample != kSamples.end()) return *sample;
  std::string names;
  for (const Sample& s : kSamples) names += fmt::format("{}{}", names.empty() ? "" : ", ", s.name);
  throw UsageError(fmt::format("{}: no such sample; there are {}", Printable(name), names));
}

}  // namespace kandrel_post
