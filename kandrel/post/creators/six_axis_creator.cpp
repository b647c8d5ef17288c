#include <kandrel/misc/tolerances.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>

#include <cmath>

using post::zv6axMachDef;
using post::zvPosted5axMove;

zvPosted6axTPCreator::~zvPosted6axTPCreator() = default;

const zv6axMachDef& zvPosted6axTPCreator::AsOwnClass(const post::zvMachDef& machDef) {
  return post::zvMachDefUtils::As6ax(machDef);
}

post::zv5axMoveSolver zvPosted6axTPCreator::MakeSolver(const zv6axMachDef& machDef,
                                                       const post::zvKDRParam& par,
                                                       const cadcam::zvTPoint3d<double>& partOrigin,
                                                       double toolLengthCompensation) {
  return {post::Get5axMachDef(post::Normalised(machDef)), par, partOrigin, toolLengthCompensation};
}

void zvPosted6axTPCreator::RequireFiniteThirdAngle() const {
  if (!std::isfinite(m_machDef.GetThirdAngle()))
    throw post::zvPostException(post::zvPostException::kInvalidVector);
}

// Of the machine, parameters and set-up that this creator has now.
zvPosted5axTPCreator zvPosted6axTPCreator::FiveAxisCreator() const {
  return {post::Get5axMachDef(m_machDef), GetControlDef(), GetPar(), GetPartOrigin(),
          GetToolLengthCompensationValue()};
}

zvPosted6axTPCreator::ListPointer zvPosted6axTPCreator::Post(const cadcam::zvToolPath& toolpath,
                                                             bool smallMoves) {
  return PostPolled(toolpath, [&] { return PostAll(toolpath, smallMoves); });
}

zvPosted6axTPCreator::ListPointer zvPosted6axTPCreator::PostAll(const cadcam::zvToolPath& toolpath,
                                                                bool smallMoves) {
  m_counts = {};
  SetToleranceReport({});
  zvPosted5axTPCreator creator = FiveAxisCreator();
  creator.SetPathTolerance(GetPathTolerance());
  creator.SetProgress(Polling().Get());
  const auto solved = creator.Post(toolpath, smallMoves);
  if (!solved->IsEmpty()) RequireFiniteThirdAngle();
  ListPointer list = m_posted.New();
  Polling().Enter(misc::zvProgress::kCollecting);
  misc::zvPolledEnd end(Polling().Get(), solved->begin(), solved->end(), solved->GetCount());
  for (auto move = solved->begin(); end.IsBefore(move); move = solved->Erase(move))
    list->EmplaceBack(std::move(*move), m_machDef.GetThirdAngle());
  m_counts = creator.GetCounts();
  SetToleranceReport(creator.GetToleranceReport());
  return m_posted.Get() = std::move(list);
}

std::pair<zvPosted6axTPCreator::Move, post::zvMirrorAngle> zvPosted6axTPCreator::PostMove2(
    const cadcam::zvMovePointer& move, Types type) const {
  RequireFiniteSetup();
  post::zvSolutionPair pair = m_solver.Solve(move, type, 0, true, misc::kNoValue, false, 0);
  post::RequireNumbers(pair);
  RequireFiniteThirdAngle();
  return {Move(std::move(pair.first), m_machDef.GetThirdAngle()), pair.second};
}

std::pair<zvPosted6axTPCreator::Move, zvPosted6axTPCreator::Move> zvPosted6axTPCreator::PostMove(
    const cadcam::zvMovePointer& move, Types type) const {
  const auto [first, solution] = PostMove2(move, type);
  Move mirror = first;
  mirror.SetMachinePosition(solution.machinePosition);
  mirror.SetAngle(solution.firstAngle, 0);
  mirror.SetAngle(solution.secondAngle, 1);
  return {first, mirror};
}

std::pair<misc::zvAutoPointer<zvPosted6axTPCreator::Move>,
          misc::zvAutoPointer<zvPosted6axTPCreator::Move>>
zvPosted6axTPCreator::PostMoveWithinMachLimits(const cadcam::zvMovePointer& move,
                                               Types type) const {
  const auto solutions = FiveAxisCreator().PostMoveWithinMachLimits(move, type);
  RequireFiniteThirdAngle();
  const auto widen = [this](const misc::zvAutoPointer<zvPosted5axMove>& solution) {
    return solution ? misc::MakeAutoPointer<Move>(std::move(*solution), m_machDef.GetThirdAngle())
                    : misc::zvAutoPointer<Move>();
  };
  return {widen(solutions.first), widen(solutions.second)};
}
