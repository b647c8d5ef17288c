#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/profile_validation.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>

#include "tool_cases.h"

namespace cadcam {
namespace {

using geoDef::zv2dArc;
using geoDef::zv2dContour;
using geoDef::zv2dLine;
using geoDef::zv2dPolyLine;
using tests::IdOf;

// Ids of radius, height, start, negative and last.
struct Part {
  std::shared_ptr<zvProfileValidation> validation;
  std::array<std::uint32_t, 5> ids;
};
const Part kParts[] = {
    {std::make_shared<zvCuttingPartValidation>(), {2198, 2200, 2202, 2206, 2210}},
    {std::make_shared<zvNonCuttingPartValidation>(), {2199, 2201, 2203, 2207, 2211}},
    {std::make_shared<zvArborValidation>(), {2136, 2137, 2204, 2208, 2212}},
    {std::make_shared<zvHolderValidation>(), {2134, 2135, 2205, 2209, 2213}},
    {std::make_shared<zvToolPartProfileValidation>(), {2145, 2146, 2160, 2161, 2162}}};

// The id of `part` for what a line says of a profile.
std::uint32_t IdFor(const Part& part, const std::string& word) {
  const std::array<std::string, 5> words{"radius", "height", "start", "negative", "last"};
  for (std::size_t i = 0; i < words.size(); ++i)
    if (words[i] == word) return part.ids[i];
  EXPECT_EQ(word, "ok");
  return 0;
}

// The id of the zvcadcamException of a profile, 0 for none.
std::uint32_t Failure(const Part& part, const zv2dContour<double>& profile) {
  const std::string failure = tests::FailureOf([&] { part.validation->Validate(profile); });
  return failure == "nothing" ? 0 : static_cast<std::uint32_t>(std::stoul(failure));
}

TEST(ProfileValidation, EachClassReportsWithItsOwnIds) {
  std::ifstream file(KANDREL_SOURCE_DIR "/tests/cadcam/data/part_profiles.txt");
  std::size_t cases = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    ++cases;
    const std::size_t arrow = line.find(" => ");
    const auto words = tests::SplitAt(line.substr(arrow + 4), ' ');
    const auto points = tests::PointsOf(line.substr(0, arrow));
    // The same points as lines and as one polyline, which is one element: its end isn't looked at.
    const zv2dContour<double> lines = LinesThrough(points);
    for (const Part& part : kParts) {
      const bool isCutting = &part == &kParts[0];
      const std::string& word = isCutting ? words.back() : words.front();
      EXPECT_EQ(Failure(part, lines), IdFor(part, word)) << line;
      const zv2dContour<double> polyLine({zv2dPolyLine<double>{points}});
      const std::string& alone = words.front() == "last" ? "ok" : words.front();
      EXPECT_EQ(Failure(part, polyLine), IdFor(part, alone)) << line;
    }
  }
  EXPECT_GT(cases, 30u);
}

TEST(ProfileValidation, SeesTheEndsOfCurvesAndNothingWithin) {
  const zvHolderValidation holder;
  const zvCuttingPartValidation cutting;
  EXPECT_EQ(IdOf([&] { holder.Validate({}); }), 0u);
  // A ball of radius 5 on the axis, its flank above; the holder sees its first point at radius 0.
  const zv2dContour<double> ball(
      {zv2dArc<double>({0, 5}, 5, 270, 90), zv2dLine<double>{{5, 5}, {5, 9}}});
  EXPECT_EQ(IdOf([&] { cutting.Validate(ball); }), 0u);
  EXPECT_EQ(IdOf([&] { holder.Validate(ball); }), 2134u);
  // This arc dips below the axis between ends that are good.
  const zv2dContour<double> dip(
      {zv2dArc<double>({1, 2}, 2, 270, -270), zv2dLine<double>{{3, 2}, {3, 4}}});
  EXPECT_LT(Extents(dip).minimum.x, -0.9);
  EXPECT_EQ(IdOf([&] { holder.Validate(dip); }), 0u);
  // A gap between elements: the second line would rise by 4, but all that counts is where it ends.
  const zv2dContour<double> gap(
      {zv2dLine<double>{{5, 0}, {5, 9}}, zv2dLine<double>{{5, 4}, {5, 8}}});
  EXPECT_EQ(IdOf([&] { holder.Validate(gap); }), 2135u);
  EXPECT_EQ(ProfilePoints(gap), tests::PointsOf("5,0;5,9;5,8"));
  // Contours within contours are dissolved.
  const zv2dContour<double> nested({LinesThrough(tests::PointsOf("5,0;5,3;9,3"))});
  EXPECT_EQ(IdOf([&] { holder.Validate(nested); }), 2213u);
}

// Where no corner shows it.
TEST(ProfileValidation, SeesEveryNumberThatIsNone) {
  using Point = geoDef::zv2dPoint<double>;
  const zv2dLine<double> good{{5, 0}, {5, 9}};
  for (const Part& part : kParts)
    for (const bool isRadius : {true, false}) {
      const Point bad = isRadius ? Point{tests::kNaN, 9} : Point{5, tests::kNaN};
      const zv2dContour<double> cases[] = {
          zv2dContour<double>({good, zv2dLine<double>{bad, {5, 12}}}),
          zv2dContour<double>({good, zv2dPolyLine<double>{{bad, {5, 12}}}}),
          zv2dContour<double>({good, zv2dContour<double>({zv2dPolyLine<double>{{bad, {5, 12}}}})}),
          zv2dContour<double>({good, geoDef::zv2dParabola<double>{bad, {5, 12}}}),
          zv2dContour<double>({geoDef::zv2dEllipse<double>{bad, {5, 0}, {4, 1}}}),
          zv2dContour<double>({geoDef::zv2dEllipse<double>{{4, 0}, {5, 0}, bad}})};
      for (const auto& profile : cases)
        EXPECT_EQ(Failure(part, profile), part.ids[isRadius ? 0 : 1]) << &profile - cases;
    }
}

// The slots for segments, by themselves.
TEST(ProfileValidation, CylindersAndConesDifferInTheirSmallestRadius) {
  const zvArborValidation arbor;
  EXPECT_EQ(IdOf([&] { arbor.ValidateCylinderSegment(1e-6, 1); }), 2136u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateCylinderSegment(1.1e-6, 1e-6); }), 0u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateCylinderSegment(1, 0.9e-6); }), 2137u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateCylinderSegment(0, 0); }), 2136u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateConeSegment(1e-6, 1e-6, 1e-6); }), 0u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateConeSegment(1, 0.9e-6, 0); }), 2136u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateConeSegment(0.9e-6, 1, 0); }), 2136u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateConeSegment(1, 2, tests::kNaN); }), 2137u);
  EXPECT_EQ(IdOf([&] { arbor.ValidateSegments(LinesThrough(tests::PointsOf("5,7;5,9;-1,9"))); }),
            0u);
}

}  // namespace
}  // namespace cadcam
