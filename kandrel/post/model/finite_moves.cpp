#include <kandrel/post/model/finite_moves.h>

#include <cstdint>
#include <string>

namespace post {

void RequireFinite(const cadcam::zvCNCMove& move) {
  if (!IsFinite(move.GetPosition()) || !IsFinite(move.GetOrientation()))
    throw zvPostException(zvPostException::kInvalidVector);
}

void TellWhichMove(const zvPostException& failure, const cadcam::zvToolPath& toolpath) {
  if (failure.GetId() != zvPostException::kInvalidVector || !failure.GetCauses().empty()) return;
  std::uint64_t index = 0;
  for (const cadcam::zvMovePointer& move : toolpath) {
    if (move.IsNull()) return;
    if (!IsFinite(move->GetPosition()) || !IsFinite(move->GetOrientation()) ||
        !std::isfinite(move->GetFeed()))
      throw zvPostException(
          zvPostException::kInvalidVector,
          misc::zvException(0, L"Move " + std::to_wstring(index) +
                                   L" of the toolpath, from 0, has a number that isn't finite"));
    ++index;
  }
}

}  // namespace post
