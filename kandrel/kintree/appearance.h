// zvAppearance: what a viewer is told about the look of an object.
#pragma once

#include <kandrel/cadcam/point3d.h>

#include <string>

namespace kintree {

/// Colour and surface of an object. All numbers are carried as they are given.
struct zvAppearance {
  cadcam::zvTPoint3d<float> colour;  ///< red, green, blue from 0 to 1
  float alpha = 0;                   ///< transparency
  float reflectivity = 0;            ///< of the surface
  std::wstring bitmapName{};         ///< path of the bitmap that is reflected; empty for none

  bool operator==(const zvAppearance&) const = default;
};

}  // namespace kintree
