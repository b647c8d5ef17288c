// Conversions between wide, UTF-8 and number text. None of them looks at the locale.
#pragma once

#include <kandrel/misc/export.h>

#include <string>
#include <string_view>

namespace misc {

/// Wide text as UTF-8. Surrogate halves and values beyond Unicode become U+FFFD.
KANDREL_API std::string ToUtf8(std::wstring_view text);

/// UTF-8 as wide text. Each byte that is no part of a valid sequence becomes U+FFFD.
KANDREL_API std::wstring FromUtf8(std::string_view text);

/// The shortest decimal text that reads back to the same double; "nan", "inf" and "-inf" else.
KANDREL_API std::string ToText(double value);

/// Reads all of `text` as a finite or non-finite double; false when anything else stands in it.
KANDREL_API bool FromText(std::string_view text, double& value);

}  // namespace misc
