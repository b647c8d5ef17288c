// zvBOCadcamTypes: writes toolpaths and tools, in the layout of today.
#pragma once

#include <kandrel/cadcam/cnc_move_visitor.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/misc/basic_types_writer.h>

namespace cadcam {

/// Writes what zvBICadcamTypes2 reads, in the layout of version 226. The stream's exceptions pass;
/// what was written until then stays. Throws zvmiscException 2157 for a number of things that
/// doesn't fit its count.
///
/// Not kept are extended point, vector and id of a zv5axMove that is not marked as having them.
class KANDREL_API zvBOCadcamTypes {
 public:
  /// The stream is the caller's and outlives the writer; `compact` as for misc::zvBOBasicTypes.
  explicit zvBOCadcamTypes(misc::zvBinOutputStream& stream, bool compact = false)
      : m_stream(stream), m_basic(stream, compact), m_compact(compact) {}

  /// Throws "Accessing NULL pointer" for a null in the tree, zvcadcamException 2639 for a section
  /// that is neither contour nor link and 2637 for a move of no class.
  void WriteToolPath(const zvToolPath& toolpath);
  /// Throws as zvBOTools does.
  void WriteTool(const zvTool& tool);

  /// Write the visited section, or move, by the record of its class. The writer of primitives
  /// outlives the visitor.
  class KANDREL_API zvBinTPSection : public zvTPSVisitor {
   public:
    /// The writer of primitives is the caller's and outlives this one.
    explicit zvBinTPSection(misc::zvBOBasicTypes& basic) : m_basic(basic) {}
    void Visit(const zvTPLink& link) override;
    void Visit(const zvTPContour& contour) override;
    void Visit(const zvTPSection& section) override;

   private:
    void WriteMoves(const zvTPSection& section);

    misc::zvBOBasicTypes& m_basic;
  };
  /// Writes a move by the record of its class, behind its tag.
  class KANDREL_API zvBinMove : public zvCNCMoveVisitor {
   public:
    /// The writer of primitives is the caller's and outlives this one.
    explicit zvBinMove(misc::zvBOBasicTypes& basic) : m_basic(basic) {}
    void Visit(const zv5axMove& move) override;
    void Visit(const zv3axMove& move) override;
    void Visit(const zvCNCMove& move) override;

   private:
    misc::zvBOBasicTypes& m_basic;
  };

 private:
  misc::zvBinOutputStream& m_stream;
  misc::zvBOBasicTypes m_basic;
  bool m_compact;
};

}  // namespace cadcam
