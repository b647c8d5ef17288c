// zvPostedVisitorMoveType and zvPostedExtentVisitor: the class of a posted move, and extents.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/post/model/posted_move_visitor.h>

#include <cstddef>
#include <vector>

namespace post {

/// Writes the class of the visited move into an integer of the caller's, which outlives it: 0 for a
/// 3-axis move to 3 for a 6-axis move, as zvMachDef::NumbersOfAxes. A move of no class throws
/// zvException 2183 "Abstract function called".
class KANDREL_API zvPostedVisitorMoveType : public zvPostedVisitor {
 public:
  /// Writes into `type`.
  explicit zvPostedVisitorMoveType(int& type) : m_type(&type) {}

  void Visit(const zvPosted6axMove& move) override;
  void Visit(const zvPosted5axMove& move) override;
  void Visit(const zvPosted4axMove& move) override;
  void Visit(const zvPosted3axMove& move) override;
  void Visit(const zvPostedMove& move) override;

 private:
  int* m_type;
};

/// Folds a position, followed by the rotary angles, of the visited moves into a vector of the
/// caller's, value by value. The first move sizes and fills it, whatever it held; a later move of
/// another class compares as many values as both have.
///
/// 6-axis moves add nothing: extents hold at most two angles. A move of no class throws
/// zvPostException 2503.
class KANDREL_API zvPostedExtentVisitor : public zvPostedVisitor {
 public:
  void Visit(const zvPosted6axMove& move) override;
  void Visit(const zvPosted5axMove& move) override;
  void Visit(const zvPosted4axMove& move) override;
  void Visit(const zvPosted3axMove& move) override;
  void Visit(const zvPostedMove& move) override;

 protected:
  /// Which position is folded.
  enum class Position { kMachine, kPart };
  /// Whether the smallest or the largest values are kept.
  enum class Side { kMin, kMax };

  /// Folds into `extent`, which outlives the visitor.
  zvPostedExtentVisitor(std::vector<double>& extent, Position position, Side side)
      : m_extent(&extent), m_position(position), m_side(side) {}

 private:
  void Fold(const zvPostedMove& move, const double* angles, std::size_t angleCount);

  std::vector<double>* m_extent;
  bool m_hasFirst = false;
  Position m_position;
  Side m_side;
};

/// The smallest machine position and angles.
class KANDREL_API zvPostedVisitorMachMin : public zvPostedExtentVisitor {
 public:
  /// Folds into `extent`, which outlives the visitor.
  explicit zvPostedVisitorMachMin(std::vector<double>& extent)
      : zvPostedExtentVisitor(extent, Position::kMachine, Side::kMin) {}
};

/// The largest machine position and angles.
class KANDREL_API zvPostedVisitorMachMax : public zvPostedExtentVisitor {
 public:
  /// Folds into `extent`, which outlives the visitor.
  explicit zvPostedVisitorMachMax(std::vector<double>& extent)
      : zvPostedExtentVisitor(extent, Position::kMachine, Side::kMax) {}
};

/// The smallest part position and angles.
class KANDREL_API zvPostedVisitorPartMin : public zvPostedExtentVisitor {
 public:
  /// Folds into `extent`, which outlives the visitor.
  explicit zvPostedVisitorPartMin(std::vector<double>& extent)
      : zvPostedExtentVisitor(extent, Position::kPart, Side::kMin) {}
};

/// The largest part position and angles.
class KANDREL_API zvPostedVisitorPartMax : public zvPostedExtentVisitor {
 public:
  /// Folds into `extent`, which outlives the visitor.
  explicit zvPostedVisitorPartMax(std::vector<double>& extent)
      : zvPostedExtentVisitor(extent, Position::kPart, Side::kMax) {}
};

}  // namespace post
