#include "kandrel-post/samples/rotary.h"

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/units_factory.h>

#include <cmath>
#include <cstdint>

#include "kandrel-post/samples/sample_path.h"

namespace kandrel_post {

namespace {

using measures::zvUnitsFactory;
using misc::kRadiansPerDegree;
using Point = cadcam::zvTPoint3d<double>;

constexpr std::uint32_t kFarLink = 5;
constexpr double kStepsPerMillimetre = 1e5;
constexpr double kChord = 0.005;

SamplePath Metric() {
  return {zvUnitsFactory::metric, kStepsPerMillimetre, kChord};
}

}  // namespace

cadcam::zvToolPath MakeBladeSwarf() {
  constexpr int kPoints = 240, kLevels = 4;
  constexpr double kHalfChord = 60, kHalfThickness = 14, kCamber = 12;
  constexpr double kHeight = 80, kTwistDeg = 18, kTaper = 0.75, kRadius = 8;
  constexpr double kClear = 30;
  // Foot and top outlines at the same parameter: the ruling goes from one to the other.
  const auto foot = [](double deg, double off) {
    const double c = std::cos(deg * kRadiansPerDegree), s = std::sin(deg * kRadiansPerDegree);
    return Point((kHalfChord + off) * c, (kHalfThickness + off) * s + kCamber * (1 - c * c), 0);
  };
  const auto top = [&](double deg, double off) {
    const Point p = foot(deg, off) * kTaper;
    const double c = std::cos(kTwistDeg * kRadiansPerDegree),
                 s = std::sin(kTwistDeg * kRadiansPerDegree);
    return Point(p.x * c - p.y * s, p.x * s + p.y * c, kHeight);
  };
  SamplePath path = Metric();
  path.SetFeed(1200);
  path.BeginPass();
  for (int level = kLevels - 1; level >= 0; --level) {
    const double height = kHeight / kLevels * level / kHeight;
    const auto at = [&](double deg, double off) {
      const Point from = foot(deg, kRadius + off), to = top(deg, kRadius + off);
      path.SetAxis(to - from);
      return from + (to - from) * height;
    };
    path.BeginSlice();
    path.BeginLink(kFarLink);
    const Point start = at(0, kClear);
    path.Rapid({start.x, start.y, kHeight + kClear});
    path.Rapid(start);
    path.BeginContour();
    for (int i = 0; i <= kPoints; ++i) path.Line(at(360.0 * i / kPoints, 0));
    path.BeginLink(kFarLink);
    const Point end = at(0, kClear);
    path.Rapid(end);
    path.Rapid({end.x, end.y, kHeight + kClear});
  }
  return path.Take();
}

cadcam::zvToolPath MakeHemispherePole() {
  constexpr int kLanes = 12, kPoints = 80;
  constexpr double kRadius = 45, kClear = 20, kWidestDeg = 75;
  SamplePath path = Metric();
  path.SetFeed(1500);
  path.BeginPass();
  for (int lane = 0; lane < kLanes; ++lane) {
    // Every second lane runs back, so that its start lies beside the end of the one before.
    const double azimuth = 180.0 / kLanes * lane * kRadiansPerDegree;
    const double way = lane % 2 == 0 ? 1 : -1;
    const auto at = [&](int i, double off) {
      const double tilt = way * kWidestDeg * (2.0 * i / kPoints - 1) * kRadiansPerDegree;
      const Point normal(std::sin(tilt) * std::cos(azimuth), std::sin(tilt) * std::sin(azimuth),
                         std::cos(tilt));
      path.SetAxis(normal);
      return normal * (kRadius + off);
    };
    path.BeginSlice();
    path.BeginLink(kFarLink);
    path.Rapid(at(0, kClear));
    path.BeginContour();
    for (int i = 0; i <= kPoints; ++i) path.Line(at(i, 0));
    path.BeginLink(kFarLink);
    path.Rapid(at(kPoints, kClear));
  }
  return path.Take();
}

cadcam::zvToolPath MakeScrew() {
  constexpr int kTurns = 20, kPointsATurn = 90;
  constexpr double kRadius = 25, kPitch = 4, kTiltDeg = 60, kClear = 30;
  SamplePath path = Metric();
  path.SetFeed(900);
  const auto at = [&](int i, double off) {
    const double angle = 360.0 * i / kPointsATurn * kRadiansPerDegree;
    const double c = std::cos(angle), s = std::sin(angle);
    const double tilt = kTiltDeg * kRadiansPerDegree;
    const Point axis(std::sin(tilt) * c, std::sin(tilt) * s, std::cos(tilt));
    path.SetAxis(axis);
    return Point(kRadius * c, kRadius * s, -kPitch * i / kPointsATurn) + axis * off;
  };
  path.BeginPass();
  path.BeginSlice();
  path.BeginLink(kFarLink);
  path.Rapid(at(0, kClear));
  path.BeginContour();
  for (int i = 0; i <= kTurns * kPointsATurn; ++i) path.Line(at(i, 0));
  path.BeginLink(kFarLink);
  path.Rapid(at(kTurns * kPointsATurn, kClear));
  return path.Take();
}

cadcam::zvToolPath MakeWorm() {
  constexpr int kTurns = 40, kPointsATurn = 180, kDepths = 2;
  constexpr double kRadius = 20, kDepth = 1.5, kPitch = 5, kClear = 15;
  constexpr int kPoints = kTurns * kPointsATurn;
  SamplePath path = Metric();
  path.SetFeed(800);
  path.BeginPass();
  for (int depth = 1; depth <= kDepths; ++depth) {
    const auto at = [&](int i, double off) {
      const double angle = 360.0 * i / kPointsATurn * kRadiansPerDegree;
      const Point axis(0, std::sin(angle), std::cos(angle));
      path.SetAxis(axis);
      return Point(kPitch * i / kPointsATurn, 0, 0) + axis * (kRadius - kDepth * depth + off);
    };
    const int from = depth % 2 == 1 ? 0 : kPoints;
    const int to = kPoints - from;
    const int step = from < to ? 1 : -1;
    path.BeginSlice();
    path.BeginLink(kFarLink);
    path.Rapid(at(from, kClear));
    path.BeginContour();
    for (int i = from; i != to + step; i += step) path.Line(at(i, 0));
    path.BeginLink(kFarLink);
    path.Rapid(at(to, kClear));
  }
  return path.Take();
}

cadcam::zvToolPath MakeTiltedPocket() {
  constexpr int kPoints = 120, kDepths = 5, kRings = 4;
  constexpr double kTiltDeg = 30, kDepth = 2, kRing = 5, kClear = 25;
  const Point centre(20, -15, 10);
  const Point u(1, 0, 0);
  const Point v(0, std::cos(kTiltDeg * kRadiansPerDegree), std::sin(kTiltDeg * kRadiansPerDegree));
  const Point normal(0, -std::sin(kTiltDeg * kRadiansPerDegree),
                     std::cos(kTiltDeg * kRadiansPerDegree));
  SamplePath path = Metric();
  path.SetAxis(normal);
  path.SetFeed(1000);
  path.BeginPass();
  for (int depth = 1; depth <= kDepths; ++depth) {
    const auto at = [&](double radius, double deg, double above) {
      return centre + u * (radius * std::cos(deg * kRadiansPerDegree)) +
             v * (radius * std::sin(deg * kRadiansPerDegree)) + normal * (above - kDepth * depth);
    };
    path.BeginSlice();
    path.BeginLink(kFarLink);
    path.Rapid(at(kRing, 0, kClear + kDepth * depth));
    path.Rapid(at(kRing, 0, kDepth + 1));
    path.BeginContour();
    for (int ring = 1; ring <= kRings; ++ring) {
      for (int i = 0; i <= kPoints; ++i) path.Line(at(kRing * ring, 360.0 * i / kPoints, 0));
    }
    path.BeginLink(kFarLink);
    path.Rapid(at(kRing * kRings, 0, kClear + kDepth * depth));
  }
  return path.Take();
}

}  // namespace kandrel_post
