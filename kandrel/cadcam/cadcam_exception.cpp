#include <kandrel/cadcam/cadcam_exception.h>

namespace cadcam {

namespace {

// The checks of a tool's shoulder and neck, 2185 to 2188, have no text of their own on purpose.
constexpr misc::zvMessageRow kRows[] = {
    {zvcadcamException::kUnknownVersion,
     L"ZVGL binary log file version doesn't match logger version. Cannot process this file"},
    {zvcadcamException::kFluteLength, L"Invalid flute length"},
    {zvcadcamException::kDiameter, L"Invalid tool diameter"},
    {zvcadcamException::kNoRevolvedTool, L"Couldn't construct a zvRevolvedTool object"},
    {zvcadcamException::kShoulderLength, L"Invalid shoulder length"},
    {2108, L"Unknown tool type"},
    {zvcadcamException::kCornerRadiusType, L"Unknown corner radius type"},
    {2111, L"Couldn't construct a zvCtrDrill object."},
    {zvcadcamException::kTipAndShoulder, L"Tip and shoulder does not intersect each other."},
    {zvcadcamException::kTipAngle, L"Tip angle must be >=1 and <=180."},
    {zvcadcamException::kShoulderAngle, L"Shoulder angle must be >=1 and <=180."},
    {2115, L"Couldn't construct a zvDrill object."},
    {2116, L"Couldn't construct a zvBullMill object."},
    {zvcadcamException::kDiameterBelowCorner,
     L"Diameter must be at least twice of the corner radius length."},
    {2118, L"Couldn't construct a zvSpotDrill object."},
    {2119, L"Couldn't construct a zvTapLH object."},
    {2120, L"Couldn't construct a zvTapRH object."},
    {2121, L"Couldn't construct a zvChamferMill object."},
    {zvcadcamException::kTaperAngle, L"Taper angle must be >=0.1 and <=89."},
    {zvcadcamException::kTaperAndShoulder, L"Taper and shoulder does not intersect each other."},
    {2124, L"Couldn't construct a zvSlotMill object."},
    {zvcadcamException::kFluteBelowCorner,
     L"Flute length must be at least twice of the corner radius length."},
    {2126, L"Couldn't construct a zvTaperMill object."},
    {2127, L"Couldn't construct a zvDoveMill object."},
    {2131, L"Couldn't construct a zvBoreBar object."},
    {2132, L"Couldn't construct a zvCSink object."},
    {2133, L"Couldn't construct a zvFaceMill object."},
    {2134, L"Invalid radius in holder profile"},
    {2135, L"Invalid height in holder profile"},
    {2136, L"Invalid radius in arbor profile"},
    {2137, L"Invalid height in arbor profile"},
    {zvcadcamException::kNoArbor, L"Arbor not defined"},
    {2139, L"Default units should be defined"},
    {zvcadcamException::kArborAboveTool, L"Arbor first radius must be <= then tool radius"},
    {zvcadcamException::kCornerRadiusBeyond, L"Invalid corner radius"},
    {2145, L"Invalid Radius in tool part profile"},
    {2146, L"Invalid Height in tool part profile"},
    {zvcadcamException::kOutsideNotPositive, L"Outside diameter must be > 0 "},
    {zvcadcamException::kOutsideBelowDiameter, L"Outside diameter must be >= tool diameter"},
    {zvcadcamException::kCornerAboveFull, L"Corner radius must be < full corner radius"},
    {zvcadcamException::kOutsideDiameter, L"Invalid Outside Diameter"},
    {zvcadcamException::kNoTypedTool, L"Couldn't construct a zvTypedRevolvedTool object"},
    {zvcadcamException::kNoGenericTool, L"Couldn't construct a zvGenericRevolvedTool object"},
    {2160, L"The tool part profile must start at y=0"},
    {2161, L"The tool part profile must have only positive x"},
    {2162, L"The tool part profile must have different heights for its last two points"},
    {zvcadcamException::kCornerRadius, L"Invalid corner radius, it must be >= 0."},
    {zvcadcamException::kUpperDiameter, L"Invalid upper diameter"},
    {zvcadcamException::kNoCuttingHeight, L"Cutting part's height must be greater than 0"},
    {zvcadcamException::kProfileRadius, L"Invalid profile radius"},
    {2167, L"Couldn't construct a zvBarrelMill object"},
    {zvcadcamException::kExtrudedSolid, L"Couldn't handle extruded solid definition"},
    {zvcadcamException::kMeshSolid, L"Couldn't handle mesh solid definition"},
    {zvcadcamException::kNoLatheTool, L"Couldn't construct a zvLatheTool object"},
    {zvcadcamException::kOtherSolid, L"Couldn't handle solid definition"},
    {zvcadcamException::kUnknownSolid, L"Unknown solid definition."},
    {zvcadcamException::kNullVector, L"Can't normalize null vector."},
    {2195, L"The tool type is unsupported."},
    {2196, L"Convertor unable to identify an appropiate specific tool."},
    {2197, L"The Noncutting part is ill defined."},
    {2198, L"Invalid radius in cutting part profile"},
    {2199, L"Invalid radius in non cutting part profile"},
    {2200, L"Invalid height in cutting part profile"},
    {2201, L"Invalid height in non cutting part profile"},
    {2202, L"Cutting part profile must start at Y=0"},
    {2203, L"Non cutting part profile must start at Y=0"},
    {2204, L"Arbor profile must start at Y=0"},
    {2205, L"Holder profile must start at Y=0"},
    {2206, L"Cutting part profile must have only positive X values"},
    {2207, L"Non cutting part profile must have only positive X values"},
    {2208, L"Arbor profile must have only positive X values"},
    {2209, L"Holder profile must have only positive X values"},
    {2210, L"Cutting part profile must have different heights for the last two points"},
    {2211, L"Non cutting part profile must have different heights for the last two points"},
    {2212, L"Arbor profile must have different heights for the last two points"},
    {2213, L"Holder profile must have different heights for the last two points"},
    {2421, L"Couldn't construct a zvConvexTipMill object."},
    {zvcadcamException::kTipRadius,
     L"Convex tip radius should be greater or equal half tool diameter"},
    {zvcadcamException::kUnknownMove, L"Unknown move type."},
    {zvcadcamException::kUnknownSection, L"Unknown toolpath section type."},
    {zvcadcamException::kNotOfLink, L"Passed move is not part of a link."},
    {zvcadcamException::kUnknownType, L"Unknown value for enum Types"},
};
static_assert(misc::IsSortedById(kRows));

}  // namespace

zvcadcamException::zvcadcamException(std::uint32_t id, const misc::zvException* previous)
    : zvExceptionOf(id, misc::FindMessage(kRows, id, misc::kUnknownError), previous) {}

misc::zvMessageTable zvcadcamException::Table() noexcept {
  return kRows;
}

}  // namespace cadcam
