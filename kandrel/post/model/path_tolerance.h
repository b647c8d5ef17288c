// zvPathTolerance: how far a posted run may leave its path between two lines.
#pragma once

#include <kandrel/misc/export.h>

namespace post {

/// What was too small or no number, as the cause of a misc::zvRangeException.
inline constexpr const wchar_t* kTipTolerance = L"The path tolerance of the tip";
inline constexpr const wchar_t* kAxisTolerance = L"The path tolerance of the tool axis";

/// The law that a posting holds when it is asked for: along every feed block, with all axes of the
/// machine moving linearly between its two lines,
///
/// 1. the tip stays within `tip` of the straight line between the two part positions, and of the
///    segment between the two source moves;
/// 2. the tool axis stays within `axis` of the shortest arc between the two source orientations.
///
/// A plain value, off by default: then postings are made by steps alone. It belongs to a run and
/// not to its parameters: no stored form holds it.
class KANDREL_API zvPathTolerance {
 public:
  /// Off.
  zvPathTolerance() = default;
  /// `tip` in the path's units, `axis` in degrees. Throws misc::zvRangeException for what is not
  /// above 0 and finite: NaN, infinity, zero and negative values. Its cause says which of the two.
  zvPathTolerance(double tip, double axis);

  /// Whether a tolerance is set: a default one isn't.
  bool IsOn() const noexcept { return m_tip > 0; }
  /// Bounds for the tip, in the path's units, and for the tool's axis, in degrees; 0 when off.
  double GetTip() const noexcept { return m_tip; }
  double GetAxis() const noexcept { return m_axis; }

 private:
  double m_tip = 0;
  double m_axis = 0;
};

}  // namespace post
