#include <kandrel/misc/message_resource.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/text.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <fstream>
#include <system_error>

namespace misc {

namespace {

constexpr std::uintmax_t kLargestFile = std::uintmax_t{16} << 20;

std::string ReadWhole(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error))
    throw zvmiscException(zvmiscException::kNoResource);
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (error || size > kLargestFile) throw zvmiscException(zvmiscException::kNoResource);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  std::ifstream file(path, std::ios::binary);
  if (!file.read(bytes.data(), static_cast<std::streamsize>(size)))
    throw zvmiscException(zvmiscException::kNoResource);
  return bytes;
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string Unescaped(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      out += text[i];
      continue;
    }
    if (++i == text.size() || (text[i] != 'n' && text[i] != '\\'))
      throw zvmiscException(zvmiscException::kInvalidEntry);
    out += text[i] == 'n' ? '\n' : '\\';
  }
  return out;
}

zvResourceEntry ParseEntry(std::string_view line, const std::wstring& section) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) throw zvmiscException(zvmiscException::kInvalidEntry);
  const std::string_view number = Trimmed(line.substr(0, equals));
  const char* end = number.data() + number.size();
  zvResourceEntry entry{section, 0, FromUtf8(Unescaped(Trimmed(line.substr(equals + 1))))};
  const auto result = std::from_chars(number.data(), end, entry.id);
  if (result.ec != std::errc() || result.ptr != end)
    throw zvmiscException(zvmiscException::kInvalidEntry);
  return entry;
}

}  // namespace

zvResourceIntf::~zvResourceIntf() = default;

void zvResourceDll::Load(std::vector<zvResourceEntry> entries) {
  std::map<Key, std::wstring> texts;
  for (zvResourceEntry& entry : entries) {
    Key key(entry.id, std::move(entry.section));
    if (entry.text.empty() || !texts.emplace(std::move(key), std::move(entry.text)).second)
      throw zvmiscException(zvmiscException::kInvalidEntry);
  }
  m_texts.swap(texts);
  m_isLoaded = true;
}

void zvResourceDll::Load(const std::filesystem::path& path) {
  const std::string bytes = ReadWhole(path);
  std::string_view rest = bytes;
  if (rest.starts_with("\xEF\xBB\xBF")) rest.remove_prefix(3);
  std::vector<zvResourceEntry> entries;
  std::wstring section;
  while (!rest.empty()) {
    const std::size_t length = std::min(rest.find('\n'), rest.size());
    const std::string_view line = Trimmed(rest.substr(0, length));
    rest.remove_prefix(std::min(length + 1, rest.size()));
    if (line.empty() || line.front() == '#') continue;
    if (line.front() != '[')
      entries.push_back(ParseEntry(line, section));
    else if (line.back() == ']')
      section = FromUtf8(Trimmed(line.substr(1, line.size() - 2)));
    else
      throw zvmiscException(zvmiscException::kInvalidEntry);
  }
  Load(std::move(entries));
}

void zvResourceDll::Unload() noexcept {
  m_texts.clear();
  m_isLoaded = false;
}

const std::wstring& zvResourceDll::GetMessage(std::wstring_view section, std::uint32_t id) {
  CheckLoaded();
  const auto found = m_texts.find(Key(id, section));
  // The two blanks in the text stand so in what callers compare with.
  if (found == m_texts.end())
    throw zvmiscException(zvmiscException::kNoMessage,
                          L"The message ID " + std::to_wstring(id) + L" from section " +
                              std::wstring(section) + L"  was not found in the resource dll!");
  return m_lastText = found->second;
}

const std::wstring& zvResourceDll::GetMessage(std::uint32_t id) {
  CheckLoaded();
  const auto found = m_texts.lower_bound(Key(id, std::wstring()));
  if (found == m_texts.end() || found->first.first != id)
    throw zvmiscException(
        zvmiscException::kNoMessage,
        L"The requested message (No. " + std::to_wstring(id) + L") doesn't exist!");
  return m_lastText = found->second;
}

void zvResourceDll::CheckLoaded() const {
  if (!m_isLoaded) throw zvmiscException(zvmiscException::kNotInitialized);
}

}  // namespace misc
