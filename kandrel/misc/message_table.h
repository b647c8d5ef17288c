// Message texts as data: a table of (id, text) for each exception class, and one look-up for all.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace misc {

/// One text of an exception class; it has static lifetime.
struct zvMessageRow {
  std::uint32_t id;
  const wchar_t* text;
};

/// The rows of an exception class, by ascending id.
using zvMessageTable = std::span<const zvMessageRow>;

/// True when the ids rise strictly, which the look-up needs and which rules out a doubled row.
consteval bool IsSortedById(zvMessageTable table) {
  return std::ranges::adjacent_find(table, std::ranges::greater_equal{}, &zvMessageRow::id) ==
         table.end();
}

/// Returns the text of `id`, or `fallback` when the table has no row for it. Logarithmic.
constexpr const wchar_t* FindMessage(zvMessageTable table, std::uint32_t id,
                                     const wchar_t* fallback) {
  const auto row = std::ranges::lower_bound(table, id, {}, &zvMessageRow::id);
  return row != table.end() && row->id == id ? row->text : fallback;
}

/// The fallback of most classes.
inline constexpr const wchar_t* kUnknownError = L"Unknown error.";

}  // namespace misc
