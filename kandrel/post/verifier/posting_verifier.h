// zvPostingVerifier: holds a posting against its toolpath by the machine's definition alone.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/progress.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posted_toolpath.h>
#include <kandrel/post/verifier/posting_findings.h>
#include <kandrel/post/verifier/verifier_rules.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>

namespace post {

struct zvVerifiedMachine;

/// A posted line of anybody's: what a text of one can say. Lengths in the machine's units, angles
/// in degrees; the orientation may be of any length.
struct zvPostedLine {
  using Point = cadcam::zvTPoint3d<double>;

  Point p_mach;                  ///< positions of the linear axes
  std::array<double, 3> degs{};  ///< 0 for an axis that the machine lacks
  Point p_part;                  ///< the tip in the part's frame
  Point dir_tool{0, 0, 1};       ///< from the tip towards the spindle
  double feed = 0;               ///< length per minute
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
///    arc between their orientations; what they are off it by, in tip and axis, is added to the
///    deviation of their blocks, so that this holds for the source's segment and arc as well. Their
///    feed is at most the larger of their two source moves' feeds: a divided step carries the feed
///    of its end, a blended one feeds between the two, and both are right. Where the tool comes
///    back from a lift, a rapid inserted line, its block is a way of its own.
/// 3. Lines of rapid motion must stand where they say, within limits and in their order; what
///    happens between them is not judged. One that the posting put in lies on a rapid step of the
///    path, or is a lift: on a feed step it stands off the path along the tool axis of the line
///    that is left or of the one that is come to, or between two such.
/// 4. A turn on the spot takes no time at any feed: its speed is not judged. Lines that divide one
///    go on as well, on the arc of the tool or, where that stands, each axis in its sense.
///
/// Threads may share a verifier, and its hook with it: several may Verify at once, while none calls
/// SetRules or SetProgress. Linear in the number of lines, in memory of its own that doesn't grow
/// with them but by the findings kept.
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

  /// What the posting must keep to; a change counts for verifications that begin later. Not while
  /// one goes on.
  const zvVerifierRules& GetRules() const noexcept { return m_rules; }
  void SetRules(const zvVerifierRules& rules) { m_rules = rules; }

  /// Who is told how far a verification has come and may cancel it, by the thread that verifies;
  /// null, as at first, is nobody. Not owned. Cancelled, Verify throws misc::zvCancelled; what the
  /// hook throws passes through. Not while a verification goes on; what threads that share the
  /// verifier ask of a hook, misc::zvProgress says.
  misc::zvProgress* GetProgress() const noexcept { return m_progress; }
  void SetProgress(misc::zvProgress* progress) noexcept { m_progress = progress; }

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
  template <class Move>
  zvPostingVerdict VerifyList(const cadcam::zvToolPath& toolpath,
                              const misc::zvMemoryPoolList<Move>& list, zvBlockSink* sink) const;

  zvVerifiedMachine Machine() const;

  misc::zvAutoPointer<zvMachDef> m_machDef;  // its own copy, normalised, not changed any more
  zv5axControlDef m_control;
  zvBlockLaw m_law;
  std::optional<zvBlockLaw> m_standingLaw;  // see zvVerifiedMachine
  zvVerifierRules m_rules;
  misc::zvProgress* m_progress = nullptr;
};

}  // namespace post
