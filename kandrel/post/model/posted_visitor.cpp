#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posted_visitor.h>

#include <algorithm>
#include <array>

namespace post {

void zvPostedVisitorMoveType::Visit(const zvPosted6axMove&) {
  *m_type = zvMachDef::sixAxes;
}
void zvPostedVisitorMoveType::Visit(const zvPosted5axMove&) {
  *m_type = zvMachDef::fiveAxes;
}
void zvPostedVisitorMoveType::Visit(const zvPosted4axMove&) {
  *m_type = zvMachDef::fourAxes;
}
void zvPostedVisitorMoveType::Visit(const zvPosted3axMove&) {
  *m_type = zvMachDef::threeAxes;
}
void zvPostedVisitorMoveType::Visit(const zvPostedMove&) {
  throw misc::zvException(2183, L"Abstract function called");
}

void zvPostedExtentVisitor::Visit(const zvPosted6axMove&) {}

void zvPostedExtentVisitor::Visit(const zvPosted5axMove& move) {
  const std::array angles{move.GetAngle(0), move.GetAngle(1)};
  Fold(move, angles.data(), angles.size());
}

void zvPostedExtentVisitor::Visit(const zvPosted4axMove& move) {
  const double angle = move.GetRotaryAngle();
  Fold(move, &angle, 1);
}

void zvPostedExtentVisitor::Visit(const zvPosted3axMove& move) {
  Fold(move, nullptr, 0);
}

void zvPostedExtentVisitor::Visit(const zvPostedMove&) {
  throw zvPostException(zvPostException::kAbstractMember);
}

void zvPostedExtentVisitor::Fold(const zvPostedMove& move, const double* angles,
                                 std::size_t angleCount) {
  const auto& p =
      m_position == Position::kMachine ? move.GetMachinePosition() : move.GetPartPosition();
  std::array<double, 5> values{p.x, p.y, p.z};  // and room for two angles
  std::copy_n(angles, angleCount, values.begin() + 3);
  const std::size_t count = 3 + angleCount;
  if (!m_hasFirst) {
    m_hasFirst = true;
    m_extent->assign(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count));
    return;
  }
  for (std::size_t i = 0; i < std::min(count, m_extent->size()); ++i) {
    double& extent = (*m_extent)[i];
    if (m_side == Side::kMin ? values[i] < extent : values[i] > extent) extent = values[i];
  }
}

}  // namespace post
