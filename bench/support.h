// What the suites share: toolpaths, results that are kept, and readings of the process' memory.
#pragma once

#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/cadcam/tp_section.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/units_factory.h>

#include <cmath>

namespace bench {

inline constexpr int kMillion = 1000000;
inline constexpr double kDegree = misc::kRadiansPerDegree;

struct TipAndAxis {
  cadcam::zvTPoint3d<double> tip;
  cadcam::zvTPoint3d<double> axis;
};

/// A direction tilted from Z and turned about it, in radians.
inline cadcam::zvTPoint3d<double> Direction(double tilt, double turn) {
  return {std::sin(tilt) * std::cos(turn), std::sin(tilt) * std::sin(turn), std::cos(tilt)};
}

/// A toolpath of one contour; `at(i)` gives each move's tip and orientation.
template <class At>
cadcam::zvToolPath MakePath(int moves, const At& at) {
  cadcam::zvToolPath path(measures::zvUnitsFactory::metric);
  const auto contour = misc::MakeAutoPointer<cadcam::zvTPContour>();
  const auto slice = misc::MakeAutoPointer<cadcam::zvTPSlice>();
  const auto pass = misc::MakeAutoPointer<cadcam::zvTPPass>();
  slice->push_back(contour);
  pass->push_back(slice);
  path.push_back(pass);
  for (int i = 0; i < moves; ++i) {
    const auto [tip, orientation] = at(i);
    contour->AddMove(misc::MakeAutoPointer<cadcam::zv5axMove>(
        tip, orientation, cadcam::zvTPoint3d<double>{}, cadcam::zvTPoint3d<double>{}, 0u, false,
        1200.0, false));
  }
  return path;
}

/// Calls `visit` for each move of a toolpath.
template <class Visit>
void ForEachMove(const cadcam::zvToolPath& path, const Visit& visit) {
  for (const auto& pass : path.Children())
    for (const auto& slice : pass->Children())
      for (const auto& section : slice->Children())
        for (const auto& move : *section) visit(*move);
}

/// Keeps the compiler from dropping a result.
void Keep(const void* result);

/// Touches so much memory and gives it back, for the case that runs next. A virtual machine's host
/// brings in a page at its first touch, at twenty times what the touch costs later, and may take it
/// back once it has been free for two seconds: a case would pay for what lay idle before it.
void Pretouch(double bytes);

/// Resident memory of the process now.
double ResidentBytes();
/// The largest since the last reset.
double PeakResidentBytes();
void ResetPeak();
/// Gives the system back what the general heap keeps in stock, so that a reading counts anew.
void TrimHeap();

}  // namespace bench
