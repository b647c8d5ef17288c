#include <kandrel/post/verifier/posting_verifier.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/outcome.h>
#include <tests/support/six_axis_scenes.h>
#include <tests/support/three_axis_scenes.h>

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

// Orientations come from angles on the model, so that the machine reaches them.
Source PathFor(Seeded& random, const rigid::Machine& model, int rotary) {
  std::vector<double> degs{random.Real(-170, 170), random.Real(-170, 170)};
  const double steps[] = {random.Real(-20, 20), random.Real(-5, 5)};
  Point tip = random.Vector(200);
  Source path;
  const int count = random.Integer(2, 30);
  for (int i = 0; i < count; ++i) {
    path.push_back({tip, ToPoint(model.At({}, degs).axis), random.Real(100, 5000)});
    if (random.Chance(0.1)) path.back().rapid = true;
    if (random.Chance(0.1)) path.back().link = random.Integer(0, 5);
    for (std::size_t k = 0; rotary > 0 && k < 2; ++k) degs[k] += steps[k] * random.Real(0, 1);
    tip += random.Vector(8);
  }
  return path;
}

// How far the model leaves a way between two lines, by many places in between.
post::zvBlockDeviation Sampled(const Rules& rules, const Line& a, const Line& b, bool isWrapped) {
  post::zvBlockDeviation largest;
  for (int i = 0; i <= 400; ++i) {
    const rigid::Pose pose = rules.PoseAt(Between(a, b, i / 400.0, isWrapped));
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
void ExpectOwnPostingsVerified(Seeded& random, AnyScene scene, int rotary) {
  scene.par.SetMaxAngleStep(random.Real(1, 8));
  scene.par.SetMaxAngleJump(random.Real(60, 180));
  scene.par.SetInterpolateByDistance(random.Chance(0.3));
  scene.par.SetInterpolationDistance(random.Real(0.7, 6));
  const auto control = static_cast<zv5axControlDef::angleLimit>(random.Integer(0, 2));
  scene.control.SetFirstAxisLimit(control);
  scene.control.SetSecondAxisLimit(control);
  if (rotary >= 2) {
    scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(random.Integer(1, 3)));
    scene.par.SetInterpolationMode(random.Chance(0.2) ? 1 : 0);
  }
  const PathBuilder path = Build(PathFor(random, scene.Model(), rotary));
  auto creator = CreatorOf(scene);
  const Outcome outcome = PostBy(creator, path);
  if (outcome.id != 0) return;
  const zvPostingVerifier verifier = VerifierOf(scene);
  Notes notes;
  const zvPostingVerdict noted = verifier.Verify(path, *creator.GetPostedList(), &notes);
  ASSERT_EQ(PlacesOf(noted), std::vector<Place>{});
  ASSERT_EQ(noted.sources, path.Path().GetMoveCount());
  ASSERT_EQ(noted.lines, outcome.lines.size());
  ASSERT_EQ(noted.blocks, notes.blocks.size());

  const Rules rules = Rules::Of(scene);
  double largest = 0;
  for (const auto& [line, block] : notes.blocks) {
    const Line &a = outcome.lines[line - 1], &b = outcome.lines[line];
    const double is = Sampled(rules, a, b, control != zv5axControlDef::angleLimitNone).tip;
    largest = std::max(largest, is);
    if (rules.model.slidesTellTip) continue;  // standing ones have the length all the same
    const double slack = 1e-11 * (scene.Size() + a.machine.Length() + a.part.Length());
    ASSERT_GE(block.deviation.tip, is - slack) << line;
    ASSERT_LE(block.deviation.tip, 1.021 * is + 1e-9 + 10 * slack) << line;
  }
  // Without a sink most blocks are passed over, and the maxima are the same but for their 2%.
  const zvPostingVerdict verdict = verifier.Verify(path, *creator.GetPostedList());
  ASSERT_NEAR(verdict.tip.value, noted.tip.value, 0.021 * noted.tip.value + 2e-9);
  ASSERT_NEAR(verdict.axis.value, noted.axis.value, 0.021 * noted.axis.value + 2e-6);
  ASSERT_EQ(verdict.findings.size(), 0u);

  // The same by other doors: neutral lines with and without numbers, and a posted toolpath.
  for (const bool isNumbered : {true, false}) {
    std::vector<zvPostedLine> lines;
    for (const Line& line : outcome.lines) lines.push_back(NeutralOf(line, isNumbered));
    const zvPostingVerdict same = Verified(verifier, path, lines);
    if (isNumbered || scene.par.GetInterpolationMode() == 0) {
      ASSERT_EQ(PlacesOf(same), std::vector<Place>{});
      ASSERT_EQ(same.sources, verdict.sources);
    }
    if (isNumbered) {
      ASSERT_EQ(same.tip.value, verdict.tip.value);
    }
  }
  post::zvPostedTP posted;
  for (const auto& move : *creator.GetPostedList())
    posted.PushBack(misc::MakeAutoPointer<std::decay_t<decltype(move)>>(move));
  ASSERT_EQ(verifier.Verify(path, posted).tip.value, verdict.tip.value);
}

TEST(PostingVerifier, FindsNothingInPostingsOfThreeAxes) {
  Seeded random;
  for (int i = 0; i < 100; ++i) {
    SCOPED_TRACE(i);
    ExpectOwnPostingsVerified(random, RandomThreeAxisScene(random), 0);
    if (HasFatalFailure()) return;
  }
}

TEST(PostingVerifier, FindsNothingInPostingsOfFourAxes) {
  Seeded random;
  for (int i = 0; i < 300; ++i) {
    SCOPED_TRACE(i);
    ExpectOwnPostingsVerified(random, RandomFourAxisScene(random), 1);
    if (HasFatalFailure()) return;
  }
}

TEST(PostingVerifier, FindsNothingInPostingsOfFiveAxes) {
  Seeded random;
  for (int i = 0; i < 300; ++i) {
    SCOPED_TRACE(i);
    ExpectOwnPostingsVerified(random, RandomScene(random), 2);
    if (HasFatalFailure()) return;
  }
}

TEST(PostingVerifier, FindsNothingInPostingsOfSixAxes) {
  Seeded random;
  for (int i = 0; i < 100; ++i) {
    SCOPED_TRACE(i);
    ExpectOwnPostingsVerified(random, RandomSixAxisScene(random), 3);
    if (HasFatalFailure()) return;
  }
}

}  // namespace

}  // namespace tests
