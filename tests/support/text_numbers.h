// Numbers of texts, whatever the locale: with std::strtod the tests themselves would fail in one
// with a decimal comma.
#pragma once

#include <charconv>
#include <cstring>
#include <string>

namespace tests {

/// The number at the front of a text, 0 for none; inf and nan too. `end` is set to what follows.
inline double NumberFrom(const char* text, const char** end = nullptr) {
  const char* at = text + std::strspn(text, " \t\n");
  double number = 0;
  const auto [next, error] =
      std::from_chars(*at == '+' ? at + 1 : at, at + std::strlen(at), number);
  if (end != nullptr) *end = error == std::errc() ? next : text;
  return number;
}
inline double NumberFrom(const std::string& text) {
  return NumberFrom(text.c_str());
}

}  // namespace tests
