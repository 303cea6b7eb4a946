#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>

namespace VXCore {

/// Asks for huge pages in a large block of malloc, before its first touch: 4 KiB pages cost more there than
/// most loops over the block.
inline void advise_huge_pages(void* block, std::size_t bytes) {
  constexpr std::uintptr_t kPage = 4096;
  constexpr std::size_t kWorthwhile = std::size_t{4} << 20;
  if (!block || bytes < kWorthwhile) return;
  const std::uintptr_t begin = (reinterpret_cast<std::uintptr_t>(block) + kPage - 1) & ~(kPage - 1);
  const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(block) + bytes) & ~(kPage - 1);
  madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);  // a wish; failing does no harm
}

}  // namespace VXCore
