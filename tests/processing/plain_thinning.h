#pragma once

#include <memory>

#include <vxgrid/grid/scalargrid.h>

// Thinning point by point, in the values themselves: 0 background, 1 object, 10 candidate, 20 to be deleted.

// clang-format off
inline constexpr int kPlainTurns[11][27] = {
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26},
    {20, 23, 26, 11, 14, 17, 2, 5, 8, 19, 22, 25, 10, 13, 16, 1, 4, 7, 18, 21, 24, 9, 12, 15, 0, 3, 6},
    {8, 7, 6, 17, 16, 15, 26, 25, 24, 5, 4, 3, 14, 13, 12, 23, 22, 21, 2, 1, 0, 11, 10, 9, 20, 19, 18},
    {2, 11, 20, 5, 14, 23, 8, 17, 26, 1, 10, 19, 4, 13, 22, 7, 16, 25, 0, 9, 18, 3, 12, 21, 6, 15, 24},
    {6, 7, 8, 15, 16, 17, 24, 25, 26, 3, 4, 5, 12, 13, 14, 21, 22, 23, 0, 1, 2, 9, 10, 11, 18, 19, 20},
    {8, 7, 6, 5, 4, 3, 2, 1, 0, 17, 16, 15, 14, 13, 12, 11, 10, 9, 26, 25, 24, 23, 22, 21, 20, 19, 18},
    {18, 9, 0, 21, 12, 3, 24, 15, 6, 19, 10, 1, 22, 13, 4, 25, 16, 7, 20, 11, 2, 23, 14, 5, 26, 17, 8},
    {6, 7, 8, 3, 4, 5, 0, 1, 2, 15, 16, 17, 12, 13, 14, 9, 10, 11, 24, 25, 26, 21, 22, 23, 18, 19, 20},
    {20, 19, 18, 11, 10, 9, 2, 1, 0, 23, 22, 21, 14, 13, 12, 5, 4, 3, 26, 25, 24, 17, 16, 15, 8, 7, 6},
    {0, 3, 6, 9, 12, 15, 18, 21, 24, 1, 4, 7, 10, 13, 16, 19, 22, 25, 2, 5, 8, 11, 14, 17, 20, 23, 26},
    {18, 19, 20, 9, 10, 11, 0, 1, 2, 21, 22, 23, 12, 13, 14, 3, 4, 5, 24, 25, 26, 15, 16, 17, 6, 7, 8},
};
// clang-format on

inline int shrink_boundary(float* values, int count, int a, int b, const bool* mask) {
  for (int i = 0; i < count; ++i)
    if (mask[i] && values[i] == 1.0f && (values[i + a] == 0.0f || values[i + b] == 0.0f)) values[i] = 10.0f;
  return 1;
}

/// Direction 11 has no turn and leaves `out` as the call before left it.
inline int apply_morphology(const float* values, int index, const int* offsets, int direction, float* tmp,
                            float* out) {
  for (int n = 0; n < 27; ++n) tmp[n] = values[index + offsets[n]] != 0.0f ? 1.0f : 0.0f;
  if (direction < 11)
    for (int n = 0; n < 27; ++n) out[n] = tmp[kPlainTurns[direction][n]];
  return 1;
}

/// The fourteen templates, in order.
inline bool morphology_match(const float* out) {
  const auto set = [&](int n) { return out[n] != 0.0f; };
  const auto all = [&](auto... n) { return (set(n) && ...); };
  const auto any = [&](auto... n) { return (set(n) || ...); };
  if (!set(13)) return false;
  // clang-format off
  return (all(12) && !any(2, 5, 8, 11, 14, 17, 20, 23, 26) && any(0, 1, 3, 4, 6, 7, 9, 10, 15, 16, 18, 19, 21, 22, 24, 25)) ||
         (all(16) && !any(0, 1, 2, 9, 10, 11, 18, 19, 20) && any(3, 4, 5, 6, 7, 8, 12, 14, 15, 17, 21, 22, 23, 24, 25, 26)) ||
         (all(15) && !any(0, 1, 2, 5, 8, 9, 10, 11, 14, 17, 18, 19, 20, 23, 26) && any(3, 4, 6, 7, 21, 22, 24, 25)) ||
         (all(12, 16) && !any(2, 10, 11, 14, 20) && !(set(1) && set(5)) && !(set(19) && set(23))) ||
         (all(12, 16, 20) && !any(2, 10, 11, 14) && !(set(1) && set(5)) && set(19) != set(23)) ||
         (all(2, 12, 16) && !any(10, 11, 14, 20) && set(1) != set(5) && !(set(19) && set(23))) ||
         (all(12, 16, 22) && !any(2, 10, 11, 14) && !(set(1) && set(5))) ||
         (all(4, 12, 16) && !any(10, 11, 14, 20) && !(set(19) && set(23))) ||
         (all(2, 12, 16, 22) && !any(10, 11, 14) && set(1) != set(5)) ||
         (all(4, 12, 16, 20) && !any(10, 11, 14) && set(19) != set(23)) ||
         (all(15, 21) && !any(0, 1, 2, 5, 8, 9, 10, 11, 14, 17, 20, 23, 26)) ||
         (all(3, 15) && !any(2, 5, 8, 9, 10, 11, 14, 17, 18, 19, 20, 23, 26)) ||
         (all(15, 25) && !any(0, 1, 2, 5, 8, 9, 10, 11, 14, 17, 18, 19, 20)) ||
         (all(7, 15) && !any(0, 1, 2, 9, 10, 11, 14, 17, 18, 19, 20, 23, 26));
  // clang-format on
}

inline int plain_thinning(VXCore::VXFixedGrid<float>& grid) {
  const int x_dim = static_cast<int>(grid.GetXDim()), y_dim = static_cast<int>(grid.GetYDim());
  const int count = static_cast<int>(grid.GetSize()), x = x_dim, p = x_dim * y_dim;
  const int z_dim = static_cast<int>(grid.GetZDim());
  float* const values = grid.GetValues();
  int offsets[27];
  for (int n = 0; n < 27; ++n) offsets[n] = (n % 3 - 1) + (n / 3 % 3 - 1) * x + (n / 9 - 1) * p;
  for (int i = 0; i < count; ++i)
    if (values[i] != 0.0f) values[i] = 1.0f;
  const auto mask = std::make_unique<bool[]>(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    const int at[] = {i % x, i % p / x, i / p};
    mask[i] = at[0] >= 1 && at[0] <= x_dim - 2 && at[1] >= 1 && at[1] <= y_dim - 2 && at[2] >= 1 &&
              at[2] <= z_dim - 2;
  }
  const int faces[12][2] = {{p, -x},  {x, 1}, {-p, -1}, {-x, 1}, {p, -1}, {-p, x},
                            {-x, -1}, {p, x}, {-p, 1},  {x, -1}, {p, 1},  {-p, -x}};
  float tmp[27], out[27] = {};
  int rounds = 0;
  for (int deleted = 1; deleted != 0; ++rounds) {
    deleted = 0;
    for (int d = 0; d < 12; ++d) {
      shrink_boundary(values, count, faces[d][0], faces[d][1], mask.get());
      for (int i = 0; i < count; ++i)
        if (mask[i] && values[i] == 10.0f) {
          apply_morphology(values, i, offsets, d, tmp, out);
          if (!morphology_match(out)) continue;
          values[i] = 20.0f;
          ++deleted;
        }
      for (int i = 0; i < count; ++i)
        if (values[i] == 20.0f)
          values[i] = 0.0f;
        else if (values[i] != 0.0f)
          values[i] = 1.0f;
    }
  }
  for (int i = 0; i < count; ++i)
    if (!mask[i]) values[i] = 0.0f;
  return rounds;
}
