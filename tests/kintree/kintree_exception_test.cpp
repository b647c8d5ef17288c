#include <gtest/gtest.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/misc/host_hooks.h>

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

TEST(KintreeException, TheHostMayBringItsOwnTexts) {
  misc::SetMessageTextHook(
      [](std::wstring_view section, std::uint32_t id, std::wstring& text) noexcept {
        if (section != L"ErrorMessages" || id != 10) return false;
        text = L"Objekt nicht gefunden";
        return true;
      });
  EXPECT_EQ(zvMachineSimulatorException(0, L"A").GetMessage(), L"Objekt nicht gefunden (A)");
  EXPECT_EQ(zvMachineSimulatorException(2).GetMessage(), L"Invalid axis");
  misc::SetMessageTextHook(nullptr);
}

}  // namespace
}  // namespace kintree
