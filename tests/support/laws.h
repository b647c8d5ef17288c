// The law-book: what must hold for every posted line of every machine, judged by rigid bodies that
// share nothing with the library. Each law reports what breaks it as failures of the running test.
#pragma once

#include <tests/support/scenes.h>
#include <tests/support/source_path.h>
#include <tests/support/testing.h>

namespace tests {

/// A posted move of any class, as plain values.
struct Line {
  Point machine, part, orientation;
  std::vector<double> degs{};  ///< of the rotary axes
  double feed = 0, time = 0;
  int type = 0;
  bool rapid = false;
  std::uint32_t poleStatus = 0;
  // Of the extended block.
  bool isSmall = true;  ///< it has none
  bool inserted = false;
  int source = -1;
  std::vector<double> extended{};

  friend bool operator==(const Line&, const Line&) = default;
};
using Lines = std::vector<Line>;

/// The lines as small moves.
Lines Small(Lines lines);

/// The largest difference of two lines' angles, each the short way round, degrees.
double Turn(const Line& a, const Line& b);

/// Where all axes stand when they have moved evenly by a part of the way: each the short way round,
/// or by as much as its angle says.
Line Between(const Line& a, const Line& b, double t, bool shortWay);

/// The machine of a posting, with what it was asked for.
struct Rules {
  rigid::Machine model;
  zvKDRParam par{kMetric};
  zv5axControlDef control{};
  double size = 1;              ///< the length against which errors of positions are measured
  double slack = 1e-9;          ///< by which they are multiplied
  std::vector<Range> ranges{};  ///< of the rotary axes
  Point low{}, high{};
  /// The first of the directions along which an axis is free.
  Point pole{};

  template <class AnyScene>
  static Rules Of(const AnyScene& scene) {
    const auto& m = scene.machine;
    Rules rules{scene.Model(), scene.par, scene.control, scene.Size()};
    if constexpr (requires { scene.SixAxisModel(); }) rules.model = scene.SixAxisModel();
    rules.low = m.low;
    rules.high = m.high;
    rules.pole = m.spindle;
    if constexpr (requires { m.range; }) rules.ranges = {m.range};
    if constexpr (requires { m.secondRange; }) {
      rules.ranges = {m.firstRange, m.secondRange};
      rules.pole = m.first;
    }
    return rules;
  }
  rigid::Pose PoseAt(const Line& line) const { return model.At(ToVector(line.machine), line.degs); }
};

/// Tip and tool stand where the line says.
void ExpectPoses(const Rules& rules, const Lines& lines);

/// The moves of the path stand in their order, as they were, with their index. Those of small lines
/// are known by their places; a feed below 0 stands for what is not known of a move.
void ExpectSource(const Source& source, const Lines& lines);

/// Times fit; angles run on without a leap, within their limits, and in the control's ranges.
void ExpectMotion(const Rules& rules, const Lines& lines);

/// Feed steps are small but on and beside poles, and the tip keeps to its line while the axes move
/// evenly from line to line.
struct Steps {
  int all = 0;
  int large = 0;
};
void ExpectSmallSteps(const Rules& rules, const Lines& lines, Steps& steps);

/// What is fed keeps to the path: the tool within `mostDeg` of the shorter way between two of its
/// orientations, the tip within `mostLength` of the line between their places; out of the air the
/// tip comes down along the tool. Looked at on the way from line to line as well, or at lines
/// alone.
struct Slack {
  double mostDeg = 0.05;
  double mostLength = 0.1;
  bool onTheWay = true;
};
void ExpectFollows(const Rules& rules, const Source& source, const Lines& lines,
                   const Slack& slack);

/// All angles within their limits.
void ExpectWithinRanges(const Rules& rules, const Lines& lines);

double DegBetween(const Point& a, const Point& b);
/// How far a place lies off the line between two others.
double OffLine(const Point& p, const Point& from, const Point& to);

}  // namespace tests
