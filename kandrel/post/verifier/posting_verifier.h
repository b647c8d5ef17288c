// zvPostingVerifier: holds a posting against its toolpath by the machine's definition alone.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/model/align_matrix.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/path_tolerance.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posted_toolpath.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/verifier/posting_findings.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>

namespace post {

/// What a posting is held against. The defaults ask for all that needs no number of the user's.
struct zvVerifierRules {
  /// Off: deviations are measured, and are no findings.
  zvPathTolerance tolerance;
  /// Degrees per minute; infinite: none is too fast.
  double maxRotarySpeed = std::numeric_limits<double>::infinity();
  zvKDRParam::LimitsCheck limitsCheck = zvKDRParam::checkAllAxes;
  /// Slack of rotary limits, degrees, as zvKDRParam's.
  double limitTolerance = 0.0001;
  /// How far the tool may stand off a line's orientation where it stands along a rotary axis,
  /// degrees: zvKDRParam's poleAngleTolerance, within which postings put it there.
  double poleAngleTolerance = 0.01;
  /// How far a line of the machine may lie off the place that it is for: in parts of the size of
  /// the machine's lengths, and in degrees. Postings of this library keep 1e-9, and angles that
  /// come out as 0 below 8.1e-4 degrees of either axis. One read from a text of few decimals wants
  /// more.
  double lineTip = 1e-9;
  double lineAxis = 1.7e-3;
  /// Findings that are kept; those beyond are counted.
  std::size_t mostFindings = 1000;
  /// The turn that laid the toolpath onto its machine, or null. A posted toolpath brings its own.
  zvAlignMatrix alignment;
};

/// A posted line of anybody's: what a text of one can say. Lengths in the machine's units, angles
/// in degrees; the orientation may be of any length.
struct zvPostedLine {
  using Point = cadcam::zvTPoint3d<double>;

  Point p_mach;
  std::array<double, 3> degs{};  ///< 0 for an axis that the machine lacks
  Point p_part;
  Point dir_tool{0, 0, 1};
  double feed = 0;
  bool isRapid = false;
  /// The move of the flattened toolpath that the line comes from; -1 where that isn't known: then
  /// also `isInserted` is not, and places tell which line is a move of the toolpath.
  std::int64_t source = -1;
  bool isInserted = false;
};

/// Verifies postings for one machine and set-up. It takes nothing of what solves and makes them:
/// the machine is rigid bodies of its definition (zvBlockLaw).
///
/// 1. A block is two neighbouring lines of which the later isn't rapid. All axes move linearly
///    between them; a rotary axis that the control writes wrapped goes the shorter way, any other
///    from number to number. Of each block the largest distance of the tip from the straight line
///    between the two part positions is bounded, and the largest angle of the tool axis to the
///    shortest arc between the two orientations.
/// 2. Lines that the posting inserted lie on the segment between their two source moves, and on the
///    arc between their orientations; what they are off it by is added to the deviation of their
///    blocks, so that this holds for the source's segment and arc as well. Where the tool comes
///    back from a lift, a rapid inserted line, its block is a way of its own.
/// 3. Lines of rapid motion must stand where they say, within limits and in their order; what
///    happens between them is not judged.
/// 4. A turn on the spot takes no time at any feed: its speed is not judged.
///
/// Threads may share a verifier. Linear in the number of lines, in memory of its own that doesn't
/// grow with them but by the findings kept.
class KANDREL_API zvPostingVerifier {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  /// Fills in the next line; false at the end.
  using NextLine = std::function<bool(zvPostedLine&)>;

  /// Everything is copied. Of a 6-axis machine the third axis stands, and has no influence. Throws
  /// as zvMachDef::Normalize and Get5axMachDef do, zvPostException 2503 for a definition of no
  /// class, 5039 for a part origin or tool length that is infinite or NaN.
  zvPostingVerifier(const zvMachDef& machDef, const zv5axControlDef& control,
                    const Point& partOrigin, double toolLengthCompensation);

  const zvVerifierRules& GetRules() const noexcept { return m_rules; }
  void SetRules(const zvVerifierRules& rules) { m_rules = rules; }

  /// Lists of the machine's own class of moves: zvPostException 5043 for those of another. A sink,
  /// which may be null, gets each feed block with its own bounds, which takes longer than the
  /// maxima alone. All throw as zvPathReader does for what can't be read of the toolpath.
  zvPostingVerdict Verify(const cadcam::zvToolPath& toolpath,
                          const misc::zvMemoryPoolList<zvPosted3axMove>& list,
                          zvBlockSink* sink = nullptr) const;
  zvPostingVerdict Verify(const cadcam::zvToolPath& toolpath,
                          const misc::zvMemoryPoolList<zvPosted4axMove>& list,
                          zvBlockSink* sink = nullptr) const;
  zvPostingVerdict Verify(const cadcam::zvToolPath& toolpath,
                          const misc::zvMemoryPoolList<zvPosted5axMove>& list,
                          zvBlockSink* sink = nullptr) const;
  zvPostingVerdict Verify(const cadcam::zvToolPath& toolpath,
                          const misc::zvMemoryPoolList<zvPosted6axMove>& list,
                          zvBlockSink* sink = nullptr) const;
  /// Also throws "Accessing NULL pointer" for a null move. The alignment is the posted toolpath's.
  zvPostingVerdict Verify(const cadcam::zvToolPath& toolpath, const zvPostedTP& posted,
                          zvBlockSink* sink = nullptr) const;
  /// Lines from anywhere, asked for one by one; what `next` throws passes through.
  zvPostingVerdict Verify(const cadcam::zvToolPath& toolpath, const NextLine& next,
                          zvBlockSink* sink = nullptr) const;

 private:
  misc::zvAutoPointer<const zvMachDef> m_machDef;  // its own copy, normalised
  zv5axControlDef m_control;
  zvBlockLaw m_law;
  zvVerifierRules m_rules;
};

}  // namespace post
