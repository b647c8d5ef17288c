#include <kandrel/post/model/posted_toolpath.h>
#include <kandrel/post/model/posted_visitor.h>

namespace post {

zvPostedTP::~zvPostedTP() = default;

zvPostedTP::iterator zvPostedTP::Begin() {
  return m_moves.begin();
}
zvPostedTP::const_iterator zvPostedTP::Begin() const {
  return m_moves.begin();
}
zvPostedTP::iterator zvPostedTP::End() {
  return m_moves.end();
}
zvPostedTP::const_iterator zvPostedTP::End() const {
  return m_moves.end();
}

zvPostedTP::iterator zvPostedTP::Insert(const_iterator position, const MovePointer& move) {
  return m_moves.insert(position, move);
}

void zvPostedTP::PushBack(const MovePointer& move) {
  m_moves.push_back(move);
}

template <class Visitor>
std::vector<double> zvPostedTP::Extent() const {
  std::vector<double> extent;
  Visitor visitor(extent);
  for (const MovePointer& move : m_moves) move->AcceptVisitor(visitor);
  return extent;
}

std::vector<double> zvPostedTP::GetMachMin() const {
  return Extent<zvPostedVisitorMachMin>();
}
std::vector<double> zvPostedTP::GetMachMax() const {
  return Extent<zvPostedVisitorMachMax>();
}
std::vector<double> zvPostedTP::GetPartMin() const {
  return Extent<zvPostedVisitorPartMin>();
}
std::vector<double> zvPostedTP::GetPartMax() const {
  return Extent<zvPostedVisitorPartMax>();
}

}  // namespace post
