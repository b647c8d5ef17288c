#include <kandrel/misc/host_hooks.h>
#include <tests/kintree/machine_files.h>

namespace kintree {
namespace {

using exceptions::zvFileAccessException;

TEST(KintreeException, FailuresOfFilesNameTheElementOrTheAccess) {
  const exceptions::zvKintreeMachDefSemanticException e(L"axis", L"B", L"Unknown objtype", 100);
  EXPECT_EQ(e.GetMessage(), L"Semantic error in element <axis>, ID - \" B \" : Unknown objtype");
  EXPECT_EQ(e.GetId(), 100u);
  const std::pair<int, std::wstring> cases[] = {
      {zvFileAccessException::kOpen, L"could not be opened."},
      {zvFileAccessException::kRead, L"could not be read."},
      {zvFileAccessException::kWrite, L"could not be written."},
      // An unknown access has no text of another.
      {-1, L"Unknown error."},
      {3, L"Unknown error."},
      {6, L"Unknown error."}};
  for (const auto& [number, end] : cases) {
    const auto access = static_cast<zvFileAccessException::Access>(number);
    const zvFileAccessException file(L"m.xml", access);
    EXPECT_EQ(file.GetMessage(), L"File 'm.xml' " + end);
    EXPECT_EQ(file.GetDetail(), access);
    EXPECT_EQ(file.GetId(), 0u);
  }
}

std::wstring s_heard;

TEST(MessageHook, WithoutOneTheUserIsToldAsEverywhere) {
  const auto before = misc::SetUserMessageHook(
      [](std::wstring_view text) noexcept { s_heard = L"misc " + std::wstring(text); });
  TellUser(L"one");
  EXPECT_EQ(s_heard, L"misc one");
  EXPECT_EQ(SetMessageHook([](const std::wstring& text) { s_heard = text; }), nullptr);
  TellUser(L"two");
  EXPECT_EQ(s_heard, L"two");
  EXPECT_NE(SetMessageHook(nullptr), nullptr);
  misc::SetUserMessageHook(before);
}

}  // namespace
}  // namespace kintree
