#include <kandrel/kintree/detail/xml_document.h>
#include <kandrel/misc/byte_files.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/platform.h>
#include <kandrel/misc/text.h>
#include <tinyxml2.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace kintree::detail {

namespace {

constexpr std::size_t kLargestFile = std::size_t{256} << 20;
constexpr int kMostAttributes = 256;
constexpr std::size_t kMostMarkup = std::size_t{4} << 20;
constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kBlanks = " \t\r\n";

// One text for all that can't be read; the reason is its cause.
[[noreturn]] void ThrowNotFound(const std::wstring& why) {
  const misc::zvException reason(0, why);
  throw misc::zvException(0, L"Xml file not found.", &reason);
}

// `error` is the system's number, 0 where it had nothing against opening the file. In words of our
// own: the system's would be in the language that a host has set.
[[noreturn]] void ThrowNotOpened(const std::wstring& path, int error) {
  std::string bytes;
  std::error_code ignored;
  if (!misc::ToPathBytes(path, bytes)) ThrowNotFound(L"The system has no such names.");
  if (error == ENOENT || error == ENOTDIR) ThrowNotFound(L"There is no such file.");
  if (error == EACCES) ThrowNotFound(L"The file may not be read.");
  if (std::filesystem::is_directory(bytes, ignored)) ThrowNotFound(L"It is a folder.");
  ThrowNotFound(error == 0 ? L"It is no regular file."
                           : L"The system refuses it with error " + std::to_wstring(error) + L".");
}

void AppendByteAsUtf8(std::string& out, char byte) {
  const auto c = static_cast<unsigned char>(byte);
  if (c >= 0x80) out += static_cast<char>(0xC0 | (c >> 6));
  out += static_cast<char>(c < 0x80 ? c : 0x80 | (c & 0x3F));
}

std::string BytesToUtf8(std::string bytes) {
  const auto isHigh = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
  const auto high = std::count_if(bytes.begin(), bytes.end(), isHigh);
  if (high == 0) return bytes;
  std::string text;
  text.reserve(bytes.size() + static_cast<std::size_t>(high));
  for (const char byte : bytes) AppendByteAsUtf8(text, byte);
  return text;
}

// `low` is the place of the lower byte in each pair.
std::string Utf16ToUtf8(std::string_view bytes, std::size_t low) {
  constexpr std::size_t kBlock = 65536;
  std::string text;
  std::wstring block;
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    misc::AppendUtf16(block, static_cast<std::uint16_t>(byte(i + low) | byte(i + 1 - low) << 8));
    // The last character may be the first half of one that goes on.
    if (block.size() <= kBlock) continue;
    text += misc::ToUtf8(std::wstring_view(block).substr(0, kBlock));
    block.erase(0, kBlock);
  }
  return text += misc::ToUtf8(block);
}

bool IsSameWord(std::string_view a, std::string_view lowerCase) {
  return std::equal(a.begin(), a.end(), lowerCase.begin(), lowerCase.end(), [](char x, char y) {
    return (x >= 'A' && x <= 'Z' ? static_cast<char>(x - 'A' + 'a') : x) == y;
  });
}

// The encoding that the declaration names; empty when there is none.
std::string_view DeclaredEncoding(std::string_view bytes) {
  const auto skipBlanks = [&](std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  };
  skipBlanks(bytes);
  if (!bytes.starts_with("<?xml")) return {};
  std::string_view rest = bytes.substr(0, bytes.find("?>"));
  const std::size_t name = rest.find("encoding");
  if (name == kNone) return {};
  rest.remove_prefix(name + std::strlen("encoding"));
  skipBlanks(rest);
  if (!rest.starts_with('=')) return {};
  rest.remove_prefix(1);
  skipBlanks(rest);
  if (rest.empty() || (rest.front() != '"' && rest.front() != '\'')) return {};
  const char quote = rest.front();
  rest.remove_prefix(1);
  return rest.substr(0, rest.find(quote));
}

std::string ToUtf8(std::string bytes) {
  constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF", kLowFirst = "\xFF\xFE",
                             kHighFirst = "\xFE\xFF";
  const std::string_view all = bytes;
  if (all.starts_with(kLowFirst)) return Utf16ToUtf8(all.substr(2), 0);
  if (all.starts_with(kHighFirst)) return Utf16ToUtf8(all.substr(2), 1);
  const bool isMarked = all.starts_with(kUtf8Mark);
  if (isMarked) bytes.erase(0, kUtf8Mark.size());
  const std::string_view encoding = isMarked ? "" : DeclaredEncoding(bytes);
  const bool isUtf8 =
      encoding.empty() || IsSameWord(encoding, "utf-8") || IsSameWord(encoding, "utf8");
  return isUtf8 && misc::IsUtf8(bytes) ? bytes : BytesToUtf8(std::move(bytes));
}

const char* Find(const char* from, const char* end, char c) {
  const void* const found = std::memchr(from, c, static_cast<std::size_t>(end - from));
  return found != nullptr ? static_cast<const char*>(found) : end;
}

// Behind the next `mark`.
const char* Behind(const char* from, const char* end, std::string_view mark) {
  const char* const found = std::search(from, end, mark.begin(), mark.end());
  return found != end ? found + mark.size() : end;
}

// What ends a tag or begins a value.
constexpr std::array<bool, 256> kStops = [] {
  std::array<bool, 256> stops{};
  stops['"'] = stops['\''] = stops['>'] = true;
  return stops;
}();

// Behind the tag that `from` stands in; the number of its attributes.
const char* BehindTag(const char* from, const char* end, int& attributes) {
  attributes = 0;
  for (;;) {
    // The stops are far apart: a look at each byte, and no more.
    while (from != end && !kStops[static_cast<unsigned char>(*from)]) ++from;
    if (from == end || *from == '>') return from;
    ++attributes;
    const char quote = *from++;
    from = Find(from, end, quote);
    if (from != end) ++from;
  }
}

// Whether a tag holds a character by a number that has none: the parser would take it for the end.
bool HoldsNoCharacter(std::string_view tag) {
  constexpr std::uint64_t kLastCharacter = 0x10FFFF;
  for (std::size_t at = tag.find("&#"); at != kNone; at = tag.find("&#", at + 1)) {
    const bool isHex = at + 2 < tag.size() && tag[at + 2] == 'x';
    const char* const first = tag.data() + at + (isHex ? 3 : 2);
    const char* const end = tag.data() + tag.size();
    std::uint64_t number = 0;
    const auto [last, error] = std::from_chars(first, end, number, isHex ? 16 : 10);
    if (last == first || last == end || *last != ';') continue;
    if (error != std::errc() || number == 0 || number > kLastCharacter) return true;
  }
  return false;
}

// What must be right before the parser sees a text. It compares each attribute with all that its
// element has: a file of a megabyte, one element of nothing else, would keep it busy for minutes.
// What it makes of markup takes some thirty times the memory of the text. Instructions it takes for
// declarations, which it refuses inside the root: they say nothing here and are blanked, all but
// one in front.
void PrepareMarkup(std::string& text) {
  const char* const end = text.data() + text.size();
  const char* const front = text.data() + std::min(text.find_first_not_of(kBlanks), text.size());
  int depth = 0;
  std::size_t count = 0;
  for (const char* at = Find(text.data(), end, '<'); at != end; at = Find(at, end, '<')) {
    if (++count > kMostMarkup) ThrowNotFound(L"There are more than 4194304 tags and comments.");
    const char* const start = at++;
    const std::string_view rest(at, static_cast<std::size_t>(end - at));
    if (rest.starts_with("!--")) {
      at = Behind(at + 3, end, "-->");
    } else if (rest.starts_with("![CDATA[")) {
      at = Behind(at + 8, end, "]]>");
    } else if (rest.starts_with('?')) {
      at = Behind(at, end, "?>");
      if (!std::string_view(start, static_cast<std::size_t>(at - start)).ends_with("?>"))
        ThrowNotFound(L"An instruction has no end.");
      if (start == front) continue;
      std::replace_if(
          text.begin() + (start - text.data()), text.begin() + (at - text.data()),
          [](char c) { return c != '\n'; }, ' ');  // errors tell their line
    } else if (rest.starts_with('!')) {
      at = Find(at, end, '>');
    } else {
      int attributes = 0;
      at = BehindTag(at, end, attributes);
      if (attributes > kMostAttributes) ThrowNotFound(L"An element has more than 256 attributes.");
      if (HoldsNoCharacter({start, static_cast<std::size_t>(at - start)}))
        ThrowNotFound(L"A number in the file stands for no character.");
      if (rest.starts_with('/')) {
        --depth;
        continue;
      }
      if (depth >= kDeepestElement) ThrowNotFound(L"Elements are nested more than 98 deep.");
      if (*std::prev(at) != '/') ++depth;
    }
  }
}

int DepthOf(const tinyxml2::XMLNode* node) {
  int depth = 0;
  for (; node != nullptr && node->ToDocument() == nullptr; node = node->Parent()) ++depth;
  return depth;
}

// A value as it stands between double quotes. White space other than blanks is written by its
// number, since a reader may take a blank for it.
void AppendValue(std::string& out, std::string_view utf8) {
  for (const wchar_t character : misc::FromUtf8(utf8)) {
    const auto c = static_cast<char32_t>(character);
    switch (character) {
      case L'"':
        out += "&quot;";
        break;
      case L'&':
        out += "&amp;";
        break;
      case L'<':
        out += "&lt;";
        break;
      case L'>':
        out += "&gt;";
        break;
      default:
        if (c >= 0x20 && c <= 0xFF)
          out += static_cast<char>(c);
        else
          ((out += "&#") += std::to_string(std::uint32_t{c})) += ';';
    }
  }
}

void AppendElement(std::string& out, const tinyxml2::XMLElement& element, std::size_t indent) {
  out.append(indent, ' ');
  (out += '<') += element.Name();
  for (const auto* a = element.FirstAttribute(); a != nullptr; a = a->Next()) {
    ((out += ' ') += a->Name()) += "=\"";
    AppendValue(out, a->Value());
    out += '"';
  }
  const auto* child = element.FirstChildElement();
  if (child == nullptr) {
    out += "/>\n";
    return;
  }
  out += ">\n";
  for (; child != nullptr; child = child->NextSiblingElement())
    AppendElement(out, *child, indent + 4);
  out.append(indent, ' ');
  ((out += "</") += element.Name()) += ">\n";
}

}  // namespace

std::string_view XmlElement::GetTag() const noexcept {
  return m_element->Name();
}

XmlElement XmlElement::FirstChild() const noexcept {
  return XmlElement(m_element->FirstChildElement());
}

XmlElement XmlElement::Next() const noexcept {
  return XmlElement(m_element->NextSiblingElement());
}

std::string_view XmlElement::Get(const char* attribute) const noexcept {
  const char* const value = m_element->Attribute(attribute);
  return value != nullptr ? std::string_view(value) : std::string_view();
}

void XmlElement::Get(std::span<const char* const> names,
                     std::span<std::string_view> values) const noexcept {
  std::fill(values.begin(), values.end(), std::string_view());
  std::size_t next = 0;
  for (const auto* a = m_element->FirstAttribute(); a != nullptr; a = a->Next()) {
    const std::string_view name = a->Name();
    for (std::size_t i = 0; i < names.size(); ++i) {
      const std::size_t at = next + i < names.size() ? next + i : next + i - names.size();
      if (name != names[at]) continue;
      values[at] = a->Value();
      next = at + 1;
      break;
    }
  }
}

XmlElement XmlElement::Add(const char* tag) const {
  if (DepthOf(m_element) >= kDeepestElement)
    throw misc::zvException(0, L"A machine file can't hold objects so deep below each other");
  return XmlElement(m_element->InsertNewChildElement(tag));
}

void XmlElement::Set(const char* attribute, const char* value) const {
  m_element->SetAttribute(attribute, value);
}

void XmlElement::Set(const char* attribute, const std::string& value) const {
  Set(attribute, value.c_str());
}

void XmlElement::Set(const char* attribute, const std::wstring& value) const {
  Set(attribute, misc::ToUtf8(value));
}

XmlDocument::XmlDocument() : m_document(std::make_unique<tinyxml2::XMLDocument>()) {}
XmlDocument::XmlDocument(XmlDocument&&) noexcept = default;
XmlDocument::~XmlDocument() = default;

XmlDocument XmlDocument::Load(const std::wstring& path) {
  errno = 0;
  const misc::zvFile file = misc::OpenToRead(path);
  if (file == nullptr) ThrowNotOpened(path, errno);
  const std::uint64_t size = misc::platform::SizeOfFile(file.get());
  if (size == 0) ThrowNotFound(L"The file is empty.");
  if (size > kLargestFile) ThrowNotFound(L"The file is larger than 256 MiB.");
  std::string bytes(static_cast<std::size_t>(size), '\0');
  if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size())
    ThrowNotFound(L"The file could not be read to its end.");
  return Parse(std::move(bytes));
}

XmlDocument XmlDocument::Parse(std::string bytes) {
  std::string text = ToUtf8(std::move(bytes));
  if (text.find('\0') != kNone) ThrowNotFound(L"There is a NUL in the file.");
  PrepareMarkup(text);
  XmlDocument document;
  auto& parsed = *document.m_document;
  if (parsed.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS)
    ThrowNotFound(misc::FromUtf8(parsed.ErrorName()) + L" in line " +
                  std::to_wstring(parsed.ErrorLineNum()));
  return document;
}

XmlElement XmlDocument::First() const noexcept {
  return XmlElement(m_document->FirstChildElement());
}

XmlElement XmlDocument::Add(const char* tag) {
  auto* const element = m_document->NewElement(tag);
  m_document->InsertEndChild(element);
  return XmlElement(element);
}

std::string XmlDocument::GetBytes() const {
  std::string out = "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n";
  for (const auto* e = m_document->FirstChildElement(); e != nullptr; e = e->NextSiblingElement())
    AppendElement(out, *e, 0);
  return out;
}

}  // namespace kintree::detail
