// zvToolPathGraphic: a toolpath as it is drawn, and the text file that it comes from.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/byte_streams.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/measurable.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace kintree {

/// Coloured polylines; one of a single point is a point. T is float in machines, for which it is
/// instantiated in the library. A copy is deep.
template <class T>
class KANDREL_API zvToolPathGraphic : public measures::zvMeasurable {
 public:
  using Point = cadcam::zvTPoint3d<T>;
  using Units = measures::zvUnitsFactory::Units;

  /// Empty. Throws zvmeasuresException 2141 for units other than metric and inch.
  explicit zvToolPathGraphic(Units units = measures::zvUnitsFactory::metric);

  /// Begins a polyline; its colour is red, green, blue from 0 to 1.
  void Begin(const Point& colour, const Point& point);
  /// Adds a point to the polyline begun last. Throws zvmiscException 2052 where there is none.
  void Append(const Point& point);

  /// Whether no polyline has begun, and how many have.
  bool IsEmpty() const noexcept { return m_lines.empty(); }
  std::size_t GetNumberOfPolyLines() const noexcept { return m_lines.size(); }
  /// Both throw zvmiscException 2052 for an index that is none. The points are valid until the
  /// graphic is changed.
  const Point& GetColour(std::size_t line) const;
  std::span<const Point> GetPoints(std::size_t line) const;

 protected:
  void Scale(Units newUnits, double factor) override;

 private:
  struct Line {
    Point colour;
    std::size_t first;  // its points reach to the first of the next line
  };

  const Line& LineAt(std::size_t line) const;

  std::vector<Point> m_points;
  std::vector<Line> m_lines;
};

extern template class zvToolPathGraphic<float>;

/// Reads the text of a toolpath into `graphic`, in its units. Its former content goes; when this
/// throws, it is as it was.
///
/// The text is a row of tokens, separated by blanks, tabs, line ends and ";": keywords, each with
/// three numbers behind it, which are decimal with a point.
/// - RGB r g b: the colour of the polylines that begin from here on, 0 to 1 each; 1 1 1 at first.
/// - PA x y z: a polyline begins here; one that is open ends.
/// - PT x y z: the open polyline goes on here; a point by itself where none is open.
/// - PE x y z: as PT, and what is open ends.
///
/// An empty text is an empty graphic. Throws zvParserException 6251 "Unknown keyword !" for another
/// word, with the number of its line, and zvmiscException 2579 for what is no finite number in the
/// place of one. The stream's exceptions pass.
template <class T>
KANDREL_API void ReadToolPathGraphic(misc::zvBinInputStream& stream, zvToolPathGraphic<T>& graphic);

/// The same for a file. Returns false, and leaves the graphic empty, where there is no such file or
/// no regular one; throws as zvBinInputFile does for one that can't be opened.
template <class T>
KANDREL_API bool LoadToolPathGraphic(const std::wstring& path, zvToolPathGraphic<T>& graphic);

}  // namespace kintree
