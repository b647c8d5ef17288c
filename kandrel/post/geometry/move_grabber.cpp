#include <kandrel/post/geometry/move_grabber.h>
#include <kandrel/post/model/post_exception.h>

namespace cadcam {

void zvMoveGrabber::Visit(const zv5axMove& move) {
  *m_target = move;
}

void zvMoveGrabber::Visit(const zv3axMove& move) {
  *m_target = zv5axMove(move, move.GetPosition(), move.GetOrientation(), 0, false);
}

void zvMoveGrabber::Visit(const zvCNCMove&) {
  throw post::zvPostException(post::zvPostException::kAbstractMember);
}

}  // namespace cadcam

namespace post {

namespace {

// Finds the move's own class; a plain one is refused.
class ExtendedFinder final : public cadcam::zvCNCMoveVisitor {
 public:
  void Visit(const cadcam::zv5axMove& move) override { extended = &move; }
  void Visit(const cadcam::zv3axMove&) override {}
  void Visit(const cadcam::zvCNCMove&) override {
    throw zvPostException(zvPostException::kAbstractMember);
  }

  const cadcam::zv5axMove* extended = nullptr;
};

}  // namespace

zvMoveView zvMoveView::Asked(const cadcam::zvCNCMove& move) {
  zvMoveView view;
  view.m_base = &move;
  view.m_position = &move.GetPosition();
  view.m_orientation = &move.GetOrientation();
  ExtendedFinder finder;
  move.AcceptVisitor(finder);
  view.m_extended = finder.extended;
  return view;
}

}  // namespace post
