#include <kandrel/misc/byte_files.h>
#include <kandrel/misc/codecvt.h>
#include <kandrel/misc/file_streams.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/std_streams.h>
#include <sys/stat.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace misc {
namespace {

using tests::FileText;
using tests::ThrowsId;
using tests::ThrowsNull;

constexpr auto kIn = std::ios::in | std::ios::binary;
constexpr auto kOut = std::ios::out | std::ios::binary;

TEST(Files, OpeningFailsInWords) {
  const tests::ScratchFolder folder;
  const std::wstring missing = folder.WidePath("no/such"), none = L" doesn't exist";
  const std::wstring longName = folder.WidePath("") + std::wstring(300, L'n');
  const std::wstring tooLong = L"\nFile path exceeds the maximum path length allowed by OS";
  const std::wstring deep = missing + std::wstring(130, L'/') + L"x" + std::wstring(130, L'/');
  const std::wstring half{L'x', static_cast<wchar_t>(0xD800)}, zero(L"/tmp\0x", 6);
  const std::wstring pipe = folder.WidePath("pipe");  // opening it would wait for its other end
  ASSERT_EQ(::mkfifo(folder.Path("pipe").c_str(), 0600), 0);
  const std::pair<std::wstring, std::wstring> cases[] = {
      {missing, none},     {folder.WidePath(""), L""},
      {longName, tooLong}, {deep, none + tooLong},
      {half, L""},         {zero, L""},
      {L"/dev/zero", L""}, {pipe, L""}};
  for (const auto& [path, remark] : cases) {
    const std::wstring& file = path;
    const std::wstring text = L"File open failed.\n" + path + remark;
    EXPECT_TRUE(ThrowsId<zvException>([&] { zvIFStream stream(file, kIn); }, 0, text));
    EXPECT_TRUE(ThrowsId<zvException>([&] { zvBinInputFile stream(file); }, 0, text));
    EXPECT_EQ(OpenToRead(path), nullptr);
    if (path == L"/dev/zero" || path == pipe) continue;
    EXPECT_TRUE(ThrowsId<zvException>([&] { zvOFStream stream(file, kOut); }, 0, text));
    EXPECT_TRUE(ThrowsId<zvException>([&] { zvBinOutputFile stream(file); }, 0, text));
  }
}

TEST(FileStreams, EveryByteGoesThroughUnchanged) {
  const tests::ScratchFolder folder;
  std::string bytes;
  for (int i = 0; i < 256 * 40; ++i) bytes += static_cast<char>(i * 7);
  const std::wstring path = folder.WidePath("\u00E9\u4E2D.bin");  // not a name of the C locale
  {
    zvOFStream file(path, kOut);
    zvStdOutputStream(&file).Write(bytes.data(), bytes.size());
    EXPECT_TRUE(file.good());
  }
  EXPECT_EQ(FileText(folder.Path("\u00E9\u4E2D.bin")), bytes);
  zvIFStream file(path, kIn);
  zvStdInputStream stream(&file);
  std::string read(bytes.size(), '\0');
  zvStreamSize size = read.size();
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

TEST(FileStreams, ALongPathThatCanBeOpenedIs) {
  const tests::ScratchFolder folder;
  std::wstring path = folder.WidePath("");
  while (path.size() < 400) path += L"/.";
  zvOFStream(path + L"/x", kOut) << L"a";
  EXPECT_EQ(FileText(folder.Path("x")), "a");
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
  zvStreamSize size = 2;
  in.Read(read, size);
  EXPECT_STREQ(read, "AB");
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { in.Read(read, size); }, 2148));
}

std::string operator""_b(const char* text, std::size_t size) {
  return {text, size};
}

auto Utf16() {
  return std::make_unique<zvUTF16LECodecvt>();
}

// What a stream reads of a file, and whether it went well to the end.
std::pair<std::wstring, bool> Read(const tests::ScratchFolder& folder, const std::string& bytes) {
  tests::WriteFile(folder.Path("x"), bytes);
  zvIFStream file(folder.WidePath("x"), kIn, Utf16());
  std::wstring text;
  for (wchar_t c = 0; file.get(c);) text += c;
  return {text, !file.bad()};
}

TEST(Utf16Conversion, BytesBecomeCharacters) {
  const struct {
    std::string bytes;
    std::wstring text;
    bool isWhole = true;
  } cases[] = {
      {"", L""},
      {"A\0\xE9\0\x0D\x01"_b, L"A\u00E9\u010D"},  // a low byte of 13 is no CR
      {"\xFF\xFE"_b, std::wstring(1, zvUTF16LECodecvt::kMark)},
      {"a\0\r\0\n\0b\0"_b, L"a\nb"},
      {"\r\0x\0\n\0"_b, L"x\n"},
      {"\r\0\r\0\n\0"_b, L"\r\n"},
      {"\x3D\xD8\x27\xDD"_b, L"\U0001F527"},
      {"\r\0\x3D\xD8\x27\xDD"_b, L"\U0001F527"},
      {"\x3D\xD8z\0\x27\xDD"_b, {static_cast<wchar_t>(0xD83D), L'z', static_cast<wchar_t>(0xDD27)}},
      {"a\0b"_b, L"a", false},
      {"a\0\r\0"_b, L"a", false},
      {"a\0\x3D\xD8"_b, L"a", false},
  };
  const tests::ScratchFolder folder;
  for (const auto& c : cases) {
    const auto [text, isWhole] = Read(folder, c.bytes);
    EXPECT_EQ(text, c.text);
    EXPECT_EQ(isWhole, c.isWhole) << c.bytes.size();
  }
}

TEST(Utf16Conversion, EachStepTakesWhatItNeeds) {
  struct Open : zvUTF16LECodecvt {};
  const Open conversion;
  const std::string bytes = "\r\0\n\0z\0"_b;
  for (std::size_t size = 0; size <= bytes.size(); ++size) {
    std::mbstate_t state{};
    const char* next = nullptr;
    wchar_t out[8];
    wchar_t* outNext = nullptr;
    const auto result =
        conversion.in(state, bytes.data(), bytes.data() + size, next, out, out + 8, outNext);
    const std::ptrdiff_t taken = size < 4 ? 0 : size < 6 ? 4 : 6;
    EXPECT_EQ(next - bytes.data(), taken) << size;
    EXPECT_EQ(std::wstring(out, outNext), std::wstring(L"\nz", taken / 3)) << size;
    EXPECT_EQ(result == std::codecvt_base::ok, size == 0 || size == 4 || size == 6) << size;
    EXPECT_EQ(conversion.length(state, bytes.data(), bytes.data() + size, 1), std::min(taken, 4l));
  }
  EXPECT_EQ(conversion.max_length(), 4);
}

TEST(Utf16Conversion, CharactersBecomeBytes) {
  const tests::ScratchFolder folder;
  {
    zvOFStream file(folder.WidePath("x"), kOut, Utf16());
    file << zvUTF16LECodecvt::kMark << L"A\n\u010D\U0001F527\r" << static_cast<wchar_t>(0x110000);
    EXPECT_TRUE(file.flush().good());
    file << L"b" << static_cast<wchar_t>(26);
    EXPECT_FALSE(file.flush().good());
  }
  const std::string expected =
      "\xFF\xFE"
      "A\0\r\0\n\0\x0D\x01\x3D\xD8\x27\xDD\r\0\xFD\xFF"_b;
  EXPECT_EQ(FileText(folder.Path("x")).substr(0, expected.size()), expected);
}

// A line end that lies across the blocks in which a stream reads is one character as well.
TEST(Utf16Conversion, LinesStayWholeAcrossBlocks) {
  const tests::ScratchFolder folder;
  std::wstring text;
  for (int i = 0; i < 20000; ++i) text += i % 3 == 0 ? L"ab\n" : L"\U0001F527\n\n";
  zvOFStream(folder.WidePath("x"), kOut, Utf16()) << text;
  const auto [read, isWhole] = Read(folder, FileText(folder.Path("x")));
  EXPECT_TRUE(read == text);
  EXPECT_TRUE(isWhole);
}

std::vector<std::string> NamesIn(const tests::ScratchFolder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.Path("")))
    names.push_back(entry.path().filename());
  return names;
}

TEST(ByteFiles, ReadUpToTheirEnd) {
  const tests::ScratchFolder folder;
  const std::wstring path = folder.WidePath("\u00E9.bin");
  tests::WriteFile(folder.Path("\u00E9.bin"), std::string("a\0\xFF", 3));
  zvBinInputFile file(path);
  EXPECT_EQ(file.GetSize(), 3u);
  char read[8] = {};
  for (const auto& [asked, delivered] :
       std::vector<std::pair<int, unsigned>>{{0, 0}, {2, 2}, {5, 1}, {5, 0}}) {
    zvStreamSize size = asked;
    file.Read(read, size);
    EXPECT_EQ(size, delivered);
  }
  EXPECT_EQ(read[0], '\xFF');
}

TEST(ByteFiles, AFileTakesItsPlaceWhenItIsComplete) {
  const tests::ScratchFolder folder;
  const std::string path = folder.Path("x");
  tests::WriteFile(path, "old");
  std::filesystem::create_symlink("x", folder.Path("link"));
  for (const bool isCommitted : {false, true}) {
    {
      zvBinOutputFile file(folder.WidePath("link"));
      zvBinOutputFile second(folder.WidePath("x"));  // at the same time
      file.Write("new", 3);
      second.Write("2nd", 3);
      EXPECT_EQ(FileText(path), "old");
      EXPECT_EQ(NamesIn(folder).size(), 4u);
      EXPECT_EQ(file.GetTemporary(), path + ".tmp" + std::to_string(::getpid()));
      if (isCommitted) {
        file.Commit();
        EXPECT_TRUE(ThrowsId<zvmiscException>([&] { file.Write("x", 1); }, 2149));
        EXPECT_TRUE(ThrowsId<zvmiscException>([&] { file.Commit(); }, 2149));
      }
    }
    EXPECT_EQ(FileText(path), isCommitted ? "new" : "old");
    EXPECT_EQ(NamesIn(folder).size(), 2u);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.Path("link")));
  }
}

TEST(ByteFiles, TheOtherFileIsTheTargetsOwnersFromTheStart) {
  const tests::ScratchFolder folder;
  const std::string path = folder.Path("x");
  tests::WriteFile(path, "old");
  const bool isRoot = ::geteuid() == 0;  // who alone gives files away
  const uid_t owner = isRoot ? 12345 : ::geteuid();
  const gid_t group = isRoot ? 23456 : ::getegid();
  ASSERT_EQ(::chown(path.c_str(), owner, group), 0);
  for (const mode_t mode : {0600u, 0640u, 0755u}) {
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
    zvBinOutputFile file(folder.WidePath("x"));
    const auto expect = [&](const std::string& name) {
      struct stat found = {};
      ASSERT_EQ(::stat(name.c_str(), &found), 0);
      EXPECT_EQ(found.st_mode & 07777u, mode);
      EXPECT_EQ(found.st_uid, owner);
      EXPECT_EQ(found.st_gid, group);
    };
    expect(file.GetTemporary());
    file.Write("new", 3);
    file.Commit();
    expect(path);
  }
}

// Although its folder would let it be replaced.
TEST(ByteFiles, AFileThatMayNotBeWrittenIsRefusedAtOnce) {
  // Root may write everything: for a while this test is nobody in particular.
  struct Nobody {
    Nobody() : before(::geteuid()), isSet(before != 0 || ::seteuid(65534) == 0) {}
    Nobody(const Nobody&) = delete;
    Nobody& operator=(const Nobody&) = delete;
    ~Nobody() { EXPECT_EQ(::seteuid(before), 0); }
    uid_t before;
    bool isSet;
  };
  const tests::ScratchFolder folder;
  tests::WriteFile(folder.Path("x"), "old");
  ASSERT_EQ(::chmod(folder.Path("").c_str(), 0777), 0);
  ASSERT_EQ(::chmod(folder.Path("x").c_str(), 0444), 0);
  std::filesystem::create_symlink("x", folder.Path("link"));
  {
    const Nobody nobody;
    if (!nobody.isSet) GTEST_SKIP() << "root may not be anybody else here";
    for (const char* name : {"x", "link"})
      EXPECT_TRUE(ThrowsId<zvException>([&] { zvBinOutputFile file(folder.WidePath(name)); }, 0,
                                        L"File open failed.\n" + folder.WidePath(name)));
    zvBinOutputFile(folder.WidePath("y")).Commit();
  }
  EXPECT_EQ(FileText(folder.Path("x")), "old");
  EXPECT_EQ(NamesIn(folder).size(), 3u);
}

TEST(ByteFiles, WhatCannotBeWrittenIsSaid) {
  const tests::ScratchFolder folder;
  zvBinOutputFile full(L"/dev/full");
  EXPECT_EQ(full.GetTemporary(), "");
  full.Write("abc", 3);
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { full.Commit(); }, 2149));
  zvBinOutputFile sink(L"/dev/null");
  sink.Write("abc", 3);
  sink.Commit();
  // A folder that came meanwhile can't be replaced: nothing is left beside it.
  zvBinOutputFile file(folder.WidePath("x"));
  std::filesystem::create_directory(folder.Path("x"));
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { file.Commit(); }, 2149));
  EXPECT_EQ(NamesIn(folder), std::vector<std::string>{"x"});
}

}  // namespace
}  // namespace misc
