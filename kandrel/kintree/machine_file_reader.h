// zvV2XMLReader: reads machine description files.
#pragma once

#include <kandrel/kintree/kintree_mach_def.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/units_factory.h>

#include <string>

namespace kintree {

/// Reads one machine description file: XML, in which axes, transforms and geometry are nested as
/// they carry each other. docs/machine-files.md has every element, attribute and default.
///
/// Files that the machine names are found from the machine file's folder. STL files and toolpath
/// texts that aren't there, or are no regular files, give empty meshes and toolpaths; preprocessors
/// must be there. What the reader tells the user while it goes on reaches kintree::SetMessageHook:
/// transforms that are none, and STL files that aren't there.
///
/// Both ways of reading throw
/// - zvException, id 0, "Xml file not found." for what can't be read or is no XML, with the reason
///   as its cause: see docs/machine-files.md for its bounds;
/// - zvKintreeMachDefSemanticException 100 "The machine has no specified units" where
///   `machine_data` names none and there is no default, and zvException 2141 "Unknown Units" for
///   other ones;
/// - zvKintreeMachDefSemanticException 0 for a preprocessor without instance or file name, and
///   zvException, id 0, "Preprocessor source code file not found";
/// - zvmiscException 2579 for a version that is no number;
/// - zvKintreeMachDefSemanticException 0 for whatever fails within `axis`, `transform`, `geometry`,
///   `base` or `collcheck`, once for each of them that the failure is nested in: the text of the
///   failure stands in it, with a blank behind, and the failure is its cause. Such are 2579, whose
///   own cause is the attribute, 2189 of a direction without length, zvMachineSimulatorException
///   for identifiers that are there twice or not at all, the errors of STL files, "Unknown objtype"
///   and "Cannot determine geometry type ";
/// - zvMachineSimulatorException kDuplicateIdentifier where a toolpath has to be added
///   (zvXMLVersion1_3Validator) and its name is taken.
///
/// Linear in the file, but for the look-up of names.
class KANDREL_API zvV2XMLReader {
 public:
  using Machine = misc::zvAutoPointer<zvKintreeMachDef>;
  using DefaultUnits = misc::zvAutoPointer<measures::zvUnitsFactory::Units>;

  /// Reads nothing yet. The path is taken in UTF-8, whatever the locale.
  explicit zvV2XMLReader(const std::wstring& path);

  /// Reads the file. The units are those of a file that names none; null for no default.
  Machine Read(const DefaultUnits& units) const;

  /// The same of bytes in memory, as if they stood in the file; that need not exist.
  Machine ReadBytes(std::string bytes, const DefaultUnits& units) const;

 private:
  std::wstring m_path;
};

}  // namespace kintree
