// zvPosted5axTPCreator: toolpaths of one orientation, which need no rotary motion.
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/passes/move_times.h>
#include <kandrel/post/passes/path_reader.h>
#include <kandrel/post/passes/standing_axes.h>

using post::zvKDRParam;
using Point = cadcam::zvTPoint3d<double>;

bool zvPosted5axTPCreator::IsToolpathFor3AxisMachine(const cadcam::zvToolPath& toolpath) const {
  const bool mayBe =
      m_machDef.IsIdentityTransform() && GetPar().GetPoleHandling() != zvKDRParam::keepWithinLimits;
  return mayBe && post::HasOneOrientation(toolpath, GetAlignMatrix(), Polling().Get());
}

// The way of a toolpath of one orientation: the axes are set once, and the list has no rotary
// motion to be wound, repaired or wrapped.
void zvPosted5axTPCreator::PostStanding(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  post::zvPathReader reader(toolpath, GetAlignMatrix());
  reader.Next();
  const Point dir_tool = reader.GetMove().GetOrientation();
  const std::optional<post::zv5axPathKeeper> keeper = MakeKeeper(toolpath, smallMoves);
  const post::zv5axMoveSolver::PoleCone cone =
      keeper ? keeper->GetPoleCone() : m_solver.MakePoleCone();
  const post::zvStandingAxes axes = post::ChooseStandingAxes(
      reader.GetMove().GetPosition(), dir_tool, m_solver, cone, m_machDef, GetPar());
  const post::zvStandingAxes written = post::AsWritten(axes, GetControlDef());
  const bool isAtZero = written.AreAtZero();
  if (!isAtZero && post::ChecksRotaryAxes(GetPar().GetLimitsCheck()))
    ExceedingLimit(post::RotaryOut(axes, written, m_machDef, GetPar()));
  // Along the spindle the path is one for a plain 3-axis machine, tool length added for every kind.
  // Snapped to a pole it isn't quite, and its orientation is not to be checked again.
  const bool isPlain =
      isAtZero && (m_machDef.GetSpindleDirection() - dir_tool.Normalized()).SquaredLength() <
                      misc::kDirectionDifferenceSquared;
  misc::zvAutoPointer<post::zvTransformation3d> transformation;
  if (!isPlain)
    transformation = post::TransformationAt(
        written, {m_machDef, GetPartOrigin(), GetToolLengthCompensationValue()});
  CreatePostedTP(toolpath, written, transformation, smallMoves);
  Polling().Enter(misc::zvProgress::kLimits);
  CheckLinearLimits();
  Polling().Enter(misc::zvProgress::kTimes);
  post::ComputeMoveTimes(*m_posted.Get());
}

void zvPosted5axTPCreator::CreatePostedTP(
    const cadcam::zvToolPath& toolpath, const post::zvStandingAxes& axes,
    const misc::zvAutoPointer<post::zvTransformation3d>& transformation, bool smallMoves) {
  // The machine's own axis system is plain here. An alignment would turn the part a second time.
  const post::zv3axMachDef linearPart(m_machDef.GetUnits(), m_machDef.GetSpindleDirection(),
                                      m_machDef.GetMinLimits(), m_machDef.GetMaxLimits(), {1, 0, 0},
                                      {0, 1, 0}, {0, 0, 1});
  zvKDRParam par = GetPar();
  par.SetAlignToolpath(false);
  zvPosted3axTPCreator creator(linearPart, GetControlDef(), par, GetPartOrigin(),
                               GetToolLengthCompensationValue());
  creator.SetTransfor3d(transformation);
  creator.SetProgress(Polling().Get());
  List& list = *m_posted.Get();
  const zvPosted3axTPCreator::ListPointer posted = creator.Post(toolpath, smallMoves);
  Polling().Enter(misc::zvProgress::kCollecting);
  misc::zvPolledEnd end(Polling().Get(), posted->begin(), posted->end(), posted->GetCount());
  for (auto from = posted->begin(); end.IsBefore(from); ++from) {
    const post::zvPosted3axMove& move = *from;
    list.EmplaceWith(list.end(), [&] {
      if (smallMoves)
        return Move(move.GetMachinePosition(), move.GetPartPosition(), move.GetOrientation(),
                    axes.firstAngle, axes.secondAngle, 0, move.GetFeed(), move.IsRapid(),
                    move.GetType());
      return Move(move.GetMachinePosition(), move.GetPartPosition(), move.GetOrientation(),
                  axes.firstAngle, axes.secondAngle, 0, move.GetFeed(), move.IsRapid(),
                  move.GetType(), move.GetExtendedPoint(), move.GetExtendedVector(),
                  move.GetExtendedId(), move.HasExtendedData(), move.GetSourceIndex(),
                  move.IsInserted());
    });
  }
}
