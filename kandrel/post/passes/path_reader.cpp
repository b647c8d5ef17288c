#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/path_reader.h>

namespace post {

// Goes on to the next section that holds moves, through slices and passes that hold none; false at
// the end. Each section's type is asked for, also of an empty one.
bool zvPathReader::EnterSection() {
  do {
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
    ++m_sections.next;
  } while (m_moves.IsDone());
  constexpr int kAhead = 6;  // moves between asking for one and reading it
  m_ahead = m_moves.next;
  for (int i = 0; i < kAhead && m_ahead != m_moves.end; ++i) ++m_ahead;
  return true;
}

void zvPathReader::Align(const cadcam::zvCNCMove& source) {
  m_aligned = AlignedCopy(source, *m_alignment);
  m_move = zvMoveView(m_aligned);
}

void zvPathReader::ThrowNotFinite() {
  throw zvPostException(zvPostException::kInvalidVector);
}

}  // namespace post
