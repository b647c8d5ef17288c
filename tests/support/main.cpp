// The main program of all tests: as gtest's own, and in the locale that KANDREL_TEST_LOCALE names.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <locale>

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  if (const char* name = std::getenv("KANDREL_TEST_LOCALE")) {
    if (std::setlocale(LC_ALL, name) == nullptr) {
      std::fprintf(stderr, "no locale %s\n", name);
      return 2;
    }
    std::locale::global(std::locale(name));
  }
  return RUN_ALL_TESTS();
}
