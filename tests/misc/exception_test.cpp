#include <gtest/gtest.h>
#include <kandrel/misc/misc_exception.h>

namespace misc {
namespace {

using Causes = std::vector<zvException::Cause>;

TEST(Exception, CausesListTheInnermostLast) {
  const zvException inner(1, L"inner");
  const zvException middle(2, L"middle", &inner);
  const zvException outer(3, L"outer", &middle);
  EXPECT_TRUE(inner.GetCauses().empty());
  EXPECT_EQ(zvmiscException(2052, &outer).GetCauses(),
            (Causes{{3, L"outer"}, {2, L"middle"}, {1, L"inner"}}));
}

TEST(Exception, ItsMessageReadsInUtf8AndMayBeTheCallers) {
  EXPECT_STREQ(zvException(3, L"\u00e4 \u20ac").what(), "\xC3\xA4 \xE2\x82\xAC");
  const zvmiscException own(3600, L"No. 4");
  EXPECT_EQ(own.GetMessage(), L"No. 4");
  EXPECT_EQ(own.GetId(), 3600u);
  EXPECT_EQ(own.GetDetail(), 0);
}

}  // namespace
}  // namespace misc
