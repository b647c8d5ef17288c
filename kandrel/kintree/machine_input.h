// zvXMLInputSurround: the machine definition that a machine description file holds.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/kintree/kintree_mach_def.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/model/mach_def.h>

#include <string>
#include <vector>

/// Finds the axes of posting in the kinematic tree of a machine description file: their directions,
/// pivots and limits, and whether they carry the tool or the workpiece. Transforms play no part:
/// positions are those of the axes' own attributes.
///
/// 1. An axis counts where an object "tool", "workpiece" or "werkstueck" stands below it, exactly
///    so spelled; other axes are ignored.
/// 2. X, Y and Z are the axes of these names, else those along the base vectors, else the one that
///    is left. From files above version 1.3 their directions are taken, turned round for an axis
///    that moves the workpiece; older ones give the base vectors.
/// 3. The order of two rotary axes doesn't depend on the order of the branches in the file. Both
///    on the workpiece: first the one next to it. One on each side: first the workpiece's. Both on
///    the tool: first the one next to the base, whose pivot is then given relative to the second's.
/// 4. With names given, the axes of these names are taken in the order of the names, whatever they
///    carry.
///
/// A machine of six axes never comes out.
class KANDREL_API zvXMLInputSurround {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  using Names = std::vector<std::wstring>;
  using MachDefPointer = misc::zvAutoPointer<post::zvMachDef>;

  /// Reads nothing yet. The names are X, Y, Z and the rotary axes, or none for the names of the
  /// file; the spindle direction counts with names alone, and is 0, 0, 1 without.
  zvXMLInputSurround(const std::wstring& xmlPath, Names axisNames, const Point& spindleDirection)
      : m_spindleDirection(spindleDirection),
        m_path(xmlPath),
        m_requestedNames(std::move(axisNames)) {}

  /// Both read the file at first, and keep what it gives; after a failure the next one reads anew.
  /// The names are those of X, Y and Z, then of the rotary axes: in the definition's order without
  /// names given, and with names in the order of the file. They throw zvPostException 5036 for two
  /// axes of one name, 5037 where one of X, Y and Z is missing, 5038 for more than three
  /// translation axes and for other than 3 to 6 names, 5040 for more than two rotary axes; and what
  /// kintree::zvV2XMLReader and the definition's class throw.
  MachDefPointer GetMachDef();
  const Names& GetAxisName();

  /// What the last reading has met, also where it has failed: all rotary and translation axes in
  /// the order of the file, where it has not failed and no names were given the first three of the
  /// latter by X, Y, Z; and the file's version, 0 before.
  const Names& GetRotAxisFound() const noexcept { return m_rotAxisFound; }
  const Names& GetTranAxisFound() const noexcept { return m_tranAxisFound; }
  float GetVersion() const noexcept { return m_version; }

  /// The machine that the last reading has found the axes in, with its objects and their meshes;
  /// null where it has failed, and before. Shared with whoever holds it.
  const misc::zvAutoPointer<kintree::zvKintreeMachDef>& GetMachine() const noexcept {
    return m_machine;
  }

 private:
  void Visit();

  Point m_spindleDirection;
  std::wstring m_path;
  MachDefPointer m_machDef;
  misc::zvAutoPointer<kintree::zvKintreeMachDef> m_machine;
  Names m_axisNames;
  bool m_visited = false;
  Names m_rotAxisFound;
  Names m_tranAxisFound;
  Names m_requestedNames;
  float m_version = 0;
};
