#include <kandrel/cadcam/tools/hole_tools.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/persistence/detail/tool_records.h>

#include <array>

namespace persistence {

namespace {

using P = cadcam::zvToolParameter;

constexpr std::array kCorner = {P::cornerRadius};
constexpr std::array kTaper = {P::cornerRadius, P::taperAngle, P::cornerRadiusType};
constexpr std::array kChamfer = {P::cornerRadius, P::cornerRadiusType, P::taperAngle,
                                 P::outsideDiameter};
constexpr std::array kSink = {P::cornerRadius, P::cornerRadiusType, P::tipAngle};
constexpr std::array kCenter = {P::tipAngle, P::shoulderAngle};
constexpr std::array kTip = {P::tipAngle};
constexpr std::array kFace = {P::cornerRadius, P::outsideDiameter, P::taperAngle,
                              P::cornerRadiusType};
constexpr std::array kNeck = {P::neckDiameter};
constexpr std::array kRadius = {P::radius};
constexpr std::array kSlot = {P::cornerRadius, P::cornerRadiusType};
constexpr std::array kTap = {P::cornerRadius, P::cornerRadiusType, P::tipAngle, P::threadParameter};
constexpr std::array kBarrel = {P::upperDiameter, P::cornerRadius, P::profileRadius};
constexpr std::array kConvex = {P::cornerRadius, P::tipRadius};

}  // namespace

std::span<const zvStoredToolType> StoredToolTypes() {
  using namespace cadcam;
  static const auto kTypes = std::to_array<zvStoredToolType>({
      {0, &zvBoreBar::kType, kTaper},
      {1, &zvBullMill::kType, kCorner},
      {2, &zvChamferMill::kType, kChamfer},
      {3, &zvCntrBore::kType, {}},
      {4, &zvCSink::kType, kSink},
      {5, &zvCtrDrill::kType, kCenter},
      {6, &zvDoveMill::kType, kTaper},
      {7, &zvDrill::kType, kTip},
      {8, &zvEndMill::kType, {}},
      {9, &zvFaceMill::kType, kFace},
      {10, &zvLolMill::kType, kNeck},
      {11, &zvRadMill::kType, kRadius},
      {12, &zvReamer::kType, {}},
      {13, &zvSlotMill::kType, kSlot},
      {14, &zvSpherMill::kType, {}},
      {15, &zvSpotDrill::kType, kTip},
      {16, &zvTaperMill::kType, kTaper},
      {17, &zvTapLH::kType, kTap},
      {18, &zvTapRH::kType, kTap},
      {20, &zvBarrelMill::kType, kBarrel},
      {21, &zvConvexTipMill::kType, kConvex},
  });
  return kTypes;
}

}  // namespace persistence
