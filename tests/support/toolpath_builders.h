// Short ways to build toolpaths.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <tests/support/points.h>
#include <tests/support/testing.h>

namespace tests {

inline constexpr auto kMetric = measures::zvUnitsFactory::metric;
inline constexpr auto kInch = measures::zvUnitsFactory::inch;

inline cadcam::zvMovePointer Move3(const Point& position, double feed = 1000, bool rapid = false,
                                   const Point& orientation = {0, 0, 1}) {
  return misc::MakeAutoPointer<cadcam::zv3axMove>(position, orientation, feed, rapid);
}
inline cadcam::zvMovePointer Move5(const Point& position, const Point& orientation,
                                   double feed = 1000, bool rapid = false) {
  return misc::MakeAutoPointer<cadcam::zv5axMove>(position, orientation, position + Point{1, 2, 3},
                                                  Point{0, 1, 0}, 7u, true, feed, rapid);
}

/// A toolpath of one pass and slice with a section for each call of Contour or Link.
class PathBuilder {
 public:
  using Moves = std::vector<cadcam::zvMovePointer>;

  explicit PathBuilder(measures::zvUnitsFactory::Units units = kMetric) : m_path(units) {
    m_path.push_back(misc::MakeAutoPointer<cadcam::zvTPPass>());
    m_path.front()->push_back(m_slice);
  }
  PathBuilder& Contour(const Moves& moves) {
    return Section(misc::MakeAutoPointer<cadcam::zvTPContour>(), moves);
  }
  PathBuilder& Link(std::uint32_t type, const Moves& moves) {
    return Section(misc::MakeAutoPointer<cadcam::zvTPLink>(type), moves);
  }
  operator const cadcam::zvToolPath&() const { return m_path; }
  const cadcam::zvToolPath& Path() const { return m_path; }

 private:
  PathBuilder& Section(const misc::zvAutoPointer<cadcam::zvTPSection>& section,
                       const Moves& moves) {
    section->insert(section->end(), moves.begin(), moves.end());
    m_slice->push_back(section);
    return *this;
  }

  cadcam::zvToolPath m_path;
  misc::zvAutoPointer<cadcam::zvTPSlice> m_slice = misc::MakeAutoPointer<cadcam::zvTPSlice>();
};

}  // namespace tests
