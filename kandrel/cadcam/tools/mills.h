// The twelve milling tools. Their parameters are those of the bases they name; docs/tools.md tells
// what each is, its default and its bounds.
#pragma once

#include <kandrel/cadcam/tools/solid_users.h>
#include <kandrel/cadcam/tools/typed_tool.h>
#include <kandrel/misc/export.h>

#include <optional>

namespace cadcam {

/// A flat end mill.
class KANDREL_API zvEndMill final : public zvTypedToolOf<zvEndMill> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  /// The row of data of the class.
  static const zvToolType kType;
};

/// A ball-nosed mill: its tip is half a sphere of the tool's diameter.
class KANDREL_API zvSpherMill final : public zvTypedToolOf<zvSpherMill> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  /// The row of data of the class.
  static const zvToolType kType;
};

/// A bull-nosed mill: flat, with a rounded corner. Throws zvcadcamException 2116, caused by 2163
/// for a corner radius below 0, or 2117 for one above half the diameter, to 1e-6.
class KANDREL_API zvBullMill final : public zvTypedToolOf<zvBullMill, zvHasCornerRadius> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  /// The row of data of the class.
  static const zvToolType kType;
};

/// A face mill: from the edge of the flat bottom, which has the diameter, it widens as a cone up to
/// the outside diameter. Throws 2133, caused by 2109, 2122 for a taper angle outside 0.1 to
/// 90.000001, or 2123 for a corner that is higher than the tool or wider than the outside diameter.
/// Its default would be refused by the last.
class KANDREL_API zvFaceMill final
    : public zvTypedToolOf<zvFaceMill, zvHasCornerRadius, zvHasOutsideDiameter, zvHasTaperAngle,
                           zvHasCornerRadiusType> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  /// The row of data of the class.
  static const zvToolType kType;
};

/// A mill that rounds an edge off: from the diameter it widens by a concave quarter circle.
class KANDREL_API zvRadMill final : public zvTypedToolOf<zvRadMill, zvHasRadius> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  /// The row of data of the class.
  static const zvToolType kType;
};

/// A chamfer mill: a cone from the diameter up to the outside diameter. Throws 2121, caused by
/// 2163, 2109, 2122, 2147, 2155 for a corner that reaches beyond the outside diameter, 2123 for a
/// cone higher than the tool, 2151, or 2152. Its shoulder is the outside diameter, from the end of
/// the cone or of the flutes, whichever is higher.
class KANDREL_API zvChamferMill final
    : public zvTypedToolOf<zvChamferMill, zvHasCornerRadius, zvHasTaperAngle, zvHasOutsideDiameter,
                           zvHasCornerRadiusType> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  /// The row of data of the class.
  static const zvToolType kType;
};

/// A slot mill: a disc, of which one length is flute length and shoulder length. Throws 2124,
/// caused by 2163, 2109, 2125 for a corner radius above half the length, 2138 for an arbor that
/// isn't defined or has no points, or 2140 for one whose first radius is above the tool's.
class KANDREL_API zvSlotMill final
    : public zvTypedTool<zvSlotMill, zvHasCornerRadius, zvHasCornerRadiusType> {
 public:
  /// Compares the first radius of a revolved arbor with that of the tool.
  class KANDREL_API ArborSolidValidator : public zvRevolvedSolidVisitor<double> {
   public:
    /// `toolRadius` is half the tool's diameter, in the arbor's units.
    explicit ArborSolidValidator(double toolRadius) : m_toolRadius(toolRadius) {}
    using zvRevolvedSolidVisitor::Visit;
    void Visit(const zvRevolvedSolidDefinition<double>& solid) override;

   private:
    double m_toolRadius;
  };

  using zvTypedTool::zvTypedTool;
  zvSlotMill() = default;
  /// `length` is flute length and shoulder length in one; in the second form with a shoulder of its
  /// own. Lengths are in `units`.
  zvSlotMill(double diameter, const Holder& holder, double length, const Arbor& arbor,
             double cornerRadius, cadcam::cornerRadiusType type, Units units);
  zvSlotMill(double diameter, const Holder& holder, double length, const Arbor& arbor,
             double cornerRadius, cadcam::cornerRadiusType type,
             const zvShoulderDefinitionExtender& shoulder, Units units);
  /// The row of data of the class.
  static const zvToolType kType;
};

/// A conical mill: from its tip it widens up to the arbor. Throws 2126, caused by 2163, 2109, 2117
/// or 2122. Its shoulder goes on with the cone, to the shoulder length.
class KANDREL_API zvTaperMill final
    : public zvTypedToolOf<zvTaperMill, zvHasCornerRadius, zvHasTaperAngle, zvHasCornerRadiusType> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  /// The row of data of the class.
  static const zvToolType kType;
};

/// A dovetail mill: widest at its bottom, it narrows up to the end of the flutes. Throws 2127,
/// caused by 2109, 2163, 2141 for a corner that the flank has no room for, 2122, or 2164 where the
/// flanks meet below the end of the flutes. Its shoulder has the diameter there.
class KANDREL_API zvDoveMill final
    : public zvTypedToolOf<zvDoveMill, zvHasCornerRadius, zvHasCornerRadiusType, zvHasTaperAngle> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  /// The row of data of the class.
  static const zvToolType kType;

  /// Diameter at the end of the flutes.
  double GetUpperDiameter() const;
};

/// A lollipop mill: a ball on a neck, which is its shoulder. Its checks come unwrapped: 2155 for a
/// neck below 0 and 2188 for one above the diameter, to 1e-6.
class KANDREL_API zvLolMill final : public zvTypedToolOf<zvLolMill, zvHasNeckDiameter> {
 public:
  /// Reads the first diameter of a revolved solid.
  class KANDREL_API ArborFirstDiameterGetter : public zvRevolvedSolidVisitor<double> {
   public:
    using zvRevolvedSolidVisitor::Visit;
    void Visit(const zvRevolvedSolidDefinition<double>& solid) override;
    /// Nothing for another solid, or one without points.
    const std::optional<double>& GetDiameter() const noexcept { return m_diameter; }

   private:
    std::optional<double> m_diameter;
  };

  using zvTypedToolOf::zvTypedToolOf;
  /// With the arbor's first diameter as its neck. Throws 2138 for an arbor that has none, after the
  /// checks that all types share.
  zvLolMill(double diameter, const Holder& holder, double shoulderLength, double fluteLength,
            const Arbor& arbor, Units units);
  /// The row of data of the class.
  static const zvToolType kType;
};

/// A barrel mill: its flank is an arc of the profile radius through the widest point, which has the
/// diameter; a corner leads into it from the bottom. Throws 2167, caused by 2020 for values that
/// form no barrel, in words, or by 2164, 2163 or 2166. Its shoulder is the upper diameter.
class KANDREL_API zvBarrelMill final
    : public zvTypedTool<zvBarrelMill, zvHasUpperDiameter, zvHasCornerRadius, zvHasProfileRadius> {
 public:
  /// Where a check of the arbor would stand: any passes.
  class KANDREL_API ArborSolidValidator : public zvRevolvedSolidVisitor<double> {
   public:
    using zvRevolvedSolidVisitor::Visit;
    void Visit(const zvRevolvedSolidDefinition<double>&) override {}
  };

  using zvTypedTool::zvTypedTool;
  zvBarrelMill() = default;
  /// Lengths are in `units`; in the second form with a shoulder of its own.
  zvBarrelMill(double upperDiameter, double diameter, const Holder& holder, double shoulderLength,
               double fluteLength, const Arbor& arbor, double cornerRadius, double profileRadius,
               Units units);
  zvBarrelMill(double upperDiameter, double diameter, const Holder& holder, double shoulderLength,
               double fluteLength, const Arbor& arbor, double cornerRadius, double profileRadius,
               const zvShoulderDefinitionExtender& shoulder, Units units);
  /// The row of data of the class.
  static const zvToolType kType;
};

/// A mill whose bottom is a flat arc. Throws 2421, caused by 2163, or 2422 for a tip radius below
/// half the diameter.
class KANDREL_API zvConvexTipMill final
    : public zvTypedToolOf<zvConvexTipMill, zvHasCornerRadius, zvHasTipRadius> {
 public:
  using zvTypedToolOf::zvTypedToolOf;
  /// The row of data of the class.
  static const zvToolType kType;
};

}  // namespace cadcam
