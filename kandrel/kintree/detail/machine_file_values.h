// Numbers, lists and file names as machine files have them.
#pragma once

#include <kandrel/misc/export.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kintree::detail {

/// The finite number that a value begins with, behind white space, whatever follows it and whatever
/// the locale. Throws zvmiscException 2579 where there is none. T is float or double.
template <class T>
KANDREL_API T NumberOf(std::string_view value);

/// The number of each token of a list; throws as NumberOf.
template <class T>
KANDREL_API std::vector<T> NumbersOf(std::string_view list);

/// The tokens of a list, commas and double quotes as misc::zvTokeniser takes them, and how many
/// there are.
KANDREL_API std::vector<std::string> TokensOf(std::string_view list);
KANDREL_API std::size_t CountTokens(std::string_view list);

/// A number as it is written, with eight decimals. Throws zvmiscException 2579 for one that is not
/// finite: what would be written could not be read.
KANDREL_API std::string NumberText(double number);

/// The numbers of a list as they are written.
template <class Range>
std::string NumberTexts(const Range& numbers) {
  std::string text;
  for (const auto number : numbers) {
    if (!text.empty()) text += ',';
    text += NumberText(number);
  }
  return text;
}

/// The folder of a file, absolute as long as the current folder can be told.
KANDREL_API std::wstring FolderOf(const std::wstring& path);

/// A file name of a machine file as a path. Both slashes separate, whatever system wrote the file;
/// a relative name counts from `folder`, and ".." takes back the name before it, be that a link or
/// not. Empty for an empty name.
KANDREL_API std::wstring PathOf(const std::wstring& folder, std::string_view name);

/// What stands behind the last slash of a path; empty for "." and ".." too.
KANDREL_API std::wstring NamePart(const std::wstring& path);

/// What is at a path is a regular file; or is anything at all.
KANDREL_API bool IsFile(const std::wstring& path);
KANDREL_API bool IsThere(const std::wstring& path);

}  // namespace kintree::detail
