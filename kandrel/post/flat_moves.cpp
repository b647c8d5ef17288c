#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/flat_moves.h>
#include <kandrel/post/move_grabber.h>
#include <kandrel/post/post_exception.h>

namespace post {

namespace {

using cadcam::zvToolPath;
using Types = zvPostedMove::Types;

constexpr int kAhead = 6;

Types TypeOfLink(std::uint32_t linkType) {
  if (linkType > 5) throw zvKandrelException(2637);
  return static_cast<Types>(linkType);
}

zvToolPath::zvSectionInfoGetter SectionInfoAt(const zvToolPath::const_iterator& position) {
  zvToolPath::zvSectionInfoGetter info;
  cadcam::SectionOf(position).AcceptVisitor(info);
  return info;
}

}  // namespace

bool HasNothingToPost(const zvToolPath& toolpath) {
  return toolpath.empty() || toolpath.front()->empty();
}

Types PostedMoveTypeOf(const cadcam::zvTPSection& section) {
  cadcam::zvTPSLinkVisitor visitor;
  section.AcceptVisitor(visitor);
  return visitor.IsLink() ? TypeOfLink(visitor.GetLinkType()) : zvPostedMove::noLink;
}

Types PostedMoveTypeAt(const zvToolPath::const_iterator& position) {
  const zvToolPath::zvSectionInfoGetter info = SectionInfoAt(position);
  return info.IsLink() ? TypeOfLink(info.GetLinkType()) : zvPostedMove::noLink;
}

Types LinkTypeAt(const zvToolPath::const_iterator& position) {
  const zvToolPath::zvSectionInfoGetter info = SectionInfoAt(position);
  if (!info.IsLink()) throw cadcam::zvcadcamException(2640);
  return TypeOfLink(info.GetLinkType());
}

cadcam::zv5axMove AlignedCopy(const cadcam::zvCNCMove& move,
                              const cadcam::zvMatrix<double, 4, 4>& alignment) {
  cadcam::zv5axMove copy;
  zvCNCMoveGrabber grabber(copy);
  move.AcceptVisitor(grabber);
  copy.SetPosition(alignment * copy.GetPosition());
  // As a point: right because an alignment has no translation.
  copy.SetOrientation(alignment * copy.GetOrientation());
  return copy;
}

void RequireFinite(const cadcam::zvCNCMove& move) {
  if (!IsFinite(move.GetPosition()) || !IsFinite(move.GetOrientation()))
    throw zvPostException(5039);
}

zvFlattener::zvFlattener(const zvToolPath& toolpath, const zvAlignMatrix& alignment)
    : m_alignment(alignment) {
  m_passes.Enter(toolpath.Children());
}

std::size_t zvFlattener::Read(std::span<zvMoveInPath> block) {
  std::size_t count = 0;
  if (m_alignment) {
    m_aligned.clear();
    m_aligned.reserve(block.size());
  }
  while (count < block.size()) {
    if (m_moves.IsDone()) {
      if (!EnterSection()) break;
      continue;
    }
    // The moves lie scattered over the heap: what is needed soon is asked for while this one is
    // worked on.
    if (m_ahead != m_moves.end) {
      const auto* move = reinterpret_cast<const char*>(m_ahead->Get());
      __builtin_prefetch(move);
      __builtin_prefetch(move + 64);
      ++m_ahead;
    }
    const cadcam::zvCNCMove& source = **m_moves.next;
    zvMoveInPath& item = block[count];
    item.move = zvMoveView(source);
    if (!IsFinite(item.move.GetPosition()) || !IsFinite(item.move.GetOrientation()))
      throw zvPostException(5039);
    if (m_alignment)
      item.move = zvMoveView(m_aligned.emplace_back(AlignedCopy(source, *m_alignment)));
    item.type = m_type;
    ++m_moves.next;
    ++count;
  }
  return count;
}

// Goes on to the next section, through slices and passes that hold none; false at the end.
bool zvFlattener::EnterSection() {
  while (m_sections.IsDone()) {
    if (!m_slices.IsDone()) {
      m_sections.Enter((*m_slices.next)->Children());
      ++m_slices.next;
    } else if (!m_passes.IsDone()) {
      m_slices.Enter((*m_passes.next)->Children());
      ++m_passes.next;
    } else {
      return false;
    }
  }
  const cadcam::zvTPSection& section = **m_sections.next;
  m_type = PostedMoveTypeOf(section);
  m_moves.Enter(section);
  m_ahead = m_moves.next;
  for (int i = 0; i < kAhead && m_ahead != m_moves.end; ++i) ++m_ahead;
  ++m_sections.next;
  return true;
}

void Flatten(const zvToolPath& toolpath, const zvAlignMatrix& alignment, zvFlatMoves& moves) {
  std::uint64_t i = 0;
  for (const auto& pass : toolpath.Children())
    for (const auto& slice : pass->Children())
      for (const auto& section : slice->Children()) {
        const Types type = PostedMoveTypeOf(*section);
        for (const cadcam::zvMovePointer& move : *section) {
          RequireFinite(*move);
          zvFlatMove& flat = moves[i++];
          flat.second = type;
          if (alignment)
            flat.first = misc::MakeAutoPointer<cadcam::zv5axMove>(AlignedCopy(*move, *alignment));
          else
            flat.first = move;
        }
      }
}

}  // namespace post
