#include <gtest/gtest.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/exception_family.h>

namespace {

using post::zvPostException;
using tests::Row;

// The texts are the interface, misspellings included.
// clang-format off
constexpr Row kPost[] = {
    {2503, L"Use of a member function of an abstract class."},
    {5000, L"Due to its physical limits, the current machine does not support one or more of the tool movements."},
    {5001, L"Null vector passed."},
    {5002, L"Equal rotation axis direction passed."},
    {5003, L"The number of axes names is invalid."},
    {5004, L"Duplicate axis name found."},
    {5005, L"Only alphabetic characters are allowed in axes names."},
    {5008, L"The posted tool path exceeds one of the limits."},
    {5009, L"Pole Angle Tolerance out of limits"},
    {5010, L"The posted tool path exceeds one of the limits (The x axis exceeds the limit (The minimum limit is reached))."},
    {5011, L"The posted tool path exceeds one of the limits (The y axis exceeds the limit (The minimum limit is reached))."},
    {5012, L"The posted tool path exceeds one of the limits (The z axis exceeds the limit (The minimum limit is reached))."},
    {5013, L"The posted tool path exceeds one of the limits (The first rotary axis exceeds the limit (The minimum limit is reached))."},
    {5014, L"The posted tool path exceeds one of the limits (The second rotary axis exceeds the limit (The minimum limit is reached))."},
    {5015, L"The posted tool path exceeds one of the limits (The x axis exceeds the limit (The maximum limit is reached))."},
    {5016, L"The posted tool path exceeds one of the limits (The y axis exceeds the limit (The maximum limit is reached))."},
    {5017, L"The posted tool path exceeds one of the limits (The z axis exceeds the limit (The maximum limit is reached))."},
    {5018, L"The posted tool path exceeds one of the limits (The first rotary axis exceeds the limit (The maximum limit is reached))."},
    {5019, L"The posted tool path exceeds one of the limits (The second rotary axis exceeds the limit (The maximum limit is reached))."},
    {5020, L"The posted tool path exceeds the circular limit."},
    {5021, L"Exception in rewinding algorithm."},
    {5022, L"HeapCompact function failed while trying to allcoate memory for a vector."},
    {5023, L"Rewindind algorithm is not possible for 3 axis machine."},
    {5024, L"Spindle direction vector with length 0 passed."},
    {5025, L"Rotation axis direction with length 0 passed."},
    {5026, L"First rotation axis direction with length 0 passed."},
    {5027, L"Second rotation axis direction with length 0 passed."},
    {5028, L"Third rotation axis direction with length 0 passed."},
    {5029, L"Current toolpath is not for 3 axes machine. Posting process exception."},
    {5030, L"Current toolpath is not for 4 axes machine. Posting process exception."},
    {5031, L"Machine type is unknown."},
    {5032, L"Toolpath is in metric and machine definition is in inch."},
    {5033, L"Toolpath is in inch and machine definition is in metric."},
    {5034, L"Null pointer passed to class zvMachDefBuilder."},
    {5035, L"vector passed to class zvMachDefBuilder is to short."},
    {5036, L"A duplicate axis has been found in xml."},
    {5037, L"A translation axis missing in xml."},
    {5038, L"Too many translation axis was found in xml."},
    {5039, L"Invalid vector was passed."},
    {5040, L"Too many rotation axes was found in xml."},
    {5041, L"XML file contains axes of rotary, different from vector passed to zvXMLInput(zvXMLInterpreter)."},
    {5042, L"Synchronization betweem machine definition and xml passed to zvXMLOutputInterpreter failed!."},
    {5043, L"Wrong static method called."},
    {5044, L"Toolpath can not be aligned with machine definition."},
    {5045, L"If machine definiton contains an axis of rotation parallel with the spindle, then it must be defined as first rotation axis."},
    {5046, L"Unknown machine limits."},
    {5047, L"Null autopointer passed. (The list must be initialized before this method.)."},
    {5048, L"param zvExtendedPostedMove is NULL. This can be because post-kernel creates a list of smaller zvPostedMove."},
    {5049, L"Unknown definition for ZV_RELMOVE"},
    {5050, L"Unknown definition for rapid move"},
    {5051, L"Rewind algorithm faild to create first move. This can happen because of machine limitations. One reason may be the angle between axes of rotation which is different from 90 degrees."},
    {5052, L"Unknown definition for ZV_MACHMOVE"},
    {5053, L"Unknown definition of RetractToMachineLimits move"},
    {5054, L"RetractToMachineLimits command requires at least one regular previous move to be available"},
};

constexpr Row kKandrel[] = {
    {2019, L"ZVGL binary marker not found. Cannot process this file"},
    {2027, L"ZVGL binary log file version doesn't match logger version. Cannot process this file"},
    {2503, L"Use of a member function of an abstract class"},
    {2637, L"Unknown move type."},
    {5300, L"Wrong xml file passed to function zvMachDefReader::Read()."},
};
// clang-format on

TEST(PostException, EveryClassHasItsTexts) {
  tests::ExpectTexts<zvPostException>(kPost, L"Unknown exception.");
  tests::ExpectTexts<zvKandrelException>(kKandrel);
}

TEST(PostException, KeepsItsDetail) {
  const zvPostException post(5002, -7);
  EXPECT_EQ(post.GetDetail(), -7);
  tests::ExpectKeepsItsClass(post);
  const zvKandrelException kandrel(2637, -7);
  EXPECT_EQ(kandrel.GetDetail(), -7);
  tests::ExpectKeepsItsClass(kandrel);
}

}  // namespace
