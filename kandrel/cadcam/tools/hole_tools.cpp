#include <kandrel/cadcam/tools/detail/tool_rules.h>
#include <kandrel/cadcam/tools/hole_tools.h>

namespace cadcam {

namespace {

using detail::RequireRange;
using detail::TypeOf;
using Arbor = zvArborDefinition<double>;
using Numbers = zvToolNumbers;

constexpr Numbers kTap{.diameter = 1, .fluteLength = 1, .shoulderLength = 1.5, .tipAngle = 1};
constexpr geoDef::zv2dPoint<double> kReamerArbor[] = {{0.4, 0}, {0.4, 1}};

void CheckDrill(Numbers& n, const Arbor&) {
  RequireRange(n, zvToolParameter::tipAngle);
  detail::RequireTipInShoulder(n);
}

void CheckCtrDrill(Numbers& n, const Arbor& arbor) {
  CheckDrill(n, arbor);
  RequireRange(n, zvToolParameter::shoulderAngle);
}

void CheckCSink(Numbers& n, const Arbor&) {
  detail::NormalizeCorner(n);
  RequireRange(n, zvToolParameter::tipAngle);
  detail::RequireCornerInDiameter(n);
  detail::RequireTipInShoulder(n);
}

void CheckTap(Numbers& n, const Arbor& arbor) {
  detail::NormalizeCorner(n);
  CheckDrill(n, arbor);
}

void CheckBoreBar(Numbers& n, const Arbor&) {
  detail::NormalizeCorner(n);
  RequireRange(n, zvToolParameter::taperAngle);
}

}  // namespace

constinit const zvToolType zvDrill::kType = TypeOf<zvDrill>(
    {.name = "zvDrill",
     .failure = 2115,
     .defaults = {.diameter = 8, .fluteLength = 50, .shoulderLength = 80, .tipAngle = 118},
     .holder = detail::kHolder,
     .arbor = detail::kArborOf8,
     .check = &CheckDrill});

constinit const zvToolType zvCtrDrill::kType =
    TypeOf<zvCtrDrill>({.name = "zvCtrDrill",
                        .failure = 2111,
                        .defaults = {.diameter = 1,
                                     .fluteLength = 1,
                                     .shoulderLength = 1.5,
                                     .tipAngle = 1,
                                     .shoulderAngle = 1},
                        .holder = detail::kNoHolder,
                        .arbor = detail::kShortArbor,
                        .check = &CheckCtrDrill});

constinit const zvToolType zvSpotDrill::kType = TypeOf<zvSpotDrill>(
    {.name = "zvSpotDrill",
     .failure = 2118,
     .defaults = {.diameter = 1, .fluteLength = 1, .shoulderLength = 1.5, .tipAngle = 1},
     .holder = detail::kNoHolder,
     .arbor = detail::kShortArbor,
     .check = &CheckDrill});

constinit const zvToolType zvCSink::kType = TypeOf<zvCSink>(
    {.name = "zvCSink",
     .failure = 2132,
     .defaults = {.diameter = 1, .fluteLength = 1, .shoulderLength = 1.5, .tipAngle = 1},
     .holder = detail::kNoHolder,
     .arbor = detail::kShortArbor,
     .check = &CheckCSink});

constinit const zvToolType zvCntrBore::kType =
    TypeOf<zvCntrBore>({.name = "zvCntrBore",
                        .defaults = {.diameter = 1, .fluteLength = 1, .shoulderLength = 1.5},
                        .holder = detail::kNoHolder,
                        .arbor = detail::kShortArbor});

constinit const zvToolType zvReamer::kType =
    TypeOf<zvReamer>({.name = "zvReamer",
                      .defaults = {.diameter = 0.2, .fluteLength = 1, .shoulderLength = 1.6},
                      .holder = detail::kNoHolder,
                      .arbor = kReamerArbor});

constinit const zvToolType zvBoreBar::kType = TypeOf<zvBoreBar>(
    {.name = "zvBoreBar",
     .failure = 2131,
     .defaults = {.diameter = 1, .fluteLength = 1, .shoulderLength = 1.5, .taperAngle = 0.1},
     .holder = detail::kNoHolder,
     .arbor = detail::kShortArbor,
     .check = &CheckBoreBar});

constinit const zvToolType zvTapRH::kType = TypeOf<zvTapRH>({.name = "zvTapRH",
                                                             .failure = 2120,
                                                             .defaults = kTap,
                                                             .holder = detail::kNoHolder,
                                                             .arbor = detail::kShortArbor,
                                                             .check = &CheckTap});

constinit const zvToolType zvTapLH::kType = TypeOf<zvTapLH>({.name = "zvTapLH",
                                                             .failure = 2119,
                                                             .defaults = kTap,
                                                             .holder = detail::kNoHolder,
                                                             .arbor = detail::kShortArbor,
                                                             .check = &CheckTap});

}  // namespace cadcam
