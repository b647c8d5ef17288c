#include <kandrel/cadcam/curves/curves2d.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace geoDef {

namespace {

// One coordinate and a value of it.
template <class T>
struct Level {
  T zv2dPoint<T>::*coordinate;
  T value;

  bool IsAbove(const zv2dPoint<T>& p) const { return p.*coordinate > value + misc::kEqual; }
  bool IsBelow(const zv2dPoint<T>& p) const { return p.*coordinate < value - misc::kEqual; }

  // Where the line from below to above meets the level.
  zv2dPoint<T> Meet(const zv2dPoint<T>& below, const zv2dPoint<T>& above) const {
    const T share = (value - below.*coordinate) / (above.*coordinate - below.*coordinate);
    zv2dPoint<T> point = below + share * (above - below);
    point.*coordinate = value;
    return point;
  }
};

// The parts of an element before and after the place from which it runs above a level.
template <class T>
struct Parts {
  std::optional<zv2dElement<T>> before;
  std::optional<zv2dElement<T>> after;
};

// Nothing for an element that is nowhere above the level.
template <class T>
struct Cut {
  using Maybe = std::optional<Parts<T>>;
  const Level<T>& level;

  Maybe operator()(const zv2dPoint<T>& point) const { return Whole(level.IsAbove(point), point); }
  Maybe operator()(const zv2dParabola<T>& p) const {
    return Whole(level.IsAbove(p.vertex) || level.IsAbove(p.end), p);
  }
  Maybe operator()(const zv2dEllipse<T>& ellipse) const {
    return Whole(level.IsAbove(Extents(zv2dContour<T>({ellipse})).maximum), ellipse);
  }

  Maybe operator()(const zv2dLine<T>& line) const {
    if (!level.IsBelow(line.start) || !level.IsAbove(line.end))
      return Whole(level.IsAbove(line.start) || level.IsAbove(line.end), line);
    const zv2dPoint<T> cut = level.Meet(line.start, line.end);
    return Parts<T>{zv2dLine<T>{line.start, cut}, zv2dLine<T>{cut, line.end}};
  }

  Maybe operator()(const zv2dPolyLine<T>& line) const {
    const auto begin = line.points.begin();
    const auto above = std::find_if(begin, line.points.end(),
                                    [&](const zv2dPoint<T>& p) { return level.IsAbove(p); });
    if (above == line.points.end()) return std::nullopt;
    if (above == begin) return Whole(true, line);
    zv2dPolyLine<T> before{{begin, above}}, after{{above, line.points.end()}};
    if (level.IsBelow(above[-1])) before.points.push_back(level.Meet(above[-1], *above));
    after.points.insert(after.points.begin(), before.points.back());
    if (before.points.size() == 1) return Whole(true, line);
    return Parts<T>{std::move(before), std::move(after)};
  }

  Maybe operator()(const zv2dArc<T>& arc) const {
    if (!level.IsAbove(Extents(zv2dContour<T>({arc})).maximum)) return std::nullopt;
    const T start = arc.GetStartAngle(), sweep = arc.GetSweepAngle();
    const zv2dPoint<T> first = arc.PointAt(start);
    // The coordinate is centre + radius * sin(angle + lead), which rises with the angle where the
    // cosine is positive.
    const T lead = level.coordinate == &zv2dPoint<T>::x ? 90 : 0;
    const T cosine = misc::SineAndCosineOfDegrees(start + lead).cosine;
    const bool isRising = sweep > 0 ? cosine > 0 : cosine < 0;
    if (level.IsAbove(first) || (isRising && !level.IsBelow(first))) return Whole(true, arc);

    const T sine = (level.value - arc.GetCentre().*level.coordinate) / arc.GetRadius();
    const T crossing =
        90 - misc::kDegreesPerRadian * misc::ArcCosine(std::clamp(sine, T(-1), T(1)));
    const T way = sweep > 0 ? crossing - lead - start : start - (180 - crossing - lead);
    const T turn = way - misc::kFullTurnDeg * std::floor(way / misc::kFullTurnDeg);
    // A rising arc that isn't above meets the level within half a turn: one that seems to have more
    // before it starts at the level but for rounding.
    if (turn == 0 || (isRising && turn > misc::kFullTurnDeg / 2)) return Whole(true, arc);
    if (!(turn < std::fabs(sweep))) return Parts<T>{arc, std::nullopt};  // by rounding
    const T swept = std::copysign(turn, sweep);
    const T angle = start + swept;
    const T wrapped = angle < 0                    ? angle + misc::kFullTurnDeg
                      : angle > misc::kFullTurnDeg ? angle - misc::kFullTurnDeg
                                                   : angle;
    return Parts<T>{zv2dArc<T>(arc.GetCentre(), arc.GetRadius(), start, swept),
                    zv2dArc<T>(arc.GetCentre(), arc.GetRadius(), wrapped, sweep - swept)};
  }

  Maybe operator()(const zv2dContour<T>&) const { return std::nullopt; }  // not met in a walk

 private:
  static Maybe Whole(bool isAbove, const zv2dElement<T>& element) {
    if (!isAbove) return std::nullopt;
    return Parts<T>{std::nullopt, element};
  }
};

template <class T>
std::pair<zv2dContour<T>, zv2dContour<T>> Split(const zv2dContour<T>& contour,
                                                const Level<T>& level) {
  std::pair<zv2dContour<T>, zv2dContour<T>> parts;
  bool isAbove = false;
  for (zv2dElement<T>& element : Walk(contour)) {
    std::optional<Parts<T>> cut;
    if (!isAbove) cut = std::visit(Cut<T>{level}, element);
    if (cut) {
      isAbove = true;
      if (cut->before) parts.first.Add(std::move(*cut->before));
      if (cut->after) parts.second.Add(std::move(*cut->after));
    } else {
      (isAbove ? parts.second : parts.first).Add(std::move(element));
    }
  }
  return parts;
}

}  // namespace

template <class T>
std::pair<zv2dContour<T>, zv2dContour<T>> SplitAtHeight(const zv2dContour<T>& contour, T height) {
  return Split(contour, Level<T>{&zv2dPoint<T>::y, height});
}

template <class T>
std::pair<zv2dContour<T>, zv2dContour<T>> SplitAtRadius(const zv2dContour<T>& contour, T radius) {
  return Split(contour, Level<T>{&zv2dPoint<T>::x, radius});
}

template KANDREL_API std::pair<zv2dContour<double>, zv2dContour<double>> SplitAtHeight(
    const zv2dContour<double>&, double);
template KANDREL_API std::pair<zv2dContour<double>, zv2dContour<double>> SplitAtRadius(
    const zv2dContour<double>&, double);

}  // namespace geoDef
