// What the suites share: toolpaths, and readings of the process' memory.
#pragma once

#include <kandrel/cadcam/tool_path.h>

namespace bench {

inline constexpr int kMillion = 1000000;

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

/// Resident memory of the process now.
double ResidentBytes();
/// The largest since the last reset.
double PeakResidentBytes();
void ResetPeak();
/// Gives the system back what the general heap keeps in stock, so that a reading counts anew.
void TrimHeap();

}  // namespace bench
