#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/persistence/post_types_reader.h>
#include <kandrel/persistence/post_types_writer.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/bytes.h>
#include <tests/support/memory_streams.h>
#include <tests/support/numbers.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

using cadcam::zvcadcamException;
using misc::zvmiscException;
using post::zvBIPostTypes;
using post::zvBOPostTypes;
using post::zvKDRParam;
using post::zvPostException;
using tests::Bytes;
using tests::MemoryInput;
using tests::Numbers;
using tests::Point;
using tests::ThrowsId;
using LostData = std::vector<misc::zvBILostData>;

namespace {

constexpr int kNow = 226;
constexpr auto kMetric = measures::zvUnitsFactory::metric;

// How a field was stored from one version to another, and what these bytes mean.
struct Form {
  int from;
  int to;
  std::string bytes;
  Numbers values;
};

// A field's forms, and its values in versions that have none of them.
struct Field {
  std::vector<Form> forms;
  Numbers fallback;
};

Field Since(int version, const Bytes& bytes, const Numbers& values, const Numbers& fallback) {
  return {{{version, kNow, bytes, values}}, fallback};
}
Field Always(const Bytes& bytes, const Numbers& values) {
  return Since(0, bytes, values, {});
}
Field Doubles(int version, const Numbers& values, const Numbers& fallback) {
  Bytes bytes;
  for (const double value : values) bytes.Double({value});
  return Since(version, bytes, values, fallback);
}
Field Doubles(const Numbers& values) {
  return Doubles(0, values, {});
}
Field Int(int version, std::int32_t value, double fallback) {
  return Since(version, Bytes().Int({value}), {static_cast<double>(value)}, {fallback});
}
Field Byte(int version, int value, double fallback) {
  return Since(version, Bytes().Byte(value), {static_cast<double>(value)}, {fallback});
}

struct Record {
  std::string bytes;
  Numbers values;
};

// What a table of fields makes of a version.
Record At(const std::vector<Field>& fields, int version) {
  Record record;
  for (const Field& field : fields) {
    const Numbers* values = &field.fallback;
    for (const Form& form : field.forms) {
      if (version < form.from || version > form.to) continue;
      record.bytes += form.bytes;
      values = &form.values;
    }
    tests::Append(record.values, *values);
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
  tests::MemoryOutput stream;
  zvBOPostTypes(stream).Write(value);
  return stream.GetBytes();
}

// A read of every prefix ends with 2018.
template <class ReadOne>
void ExpectPrefixesRefused(const std::string& bytes, int version, const ReadOne& read) {
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    MemoryInput stream(bytes.data(), size);
    zvBIPostTypes reader(stream, static_cast<std::uint32_t>(version), false, nullptr, true, false);
    EXPECT_TRUE(ThrowsId<zvmiscException>([&] { read(reader); }, 2018))
        << "version " << version << ", " << size << " bytes";
  }
}

const std::vector<Field> kParameters = {
    {{{25, kNow, Bytes().Int({2}), {2}}, {0, 24, Bytes().Byte(7), {2}}}, {}},
    Byte(0, 0, 0),
    Byte(0, 1, 0),
    Doubles({121}),
    Doubles({4}),
    Doubles({1.5}),
    Byte(0, 1, 0),
    Doubles({101}),
    Doubles(16, {0.25}, {0.57}),
    {{{185, kNow, Bytes().Byte(2), {2}}, {16, 184, Bytes().Byte(1), {3}}}, {0}},
    Doubles(55, {0.5}, {0.0001}),
    Byte(55, 1, 0),
    Since(55, Bytes().Byte(-3), {-3}, {0}),
    Doubles(55, {33}, {0}),
    Byte(100, 1, 0),
    {{{165, kNow, Bytes().Byte(3), {3}},
      {162, 164, Bytes().Byte(0).Byte(9), {2}},
      {156, 161, Bytes().Byte(1), {1}}},
     {0}},
    Byte(181, 1, 0),
    Since(220, Bytes().Byte(-1), {-1}, {0}),
    Byte(220, 1, 0),
};

Numbers Values(const zvKDRParam& p) {
  return tests::Flat(
      p.GetParamUnits(), p.GetFirstMoveByRule(), p.GetFirstMoveMirror(), p.GetMaxAngleJump(),
      p.GetMaxAngleStep(), p.GetInterpolationDistance(), p.GetInterpolateByDistance(),
      p.GetRetractDistance(), p.GetPoleAngleTolerance(), p.GetLimitsCheck(), p.GetLimitTolerance(),
      p.GetFirstMoveRule(), p.GetFirstMoveSolutionIndex(), p.GetFirstMovePreferredAngle(),
      p.GetInterpolateRapidMoves(), p.GetPoleHandling(), p.GetAlignToolpath(),
      p.GetInterpolationMode(), p.GetRetractToLimits());
}

zvKDRParam ReadParameters(const std::string& bytes, int version) {
  zvKDRParam parameters(kMetric);
  ReadWhole(bytes, version, [&](zvBIPostTypes& reader) { reader.ReadParameters(parameters); });
  return parameters;
}

}  // namespace

TEST(PostTypes, ParametersOfEveryVersionAreRead) {
  for (int version = 3; version <= kNow; ++version) {
    const Record record = At(kParameters, version);
    EXPECT_EQ(Values(ReadParameters(record.bytes, version)), record.values) << version;
  }
  // The other values of what was one byte or two.
  const std::string metric = "\x01" + At(kParameters, 15).bytes.substr(1);
  EXPECT_EQ(ReadParameters(metric, 15).GetParamUnits(), kMetric);
  std::string none = At(kParameters, 163).bytes;
  none[none.size() - 1] = 0;
  EXPECT_EQ(ReadParameters(none, 163).GetPoleHandling(), 0);
  none[none.size() - 2] = 1;
  EXPECT_EQ(ReadParameters(none, 163).GetPoleHandling(), 2);
  ExpectPrefixesRefused(At(kParameters, 24).bytes, 24, [](zvBIPostTypes& reader) {
    zvKDRParam parameters(kMetric);
    reader.ReadParameters(parameters);
  });
}

TEST(PostTypes, ParametersAreWrittenAsTheyAreRead) {
  const Record record = At(kParameters, kNow);
  EXPECT_EQ(Written(ReadParameters(record.bytes, kNow)), record.bytes);
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
  std::vector<Field> fields = {Int(25, 2, 1), Int(109, numbersOfAxes, 2)};
  switch (numbersOfAxes) {
    case 0:
      fields.push_back(Doubles({0, 3, 4}));
      break;
    case 1:
      fields.push_back(Always(Bytes().Int({7}), {7}));
      fields.push_back(Doubles({0, 3, 4, 0, 0, 2, 21, 22, 23, -31, 32}));
      break;
    case 2:
      fields.push_back(Always(Bytes().Int({3}), {3}));
      fields.push_back(
          Doubles({0, 3, 4, 5, 0, 0, 0, 0, -6, 21, 22, 23, 24, 25, 26, -31, -32, 33, 34}));
      break;
    default:
      fields.push_back(Always(Bytes().Int({1}), {1}));
      fields.push_back(Doubles({0,  3,  4,  5,  0,  0,  0,  0,  -6,  0,   7,  0,  21,
                                22, 23, 24, 25, 26, 27, 28, 29, -31, -32, 33, 34, 35}));
      fields.push_back(Since(226, Bytes().Int({8, 9, 10}), {8, 9, 10}, {0, 0, 1}));
      break;
  }
  fields.push_back(Doubles(16, {-11, -12, -13, 14, 15, 16}, {-1e5, -1e5, -1e5, 1e5, 1e5, 1e5}));
  fields.push_back(Doubles(205, {0, 2, 0, 1, 0, 0, 0, 1, 1}, {1, 0, 0, 0, 1, 0, 0, 0, 1}));
  return fields;
}

// In the order of the records.
Numbers OwnValues(const post::zvMachDef& machDef) {
  using Utils = post::zvMachDefUtils;
  switch (machDef.GetNumbersOfAxes()) {
    case post::zvMachDef::threeAxes:
      return tests::Flat(machDef.GetSpindleDirection());
    case post::zvMachDef::fourAxes: {
      const post::zv4axMachDef& m = Utils::As4ax(machDef);
      return tests::Flat(m.GetRotaryOnWorkpiece(), m.GetSpindleDirection(),
                         m.GetRotationDirection(), m.GetRotationPivot(), m.GetMinAngle(),
                         m.GetMaxAngle());
    }
    case post::zvMachDef::fiveAxes: {
      const post::zv5axMachDef& m = Utils::As5ax(machDef);
      return tests::Flat(
          m.GetFiveAxisKind(), m.GetSpindleDirection(), m.GetFirstRotationDirection(),
          m.GetSecondRotationDirection(), m.GetFirstRotationPivot(), m.GetSecondRotationPivot(),
          m.GetMinFirstAngle(), m.GetMinSecondAngle(), m.GetMaxFirstAngle(), m.GetMaxSecondAngle());
    }
    default: {
      const post::zv6axMachDef& m = Utils::As6ax(machDef);
      return tests::Flat(
          m.GetFiveAxisKind(), m.GetSpindleDirection(), m.GetFirstRotationDirection(),
          m.GetSecondRotationDirection(), m.GetThirdRotationDirection(), m.GetFirstRotationPivot(),
          m.GetSecondRotationPivot(), m.GetThirdRotationPivot(), m.GetMinFirstAngle(),
          m.GetMinSecondAngle(), m.GetMaxFirstAngle(), m.GetMaxSecondAngle(), m.GetThirdAngle(),
          m.GetFirstOnWorkpiece(), m.GetSecondOnWorkpiece(), m.GetThirdOnWorkpiece());
    }
  }
}

Numbers Values(const post::zvMachDef& m) {
  return tests::Flat(m.GetUnits(), m.GetNumbersOfAxes(), OwnValues(m), m.GetMinLimits(),
                     m.GetMaxLimits(), m.GetXAxisDirection(), m.GetYAxisDirection(),
                     m.GetZAxisDirection());
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
      EXPECT_EQ(Values(*ReadMachine(record.bytes, version)), record.values)
          << axes << " at " << version;
    }
    const Record now = At(MachineFields(axes), kNow);
    EXPECT_EQ(Written(*ReadMachine(now.bytes, kNow)), now.bytes);
    ExpectPrefixesRefused(now.bytes, kNow, [](zvBIPostTypes& reader) {
      misc::zvAutoPointer<post::zvMachDef> machDef;
      reader.ReadMachDef(machDef);
    });
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
  EXPECT_TRUE(ThrowsId<measures::zvmeasuresException>(
      [&] {
        ReadMachine(Bytes().Int({5, 0}), kNow);
      },
      2141));
  // Written without a check, and refused: the third direction of the default is zero.
  EXPECT_TRUE(
      ThrowsId<zvPostException>([&] { ReadMachine(Written(post::zv6axMachDef()), kNow); }, 5028));
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] {
        ReadMachine(FiveAxes({0, 0, 1}, {1, 0, 0}, {1, 0, 0}), kNow);
      },
      5002));
  EXPECT_TRUE(ThrowsId<zvcadcamException>(
      [&] {
        ReadMachine(FiveAxes({0, 0, 0}, {1, 0, 0}, {0, 0, 0}), kNow);
      },
      2189));
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
    std::unique_ptr<std::string> refusal;
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
  std::vector<Field> fields = {Doubles({1, 2, 3, 4, 5, 6, 7, 8, 9})};
  if (moveClass > 0) fields.push_back(Doubles(Numbers{10, 370, 12}));
  if (moveClass > 0) {
    const Numbers angles = {10, 370, 12};
    fields.back() = Doubles(Numbers(angles.begin(), angles.begin() + moveClass));
  }
  if (moveClass >= 2) fields.push_back(Always(Bytes().Int({2}), {2}));
  fields.push_back(Doubles({500}));
  fields.push_back(Byte(0, 1, 0));
  fields.push_back(Byte(191, isSmall, 0));
  fields.push_back(Int(isSmall ? 210 : 83, 5, 0));
  fields.push_back(Doubles(41, {1.5}, {0}));
  if (isSmall) return fields;
  fields.push_back(Byte(92, hasData, 0));
  if (hasData)
    fields.push_back(Since(92, Bytes().Double({21, 22, 23, 24, 25, 26}).Int({27}),
                           {21, 22, 23, 24, 25, 26, 27}, {0, 0, 0, 0, 0, 0, 0}));
  fields.push_back(Int(103, 28, 0));
  fields.push_back(Byte(103, 1, 0));
  return fields;
}

Numbers Angles(const post::zvPosted3axMove&) {
  return {};
}
Numbers Angles(const post::zvPosted4axMove& m) {
  return {m.GetRotaryAngle()};
}
Numbers Angles(const post::zvPosted5axMove& m) {
  return tests::Flat(m.GetAngle(0), m.GetAngle(1), m.GetPoleStatus());
}
Numbers Angles(const post::zvPosted6axMove& m) {
  return tests::Flat(m.GetAngle(0), m.GetAngle(1), m.GetAngle(2), m.GetPoleStatus());
}

template <class Move>
Numbers Values(const Move& m) {
  Numbers values =
      tests::Flat(m.GetMachinePosition(), m.GetPartPosition(), m.GetOrientation(), Angles(m),
                  m.GetFeed(), m.IsRapid(), m.HasNoExtended(), m.GetType(), m.GetMoveTime());
  if (m.HasNoExtended()) return values;
  tests::Append(values, m.HasExtendedData());
  if (m.HasExtendedData())
    tests::Append(values,
                  tests::Flat(m.GetExtendedPoint(), m.GetExtendedVector(), m.GetExtendedId()));
  tests::Append(values, tests::Flat(m.GetSourceIndex(), m.IsInserted()));
  return values;
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
  for (int version = 3; version <= kNow; ++version) {
    for (const bool isSmall : {false, true}) {
      if (isSmall && version < 191) continue;
      for (const bool hasData : {false, true}) {
        Record record = At(MoveFields(c, isSmall, hasData), version);
        if (hasData && !isSmall && version < 92)  // the values of what is not there
          record.values.erase(record.values.end() - 9, record.values.end() - 2);
        const TypeParam move = ReadMove<TypeParam>(record.bytes, version);
        EXPECT_EQ(Values(move), record.values) << version << isSmall << hasData;
        if (version != kNow) continue;
        if (c == 3 && isSmall) continue;
        EXPECT_EQ(Written(move), record.bytes);
        ExpectPrefixesRefused(record.bytes, kNow, [](zvBIPostTypes& reader) {
          TypeParam target(true);
          reader.ReadMove(target);
        });
      }
    }
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
    EXPECT_TRUE(ThrowsId<zvcadcamException>(
        [&] {
          readList(Bytes().Int({0, other}), kNow);
        },
        2027));
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
  EXPECT_TRUE(tests::ThrowsNull([&] { Written(list); }));

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
  EXPECT_TRUE(tests::ThrowsNull([&] { Written(toolpath); }));
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
  tests::MemoryOutput out;
  zvBOPostTypes writer(out);
  post::zvPostedVisitorBinOutput output(writer);
  const post::zvPosted4axMove move({1, 2, 3}, {4, 5, 6}, {0, 0, 1}, 7, 8, true,
                                   post::zvPostedMove::link3);
  move.AcceptVisitor(output);
  EXPECT_EQ(out.GetBytes(), Written(move));
  MemoryInput in(out.GetBytes());
  zvBIPostTypes reader(in, kNow, false, nullptr, true, false);
  post::zvPostedTP::MovePointer read;
  post::zvPostedVisitorBinInput input(reader, read);
  post::zvPosted4axMove(false).AcceptVisitor(input);
  EXPECT_TRUE(*read == move);
  const post::zvPostedMove none(true);
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { none.AcceptVisitor(input); }, 2503));
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { none.AcceptVisitor(output); }, 2183));
}

// A small 6-axis move is written without its type; what its reader makes of that.
TEST(PostTypes, ASmallMoveOfSixAxesIsNotReadAgain) {
  misc::zvMemoryPoolProvider provider;
  const auto list = misc::MakeAutoPointer<misc::zvMemoryPoolList<post::zvPosted6axMove>>(provider);
  post::zvPosted6axMove move({10, 20, 30}, {1, 2, 3}, {0, 0, 1}, 10, 20, 30, 0, 500, false,
                             post::zvPostedMove::noLink);
  for (const auto& [time, isCut] : {std::pair(1.5, true), std::pair(0.1, false)}) {
    move.SetMoveTime(time);
    list->Clear();
    list->PushBack(move);
    const std::string bytes = Written(list);
    EXPECT_EQ(bytes, Bytes()
                         .Int({1, 3})
                         .Double({10, 20, 30, 1, 2, 3, 0, 0, 1, 10, 20, 30})
                         .Int({0})
                         .Double({500})
                         .Hex("00 01")
                         .Double({time})
                         .Get());
    const auto read = [&] {
      ReadWhole(bytes, kNow, [&](zvBIPostTypes& reader) { reader.ReadList(list); });
    };
    if (isCut)
      EXPECT_TRUE(ThrowsId<zvmiscException>(read, 2018));
    else
      EXPECT_TRUE(ThrowsId<zvcadcamException>(read, 2708));
  }
}

TEST(PostTypes, AnIndexOfMinusOneNeeds32Bits) {
  post::zvPosted3axMove move(false);
  move.SetSourceIndex(-1);
  const std::string bytes = Written(move);
  EXPECT_EQ(ReadMove<post::zvPosted3axMove>(bytes, kNow).GetSourceIndex(), -1);
  const std::string fits = bytes.substr(0, bytes.size() - 5) + Bytes().Number(12, 8).Byte(1).Get();
  ReadWhole(
      fits, kNow, [&](zvBIPostTypes& reader) { reader.ReadMove(move); }, nullptr, true);
  EXPECT_EQ(move.GetSourceIndex(), 12);
  const std::string wide =
      bytes.substr(0, bytes.size() - 5) + Bytes().Number(0xFFFFFFFF, 8).Byte(0).Get();
  EXPECT_TRUE(ThrowsId<zvmiscException>(
      [&] {
        ReadWhole(
            wide, kNow, [&](zvBIPostTypes& reader) { reader.ReadMove(move); }, nullptr, true);
      },
      2157));
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
