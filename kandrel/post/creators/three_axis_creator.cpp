#include <kandrel/misc/tolerances.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/alignment.h>
#include <kandrel/post/passes/intermediate_moves.h>
#include <kandrel/post/passes/move_times.h>
#include <kandrel/post/passes/path_reader.h>
#include <kandrel/post/passes/step_counts.h>

#include <cmath>
#include <iterator>

using post::zvKDRParam;
using post::zvPostedMove;
using post::zvPostException;

zvPosted3axTPCreator::~zvPosted3axTPCreator() = default;

const post::zv3axMachDef& zvPosted3axTPCreator::AsOwnClass(const post::zvMachDef& machDef) {
  return post::zvMachDefUtils::As3ax(machDef);
}

post::zvPosted3axMoveMaker zvPosted3axTPCreator::MakeSolver(
    const post::zv3axMachDef& machDef, const zvKDRParam&,
    const cadcam::zvTPoint3d<double>& partOrigin, double toolLengthCompensation) {
  return {machDef, partOrigin, toolLengthCompensation};
}

misc::zvAutoPointer<post::zvTransformation3d> zvPosted3axTPCreator::GetTransfor3d() const {
  return m_solver.GetTransformation();
}

void zvPosted3axTPCreator::SetTransfor3d(
    const misc::zvAutoPointer<post::zvTransformation3d>& transformation) {
  m_solver.SetTransformation(transformation);
}

zvPosted3axTPCreator::ListPointer zvPosted3axTPCreator::Post(const cadcam::zvToolPath& toolpath,
                                                             bool smallMoves) {
  return PostPolled(toolpath, [&] { return PostAll(toolpath, smallMoves); });
}

zvPosted3axTPCreator::ListPointer zvPosted3axTPCreator::PostAll(const cadcam::zvToolPath& toolpath,
                                                                bool smallMoves) {
  if (!StartPosting(toolpath)) return m_posted.Get();
  AlignToolpath(toolpath);
  RequireFiniteMaker();
  Polling().Enter(misc::zvProgress::kSolving);
  BuildPostedMoves(toolpath, smallMoves);  // with their times
  Polling().Enter(misc::zvProgress::kLimits);
  CheckLinearLimits();
  post::RequireNumbers(*m_posted.Get(), m_sum);
  return m_posted.Get();
}

zvPosted3axTPCreator::Move zvPosted3axTPCreator::PostMove(const cadcam::zvMovePointer& move,
                                                          zvPostedMove::Types type) const {
  Move posted = MakeMove(move, type);
  post::RequireNumbers(posted);
  return posted;
}

zvPosted3axTPCreator::Move zvPosted3axTPCreator::MakeMove(const cadcam::zvMovePointer& move,
                                                          zvPostedMove::Types type) const {
  RequireFiniteMaker();
  cadcam::zv5axMove aligned;
  return m_solver.Make(post::zvMoveView(SingleMove(move, aligned)), type, 0, true, false);
}

// A transformation stands for part origin and tool length, which are not read then.
void zvPosted3axTPCreator::RequireFiniteMaker() const {
  const misc::zvAutoPointer<post::zvTransformation3d>& transformation =
      m_solver.GetTransformation();
  if (!transformation) return RequireFiniteSetup();
  RequireFiniteAlignment();
  bool isFinite = IsFinite(transformation->GetTranslation());
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j)
      isFinite = isFinite && std::isfinite(transformation->GetRotation()(i, j));
  if (!isFinite) throw zvPostException(zvPostException::kInvalidVector);
}

std::pair<misc::zvAutoPointer<post::zvPosted3axMove>, misc::zvAutoPointer<post::zvPosted3axMove>>
zvPosted3axTPCreator::PostMoveWithinMachLimits(const cadcam::zvMovePointer& move,
                                               zvPostedMove::Types type) const {
  auto posted = misc::MakeAutoPointer<Move>(MakeMove(move, type));
  const zvKDRParam::LimitsCheck check = GetPar().GetLimitsCheck();
  if (check != zvKDRParam::checkNothing && check != zvKDRParam::checkRotaryAxes)
    ExceedingLimit(post::LinearOut(posted->GetMachinePosition(), m_machDef));
  post::RequireNumbers(*posted);
  return {std::move(posted), nullptr};
}

void zvPosted3axTPCreator::BuildPostedMoves(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  m_sum = 0;
  try {
    PostInOneWalk(toolpath, smallMoves);
  } catch (const misc::zvOutOfMemory&) {
    throw;  // a second attempt would need as much
  } catch (const misc::zvException&) {
    if (Polling().HasStopped()) throw;
    // Where a toolpath has several faults, the order of the checks over the whole of it decides
    // which one is reported, and how far the list is filled.
    m_posted.Get()->Clear();
    m_sum = 0;
    PostWhole(toolpath, smallMoves);
    throw;
  }
}

// Takes each move through all steps at once, so that moves are read from memory once and no
// flattened toolpath is kept.
void zvPosted3axTPCreator::PostInOneWalk(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  const bool checks = !m_solver.GetTransformation();
  // Paths for these machines repeat one orientation: it is checked once for a run of moves.
  cadcam::zvTPoint3d<double> checked;
  post::zvPathReader reader(toolpath, GetAlignMatrix(), Polling().Get());
  for (std::uint64_t index = 0; reader.Next(); ++index) {
    const cadcam::zvTPoint3d<double>& orientation = reader.GetMove().GetOrientation();
    if (checks && (index == 0 || !(orientation == checked))) {
      CheckOrientation(orientation);
      checked = orientation;
    }
    AppendPostedMove(reader.GetMove(), reader.GetType(), index, smallMoves);
  }
}

void zvPosted3axTPCreator::PostWhole(const cadcam::zvToolPath& toolpath, bool smallMoves) {
  CheckMoves(toolpath);
  const auto forEach = [&](const auto& take) {
    post::ForEachMove(toolpath, GetAlignMatrix(), take, Polling().Get());
  };
  if (!m_solver.GetTransformation())
    forEach([this](const cadcam::zvCNCMove& move, zvPostedMove::Types) {
      CheckOrientation(move.GetOrientation());
    });
  std::uint64_t index = 0;
  forEach([&](const cadcam::zvCNCMove& move, zvPostedMove::Types type) {
    AppendPostedMove(post::zvMoveView(move), type, index++, smallMoves);
  });
}

void zvPosted3axTPCreator::AlignToolpath(const cadcam::zvToolPath& toolpath) {
  if (!GetPar().GetAlignToolpath()) return;
  if (const post::zvAlignMatrix matrix = post::AlignToSpindle(toolpath, m_machDef))
    SetAlignMatrix(matrix);
}

void zvPosted3axTPCreator::CheckOrientation(const cadcam::zvTPoint3d<double>& orientation) const {
  const cadcam::zvTPoint3d<double>& s = m_machDef.GetSpindleDirection();
  if (!((s - orientation.Normalized()).SquaredLength() < misc::kDirectionDifferenceSquared))
    throw zvPostException(zvPostException::kNotFor3Axes);
}

void zvPosted3axTPCreator::AppendPostedMove(const post::zvMoveView& move, zvPostedMove::Types type,
                                            std::uint64_t index, bool smallMoves) {
  List& list = *m_posted.Get();
  const Move* previous = list.IsEmpty() ? nullptr : &list.Back();
  const auto current = list.EmplaceWith(list.end(), [&] {
    return m_solver.Make(move, type, static_cast<std::int32_t>(index), false, smallMoves);
  });
  if (previous == nullptr) {
    post::AddNumbers(*current, m_sum);
    return;
  }
  if (GetPar().GetInterpolateByDistance()) {
    try {
      previous = Interpolate(*previous, current, smallMoves);
    } catch (...) {
      // What fails between two moves leaves nothing behind the first of them.
      while (&list.Back() != previous) list.Erase(std::prev(list.end()));
      throw;
    }
  }
  // Nothing moves a posted move after this, so that its time is known at once.
  current->SetMoveTime(post::MoveTime(*previous, *current));
  post::AddNumbers(*current, m_sum);
}

// Puts the moves between the two before the current one; returns the last before it.
const post::zvPosted3axMove* zvPosted3axTPCreator::Interpolate(const Move& previous,
                                                               List::iterator current,
                                                               bool smallMoves) {
  if (current->IsRapid() && !GetPar().GetInterpolateRapidMoves()) return &previous;
  const double distance = (current->GetPartPosition() - previous.GetPartPosition()).Length();
  const std::uint32_t count = post::StepsByDistance(GetPar(), distance);
  if (count == 0) return &previous;
  post::zvIntermediateMoves between(previous, *current, smallMoves,
                                    post::zvBlendedOrientations::kAsGiven);
  const Move* last = &previous;
  const double step = 1.0 / (count + 1.0);
  double t = 0;
  for (std::uint32_t k = 0; k < count; ++k) {
    t += step;
    const auto inserted = m_posted.Get()->EmplaceWith(current, [&] {
      return m_solver.Make(post::zvMoveView(between.At(t)), between.GetType(),
                           between.GetSourceIndex(), between.IsInserted(), smallMoves);
    });
    inserted->SetMoveTime(post::MoveTime(*last, *inserted));
    post::AddNumbers(*inserted, m_sum);
    last = &*inserted;
  }
  return last;
}
