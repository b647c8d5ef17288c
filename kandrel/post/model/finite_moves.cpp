#include <kandrel/post/model/finite_moves.h>

namespace post {

void RequireFinite(const cadcam::zvCNCMove& move) {
  if (!IsFinite(move.GetPosition()) || !IsFinite(move.GetOrientation()))
    throw zvPostException(zvPostException::kInvalidVector);
}

}  // namespace post
