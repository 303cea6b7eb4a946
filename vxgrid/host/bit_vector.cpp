#include <vxgrid/host/bit_vector.h>

#include <algorithm>

#include <vxgrid/host/error_handler.h>

namespace VXCore {

void VXBitVector::Resize(unsigned int size) {
  if (size > INT_MAX) {
    VXThrow.Error("Max size for an VXBitVector is INT_MAX");
    return;
  }
  const std::uint64_t first = *Words();
  size_ = size;
  if (size <= 64) {
    heap_ = {};
    word_ = first;
  } else {
    heap_.resize(NumWords());
    heap_[0] = first;
  }
  // Bits beyond a size that shrank are off when it grows again.
  if (size == 0)
    word_ = 0;
  else if (size % 64)
    Words()[NumWords() - 1] &= ~std::uint64_t{0} >> (64 - size % 64);
}

unsigned int VXBitVector::CountBits() const {
  unsigned int count = 0;
  for (unsigned int i = 0; i < NumWords(); ++i)
    count += static_cast<unsigned int>(__builtin_popcountll(Words()[i]));
  return count;
}

int VXBitVector::NextBit(unsigned int from) const {
  for (unsigned int i = from / 64; i < NumWords(); ++i) {
    std::uint64_t word = Words()[i];
    if (i == from / 64) word &= ~std::uint64_t{0} << from % 64;
    if (word) return static_cast<int>(i * 64) + __builtin_ctzll(word);
  }
  return -1;
}

void VXBitVector::Clear() { std::fill_n(Words(), NumWords(), 0); }

bool operator==(const VXBitVector& a, const VXBitVector& b) {
  const unsigned int n = std::min(a.NumWords(), b.NumWords());
  return std::equal(a.Words(), a.Words() + n, b.Words()) && a.NextBit(64 * n) < 0 && b.NextBit(64 * n) < 0;
}

}  // namespace VXCore
