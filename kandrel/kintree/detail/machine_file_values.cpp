#include <kandrel/kintree/detail/machine_file_values.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/platform.h>
#include <kandrel/misc/text.h>
#include <kandrel/misc/tokeniser.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>

namespace kintree::detail {

namespace fs = std::filesystem;

namespace {

constexpr int kDecimals = 8;

auto TokeniserOf(std::string_view list) {
  return misc::zvTokeniser<char>(list, ',', '"');
}

misc::platform::FileKind KindOf(const std::wstring& path) {
  std::string bytes;
  const bool isPath = !path.empty() && misc::ToPathBytes(path, bytes);
  return isPath ? misc::platform::KindOfFile(bytes.c_str()) : misc::platform::FileKind::kMissing;
}

}  // namespace

template <class T>
T NumberOf(std::string_view value) {
  value.remove_prefix(std::min(value.find_first_not_of(" \t\n\v\f\r"), value.size()));
  T number{};
  // nan and inf, which a scanner could take for numbers, would pass every later comparison.
  if (misc::ScanNumber(value, number) == 0 || !std::isfinite(number))
    throw misc::zvmiscException(misc::zvmiscException::kNoNumber);
  return number;
}

template <class T>
std::vector<T> NumbersOf(std::string_view list) {
  std::vector<T> numbers;
  auto tokens = TokeniserOf(list);
  for (std::string_view token; tokens.Next(token);) numbers.push_back(NumberOf<T>(token));
  return numbers;
}

template KANDREL_API float NumberOf(std::string_view);
template KANDREL_API double NumberOf(std::string_view);
template KANDREL_API std::vector<float> NumbersOf(std::string_view);
template KANDREL_API std::vector<double> NumbersOf(std::string_view);

std::size_t CountTokens(std::string_view list) {
  std::size_t count = 0;
  auto tokens = TokeniserOf(list);
  for (std::string_view token; tokens.Next(token);) ++count;
  return count;
}

std::vector<std::string> TokensOf(std::string_view list) {
  return misc::Tokens(list, ',', '"');
}

std::string NumberText(double number) {
  if (!std::isfinite(number)) throw misc::zvmiscException(misc::zvmiscException::kNoNumber);
  return misc::ToFixedText(number, kDecimals);
}

std::wstring FolderOf(const std::wstring& path) {
  std::string bytes;
  if (!misc::ToPathBytes(path, bytes)) return {};
  std::error_code error;
  const fs::path absolute = fs::absolute(bytes, error);
  const fs::path folder = (error ? fs::path(bytes) : absolute).parent_path();
  // A ".." behind a link leads elsewhere than the name says: only the system knows where.
  const bool isPlain = std::find(folder.begin(), folder.end(), "..") == folder.end();
  return misc::FromUtf8((isPlain ? folder.lexically_normal() : folder).string());
}

std::wstring PathOf(const std::wstring& folder, std::string_view name) {
  if (name.empty()) return {};
  const bool hasSlash = folder.empty() || folder.back() == L'/';
  const std::wstring start = hasSlash ? folder : folder + L'/';
  const bool isPlain = name.find_first_of("/\\") == std::string_view::npos && name.front() != '.';
  if (isPlain) return start + misc::FromUtf8(name);
  std::string slashed(name);
  std::replace(slashed.begin(), slashed.end(), '\\', '/');
  const fs::path path = fs::path(slashed).lexically_normal();
  if (path.is_absolute()) return misc::FromUtf8(path.string());
  std::wstring whole = start + misc::FromUtf8(path.string());
  // The folder itself is only taken apart where the name leads out of it.
  if (*path.begin() != "..") return whole;
  return misc::FromUtf8(fs::path(misc::ToUtf8(whole)).lexically_normal().string());
}

std::wstring NamePart(const std::wstring& path) {
  const std::wstring name = path.substr(path.find_last_of(L"/\\") + 1);
  return name == L"." || name == L".." ? std::wstring() : name;
}

bool IsFile(const std::wstring& path) {
  return KindOf(path) == misc::platform::FileKind::kRegular;
}

bool IsThere(const std::wstring& path) {
  return KindOf(path) != misc::platform::FileKind::kMissing;
}

}  // namespace kintree::detail
