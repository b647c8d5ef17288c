// zvLimitChecker: the limits of a posted 5-axis list, and what keeps them.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/limit_checker.h>

namespace post {

/// Tests a posted list, shifts it by whole turns into its rotary ranges, and rewinds it where that
/// is not enough. Refers to all that it is given. With lower bounds of their own an axis that can't
/// be rewound may stand out of its range by limitTolerance.
class KANDREL_API zvLimitChecker : public zvListLimits<zvPosted5axMove> {
 public:
  /// `machDef` is normalised.
  zvLimitChecker(List& list, const zv5axMachDef& machDef,
                 const cadcam::zvTPoint3d<double>& partOrigin, const zvKDRParam& par,
                 double toolLengthCompensation, zvLowerBounds lowerBounds = zvLowerBounds::kShared);
  /// Not copied: it may count into itself.
  zvLimitChecker(const zvLimitChecker&) = delete;
  zvLimitChecker& operator=(const zvLimitChecker&) = delete;

  /// Throws as zvRewinder::Run does.
  void Rewind(bool smallMoves);
  /// Shifts, else rewinds a list out of its rotary ranges. True, with the limit, when it is out
  /// afterwards. Throws as Rewind does.
  bool CheckRotaryWithRewind(zvLimitType& limit, bool smallMoves);
  /// The linear limits before that: what a rewinding puts in is not tested for them.
  bool CheckAllWithRewind(zvLimitType& limit, bool smallMoves);

  /// Rewindings made, and lifts that came out short; also where a rewinding has thrown.
  const zvPostingCounts& GetCounts() const noexcept { return *m_counts; }
  /// Counts into another object from now on, which must outlive this one.
  void CountInto(zvPostingCounts& counts) noexcept { m_counts = &counts; }

 private:
  List& m_list;
  const zv5axMachDef& m_machDef;
  const cadcam::zvTPoint3d<double>& m_partOrigin;
  const zvKDRParam& m_par;
  double m_toolLengthCompensation;
  zvLowerBounds m_lowerBounds;
  zvPostingCounts m_ownCounts;
  zvPostingCounts* m_counts = &m_ownCounts;
};

}  // namespace post
