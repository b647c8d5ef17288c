// zvExtendedPostedMove: the optional block of a posted move that keeps its contact data and where
// it comes from.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>

#include <cstddef>
#include <cstdint>

namespace post {

/// Part frame. Blocks come from a stock of their own, not from the general heap; any thread may
/// delete them. Final, because that stock has blocks of one size.
class KANDREL_API zvExtendedPostedMove final {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  zvExtendedPostedMove() = default;
  /// Takes all as it is.
  zvExtendedPostedMove(const Point& extendedPoint, const Point& extendedVector,
                       std::uint32_t extendedId, bool hasExtendedData, std::int32_t sourceIndex,
                       bool inserted)
      : m_extendedPoint(extendedPoint),
        m_extendedVector(extendedVector),
        m_extendedId(extendedId),
        m_sourceIndex(sourceIndex),
        m_hasExtendedData(hasExtendedData),
        m_inserted(inserted) {}

  /// Contact point and vector, in the part's frame, and the caller's id; they count where
  /// HasExtendedData says so.
  const Point& GetExtendedPoint() const noexcept { return m_extendedPoint; }
  const Point& GetExtendedVector() const noexcept { return m_extendedVector; }
  std::uint32_t GetExtendedId() const noexcept { return m_extendedId; }
  /// Index of the toolpath move from which the posted move came, in the flattened toolpath.
  std::int32_t GetSourceIndex() const noexcept { return m_sourceIndex; }
  /// Point, vector and id hold values.
  bool HasExtendedData() const noexcept { return m_hasExtendedData; }
  /// The move was made by the kernel and not taken from the toolpath.
  bool IsInserted() const noexcept { return m_inserted; }

  /// Also marks the block as having extended data.
  void SetExtendedPoint(const Point& point) noexcept {
    m_extendedPoint = point;
    m_hasExtendedData = true;
  }
  /// These leave that mark as it is.
  void SetExtendedVector(const Point& vector) noexcept { m_extendedVector = vector; }
  void SetExtendedId(std::uint32_t id) noexcept { m_extendedId = id; }
  void SetHasExtendedData(bool value) noexcept { m_hasExtendedData = value; }
  void SetSourceIndex(std::int32_t index) noexcept { m_sourceIndex = index; }
  void SetInserted(bool inserted) noexcept { m_inserted = inserted; }

  /// Mark, source index and origin match exactly; where there are data, point and vector match
  /// within 1e-12 in length, and the id.
  bool operator==(const zvExtendedPostedMove& other) const;

  /// Memory from the stock of blocks. Throws std::bad_alloc.
  static void* operator new(std::size_t size);
  static void operator delete(void* memory) noexcept;

 private:
  Point m_extendedPoint;
  Point m_extendedVector;
  std::uint32_t m_extendedId = 0;
  std::int32_t m_sourceIndex = 0;
  bool m_hasExtendedData = false;
  bool m_inserted = false;
};

}  // namespace post
