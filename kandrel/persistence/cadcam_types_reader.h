// zvBICadcamTypes, zvBICadcamTypes1, zvBICadcamTypes2: read toolpaths, in every version, and tools.
#pragma once

#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/persistence/helper_reader.h>
#include <kandrel/persistence/versions.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace cadcam {

/// Reads moves, and toolpaths from before version 32, when they were one run of moves.
///
/// The three classes are a chain: each overrides what a later version laid out anew, and hands
/// older files to the one below. zvBICadcamTypes2 is the one to construct.
///
/// 1. After a failure a toolpath, pass or slice holds what was read until then, but for the section
///    in which it ended; a move is as it was. The stream is of no use any more.
/// 2. Besides what each operation names, all throw zvmiscException 2018 where the stream ends too
///    early and 2157 for a size of 64 bits from 2^31 on, and let the stream's own exceptions pass.
/// 3. Memory grows with what is there, never with a count that the file promises: four bytes can be
///    an empty pass, which takes some hundred.
class KANDREL_API zvBICadcamTypes {
 public:
  using Point = zvTPoint3d<double>;
  using Units = measures::zvUnitsFactory::Units;

  zvBICadcamTypes(const zvBICadcamTypes&) = delete;
  zvBICadcamTypes& operator=(const zvBICadcamTypes&) = delete;
  virtual ~zvBICadcamTypes();

  /// The first and the last version whose records it reads.
  static constexpr std::uint32_t GetLowerKnownBinVersion() noexcept {
    return persistence::kLowestRecordVersion;
  }
  virtual std::uint32_t GetUpperKnownBinVersion() const noexcept;
  /// Throws zvmeasuresException 2141 for other units than metric and inch.
  virtual void ReadUnits(Units& value);
  /// A move of this class. Throws as the reading of any move does.
  virtual void ReadMove(zv5axMove& move);
  virtual void ReadMove(zv3axMove& move);
  /// A move of the class that its tag names. Throws zvcadcamException 2637 for a tag of none.
  virtual void ReadMove(zvMovePointer& move);
  /// Adds the moves to the toolpath one by one, and sets its units where the file has them, without
  /// converting anything.
  virtual void ReadToolPath(zvToolPath& toolpath);

  /// Reads a tool by a zvBITools over the same stream. A record from before version 25 holds no
  /// units and takes `units`; zvcadcamException 2139 is thrown where these are none.
  void ReadTool(misc::zvAutoPointer<zvTool>& tool, const std::optional<Units>& units);

 protected:
  /// Stream and `lostData` are the caller's and outlive the reader; nothing is noted at present,
  /// and `lostData` may be null. Throws zvcadcamException 2027 for a version outside 3 to 226.
  zvBICadcamTypes(misc::zvBinInputStream& stream, std::uint32_t version, bool compact,
                  std::vector<misc::zvBILostData>* lostData, bool wideStrings, bool sizes64);

  /// Whether the records are of this version or a later one.
  bool Since(std::uint32_t version) const noexcept { return m_version >= version; }
  /// A number of things that follow, and the tag of a class. Throw as the reader of primitives
  /// does.
  std::uint32_t ReadCount();
  std::int32_t ReadTag();
  /// Appends moves to a section, or to any level above.
  template <class Container>
  void ReadMoves(Container& container);

 private:
  void ReadCommonFields(zvCNCMove& move);
  void ReadFields(zv5axMove& read);
  void ReadFields(zv3axMove& read);

  misc::zvBinInputStream& m_stream;
  misc::zvBIBasicTypes m_basic;
  zvBIHelper m_helper;
  std::uint32_t m_version;
  bool m_compact;
  std::vector<misc::zvBILostData>* m_lostData;
  bool m_wideStrings;
  bool m_sizes64;
};

/// Reads the tree of a toolpath, as it is stored since version 32.
class KANDREL_API zvBICadcamTypes1 : public zvBICadcamTypes {
 public:
  using zvBICadcamTypes::ReadToolPath;

  void ReadToolPath(zvToolPath& toolpath) override;
  /// A level of the tree: it is added to what is there. Throw as ReadSection does.
  virtual void ReadPass(zvTPPass& pass);
  virtual void ReadSlice(zvTPSlice& slice);
  /// Throws zvcadcamException 2639 for a tag that is neither contour nor link. A link's type is
  /// taken as it stands.
  virtual void ReadSection(misc::zvAutoPointer<zvTPSection>& section);
  /// The moves of a section whose tag has been read; since version 72 the type of a link behind
  /// them.
  virtual void ReadContour(zvTPContour& contour);
  virtual void ReadLink(zvTPLink& link);

 protected:
  using zvBICadcamTypes::zvBICadcamTypes;
};

/// Reads the type of a link, which is stored since version 72.
class KANDREL_API zvBICadcamTypes2 : public zvBICadcamTypes1 {
 public:
  /// As the class above both: `lostData` may be null, and all that is given outlives the reader.
  zvBICadcamTypes2(misc::zvBinInputStream& stream, std::uint32_t version, bool compact,
                   std::vector<misc::zvBILostData>* lostData, bool wideStrings, bool sizes64)
      : zvBICadcamTypes1(stream, version, compact, lostData, wideStrings, sizes64) {}

  void ReadLink(zvTPLink& link) override;
};

}  // namespace cadcam
