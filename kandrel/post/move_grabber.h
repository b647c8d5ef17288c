// zvMoveGrabber: reads a move of any class as a zv5axMove.
#pragma once

#include <kandrel/cadcam/cnc_move.h>

#include <cstdint>

namespace cadcam {

/// Overwrites a target of the caller's, which outlives it. A 3-axis move comes without extended
/// data, with its position as extended point and its orientation as extended vector. A plain
/// zvCNCMove throws zvPostException 2503.
class KANDREL_API zvMoveGrabber : public zvCNCMoveVisitor {
 public:
  explicit zvMoveGrabber(zv5axMove& target) : m_target(&target) {}

  void Visit(const zv5axMove& move) override;
  void Visit(const zv3axMove& move) override;
  void Visit(const zvCNCMove& move) override;

 private:
  zv5axMove* m_target;
};

}  // namespace cadcam

namespace post {

using zvCNCMoveGrabber = cadcam::zvMoveGrabber;

/// Reads a move as a grabber would, without copying it.
class KANDREL_API zvMoveView : public cadcam::zvCNCMoveVisitor {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// `move` outlives the view. Throws zvPostException 2503 for a plain zvCNCMove.
  explicit zvMoveView(const cadcam::zvCNCMove& move) { move.AcceptVisitor(*this); }

  const cadcam::zvCNCMove& Base() const noexcept { return *m_base; }
  const Point& GetExtendedPoint() const noexcept {
    return m_extended != nullptr ? m_extended->GetExtendedPoint() : m_base->GetPosition();
  }
  const Point& GetExtendedVector() const noexcept {
    return m_extended != nullptr ? m_extended->GetExtendedVector() : m_base->GetOrientation();
  }
  std::uint32_t GetExtendedId() const noexcept {
    return m_extended != nullptr ? m_extended->GetExtendedId() : 0;
  }
  bool HasExtendedData() const noexcept {
    return m_extended != nullptr && m_extended->HasExtendedData();
  }

  void Visit(const cadcam::zv5axMove& move) override;
  void Visit(const cadcam::zv3axMove& move) override;
  void Visit(const cadcam::zvCNCMove& move) override;

 private:
  const cadcam::zvCNCMove* m_base = nullptr;
  const cadcam::zv5axMove* m_extended = nullptr;
};

}  // namespace post
