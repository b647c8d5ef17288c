// zvXMLOverwrite: writes limits and rotary geometry back into a machine description file.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/model/mach_def.h>

#include <string>
#include <vector>

/// Puts the numbers of a definition into the axes of a machine description file and leaves all
/// else: of X, Y and Z the limits, of rotary axes direction, pivot and limits. Geometry,
/// transforms, collision checks and colours stay; docs/machine-files.md says what writing changes
/// of any file.
///
/// The numbers are written as they are, deliberately: the first pivot of a machine with both axes
/// in the head, which zvMachDefReader has made relative to the second, is written so, and reading
/// and overwriting in turn moves it each time; numbers in inches go as they are into a metric file,
/// and the other way round. The third rotary axis of six takes the limits -100000 and 100000.
class KANDREL_API zvXMLOverwrite {
 public:
  using Names = std::vector<std::wstring>;
  using MachDefPointer = misc::zvAutoPointer<post::zvMachDef>;

  /// Reads and writes nothing yet. The definition's pointer is the caller's, is referred to and
  /// outlives the object and its copies; a temporary one is kept, also that of a pointer to a
  /// derived class. The names are those of X, Y, Z and the rotary axes in the file; for none they
  /// are X, Y, Z, and C, B, D as far as there are rotary axes. Throws zvPostException 5003 for
  /// another number of names than axes, "Accessing NULL pointer" for a null definition.
  zvXMLOverwrite(const std::wstring& xmlPath, const MachDefPointer& machDef, Names axisNames);
  zvXMLOverwrite(const std::wstring& xmlPath, MachDefPointer&& machDef, Names axisNames);

  /// Replaces the file when the new one is complete; until then, and when this throws, the old one
  /// stays. Throws zvPostException 5037 for a translation axis of another name, 5038 for a fourth;
  /// 5042 for a rotary axis of another name, or one that the definition lacks (of four axes the
  /// first one counts, whatever its name; of six axes those of other names take the direction 1,0,0
  /// and the widest limits), 5040 for a fourth, each with the axis in its cause; and what
  /// kintree::zvV2XMLReader and zvV2XMLWriter throw. All axes of the file count, also those that
  /// carry nothing.
  ///
  /// Tells kintree::SetMessageHook's hook, before anything is written, of a definition in other
  /// units than the file's, and of axes of the definition that the file lacks, whose numbers go
  /// nowhere; then what zvV2XMLWriter tells. A hook that throws keeps the file as it is.
  void Overwrite();

 private:
  void CheckNames();
  const MachDefPointer& MachDef() const { return m_referred != nullptr ? *m_referred : m_kept; }

  std::wstring m_path;
  const MachDefPointer* m_referred = nullptr;  // the caller's, or null where it is kept
  MachDefPointer m_kept;
  Names m_axisNames;
};
