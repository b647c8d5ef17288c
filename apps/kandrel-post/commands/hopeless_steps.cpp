#include "kandrel-post/commands/hopeless_steps.h"

#include <fmt/format.h>
#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/cadcam/tp_section.h>
#include <kandrel/misc/tolerances.h>

#include <algorithm>
#include <cmath>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/host/memory_limit.h"

namespace kandrel_post {

namespace {

// In radians; 0 for orientations that are no directions, which the creator refuses.
double HalfAngleBetween(const cadcam::zvCNCMove& a, const cadcam::zvCNCMove& b) {
  const auto& from = a.GetOrientation();
  const auto& to = b.GetOrientation();
  if (from == to) return 0;
  const double half = (to / to.Length() - from / from.Length()).Length() / 2;
  return half > 0 ? std::asin(std::min(half, 1.0)) : 0;
}

// How many times `step` goes into ways that are longer than it; none for a step that divides
// nothing. The kernel's own counts (kandrel/post/passes/step_counts.h) can't be asked: they refuse
// with 5039 what is to be reported here with its size.
class StepCount {
 public:
  explicit StepCount(double step) : m_step(step) {}

  bool Counts() const { return m_step > 0; }
  void Add(double way) {
    if (Counts() && way > m_step) m_count += way / m_step;
  }
  double GetStep() const { return m_step; }
  double Get() const { return m_count; }

 private:
  double m_step;
  double m_count = 0;
};

}  // namespace

void RefuseHopelessSteps(const cadcam::zvToolPath& toolPath, const post::zvKDRParam& par,
                         bool turning, bool small) {
  StepCount distances(par.GetInterpolateByDistance() ? par.GetInterpolationDistance() : 0);
  StepCount angles(turning ? par.GetMaxAngleStep() : 0);
  if (!distances.Counts() && !angles.Counts()) return;
  const cadcam::zvCNCMove* previous = nullptr;
  for (const cadcam::zvMovePointer& move : toolPath) {
    if (previous != nullptr && (!move->IsRapid() || par.GetInterpolateRapidMoves())) {
      distances.Add((move->GetPosition() - previous->GetPosition()).Length());
      // Two axes that turn the tool by an angle: one of them turns by half of it at least.
      if (angles.Counts()) angles.Add(HalfAngleBetween(*previous, *move) * misc::kDegreesPerRadian);
    }
    previous = move.Get();
  }
  const bool byDistance = distances.Get() >= angles.Get();
  const StepCount& larger = byDistance ? distances : angles;
  const double bytes = larger.Get() * PostedMoveBytes(small);
  if (bytes > static_cast<double>(UsableMemory()))
    Fail(fmt::format("{} of {} inserts {:.2g} moves, more than memory holds",
                     byDistance ? "an interpolationDistance" : "a maxAngleStep", larger.GetStep(),
                     larger.Get()));
}

}  // namespace kandrel_post
