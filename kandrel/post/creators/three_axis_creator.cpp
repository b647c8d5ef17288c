#include <kandrel/misc/tolerances.h>
#include <kandrel/post/alignment.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/intermediate_moves.h>
#include <kandrel/post/limit_checker.h>
#include <kandrel/post/mach_def_utils.h>
#include <kandrel/post/move_times.h>
#include <kandrel/post/post_exception.h>
#include <kandrel/post/step_counts.h>

#include <array>

using post::zvKDRParam;
using post::zvPostedMove;
using post::zvPostException;

zvPosted3axTPCreator::zvPosted3axTPCreator(const post::zv3axMachDef& machDef,
                                           const post::zv5axControlDef& control,
                                           const zvKDRParam& par,
                                           const cadcam::zvTPoint3d<double>& partOrigin,
                                           double toolLengthCompensation)
    : zvPostedTPCreator(control, par, partOrigin, toolLengthCompensation),
      m_machDef(machDef),
      m_maker(machDef, partOrigin, toolLengthCompensation) {
  m_machDef.Normalize();
  SetInstanceType(instance3ax);
}

zvPosted3axTPCreator::zvPosted3axTPCreator(const misc::zvAutoPointer<post::zvMachDef>& machDef,
                                           const post::zv5axControlDef& control,
                                           const zvKDRParam& par,
                                           const cadcam::zvTPoint3d<double>& partOrigin,
                                           double toolLengthCompensation)
    : zvPosted3axTPCreator(*post::zvMachDefUtils::Cast3ax(machDef), control, par, partOrigin,
                           toolLengthCompensation) {}

zvPosted3axTPCreator::zvPosted3axTPCreator(const zvPosted3axTPCreator& other)
    : zvPostedTPCreator(other), m_machDef(other.m_machDef), m_maker(other.m_maker) {
  SetInstanceType(instance3ax);
}

zvPosted3axTPCreator::~zvPosted3axTPCreator() = default;

void zvPosted3axTPCreator::SetMachDef(const post::zv3axMachDef& machDef) {
  post::zv3axMachDef normalised = machDef;
  normalised.Normalize();
  m_machDef = normalised;
}

void zvPosted3axTPCreator::SetMachDef(const misc::zvAutoPointer<post::zvMachDef>& machDef) {
  SetMachDef(*post::zvMachDefUtils::Cast3ax(machDef));
}

misc::zvAutoPointer<post::zvMachDef> zvPosted3axTPCreator::GetMachDefPtr() const {
  return m_machDef.Clone();
}

misc::zvAutoPointer<post::zvTransformation3d> zvPosted3axTPCreator::GetTransfor3d() const {
  return m_maker.GetTransformation();
}

void zvPosted3axTPCreator::SetTransfor3d(
    const misc::zvAutoPointer<post::zvTransformation3d>& transformation) {
  m_maker.SetTransformation(transformation);
}

zvPosted3axTPCreator::ListPointer zvPosted3axTPCreator::Post(const cadcam::zvToolPath& toolpath,
                                                             bool smallMoves) {
  m_posted.Renew();
  if (post::HasNothingToPost(toolpath)) return m_posted.Get();
  CheckUnits(m_machDef, toolpath);
  PostMain(toolpath, smallMoves);
  CheckLimits();
  post::ComputeMoveTimes(*m_posted.Get());
  return m_posted.Get();
}

void zvPosted3axTPCreator::PostRun(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  Post(toolpath, smallMoves);
}

zvPosted3axTPCreator::Move zvPosted3axTPCreator::PostMove(const cadcam::zvMovePointer& move,
                                                          zvPostedMove::Types type) const {
  return m_maker.Make(post::zvMoveView(*SingleMove(move)), type, 0, true, false);
}

std::pair<misc::zvAutoPointer<post::zvPosted3axMove>, misc::zvAutoPointer<post::zvPosted3axMove>>
zvPosted3axTPCreator::PostMoveWithinMachLimits(const cadcam::zvMovePointer& move,
                                               zvPostedMove::Types type) const {
  auto posted = misc::MakeAutoPointer<Move>(PostMove(move, type));
  const zvKDRParam::LimitsCheck check = GetPar().GetLimitsCheck();
  if (check != zvKDRParam::checkNothing && check != zvKDRParam::checkRotaryAxes)
    ExceedingLimit(post::FirstLinearExcess(posted->GetMachinePosition(), m_machDef));
  return {std::move(posted), nullptr};
}

void zvPosted3axTPCreator::PostMain(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  AlignToolpath(toolpath);
  RequireFiniteSetup();
  try {
    PostInBlocks(toolpath, smallMoves);
  } catch (...) {
    // Where a toolpath has several faults, the order of the checks over the whole of it decides
    // which one is told, and how far the list is filled.
    m_posted.Get()->Clear();
    PostWhole(toolpath, smallMoves);
    throw;
  }
}

// Takes each block through all steps while it is in the cache: the flattened toolpath need not be
// kept, and the moves are read from memory once.
void zvPosted3axTPCreator::PostInBlocks(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  const bool checks = !m_maker.GetTransformation();
  std::array<post::zvMoveInPath, 256> block;
  post::zvFlattener flattener(toolpath, GetAlignMatrix());
  std::uint64_t index = 0;
  while (const std::size_t count = flattener.Read(block)) {
    const std::span<const post::zvMoveInPath> moves(block.data(), count);
    // Paths for these machines repeat one orientation: it is checked once for a run of moves.
    const cadcam::zvTPoint3d<double>* checked = nullptr;
    for (const post::zvMoveInPath& item : moves) {
      const cadcam::zvTPoint3d<double>& orientation = item.move.GetOrientation();
      if (!checks || (checked != nullptr && orientation == *checked)) continue;
      CheckOrientation(orientation);
      checked = &orientation;
    }
    BuildPostedMoves(moves, index, smallMoves);
    index += count;
  }
}

void zvPosted3axTPCreator::PostWhole(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  post::zvFlatMoves moves(toolpath.GetMoveCount(), true);
  BuildMoves(toolpath, moves);
  if (!m_maker.GetTransformation())
    for (std::uint64_t i = 0; i < moves.GetSize(); ++i)
      CheckOrientation(moves[i].first->GetOrientation());
  for (std::uint64_t i = 0; i < moves.GetSize(); ++i) {
    const post::zvMoveInPath item{post::zvMoveView(*moves[i].first), moves[i].second};
    BuildPostedMoves({&item, 1}, i, smallMoves);
  }
}

void zvPosted3axTPCreator::AlignToolpath(const cadcam::zvToolPath& toolpath) {
  if (!GetPar().GetAlignToolpath()) return;
  // A path that fits leaves the matrix of an earlier run in force, deliberately.
  if (const post::zvAlignMatrix matrix = post::AlignToSpindle(toolpath, m_machDef))
    SetAlignMatrix(matrix);
}

void zvPosted3axTPCreator::CheckOrientation(const cadcam::zvTPoint3d<double>& orientation) const {
  const cadcam::zvTPoint3d<double>& s = m_machDef.GetSpindleDirection();
  if (!((s - orientation.Normalized()).SquaredLength() < misc::kDirectionDifferenceSquared))
    throw zvPostException(5029);
}

void zvPosted3axTPCreator::BuildPostedMoves(std::span<const post::zvMoveInPath> moves,
                                            std::uint64_t firstIndex, bool smallMoves) {
  List& list = *m_posted.Get();
  const bool interpolates = GetPar().GetInterpolateByDistance();
  const Move* previous = list.IsEmpty() ? nullptr : &list.Back();
  std::uint64_t index = firstIndex;
  for (const post::zvMoveInPath& source : moves) {
    const auto current = list.EmplaceWith(list.end(), [&] {
      return m_maker.Make(source.move, source.type, static_cast<std::int32_t>(index), false,
                          smallMoves);
    });
    if (interpolates && previous != nullptr) Interpolate(*previous, current, smallMoves);
    previous = &*current;
    ++index;
  }
}

// Puts the moves between the two before the current one.
void zvPosted3axTPCreator::Interpolate(const Move& previous, List::iterator current,
                                       bool smallMoves) {
  if (current->IsRapid() && !GetPar().GetInterpolateRapidMoves()) return;
  const double distance = (current->GetPartPosition() - previous.GetPartPosition()).Length();
  const std::uint32_t count = post::StepsByDistance(GetPar(), distance);
  if (count == 0) return;
  post::zvIntermediateMoves between(previous, *current, smallMoves);
  const double step = 1.0 / (count + 1.0);
  double t = 0;
  for (std::uint32_t k = 0; k < count; ++k) {
    t += step;
    m_posted.Get()->EmplaceWith(current, [&] {
      return m_maker.Make(post::zvMoveView(between.At(t)), between.GetType(),
                          between.GetSourceIndex(), between.IsInserted(), smallMoves);
    });
  }
}

void zvPosted3axTPCreator::CheckLimits() const {
  switch (GetPar().GetLimitsCheck()) {
    case zvKDRParam::checkNothing:
    case zvKDRParam::checkRotaryAxes:
      return;
    case zvKDRParam::checkLinearAxes:
    case zvKDRParam::checkAllAxes:
      for (const Move& move : *m_posted.Get())
        ExceedingLimit(post::FirstLinearExcess(move.GetMachinePosition(), m_machDef));
      return;
  }
  throw zvPostException(5046);
}
