// The law-book over random machines of every class, random paths and random parameters.
#include <tests/support/four_axis_scenes.h>
#include <tests/support/outcome.h>
#include <tests/support/random_path.h>
#include <tests/support/six_axis_scenes.h>
#include <tests/support/three_axis_scenes.h>

namespace tests {
namespace {

constexpr int kPostings = 2400;

template <auto kDraw, int kRotaryAxes>
struct MachineClass {
  static constexpr int kRotary = kRotaryAxes;
  using Scene = decltype(kDraw(std::declval<Seeded&>()));
  static Scene Draw(Seeded& random) { return kDraw(random); }
};
using FourAxes = MachineClass<&RandomFourAxisScene, 1>;
using FiveAxes = MachineClass<&RandomScene, 2>;
using SixAxes = MachineClass<&RandomSixAxisScene, 2>;
using Machines =
    testing::Types<MachineClass<&RandomThreeAxisScene, 0>, FourAxes, FiveAxes, SixAxes>;

void DrawParameters(Seeded& random, zvKDRParam& par, int rotary) {
  par.SetInterpolateByDistance(random.Chance(0.3));
  par.SetInterpolationDistance(random.Real(0.7, 6));
  par.SetInterpolateRapidMoves(random.Chance(0.4));
  par.SetMaxAngleStep(rotary == 1 && random.Chance(0.2) ? 0 : random.Real(1, 8));
  par.SetMaxAngleJump(random.Real(20, 179));
  par.SetRetractDistance(random.Real(1, 50));
  par.SetRetractToLimits(rotary == 1 && random.Chance(0.2));
  if (random.Chance(0.2)) par.SetPoleAngleTolerance(random.Real(0.001, 0.5));
  if (rotary < 2) return;
  par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(random.Integer(1, 3)));
  par.SetInterpolationMode(random.Chance(0.25) ? 1 : 0);
  par.SetFirstMoveRule(static_cast<zvKDRParam::FirstMoveRule>(random.Integer(0, 2)));
  par.SetFirstMoveSolutionIndex(random.Chance(0.5) ? zvKDRParam::mirrorSolution
                                                   : zvKDRParam::firstSolution);
  par.SetFirstMovePreferredAngle(random.Real(-180, 180));
}

// A random scene whose limits let a path be posted but make work for the checks.
template <class Class>
typename Class::Scene RandomPostingScene(Seeded& random, int sort) {
  auto scene = Class::Draw(random);
  DrawParameters(random, scene.par, Class::kRotary);
  auto& machine = scene.machine;
  const double reach = random.Real(185, 700);
  if (random.Chance(0.4)) {
    scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(random.Integer(1, 3)));
    machine.low = {-3000, -3000, -3000};
    machine.high = {3000, 3000, 3000};
    if constexpr (Class::kRotary == 1) {
      machine.range = random.Chance(0.5) ? Range{-reach, reach} : Range{0.0, 2 * reach};
    } else if constexpr (Class::kRotary == 2) {
      machine.firstRange = {-reach, reach};
      machine.secondRange = {-random.Real(100, 400), random.Real(100, 400)};
    }
  }
  if constexpr (Class::kRotary == 2) {  // which then reaches its pole
    if (sort == kThroughPole && random.Chance(0.7)) machine.spindle = machine.first;
  }
  if (random.Chance(0.2)) {
    using Limit = zv5axControlDef::angleLimit;
    scene.control.SetFirstAxisLimit(static_cast<Limit>(random.Integer(0, 2)));
    scene.control.SetSecondAxisLimit(static_cast<Limit>(random.Integer(0, 2)));
  }
  return scene;
}

template <class Class>
class Laws : public testing::Test {
 protected:
  using Scene = typename Class::Scene;
  Seeded m_random;

  // A path may be refused for what no machine of its limits can do, and for nothing else.
  static bool IsHonestRefusal(const Scene& scene, std::uint32_t id) {
    if (id == 5008) return scene.par.GetRetractToLimits();
    if (id == 5000 || id == 5051) return Class::kRotary == 2;
    return id >= 5010 && id <= 5019 && scene.par.GetLimitsCheck() != zvKDRParam::checkNothing;
  }

  // Paths of one orientation are posted with the axes standing: with the tool's length at zero, on
  // limits with a slack of their own, and in the first axis' range of the control.
  static bool Stands(const Scene& scene, const Source& source) {
    return Class::kRotary == 2 && scene.machine.axes == LinearSetup().axes &&
           scene.par.GetPoleHandling() != zvKDRParam::keepWithinLimits &&
           std::all_of(source.begin(), source.end(), [&](const SourceMove& move) {
             return Distance(move.orientation, source.front().orientation) < 1e-11;
           });
  }
  static Rules RulesOf(const Scene& scene, const Source& source, const Lines& lines) {
    Rules rules = Rules::Of(scene);
    const std::vector<double>& degs = lines.front().degs;
    if (Stands(scene, source) && degs == std::vector<double>(degs.size()))
      rules.model.slidesTellTip = false;
    return rules;
  }

  // Calls `check(scene, source, outcome)` for postings of each sort of path that are not refused.
  template <class Check>
  void ForEachPosting(int count, const Check& check) {
    for (int sort = 0; sort < kPathSorts; ++sort) {
      // Orientations of 3-axis paths don't change, and those of 4-axis ones keep to their cone.
      if (Class::kRotary == 0 && sort != kConstant && sort != kRepeats) continue;
      if (Class::kRotary == 1 && sort == kThroughPole) continue;
      int refused = 0;
      for (int i = 0; i < count; ++i) {
        SCOPED_TRACE(testing::Message() << "path sort " << sort << ", posting " << i);
        const Scene scene = RandomPostingScene<Class>(m_random, sort);
        const Source source = RandomPath(m_random, scene.Model(), Rules::Of(scene).pole, sort);
        const Outcome outcome = Post(scene, source);
        if (outcome.id == 0) {
          check(scene, source, outcome);
          if (this->HasFatalFailure()) return;
        } else {
          ASSERT_TRUE(IsHonestRefusal(scene, outcome.id)) << outcome.id;
          ++refused;
        }
      }
      EXPECT_LT(refused, Class::kRotary == 2 ? count / 2 : count / 4);
    }
  }
};

TYPED_TEST_SUITE(Laws, Machines);

TYPED_TEST(Laws, HoldForEveryLine) {
  constexpr int kRotary = TypeParam::kRotary;
  Steps steps;
  const int count = Rounds(std::is_same_v<TypeParam, SixAxes> ? kPostings / 10 : kPostings);
  this->ForEachPosting(count, [&](const auto& scene, const Source& source, const Outcome& outcome) {
    const Lines& lines = outcome.lines;
    const Rules rules = this->RulesOf(scene, source, lines);
    Rules standing = rules;
    if (this->Stands(scene, source)) standing.ranges.clear();
    ExpectMotion(standing, lines);
    ExpectPoses(rules, lines);
    ExpectSource(source, lines);
    ExpectSmallSteps(rules, lines, steps);
  });
  if (kRotary == 0) return;
  EXPECT_GT(steps.all, 20 * count);
  EXPECT_LE(steps.large, steps.all / 200);
}

// Orientations between two others are on the cone as well, whatever its opening; those of the path
// as near to it as they were given.
using FourAxisLaws = Laws<FourAxes>;
TEST_F(FourAxisLaws, OrientationsKeepToTheCone) {
  ForEachPosting(kPostings / 4, [](const auto& scene, const Source& source,
                                   const Outcome& outcome) {
    const Point axis = scene.machine.axis.Normalized();
    const double opening = Dot(scene.machine.spindle.Normalized(), axis);
    for (const Line& line : outcome.lines) {
      const bool isGiven = std::any_of(source.begin(), source.end(), [&](const SourceMove& move) {
        return move.orientation == line.orientation;
      });
      ASSERT_NEAR(Dot(line.orientation.Normalized(), axis), opening, isGiven ? 2e-9 : 2e-12);
    }
  });
}

// With a tolerance the way from line to line keeps to it, on poles and beside them too, but where
// the posting says that it can't.
TYPED_TEST(Laws, AToleranceIsHeldOrReported) {
  if constexpr (TypeParam::kRotary == 2) {
    int held = 0, reported = 0, refused = 0;
    Seeded random;
    this->ForEachPosting(kPostings / 20, [&](auto scene, const Source& source, const Outcome&) {
      scene.control = {};  // whose wrapped angles would not run on
      auto creator = CreatorOf(scene);
      const post::zvPathTolerance tolerance(std::pow(10, random.Real(-3.5, 0)),
                                            std::pow(10, random.Real(-2, 0)));
      creator.SetPathTolerance(tolerance);
      const Outcome outcome = PostBy(creator, Build(source));
      if (outcome.id != 0) {
        ASSERT_TRUE(this->IsHonestRefusal(scene, outcome.id)) << outcome.id;
        ++refused;
        return;
      }
      if (!creator.GetToleranceReport().IsHeld()) {
        ++reported;
        return;
      }
      ++held;
      ExpectFollows(this->RulesOf(scene, source, outcome.lines), source, outcome.lines,
                    {tolerance.GetAxis() * (1 + 1e-6), tolerance.GetTip() * (1 + 1e-6)});
      for (std::size_t k = 1; k < outcome.lines.size(); ++k) {
        const double turn = Turn(outcome.lines[k - 1], outcome.lines[k]);
        ASSERT_TRUE(outcome.lines[k].rapid || turn <= scene.par.GetMaxAngleStep() + 1e-8) << k;
      }
    });
    EXPECT_GT(held, 5 * kPathSorts * kPostings / 20 / 8);
    EXPECT_LE(reported, held / 50);
    EXPECT_LE(refused, held / 25);
  }
}

TYPED_TEST(Laws, SmallMovesAndASecondPostingGiveTheSame) {
  this->ForEachPosting(kPostings / 20,
                       [](const auto& scene, const Source& source, const Outcome& outcome) {
                         const PathBuilder path = Build(source);
                         auto creator = CreatorOf(scene);
                         const Outcome small = PostBy(creator, path, true);
                         ASSERT_TRUE(small.lines == Small(outcome.lines));
                         if (small.index != scene.par.GetFirstMoveSolutionIndex())
                           return;  // it stays, for the next
                         ASSERT_TRUE(PostBy(creator, path).lines == outcome.lines);
                       });
}

TYPED_TEST(Laws, InchesGiveTheSameAnglesAndScaledLengths) {
  this->ForEachPosting(
      kPostings / 20, [](const auto& scene, const Source& source, const Outcome& outcome) {
        // Blending holds numbers that are lengths by themselves. The lift to the limits probes by
        // 1000 in either unit, and its noise with it.
        if (outcome.counts.blendedPoles != 0 || scene.par.GetRetractToLimits()) return;
        constexpr double kScale = 1 / 25.4;
        auto inch = scene;
        auto& m = inch.machine;
        m.units = kInch;
        const auto scale = [](auto&... lengths) { ((lengths = lengths * kScale), ...); };
        scale(m.low, m.high, inch.origin, inch.toolLength);
        if constexpr (TypeParam::kRotary == 1) scale(m.pivot);
        if constexpr (TypeParam::kRotary == 2) scale(m.firstPivot, m.secondPivot);
        inch.par.SetInterpolationDistance(scene.par.GetInterpolationDistance() * kScale);
        inch.par.SetRetractDistance(scene.par.GetRetractDistance() * kScale);
        const Lines &lines = outcome.lines, scaled = Post(inch, Build(source, kScale, true)).lines;
        ASSERT_EQ(scaled.size(), lines.size());
        int snapped = 0;
        for (std::size_t k = 0; k < lines.size(); ++k) {
          double largest = 0;
          for (std::size_t i = 0; i < lines[k].degs.size(); ++i)
            largest = std::max(largest, std::fabs(scaled[k].degs[i] - lines[k].degs[i]));
          ASSERT_LE(largest, 1e-3) << k;
          snapped += largest > 1e-7;  // by the arc cosine, in one of the two
          if (largest > 1e-7) continue;
          ASSERT_LE(Distance(scaled[k].machine * 25.4, lines[k].machine), 1e-8 * scene.Size());
          ASSERT_LE(Distance(scaled[k].part * 25.4, lines[k].part), 1e-8 * scene.Size());
        }
        ASSERT_LE(snapped, 2);
      });
}

// Angles come from the directions alone: an axis in the head turned round is one of a table.
using FiveAxisLaws = Laws<FiveAxes>;
TEST_F(FiveAxisLaws, MachinesOfTheSameDirectionsTakeTheSameAngles) {
  ForEachPosting(kPostings / 20,
                 [](const auto& scene, const Source& source, const Outcome& outcome) {
                   if (scene.par.GetLimitsCheck() != zvKDRParam::checkNothing ||
                       scene.par.GetPoleHandling() == zvKDRParam::keepWithinLimits)
                     return;
                   for (const std::int32_t kind : {0, 1, 2, 3}) {
                     FiveAxisScene other = scene;
                     auto& m = other.machine;
                     if ((kind == 1) != (m.kind == 1)) m.first = -m.first;
                     if ((kind == 1 || kind == 2) != (m.kind == 1 || m.kind == 2))
                       m.second = -m.second;
                     m.kind = kind;
                     const Lines same = Post(other, source).lines;
                     ASSERT_EQ(same.size(), outcome.lines.size());
                     for (std::size_t k = 0; k < same.size(); ++k)
                       ASSERT_EQ(same[k].degs, outcome.lines[k].degs) << k;
                   }
                 });
}

// The posted part position is in the aligned frame, which is turned and not moved.
TEST(AlignmentLaws, TipAndToolOfAlignedThreeAxisPathsStandOnTheModel) {
  Seeded random;
  for (int i = 0; i < 300; ++i) {
    SCOPED_TRACE(i);
    ThreeAxisScene scene = RandomThreeAxisScene(random);
    scene.par.SetAlignToolpath(true);
    scene.par.SetInterpolateByDistance(random.Chance(0.3));
    scene.par.SetInterpolationDistance(20);
    const Point tool = random.UnitVector();
    Source source;
    for (int k = 0; k < 20; ++k) source.push_back({random.Vector(200), tool});
    zvPosted3axTPCreator creator = scene.Creator();
    const PathBuilder path = Build(source);
    const Lines lines = PostBy(creator, path).lines;
    ASSERT_TRUE(creator.IsAlignMatrixValide());
    ExpectPoses(Rules::Of(scene), lines);
    std::size_t next = 0;
    for (const Line& line : lines) {
      if (line.inserted) continue;
      const Point& tip = source[next++].tip;
      ASSERT_LT(Distance(*creator.GetAlignMatrix() * tip, line.part), 1e-12);
      ASSERT_NEAR(line.part.Length(), tip.Length(), 1e-10);
    }
    ASSERT_EQ(next, source.size());
    ASSERT_EQ((*path.Path().begin())->GetOrientation(), tool) << "the toolpath itself is changed";
  }
}

// The way of a toolpath of one orientation ends where the general way does.
TEST(StandingLaws, OneOrientationComesOutAsWithSeveral) {
  Seeded random;
  for (int i = 0; i < 500; ++i) {
    SCOPED_TRACE(i);
    FiveAxisScene scene = RandomScene(random);
    scene.machine.axes = LinearSetup().axes;
    if (scene.machine.kind == 0) scene.machine.kind = 3;  // its tool length differs at zero
    const Source source = RandomPath(random, scene.Model(), scene.machine.first, kConstant);
    const Lines standing = Post(scene, source).lines;
    scene.par.SetPoleHandling(zvKDRParam::keepWithinLimits);  // posts by the general way
    const Lines general = Post(scene, source).lines;
    ASSERT_TRUE(!general.empty() && standing.size() == general.size());
    for (std::size_t k = 0; k < general.size(); ++k) {
      ASSERT_EQ(standing[k].degs, general[k].degs) << k;
      ASSERT_LE(Distance(standing[k].machine, general[k].machine),
                1e-11 * (scene.Size() + general[k].machine.Length()));
    }
  }
}

}  // namespace
}  // namespace tests
