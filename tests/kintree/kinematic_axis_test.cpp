#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/misc/range_exception.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/seeded.h>

namespace kintree {
namespace {

using Range = misc::zvRangeException<double>;
using Discrete = misc::zvDiscreteValueException<double>;

std::vector<double> StateOf(const mkdAxis& axis) {
  const zvValue& v = axis.GetValueState();
  return {v.requested, v.lastInRange, v.current, axis.GetLocalMatrix()(0, 3)};
}

TEST(KinematicAxis, DirectionsAreBroughtToLengthOneOrRefused) {
  const float third = std::sqrt(1.f / 3), endless = std::numeric_limits<float>::infinity();
  const float noNumber = std::numeric_limits<float>::quiet_NaN();
  // Along a base vector they are exactly that.
  const std::pair<FloatVector, FloatVector> cases[] = {
      {{3e38f, 3e38f, -3e38f}, {third, third, -third}},
      {{1e-40f, 1e-40f, -1e-40f}, {third, third, -third}},
      {{0.9999999f, 0, 0}, {1, 0, 0}},
      {{0, -1.0000002f, 0}, {0, -1, 0}},
      {{0, 0, 1e-40f}, {0, 0, 1}},
      {{-3e38f, 0, 0}, {-1, 0, 0}},
      {{0.70710682f, 0.70710682f, 0}, {0.70710682f, 0.70710682f, 0}}};
  for (const auto& [given, unit] : cases) {
    const FloatVector direction = Slide(L"X", given)->GetInitialDirection();
    EXPECT_LE((direction - unit).Length(), unit.x == third || unit.z == -third ? 1e-5 : 0);
    EXPECT_EQ(Swivel(L"A", given)->GetCurrentDirection(), direction);
  }
  EXPECT_TRUE(std::signbit(Slide(L"X", {1, -0.0f, 0})->GetInitialDirection().y));
  const auto axis = Swivel(L"A");
  for (const auto& make : std::vector<std::function<void(const FloatVector&)>>{
           [](const FloatVector& d) { Slide(L"A", d); },
           [](const FloatVector& d) { Swivel(L"A", d); },
           [&](const FloatVector& d) { axis->SetInitialDirection(d); },
           [&](const FloatVector& d) { axis->SetCurrentDirection(d); }}) {
    const FloatVector zero(0, -0.0f, 0);
    EXPECT_TRUE(ThrowsId<cadcam::zvcadcamException>([&] { make(zero); }, 2189,
                                                    L"Can't normalize null vector."));
    for (const FloatVector& d : {FloatVector(0, noNumber, 1), FloatVector(0, 0, endless)})
      EXPECT_TRUE(ThrowsId<Failure>([&] { make(d); }, 2, L"Invalid axis (A)"));
  }
  const FloatVector pivot(0, noNumber, 1);
  EXPECT_TRUE(ThrowsId<Failure>([&] { axis->SetPivot(pivot); }, 2, L"Invalid axis (A)"));
  EXPECT_EQ(axis->GetInitialDirection(), FloatVector(0, 0, 1));
}

TEST(KinematicAxis, ADirectionThatHasLengthOneStaysAsItIs) {
  Seeded random;
  for (int i = 0; i < 2000; ++i) {
    const FloatVector once = Slide(L"X", ToFloat(random.Vector(10)))->GetInitialDirection();
    EXPECT_NEAR(once.Length(), 1, 2e-7);
    ASSERT_EQ(Slide(L"X", once)->GetInitialDirection(), once);
  }
}

TEST(KinematicAxis, ValuesAreRefusedOutsideTheRangeAndThenByTheValidator) {
  using Stepped = misc::zvSteppingBasedDiscreteValueValidator<double>;
  const auto axis = Slide(L"X");
  axis->SetMinimum(-5);
  axis->SetMaximum(5);
  axis->SetValidator(MakeAutoPointer<Stepped>(0, 5, 0.5));
  EXPECT_TRUE(axis->HasValidator());

  axis->SetValue(1.5);
  EXPECT_EQ(StateOf(*axis), (std::vector<double>{1.5, 1.5, 1.5, 1.5}));
  EXPECT_TRUE(ThrowsId<Discrete>([&] { axis->SetValue(1.3); }, 0,
                                 L"Discrete variable doesn't support passed value"));
  EXPECT_EQ(StateOf(*axis), (std::vector<double>{1.3, 1.3, 1.5, 1.5}));
  EXPECT_TRUE(ThrowsId<Range>([&] { axis->SetValue(5.1); }, 0,
                              L"Given value (5.1) is out of range (-5, 5)"));
  EXPECT_EQ(StateOf(*axis), (std::vector<double>{5.1, 1.3, 1.5, 1.5}));
  for (const double outside : {-5.0000001, kNaN, kInfinity, -kInfinity})
    EXPECT_TRUE(ThrowsId<Range>([&] { axis->SetValue(outside); }, 0));
  axis->SetValidator(nullptr);
  for (const double inside : {-5.0, 5.0, 1.3}) {
    axis->SetValue(inside);
    EXPECT_EQ(axis->GetValue(), inside);
  }
  axis->SetMinimum(kNaN);
  EXPECT_TRUE(ThrowsId<Range>([&] { axis->SetValue(0); }, 0));
}

TEST(KinematicAxis, AWorldTransformAsksForTheRequestedValueAgain) {
  const auto axis = Slide(L"X");
  axis->SetValue(7);
  axis->SetMaximum(5);
  EXPECT_TRUE(ThrowsId<Range>([&] { axis->SetWorldTransform(Shift(0, 1, 0)); }, 0,
                              L"Given value (7) is out of range (-1000, 5)"));
  EXPECT_EQ(axis->GetWorldTransform(), Shift(0, 1, 0));
  EXPECT_EQ(axis->GetCompositeMatrix(), Shift(7, 0, 0));
  EXPECT_THROW(axis->SetValue(6), Range);
  axis->SetMaximum(10);
  axis->SetWorldTransform(Shift(0, 2, 0));
  EXPECT_EQ(axis->GetValue(), 6);
  EXPECT_EQ(axis->GetCompositeMatrix(), Shift(6, 2, 0));
}

TEST(KinematicAxis, TheWorldTurnsTheCurrentDirectionAndNotTheInitialOne) {
  const auto world = Swivel(L"C");
  world->SetValue(-90);
  mkdMatrix turn = world->GetLocalTransform();
  turn(0, 3) = 1000;  // a shift is nothing to a direction
  const auto axis = Slide(L"X", {0.6f, 0.8f, 0});
  axis->SetWorldTransform(turn);
  EXPECT_EQ(axis->GetCurrentDirection(), FloatVector(0.8f, -0.6f, 0));
  EXPECT_EQ(axis->GetInitialDirection(), FloatVector(0.6f, 0.8f, 0));
  EXPECT_EQ(axis->GetLocalTransform(), mkdMatrix::Identity());
}

// Compared with quaternions, by points: signs, the sense of the turn and the pivot.
TEST(KinematicAxis, RotationsTurnRightHandedAboutThePivot) {
  Seeded random;
  for (int i = 0; i < 500; ++i) {
    const FloatVector d = ToFloat(random.UnitVector());
    const FloatVector p = ToFloat(random.Vector(500));
    const auto axis = Swivel(L"A", d, p);
    const double deg = random.Real(-1000, 1000);
    axis->SetValue(deg);
    const rigid::Motion motion = rigid::Joint{{d.x, d.y, d.z}, {p.x, p.y, p.z}}.At(deg);
    const mkdMatrix local = axis->GetLocalTransform();
    EXPECT_EQ(axis->GetLocalMatrix(), local);
    const Point q = random.Vector(500);
    const auto expected = motion.Point({q.x, q.y, q.z});
    // Floats of up to 1500: 2^-24 of that for each of the numbers that add up.
    EXPECT_LT(Distance(Apply(local, q), {expected[0], expected[1], expected[2]}), 6e-4);
    EXPECT_LT(Distance(Apply(local, {p.x, p.y, p.z}), {p.x, p.y, p.z}), 3e-4);
  }
}

}  // namespace
}  // namespace kintree
