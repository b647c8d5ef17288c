// zvPostedTP: the class-neutral result of a posting.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/model/align_matrix.h>
#include <kandrel/post/model/posted_move.h>

#include <cstddef>
#include <list>
#include <vector>

namespace post {

/// Shared posted moves of any class in order, with the alignment matrix of their run.
class KANDREL_API zvPostedTP {
 public:
  using MovePointer = misc::zvAutoPointer<zvPostedMove>;
  using Moves = std::list<MovePointer>;
  using iterator = Moves::iterator;
  using const_iterator = Moves::const_iterator;

  zvPostedTP() = default;
  zvPostedTP(const zvPostedTP&) = default;
  zvPostedTP(zvPostedTP&&) = default;
  zvPostedTP& operator=(const zvPostedTP&) = default;
  zvPostedTP& operator=(zvPostedTP&&) = default;
  virtual ~zvPostedTP();

  /// The moves in the order in which they are run.
  virtual iterator Begin();
  virtual const_iterator Begin() const;
  virtual iterator End();
  virtual const_iterator End() const;
  /// The same for `for (const auto& move : posted)`.
  iterator begin() { return Begin(); }
  const_iterator begin() const { return Begin(); }
  iterator end() { return End(); }
  const_iterator end() const { return End(); }
  /// Before `position`; returns the place of the move, which is shared.
  virtual iterator Insert(const_iterator position, const MovePointer& move);
  virtual void PushBack(const MovePointer& move);

  /// Extents over all moves: X, Y, Z of the machine (of the part), then the rotary angles as they
  /// stand, wound or wrapped. Empty for an empty list; 6-axis moves add nothing (see
  /// zvPostedExtentVisitor). Throws "Accessing NULL pointer" for a null move, zvPostException 2503
  /// for one of no class. Linear.
  virtual std::vector<double> GetMachMin() const;
  virtual std::vector<double> GetMachMax() const;
  virtual std::vector<double> GetPartMin() const;
  virtual std::vector<double> GetPartMax() const;

  /// How many moves there are.
  std::size_t GetCount() const noexcept { return m_moves.size(); }

  /// Null when no alignment was used.
  bool HasAlignMatrix() const noexcept { return !m_alignMatrix.IsNull(); }
  zvAlignMatrix GetAlignMatrix() const { return m_alignMatrix; }
  void SetAlignMatrix(const zvAlignMatrix& matrix) { m_alignMatrix = matrix; }

  /// Empties the list; the matrix stays.
  void Clear() { m_moves.clear(); }

 private:
  template <class Visitor>
  std::vector<double> Extent() const;

  Moves m_moves;
  zvAlignMatrix m_alignMatrix;
};

}  // namespace post
