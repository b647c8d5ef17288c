// zvPostedMove and its classes zvPosted3axMove to zvPosted6axMove: the lines of a posted toolpath.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/model/extended_posted_move.h>
#include <kandrel/post/model/posted_move_visitor.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace post {

/// What the moves of all machines share: where the linear axes stand, and the place in the part
/// that this serves. Lengths in the machine's units, angles in degrees, feed in length per minute,
/// time in seconds. Copies are deep.
///
/// A move without an extended block is a "small" one; the accessors of the block's fields then
/// throw zvPostException 5048.
class KANDREL_API zvPostedMove {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// 0 to 5 carry the type of the link on which the move lies; 6 is a move on no link, which cuts.
  enum Types : std::int32_t {
    link0 = 0,
    link1 = 1,
    link2 = 2,
    link3 = 3,
    link4 = 4,
    link5 = 5,
    noLink = 6,
  };

  /// Everything zero, the orientation (0, 0, 1); with an extended block unless `smallMove`.
  explicit zvPostedMove(bool smallMove);
  /// A small move.
  zvPostedMove(const Point& machinePosition, const Point& partPosition, const Point& orientation,
               double feed, bool rapid, Types type)
      : m_machinePosition(machinePosition),
        m_partPosition(partPosition),
        m_orientation(orientation),
        m_feed(feed),
        m_type(type),
        m_rapid(rapid) {}
  /// With an extended block that holds these.
  zvPostedMove(const Point& machinePosition, const Point& partPosition, const Point& orientation,
               double feed, bool rapid, Types type, const Point& extendedPoint,
               const Point& extendedVector, std::uint32_t extendedId, bool hasExtendedData,
               std::int32_t sourceIndex, bool inserted);
  /// A copy has a block of its own.
  zvPostedMove(const zvPostedMove& other);
  zvPostedMove(zvPostedMove&&) noexcept = default;
  zvPostedMove& operator=(const zvPostedMove& other);
  zvPostedMove& operator=(zvPostedMove&&) noexcept = default;
  virtual ~zvPostedMove() = default;

  /// Calls the visitor's slot of the move's own class.
  virtual void AcceptVisitor(zvPostedVisitor& visitor) const;

  /// The link that the move lies on, or none.
  Types GetType() const noexcept { return m_type; }
  void SetType(Types type) noexcept { m_type = type; }
  /// X, Y, Z of the machine's linear axes.
  const Point& GetMachinePosition() const noexcept { return m_machinePosition; }
  void SetMachinePosition(const Point& position) noexcept { m_machinePosition = position; }
  /// Tool tip in the part's frame, as the toolpath gave it or an alignment turned it.
  const Point& GetPartPosition() const noexcept { return m_partPosition; }
  void SetPartPosition(const Point& position) noexcept { m_partPosition = position; }
  /// Tool orientation in the same frame, from the tip towards the spindle.
  const Point& GetOrientation() const noexcept { return m_orientation; }
  void SetOrientation(const Point& orientation) noexcept { m_orientation = orientation; }
  /// Whether it runs at rapid speed; and its feed in length per minute, which a rapid move carries
  /// too.
  bool IsRapid() const noexcept { return m_rapid; }
  void SetRapid(bool rapid) noexcept { m_rapid = rapid; }
  double GetFeed() const noexcept { return m_feed; }
  void SetFeed(double feed) noexcept { m_feed = feed; }
  /// Carried, copied and compared, never computed.
  float GetReservedSingle() const noexcept { return m_reservedSingle; }
  void SetReservedSingle(float value) noexcept { m_reservedSingle = value; }
  /// Seconds from the move before to this one.
  double GetMoveTime() const noexcept { return m_moveTime; }
  void SetMoveTime(double seconds) noexcept { m_moveTime = seconds; }

  /// True makes a default extended block if there is none, false deletes it.
  void SetExtended(bool extended);
  /// Gives the move a block that holds these, in place of one that it has.
  void SetExtended(const Point& extendedPoint, const Point& extendedVector,
                   std::uint32_t extendedId, bool hasExtendedData, std::int32_t sourceIndex,
                   bool inserted);
  /// Whether it is a small move.
  bool HasNoExtended() const noexcept { return m_extended == nullptr; }

  /// What the extended block holds: contact point and vector in the part's frame, the caller's id,
  /// the index of the toolpath move, and whether a pass has put the move in. All throw
  /// zvPostException 5048 where there is no block.
  const Point& GetExtendedPoint() const { return Extended().GetExtendedPoint(); }
  const Point& GetExtendedVector() const { return Extended().GetExtendedVector(); }
  std::uint32_t GetExtendedId() const { return Extended().GetExtendedId(); }
  std::int32_t GetSourceIndex() const { return Extended().GetSourceIndex(); }
  bool HasExtendedData() const { return Extended().HasExtendedData(); }
  bool IsInserted() const { return Extended().IsInserted(); }
  void SetExtendedPoint(const Point& point) { Extended().SetExtendedPoint(point); }
  void SetExtendedVector(const Point& vector) { Extended().SetExtendedVector(vector); }
  void SetExtendedId(std::uint32_t id) { Extended().SetExtendedId(id); }
  void SetSourceIndex(std::int32_t index) { Extended().SetSourceIndex(index); }
  void SetHasExtendedData(bool value) { Extended().SetHasExtendedData(value); }
  void SetInserted(bool inserted) { Extended().SetInserted(inserted); }

  /// Numbers within 1e-12, component by component; type, rapid flag and reserved single exactly;
  /// both with an equal extended block or both without. A move equals itself at once, also where it
  /// holds what is not a number. Angles count only where both are known as moves of one class.
  bool operator==(const zvPostedMove& other) const;

 private:
  const zvExtendedPostedMove& Extended() const;
  zvExtendedPostedMove& Extended();

  // Ordered by size: millions of moves are kept, and a subclass's small fields fit behind `rapid`.
  Point m_machinePosition;
  Point m_partPosition;
  Point m_orientation{0, 0, 1};
  std::unique_ptr<zvExtendedPostedMove> m_extended;
  double m_feed = 0;
  double m_moveTime = 0;
  Types m_type = link0;
  float m_reservedSingle = 0;
  bool m_rapid = false;
};

/// The distance of the part positions.
inline double PartDistance(const zvPostedMove& a, const zvPostedMove& b) {
  return (b.GetPartPosition() - a.GetPartPosition()).Length();
}

/// Adds nothing: all is in the linear axes.
class KANDREL_API zvPosted3axMove : public zvPostedMove {
 public:
  using zvPostedMove::zvPostedMove;

  void AcceptVisitor(zvPostedVisitor& visitor) const override;
};

/// Adds the angle of the one rotary axis.
class KANDREL_API zvPosted4axMove : public zvPostedMove {
 public:
  /// At the origin with angle 0; a small move has no extended block.
  explicit zvPosted4axMove(bool smallMove) : zvPostedMove(smallMove) {}
  /// `rotaryAngle` in degrees, all else as for zvPostedMove; the second form makes an extended
  /// block.
  zvPosted4axMove(const Point& machinePosition, const Point& partPosition, const Point& orientation,
                  double rotaryAngle, double feed, bool rapid, Types type)
      : zvPostedMove(machinePosition, partPosition, orientation, feed, rapid, type),
        m_rotaryAngle(rotaryAngle) {}
  zvPosted4axMove(const Point& machinePosition, const Point& partPosition, const Point& orientation,
                  double rotaryAngle, double feed, bool rapid, Types type,
                  const Point& extendedPoint, const Point& extendedVector, std::uint32_t extendedId,
                  bool hasExtendedData, std::int32_t sourceIndex, bool inserted)
      : zvPostedMove(machinePosition, partPosition, orientation, feed, rapid, type, extendedPoint,
                     extendedVector, extendedId, hasExtendedData, sourceIndex, inserted),
        m_rotaryAngle(rotaryAngle) {}

  void AcceptVisitor(zvPostedVisitor& visitor) const override;

  /// Degrees, as the axis stands: wound, or as the control wants it.
  double GetRotaryAngle() const noexcept { return m_rotaryAngle; }
  void SetRotaryAngle(double deg) noexcept { m_rotaryAngle = deg; }
  /// Adds `turns` times 360 degrees.
  void AddWinds(std::int64_t turns) noexcept;
  /// The circular distance of the two angles, in [0, 180].
  double AngleDistance(const zvPosted4axMove& other) const noexcept;

  /// As zvPostedMove, and the angles within 1e-12.
  bool operator==(const zvPosted4axMove& other) const;

 private:
  double m_rotaryAngle = 0;
};

/// Whether a move's angles are determined, or the tool lies on the pole of an axis, whose angle
/// then is not.
enum zvPoleStatus : std::uint32_t {
  kDetermined = 0,
  kOnFirstPole = 1,
  kOnSecondPole = 2,
};

/// Adds the angles of two rotary axes: index 0 is the first axis of the machine definition, 1 the
/// second.
class KANDREL_API zvPosted5axMove : public zvPostedMove {
 public:
  /// At the origin with angles 0; a small move has no extended block.
  explicit zvPosted5axMove(bool smallMove) : zvPostedMove(smallMove) {}
  /// Angles in degrees, all else as for zvPostedMove; `poleStatus` is a zvPoleStatus; the second
  /// form makes an extended block.
  zvPosted5axMove(const Point& machinePosition, const Point& partPosition, const Point& orientation,
                  double firstAngle, double secondAngle, std::uint32_t poleStatus, double feed,
                  bool rapid, Types type)
      : zvPostedMove(machinePosition, partPosition, orientation, feed, rapid, type),
        m_poleStatus(poleStatus),
        m_rotaryAngles{firstAngle, secondAngle} {}
  zvPosted5axMove(const Point& machinePosition, const Point& partPosition, const Point& orientation,
                  double firstAngle, double secondAngle, std::uint32_t poleStatus, double feed,
                  bool rapid, Types type, const Point& extendedPoint, const Point& extendedVector,
                  std::uint32_t extendedId, bool hasExtendedData, std::int32_t sourceIndex,
                  bool inserted)
      : zvPostedMove(machinePosition, partPosition, orientation, feed, rapid, type, extendedPoint,
                     extendedVector, extendedId, hasExtendedData, sourceIndex, inserted),
        m_poleStatus(poleStatus),
        m_rotaryAngles{firstAngle, secondAngle} {}

  void AcceptVisitor(zvPostedVisitor& visitor) const override;

  /// Any other index than 0 and 1 gives the first angle: the getter can't fail.
  const double& GetAngle(std::int16_t index) const noexcept {
    return m_rotaryAngles[index == 1 ? 1 : 0];
  }
  /// Any other index than 0 and 1 stores nothing.
  void SetAngle(double deg, std::int16_t index) noexcept {
    if (index == 0 || index == 1) m_rotaryAngles[index == 1 ? 1 : 0] = deg;
  }
  /// Adds `turns` times 360 degrees to the angle of the index; any other index changes nothing.
  void AddWinds(std::int64_t turns, std::int16_t index) noexcept;
  /// The larger of the two axes' circular distances, in [0, 180]; NaN where one is.
  double AngleDistance(const zvPosted5axMove& other) const noexcept;

  /// A zvPoleStatus. In a finished list a free angle has been taken from a determined move wherever
  /// there is one, and the status is 0: no list of moves on poles. See zvPostingCounts.
  std::uint32_t GetPoleStatus() const noexcept { return m_poleStatus; }
  void SetPoleStatus(std::uint32_t status) noexcept { m_poleStatus = status; }

  /// As zvPostedMove, the angles within 1e-12 and the pole status exactly.
  bool operator==(const zvPosted5axMove& other) const;

 private:
  std::uint32_t m_poleStatus = kDetermined;
  std::array<double, 2> m_rotaryAngles{};
};

/// Adds the angles of three rotary axes.
class KANDREL_API zvPosted6axMove : public zvPostedMove {
 public:
  /// At the origin with angles 0; a small move has no extended block.
  explicit zvPosted6axMove(bool smallMove) : zvPostedMove(smallMove) {}
  /// Angles in degrees, all else as for zvPosted5axMove; the second form makes an extended block.
  zvPosted6axMove(const Point& machinePosition, const Point& partPosition, const Point& orientation,
                  double firstAngle, double secondAngle, double thirdAngle,
                  std::uint32_t poleStatus, double feed, bool rapid, Types type)
      : zvPostedMove(machinePosition, partPosition, orientation, feed, rapid, type),
        m_poleStatus(poleStatus),
        m_rotaryAngles{firstAngle, secondAngle, thirdAngle} {}
  zvPosted6axMove(const Point& machinePosition, const Point& partPosition, const Point& orientation,
                  double firstAngle, double secondAngle, double thirdAngle,
                  std::uint32_t poleStatus, double feed, bool rapid, Types type,
                  const Point& extendedPoint, const Point& extendedVector, std::uint32_t extendedId,
                  bool hasExtendedData, std::int32_t sourceIndex, bool inserted)
      : zvPostedMove(machinePosition, partPosition, orientation, feed, rapid, type, extendedPoint,
                     extendedVector, extendedId, hasExtendedData, sourceIndex, inserted),
        m_poleStatus(poleStatus),
        m_rotaryAngles{firstAngle, secondAngle, thirdAngle} {}

  /// Everything of a 5-axis move, its extended block included, and a third angle.
  zvPosted6axMove(const zvPosted5axMove& move, double thirdAngle)
      : zvPosted6axMove(zvPosted5axMove(move), thirdAngle) {}
  zvPosted6axMove(zvPosted5axMove&& move, double thirdAngle) noexcept;

  void AcceptVisitor(zvPostedVisitor& visitor) const override;

  /// Any other index than 0 to 2 gives the first angle: the getter can't fail.
  const double& GetAngle(std::int16_t index) const noexcept {
    return m_rotaryAngles[index == 1 || index == 2 ? static_cast<std::size_t>(index) : 0];
  }
  /// Any other index than 0 to 2 stores nothing.
  void SetAngle(double deg, std::int16_t index) noexcept {
    if (index >= 0 && index <= 2) m_rotaryAngles[static_cast<std::size_t>(index)] = deg;
  }
  /// Adds `turns` times 360 degrees to the angle of the index; any other index changes nothing.
  void AddWinds(std::int64_t turns, std::int16_t index) noexcept;
  /// The largest of the three axes' circular distances, in [0, 180]; NaN where one is.
  double AngleDistance(const zvPosted6axMove& other) const noexcept;

  /// As for zvPosted5axMove.
  std::uint32_t GetPoleStatus() const noexcept { return m_poleStatus; }
  void SetPoleStatus(std::uint32_t status) noexcept { m_poleStatus = status; }

  /// As zvPostedMove, the angles within 1e-12 and the pole status exactly.
  bool operator==(const zvPosted6axMove& other) const;

 private:
  std::uint32_t m_poleStatus = kDetermined;
  std::array<double, 3> m_rotaryAngles{};
};

}  // namespace post
