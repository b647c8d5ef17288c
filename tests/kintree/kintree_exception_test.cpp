#include <gtest/gtest.h>
#include <kandrel/kintree/kintree_exception.h>

namespace kintree {
namespace {

using exceptions::zvFileAccessException;

TEST(KintreeException, FailuresOfFilesNameTheElementOrTheAccess) {
  const exceptions::zvKintreeMachDefSemanticException e(L"axis", L"B", L"Unknown objtype", 100);
  EXPECT_EQ(e.GetMessage(), L"Semantic error in element <axis>, ID - \" B \" : Unknown objtype");
  EXPECT_EQ(e.GetId(), 100u);
  const std::pair<zvFileAccessException::Access, std::wstring> cases[] = {
      {zvFileAccessException::kOpen, L"opened."},
      {zvFileAccessException::kRead, L"read."},
      {zvFileAccessException::kWrite, L"written."}};
  for (const auto& [access, end] : cases) {
    const zvFileAccessException file(L"m.xml", access);
    EXPECT_EQ(file.GetMessage(), L"File 'm.xml' could not be " + end);
    EXPECT_EQ(file.GetDetail(), access);
    EXPECT_EQ(file.GetId(), 0u);
  }
}

}  // namespace
}  // namespace kintree
