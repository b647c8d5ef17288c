// zvV2XMLWriter: writes machine description files.
#pragma once

#include <kandrel/kintree/kintree_mach_def.h>
#include <kandrel/misc/export.h>

#include <string>

namespace kintree {

namespace detail {
class DiscreteValueValidatorWriter;
}  // namespace detail

/// Writes a machine as the file that zvV2XMLReader reads. docs/machine-files.md says what becomes
/// other than it was read.
class KANDREL_API zvV2XMLWriter {
 public:
  /// Writes what an axis's validator is like into the axis's element.
  using zvDiscreteValueValidatorWriter = detail::DiscreteValueValidatorWriter;

  /// The machine outlives the object. The path is taken in UTF-8, whatever the locale.
  zvV2XMLWriter(const zvKintreeMachDef& machine, const std::wstring& path);

  /// Writes the file, which takes its place when it is complete and keeps the permissions of one
  /// that was there: until then, and when this throws, that one stays. Before, the machine's files
  /// are copied to the folder of the file, and the meshes of geometry, workpieces and stock with
  /// triangles are written there, all under the last part of their names; one that was there
  /// already stays as it is, and a source that isn't there is left out and told to the hook. A mesh
  /// that has changed since it was read takes the place of the copy of its file. Where what stays
  /// is not what the machine has, be it the file of another machine or of another folder,
  /// kintree::SetMessageHook's hook is told of each file of the machine and each mesh; a hook that
  /// throws ends the writing in front of the machine file, and what was brought by then stays. To
  /// know that, files and meshes are compared whole.
  ///
  /// Throws zvmiscException 2579 for a number that is not finite; zvException, id 0, "Unknown
  /// discrete value validator visited", "Undefined implementation of collision group type! ",
  /// "Cannot visit abstract class" for an object of another class, and one for objects deeper below
  /// each other than files may have them, or with a quote in a collision check; all before anything
  /// is written. Throws zvFileAccessException, with the cause, for a file that can't be read or
  /// written: meshes and copies that were complete by then stay.
  void Write() const;

  /// What Write would write into the file; throws as it does before it writes anything.
  std::string GetBytes() const;

 private:
  const zvKintreeMachDef& m_machine;
  std::wstring m_path;
};

}  // namespace kintree
