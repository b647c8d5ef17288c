#include <kandrel/misc/tokeniser.h>
#include <tests/support/testing.h>

namespace misc {
namespace {

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
