// zvBOTools: writes tools, in the layout of today.
#pragma once

#include <kandrel/cadcam/tools/solid_definition.h>
#include <kandrel/cadcam/tools/solid_visitor.h>
#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/cadcam/tools/tool_part.h>
#include <kandrel/cadcam/tools/tool_visitor.h>
#include <kandrel/misc/basic_types_writer.h>
#include <kandrel/misc/export.h>

namespace cadcam {

/// Writes what zvBITools reads, in the layout of version 226. Nothing is checked: a default tool
/// that its own constructor would refuse can be written and not be read. The stream's exceptions
/// pass; what was written until then stays.
///
/// Not kept is the part of a zvLatheTool in the place of the arbor: deliberate, its record has no
/// room for it.
class KANDREL_API zvBOTools {
 public:
  /// The stream is the caller's and outlives the writer; `compact` as for misc::zvBOBasicTypes.
  zvBOTools(misc::zvBinOutputStream& stream, bool compact) : m_basic(stream, compact) {}

  /// Throws "Accessing NULL pointer" for a part without a solid.
  void Write(const zvTool& tool);
  /// Throws zvcadcamException 2183 for a solid beyond the three kinds.
  void Write(const zvSolidDefinition<double>& solid);

  /// Write the visited tool, or solid, by the record of its class. The writer of primitives
  /// outlives the visitor.
  class KANDREL_API zvBinTool : public zvToolBranchVisitor {
   public:
    /// The writer of primitives is the caller's and outlives this one.
    explicit zvBinTool(misc::zvBOBasicTypes& basic) : m_basic(basic) {}
    void Visit(const zvLatheTool& tool) override;
    void Visit(const zvGenericRevolvedTool& tool) override;
    void Visit(const zvTypedRevolvedTool& tool) override;

   private:
    void WritePart(const zvToolPartDefinition<double>& part);

    misc::zvBOBasicTypes& m_basic;
  };
  /// Writes a solid by the record of its class, behind its tag.
  class KANDREL_API zvBinSolidDefinition : public zvSolidDefinitionVisitor<double> {
   public:
    /// The writer of primitives is the caller's and outlives this one.
    explicit zvBinSolidDefinition(misc::zvBOBasicTypes& basic) : m_basic(basic) {}
    void Visit(const zvMeshSolidDefinition<double>& solid) override;
    void Visit(const zvExtrudedSolidDefinition<double>& solid) override;
    void Visit(const zvRevolvedSolidDefinition<double>& solid) override;
    void Visit(const zvSolidDefinition<double>& solid) override;

   private:
    misc::zvBOBasicTypes& m_basic;
  };

 private:
  misc::zvBOBasicTypes m_basic;
};

}  // namespace cadcam
