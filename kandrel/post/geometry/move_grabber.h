// zvMoveGrabber: reads a move of any class as a zv5axMove.
#pragma once

#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>

#include <cstdint>
#include <typeinfo>

namespace cadcam {

/// Overwrites a target of the caller's, which outlives it. A 3-axis move comes without extended
/// data, with its position as extended point and its orientation as extended vector. A plain
/// zvCNCMove throws zvPostException 2503.
class KANDREL_API zvMoveGrabber : public zvCNCMoveVisitor {
 public:
  /// Overwrites `target`.
  explicit zvMoveGrabber(zv5axMove& target) : m_target(&target) {}

  void Visit(const zv5axMove& move) override;
  void Visit(const zv3axMove& move) override;
  void Visit(const zvCNCMove& move) override;

 private:
  zv5axMove* m_target;
};

}  // namespace cadcam

namespace post {

/// The same by the name that the kernel's interfaces know it under.
class KANDREL_API zvCNCMoveGrabber : public cadcam::zvMoveGrabber {
 public:
  using zvMoveGrabber::zvMoveGrabber;
};

/// Reads a move as a grabber would, without copying it: the move must outlive the view.
class KANDREL_API zvMoveView {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// A view of nothing, to be assigned to.
  zvMoveView() = default;
  /// Throws zvPostException 2503 for a plain zvCNCMove.
  explicit zvMoveView(const cadcam::zvCNCMove& move) : m_base(&move) {
    // Nearly all are of this class and of none derived from it: no need to ask them by four calls.
    if (&typeid(move) == &typeid(cadcam::zv5axMove)) [[likely]] {
      m_extended = static_cast<const cadcam::zv5axMove*>(&move);
      m_position = &move.GetOwnPosition();
      m_orientation = &move.GetOwnOrientation();
    } else {
      *this = Asked(move);
    }
  }

  /// What the move holds, in the part's frame; the feed in length per minute. A move without
  /// extended data gives its position and orientation for them, and 0 for the id.
  const Point& GetPosition() const noexcept { return *m_position; }
  const Point& GetOrientation() const noexcept { return *m_orientation; }
  double GetFeed() const noexcept { return m_base->GetFeed(); }
  bool IsRapid() const noexcept { return m_base->IsRapid(); }
  const Point& GetExtendedPoint() const noexcept {
    return m_extended != nullptr ? m_extended->GetExtendedPoint() : *m_position;
  }
  const Point& GetExtendedVector() const noexcept {
    return m_extended != nullptr ? m_extended->GetExtendedVector() : *m_orientation;
  }
  std::uint32_t GetExtendedId() const noexcept {
    return m_extended != nullptr ? m_extended->GetExtendedId() : 0;
  }
  bool HasExtendedData() const noexcept {
    return m_extended != nullptr && m_extended->HasExtendedData();
  }

 private:
  // A view of its own: so that the compiler may keep the constructed one in registers.
  static zvMoveView Asked(const cadcam::zvCNCMove& move);

  const cadcam::zvCNCMove* m_base = nullptr;
  const cadcam::zv5axMove* m_extended = nullptr;
  // Asked for once, as the getters are virtual.
  const Point* m_position = nullptr;
  const Point* m_orientation = nullptr;
};

}  // namespace post
