// Random toolpaths that a machine can follow.
#pragma once

#include <tests/support/scenes.h>
#include <tests/support/source_path.h>

namespace tests {

enum PathSort { kSweep, kThroughPole, kScrew, kJumps, kConstant, kRepeats, kPathSorts };

/// Orientations come from angles on the model, so that the machine reaches them; but for rounding
/// in some paths. `direction` is that of the pole which some go through, or past it aside.
inline Source RandomPath(Seeded& random, const rigid::Machine& model, const Point& direction,
                         int sort) {
  const int count = random.Integer(2, 25);
  std::vector<double> degs(2);
  for (double& deg : degs) deg = random.Chance(0.2) ? 0 : random.Real(-180, 180);
  const double firstStep = random.Real(-12, 12);
  const double secondStep = random.Real(-6, 6);
  const double screwSense = random.Chance(0.5) ? 1 : -1;
  const double screwStep = random.Real(5, 80) * screwSense;
  const Point pole = direction.Normalized() * (random.Chance(0.5) ? 1.0 : -1.0);
  const Point across = Across(pole, random);
  const bool isExact = random.Chance(0.5);
  const Point aside = Cross(pole, across) *
                      (isExact ? 0.0 : random.Real(-1, 1) * std::pow(10, random.Real(-8, -1)));
  const Point leaving = random.Chance(0.5) ? across : Across(pole, random);
  const double poleStep = random.Real(0.005, 0.06);
  const bool isRounded = random.Chance(0.2);
  const bool isUnit = random.Chance(0.5);
  Point tip = random.Vector(200);
  Source source;
  bool onLink = false;
  for (int i = 0; i < count; ++i) {
    if (sort == kScrew) degs[0] += screwStep;
    if (sort == kJumps) degs = {random.Real(-180, 180), random.Real(-180, 180)};
    if (sort == kSweep || sort == kRepeats) {
      degs[0] += firstStep * random.Real(0.5, 1.5);
      degs[1] += secondStep * random.Real(0.5, 1.5);
    }
    Point t = ToPoint(model.At({}, degs).axis);
    const int toPole = i - count / 2;
    if (sort == kThroughPole)
      t = pole + aside + (toPole < 0 ? across : leaving) * (poleStep * toPole);
    if (!isUnit) t = t * random.Real(0.9, 1.1);
    if (isRounded) t = Rounded(t);
    if (sort == kConstant && i > 0) t = source.front().orientation;
    const bool repeats = sort == kRepeats && random.Chance(0.4) && !source.empty();
    if (!repeats) tip += random.Vector(8);
    if (random.Chance(0.15)) onLink = !onLink;
    SourceMove move{tip, t, random.Real(100, 5000)};
    if (repeats && random.Chance(0.5)) move.orientation = source.back().orientation;
    if (onLink) {
      move.link = random.Integer(0, 5);
      move.rapid = random.Chance(0.7);
    }
    source.push_back(move);
  }
  return source;
}

}  // namespace tests
