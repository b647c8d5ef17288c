// Short ways to build toolpaths.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <tests/support/points.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace tests {

inline constexpr auto kMetric = measures::zvUnitsFactory::metric;
inline constexpr auto kInch = measures::zvUnitsFactory::inch;

cadcam::zvMovePointer Move3(const Point& position, double feed = 1000, bool rapid = false,
                            const Point& orientation = {0, 0, 1});
cadcam::zvMovePointer Move5(const Point& position, const Point& orientation, double feed = 1000,
                            bool rapid = false);

/// A toolpath of one pass and slice with a section for each call of Contour or Link.
class PathBuilder {
 public:
  using Moves = std::vector<cadcam::zvMovePointer>;

  explicit PathBuilder(measures::zvUnitsFactory::Units units = kMetric);

  PathBuilder& Contour(const Moves& moves);
  PathBuilder& Link(std::uint32_t type, const Moves& moves);

  operator const cadcam::zvToolPath&() const { return m_path; }
  const cadcam::zvToolPath& Path() const { return m_path; }

 private:
  PathBuilder& Section(const misc::zvAutoPointer<cadcam::zvTPSection>& section, const Moves& moves);

  cadcam::zvToolPath m_path;
  misc::zvAutoPointer<cadcam::zvTPSlice> m_slice;
};

}  // namespace tests
