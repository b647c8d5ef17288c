// zvSourceWalk: the moves of a toolpath in order, a few of them ahead.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/post/model/align_matrix.h>
#include <kandrel/post/passes/path_reader.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace post {

/// What a verification needs of a move of the toolpath.
struct zvSourceMove {
  cadcam::zvTPoint3d<double> tip;
  cadcam::zvTPoint3d<double> dir_tool{0, 0, 1};  ///< of any length
  double feed = 0;
  bool isRapid = false;
};

/// Stands between two moves: the last one that was found and the next one. Throws as zvPathReader
/// does.
class zvSourceWalk {
 public:
  /// How many moves are looked at ahead.
  static constexpr std::size_t kAhead = 16;

  /// Refers to the toolpath, which must outlive the walk; stands before its first move.
  zvSourceWalk(const cadcam::zvToolPath& toolpath, const zvAlignMatrix& alignment)
      : m_reader(toolpath, alignment), m_count(static_cast<std::int64_t>(toolpath.GetMoveCount())) {
    Fill(1);
  }

  /// The number of moves of the toolpath, and the index of the next one.
  std::int64_t GetCount() const noexcept { return m_count; }
  std::int64_t GetNextIndex() const noexcept { return m_index; }

  /// The one before; the next one where there is none.
  const zvSourceMove& Last() const noexcept { return m_index == 0 ? Next() : Behind(); }
  /// The next one; at the end the last.
  const zvSourceMove& Next() const noexcept { return m_filled == 0 ? Behind() : m_moves[m_first]; }
  /// Whether no move is left.
  bool IsAtEnd() const noexcept { return m_filled == 0; }
  /// The one so many behind the next, which is 0; null behind the end or too far ahead.
  const zvSourceMove* Ahead(std::size_t distance) {
    Fill(distance + 1);
    return distance < m_filled ? &m_moves[(m_first + distance) % kKept] : nullptr;
  }

  /// Goes past the next one; not at the end.
  void Advance() {
    m_first = (m_first + 1) % kKept;
    ++m_index;
    if (--m_filled == 0) Fill(1);
  }

 private:
  static constexpr std::size_t kKept = 2 * kAhead;  // those ahead, and the last one

  const zvSourceMove& Behind() const noexcept { return m_moves[(m_first - 1) % kKept]; }

  void Fill(std::size_t wanted) {
    while (m_filled < wanted && m_filled < kAhead && !m_isDone) {
      m_isDone = !m_reader.Next();
      if (m_isDone) return;
      const zvMoveView& move = m_reader.GetMove();
      zvSourceMove& kept = m_moves[(m_first + m_filled++) % kKept];
      kept.tip = move.GetPosition();
      kept.dir_tool = move.GetOrientation();
      kept.feed = move.GetFeed();
      kept.isRapid = move.IsRapid();
    }
  }

  zvPathReader m_reader;
  std::int64_t m_count;
  std::int64_t m_index = 0;
  std::array<zvSourceMove, kKept> m_moves;
  std::size_t m_first = 0;
  std::size_t m_filled = 0;
  bool m_isDone = false;
};

}  // namespace post
