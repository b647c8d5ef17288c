// How many moves an interpolation puts between two others.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>

namespace post {

/// 0 without InterpolateByDistance, when InterpolationDistance is not above 0, or when it is at
/// least `distance`; else trunc(distance / step) + 1. The one added keeps every part so far below
/// the step that rounding asks for no further move: exactly two steps get three. Throws
/// zvPostException 5039 when the count doesn't fit into 32 bits.
KANDREL_API std::uint32_t StepsByDistance(const zvKDRParam& par, double distance);

/// 0 when MaxAngleStep is not above 0 or when it is at least `angle` less 1e-12; else trunc(angle /
/// step), without the one that the distance rule adds: parts are below the step, but may come near
/// to it. Throws as StepsByDistance does.
KANDREL_API std::uint32_t StepsByAngle(const zvKDRParam& par, double angle);

}  // namespace post
