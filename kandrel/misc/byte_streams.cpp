#include <kandrel/misc/byte_streams.h>

namespace misc {

zvBinInputStream::~zvBinInputStream() = default;

zvBinOutputStream::~zvBinOutputStream() noexcept(false) = default;

}  // namespace misc
