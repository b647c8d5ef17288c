// zvRepairMachine: what retractions and rewindings of a posted list compute with.
#pragma once

#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/geometry/four_axis_move_maker.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/move_traits.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/five_axis_interpolation.h>
#include <kandrel/post/passes/four_axis_interpolation.h>
#include <kandrel/post/passes/retraction.h>

#include <optional>

namespace post {

/// Limits and distances of a machine and of parameters as they are now, kinematics of the solver
/// given, which may be one made earlier. The solver is copied; all else is referred to.
template <class Solver, class Interpolator>
class zvRepairMachine {
 public:
  using Move = typename Interpolator::Move;

  /// `machDef` is normalised. Lifts that come out short are counted in `counts`.
  zvRepairMachine(const Solver& solver, const zvMachDef& machDef, const zvKDRParam& par,
                  bool smallMoves, zvPostingCounts& counts)
      : m_machDef(machDef),
        m_par(par),
        m_counts(counts),
        m_solver(solver),
        m_interpolator(MakeInterpolator(m_solver, par, smallMoves)) {}
  /// Not copied: the interpolator refers to the solver beside it.
  zvRepairMachine(const zvRepairMachine&) = delete;
  zvRepairMachine& operator=(const zvRepairMachine&) = delete;

  /// Those of the solver.
  const auto& Kinematics() const noexcept { return m_solver.GetKinematics(); }

  /// Lifted by retractDistance, or with retractToLimits to the linear limits, along the tool as it
  /// stands. Throws as RetractAlongTool and RetractToMachineLimits do.
  Move Retract(const Move& move) const {
    if constexpr (kAxes == 2) {
      if (m_par.GetInterpolationMode() != 0) {
        // Moves of linear axes hold a marker instead of their orientation.
        Move oriented = move;
        oriented.SetOrientation(Kinematics().Orientation(move));
        return RetractAsAsked(Kinematics(), m_machDef, m_par, oriented, m_counts);
      }
    }
    return RetractAsAsked(Kinematics(), m_machDef, m_par, move, m_counts);
  }

  /// As the interpolator's Midpoint.
  std::optional<Move> Midpoint(const Move& from, const Move& to, double tolerance) const {
    return m_interpolator.Midpoint(from, to, tolerance);
  }

 private:
  static constexpr int kAxes = zvMoveTraits<Move>::kAxes;

  static Interpolator MakeInterpolator(const Solver& solver, const zvKDRParam& par,
                                       bool smallMoves) {
    if constexpr (kAxes == 2)
      return Interpolator(solver, smallMoves);  // by the solver's parameters
    else
      return Interpolator(solver, par, smallMoves);
  }

  const zvMachDef& m_machDef;
  const zvKDRParam& m_par;
  zvPostingCounts& m_counts;
  Solver m_solver;
  Interpolator m_interpolator;
};

using zv4axRepairMachine = zvRepairMachine<zvPosted4axMoveMaker, zv4axInterpolator>;
using zv5axRepairMachine = zvRepairMachine<zv5axMoveSolver, zv5axInterpolator>;

}  // namespace post
