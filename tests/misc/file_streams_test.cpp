#include <kandrel/misc/file_streams.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/std_streams.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

using misc::zvException;
using misc::zvIFStream;
using misc::zvmiscException;
using misc::zvOFStream;
using misc::zvStdInputStream;
using misc::zvStdOutputStream;
using tests::ThrowsId;
using tests::ThrowsNull;

namespace {

constexpr auto kIn = std::ios::in | std::ios::binary;
constexpr auto kOut = std::ios::out | std::ios::binary;
constexpr const wchar_t* kTooLong = L"\nFile path exceeds the maximum path length allowed by OS";

std::string AllBytes() {
  std::string bytes;
  for (int i = 0; i < 256 * 40; ++i) bytes += static_cast<char>(i * 7);
  return bytes;
}

}  // namespace

TEST(FileStreams, EveryByteGoesThroughUnchanged) {
  const tests::ScratchFolder folder;
  const std::string bytes = AllBytes();
  const std::wstring path = folder.WidePath("\u00E9\u4E2D.bin");  // not a name of the C locale
  {
    zvOFStream file(path, kOut);
    zvStdOutputStream(&file).Write(bytes.data(), bytes.size());
    EXPECT_TRUE(file.good());
  }
  EXPECT_EQ(tests::FileText(folder.Path("\u00E9\u4E2D.bin")), bytes);
  zvIFStream file(path, kIn);
  zvStdInputStream stream(&file);
  std::string read(bytes.size(), '\0');
  misc::zvStreamSize size = read.size();
  stream.Read(read.data(), size);
  EXPECT_EQ(read, bytes);
  size = 0;
  stream.Read(read.data(), size);  // the end itself is no failure
  size = 1;
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { stream.Read(read.data(), size); }, 2148));
  EXPECT_EQ(size, 1u);
}

TEST(FileStreams, ACharacterThatIsNoByteIsAnError) {
  const tests::ScratchFolder folder;
  for (const wchar_t c : {L'\x100', static_cast<wchar_t>(-1)}) {
    zvOFStream file(folder.WidePath("x"), kOut);
    file << L"abc" << c;
    file.flush();
    EXPECT_FALSE(file.good());
  }
}

TEST(FileStreams, AFullDiskShowsAtTheFlush) {
  zvOFStream file(L"/dev/full", kOut);
  zvStdOutputStream stream(&file);
  stream.Write("abc", 3);
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { stream.Flush(); }, 2149));
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { stream.Write("abc", 3); }, 2149));
}

TEST(FileStreams, OpeningFailsInWords) {
  const tests::ScratchFolder folder;
  const std::wstring missing = folder.WidePath("no/such");
  const std::wstring longName = folder.WidePath("") + std::wstring(300, L'n');
  const std::wstring failed = L"File open failed.\n";
  const auto fails = [](const std::wstring& path, const std::wstring& text, bool alsoOutput) {
    return ThrowsId<zvException>([&] { zvIFStream(path, kIn); }, 0, text) &&
           (!alsoOutput || ThrowsId<zvException>([&] { zvOFStream(path, kOut); }, 0, text));
  };
  EXPECT_TRUE(fails(missing, failed + missing + L" doesn't exist", true));
  EXPECT_TRUE(fails(folder.WidePath(""), failed + folder.WidePath(""), true));
  EXPECT_TRUE(fails(L"/dev/zero", failed + L"/dev/zero", false));
  EXPECT_TRUE(fails(longName, failed + longName + kTooLong, true));
  const std::wstring deep = missing + std::wstring(130, L'/') + L"x" + std::wstring(130, L'/');
  EXPECT_TRUE(fails(deep, failed + deep + L" doesn't exist" + kTooLong, true));
  const std::wstring half{L'x', static_cast<wchar_t>(0xD800)};
  EXPECT_TRUE(fails(half, failed + half, true));
  const std::wstring zero(L"/tmp\0x", 6);
  EXPECT_TRUE(fails(zero, failed + zero, true));
}

TEST(FileStreams, ALongPathThatCanBeOpenedIs) {
  const tests::ScratchFolder folder;
  std::wstring path = folder.WidePath("");
  while (path.size() < 400) path += L"/.";
  zvOFStream(path + L"/x", kOut) << L"a";
  EXPECT_EQ(tests::FileText(folder.Path("x")), "a");
}

TEST(StdStreams, HoldWhatTheCallerKeeps) {
  EXPECT_TRUE(ThrowsNull([] { zvStdInputStream stream(nullptr); }));
  EXPECT_TRUE(ThrowsNull([] { zvStdOutputStream stream(nullptr); }));
  std::wstringstream text;
  {
    zvStdOutputStream out(&text);
    out.Write("\xFF\x00Z", 3);
  }
  EXPECT_EQ(text.str(), std::wstring(L"\xFF\0Z", 3));
  // Low bytes alone, and what a stream throws by itself becomes the one id.
  std::wistringstream wide(L"\x141\x242");
  wide.exceptions(std::ios::failbit | std::ios::eofbit);
  zvStdInputStream in(&wide);
  char read[3] = {};
  misc::zvStreamSize size = 2;
  in.Read(read, size);
  EXPECT_STREQ(read, "AB");
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { in.Read(read, size); }, 2148));
}
