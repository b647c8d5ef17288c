// The march along a step, on walks whose blocks are numbers.
#include <kandrel/post/passes/step_march.h>
#include <tests/support/numbers.h>
#include <tests/support/seeded.h>

#include <stdexcept>

namespace tests {
namespace {

// A walk that is told what a block between two parameters uses.
struct NumberWalk {
  std::function<double(double, double)> use;
  double tiny = 1e-6;
  std::vector<double> places{0};
  double tried = 0;
  int tries = 0;

  double GetPlace() const { return places.back(); }
  double Try(double t) {
    ++tries;
    tried = t;
    return use(places.back(), t);
  }
  void Accept() { places.push_back(tried); }
  bool IsTiny(double step) const { return step < tiny; }
};

TEST(StepMarch, BlocksAreAsLongAsTheyMayBe) {
  struct Case {
    const char* what;
    std::function<double(double)> longest;  // the block that is allowed at a place
    double fewest;                          // its integral
    double most, triesEach;
  };
  for (const Case& c :
       {Case{"a whole step", [](double) { return 1.0; }, 1, 1, 1},
        Case{"just two", [](double) { return 0.501; }, 2, 2, 2.5},
        Case{"just three", [](double) { return 0.334; }, 3, 3, 2.5},
        Case{"many", [](double) { return 0.00103; }, 971, 1000, 1.1},
        Case{"ever shorter", [](double t) { return 0.1001 - 0.1 * t; }, 69.1, 85, 2.2},
        Case{"ever longer", [](double t) { return 0.0001 + 0.1 * t; }, 69.1, 85, 2.2},
        Case{"a narrow place", [](double t) { return 0.001 + std::fabs(t - 0.3); }, 12.4, 28, 3}}) {
    SCOPED_TRACE(c.what);
    NumberWalk walk{
        [&](double a, double b) { return (b - a) / std::min(c.longest(a), c.longest(b)); }};
    const auto result = post::March(walk, 1);
    EXPECT_EQ(result.leaps, 0);
    EXPECT_EQ(walk.places.back(), 1);
    const double blocks = static_cast<double>(walk.places.size() - 1);
    for (std::size_t k = 1; k < walk.places.size(); ++k)
      ASSERT_LE(walk.use(walk.places[k - 1], walk.places[k]), 1) << k;
    EXPECT_GE(blocks, std::floor(c.fewest));
    EXPECT_LE(blocks, c.most);
    EXPECT_LE(walk.tries, c.triesEach * blocks);
  }
}

// Halves would be three blocks where one of them uses a little too much.
TEST(StepMarch, TwoBlocksDoWhereHalvesDont) {
  struct Case {
    double slope;    // of what a length uses
    double reserve;  // what is allowed comes out as less
    std::size_t blocks;
  };
  for (const auto& [slope, reserve, blocks] :
       {Case{0.1, 1, 2}, Case{0.1, 0.98, 2}, Case{-0.1, 1, 2}, Case{-0.1, 0.98, 2},
        Case{0.01, 1, 2}, Case{-1.5, 1, 3}}) {
    const auto at = [slope = slope](double t) { return t * (1.985 + slope * (t - 1)); };
    NumberWalk walk{[&, reserve = reserve](double a, double b) {
      const double used = at(b) - at(a);
      return used <= 1 ? reserve * used : used;
    }};
    EXPECT_EQ(post::March(walk, 1).leaps, 0);
    EXPECT_EQ(walk.places.size() - 1, blocks) << slope << " " << reserve;
    EXPECT_LE(walk.tries, 6);
  }
}

TEST(StepMarch, LeapsAreMadeTinyAndCounted) {
  struct Case {
    const char* what;
    std::function<double(double, double)> use;
    int leaps;
  };
  const auto over = [](double place, double value) {
    return [=](double a, double b) { return a < place && b >= place ? value : (b - a) / 0.2; };
  };
  for (const Case& c : {Case{"one", over(0.4321, 9), 1}, Case{"not a number", over(0.7, kNaN), 1},
                        Case{"at the end", over(1, 1e9), 1},
                        Case{"everywhere", [](double, double) { return 50.0; }, 5},
                        Case{"nothing known", [](double, double) { return kNaN; }, 5}}) {
    SCOPED_TRACE(c.what);
    NumberWalk walk{c.use};
    EXPECT_EQ(post::March(walk, 1).leaps, c.leaps);
    EXPECT_EQ(walk.places.back(), 1);
    EXPECT_LT(walk.places.size(), 60u);
    EXPECT_LT(walk.tries, 150);
    if (c.leaps > 1) continue;
    for (std::size_t k = 1; k < walk.places.size(); ++k)
      EXPECT_TRUE(c.use(walk.places[k - 1], walk.places[k]) <= 1 ||
                  walk.places[k] - walk.places[k - 1] < walk.tiny)
          << k;
  }
}

// Blocks that are too long by rounding alone, and a walk that never calls a step tiny.
TEST(StepMarch, EndsWhateverTheWalkSays) {
  Seeded random;
  for (int run = 0; run < 3000; ++run) {
    const double end = random.Real(1e-3, 1);
    double longest = end / random.Integer(1, 9);
    for (int ulps = random.Integer(-2, 2); ulps != 0; ulps -= ulps > 0 ? 1 : -1)
      longest = std::nextafter(longest, ulps > 0 ? 2 : 0);
    int tries = 0;
    NumberWalk walk{[&](double a, double b) {
      if (++tries > 1000) throw std::runtime_error("endless");
      return (b - a) / longest;
    }};
    ASSERT_NO_THROW(EXPECT_EQ(post::March(walk, end).leaps, 0)) << end << " " << longest;
    EXPECT_EQ(walk.places.back(), end);
  }
  for (const double use : {1 + 1e-15, 1.5, kNaN}) {
    NumberWalk walk{[&](double, double) { return use; }, 0};
    EXPECT_EQ(post::March(walk, 1).leaps, 5) << use;
    EXPECT_EQ(walk.places.back(), 1);
  }
}

// Only where two neighbours may be one is it worth to look for them.
TEST(StepMarch, SaysWhereItIsTooDense) {
  NumberWalk even{[](double a, double b) { return (b - a) / 0.0999; }};
  EXPECT_FALSE(post::March(even, 1).canBeThin);
  NumberWalk jagged{
      [](double a, double b) { return (b - a) / (a < 0.5 && b > 0.49 ? 0.001 : 0.3); }};
  EXPECT_TRUE(post::March(jagged, 1).canBeThin);
}

}  // namespace
}  // namespace tests
