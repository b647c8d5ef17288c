#include <kandrel/post/creators/posted_tp_creator.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/control_limits.h>

#include <cmath>

using post::zv5axControlDef;
using post::zvLimitType;
using post::zvPostedMove;
using post::zvPostException;

zvPostedTPCreator::zvPostedTPCreator(const zv5axControlDef& control, const post::zvKDRParam& par,
                                     const cadcam::zvTPoint3d<double>& partOrigin,
                                     double toolLengthCompensation)
    : m_partOrigin(partOrigin),
      m_toolLengthCompensation(toolLengthCompensation),
      m_par(par),
      m_controlDef(control) {}

zvPostedTPCreator::zvPostedTPCreator(const zvPostedTPCreator& other)
    : m_partOrigin(other.m_partOrigin),
      m_toolLengthCompensation(other.m_toolLengthCompensation),
      m_par(other.m_par),
      m_controlDef(other.m_controlDef),
      m_pathTolerance(other.m_pathTolerance),
      m_owner(other.m_owner),
      m_polling(other.m_polling.GetHook()) {
  if (other.m_alignMatrix)
    m_alignMatrix = misc::MakeAutoPointer<cadcam::zvMatrix<double, 4, 4>>(*other.m_alignMatrix);
}

zvPostedTPCreator::~zvPostedTPCreator() = default;

zvPostedMove::Types zvPostedTPCreator::GetPostedMoveType(
    const cadcam::zvToolPath&, const cadcam::zvToolPath::const_iterator& position) const {
  return post::PostedMoveTypeAt(position);
}

zvPostedMove::Types zvPostedTPCreator::GetPostedMoveType(const SectionIterator& section) const {
  return post::PostedMoveTypeOf(**section);
}

void zvPostedTPCreator::BuildMoves(const cadcam::zvToolPath& toolpath,
                                   post::zvFlatMoves& moves) const {
  post::Flatten(toolpath, m_alignMatrix, moves);
}

void zvPostedTPCreator::CheckMoves(const cadcam::zvToolPath& toolpath) const {
  static_cast<void>(toolpath.GetMoveCount());  // a null above the moves is reported first
  post::ForEachMove(
      toolpath, m_alignMatrix, [](const cadcam::zvCNCMove&, zvPostedMove::Types) {},
      Polling().Get());
}

const cadcam::zvCNCMove& zvPostedTPCreator::SingleMove(const cadcam::zvMovePointer& move,
                                                       cadcam::zv5axMove& aligned) const {
  post::RequireFinite(*move);
  if (!m_alignMatrix) return *move;
  aligned = post::AlignedCopy(*move, *m_alignMatrix);
  return aligned;
}

void zvPostedTPCreator::RequireFiniteSetup() const {
  RequireFiniteAlignment();
  if (!IsFinite(m_partOrigin) || !std::isfinite(m_toolLengthCompensation))
    throw zvPostException(zvPostException::kInvalidVector);
}

void zvPostedTPCreator::RequireFiniteAlignment() const {
  if (!m_alignMatrix) return;
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j)
      if (!std::isfinite((*m_alignMatrix)(i, j)))
        throw zvPostException(zvPostException::kInvalidVector);
}

void zvPostedTPCreator::CheckUnits(const post::zvMachDef& machDef,
                                   const cadcam::zvToolPath& toolpath) const {
  post::zvMachDefUtils::RequireUnits(machDef, toolpath.GetUnits());
}

void zvPostedTPCreator::ExceedingLimit(const zvLimitType& limit) const {
  post::RequireNoExcess(limit);
}

double zvPostedTPCreator::ApplyAngleLimitToRotAxis(double angle,
                                                   zv5axControlDef::angleLimit limit) const {
  return post::ApplyAngleLimit(angle, limit);
}
