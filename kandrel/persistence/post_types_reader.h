// zvBIPostTypes: reads the records of postings, in every version; zvPostedVisitorBinInput.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/persistence/helper_reader.h>
#include <kandrel/persistence/versions.h>
#include <kandrel/post/model/align_matrix.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/mach_def_builder.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posted_move_visitor.h>
#include <kandrel/post/model/posted_toolpath.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>
#include <vector>

namespace post {

/// Reads machines, controls, parameters, posted moves and their lists as a file of the given
/// version stores them: a field that came with a later version is not read and takes its default.
///
/// What zvBOPostTypes writes is read by (stream, persistence::kCurrentVersion, false, &notes, true,
/// false). Records have no header: whoever keeps them longer than the program writes one in front
/// (persistence::WriteHeader), and reads with what ReadHeader gives.
///
/// 1. Enumerations hold whatever the file brings, but for the ones that say so.
/// 2. After a failure lists, posted toolpaths and builders hold what was read until then; any other
///    target is as it was. The stream is of no use any more.
/// 3. Besides what each operation names, all throw zvmiscException 2018 where the stream ends too
///    early and 2157 for a size of 64 bits from 2^31 on, and let the stream's own exceptions pass.
/// 4. Memory grows with what is there, never with a count that the file promises.
class KANDREL_API zvBIPostTypes {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  using Units = measures::zvUnitsFactory::Units;
  template <class Move>
  using ListPointer = misc::zvAutoPointer<misc::zvMemoryPoolList<Move>>;

  /// Stream and `lostData` are the caller's and outlive the reader; notes are dropped where
  /// `lostData` is null. `wideStrings` and `sizes64` stand in the file's header; `compact` no file
  /// says. Throws zvcadcamException 2027 for a version outside 3 to 226.
  zvBIPostTypes(misc::zvBinInputStream& stream, std::uint32_t version, bool compact,
                std::vector<misc::zvBILostData>* lostData, bool wideStrings, bool sizes64);
  zvBIPostTypes(const zvBIPostTypes&) = delete;
  zvBIPostTypes& operator=(const zvBIPostTypes&) = delete;

  /// The first and the last version whose records it reads.
  static constexpr std::uint32_t GetLowerKnownBinVersion() noexcept {
    return persistence::kLowestRecordVersion;
  }
  virtual std::uint32_t GetUpperKnownBinVersion() const noexcept;
  /// Throws zvmeasuresException 2141 for other units than metric and inch.
  virtual void ReadUnits(Units& value);
  /// Single fields of records. What the reader of primitives throws passes.
  virtual void ReadVector(Point& value);
  virtual void ReadInterpolationMode(std::int32_t& value);
  virtual void ReadLimitsCheck(zvKDRParam::LimitsCheck& value);
  virtual void ReadPoleHandling(zvKDRParam::PoleHandling& value);
  virtual void ReadFirstMoveSolutionIndex(zvKDRParam::SolutionIndex& value);
  virtual void ReadFirstMoveRule(zvKDRParam::FirstMoveRule& value);
  /// Throws zvPostException 5009 for a pole angle tolerance outside 0.001 to 10, and
  /// zvmeasuresException 2141 for unknown units; the target is left as it was then.
  virtual void ReadParameters(zvKDRParam& parameters);
  /// A number of 32 bits, or 16 in a compact stream.
  virtual void ReadInt(std::int32_t& value);
  /// Throws zvcadcamException 2708 for a limit that is none of the three.
  virtual void ReadControl(zv5axControlDef& control);
  /// Single fields of the records of machines and builders. What the reader of primitives throws
  /// passes.
  virtual void ReadNumbersOfAxes(zvMachDef::NumbersOfAxes& value);
  virtual void ReadRotaryOnWorkpiece(std::int32_t& value);
  virtual void ReadFiveAxisKind(std::int32_t& value);
  virtual void ReadFirstOnWorkpiece(std::int32_t& value);
  virtual void ReadSecondOnWorkpiece(std::int32_t& value);
  virtual void ReadThirdOnWorkpiece(std::int32_t& value);
  /// A builder with its definition. Throws as ReadMachDef.
  virtual void ReadBuilder(zvMachDefBuilder& builder);
  /// A definition of the class that the file names, made by its full constructor, whose exceptions
  /// pass. Throws zvmeasuresException 2141 for unknown units. A number of axes that is not 0 to 3
  /// ends in zvPostException 5024.
  ///
  /// A 5-axis machine whose second axis is parallel to the spindle, which the constructor would
  /// refuse, is mended and the mending noted: the two directions change places where the first is
  /// not parallel (note 5); else the second is replaced by one at right angles (note 6), which
  /// throws zvcadcamException 2189 where it is zero. Pivots and limits stay where they are.
  virtual void ReadMachDef(misc::zvAutoPointer<zvMachDef>& machDef);
  /// The code of a class of posted moves: 0 for 3 axes to 3 for 6 axes. Not checked.
  virtual void ReadMoveClass(std::int32_t& value);
  /// Throws zvcadcamException 2708 for a type that is not 0 to 6.
  virtual void ReadMoveType(zvPostedMove::Types& value);
  /// Throw zvcadcamException 2637 for a status that is not 0 to 2.
  virtual void Read5axPoleStatus(std::uint32_t& value);
  virtual void Read6axPoleStatus(std::uint32_t& value);
  /// Records of moves; throw as ReadMoveType and the reading of the pole status do. A small 6-axis
  /// move as the writer leaves it can't be read, for it lacks its type: deliberate, the layout of a
  /// version that is in use doesn't change.
  virtual void ReadMove(zvPosted6axMove& move);
  virtual void ReadMove(zvPosted5axMove& move);
  virtual void ReadMove(zvPosted4axMove& move);
  virtual void ReadMove(zvPosted3axMove& move);
  /// Null where there is none, and below version 181.
  virtual void ReadAlignMatrix(zvAlignMatrix& matrix);
  /// Append the moves of a list. Throw zvPostException 5047 for a null pointer, zvcadcamException
  /// 2027 for a list of another class, and for one of a version below 119 but with 5 axes.
  virtual void ReadList(const ListPointer<zvPosted6axMove>& list);
  virtual void ReadList(const ListPointer<zvPosted5axMove>& list);
  virtual void ReadList(const ListPointer<zvPosted4axMove>& list);
  virtual void ReadList(const ListPointer<zvPosted3axMove>& list);
  /// Appends the moves and sets the alignment matrix, to null where the file has none.
  virtual void ReadPostedTP(zvPostedTP& toolpath);

  virtual ~zvBIPostTypes();

 private:
  struct RotaryFields;

  bool Since(std::uint32_t version) const noexcept { return m_version >= version; }
  bool ReadBool();
  double ReadDouble();
  Point ReadPoint();
  template <class Enumeration>
  void ReadEnum8(Enumeration& value);
  void ReadPoleStatus(std::uint32_t& value);
  void ReadAngleLimit(zv5axControlDef::angleLimit& value);
  void ReadRotaryFields(zvMachDef::NumbersOfAxes numbersOfAxes, RotaryFields& fields);
  void Repair(RotaryFields& fields) const;
  void ReadOwnFields(zvPosted6axMove& move);
  void ReadOwnFields(zvPosted5axMove& move);
  void ReadOwnFields(zvPosted4axMove& move);
  void ReadOwnFields(zvPosted3axMove& /*move*/) {}
  template <class Move>
  void ReadRecord(Move& move);
  void ReadExtended(zvPostedMove& move);
  template <class Move>
  void ReadListOf(const ListPointer<Move>& list, zvMachDef::NumbersOfAxes moveClass);
  template <class Move>
  void AppendMoves(zvPostedTP& toolpath, std::uint32_t count);

  misc::zvBIBasicTypes m_basic;
  cadcam::zvBIHelper m_helper;
  std::uint32_t m_version;
  std::vector<misc::zvBILostData>* m_lostData;
};

/// Reads a move of the visited move's class, of which nothing else is looked at, and leaves it on
/// the heap in a pointer of the caller's. Reader and pointer outlive the visitor. A move of no
/// class throws zvPostException 2503.
class KANDREL_API zvPostedVisitorBinInput : public zvPostedVisitor {
 public:
  /// Reads through `reader` into `move`; both outlive it.
  zvPostedVisitorBinInput(zvBIPostTypes& reader, zvPostedTP::MovePointer& move)
      : m_reader(reader), m_move(move) {}

  void Visit(const zvPosted6axMove& move) override;
  void Visit(const zvPosted5axMove& move) override;
  void Visit(const zvPosted4axMove& move) override;
  void Visit(const zvPosted3axMove& move) override;
  void Visit(const zvPostedMove& move) override;

 private:
  template <class Move>
  void Read();

  zvBIPostTypes& m_reader;
  zvPostedTP::MovePointer& m_move;
};

}  // namespace post
