// zvBITools: reads tools, in every version.
#pragma once

#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/cadcam/tools/tool_part.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/persistence/helper_reader.h>
#include <kandrel/persistence/versions.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace persistence {
struct zvStoredToolType;
}

namespace cadcam {

/// Reads tools and the solids that they consist of. A tool is made by its full constructor, so that
/// all its checks run on what the file holds; what they throw passes.
///
/// Old forms: below version 130 the shoulder is the one that the type derives from its parameters;
/// below 23 a holder, below 22 an arbor is two numbers, height and radius; below 155 a zvLolMill
/// has no neck of its own. A revolved solid below version 61 can't be read.
class KANDREL_API zvBITools {
 public:
  using Units = measures::zvUnitsFactory::Units;
  using SolidPointer = misc::zvAutoPointer<zvSolidDefinition<double>>;

  /// Stream and `lostData` are the caller's and outlive the reader; nothing is noted at present,
  /// and `lostData` may be null. `defaultUnits` are those of a record from before version 25.
  /// Throws zvcadcamException 2027 for a version outside 3 to 226.
  zvBITools(misc::zvBinInputStream& stream, std::uint32_t version, bool compact,
            const std::optional<Units>& defaultUnits, std::vector<misc::zvBILostData>* lostData,
            bool wideStrings, bool sizes64);
  zvBITools(const zvBITools&) = delete;
  zvBITools& operator=(const zvBITools&) = delete;
  virtual ~zvBITools();

  /// The first and the last version whose records it reads.
  static constexpr std::uint32_t GetLowerKnownBinVersion() noexcept {
    return persistence::kLowestRecordVersion;
  }
  virtual std::uint32_t GetUpperKnownBinVersion() const noexcept;

  /// Throws zvcadcamException 2108 for an unknown type, 2139 where no units are known, 2183 for a
  /// solid of an unknown kind, 2027 for one in a form that is too old; zvmeasuresException 2141 for
  /// unknown units; zvmiscException 2052 for a mesh with a corner that is no vertex, 2018 for an
  /// end that comes too early; and what geoDef::zvBI2dGeometry and the tool's constructor throw.
  void ReadTool(misc::zvAutoPointer<zvTool>& tool);
  /// A mesh solid has the units of its mesh; those of the solid beside them are checked alone.
  SolidPointer ReadSolid();

 private:
  bool Since(std::uint32_t version) const noexcept { return m_version >= version; }
  double ReadDouble();
  std::int32_t ReadInt();
  std::uint32_t ReadUnsigned();
  Units ReadUnits();
  Units ReadToolUnits();
  SolidPointer ReadRevolved(Units units);
  SolidPointer ReadExtruded(Units units);
  SolidPointer ReadMesh();
  template <class Part>
  Part ReadPart(std::uint32_t solidSince, Units units);
  void ReadTyped(const persistence::zvStoredToolType& stored, Units units,
                 misc::zvAutoPointer<zvTool>& tool);

  misc::zvBIBasicTypes m_basic;
  zvBIHelper m_helper;
  std::uint32_t m_version;
  std::optional<Units> m_defaultUnits;
};

}  // namespace cadcam
