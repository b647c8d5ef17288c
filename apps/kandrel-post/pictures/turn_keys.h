// The keys of turns about an axis, as glTF has them.
#pragma once

#include <kandrel/post/model/mach_def.h>

#include <array>
#include <span>

namespace kandrel_post {

/// A rotation by `deg` about a unit vector as a unit quaternion: its vector, then half the angle's
/// cosine.
std::array<double, 4> QuaternionOf(const post::zvMachDef::Point& direction, double deg);

/// The same of each angle, divided by `parts`, four floats a key, which `keys` has room for. They
/// are within 2e-10 of what floats round; two keys at a time, at a fraction of the time.
void PutQuaternions(const post::zvMachDef::Point& direction, std::span<const double> degs,
                    int parts, float* keys);

}  // namespace kandrel_post
