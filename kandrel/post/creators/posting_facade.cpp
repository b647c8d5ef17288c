#include <kandrel/misc/polled_end.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>

using cadcam::zvMovePointer;
using Matrix = cadcam::zvMatrix<double, 4, 4>;
using post::zvMachDef;
using post::zvMachDefUtils;
using post::zvMirrorAngle;

namespace {

template <class Creator>
using Of = std::type_identity<Creator>;

const post::zv3axMachDef& CastFor(Of<zvPosted3axTPCreator>, const zvMachDef& machDef) {
  return zvMachDefUtils::As3ax(machDef);
}
const post::zv4axMachDef& CastFor(Of<zvPosted4axTPCreator>, const zvMachDef& machDef) {
  return zvMachDefUtils::As4ax(machDef);
}
const post::zv5axMachDef& CastFor(Of<zvPosted5axTPCreator>, const zvMachDef& machDef) {
  return zvMachDefUtils::As5ax(machDef);
}
const post::zv6axMachDef& CastFor(Of<zvPosted6axTPCreator>, const zvMachDef& machDef) {
  return zvMachDefUtils::As6ax(machDef);
}

template <class Creator>
constexpr bool kAligns =
    std::is_same_v<Creator, zvPosted3axTPCreator> || std::is_same_v<Creator, zvPosted4axTPCreator>;

// Calls `action` with the creator class of numbersOfAxes; the definition's own class is not
// looked at yet.
template <class Action>
auto Dispatch(const zvMachDef& machDef, const Action& action) {
  switch (machDef.GetNumbersOfAxes()) {
    case zvMachDef::threeAxes:
      return action(Of<zvPosted3axTPCreator>());
    case zvMachDef::fourAxes:
      return action(Of<zvPosted4axTPCreator>());
    case zvMachDef::fiveAxes:
      return action(Of<zvPosted5axTPCreator>());
    case zvMachDef::sixAxes:
      return action(Of<zvPosted6axTPCreator>());
  }
  throw post::zvPostException(post::zvPostException::kUnknownMachine);
}

template <class Creator>
Creator MakeCreator(Of<Creator> tag, const zvKDR5AxBase& facade) {
  return {CastFor(tag, facade.GetMachDef()), facade.GetControlDef(), facade.GetPar(),
          facade.GetPartOrigin(), facade.GetToolLengthCompensationValue()};
}

}  // namespace

zvKDR5AxBase::zvKDR5AxBase(const misc::zvAutoPointer<zvMachDef>& machDef,
                           const post::zv5axControlDef& control, const post::zvKDRParam& par,
                           const cadcam::zvTPoint3d<double>& partOrigin,
                           double toolLengthCompensation)
    : zvKDR5AxBase(*machDef, control, par, partOrigin, toolLengthCompensation) {}

zvKDR5AxBase::zvKDR5AxBase(const zvMachDef& machDef, const post::zv5axControlDef& control,
                           const post::zvKDRParam& par,
                           const cadcam::zvTPoint3d<double>& partOrigin,
                           double toolLengthCompensation)
    : m_machDef(machDef),
      m_controlDef(control),
      m_par(par),
      m_partOrigin(partOrigin),
      m_toolLengthCompensation(toolLengthCompensation) {}

zvKDR5AxBase::zvKDR5AxBase(const zvKDR5AxBase& other) = default;
zvKDR5AxBase::~zvKDR5AxBase() = default;

const post::zvPostedTP& zvKDR5AxBase::Post(const cadcam::zvToolPath& toolpath) {
  m_postedTP.Clear();
  m_postedTP.SetAlignMatrix(nullptr);
  m_counts = {};
  m_toleranceReport = {};
  Dispatch(m_machDef, [&]<class Creator>(Of<Creator> tag) {
    if (post::HasNothingToPost(toolpath)) return;
    Creator creator = MakeCreator(tag, *this);
    creator.SetPathTolerance(m_pathTolerance);
    misc::zvPolling polling(m_progress);
    creator.SetProgress(polling.Get());
    const auto list = creator.Post(toolpath, false);
    post::zvPostedTP posted;
    polling.Enter(misc::zvProgress::kCollecting);
    misc::zvPolledEnd end(polling.Get(), list->begin(), list->end(), list->GetCount());
    for (auto move = list->begin(); end.IsBefore(move); move = list->Erase(move))
      posted.PushBack(misc::MakeAutoPointer<typename Creator::Move>(std::move(*move)));
    polling.Finish();
    if constexpr (kAligns<Creator>) {
      if (creator.IsAlignMatrixValide()) {
        m_alignMatrix = creator.GetAlignMatrix();
        posted.SetAlignMatrix(m_alignMatrix);
      }
    }
    if constexpr (!std::is_same_v<Creator, zvPosted3axTPCreator>) m_counts = creator.GetCounts();
    m_toleranceReport = creator.GetToleranceReport();
    m_postedTP = std::move(posted);
  });
  return m_postedTP;
}

post::zvPostedTP zvKDR5AxBase::TakePostedTP() {
  if (m_postedTP.HasAlignMatrix())
    m_postedTP.SetAlignMatrix(misc::MakeAutoPointer<Matrix>(*m_postedTP.GetAlignMatrix()));
  return std::exchange(m_postedTP, {});
}

std::pair<zvKDR5AxBase::PostedMovePointer, misc::zvAutoPointer<zvMirrorAngle>>
zvKDR5AxBase::PostMove(const zvMovePointer& move, Types type) const {
  using Result = std::pair<PostedMovePointer, misc::zvAutoPointer<zvMirrorAngle>>;
  return Dispatch(m_machDef, [&]<class Creator>(Of<Creator> tag) -> Result {
    using Move = typename Creator::Move;
    Creator creator = MakeCreator(tag, *this);
    if constexpr (kAligns<Creator>) {
      // A matrix of its own: single moves count no references to what all of them share.
      if (m_alignMatrix) creator.SetAlignMatrix(misc::MakeAutoPointer<Matrix>(*m_alignMatrix));
      return {misc::MakeAutoPointer<Move>(creator.PostMove(move, type)), nullptr};
    } else {
      auto [posted, mirror] = creator.PostMove2(move, type);
      return {misc::MakeAutoPointer<Move>(std::move(posted)),
              misc::MakeAutoPointer<zvMirrorAngle>(mirror)};
    }
  });
}

std::pair<zvKDR5AxBase::PostedMovePointer, zvKDR5AxBase::PostedMovePointer>
zvKDR5AxBase::PostMoveWithinMachLimits(const zvMovePointer& move, Types type) const {
  using Result = std::pair<PostedMovePointer, PostedMovePointer>;
  return Dispatch(m_machDef, [&]<class Creator>(Of<Creator> tag) -> Result {
    return MakeCreator(tag, *this).PostMoveWithinMachLimits(move, type);
  });
}

zvKDR5AxBase::Types zvKDR5AxBase::GetPostedMoveType(
    const cadcam::zvToolPath&, const cadcam::zvToolPath::const_iterator& position) const {
  return post::PostedMoveTypeAt(position);
}

zvKDR5AxBase::Types zvKDR5AxBase::GetLinkType(
    const cadcam::zvToolPath::const_iterator& position) const {
  return post::LinkTypeAt(position);
}
