// Conversions between wide, UTF-8 and number text. None of them looks at the locale.
#pragma once

#include <kandrel/misc/export.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace misc {

/// Wide text as UTF-8. Surrogate halves and values beyond Unicode become U+FFFD.
KANDREL_API std::string ToUtf8(std::wstring_view text);

/// UTF-8 as wide text. Each byte that is no part of a valid sequence becomes U+FFFD.
KANDREL_API std::wstring FromUtf8(std::string_view text);

/// True for text that is valid UTF-8 from end to end.
KANDREL_API bool IsUtf8(std::string_view text) noexcept;

/// Wide text in 16-bit units: a character above U+FFFF gives a surrogate pair, half a pair stays as
/// it is, and what is no character becomes U+FFFD.
KANDREL_API std::vector<std::uint16_t> ToUtf16(std::wstring_view text);

/// Appends a 16-bit unit; the second half of a surrogate pair joins the first into one character.
KANDREL_API void AppendUtf16(std::wstring& text, std::uint16_t unit);

/// A path as the system takes it, in UTF-8; surrogate pairs are joined. False for a path that can
/// name nothing: one with a NUL, with half a pair or with what is no
/// character.
KANDREL_API bool ToPathBytes(std::wstring_view path, std::string& bytes);

/// The character of a byte in Windows code page 1252, in which old files were written. The five
/// bytes without one are the control characters U+0081, 8D, 8F, 90 and 9D.
KANDREL_API wchar_t FromAnsi(unsigned char byte) noexcept;

/// The shortest decimal text that reads back to the same double; "nan", "inf" and "-inf" else.
KANDREL_API std::string ToText(double value);

/// Reads all of `text` as a finite or non-finite double; false when anything else stands in it.
KANDREL_API bool FromText(std::string_view text, double& value);

/// Reads the number that `text` begins with: a sign or none, digits with or without a point and an
/// exponent, or "nan" and "inf". Returns how many characters that takes; 0, and `value` stays,
/// where there is none. What is too large for a T is infinite, what is too small is 0. T is float
/// or double; a float is rounded once.
template <class T>
KANDREL_API std::size_t ScanNumber(std::string_view text, T& value) noexcept;

/// The text of a finite number with that many decimals, at most 16, rounded to the nearest.
KANDREL_API std::string ToFixedText(double value, int decimals);

}  // namespace misc
