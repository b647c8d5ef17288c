// zvTPSection, zvTPContour and zvTPLink: the leaves of a toolpath tree, which hold the moves.
#pragma once

#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>

#include <cstdint>
#include <list>

namespace cadcam {

class zvTPSection;
class zvTPContour;
class zvTPLink;

using zvMovePointer = misc::zvAutoPointer<zvCNCMove>;
using zvMoveList = std::list<zvMovePointer>;

/// Visits sections, which it may not change.
class KANDREL_API zvTPSVisitor {
 public:
  /// A section calls the one of its own class, through AcceptVisitor.
  virtual void Visit(const zvTPLink& link) = 0;
  virtual void Visit(const zvTPContour& contour) = 0;
  virtual void Visit(const zvTPSection& section) = 0;

 protected:
  ~zvTPSVisitor() = default;
};

/// Adds moves at any level of the tree. `B` is a collection of containers (tool_path.h) or, at the
/// lowest level, the list of moves itself.
template <class B>
class zvMovesAccessor;

/// Adds moves at the lowest level, to the list itself.
template <>
class KANDREL_API zvMovesAccessor<zvMoveList> : public zvMoveList {
 public:
  virtual ~zvMovesAccessor() = default;

  /// Put a move at the end, and at the start. A null is taken and throws where it is used.
  virtual void AddMove(const zvMovePointer& move) { push_back(move); }
  virtual void AddMoveFirst(const zvMovePointer& move) { push_front(move); }
  /// Nothing to do at this level: the section is the container.
  virtual void EnsureContainer() {}

  /// Puts a move before `position`; returns its place.
  iterator Insert(const_iterator position, const zvMovePointer& move) {
    return insert(position, move);
  }

 protected:
  zvMovesAccessor() = default;
  zvMovesAccessor(const zvMovesAccessor&) = default;
  zvMovesAccessor(zvMovesAccessor&&) = default;
  zvMovesAccessor& operator=(const zvMovesAccessor&) = default;
  zvMovesAccessor& operator=(zvMovesAccessor&&) = default;
};

/// A stretch of moves of one kind. Moves are shared: a move may stand in several places at once.
class KANDREL_API zvTPSection : public zvMovesAccessor<zvMoveList> {
 public:
  /// Calls the visitor's slot of the section's own class.
  virtual void AcceptVisitor(zvTPSVisitor& visitor) const = 0;
};

/// A stretch that cuts.
class KANDREL_API zvTPContour : public zvTPSection {
 public:
  void AcceptVisitor(zvTPSVisitor& visitor) const override { visitor.Visit(*this); }
};

/// A stretch that only connects two cuts. Its type is a number from 0 to 5, without a further
/// meaning here; a larger one is accepted and fails when a posted move type is asked of it.
class KANDREL_API zvTPLink : public zvTPSection {
 public:
  /// Any type is accepted.
  explicit zvTPLink(std::uint32_t linkType) : m_linkType(linkType) {}

  void AcceptVisitor(zvTPSVisitor& visitor) const override { visitor.Visit(*this); }

  /// The type as it was given.
  std::uint32_t GetLinkType() const noexcept { return m_linkType; }
  void SetLinkType(std::uint32_t linkType) noexcept { m_linkType = linkType; }

 private:
  std::uint32_t m_linkType;
};

/// Finds out whether a section is a link, and of which type; it refuses none. It starts as a link
/// of type 0, and keeps the type of the last link it has visited.
class KANDREL_API zvTPSLinkVisitor : public zvTPSVisitor {
 public:
  void Visit(const zvTPLink& link) override {
    m_isLink = true;
    m_linkType = link.GetLinkType();
  }
  void Visit(const zvTPContour&) override { m_isLink = false; }
  void Visit(const zvTPSection&) override { m_isLink = false; }

  /// Whether the section visited last is a link; and the type of the link visited last.
  bool IsLink() const noexcept { return m_isLink; }
  std::uint32_t GetLinkType() const noexcept { return m_linkType; }

 private:
  bool m_isLink = true;
  std::uint32_t m_linkType = 0;
};

}  // namespace cadcam
