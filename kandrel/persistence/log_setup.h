// zvBIKDRParams, zvBOKDRParams: the set-up of a posting, with which logs begin.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/basic_types_writer.h>
#include <kandrel/persistence/post_types_reader.h>
#include <kandrel/persistence/post_types_writer.h>
#include <kandrel/post/creators/posted_tp_creator.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>
#include <vector>

/// Writes machine, control, part origin, tool length and parameters, in the layout of version 226.
class KANDREL_API zvBOKDRParams {
 public:
  /// The stream is the caller's and outlives the writer; `compact` as for misc::zvBOBasicTypes.
  zvBOKDRParams(misc::zvBinOutputStream& stream, bool compact);
  virtual ~zvBOKDRParams();
  zvBOKDRParams(const zvBOKDRParams&) = delete;
  zvBOKDRParams& operator=(const zvBOKDRParams&) = delete;

  /// Throw what post::zvBOPostTypes::Write throws for the machine; the first also "Accessing NULL
  /// pointer" for a null creator. A creator's machine has directions of unit length.
  virtual zvBOKDRParams& operator<<(const misc::zvAutoPointer<zvPostedTPCreator>& creator);
  virtual zvBOKDRParams& operator<<(const zvKDR5AxBase& base);

 private:
  template <class Source>
  void Write(const post::zvMachDef& machDef, const Source& source);

  misc::zvBOBasicTypes m_basic;
  post::zvBOPostTypes m_post;
};

/// Reads what zvBOKDRParams writes, in every version from 11 on.
class KANDREL_API zvBIKDRParams {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// The stream is the caller's and outlives the reader. The notes given are copied, and those of
  /// the reading join the copy; `wideStrings` and `sizes64` stand in the file's header. Throws
  /// zvKandrelException 2027 for a version outside 11 to 226.
  zvBIKDRParams(misc::zvBinInputStream& stream, std::uint32_t version, bool compact,
                std::vector<misc::zvBILostData> lostData, bool wideStrings, bool sizes64);
  virtual ~zvBIKDRParams();
  zvBIKDRParams(const zvBIKDRParams&) = delete;
  zvBIKDRParams& operator=(const zvBIKDRParams&) = delete;

  /// The first and the last version of logs that it reads.
  static constexpr std::uint32_t GetLowerKnownBinVersion() noexcept {
    return persistence::kLowestLogVersion;
  }
  virtual std::uint32_t GetUpperKnownBinVersion() const noexcept;
  /// Throws as the constructor.
  void CheckVersion(std::uint32_t version) const;

  /// Read a set-up and make a façade, or the creator of the machine's class, of it. What they refer
  /// to lives as long as they and their copies do, also without this reader. Throw what
  /// post::zvBIPostTypes and the constructors throw; nothing but notes is changed then.
  virtual zvBIKDRParams& operator>>(misc::zvAutoPointer<zvKDR5AxBase>& base);
  virtual zvBIKDRParams& operator>>(misc::zvAutoPointer<zvPostedTPCreator>& creator);

  /// What was read last. Machine and parameters are null, all else as its class makes it, before.
  const misc::zvAutoPointer<post::zvMachDef>& GetMachDef() const noexcept {
    return m_setup->machDef;
  }
  const post::zv5axControlDef& Get5AxControlDef() const noexcept { return m_setup->control; }
  const misc::zvAutoPointer<post::zvKDRParam>& GetKDRParam() const noexcept { return m_setup->par; }
  const Point& GetPartOrigin() const noexcept { return m_setup->partOrigin; }
  double GetToolLengthCompensation() const noexcept { return m_setup->toolLengthCompensation; }
  std::uint32_t GetVersion() const noexcept { return m_version; }
  /// The notes that were given, and what had to be changed on the way.
  const std::vector<misc::zvBILostData>& GetLostData() const noexcept { return m_lostData; }

  /// A façade for what was read last, which it keeps alive. Throws "Accessing NULL pointer" before
  /// anything was read.
  zvKDR5AxBase MakeBase() const;

 private:
  // What creators and façades refer to.
  struct Setup final : post::zvSetupOwner {
    misc::zvAutoPointer<post::zvMachDef> machDef;
    post::zv5axControlDef control;
    Point partOrigin;
    double toolLengthCompensation = 0;
    misc::zvAutoPointer<post::zvKDRParam> par;
  };
  using SetupPointer = misc::zvAutoPointer<Setup>;

  SetupPointer Read();
  static zvKDR5AxBase MakeBase(const SetupPointer& setup);
  static misc::zvAutoPointer<zvPostedTPCreator> MakeCreator(const SetupPointer& setup);

  misc::zvBIBasicTypes m_basic;
  std::uint32_t m_version;
  std::vector<misc::zvBILostData> m_lostData;
  post::zvBIPostTypes m_post;
  SetupPointer m_setup;
};
