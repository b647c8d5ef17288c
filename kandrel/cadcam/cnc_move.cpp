#include <kandrel/cadcam/cnc_move.h>

namespace cadcam {

namespace {

double BlendedFeed(double w1, const zvCNCMove& m1, double w2, const zvCNCMove& m2) {
  // The feed of a rapid move is never mixed into that of a feed move.
  if (!m1.IsRapid() && m2.IsRapid()) return m1.GetFeed();
  if (m1.IsRapid() && !m2.IsRapid()) return m2.GetFeed();
  return w1 * m1.GetFeed() + w2 * m2.GetFeed();
}

zv3axMove BlendBase(double w1, const zvCNCMove& m1, double w2, const zvCNCMove& m2) {
  return {w1 * m1.GetPosition() + w2 * m2.GetPosition(),
          (w1 * m1.GetOrientation() + w2 * m2.GetOrientation()).Normalized(),
          BlendedFeed(w1, m1, w2, m2),
          m1.IsRapid() && m2.IsRapid(),
          m2.GetTag(),
          w1 * m1.GetStamp() + w2 * m2.GetStamp()};
}

}  // namespace

zvCNCMove::zvCNCMove(const zvTPoint3d<double>& position, const zvTPoint3d<double>& orientation,
                     double feed, bool rapid, std::uint32_t tag, double stamp)
    : m_stamp(stamp),
      m_position(position),
      m_orientation(orientation),
      m_feed(feed),
      m_rapid(rapid),
      m_tag(tag) {}

zvCNCMove::~zvCNCMove() = default;

void zvCNCMove::SetPosition(const zvTPoint3d<double>& position) {
  m_position = position;
}
void zvCNCMove::SetOrientation(const zvTPoint3d<double>& orientation) {
  m_orientation = orientation;
}
const zvTPoint3d<double>& zvCNCMove::GetPosition() const {
  return m_position;
}
const zvTPoint3d<double>& zvCNCMove::GetOrientation() const {
  return m_orientation;
}

void zvCNCMove::AcceptVisitor(zvCNCMoveVisitorSetter& visitor) {
  visitor.Visit(*this);
}
void zvCNCMove::AcceptVisitor(zvCNCMoveVisitor& visitor) const {
  visitor.Visit(*this);
}
void zv3axMove::AcceptVisitor(zvCNCMoveVisitorSetter& visitor) {
  visitor.Visit(*this);
}
void zv3axMove::AcceptVisitor(zvCNCMoveVisitor& visitor) const {
  visitor.Visit(*this);
}
void zv5axMove::AcceptVisitor(zvCNCMoveVisitorSetter& visitor) {
  visitor.Visit(*this);
}
void zv5axMove::AcceptVisitor(zvCNCMoveVisitor& visitor) const {
  visitor.Visit(*this);
}

zv5axMove::zv5axMove(const zvCNCMove& base, const zvTPoint3d<double>& extendedPoint,
                     const zvTPoint3d<double>& extendedVector, std::uint32_t extendedId,
                     bool hasExtendedData)
    : zvCNCMove(base),
      m_extendedPoint(extendedPoint),
      m_extendedVector(extendedVector),
      m_extendedId(extendedId),
      m_hasExtendedData(hasExtendedData) {}

zv5axMove::zv5axMove(const zvTPoint3d<double>& position, const zvTPoint3d<double>& orientation,
                     const zvTPoint3d<double>& extendedPoint,
                     const zvTPoint3d<double>& extendedVector, std::uint32_t extendedId,
                     bool hasExtendedData, double feed, bool rapid, std::uint32_t tag, double stamp)
    : zvCNCMove(position, orientation, feed, rapid, tag, stamp),
      m_extendedPoint(extendedPoint),
      m_extendedVector(extendedVector),
      m_extendedId(extendedId),
      m_hasExtendedData(hasExtendedData) {}

void zv5axMove::SetExtendedPoint(const zvTPoint3d<double>& point) noexcept {
  m_extendedPoint = point;
  m_hasExtendedData = true;
}

void zv5axMove::SetExtendedVector(const zvTPoint3d<double>& vector) noexcept {
  m_extendedVector = vector;
}

zv3axMove Interpolate(double w1, const zv3axMove& m1, double w2, const zv3axMove& m2) {
  return BlendBase(w1, m1, w2, m2);
}

zv5axMove Interpolate(double w1, const zv5axMove& m1, double w2, const zv5axMove& m2) {
  const zv3axMove base = BlendBase(w1, m1, w2, m2);
  if (!m1.HasExtendedData() || !m2.HasExtendedData()) return {base, {}, {0, 0, 1}, 0, false};
  // The blended vector is not normalised: it is the caller's, and nothing here knows its meaning.
  return {base, w1 * m1.GetExtendedPoint() + w2 * m2.GetExtendedPoint(),
          w1 * m1.GetExtendedVector() + w2 * m2.GetExtendedVector(),
          m1.GetExtendedId() == m2.GetExtendedId() ? m1.GetExtendedId() : 0, true};
}

void zvCNCMoveScaleVisitor::Visit(zvCNCMove& move) {
  move.SetPosition(move.GetPosition() * m_factor);
}

void zvCNCMoveScaleVisitor::Visit(zv3axMove& move) {
  Visit(static_cast<zvCNCMove&>(move));
}

void zvCNCMoveScaleVisitor::Visit(zv5axMove& move) {
  Visit(static_cast<zvCNCMove&>(move));
  if (move.HasExtendedData()) move.SetExtendedPoint(move.GetExtendedPoint() * m_factor);
}

}  // namespace cadcam
