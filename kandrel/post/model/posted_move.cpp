#include <kandrel/misc/angles.h>
#include <kandrel/misc/block_stock.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_move.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace post {

namespace {

using Point = zvPostedMove::Point;

bool Equal(double a, double b) {
  return std::fabs(a - b) <= misc::kEqual;
}

bool EqualByComponent(const Point& a, const Point& b) {
  return Equal(a.x, b.x) && Equal(a.y, b.y) && Equal(a.z, b.z);
}

bool EqualByLength(const Point& a, const Point& b) {
  return (a - b).Length() <= misc::kEqual;
}

template <std::size_t N>
bool EqualAngles(const std::array<double, N>& a, const std::array<double, N>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), Equal);
}

template <std::size_t N>
double LargestDistance(const std::array<double, N>& a, const std::array<double, N>& b) {
  double largest = 0;
  for (std::size_t i = 0; i < N; ++i)
    if (const double distance = misc::CircularDistance(a[i], b[i]);
        distance > largest || std::isnan(distance))
      largest = distance;  // once it is not a number, it stays so
  return largest;
}

// The product is an integer, so that whole turns stay exact. Absurd counts, whose product would
// overflow, are past exactness anyway.
double Winds(std::int64_t turns) {
  constexpr std::int64_t kMostTurns = std::numeric_limits<std::int64_t>::max() / 360;
  if (turns > kMostTurns || turns < -kMostTurns) return static_cast<double>(turns) * 360.0;
  return static_cast<double>(turns * 360);
}

using ExtendedStock = misc::detail::BlockStock<sizeof(zvExtendedPostedMove)>;

}  // namespace

void* zvExtendedPostedMove::operator new(std::size_t) {
  return ExtendedStock::New();
}
void zvExtendedPostedMove::operator delete(void* memory) noexcept {
  if (memory != nullptr) ExtendedStock::Delete(memory);
}

bool zvExtendedPostedMove::operator==(const zvExtendedPostedMove& other) const {
  if (m_hasExtendedData != other.m_hasExtendedData || m_sourceIndex != other.m_sourceIndex ||
      m_inserted != other.m_inserted)
    return false;
  if (!m_hasExtendedData) return true;
  return EqualByLength(m_extendedPoint, other.m_extendedPoint) &&
         EqualByLength(m_extendedVector, other.m_extendedVector) &&
         m_extendedId == other.m_extendedId;
}

zvPostedMove::zvPostedMove(bool smallMove) {
  SetExtended(!smallMove);
}

zvPostedMove::zvPostedMove(const Point& machinePosition, const Point& partPosition,
                           const Point& orientation, double feed, bool rapid, Types type,
                           const Point& extendedPoint, const Point& extendedVector,
                           std::uint32_t extendedId, bool hasExtendedData, std::int32_t sourceIndex,
                           bool inserted)
    : m_machinePosition(machinePosition),
      m_partPosition(partPosition),
      m_orientation(orientation),
      m_extended(std::make_unique<zvExtendedPostedMove>(extendedPoint, extendedVector, extendedId,
                                                        hasExtendedData, sourceIndex, inserted)),
      m_feed(feed),
      m_type(type),
      m_rapid(rapid) {}

zvPostedMove::zvPostedMove(const zvPostedMove& other)
    : m_machinePosition(other.m_machinePosition),
      m_partPosition(other.m_partPosition),
      m_orientation(other.m_orientation),
      m_extended(other.m_extended ? std::make_unique<zvExtendedPostedMove>(*other.m_extended)
                                  : nullptr),
      m_feed(other.m_feed),
      m_moveTime(other.m_moveTime),
      m_type(other.m_type),
      m_reservedSingle(other.m_reservedSingle),
      m_rapid(other.m_rapid) {}

zvPostedMove& zvPostedMove::operator=(const zvPostedMove& other) {
  if (this == &other) return *this;
  if (!other.m_extended) {
    m_extended.reset();
  } else if (m_extended) {
    *m_extended = *other.m_extended;
  } else {
    m_extended = std::make_unique<zvExtendedPostedMove>(*other.m_extended);
  }
  m_machinePosition = other.m_machinePosition;
  m_partPosition = other.m_partPosition;
  m_orientation = other.m_orientation;
  m_feed = other.m_feed;
  m_moveTime = other.m_moveTime;
  m_type = other.m_type;
  m_reservedSingle = other.m_reservedSingle;
  m_rapid = other.m_rapid;
  return *this;
}

void zvPostedMove::SetExtended(bool extended) {
  if (!extended)
    m_extended.reset();
  else if (!m_extended)
    m_extended = std::make_unique<zvExtendedPostedMove>();
}

void zvPostedMove::SetExtended(const Point& extendedPoint, const Point& extendedVector,
                               std::uint32_t extendedId, bool hasExtendedData,
                               std::int32_t sourceIndex, bool inserted) {
  m_extended = std::make_unique<zvExtendedPostedMove>(extendedPoint, extendedVector, extendedId,
                                                      hasExtendedData, sourceIndex, inserted);
}

const zvExtendedPostedMove& zvPostedMove::Extended() const {
  if (!m_extended) throw zvPostException(zvPostException::kNotExtended);
  return *m_extended;
}

zvExtendedPostedMove& zvPostedMove::Extended() {
  if (!m_extended) throw zvPostException(zvPostException::kNotExtended);
  return *m_extended;
}

bool zvPostedMove::operator==(const zvPostedMove& other) const {
  if (this == &other) return true;
  return EqualByComponent(m_machinePosition, other.m_machinePosition) &&
         EqualByComponent(m_partPosition, other.m_partPosition) &&
         EqualByComponent(m_orientation, other.m_orientation) && Equal(m_feed, other.m_feed) &&
         m_type == other.m_type && m_rapid == other.m_rapid &&
         m_reservedSingle == other.m_reservedSingle && Equal(m_moveTime, other.m_moveTime) &&
         (m_extended && other.m_extended ? *m_extended == *other.m_extended
                                         : !m_extended && !other.m_extended);
}

void zvPostedMove::AcceptVisitor(zvPostedVisitor& visitor) const {
  visitor.Visit(*this);
}
void zvPosted3axMove::AcceptVisitor(zvPostedVisitor& visitor) const {
  visitor.Visit(*this);
}
void zvPosted4axMove::AcceptVisitor(zvPostedVisitor& visitor) const {
  visitor.Visit(*this);
}
void zvPosted5axMove::AcceptVisitor(zvPostedVisitor& visitor) const {
  visitor.Visit(*this);
}
void zvPosted6axMove::AcceptVisitor(zvPostedVisitor& visitor) const {
  visitor.Visit(*this);
}

void zvPosted4axMove::AddWinds(std::int64_t turns) noexcept {
  m_rotaryAngle += Winds(turns);
}

double zvPosted4axMove::AngleDistance(const zvPosted4axMove& other) const noexcept {
  return misc::CircularDistance(m_rotaryAngle, other.m_rotaryAngle);
}

bool zvPosted4axMove::operator==(const zvPosted4axMove& other) const {
  return this == &other ||
         (zvPostedMove::operator==(other) && Equal(m_rotaryAngle, other.m_rotaryAngle));
}

void zvPosted5axMove::AddWinds(std::int64_t turns, std::int16_t index) noexcept {
  SetAngle(GetAngle(index) + Winds(turns), index);
}

double zvPosted5axMove::AngleDistance(const zvPosted5axMove& other) const noexcept {
  return LargestDistance(m_rotaryAngles, other.m_rotaryAngles);
}

bool zvPosted5axMove::operator==(const zvPosted5axMove& other) const {
  return this == &other ||
         (zvPostedMove::operator==(other) && EqualAngles(m_rotaryAngles, other.m_rotaryAngles) &&
          m_poleStatus == other.m_poleStatus);
}

// The angles stay readable: only the base is moved from.
zvPosted6axMove::zvPosted6axMove(zvPosted5axMove&& move, double thirdAngle) noexcept
    : zvPostedMove(static_cast<zvPostedMove&&>(move)),
      m_poleStatus(move.GetPoleStatus()),
      m_rotaryAngles{move.GetAngle(0), move.GetAngle(1), thirdAngle} {}

void zvPosted6axMove::AddWinds(std::int64_t turns, std::int16_t index) noexcept {
  SetAngle(GetAngle(index) + Winds(turns), index);
}

double zvPosted6axMove::AngleDistance(const zvPosted6axMove& other) const noexcept {
  return LargestDistance(m_rotaryAngles, other.m_rotaryAngles);
}

bool zvPosted6axMove::operator==(const zvPosted6axMove& other) const {
  return this == &other ||
         (zvPostedMove::operator==(other) && EqualAngles(m_rotaryAngles, other.m_rotaryAngles) &&
          m_poleStatus == other.m_poleStatus);
}

}  // namespace post
