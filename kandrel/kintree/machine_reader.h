// zvMachDefReader: the posting machine of a machine description file and its settings file.
#pragma once

#include <kandrel/kintree/kintree_mach_def.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/model/mach_def_builder.h>

#include <string>
#include <vector>

/// Reads what posting needs of a machine description file, with the settings file beside it: the
/// file of the same name that ends in "kds". Where that is there, its kind says what it is for: 0,
/// nothing; 1, its axis names and spindle direction replace those of the machine file, if it has
/// names; any other, its machine stands by itself and the machine file is not opened. A folder of
/// that name is none; what else is there and can't be read ends the reading.
class KANDREL_API zvMachDefReader {
 public:
  /// Reads nothing yet. The path is taken in UTF-8, whatever the locale.
  explicit zvMachDefReader(const std::wstring& xmlPath) : m_path(xmlPath) {}

  /// Reads everything anew. The builder's kind is 0, 1, or as the settings file has it.
  ///
  /// Throws zvKandrelException 5300 "Wrong xml file passed to function zvMachDefReader::Read()."
  /// for a path that doesn't end in one of the letters x, m and l: all such letters at its end are
  /// what "kds" replaces, deliberately and whatever they spell. Throws what zvKDSInput and
  /// zvXMLInputSurround throw.
  post::zvMachDefBuilder Read();

  /// Which file the last Read was at when it ended: the one to blame for what it threw.
  const std::wstring& GetFileAtEnd() const noexcept { return m_fileAtEnd; }
  /// Of the last Read. Whether the settings file asks for it, or the machine file is above version
  /// 1.3.
  bool ActivateSpindleRotation() const noexcept { return m_activateSpindleRotation; }
  /// See zvXMLInputSurround; empty where the machine file wasn't opened.
  const std::vector<std::wstring>& GetRotAxisFound() const noexcept { return m_rotAxisFound; }
  const std::vector<std::wstring>& GetTranAxisFound() const noexcept { return m_tranAxisFound; }
  /// Of the last Read: the machine file's objects with their meshes, for whoever shows them; null
  /// where the machine file wasn't opened, or the reading failed. Shared with whoever holds it.
  const misc::zvAutoPointer<kintree::zvKintreeMachDef>& GetMachine() const noexcept {
    return m_machine;
  }

 private:
  std::wstring m_path;
  std::wstring m_fileAtEnd;
  std::vector<std::wstring> m_rotAxisFound;
  std::vector<std::wstring> m_tranAxisFound;
  misc::zvAutoPointer<kintree::zvKintreeMachDef> m_machine;
  bool m_activateSpindleRotation = false;
};
