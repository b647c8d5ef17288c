// What a host needs from the library at the least: classes and functions across the
// library's border, and an exception thrown inside it and caught by its type outside.
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/persistence/versions.h>
#include <kandrel/version.h>

#include <cstdio>
#include <string_view>

// Given the version that CMake or pkg-config has found, the headers must be of that one.
int main(int argc, char** argv) {
  if (argc != 2 || misc::kKandrelVersion != argv[1]) {
    std::puts("consumer: headers of another version");
    return 1;
  }
  using measures::zvUnitsFactory;
  if (zvUnitsFactory::GetScaleFactor(zvUnitsFactory::inch, zvUnitsFactory::metric) != 25.4) {
    std::puts("consumer: an inch is 25.4 mm");
    return 1;
  }
  struct NoBytes final : misc::zvBinInputStream {
    void Read(void* /*buffer*/, misc::zvStreamSize& size) override { size = 0; }
  } stream;
  try {
    persistence::ReadHeader(stream, persistence::Tag("KDS "));
    std::puts("consumer: a header out of nothing");
    return 1;
  } catch (const misc::zvException& e) {
    if (e.GetId() != 2018) return 1;
  }
  try {
    static_cast<void>(*misc::zvAutoPointer<int>());
  } catch (const misc::zvException&) {
    std::puts("consumer: linked, ran, caught");
    return 0;
  }
  std::puts("consumer: the library's exception did not arrive");
  return 1;
}
