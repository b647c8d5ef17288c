#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/persistence/post_types_reader.h>
#include <kandrel/post/model/post_exception.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace post {

using cadcam::zvcadcamException;
using persistence::RequireKnown;

namespace {

constexpr const wchar_t* kLostDataName = L"BinLostData";
constexpr std::uint32_t kDirectionsSwapped = 5;
constexpr std::uint32_t kDirectionReplaced = 6;

// As they stand in the file, not normalised; a zero vector is parallel to all.
bool AreParallel(const cadcam::zvTPoint3d<double>& a, const cadcam::zvTPoint3d<double>& b) {
  constexpr double kLargest = 1e-24;  // the square of 1e-12
  const auto cross = Cross(a, b);
  return Dot(cross, cross) <= kLargest;
}

// A unit vector at right angles to `direction`, whose larger component of x and y it turns into z.
cadcam::zvTPoint3d<double> AtRightAngles(cadcam::zvTPoint3d<double> direction) {
  direction.Normalize();
  const auto [x, y, z] = std::array{direction.x, direction.y, direction.z};
  if (std::fabs(x) >= std::fabs(y)) {
    const double length = std::sqrt(x * x + z * z);
    return {-z / length, 0, x / length};
  }
  const double length = std::sqrt(y * y + z * z);
  return {0, z / length, -y / length};
}

}  // namespace

zvBIPostTypes::zvBIPostTypes(misc::zvBinInputStream& stream, std::uint32_t version, bool compact,
                             std::vector<misc::zvBILostData>* lostData, bool wideStrings,
                             bool sizes64)
    : m_basic(stream, compact, wideStrings, sizes64),
      m_helper(m_basic),
      m_version(version),
      m_lostData(lostData) {
  RequireKnown<zvcadcamException>(version, persistence::kLowestRecordVersion);
}

zvBIPostTypes::~zvBIPostTypes() = default;

std::uint32_t zvBIPostTypes::GetUpperKnownBinVersion() const noexcept {
  return persistence::kCurrentVersion;
}

bool zvBIPostTypes::ReadBool() {
  bool value = false;
  m_basic.ReadBool(value);
  return value;
}

double zvBIPostTypes::ReadDouble() {
  double value = 0;
  m_basic.ReadDouble(value);
  return value;
}

zvBIPostTypes::Point zvBIPostTypes::ReadPoint() {
  Point point;
  m_helper.ReadVector(point);
  return point;
}

template <class Enumeration>
void zvBIPostTypes::ReadEnum8(Enumeration& value) {
  signed char byte = 0;
  m_basic.ReadChar(byte);
  value = static_cast<Enumeration>(byte);  // with its sign: NOLINT(bugprone-signed-char-misuse)
}

void zvBIPostTypes::ReadUnits(Units& value) {
  m_helper.ReadUnits(value);
}

void zvBIPostTypes::ReadVector(Point& value) {
  m_helper.ReadVector(value);
}

void zvBIPostTypes::ReadInterpolationMode(std::int32_t& value) {
  ReadEnum8(value);
}

void zvBIPostTypes::ReadLimitsCheck(zvKDRParam::LimitsCheck& value) {
  ReadEnum8(value);
}

void zvBIPostTypes::ReadPoleHandling(zvKDRParam::PoleHandling& value) {
  ReadEnum8(value);
}

void zvBIPostTypes::ReadFirstMoveSolutionIndex(zvKDRParam::SolutionIndex& value) {
  ReadEnum8(value);
}

void zvBIPostTypes::ReadFirstMoveRule(zvKDRParam::FirstMoveRule& value) {
  ReadEnum8(value);
}

void zvBIPostTypes::ReadInt(std::int32_t& value) {
  m_basic.ReadInt(value);
}

void zvBIPostTypes::ReadParameters(zvKDRParam& parameters) {
  Units units = measures::zvUnitsFactory::metric;
  if (Since(25))
    ReadUnits(units);
  else {
    unsigned char byte = 0;
    m_basic.ReadUnsignedChar(byte);
    units = byte == 1 ? measures::zvUnitsFactory::metric : measures::zvUnitsFactory::inch;
  }
  zvKDRParam read(units);
  read.SetFirstMoveByRule(ReadBool());
  read.SetFirstMoveMirror(ReadBool());
  read.SetMaxAngleJump(ReadDouble());
  read.SetMaxAngleStep(ReadDouble());
  read.SetInterpolationDistance(ReadDouble());
  read.SetInterpolateByDistance(ReadBool());
  read.SetRetractDistance(ReadDouble());
  read.SetPoleAngleTolerance(Since(16) ? ReadDouble() : 0.57);
  zvKDRParam::LimitsCheck limitsCheck = zvKDRParam::checkNothing;
  if (Since(185))
    ReadLimitsCheck(limitsCheck);
  else if (Since(16))
    limitsCheck = ReadBool() ? zvKDRParam::checkAllAxes : zvKDRParam::checkNothing;
  read.SetLimitsCheck(limitsCheck);
  if (Since(55)) {
    read.SetLimitTolerance(ReadDouble());
    zvKDRParam::FirstMoveRule rule = {};
    ReadFirstMoveRule(rule);
    read.SetFirstMoveRule(rule);
    zvKDRParam::SolutionIndex solution = {};
    ReadFirstMoveSolutionIndex(solution);
    read.SetFirstMoveSolutionIndex(solution);
    read.SetFirstMovePreferredAngle(ReadDouble());
  }
  if (Since(100)) read.SetInterpolateRapidMoves(ReadBool());
  // None of the three that the enumeration names: what pole handling was before there was a choice.
  auto poleHandling = static_cast<zvKDRParam::PoleHandling>(0);
  if (Since(165)) {
    ReadPoleHandling(poleHandling);
  } else if (Since(162)) {
    const bool first = ReadBool();
    const bool second = ReadBool();
    if (first || second) poleHandling = zvKDRParam::spreadEvenly;
  } else if (Since(156)) {
    if (ReadBool()) poleHandling = zvKDRParam::keepWithinLimits;
  }
  read.SetPoleHandling(poleHandling);
  if (Since(181)) read.SetAlignToolpath(ReadBool());
  if (Since(220)) {
    std::int32_t mode = 0;
    ReadInterpolationMode(mode);
    read.SetInterpolationMode(mode);
    read.SetRetractToLimits(ReadBool());
  }
  parameters = read;
}

void zvBIPostTypes::ReadAngleLimit(zv5axControlDef::angleLimit& value) {
  std::int32_t number = 0;
  m_basic.ReadInt(number);
  if (static_cast<std::uint32_t>(number) > zv5axControlDef::angleLimit180)
    throw zvcadcamException(zvcadcamException::kUnknownType);
  value = static_cast<zv5axControlDef::angleLimit>(number);
}

void zvBIPostTypes::ReadControl(zv5axControlDef& control) {
  zv5axControlDef::angleLimit first = zv5axControlDef::angleLimitNone;
  zv5axControlDef::angleLimit second = zv5axControlDef::angleLimitNone;
  if (Since(50)) {
    ReadAngleLimit(first);
    ReadAngleLimit(second);
  }
  control.SetFirstAxisLimit(first);
  control.SetSecondAxisLimit(second);
}

void zvBIPostTypes::ReadNumbersOfAxes(zvMachDef::NumbersOfAxes& value) {
  std::int32_t number = 0;
  m_basic.ReadInt(number);
  value = static_cast<zvMachDef::NumbersOfAxes>(number);
}

void zvBIPostTypes::ReadRotaryOnWorkpiece(std::int32_t& value) {
  m_basic.ReadInt(value);
}

void zvBIPostTypes::ReadFiveAxisKind(std::int32_t& value) {
  m_basic.ReadInt(value);
}

void zvBIPostTypes::ReadFirstOnWorkpiece(std::int32_t& value) {
  m_basic.ReadInt(value);
}

void zvBIPostTypes::ReadSecondOnWorkpiece(std::int32_t& value) {
  m_basic.ReadInt(value);
}

void zvBIPostTypes::ReadThirdOnWorkpiece(std::int32_t& value) {
  m_basic.ReadInt(value);
}

void zvBIPostTypes::ReadBuilder(zvMachDefBuilder& builder) {
  misc::zvAutoPointer<zvMachDef> machDef;
  ReadMachDef(machDef);
  builder.SetMachDef(machDef);
  std::uint32_t count = 0;
  std::vector<std::wstring> names;
  m_basic.ReadUnsigned(count);
  for (std::uint32_t i = 0; i < count; ++i) m_basic.ReadString(names.emplace_back());
  builder.SetAxisNames(names);
  std::uint32_t kind = 2;
  if (Since(144)) m_basic.ReadUnsigned(kind);
  builder.SetKind(static_cast<int>(kind));
}

// The fields that the classes add, with the defaults of what a file doesn't hold. They are not
// those of the classes: an unread direction is zero.
struct zvBIPostTypes::RotaryFields {
  std::int32_t kind = 0;  // of five axes; of four, whether the rotary axis is on the workpiece
  Point spindle{0, 0, 0};
  std::array<Point, 3> directions;
  std::array<Point, 3> pivots;
  std::array<double, 2> minAngles{-100000, -100000};
  std::array<double, 2> maxAngles{100000, 100000};
  double thirdAngle = 0;
  std::array<std::int32_t, 3> onWorkpiece{};
};

void zvBIPostTypes::ReadRotaryFields(zvMachDef::NumbersOfAxes numbersOfAxes, RotaryFields& fields) {
  if (numbersOfAxes < zvMachDef::threeAxes || numbersOfAxes > zvMachDef::sixAxes) return;
  if (numbersOfAxes == zvMachDef::fourAxes) ReadRotaryOnWorkpiece(fields.kind);
  if (numbersOfAxes >= zvMachDef::fiveAxes) ReadFiveAxisKind(fields.kind);
  ReadVector(fields.spindle);
  const auto rotaries = static_cast<std::size_t>(numbersOfAxes);
  for (std::size_t i = 0; i < rotaries; ++i) ReadVector(fields.directions[i]);
  for (std::size_t i = 0; i < rotaries; ++i) ReadVector(fields.pivots[i]);
  // The third rotary axis stands still: it has an angle and no limits.
  const std::size_t limited = std::min<std::size_t>(rotaries, 2);
  for (std::size_t i = 0; i < limited; ++i) fields.minAngles[i] = ReadDouble();
  for (std::size_t i = 0; i < limited; ++i) fields.maxAngles[i] = ReadDouble();
  if (numbersOfAxes != zvMachDef::sixAxes) return;
  fields.thirdAngle = ReadDouble();
  if (Since(226)) {
    ReadFirstOnWorkpiece(fields.onWorkpiece[0]);
    ReadSecondOnWorkpiece(fields.onWorkpiece[1]);
    ReadThirdOnWorkpiece(fields.onWorkpiece[2]);
    return;
  }
  // What older files meant by the kind of a 6-axis machine, which is not what the kind of a 5-axis
  // one means: deliberate.
  constexpr std::array<std::array<std::int32_t, 3>, 4> kOnWorkpiece = {
      {{0, 1, 1}, {0, 0, 1}, {0, 0, 0}, {1, 1, 1}}};
  if (fields.kind >= 0 && fields.kind <= 3)
    fields.onWorkpiece = kOnWorkpiece[static_cast<std::size_t>(fields.kind)];
}

void zvBIPostTypes::Repair(RotaryFields& fields) const {
  Point& first = fields.directions[0];
  Point& second = fields.directions[1];
  if (!AreParallel(fields.spindle, second)) return;
  const bool isFirstParallel = AreParallel(fields.spindle, first);
  if (m_lostData != nullptr)
    m_lostData->push_back(
        {kLostDataName, isFirstParallel ? kDirectionReplaced : kDirectionsSwapped});
  if (isFirstParallel)
    second = AtRightAngles(second);
  else
    std::swap(first, second);
}

void zvBIPostTypes::ReadMachDef(misc::zvAutoPointer<zvMachDef>& machDef) {
  Units units = measures::zvUnitsFactory::metric;
  zvMachDef::NumbersOfAxes numbersOfAxes = zvMachDef::fiveAxes;
  if (Since(25)) ReadUnits(units);
  if (Since(109)) ReadNumbersOfAxes(numbersOfAxes);
  RotaryFields f;
  ReadRotaryFields(numbersOfAxes, f);
  if (numbersOfAxes == zvMachDef::fiveAxes) Repair(f);
  Point minLimits{-100000, -100000, -100000};
  Point maxLimits{100000, 100000, 100000};
  Point x{1, 0, 0};
  Point y{0, 1, 0};
  Point z{0, 0, 1};
  if (Since(16)) {
    ReadVector(minLimits);
    ReadVector(maxLimits);
  }
  if (Since(205)) {
    ReadVector(x);
    ReadVector(y);
    ReadVector(z);
  }
  switch (numbersOfAxes) {
    case zvMachDef::threeAxes:
      machDef =
          misc::MakeAutoPointer<zv3axMachDef>(units, f.spindle, minLimits, maxLimits, x, y, z);
      return;
    case zvMachDef::fourAxes:
      machDef = misc::MakeAutoPointer<zv4axMachDef>(f.kind, units, f.spindle, f.directions[0],
                                                    f.pivots[0], f.minAngles[0], f.maxAngles[0],
                                                    minLimits, maxLimits, x, y, z);
      return;
    case zvMachDef::fiveAxes:
      machDef = misc::MakeAutoPointer<zv5axMachDef>(f.kind, units, f.spindle, f.directions[0],
                                                    f.directions[1], f.pivots[0], f.pivots[1],
                                                    f.minAngles[0], f.minAngles[1], f.maxAngles[0],
                                                    f.maxAngles[1], minLimits, maxLimits, x, y, z);
      return;
    case zvMachDef::sixAxes:
      break;
  }
  // Also for numbers that are no class: their spindle is zero, and the constructor refuses it.
  auto sixAxes = misc::MakeAutoPointer<zv6axMachDef>(
      f.kind, units, f.spindle, f.directions[0], f.directions[1], f.directions[2], f.pivots[0],
      f.pivots[1], f.pivots[2], f.minAngles[0], f.minAngles[1], f.maxAngles[0], f.maxAngles[1],
      f.thirdAngle, minLimits, maxLimits, x, y, z);
  sixAxes->SetFirstOnWorkpiece(f.onWorkpiece[0]);
  sixAxes->SetSecondOnWorkpiece(f.onWorkpiece[1]);
  sixAxes->SetThirdOnWorkpiece(f.onWorkpiece[2]);
  machDef = sixAxes;
}

void zvBIPostTypes::ReadMoveClass(std::int32_t& value) {
  m_basic.ReadInt(value);
}

void zvBIPostTypes::ReadMoveType(zvPostedMove::Types& value) {
  std::int32_t number = 0;
  m_basic.ReadInt(number);
  if (static_cast<std::uint32_t>(number) > zvPostedMove::noLink)
    throw zvcadcamException(zvcadcamException::kUnknownType);
  value = static_cast<zvPostedMove::Types>(number);
}

void zvBIPostTypes::ReadPoleStatus(std::uint32_t& value) {
  constexpr std::uint32_t kHighest = 2;
  std::int32_t number = 0;
  m_basic.ReadInt(number);
  if (static_cast<std::uint32_t>(number) > kHighest)
    throw zvcadcamException(zvcadcamException::kUnknownMove);
  value = static_cast<std::uint32_t>(number);
}

void zvBIPostTypes::Read5axPoleStatus(std::uint32_t& value) {
  ReadPoleStatus(value);
}

void zvBIPostTypes::Read6axPoleStatus(std::uint32_t& value) {
  ReadPoleStatus(value);
}

void zvBIPostTypes::ReadOwnFields(zvPosted6axMove& move) {
  for (std::int16_t i = 0; i < 3; ++i) move.SetAngle(ReadDouble(), i);
  std::uint32_t status = 0;
  Read6axPoleStatus(status);
  move.SetPoleStatus(status);
}

void zvBIPostTypes::ReadOwnFields(zvPosted5axMove& move) {
  for (std::int16_t i = 0; i < 2; ++i) move.SetAngle(ReadDouble(), i);
  std::uint32_t status = 0;
  Read5axPoleStatus(status);
  move.SetPoleStatus(status);
}

void zvBIPostTypes::ReadOwnFields(zvPosted4axMove& move) {
  move.SetRotaryAngle(ReadDouble());
}

template <class Move>
void zvBIPostTypes::ReadRecord(Move& move) {
  Move read(true);
  read.SetMachinePosition(ReadPoint());
  read.SetPartPosition(ReadPoint());
  read.SetOrientation(ReadPoint());
  ReadOwnFields(read);
  read.SetFeed(ReadDouble());
  read.SetRapid(ReadBool());
  const bool isSmall = Since(191) && ReadBool();
  if (Since(210) || (Since(83) && !isSmall)) {
    zvPostedMove::Types type = zvPostedMove::link0;
    ReadMoveType(type);
    read.SetType(type);
  }
  if (Since(41)) read.SetMoveTime(ReadDouble());
  if (!isSmall) ReadExtended(read);
  move = std::move(read);
}

void zvBIPostTypes::ReadExtended(zvPostedMove& move) {
  move.SetExtended(true);
  if (Since(92) && ReadBool()) {
    move.SetExtendedPoint(ReadPoint());
    move.SetExtendedVector(ReadPoint());
    move.SetExtendedId(m_basic.ReadSizeValue());
  }
  if (Since(103)) {
    move.SetSourceIndex(static_cast<std::int32_t>(m_basic.ReadSizeValue()));
    move.SetInserted(ReadBool());
  }
}

void zvBIPostTypes::ReadMove(zvPosted6axMove& move) {
  ReadRecord(move);
}

void zvBIPostTypes::ReadMove(zvPosted5axMove& move) {
  ReadRecord(move);
}

void zvBIPostTypes::ReadMove(zvPosted4axMove& move) {
  ReadRecord(move);
}

void zvBIPostTypes::ReadMove(zvPosted3axMove& move) {
  ReadRecord(move);
}

void zvBIPostTypes::ReadAlignMatrix(zvAlignMatrix& matrix) {
  zvAlignMatrix read;
  std::wstring marker;
  if (Since(181)) m_basic.ReadString(marker);
  if (marker == persistence::kHasMatrix) {  // any other text: there is none
    read = misc::MakeAutoPointer<cadcam::zvMatrix<double, 4, 4>>();
    for (std::size_t row = 0; row < 4; ++row)
      for (std::size_t column = 0; column < 4; ++column) (*read)(row, column) = ReadDouble();
  }
  matrix = read;
}

template <class Move>
void zvBIPostTypes::ReadListOf(const ListPointer<Move>& list, zvMachDef::NumbersOfAxes moveClass) {
  if (list.IsNull()) throw zvPostException(zvPostException::kNullList);
  const std::uint32_t count = m_basic.ReadSizeValue();
  std::int32_t stored = zvMachDef::fiveAxes;  // the only class below 119
  if (Since(119)) ReadMoveClass(stored);
  if (stored != moveClass) throw zvcadcamException(zvcadcamException::kUnknownVersion);
  Move move(true);
  for (std::uint32_t i = 0; i < count; ++i) {
    ReadMove(move);
    list->PushBack(std::move(move));
  }
}

void zvBIPostTypes::ReadList(const ListPointer<zvPosted6axMove>& list) {
  ReadListOf(list, zvMachDef::sixAxes);
}

void zvBIPostTypes::ReadList(const ListPointer<zvPosted5axMove>& list) {
  ReadListOf(list, zvMachDef::fiveAxes);
}

void zvBIPostTypes::ReadList(const ListPointer<zvPosted4axMove>& list) {
  ReadListOf(list, zvMachDef::fourAxes);
}

void zvBIPostTypes::ReadList(const ListPointer<zvPosted3axMove>& list) {
  ReadListOf(list, zvMachDef::threeAxes);
}

template <class Move>
void zvBIPostTypes::AppendMoves(zvPostedTP& toolpath, std::uint32_t count) {
  const Move prototype(true);  // its class is all that the visitor looks at
  zvPostedTP::MovePointer read;
  zvPostedVisitorBinInput visitor(*this, read);
  for (std::uint32_t i = 0; i < count; ++i) {
    prototype.AcceptVisitor(visitor);
    toolpath.PushBack(read);
  }
}

void zvBIPostTypes::ReadPostedTP(zvPostedTP& toolpath) {
  const std::uint32_t count = m_basic.ReadSizeValue();
  std::int32_t moveClass = zvMachDef::fiveAxes;
  if (Since(119)) ReadMoveClass(moveClass);
  switch (moveClass) {
    case zvMachDef::threeAxes:
      AppendMoves<zvPosted3axMove>(toolpath, count);
      break;
    case zvMachDef::fourAxes:
      AppendMoves<zvPosted4axMove>(toolpath, count);
      break;
    case zvMachDef::fiveAxes:
      AppendMoves<zvPosted5axMove>(toolpath, count);
      break;
    default:  // whatever else it is: deliberate, as the class code of a posted toolpath isn't
              // checked
      AppendMoves<zvPosted6axMove>(toolpath, count);
      break;
  }
  zvAlignMatrix matrix;
  ReadAlignMatrix(matrix);
  toolpath.SetAlignMatrix(matrix);
}

template <class Move>
void zvPostedVisitorBinInput::Read() {
  Move read(true);
  m_reader.ReadMove(read);
  m_move = misc::MakeAutoPointer<Move>(std::move(read));
}

void zvPostedVisitorBinInput::Visit(const zvPosted6axMove& /*move*/) {
  Read<zvPosted6axMove>();
}

void zvPostedVisitorBinInput::Visit(const zvPosted5axMove& /*move*/) {
  Read<zvPosted5axMove>();
}

void zvPostedVisitorBinInput::Visit(const zvPosted4axMove& /*move*/) {
  Read<zvPosted4axMove>();
}

void zvPostedVisitorBinInput::Visit(const zvPosted3axMove& /*move*/) {
  Read<zvPosted3axMove>();
}

void zvPostedVisitorBinInput::Visit(const zvPostedMove& /*move*/) {
  throw zvPostException(zvPostException::kAbstractMember);
}

}  // namespace post
