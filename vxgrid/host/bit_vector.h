#pragma once

#include <climits>
#include <cstdint>
#include <vector>

#include <vxgrid/host/export.h>

namespace VXCore {

/// A set of bits that grows on demand. Up to 64 bits are held inside, more on the heap; a size above INT_MAX
/// is refused with an Error and nothing changed. Bits beyond the size read as not set.
class VXGRID_API VXBitVector {
 public:
  VXBitVector() = default;
  explicit VXBitVector(unsigned int size) { Resize(size); }
  VXBitVector(const VXBitVector&) = default;
  VXBitVector& operator=(const VXBitVector&) = default;

  /// The number of bits, set or not.
  unsigned int GetSize() const { return size_; }
  /// New bits are not set.
  void Resize(unsigned int size);

  bool IsBitOn(unsigned int i) const { return i < size_ && Words()[i / 64] >> i % 64 & 1; }
  bool operator[](unsigned int i) const { return IsBitOn(i); }
  /// Grows to i + 1 bits when needed.
  void SetBitOn(unsigned int i) {
    if (i >= size_) Resize(i == UINT_MAX ? i : i + 1);
    if (i < size_) Words()[i / 64] |= std::uint64_t{1} << i % 64;
  }
  /// A bit beyond the size is off already.
  void SetBitOff(unsigned int i) {
    if (i < size_) Words()[i / 64] &= ~(std::uint64_t{1} << i % 64);
  }

  unsigned int CountBits() const;
  /// The first set bit at `from` or after it; -1 when there is none.
  int NextBit(unsigned int from) const;
  /// All bits off; the size stays.
  void Clear();

  /// The same bits set, sizes aside.
  friend VXGRID_API bool operator==(const VXBitVector& a, const VXBitVector& b);
  friend bool operator!=(const VXBitVector& a, const VXBitVector& b) { return !(a == b); }

 private:
  const std::uint64_t* Words() const { return size_ > 64 ? heap_.data() : &word_; }
  std::uint64_t* Words() { return size_ > 64 ? heap_.data() : &word_; }
  unsigned int NumWords() const { return size_ / 64 + (size_ % 64 != 0); }

  unsigned int size_ = 0;
  std::uint64_t word_ = 0;           // the bits of a size up to 64
  std::vector<std::uint64_t> heap_;  // those of a larger one
};

}  // namespace VXCore
