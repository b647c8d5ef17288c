// mkdKinematicObject: what stands in the kinematic tree of a machine; mkdCoordinateTransform.
#pragma once

#include <kandrel/cadcam/matrix.h>
#include <kandrel/kintree/kinematic_tree_interface.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/measurable.h>

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kintree {

class mkdKOConstVisitor;
class mkdKOVisitor;
class mkdKinematicTree;

/// A homogeneous transformation of a tree, from an object's own frame into the one it stands in.
using mkdMatrix = cadcam::zvMatrix<float, 4, 4>;

/// Watches one object. Not owned: it outlives the object or is taken off it.
class KANDREL_API mkdKinematicObjectObserver {
 public:
  virtual ~mkdKinematicObjectObserver() = default;
  /// Called before the object takes a new world matrix, and before anything else happens to it.
  ///
  /// It may move objects: this one and those above it keep the newer place then. The motion that it
  /// is called from goes on with the rest, and what that has still to reach gets its place. It may
  /// change trees: an object that it takes out, or whose tree it destroys, may be moved once more
  /// by that motion, and one that it adds may not. Only the tree or the machine that the motion was
  /// asked of must live until the motion ends.
  virtual void OnWorldTransform(const mkdKinematicObject& object, const mkdMatrix& world) = 0;
};

/// An object of a machine: a transform, an axis or geometry. Its name identifies it in the machine
/// and doesn't change. Lengths are in its units, in its parent's frame; matrices are single
/// precision and turn that frame into the world's.
///
/// 1. Its class is found out by visitors.
/// 2. Moving an object moves all that is below it, in every tree that it stands in, parents before
///    children and without recursion.
/// 3. A copy stands in no tree and has no observer. Assigning leaves the name, the kinds, the place
///    in the trees and the observer of the object that is assigned to.
class KANDREL_API mkdKinematicObject : public measures::zvMeasurable {
 public:
  using Units = measures::zvUnitsFactory::Units;

  ~mkdKinematicObject() override;

  /// The name, which is unique in a machine.
  const std::wstring& GetName() const noexcept { return m_name; }

  /// Small numbers that say what kinds of object this counts as: 1 transform or toolpath, 2
  /// polygonal geometry, 3 translation axis, 4 rotary axis.
  std::span<const std::uint8_t> GetKindTags() const noexcept { return m_kindTags; }

  /// The identity until it is set.
  const mkdMatrix& GetWorldTransform() const noexcept { return m_world; }
  /// Places the object, and all that is below it. Nothing does so unasked: a tree that has just
  /// been built has not been moved. An exception of an object below (mkdAxis) passes, and leaves
  /// those moved that came before it. Linear in what is below.
  virtual void SetWorldTransform(const mkdMatrix& world);

  /// Call the visitor's slot of the object's own class; those of this class call its last slot.
  virtual void AcceptVisitor(mkdKOConstVisitor& visitor) const;
  virtual void AcceptVisitor(mkdKOVisitor& visitor);

  /// Null for none.
  void SetObserver(mkdKinematicObjectObserver* observer) noexcept { m_links.observer = observer; }
  mkdKinematicObjectObserver* GetObserver() const noexcept { return m_links.observer; }

 protected:
  /// The tags live as long as the program. Throws zvmeasuresException 2141 for units other than
  /// metric and inch.
  mkdKinematicObject(std::wstring name, std::span<const std::uint8_t> kindTags, Units units);
  mkdKinematicObject(const mkdKinematicObject& other);
  mkdKinematicObject& operator=(const mkdKinematicObject& other);

  /// A plain object has no lengths that change with the units. That counts for the translation of a
  /// transform too: a machine file is read after its units are known.
  void Scale(Units newUnits, double factor) override;

  /// What TakeWorldTransform ended in. As long as it lives, so does an object that stands in a
  /// tree: the observer may have taken it out.
  struct Taken {
    mkdKinematicObjectPointer self;
    bool isNewest = true;  ///< false where the observer has placed the object anew
  };

  /// Tells the observer and takes the matrix, unless the observer has placed the object anew.
  [[nodiscard]] Taken TakeWorldTransform(const mkdMatrix& world);
  /// Gives the objects below this one `world` as their world matrix, and so on down the trees. A
  /// call from within such a motion is put in its queue; what an older call has not given yet, it
  /// gives no more. The object may be gone when this returns, if it stands in trees alone.
  void MoveChildren(const mkdMatrix& world);

 private:
  friend class mkdKinematicTree;
  class Motion;

  // Whoever knows this object: that stays with it when it is copied or assigned to.
  struct Links {
    std::vector<const mkdKinematicTreeInterface*> trees;
    mkdKinematicObjectObserver* observer = nullptr;
    Motion* motion = nullptr;  // while this object is being moved by the one above it
    // How often this object was placed, and how often it has moved what is below it: who finds
    // another number than his own comes too late.
    std::uint32_t timesPlaced = 0;
    std::uint32_t timesHandedOn = 0;
  };

  std::wstring m_name;
  std::span<const std::uint8_t> m_kindTags;
  mkdMatrix m_world = mkdMatrix::Identity();
  Links m_links;
};

/// Puts a fixed transformation between what is above and what is below it.
class KANDREL_API mkdCoordinateTransform : public mkdKinematicObject {
 public:
  /// With the identity as local matrix. Throws as mkdKinematicObject.
  mkdCoordinateTransform(std::wstring name, Units units);

  /// From the frame below to the frame above. Any matrix is taken. What is below moves only with
  /// the next SetWorldTransform.
  void SetLocalMatrix(const mkdMatrix& local);
  const mkdMatrix& GetLocalMatrix() const noexcept { return m_local; }
  /// World times local: the world matrix of what is below.
  const mkdMatrix& GetCompositeMatrix() const noexcept { return m_composite; }

  void SetWorldTransform(const mkdMatrix& world) override;
  void AcceptVisitor(mkdKOConstVisitor& visitor) const override;
  void AcceptVisitor(mkdKOVisitor& visitor) override;

 protected:
  /// For derived classes, with kinds of their own; the matrices are the identity.
  mkdCoordinateTransform(std::wstring name, std::span<const std::uint8_t> kindTags, Units units);

 private:
  mkdMatrix m_local = mkdMatrix::Identity();
  mkdMatrix m_composite = mkdMatrix::Identity();
};

}  // namespace kintree
