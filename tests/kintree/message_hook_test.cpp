#include <gtest/gtest.h>
#include <kandrel/kintree/message_hook.h>
#include <kandrel/misc/host_hooks.h>

namespace kintree {
namespace {

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
