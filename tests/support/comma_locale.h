// A locale in which numbers have a decimal comma, for all that asks a locale.
#pragma once

#include <stdlib.h>
#include <tests/support/scratch_folder.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <optional>
#include <stdexcept>
#include <string>

// Null unless a leak sanitizer's run-time library is in the program.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void __attribute__((weak)) __lsan_disable();
extern "C" void __attribute__((weak)) __lsan_enable();
// NOLINTEND(bugprone-reserved-identifier)

namespace tests {

/// Made by localedef in a folder of its own, set for C and C++ as long as the object lives.
class CommaLocale {
 public:
  CommaLocale() {
    if (const char* place = std::getenv("LOCPATH")) m_placeBefore = place;
    // The C library never frees what it makes of LOCPATH.
    if (__lsan_disable != nullptr) __lsan_disable();
    Set();
    if (__lsan_enable != nullptr) __lsan_enable();
  }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;
  ~CommaLocale() {
    std::locale::global(m_before);
    std::setlocale(LC_ALL, m_nameBefore.c_str());
    m_placeBefore ? ::setenv("LOCPATH", m_placeBefore->c_str(), 1) : ::unsetenv("LOCPATH");
  }

  /// False where localedef or what it works from is missing.
  bool IsSet() const noexcept { return m_isSet; }

 private:
  void Set() {
    const std::string command =
        "localedef -i de_DE -f UTF-8 " + m_folder.Path("de_DE.UTF-8") + " >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) return;
    ::setenv("LOCPATH", m_folder.Path("").c_str(), 1);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) return;
    try {
      std::locale::global(std::locale("de_DE.UTF-8"));
    } catch (const std::runtime_error&) {
      return;
    }
    char text[8] = {};
    std::snprintf(text, sizeof text, "%.1f", 0.5);
    m_isSet = std::string(text) == "0,5";
  }

  // What was set for the whole program.
  std::locale m_before;
  std::string m_nameBefore = std::setlocale(LC_ALL, nullptr);
  std::optional<std::string> m_placeBefore;

  ScratchFolder m_folder;
  bool m_isSet = false;
};

}  // namespace tests
