// Posts within a tolerance, shows how far the work is and lets it be cancelled, and has the lines
// verified by the machine's definition alone: a hemisphere on a trunnion, in lanes over the pole.
#include <kandrel/misc/exception.h>
#include <kandrel/misc/progress.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/verifier/posting_verifier.h>

#include <atomic>
#include <cmath>
#include <cstdio>

using cadcam::zvTPoint3d;

namespace {

// Asked by the thread that posts, every few thousand moves; false ends the work.
struct Progress final : misc::zvProgress {
  std::atomic<bool> isCancelled = false;  // set by a button, a signal, another thread

  bool Report(Stage stage, double fraction) override {
    if (fraction == 1) std::fprintf(stderr, "done: %s\n", misc::NameOf(stage));
    return !isCancelled;
  }
};

cadcam::zvToolPath Lanes() {
  constexpr double kDegree = 3.14159265358979323846 / 180;
  cadcam::zvToolPath path(measures::zvUnitsFactory::metric);
  for (int lane = 0; lane < 6; ++lane) {
    for (int deg = -60; deg <= 60; deg += 2) {
      const int way = lane % 2 == 0 ? deg : -deg;  // there and back
      const double slope = way * kDegree;
      const double turn = lane * 30 * kDegree;
      const zvTPoint3d<double> axis(std::sin(slope) * std::cos(turn),
                                    std::sin(slope) * std::sin(turn), std::cos(slope));
      path.AddMove(misc::MakeAutoPointer<cadcam::zv3axMove>(axis * 50.0, axis, 1000.0, false));
    }
  }
  return path;
}

}  // namespace

int main() {
  post::zv5axMachDef machine;
  machine.SetFiveAxisKind(3);
  machine.SetFirstRotationDirection({0, 0, -1});
  machine.SetSecondRotationDirection({-1, 0, 0});
  machine.SetSecondRotationPivot({0, 0, -50});
  const post::zv5axControlDef control;
  const post::zvKDRParam parameters(machine.GetUnits());
  const zvTPoint3d<double> partOrigin(0, 0, 20);
  constexpr double kToolLength = 75;

  try {
    const cadcam::zvToolPath path = Lanes();
    const post::zvPathTolerance tolerance{0.01, 0.1};  // tip in mm, tool axis in degrees
    Progress progress;

    zvKDR5AxBase kernel(machine, control, parameters, partOrigin, kToolLength);
    kernel.SetPathTolerance(tolerance);
    kernel.SetProgress(&progress);
    const post::zvPostedTP& posted = kernel.Post(path);

    post::zvPostingVerifier verifier(machine, control, partOrigin, kToolLength);
    post::zvVerifierRules rules;
    rules.tolerance = tolerance;
    verifier.SetRules(rules);
    const post::zvPostingVerdict verdict = verifier.Verify(path, posted);
    std::printf("%zu lines, tip within %.4f mm, axis within %.4f deg, %zu findings\n",
                posted.GetCount(), verdict.tip.value, verdict.axis.value, verdict.findings.size());
    return verdict.IsClean() ? 0 : 1;
  } catch (const misc::zvCancelled&) {
    std::puts("cancelled");  // the kernel is as it was before
    return 1;
  } catch (const misc::zvException& e) {
    std::fprintf(stderr, "error %u: %s\n", e.GetId(), e.what());
    return 1;
  }
}
