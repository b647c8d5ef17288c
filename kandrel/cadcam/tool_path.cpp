#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tool_path.h>

namespace cadcam {

void zvTPSlice::EnsureContainer() {
  if (empty()) push_back(misc::MakeAutoPointer<zvTPContour>());
}

void zvTPPass::EnsureContainer() {
  if (empty()) push_back(misc::MakeAutoPointer<zvTPSlice>());
}

zvToolPath::zvToolPath(measures::zvUnitsFactory::Units units) : zvMeasurable(units) {}

void zvToolPath::EnsureContainer() {
  if (empty()) push_back(misc::MakeAutoPointer<zvTPPass>());
}

void zvToolPath::zvSectionInfoGetter::Visit(const zvTPLink& link) {
  m_isLink = true;
  m_linkType = link.GetLinkType();
}

void zvToolPath::zvSectionInfoGetter::Visit(const zvTPContour&) {
  m_isLink = false;
}

void zvToolPath::zvSectionInfoGetter::Visit(const zvTPSection&) {
  throw zvcadcamException(zvcadcamException::kUnknownSection);
}

std::uint64_t zvToolPath::GetMoveCount() const {
  std::uint64_t count = 0;
  for (const auto& pass : Children())
    for (const auto& slice : pass->Children())
      for (const auto& section : slice->Children()) count += section->size();
  return count;
}

void zvToolPath::Scale(measures::zvUnitsFactory::Units, double factor) {
  // A null fails in the first walk, before any move is changed: half a path in other units must not
  // be left. The walks take the lists themselves, as the iterators of a path need memory.
  const auto walk = [this](const auto& take) {
    for (const auto& pass : Children())
      for (const auto& slice : pass->Children())
        for (const auto& section : slice->Children())
          for (const zvMovePointer& move : *section) take(*move);
  };
  walk([](const zvCNCMove&) {});
  zvCNCMoveScaleVisitor visitor(factor);
  walk([&visitor](zvCNCMove& move) { move.AcceptVisitor(visitor); });
}

const zvTPSection& SectionOf(const zvToolPath::const_iterator& position) {
  return **position.GetChild().GetChild().GetPosition();
}

}  // namespace cadcam
