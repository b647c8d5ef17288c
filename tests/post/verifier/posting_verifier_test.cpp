#include <kandrel/post/verifier/posting_verifier.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/outcome.h>
#include <tests/support/six_axis_scenes.h>
#include <tests/support/three_axis_scenes.h>
#include <tests/support/throws_id.h>

#include <functional>
#include <limits>
#include <map>

namespace tests {

namespace {

using Finding = post::zvPostingFinding;
using post::zvPostedLine;
using post::zvPostingVerdict;
using post::zvPostingVerifier;

/// A finding by what it says of place: kind, line, axis.
using Place = std::tuple<Finding::Kind, std::uint64_t, int>;

std::vector<Place> PlacesOf(const zvPostingVerdict& verdict) {
  std::vector<Place> places;
  for (const Finding& f : verdict.findings) places.emplace_back(f.kind, f.line, f.axis);
  return places;
}

template <class AnyScene>
auto MachDefOf(const AnyScene& scene) {
  if constexpr (requires { scene.thirdAngle; })
    return scene.MachDef();
  else
    return scene.machine.MachDef();
}

template <class AnyScene>
zvPostingVerifier VerifierOf(const AnyScene& scene) {
  zvPostingVerifier verifier(MachDefOf(scene), scene.control, scene.origin, scene.toolLength);
  post::zvVerifierRules rules;
  rules.poleAngleTolerance = scene.par.GetPoleAngleTolerance();
  rules.hasMarkers = scene.par.GetInterpolationMode() != 0;
  verifier.SetRules(rules);
  return verifier;
}

zvPostedLine NeutralOf(const Line& line, bool isNumbered = true) {
  zvPostedLine neutral{line.machine, {}, line.part, line.orientation, line.feed, line.rapid};
  std::copy(line.degs.begin(), line.degs.end(), neutral.degs.begin());
  if (isNumbered) {
    neutral.source = line.source;
    neutral.isInserted = line.inserted;
  }
  return neutral;
}

zvPostingVerdict Verified(const zvPostingVerifier& verifier, const cadcam::zvToolPath& path,
                          const std::vector<zvPostedLine>& lines) {
  std::size_t next = 0;
  return verifier.Verify(path, [&](zvPostedLine& line) {
    if (next == lines.size()) return false;
    line = lines[next++];
    return true;
  });
}

// Orientations come from angles on the model, so that the machine reaches them; with two rotary
// axes some paths go through a pole or beside it, and some leap.
template <class AnyScene>
Source PathFor(Seeded& random, const AnyScene& scene, int rotary) {
  const rigid::Machine model = scene.Model();
  std::vector<double> degs{random.Real(-170, 170), random.Real(-170, 170)};
  const double steps[] = {random.Real(-20, 20), random.Real(-5, 5)};
  const int sort = rotary >= 2 ? random.Integer(0, 3) : 0;
  const Point pole = Rules::Of(scene).pole.Normalized(), across = Across(pole, random);
  const Point aside = Cross(pole, across) * std::pow(10.0, random.Real(-8, -1));
  Point tip = random.Vector(200);
  Source path;
  const int count = random.Integer(2, 30);
  for (int i = 0; i < count; ++i) {
    path.push_back({tip, ToPoint(model.At({}, degs).axis), random.Real(100, 5000)});
    if (sort == 1) path.back().orientation = pole + aside + across * (0.03 * (i - count / 2));
    if (random.Chance(0.1)) path.back().rapid = true;
    if (random.Chance(0.1)) path.back().link = random.Integer(0, 5);
    for (std::size_t k = 0; rotary > 0 && k < 2; ++k) degs[k] += steps[k] * random.Real(0, 1);
    if (sort == 2 && random.Chance(0.2)) degs = {random.Real(-170, 170), random.Real(-170, 170)};
    if (sort != 2 || random.Chance(0.8)) tip += random.Vector(8);
  }
  return path;
}

// How far the model leaves a way between two lines, by many places in between.
post::zvBlockDeviation Sampled(const Rules& rules, const Line& a, const Line& b, bool isWrapped) {
  post::zvBlockDeviation largest;
  for (int i = 0; i <= 200; ++i) {
    const rigid::Pose pose = rules.PoseAt(Between(a, b, i / 200.0, isWrapped));
    largest.tip = std::max(largest.tip, OffLine(ToPoint(pose.tip), a.part, b.part));
  }
  return largest;
}

/// Notes what the blocks say, by their line.
struct Notes : post::zvBlockSink {
  std::map<std::uint64_t, post::zvVerifiedBlock> blocks;
  void Take(const post::zvVerifiedBlock& block) override { blocks[block.line] = block; }
};

// Postings that no tolerance was asked of keep all but the law, and their blocks leave their ways
// by what the model says.
template <class AnyScene>
void ExpectOwnPostingsVerified(Seeded& random, AnyScene scene, int rotary, int& posted) {
  scene.par.SetMaxAngleStep(random.Real(1, 8));
  scene.par.SetMaxAngleJump(random.Real(60, 180));
  scene.par.SetInterpolateByDistance(random.Chance(0.3));
  scene.par.SetInterpolationDistance(random.Real(0.7, 6));
  const auto control = static_cast<zv5axControlDef::angleLimit>(random.Integer(0, 2));
  scene.control.SetFirstAxisLimit(control);
  scene.control.SetSecondAxisLimit(control);
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
  const PathBuilder path = Build(PathFor(random, scene, rotary));
  auto creator = CreatorOf(scene);
  const Outcome outcome = PostBy(creator, path);
  if (outcome.id != 0) return;
  ++posted;
  const zvPostingVerifier verifier = VerifierOf(scene);
  Notes notes;
  const zvPostingVerdict noted = verifier.Verify(path, *creator.GetPostedList(), &notes);
  ASSERT_EQ(PlacesOf(noted), std::vector<Place>{});
  ASSERT_EQ(noted.sources, path.Path().GetMoveCount());
  ASSERT_EQ(noted.lines, outcome.lines.size());
  ASSERT_EQ(noted.blocks, notes.blocks.size());

  const Rules rules = Rules::Of(scene);
  const auto expectBounds = [&](const Notes& told, double floor) {
    for (const auto& [line, block] : told.blocks) {
      const Line &a = outcome.lines[line - 1], &b = outcome.lines[line];
      const double is = Sampled(rules, a, b, control != zv5axControlDef::angleLimitNone).tip;
      if (rules.model.slidesTellTip) continue;  // standing ones have the length all the same
      const double slack = 1e-11 * (scene.Size() + a.machine.Length() + a.part.Length());
      ASSERT_GE(block.deviation.tip, is - slack) << line;
      ASSERT_LE(block.deviation.tip, std::max(floor, 1.021 * is + 1e-9 + 10 * slack)) << line;
    }
  };
  expectBounds(notes, 0);
  // Without a sink most blocks are passed over, and the maxima are the same but for their 2%.
  const zvPostingVerdict verdict = verifier.Verify(path, *creator.GetPostedList());
  ASSERT_NEAR(verdict.tip.value, noted.tip.value, 0.021 * noted.tip.value + 2e-9);
  ASSERT_NEAR(verdict.axis.value, noted.axis.value, 0.021 * noted.axis.value + 2e-6);
  ASSERT_EQ(verdict.findings.size(), 0u);
  // With a floor small ones are told by what is at hand.
  zvPostingVerifier coarse = verifier;
  post::zvVerifierRules floored = verifier.GetRules();
  floored.sinkFloor = {0.3 * verdict.tip.value, 0.3 * verdict.axis.value};
  coarse.SetRules(floored);
  Notes coarseNotes;
  const zvPostingVerdict floorVerdict = coarse.Verify(path, *creator.GetPostedList(), &coarseNotes);
  ASSERT_EQ(floorVerdict.tip.value, verdict.tip.value);
  ASSERT_EQ(floorVerdict.tip.line, verdict.tip.line);
  ASSERT_NEAR(floorVerdict.axis.value, verdict.axis.value, 0.021 * verdict.axis.value);
  ASSERT_EQ(coarseNotes.blocks.size(), notes.blocks.size());
  expectBounds(coarseNotes, floored.sinkFloor.tip);

  // The same by other doors: neutral lines with and without numbers, and a posted toolpath.
  for (const bool isNumbered : {true, false}) {
    std::vector<zvPostedLine> lines;
    for (const Line& line : outcome.lines) lines.push_back(NeutralOf(line, isNumbered));
    const zvPostingVerdict same = Verified(verifier, path, lines);
    ASSERT_EQ(PlacesOf(same), std::vector<Place>{});
    ASSERT_EQ(same.sources, verdict.sources);
    if (isNumbered) {
      ASSERT_EQ(same.tip.value, verdict.tip.value);
    }
  }
  post::zvPostedTP toolpath;
  for (const auto& move : *creator.GetPostedList())
    toolpath.PushBack(misc::MakeAutoPointer<std::decay_t<decltype(move)>>(move));
  ASSERT_EQ(verifier.Verify(path, toolpath).tip.value, verdict.tip.value);
}

TEST(PostingVerifier, FindsNothingInPostingsOfThreeAxes) {
  Seeded random;
  int posted = 0;
  for (int i = 0; i < 100; ++i) {
    SCOPED_TRACE(i);
    ExpectOwnPostingsVerified(random, RandomThreeAxisScene(random), 0, posted);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(posted, 66);
}

TEST(PostingVerifier, FindsNothingInPostingsOfFourAxes) {
  Seeded random;
  int posted = 0;
  for (int i = 0; i < 200; ++i) {
    SCOPED_TRACE(i);
    ExpectOwnPostingsVerified(random, RandomFourAxisScene(random), 1, posted);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(posted, 130);
}

TEST(PostingVerifier, FindsNothingInPostingsOfFiveAxes) {
  Seeded random;
  int posted = 0;
  for (int i = 0; i < 300; ++i) {
    SCOPED_TRACE(i);
    ExpectOwnPostingsVerified(random, RandomScene(random), 2, posted);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(posted, 200);
}

TEST(PostingVerifier, FindsNothingInPostingsOfSixAxes) {
  Seeded random;
  int posted = 0;
  for (int i = 0; i < 100; ++i) {
    SCOPED_TRACE(i);
    ExpectOwnPostingsVerified(random, RandomSixAxisScene(random), 3, posted);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(posted, 66);
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
  const std::vector<zvPostedLine> lines{NeutralOf(posted.front()), NeutralOf(posted.back())};
  zvPostingVerifier verifier = VerifierOf(scene);
  CountingHook hook;
  verifier.SetProgress(&hook);
  const zvPostingVerdict verdict = Verified(verifier, path, lines);
  EXPECT_EQ(verdict.sources, 2u);
  EXPECT_EQ(PlacesOf(verdict), (std::vector<Place>{{Finding::kSourceMissing, 1, -1}}));
  EXPECT_GE(hook.calls, kMoves / 4096);

  CountingHook canceller;
  canceller.endsAt = hook.calls / 2;
  verifier.SetProgress(&canceller);
  EXPECT_TRUE(ThrowsId<misc::zvCancelled>([&] { Verified(verifier, path, lines); }, 9000));
  EXPECT_EQ(canceller.calls, canceller.endsAt);
}

/// A posting of five axes whose source moves stand in every fourth line, with three lines inserted
/// after each; and what it takes to verify it.
class Mutants : public testing::Test {
 protected:
  static constexpr std::size_t kLine = 32;  // of a source move, with inserted ones about it

  FiveAxisScene m_scene = MadeScene();
  Source m_source = MadeSource(m_scene);
  PathBuilder m_path = Build(m_source);
  zvPostingVerifier m_verifier = VerifierOf(m_scene);
  std::vector<zvPostedLine> m_lines = Posted(true);

  static FiveAxisScene MadeScene() {
    FiveAxisScene scene;
    scene.machine.firstPivot = {20, -30, 40};
    scene.machine.secondPivot = {0, 10, -60};
    scene.origin = {100, 50, 25};
    scene.toolLength = 80;
    return scene;
  }
  static Source MadeSource(const FiveAxisScene& scene) {
    Source source;
    for (int i = 0; i < 21; ++i)
      source.push_back({{10.0 * i, 4.0 * (i % 3), 1.0 * (i % 2)},
                        scene.Tool(5 + 8.5 * i, 20.0 + 2 * (i % 2)),
                        1000.0 + 10 * i});
    return source;
  }
  std::vector<zvPostedLine> Posted(bool isNumbered) const {
    std::vector<zvPostedLine> lines;
    for (const Line& line : Post(m_scene, m_path).lines)
      lines.push_back(NeutralOf(line, isNumbered));
    return lines;
  }
  std::vector<Place> Found(const std::vector<zvPostedLine>& lines) const {
    return PlacesOf(Verified(m_verifier, m_path, lines));
  }
};

TEST_F(Mutants, NothingIsFoundInWhatWasPosted) {
  ASSERT_EQ(m_lines.size(), 81u);
  for (std::size_t i = 0; i < m_lines.size(); ++i)
    ASSERT_EQ(m_lines[i].isInserted, i % 4 != 0) << i;
  EXPECT_EQ(Found(m_lines), std::vector<Place>{});
  EXPECT_EQ(Found(Posted(false)), std::vector<Place>{});
}

TEST_F(Mutants, AreFoundWithTheirLine) {
  using Lines = std::vector<zvPostedLine>;
  const auto at = [](Lines& lines, std::size_t k) { return lines.begin() + static_cast<long>(k); };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Case {
    const char* what;
    std::function<void(Lines&)> spoil;
    std::vector<Place> places;
    bool isAlsoOfSmall = true;  ///< the same is found in lines without numbers
  };
  constexpr std::uint64_t k = kLine;
  const std::vector<Case> cases{
      {"x off", [](Lines& l) { l[k].p_mach.x += 1e-3; }, {{Finding::kLineTipOff, k, -1}}},
      {"z off", [](Lines& l) { l[k + 1].p_mach.z -= 1e-3; }, {{Finding::kLineTipOff, k + 1, -1}}},
      {"first angle off", [](Lines& l) { l[k].degs[0] += 1e-3; }, {{Finding::kLineTipOff, k, -1}}},
      {"second angle off", [](Lines& l) { l[k].degs[1] -= 1e-3; }, {{Finding::kLineTipOff, k, -1}}},
      {"tool elsewhere",
       [](Lines& l) { l[k].degs[1] -= 1; },
       {{Finding::kLineTipOff, k, -1}, {Finding::kLineAxisOff, k, -1}}},
      {"a turn on",
       [](Lines& l) { l[k].degs[0] += 360; },
       {{Finding::kWholeTurn, k, 3}, {Finding::kWholeTurn, k + 1, 3}}},
      {"a turn from here",
       [](Lines& l) {
         for (std::size_t i = k; i < l.size(); ++i) l[i].degs[1] -= 360;
       },
       {{Finding::kWholeTurn, k, 4}}},
      {"no number", [nan](Lines& l) { l[k].p_mach.y = nan; }, {{Finding::kNotFinite, k, -1}}},
      {"too large to be added up",
       [](Lines& l) { l[k].p_mach.x = l[k].p_mach.y = 1.7e308; },
       {{Finding::kLineTipOff, k, -1},
        {Finding::kLinearLimit, k, 0},
        {Finding::kLinearLimit, k, 1}}},
      {"the source move dropped",
       [at](Lines& l) { l.erase(at(l, k)); },
       {{Finding::kSourceMissing, k, -1}}},
      {"the first dropped",
       [at](Lines& l) { l.erase(at(l, 0)); },
       {{Finding::kSourceMissing, 0, -1}}},
      {"the last dropped", [](Lines& l) { l.pop_back(); }, {{Finding::kSourceMissing, 80, -1}}},
      {"three source moves dropped",
       [at](Lines& l) { l.erase(at(l, k), at(l, k + 9)); },
       {{Finding::kSourceMissing, k, -1}}},
      {"inserted ones swapped",
       [](Lines& l) { std::swap(l[k + 1], l[k + 2]); },
       {{Finding::kGoesBack, k + 2, -1}}},
      {"source moves swapped",
       [](Lines& l) { std::swap(l[k], l[k + 4]); },
       {{Finding::kSourceMissing, k, -1},
        {Finding::kSourceOrder, k + 1, -1},
        {Finding::kSourceOrder, k + 2, -1},
        {Finding::kSourceOrder, k + 3, -1},
        {Finding::kSourceOrder, k + 4, -1}},
       false},
      {"a number beyond the path",
       [](Lines& l) { l[k + 1].source = 1000; },
       {{Finding::kSourceUnknown, k + 1, -1}},
       false},
      {"too fast", [](Lines& l) { l[k].feed *= 1.01; }, {{Finding::kFeed, k, -1}}},
      {"too fast between", [](Lines& l) { l[k + 1].feed = 1120; }, {{Finding::kFeed, k + 1, -1}}},
      {"slower", [](Lines& l) { l[k].feed *= 0.5; }, {}},
      {"rapid", [](Lines& l) { l[k].isRapid = true; }, {{Finding::kRapid, k, -1}}, false},
      {"rapid between", [](Lines& l) { l[k + 1].isRapid = true; }, {{Finding::kRapid, k + 1, -1}}},
      {"rapid between two source moves",
       [](Lines& l) { l[k + 1].isRapid = l[k + 2].isRapid = l[k + 3].isRapid = true; },
       {{Finding::kRapid, k + 1, -1}, {Finding::kRapid, k + 2, -1}, {Finding::kRapid, k + 3, -1}}},
      {"a part position elsewhere",
       [](Lines& l) { l[k].p_part.x += 1; },
       {{Finding::kTipOffSource, k, -1}, {Finding::kLineTipOff, k, -1}},
       false},
      {"an orientation elsewhere",
       [](Lines& l) {
         l[k].dir_tool = {0, 0, 1};
       },
       {{Finding::kAxisOffSource, k, -1}, {Finding::kLineAxisOff, k, -1}},
       false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Lines lines = m_lines;
    c.spoil(lines);
    EXPECT_EQ(Found(lines), c.places);
    if (!c.isAlsoOfSmall) continue;
    lines = Posted(false);
    c.spoil(lines);
    EXPECT_EQ(Found(lines), c.places) << "without numbers";
  }
}

TEST_F(Mutants, LimitsAreReportedWithAxisValueAndExcess) {
  struct Case {
    const char* what;
    std::function<void(FiveAxisSetup&)> narrow;
    int axis;
    double value, excess;
    Finding::Kind kind = Finding::kLinearLimit;
  };
  // Just this line lies beyond: the largest or smallest of all is looked for.
  const auto most = [&](auto value) {
    return *std::max_element(m_lines.begin(), m_lines.end(),
                             [&](const auto& a, const auto& b) { return value(a) < value(b); });
  };
  const double x = most([](const auto& l) { return l.p_mach.x; }).p_mach.x;
  const double z = most([](const auto& l) { return -l.p_mach.z; }).p_mach.z;
  const double a = most([](const auto& l) { return l.degs[0]; }).degs[0];
  const double b = most([](const auto& l) { return -l.degs[1]; }).degs[1];
  const std::vector<Case> cases{
      {"x", [x](auto& m) { m.high.x = x - 1e-6; }, 0, x, 1e-6},
      {"z", [z](auto& m) { m.low.z = z + 1e-6; }, 2, z, 1e-6},
      {"first", [a](auto& m) { m.firstRange.second = a - 0.01; }, 3, a, 0.01,
       Finding::kRotaryLimit},
      {"second", [b](auto& m) { m.secondRange.first = b + 0.01; }, 4, b, 0.01,
       Finding::kRotaryLimit},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    FiveAxisScene scene = m_scene;
    c.narrow(scene.machine);
    zvPostingVerifier verifier = VerifierOf(scene);
    const zvPostingVerdict verdict = Verified(verifier, m_path, m_lines);
    ASSERT_FALSE(verdict.findings.empty());
    for (const Finding& f : verdict.findings) {
      EXPECT_EQ(f.kind, c.kind);
      EXPECT_EQ(f.axis, c.axis);
      EXPECT_NEAR(f.value, c.value, c.excess);
      EXPECT_LE(f.excess, c.excess + 1e-9);
      EXPECT_NEAR(std::fabs(f.value - f.bound), f.excess, 1e-12);
    }
    post::zvVerifierRules rules = verifier.GetRules();
    rules.limitsCheck = zvKDRParam::checkNothing;
    verifier.SetRules(rules);
    EXPECT_TRUE(Verified(verifier, m_path, m_lines).IsClean());
  }
}

TEST_F(Mutants, ToleranceSpeedAndCountsAreKept) {
  post::zvVerifierRules rules = m_verifier.GetRules();
  const zvPostingVerdict plain = Verified(m_verifier, m_path, m_lines);
  ASSERT_GT(plain.tip.value, 1e-3);
  rules.tolerance = {plain.tip.value * 0.97, 180};
  m_verifier.SetRules(rules);
  const zvPostingVerdict tight = Verified(m_verifier, m_path, m_lines);
  ASSERT_FALSE(tight.findings.empty());
  EXPECT_EQ(tight.findings.front().kind, Finding::kTipOffWay);
  EXPECT_EQ(tight.tip.line, plain.tip.line);
  rules.tolerance = {plain.tip.value, plain.axis.value};
  m_verifier.SetRules(rules);
  EXPECT_TRUE(Verified(m_verifier, m_path, m_lines).IsClean());
  rules.tolerance = {};
  rules.maxRotarySpeed = plain.rotarySpeed.value * 0.999;
  m_verifier.SetRules(rules);
  const zvPostingVerdict fast = Verified(m_verifier, m_path, m_lines);
  ASSERT_FALSE(fast.findings.empty());
  EXPECT_EQ(fast.findings.front().kind, Finding::kRotarySpeed);
  // Degrees over the time that the feed takes for the way.
  const zvPostedLine &a = m_lines[plain.rotarySpeed.line - 1], &b = m_lines[plain.rotarySpeed.line];
  const double minutes = Distance(a.p_part, b.p_part) / b.feed;
  EXPECT_NEAR(
      plain.rotarySpeed.value,
      std::max(std::fabs(b.degs[0] - a.degs[0]), std::fabs(b.degs[1] - a.degs[1])) / minutes,
      1e-9 * plain.rotarySpeed.value);
  rules.maxRotarySpeed = 0;
  rules.mostFindings = 3;
  m_verifier.SetRules(rules);
  const zvPostingVerdict many = Verified(m_verifier, m_path, m_lines);
  EXPECT_EQ(many.findings.size(), 3u);
  EXPECT_GT(many.counts[Finding::kRotarySpeed], 50u);
}

// On a rapid step lines are rapid, and in their order; on a step along the tool they look like
// lifts, but nothing turns between them.
TEST(PostingVerifier, SeesRapidLinesOutOfOrderAndWhereNothingTurns) {
  FiveAxisScene scene;
  scene.par.SetInterpolateRapidMoves(true);
  scene.par.SetInterpolateByDistance(true);
  scene.par.SetInterpolationDistance(5);
  scene.par.SetMaxAngleStep(3);
  const Point tilted = scene.Tool(40, 30);
  const Source source{{{0, 0, 60}, scene.Tool(5, 30), 1000, true},
                      {{40, 5, 55}, tilted, 1000, true},
                      {Point{40, 5, 55} - 30 * tilted, tilted},
                      {{40, 5, 55}, tilted}};
  const PathBuilder path = Build(source);
  std::vector<zvPostedLine> lines;
  for (const Line& line : Post(scene, path).lines) lines.push_back(NeutralOf(line));
  const zvPostingVerifier verifier = VerifierOf(scene);
  ASSERT_EQ(PlacesOf(Verified(verifier, path, lines)), std::vector<Place>{});
  const auto down = static_cast<std::size_t>(
      std::find_if(lines.begin() + 1, lines.end(), [](const auto& l) { return !l.isInserted; }) -
      lines.begin());
  ASSERT_GT(down, 5u);
  ASSERT_TRUE(lines[2].isRapid && lines[3].isRapid);
  ASSERT_EQ(lines.size(), down + 17);

  auto swapped = lines;
  std::swap(swapped[2], swapped[3]);
  EXPECT_EQ(PlacesOf(Verified(verifier, path, swapped)),
            (std::vector<Place>{{Finding::kGoesBack, 3, -1}}));
  // Down, and up again.
  for (const std::size_t k : {down + 2, down + 10}) {
    auto rapid = lines;
    ASSERT_TRUE(rapid[k].isInserted);
    rapid[k].isRapid = true;
    EXPECT_EQ(PlacesOf(Verified(verifier, path, rapid)),
              (std::vector<Place>{{Finding::kRapid, k, -1}}));
  }
}

// A line beside the path, where the machine puts it: the way from line to line is kept, the path's
// is not.
TEST(PostingVerifier, CountsWhatLinesOfFewDecimalsLieOffThePath) {
  const ThreeAxisScene scene;
  const PathBuilder path =
      Build(Source{{{0, 0, 0}, {0, 0, 1}}, {{10, 0, 0}, {0, 0, 1}}, {{20, 0, 0}, {0, 0, 1}}});
  std::vector<zvPostedLine> lines;
  for (const Line& line : Post(scene, path).lines) lines.push_back(NeutralOf(line));
  ASSERT_EQ(lines.size(), 3u);
  lines[1].p_part.y += 1e-3;
  lines[1].p_mach.y += 1e-3;
  zvPostingVerifier verifier = VerifierOf(scene);
  post::zvVerifierRules rules = verifier.GetRules();
  for (const double slack : {5e-4, 2e-3}) {
    rules.lineLength = slack;
    verifier.SetRules(rules);
    const zvPostingVerdict verdict = Verified(verifier, path, lines);
    EXPECT_EQ(verdict.IsClean(), slack > 1e-3);
    EXPECT_EQ(verdict.counts[Finding::kTipOffSource], slack > 1e-3 ? 0u : 1u);
    if (slack > 1e-3) {
      EXPECT_NEAR(verdict.tip.value, 1e-3, 1e-9);
    }
  }
}

/// A posting on the default machine as lines of anybody, and its path.
struct Neutral {
  PathBuilder path;
  std::vector<zvPostedLine> lines;
};
Neutral NeutralBy(const FiveAxisScene& scene, const Source& source,
                  const post::zvPathTolerance& tolerance, bool isNumbered) {
  Neutral neutral{Build(source), {}};
  auto creator = scene.Creator();
  creator.SetPathTolerance(tolerance);
  for (const Line& line : PostBy(creator, neutral.path).lines)
    neutral.lines.push_back(NeutralOf(line, isNumbered));
  return neutral;
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
    const auto [path, lines] = NeutralBy(scene, source, {0.87, 1.4195}, isNumbered);
    ASSERT_GT(lines.size(), 100u);
    zvPostingVerifier verifier = VerifierOf(scene);
    post::zvVerifierRules rules = verifier.GetRules();
    rules.tolerance = {0.87, 1.4195};
    verifier.SetRules(rules);
    EXPECT_EQ(PlacesOf(Verified(verifier, path, lines)), std::vector<Place>{});
    // Without the width it is seen.
    rules.poleAngleTolerance = 0.01;
    verifier.SetRules(rules);
    EXPECT_GT(Verified(verifier, path, lines).counts[Finding::kLineAxisOff], 100u);
  }
}

// Where the tip stands the tool goes on on its arc; where that stands as well, or has none between
// opposite orientations, the axes go on.
TEST(PostingVerifier, SeesLinesOfATurnOnTheSpotSwapped) {
  FiveAxisScene scene;
  scene.par.SetMaxAngleStep(3);
  scene.par.SetMaxAngleJump(360);
  const Point tip{10, 20, 30};
  struct Case {
    const char* what;
    Source source;
    int axis;  // of the finding, -1 for the tool's arc
  };
  const std::vector<Case> cases{
      {"an arc", {{tip, scene.Tool(10, 20)}, {tip, scene.Tool(60, 50)}}, -1},
      {"over a pole", {{tip, scene.Tool(0, 20)}, {tip, scene.Tool(180, 20)}}, -1},
      {"on a pole",
       {{tip - Point{5, 0, 0}, scene.Tool(10, 20)},
        {tip, {0, 0, 1}},
        {tip + Point{5, 0, 0}, scene.Tool(130, 20)}},
       3},
      {"opposite", {{tip, scene.Tool(10, 20)}, {tip, -scene.Tool(10, 20)}}, 3},
  };
  for (const Case& c : cases) {
    for (const bool isNumbered : {true, false}) {
      SCOPED_TRACE(testing::Message() << c.what << isNumbered);
      const auto [path, lines] = NeutralBy(scene, c.source, {0.01, 0.1}, isNumbered);
      const zvPostingVerifier verifier = VerifierOf(scene);
      ASSERT_EQ(PlacesOf(Verified(verifier, path, lines)), std::vector<Place>{});
      // Two in the middle of what stands, with one before them that turns as they do.
      std::size_t k = 0;
      for (std::size_t i = 0; i + 3 < lines.size(); ++i) {
        const auto stands = [&lines = lines, &tip](std::size_t j) {
          return Distance(lines[j].p_part, tip) < 1e-9;
        };
        if (stands(i) && stands(i + 3) && k == 0) k = i + 1;
      }
      ASSERT_GT(k, 0u);
      for (const std::size_t at : {k, k + 1}) {
        auto swapped = lines;
        std::swap(swapped[at], swapped[at + 1]);
        EXPECT_EQ(PlacesOf(Verified(verifier, path, swapped)),
                  (std::vector<Place>{{Finding::kTurnsBack, at + 1, c.axis}}))
            << at;
      }
    }
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
    const Source source{{tip, dir}, {tip + random.Vector(10), -dir}};
    const post::zvPathTolerance tolerance(random.Real(0.001, 0.1), random.Real(0.02, 0.5));
    const PathBuilder path = Build(source);
    auto creator = scene.Creator();
    creator.SetPathTolerance(tolerance);
    if (PostBy(creator, path).id != 0 || !creator.GetToleranceReport().IsHeld()) continue;
    ++held;
    zvPostingVerifier verifier = VerifierOf(scene);
    post::zvVerifierRules rules = verifier.GetRules();
    rules.tolerance = tolerance;
    verifier.SetRules(rules);
    ASSERT_EQ(PlacesOf(verifier.Verify(path, *creator.GetPostedList())), std::vector<Place>{});
  }
  EXPECT_GT(held, 20);
}

// A lift leaves the path with the rotary axes as they stand, and comes down as they stand then.
TEST(PostingVerifier, TellsALiftFromATurningStepAlongTheTool) {
  FiveAxisScene scene;
  scene.par.SetMaxAngleStep(0.5);
  const Point low = scene.Tool(40, 30);
  for (const double way : {30.0, -30.0}) {
    const Source source{{{40, 5, 55}, low, 1000},
                        {Point{40, 5, 55} + way * low, scene.Tool(41, 33), 1000}};
    for (const bool isNumbered : {true, false}) {
      SCOPED_TRACE(testing::Message() << way << isNumbered);
      const auto [path, lines] = NeutralBy(scene, source, {}, isNumbered);
      const zvPostingVerifier verifier = VerifierOf(scene);
      ASSERT_EQ(PlacesOf(Verified(verifier, path, lines)), std::vector<Place>{});
      ASSERT_GT(lines.size(), 5u);
      for (const std::size_t k : {std::size_t{1}, lines.size() / 2, lines.size() - 2}) {
        auto rapid = lines;
        rapid[k].isRapid = true;
        EXPECT_EQ(PlacesOf(Verified(verifier, path, rapid)),
                  (std::vector<Place>{{Finding::kRapid, k, -1}}));
      }
    }
  }
}

// By a whole turn, of which a wrapped angle tells nothing: the tool comes down where it left.
TEST(PostingVerifier, TakesALiftThatTurnsByAWholeTurnOnAStepAlongTheTool) {
  const FiveAxisScene scene;
  const Point up = scene.Tool(40, 30);
  const Source source{{{40, 5, 55}, up, 1000}, {Point{40, 5, 55} + 30 * up, up, 1000}};
  for (const bool isNumbered : {true, false}) {
    auto [path, lines] = NeutralBy(scene, source, {}, isNumbered);
    ASSERT_EQ(lines.size(), 2u);
    zvPostedLine drop = lines[0], lift = lines[0];
    drop.isInserted = lift.isInserted = isNumbered;
    lift.isRapid = true;
    lift.p_part += 20 * up;
    lift.p_mach = lines[0].p_mach + (lines[1].p_mach - lines[0].p_mach) * (20.0 / 30);
    lines.insert(lines.begin() + 1, {lift, lift, drop});
    EXPECT_EQ(PlacesOf(Verified(VerifierOf(scene), path, lines)), std::vector<Place>{});
  }
}

// A line tolerance is for places: how fast an axis turns in a block shorter than it is seen.
TEST(PostingVerifier, JudgesSpeedsInBlocksShorterThanTheLineTolerance) {
  const FiveAxisScene scene;
  const Source source{{{0, 0, 0}, scene.Tool(40, 30)}, {{0.004, 0, 0}, scene.Tool(40, 31)}};
  const auto [path, lines] = NeutralBy(scene, source, {}, true);
  zvPostingVerifier verifier = VerifierOf(scene);
  post::zvVerifierRules rules = verifier.GetRules();
  rules.lineLength = 0.005;
  rules.maxRotarySpeed = 10000;
  verifier.SetRules(rules);
  const zvPostingVerdict verdict = Verified(verifier, path, lines);
  EXPECT_EQ(PlacesOf(verdict), (std::vector<Place>{{Finding::kRotarySpeed, 1, 4}}));
  EXPECT_NEAR(verdict.rotarySpeed.value, 1 * 1000 / 0.004, 1);
}

TEST(PostingVerifier, SeesAThirdAxisThatDoesntStand) {
  Seeded random;
  SixAxisScene scene = RandomSixAxisScene(random);
  const PathBuilder path = Build(PathFor(random, scene, 3));
  std::vector<zvPostedLine> lines;
  for (const Line& line : Post(scene, path).lines) lines.push_back(NeutralOf(line));
  ASSERT_GT(lines.size(), 2u);
  lines[1].degs[2] += 1e-3;
  EXPECT_EQ(PlacesOf(Verified(VerifierOf(scene), path, lines)),
            (std::vector<Place>{{Finding::kLineAxisOff, 1, 5}}));
}

TEST(PostingVerifier, RefusesMovesOfAnotherClassAndSetupsWithoutNumbers) {
  const FiveAxisScene scene;
  misc::zvMemoryPoolProvider provider;
  const misc::zvMemoryPoolList<post::zvPosted4axMove> list(provider);
  const PathBuilder path = Build(Source{{{}, {0, 0, 1}}});
  EXPECT_EQ(IdOf([&] { VerifierOf(scene).Verify(path, list); }), 5043u);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(IdOf([&] { zvPostingVerifier(scene.machine.MachDef(), {}, {nan, 0, 0}, 0); }), 5039u);
  EXPECT_EQ(IdOf([&] { zvPostingVerifier(scene.machine.MachDef(), {}, {}, nan); }), 5039u);
}

}  // namespace

}  // namespace tests
