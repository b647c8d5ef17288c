#include <gtest/gtest.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/mathdef_exception.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/units_factory.h>
#include <tests/support/exception_family.h>

#include <vector>

namespace misc {
namespace {

using tests::Row;

constexpr Row kMisc[] = {
    {2018, L"Unexpected end of binary log stream!"},
    {2052, L"Index out of bounds"},
    {2148, L"Unexpected end of input stream!"},
    {2149, L"Unexpected end of output stream!"},
    {2157, L"Conversion from 64 bytes data to 32 bytes data failed."},
    {2576, L"Conversion from value to string failed."},
    {2577, L"Conversion to ascii failed."},
    {2578, L"String too big. It can not be storred."},
    {2579, L"Conversion from string to value failed."},
    {3600, L"The requested message doesn't exist!"},
    {3601, L"The requested resource file couldn't be loaded!"},
    {3602, L"Failed to unload the resource file!"},
    {3603, L"Failed locking specified resource!"},
    {3604, L"Failed loading specified resource!"},
    {3605, L"The requested resource was not found!"},
    {3606, L"Invalid entry found while parsing custom resource ZVMSGMAP!"},
    {3607, L"Resource dll is not initialized!"},
    {5503, L"No container available, insertion failed."},
    {6250, L"Parser not implemented !"},
    {6251, L"Unknown keyword !"},
    {7100, L"Undefined MATH EXCEPTION TYPE!!! Please review zvMathException."},
    {7101, L"Division by zero exception"},
    {7102, L"Matrix not square"},
    {7103, L"Incompatible vectors"},
    {7104, L"Incompatible matrices"},
    {7105, L"Matrix and vector are incompatible"},
    {7106, L"Matrix creation parameters are invalid"},
    {7107, L"Vector creation parameters are invalid"},
    {7108, L"Determinant is zero, cannot find matrix inverse"},
    {7109, L"Incompatible pair of matrices for this operation"},
    {8000, L"Unrecognized action string"},
    {8001, L"The given action string is already employed"},
    {8002, L"Given action was not found in action string sheet"},
    {8003, L"No action string found for given file keyword"},
    {8004, L"No keyword found for given action string"},
    {8005, L"A keyword was already assigned for the given action string"},
    {8006, L"Value is out of range."},
};

constexpr Row kMathDef[] = {
    {0, L"Unknown exception."},
    {2504, L"Index out of range in WMAdapter"},
    {2505, L"Negative Polynom degree"},
    {7050, L"Division by zero in polynom"},
    {7051, L"Different dimmensions of input data in Approx"},
    {7104, L"Incompatible matrices"},
    {7213, L"The new value must be greater than the previous one!"},
    {7214, L"The second value must be greater than the first one!"},
    {7215, L"At least one of the polynomials in the given multipolynomial has the degree to big!"},
};

constexpr Row kWM[] = {
    {2504, L"Index out of range in WMAdapter"},
    {2505, L"Negative Polynom degree"},
    {7050, L"Division by zero in polynom"},
    {7051, L"Contour triangulation error"},
};

constexpr Row kMeasures[] = {
    {2141, L"Unknown Units"},
    {2146, L"Undefined ScaleFactor"},
};

TEST(Exception, EveryClassHasItsTexts) {
  tests::ExpectTexts<zvmiscException>(kMisc);
  tests::ExpectTexts<mathdef::zvMathDefException>(kMathDef);
  tests::ExpectTexts<mathdef::zvWMException>(kWM);
  tests::ExpectTexts<measures::zvmeasuresException>(kMeasures);
}

TEST(Exception, CausesListTheInnermostLast) {
  const zvException inner(1, L"inner");
  const zvException middle(2, L"middle", &inner);
  const zvmiscException outer(2052, &middle);
  EXPECT_EQ(outer.GetCauses(), (std::vector<zvException::Cause>{{2, L"middle"}, {1, L"inner"}}));
  EXPECT_TRUE(inner.GetCauses().empty());
  tests::ExpectKeepsItsClass(outer);
  tests::ExpectKeepsItsClass(zvException(0, L"plain", &middle, 5));
}

TEST(Exception, ItsMessageReadsInUtf8AndMayBeTheCallers) {
  EXPECT_STREQ(zvException(3, L"\u00e4 \u20ac").what(), "\xC3\xA4 \xE2\x82\xAC");
  EXPECT_EQ(zvmiscException(3600, L"No. 4").GetMessage(), L"No. 4");
}

}  // namespace
}  // namespace misc
