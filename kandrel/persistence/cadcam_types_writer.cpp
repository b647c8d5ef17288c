#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/persistence/cadcam_types_writer.h>
#include <kandrel/persistence/helper_writer.h>
#include <kandrel/persistence/record_tags.h>
#include <kandrel/persistence/tools_writer.h>

namespace cadcam {

using persistence::Put;
using Gathering = misc::zvBOBasicTypes::Gathering;

namespace {

// A move with extended data: tag 4, common fields 69, flag 1, data 52.
constexpr std::size_t kLargestMove = 126;

template <class Writer>
void PutCommonFields(Writer& out, std::int32_t tag, const zvCNCMove& move) {
  out.WriteInt(tag);
  Put(out, move.GetPosition());
  out.WriteDouble(move.GetFeed());
  out.WriteByte(move.IsRapid());
  out.WriteInt(static_cast<std::int32_t>(move.GetTag()));
  Put(out, move.GetOrientation());
  out.WriteDouble(move.GetStamp());
}

}  // namespace

void zvBOCadcamTypes::zvBinMove::Visit(const zv5axMove& move) {
  m_basic.WriteRecord(kLargestMove, [&](auto& out) {
    PutCommonFields(out, persistence::k5axMoveTag, move);
    out.WriteByte(move.HasExtendedData());
    if (!move.HasExtendedData()) return;
    Put(out, move.GetExtendedPoint());
    Put(out, move.GetExtendedVector());
    out.WriteUnsigned(move.GetExtendedId());
  });
}

void zvBOCadcamTypes::zvBinMove::Visit(const zv3axMove& move) {
  m_basic.WriteRecord(kLargestMove,
                      [&](auto& out) { PutCommonFields(out, persistence::k3axMoveTag, move); });
}

void zvBOCadcamTypes::zvBinMove::Visit(const zvCNCMove& /*move*/) {
  throw zvcadcamException(zvcadcamException::kUnknownMove);
}

void zvBOCadcamTypes::zvBinTPSection::WriteMoves(const zvTPSection& section) {
  m_basic.WriteCount(section.size());
  zvBinMove writer(m_basic);
  for (const zvMovePointer& pointer : section) {
    const zvCNCMove& move = *pointer;
    move.AcceptVisitor(writer);
  }
}

void zvBOCadcamTypes::zvBinTPSection::Visit(const zvTPLink& link) {
  m_basic.WriteInt(persistence::kLinkTag);
  WriteMoves(link);
  m_basic.WriteInt(static_cast<std::int32_t>(link.GetLinkType()));
}

void zvBOCadcamTypes::zvBinTPSection::Visit(const zvTPContour& contour) {
  m_basic.WriteInt(persistence::kContourTag);
  WriteMoves(contour);
}

void zvBOCadcamTypes::zvBinTPSection::Visit(const zvTPSection& /*section*/) {
  throw zvcadcamException(zvcadcamException::kUnknownSection);
}

void zvBOCadcamTypes::WriteToolPath(const zvToolPath& toolpath) {
  const Gathering gathering(m_basic);
  m_basic.WriteInt(toolpath.GetUnits());
  m_basic.WriteCount(toolpath.Children().size());
  zvBinTPSection writer(m_basic);
  for (const auto& pass : toolpath.Children()) {
    m_basic.WriteCount(pass->Children().size());
    for (const auto& slice : pass->Children()) {
      m_basic.WriteCount(slice->Children().size());
      for (const auto& section : slice->Children()) section->AcceptVisitor(writer);
    }
  }
}

void zvBOCadcamTypes::WriteTool(const zvTool& tool) {
  zvBOTools(m_stream, m_compact).Write(tool);
}

}  // namespace cadcam
