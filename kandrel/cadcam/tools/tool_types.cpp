#include <kandrel/cadcam/tools/hole_tools.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/cadcam/tools/tool_types.h>

namespace cadcam {

namespace {

constexpr const zvToolType* kTypes[] = {
    &zvBarrelMill::kType,  &zvBoreBar::kType,   &zvBullMill::kType,      &zvCSink::kType,
    &zvChamferMill::kType, &zvCntrBore::kType,  &zvConvexTipMill::kType, &zvCtrDrill::kType,
    &zvDoveMill::kType,    &zvDrill::kType,     &zvEndMill::kType,       &zvFaceMill::kType,
    &zvLolMill::kType,     &zvRadMill::kType,   &zvReamer::kType,        &zvSlotMill::kType,
    &zvSpherMill::kType,   &zvSpotDrill::kType, &zvTapLH::kType,         &zvTapRH::kType,
    &zvTaperMill::kType};

}  // namespace

std::span<const zvToolType* const> ToolTypes() noexcept {
  return kTypes;
}

const zvToolType* FindToolType(std::string_view name) noexcept {
  for (const zvToolType* type : kTypes)
    if (type->name == name) return type;
  return nullptr;
}

}  // namespace cadcam
