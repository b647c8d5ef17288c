// zv5axInterpolator: the moves between two posted 5-axis moves.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace post {

/// Subdivides steps so that none exceeds maxAngleStep, and with interpolateByDistance none
/// interpolationDistance. Works in the posted list itself: moves are put between neighbours and
/// dropped again, so that nothing is copied. Steps, modes and tolerances are those of the solver's
/// parameters, read when the object is made.
///
/// A step that is not above 0 switches its rule off. Between opposite orientations nothing is put:
/// no direction lies between them more than any other. Throws what the solver throws for a blended
/// orientation, and zvPostException 5039 for more than 2^31 - 2 moves at once.
class KANDREL_API zv5axInterpolator {
 public:
  using Move = zvPosted5axMove;
  using List = misc::zvMemoryPoolList<Move>;

  /// `solver` must outlive the object.
  zv5axInterpolator(const zv5axMoveSolver& solver, bool smallMoves);

  /// How often a caller chooses the move ahead again, and then calls Between again, at most.
  static constexpr int kMostRounds = 4;

  /// Puts the moves between `to` and the move before it. True when they follow one solution all the
  /// way and only the step to `to` remains large: the caller then chooses `to` again against the
  /// last of them, and calls again. Inserted moves are chosen again here.
  bool Between(List& list, List::iterator to);

  /// Whether a move made so far was solved on a pole.
  bool HasMetPole() const noexcept { return m_hasMetPole; }
  /// Whether moves are solved; else the axes move linearly.
  bool Solves() const noexcept { return m_solves; }

  /// The move halfway between two, solved whatever the size of the step; nothing where the two lie
  /// at a pole within `tolerance` degrees or point in opposite directions.
  std::optional<Move> Midpoint(const Move& from, const Move& to, double tolerance) const;

  /// What Between would put between two moves, without the choices of its caller; nothing where it
  /// doesn't subdivide at `depth`, from 0 to 3. `tolerance` is the pole tolerance of the first
  /// subdivision.
  std::optional<std::vector<Move>> MovesBetween(const Move& from, const Move& to, int depth,
                                                double tolerance);

 private:
  using Iterator = List::iterator;

  std::uint32_t CountBetween(const Move& from, const Move& to, int depth, double tolerance) const;
  bool Subdivide(List& list, Iterator from, Iterator to, int depth);
  bool Fill(List& list, Iterator from, Iterator to, int depth, std::uint32_t count,
            const zv5axMoveSolver::PoleCone& cone);
  bool Refine(List& list, Iterator first, Iterator move, int depth);
  bool ChooseAgain(const Move& previous, Move& move) const;
  bool SkipForPole(const Move& from, const Move& to, double tolerance) const;
  std::uint32_t StepsByDistance(const Move& from, const Move& to) const;
  std::uint32_t StepsByAngle(const Move& from, const Move& to) const;
  bool StepTooLarge(const Move& a, const Move& b) const;
  bool IsWithinStep(const Move& a, const Move& b) const;
  void EvenMoves(List& list, Iterator from, Iterator to, std::uint32_t count,
                 const zv5axMoveSolver::PoleCone& cone);
  void CarryPole(const Move& from, const Move& to, const Move& previous, Move& move) const;
  struct Progress {
    double wholeAngle = 0;
    bool isMade = false;
  };
  Progress Measure(Iterator from, Iterator to, bool leavesLastOut) const;
  bool IsReduced(Iterator from, Iterator to, bool leavesLastOut) const;
  bool IsOnFirstPole(const Move& move) const;
  bool IsFreeTurn(const Move& from, const Move& to) const;
  void Thin(List& list, Iterator from, Iterator to) const;
  Move Solved(const cadcam::zvCNCMove& blended, zvPostedMove::Types type, const Move& previous,
              const zv5axMoveSolver::PoleCone& cone, std::int32_t sourceIndex, bool inserted) const;
  Move Linear(const Move& a, const Move& b, double t) const;

  const zv5axMoveSolver& m_solver;
  const zvKDRParam& m_par;
  zv5axMoveSolver::PoleCone m_cone;
  bool m_smallMoves;
  bool m_hasAngleRule;
  bool m_hasDistanceRule;
  bool m_solves;  // interpolationMode 0
  bool m_blendsPoles;
  bool m_hasMetPole = false;
};

/// The larger of the circular distances of the angles that are determined in both moves; 0 if none.
KANDREL_API double PoleAwareDistance(const zvPosted5axMove& a, const zvPosted5axMove& b) noexcept;

}  // namespace post
