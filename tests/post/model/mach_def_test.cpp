#include <tests/post/model/mach_def_samples.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace post {
namespace {

using namespace tests;

template <class M>
class MachDefClasses : public testing::Test {};
using Classes = testing::Types<zv3axMachDef, zv4axMachDef, zv5axMachDef, zv6axMachDef>;
TYPED_TEST_SUITE(MachDefClasses, Classes);

// clang-format off
TYPED_TEST(MachDefClasses, ConstructorsAndSettersReachTheirOwnField) {
  const int axes = TypeParam().GetNumbersOfAxes();
  const Numbers own[] = {{}, {3, 5, 0, 0, 21, 22, 23, -31, 33},
      {3, 5, 0, 0, 0, 0, -6, 21, 22, 23, 24, 25, 26, -31, -32, 33, 34},
      {3, 5, 0, 0, 0, 0, -6, 21, 22, 23, 24, 25, 26, -31, -32, 33, 34, 0, 7, 0, 27, 28, 29, 35, 0, 1, 1}};
  EXPECT_EQ(Whole(Make<TypeParam>()),
            Flat(1, axes, Point(0, 2, 0), Point(1, 0, 0), Point(0, 1, 1), 0, Point(0, 3, 4),
                 Point(-11, -12, -13), Point(14, 15, 16), own[axes]));
  Numbers fresh = Whole(TypeParam());
  fresh.resize(12);
  EXPECT_EQ(fresh, Flat(1, axes, Point(1, 0, 0), Point(0, 1, 0), Point(0, 0, 1), 1));
  ExpectFields(MachineFields<TypeParam>(), TypeParam(), Make<TypeParam>());
}
// clang-format on

TYPED_TEST(MachDefClasses, CopiesAreEqualAndShareNothing) {
  TypeParam source = Make<TypeParam>({.units = kInch}), assigned;
  if constexpr (std::is_same_v<TypeParam, zv6axMachDef>) {  // which constructors don't set
    source.SetFirstOnWorkpiece(1);
    source.SetSecondOnWorkpiece(0);
    source.SetThirdOnWorkpiece(0);
  }
  const TypeParam copy(source);
  assigned = source;
  const TypeParam& self = assigned;
  assigned = self;
  const misc::zvAutoPointer<zvMachDef> clone = source.Clone();
  const zvMachDef& cloned = *clone;
  ASSERT_EQ(typeid(cloned), typeid(TypeParam));
  for (const TypeParam* other : {&copy, &self, static_cast<const TypeParam*>(&cloned)}) {
    EXPECT_EQ(Whole(*other), Whole(source));
    EXPECT_EQ(*other->GetInverseAxisMatrix(), *source.GetInverseAxisMatrix());
    EXPECT_EQ(other->GetInverseAxisMatrix().UseCount(), 1u);
  }
}

TYPED_TEST(MachDefClasses, ChangeOfUnitsScalesLengthsOnly) {
  TypeParam machDef = Make<TypeParam>();
  const Numbers metric = Whole(machDef);
  const zvMachDef::Matrix inverse = *machDef.GetInverseAxisMatrix();
  const auto setUnits = [&](Units units, bool labelOnly = false) {
    machDef.SetUnits(units, labelOnly);
    return Whole(machDef);
  };
  Numbers inch(metric.begin(), metric.begin() + 12);
  inch[0] = 2;
  for (const auto& field : MachineFields<TypeParam>())
    for (const double value : field.get(machDef))
      inch.push_back((field.role & kLength) != 0 ? value * 0.03937007874015748 : value);
  EXPECT_EQ(setUnits(kMetric), metric);
  EXPECT_EQ(setUnits(kInch), inch);
  EXPECT_EQ(setUnits(kInch), inch);
  EXPECT_EQ(*machDef.GetInverseAxisMatrix(), inverse);
  setUnits(kMetric, true);  // the label only
  EXPECT_EQ(setUnits(kInch, true), inch);
  EXPECT_EQ(IdOf([&] { setUnits(static_cast<Units>(0)); }), 2141u);
  EXPECT_EQ(Whole(machDef), inch);
  const Numbers back = setUnits(kMetric);
  for (std::size_t i = 0; i < metric.size(); ++i)
    EXPECT_NEAR(back.at(i), metric[i], 1e-14 * std::fabs(metric[i])) << i;
}

TYPED_TEST(MachDefClasses, NormalizeTouchesDirectionsAndRefusesWhatHasNone) {
  const TypeParam source = Make<TypeParam>();
  TypeParam normalized = source;
  normalized.Normalize();
  for (const auto& field : MachineFields<TypeParam>()) {
    Numbers value = field.get(source);
    const bool isDirection = (field.role & kDirection) != 0;
    const double length = isDirection ? std::hypot(value[0], value[1], value[2]) : 1;
    for (double& number : value) number /= length;
    EXPECT_EQ(field.get(normalized), value);
    if (value.size() == 1) continue;
    for (const Numbers& odd : {Numbers{0, 0, 0}, {0, kNaN, 0}, {kInfinity, 0, 0}}) {
      TypeParam machDef = source;
      field.set(machDef, odd);
      const std::uint32_t ofZero = isDirection ? 2189 : 0;
      const std::uint32_t ofOthers = (field.role & kRead) != 0 ? 5039 : 0;
      EXPECT_EQ(IdOf([&] { machDef.Normalize(); }), odd[0] == 0 && odd[1] == 0 ? ofZero : ofOthers);
    }
  }
  TypeParam notANumber = Make<TypeParam>({.x = {kNaN, 0, 0}});
  EXPECT_FALSE(notANumber.IsIdentityTransform());
  EXPECT_EQ(IdOf([&] { notANumber.Normalize(); }), 5039u);
  TypeParam tiny = source;
  tiny.SetSpindleDirection({0, 0, 1e-200});  // its square underflows
  tiny.Normalize();
  EXPECT_EQ(tiny.GetSpindleDirection(), Point(0, 0, 1));
}

// The checks in the order in which they are made: each row also breaks what is checked later, so
// that a check made too late shows under another id.
struct CheckCase {
  const char* name;
  std::string classes;  // by their numbers of axes
  std::uint32_t id;     // 0: accepted
  Frame frame;
  Rotary rotary;
};

// Without a direction, and with a kind above 3.
const Rotary kAllWrong{.kind = 4, .first = {0, 0, 0}, .second = {0, 0, 0}, .third = {0, 0, 0}};
const Frame kAlongZ{.spindle = {0, 0, 5}};
const Point kZero;

// clang-format off
const CheckCase kChecks[] = {
    {"units 0", "3456", 2141, {.units = static_cast<Units>(0), .spindle = kZero, .z = kZero}, kAllWrong},
    {"units 3", "3456", 2141, {.units = static_cast<Units>(3), .spindle = kZero, .z = kZero}, kAllWrong},
    {"zero spindle", "3456", 5024, {.spindle = kZero, .z = kZero}, kAllWrong},
    {"minus zero spindle", "3456", 5024, {.spindle = {-0.0, 0, -0.0}}, kAllWrong},
    {"flat axes", "3456", 7108, {.z = kZero}, kAllWrong},
    {"parallel axes", "3456", 7108, {.x = {0, 1, 0}, .y = {0, 2, 0}}, kAllWrong},
    {"tiny", "3456", 0, {.spindle = {0, 5e-324, 0}, .x = {1e-100, 0, 0}, .y = {0, 1e-100, 0}, .z = {0, 0, 1e-100}}, {}},
    {"zero direction", "4", 5025, {}, kAllWrong},
    {"parallel to the spindle", "4", 0, {}, {.kind = 4, .first = {0, 3, 4}}},
    {"first zero", "56", 5026, kAlongZ, kAllWrong},
    {"second zero", "56", 5027, kAlongZ, {.kind = 4, .first = {0, 0, 5}, .second = kZero, .third = kZero}},
    {"third zero", "6", 5028, kAlongZ, {.kind = 4, .first = {0, 0, 5}, .second = {0, 0, 5}, .third = kZero}},
    {"equal", "56", 5002, kAlongZ, {.kind = 4, .first = {0, 0, 5}, .second = {0, 0, 5}}},
    {"parallel to the spindle, not equal", "5", 5045, kAlongZ, {.kind = 4, .first = {0, 0, 1}, .second = {0, 0, 2}}},
    {"opposite to the spindle", "5", 5045, kAlongZ, {.second = {0, 0, -2}}},
    {"second along the spindle", "6", 0, kAlongZ, {.second = {0, 0, 5}}},
    {"first along the spindle", "56", 0, kAlongZ, {.first = {0, 0, 1}, .second = {0, 1, 0}}},
    {"parallel pair", "56", 0, kAlongZ, {.first = {0, 1, 0}, .second = {0, 2, 0}}},
    {"opposite pair", "56", 0, kAlongZ, {.first = {0, 1, 0}, .second = {0, -1, 0}}},
    {"kind 4", "56", 5031, kAlongZ, {.kind = 4, .second = {0, 1, 0}}},
    {"kind -2^31", "56", 0, kAlongZ, {.kind = -2147483647 - 1, .second = {0, 1, 0}}},
    // Exactly 1 is meant: this pair is parallel too, but rounding makes the product less.
    {"(1, 1, 1) twice", "5", 0, {.spindle = {1, 1, 1}}, {.second = {1, 1, 1}}},
};
// clang-format on

TYPED_TEST(MachDefClasses, ChecksComeInTheirOrder) {
  for (const CheckCase& c : kChecks) {
    if (c.classes.find(std::to_string(3 + TypeParam().GetNumbersOfAxes())) == std::string::npos)
      continue;
    EXPECT_EQ(IdOf([&] { Make<TypeParam>(c.frame, c.rotary); }), c.id) << c.name;
  }
}

TEST(MachDef, AxisDirectionsAreColumnsAndTheInverseUndoesThem) {
  zv3axMachDef skew = Make<zv3axMachDef>();
  EXPECT_EQ(skew.GetAxisMatrix() * Point(1, 10, 100), Point(10, 102, 100));
  // By hand: (a, b, c) = x (0, 2, 0) + y (1, 0, 0) + z (0, 1, 1) gives x = (b - c) / 2, y = a and
  // z = c.
  EXPECT_EQ(*skew.GetInverseAxisMatrix() * Point(3, 11, 5), Point(3, 3, 5));
  EXPECT_EQ(*zv3axMachDef().GetInverseAxisMatrix(), zvMachDef::Matrix::Identity());
  const Numbers before = Whole(skew);
  const Point x(1, 0, 0), y(0, 1, 0);
  EXPECT_EQ(IdOf([&] { skew.SetAxisDirections(x, y, x + y); }), 7108u);
  EXPECT_EQ(Whole(skew), before);
  EXPECT_EQ(*skew.GetInverseAxisMatrix() * Point(3, 11, 5), Point(3, 3, 5));
  // The definition's own vectors may be handed back to it.
  skew.SetAxisDirections(skew.GetYAxisDirection(), skew.GetXAxisDirection(),
                         skew.GetZAxisDirection());
  EXPECT_EQ(skew.GetAxisMatrix() * Point(1, 10, 100), Point(1, 120, 100));
}

TEST(MachDef, IdentityBandIsInclusive) {
  const double beyond = std::nextafter(1e-5, 1.0);
  const std::pair<std::array<Point, 3>, bool> cases[] = {
      {{{{1, 1e-5, -1e-5}, {1e-5, 1, 1e-5}, {-1e-5, -1e-5, 1}}}, true},
      {{{{1, beyond, 0}, {0, 1, 0}, {0, 0, 1}}}, false},
      {{{{1, 0, 0}, {0, 1, 0}, {-beyond, 0, 1}}}, false},
      {{{{1, 0, 0}, {0, 1, -beyond}, {0, 0, 1}}}, false},
      {{{{1.000009, 0, 0}, {0, 0.999991, 0}, {0, 0, 1}}}, true},
      {{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1.000011}}}, false},
      {{{{-1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}, false}};
  zv3axMachDef machDef;
  for (const auto& [axes, isIdentity] : cases) {
    machDef.SetAxisDirections(axes[0], axes[1], axes[2]);
    EXPECT_EQ(machDef.IsIdentityTransform(), isIdentity) << testing::PrintToString(axes[0]);
  }
}

}  // namespace
}  // namespace post
