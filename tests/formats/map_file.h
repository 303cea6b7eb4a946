#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>

/// A CCP4 file made by hand: header words at their byte offsets, then samples. Counts, starts and periods are
/// along x, y, z; `axes` are those of columns, rows and sections, 1 to 3.
struct MapFile {
  std::array<int, 3> count{2, 3, 4}, start{0, 0, 0}, period{50, 50, 50}, axes{1, 2, 3};
  std::array<float, 6> cell{50, 50, 50, 90, 90, 90};
  int mode = 2, group = 1;
  bool other_order = false;
  std::string symmetry;

  /// Every sample tells its place, counted from 0 along x, y, z. In MODE 0 they are bytes.
  static float sample(int x, int y, int z) { return static_cast<float>(1 + x + 100 * y + 10000 * z); }
  static unsigned char byte_sample(int x, int y, int z) {
    return static_cast<unsigned char>(7 * x + 31 * y + 101 * z);
  }

  std::string bytes() const {
    std::string file(1024, '\0');
    const auto put = [&](int offset, auto value) { put_word(file, offset, value); };
    for (int i = 0; i < 3; ++i) {
      put(4 * i, count[axes[i] - 1]);
      put(16 + 4 * i, start[axes[i] - 1]);
      put(28 + 4 * i, period[i]);
      put(64 + 4 * i, axes[i]);
    }
    put(12, mode);
    for (int i = 0; i < 6; ++i) put(40 + 4 * i, cell[i]);
    put(76, -1.5f), put(80, 2.5f), put(84, 0.25f), put(216, 0.75f);
    put(88, group), put(92, static_cast<int>(symmetry.size()));
    std::memset(&file[224], ' ', 800);
    file += symmetry;
    std::array<int, 3> at{};
    int &c = at[axes[0] - 1], &r = at[axes[1] - 1], &s = at[axes[2] - 1];
    for (s = 0; s < count[axes[2] - 1]; ++s)
      for (r = 0; r < count[axes[1] - 1]; ++r)
        for (c = 0; c < count[axes[0] - 1]; ++c) {
          if (mode == 0) {
            file += static_cast<char>(byte_sample(at[0], at[1], at[2]));
          } else {
            file.append(4, '\0');
            put_word(file, static_cast<int>(file.size()) - 4, sample(at[0], at[1], at[2]));
          }
        }
    return file;
  }

  template <class T>
  void put_word(std::string& file, int offset, T value) const {
    char word[4];
    std::memcpy(word, &value, 4);
    if (other_order) std::reverse(word, word + 4);
    std::memcpy(&file[static_cast<std::size_t>(offset)], word, 4);
  }
};

template <class T>
T word_at(const std::string& file, int offset) {
  T value;
  std::memcpy(&value, &file[static_cast<std::size_t>(offset)], 4);
  return value;
}
