#include <kandrel/persistence/detail/source_references.h>
#include <kandrel/post/geometry/move_grabber.h>

#include <cstdint>

namespace persistence {

template <class Move>
void FixReferenceBetweenTPAndpTP(const cadcam::zvToolPath& toolpath,
                                 const misc::zvAutoPointer<misc::zvMemoryPoolList<Move>>& list) {
  auto next = toolpath.begin();
  const auto end = toolpath.end();
  if (next == end || list.IsNull()) return;
  cadcam::zv5axMove source;
  cadcam::zvMoveGrabber grabber(source);
  const auto grab = [&] {
    const cadcam::zvCNCMove& move = **next;
    move.AcceptVisitor(grabber);
  };
  grab();
  std::int32_t index = -1;
  for (Move& move : *list) {
    const bool inserted = !(move.GetPartPosition() == source.GetPosition());
    move.SetInserted(inserted);
    if (!inserted) {
      if (next != end && ++next != end) grab();
      ++index;
    }
    move.SetSourceIndex(index);
  }
}

template KANDREL_API void FixReferenceBetweenTPAndpTP(
    const cadcam::zvToolPath&,
    const misc::zvAutoPointer<misc::zvMemoryPoolList<post::zvPosted3axMove>>&);
template KANDREL_API void FixReferenceBetweenTPAndpTP(
    const cadcam::zvToolPath&,
    const misc::zvAutoPointer<misc::zvMemoryPoolList<post::zvPosted4axMove>>&);
template KANDREL_API void FixReferenceBetweenTPAndpTP(
    const cadcam::zvToolPath&,
    const misc::zvAutoPointer<misc::zvMemoryPoolList<post::zvPosted5axMove>>&);
template KANDREL_API void FixReferenceBetweenTPAndpTP(
    const cadcam::zvToolPath&,
    const misc::zvAutoPointer<misc::zvMemoryPoolList<post::zvPosted6axMove>>&);

}  // namespace persistence
