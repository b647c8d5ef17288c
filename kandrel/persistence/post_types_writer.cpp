#include <kandrel/misc/exception.h>
#include <kandrel/persistence/post_types_writer.h>
#include <kandrel/persistence/versions.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_visitor.h>

#include <type_traits>

namespace post {

using Gathering = misc::zvBOBasicTypes::Gathering;

namespace {

// Into a writer of any kind.
template <class Writer>
void Put(Writer& out, const cadcam::zvTPoint3d<double>& value) {
  out.WriteDouble(value.x);
  out.WriteDouble(value.y);
  out.WriteDouble(value.z);
}

// What the classes add: their angles and the pole status.
template <class Writer>
void PutOwnFields(Writer& out, const zvPosted6axMove& move) {
  for (std::int16_t i = 0; i < 3; ++i) out.WriteDouble(move.GetAngle(i));
  out.WriteInt(static_cast<std::int32_t>(move.GetPoleStatus()));
}
template <class Writer>
void PutOwnFields(Writer& out, const zvPosted5axMove& move) {
  for (std::int16_t i = 0; i < 2; ++i) out.WriteDouble(move.GetAngle(i));
  out.WriteInt(static_cast<std::int32_t>(move.GetPoleStatus()));
}
template <class Writer>
void PutOwnFields(Writer& out, const zvPosted4axMove& move) {
  out.WriteDouble(move.GetRotaryAngle());
}
template <class Writer>
void PutOwnFields(Writer& /*out*/, const zvPosted3axMove& /*move*/) {}

// Alone of the four classes a small 6-axis move goes without its type, though the reader wants it:
// deliberate, the layout of a version that is in use doesn't change.
template <class Move>
constexpr bool kHasTypeIfSmall = !std::is_same_v<Move, zvPosted6axMove>;

template <class Writer, class Move>
void PutMove(Writer& out, const Move& move) {
  const bool isSmall = move.HasNoExtended();
  Put(out, move.GetMachinePosition());
  Put(out, move.GetPartPosition());
  Put(out, move.GetOrientation());
  PutOwnFields(out, move);
  out.WriteDouble(move.GetFeed());
  out.WriteByte(move.IsRapid());
  out.WriteByte(isSmall);
  if (kHasTypeIfSmall<Move> || !isSmall)
    out.WriteUnsigned(static_cast<std::uint32_t>(move.GetType()));
  out.WriteDouble(move.GetMoveTime());
  if (isSmall) return;
  out.WriteByte(move.HasExtendedData());
  if (move.HasExtendedData()) {
    Put(out, move.GetExtendedPoint());
    Put(out, move.GetExtendedVector());
    out.WriteUnsigned(move.GetExtendedId());
  }
  out.WriteUnsigned(static_cast<std::uint32_t>(move.GetSourceIndex()));
  out.WriteByte(move.IsInserted());
}

}  // namespace

void zvBOPostTypes::Write(const zv5axControlDef& control) {
  const Gathering gathering(m_basic);
  m_basic.WriteInt(control.GetFirstAxisLimit());
  m_basic.WriteInt(control.GetSecondAxisLimit());
}

void zvBOPostTypes::Write(const zvKDRParam& parameters) {
  const Gathering gathering(m_basic);
  // An enumeration takes one byte, whatever its value.
  const auto writeEnum8 = [this](std::int32_t value) {
    m_basic.WriteByte(static_cast<std::uint8_t>(value));
  };
  m_basic.WriteInt(parameters.GetParamUnits());
  m_basic.WriteByte(parameters.GetFirstMoveByRule());
  m_basic.WriteByte(parameters.GetFirstMoveMirror());
  m_basic.WriteDouble(parameters.GetMaxAngleJump());
  m_basic.WriteDouble(parameters.GetMaxAngleStep());
  m_basic.WriteDouble(parameters.GetInterpolationDistance());
  m_basic.WriteByte(parameters.GetInterpolateByDistance());
  m_basic.WriteDouble(parameters.GetRetractDistance());
  m_basic.WriteDouble(parameters.GetPoleAngleTolerance());
  writeEnum8(parameters.GetLimitsCheck());
  m_basic.WriteDouble(parameters.GetLimitTolerance());
  writeEnum8(parameters.GetFirstMoveRule());
  writeEnum8(parameters.GetFirstMoveSolutionIndex());
  m_basic.WriteDouble(parameters.GetFirstMovePreferredAngle());
  m_basic.WriteByte(parameters.GetInterpolateRapidMoves());
  writeEnum8(parameters.GetPoleHandling());
  m_basic.WriteByte(parameters.GetAlignToolpath());
  writeEnum8(parameters.GetInterpolationMode());
  m_basic.WriteByte(parameters.GetRetractToLimits());
}

void zvBOPostTypes::Write(const zvMachDef& machDef) {
  const Gathering gathering(m_basic);
  m_basic.WriteInt(machDef.GetUnits());
  m_basic.WriteInt(machDef.GetNumbersOfAxes());
  switch (machDef.GetNumbersOfAxes()) {
    case zvMachDef::threeAxes: {
      Put(m_basic, zvMachDefUtils::As3ax(machDef).GetSpindleDirection());
      break;
    }
    case zvMachDef::fourAxes: {
      const zv4axMachDef& m = zvMachDefUtils::As4ax(machDef);
      m_basic.WriteInt(m.GetRotaryOnWorkpiece());
      Put(m_basic, m.GetSpindleDirection());
      Put(m_basic, m.GetRotationDirection());
      Put(m_basic, m.GetRotationPivot());
      m_basic.WriteDouble(m.GetMinAngle());
      m_basic.WriteDouble(m.GetMaxAngle());
      break;
    }
    case zvMachDef::fiveAxes: {
      const zv5axMachDef& m = zvMachDefUtils::As5ax(machDef);
      m_basic.WriteInt(m.GetFiveAxisKind());
      Put(m_basic, m.GetSpindleDirection());
      Put(m_basic, m.GetFirstRotationDirection());
      Put(m_basic, m.GetSecondRotationDirection());
      Put(m_basic, m.GetFirstRotationPivot());
      Put(m_basic, m.GetSecondRotationPivot());
      m_basic.WriteDouble(m.GetMinFirstAngle());
      m_basic.WriteDouble(m.GetMinSecondAngle());
      m_basic.WriteDouble(m.GetMaxFirstAngle());
      m_basic.WriteDouble(m.GetMaxSecondAngle());
      break;
    }
    case zvMachDef::sixAxes: {
      const zv6axMachDef& m = zvMachDefUtils::As6ax(machDef);
      m_basic.WriteInt(m.GetFiveAxisKind());
      Put(m_basic, m.GetSpindleDirection());
      Put(m_basic, m.GetFirstRotationDirection());
      Put(m_basic, m.GetSecondRotationDirection());
      Put(m_basic, m.GetThirdRotationDirection());
      Put(m_basic, m.GetFirstRotationPivot());
      Put(m_basic, m.GetSecondRotationPivot());
      Put(m_basic, m.GetThirdRotationPivot());
      m_basic.WriteDouble(m.GetMinFirstAngle());
      m_basic.WriteDouble(m.GetMinSecondAngle());
      m_basic.WriteDouble(m.GetMaxFirstAngle());
      m_basic.WriteDouble(m.GetMaxSecondAngle());
      m_basic.WriteDouble(m.GetThirdAngle());
      m_basic.WriteInt(m.GetFirstOnWorkpiece());
      m_basic.WriteInt(m.GetSecondOnWorkpiece());
      m_basic.WriteInt(m.GetThirdOnWorkpiece());
      break;
    }
    default:
      throw zvPostException(zvPostException::kUnknownMachine);
  }
  Put(m_basic, machDef.GetMinLimits());
  Put(m_basic, machDef.GetMaxLimits());
  Put(m_basic, machDef.GetXAxisDirection());
  Put(m_basic, machDef.GetYAxisDirection());
  Put(m_basic, machDef.GetZAxisDirection());
}

void zvBOPostTypes::Write(const zvMachDefBuilder& builder) {
  const Gathering gathering(m_basic);
  Write(*builder.GetMachDef());
  m_basic.WriteStrings(builder.GetAxisNames());
  m_basic.WriteUnsigned(static_cast<std::uint32_t>(builder.GetKind()));
}

template <class Move>
void zvBOPostTypes::WriteMove(const Move& move) {
  constexpr std::size_t kLargest = 256;  // a 6-axis move with contact data takes 180
  m_basic.WriteRecord(kLargest, [&](auto& out) { PutMove(out, move); });
}

void zvBOPostTypes::Write(const zvPosted6axMove& move) {
  const Gathering gathering(m_basic);
  WriteMove(move);
}

void zvBOPostTypes::Write(const zvPosted5axMove& move) {
  const Gathering gathering(m_basic);
  WriteMove(move);
}

void zvBOPostTypes::Write(const zvPosted4axMove& move) {
  const Gathering gathering(m_basic);
  WriteMove(move);
}

void zvBOPostTypes::Write(const zvPosted3axMove& move) {
  const Gathering gathering(m_basic);
  WriteMove(move);
}

template <class Move>
void zvBOPostTypes::WriteList(const ListPointer<Move>& list, zvMachDef::NumbersOfAxes moveClass) {
  const Gathering gathering(m_basic);
  m_basic.WriteCount(list->GetCount());
  m_basic.WriteInt(moveClass);
  for (const Move& move : *list) WriteMove(move);
}

void zvBOPostTypes::Write(const ListPointer<zvPosted6axMove>& list) {
  WriteList(list, zvMachDef::sixAxes);
}

void zvBOPostTypes::Write(const ListPointer<zvPosted5axMove>& list) {
  WriteList(list, zvMachDef::fiveAxes);
}

void zvBOPostTypes::Write(const ListPointer<zvPosted4axMove>& list) {
  WriteList(list, zvMachDef::fourAxes);
}

void zvBOPostTypes::Write(const ListPointer<zvPosted3axMove>& list) {
  WriteList(list, zvMachDef::threeAxes);
}

void zvBOPostTypes::Write(const zvAlignMatrix& matrix) {
  const Gathering gathering(m_basic);
  m_basic.WriteString(matrix.IsNull() ? persistence::kHasNoMatrix : persistence::kHasMatrix);
  if (matrix.IsNull()) return;
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = 0; column < 4; ++column) m_basic.WriteDouble((*matrix)(row, column));
}

void zvBOPostTypes::Write(const zvPostedTP& toolpath) {
  const Gathering gathering(m_basic);
  m_basic.WriteCount(toolpath.GetCount());
  int moveClass = zvMachDef::fiveAxes;
  if (toolpath.GetCount() > 0) {
    zvPostedVisitorMoveType visitor(moveClass);
    (*toolpath.Begin())->AcceptVisitor(visitor);
  }
  m_basic.WriteInt(moveClass);
  zvPostedVisitorBinOutput visitor(*this);
  for (auto it = toolpath.Begin(); it != toolpath.End(); ++it) (*it)->AcceptVisitor(visitor);
  Write(toolpath.GetAlignMatrix());
}

void zvPostedVisitorBinOutput::Visit(const zvPosted6axMove& move) {
  m_writer.Write(move);
}

void zvPostedVisitorBinOutput::Visit(const zvPosted5axMove& move) {
  m_writer.Write(move);
}

void zvPostedVisitorBinOutput::Visit(const zvPosted4axMove& move) {
  m_writer.Write(move);
}

void zvPostedVisitorBinOutput::Visit(const zvPosted3axMove& move) {
  m_writer.Write(move);
}

void zvPostedVisitorBinOutput::Visit(const zvPostedMove& /*move*/) {
  throw misc::zvException(2183, L"Abstract function called");
}

}  // namespace post
