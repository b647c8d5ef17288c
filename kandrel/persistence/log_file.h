// zvKDROutput, zvKDRInput: the log of a posting: set-up, tool, toolpath and posted moves.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/byte_streams.h>
#include <kandrel/misc/export.h>
#include <kandrel/persistence/log_setup.h>
#include <kandrel/post/creators/posted_tp_creator.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/model/posted_toolpath.h>

#include <string>
#include <vector>

/// Writes a log; the constructors do all the work, and what fails in the middle leaves what was
/// written until then.
///
/// All throw what the writers of the records do: zvBOKDRParams, cadcam::zvBOCadcamTypes,
/// post::zvBOPostTypes. The path forms write a file anew, from its first byte: one that was there
/// is gone, also when this fails in the middle.
class KANDREL_API zvKDROutput {
 public:
  using CreatorPointer = misc::zvAutoPointer<zvPostedTPCreator>;

  /// The posted moves are those of the creator's list, with its alignment matrix for 3 and 4 axes.
  /// Throw also "Accessing NULL pointer" for a null creator and, when the toolpath has gone out,
  /// for one that has not posted; zvPostException 2503 for a creator of instance type 0. The second
  /// writes a zlib container, and throws as pack::zvCompressedOutputFileStream.
  zvKDROutput(misc::zvBinOutputStream& stream, const CreatorPointer& creator,
              const cadcam::zvToolPath& toolpath, const cadcam::zvTool& tool);
  zvKDROutput(const std::wstring& path, const CreatorPointer& creator,
              const cadcam::zvToolPath& toolpath, const cadcam::zvTool& tool);
  /// The posted moves are those of `posted`, with its alignment matrix. A posting without a move on
  /// a machine of 3, 4 or 6 axes is written as one of 5 axes, which zvKDRInput refuses: deliberate,
  /// a file of this kind takes its class from the first move. The second writes plain bytes, and
  /// throws also as misc::zvOFStream, and zvmiscException 2149 for a file that can't be written to
  /// its end.
  zvKDROutput(misc::zvBinOutputStream& stream, const zvKDR5AxBase& base,
              const cadcam::zvToolPath& toolpath, const post::zvPostedTP& posted,
              const cadcam::zvTool& tool);
  zvKDROutput(const std::wstring& path, const zvKDR5AxBase& base,
              const cadcam::zvToolPath& toolpath, const post::zvPostedTP& posted,
              const cadcam::zvTool& tool);

 private:
  static void Write(misc::zvBinOutputStream& stream, const CreatorPointer& creator,
                    const cadcam::zvToolPath& toolpath, const cadcam::zvTool& tool);
  static void Write(misc::zvBinOutputStream& stream, const zvKDR5AxBase& base,
                    const cadcam::zvToolPath& toolpath, const post::zvPostedTP& posted,
                    const cadcam::zvTool& tool);
};

/// Reads a log of version 11 to 226, in whichever of the two ways it was written. What it hands out
/// lives on without it: a creator and a façade keep alive what they refer to.
class KANDREL_API zvKDRInput {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  using CreatorPointer = misc::zvAutoPointer<zvPostedTPCreator>;

  /// Throws zvKandrelException 2019 for another tag and 2027 for another version, and what the
  /// readers of the records do: zvBIKDRParams, cadcam::zvBICadcamTypes2, post::zvBIPostTypes, and
  /// of the tool, whose own checks run, its class. A list of another class than the machine's is
  /// zvcadcamException 2027.
  explicit zvKDRInput(misc::zvBinInputStream& stream);
  /// Reads a file, plain or in either container. Throws also as IsFileCompress, misc::zvIFStream
  /// and pack::zvCompressedInputFileStream do, and zvmiscException 2148 for a plain file that ends
  /// too early.
  explicit zvKDRInput(const std::wstring& path);

  /// Whether a file is one of the two containers: false where opening it as one and reading four
  /// bytes ends in "Magic error!", as it does for plain files of nine bytes and more. Any other
  /// failure passes, also of shorter files.
  static bool IsFileCompress(const std::wstring& path);

  /// What had to be changed on the way; what concerns the machine comes first.
  const std::vector<misc::zvBILostData>& GetLostData() const noexcept { return m_lostData; }
  /// What the log holds; lengths in the machine's and the toolpath's units. Pointers are shared
  /// with this object.
  cadcam::zvToolPath& GetToolPath() { return *m_toolpath; }
  const misc::zvAutoPointer<cadcam::zvToolPath>& GetToolPathPtr() const noexcept {
    return m_toolpath;
  }
  const misc::zvAutoPointer<cadcam::zvTool>& GetTool() const noexcept { return m_tool; }
  const misc::zvAutoPointer<post::zvMachDef>& GetMachDef() const { return m_params->GetMachDef(); }
  const post::zv5axControlDef& GetControlDef() const { return m_params->Get5AxControlDef(); }
  const misc::zvAutoPointer<post::zvKDRParam>& GetKDRParam() const {
    return m_params->GetKDRParam();
  }
  const Point& GetPartOrigin() const { return m_params->GetPartOrigin(); }
  double GetToolLengthCompensation() const { return m_params->GetToolLengthCompensation(); }
  std::uint32_t GetVersion() const { return m_params->GetVersion(); }

  /// The creator of the machine's class, with the posted list and, of 3 and 4 axes, the alignment
  /// matrix. A log without posted moves leaves it without a list.
  CreatorPointer GetPostedTPCreator() const { return m_creator; }
  /// Appends a copy of each move of the creator's list to a posted toolpath and returns it,
  /// whatever the class of the moves. A second call appends them once more: deliberate, as is the
  /// name.
  const post::zvPostedTP& GetPosted5axTP();
  /// A façade for the set-up of the log.
  zvKDR5AxBase refKDR5AxBase() { return m_params->MakeBase(); }
  zvKDR5AxBase ctrefKDR5AxBase() const { return m_params->MakeBase(); }

 private:
  void Read(misc::zvBinInputStream& stream);

  // Declared before the creator, which refers to what it holds.
  misc::zvAutoPointer<zvBIKDRParams> m_params;
  misc::zvAutoPointer<cadcam::zvToolPath> m_toolpath;
  post::zvPostedTP m_posted;
  misc::zvAutoPointer<cadcam::zvTool> m_tool;
  std::vector<misc::zvBILostData> m_lostData;
  CreatorPointer m_creator;
};
