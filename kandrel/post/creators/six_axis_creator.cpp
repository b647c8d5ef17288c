#include <kandrel/misc/tolerances.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>

#include <cmath>

using post::zv6axMachDef;
using post::zvPosted5axMove;
using Point = cadcam::zvTPoint3d<double>;

zvPosted6axTPCreator::zvPosted6axTPCreator(const zv6axMachDef& machDef,
                                           const post::zv5axControlDef& control,
                                           const post::zvKDRParam& par, const Point& partOrigin,
                                           double toolLengthCompensation)
    : zvPostedTPCreator(control, par, partOrigin, toolLengthCompensation),
      m_machDef(post::Normalised(machDef)),
      m_solver(post::Get5axMachDef(m_machDef), par, partOrigin, toolLengthCompensation) {
  SetInstanceType(instance6ax);
}

zvPosted6axTPCreator::zvPosted6axTPCreator(const misc::zvAutoPointer<post::zvMachDef>& machDef,
                                           const post::zv5axControlDef& control,
                                           const post::zvKDRParam& par, const Point& partOrigin,
                                           double toolLengthCompensation)
    : zvPosted6axTPCreator(post::zvMachDefUtils::As6ax(*machDef), control, par, partOrigin,
                           toolLengthCompensation) {}

zvPosted6axTPCreator::zvPosted6axTPCreator(const zvPosted6axTPCreator& other)
    : zvPostedTPCreator(other), m_machDef(other.m_machDef), m_solver(other.m_solver) {
  SetInstanceType(instance6ax);
}

zvPosted6axTPCreator::~zvPosted6axTPCreator() = default;

void zvPosted6axTPCreator::SetMachDef(const zv6axMachDef& machDef) {
  m_machDef = post::Normalised(machDef);
}

void zvPosted6axTPCreator::SetMachDef(const misc::zvAutoPointer<post::zvMachDef>& machDef) {
  SetMachDef(post::zvMachDefUtils::As6ax(*machDef));
}

misc::zvAutoPointer<post::zvMachDef> zvPosted6axTPCreator::GetMachDefPtr() const {
  return m_machDef.Clone();
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
  m_counts = {};
  zvPosted5axTPCreator creator = FiveAxisCreator();
  const auto solved = creator.Post(toolpath, smallMoves);
  if (!solved->IsEmpty()) RequireFiniteThirdAngle();
  ListPointer list = m_posted.New();
  while (!solved->IsEmpty()) {
    list->EmplaceBack(std::move(solved->Front()), m_machDef.GetThirdAngle());
    solved->Erase(solved->begin());
  }
  m_counts = creator.GetCounts();
  return m_posted.Get() = std::move(list);
}

void zvPosted6axTPCreator::PostRun(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  Post(toolpath, smallMoves);
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
