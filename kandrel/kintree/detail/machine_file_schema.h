// The words of machine files: elements, attributes and values, for the reader and the writer.
#pragma once

#include <kandrel/kintree/detail/xml_document.h>

#include <array>
#include <cstddef>
#include <string_view>

namespace kintree::detail {

inline constexpr char kRoot[] = "machine_definition";
inline constexpr char kMachineData[] = "machine_data";
inline constexpr char kAxis[] = "axis";
inline constexpr char kTransform[] = "transform";
inline constexpr char kGeometry[] = "geometry";
inline constexpr char kBase[] = "base";
inline constexpr char kCollisionCheck[] = "collcheck";
inline constexpr char kPreprocessor[] = "preprocessor";

/// Attributes of each element as a row: an enumeration whose last value counts them, and their
/// names, which NamesOf finds by it.
enum class MachineDataAttribute : std::size_t { name, version, units, count };
enum class AxisAttribute : std::size_t {
  id,
  type,
  x,
  y,
  z,
  rzx,
  rzy,
  rzz,
  minvalue,
  maxvalue,
  valuetype,
  step,
  values,
  show_slider,
  count
};
enum class TransformAttribute : std::size_t { id, initialvalue, count };
enum class GeometryAttribute : std::size_t {
  name,
  objtype,
  geo,
  clrr,
  clrg,
  clrb,
  cuttr,
  cuttg,
  cuttb,
  noncuttr,
  noncuttg,
  noncuttb,
  arborr,
  arborg,
  arborb,
  holderr,
  holderg,
  holderb,
  alpha,
  reflectivity,
  reflectivityBitmapFileName,
  schema,
  count
};
enum class CollisionAttribute : std::size_t {
  id,
  name,
  group1,
  dynamic1,
  dynamic2,
  active,
  group2,
  count
};
enum class PreprocessorAttribute : std::size_t { fileName, instance, count };

template <class Attribute>
using Names = std::array<const char*, static_cast<std::size_t>(Attribute::count)>;

constexpr Names<MachineDataAttribute> NamesOf(MachineDataAttribute) {
  return {"name", "version", "units"};
}
constexpr Names<AxisAttribute> NamesOf(AxisAttribute) {
  return {"id",  "type",     "x",        "y",         "z",    "rzx",    "rzy",
          "rzz", "minvalue", "maxvalue", "valuetype", "step", "values", "show_slider"};
}
constexpr Names<TransformAttribute> NamesOf(TransformAttribute) {
  return {"id", "initialvalue"};
}
constexpr Names<GeometryAttribute> NamesOf(GeometryAttribute) {
  return {"name",     "objtype",      "geo",
          "clrr",     "clrg",         "clrb",
          "cuttr",    "cuttg",        "cuttb",
          "noncuttr", "noncuttg",     "noncuttb",
          "arborr",   "arborg",       "arborb",
          "holderr",  "holderg",      "holderb",
          "alpha",    "reflectivity", "reflectivityBitmapFileName",
          "schema"};
}
constexpr Names<CollisionAttribute> NamesOf(CollisionAttribute) {
  return {"id", "name", "group1", "dynamic1", "dynamic2", "active", "group2"};
}
constexpr Names<PreprocessorAttribute> NamesOf(PreprocessorAttribute) {
  return {"fileName", "instance"};
}

template <class Attribute>
constexpr const char* NameOf(Attribute attribute) {
  return NamesOf(attribute)[static_cast<std::size_t>(attribute)];
}

/// The attributes of an element, read in one go; those that are absent are empty.
template <class Attribute>
class AttributeValues {
 public:
  explicit AttributeValues(const XmlElement& element) noexcept {
    static constexpr Names<Attribute> kNames = NamesOf(Attribute::count);
    element.Get(kNames, m_values);
  }

  std::string_view operator[](Attribute attribute) const noexcept {
    return m_values[static_cast<std::size_t>(attribute)];
  }

 private:
  std::array<std::string_view, static_cast<std::size_t>(Attribute::count)> m_values;
};

/// The three attributes of a colour or a vector, of which `first` is the first.
template <class Attribute>
constexpr std::array<Attribute, 3> Trio(Attribute first) {
  const auto at = static_cast<std::size_t>(first);
  return {first, static_cast<Attribute>(at + 1), static_cast<Attribute>(at + 2)};
}

/// Values of `objtype`.
inline constexpr char kTool[] = "tool";
inline constexpr char kToolpath[] = "toolpath";
inline constexpr char kWorkPiece[] = "workpiece";
inline constexpr char kStock[] = "stock";
inline constexpr char kInitialStock[] = "initialstock";
// A plain geometry has the name of its element.

/// Of `type`, `valuetype`, `units`, and of what is or isn't.
inline constexpr char kRotation[] = "rotation";
inline constexpr char kTranslation[] = "translation";
inline constexpr char kContinuous[] = "cont";
inline constexpr char kStepped[] = "discrete_stepped";
inline constexpr char kListed[] = "discrete_list";
inline constexpr char kInch[] = "inch";
inline constexpr char kMetric[] = "metric";
inline constexpr char kTrue[] = "true";
inline constexpr char kFalse[] = "false";

/// The colours of a tool's parts in files: from version 1.2 each has its attributes.
inline constexpr double kPartColoursVersion = 1.2;
/// From this version on a toolpath names its schema; before, the schema was always this file.
inline constexpr double kSchemaVersion = 1.4;
inline constexpr char kSchemaFile[] = "toolpath.scm";

/// Whether a version is one or above it; numbers of files are rounded.
constexpr bool IsAtLeast(float version, double mark) {
  return version >= mark - 1e-6;
}

}  // namespace kintree::detail
