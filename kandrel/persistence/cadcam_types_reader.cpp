#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/persistence/cadcam_types_reader.h>
#include <kandrel/persistence/record_tags.h>
#include <kandrel/persistence/tools_reader.h>

#include <utility>

namespace cadcam {

namespace {

constexpr std::uint32_t kDefaultLinkType = 2;

}  // namespace

zvBICadcamTypes::zvBICadcamTypes(misc::zvBinInputStream& stream, std::uint32_t version,
                                 bool compact, std::vector<misc::zvBILostData>* lostData,
                                 bool wideStrings, bool sizes64)
    : m_stream(stream),
      m_basic(stream, compact, wideStrings, sizes64),
      m_helper(m_basic),
      m_version(version),
      m_compact(compact),
      m_lostData(lostData),
      m_wideStrings(wideStrings),
      m_sizes64(sizes64) {
  persistence::RequireKnown<zvcadcamException>(version, persistence::kLowestRecordVersion);
}

zvBICadcamTypes::~zvBICadcamTypes() = default;

std::uint32_t zvBICadcamTypes::GetUpperKnownBinVersion() const noexcept {
  return persistence::kCurrentVersion;
}

std::uint32_t zvBICadcamTypes::ReadCount() {
  std::uint32_t count = 0;
  m_basic.ReadUnsigned(count);
  return count;
}

std::int32_t zvBICadcamTypes::ReadTag() {
  std::int32_t tag = 0;
  m_basic.ReadInt(tag);
  return tag;
}

void zvBICadcamTypes::ReadUnits(Units& value) {
  m_helper.ReadUnits(value);
}

void zvBICadcamTypes::ReadCommonFields(zvCNCMove& move) {
  Point point;
  m_helper.ReadVector(point);
  move.SetPosition(point);
  double number = 0;
  m_basic.ReadDouble(number);
  move.SetFeed(number);
  bool rapid = false;
  m_basic.ReadBool(rapid);
  move.SetRapid(rapid);
  std::int32_t integer = 0;
  if (!Since(80)) m_basic.ReadInt(integer);  // what nobody uses any more
  m_basic.ReadInt(integer);
  move.SetTag(static_cast<std::uint32_t>(integer));
  m_helper.ReadVector(point);
  move.SetOrientation(point);
  if (!Since(175)) return;
  m_basic.ReadDouble(number);
  move.SetStamp(number);
}

void zvBICadcamTypes::ReadFields(zv3axMove& read) {
  ReadCommonFields(read);
}

void zvBICadcamTypes::ReadFields(zv5axMove& read) {
  ReadCommonFields(read);
  bool hasExtendedData = false;
  m_basic.ReadBool(hasExtendedData);
  if (hasExtendedData) {
    Point point;
    m_helper.ReadVector(point);
    read.SetExtendedPoint(point);
    m_helper.ReadVector(point);
    read.SetExtendedVector(point);
    if (Since(91)) read.SetExtendedId(m_basic.ReadSizeValue());
  }
}

void zvBICadcamTypes::ReadMove(zv3axMove& move) {
  zv3axMove read;
  ReadFields(read);
  move = read;
}

void zvBICadcamTypes::ReadMove(zv5axMove& move) {
  zv5axMove read;
  ReadFields(read);
  move = read;
}

void zvBICadcamTypes::ReadMove(zvMovePointer& move) {
  switch (ReadTag()) {
    case persistence::k5axMoveTag: {
      auto read = misc::MakeAutoPointer<zv5axMove>();
      ReadFields(*read);
      move = std::move(read);
      return;
    }
    case persistence::k3axMoveTag: {
      auto read = misc::MakeAutoPointer<zv3axMove>();
      ReadFields(*read);
      move = std::move(read);
      return;
    }
    default:
      throw zvcadcamException(zvcadcamException::kUnknownMove);
  }
}

template <class Container>
void zvBICadcamTypes::ReadMoves(Container& container) {
  const std::uint32_t count = ReadCount();
  zvMovePointer move;
  for (std::uint32_t i = 0; i < count; ++i) {
    ReadMove(move);
    container.AddMove(move);
  }
}

void zvBICadcamTypes::ReadToolPath(zvToolPath& toolpath) {
  if (Since(117)) {
    Units units = toolpath.GetUnits();
    ReadUnits(units);
    toolpath.SetUnits(units, true);
  }
  if (!Since(32)) ReadMoves(toolpath);
}

void zvBICadcamTypes::ReadTool(misc::zvAutoPointer<zvTool>& tool,
                               const std::optional<Units>& units) {
  zvBITools(m_stream, m_version, m_compact, units, m_lostData, m_wideStrings, m_sizes64)
      .ReadTool(tool);
}

void zvBICadcamTypes1::ReadToolPath(zvToolPath& toolpath) {
  zvBICadcamTypes::ReadToolPath(toolpath);
  if (!Since(32)) return;
  const std::uint32_t count = ReadCount();
  for (std::uint32_t i = 0; i < count; ++i) {
    toolpath.push_back(misc::MakeAutoPointer<zvTPPass>());
    ReadPass(*toolpath.back());
  }
}

void zvBICadcamTypes1::ReadPass(zvTPPass& pass) {
  const std::uint32_t count = ReadCount();
  for (std::uint32_t i = 0; i < count; ++i) {
    pass.push_back(misc::MakeAutoPointer<zvTPSlice>());
    ReadSlice(*pass.back());
  }
}

void zvBICadcamTypes1::ReadSlice(zvTPSlice& slice) {
  const std::uint32_t count = ReadCount();
  for (std::uint32_t i = 0; i < count; ++i) {
    misc::zvAutoPointer<zvTPSection> section;
    ReadSection(section);
    slice.push_back(section);
  }
}

void zvBICadcamTypes1::ReadSection(misc::zvAutoPointer<zvTPSection>& section) {
  switch (ReadTag()) {
    case persistence::kContourTag: {
      const auto contour = misc::MakeAutoPointer<zvTPContour>();
      ReadContour(*contour);
      section = contour;
      return;
    }
    case persistence::kLinkTag: {
      const auto link = misc::MakeAutoPointer<zvTPLink>(kDefaultLinkType);
      ReadLink(*link);
      section = link;
      return;
    }
    default:
      throw zvcadcamException(zvcadcamException::kUnknownSection);
  }
}

void zvBICadcamTypes1::ReadContour(zvTPContour& contour) {
  ReadMoves(contour);
}

void zvBICadcamTypes1::ReadLink(zvTPLink& link) {
  ReadMoves(link);
}

void zvBICadcamTypes2::ReadLink(zvTPLink& link) {
  zvBICadcamTypes1::ReadLink(link);
  // A type above 5 is taken here and fails where it is used: deliberate, as the tree takes it too.
  if (Since(72)) link.SetLinkType(static_cast<std::uint32_t>(ReadTag()));
}

}  // namespace cadcam
