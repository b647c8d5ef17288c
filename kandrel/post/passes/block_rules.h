// zvBlockRules: how long the blocks of a posting may be that is held to a tolerance.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/model/path_tolerance.h>
#include <kandrel/post/model/posting_parameters.h>

#include <algorithm>
#include <cmath>

namespace post {

/// The largest coordinate of a point.
inline double LargestCoordinate(const cadcam::zvTPoint3d<double>& p) noexcept {
  return std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
}

/// A path tolerance as far as numbers hold it, with the steps of the parameters, for machines of
/// any axes. A plain value.
class KANDREL_API zvBlockRules {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// `tolerance` is on; `size` is the sum of the lengths that take part in a tip's place beside
  /// that of the path. Throws misc::zvRangeException, which names the smallest, for a tolerance
  /// below what numbers hold at that size.
  zvBlockRules(const zvPathTolerance& tolerance, const zvKDRParam& par, double size);

  /// What the rules were made with.
  const zvPathTolerance& GetTolerance() const noexcept { return m_tolerance; }
  double GetSize() const noexcept { return m_size; }
  /// maxAngleStep and interpolationDistance; 0 for none.
  double GetStep() const noexcept { return m_step; }
  double GetDistance() const noexcept { return m_distance; }
  /// Whether the parameters' interpolationDistance counts: at first it does.
  void KeepDistance(bool keeps) noexcept { m_distance = keeps ? m_ownDistance : 0; }

  /// Throws misc::zvRangeException for a part position so far off that numbers don't hold the
  /// tolerance there.
  void RequireHeldAt(const Point& p_part) const {
    if (!(std::fabs(p_part.x) <= m_farthest && std::fabs(p_part.y) <= m_farthest &&
          std::fabs(p_part.z) <= m_farthest))
      RefuseAt(p_part);
  }

  /// How much of the steps' greatest lengths a block uses, for March: above 1 where it is longer.
  double UseOfSteps(double turn, double distance) const noexcept;

  /// Whether a block may be a leap, which isn't divided any more: the tool's turn, or that of the
  /// axes, is within `tinyTurn` and the tip's way within a tenth of its tolerance, both within the
  /// steps. The turn of an axis may be above its step all the same: that is what leaps.
  bool IsTiny(double turn, double tinyTurn, double distance) const noexcept {
    return turn <= (m_step > 0 ? std::min(m_step, tinyTurn) : tinyTurn) &&
           distance <= m_tolerance.GetTip() / 10 && !(m_distance > 0 && distance > m_distance);
  }

  /// Throws zvPostException 5039 where the steps divide a turn or a way into more than 2^31 - 2
  /// blocks: what can't be counted is refused before it is made.
  void RequireCounted(double turn, double distance) const;

 private:
  [[noreturn]] void RefuseAt(const Point& p_part) const;

  zvPathTolerance m_tolerance;
  double m_size;
  double m_farthest;
  double m_step;
  double m_ownDistance;  // of the parameters
  double m_distance;
};

}  // namespace post
