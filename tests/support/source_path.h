// Toolpaths as plain data: one entry a move, sections where the link changes.
#pragma once

#include <tests/support/testing.h>
#include <tests/support/toolpath_builders.h>

namespace tests {

struct SourceMove {
  Point tip;
  Point orientation;
  double feed = 1000;
  bool rapid = false;
  int link = -1;  // the type of its link, or -1 on a contour
};
using Source = std::vector<SourceMove>;

inline PathBuilder Build(const Source& source, double scale = 1, bool isInch = false) {
  PathBuilder builder(isInch ? kInch : kMetric);
  for (std::size_t i = 0; i < source.size();) {
    const int link = source[i].link;
    PathBuilder::Moves moves;
    for (; i < source.size() && source[i].link == link; ++i) {
      const SourceMove& m = source[i];
      moves.push_back(Move5(m.tip * scale, m.orientation, m.feed * scale, m.rapid));
    }
    if (link < 0)
      builder.Contour(moves);
    else
      builder.Link(static_cast<std::uint32_t>(link), moves);
  }
  return builder;
}

}  // namespace tests
