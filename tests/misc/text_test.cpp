#include <kandrel/misc/text.h>
#include <kandrel/misc/tokeniser.h>
#include <tests/support/comma_locale.h>
#include <tests/support/numbers.h>
#include <tests/support/testing.h>

#include <random>

namespace misc {
namespace {

TEST(Text, EveryCodePointGoesThereAndBack) {
  std::wstring all;
  for (char32_t c = 0; c <= 0x10FFFF; ++c)
    if (c < 0xD800 || c > 0xDFFF) all += static_cast<wchar_t>(c);
  EXPECT_EQ(FromUtf8(ToUtf8(all)), all);
  EXPECT_TRUE(IsUtf8(ToUtf8(all)) && IsUtf8(""));
  EXPECT_EQ(ToUtf8(L"\u00e4\u20ac\U0001F600"), "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ(ToUtf8(std::wstring(1, L'\0')), std::string(1, '\0'));
}

TEST(Text, WhatIsNoCharacterIsReplaced) {
  const std::string replaced = "\xEF\xBF\xBD";
  for (const std::uint32_t c : {0xD800u, 0xDFFFu, 0x110000u, 0x7FFFFFFFu, 0xFFFFFFFFu})
    EXPECT_EQ(ToUtf8(std::wstring(1, static_cast<wchar_t>(c))), replaced) << c;
  const std::pair<std::string, std::wstring> cases[] = {
      {"\x80", L"\uFFFD"},
      {"a\xFFz", L"a\uFFFDz"},
      {"\xC0\x80", L"\uFFFD\uFFFD"},                      // overlong
      {"\xE0\x9F\xBF", L"\uFFFD\uFFFD\uFFFD"},            // overlong
      {"\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD"},            // a surrogate
      {"\xF4\x90\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD"},  // beyond Unicode
      {"\xF5", L"\uFFFD"},
      {"\xE2\x82", L"\uFFFD\uFFFD"},  // cut off
      {"\xE2\x82g", L"\uFFFD\uFFFDg"},
      {"\xE2\xE2\x82\xAC", L"\uFFFD\u20ac"},
  };
  for (const auto& [bytes, text] : cases) {
    EXPECT_EQ(FromUtf8(bytes), text) << bytes;
    for (const char* ascii : {"", "1234567", "12345678"})
      EXPECT_FALSE(IsUtf8(ascii + bytes)) << bytes;
  }
}

TEST(Text, NumbersReadBackToTheirBits) {
  std::mt19937_64 random(11);
  for (int i = 0; i < 20000; ++i) {
    const double value = std::bit_cast<double>(random());
    if (!std::isfinite(value)) continue;
    double back = 0;
    ASSERT_TRUE(FromText(ToText(value), back)) << ToText(value);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(back), std::bit_cast<std::uint64_t>(value));
  }
  EXPECT_EQ(ToText(25.4), "25.4");
  EXPECT_EQ(ToText(-0.0), "-0");
  EXPECT_EQ(ToText(1e22), "1e+22");
  EXPECT_EQ(ToText(-tests::kInfinity), "-inf");
  double value = 0;
  EXPECT_TRUE(FromText("nan", value));
  EXPECT_TRUE(std::isnan(value));
}

TEST(Text, ANumberIsTheWholeTextOrNone) {
  double value = 7;
  for (const char* text : {"", " 1", "1 ", "1,5", "+1", "0x10", "1.5e", "--1", "1e999", "abc"})
    EXPECT_FALSE(FromText(text, value)) << text;
}

TEST(Text, TheLocaleChangesNothing) {
  const tests::CommaLocale comma;
  if (!comma.IsSet()) GTEST_SKIP() << "no locale to set";
  EXPECT_EQ(ToText(1234567.5), "1234567.5");
  double value = 0;
  EXPECT_TRUE(FromText("1.5", value));
  EXPECT_EQ(value, 1.5);
  EXPECT_EQ(FromUtf8("\xC3\xA4"), L"\u00e4");
}

struct ScanCase {
  const char* text;
  std::size_t length;
  double asDouble;
  double asFloat;
};

TEST(Text, ANumberIsScannedAsFarAsItGoes) {
  const double huge = tests::kInfinity;
  const ScanCase cases[] = {
      {"0.0.75294119", 3, 0, 0},
      {"1e", 1, 1, 1},
      {"1e+", 1, 1, 1},
      {"1e5abc", 3, 1e5, 1e5},
      {"+5", 2, 5, 5},
      {"-.5 ", 3, -0.5, -0.5},
      {"5.", 2, 5, 5},
      {"1,5", 1, 1, 1},
      {"0x10", 1, 0, 0},
      {"0.1", 3, 0.1, 0.1f},
      // Between two floats, and rounded to a double exactly onto the middle.
      {"1.00000005960464477540", 22, 1.0000000596046448, 1 + 0x1p-23},
      {"1e39", 4, 1e39, huge},
      {"-1e999", 6, -huge, -huge},
      {"16777217", 8, 16777217, 16777216},
      {"16777217.0000000001", 19, 16777217, 16777218},
      {"3.4028235e+38", 13, 3.4028235e38, 3.4028235e38f},
      {"0.000000000001e51", 17, 1e39, huge},
      {"0.00000000000000000000000000000000000000000000000001e1", 54, 1e-49, 0},
      {"123456789012e-60", 16, 123456789012e-60, 0},
      {"1e-45", 5, 1e-45, 1.4e-45f},
      {"1e-46", 5, 1e-46, 0},
      {"-1e-99", 6, -1e-99, -0.0},
      {"1e9223372036854775807", 21, huge, huge},
      {"1e9223372036854775808", 21, huge, huge},
      {"-1e-9223372036854775807", 23, -0.0, -0.0},
      {"10e-9223372036854775808", 23, 0, 0},
      {"1e99999999999999999999", 22, huge, huge},
      {"0.001e-99999999999999999999", 27, 0, 0},
      {"nan", 3, tests::kNaN, tests::kNaN},
      {"-inf", 4, -huge, -huge},
      {"", 0, 7, 7},
      {"abc", 0, 7, 7},
      {" 5", 0, 7, 7},
      {"--5", 0, 7, 7},
      {"+-5", 0, 7, 7},
      {"-", 0, 7, 7},
      {"+", 0, 7, 7},
      {"e5", 0, 7, 7},
  };
  for (const ScanCase& c : cases) {
    double d = 7;
    float f = 7;
    EXPECT_EQ(ScanNumber(c.text, d), c.length) << c.text;
    EXPECT_EQ(ScanNumber(c.text, f), c.length) << c.text;
    for (const auto& [found, expected] : {std::pair{d, c.asDouble}, {f, c.asFloat}}) {
      EXPECT_TRUE(found == expected || (std::isnan(found) && std::isnan(expected))) << c.text;
      EXPECT_EQ(std::signbit(found), std::signbit(expected)) << c.text;
    }
  }
}

TEST(Text, DecimalsAreFixed) {
  const std::pair<double, std::string> cases[] = {{0, "0.00000000"},
                                                  {-0.0, "-0.00000000"},
                                                  {1e-9, "0.00000000"},
                                                  {static_cast<double>(0.1f), "0.10000000"},
                                                  {-360.125, "-360.12500000"},
                                                  {0.000000016, "0.00000002"},
                                                  {1e22, "10000000000000000000000.00000000"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(ToFixedText(value, 8), text);
  EXPECT_EQ(ToFixedText(1.4f, 1), "1.4");
  EXPECT_EQ(ToFixedText(-std::numeric_limits<double>::max(), 16).size(), 327u);
}

using Strings = std::vector<std::wstring>;

TEST(Tokeniser, SplitsOutsideQuotes) {
  const std::pair<std::wstring, Strings> cases[] = {
      {L"", {}},
      {L",,,", {}},
      {L"a,,b", {L"a", L"b"}},
      {L",a, b,", {L"a", L" b"}},  // nothing is trimmed
      {L"'a,b',c", {L"a,b", L"c"}},
      {L"x'a,b'y,c", {L"xa,by", L"c"}},
      {L"'',a,''''", {L"a"}},
      {L"a,'b,c", {L"a", L"b,c"}},
      {L"a'", {L"a"}},
      {L"'a''b'", {L"ab"}},
      {L"','", {L","}},
      {L"\u00E9,\U0001F527", {L"\u00E9", L"\U0001F527"}},
  };
  for (const auto& [text, tokens] : cases)
    EXPECT_EQ(Tokens(std::wstring_view(text), L',', L'\''), tokens) << testing::PrintToString(text);
}

TEST(Tokeniser, GivesTheRestBehindAToken) {
  zvTokeniser<char> tokens("  one \"tw o\"x three", ' ', '"');
  std::string_view token;
  std::string seen;
  while (tokens.Next(token)) seen += std::string(token) + "|" + std::string(tokens.GetRest()) + ";";
  EXPECT_EQ(seen, "one| \"tw o\"x three;tw ox| three;three|;");
}

}  // namespace
}  // namespace misc
