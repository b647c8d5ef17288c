// Builds the tree of a sample toolpath from lines, arcs and links.
#pragma once

#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/cadcam/tp_section.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/units_factory.h>

#include <cmath>
#include <cstdint>
#include <utility>

namespace kandrel_post {

/// A tool that stands somewhere and is moved; its axis is z until SetAxis. Coordinates are
/// rounded to a step of `stepsPerUnit`, the tool axis to 1e-9, as a CAM system writes them, so that
/// the text is the same whatever mathematics library made it.
class SamplePath {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  SamplePath(measures::zvUnitsFactory::Units units, double stepsPerUnit, double chordTolerance)
      : m_toolPath(units), m_stepsPerUnit(stepsPerUnit), m_chordTolerance(chordTolerance) {}

  void BeginPass() { m_toolPath.push_back(misc::MakeAutoPointer<cadcam::zvTPPass>()); }
  void BeginSlice() {
    m_toolPath.Children().back()->push_back(misc::MakeAutoPointer<cadcam::zvTPSlice>());
  }
  void BeginContour() { AddSection(misc::MakeAutoPointer<cadcam::zvTPContour>()); }
  void BeginLink(std::uint32_t type) { AddSection(misc::MakeAutoPointer<cadcam::zvTPLink>(type)); }

  void SetFeed(double feed) { m_feed = feed; }
  /// The tool axis of the moves that follow, of any length above 0.
  void SetAxis(const Point& axis) {
    const Point unit = axis / axis.Length();
    m_axis = {Rounded(unit.x, kAxisSteps), Rounded(unit.y, kAxisSteps),
              Rounded(unit.z, kAxisSteps)};
  }
  void Rapid(const Point& to) { Add(to, true); }
  void Line(const Point& to) { Add(to, false); }

  /// A circular arc in x and y from `startDeg` over `turnDeg` (positive is counter-clockwise) that
  /// falls evenly from `fromZ` to `toZ`; its start is where the tool is taken to stand.
  void Arc(double centreX, double centreY, double radius, double startDeg, double turnDeg,
           double fromZ, double toZ) {
    const double widest = 2 * std::acos(1 - m_chordTolerance / radius) / misc::kRadiansPerDegree;
    const int steps = static_cast<int>(std::abs(turnDeg) / widest) + 1;
    for (int i = 1; i <= steps; ++i) {
      const double t = static_cast<double>(i) / steps;
      const double angle = (startDeg + t * turnDeg) * misc::kRadiansPerDegree;
      Line({centreX + radius * std::cos(angle), centreY + radius * std::sin(angle),
            fromZ + t * (toZ - fromZ)});
    }
  }

  /// A closed rectangle with round corners, counter-clockwise from the middle of its right side,
  /// where the tool is taken to stand.
  void RoundedRectangle(double centreX, double centreY, double halfX, double halfY, double radius,
                        double z) {
    const double x = halfX - radius, y = halfY - radius;
    Line({centreX + halfX, centreY + y, z});
    Arc(centreX + x, centreY + y, radius, 0, 90, z, z);
    Line({centreX - x, centreY + halfY, z});
    Arc(centreX - x, centreY + y, radius, 90, 90, z, z);
    Line({centreX - halfX, centreY - y, z});
    Arc(centreX - x, centreY - y, radius, 180, 90, z, z);
    Line({centreX + x, centreY - halfY, z});
    Arc(centreX + x, centreY - y, radius, 270, 90, z, z);
    Line({centreX + halfX, centreY, z});
  }

  cadcam::zvToolPath Take() { return std::move(m_toolPath); }

 private:
  static constexpr double kAxisSteps = 1e9;

  void AddSection(misc::zvAutoPointer<cadcam::zvTPSection> section) {
    m_section = section.Get();
    m_toolPath.Children().back()->Children().back()->push_back(std::move(section));
  }

  static double Rounded(double value, double steps) {
    return std::round(value * steps) / steps + 0.0;  // no negative zero
  }

  void Add(const Point& to, bool rapid) {
    const Point rounded(Rounded(to.x, m_stepsPerUnit), Rounded(to.y, m_stepsPerUnit),
                        Rounded(to.z, m_stepsPerUnit));
    m_section->push_back(misc::MakeAutoPointer<cadcam::zv3axMove>(rounded, m_axis, m_feed, rapid));
  }

  cadcam::zvToolPath m_toolPath;
  double m_stepsPerUnit;
  double m_chordTolerance;
  double m_feed = 0;
  Point m_axis{0, 0, 1};
  cadcam::zvTPSection* m_section = nullptr;
};

}  // namespace kandrel_post
