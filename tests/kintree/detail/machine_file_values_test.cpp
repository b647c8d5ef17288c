#include <kandrel/kintree/detail/machine_file_values.h>
#include <tests/kintree/machine_files.h>

namespace kintree::detail {
namespace {

template <class Action>
testing::AssertionResult IsNoNumber(Action&& action) {
  return ThrowsId<misc::zvmiscException>(action, 2579, L"Conversion from string to value failed.");
}

TEST(MachineFileValues, NumbersAreReadAndWrittenAsTheyAlwaysWere) {
  const std::pair<const char*, double> cases[] = {
      {"0.0.75294119", 0}, {"1e", 1},    {"1e+", 1},    {"1,5", 1},  {"1e5abc", 1e5}, {" 5", 5},
      {"\t\r\n\v\f5", 5},  {"+5", 5},    {"5.", 5},     {".5", 0.5}, {"1d5", 1},      {"0x10", 0},
      {"-0.25 mm", -0.25}, {"0.1", 0.1}, {"1e-999", 0}, {"1.5", 1.5}};
  for (const auto& [text, value] : cases) {
    EXPECT_EQ(NumberOf<double>(text), value) << text;
    EXPECT_EQ(NumberOf<float>(text), static_cast<float>(value)) << text;
  }
  for (const char* text :
       {"", " ", "abc", "--5", "- 5", "e5", "nan", "-NAN", "inf", "1e999", "+"}) {
    EXPECT_TRUE(IsNoNumber([&] { NumberOf<double>(text); })) << text;
    EXPECT_TRUE(IsNoNumber([&] { NumberOf<float>(text); })) << text;
  }
  EXPECT_EQ(NumberOf<double>("1e39"), 1e39);
  EXPECT_TRUE(IsNoNumber([] { NumberOf<float>("1e39"); }));
  EXPECT_EQ(NumberOf<float>("1.00000005960464477540"), 1 + 0x1p-23f);  // through a double: 1
  EXPECT_EQ(NumberText(-1234.56789), "-1234.56789000");
  EXPECT_EQ(NumberTexts(std::vector<double>{0, 1.5, -2}), "0.00000000,1.50000000,-2.00000000");
  EXPECT_EQ(NumberTexts(std::vector<float>{}), "");
  for (const double number : {kNaN, kInfinity, -kInfinity})
    EXPECT_TRUE(IsNoNumber([&] { NumberText(number); }));
}

TEST(MachineFileValues, ListsAreSplitAtCommasOutsideQuotes) {
  EXPECT_EQ(NumbersOf<double>("1,,2,\"3\""), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(NumbersOf<float>(" 1 , 2"), (std::vector<float>{1, 2}));
  EXPECT_TRUE(NumbersOf<float>("").empty());
  EXPECT_TRUE(IsNoNumber([] { NumbersOf<double>("1, ,2"); }));
  EXPECT_EQ(TokensOf("a, b,\"c,d\",,\"\""), (std::vector<std::string>{"a", " b", "c,d"}));
  EXPECT_EQ(CountTokens("a, b,\"c,d\",,\"\""), 3u);
}

TEST(MachineFileValues, NamesCountFromTheFolderOfTheFile) {
  const std::tuple<const char*, const wchar_t*, const wchar_t*> cases[] = {
      {"base.stl", L"/m/base.stl", L"base.stl"},
      {"Parts\\Base.STL", L"/m/Parts/Base.STL", L"Base.STL"},
      {"./a/../../b.stl", L"/b.stl", L"b.stl"},
      {"../../../etc/passwd", L"/etc/passwd", L"passwd"},
      {"/else/where.stl", L"/else/where.stl", L"where.stl"},
      {"C:\\parts\\x.stl", L"/m/C:/parts/x.stl", L"x.stl"},
      {"\xC5\x82.stl", L"/m/\u0142.stl", L"\u0142.stl"},
      {"..", L"/", L""},
      {".", L"/m/.", L""},
      {".hidden", L"/m/.hidden", L".hidden"},
      {"parts/", L"/m/parts/", L""},
      {"", L"", L""},
  };
  for (const auto& [name, path, part] : cases) {
    EXPECT_EQ(PathOf(L"/m", name), path) << name;
    EXPECT_EQ(NamePart(PathOf(L"/m", name)), part) << name;
  }
  EXPECT_EQ(PathOf(L"/", "a.stl"), L"/a.stl");
  EXPECT_EQ(PathOf(L"/a/../m", "b/../c.stl"), L"/a/../m/c.stl");  // "a" may be a link
  EXPECT_EQ(NamePart(L".."), L"");
  EXPECT_EQ(NamePart(L"alone"), L"alone");
  EXPECT_EQ(FolderOf(L"/m/machine.xml"), L"/m");
  EXPECT_EQ(FolderOf(L"machine.xml"), misc::FromUtf8(std::filesystem::current_path().string()));
}

TEST(MachineFileValues, OnlyARegularFileIsAFile) {
  const ScratchFolder folder;
  WriteFile(folder.Path("f"), "");
  EXPECT_TRUE(IsFile(folder.WidePath("f")));
  EXPECT_FALSE(IsFile(folder.WidePath("")) || IsFile(L"/dev/zero") || IsFile(L""));
  EXPECT_TRUE(IsThere(folder.WidePath("")) && IsThere(L"/dev/zero"));
  EXPECT_FALSE(IsThere(folder.WidePath("g")) || IsThere(std::wstring(1, L'\0')));
}

}  // namespace
}  // namespace kintree::detail
