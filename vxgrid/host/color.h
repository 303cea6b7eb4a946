#pragma once

namespace VXCore {

/// A colour of four 8-bit channels, packed as 0xAABBGGRR. The default is opaque black.
class VXColor {
 public:
  constexpr VXColor() = default;
  explicit constexpr VXColor(unsigned int packed) : packed_(packed) {}
  constexpr VXColor(unsigned char red, unsigned char green, unsigned char blue, unsigned char alpha = 255)
      : packed_(red | static_cast<unsigned int>(green) << 8 | static_cast<unsigned int>(blue) << 16 |
                static_cast<unsigned int>(alpha) << 24) {}

  constexpr unsigned int GetPackedColor() const { return packed_; }
  constexpr unsigned char GetRed() const { return static_cast<unsigned char>(packed_); }
  constexpr unsigned char GetGreen() const { return static_cast<unsigned char>(packed_ >> 8); }
  constexpr unsigned char GetBlue() const { return static_cast<unsigned char>(packed_ >> 16); }
  constexpr unsigned char GetAlpha() const { return static_cast<unsigned char>(packed_ >> 24); }

  friend constexpr bool operator==(const VXColor& a, const VXColor& b) { return a.packed_ == b.packed_; }
  friend constexpr bool operator!=(const VXColor& a, const VXColor& b) { return a.packed_ != b.packed_; }

 private:
  unsigned int packed_ = 0xff000000u;
};

}  // namespace VXCore
