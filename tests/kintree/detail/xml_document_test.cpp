#include <kandrel/kintree/detail/xml_document.h>
#include <sys/stat.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/bytes.h>

namespace kintree::detail {
namespace {

template <class Action>
testing::AssertionResult IsNotFound(Action&& action) {
  return ThrowsId<misc::zvException>(action, 0, L"Xml file not found.");
}

TEST(XmlDocument, ElementsAndAttributesComeInTheirOrder) {
  const auto document = XmlDocument::Parse(
      "<?pi?><!-- a --><!DOCTYPE x>\n<a n='1' m=\" 2 \">text<b/><c n='&lt;&amp;&#65;'/></a><d/>");
  const XmlElement a = document.First();
  EXPECT_EQ(a.GetTag(), "a");
  EXPECT_EQ(a.Get("n"), "1");
  EXPECT_EQ(a.Get("m"), " 2 ");
  EXPECT_EQ(a.Get("N"), "");
  EXPECT_EQ(a.FirstChild().GetTag(), "b");
  EXPECT_FALSE(a.FirstChild().FirstChild());
  EXPECT_EQ(a.FirstChild().Next().Get("n"), "<&A");
  EXPECT_FALSE(a.FirstChild().Next().Next());
  EXPECT_EQ(a.Next().GetTag(), "d");
  EXPECT_FALSE(XmlDocument::Parse("<!-- nothing else -->").First());
}

// What the document says its characters are, the bytes of a value, and what the value is then.
TEST(XmlDocument, CharactersAreThoseOfTheEncoding) {
  const std::string latin = "<?xml version='1.0' encoding='iso-8859-1'?>";
  const std::string utf8 = "<?xml version=\"1.0\" encoding = \"UTF-8\" ?>";
  const std::tuple<std::string, std::string, std::wstring> cases[] = {
      {latin, "\xE9", L"\u00E9"},
      {latin, "\xC3\xA9", L"\u00C3\u00A9"},
      {latin, "&#233;&#322;&#x1F527;", L"\u00E9\u0142\U0001F527"},
      {latin, "\x80\xFF", L"\u0080\u00FF"},
      {"<?xml encoding='windows-1252'?>", "\x80", L"\u0080"},
      {"<?xml encoding='koi8-r'?>", "\xC3\xA9", L"\u00C3\u00A9"},
      {utf8, "\xC3\xA9\xE2\x82\xAC", L"\u00E9\u20AC"},
      {utf8, "\xE9", L"\u00E9"},
      {"<?xml version='1.0'?>", "\xC3\xA9", L"\u00E9"},
      {"", "\xC3\xA9", L"\u00E9"},
      {"", "\xC3\xA9\xFC", L"\u00C3\u00A9\u00FC"},
      {"\xEF\xBB\xBF" + latin, "\xC3\xA9", L"\u00E9"},
      {"\xEF\xBB\xBF", "\xE9", L"\u00E9"},
      {latin, "&quot;&apos;&lt;&amp;&gt;", L"\"'<&>"},
      {latin, "a & b &nbsp; &", L"a & b &nbsp; &"},
  };
  for (const auto& [head, value, read] : cases) {
    const auto document = XmlDocument::Parse(head + "<a id=\"" + value + "\"/>");
    EXPECT_EQ(misc::FromUtf8(document.First().Get("id")), read) << head << value;
  }
}

TEST(XmlDocument, MarkedDocumentsOf16BitsAreReadInBothOrders) {
  std::wstring text = L"<a id='\u0142\U0001F527";
  text += std::wstring(70000, L'\u00E9') + std::wstring(70000, L'\U0001F527') + L"'/>";
  for (const bool isHighFirst : {false, true}) {
    std::string bytes = isHighFirst ? "\xFE\xFF" : "\xFF\xFE";
    for (const std::uint16_t unit : misc::ToUtf16(text)) {
      const char low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
      (bytes += isHighFirst ? high : low) += isHighFirst ? low : high;
    }
    const std::wstring read = misc::FromUtf8(XmlDocument::Parse(bytes).First().Get("id"));
    EXPECT_EQ(L"<a id='" + read + L"'/>", text) << isHighFirst;
  }
}

std::string Nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<a>";
  for (int i = 0; i < depth; ++i) text += "</a>";
  return text;
}

std::string WithAttributes(int count, const std::string& value) {
  std::string text = "<a";
  for (int i = 0; i < count; ++i) text += " n" + std::to_string(i) + "=" + value;
  return text + "/>";
}

TEST(XmlDocument, WhatIsNoXmlIsNotFound) {
  const std::string good = "<a b='1'><c/></a>";
  for (std::size_t i = 0; i < good.size(); ++i)
    EXPECT_TRUE(IsNotFound([&] { XmlDocument::Parse(good.substr(0, i)); })) << i;
  const std::string cases[] = {
      "text", "<a b=1/>", "<a b='1' b='2'/>", "<a></b>", good + std::string(1, '\0'),
      "<a id='" + std::string(1, '\0') + "'/>", Nested(kDeepestElement + 1), Nested(200000),
      WithAttributes(257, "'1'"),
      // Nothing in a value hides the end of the tag.
      WithAttributes(100000, "'><!--'"), "<b></b" + WithAttributes(100000, "\">'\"").substr(2)};
  for (const std::string& text : cases)
    EXPECT_TRUE(IsNotFound([&] { XmlDocument::Parse(text); })) << text.substr(0, 40);
  EXPECT_NO_THROW(XmlDocument::Parse(Nested(kDeepestElement)));
  EXPECT_NO_THROW(XmlDocument::Parse(WithAttributes(256, "'<>'")));
  EXPECT_NO_THROW(XmlDocument::Parse("<!-- <a " + std::string(300, '"') + " --><a/>"));
}

TEST(XmlDocument, OnlyRegularFilesAreRead) {
  const ScratchFolder folder;
  WriteFile(folder.Path("good.xml"), "<a/>");
  EXPECT_EQ(XmlDocument::Load(folder.WidePath("good.xml")).First().GetTag(), "a");
  WriteFile(folder.Path("\xC3\xA9.xml"), "<b/>");
  EXPECT_EQ(XmlDocument::Load(folder.WidePath("\xC3\xA9.xml")).First().GetTag(), "b");
  WriteFile(folder.Path("empty.xml"), "");
  ASSERT_EQ(mkfifo(folder.Path("pipe.xml").c_str(), 0600), 0);
  WriteFile(folder.Path("large.xml"), "<a/>");
  std::filesystem::resize_file(folder.Path("large.xml"), (std::uintmax_t{256} << 20) + 1);
  for (const char* name : {"empty.xml", "pipe.xml", "large.xml", "missing.xml", ""})
    EXPECT_TRUE(IsNotFound([&] { XmlDocument::Load(folder.WidePath(name)); })) << name;
  EXPECT_TRUE(IsNotFound([] { XmlDocument::Load(L"/dev/zero"); }));
  EXPECT_TRUE(IsNotFound([] { XmlDocument::Load(std::wstring(L"a\0b", 3)); }));
}

TEST(XmlDocument, WhatIsWrittenIsReadAgain) {
  XmlDocument document;
  const XmlElement root = document.Add("root");
  const std::wstring id = L"\"'<&>\u00E9\u00FF\u0100\u0142\U0001F527\u0080 \t\n\r\u0001]]>&amp;";
  root.Set("id", id);
  root.Set("id", std::wstring(L"once"));
  root.Set("second", id);
  root.Add("a").Add("b").Set("n", "1,2");
  root.Add("c");
  const std::string bytes = document.GetBytes();
  EXPECT_EQ(bytes,
            "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n"
            "<root id=\"once\" second=\"&quot;'&lt;&amp;&gt;\xE9\xFF&#256;&#322;&#128295;\x80 "
            "&#9;&#10;&#13;&#1;]]&gt;&amp;amp;\">\n"
            "    <a>\n"
            "        <b n=\"1,2\"/>\n"
            "    </a>\n"
            "    <c/>\n"
            "</root>\n");
  const auto again = XmlDocument::Parse(bytes);
  EXPECT_EQ(misc::FromUtf8(again.First().Get("second")), id);
  EXPECT_EQ(again.GetBytes(), bytes);
}

}  // namespace
}  // namespace kintree::detail
