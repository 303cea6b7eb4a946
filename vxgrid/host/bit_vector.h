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

  /// For work on whole runs, all within the size. Bits begin to end - 1 take one value; 64 bits from 64 *
  /// word on are replaced, of which those beyond the size have to be 0.
  void SetBits(unsigned int begin, unsigned int end, bool on);
  void SetWord(unsigned int word, std::uint64_t bits) { Words()[word] = bits; }
  /// The first set bit from `begin` to end - 1; `end` when there is none.
  unsigned int NextBit(unsigned int begin, unsigned int end) const;
  /// The run of set bits around the set bit i: its first, and one past its last.
  unsigned int RunBegin(unsigned int i) const;
  unsigned int RunEnd(unsigned int i) const;

  /// The same bits set, sizes aside.
  friend VXGRID_API bool operator==(const VXBitVector& a, const VXBitVector& b);
  friend bool operator!=(const VXBitVector& a, const VXBitVector& b) { return !(a == b); }

 private:
  const std::uint64_t* Words() const { return size_ > 64 ? heap_.data() : &word_; }
  std::uint64_t* Words() { return size_ > 64 ? heap_.data() : &word_; }
  unsigned int NumWords() const { return size_ / 64 + (size_ % 64 != 0); }
  static std::uint64_t From(unsigned int i) {
    return ~std::uint64_t{0} << i % 64;
  }  // i and above in its word
  static std::uint64_t UpTo(unsigned int i) { return ~std::uint64_t{0} >> (63 - i % 64); }  // i and below

  unsigned int size_ = 0;
  std::uint64_t word_ = 0;           // the bits of a size up to 64
  std::vector<std::uint64_t> heap_;  // those of a larger one
};

inline void VXBitVector::SetBits(unsigned int begin, unsigned int end, bool on) {
  if (begin >= end) return;
  std::uint64_t* const words = Words();
  const unsigned int last = (end - 1) / 64;
  for (unsigned int w = begin / 64; w <= last; ++w) {
    const std::uint64_t bits =
        (w == begin / 64 ? From(begin) : ~std::uint64_t{0}) & (w == last ? UpTo(end - 1) : ~std::uint64_t{0});
    words[w] = on ? words[w] | bits : words[w] & ~bits;
  }
}

inline unsigned int VXBitVector::NextBit(unsigned int begin, unsigned int end) const {
  if (begin >= end) return end;
  const std::uint64_t* const words = Words();
  const unsigned int last = (end - 1) / 64;
  unsigned int w = begin / 64;
  std::uint64_t word = words[w] & From(begin);
  while (word == 0 && w < last) word = words[++w];
  if (word == 0) return end;
  const unsigned int found = 64 * w + static_cast<unsigned int>(__builtin_ctzll(word));
  return found < end ? found : end;
}

inline unsigned int VXBitVector::RunBegin(unsigned int i) const {
  const std::uint64_t* const words = Words();
  unsigned int w = i / 64;
  std::uint64_t off = ~words[w] & UpTo(i);
  while (off == 0 && w > 0) off = ~words[--w];
  return off == 0 ? 0 : 64 * w + 64 - static_cast<unsigned int>(__builtin_clzll(off));
}

inline unsigned int VXBitVector::RunEnd(unsigned int i) const {
  const std::uint64_t* const words = Words();
  unsigned int w = i / 64;
  std::uint64_t off = ~words[w] & From(i);
  while (off == 0 && ++w < NumWords()) off = ~words[w];
  return off == 0 ? size_ : 64 * w + static_cast<unsigned int>(__builtin_ctzll(off));
}

}  // namespace VXCore
