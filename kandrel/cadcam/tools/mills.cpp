#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/detail/tool_rules.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace cadcam {

namespace {

using detail::RequireRange;
using detail::TanDeg;
using detail::TypeOf;
using misc::kEqual;
using misc::kToolParameterEqual;
using misc::SineAndCosineOfDegrees;
using Arbor = zvArborDefinition<double>;
using Error = zvcadcamException;
using Numbers = zvToolNumbers;
using Shoulder = zvToolShoulder;

void Require(bool condition, Error::Id id) {
  if (!condition) throw zvcadcamException(id);
}

template <class Visitor>
void VisitSolid(const Arbor& arbor, Visitor& visitor) {
  Require(!arbor.GetSolidDefinition().IsNull(), Error::kNoArbor);
  const zvSolidDefinition<double>& solid = *arbor.GetSolidDefinition();
  solid.AcceptVisitor(visitor);
}

double NeckOf(const Arbor& arbor) {
  zvLolMill::ArborFirstDiameterGetter getter;
  VisitSolid(arbor, getter);
  Require(getter.GetDiameter().has_value(), Error::kNoArbor);
  return *getter.GetDiameter();
}

void CheckBullMill(Numbers& n, const Arbor&) {
  RequireRange(n, zvToolParameter::cornerRadius);
  detail::RequireCornerInDiameter(n);
}

void CheckFaceMill(Numbers& n, const Arbor&) {
  // A face mill alone may be as good as flat.
  constexpr double kFlattest = 90.000001;
  detail::NormalizeCorner(n);
  RequireRange(n, zvToolParameter::taperAngle, kFlattest);
  const auto a = SineAndCosineOfDegrees(90 - n.taperAngle);
  const double r = n.cornerRadius;
  Require((1 - a.cosine) * r <= n.shoulderLength + kToolParameterEqual &&
              a.sine * r + n.diameter / 2 <= n.outsideDiameter / 2 + kToolParameterEqual,
          Error::kTaperAndShoulder);
}

// The height at which the cone of a chamfer mill reaches the outside diameter.
double ConeHeight(const Numbers& n) {
  return (n.outsideDiameter - n.diameter) / 2 / TanDeg(n.taperAngle);
}

void CheckChamferMill(Numbers& n, const Arbor&) {
  RequireRange(n, zvToolParameter::cornerRadius);
  const double a = 90 - n.taperAngle;
  const double fullRadius = n.diameter / 2 / TanDeg(a / 2);
  if (n.cornerRadiusType == cornerRadiusType::given)
    Require(std::fabs(n.cornerRadius) > kToolParameterEqual, Error::kCornerRadius);
  detail::NormalizeCorner(n, fullRadius, 0);
  RequireRange(n, zvToolParameter::taperAngle);
  RequireRange(n, zvToolParameter::outsideDiameter);
  const double r = n.cornerRadius;
  const double x = n.diameter / 2 - TanDeg(a / 2) * r;
  Require(n.outsideDiameter / 2 - (SineAndCosineOfDegrees(a).sine * r + x) >= -kToolParameterEqual,
          Error::kOutsideDiameter);
  Require(ConeHeight(n) <= n.shoulderLength + kToolParameterEqual, Error::kTaperAndShoulder);
  Require(n.outsideDiameter >= n.diameter - kToolParameterEqual, Error::kOutsideBelowDiameter);
  Require(r <= fullRadius + kToolParameterEqual, Error::kCornerAboveFull);
}

Shoulder ChamferShoulder(const Numbers& n) {
  const double height = ConeHeight(n);
  // The checks let the cone end a little above the tool, where no shoulder may begin.
  return {n.outsideDiameter,
          height + kEqual >= n.fluteLength ? std::min(height, n.shoulderLength) : n.fluteLength};
}

void CheckSlotMill(Numbers& n, const Arbor& arbor) {
  RequireRange(n, zvToolParameter::cornerRadius);
  detail::NormalizeCorner(n, n.fluteLength / 2, kToolParameterEqual);
  detail::RequireCornerInFlute(n);
  zvSlotMill::ArborSolidValidator validator(n.diameter / 2);
  VisitSolid(arbor, validator);
}

void CheckTaperMill(Numbers& n, const Arbor&) {
  RequireRange(n, zvToolParameter::cornerRadius);
  detail::NormalizeCorner(n, n.diameter / 2, std::numeric_limits<double>::denorm_min());
  detail::RequireCornerInDiameter(n);
  RequireRange(n, zvToolParameter::taperAngle);
}

Shoulder TaperShoulder(const Numbers& n) {
  const auto a = SineAndCosineOfDegrees(n.taperAngle);
  const double tan = TanDeg(n.taperAngle);
  const double r = n.cornerRadius;
  const bool hasCorner = std::fabs(r) > kEqual;
  const double x = hasCorner ? a.cosine * r + n.diameter / 2 - r : n.diameter / 2 - r;
  const double z = hasCorner ? r - a.sine * r : 0;
  return {2 * (x + tan * (n.fluteLength - z) + tan * (n.shoulderLength - n.fluteLength)),
          n.shoulderLength};
}

// Of a dovetail mill, the diameter at the end of the flutes.
double DoveUpperDiameter(const Numbers& n) {
  const auto a = SineAndCosineOfDegrees(n.taperAngle);
  const double r = n.cornerRadius;
  const double x = n.diameter / 2 + (a.cosine - 1) * r;
  const double z = n.fluteLength - (a.sine + 1) * r;
  return 2 * (x - TanDeg(n.taperAngle) * z);
}

void CheckDoveMill(Numbers& n, const Arbor&) {
  detail::NormalizeCorner(n);
  const auto a = SineAndCosineOfDegrees(n.taperAngle);
  const double r = n.cornerRadius;
  Require(r >= -kEqual, Error::kCornerRadius);
  const double x = a.cosine * r + n.diameter / 2 - r;
  const double z = a.sine * r + r;
  Require(TanDeg(n.taperAngle) * (n.fluteLength - z) - kEqual <= x &&
              r <= n.diameter / 2 + kEqual && z <= n.fluteLength + kEqual,
          Error::kCornerRadiusBeyond);
  RequireRange(n, zvToolParameter::taperAngle);
  Require(DoveUpperDiameter(n) > kEqual, Error::kUpperDiameter);
}

Shoulder DoveShoulder(const Numbers& n) {
  return {std::fabs(DoveUpperDiameter(n)), n.fluteLength};
}

void CheckLolMill(Numbers& n, const Arbor&) {
  RequireRange(n, zvToolParameter::neckDiameter);
  Require(n.neckDiameter <= n.diameter + kToolParameterEqual, Error::kNeckAboveTool);
}

Shoulder LolShoulder(const Numbers& n) {
  return {n.neckDiameter, n.fluteLength};
}

void RequireBarrel(bool condition, const wchar_t* text) {
  constexpr std::uint32_t kCarrier = 2020;
  if (!condition) throw misc::zvException(kCarrier, text);
}

void CheckBarrelMill(Numbers& n, const Arbor&) {
  constexpr double kSlack = kToolParameterEqual;
  const double r = n.cornerRadius, bigR = n.profileRadius;
  RequireBarrel(n.upperDiameter >= kSlack, L"Upper Diameter should be positive value");
  RequireBarrel(n.fluteLength >= kSlack, L"Flute Length should be positive value");
  RequireBarrel(n.fluteLength - n.shoulderLength <= kSlack,
                L"Shoulder Length should be greater than flute length");
  RequireBarrel(n.upperDiameter - n.diameter <= kSlack,
                L"Maximum diameter value must be maximum diameter value");
  const detail::BarrelFlank flank = detail::BarrelFlankOf(n);
  const double z = flank.centre.y;
  RequireBarrel(flank.riseSquared >= kSlack && z >= kSlack && bigR - z >= kSlack,
                L"Profile radius , maximum diameter and upper diameter values do not form a valid "
                L"barrel mill");
  RequireBarrel(bigR >= r, L"Corner radius should be smaller than Profile Radius");
  const double inner = std::sqrt((bigR - r) * (bigR - r) - (z - r) * (z - r));
  RequireBarrel(r <= z && z - r <= bigR - r && bigR - inner <= n.diameter / 2,
                L"Corner radius fillet is not fitting inside barrel");
  RequireRange(n, zvToolParameter::upperDiameter);
  RequireRange(n, zvToolParameter::cornerRadius);
  RequireRange(n, zvToolParameter::profileRadius);
}

Shoulder BarrelShoulder(const Numbers& n) {
  return {n.upperDiameter, n.fluteLength};
}

void CheckConvexTipMill(Numbers& n, const Arbor&) {
  RequireRange(n, zvToolParameter::cornerRadius);
  Require(n.tipRadius >= n.diameter / 2 - kToolParameterEqual, Error::kTipRadius);
}

constexpr detail::Point kChamferHolder[] = {{12, 0}, {23, 0}, {25, 2}, {25, 30}};
constexpr detail::Point kChamferArbor[] = {{10, 0}, {10, 35}, {12, 45}};
constexpr detail::Point kSlotArbor[] = {{8, 0}, {8, 35}, {8, 45}};
constexpr detail::Point kTaperArbor[] = {{7.2162, 0}, {7.2172, 35}, {8, 45}};
constexpr detail::Point kLolArbor[] = {{3, 0}, {3, 35}, {8, 45}};

}  // namespace

constinit const zvToolType zvEndMill::kType =
    TypeOf<zvEndMill>({.name = "zvEndMill",
                       .defaults = {.diameter = 10, .fluteLength = 20, .shoulderLength = 40},
                       .holder = detail::kHolder,
                       .arbor = detail::kArborOf10});

constinit const zvToolType zvSpherMill::kType =
    TypeOf<zvSpherMill>({.name = "zvSpherMill",
                         .defaults = {.diameter = 10, .fluteLength = 25, .shoulderLength = 40},
                         .holder = detail::kHolder,
                         .arbor = detail::kArborOf10});

constinit const zvToolType zvBullMill::kType = TypeOf<zvBullMill>(
    {.name = "zvBullMill",
     .failure = 2116,
     .defaults = {.diameter = 10, .fluteLength = 25, .shoulderLength = 40, .cornerRadius = 2},
     .holder = detail::kHolder,
     .arbor = detail::kArborOf10,
     .check = &CheckBullMill});

constinit const zvToolType zvFaceMill::kType = TypeOf<zvFaceMill>(
    {.name = "zvFaceMill",
     .failure = 2133,
     .defaults = {.diameter = 1, .fluteLength = 1, .shoulderLength = 1.5, .taperAngle = 0.1},
     .holder = detail::kNoHolder,
     .arbor = detail::kShortArbor,
     .check = &CheckFaceMill});

constinit const zvToolType zvRadMill::kType =
    TypeOf<zvRadMill>({.name = "zvRadMill",
                       .defaults = {.diameter = 1, .fluteLength = 1, .shoulderLength = 1.5},
                       .holder = detail::kNoHolder,
                       .arbor = detail::kShortArbor});

constinit const zvToolType zvChamferMill::kType =
    TypeOf<zvChamferMill>({.name = "zvChamferMill",
                           .failure = 2121,
                           .defaults = {.diameter = 2,
                                        .fluteLength = 20,
                                        .shoulderLength = 25,
                                        .outsideDiameter = 20,
                                        .taperAngle = 45},
                           .holder = kChamferHolder,
                           .arbor = kChamferArbor,
                           .check = &CheckChamferMill,
                           .shoulder = &ChamferShoulder});

constinit const zvToolType zvSlotMill::kType =
    TypeOf<zvSlotMill>({.name = "zvSlotMill",
                        .hasOneLength = true,
                        .failure = 2124,
                        .defaults = {.diameter = 50, .fluteLength = 4, .shoulderLength = 4},
                        .holder = detail::kHolder,
                        .arbor = kSlotArbor,
                        .check = &CheckSlotMill});

constinit const zvToolType zvTaperMill::kType = TypeOf<zvTaperMill>(
    {.name = "zvTaperMill",
     .failure = 2126,
     .defaults = {.diameter = 6, .fluteLength = 28, .shoulderLength = 30, .taperAngle = 8},
     .holder = detail::kHolder,
     .arbor = kTaperArbor,
     .check = &CheckTaperMill,
     .shoulder = &TaperShoulder});

constinit const zvToolType zvDoveMill::kType = TypeOf<zvDoveMill>(
    {.name = "zvDoveMill",
     .failure = 2127,
     .defaults = {.diameter = 20, .fluteLength = 6, .shoulderLength = 40, .taperAngle = 45},
     .holder = detail::kHolder,
     .arbor = detail::kArborOf8,
     .check = &CheckDoveMill,
     .shoulder = &DoveShoulder});

constinit const zvToolType zvLolMill::kType = TypeOf<zvLolMill>(
    {.name = "zvLolMill",
     .defaults = {.diameter = 10, .fluteLength = 6, .shoulderLength = 40, .neckDiameter = 6},
     .holder = detail::kHolder,
     .arbor = kLolArbor,
     .check = &CheckLolMill,
     .shoulder = &LolShoulder});

constinit const zvToolType zvBarrelMill::kType =
    TypeOf<zvBarrelMill>({.name = "zvBarrelMill",
                          .failure = 2167,
                          .defaults = {.diameter = 20,
                                       .fluteLength = 18,
                                       .shoulderLength = 30,
                                       .cornerRadius = 0.1,
                                       .profileRadius = 12,
                                       .upperDiameter = 10},
                          .holder = detail::kHolder,
                          .arbor = detail::kArborOf10,
                          .check = &CheckBarrelMill,
                          .shoulder = &BarrelShoulder});

constinit const zvToolType zvConvexTipMill::kType =
    TypeOf<zvConvexTipMill>({.name = "zvConvexTipMill",
                             .failure = 2421,
                             .defaults = {.diameter = 10,
                                          .fluteLength = 20,
                                          .shoulderLength = 40,
                                          .cornerRadius = 1,
                                          .tipRadius = 10},
                             .holder = detail::kHolder,
                             .arbor = detail::kArborOf10,
                             .check = &CheckConvexTipMill});

void zvSlotMill::ArborSolidValidator::Visit(const zvRevolvedSolidDefinition<double>& solid) {
  const auto first = solid.GetFirstPoint();
  Require(first.has_value(), Error::kNoArbor);
  Require(first->x <= m_toolRadius, Error::kArborAboveTool);
}

zvSlotMill::zvSlotMill(double diameter, const Holder& holder, double length, const Arbor& arbor,
                       double cornerRadius, cadcam::cornerRadiusType type, Units units)
    : zvTypedTool(ValuesOf(diameter, holder, length, length, arbor, cornerRadius, type, units)) {}

zvSlotMill::zvSlotMill(double diameter, const Holder& holder, double length, const Arbor& arbor,
                       double cornerRadius, cadcam::cornerRadiusType type,
                       const zvShoulderDefinitionExtender& shoulder, Units units)
    : zvTypedTool(WithShoulder(
          ValuesOf(diameter, holder, length, length, arbor, cornerRadius, type, units), shoulder)) {
}

double zvDoveMill::GetUpperDiameter() const {
  return DoveUpperDiameter(GetNumbers());
}

void zvLolMill::ArborFirstDiameterGetter::Visit(const zvRevolvedSolidDefinition<double>& solid) {
  if (const auto first = solid.GetFirstPoint()) m_diameter = 2 * first->x;
}

zvLolMill::zvLolMill(double diameter, const Holder& holder, double shoulderLength,
                     double fluteLength, const Arbor& arbor, Units units)
    // The checks that all types share come before the arbor is looked at, whose diameter then is in
    // the tool's units: an end mill has these checks alone.
    : zvLolMill(
          diameter, holder, shoulderLength, fluteLength, arbor,
          NeckOf(zvEndMill(diameter, holder, shoulderLength, fluteLength, arbor, units).GetArbor()),
          units) {}

zvBarrelMill::zvBarrelMill(double upperDiameter, double diameter, const Holder& holder,
                           double shoulderLength, double fluteLength, const Arbor& arbor,
                           double cornerRadius, double profileRadius, Units units)
    : zvTypedTool(ValuesOf(diameter, holder, shoulderLength, fluteLength, arbor, upperDiameter,
                           cornerRadius, profileRadius, units)) {}

zvBarrelMill::zvBarrelMill(double upperDiameter, double diameter, const Holder& holder,
                           double shoulderLength, double fluteLength, const Arbor& arbor,
                           double cornerRadius, double profileRadius,
                           const zvShoulderDefinitionExtender& shoulder, Units units)
    : zvTypedTool(WithShoulder(ValuesOf(diameter, holder, shoulderLength, fluteLength, arbor,
                                        upperDiameter, cornerRadius, profileRadius, units),
                               shoulder)) {}

}  // namespace cadcam
