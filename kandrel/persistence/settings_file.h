// zvKDSInput, zvKDSOutput: the settings file, which keeps a machine with its axis names.
#pragma once

#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/byte_streams.h>
#include <kandrel/post/model/mach_def_builder.h>

#include <string>
#include <vector>

/// Reads a settings file: the tag "KDS ", the version and its flags, then the builder.
///
/// Axis names beyond those of the machine's axes are dropped: 5, 4, 3 stay for five, four and three
/// axes; a 6-axis machine keeps all. Names that are missing are not made up.
class KANDREL_API zvKDSInput {
 public:
  /// Reads from where the stream stands, which may be anywhere afterwards when this throws:
  /// zvKandrelException 2019 for another tag, zvcadcamException 2027 for a version outside 3 to
  /// 226, zvmiscException 2018 for an end that comes too early and 2157 for the length of a name
  /// that doesn't fit, and what reading and building the machine throw
  /// (post::zvBIPostTypes::ReadMachDef).
  explicit zvKDSInput(misc::zvBinInputStream& stream);
  /// Reads a file. Throws also as misc::zvIFStream does, and zvmiscException 2148 in place of 2018.
  explicit zvKDSInput(const std::wstring& path);

  /// What the file says of the machine.
  const post::zvMachDefBuilder& GetMachDefBld() const noexcept { return m_builder; }
  /// What had to be changed on the way: post::zvBIPostTypes::ReadMachDef.
  const std::vector<misc::zvBILostData>& GetLostData() const noexcept { return m_lostData; }
  /// Whether the file is of version 212 or above; nothing else in it decides this.
  bool ActivateSpindleRotation() const noexcept { return m_activateSpindleRotation; }

 private:
  void Deserialize(misc::zvBinInputStream& stream);

  post::zvMachDefBuilder m_builder;
  std::vector<misc::zvBILostData> m_lostData;
  bool m_activateSpindleRotation = false;
};

/// Writes a settings file of version 226; the constructors do all the work. The builder's kind says
/// what the file is for: 0, the default, and 1 beside a machine description file, 2 where it stands
/// by itself. Nothing is checked but what post::zvBOPostTypes::Write checks of the machine: a
/// definition that its own constructor would refuse is written, and refused by zvKDSInput.
class KANDREL_API zvKDSOutput {
 public:
  /// Throws "Accessing NULL pointer" for a builder without a definition, when the header has gone
  /// out: deliberate, as for all that fails in the middle. The stream's exceptions pass, and those
  /// of post::zvBOPostTypes::Write.
  zvKDSOutput(misc::zvBinOutputStream& stream, const post::zvMachDefBuilder& builder);
  /// Writes a file anew, from its first byte: one that was there is gone, also when this fails in
  /// the middle. Throws also as misc::zvOFStream does, and zvmiscException 2149 where the file
  /// can't be written to its end.
  zvKDSOutput(const std::wstring& path, const post::zvMachDefBuilder& builder);

 private:
  static void Serialize(misc::zvBinOutputStream& stream, const post::zvMachDefBuilder& builder);
};
