#include <kandrel/cadcam/tools/generic_revolved_tool.h>
#include <kandrel/cadcam/tools/hole_tools.h>
#include <kandrel/cadcam/tools/lathe_tool.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/cadcam/tools/tool_caster.h>
#include <kandrel/cadcam/tools/tool_types.h>
#include <kandrel/misc/range_exception.h>
#include <kandrel/persistence/tools_reader.h>
#include <kandrel/persistence/tools_writer.h>
#include <tests/persistence/records.h>

namespace {

using namespace tests;
using cadcam::zvTool;
using ToolPointer = misc::zvAutoPointer<zvTool>;

// One set of numbers, all different, that every type accepts.
const std::map<std::string, double> kNumbers = {
    {"cornerRadius", 1.5}, {"cornerRadiusType", 1}, {"outsideDiameter", 35},
    {"taperAngle", 20},    {"radius", 3},           {"tipAngle", 90},
    {"shoulderAngle", 60}, {"tipRadius", 15},       {"profileRadius", 22},
    {"upperDiameter", 14}, {"neckDiameter", 12},    {"threadParameter", 7}};
constexpr double kDiameter = 20, kFlute = 18, kShoulder = 30;

struct StoredType {
  int code;
  const char* name;
  const char* fields;  // in the order of the record; a colon marks those of four bytes
};
const StoredType kTypes[] = {
    {0, "zvBoreBar", "cornerRadius taperAngle :cornerRadiusType"},
    {1, "zvBullMill", "cornerRadius"},
    {2, "zvChamferMill", "cornerRadius :cornerRadiusType taperAngle outsideDiameter"},
    {3, "zvCntrBore", ""},
    {4, "zvCSink", "cornerRadius :cornerRadiusType tipAngle"},
    {5, "zvCtrDrill", "tipAngle shoulderAngle"},
    {6, "zvDoveMill", "cornerRadius taperAngle :cornerRadiusType"},
    {7, "zvDrill", "tipAngle"},
    {8, "zvEndMill", ""},
    {9, "zvFaceMill", "cornerRadius outsideDiameter taperAngle :cornerRadiusType"},
    {10, "zvLolMill", "neckDiameter"},
    {11, "zvRadMill", "radius"},
    {12, "zvReamer", ""},
    {13, "zvSlotMill", "cornerRadius :cornerRadiusType"},
    {14, "zvSpherMill", ""},
    {15, "zvSpotDrill", "tipAngle"},
    {16, "zvTaperMill", "cornerRadius taperAngle :cornerRadiusType"},
    {17, "zvTapLH", "cornerRadius :cornerRadiusType tipAngle :threadParameter"},
    {18, "zvTapRH", "cornerRadius :cornerRadiusType tipAngle :threadParameter"},
    {20, "zvBarrelMill", "upperDiameter cornerRadius profileRadius"},
    {21, "zvConvexTipMill", "cornerRadius tipRadius"}};

std::string Cylinder(int units, double height, double radius) {
  return Bytes().Int({units, 0, 4, 1, 1, 0}).Double({radius, 0}).Int({0}).Double({radius, height});
}

// A mesh solid of one triangle; `corner` is its last corner.
std::string Mesh(int corner = 2) {
  Bytes bytes;
  bytes.Int({1, 2, 1, 3}).Double({0, 0, 0, 5, 0, 0, 0, 5, 2}).Int({1, 0, 1, corner});
  return bytes.Double({0, 0, 1});
}

// A tool record of a version, in inches, with an arbor and a holder that are cylinders where a
// version can have them.
std::string Record(const StoredType& type, int version) {
  Bytes bytes;
  bytes.Int({type.code});
  if (version >= 25) bytes.Int({2});
  std::istringstream fields(type.fields);
  for (std::string field; fields >> field;) {
    if (type.code == 10 && version < 155) break;
    if (field[0] == ':')
      bytes.Int({static_cast<std::int64_t>(kNumbers.at(field.substr(1)))});
    else
      bytes.Double({kNumbers.at(field)});
  }
  bytes.Double({kDiameter, kFlute, type.code == 13 ? kFlute : kShoulder});
  const auto part = [&](int since, double height, double radius) {
    if (version < since)
      bytes.Double({height, radius});
    else
      bytes.Raw(version < 61 ? Mesh() : Cylinder(2, height, radius));
  };
  part(22, 40, 6);
  part(23, 50, 8);
  if (version >= 130) bytes.Int({2}).Double({13, type.code == 13 ? kFlute : 19});
  return bytes;
}

ToolPointer Read(const std::string& bytes, int version,
                 const std::optional<zvTool::Units>& units = kInch) {
  MemoryInput stream(bytes);
  ToolPointer tool;
  cadcam::zvBITools(stream, static_cast<std::uint32_t>(version), false, units, nullptr, true, false)
      .ReadTool(tool);
  EXPECT_EQ(stream.GetLeft(), 0u) << "version " << version;
  return tool;
}

std::string Written(const zvTool& tool) {
  MemoryOutput out;
  cadcam::zvBOTools(out, false).Write(tool);
  return out.GetBytes();
}

TEST(ToolRecords, OfAllTypesAreReadInEveryVersion) {
  ASSERT_EQ(std::size(kTypes), cadcam::ToolTypes().size());
  for (const StoredType& type : kTypes) {
    for (const int version : {11, 21, 22, 23, 24, 25, 60, 61, 129, 130, 154, 155, kNow}) {
      SCOPED_TRACE(type.name + std::to_string(version));
      // A mesh has no first diameter for a neck.
      if (type.code == 10 && version >= 22 && version < 61) continue;
      const auto tool = cadcam::zvToolCaster::Cast(Read(Record(type, version), version));
      EXPECT_EQ(tool->GetType().name, type.name);
      EXPECT_EQ(tool->GetUnits(), kInch);
      EXPECT_EQ(tool->GetDiameter(), kDiameter);
      EXPECT_EQ(tool->GetFluteLength(), kFlute);
      EXPECT_EQ(tool->GetShoulderLength(), type.code == 13 ? kFlute : kShoulder);
      EXPECT_NEAR(tool->GetArbor().GetHeight(), version < 22 || version >= 61 ? 40 : 2 / 25.4,
                  1e-12);
      EXPECT_NEAR(tool->GetHolder().GetHeight(), version < 23 || version >= 61 ? 50 : 2 / 25.4,
                  1e-12);
      for (const cadcam::zvToolParameter parameter : tool->GetType().parameters) {
        const std::string name(RowOf(parameter).name);
        const bool isNeckOfArbor = name == "neckDiameter" && version < 155;
        EXPECT_EQ(GetParameter(tool->GetNumbers(), parameter),
                  isNeckOfArbor ? 12 : kNumbers.at(name))
            << name;
      }
      if (version >= 130) {
        EXPECT_EQ(tool->GetShoulderDefinition().GetShoulderDiameter(), 13);
        EXPECT_EQ(tool->GetShoulderDefinition().GetShoulderBaseLength(),
                  type.code == 13 ? kFlute : 19);
      } else {
        EXPECT_FALSE(tool->HasShoulderDefinition());
      }
      if (version == kNow) {
        EXPECT_EQ(Written(*tool), Record(type, version));
      }
    }
  }
}

TEST(ToolRecords, OfTheSmallestToolAreTheseBytes) {
  const cadcam::zvEndMill tool(1, zvTool::Holder(0, 0, kMetric), 1.5, 1,
                               zvTool::Arbor(1, 0.5, kMetric), kMetric);
  const std::string bytes = Bytes().Hex(
      "08 00 00 00 01 00 00 00                          | end mill, metric\n"
      "00 00 00 00 00 00 F0 3F 00 00 00 00 00 00 F0 3F  | diameter 1, flute 1\n"
      "00 00 00 00 00 00 F8 3F                          | shoulder 1.5\n"
      "01 00 00 00 00 00 00 00                          | arbor: metric, revolved\n"
      "04 00 00 00 01 00 00 00 01 00 00 00              | a contour of one line\n"
      "00 00 00 00 00 00 00 00 00 00 E0 3F 00 00 00 00 00 00 00 00  | 0.5, 0\n"
      "00 00 00 00 00 00 00 00 00 00 E0 3F 00 00 00 00 00 00 F0 3F  | 0.5, 1\n"
      "01 00 00 00 00 00 00 00 04 00 00 00 01 00 00 00 01 00 00 00  | holder\n"
      "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  | 0, 0\n"
      "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  | 0, 0\n"
      "01 00 00 00 00 00 00 00 00 00 F0 3F 00 00 00 00 00 00 F0 3F  | shoulder\n");
  ASSERT_EQ(bytes.size(), 172u);
  EXPECT_EQ(Written(tool), bytes);
  ExpectPrefixesRefused(bytes, [](const std::string& cut) { Read(cut, kNow); });
}

TEST(ToolRecords, OfLatheAndGenericToolsComeBack) {
  const cadcam::zvLatheTool lathe(zvTool::Holder(50, 8, kMetric), zvTool::Arbor(40, 6, kMetric),
                                  cadcam::zvToolPartDefinition<double>(30, 5, kMetric), kMetric);
  EXPECT_EQ(Written(lathe),
            Bytes().Int({19, 1}).Raw(Cylinder(1, 30, 5)).Raw(Cylinder(1, 50, 8)).Get());
  const ToolPointer read = Read(Written(lathe), kNow);
  EXPECT_EQ(read->GetHolder().GetHeight(), 50);
  EXPECT_EQ(read->GetArbor().GetHeight(), 0);  // it is not stored
  EXPECT_EQ(read->GetShoulderLength(), 30);
  const std::string generic = Bytes()
                                  .Int({22, 1})
                                  .Raw(Cylinder(1, 20, 5))
                                  .Raw(Cylinder(1, 10, 6))
                                  .Raw(Cylinder(1, 40, 7))
                                  .Raw(Cylinder(1, 50, 8));
  const ToolPointer tool = Read(generic, kNow);
  EXPECT_EQ(tool->GetFluteLength(), 20);
  EXPECT_EQ(tool->GetTotalLength(), 70);
  EXPECT_EQ(Written(*tool), generic);
}

TEST(ToolRecords, ThatCantBeMeantAreRefused) {
  const std::tuple<std::string, int, std::uint32_t> cases[] = {
      {Bytes().Int({23}), kNow, 2108},
      {Bytes().Int({-1}), kNow, 2108},
      {Bytes().Int({0x7FFFFFFF}), kNow, 2108},
      // A default that its own class refuses is written, and not read.
      {Written(cadcam::zvSpotDrill()), kNow, 2118},
      // The profiles of old solids.
      {Bytes().Int({8, 2}).Double({20, 18, 30}).Raw(Cylinder(2, 40, 6)), 60, 2027}};
  for (const auto& c : cases)
    EXPECT_TRUE(
        ThrowsId<zvcadcamException>([&] { Read(std::get<0>(c), std::get<1>(c)); }, std::get<2>(c)));
  const std::string old = Record(kTypes[8], 24), units = Bytes().Int({8, 3});
  EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { Read(old, 24, std::nullopt); }, 2139));
  EXPECT_TRUE(ThrowsId<measures::zvmeasuresException>([&] { Read(units, kNow); }, 2141));
}

// A generic tool whose first part is `solid`.
std::string With(const std::string& solid) {
  return Bytes().Int({22, 1}).Raw(solid).Get();
}

TEST(ToolRecords, SolidsAreReadOrRefused) {
  const auto written = [](const std::string& solid) {
    MemoryInput stream(solid);
    const auto read =
        cadcam::zvBITools(stream, kNow, false, std::nullopt, nullptr, true, false).ReadSolid();
    MemoryOutput out;
    cadcam::zvBOTools(out, false).Write(*read);
    return out.GetBytes();
  };
  const auto contour = [](const std::string& elements, int count) {
    return Bytes().Int({1, 0, 4, count}).Raw(elements).Get();
  };
  Bytes elements;
  elements.Int({0}).Double({1, 2});
  elements.Int({1, 0}).Double({1, 2}).Int({0}).Double({3, 4});
  elements.Int({2, 0}).Double({5, 6, 7, 270, -360});
  elements.Int({4, 1, 5, 2, 0}).Double({1, 1}).Int({0}).Double({2, 2});
  elements.Int({7, 0}).Double({1, 2}).Int({0}).Double({3, 4});
  const std::string extruded = Bytes().Int({1, 1, 2, 5, 0, 5, 1, 0}).Double({1, 2, 9, 3, 4, 5});
  for (const std::string& solid : {contour(elements, 5), extruded, Mesh(), contour(Bytes(), 0)})
    EXPECT_EQ(written(solid), solid);

  std::string nested;
  for (int depth = 1; depth <= 16; ++depth) nested += Bytes().Int({4, depth < 16 ? 1 : 0}).Get();
  EXPECT_EQ(written(Bytes().Int({1, 0}).Raw(nested)), Bytes().Int({1, 0}).Raw(nested).Get());
  const std::string deep = Bytes().Int({1, 0, 4, 1}).Raw(nested);

  const std::pair<std::string, const wchar_t*> refused[] = {
      {deep, L"Unknown geometric type"},
      {contour(Bytes().Int({10}), 1), L"Unknown geometric type"},
      {contour(Bytes().Int({-1}), 1), L"Unknown geometric type"},
      {contour(Bytes().Int({1, 1}), 1), L"Unknown geometric type"},
      {Bytes().Int({1, 0, 5, 0}), L"Unknown geometric type"},
      {Bytes().Int({1, 1, 1, 4, 0}), L"Unknown geometric type"},
      {contour(Bytes().Int({3}), 1), L"Please define >> operator for spline."},
      {contour(Bytes().Int({6}), 1), L"Please define >> operator for closed contour."},
      {contour(Bytes().Int({8}), 1), L"Please define >> operator for ellipse."},
      {contour(Bytes().Int({9}), 1), L"Please setup a valid Bezier object."}};
  for (const auto& [solid, text] : refused) {
    const std::string stored = solid;
    EXPECT_TRUE(ThrowsId<misc::zvException>([&] { written(stored); }, 0, text));
  }
  const std::vector<std::vector<double>> arcs = {
      {0, 0, -1, 0, 0}, {0, 0, 1, 360.5, 0}, {0, 0, 1, -1, 0}, {0, 0, 1, 0, 361}};
  for (const auto& arc : arcs) {
    Bytes bytes;
    bytes.Int({2, 0});
    for (const double number : arc) bytes.Double({number});
    EXPECT_THROW(written(contour(bytes, 1)), misc::zvRangeException<double>);
  }
  EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { written(Bytes().Int({1, 3})); }, 2183));
  for (const int corner : {3, -1})
    EXPECT_TRUE(ThrowsId<zvmiscException>([&] { written(Mesh(corner)); }, 2052));
  // Counts that nothing stands behind cost nothing, also where they count as negative.
  for (const std::int64_t count : {0x7FFFFFFFll, 0xFFFFFFFFll}) {
    for (const Bytes& solid : {Bytes().Int({1, 0, 4, count}), Bytes().Int({1, 1, count}),
                               Bytes().Int({1, 2, 1, count}), Bytes().Int({1, 2, 1, 0, count})})
      EXPECT_TRUE(ThrowsId<zvmiscException>([&] { Read(With(solid), kNow); }, 2018));
  }
}

}  // namespace
