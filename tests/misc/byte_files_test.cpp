#include <kandrel/misc/byte_files.h>
#include <kandrel/misc/misc_exception.h>
#include <sys/stat.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace misc {
namespace {

using tests::FileText;
using tests::ThrowsId;

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
  for (const std::wstring& bad : {folder.WidePath("none"), folder.WidePath(""),
                                  std::wstring(L"/dev/zero"), std::wstring(1, L'\0')}) {
    std::wstring text = L"File open failed.\n" + bad;
    if (bad == folder.WidePath("none")) text += L" doesn't exist";
    EXPECT_TRUE(ThrowsId<zvException>([&] { zvBinInputFile missing(bad); }, 0, text));
    EXPECT_EQ(OpenToRead(bad), nullptr);
  }
}

TEST(ByteFiles, AFileTakesItsPlaceWhenItIsComplete) {
  const tests::ScratchFolder folder;
  const std::string path = folder.Path("x");
  tests::WriteFile(path, "old");
  ::chmod(path.c_str(), 0600);
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
    struct stat found = {};
    ::stat(path.c_str(), &found);
    EXPECT_EQ(found.st_mode & 0777u, 0600u);
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
  const std::wstring missing = folder.WidePath("no/such");
  const std::pair<std::wstring, std::wstring> cases[] = {
      {missing, missing + L" doesn't exist"},
      {folder.WidePath(""), folder.WidePath("")},
      {std::wstring(L"a\0b", 3), std::wstring(L"a\0b", 3)},
  };
  for (const auto& [path, text] : cases)
    EXPECT_TRUE(ThrowsId<zvException>([&, &file = path] { zvBinOutputFile out(file); }, 0,
                                      L"File open failed.\n" + text));
  // A folder that came meanwhile can't be replaced: nothing is left beside it.
  zvBinOutputFile file(folder.WidePath("x"));
  std::filesystem::create_directory(folder.Path("x"));
  EXPECT_TRUE(ThrowsId<zvmiscException>([&] { file.Commit(); }, 2149));
  EXPECT_EQ(NamesIn(folder), std::vector<std::string>{"x"});
}

}  // namespace
}  // namespace misc
