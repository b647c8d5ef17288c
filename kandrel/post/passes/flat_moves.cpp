#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/geometry/move_grabber.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/flat_moves.h>

#include <cstdint>

namespace post {

namespace {

using cadcam::zvToolPath;
using Types = zvPostedMove::Types;

Types TypeOfLink(std::uint32_t linkType) {
  if (linkType > 5) throw zvKandrelException(zvKandrelException::kUnknownMove);
  return static_cast<Types>(linkType);
}

zvToolPath::zvSectionInfoGetter SectionInfoAt(const zvToolPath::const_iterator& position) {
  zvToolPath::zvSectionInfoGetter info;
  cadcam::SectionOf(position).AcceptVisitor(info);
  return info;
}

}  // namespace

bool HasNothingToPost(const zvToolPath& toolpath) {
  return toolpath.empty() || toolpath.front()->empty();
}

Types PostedMoveTypeOf(const cadcam::zvTPSection& section) {
  cadcam::zvTPSLinkVisitor visitor;
  section.AcceptVisitor(visitor);
  return visitor.IsLink() ? TypeOfLink(visitor.GetLinkType()) : zvPostedMove::noLink;
}

Types PostedMoveTypeAt(const zvToolPath::const_iterator& position) {
  const zvToolPath::zvSectionInfoGetter info = SectionInfoAt(position);
  return info.IsLink() ? TypeOfLink(info.GetLinkType()) : zvPostedMove::noLink;
}

Types LinkTypeAt(const zvToolPath::const_iterator& position) {
  const zvToolPath::zvSectionInfoGetter info = SectionInfoAt(position);
  if (!info.IsLink()) throw cadcam::zvcadcamException(cadcam::zvcadcamException::kNotOfLink);
  return TypeOfLink(info.GetLinkType());
}

cadcam::zv5axMove AlignedCopy(const cadcam::zvCNCMove& move,
                              const cadcam::zvMatrix<double, 4, 4>& alignment) {
  cadcam::zv5axMove copy;
  zvCNCMoveGrabber grabber(copy);
  move.AcceptVisitor(grabber);
  copy.SetPosition(alignment * copy.GetPosition());
  // As a point: right because an alignment has no translation.
  copy.SetOrientation(alignment * copy.GetOrientation());
  return copy;
}

void Flatten(const zvToolPath& toolpath, const zvAlignMatrix& alignment, zvFlatMoves& moves) {
  std::uint64_t i = 0;
  ForEachMovePointer(toolpath, [&](const cadcam::zvMovePointer& move, Types type) {
    RequireFinite(*move);
    zvFlatMove& flat = moves[i++];
    flat.second = type;
    if (alignment)
      flat.first = misc::MakeAutoPointer<cadcam::zv5axMove>(AlignedCopy(*move, *alignment));
    else
      flat.first = move;
  });
}

}  // namespace post
