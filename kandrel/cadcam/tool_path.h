// zvToolPath, zvTPPass and zvTPSlice: the toolpath tree above its sections.
#pragma once

#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/cadcam/tp_section.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/collection_of_containers.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/measurable.h>
#include <kandrel/misc/units_factory.h>

#include <cstdint>
#include <list>
#include <utility>

namespace cadcam {

/// The levels above the sections: a move added to an empty container makes the containers below.
template <class C>
class zvMovesAccessor<misc::zvCollectionOfContainers<C>>
    : public misc::zvCollectionOfContainers<C> {
  using Collection = misc::zvCollectionOfContainers<C>;

 public:
  using iterator = typename Collection::iterator;

  /// Inserts before `position`, which may be end() also of an empty container.
  iterator Insert(iterator position, const zvMovePointer& move) override {
    EnsureContainer();
    return Collection::Insert(std::move(position), move);
  }

  /// Appends after the very last move, in the last child whatever its kind.
  virtual void AddMove(const zvMovePointer& move) { Insert(this->end(), move); }
  /// Puts a move before the very first one, which need not lie in the first child.
  virtual void AddMoveFirst(const zvMovePointer& move) { this->PushFront(move); }
  /// Makes a child if there is none at all.
  virtual void EnsureContainer() = 0;
};

/// A slice holds sections. A link must be added as a section (push_back); moves added on their own
/// go to the last section, and to a new contour if there is none.
class KANDREL_API zvTPSlice
    : public zvMovesAccessor<
          misc::zvCollectionOfContainers<std::list<misc::zvAutoPointer<zvTPSection>>>> {
 public:
  /// Makes a contour if there is no section.
  void EnsureContainer() override;
};

/// A pass holds slices. Moves added on their own go to the last slice, and to a new one if there is
/// none.
class KANDREL_API zvTPPass
    : public zvMovesAccessor<
          misc::zvCollectionOfContainers<std::list<misc::zvAutoPointer<zvTPSlice>>>> {
 public:
  /// Makes a slice if there is none.
  void EnsureContainer() override;
};

/// A machine-independent toolpath: passes, slices, sections, moves. Children are shared: a copy of
/// a toolpath holds the same passes. Range-for runs over the moves; Children() are the passes.
///
/// SetUnits converts the lengths of the moves and leaves their feeds: 800 mm a minute becomes 800
/// inches a minute. Multiply the feeds by zvUnitsFactory::GetScaleFactor as well, move by move;
/// docs/guides/own-host.md shows it.
class KANDREL_API zvToolPath
    : public zvMovesAccessor<
          misc::zvCollectionOfContainers<std::list<misc::zvAutoPointer<zvTPPass>>>>,
      public measures::zvMeasurable {
 public:
  /// Throws zvmeasuresException 2141 for units other than metric and inch.
  explicit zvToolPath(measures::zvUnitsFactory::Units units);

  /// Makes a pass if there is none.
  void EnsureContainer() override;

  /// Finds out whether a section is a link, and of which type. It starts as a link of type 0 and
  /// throws zvcadcamException 2639 for a section that is neither link nor contour.
  class KANDREL_API zvSectionInfoGetter : public zvTPSVisitor {
   public:
    void Visit(const zvTPLink& link) override;
    void Visit(const zvTPContour& contour) override;
    void Visit(const zvTPSection& section) override;

    /// IsLink is of the section visited last, GetLinkType of the last link visited.
    bool IsLink() const noexcept { return m_isLink; }
    std::uint32_t GetLinkType() const noexcept { return m_linkType; }

   private:
    bool m_isLink = true;
    std::uint32_t m_linkType = 0;
  };

  /// Returns the number of moves. Linear in the number of sections.
  std::uint64_t GetMoveCount() const;

 protected:
  /// Scales every move that the walk reaches, feeds aside, as zvCNCMoveScaleVisitor says: a move
  /// that stands twice in the tree is scaled twice, and one that another toolpath shares is scaled
  /// for that one too. A null anywhere in the tree throws "Accessing NULL pointer" and leaves all
  /// moves as they were; nothing else fails.
  void Scale(measures::zvUnitsFactory::Units newUnits, double factor) override;
};

/// Returns the section in which a toolpath's iterator stands, which is not end().
KANDREL_API const zvTPSection& SectionOf(const zvToolPath::const_iterator& position);

}  // namespace cadcam
