#include <kandrel/misc/host_hooks.h>
#include <kandrel/misc/message_resource.h>
#include <kandrel/misc/misc_exception.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace misc {
namespace {

const std::vector<zvResourceEntry> kEntries = {
    {L"Tools", 10, L"tool ten"}, {L"Axes", 10, L"axis ten"}, {L"Axes", 11, L"axis eleven"}};

template <class Action>
testing::AssertionResult Fails(Action&& action, std::uint32_t id, const std::wstring& text = {}) {
  return tests::ThrowsId<zvmiscException>(action, id, text);
}

TEST(MessageResource, FindsBySectionAndIdOrByIdWhatIsLoaded) {
  zvResourceDll resource;
  zvResourceIntf& face = resource;
  const auto fails = [&](std::uint32_t id, const std::wstring& inTools, const std::wstring& alone) {
    EXPECT_TRUE(Fails([&] { face.GetMessage(L"Tools", 11); }, id, inTools));
    EXPECT_TRUE(Fails([&] { face.GetMessage(9); }, id, alone));
    EXPECT_TRUE(Fails([&] { face.GetMessage(12); }, id));
  };
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(resource.IsLoaded());
    fails(3607, L"", L"");
    resource.Load(kEntries);
    EXPECT_EQ(face.GetMessage(L"Tools", 10), L"tool ten");
    EXPECT_EQ(resource.GetLastText(), L"tool ten");
    EXPECT_EQ(face.GetMessage(10), L"axis ten");  // the first section by name
    fails(3600, L"The message ID 11 from section Tools  was not found in the resource dll!",
          L"The requested message (No. 9) doesn't exist!");
    EXPECT_EQ(resource.GetLastText(), L"axis ten");
    resource.Load(std::vector<zvResourceEntry>());  // empty, but loaded
    EXPECT_TRUE(Fails([&] { face.GetMessage(10); }, 3600));
    for (int twice = 0; twice < 2; ++twice) resource.Unload();
  }
}

TEST(MessageResource, ReadsATextFile) {
  const tests::ScratchFolder folder;
  const std::string file = folder.Path("messages");
  tests::WriteFile(file,
                   "\xEF\xBB\xBF# comment\r\n1 = none\r\n\r\n[ Axes ]\r\n"
                   "10 = \xC3\xA4 = b\\nnext \\\\n \r\n[Tools]\n10=t");
  zvResourceDll resource;
  resource.Load(std::filesystem::path(file));
  EXPECT_EQ(resource.GetMessage(L"", 1), L"none");
  EXPECT_EQ(resource.GetMessage(L"Axes", 10), L"\u00e4 = b\nnext \\n");
  EXPECT_EQ(resource.GetMessage(L"Tools", 10), L"t");
}

TEST(MessageResource, WhatIsNoTableIsRefusedAndLeavesTheOldOne) {
  const tests::ScratchFolder folder;
  const std::string file = folder.Path("messages");
  zvResourceDll resource;
  const auto refuses = [&](const auto& source, std::uint32_t id) {
    return Fails([&] { resource.Load(source); }, id);
  };
  EXPECT_TRUE(refuses("", 3601));
  EXPECT_FALSE(resource.IsLoaded());
  resource.Load(kEntries);
  using Entries = std::vector<zvResourceEntry>;
  EXPECT_TRUE(refuses(Entries{{L"A", 1, L"one"}, {L"A", 1, L"again"}}, 3606));
  EXPECT_TRUE(refuses(Entries{{L"A", 2, L""}}, 3606));
  for (const char* bytes :
       {"[Axes\n", "text\n", "x = 1\n", "-1 = a\n", "4294967296 = a\n", "1 =\n", "1 = a\n1 = b\n",
        "1 = a\\\n", "1 = a\\t\n", " = a\n", "1 2 = a", "["}) {
    tests::WriteFile(file, bytes);
    EXPECT_TRUE(refuses(std::filesystem::path(file), 3606)) << bytes;
  }
  for (const char* path : {"/nowhere/at/all", "/tmp", "/dev/zero"})
    EXPECT_TRUE(refuses(path, 3601)) << path;
  EXPECT_EQ(resource.GetMessage(11), L"axis eleven");
}

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
