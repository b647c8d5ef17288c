#include <kandrel/post/verifier/posting_verifier.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/outcome.h>
#include <tests/support/random_path.h>
#include <tests/support/six_axis_scenes.h>
#include <tests/support/three_axis_scenes.h>
#include <tests/support/throws_id.h>

#include <functional>
#include <limits>
#include <map>

namespace tests {
namespace {

using Finding = post::zvPostingFinding;
using enum Finding::Kind;
using post::zvPostedLine;
using post::zvPostingVerdict;
using post::zvPostingVerifier;
using Neutral = std::vector<zvPostedLine>;

/// A finding by what it says of place.
struct Place {
  int kind;
  std::uint64_t line;
  int axis = -1;

  friend bool operator==(const Place&, const Place&) = default;
  friend void PrintTo(const Place& place, std::ostream* out) {
    *out << place.kind << " in line " << place.line << ", axis " << place.axis;
  }
};
using Places = std::vector<Place>;

Places PlacesOf(const zvPostingVerdict& verdict) {
  Places places;
  for (const Finding& f : verdict.findings) places.push_back({f.kind, f.line, f.axis});
  return places;
}

template <class Change>
void ChangeRules(zvPostingVerifier& verifier, const Change& change) {
  post::zvVerifierRules rules = verifier.GetRules();
  change(rules);
  verifier.SetRules(rules);
}

template <class AnyScene>
zvPostingVerifier VerifierOf(const AnyScene& scene) {
  zvPostingVerifier verifier(MachDefOf(scene), scene.control, scene.origin, scene.toolLength);
  ChangeRules(verifier, [&](auto& rules) {
    rules.poleAngleTolerance = scene.par.GetPoleAngleTolerance();
    rules.hasMarkers = scene.par.GetInterpolationMode() != 0;
  });
  return verifier;
}

Neutral NeutralOf(const Lines& lines, bool isNumbered) {
  Neutral neutral;
  for (const Line& line : lines) {
    neutral.push_back({line.machine, {}, line.part, line.orientation, line.feed, line.rapid});
    std::copy(line.degs.begin(), line.degs.end(), neutral.back().degs.begin());
    if (!isNumbered) continue;
    neutral.back().source = line.source;
    neutral.back().isInserted = line.inserted;
  }
  return neutral;
}

zvPostingVerdict Verified(const zvPostingVerifier& verifier, const cadcam::zvToolPath& path,
                          const Neutral& lines) {
  std::size_t next = 0;
  return verifier.Verify(path, [&](zvPostedLine& line) {
    if (next == lines.size()) return false;
    line = lines[next++];
    return true;
  });
}

/// A posting as lines of anybody, its path, and who verifies it.
struct Posted {
  template <class AnyScene>
  Posted(const AnyScene& scene, const Source& source, bool isNumbered = true,
         const post::zvPathTolerance& tolerance = {})
      : path(Build(source)), verifier(VerifierOf(scene)) {
    auto creator = CreatorOf(scene);
    creator.SetPathTolerance(tolerance);
    lines = NeutralOf(PostBy(creator, path).lines, isNumbered);
  }
  zvPostingVerdict Verdict() const { return Verified(verifier, path, lines); }
  /// What is found in the lines as something has changed them.
  Places Found(const std::function<void(Neutral&)>& change = [](Neutral&) {}) const {
    Neutral changed = lines;
    change(changed);
    return PlacesOf(Verified(verifier, path, changed));
  }

  PathBuilder path;
  zvPostingVerifier verifier;
  Neutral lines;
};

/// Notes what the blocks say, by their line.
struct Notes : post::zvBlockSink {
  std::map<std::uint64_t, post::zvVerifiedBlock> blocks;
  void Take(const post::zvVerifiedBlock& block) override { blocks[block.line] = block; }
};

// Each block leaves its way by what the model says, looked at in many places, and hardly more.
template <class AnyScene>
void ExpectBounds(const Notes& notes, const AnyScene& scene, const Lines& lines, double floor) {
  const Rules rules = Rules::Of(scene);
  const bool isWrapped = scene.control.GetFirstAxisLimit() != zv5axControlDef::angleLimitNone;
  if (rules.model.slidesTellTip) return;  // standing ones have the length all the same
  for (const auto& [line, block] : notes.blocks) {
    const Line &a = lines[line - 1], &b = lines[line];
    double is = 0;
    for (int i = 0; i <= 200; ++i) {
      const rigid::Pose pose = rules.PoseAt(Between(a, b, i / 200.0, isWrapped));
      is = std::max(is, OffLine(ToPoint(pose.tip), a.part, b.part));
    }
    const double slack = 1e-11 * (scene.Size() + a.machine.Length() + a.part.Length());
    ASSERT_GE(block.deviation.tip, is - slack) << line;
    ASSERT_LE(block.deviation.tip, std::max(floor, 1.021 * is + 1e-9 + 10 * slack)) << line;
  }
}

// Of what the machine can follow: without rotary axes the tool stands, with one it keeps to its
// cone.
int PathSortFor(Seeded& random, int rotary) {
  if (rotary == 0) return kConstant;
  const int sort = random.Integer(0, kPathSorts - 1);
  return rotary == 1 && sort == kThroughPole ? kSweep : sort;
}

// A posting that no tolerance was asked of keeps all but the law.
template <class AnyScene>
void ExpectOwnPostingVerified(Seeded& random, AnyScene scene, int rotary, int& posted) {
  scene.par.SetMaxAngleStep(random.Real(1, 8));
  scene.par.SetMaxAngleJump(random.Real(60, 180));
  scene.par.SetInterpolateByDistance(random.Chance(0.3));
  scene.par.SetInterpolationDistance(random.Real(0.7, 6));
  const int wrap = random.Integer(0, 2);
  scene.control = Wrapping(wrap, wrap);
  if constexpr (requires { scene.machine.secondRange; }) {
    if (random.Chance(0.5))
      scene.machine.spindle = scene.machine.first;  // then it reaches its pole
    scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(random.Integer(1, 3)));
    scene.par.SetInterpolationMode(random.Chance(0.2) ? 1 : 0);
  }
  if (rotary >= 1 && random.Chance(0.3)) {
    auto& m = scene.machine;
    const Range range{random.Real(-300, -180), random.Real(180, 300)};
    if constexpr (requires { m.secondRange; })
      m.firstRange = m.secondRange = range;
    else if constexpr (requires { m.range; })
      m.range = range;
    scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
  }
  const int sort = PathSortFor(random, rotary);
  const PathBuilder path = Build(RandomPath(random, scene.Model(), Rules::Of(scene).pole, sort));
  auto creator = CreatorOf(scene);
  const Outcome outcome = PostBy(creator, path);
  const Lines& lines = outcome.lines;
  if (outcome.id != 0) return;
  ++posted;
  const auto& list = *creator.GetPostedList();
  zvPostingVerifier verifier = VerifierOf(scene);
  Notes notes;
  const zvPostingVerdict noted = verifier.Verify(path, list, &notes);
  ASSERT_EQ(PlacesOf(noted), Places{});
  ASSERT_EQ(Flat(noted.sources, noted.lines, noted.blocks),
            Flat(path.Path().GetMoveCount(), lines.size(), notes.blocks.size()));
  ExpectBounds(notes, scene, lines, 0);
  // Without a sink most blocks are passed over, and the maxima are the same but for their 2%.
  const zvPostingVerdict verdict = verifier.Verify(path, list);
  ASSERT_EQ(PlacesOf(verdict), Places{});
  ASSERT_NEAR(verdict.tip.value, noted.tip.value, 0.021 * noted.tip.value + 2e-9);
  ASSERT_NEAR(verdict.axis.value, noted.axis.value, 0.021 * noted.axis.value + 2e-6);
  // The same by other doors: neutral lines with and without numbers, and a posted toolpath.
  for (const bool isNumbered : {true, false}) {
    const zvPostingVerdict same = Verified(verifier, path, NeutralOf(lines, isNumbered));
    ASSERT_EQ(PlacesOf(same), Places{});
    ASSERT_EQ(same.sources, verdict.sources);
    ASSERT_TRUE(!isNumbered || same.tip.value == verdict.tip.value);
  }
  post::zvPostedTP toolpath;
  for (const auto& move : list)
    toolpath.PushBack(misc::MakeAutoPointer<std::decay_t<decltype(move)>>(move));
  ASSERT_EQ(verifier.Verify(path, toolpath).tip.value, verdict.tip.value);
  // With a floor small ones are told by what is at hand.
  const post::zvBlockDeviation floor{0.3 * verdict.tip.value, 0.3 * verdict.axis.value};
  ChangeRules(verifier, [&](auto& rules) { rules.sinkFloor = floor; });
  Notes coarse;
  const zvPostingVerdict floored = verifier.Verify(path, list, &coarse);
  ASSERT_EQ(floored.tip.value, verdict.tip.value);
  ASSERT_EQ(floored.tip.line, verdict.tip.line);
  ASSERT_NEAR(floored.axis.value, verdict.axis.value, 0.021 * verdict.axis.value);
  ASSERT_EQ(coarse.blocks.size(), notes.blocks.size());
  ExpectBounds(coarse, scene, lines, floor.tip);
}

template <class Draw>
void ExpectOwnPostingsVerified(int count, int rotary, const Draw& draw) {
  Seeded random;
  int posted = 0;
  for (int i = 0; i < count; ++i) {
    SCOPED_TRACE(i);
    ExpectOwnPostingVerified(random, draw(random), rotary, posted);
    if (testing::Test::HasFatalFailure()) return;
  }
  EXPECT_GT(posted, 0.65 * count);
}
TEST(PostingVerifier, FindsNothingInPostingsOfThreeAxes) {
  ExpectOwnPostingsVerified(100, 0, RandomThreeAxisScene);
}
TEST(PostingVerifier, FindsNothingInPostingsOfFourAxes) {
  ExpectOwnPostingsVerified(200, 1, RandomFourAxisScene);
}
TEST(PostingVerifier, FindsNothingInPostingsOfFiveAxes) {
  ExpectOwnPostingsVerified(300, 2, RandomScene);
}
TEST(PostingVerifier, FindsNothingInPostingsOfSixAxes) {
  ExpectOwnPostingsVerified(100, 3, RandomSixAxisScene);
}

struct CountingHook : misc::zvProgress {
  bool Report(Stage, double) override { return ++calls < endsAt; }
  std::size_t calls = 0, endsAt = std::numeric_limits<std::size_t>::max();
};

// One line may tell of a toolpath of any length that its moves are missing.
TEST(PostingVerifier, AsksWhileManyMissingMovesArePassedOver) {
  constexpr std::size_t kMoves = 50000;
  const FiveAxisScene scene;
  Source source;
  for (std::size_t i = 0; i < kMoves; ++i)
    source.push_back({{0.01 * static_cast<double>(i), 0, 0}, {0, 0, 1}, 1000});
  const PathBuilder path = Build(source);
  const std::vector<Line> posted = Post(scene, path).lines;
  const Neutral lines = NeutralOf({posted.front(), posted.back()}, true);
  zvPostingVerifier verifier = VerifierOf(scene);
  CountingHook hook;
  verifier.SetProgress(&hook);
  const zvPostingVerdict verdict = Verified(verifier, path, lines);
  EXPECT_EQ(verdict.sources, 2u);
  EXPECT_EQ(PlacesOf(verdict), (Places{{kSourceMissing, 1}}));
  EXPECT_GE(hook.calls, kMoves / 4096);

  CountingHook canceller;
  canceller.endsAt = hook.calls / 2;
  verifier.SetProgress(&canceller);
  EXPECT_TRUE(ThrowsId<misc::zvCancelled>([&] { Verified(verifier, path, lines); }, 9000));
  EXPECT_EQ(canceller.calls, canceller.endsAt);
}

/// A posting of five axes whose source moves stand in every fourth line, with three lines inserted
/// after each.
struct Mutants : testing::Test {
  static FiveAxisScene MadeScene() {
    FiveAxisScene scene;
    scene.machine.firstPivot = {20, -30, 40};
    scene.machine.secondPivot = {0, 10, -60};
    scene.origin = {100, 50, 25};
    scene.toolLength = 80;
    return scene;
  }
  static Source MadeSource() {
    Source source;
    for (int i = 0; i < 21; ++i)
      source.push_back({{10.0 * i, 4.0 * (i % 3), 1.0 * (i % 2)},
                        MadeScene().Tool(5 + 8.5 * i, 20.0 + 2 * (i % 2)),
                        1000.0 + 10 * i});
    return source;
  }
  Posted posted{MadeScene(), MadeSource()};
  Posted unnumbered{MadeScene(), MadeSource(), false};
};

TEST_F(Mutants, AreFoundWithTheirLine) {
  ASSERT_EQ(posted.lines.size(), 81u);
  for (std::size_t i = 0; i < posted.lines.size(); ++i)
    ASSERT_EQ(posted.lines[i].isInserted, i % 4 != 0) << i;
  constexpr int k = 32;  // of a source move, with inserted ones about it
  struct Case {
    const char* what;
    std::function<void(Neutral&)> spoil;
    Places places;
    bool isAlsoUnnumbered = true;  ///< the same is found in lines without numbers
  };
  const Case cases[] = {
      {"nothing", [](Neutral&) {}, {}},
      {"x off", [](Neutral& l) { l[k].p_mach.x += 1e-3; }, {{kLineTipOff, k}}},
      {"z off", [](Neutral& l) { l[k + 1].p_mach.z -= 1e-3; }, {{kLineTipOff, k + 1}}},
      {"first angle off", [](Neutral& l) { l[k].degs[0] += 1e-3; }, {{kLineTipOff, k}}},
      {"second angle off", [](Neutral& l) { l[k].degs[1] -= 1e-3; }, {{kLineTipOff, k}}},
      {"tool elsewhere",
       [](Neutral& l) { l[k].degs[1] -= 1; },
       {{kLineTipOff, k}, {kLineAxisOff, k}}},
      {"a turn on",
       [](Neutral& l) { l[k].degs[0] += 360; },
       {{kWholeTurn, k, 3}, {kWholeTurn, k + 1, 3}}},
      {"a turn from here",
       [](Neutral& l) {
         for (std::size_t i = k; i < l.size(); ++i) l[i].degs[1] -= 360;
       },
       {{kWholeTurn, k, 4}}},
      {"no number", [](Neutral& l) { l[k].p_mach.y = kNaN; }, {{kNotFinite, k}}},
      {"too large to be added up",
       [](Neutral& l) { l[k].p_mach.x = l[k].p_mach.y = 1.7e308; },
       {{kLineTipOff, k}, {kLinearLimit, k, 0}, {kLinearLimit, k, 1}}},
      {"source move dropped", [](Neutral& l) { l.erase(l.begin() + k); }, {{kSourceMissing, k}}},
      {"the first dropped", [](Neutral& l) { l.erase(l.begin()); }, {{kSourceMissing, 0}}},
      {"the last dropped", [](Neutral& l) { l.pop_back(); }, {{kSourceMissing, 80}}},
      {"three source moves dropped",
       [](Neutral& l) { l.erase(l.begin() + k, l.begin() + k + 9); },
       {{kSourceMissing, k}}},
      {"inserted swapped", [](Neutral& l) { std::swap(l[k + 1], l[k + 2]); }, {{kGoesBack, k + 2}}},
      {"source moves swapped",
       [](Neutral& l) { std::swap(l[k], l[k + 4]); },
       {{kSourceMissing, k},
        {kSourceOrder, k + 1},
        {kSourceOrder, k + 2},
        {kSourceOrder, k + 3},
        {kSourceOrder, k + 4}},
       false},
      {"a number beyond the path",
       [](Neutral& l) { l[k + 1].source = 1000; },
       {{kSourceUnknown, k + 1}},
       false},
      {"too fast", [](Neutral& l) { l[k].feed *= 1.01; }, {{kFeed, k}}},
      {"too fast between", [](Neutral& l) { l[k + 1].feed = 1120; }, {{kFeed, k + 1}}},
      {"slower", [](Neutral& l) { l[k].feed *= 0.5; }, {}},
      {"rapid", [](Neutral& l) { l[k].isRapid = true; }, {{kRapid, k}}, false},
      {"rapid between", [](Neutral& l) { l[k + 1].isRapid = true; }, {{kRapid, k + 1}}},
      {"rapid between two source moves",
       [](Neutral& l) { l[k + 1].isRapid = l[k + 2].isRapid = l[k + 3].isRapid = true; },
       {{kRapid, k + 1}, {kRapid, k + 2}, {kRapid, k + 3}}},
      {"a part position elsewhere",
       [](Neutral& l) { l[k].p_part.x += 1; },
       {{kTipOffSource, k}, {kLineTipOff, k}},
       false},
      {"an orientation elsewhere",
       [](Neutral& l) { l[k].dir_tool = Point(0, 0, 1); },
       {{kAxisOffSource, k}, {kLineAxisOff, k}},
       false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(posted.Found(c.spoil), c.places) << c.what;
    if (!c.isAlsoUnnumbered) continue;
    EXPECT_EQ(unnumbered.Found(c.spoil), c.places) << c.what << " without numbers";
  }
}

TEST_F(Mutants, LimitsAreReportedWithAxisValueAndExcess) {
  // Just this line lies beyond: the largest or smallest of all is looked for.
  const auto most = [&](auto value) {
    double largest = -1e9;
    for (const zvPostedLine& line : posted.lines) largest = std::max(largest, value(line));
    return largest;
  };
  const double x = most([](const auto& l) { return l.p_mach.x; });
  const double z = -most([](const auto& l) { return -l.p_mach.z; });
  const double a = most([](const auto& l) { return l.degs[0]; });
  const double b = -most([](const auto& l) { return -l.degs[1]; });
  const struct {
    std::function<void(FiveAxisSetup&)> narrow;
    int axis;
    double value, excess;
    Finding::Kind kind;
  } cases[] = {
      {[x](auto& m) { m.high.x = x - 1e-6; }, 0, x, 1e-6, kLinearLimit},
      {[z](auto& m) { m.low.z = z + 1e-6; }, 2, z, 1e-6, kLinearLimit},
      {[a](auto& m) { m.firstRange.second = a - 0.01; }, 3, a, 0.01, kRotaryLimit},
      {[b](auto& m) { m.secondRange.first = b + 0.01; }, 4, b, 0.01, kRotaryLimit},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.axis);
    FiveAxisScene scene = MadeScene();
    c.narrow(scene.machine);
    posted.verifier = VerifierOf(scene);
    const zvPostingVerdict verdict = posted.Verdict();
    ASSERT_FALSE(verdict.findings.empty());
    for (const Finding& f : verdict.findings) {
      EXPECT_EQ(f.kind, c.kind);
      EXPECT_EQ(f.axis, c.axis);
      EXPECT_NEAR(f.value, c.value, c.excess);
      EXPECT_LE(f.excess, c.excess + 1e-9);
      EXPECT_NEAR(std::fabs(f.value - f.bound), f.excess, 1e-12);
    }
    ChangeRules(posted.verifier, [](auto& rules) { rules.limitsCheck = zvKDRParam::checkNothing; });
    EXPECT_EQ(posted.Found(), Places{});
  }
}

TEST_F(Mutants, ToleranceSpeedAndCountsAreKept) {
  const zvPostingVerdict plain = posted.Verdict();
  ASSERT_GT(plain.tip.value, 1e-3);
  const auto verdictBy = [&](const auto& change) {
    ChangeRules(posted.verifier, change);
    return posted.Verdict();
  };
  const zvPostingVerdict tight = verdictBy([&](auto& rules) {
    rules.tolerance = {plain.tip.value * 0.97, 180};
  });
  ASSERT_FALSE(tight.IsClean());
  EXPECT_EQ(tight.findings.front().kind, kTipOffWay);
  EXPECT_EQ(tight.tip.line, plain.tip.line);
  EXPECT_TRUE(verdictBy([&](auto& rules) {
                rules.tolerance = {plain.tip.value, plain.axis.value};
              }).IsClean());
  const zvPostingVerdict fast = verdictBy([&](auto& rules) {
    rules.tolerance = {};
    rules.maxRotarySpeed = plain.rotarySpeed.value * 0.999;
  });
  ASSERT_FALSE(fast.IsClean());
  EXPECT_EQ(fast.findings.front().kind, kRotarySpeed);
  // Degrees over the time that the feed takes for the way.
  const auto line = plain.rotarySpeed.line;
  const zvPostedLine &a = posted.lines[line - 1], &b = posted.lines[line];
  const double minutes = Distance(a.p_part, b.p_part) / b.feed;
  const double turn = std::max(std::fabs(b.degs[0] - a.degs[0]), std::fabs(b.degs[1] - a.degs[1]));
  EXPECT_NEAR(plain.rotarySpeed.value, turn / minutes, 1e-9 * plain.rotarySpeed.value);
  const zvPostingVerdict many = verdictBy([](auto& rules) {
    rules.maxRotarySpeed = 0;
    rules.mostFindings = 3;
  });
  EXPECT_EQ(many.findings.size(), 3u);
  EXPECT_GT(many.counts[kRotarySpeed], 50u);
}

// On a rapid step lines are rapid, and in their order; on a step along the tool they look like
// lifts, but nothing turns between them.
TEST(PostingVerifier, SeesRapidLinesOutOfOrderAndWhereNothingTurns) {
  FiveAxisScene scene;
  scene.par.SetInterpolateRapidMoves(true);
  DivideByDistance(scene.par, 5);
  scene.par.SetMaxAngleStep(3);
  const Point tilted = scene.Tool(40, 30), top{40, 5, 55};
  const Posted posted(scene, {{{0, 0, 60}, scene.Tool(5, 30), 1000, true},
                              {top, tilted, 1000, true},
                              {top - 30 * tilted, tilted},
                              {top, tilted}});
  ASSERT_EQ(posted.Found(), Places{});
  std::size_t down = 1;
  while (posted.lines.at(down).isInserted) ++down;
  ASSERT_GT(down, 5u);
  ASSERT_EQ(posted.lines.size(), down + 17);
  ASSERT_TRUE(posted.lines[2].isRapid && posted.lines[3].isRapid);
  EXPECT_EQ(posted.Found([](Neutral& l) { std::swap(l[2], l[3]); }), (Places{{kGoesBack, 3}}));
  for (const std::size_t k : {down + 2, down + 10}) {  // down, and up again
    ASSERT_TRUE(posted.lines[k].isInserted);
    EXPECT_EQ(posted.Found([k](Neutral& l) { l[k].isRapid = true; }), (Places{{kRapid, k}}));
  }
}

// A line beside the path, where the machine puts it: the way from line to line is kept, the path's
// is not.
TEST(PostingVerifier, CountsWhatLinesOfFewDecimalsLieOffThePath) {
  Posted posted(ThreeAxisScene(),
                {{{}, {0, 0, 1}}, {{10, 0, 0}, {0, 0, 1}}, {{20, 0, 0}, {0, 0, 1}}});
  posted.lines.at(1).p_part.y += 1e-3;
  posted.lines[1].p_mach.y += 1e-3;
  ChangeRules(posted.verifier, [](auto& rules) { rules.lineLength = 5e-4; });
  EXPECT_EQ(posted.Verdict().counts[kTipOffSource], 1u);
  ChangeRules(posted.verifier, [](auto& rules) { rules.lineLength = 2e-3; });
  EXPECT_TRUE(posted.Verdict().IsClean());
  EXPECT_NEAR(posted.Verdict().tip.value, 1e-3, 1e-9);
}

// From the edge of a wide cone the tool tilts onto the pole within the tolerance.
TEST(PostingVerifier, AllowsBesideAPoleWhatTheParametersDo) {
  FiveAxisScene scene;
  scene.machine.kind = 2;
  scene.machine.first = {0, 0, -1};
  scene.machine.second = {0, 1, 0};
  scene.machine.secondPivot = {0, 0, 180};
  scene.toolLength = 80;
  scene.par.SetMaxAngleStep(0.5);
  scene.par.SetPoleAngleTolerance(1);
  const Source source{{{-49, 23, 21}, {0.0348, 0.0405, 0.99857}},
                      {{-48.2, -1.8, -0.1}, {0.00042, -0.0003125, 1}},
                      {{-48.2, -24.25, -0.1}, {0.105174, -0.050057, 2.497285}}};
  for (const bool isNumbered : {true, false}) {
    Posted posted(scene, source, isNumbered, {0.87, 1.4195});
    ASSERT_GT(posted.lines.size(), 100u);
    ChangeRules(posted.verifier, [](auto& rules) { rules.tolerance = {0.87, 1.4195}; });
    EXPECT_EQ(posted.Found(), Places{});
    // Without the width it is seen.
    ChangeRules(posted.verifier, [](auto& rules) { rules.poleAngleTolerance = 0.01; });
    EXPECT_GT(posted.Verdict().counts[kLineAxisOff], 100u);
  }
}

// Where the tip stands the tool goes on on its arc; where that stands as well, or has none between
// opposite orientations, the axes go on.
TEST(PostingVerifier, SeesLinesOfATurnOnTheSpotSwapped) {
  FiveAxisScene scene;
  scene.par.SetMaxAngleStep(3);
  scene.par.SetMaxAngleJump(360);
  const Point tip{10, 20, 30}, from = scene.Tool(10, 20), aside{5, 0, 0};
  const struct {
    const char* what;
    Source source;
    int axis;  // of the finding, -1 for the tool's arc
  } cases[] = {
      {"an arc", {{tip, from}, {tip, scene.Tool(60, 50)}}, -1},
      {"over a pole", {{tip, scene.Tool(0, 20)}, {tip, scene.Tool(180, 20)}}, -1},
      {"on a pole", {{tip - aside, from}, {tip, {0, 0, 1}}, {tip + aside, scene.Tool(130, 20)}}, 3},
      {"opposite", {{tip, from}, {tip, -from}}, 3},
  };
  for (const auto& c : cases)
    for (const bool isNumbered : {true, false}) {
      SCOPED_TRACE(testing::Message() << c.what << isNumbered);
      const Posted posted(scene, c.source, isNumbered, {0.01, 0.1});
      ASSERT_EQ(posted.Found(), Places{});
      // Two in the middle of what stands, with one before them that turns as they do.
      const auto stands = [&](std::size_t i) {
        return Distance(posted.lines.at(i).p_part, tip) < 1e-9;
      };
      std::size_t k = 1;
      while (!stands(k - 1) || !stands(k + 2)) ++k;
      for (const std::size_t at : {k, k + 1})
        EXPECT_EQ(posted.Found([at](Neutral& l) { std::swap(l[at], l[at + 1]); }),
                  (Places{{kTurnsBack, at + 1, c.axis}}))
            << at;
    }
}

// Between opposite orientations the machine goes its own way, which is no finding.
TEST(PostingVerifier, FindsNothingBetweenOppositeOrientations) {
  Seeded random;
  int held = 0;
  for (int i = 0; i < 60; ++i) {
    SCOPED_TRACE(i);
    FiveAxisScene scene = RandomScene(random);
    scene.par.SetMaxAngleJump(360);
    const Point dir = scene.Tool(random.Real(-170, 170), random.Real(-80, 80));
    const Point tip = random.Vector(100);
    const PathBuilder path = Build({{tip, dir}, {tip + random.Vector(10), -dir}});
    const post::zvPathTolerance tolerance(random.Real(0.001, 0.1), random.Real(0.02, 0.5));
    auto creator = scene.Creator();
    creator.SetPathTolerance(tolerance);
    if (PostBy(creator, path).id != 0 || !creator.GetToleranceReport().IsHeld()) continue;
    ++held;
    zvPostingVerifier verifier = VerifierOf(scene);
    ChangeRules(verifier, [&](auto& rules) { rules.tolerance = tolerance; });
    ASSERT_EQ(PlacesOf(verifier.Verify(path, *creator.GetPostedList())), Places{});
  }
  EXPECT_GT(held, 20);
}

// A lift leaves the path with the rotary axes as they stand, and comes down as they stand then.
TEST(PostingVerifier, TellsALiftFromATurningStepAlongTheTool) {
  FiveAxisScene scene;
  scene.par.SetMaxAngleStep(0.5);
  const Point low = scene.Tool(40, 30), tip{40, 5, 55};
  for (const double way : {30.0, -30.0})
    for (const bool isNumbered : {true, false}) {
      SCOPED_TRACE(testing::Message() << way << isNumbered);
      const Posted posted(scene, {{tip, low}, {tip + way * low, scene.Tool(41, 33)}}, isNumbered);
      ASSERT_EQ(posted.Found(), Places{});
      const std::size_t count = posted.lines.size();
      ASSERT_GT(count, 5u);
      for (const std::size_t k : {std::size_t{1}, count / 2, count - 2})
        EXPECT_EQ(posted.Found([k](Neutral& l) { l[k].isRapid = true; }), (Places{{kRapid, k}}));
    }
}

// By a whole turn, of which a wrapped angle tells nothing: the tool comes down where it left.
TEST(PostingVerifier, TakesALiftThatTurnsByAWholeTurnOnAStepAlongTheTool) {
  const FiveAxisScene scene;
  const Point up = scene.Tool(40, 30), tip{40, 5, 55};
  for (const bool isNumbered : {true, false}) {
    const Posted posted(scene, {{tip, up}, {tip + 30 * up, up}}, isNumbered);
    ASSERT_EQ(posted.lines.size(), 2u);
    EXPECT_EQ(posted.Found([&](Neutral& lines) {
      zvPostedLine drop = lines[0], lift = lines[0];
      drop.isInserted = lift.isInserted = isNumbered;
      lift.isRapid = true;
      lift.p_part += 20 * up;
      lift.p_mach += (lines[1].p_mach - lines[0].p_mach) * (20.0 / 30);
      lines.insert(lines.begin() + 1, {lift, lift, drop});
    }),
              Places{});
  }
}

// A line tolerance is for places: how fast an axis turns in a block shorter than it is seen.
TEST(PostingVerifier, JudgesSpeedsInBlocksShorterThanTheLineTolerance) {
  const FiveAxisScene scene;
  const Point there = scene.Tool(40, 30);
  Posted posted(scene, {{{}, there}, {{0.004, 0, 0}, scene.Tool(40, 31)}, {{}, there}});
  ChangeRules(posted.verifier, [](auto& rules) {
    rules.lineLength = 0.005;
    rules.maxRotarySpeed = 10000;
  });
  EXPECT_EQ(posted.Found(), (Places{{kRotarySpeed, 1, 4}, {kRotarySpeed, 2, 4}}));
  const zvPostingVerdict::Largest speed = posted.Verdict().rotarySpeed;
  EXPECT_NEAR(speed.value, 1 * 1000 / 0.004, 1);
  EXPECT_EQ(speed.line, 1u) << "of equal ones the first";
}

// Whichever of its turns is written.
TEST(PostingVerifier, GivesAWrappedAngleTheSlackOfALimit) {
  FiveAxisScene scene;
  scene.control = Wrapping(zv5axControlDef::angleLimit360, zv5axControlDef::angleLimitNone);
  const Posted posted(scene, {{{}, scene.Tool(40, 30)}});
  const double deg = posted.lines.at(0).degs[0] - 360;
  for (const double off : {0.5e-4, 2e-4})
    for (const Range& range : {Range{deg - 90, deg - off}, Range{deg + off, deg + 90}}) {
      scene.machine.firstRange = range;
      const auto verdict = Verified(VerifierOf(scene), posted.path, posted.lines);
      EXPECT_EQ(verdict.counts[kRotaryLimit], off > 1e-4 ? 1u : 0u) << off;
      for (const Finding& finding : verdict.findings) EXPECT_NEAR(finding.excess, off, 1e-9);
    }
}

// A spindle along the second axis, which only rounding keeps from being refused: that axis is free
// wherever the tool stands, and postings put the tool on the cone about the first within the
// tolerance.
TEST(PostingVerifier, AllowsAlongTheSecondAxisWhatTheParametersDo) {
  FiveAxisScene scene;
  scene.machine.kind = 2;
  scene.machine.spindle = scene.machine.second = {1, 1, 1};
  const Point dir = scene.Tool(40, 0), tilted = dir + Point{0, 0, 1e-4};
  Posted posted(scene, {{{}, tilted}, {{10, 0, 0}, scene.Tool(42, 0) + Point{0, 0, 1e-4}}});
  ASSERT_EQ(posted.lines.size(), 2u);
  EXPECT_EQ(posted.Found(), Places{});
  ChangeRules(posted.verifier, [](auto& rules) { rules.poleAngleTolerance = 0.001; });
  EXPECT_EQ(posted.Found(), (Places{{kLineAxisOff, 0}, {kLineAxisOff, 1}}));
}

TEST(PostingVerifier, SeesAThirdAxisThatDoesntStand) {
  Seeded random;
  const SixAxisScene scene = RandomSixAxisScene(random);
  const Posted posted(scene, RandomPath(random, scene.Model(), scene.machine.first, kSweep));
  ASSERT_GT(posted.lines.size(), 2u);
  EXPECT_EQ(posted.Found([](Neutral& l) { l[1].degs[2] += 1e-3; }), (Places{{kLineAxisOff, 1, 5}}));
}

TEST(PostingVerifier, RefusesMovesOfAnotherClassAndSetupsWithoutNumbers) {
  const FiveAxisScene scene;
  misc::zvMemoryPoolProvider provider;
  const misc::zvMemoryPoolList<post::zvPosted4axMove> list(provider);
  const PathBuilder path = Build(Source{{{}, {0, 0, 1}}});
  EXPECT_EQ(IdOf([&] { VerifierOf(scene).Verify(path, list); }), 5043u);
  EXPECT_EQ(IdOf([&] { zvPostingVerifier(scene.machine.MachDef(), {}, {kNaN, 0, 0}, 0); }), 5039u);
  EXPECT_EQ(IdOf([&] { zvPostingVerifier(scene.machine.MachDef(), {}, {}, kNaN); }), 5039u);
}

}  // namespace
}  // namespace tests
