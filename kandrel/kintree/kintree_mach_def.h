// zvKintreeMachDef: a complete machine as a kinematic tree.
#pragma once

#include <kandrel/kintree/kinematic_tree.h>
#include <kandrel/kintree/object_map.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/measurable.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kintree {

class zvKintreeMachDef;

/// Watches a machine. Not owned: it outlives the machine or is taken off it, which may also happen
/// while observers are told: one that has been taken off is not told any more.
class KANDREL_API zvKintreeMachDefObserver {
 public:
  virtual ~zvKintreeMachDefObserver() = default;
  /// Called after an object has been added, with the machine complete.
  virtual void OnObjectAdded(const zvKintreeMachDef& machine,
                             const mkdKinematicObjectPointer& object) = 0;
};

/// Objects that are checked against those of another group.
struct zvCollisionGroup {
  /// Whether its objects stand still while others are simulated.
  enum Kind : int { isStatic, isDynamic };

  Kind kind = isStatic;
  std::vector<std::wstring> names{};  ///< of objects of the machine
};

/// Two groups that must not touch.
struct zvCollisionCheck {
  std::wstring name{};  ///< may be empty: the identifier stands for it
  zvCollisionGroup first{};
  zvCollisionGroup second{};
};

/// A source file that is run before a simulation, and the instance it makes.
struct zvPreprocessor {
  std::wstring fileName;  ///< as the machine file has it
  std::wstring instanceName;
};

/// A machine: its objects with their names, and what a simulation needs besides. It is on the
/// caller's thread alone.
///
/// 1. No two objects have one name; adding and finding one is logarithmic.
/// 2. A copy has a tree and a map of its own and shares the objects. Observers stay with the
///    original.
/// 3. Assigning gives the machine a new tree: its tree, nodes and object entries of before are
/// gone.
class KANDREL_API zvKintreeMachDef : public measures::zvMeasurable {
 public:
  using Units = measures::zvUnitsFactory::Units;
  using Node = mkdKinematicNode;
  using CollisionChecks = std::map<std::wstring, zvCollisionCheck>;
  using HiddenSliders = std::map<std::wstring, bool>;

  /// Without objects. Throws zvmeasuresException 2141 for units other than metric and inch.
  explicit zvKintreeMachDef(Units units);
  zvKintreeMachDef(const zvKintreeMachDef& other);
  zvKintreeMachDef& operator=(const zvKintreeMachDef& other);
  ~zvKintreeMachDef() override;

  /// Adds an object below `parent`, at root level where that is null, and tells the observers.
  /// Nothing is moved. Throws zvMachineSimulatorException kDuplicateIdentifier for a name that is
  /// there already, as an empty one may be, and what mkdKinematicTree::Add throws; the machine is
  /// as it was then.
  void AddObject(const mkdKinematicObjectPointer& object, const mkdKinematicObjectPointer& parent);

  /// Both throw zvMachineSimulatorException kObjectNotFound for an unknown name.
  const mkdKinematicObjectPointer& GetObject(const std::wstring& name) const;
  const Node& GetNode(const std::wstring& name) const;
  /// By name, in the order of the names.
  const zvObjectMap& GetObjectMap() const noexcept { return m_objects; }

  /// The tree can be moved here; objects are added to the machine, which knows their names too.
  const mkdKinematicTree& GetTree() const noexcept { return *m_tree; }

  /// mkdKinematicTree's, for the machine's own.
  const mkdKinematicTree::KeptTransforms& KeepTransforms(const mkdKinematicObject& object) {
    return m_tree->KeepTransforms(object);
  }
  void ReleaseTransforms(const mkdKinematicObject& object) { m_tree->ReleaseTransforms(object); }

  /// An observer is told as often as it was added; one that is added while observers are told, from
  /// the next object on.
  void AddObserver(zvKintreeMachDefObserver& observer) { m_observers.push_back(&observer); }
  void RemoveObserver(zvKintreeMachDefObserver& observer) noexcept;

  /// The name that the file gives; any text.
  const std::wstring& GetName() const noexcept { return m_name; }
  void SetName(std::wstring name) { m_name = std::move(name); }

  /// The check of an identifier; an older one of the same identifier goes.
  void SetCollisionCheck(const std::wstring& id, zvCollisionCheck check);
  const CollisionChecks& GetCollisionChecks() const noexcept { return m_collisionChecks; }

  /// Paths of what the machine is made of besides its own file, in the order in which they came:
  /// meshes, bitmaps, toolpaths, schemas, preprocessors. One that came twice stands there twice.
  void AddFile(std::wstring path) { m_files.push_back(std::move(path)); }
  const std::vector<std::wstring>& GetFiles() const noexcept { return m_files; }

  /// Axes by name whose slider a front end doesn't show: they stand there with false.
  void HideSlider(const std::wstring& axis) { m_hiddenSliders[axis] = false; }
  bool IsSliderShown(const std::wstring& axis) const;
  const HiddenSliders& GetHiddenSliders() const noexcept { return m_hiddenSliders; }

  /// Preprocessors, in the order in which they were added; nothing is checked, and nothing is run.
  void AddPreprocessor(zvPreprocessor preprocessor);
  const std::vector<zvPreprocessor>& GetPreprocessors() const noexcept { return m_preprocessors; }

  /// Path of the file that says how the toolpath is drawn; empty for none.
  const std::wstring& GetSchema() const noexcept { return m_schema; }
  void SetSchema(std::wstring path) { m_schema = std::move(path); }

  /// Format version of the file that the machine comes from, and the one that a writer writes at
  /// least; 1.4 both until they are set.
  float GetVersion() const noexcept { return m_version; }
  void SetVersion(float version) noexcept { m_version = version; }
  float GetWriterVersion() const noexcept { return m_writerVersion; }
  void SetWriterVersion(float version) noexcept { m_writerVersion = version; }

 protected:
  void Scale(Units, double) override {}
  /// Hands the units on to every object in the order of the names; those that have them already
  /// stay as they are. When only the machine's label changes, theirs stay: objects that were read
  /// before the units became known keep what they were read with. What an object throws passes, and
  /// leaves those before it in the new units.
  void SetUnitsOfParts(Units units, bool keepNumbers) override;

 private:
  const zvObjectEntry& Find(const std::wstring& name) const;

  std::unique_ptr<mkdKinematicTree> m_tree;  // keeps its address: the objects know it
  zvObjectMap m_objects;
  std::wstring m_name;
  std::vector<zvKintreeMachDefObserver*> m_observers;
  CollisionChecks m_collisionChecks;
  std::vector<std::wstring> m_files;
  HiddenSliders m_hiddenSliders;
  std::vector<zvPreprocessor> m_preprocessors;
  std::wstring m_schema;
  float m_version = 1.4f;
  float m_writerVersion = 1.4f;
};

}  // namespace kintree
