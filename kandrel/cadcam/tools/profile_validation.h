// zvProfileValidation and its five classes: whether a profile can be a part of a tool.
#pragma once

#include <kandrel/cadcam/curves/curves2d.h>
#include <kandrel/misc/export.h>

#include <cstdint>
#include <vector>

namespace cadcam {

/// The corners of a profile: the start of its first element and the end of each, and all points of
/// polylines. What lies inside a curve, and gaps between elements, don't show.
KANDREL_API std::vector<geoDef::zv2dPoint<double>> ProfilePoints(
    const geoDef::zv2dContour<double>& profile);

/// Checks the profile of a revolved solid: x is the radius, y the height from the start of the
/// part, both in the profile's units. The classes differ in the zvcadcamException that their
/// reports throw; the ids stand in the source.
///
/// 1. What is looked at are ProfilePoints.
/// 2. Segments: those that rise by less than 1e-6 up or down are passed over. One of constant x, to
///    1e-6, is a cylinder, whose radius must be above 1e-6; any other a cone, whose radii must be
///    at least 1e-6. Both must rise. A radius is reported before a height.
/// 3. Then the first point must lie at y = 0 and no x below it, both to 1e-6; and where there is
///    more than one element, the last two points must have different heights. A part of one line
///    of no length passes: it stands for a part that isn't there.
/// 4. Last, no number that any element is made of may be none: the report for an x is that of a
///    radius, for a y of a height. An infinite number passes what it satisfies. A profile without
///    points passes.
class KANDREL_API zvProfileValidation {
 public:
  using Profile = geoDef::zv2dContour<double>;

  virtual ~zvProfileValidation() = default;

  /// Property 2.
  virtual void ValidateSegments(const Profile& profile) const;
  virtual void ValidateCylinderSegment(double radius, double height) const;
  virtual void ValidateConeSegment(double firstRadius, double secondRadius, double height) const;
  /// Reports a radius, and then a height, that is no number.
  void ValidateNumbers(double radius, double height) const;
  /// Properties 2 to 4.
  virtual void Validate(const Profile& profile) const;

  /// Throw the class's zvcadcamException.
  [[noreturn]] virtual void ReportInvalidRadius() const;
  [[noreturn]] virtual void ReportInvalidHeight() const;
  [[noreturn]] virtual void ReportWrongStart() const;
  [[noreturn]] virtual void ReportNegativeX() const;
  [[noreturn]] virtual void ReportEqualLastHeights() const;

 protected:
  /// Ids of the five reports.
  struct Reports {
    std::uint32_t radius;
    std::uint32_t height;
    std::uint32_t start;
    std::uint32_t negativeX;
    std::uint32_t lastHeights;
  };
  using Points = std::vector<geoDef::zv2dPoint<double>>;

  /// Throws with these ids; the class that derives from this one says which.
  explicit zvProfileValidation(const Reports& reports) : m_reports(reports) {}
  zvProfileValidation(const zvProfileValidation&) = default;
  zvProfileValidation& operator=(const zvProfileValidation&) = default;

  /// Validate, with these as the points of property 1.
  void Validate(const Profile& profile, const Points& points) const;
  /// Whether the profile has more than one element.
  static bool HasSeveralElements(const Profile& profile);

 private:
  void ValidateSegmentsOf(const Points& points) const;
  void ValidatePoints(const Points& points, bool hasSeveralElements) const;

  Reports m_reports;
};

/// Ids 2134, 2135, 2205, 2209, 2213.
class KANDREL_API zvHolderValidation : public zvProfileValidation {
 public:
  zvHolderValidation();
};

/// Ids 2136, 2137, 2204, 2208, 2212.
class KANDREL_API zvArborValidation : public zvProfileValidation {
 public:
  zvArborValidation();
};

/// Ids 2198, 2200, 2202, 2206, 2210.
class KANDREL_API zvCuttingPartValidation : public zvProfileValidation {
 public:
  zvCuttingPartValidation();

  /// A profile of more than one element that starts on the axis, to 1e-12, may do so: its first x
  /// is taken to be that of its second point.
  void Validate(const Profile& profile) const override;
};

/// Ids 2199, 2201, 2203, 2207, 2211.
class KANDREL_API zvNonCuttingPartValidation : public zvProfileValidation {
 public:
  zvNonCuttingPartValidation();
};

/// For a part that is none of these. Ids 2145, 2146, 2160, 2161, 2162.
class KANDREL_API zvToolPartProfileValidation : public zvProfileValidation {
 public:
  zvToolPartProfileValidation();
};

}  // namespace cadcam
