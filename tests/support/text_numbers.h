// Numbers of texts, whatever the locale: with std::strtod the tests themselves would fail in one
// with a decimal comma.
#pragma once

#include <charconv>
#include <cstring>
#include <string>
#include <system_error>

namespace tests {

/// The number at the front of a text, 0 for none; inf, nan and hexadecimal ones too. `end` is set
/// to what follows.
inline double NumberFrom(const char* text, const char** end = nullptr) {
  const char* at = text + std::strspn(text, " \t\n");
  const bool isNegative = *at == '-';
  if (isNegative || *at == '+') ++at;
  const bool isHex = at[0] == '0' && (at[1] == 'x' || at[1] == 'X');
  if (isHex) at += 2;
  double number = 0;
  const auto [next, error] =
      std::from_chars(at, at + std::strlen(at), number,
                      isHex ? std::chars_format::hex : std::chars_format::general);
  if (end != nullptr) *end = error == std::errc::invalid_argument ? text : next;
  return isNegative ? -number : number;
}
inline double NumberFrom(const std::string& text) {
  return NumberFrom(text.c_str());
}

}  // namespace tests
