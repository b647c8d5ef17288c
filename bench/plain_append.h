// The yardstick of an append: nodes one behind the other in blocks of fresh 4 KiB pages.
#pragma once

#include <kandrel/misc/platform.h>

#include <cstddef>
#include <vector>

namespace bench {

class PlainAppend {
 public:
  static constexpr std::size_t kBlock = 0x40000;

  explicit PlainAppend(std::size_t nodeSize) : m_nodeSize(nodeSize) {}
  PlainAppend(const PlainAppend&) = delete;
  PlainAppend& operator=(const PlainAppend&) = delete;
  ~PlainAppend() { Clear(); }

  /// Where the next element goes, behind the two links of its node.
  void* Next() {
    if (m_blocks.empty() || m_used + m_nodeSize > kBlock) {
      m_blocks.push_back(static_cast<char*>(
          misc::platform::AllocatePages(kBlock, kBlock, misc::platform::PageSize::kSmall)));
      m_used = 0;
    }
    char* node = m_blocks.back() + m_used;
    m_used += m_nodeSize;
    return node + 2 * sizeof(void*);
  }
  void Clear() {
    for (char* block : m_blocks) misc::platform::FreePages(block, kBlock);
    m_blocks.clear();
  }

 private:
  std::size_t m_nodeSize;
  std::vector<char*> m_blocks;
  std::size_t m_used = 0;
};

}  // namespace bench
