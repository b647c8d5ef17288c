#include <gtest/gtest.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/misc/host_hooks.h>
#include <tests/support/exception_family.h>

namespace kintree {
namespace {

using exceptions::zvFileAccessException;
using exceptions::zvKintreeException;
using exceptions::zvKintreeMachDefSemanticException;

const misc::zvException kCause(2189, L"cause");

TEST(KintreeException, ReasonsHaveTheirTexts) {
  const struct {
    std::uint32_t reason;
    const wchar_t* plain;
    const wchar_t* withDetail;
  } cases[] = {
      {0, L"Object not found", L"Object not found (A)"},
      {1, L"Invalid parent object", L"Invalid parent object (A)"},
      {2, L"Invalid axis", L"Invalid axis (A)"},
      {3, L"Invalid object", L"Invalid object (A)"},
      {4, L"Unknown error.", L"Unknown error."},
      {5, L"An object with this identifier already exists",
       L"An object with this identifier already exists (A)"},
      {6, L"Unknown error.", L"Unknown error."},
      {0xFFFFFFFF, L"Unknown error.", L"Unknown error."},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(zvMachineSimulatorException(c.reason).GetMessage(), c.plain);
    const zvMachineSimulatorException e(c.reason, L"A", &kCause);
    EXPECT_EQ(e.GetMessage(), c.withDetail);
    EXPECT_EQ(e.GetId(), c.reason);
    tests::ExpectKeepsItsClass(e);
  }
}

TEST(KintreeException, SemanticFailuresNameTheirElement) {
  const zvKintreeMachDefSemanticException e(L"axis", L"B", L"Unknown objtype", 100, &kCause);
  EXPECT_EQ(e.GetMessage(), L"Semantic error in element <axis>, ID - \" B \" : Unknown objtype");
  EXPECT_EQ(e.GetId(), 100u);
  EXPECT_EQ(e.GetCauses().front(), (misc::zvException::Cause{2189, L"cause"}));
  tests::ExpectKeepsItsClass(e);
  EXPECT_THROW(e.Raise(), zvKintreeException);
}

TEST(KintreeException, FileFailuresNameTheFileAndTheAccess) {
  const struct {
    zvFileAccessException::Access access;
    const wchar_t* text;
  } cases[] = {{zvFileAccessException::kOpen, L"File 'm.xml' could not be opened."},
               {zvFileAccessException::kRead, L"File 'm.xml' could not be read."},
               {zvFileAccessException::kWrite, L"File 'm.xml' could not be written."}};
  for (const auto& c : cases) {
    const zvFileAccessException e(L"m.xml", c.access);
    EXPECT_EQ(e.GetMessage(), c.text);
    EXPECT_EQ(e.GetDetail(), c.access);
    tests::ExpectKeepsItsClass(e);
  }
  tests::ExpectKeepsItsClass(zvKintreeException(12, L"plain", &kCause));
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
