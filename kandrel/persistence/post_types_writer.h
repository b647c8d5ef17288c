// zvBOPostTypes: writes the records of postings, in the layout of today; zvPostedVisitorBinOutput.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/basic_types_writer.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/model/align_matrix.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/mach_def_builder.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posted_move_visitor.h>
#include <kandrel/post/model/posted_toolpath.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>

namespace post {

/// Writes what zvBIPostTypes reads, in the layout of version 226. Nothing is checked: a machine
/// that its own constructor would refuse can be written and not be read. The stream's exceptions
/// pass; what was written until then stays. Throws zvmiscException 2157 for a number of things and
/// 2578 for a text that is too long for its count.
///
/// Not kept are a move's reserved single, and the contact data of a move that is not marked as
/// having them.
class KANDREL_API zvBOPostTypes {
 public:
  using Point = cadcam::zvTPoint3d<double>;
  template <class Move>
  using ListPointer = misc::zvAutoPointer<misc::zvMemoryPoolList<Move>>;

  /// The stream is the caller's and outlives the writer; `compact` as for misc::zvBOBasicTypes.
  explicit zvBOPostTypes(misc::zvBinOutputStream& stream, bool compact = false)
      : m_basic(stream, compact) {}

  /// In the newest layout, as docs/formats has it.
  void Write(const zv5axControlDef& control);
  void Write(const zvKDRParam& parameters);
  /// Throws zvPostException 5043 where the number of axes is not that of the definition's class,
  /// 5031 where it is none, and 2503 for a definition of no class.
  void Write(const zvMachDef& machDef);
  /// Throws "Accessing NULL pointer" for a builder without a definition.
  void Write(const zvMachDefBuilder& builder);
  /// A move by the record of its class.
  void Write(const zvPosted6axMove& move);
  void Write(const zvPosted5axMove& move);
  void Write(const zvPosted4axMove& move);
  void Write(const zvPosted3axMove& move);
  /// Throw "Accessing NULL pointer" for a null list.
  void Write(const ListPointer<zvPosted6axMove>& list);
  void Write(const ListPointer<zvPosted5axMove>& list);
  void Write(const ListPointer<zvPosted4axMove>& list);
  void Write(const ListPointer<zvPosted3axMove>& list);
  /// The matrix, or a mark that there is none.
  void Write(const zvAlignMatrix& matrix);
  /// The class of the first move stands for all: a toolpath of mixed classes can't be read again.
  /// Throws "Accessing NULL pointer" for a null move and zvException 2183 for one of no class.
  void Write(const zvPostedTP& toolpath);

 private:
  template <class Move>
  void WriteMove(const Move& move);
  template <class Move>
  void WriteList(const ListPointer<Move>& list, zvMachDef::NumbersOfAxes moveClass);

  misc::zvBOBasicTypes m_basic;
};

/// Writes the visited move by the record of its class. The writer outlives the visitor. A move of
/// no class throws zvException 2183 "Abstract function called".
class KANDREL_API zvPostedVisitorBinOutput : public zvPostedVisitor {
 public:
  /// Writes through `writer`, which outlives it.
  explicit zvPostedVisitorBinOutput(zvBOPostTypes& writer) : m_writer(writer) {}

  void Visit(const zvPosted6axMove& move) override;
  void Visit(const zvPosted5axMove& move) override;
  void Visit(const zvPosted4axMove& move) override;
  void Visit(const zvPosted3axMove& move) override;
  void Visit(const zvPostedMove& move) override;

 private:
  zvBOPostTypes& m_writer;
};

}  // namespace post
