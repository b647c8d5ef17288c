#include <kandrel/misc/range_exception.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/block_rules.h>

#include <optional>

namespace post {

namespace {

// Turns and ways need little reserve: they follow a step's length but for the path's own bends.
double Use(double length, double most, double slack) {
  constexpr double kReserve = 0.98;
  return length <= most + slack ? std::min(1.0, length / most) * kReserve : length / most;
}

}  // namespace

zvBlockRules::zvBlockRules(const zvPathTolerance& tolerance, const zvKDRParam& par, double size)
    : m_tolerance(tolerance),
      m_size(size),
      m_farthest(tolerance.GetTip() / misc::kSmallestTipPart - size),
      m_step(par.GetMaxAngleStep() > 0 ? par.GetMaxAngleStep() : 0),
      m_ownDistance(par.GetInterpolateByDistance() && par.GetInterpolationDistance() > 0
                        ? par.GetInterpolationDistance()
                        : 0),
      m_distance(m_ownDistance) {
  if (!(tolerance.GetTip() >= misc::kSmallestTipTolerance)) RefuseAt({});
  RequireHeldAt({});
  if (!(tolerance.GetAxis() >= misc::kSmallestAxisTolerance)) {
    const misc::zvException which(0, kAxisTolerance);
    throw misc::zvRangeException<double>(misc::kSmallestAxisTolerance, std::nullopt,
                                         tolerance.GetAxis(), &which);
  }
}

void zvBlockRules::RefuseAt(const Point& p_part) const {
  const misc::zvException which(0, kTipTolerance);
  throw misc::zvRangeException<double>(
      std::max(misc::kSmallestTipTolerance,
               misc::kSmallestTipPart * (m_size + LargestCoordinate(p_part))),
      std::nullopt, m_tolerance.GetTip(), &which);
}

double zvBlockRules::UseOfSteps(double turn, double distance) const noexcept {
  double use = 0;
  if (m_step > 0) use = Use(turn, m_step, misc::kAngleBorder / 2);
  if (m_distance > 0) use = std::max(use, Use(distance, m_distance, 0));
  return use;
}

void zvBlockRules::RequireCounted(double turn, double distance) const {
  const auto require = [](double length, double most) {
    if (most > 0 && !(length / most <= misc::kLargestCount))
      throw zvPostException(zvPostException::kInvalidVector);
  };
  require(turn, m_step);
  require(distance, m_distance);
}

}  // namespace post
