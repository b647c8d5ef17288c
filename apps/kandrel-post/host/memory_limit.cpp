#include "kandrel-post/host/memory_limit.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <system_error>

namespace kandrel_post {

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

// A file of one number; the largest one when it is missing or says "max".
std::uint64_t NumberIn(const char* fileName) {
  constexpr std::uint64_t kNone = std::numeric_limits<std::uint64_t>::max();
  std::FILE* const file = std::fopen(fileName, "r");
  if (file == nullptr) return kNone;
  std::array<char, 32> text{};
  const std::size_t length = std::fread(text.data(), 1, text.size(), file);
  std::fclose(file);
  std::uint64_t number = kNone;
  const auto [end, error] = std::from_chars(text.data(), text.data() + length, number);
  return error == std::errc{} ? number : kNone;
}

}  // namespace

std::uint64_t UsableMemory() {
  const long pages = ::sysconf(_SC_PHYS_PAGES);
  const long pageSize = ::sysconf(_SC_PAGE_SIZE);
  std::uint64_t bytes = std::numeric_limits<std::uint64_t>::max();
  if (pages > 0 && pageSize > 0)
    bytes = static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
  bytes = std::min(bytes, NumberIn("/sys/fs/cgroup/memory.max"));
  bytes = std::min(bytes, NumberIn("/sys/fs/cgroup/memory/memory.limit_in_bytes"));
  return std::max<std::uint64_t>(bytes / 8 * 7, 1);
}

void LimitMemory() {
  if constexpr (kSanitized) return;
  struct ::rlimit limit {};
  if (::getrlimit(RLIMIT_AS, &limit) != 0) return;
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, UsableMemory());
  ::setrlimit(RLIMIT_AS, &limit);  // a refusal leaves things as they were
}

}  // namespace kandrel_post
