// The versions of the stored forms, and the header with which files begin.
#pragma once

#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/basic_types_writer.h>
#include <kandrel/misc/export.h>

#include <cstdint>

namespace persistence {

/// What writers write, and the highest that readers know.
inline constexpr std::uint32_t kCurrentVersion = 226;
/// The lowest that the readers of records know.
inline constexpr std::uint32_t kLowestRecordVersion = 3;
/// The lowest that the readers of logs know.
inline constexpr std::uint32_t kLowestLogVersion = 11;

/// What stands before a posted toolpath's alignment matrix, and in its place where it has none.
inline constexpr const wchar_t* kHasMatrix = L"VALIDE";
inline constexpr const wchar_t* kHasNoMatrix = L"NULL";

/// Throws `Exception` with its id 2027 for a version outside `lowest` to kCurrentVersion. The
/// exception names neither the version read nor those that are known: the settled behaviour, its
/// text is that of the id.
template <class Exception>
void RequireKnown(std::uint32_t version, std::uint32_t lowest) {
  if (version < lowest || version > kCurrentVersion) throw Exception(Exception::kUnknownVersion);
}

/// Four characters, as the number that their bytes are.
constexpr std::uint32_t Tag(const char (&text)[5]) {
  std::uint32_t tag = 0;
  for (int i = 3; i >= 0; --i) tag = tag << 8 | static_cast<unsigned char>(text[i]);
  return tag;
}

/// The start of every file: its kind, its version, and how strings and sizes are stored. Versions
/// below 19 have no flag, those below 51 only the first.
struct FileHeader {
  std::uint32_t tag = 0;
  std::uint32_t version = kCurrentVersion;
  bool wideStrings = true;  ///< characters of 16 bits, else of 8
  bool sizes64 = false;     ///< counts of 8 bytes, else of 4
};

/// Throws zvKandrelException 2019 unless the tag is `tag`; the version is not judged here.
KANDREL_API FileHeader ReadHeader(misc::zvBinInputStream& stream, std::uint32_t tag);
/// The header of what is written today.
KANDREL_API void WriteHeader(misc::zvBOBasicTypes& writer, std::uint32_t tag);

}  // namespace persistence
