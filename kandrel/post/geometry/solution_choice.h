// Which of the two rotary solutions a posting takes.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/model/limit_type.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posting_parameters.h>

namespace post {

/// A chosen solution, and the limit that stands against it.
struct zvSolutionChoice {
  bool isMirror = false;
  /// Set when both solutions break a linear limit, or when one breaks it and the other the rotary
  /// ranges: the limit that the last linear test found.
  zvLimitType excess;
};

/// Both solutions of a pair side by side.
KANDREL_API zvRotarySolutions SolutionsOf(const zvSolutionPair& pair);

/// For a move after another one: the one solution that keeps the limits asked for by limitsCheck,
/// else the nearest, or with firstMoveByRule off the one that firstMoveMirror names. The nearest is
/// the one that doesn't hold the largest travel of any axis, the first on a tie.
KANDREL_API bool TakesMirrorNext(double previousFirstAngle, double previousSecondAngle,
                                 const zvRotarySolutions& solutions, const zvKDRParam& par,
                                 const zv5axMachDef& machDef);

/// Whether a solution keeps the limits asked for by limitsCheck.
KANDREL_API bool KeepsAskedLimits(const zvRotarySolution& solution, const zvKDRParam& par,
                                  const zv5axMachDef& machDef);

/// For the first move: the one solution that keeps the limits, else by firstMoveRule. A caller
/// reports `excess`, if it names a limit, before it uses the choice.
KANDREL_API zvSolutionChoice ChooseFirst(const zvRotarySolutions& solutions, const zvKDRParam& par,
                                         const zv5axMachDef& machDef);

}  // namespace post
