// zvcadcamException: failures of toolpaths, geometry and tools.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>

#include <cstdint>

namespace cadcam {

/// The texts stand in cadcam_exception.cpp; an id without a row has the text "Unknown error.".
class KANDREL_API zvcadcamException : public misc::zvExceptionOf<zvcadcamException> {
 public:
  /// Names of the ids that are thrown by name.
  enum Id : std::uint32_t {
    kUnknownVersion = 2027,
    kFluteLength = 2103,
    kDiameter = 2105,
    kNoRevolvedTool = 2106,
    kShoulderLength = 2107,
    kUnknownTool = 2108,
    kCornerRadiusType = 2109,
    kTipAndShoulder = 2112,
    kTipAngle = 2113,
    kShoulderAngle = 2114,
    kDiameterBelowCorner = 2117,
    kTaperAngle = 2122,
    kTaperAndShoulder = 2123,
    kFluteBelowCorner = 2125,
    kNoArbor = 2138,
    kNoDefaultUnits = 2139,
    kArborAboveTool = 2140,
    kCornerRadiusBeyond = 2141,
    kOutsideNotPositive = 2147,
    kOutsideBelowDiameter = 2151,
    kCornerAboveFull = 2152,
    kOutsideDiameter = 2155,
    kNoTypedTool = 2158,
    kNoGenericTool = 2159,
    kCornerRadius = 2163,
    kUpperDiameter = 2164,
    kNoCuttingHeight = 2165,
    kProfileRadius = 2166,
    kExtrudedSolid = 2171,
    kMeshSolid = 2172,
    kNoLatheTool = 2175,
    kOtherSolid = 2177,
    kUnknownSolid = 2183,
    kShoulderDiameter = 2185,
    kShoulderBaseLength = 2186,
    kShoulderBase = 2187,
    kNeckAboveTool = 2188,
    kNullVector = 2189,
    kTipRadius = 2422,
    kUnknownMove = 2637,
    kUnknownSection = 2639,
    kNotOfLink = 2640,
    kUnknownType = 2708,
  };

  /// `previous` becomes the first cause.
  explicit zvcadcamException(std::uint32_t id, const misc::zvException* previous = nullptr);

  /// All ids that have a text.
  static misc::zvMessageTable Table() noexcept;
};

}  // namespace cadcam
