#include <kandrel/persistence/post_types_reader.h>
#include <kandrel/persistence/post_types_writer.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <tests/persistence/records.h>
#include <tests/support/outcome.h>

using namespace tests;
using post::zvBIPostTypes;
using post::zvBOPostTypes;
using post::zvKDRParam;
using LostData = std::vector<misc::zvBILostData>;

namespace {

// How a field was stored from one version to another, and how what that means is stored now.
struct Form {
  int from, to;
  std::string stored, now;
};

// A field's forms, and what it is in versions that have none of them, as it is stored now.
struct Field {
  std::vector<Form> forms;
  std::string absent;
};

Field Since(int version, const Bytes& bytes, const Bytes& absent = {}) {
  return {{{version, kNow, bytes, bytes}}, absent};
}
Bytes DoublesOf(const Numbers& values) {
  Bytes bytes;
  for (const double value : values) bytes.Double({value});
  return bytes;
}
Field Doubles(int version, const Numbers& values, const Numbers& absent) {
  return Since(version, DoublesOf(values), DoublesOf(absent));
}
Field Doubles(const Numbers& values) {
  return Doubles(0, values, {});
}
Field Int(int version, std::int32_t value, std::int32_t absent) {
  return Since(version, Bytes().Int({value}), Bytes().Int({absent}));
}
Field Byte(int version, int value, int absent) {
  return Since(version, Bytes().Byte(value), Bytes().Byte(absent));
}

struct Record {
  std::string bytes, now;
};

// What a table of fields makes of a version.
Record At(const std::vector<Field>& fields, int version) {
  Record record;
  for (const Field& field : fields) {
    const std::string* now = &field.absent;
    for (const Form& form : field.forms) {
      if (version < form.from || version > form.to) continue;
      record.bytes += form.stored;
      now = &form.now;
    }
    record.now += *now;
  }
  return record;
}

// Reads one thing of a version, which takes all bytes.
template <class ReadOne>
void ReadWhole(const std::string& bytes, int version, const ReadOne& read,
               LostData* lostData = nullptr, bool sizes64 = false) {
  MemoryInput stream(bytes);
  zvBIPostTypes reader(stream, static_cast<std::uint32_t>(version), false, lostData, true, sizes64);
  read(reader);
  EXPECT_EQ(stream.GetLeft(), 0u) << "version " << version;
}

template <class Value>
std::string Written(const Value& value) {
  MemoryOutput stream;
  zvBOPostTypes(stream).Write(value);
  return stream.GetBytes();
}

const std::vector<Field> kParameters = {
    {{{25, kNow, Bytes().Int({2}), Bytes().Int({2})}, {0, 24, Bytes().Byte(7), Bytes().Int({2})}},
     {}},
    Byte(0, 0, 0),
    Byte(0, 1, 0),
    Doubles({121, 4, 1.5}),
    Byte(0, 1, 0),
    Doubles({101}),
    Doubles(16, {0.25}, {0.57}),
    {{{185, kNow, Bytes().Byte(2), Bytes().Byte(2)}, {16, 184, Bytes().Byte(1), Bytes().Byte(3)}},
     Bytes().Byte(0)},
    Doubles(55, {0.5}, {0.0001}),
    Byte(55, 1, 0),
    Byte(55, -3, 0),
    Doubles(55, {33}, {0}),
    Byte(100, 1, 0),
    {{{165, kNow, Bytes().Byte(3), Bytes().Byte(3)},
      {162, 164, Bytes().Byte(0).Byte(9), Bytes().Byte(2)},
      {156, 161, Bytes().Byte(1), Bytes().Byte(1)}},
     Bytes().Byte(0)},
    Byte(181, 1, 0),
    Byte(220, -1, 0),
    Byte(220, 1, 0),
};

zvKDRParam ReadParameters(const std::string& bytes, int version) {
  zvKDRParam parameters(kMetric);
  ReadWhole(bytes, version, [&](zvBIPostTypes& reader) { reader.ReadParameters(parameters); });
  return parameters;
}

}  // namespace

TEST(PostTypes, ParametersOfEveryVersionAreRead) {
  for (int version = 3; version <= kNow; ++version) {
    const Record record = At(kParameters, version);
    EXPECT_EQ(Written(ReadParameters(record.bytes, version)), record.now) << version;
  }
  const zvKDRParam p = ReadParameters(At(kParameters, kNow).bytes, kNow);
  EXPECT_EQ(
      Flat(p.GetParamUnits(), p.GetFirstMoveByRule(), p.GetFirstMoveMirror(), p.GetMaxAngleJump(),
           p.GetMaxAngleStep(), p.GetInterpolationDistance(), p.GetInterpolateByDistance(),
           p.GetRetractDistance(), p.GetPoleAngleTolerance(), p.GetLimitsCheck(),
           p.GetLimitTolerance(), p.GetFirstMoveRule(), p.GetFirstMoveSolutionIndex(),
           p.GetFirstMovePreferredAngle(), p.GetInterpolateRapidMoves(), p.GetPoleHandling(),
           p.GetAlignToolpath(), p.GetInterpolationMode(), p.GetRetractToLimits()),
      (Numbers{2, 0, 1, 121, 4, 1.5, 1, 101, 0.25, 2, 0.5, 1, -3, 33, 1, 3, 1, -1, 1}));
  // The other values of what was one byte or two.
  const std::string metric = "\x01" + At(kParameters, 15).bytes.substr(1);
  EXPECT_EQ(ReadParameters(metric, 15).GetParamUnits(), kMetric);
  std::string none = At(kParameters, 163).bytes;
  none[none.size() - 1] = 0;
  EXPECT_EQ(ReadParameters(none, 163).GetPoleHandling(), 0);
  none[none.size() - 2] = 1;
  EXPECT_EQ(ReadParameters(none, 163).GetPoleHandling(), 2);
  ExpectPrefixesRefused(At(kParameters, 24).bytes,
                        [](const std::string& bytes) { ReadParameters(bytes, 24); });
}

TEST(PostTypes, DefaultParametersAreTheseBytes) {
  EXPECT_EQ(Written(zvKDRParam(kMetric)),
            Bytes()
                .Hex("01 00 00 00 01 00                   | metric, by rule, no mirror\n"
                     "00 00 00 00 00 00 5E 40             | largest angle jump 120\n"
                     "00 00 00 00 00 00 08 40             | largest angle step 3\n"
                     "00 00 00 00 00 00 F0 3F 00          | distance 1, not by distance\n"
                     "00 00 00 00 00 00 59 40             | retract distance 100\n"
                     "7B 14 AE 47 E1 7A 84 3F 00          | pole tolerance 0.01, no checks\n"
                     "2D 43 1C EB E2 36 1A 3F             | limit tolerance 0.0001\n"
                     "00 00 00 00 00 00 00 00 00 00       | rule, solution, preferred angle\n"
                     "00 03 00 00 00                      | pole handling 3\n")
                .Get());
}

TEST(PostTypes, ParametersAndControlsThatCantBeMeantAreRefused) {
  const auto tolerance = [](double value) {
    std::string bytes = At(kParameters, kNow).bytes;
    return bytes.replace(39, 8, Bytes().Double({value}).Get());
  };
  EXPECT_EQ(ReadParameters(tolerance(0.001), kNow).GetPoleAngleTolerance(), 0.001);
  EXPECT_EQ(ReadParameters(tolerance(10), kNow).GetPoleAngleTolerance(), 10);
  for (const double value : {0.0009, 10.001, -1.0, std::numeric_limits<double>::quiet_NaN()})
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { ReadParameters(tolerance(value), kNow); }, 5009));
  for (const int units : {0, 3, -1})
    EXPECT_TRUE(ThrowsId<measures::zvmeasuresException>(
        [&] { ReadParameters(Bytes().Int({units}), kNow); }, 2141));
  post::zv5axControlDef control;
  const auto readControl = [&](std::int32_t first, std::int32_t second, int version) {
    const std::string bytes = version < 50 ? Bytes() : Bytes().Int({first, second});
    ReadWhole(bytes, version, [&](zvBIPostTypes& reader) { reader.ReadControl(control); });
    return Numbers{static_cast<double>(control.GetFirstAxisLimit()),
                   static_cast<double>(control.GetSecondAxisLimit())};
  };
  EXPECT_EQ(readControl(1, 2, 50), (Numbers{1, 2}));
  EXPECT_EQ(Written(control), Bytes().Int({1, 2}).Get());
  EXPECT_EQ(readControl(1, 2, 49), (Numbers{0, 0}));
  for (const auto& limits : {std::pair(3, 0), std::pair(0, 3), std::pair(-1, 0)})
    EXPECT_TRUE(
        ThrowsId<zvcadcamException>([&] { readControl(limits.first, limits.second, kNow); }, 2708));
}

TEST(PostTypes, VersionsOutOfRangeAreRefused) {
  for (const std::uint32_t version : {0u, 2u, 227u, 0xFFFFFFFFu}) {
    MemoryInput stream(nullptr, 0);
    EXPECT_TRUE(ThrowsId<zvcadcamException>(
        [&] { zvBIPostTypes(stream, version, false, nullptr, true, false); }, 2027));
  }
  MemoryInput stream(nullptr, 0);
  EXPECT_EQ(zvBIPostTypes(stream, 3, false, nullptr, true, false).GetUpperKnownBinVersion(), 226u);
  EXPECT_EQ(zvBIPostTypes::GetLowerKnownBinVersion(), 3u);
}

namespace {

// The fields of a machine of 3 to 6 axes, as its class names them; every number is another.
std::vector<Field> MachineFields(int numbersOfAxes) {
  const Numbers own[] = {{0, 3, 4},
                         {0, 3, 4, 0, 0, 2, 21, 22, 23, -31, 32},
                         {0, 3, 4, 5, 0, 0, 0, 0, -6, 21, 22, 23, 24, 25, 26, -31, -32, 33, 34},
                         {0,  3,  4,  5,  0,  0,  0,  0,  -6,  0,   7,  0,  21,
                          22, 23, 24, 25, 26, 27, 28, 29, -31, -32, 33, 34, 35}};
  constexpr int kKinds[] = {0, 7, 3, 1};
  std::vector<Field> fields = {Int(25, 2, 1), Int(109, numbersOfAxes, 2)};
  if (numbersOfAxes > 0) fields.push_back(Int(0, kKinds[numbersOfAxes], 0));
  fields.push_back(Doubles(own[numbersOfAxes]));
  if (numbersOfAxes == 3)
    fields.push_back(Since(226, Bytes().Int({8, 9, 10}), Bytes().Int({0, 0, 1})));
  fields.push_back(Doubles(16, {-11, -12, -13, 14, 15, 16}, {-1e5, -1e5, -1e5, 1e5, 1e5, 1e5}));
  fields.push_back(Doubles(205, {0, 2, 0, 1, 0, 0, 0, 1, 1}, {1, 0, 0, 0, 1, 0, 0, 0, 1}));
  return fields;
}

// The same machine by its constructor.
misc::zvAutoPointer<post::zvMachDef> Made(int numbersOfAxes) {
  const Point spindle{0, 3, 4}, first{5, 0, 0}, second{0, 0, -6}, low{-11, -12, -13},
      high{14, 15, 16}, x{0, 2, 0}, y{1, 0, 0}, z{0, 1, 1}, p1{21, 22, 23}, p2{24, 25, 26};
  switch (numbersOfAxes) {
    case 0:
      return misc::MakeAutoPointer<post::zv3axMachDef>(kInch, spindle, low, high, x, y, z);
    case 1:
      return misc::MakeAutoPointer<post::zv4axMachDef>(7, kInch, spindle, Point(0, 0, 2), p1, -31,
                                                       32, low, high, x, y, z);
    case 2:
      return misc::MakeAutoPointer<post::zv5axMachDef>(3, kInch, spindle, first, second, p1, p2,
                                                       -31, -32, 33, 34, low, high, x, y, z);
    default:
      const auto six = misc::MakeAutoPointer<post::zv6axMachDef>(
          1, kInch, spindle, first, second, Point(0, 7, 0), p1, p2, Point(27, 28, 29), -31, -32, 33,
          34, 35, low, high, x, y, z);
      six->SetFirstOnWorkpiece(8);
      six->SetSecondOnWorkpiece(9);
      six->SetThirdOnWorkpiece(10);
      return six;
  }
}

misc::zvAutoPointer<post::zvMachDef> ReadMachine(const std::string& bytes, int version,
                                                 LostData* lostData = nullptr) {
  misc::zvAutoPointer<post::zvMachDef> machDef;
  ReadWhole(
      bytes, version, [&](zvBIPostTypes& reader) { reader.ReadMachDef(machDef); }, lostData);
  return machDef;
}

// A metric 5-axis machine of today with these directions and everything else simple.
std::string FiveAxes(const Point& spindle, const Point& first, const Point& second) {
  Bytes bytes;
  bytes.Int({1, 2, 2});
  for (const Point& p : {spindle, first, second, Point(1, 2, 3), Point(4, 5, 6)})
    bytes.Double({p.x, p.y, p.z});
  return bytes.Double({-10, -20, 10, 20, -1, -1, -1, 1, 1, 1, 1, 0, 0, 0, 1, 0, 0, 0, 1});
}

}  // namespace

TEST(PostTypes, MachinesOfEveryVersionAreRead) {
  for (int axes = 0; axes <= 3; ++axes) {
    // Below 109 there are machines of five axes alone.
    for (int version = axes == 2 ? 3 : 109; version <= kNow; ++version) {
      const Record record = At(MachineFields(axes), version);
      EXPECT_EQ(Written(*ReadMachine(record.bytes, version)), record.now)
          << axes << " at " << version;
    }
    const std::string now = At(MachineFields(axes), kNow).bytes;
    EXPECT_EQ(Written(*Made(axes)), now);
    ExpectPrefixesRefused(now, [](const std::string& bytes) { ReadMachine(bytes, kNow); });
  }
  // On which side the axes of older 6-axis machines are, by their kind.
  const std::int32_t sides[4][3] = {{0, 1, 1}, {0, 0, 1}, {0, 0, 0}, {1, 1, 1}};
  for (int kind = 0; kind <= 3; ++kind) {
    std::string bytes = At(MachineFields(3), 225).bytes;
    bytes[8] = static_cast<char>(kind);
    const auto machDef = ReadMachine(bytes, 225);
    const post::zv6axMachDef& m = post::zvMachDefUtils::As6ax(*machDef);
    EXPECT_EQ(m.GetFirstOnWorkpiece(), sides[kind][0]);
    EXPECT_EQ(m.GetSecondOnWorkpiece(), sides[kind][1]);
    EXPECT_EQ(m.GetThirdOnWorkpiece(), sides[kind][2]);
  }
}

namespace {

// A definition of none of the four classes.
class OddMachDef : public post::zvMachDef {
 public:
  explicit OddMachDef(NumbersOfAxes numbersOfAxes) : zvMachDef(numbersOfAxes) {}
  misc::zvAutoPointer<zvMachDef> Clone() const override { return nullptr; }
};

}  // namespace

TEST(PostTypes, MachinesThatNoClassTakesAreRefused) {
  const std::string rest = At(MachineFields(0), kNow).bytes.substr(8 + 24);
  for (const std::int32_t axes : {4, -1, 0x7FFFFFFF}) {
    const std::string odd = Bytes().Int({1, axes}).Raw(rest);
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { ReadMachine(odd, kNow); }, 5024));
    // Limits and directions come first.
    const std::string cut = odd.substr(0, odd.size() - 1);
    EXPECT_TRUE(ThrowsId<zvmiscException>([&] { ReadMachine(cut, kNow); }, 2018));
  }
  const auto read = [](const std::string& bytes) { return [=] { ReadMachine(bytes, kNow); }; };
  EXPECT_TRUE(ThrowsId<measures::zvmeasuresException>(read(Bytes().Int({5, 0})), 2141));
  // Written without a check, and refused: the third direction of the default is zero.
  EXPECT_TRUE(ThrowsId<zvPostException>(read(Written(post::zv6axMachDef())), 5028));
  const Point x{1, 0, 0}, z{0, 0, 1};
  EXPECT_TRUE(ThrowsId<zvPostException>(read(FiveAxes(z, x, x)), 5002));
  EXPECT_TRUE(ThrowsId<zvcadcamException>(read(FiveAxes({}, x, {})), 2189));
  const OddMachDef odd(post::zvMachDef::threeAxes);
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { Written<post::zvMachDef>(odd); }, 2503));
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] { Written(OddMachDef(post::zvMachDef::NumbersOfAxes(4))); }, 5031));
}

TEST(PostTypes, FiveAxisMachinesWithASecondAxisAlongTheSpindleAreMended) {
  const struct {
    Point spindle, first, second;
    std::vector<std::uint32_t> codes;
    Point newFirst, newSecond;
  } kCases[] = {
      {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}, {}, {1, 0, 0}, {0, 1, 0}},
      {{0, 0, 1}, {0, 0, 1}, {0, 1, 0}, {}, {0, 0, 1}, {0, 1, 0}},
      {{0, 0, 1}, {1, 0, 0}, {0, 0, -1}, {5}, {0, 0, -1}, {1, 0, 0}},
      // The cross product is 1e-12 long, and then a little more.
      {{0, 0, 1}, {1, 0, 0}, {1e-12, 0, 1}, {5}, {1e-12, 0, 1}, {1, 0, 0}},
      {{0, 0, 1}, {1, 0, 0}, {1.001e-12, 0, 1}, {}, {1, 0, 0}, {1.001e-12, 0, 1}},
      {{0, 0, 2}, {0, 0, 3}, {0, 0, -4}, {6}, {0, 0, 3}, {1, 0, 0}},
      {{3, 0, 4}, {3, 0, 4}, {3, 0, 4}, {6}, {3, 0, 4}, {-0.8, 0, 0.6}},
      {{0, 3, 4}, {0, 3, 4}, {0, -3, -4}, {6}, {0, 3, 4}, {0, -0.8, 0.6}},
  };
  for (const auto& c : kCases) {
    LostData lostData;
    try {
      const auto machDef = ReadMachine(FiveAxes(c.spindle, c.first, c.second), kNow, &lostData);
      const post::zv5axMachDef& m = post::zvMachDefUtils::As5ax(*machDef);
      EXPECT_EQ(m.GetFirstRotationDirection(), c.newFirst);
      EXPECT_LE((m.GetSecondRotationDirection() - c.newSecond).Length(), 1e-15);
      EXPECT_EQ(m.GetFirstRotationPivot(), Point(1, 2, 3));
      EXPECT_EQ(m.GetMinFirstAngle(), -10);
    } catch (const zvPostException& e) {
      // All but parallel to the spindle: the constructor's own, narrower test takes over.
      EXPECT_EQ(e.GetId(), 5045u);
      EXPECT_TRUE(c.codes.empty());
    }
    LostData expected;
    for (const std::uint32_t code : c.codes) expected.push_back({L"BinLostData", code});
    EXPECT_EQ(lostData, expected);
  }
  // Without a place for notes they are dropped.
  EXPECT_NO_THROW(ReadMachine(FiveAxes({0, 0, 1}, {1, 0, 0}, {0, 0, 1}), kNow));
}

namespace {

template <class Move>
constexpr int kClass = 0;
template <>
constexpr int kClass<post::zvPosted4axMove> = 1;
template <>
constexpr int kClass<post::zvPosted5axMove> = 2;
template <>
constexpr int kClass<post::zvPosted6axMove> = 3;

// The record of a move whose numbers are all different.
std::vector<Field> MoveFields(int moveClass, bool isSmall, bool hasData) {
  const Numbers angles = {10, 370, 12};
  std::vector<Field> fields = {Doubles({1, 2, 3, 4, 5, 6, 7, 8, 9}),
                               Doubles({angles.begin(), angles.begin() + moveClass})};
  if (moveClass >= 2) fields.push_back(Int(0, 2, 0));
  fields.push_back(Doubles({500}));
  fields.push_back(Byte(0, 1, 0));
  fields.push_back(Byte(191, isSmall, 0));
  // A small move of six axes is written without its type.
  if (moveClass < 3 || !isSmall) fields.push_back(Int(isSmall ? 210 : 83, 5, 0));
  if (moveClass == 3 && isSmall) fields.push_back({{{210, kNow, Bytes().Int({5}), {}}}, {}});
  fields.push_back(Doubles(41, {1.5}, {0}));
  if (isSmall) return fields;
  const Bytes data = Bytes().Byte(1).Double({21, 22, 23, 24, 25, 26}).Int({27});
  fields.push_back(Since(92, hasData ? data : Bytes().Byte(0), Bytes().Byte(0)));
  fields.push_back(Int(103, 28, 0));
  fields.push_back(Byte(103, 1, 0));
  return fields;
}

// What the numbers of such a move mean.
Line Meant(int moveClass, bool isSmall, bool hasData) {
  Line line{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  const Numbers angles = {10, 370, 12};
  line.degs.assign(angles.begin(), angles.begin() + moveClass);
  line.poleStatus = moveClass >= 2 ? 2 : 0;
  line.feed = 500;
  line.time = 1.5;
  line.type = 5;
  line.rapid = true;
  line.isSmall = isSmall;
  if (isSmall) return line;
  line.inserted = true;
  line.source = 28;
  if (hasData) line.extended = {21, 22, 23, 24, 25, 26, 27};
  return line;
}

template <class Move>
Move ReadMove(const std::string& bytes, int version) {
  // What stood in the target before is gone.
  Move move(false);
  move.SetExtendedPoint({99, 99, 99});
  move.SetMoveTime(99);
  ReadWhole(bytes, version, [&](zvBIPostTypes& reader) { reader.ReadMove(move); });
  return move;
}

template <class Move>
class PostedRecords : public testing::Test {};
using Moves = testing::Types<post::zvPosted3axMove, post::zvPosted4axMove, post::zvPosted5axMove,
                             post::zvPosted6axMove>;
TYPED_TEST_SUITE(PostedRecords, Moves);

}  // namespace

TYPED_TEST(PostedRecords, OfEveryVersionAreRead) {
  const int c = kClass<TypeParam>;
  for (const bool isSmall : {false, true})
    for (const bool hasData : {false, true}) {
      const std::vector<Field> fields = MoveFields(c, isSmall, hasData);
      for (int version = isSmall ? 191 : 3; version <= kNow; ++version) {
        const Record record = At(fields, version);
        const TypeParam move = ReadMove<TypeParam>(record.bytes, version);
        EXPECT_EQ(Written(move), record.now) << version << isSmall << hasData;
        EXPECT_EQ(move.GetType(), version < (isSmall ? 210 : 83) ? 0 : 5);
      }
      const std::string now = At(fields, kNow).bytes;
      EXPECT_EQ(LineOf(ReadMove<TypeParam>(now, kNow)), Meant(c, isSmall, hasData));
      ExpectPrefixesRefused(now,
                            [](const std::string& bytes) { ReadMove<TypeParam>(bytes, kNow); });
    }
}

TYPED_TEST(PostedRecords, TypesAndPolesThatAreNoneAreRefused) {
  const int c = kClass<TypeParam>;
  const std::string bytes = At(MoveFields(c, true, false), kNow).bytes;
  const auto refuses = [&](std::size_t at, std::int32_t value, std::uint32_t id) {
    std::string changed = bytes;
    changed.replace(at, 4, Bytes().Int({value}).Get());
    return ThrowsId<zvcadcamException>([&] { ReadMove<TypeParam>(changed, kNow); }, id);
  };
  const std::size_t type = bytes.size() - 12;
  const std::size_t pole = 72 + 8 * static_cast<std::size_t>(c);
  for (const std::int32_t value : {7, -1}) EXPECT_TRUE(refuses(type, value, 2708));
  if (c < 2) return;
  for (const std::int32_t value : {3, -1}) EXPECT_TRUE(refuses(pole, value, 2637));
}

TYPED_TEST(PostedRecords, ListsAndPostedToolpathsComeBack) {
  const int c = kClass<TypeParam>;
  const std::string move = At(MoveFields(c, false, true), kNow).bytes;
  misc::zvMemoryPoolProvider provider;
  auto list = misc::MakeAutoPointer<misc::zvMemoryPoolList<TypeParam>>(provider);
  const std::string bytes = Bytes().Int({2, c}).Raw(move).Raw(move);
  const auto readList = [&](const std::string& stored, int version) {
    ReadWhole(stored, version, [&](zvBIPostTypes& reader) { reader.ReadList(list); });
  };
  readList(bytes, kNow);
  ASSERT_EQ(list->GetCount(), 2u);
  EXPECT_EQ(Written(list), bytes);
  for (int other = -1; other <= 4; ++other) {
    if (other == c) continue;
    const std::string odd = Bytes().Int({0, other});
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { readList(odd, kNow); }, 2027));
  }
  // They are added to what is there.
  readList(Bytes().Int({1, c}).Raw(At(MoveFields(c, false, false), 119).bytes), 119);
  EXPECT_EQ(list->GetCount(), 3u);
  // Below 119 no class is stored, and lists of five axes are the only ones.
  const std::string old = Bytes().Int({1}).Raw(At(MoveFields(c, false, false), 118).bytes);
  if (c == 2)
    readList(old, 118);
  else
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { readList(old, 118); }, 2027));
  list = nullptr;
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { readList(bytes, kNow); }, 5047));
  EXPECT_TRUE(ThrowsNull([&] { Written(list); }));

  const std::string matrix =
      Bytes().Wide("VALIDE").Double({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15});
  const auto readPosted = [&](const std::string& stored, int version) {
    post::zvPostedTP toolpath;
    toolpath.SetAlignMatrix(misc::MakeAutoPointer<cadcam::zvMatrix<double, 4, 4>>());
    ReadWhole(stored, version, [&](zvBIPostTypes& reader) { reader.ReadPostedTP(toolpath); });
    return toolpath;
  };
  const std::string aligned = bytes + matrix;
  post::zvPostedTP posted = readPosted(aligned, kNow);
  EXPECT_EQ(posted.GetCount(), 2u);
  EXPECT_EQ((*posted.GetAlignMatrix())(1, 2), 6);
  EXPECT_EQ(Written(posted), aligned);
  for (const char* const marker : {"VALID", "VALIDEX", "valide", ""}) {
    posted = readPosted(bytes + Bytes().Wide(marker).Get(), kNow);
    EXPECT_FALSE(posted.HasAlignMatrix()) << marker;
  }
  EXPECT_EQ(Written(posted), bytes + Bytes().Wide("NULL").Get());
  const std::string at181 = At(MoveFields(c, false, false), 181).bytes;
  EXPECT_TRUE(readPosted(Bytes().Int({1, c}).Raw(at181).Raw(matrix), 181).HasAlignMatrix());
  const std::string at180 = At(MoveFields(c, false, false), 180).bytes;
  EXPECT_FALSE(readPosted(Bytes().Int({1, c}).Raw(at180), 180).HasAlignMatrix());
}

TEST(PostTypes, PostedToolpathsWithoutAClassOfTheirOwn) {
  const auto classOf = [](const post::zvPostedTP& toolpath) {
    return Bytes().Raw(Written(toolpath).substr(4, 4)).Get();
  };
  post::zvPostedTP toolpath;
  EXPECT_EQ(Written(toolpath), Bytes().Int({0, 2}).Wide("NULL").Get());
  // Below 119 five axes, and six for a class that is none.
  const auto read = [](const std::string& bytes, int version) {
    post::zvPostedTP posted;
    ReadWhole(bytes, version, [&](zvBIPostTypes& reader) { reader.ReadPostedTP(posted); });
    return posted;
  };
  const std::string five = At(MoveFields(2, false, false), 118).bytes;
  EXPECT_EQ(classOf(read(Bytes().Int({1}).Raw(five), 118)), Bytes().Int({2}).Get());
  const std::string six = At(MoveFields(3, false, false), kNow).bytes;
  for (const std::int32_t odd : {3, 4, -1})
    EXPECT_EQ(classOf(read(Bytes().Int({1, odd}).Raw(six).Wide("NULL"), kNow)),
              Bytes().Int({3}).Get());
  toolpath.PushBack(nullptr);
  EXPECT_TRUE(ThrowsNull([&] { Written(toolpath); }));
  toolpath.Clear();
  toolpath.PushBack(misc::MakeAutoPointer<post::zvPostedMove>(true));
  EXPECT_TRUE(
      ThrowsId<misc::zvException>([&] { Written(toolpath); }, 2183, L"Abstract function called"));
  // The first move's class stands for all.
  toolpath.Clear();
  toolpath.PushBack(misc::MakeAutoPointer<post::zvPosted3axMove>(true));
  toolpath.PushBack(misc::MakeAutoPointer<post::zvPosted4axMove>(true));
  EXPECT_EQ(classOf(toolpath), Bytes().Int({0}).Get());
}

TEST(PostTypes, VisitorsReadAndWriteTheClassThatTheyVisit) {
  MemoryOutput out;
  zvBOPostTypes writer(out);
  post::zvPostedVisitorBinOutput output(writer);
  const std::string bytes = At(MoveFields(1, false, true), kNow).bytes;
  ReadMove<post::zvPosted4axMove>(bytes, kNow).AcceptVisitor(output);
  EXPECT_EQ(out.GetBytes(), bytes);
  MemoryInput in(bytes);
  zvBIPostTypes reader(in, kNow, false, nullptr, true, false);
  post::zvPostedTP::MovePointer read;
  post::zvPostedVisitorBinInput input(reader, read);
  post::zvPosted4axMove(false).AcceptVisitor(input);
  EXPECT_EQ(LineOf(dynamic_cast<post::zvPosted4axMove&>(*read)), Meant(1, false, true));
  const post::zvPostedMove none(true);
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { none.AcceptVisitor(input); }, 2503));
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { none.AcceptVisitor(output); }, 2183));
}

// It is written without its type, and what its reader takes for that is the first of its time.
TEST(PostTypes, ASmallMoveOfSixAxesIsNotReadAgain) {
  misc::zvMemoryPoolProvider provider;
  const auto list = misc::MakeAutoPointer<misc::zvMemoryPoolList<post::zvPosted6axMove>>(provider);
  const auto readAgain = [&](double time) {
    post::zvPosted6axMove move(true);
    move.SetMoveTime(time);
    list->Clear();
    list->PushBack(move);
    const std::string bytes = Written(list);
    ReadWhole(bytes, kNow, [&](zvBIPostTypes& reader) { reader.ReadList(list); });
  };
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { readAgain(1.5); }, 2018));
  EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { readAgain(0.1); }, 2708));
}

TEST(PostTypes, AnIndexOfMinusOneNeeds32Bits) {
  post::zvPosted3axMove move(false);
  move.SetSourceIndex(-1);
  const std::string bytes = Written(move);
  EXPECT_EQ(ReadMove<post::zvPosted3axMove>(bytes, kNow).GetSourceIndex(), -1);
  const auto read64 = [&](std::int64_t index) {
    ReadWhole(
        bytes.substr(0, bytes.size() - 5) + Bytes().Number(index, 8).Byte(1).Get(), kNow,
        [&](zvBIPostTypes& reader) { reader.ReadMove(move); }, nullptr, true);
  };
  read64(12);
  EXPECT_EQ(move.GetSourceIndex(), 12);
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { read64(0xFFFFFFFF); }, 2157));
}

// Counts that nothing stands behind cost nothing.
TEST(PostTypes, CountsThatLieEndWithTheBytes) {
  const std::string machine = At(MachineFields(0), kNow).bytes;
  for (const std::int64_t count : {0x7FFFFFFFll, 0xFFFFFFFFll}) {
    const auto refused = [](const std::string& bytes, const auto& read) {
      return ThrowsId<zvmiscException>([&] { ReadWhole(bytes, kNow, read); }, 2018);
    };
    post::zvMachDefBuilder builder;
    EXPECT_TRUE(refused(Bytes().Raw(machine).Int({count, 0}),
                        [&](zvBIPostTypes& reader) { reader.ReadBuilder(builder); }));
    post::zvPostedTP toolpath;
    EXPECT_TRUE(refused(Bytes().Int({count, 3}),
                        [&](zvBIPostTypes& reader) { reader.ReadPostedTP(toolpath); }));
  }
}
