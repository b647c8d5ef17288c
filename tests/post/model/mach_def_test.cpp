#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/misc/math_exception.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/post/model/mach_def_samples.h>
#include <tests/support/throws_id.h>

#include <cmath>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

namespace post {
namespace {

using tests::Fields;
using tests::Flat;
using tests::Frame;
using tests::kInch;
using tests::kMetric;
using tests::Make3ax;
using tests::Make4ax;
using tests::Make5ax;
using tests::Make6ax;
using tests::Numbers;
using tests::OwnFields;
using tests::Point;
using tests::Rotary;
using tests::ThrowsId;
using tests::Units;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// clang-format off
TEST(MachDef, DefaultsOfEveryClass) {
  const auto base = [](int numbersOfAxes) {
    return Flat(1, Point(0, 0, 1), numbersOfAxes, Point(-1e5, -1e5, -1e5), Point(1e5, 1e5, 1e5),
                Point(1, 0, 0), Point(0, 1, 0), Point(0, 0, 1), 1);
  };
  EXPECT_EQ(Fields(zv3axMachDef()), base(0));
  EXPECT_EQ(Fields(zv4axMachDef()), Flat(base(1), Numbers{0, 0, 0, -1, 0, 0, 0, -1e5, 1e5}));
  EXPECT_EQ(Fields(zv5axMachDef()), Flat(base(2), Numbers{2, 0, 0, -1, 0, -1, 0, 0, 0, 0, 0, 0, 0, -1e5, -1e5, 1e5, 1e5}));
  EXPECT_EQ(Fields(zv6axMachDef()), Flat(base(3), Numbers{0, 0, 0, -1, -1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -1e5, -1e5, 1e5, 1e5, 0, 0, 1, 1}));
}

TEST(MachDef, ConstructorsPutEachArgumentInItsPlace) {
  const auto base = [](int axes) {
    return Flat(1, Point(0, 3, 4), axes, Point(-11, -12, -13), Point(14, 15, 16),
                Point(0, 2, 0), Point(1, 0, 0), Point(0, 1, 1), 0);
  };
  EXPECT_EQ(Fields(Make3ax()), base(0));
  EXPECT_EQ(Fields(Make4ax()), Flat(base(1), Numbers{7, 0, 0, 2, 21, 22, 23, -31, 32}));
  EXPECT_EQ(Fields(Make5ax()), Flat(base(2), Numbers{3, 5, 0, 0, 0, 0, -6, 21, 22, 23, 24, 25, 26, -31, -32, 33, 34}));
  EXPECT_EQ(Fields(Make6ax()), Flat(base(3), Numbers{3, 5, 0, 0, 0, 0, -6, 0, 7, 0, 21, 22, 23, 24, 25, 26, 27, 28, 29, -31, -32, 33, 34, 35, 0, 1, 1}));
}
// clang-format on

TEST(MachDef, SettersReachTheirOwnField) {
  zv4axMachDef four;
  four.SetRotaryOnWorkpiece(9);
  four.SetRotationDirection({1, 2, 3});
  four.SetRotationPivot({4, 5, 6});
  four.SetMinAngle(-7);
  four.SetMaxAngle(8);
  EXPECT_EQ(OwnFields(four), (Numbers{9, 1, 2, 3, 4, 5, 6, -7, 8}));
  const auto setBoth = [](auto& m) {
    m.SetFiveAxisKind(1);
    m.SetFirstRotationDirection({1, 2, 3});
    m.SetSecondRotationDirection({4, 5, 6});
    m.SetFirstRotationPivot({7, 8, 9});
    m.SetSecondRotationPivot({10, 11, 12});
    m.SetMinFirstAngle(13);
    m.SetMinSecondAngle(14);
    m.SetMaxFirstAngle(15);
    m.SetMaxSecondAngle(16);
  };
  zv5axMachDef five;
  setBoth(five);
  const Point a(1, 2, 3), b(4, 5, 6), p(7, 8, 9), q(10, 11, 12);
  EXPECT_EQ(OwnFields(five), Flat(1, a, b, p, q, 13, 14, 15, 16));
  zv6axMachDef six;
  setBoth(six);
  six.SetThirdRotationDirection({16, 17, 18});
  six.SetThirdRotationPivot({19, 20, 21});
  six.SetThirdAngle(23);
  six.SetFirstOnWorkpiece(24);
  six.SetSecondOnWorkpiece(25);
  six.SetThirdOnWorkpiece(26);
  EXPECT_EQ(OwnFields(six), Flat(1, a, b, Point(16, 17, 18), p, q, Point(19, 20, 21), 13, 14, 15,
                                 16, 23, 24, 25, 26));
  six.SetSpindleDirection({9, 8, 7});
  six.SetMinLimits({-1, -2, -3});
  six.SetMaxLimits({1, 2, 3});
  EXPECT_EQ(Flat(six.GetSpindleDirection(), six.GetMinLimits(), six.GetMaxLimits()),
            (Numbers{9, 8, 7, -1, -2, -3, 1, 2, 3}));
}

// The checks in the order in which they are made: each row also breaks everything that is checked
// later, so that a check made too late shows under another id.
struct CheckCase {
  const char* name;
  std::uint32_t id;  // 0: accepted
  Frame frame;
  Rotary rotary;
};

// Equal to the spindle at first and second place, with a kind above 3.
const Rotary kAllWrong{.kind = 4, .first = {0, 0, 0}, .second = {0, 0, 0}, .third = {0, 0, 0}};

template <class Make>
void CheckCases(const std::vector<CheckCase>& cases, Make make) {
  for (const CheckCase& c : cases) {
    SCOPED_TRACE(c.name);
    const auto construct = [&] { make(c.frame, c.rotary); };
    if (c.id == 0)
      EXPECT_NO_THROW(construct());
    else if (c.id == 2141)
      EXPECT_TRUE(ThrowsId<measures::zvmeasuresException>(construct, c.id));
    else if (c.id == 7108)
      EXPECT_TRUE(ThrowsId<misc::zvMathException>(construct, c.id));
    else
      EXPECT_TRUE(ThrowsId<zvPostException>(construct, c.id));
  }
}

// clang-format off
TEST(MachDef, ChecksComeInTheirOrder) {
  const Point zero{};
  const std::vector<CheckCase> common{
      {"units 0", 2141, {.units = static_cast<Units>(0), .spindle = zero, .z = zero}, kAllWrong},
      {"units 3", 2141, {.units = static_cast<Units>(3), .spindle = zero, .z = zero}, kAllWrong},
      {"zero spindle", 5024, {.spindle = zero, .z = zero}, kAllWrong},
      {"minus zero spindle", 5024, {.spindle = {-0.0, 0, -0.0}}, kAllWrong},
      {"flat axes", 7108, {.z = zero}, kAllWrong},
      {"parallel axes", 7108, {.x = {0, 1, 0}, .y = {0, 2, 0}}, kAllWrong},
      {"tiny", 0, {.spindle = {0, 5e-324, 0}, .x = {1e-100, 0, 0}, .y = {0, 1e-100, 0}, .z = {0, 0, 1e-100}}, {}},
  };
  const auto make4 = [](const Frame& f, const Rotary& r) { Make4ax(f, r.first); };
  const auto make5 = [](const Frame& f, const Rotary& r) { Make5ax(f, r); };
  const auto make6 = [](const Frame& f, const Rotary& r) { Make6ax(f, r); };
  CheckCases(common, [](const Frame& f, const Rotary&) { Make3ax(f); });
  CheckCases(common, make4);
  CheckCases(common, make5);
  CheckCases(common, make6);
  CheckCases({{"zero direction", 5025, {}, kAllWrong},
              {"parallel to the spindle", 0, {}, {.first = {0, 3, 4}}}}, make4);

  const Frame alongZ{.spindle = {0, 0, 5}};
  const Rotary equal{.kind = 4, .first = {0, 0, 5}, .second = {0, 0, 5}};
  CheckCases({{"first zero", 5026, alongZ, kAllWrong},
              {"second zero", 5027, alongZ, {.kind = 4, .first = {0, 0, 5}, .second = zero}},
              {"equal", 5002, alongZ, equal},
              {"parallel, not equal", 5045, alongZ, {.kind = 4, .first = {0, 0, 1}, .second = {0, 0, 2}}},
              {"opposite to the spindle", 5045, alongZ, {.second = {0, 0, -2}}},
              {"first along the spindle", 0, alongZ, {.first = {0, 0, 1}, .second = {0, 1, 0}}},
              {"parallel pair", 0, alongZ, {.first = {0, 1, 0}, .second = {0, 2, 0}}},
              {"opposite pair", 0, alongZ, {.first = {0, 1, 0}, .second = {0, -1, 0}}},
              {"kind 4", 5031, alongZ, {.kind = 4, .second = {0, 1, 0}}},
              {"kind 2^31 - 1", 5031, alongZ, {.kind = 2147483647, .second = {0, 1, 0}}},
              {"kind 3", 0, alongZ, {.kind = 3, .second = {0, 1, 0}}},
              {"kind -2^31", 0, alongZ, {.kind = -2147483647 - 1, .second = {0, 1, 0}}},
              // Exactly 1 is meant: this pair is parallel too, but rounding makes the product less.
              {"(1, 1, 1) twice", 0, {.spindle = {1, 1, 1}}, {.second = {1, 1, 1}}},
              {"(0, 3, 4) and (0, 6, 8)", 5045, {.spindle = {0, 3, 4}}, {.second = {0, 6, 8}}}}, make5);
  CheckCases({{"first zero", 5026, alongZ, kAllWrong},
              {"second zero", 5027, alongZ, {.kind = 4, .first = {0, 0, 5}, .second = zero, .third = zero}},
              {"third zero", 5028, alongZ, {.kind = 4, .first = {0, 0, 5}, .second = {0, 0, 5}, .third = zero}},
              {"equal", 5002, alongZ, equal},
              {"second along the spindle passes", 0, alongZ, {.second = {0, 0, 5}}},
              {"third equal to first", 0, alongZ, {.first = {1, 0, 0}, .second = {0, 1, 0}, .third = {1, 0, 0}}},
              {"kind 4", 5031, alongZ, {.kind = 4}},
              {"kind -1", 0, alongZ, {.kind = -1}}}, make6);
}
// clang-format on

TEST(MachDef, NormalizeTouchesDirectionsOnly) {
  const auto check = [](auto machDef, const Point& second, std::size_t secondAt) {
    Numbers expected = Fields(machDef);
    machDef.Normalize();
    const auto put = [&](std::size_t at, const Point& p) {
      for (const double value : {p.x, p.y, p.z}) expected[at++] = value;
    };
    put(1, {0, 0.6, 0.8});
    if (secondAt > 22) put(22, {1, 0, 0});
    if (secondAt > 0) put(secondAt, second);
    if (expected.size() == 48) put(28, {0, 1, 0});
    EXPECT_EQ(Fields(machDef), expected);
  };
  check(Make3ax(), {}, 0);
  check(Make4ax(), {0, 0, 1}, 22);
  check(Make5ax(), {0, 0, -1}, 25);
  check(Make6ax(), {0, 0, -1}, 25);
  zv3axMachDef three;
  three.SetSpindleDirection({0, 0, 1e-200});  // its square underflows
  three.Normalize();
  EXPECT_EQ(three.GetSpindleDirection(), Point(0, 0, 1));
}

TEST(MachDef, NormalizeRefusesZeroAndWhatIsNotFinite) {
  const auto refuses = [](const auto& good, const auto&... setters) {
    const auto check = [&](auto set) {
      for (const Point& bad : {Point(), Point(0, kNan, 0), Point(kInfinity, 0, 0)}) {
        auto machDef = good;
        (machDef.*set)(bad);
        const auto normalize = [&machDef] { machDef.Normalize(); };
        if (bad.IsZero())
          EXPECT_TRUE(ThrowsId<cadcam::zvcadcamException>(normalize, 2189));
        else
          EXPECT_TRUE(ThrowsId<zvPostException>(normalize, 5039));
      }
    };
    (check(setters), ...);
  };
  using Four = zv4axMachDef;
  using Five = zv5axMachDef;
  using Six = zv6axMachDef;
  refuses(Make3ax(), &zv3axMachDef::SetSpindleDirection);
  refuses(Make4ax(), &Four::SetRotationDirection);
  refuses(Make5ax(), &Five::SetFirstRotationDirection, &Five::SetSecondRotationDirection);
  refuses(Make6ax(), &Six::SetFirstRotationDirection, &Six::SetSecondRotationDirection);
  const auto refusesPivots = [](const auto& good, const auto&... setters) {
    const auto check = [&](auto set) {
      auto machDef = good;
      (machDef.*set)(Point());
      EXPECT_NO_THROW(machDef.Normalize());
      (machDef.*set)(Point(0, 0, -kInfinity));
      EXPECT_TRUE(ThrowsId<zvPostException>([&] { machDef.Normalize(); }, 5039));
    };
    (check(setters), ...);
  };
  refusesPivots(Make4ax(), &Four::SetRotationPivot);
  refusesPivots(Make5ax(), &Five::SetFirstRotationPivot, &Five::SetSecondRotationPivot);
  refusesPivots(Make6ax(), &Six::SetFirstRotationPivot, &Six::SetSecondRotationPivot);
  zv6axMachDef unread = Make6ax();
  unread.SetThirdRotationDirection({kInfinity, 0, 0});
  unread.SetThirdRotationPivot({0, 0, kNan});
  EXPECT_NO_THROW(unread.Normalize());

  EXPECT_TRUE(ThrowsId<cadcam::zvcadcamException>([] { zv6axMachDef().Normalize(); }, 2189))
      << "the default third direction is zero";
  zv3axMachDef notANumber = Make3ax({.x = {kNan, 0, 0}});
  EXPECT_FALSE(notANumber.IsIdentityTransform());
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { notANumber.Normalize(); }, 5039));
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
  // By hand: (a, b, c) = x (0, 2, 0) + y (1, 0, 0) + z (0, 1, 1) gives x = (b - c) / 2, y = a, z =
  // c.
  EXPECT_EQ(*skew.GetInverseAxisMatrix() * Point(3, 11, 5), Point(3, 3, 5));
  EXPECT_EQ(*zv3axMachDef().GetInverseAxisMatrix(), zvMachDef::Matrix::Identity());
}

TEST(MachDef, IdentityBandIsInclusive) {
  const double beyond = std::nextafter(1e-5, 1.0);
  const struct {
    Point x, y, z;
    bool isIdentity;
  } cases[] = {
      {{1, 1e-5, -1e-5}, {1e-5, 1, 1e-5}, {-1e-5, -1e-5, 1}, true},
      {{1, beyond, 0}, {0, 1, 0}, {0, 0, 1}, false},
      {{1, 0, 0}, {0, 1, 0}, {-beyond, 0, 1}, false},
      {{1, 0, 0}, {0, 1, -beyond}, {0, 0, 1}, false},
      {{1.000009, 0, 0}, {0, 0.999991, 0}, {0, 0, 1}, true},
      {{1, 0, 0}, {0, 1, 0}, {0, 0, 1.000011}, false},
      {{-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, false},
  };
  zv3axMachDef machDef;
  for (const auto& c : cases) {
    machDef.SetAxisDirections(c.x, c.y, c.z);
    EXPECT_EQ(machDef.IsIdentityTransform(), c.isIdentity) << &c - cases;
  }
}

TEST(MachDef, RefusedAxisDirectionsLeaveTheObject) {
  zv5axMachDef machDef = Make5ax();
  const Numbers before = Fields(machDef);
  const zvMachDef::Matrix inverse = *machDef.GetInverseAxisMatrix();
  const Point x(1, 0, 0), y(0, 1, 0);
  EXPECT_TRUE(
      ThrowsId<misc::zvMathException>([&] { machDef.SetAxisDirections(x, y, x + y); }, 7108));
  EXPECT_EQ(Fields(machDef), before);
  EXPECT_EQ(*machDef.GetInverseAxisMatrix(), inverse);
  // The definition's own vectors may be handed back to it.
  machDef.SetAxisDirections(machDef.GetYAxisDirection(), machDef.GetXAxisDirection(),
                            machDef.GetZAxisDirection());
  EXPECT_EQ(machDef.GetXAxisDirection(), x);
  EXPECT_EQ(machDef.GetYAxisDirection(), y * 2);
}

template <class M>
void CopiesAreEqualAndShareNothing(const M& source) {
  const Numbers expected = Fields(source);
  const M copy(source);
  M assigned;
  assigned = source;
  M& self = assigned;
  assigned = self;
  const misc::zvAutoPointer<zvMachDef> clone = source.Clone();
  const zvMachDef& cloned = *clone;
  ASSERT_EQ(typeid(cloned), typeid(M));
  for (const M* other : {&copy, &std::as_const(assigned), static_cast<const M*>(clone.Get())}) {
    EXPECT_EQ(Fields(*other), expected);
    EXPECT_EQ(*other->GetInverseAxisMatrix(), *source.GetInverseAxisMatrix());
    EXPECT_NE(other->GetInverseAxisMatrix().Get(), source.GetInverseAxisMatrix().Get());
    EXPECT_EQ(other->GetInverseAxisMatrix().UseCount(), 1u);
  }
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
  const Numbers inch = scaled(2, 0.03937007874015748);
  EXPECT_EQ(Fields(machDef), inch);
  EXPECT_EQ(*machDef.GetInverseAxisMatrix(), inverse);

  machDef.SetUnits(kInch);
  EXPECT_EQ(Fields(machDef), inch);
  machDef.SetUnits(kMetric, true);  // the label only
  machDef.SetUnits(kInch, true);
  EXPECT_TRUE(ThrowsId<measures::zvmeasuresException>(
      [&] { machDef.SetUnits(static_cast<Units>(0)); }, 2141));
  EXPECT_EQ(Fields(machDef), inch);

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

}  // namespace
}  // namespace post
