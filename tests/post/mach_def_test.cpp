#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/misc/math_exception.h>
#include <kandrel/post/mach_def.h>
#include <kandrel/post/post_exception.h>
#include <tests/post/mach_def_samples.h>
#include <tests/support/throws_id.h>

#include <cmath>
#include <functional>
#include <limits>

namespace post {
namespace {

using tests::Fields;
using tests::Frame;
using tests::kInch;
using tests::kMetric;
using tests::Make3ax;
using tests::Make4ax;
using tests::Make5ax;
using tests::Make6ax;
using tests::Numbers;
using tests::Point;
using tests::Rotary;
using tests::ThrowsId;
using tests::Units;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr const wchar_t* kSingular =
    L"Determinant is zero, cannot find matrix inverse: Can compute inverse only for nonsingular "
    L"matrices (det != 0)";

Numbers Joined(Numbers a, const Numbers& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Numbers DefaultBase(int numbersOfAxes) {
  return {1,    0,    0,    1,   static_cast<double>(numbersOfAxes),
          -1e5, -1e5, -1e5, 1e5, 1e5,
          1e5,  1,    0,    0,   0,
          1,    0,    0,    0,   1,
          1};
}

TEST(MachDef, DefaultsOfEveryClass) {
  EXPECT_EQ(Fields(zv3axMachDef()), DefaultBase(0));
  EXPECT_EQ(Fields(zv4axMachDef()), Joined(DefaultBase(1), {0, 0, 0, -1, 0, 0, 0, -1e5, 1e5}));
  EXPECT_EQ(Fields(zv5axMachDef()), Joined(DefaultBase(2), {2, 0, 0, -1, 0, -1, 0, 0, 0, 0, 0, 0, 0,
                                                            -1e5, -1e5, 1e5, 1e5}));
  EXPECT_EQ(Fields(zv6axMachDef()),
            Joined(DefaultBase(3), {0, 0, 0, -1, -1, 0,    0,    0,   0,   0, 0, 0, 0, 0,
                                    0, 0, 0, 0,  0,  -1e5, -1e5, 1e5, 1e5, 0, 0, 1, 1}));
}

TEST(MachDef, ConstructorsPutEachArgumentInItsPlace) {
  const auto base = [](double axes) {
    return Numbers{1, 0, 3, 4, axes, -11, -12, -13, 14, 15, 16, 0, 2, 0, 1, 0, 0, 0, 1, 1, 0};
  };
  EXPECT_EQ(Fields(Make3ax()), base(0));
  EXPECT_EQ(Fields(Make4ax()), Joined(base(1), {7, 0, 0, 2, 21, 22, 23, -31, 32}));
  EXPECT_EQ(Fields(Make5ax()),
            Joined(base(2), {3, 5, 0, 0, 0, 0, -6, 21, 22, 23, 24, 25, 26, -31, -32, 33, 34}));
  EXPECT_EQ(Fields(Make6ax()),
            Joined(base(3), {3,  5,  0,  0,  0,  0,   -6,  0,  7,  0,  21, 22, 23, 24,
                             25, 26, 27, 28, 29, -31, -32, 33, 34, 35, 0,  1,  1}));
}

TEST(MachDef, SettersReachTheirOwnField) {
  zv4axMachDef four;
  four.SetRotaryOnWorkpiece(9);
  four.SetRotationDirection({1, 2, 3});
  four.SetRotationPivot({4, 5, 6});
  four.SetMinAngle(-7);
  four.SetMaxAngle(8);
  four.SetSpindleDirection({9, 8, 7});
  four.SetMinLimits({-1, -2, -3});
  four.SetMaxLimits({1, 2, 3});
  EXPECT_EQ(Fields(four), (Numbers{1, 9, 8, 7, 1, -1, -2, -3, 1, 2, 3, 1, 0, 0,  0,
                                   1, 0, 0, 0, 1, 1,  9,  1,  2, 3, 4, 5, 6, -7, 8}));
  zv5axMachDef five;
  five.SetFiveAxisKind(1);
  five.SetFirstRotationDirection({1, 2, 3});
  five.SetSecondRotationDirection({4, 5, 6});
  five.SetFirstRotationPivot({7, 8, 9});
  five.SetSecondRotationPivot({10, 11, 12});
  five.SetMinFirstAngle(13);
  five.SetMinSecondAngle(14);
  five.SetMaxFirstAngle(15);
  five.SetMaxSecondAngle(16);
  EXPECT_EQ(tests::OwnFields(five),
            (Numbers{1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
  zv6axMachDef six;
  six.SetFiveAxisKind(1);
  six.SetFirstRotationDirection({1, 2, 3});
  six.SetSecondRotationDirection({4, 5, 6});
  six.SetThirdRotationDirection({7, 8, 9});
  six.SetFirstRotationPivot({10, 11, 12});
  six.SetSecondRotationPivot({13, 14, 15});
  six.SetThirdRotationPivot({16, 17, 18});
  six.SetMinFirstAngle(19);
  six.SetMinSecondAngle(20);
  six.SetMaxFirstAngle(21);
  six.SetMaxSecondAngle(22);
  six.SetThirdAngle(23);
  six.SetFirstOnWorkpiece(24);
  six.SetSecondOnWorkpiece(25);
  six.SetThirdOnWorkpiece(26);
  Numbers expected{1};
  for (int i = 1; i <= 26; ++i) expected.push_back(i);
  EXPECT_EQ(tests::OwnFields(six), expected);
}

// The checks in the order in which they are made: each row also breaks everything that is checked
// later, so that a check made too late shows under another id.
struct CheckCase {
  const char* name;
  std::uint32_t id;  // 0: accepted
  Frame frame;
  Rotary rotary;
};

const Frame kZeroSpindle{.spindle = {0, 0, 0}, .z = {0, 0, 0}};
const Frame kFlatAxes{.z = {0, 0, 0}};
// Equal to the spindle at first and second place, with a kind above 3.
const Rotary kAllWrong{.kind = 4, .first = {0, 0, 0}, .second = {0, 0, 0}, .third = {0, 0, 0}};

const wchar_t* TextOf(std::uint32_t id) {
  switch (id) {
    case 5002:
      return L"Equal rotation axis direction passed.";
    case 5024:
      return L"Spindle direction vector with length 0 passed.";
    case 5025:
      return L"Rotation axis direction with length 0 passed.";
    case 5026:
      return L"First rotation axis direction with length 0 passed.";
    case 5027:
      return L"Second rotation axis direction with length 0 passed.";
    case 5028:
      return L"Third rotation axis direction with length 0 passed.";
    case 5031:
      return L"Machine type is unknown.";
    case 5045:
      return L"If machine definiton contains an axis of rotation parallel with the spindle, then "
             L"it must be defined as first rotation axis.";
  }
  return L"";
}

template <class Make>
void CheckCases(const std::vector<CheckCase>& cases, Make make) {
  for (const CheckCase& c : cases) {
    SCOPED_TRACE(c.name);
    const auto construct = [&] { make(c.frame, c.rotary); };
    if (c.id == 0)
      EXPECT_NO_THROW(construct());
    else if (c.id == 2141)
      EXPECT_TRUE(ThrowsId<measures::zvmeasuresException>(construct, 2141, L"Unknown Units"));
    else if (c.id == 7108)
      EXPECT_TRUE(ThrowsId<misc::zvMathException>(construct, 7108, kSingular));
    else
      EXPECT_TRUE(ThrowsId<zvPostException>(construct, c.id, TextOf(c.id)));
  }
}

TEST(MachDef, ChecksOfAllClassesComeFirst) {
  Frame zeroUnits = kZeroSpindle;
  zeroUnits.units = static_cast<Units>(0);
  Frame threeUnits = kZeroSpindle;
  threeUnits.units = static_cast<Units>(3);
  const std::vector<CheckCase> cases{
      {"units 0", 2141, zeroUnits, kAllWrong},
      {"units 3", 2141, threeUnits, kAllWrong},
      {"zero spindle", 5024, kZeroSpindle, kAllWrong},
      {"minus zero spindle", 5024, {.spindle = {-0.0, 0, -0.0}}, kAllWrong},
      {"flat axes", 7108, kFlatAxes, kAllWrong},
      {"parallel axes", 7108, {.x = {0, 1, 0}, .y = {0, 2, 0}}, kAllWrong},
      {"tiny spindle, tiny axes",
       0,
       {.spindle = {0, 5e-324, 0}, .x = {1e-100, 0, 0}, .y = {0, 1e-100, 0}, .z = {0, 0, 1e-100}},
       {}},
  };
  CheckCases(cases, [](const Frame& f, const Rotary&) { Make3ax(f); });
  CheckCases(cases, [](const Frame& f, const Rotary& r) { Make4ax(f, r.first); });
  CheckCases(cases, [](const Frame& f, const Rotary& r) { Make5ax(f, r); });
  CheckCases(cases, [](const Frame& f, const Rotary& r) { Make6ax(f, r); });
}

TEST(MachDef, FourAxisChecks) {
  CheckCases({{"zero direction", 5025, {}, kAllWrong},
              {"parallel to the spindle", 0, {}, {.first = {0, 3, 4}}}},
             [](const Frame& f, const Rotary& r) { Make4ax(f, r.first); });
}

TEST(MachDef, FiveAxisChecks) {
  const Frame alongZ{.spindle = {0, 0, 5}};
  CheckCases(
      {{"first zero", 5026, alongZ, kAllWrong},
       {"second zero", 5027, alongZ, {.kind = 4, .first = {0, 0, 5}, .second = {0, 0, 0}}},
       {"equal", 5002, alongZ, {.kind = 4, .first = {0, 0, 5}, .second = {0, 0, 5}}},
       {"parallel, not equal", 5045, alongZ, {.kind = 4, .first = {0, 0, 1}, .second = {0, 0, 2}}},
       {"opposite to the spindle", 5045, alongZ, {.second = {0, 0, -2}}},
       {"first along the spindle", 0, alongZ, {.first = {0, 0, 1}, .second = {0, 1, 0}}},
       {"parallel pair", 0, alongZ, {.first = {0, 1, 0}, .second = {0, 2, 0}}},
       {"opposite pair", 0, alongZ, {.first = {0, 1, 0}, .second = {0, -1, 0}}},
       {"kind 4", 5031, alongZ, {.kind = 4, .second = {0, 1, 0}}},
       {"kind 2^31 - 1", 5031, alongZ, {.kind = 2147483647, .second = {0, 1, 0}}},
       {"kind 3", 0, alongZ, {.kind = 3, .second = {0, 1, 0}}},
       {"kind -1", 0, alongZ, {.kind = -1, .second = {0, 1, 0}}},
       {"kind -2^31", 0, alongZ, {.kind = -2147483647 - 1, .second = {0, 1, 0}}},
       // Exactly 1 is meant: this pair is parallel too, but rounding makes the product less.
       {"(1, 1, 1) twice", 0, {.spindle = {1, 1, 1}}, {.second = {1, 1, 1}}},
       {"(0, 3, 4) and (0, 6, 8)", 5045, {.spindle = {0, 3, 4}}, {.second = {0, 6, 8}}}},
      [](const Frame& f, const Rotary& r) { Make5ax(f, r); });
}

TEST(MachDef, SixAxisChecks) {
  const Frame alongZ{.spindle = {0, 0, 5}};
  CheckCases({{"first zero", 5026, alongZ, kAllWrong},
              {"second zero",
               5027,
               alongZ,
               {.kind = 4, .first = {0, 0, 5}, .second = {0, 0, 0}, .third = {0, 0, 0}}},
              {"third zero",
               5028,
               alongZ,
               {.kind = 4, .first = {0, 0, 5}, .second = {0, 0, 5}, .third = {0, 0, 0}}},
              {"equal", 5002, alongZ, {.kind = 4, .first = {0, 0, 5}, .second = {0, 0, 5}}},
              {"second along the spindle passes", 0, alongZ, {.second = {0, 0, 5}}},
              {"third equal to first and second is not looked for",
               0,
               alongZ,
               {.first = {1, 0, 0}, .second = {0, 1, 0}, .third = {1, 0, 0}}},
              {"kind 4", 5031, alongZ, {.kind = 4}},
              {"kind -1", 0, alongZ, {.kind = -1}}},
             [](const Frame& f, const Rotary& r) { Make6ax(f, r); });
}

TEST(MachDef, NormalizeTouchesDirectionsOnly) {
  zv6axMachDef six = Make6ax();
  Numbers expected = Fields(six);
  ASSERT_EQ(six.GetSpindleDirection(), Point(0, 3, 4));
  six.Normalize();
  const auto put = [&](std::size_t at, const Point& p) {
    expected[at] = p.x;
    expected[at + 1] = p.y;
    expected[at + 2] = p.z;
  };
  put(1, {0, 0.6, 0.8});
  put(22, {1, 0, 0});
  put(25, {0, 0, -1});
  put(28, {0, 1, 0});
  EXPECT_EQ(Fields(six), expected);

  zv5axMachDef five = Make5ax();
  five.Normalize();
  EXPECT_EQ(five.GetFirstRotationDirection(), Point(1, 0, 0));
  EXPECT_EQ(five.GetSecondRotationDirection(), Point(0, 0, -1));
  EXPECT_EQ(five.GetSecondRotationPivot(), Point(24, 25, 26));
  zv4axMachDef four = Make4ax();
  four.Normalize();
  EXPECT_EQ(four.GetSpindleDirection(), Point(0, 0.6, 0.8));
  EXPECT_EQ(four.GetRotationDirection(), Point(0, 0, 1));
  EXPECT_EQ(four.GetRotationPivot(), Point(21, 22, 23));
  zv3axMachDef three;
  three.SetSpindleDirection({0, 0, 1e-200});  // its square underflows
  three.Normalize();
  EXPECT_EQ(three.GetSpindleDirection(), Point(0, 0, 1));
}

TEST(MachDef, NormalizeRefusesZeroAndWhatIsNotFinite) {
  const auto refuses = [](const auto& good, auto set) {
    for (const auto& [vector, id] :
         {std::pair(Point(0, 0, 0), 2189u), std::pair(Point(0, kNan, 0), 5039u),
          std::pair(Point(kInfinity, 0, 0), 5039u)}) {
      auto machDef = good;
      set(machDef, vector);
      const auto normalize = [&machDef = machDef] { machDef.Normalize(); };
      if (id == 2189)
        EXPECT_TRUE(
            ThrowsId<cadcam::zvcadcamException>(normalize, 2189, L"Can't normalize null vector."));
      else
        EXPECT_TRUE(ThrowsId<zvPostException>(normalize, 5039, L"Invalid vector was passed."));
    }
  };
  refuses(Make3ax(), [](auto& m, const Point& p) { m.SetSpindleDirection(p); });
  refuses(Make4ax(), [](auto& m, const Point& p) { m.SetRotationDirection(p); });
  refuses(Make5ax(), [](auto& m, const Point& p) { m.SetFirstRotationDirection(p); });
  refuses(Make5ax(), [](auto& m, const Point& p) { m.SetSecondRotationDirection(p); });
  refuses(Make6ax(), [](auto& m, const Point& p) { m.SetFirstRotationDirection(p); });
  refuses(Make6ax(), [](auto& m, const Point& p) { m.SetSecondRotationDirection(p); });
  refuses(Make6ax(), [](auto& m, const Point& p) { m.SetThirdRotationDirection(p); });

  const auto refusesPivot = [](auto machDef, auto set) {
    set(machDef, Point(0, 0, 0));
    EXPECT_NO_THROW(machDef.Normalize());
    set(machDef, Point(0, 0, -kInfinity));
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { machDef.Normalize(); }, 5039,
                                          L"Invalid vector was passed."));
  };
  refusesPivot(Make4ax(), [](auto& m, const Point& p) { m.SetRotationPivot(p); });
  refusesPivot(Make5ax(), [](auto& m, const Point& p) { m.SetFirstRotationPivot(p); });
  refusesPivot(Make5ax(), [](auto& m, const Point& p) { m.SetSecondRotationPivot(p); });
  refusesPivot(Make6ax(), [](auto& m, const Point& p) { m.SetFirstRotationPivot(p); });
  refusesPivot(Make6ax(), [](auto& m, const Point& p) { m.SetSecondRotationPivot(p); });
  refusesPivot(Make6ax(), [](auto& m, const Point& p) { m.SetThirdRotationPivot(p); });

  EXPECT_TRUE(ThrowsId<cadcam::zvcadcamException>([] { zv6axMachDef().Normalize(); }, 2189,
                                                  L"Can't normalize null vector."))
      << "the default third direction is zero";
  zv3axMachDef notANumber = Make3ax({.x = {kNan, 0, 0}});
  EXPECT_FALSE(notANumber.IsIdentityTransform());
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { notANumber.Normalize(); }, 5039,
                                        L"Invalid vector was passed."));
  zv3axMachDef noLimits = Make3ax({.minLimits = {-kInfinity, -kInfinity, -kInfinity},
                                   .maxLimits = {kInfinity, kInfinity, kInfinity}});
  EXPECT_NO_THROW(noLimits.Normalize());
}

TEST(MachDef, AxisDirectionsAreColumnsAndTheInverseUndoesThem) {
  const zv3axMachDef skew = Make3ax();
  const zvMachDef::Matrix axes = skew.GetAxisMatrix();
  EXPECT_EQ(axes * Point(1, 0, 0), Point(0, 2, 0));
  EXPECT_EQ(axes * Point(0, 1, 0), Point(1, 0, 0));
  EXPECT_EQ(axes * Point(0, 0, 1), Point(0, 1, 1));
  EXPECT_FALSE(skew.IsIdentityTransform());
  // By hand: (a, b, c) = x (0, 2, 0) + y (1, 0, 0) + z (0, 1, 1) gives x = (b - c) / 2, y = a, z =
  // c.
  EXPECT_EQ(*skew.GetInverseAxisMatrix() * Point(3, 11, 5), Point(3, 3, 5));

  const zv3axMachDef leftHanded = Make3ax({.x = {-1, 0, 0}, .y = {0, 1, 0}, .z = {0, 0, 1}});
  EXPECT_FALSE(leftHanded.IsIdentityTransform());
  EXPECT_EQ(*leftHanded.GetInverseAxisMatrix() * Point(3, 11, 5), Point(-3, 11, 5));
  EXPECT_EQ(*zv3axMachDef().GetInverseAxisMatrix(), zvMachDef::Matrix::Identity());
}

TEST(MachDef, IdentityBandIsInclusive) {
  const double beyond = std::nextafter(1e-5, 1.0);
  struct BandCase {
    Point x, y, z;
    bool isIdentity;
  };
  const BandCase cases[] = {
      {{1, 1e-5, -1e-5}, {1e-5, 1, 1e-5}, {-1e-5, -1e-5, 1}, true},
      {{1, beyond, 0}, {0, 1, 0}, {0, 0, 1}, false},
      {{1, 0, 0}, {0, 1, 0}, {-beyond, 0, 1}, false},
      {{1, 0, 0}, {0, 1, -beyond}, {0, 0, 1}, false},
      {{1.000009, 0, 0}, {0, 0.999991, 0}, {0, 0, 1}, true},
      {{1, 0, 0}, {0, 1, 0}, {0, 0, 1.000011}, false},
      {{1, 0, 0}, {0, 0.999989, 0}, {0, 0, 1}, false},
  };
  zv3axMachDef machDef;
  for (const BandCase& c : cases) {
    machDef.SetAxisDirections(c.x, c.y, c.z);
    EXPECT_EQ(machDef.IsIdentityTransform(), c.isIdentity) << &c - cases;
  }
}

TEST(MachDef, RefusedAxisDirectionsLeaveTheObject) {
  zv5axMachDef machDef = Make5ax();
  const Numbers before = Fields(machDef);
  const zvMachDef::Matrix inverse = *machDef.GetInverseAxisMatrix();
  EXPECT_TRUE(ThrowsId<misc::zvMathException>(
      [&] {
        machDef.SetAxisDirections({1, 0, 0}, {0, 1, 0}, {1, 1, 0});
      },
      7108, kSingular));
  EXPECT_EQ(Fields(machDef), before);
  EXPECT_EQ(*machDef.GetInverseAxisMatrix(), inverse);
  // The definition's own vectors may be handed back to it.
  machDef.SetAxisDirections(machDef.GetYAxisDirection(), machDef.GetXAxisDirection(),
                            machDef.GetZAxisDirection());
  EXPECT_EQ(machDef.GetXAxisDirection(), Point(1, 0, 0));
  EXPECT_EQ(machDef.GetYAxisDirection(), Point(0, 2, 0));
}

template <class M>
void CopiesAreEqualAndShareNothing(const M& source) {
  const Numbers expected = Fields(source);
  const M copy(source);
  M assigned;
  assigned = source;
  const misc::zvAutoPointer<zvMachDef> clone = source.Clone();
  const zvMachDef& cloned = *clone;
  ASSERT_EQ(typeid(cloned), typeid(M));
  for (const M* other : {&copy, &std::as_const(assigned), static_cast<const M*>(clone.Get())}) {
    EXPECT_EQ(Fields(*other), expected);
    EXPECT_EQ(*other->GetInverseAxisMatrix(), *source.GetInverseAxisMatrix());
    EXPECT_NE(other->GetInverseAxisMatrix().Get(), source.GetInverseAxisMatrix().Get());
    EXPECT_EQ(other->GetInverseAxisMatrix().UseCount(), 1u);
  }
  M& self = assigned;
  assigned = self;
  EXPECT_EQ(Fields(assigned), expected);
  EXPECT_EQ(*assigned.GetInverseAxisMatrix(), *source.GetInverseAxisMatrix());
}

TEST(MachDef, CopiesAreEqualAndShareNothing) {
  CopiesAreEqualAndShareNothing(Make3ax({.units = kInch}));
  CopiesAreEqualAndShareNothing(Make4ax({.units = kInch}));
  CopiesAreEqualAndShareNothing(Make5ax({.units = kInch}));
  zv6axMachDef six = Make6ax({.units = kInch});
  six.SetFirstOnWorkpiece(1);
  six.SetSecondOnWorkpiece(0);
  six.SetThirdOnWorkpiece(0);
  CopiesAreEqualAndShareNothing(six);
}

// Lengths are the limits, at 5 to 10, and the pivots; everything else stays as it is.
template <class M>
void ScalesLengthsOnly(M machDef, std::size_t firstPivot, std::size_t pivotCount) {
  const Numbers metric = Fields(machDef);
  const auto scaled = [&](double units, double factor) {
    Numbers n = metric;
    n[0] = units;
    for (std::size_t i = 5; i < 11; ++i) n[i] *= factor;
    for (std::size_t i = 0; i < 3 * pivotCount; ++i) n[firstPivot + i] *= factor;
    return n;
  };
  machDef.SetUnits(kMetric);
  EXPECT_EQ(Fields(machDef), metric);
  const zvMachDef::Matrix inverse = *machDef.GetInverseAxisMatrix();
  machDef.SetUnits(kInch);
  EXPECT_EQ(Fields(machDef), scaled(2, 0.03937007874015748));
  EXPECT_EQ(*machDef.GetInverseAxisMatrix(), inverse);

  M inch = machDef;
  inch.SetUnits(kInch);
  EXPECT_EQ(Fields(inch), Fields(machDef));
  inch.SetUnits(kMetric, true);  // the label only
  inch.SetUnits(kInch, true);
  EXPECT_EQ(Fields(inch), Fields(machDef));
  EXPECT_TRUE(ThrowsId<measures::zvmeasuresException>([&] { inch.SetUnits(static_cast<Units>(0)); },
                                                      2141, L"Unknown Units"));
  EXPECT_EQ(Fields(inch), Fields(machDef));

  machDef.SetUnits(kMetric, true);
  machDef.SetUnits(kInch, true);
  machDef.SetUnits(kMetric);
  const Numbers back = Fields(machDef);
  ASSERT_EQ(back.size(), metric.size());
  for (std::size_t i = 0; i < back.size(); ++i)
    EXPECT_NEAR(back[i], metric[i], 1e-14 * std::fabs(metric[i])) << i;
}

TEST(MachDef, ChangeOfUnitsScalesLengthsOnly) {
  ScalesLengthsOnly(Make3ax(), 0, 0);
  ScalesLengthsOnly(Make4ax(), 25, 1);
  ScalesLengthsOnly(Make5ax(), 28, 2);
  ScalesLengthsOnly(Make6ax(), 31, 3);
  zv3axMachDef inch = Make3ax({.units = kInch});
  inch.SetUnits(kMetric);
  EXPECT_EQ(inch.GetMaxLimits(), Point(14 * 25.4, 15 * 25.4, 16 * 25.4));
}

TEST(MachDef, VisitorsSeeTheClass) {
  struct Slot : zvMachineVisitor {
    int visited = -1;
    void Visit(const zv6axMachDef&) override { visited = 6; }
    void Visit(const zv5axMachDef&) override { visited = 5; }
    void Visit(const zv4axMachDef&) override { visited = 4; }
    void Visit(const zv3axMachDef&) override { visited = 3; }
    void Visit(const zvMachDef&) override { visited = 0; }
  } slot;
  const zv3axMachDef three;
  const zv4axMachDef four;
  const zv5axMachDef five;
  const zv6axMachDef six;
  const tests::OddMachDef odd(zvMachDef::fiveAxes);
  for (const auto& [machDef, expected] : std::initializer_list<std::pair<const zvMachDef*, int>>{
           {&three, 3}, {&four, 4}, {&five, 5}, {&six, 6}, {&odd, 0}}) {
    machDef->AcceptVisitor(slot);
    EXPECT_EQ(slot.visited, expected);
  }
}

}  // namespace
}  // namespace post
