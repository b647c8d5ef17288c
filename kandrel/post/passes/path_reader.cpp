#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/path_reader.h>

#include <utility>

namespace post {

// What can't be counted is read all the same, and fails where it stands.
void zvPathReader::StartWalk(const cadcam::zvToolPath& toolpath) {
  std::uint64_t count = 0;
  try {
    count = toolpath.GetMoveCount();
  } catch (const misc::zvException&) {
  }
  m_polling->StartWalk(count);
}

// Asks after each block of moves, and goes on to the next of the section; false at its end.
bool zvPathReader::EnterBlock() {
  m_polling->Advance(std::exchange(m_block, 0));
  for (; m_block < misc::zvPolling::kEvery && m_moves.end != m_sectionEnd; ++m_block) ++m_moves.end;
  m_ahead = m_moves.next;
  return m_block != 0;
}

// Goes on to the next section that holds moves, through slices and passes that hold none; false at
// the end. Each section's type is asked for, also of an empty one.
bool zvPathReader::EnterSection() {
  if (m_polling != nullptr && EnterBlock()) return true;
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
    m_sectionEnd = m_moves.end;
    ++m_sections.next;
  } while (m_moves.IsDone());
  if (m_polling != nullptr) {
    m_moves.end = m_moves.next;
    return EnterBlock();
  }
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
