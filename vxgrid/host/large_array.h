#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include <vxgrid/host/export.h>

namespace VXHost {

/// Memory for value arrays, all bytes 0. From 1 MiB on it stands at 2 MiB boundaries and asks for huge
/// pages: first touch of 4 KiB pages costs more than most loops over them. Throws std::bad_alloc.
VXGRID_API void* vxAllocateZeroed(std::size_t bytes);
/// The same with contents unspecified, for arrays that are filled next.
VXGRID_API void* vxAllocate(std::size_t bytes);
/// Gives back what one of the two gave; `bytes` as it was asked for. Null is fine.
VXGRID_API void vxRelease(void* memory, std::size_t bytes) noexcept;

/// An owned array of plain values from the allocator above.
template <class T>
class VXLargeArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  enum Fill { Uninitialised, Zeroed };

  VXLargeArray() = default;
  VXLargeArray(std::size_t n, Fill fill)
      : data_(static_cast<T*>(fill == Zeroed ? vxAllocateZeroed(Bytes(n)) : vxAllocate(Bytes(n)))),
        size_(n) {}
  VXLargeArray(VXLargeArray&& other) noexcept
      : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  VXLargeArray& operator=(VXLargeArray&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~VXLargeArray() { vxRelease(data_, size_ * sizeof(T)); }

  T* data() { return data_; }
  const T* data() const { return data_; }
  std::size_t size() const { return size_; }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }
  T* begin() { return data_; }
  T* end() { return data_ + size_; }
  const T* begin() const { return data_; }
  const T* end() const { return data_ + size_; }

 private:
  static std::size_t Bytes(std::size_t n) { return n <= SIZE_MAX / sizeof(T) ? n * sizeof(T) : SIZE_MAX; }

  T* data_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace VXHost
