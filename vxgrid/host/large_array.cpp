#include <vxgrid/host/large_array.h>

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <new>

namespace VXHost {
namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;

#ifdef VXGRID_SANITIZED
bool is_mapped(std::size_t) { return false; }  // the sanitizers watch the bounds of malloc blocks alone
#else
// Half a huge page is worth a whole one: zeroing that takes a tenth of 256 faults.
bool is_mapped(std::size_t bytes) { return bytes >= kHugePage / 2; }
#endif

// Whole huge pages, the last one too: 512 faults on its 4 KiB pages would cost more than zeroing it.
std::size_t mapped_size(std::size_t bytes) { return (bytes + kHugePage - 1) / kHugePage * kHugePage; }

void* map_pages(std::size_t bytes) {
  if (bytes > SIZE_MAX / 2) throw std::bad_alloc();
  const std::size_t size = mapped_size(bytes);
  // One page more than needed, then the ends that stick out of the 2 MiB boundaries are given back.
  void* const raw =
      mmap(nullptr, size + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) throw std::bad_alloc();
  char* const begin = static_cast<char*>(raw);
  const std::size_t before = (kHugePage - reinterpret_cast<std::uintptr_t>(raw) % kHugePage) % kHugePage;
  if (before) munmap(begin, before);
  munmap(begin + before + size, kHugePage - before);
  madvise(begin + before, size, MADV_HUGEPAGE);
  return begin + before;
}

void* check(void* memory) {
  if (!memory) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* vxAllocateZeroed(std::size_t bytes) {
  if (is_mapped(bytes)) return map_pages(bytes);  // fresh pages are zero
  return bytes ? check(std::calloc(bytes, 1)) : nullptr;
}

void* vxAllocate(std::size_t bytes) {
  if (is_mapped(bytes)) return map_pages(bytes);
  return bytes ? check(std::malloc(bytes)) : nullptr;
}

void vxRelease(void* memory, std::size_t bytes) noexcept {
  if (memory && is_mapped(bytes))
    munmap(memory, mapped_size(bytes));
  else
    std::free(memory);
}

}  // namespace VXHost
