// zvCNCMove, zv3axMove and zv5axMove: the moves of a machine-independent toolpath, and how two of
// them are blended.
#pragma once

#include <kandrel/cadcam/cnc_move_visitor.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>

#include <cstdint>

namespace cadcam {

/// One tool tip position with one tool orientation and a feed, in the part's frame and the
/// toolpath's units. A plain value without heap data. A visitor finds out of which class a move is.
class KANDREL_API zvCNCMove {
 public:
  /// At the origin, along z, feed 0, not rapid.
  zvCNCMove() = default;
  /// `orientation` points from the tip towards the spindle; a unit vector by convention, which
  /// nothing here forces. `feed` is in length per minute. `tag` and `stamp` are the caller's.
  zvCNCMove(const zvTPoint3d<double>& position, const zvTPoint3d<double>& orientation, double feed,
            bool rapid, std::uint32_t tag = 0, double stamp = 0);
  zvCNCMove(const zvCNCMove&) = default;
  zvCNCMove& operator=(const zvCNCMove&) = default;
  virtual ~zvCNCMove();

  /// The tip's position and the tool's orientation. Nothing is checked or normalised.
  virtual void SetPosition(const zvTPoint3d<double>& position);
  virtual void SetOrientation(const zvTPoint3d<double>& orientation);
  virtual const zvTPoint3d<double>& GetPosition() const;
  virtual const zvTPoint3d<double>& GetOrientation() const;
  /// What these two return unless a class derived from this one says otherwise.
  const zvTPoint3d<double>& GetOwnPosition() const noexcept { return m_position; }
  const zvTPoint3d<double>& GetOwnOrientation() const noexcept { return m_orientation; }
  /// Calls the visitor's slot of the move's own class.
  virtual void AcceptVisitor(zvCNCMoveVisitorSetter& visitor);
  virtual void AcceptVisitor(zvCNCMoveVisitor& visitor) const;

  /// The feed is in length per minute; a rapid move carries one too. Tag and stamp are the caller's
  /// and not interpreted.
  double GetFeed() const noexcept { return m_feed; }
  void SetFeed(double feed) noexcept { m_feed = feed; }
  bool IsRapid() const noexcept { return m_rapid; }
  void SetRapid(bool rapid) noexcept { m_rapid = rapid; }
  std::uint32_t GetTag() const noexcept { return m_tag; }
  void SetTag(std::uint32_t tag) noexcept { m_tag = tag; }
  double GetStamp() const noexcept { return m_stamp; }
  void SetStamp(double stamp) noexcept { m_stamp = stamp; }

 private:
  double m_stamp = 0;
  zvTPoint3d<double> m_position;
  zvTPoint3d<double> m_orientation{0, 0, 1};
  double m_feed = 0;
  [[maybe_unused]] std::uint32_t m_reservedWord = 0;  // copied, never read, never stored
  bool m_rapid = false;
  std::uint32_t m_tag = 0;
};

/// A plain move, for paths of any number of axes: tip, tool axis and feed. It differs from its base
/// only in the visitor slot.
class KANDREL_API zv3axMove : public zvCNCMove {
 public:
  /// Makes a move as the base does.
  using zvCNCMove::zvCNCMove;
  zv3axMove() = default;

  void AcceptVisitor(zvCNCMoveVisitorSetter& visitor) override;
  void AcceptVisitor(zvCNCMoveVisitor& visitor) const override;
};

/// A move with an optional block of data that posting hands through unchanged.
class KANDREL_API zv5axMove : public zvCNCMove {
 public:
  /// Has no extended data: point and vector are zero, the id is 0. A blended move without data has
  /// the vector (0, 0, 1) instead: hosts may compare with either, so neither is changed.
  zv5axMove() = default;
  /// Takes the data given, whether or not `hasExtendedData` says that they count.
  zv5axMove(const zvCNCMove& base, const zvTPoint3d<double>& extendedPoint,
            const zvTPoint3d<double>& extendedVector, std::uint32_t extendedId,
            bool hasExtendedData);
  zv5axMove(const zvTPoint3d<double>& position, const zvTPoint3d<double>& orientation,
            const zvTPoint3d<double>& extendedPoint, const zvTPoint3d<double>& extendedVector,
            std::uint32_t extendedId, bool hasExtendedData, double feed, bool rapid,
            std::uint32_t tag = 0, double stamp = 0);

  void AcceptVisitor(zvCNCMoveVisitorSetter& visitor) override;
  void AcceptVisitor(zvCNCMoveVisitor& visitor) const override;

  /// True when the block of data counts.
  bool HasExtendedData() const noexcept { return m_hasExtendedData; }
  /// A point that belongs to the move; a change of units scales it.
  const zvTPoint3d<double>& GetExtendedPoint() const noexcept { return m_extendedPoint; }
  /// A direction that belongs to the move; never scaled and never normalised.
  const zvTPoint3d<double>& GetExtendedVector() const noexcept { return m_extendedVector; }
  /// The caller's number.
  std::uint32_t GetExtendedId() const noexcept { return m_extendedId; }
  /// Also marks the move as having extended data.
  void SetExtendedPoint(const zvTPoint3d<double>& point) noexcept;
  /// These two do not touch that mark.
  void SetExtendedVector(const zvTPoint3d<double>& vector) noexcept;
  void SetExtendedId(std::uint32_t id) noexcept { m_extendedId = id; }

 private:
  zvTPoint3d<double> m_extendedPoint;
  zvTPoint3d<double> m_extendedVector;
  std::uint32_t m_extendedId = 0;
  bool m_hasExtendedData = false;
};

/// Returns the move between two others: w1 * m1 + w2 * m2 for position, stamp and orientation, the
/// latter normalised. The weights are used as given; nothing asks that they sum to 1.
///
/// 1. The feed is the weighted sum, but that of the feed move when just one of the two is rapid.
/// 2. The result is rapid only if both are.
/// 3. The tag is that of m2.
/// 4. Extended data are blended only if both moves have them, the id kept only if both agree;
///    otherwise point 0, vector (0, 0, 1), id 0 and no mark.
///
/// Throws zvcadcamException 2189 when the blended orientation is exactly zero.
KANDREL_API zv3axMove Interpolate(double w1, const zv3axMove& m1, double w2, const zv3axMove& m2);
KANDREL_API zv5axMove Interpolate(double w1, const zv5axMove& m1, double w2, const zv5axMove& m2);

/// Multiplies the lengths of a move by a factor, in place: the position, and the extended point of
/// a move that has extended data. The feed stays as it is: a host that changes the units of a path
/// sets its feeds itself.
class KANDREL_API zvCNCMoveScaleVisitor : public zvCNCMoveVisitorSetter {
 public:
  /// `factor` is that of zvUnitsFactory::GetScaleFactor.
  explicit zvCNCMoveScaleVisitor(double factor) : m_factor(factor) {}

  /// Each scales the move given.
  void Visit(zv5axMove& move) override;
  void Visit(zv3axMove& move) override;
  void Visit(zvCNCMove& move) override;

 private:
  double m_factor;
};

}  // namespace cadcam
