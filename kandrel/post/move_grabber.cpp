#include <kandrel/post/move_grabber.h>
#include <kandrel/post/post_exception.h>

namespace cadcam {

void zvMoveGrabber::Visit(const zv5axMove& move) {
  *m_target = move;
}

void zvMoveGrabber::Visit(const zv3axMove& move) {
  *m_target = zv5axMove(move, move.GetPosition(), move.GetOrientation(), 0, false);
}

void zvMoveGrabber::Visit(const zvCNCMove&) {
  throw post::zvPostException(2503);
}

}  // namespace cadcam

namespace post {

void zvMoveView::ExtendedFinder::Visit(const cadcam::zv5axMove& move) {
  extended = &move;
}

void zvMoveView::ExtendedFinder::Visit(const cadcam::zv3axMove&) {}

void zvMoveView::ExtendedFinder::Visit(const cadcam::zvCNCMove&) {
  throw zvPostException(2503);
}

}  // namespace post
