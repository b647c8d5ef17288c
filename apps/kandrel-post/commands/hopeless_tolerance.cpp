#include "kandrel-post/commands/hopeless_tolerance.h"

#include <fmt/format.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/verifier/posting_verifier.h>

#include <algorithm>
#include <cmath>

#include "kandrel-post/commands/hopeless_steps.h"
#include "kandrel-post/commands/parameters.h"
#include "kandrel-post/host/errors.h"
#include "kandrel-post/host/memory_limit.h"

namespace kandrel_post {

namespace {

constexpr double kTinyMillimetres = 1e-3;

// How many lines the blocks of a run need for a tolerance.
class LineCount : public post::zvBlockSink {
 public:
  explicit LineCount(const post::zvPathTolerance& tolerance) : m_tolerance(tolerance) {}

  void Take(const post::zvVerifiedBlock& block) override {
    m_count += std::sqrt(std::max({1.0, block.deviation.tip / m_tolerance.GetTip(),
                                   block.deviation.axis / m_tolerance.GetAxis()}));
  }
  double Get() const { return m_count; }

 private:
  post::zvPathTolerance m_tolerance;
  double m_count = 0;
};

}  // namespace

void RefuseHopelessTolerance(const PostOptions& options, const Machine& machine,
                             const post::zvKDRParam& par, const cadcam::zvToolPath& toolPath) {
  using measures::zvUnitsFactory;
  const zvUnitsFactory::Units units = toolPath.GetUnits();
  const post::zvPathTolerance tolerance = PathToleranceOf(options.tolerance, units);
  const double tiny =
      kTinyMillimetres * zvUnitsFactory::GetScaleFactor(zvUnitsFactory::metric, units);
  if (!tolerance.IsOn() || tolerance.GetTip() >= tiny || AxisCount(machine) == 3) return;
  LineCount lines(tolerance);
  try {
    const misc::zvAutoPointer<post::zvMachDef> machDef = machine.builder.GetMachDef();
    post::zvKDRParam unchecked = par;
    unchecked.SetLimitsCheck(post::zvKDRParam::checkNothing);
    zvKDR5AxBase kernel(machDef, options.control, unchecked, options.origin, options.toolLength);
    const post::zvPostedTP& posted = kernel.Post(toolPath);
    post::zvPostingVerifier(*machDef, options.control, options.origin, options.toolLength)
        .Verify(toolPath, posted, &lines);
  } catch (const misc::zvException&) {
    return;  // what is wrong shows in the run itself
  }
  if (lines.Get() * PostedMoveBytes(options.small) / 2 > static_cast<double>(UsableMemory()))
    Fail(fmt::format("a tolerance of {} takes some {:.2g} lines, more than memory holds",
                     tolerance.GetTip(), lines.Get()));
}

}  // namespace kandrel_post
