#include <kandrel/misc/codecvt.h>
#include <kandrel/misc/file_streams.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/testing.h>

namespace misc {
namespace {

constexpr auto kIn = std::ios::in | std::ios::binary;
constexpr auto kOut = std::ios::out | std::ios::binary;

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
  EXPECT_EQ(tests::FileText(folder.Path("x")).substr(0, expected.size()), expected);
}

// A line end that lies across the blocks in which a stream reads is one character as well.
TEST(Utf16Conversion, LinesStayWholeAcrossBlocks) {
  const tests::ScratchFolder folder;
  std::wstring text;
  for (int i = 0; i < 20000; ++i) text += i % 3 == 0 ? L"ab\n" : L"\U0001F527\n\n";
  zvOFStream(folder.WidePath("x"), kOut, Utf16()) << text;
  const auto [read, isWhole] = Read(folder, tests::FileText(folder.Path("x")));
  EXPECT_TRUE(read == text);
  EXPECT_TRUE(isWhole);
}

}  // namespace
}  // namespace misc
