// The nine tools that make and finish holes. Their parameters are those of the bases they name;
// docs/tools.md tells what each is, its default and its bounds.
#pragma once

#include <kandrel/cadcam/tools/typed_tool.h>
#include <kandrel/misc/export.h>

namespace cadcam {

/// A twist drill. Throws zvcadcamException 2115, caused by 2113 for a tip angle outside 1 to 180,
/// or 2112 for a tip higher than the shoulder length.
class KANDREL_API zvDrill final : public zvTypedToolOf<zvDrill, zvHasTipAngle> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  static const zvToolType kType;
};

/// A centre drill: a drill with a cone behind its flutes. Throws 2111, caused by 2113, 2112, or
/// 2114 for a shoulder angle outside 1 to 180. Its default would be refused by 2112.
class KANDREL_API zvCtrDrill final
    : public zvTypedToolOf<zvCtrDrill, zvHasTipAngle, zvHasShoulderAngle> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  static const zvToolType kType;
};

/// A spot drill. Throws 2118, caused as for zvDrill. Its default would be refused by 2112.
class KANDREL_API zvSpotDrill final : public zvTypedToolOf<zvSpotDrill, zvHasTipAngle> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  static const zvToolType kType;
};

/// A countersink. Throws 2132, caused by 2109, 2113, 2117, or 2112, by which its default would be
/// refused.
class KANDREL_API zvCSink final
    : public zvTypedToolOf<zvCSink, zvHasCornerRadius, zvHasCornerRadiusType, zvHasTipAngle> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  static const zvToolType kType;
};

/// A counterbore.
class KANDREL_API zvCntrBore final : public zvTypedToolOf<zvCntrBore> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  static const zvToolType kType;
};

/// A reamer.
class KANDREL_API zvReamer final : public zvTypedToolOf<zvReamer> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  static const zvToolType kType;
};

/// A boring bar. Throws 2131, caused by 2109 or 2122.
class KANDREL_API zvBoreBar final
    : public zvTypedToolOf<zvBoreBar, zvHasCornerRadius, zvHasTaperAngle, zvHasCornerRadiusType> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  static const zvToolType kType;
};

/// A right-hand tap. Throws 2120, caused by 2109, 2113, or 2112, by which its default would be
/// refused.
class KANDREL_API zvTapRH final
    : public zvTypedToolOf<zvTapRH, zvHasCornerRadius, zvHasCornerRadiusType, zvHasTipAngle,
                           zvHasThreadParameter> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  static const zvToolType kType;
};

/// A left-hand tap: as zvTapRH, with 2119.
class KANDREL_API zvTapLH final
    : public zvTypedToolOf<zvTapLH, zvHasCornerRadius, zvHasCornerRadiusType, zvHasTipAngle,
                           zvHasThreadParameter> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  static const zvToolType kType;
};

}  // namespace cadcam
