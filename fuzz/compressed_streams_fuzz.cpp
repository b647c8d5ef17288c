// zvCompressedInputFileStream on a file of any bytes, read to its end.
#include <kandrel/misc/exception.h>
#include <kandrel/misc/pack/compressed_streams.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int file = memfd_create("fuzz", MFD_CLOEXEC);
  static const std::wstring path = L"/proc/self/fd/" + std::to_wstring(file);
  if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size))
    std::abort();
  try {
    pack::zvCompressedInputFileStream in(path);
    std::array<char, 997> buffer;
    misc::zvStreamSize count = 0;
    do {
      count = buffer.size();
      in.Read(buffer.data(), count);
    } while (count == buffer.size());
  } catch (const misc::zvException&) {
    // Refused, which is what most inputs are for.
  }
  return 0;
}
