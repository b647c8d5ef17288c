// zvVerifierRules: what a posting is held against.
#pragma once

#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/model/align_matrix.h>
#include <kandrel/post/model/path_tolerance.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstddef>
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
  /// How far the tool may stand off a line's orientation where both are this near to a rotary
  /// axis, degrees: zvKDRParam's poleAngleTolerance, within which postings put the tool along it.
  double poleAngleTolerance = 0.01;
  /// How far a line of the machine may lie off the place that it is for: in parts of the size of
  /// the machine's lengths, and in degrees. Postings of this library keep 1e-9, and angles that
  /// come out as 0 below 8.1e-4 degrees of either axis. One read from a text of few decimals wants
  /// more.
  double lineTip = 1e-9;
  double lineAxis = 1.7e-3;
  /// How far a third axis, which stands, may be written off its angle, degrees.
  double thirdAxis = 1e-6;
  /// A length on top of lineTip, for a text of few decimals. Not for rotary speeds: blocks shorter
  /// than it are judged as well.
  double lineLength = 0;
  /// Inserted lines hold a marker in place of their orientation, as those of an interpolationMode
  /// other than 0 do: it isn't looked at, and the tool axis has no way but from line to line.
  bool hasMarkers = false;
  /// Findings that are kept; those beyond are counted.
  std::size_t mostFindings = 1000;
  /// A sink's blocks need not be told apart below these: one that leaves its way by no more may
  /// come with any bound up to them, which spares most of the work. {0, 0}: each comes with its
  /// own. The verdict's maxima are as good as without a sink.
  zvBlockDeviation sinkFloor;
  /// The turn that laid the toolpath onto its machine, or null. A posted toolpath brings its own.
  zvAlignMatrix alignment;
};

}  // namespace post
