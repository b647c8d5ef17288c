#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/passes/four_axis_interpolation.h>
#include <kandrel/post/passes/step_counts.h>
#include <kandrel/post/passes/thinning.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace post {

namespace {

constexpr int kDeepest = 8;

}  // namespace

struct zv4axInterpolator::Blend {
  Blend(const zvOrientationCone& cone, const Move& from, const Move& to, bool smallMoves)
      : moves(from, to, smallMoves, zvBlendedOrientations::kUnitVectors),
        staysOnCone(cone.IsNear(from.GetOrientation().Normalized()) &&
                    cone.IsNear(to.GetOrientation().Normalized())) {}

  zvIntermediateMoves moves;
  bool staysOnCone;
};

zv4axInterpolator::zv4axInterpolator(const zvPosted4axMoveMaker& maker, const zvKDRParam& par,
                                     bool smallMoves, const zvPosted4axMoveMaker::PoleCone& cone)
    : m_maker(maker),
      m_par(par),
      m_cone(cone),
      m_smallMoves(smallMoves),
      m_hasAngleRule(par.GetMaxAngleStep() > 0),
      m_hasDistanceRule(par.GetInterpolateByDistance() && par.GetInterpolationDistance() > 0) {}

zvPosted4axMove zv4axInterpolator::Midpoint(const Move& from, const Move& to,
                                            double poleTolerance) const {
  Blend blend(m_maker.GetKinematics().GetCone(), from, to, m_smallMoves);
  return At(blend, 0.5, m_maker.MakePoleCone(poleTolerance));
}

void zv4axInterpolator::Refine(List& list, Iterator from, Iterator to, int depth) const {
  if (to->IsRapid() && !m_par.GetInterpolateRapidMoves()) return;
  if (depth >= kDeepest) return;
  const std::uint32_t count = CountBetween(*from, *to);
  if (count == 0 || IsJump(*from, *to)) return;
  InsertEvenMoves(list, from, to, count);
  if (NoProgress(from, to)) {
    for (Iterator move = std::next(from); move != to;) move = list.Erase(move);
    return;
  }
  for (Iterator first = from; first != to;) {
    const Iterator second = std::next(first);
    if (IsStepTooLarge(*first, *second)) Refine(list, first, second, depth + 1);
    first = second;
  }
  ThinOut(list, from, to, [this](const Move& a, const Move& b) { return !IsStepTooLarge(a, b); });
}

std::uint32_t zv4axInterpolator::CountBetween(const Move& from, const Move& to) const {
  const std::uint32_t byDistance =
      m_hasDistanceRule ? StepsByDistance(m_par, PartDistance(from, to)) : 0;
  const std::uint32_t byAngle = to.IsRapid() ? 0 : StepsByAngle(m_par, from.AngleDistance(to));
  return std::max(byDistance, byAngle);
}

void zv4axInterpolator::InsertEvenMoves(List& list, Iterator from, Iterator to,
                                        std::uint32_t count) const {
  Blend blend(m_maker.GetKinematics().GetCone(), *from, *to, m_smallMoves);
  const double step = 1.0 / (count + 1.0);
  double t = 0;
  for (std::uint32_t k = 0; k < count; ++k) {
    t += step;
    list.EmplaceWith(to, [&] { return At(blend, t, m_cone); });
  }
}

// Whether the subdivision has brought nothing by either rule. Without the distance rule it always
// counts as progress: the depth ends what makes none.
bool zv4axInterpolator::NoProgress(Iterator from, Iterator to) const {
  if (!m_hasDistanceRule) return false;
  double largestAngle = 0;
  double largestDistance = 0;
  for (Iterator a = from; a != to; ++a) {
    const Iterator b = std::next(a);
    largestAngle = std::max(largestAngle, a->AngleDistance(*b));
    largestDistance = std::max(largestDistance, PartDistance(*a, *b));
  }
  const double wholeAngle = from->AngleDistance(*to);
  const bool angleFailed =
      wholeAngle < largestAngle && largestAngle - wholeAngle <= misc::kSameStep;
  const bool distanceFailed =
      std::fabs(PartDistance(*from, *to) - largestDistance) <= misc::kSameStep;
  return angleFailed && distanceFailed;
}

bool zv4axInterpolator::IsStepTooLarge(const Move& a, const Move& b) const {
  if (m_hasAngleRule && a.AngleDistance(b) >= m_par.GetMaxAngleStep() - misc::kEqual) return true;
  return IsTooFar(a, b);
}

bool zv4axInterpolator::IsTooFar(const Move& a, const Move& b) const {
  return m_hasDistanceRule && PartDistance(a, b) >= m_par.GetInterpolationDistance() - misc::kEqual;
}

// Two that point alike, but for rounding, with the angle jumping between them at the edge of the
// pole's cone: no blend lies between, and dividing would go on with every level.
bool zv4axInterpolator::IsJump(const Move& a, const Move& b) const {
  if (IsTooFar(a, b)) return false;
  const auto turn = b.GetOrientation().Normalized() - a.GetOrientation().Normalized();
  return turn.SquaredLength() <= misc::kEqual * misc::kEqual;
}

zvPosted4axMove zv4axInterpolator::At(Blend& blend, double t,
                                      const zvPosted4axMoveMaker::PoleCone& cone) const {
  zvIntermediateMoves& between = blend.moves;
  const zvMoveView move(between.At(t));
  cadcam::zvTPoint3d<double> dir_tool = move.GetOrientation();
  if (blend.staysOnCone) dir_tool = m_maker.GetKinematics().GetCone().Onto(dir_tool);
  Move posted = m_maker.Make(move, dir_tool, between.GetType(), between.GetSourceIndex(),
                             between.IsInserted(), cone, m_smallMoves);
  posted.SetOrientation(dir_tool);
  return posted;
}

}  // namespace post
