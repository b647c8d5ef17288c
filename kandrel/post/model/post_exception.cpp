#include <kandrel/post/model/post_exception.h>

namespace post {

namespace {

// 5049, 5050 and 5052 to 5054 belong to move kinds of a command interface; nothing here raises
// them, and they keep the numbering whole. 5006 and 5007 are unassigned.
constexpr misc::zvMessageRow kRows[] = {
    {zvPostException::kAbstractMember, L"Use of a member function of an abstract class."},
    {zvPostException::kOutOfReach,
     L"Due to its physical limits, the current machine does not support one or more of the tool "
     L"movements."},
    {zvPostException::kNullVector, L"Null vector passed."},
    {zvPostException::kEqualRotaryAxes, L"Equal rotation axis direction passed."},
    {zvPostException::kAxisNameCount, L"The number of axes names is invalid."},
    {zvPostException::kDuplicateAxisName, L"Duplicate axis name found."},
    {zvPostException::kAxisNameCharacters,
     L"Only alphabetic characters are allowed in axes names."},
    {zvPostException::kOutOfLimits, L"The posted tool path exceeds one of the limits."},
    {zvPostException::kPoleTolerance, L"Pole Angle Tolerance out of limits"},
    {zvPostException::kXBelowMinimum,
     L"The posted tool path exceeds one of the limits (The x axis exceeds the limit (The minimum "
     L"limit is reached))."},
    {zvPostException::kYBelowMinimum,
     L"The posted tool path exceeds one of the limits (The y axis exceeds the limit (The minimum "
     L"limit is reached))."},
    {zvPostException::kZBelowMinimum,
     L"The posted tool path exceeds one of the limits (The z axis exceeds the limit (The minimum "
     L"limit is reached))."},
    {zvPostException::kFirstRotaryBelowMinimum,
     L"The posted tool path exceeds one of the limits (The first rotary axis exceeds the limit "
     L"(The minimum limit is reached))."},
    {zvPostException::kSecondRotaryBelowMinimum,
     L"The posted tool path exceeds one of the limits (The second rotary axis exceeds the limit "
     L"(The minimum limit is reached))."},
    {zvPostException::kXAboveMaximum,
     L"The posted tool path exceeds one of the limits (The x axis exceeds the limit (The maximum "
     L"limit is reached))."},
    {zvPostException::kYAboveMaximum,
     L"The posted tool path exceeds one of the limits (The y axis exceeds the limit (The maximum "
     L"limit is reached))."},
    {zvPostException::kZAboveMaximum,
     L"The posted tool path exceeds one of the limits (The z axis exceeds the limit (The maximum "
     L"limit is reached))."},
    {zvPostException::kFirstRotaryAboveMaximum,
     L"The posted tool path exceeds one of the limits (The first rotary axis exceeds the limit "
     L"(The maximum limit is reached))."},
    {zvPostException::kSecondRotaryAboveMaximum,
     L"The posted tool path exceeds one of the limits (The second rotary axis exceeds the limit "
     L"(The maximum limit is reached))."},
    {zvPostException::kCircularLimit, L"The posted tool path exceeds the circular limit."},
    {zvPostException::kRewinding, L"Exception in rewinding algorithm."},
    {zvPostException::kHeapCompact,
     L"HeapCompact function failed while trying to allcoate memory for a vector."},
    {zvPostException::kRewindingOn3Axes,
     L"Rewindind algorithm is not possible for 3 axis machine."},
    {zvPostException::kNullSpindle, L"Spindle direction vector with length 0 passed."},
    {zvPostException::kNullRotaryAxis, L"Rotation axis direction with length 0 passed."},
    {zvPostException::kNullFirstRotaryAxis, L"First rotation axis direction with length 0 passed."},
    {zvPostException::kNullSecondRotaryAxis,
     L"Second rotation axis direction with length 0 passed."},
    {zvPostException::kNullThirdRotaryAxis, L"Third rotation axis direction with length 0 passed."},
    {zvPostException::kNotFor3Axes,
     L"Current toolpath is not for 3 axes machine. Posting process exception."},
    {zvPostException::kNotFor4Axes,
     L"Current toolpath is not for 4 axes machine. Posting process exception."},
    {zvPostException::kUnknownMachine, L"Machine type is unknown."},
    {zvPostException::kMetricPathOnInchMachine,
     L"Toolpath is in metric and machine definition is in inch."},
    {zvPostException::kInchPathOnMetricMachine,
     L"Toolpath is in inch and machine definition is in metric."},
    {zvPostException::kNullForBuilder, L"Null pointer passed to class zvMachDefBuilder."},
    {zvPostException::kShortVectorForBuilder,
     L"vector passed to class zvMachDefBuilder is to short."},
    {zvPostException::kDuplicateAxisInFile, L"A duplicate axis has been found in xml."},
    {zvPostException::kMissingTranslationInFile, L"A translation axis missing in xml."},
    {zvPostException::kTooManyTranslationsInFile, L"Too many translation axis was found in xml."},
    {zvPostException::kInvalidVector, L"Invalid vector was passed."},
    {zvPostException::kTooManyRotationsInFile, L"Too many rotation axes was found in xml."},
    {zvPostException::kOtherRotationsInFile,
     L"XML file contains axes of rotary, different from vector passed to "
     L"zvXMLInput(zvXMLInterpreter)."},
    {zvPostException::kFileOutOfStep,
     L"Synchronization betweem machine definition and xml passed to zvXMLOutputInterpreter "
     L"failed!."},
    {zvPostException::kWrongCast, L"Wrong static method called."},
    {zvPostException::kNotAlignable, L"Toolpath can not be aligned with machine definition."},
    {zvPostException::kSpindleAxisNotFirst,
     L"If machine definiton contains an axis of rotation parallel with the spindle, then it must "
     L"be defined as first rotation axis."},
    {zvPostException::kUnknownLimits, L"Unknown machine limits."},
    {zvPostException::kNullList,
     L"Null autopointer passed. (The list must be initialized before this method.)."},
    {zvPostException::kNotExtended,
     L"param zvExtendedPostedMove is NULL. This can be because post-kernel creates a list of "
     L"smaller zvPostedMove."},
    {zvPostException::kUnknownRelativeMove, L"Unknown definition for ZV_RELMOVE"},
    {zvPostException::kUnknownRapidMove, L"Unknown definition for rapid move"},
    {zvPostException::kNoFirstMoveOfRewinding,
     L"Rewind algorithm faild to create first move. This can happen because of machine "
     L"limitations. One reason may be the angle between axes of rotation which is different from "
     L"90 degrees."},
    {zvPostException::kUnknownMachineMove, L"Unknown definition for ZV_MACHMOVE"},
    {zvPostException::kUnknownRetraction, L"Unknown definition of RetractToMachineLimits move"},
    {zvPostException::kNoMoveBeforeRetraction,
     L"RetractToMachineLimits command requires at least one regular previous move to be available"},
};
static_assert(misc::IsSortedById(kRows));

constexpr const wchar_t* kUnknownException = L"Unknown exception.";

}  // namespace

zvPostException::zvPostException(std::uint32_t id, int detail)
    : zvExceptionOf(id, misc::FindMessage(kRows, id, kUnknownException), nullptr, detail) {}

zvPostException::zvPostException(std::uint32_t id, const misc::zvException& previous)
    : zvExceptionOf(id, misc::FindMessage(kRows, id, kUnknownException), &previous) {}

misc::zvMessageTable zvPostException::Table() noexcept {
  return kRows;
}

}  // namespace post

namespace {

// The text of 2503 lacks the full stop that it has in the table above: both are kept so.
constexpr misc::zvMessageRow kKandrelRows[] = {
    {zvKandrelException::kNoMarker, L"ZVGL binary marker not found. Cannot process this file"},
    {zvKandrelException::kUnknownVersion,
     L"ZVGL binary log file version doesn't match logger version. Cannot process this file"},
    {zvKandrelException::kAbstractMember, L"Use of a member function of an abstract class"},
    {zvKandrelException::kUnknownMove, L"Unknown move type."},
    {zvKandrelException::kWrongXml, L"Wrong xml file passed to function zvMachDefReader::Read()."},
};
static_assert(misc::IsSortedById(kKandrelRows));

}  // namespace

zvKandrelException::zvKandrelException(std::uint32_t id, int detail)
    : zvExceptionOf(id, misc::FindMessage(kKandrelRows, id, misc::kUnknownError), nullptr, detail) {
}

zvKandrelException::zvKandrelException(std::uint32_t id, const misc::zvException& previous)
    : zvExceptionOf(id, misc::FindMessage(kKandrelRows, id, misc::kUnknownError), &previous) {}

misc::zvMessageTable zvKandrelException::Table() noexcept {
  return kKandrelRows;
}
