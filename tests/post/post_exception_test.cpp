#include <gtest/gtest.h>
#include <kandrel/post/post_exception.h>
#include <tests/support/throws_id.h>

#include <iterator>
#include <span>
#include <string>
#include <vector>

namespace {

using post::zvPostException;

struct Row {
  std::uint32_t id;
  const wchar_t* text;
};

// The texts are the interface, misspellings included.
const Row kPostRows[] = {
    {2503, L"Use of a member function of an abstract class."},
    {5000,
     L"Due to its physical limits, the current machine does not support one or more of the tool "
     L"movements."},
    {5001, L"Null vector passed."},
    {5002, L"Equal rotation axis direction passed."},
    {5003, L"The number of axes names is invalid."},
    {5004, L"Duplicate axis name found."},
    {5005, L"Only alphabetic characters are allowed in axes names."},
    {5008, L"The posted tool path exceeds one of the limits."},
    {5009, L"Pole Angle Tolerance out of limits"},
    {5010,
     L"The posted tool path exceeds one of the limits (The x axis exceeds the limit (The minimum "
     L"limit is reached))."},
    {5011,
     L"The posted tool path exceeds one of the limits (The y axis exceeds the limit (The minimum "
     L"limit is reached))."},
    {5012,
     L"The posted tool path exceeds one of the limits (The z axis exceeds the limit (The minimum "
     L"limit is reached))."},
    {5013,
     L"The posted tool path exceeds one of the limits (The first rotary axis exceeds the limit "
     L"(The minimum limit is reached))."},
    {5014,
     L"The posted tool path exceeds one of the limits (The second rotary axis exceeds the limit "
     L"(The minimum limit is reached))."},
    {5015,
     L"The posted tool path exceeds one of the limits (The x axis exceeds the limit (The maximum "
     L"limit is reached))."},
    {5016,
     L"The posted tool path exceeds one of the limits (The y axis exceeds the limit (The maximum "
     L"limit is reached))."},
    {5017,
     L"The posted tool path exceeds one of the limits (The z axis exceeds the limit (The maximum "
     L"limit is reached))."},
    {5018,
     L"The posted tool path exceeds one of the limits (The first rotary axis exceeds the limit "
     L"(The maximum limit is reached))."},
    {5019,
     L"The posted tool path exceeds one of the limits (The second rotary axis exceeds the limit "
     L"(The maximum limit is reached))."},
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
    {5041,
     L"XML file contains axes of rotary, different from vector passed to "
     L"zvXMLInput(zvXMLInterpreter)."},
    {5042,
     L"Synchronization betweem machine definition and xml passed to zvXMLOutputInterpreter "
     L"failed!."},
    {5043, L"Wrong static method called."},
    {5044, L"Toolpath can not be aligned with machine definition."},
    {5045,
     L"If machine definiton contains an axis of rotation parallel with the spindle, then it must "
     L"be defined as first rotation axis."},
    {5046, L"Unknown machine limits."},
    {5047, L"Null autopointer passed. (The list must be initialized before this method.)."},
    {5048,
     L"param zvExtendedPostedMove is NULL. This can be because post-kernel creates a list of "
     L"smaller zvPostedMove."},
    {5049, L"Unknown definition for ZV_RELMOVE"},
    {5050, L"Unknown definition for rapid move"},
    {5051,
     L"Rewind algorithm faild to create first move. This can happen because of machine "
     L"limitations. One reason may be the angle between axes of rotation which is different from "
     L"90 degrees."},
    {5052, L"Unknown definition for ZV_MACHMOVE"},
    {5053, L"Unknown definition of RetractToMachineLimits move"},
    {5054,
     L"RetractToMachineLimits command requires at least one regular previous move to be available"},
};
static_assert(std::size(kPostRows) == 54);

const Row kKandrelRows[] = {
    {2019, L"ZVGL binary marker not found. Cannot process this file"},
    {2027, L"ZVGL binary log file version doesn't match logger version. Cannot process this file"},
    {2503, L"Use of a member function of an abstract class"},
    {2637, L"Unknown move type."},
    {5300, L"Wrong xml file passed to function zvMachDefReader::Read()."},
};

template <class E>
void ExpectRows(std::span<const Row> rows) {
  ASSERT_EQ(E::Table().size(), rows.size());
  for (const Row& row : rows) {
    const E e(row.id, 0);
    EXPECT_EQ(e.GetId(), row.id);
    EXPECT_EQ(e.GetMessage(), row.text) << row.id;
    const std::wstring wide(row.text);
    EXPECT_EQ(e.what(), std::string(wide.begin(), wide.end())) << row.id;
    EXPECT_EQ(e.GetDetail(), 0);
    EXPECT_TRUE(e.GetCauses().empty());
  }
}

TEST(PostException, EveryIdHasItsText) {
  ExpectRows<zvPostException>(kPostRows);
  ExpectRows<zvKandrelException>(kKandrelRows);
}

TEST(PostException, OtherIdsKeepTheDefaultText) {
  for (std::uint32_t id :
       {0u, 1u, 2019u, 2502u, 2504u, 4999u, 5006u, 5007u, 5055u, 5300u, 0xffffffffu}) {
    EXPECT_EQ(zvPostException(id).GetMessage(), L"Unknown exception.") << id;
    EXPECT_EQ(zvPostException(id).GetId(), id);
  }
  for (std::uint32_t id : {0u, 2018u, 2020u, 5000u, 5299u, 5301u, 0xffffffffu}) {
    EXPECT_EQ(zvKandrelException(id).GetMessage(), L"Unknown error.") << id;
    EXPECT_EQ(zvKandrelException(id).GetId(), id);
  }
}

template <class E>
void KeepsClassDetailAndCauses(std::uint32_t id, const wchar_t* text) {
  const E detailed(id, -7);
  EXPECT_EQ(detailed.GetDetail(), -7);
  const misc::zvException root(42, L"root");
  const misc::zvException cause(43, L"cause", &root);
  const E e(id, cause);
  const std::vector<misc::zvException::Cause> causes{{43, L"cause"}, {42, L"root"}};
  EXPECT_EQ(e.GetMessage(), text);
  EXPECT_EQ(e.GetCauses(), causes);

  // Through the base, both a copy and a throw keep the class.
  const misc::zvException& base = e;
  const misc::zvAutoPointer<misc::zvException> clone = base.Clone();
  const misc::zvException& cloned = *clone;
  EXPECT_EQ(typeid(cloned), typeid(E));
  EXPECT_NE(clone.Get(), &base);
  EXPECT_EQ(clone->GetCauses(), causes);
  EXPECT_TRUE(tests::ThrowsId<E>([&] { base.Raise(); }, id, text));
  EXPECT_TRUE(tests::ThrowsId<E>([&] { clone->Raise(); }, id, text));
  EXPECT_EQ(static_cast<const misc::zvException&>(detailed).Clone()->GetDetail(), -7);
  try {
    base.Raise();
  } catch (const std::exception& caught) {
    EXPECT_STREQ(caught.what(), base.what());
  }
}

TEST(PostException, KeepsClassDetailAndCauses) {
  KeepsClassDetailAndCauses<zvPostException>(5002, L"Equal rotation axis direction passed.");
  KeepsClassDetailAndCauses<zvKandrelException>(2637, L"Unknown move type.");
}

}  // namespace
