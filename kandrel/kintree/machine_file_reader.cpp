#include <kandrel/cadcam/stl/stl_reader.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/kintree/detail/machine_file_schema.h>
#include <kandrel/kintree/detail/machine_file_values.h>
#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/kinematic_axis.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/kintree/machine_file_reader.h>
#include <kandrel/kintree/machine_file_validator.h>
#include <kandrel/kintree/machine_visitors.h>
#include <kandrel/kintree/message_hook.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/text.h>
#include <kandrel/misc/tolerances.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace kintree {

using namespace detail;
using exceptions::zvKintreeMachDefSemanticException;
using measures::zvUnitsFactory;

namespace {

using Object = mkdKinematicObjectPointer;
using Units = zvUnitsFactory::Units;
using Point = cadcam::zvTPoint3d<float>;

constexpr double kHeldToolTolerance = 0.1;
constexpr std::size_t kLongestShown = 1000;

// An identifier as failures tell it. A longer one is cut: each of up to 98 elements around a
// failure tells its own and all of those inside it.
std::wstring Shown(std::string_view identifier) {
  std::wstring text = misc::FromUtf8(identifier.substr(0, 4 * kLongestShown));
  if (text.size() > kLongestShown) text.resize(kLongestShown);
  return text;
}

[[noreturn]] void ThrowSemantic(std::string_view tag, std::string_view identifier,
                                const std::wstring& message, std::uint32_t code = 0,
                                const misc::zvException* previous = nullptr) {
  throw zvKintreeMachDefSemanticException(misc::FromUtf8(tag), Shown(identifier), message, code,
                                          previous);
}

// What fails while an element is read is told once more with the element.
template <class Action>
void Within(const XmlElement& element, std::string_view identifier, const Action& action) {
  try {
    action();
  } catch (const misc::zvException& e) {
    throw zvKintreeMachDefSemanticException(misc::FromUtf8(element.GetTag()), Shown(identifier),
                                            e.GetMessage() + L" ", 0, &e);
  }
}

// As NumberOf; what is no number names its attribute.
template <class T, class Attribute>
T NumberIn(const AttributeValues<Attribute>& given, Attribute attribute) {
  try {
    return NumberOf<T>(given[attribute]);
  } catch (const misc::zvmiscException& e) {
    const misc::zvException which(
        0, misc::FromUtf8(NameOf(attribute)) + L"=\"" + Shown(given[attribute]) + L"\"");
    throw misc::zvmiscException(e.GetId(), &which);
  }
}

template <class Attribute>
Point PointOf(const AttributeValues<Attribute>& given, Attribute first) {
  const auto [x, y, z] = Trio(first);
  const float numbers[] = {NumberIn<float>(given, x), NumberIn<float>(given, y),
                           NumberIn<float>(given, z)};
  return {numbers[0], numbers[1], numbers[2]};
}

template <class Attribute>
float NumberOrZero(const AttributeValues<Attribute>& given, Attribute attribute) {
  return given[attribute].empty() ? 0 : NumberIn<float>(given, attribute);
}

// Rotations and shifts; a reflection too, and the last element is not looked at.
bool IsPlacement(const mkdMatrix& m) {
  if (!(m(3, 0) == 0 && m(3, 1) == 0 && m(3, 2) == 0)) return false;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      double product = 0;
      for (std::size_t k = 0; k < 3; ++k) product += double{m(i, k)} * double{m(j, k)};
      if (!(std::fabs(product - (i == j ? 1 : 0)) <= misc::kRotationMatrix)) return false;
    }
  }
  return true;
}

bool IsToolName(std::string_view name) {
  return name.starts_with(kTool) && name.find(kToolpath) == std::string_view::npos;
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return lower;
}

/// The colours of one of a tool's parts in files: where its attributes begin, and what stands for
/// them when one is missing.
struct PartColour {
  mkdHeldTool::Part part;
  bool isRead;
  GeometryAttribute first;
  std::array<const char*, 3> defaults;
};

using PartColours = std::array<PartColour, mkdHeldTool::kParts>;

// "0.0.75294119" is a slip of old, which scans as 0; what reads such files shows this colour.
constexpr PartColours kPartColours = {{
    {mkdHeldTool::cutting, true, GeometryAttribute::cuttr, {"1.0", "0.50196081", "0.0"}},
    {mkdHeldTool::nonCutting, true, GeometryAttribute::noncuttr, {"0.5", "0.5", "0.5"}},
    {mkdHeldTool::arbor,
     true,
     GeometryAttribute::arborr,
     {"0.75294119", "0.0.75294119", "0.0.75294119"}},
    {mkdHeldTool::holder, true, GeometryAttribute::holderr, {"0", "1", "1"}},
}};
constexpr const char* kOldGrey = "0.7529411911964417";
constexpr PartColours kPartColoursBefore12 = {{
    {mkdHeldTool::cutting, true, GeometryAttribute::clrr, {"1.0", "0.50196081", "0.0"}},
    {mkdHeldTool::nonCutting, false, {}, {"0.5", "0.5", "0.5"}},
    {mkdHeldTool::arbor, false, {}, {kOldGrey, kOldGrey, kOldGrey}},
    {mkdHeldTool::holder, true, GeometryAttribute::holderr, {"0", "1", "1"}},
}};

// Puts what a document says into a machine.
class Filler {
 public:
  using GeometryValues = AttributeValues<GeometryAttribute>;

  Filler(zvKintreeMachDef& machine, std::wstring folder, const Units* defaultUnits)
      : m_machine(machine), m_folder(std::move(folder)), m_defaultUnits(defaultUnits) {}

  // Goes into the root where it stands, so that nothing behind it is read.
  void ReadDocument(XmlElement element) {
    while (element) {
      const std::string_view tag = element.GetTag();
      if (tag == kRoot) {
        element = element.FirstChild();
        continue;
      }
      if (tag == kMachineData)
        ReadMachineData(element);
      else if (tag == kCollisionCheck)
        ReadCollisionCheck(element);
      else if (tag == kPreprocessor)
        ReadPreprocessor(element);
      else if (tag == kBase)
        ReadGeometry(element, nullptr);
      else
        ReadObject(element, nullptr);
      element = element.Next();
    }
  }

 private:
  // Recurses, as deep as a document may be nested.
  void ReadChildren(const XmlElement& element, const Object& parent) {
    for (XmlElement child = element.FirstChild(); child; child = child.Next())
      ReadObject(child, parent);
  }

  void ReadObject(const XmlElement& element, const Object& parent) {
    const std::string_view tag = element.GetTag();
    if (tag == kAxis)
      ReadAxis(element, parent);
    else if (tag == kTransform)
      ReadTransform(element, parent);
    else if (tag == kGeometry)
      ReadGeometry(element, parent);
  }

  void ReadMachineData(const XmlElement& element) {
    using enum MachineDataAttribute;
    const AttributeValues<MachineDataAttribute> given(element);
    m_machine.SetName(misc::FromUtf8(given[name]));
    m_machine.SetVersion(given[version].empty() ? 1.0f : NumberIn<float>(given, version));
    m_machine.SetUnits(UnitsOf(given[units], given[name]), true);
  }

  Units UnitsOf(std::string_view units, std::string_view machineName) const {
    if (units == kInch) return zvUnitsFactory::inch;
    if (units == kMetric) return zvUnitsFactory::metric;
    if (!units.empty()) throw misc::zvException(2141, L"Unknown Units");
    if (m_defaultUnits == nullptr)
      ThrowSemantic(kMachineData, machineName, L"The machine has no specified units", 100);
    return *m_defaultUnits;
  }

  void ReadAxis(const XmlElement& element, const Object& parent) {
    using enum AxisAttribute;
    const AttributeValues<AxisAttribute> given(element);
    Within(element, given[id], [&] {
      const auto axis = MakeAxis(given);
      SetRange(*axis, given);
      SetValidator(*axis, given);
      m_machine.AddObject(axis, parent);
      if (!given[show_slider].empty() && given[show_slider] != kTrue)
        m_machine.HideSlider(axis->GetName());
      ReadChildren(element, axis);
    });
  }

  misc::zvAutoPointer<mkdAxis> MakeAxis(const AttributeValues<AxisAttribute>& given) const {
    using enum AxisAttribute;
    const Point direction = PointOf(given, x);
    std::wstring name = misc::FromUtf8(given[id]);
    const Units units = m_machine.GetUnits();
    if (given[type] != kRotation)
      return misc::MakeAutoPointer<mkdTranslationalAxis>(std::move(name), direction, units);
    return misc::MakeAutoPointer<mkdRotationalAxis>(std::move(name), direction, PointOf(given, rzx),
                                                    units);
  }

  static void SetRange(mkdAxis& axis, const AttributeValues<AxisAttribute>& given) {
    using enum AxisAttribute;
    if (given[minvalue].empty() && given[maxvalue].empty()) return;
    const double minimum = NumberIn<double>(given, minvalue);
    const double maximum = NumberIn<double>(given, maxvalue);
    axis.SetMinimum(minimum);
    axis.SetMaximum(maximum);
    // An axis starts inside its range; where the range is turned round it has no inside.
    if (maximum - minimum > misc::kEqual && (minimum > misc::kEqual || maximum < -misc::kEqual))
      axis.SetValue(std::fabs(maximum - minimum) * 0.5 + minimum);
  }

  static void SetValidator(mkdAxis& axis, const AttributeValues<AxisAttribute>& given) {
    using enum AxisAttribute;
    if (given[valuetype] == kStepped) {
      axis.SetValidator(misc::MakeAutoPointer<misc::zvSteppingBasedDiscreteValueValidator<double>>(
          axis.GetMinimum(), axis.GetMaximum(), NumberIn<double>(given, step)));
    } else if (given[valuetype] == kListed) {
      auto list = NumbersOf<double>(given[AxisAttribute::values]);
      if (list.empty()) return;
      axis.SetValidator(
          misc::MakeAutoPointer<misc::zvListBasedDiscreteValueValidator<double>>(std::move(list)));
    }
  }

  void ReadTransform(const XmlElement& element, const Object& parent) {
    using enum TransformAttribute;
    const AttributeValues<TransformAttribute> given(element);
    Within(element, given[id], [&] {
      const auto transform = misc::MakeAutoPointer<mkdCoordinateTransform>(
          misc::FromUtf8(given[id]), m_machine.GetUnits());
      m_machine.AddObject(transform, parent);
      SetMatrix(*transform, given[initialvalue]);
      ReadChildren(element, transform);
    });
  }

  // Leaves the identity where there is no matrix, or none that places.
  void SetMatrix(mkdCoordinateTransform& transform, std::string_view text) const {
    constexpr std::size_t kElements = 16;
    if (CountTokens(text) != kElements)
      return Report(
          L"Coordinate transformation matrix does not conform 4x4 requirement.\nIdentity matrix "
          L"will be considered by default.");
    const std::vector<float> numbers = NumbersOf<float>(text);
    mkdMatrix matrix;
    for (std::size_t i = 0; i < kElements; ++i) matrix(i / 4, i % 4) = numbers[i];
    if (!IsPlacement(matrix))
      return Report(
          L"Coordinate transformation matrix contains more than rotations or/and "
          L"transformations.\nIdentity matrix will be used by default.");
    transform.SetLocalMatrix(matrix);
  }

  // Files of version 1.0 were never held to it.
  void Report(const wchar_t* text) const {
    if (m_machine.GetVersion() != 1.0f) TellUser(text);
  }

  void ReadGeometry(const XmlElement& element, const Object& parent) {
    using enum GeometryAttribute;
    const GeometryValues given(element);
    Within(element, given[name], [&] {
      // Only what may be a tool has no file: a plain geometry may be called "tool_changer".
      const bool isTool = given[objtype] == kTool || given[objtype].empty();
      const std::wstring source =
          isTool && IsToolName(given[name]) ? std::wstring() : File(given[geo]);
      const std::wstring bitmap = File(given[reflectivityBitmapFileName]);
      const std::string_view type =
          given[objtype].empty() ? Deduced(element, given) : given[objtype];
      const Object object = MakeGeometry(element, given, type, source, bitmap);
      m_machine.AddObject(object, parent);
      ReadChildren(element, object);
    });
  }

  // A name of the document as a path, which is entered in the machine's list.
  std::wstring File(std::string_view name) {
    std::wstring path = PathOf(m_folder, name);
    if (!path.empty()) m_machine.AddFile(path);
    return path;
  }

  static std::string_view Deduced(const XmlElement& element, const GeometryValues& given) {
    const std::string_view name = given[GeometryAttribute::name];
    if (IsToolName(name)) return kTool;
    if (name == "werkstueck" || name == kWorkPiece) return kWorkPiece;
    if (name == kStock) return kStock;
    if (name == kInitialStock) return kInitialStock;
    const std::string geo = LowerCase(given[GeometryAttribute::geo]);
    if (geo.find("stl") != std::string::npos) return kGeometry;
    if (geo.find("asc") != std::string::npos) return kToolpath;
    const misc::zvException why(0, L"objtype is empty, and neither name nor geo says what it is");
    ThrowSemantic(element.GetTag(), name, L"Cannot determine geometry type ", 0, &why);
  }

  Object MakeGeometry(const XmlElement& element, const GeometryValues& given, std::string_view type,
                      const std::wstring& source, const std::wstring& bitmap) {
    if (type == kTool) return MakeTool(given, bitmap);
    if (type == kWorkPiece) return MakeBody<mkdWorkPiece>(given, source, bitmap);
    if (type == kStock) return MakeBody<mkdStockGeometry>(given, source, bitmap);
    if (type == kInitialStock) return MakeBody<mkdInitialStock>(given, source, bitmap);
    if (type == kGeometry) return MakeBody<mkdPolygonalGeometry>(given, source, bitmap);
    if (type == kToolpath) return MakeToolpath(given, source, bitmap);
    ThrowSemantic(element.GetTag(), given[GeometryAttribute::name], L"Unknown objtype");
  }

  template <class Body>
  Object MakeBody(const GeometryValues& given, const std::wstring& source,
                  const std::wstring& bitmap) const {
    const Units units = m_machine.GetUnits();
    const auto mesh = misc::MakeAutoPointer<cadcam::zvTMesh<float>>(units);
    if (IsFile(source))
      cadcam::LoadSTL(source, *mesh);
    else if (!source.empty())
      TellUser(L"The file '" + source + L"' isn't there; the body '" +
               Shown(given[GeometryAttribute::name]) + L"' has no triangles.");
    return WithAppearance(misc::MakeAutoPointer<Body>(
                              misc::FromUtf8(given[GeometryAttribute::name]), mesh, source, units),
                          given, bitmap);
  }

  Object MakeToolpath(const GeometryValues& given, const std::wstring& source,
                      const std::wstring& bitmap) {
    using enum GeometryAttribute;
    const Units units = m_machine.GetUnits();
    const auto graphic = misc::MakeAutoPointer<zvToolPathGraphic<float>>(units);
    LoadToolPathGraphic(source, *graphic);
    const auto toolpath = misc::MakeAutoPointer<mkdToolpathGeometry>(misc::FromUtf8(given[name]),
                                                                     graphic, source, units);
    const bool hasSchema = IsAtLeast(m_machine.GetVersion(), kSchemaVersion);
    m_machine.SetSchema(File(hasSchema ? given[schema] : kSchemaFile));
    return WithAppearance(toolpath, given, bitmap);
  }

  template <class Geometry>
  static Object WithAppearance(const misc::zvAutoPointer<Geometry>& geometry,
                               const GeometryValues& given, const std::wstring& bitmap) {
    const zvAppearance look = AppearanceOf(PointOf(given, GeometryAttribute::clrr), given, bitmap);
    geometry->SetAppearance(look);
    geometry->SetDefaultAppearance(look);
    return geometry;
  }

  static zvAppearance AppearanceOf(const Point& colour, const GeometryValues& given,
                                   const std::wstring& bitmap) {
    using enum GeometryAttribute;
    return {colour, NumberOrZero(given, alpha), NumberOrZero(given, reflectivity), bitmap};
  }

  Object MakeTool(const GeometryValues& given, const std::wstring& bitmap) const {
    const bool hasPartColours = IsAtLeast(m_machine.GetVersion(), kPartColoursVersion);
    mkdHeldTool::Appearances looks;
    for (const PartColour& c : hasPartColours ? kPartColours : kPartColoursBefore12)
      looks.at(c.part) = PartAppearance(c, given, bitmap);
    const Units units = m_machine.GetUnits();
    const cadcam::zvTool::Holder holder(0, 0, units);
    const cadcam::zvTool::Arbor arbor(1, 0.5, units);
    const auto mill = misc::MakeAutoPointer<cadcam::zvEndMill>(1, holder, 1.5, 1, arbor, units);
    return misc::MakeAutoPointer<mkdHeldTool>(misc::FromUtf8(given[GeometryAttribute::name]), mill,
                                              kHeldToolTolerance, looks, units);
  }

  // A colour counts when all of it is there.
  static zvToolPartAppearance PartAppearance(const PartColour& c, const GeometryValues& given,
                                             const std::wstring& bitmap) {
    const auto& [red, green, blue] = c.defaults;
    const Point usual = {NumberOf<float>(red), NumberOf<float>(green), NumberOf<float>(blue)};
    const auto trio = Trio(c.first);
    const bool isThere =
        c.isRead && std::none_of(trio.begin(), trio.end(), [&](GeometryAttribute attribute) {
          return given[attribute].empty();
        });
    const Point colour = isThere ? PointOf(given, c.first) : usual;
    return {.current = AppearanceOf(colour, given, bitmap),
            .defaultAppearance = AppearanceOf(usual, given, bitmap),
            .isDefaultTaken = !isThere};
  }

  void ReadCollisionCheck(const XmlElement& element) {
    using enum CollisionAttribute;
    const AttributeValues<CollisionAttribute> given(element);
    Within(element, given[id], [&] {
      const auto group = [&](CollisionAttribute names, CollisionAttribute isDynamic) {
        return GroupOf(TokensOf(given[names]), given[isDynamic] == kTrue);
      };
      if (CountTokens(given[group1]) == 0) return;
      zvCollisionCheck check{.first = group(group1, dynamic1), .second = group(group2, dynamic2)};
      m_machine.SetCollisionCheck(misc::FromUtf8(given[id]), std::move(check));
    });
  }

  zvCollisionGroup GroupOf(const std::vector<std::string>& names, bool isDynamic) const {
    zvCollisionGroup group{.kind = isDynamic ? zvCollisionGroup::isDynamic
                                             : zvCollisionGroup::isStatic};
    for (const std::string& token : names) {
      std::wstring name = misc::FromUtf8(token);
      mkdGeometryChecker checker;
      const mkdKinematicObject& object = *m_machine.GetObject(name);
      object.AcceptVisitor(checker);
      group.names.push_back(std::move(name));
    }
    return group;
  }

  void ReadPreprocessor(const XmlElement& element) {
    using enum PreprocessorAttribute;
    const AttributeValues<PreprocessorAttribute> given(element);
    if (given[instance].empty())
      ThrowSemantic(kPreprocessor, NameOf(instance),
                    L"The preprocessor tag has no specified instance variable name");
    if (given[fileName].empty())
      ThrowSemantic(kPreprocessor, NameOf(fileName),
                    L"The preprocessor tag has no specified filename");
    const std::wstring path = PathOf(m_folder, given[fileName]);
    if (!IsFile(path)) throw misc::zvException(0, L"Preprocessor source code file not found");
    m_machine.AddFile(path);
    m_machine.AddPreprocessor({path, misc::FromUtf8(given[instance])});
  }

  zvKintreeMachDef& m_machine;
  std::wstring m_folder;
  const Units* m_defaultUnits;
};

zvV2XMLReader::Machine Filled(const XmlDocument& document, const std::wstring& path,
                              const zvV2XMLReader::DefaultUnits& units) {
  auto machine = misc::MakeAutoPointer<zvKintreeMachDef>(units ? *units : zvUnitsFactory::metric);
  Filler(*machine, FolderOf(path), units.Get()).ReadDocument(document.First());
  zvXMLVersion1_3Validator(*machine, path).Validate();
  return machine;
}

}  // namespace

zvV2XMLReader::zvV2XMLReader(const std::wstring& path) : m_path(path) {}

zvV2XMLReader::Machine zvV2XMLReader::Read(const DefaultUnits& units) const {
  return Filled(XmlDocument::Load(m_path), m_path, units);
}

zvV2XMLReader::Machine zvV2XMLReader::ReadBytes(std::string bytes,
                                                const DefaultUnits& units) const {
  return Filled(XmlDocument::Parse(std::move(bytes)), m_path, units);
}

}  // namespace kintree
