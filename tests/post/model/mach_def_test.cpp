#include <tests/post/model/mach_def_samples.h>
#include <tests/support/number_cases.h>
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

// By their numbers of axes, the id or 0, the frame's parts and the rotary's; what is empty is as in
// the samples.
TYPED_TEST(MachDefClasses, ChecksComeInTheirOrder) {
  for (const NumberCase& c : NumberCases("model/data/checks.txt")) {
    if (std::ranges::count(c[0], 3 + TypeParam().GetNumbersOfAxes()) == 0) continue;
    Frame frame;
    Rotary rotary;
    if (!c[2].empty()) frame.units = static_cast<Units>(c[2][0]);
    if (!c[7].empty()) rotary.kind = static_cast<std::int32_t>(c[7][0]);
    Point* const points[] = {&frame.spindle, &frame.x,      &frame.y,       &frame.z,
                             nullptr,        &rotary.first, &rotary.second, &rotary.third};
    for (std::size_t i = 3; i < c.groups.size(); ++i)
      if (i != 7 && !c[i].empty()) *points[i - 3] = {c[i].at(0), c[i].at(1), c[i].at(2)};
    EXPECT_EQ(IdOf([&] { Make<TypeParam>(frame, rotary); }), c[1].at(0)) << c.line;
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
  zv3axMachDef machDef;
  for (const NumberCase& c : NumberCases("model/data/identity_band.txt")) {
    const auto axis = [&](std::size_t i) { return Point(c[i].at(0), c[i].at(1), c[i].at(2)); };
    machDef.SetAxisDirections(axis(1), axis(2), axis(3));
    EXPECT_EQ(machDef.IsIdentityTransform(), c[0].at(0) == 1) << c.line;
  }
}

}  // namespace
}  // namespace post
