// How many moves an interpolation puts between two others.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>

namespace post {

/// 0 without InterpolateByDistance, when InterpolationDistance is not above 0, or when it is at
/// least `distance`; else trunc(distance / step) + 1. The added one is deliberate: a distance of
/// exactly two steps gives three moves. Throws zvPostException 5039 when the count doesn't fit into
/// 32 bits.
KANDREL_API std::uint32_t StepsByDistance(const zvKDRParam& par, double distance);

/// 0 when MaxAngleStep is not above 0 or when it is at least `angle` less 1e-12; else
/// trunc(angle / step), without the one that the distance rule adds. Throws as StepsByDistance
/// does.
KANDREL_API std::uint32_t StepsByAngle(const zvKDRParam& par, double angle);

}  // namespace post
