// zvMachDefBuilder: a machine definition with the names of its axes.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/model/mach_def.h>

#include <string>
#include <vector>

namespace post {

/// Carries a definition through the system. It owns its definition alone: what is put in is cloned,
/// and a copy clones again. Copying from an empty builder throws "Accessing NULL pointer" and
/// leaves the target as it was; moving hands the definition on, also where there is none.
class KANDREL_API zvMachDefBuilder {
 public:
  /// Kind 0, no names, no definition.
  zvMachDefBuilder() = default;
  /// A copy has a clone of the definition.
  zvMachDefBuilder(const zvMachDefBuilder& other);
  zvMachDefBuilder(zvMachDefBuilder&& other) noexcept = default;
  zvMachDefBuilder& operator=(const zvMachDefBuilder& other);
  zvMachDefBuilder& operator=(zvMachDefBuilder&& other) noexcept;
  ~zvMachDefBuilder() = default;

  /// Stores a clone. Throws "Accessing NULL pointer" for a null pointer and changes nothing then.
  void SetMachDef(const misc::zvAutoPointer<zvMachDef>& machDef);
  /// The definition stored, null where there is none.
  const misc::zvAutoPointer<zvMachDef>& GetMachDef() const noexcept { return m_machDef; }
  /// In the order X, Y, Z, then the rotary axes. Not checked.
  void SetAxisNames(const std::vector<std::wstring>& names) { m_axisNames = names; }
  const std::vector<std::wstring>& GetAxisNames() const noexcept { return m_axisNames; }
  /// 0: names and definition come from the machine file alone. 1: names and spindle direction were
  /// fixed by the settings file, the geometry comes from the machine file. Any other: the settings
  /// file's definition stands by itself.
  void SetKind(int kind) noexcept { m_kind = kind; }
  int GetKind() const noexcept { return m_kind; }

 private:
  int m_kind = 0;
  std::vector<std::wstring> m_axisNames;
  misc::zvAutoPointer<zvMachDef> m_machDef;
};

}  // namespace post
