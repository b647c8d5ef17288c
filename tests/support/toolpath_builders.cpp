#include <tests/support/toolpath_builders.h>

namespace tests {

cadcam::zvMovePointer Move3(const Point& position, double feed, bool rapid,
                            const Point& orientation) {
  return misc::MakeAutoPointer<cadcam::zv3axMove>(position, orientation, feed, rapid);
}

cadcam::zvMovePointer Move5(const Point& position, const Point& orientation, double feed,
                            bool rapid) {
  return misc::MakeAutoPointer<cadcam::zv5axMove>(position, orientation, position + Point{1, 2, 3},
                                                  Point{0, 1, 0}, 7u, true, feed, rapid);
}

PathBuilder::PathBuilder(measures::zvUnitsFactory::Units units) : m_path(units) {
  m_slice = misc::MakeAutoPointer<cadcam::zvTPSlice>();
  const auto pass = misc::MakeAutoPointer<cadcam::zvTPPass>();
  pass->push_back(m_slice);
  m_path.push_back(pass);
}

PathBuilder& PathBuilder::Contour(const Moves& moves) {
  return Section(misc::MakeAutoPointer<cadcam::zvTPContour>(), moves);
}

PathBuilder& PathBuilder::Link(std::uint32_t type, const Moves& moves) {
  return Section(misc::MakeAutoPointer<cadcam::zvTPLink>(type), moves);
}

PathBuilder& PathBuilder::Section(const misc::zvAutoPointer<cadcam::zvTPSection>& section,
                                  const Moves& moves) {
  for (const auto& move : moves) section->AddMove(move);
  m_slice->push_back(section);
  return *this;
}

}  // namespace tests
