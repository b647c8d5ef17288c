#include <kandrel/misc/host_hooks.h>
#include <tests/support/testing.h>

namespace misc {
namespace {

std::wstring s_heard;

void Hear(std::wstring_view text) noexcept {
  s_heard += text;
}

bool Translate(std::wstring_view section, std::uint32_t id, std::wstring& text) noexcept {
  if (section != L"Axes" || id != 4) return false;
  text = L"vier";
  return true;
}

TEST(HostHooks, AHostTakesThemOverAndGivesThemBack) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  EXPECT_EQ(SetDebugLineHook(Hear), nullptr);
  EXPECT_EQ(SetUserMessageHook(Hear), nullptr);
  EXPECT_EQ(SetMessageTextHook(Translate), nullptr);
  DebugLine(L"a");
  TellUser(L"b");
  EXPECT_EQ(s_heard, L"ab");
  EXPECT_EQ(MessageText(L"Axes", 4, L"four"), L"vier");
  EXPECT_EQ(MessageText(L"Axes", 5, L"five"), L"five");
  EXPECT_EQ(SetDebugLineHook(nullptr), Hear);
  EXPECT_EQ(SetUserMessageHook(nullptr), Hear);
  EXPECT_EQ(SetMessageTextHook(nullptr), Translate);
  // Without a host reports go to standard error and debug lines nowhere.
  DebugLine(L"unseen");
  TellUser(L"\u00e4");
  EXPECT_EQ(MessageText(L"Axes", 4, L"four"), L"four");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "\xC3\xA4\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
}  // namespace misc
