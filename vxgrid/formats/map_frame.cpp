#include <vxgrid/formats/map_frame.inl>

#include <algorithm>
#include <climits>

#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/error_handler.h>

namespace VXCore {

bool check_dims(int nx, int ny, int nz, int last[3], const int start[3], int& flags_any, int& flags_wrap) {
  const int period[3] = {nx, ny, nz};
  flags_any = flags_wrap = 0;
  for (int axis = 0; axis < 3; ++axis) {
    const long long steps = static_cast<long long>(last[axis]) - start[axis];
    if (steps == period[axis]) flags_any |= 1 << axis;
    if (steps + 1 == period[axis]) {
      flags_any |= 1 << axis;
      flags_wrap |= 1 << axis;
    }
  }
  // A box that ends at the largest int has no exclusive end: it shows as one that ends before it starts.
  for (int axis = 0; axis < 3; ++axis) last[axis] = last[axis] < INT_MAX ? last[axis] + 1 : INT_MIN;
  for (int axis = 0; axis < 3; ++axis)
    if (last[axis] < start[axis]) {
      // Every map format shares these words.
      VXThrow.Warning("Invalid %c dimensions for XPLOR file reading: %i < %i", "XYZ"[axis], last[axis],
                      start[axis]);
      return false;
    }
  return true;
}

bool size_map_grid(VXZemoGrid& grid, int end[3], const int start[3], int flags_wrap) {
  unsigned long count[3];
  for (int axis = 0; axis < 3; ++axis) {
    const int more = flags_wrap >> axis & 1;
    const long long steps = static_cast<long long>(end[axis]) - start[axis] + more;
    if (steps < 0) return false;
    if (more && steps == 1) {
      VXThrow.Warning("Map with a period of 0 along %c", "XYZ"[axis]);
      return false;
    }
    count[axis] = static_cast<unsigned long>(steps);
  }
  if (flags_wrap && VXGridSizeMultiply(count[0], count[1], count[2]) == 0) return false;
  for (int axis = 0; axis < 3; ++axis) {
    if (count[axis] > INT_MAX) return false;
    if (flags_wrap >> axis & 1 && end[axis] < INT_MAX) ++end[axis];
  }
  return grid.SetDim(static_cast<unsigned int>(count[0]), static_cast<unsigned int>(count[1]),
                     static_cast<unsigned int>(count[2]));
}

void close_planes(float* values, const unsigned int dims[3], int flags) {
  const std::size_t row = dims[0], plane = row * dims[1];
  if (flags & 1)
    for (float *first = values, *stop = values + plane * dims[2]; first < stop; first += row)
      first[row - 1] = first[0];
  if (flags & 2)
    for (float *first = values, *stop = values + plane * dims[2]; first < stop; first += plane)
      std::copy_n(first, row, first + plane - row);
  if (flags & 4) std::copy_n(values, plane, values + plane * (dims[2] - 1));
}

void place_in_cell(VXZemoGrid& grid, const float cell[6], int nx, int ny, int nz, const int end[3],
                   const int start[3]) {
  grid.SetUnitCell(cell[0], cell[1], cell[2], cell[3], cell[4], cell[5], static_cast<unsigned int>(nx),
                   static_cast<unsigned int>(ny), static_cast<unsigned int>(nz));
  float m[9], f[3], mid[3];
  grid.GetOrientation(m);
  for (int axis = 0; axis < 3; ++axis)
    f[axis] = (static_cast<float>(end[axis]) - 1.0f) + static_cast<float>(start[axis]);
  for (int axis = 0; axis < 3; ++axis)
    mid[axis] =
        (m[3 * axis] * f[0] + m[3 * axis + 1] * f[1] + m[3 * axis + 2] * f[2]) * 0.5f * grid.GetSpacing();
  grid.SetMid(mid[0], mid[1], mid[2]);
  grid.SetReentrant(true);
}

bool finish_map(VXZemoGrid& grid, const float* data, std::size_t n, const float cell[6], int nx, int ny,
                int nz, int end[3], const int start[3], int flags_wrap) {
  if (!size_map_grid(grid, end, start, flags_wrap)) return false;
  if (flags_wrap == 0) {
    grid.GetFloats().SetValues(0, data, static_cast<unsigned int>(std::min<std::size_t>(n, UINT_MAX)));
  } else {
    const unsigned int dims[3] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
    const std::size_t nx_old = dims[0] - (flags_wrap & 1), ny_old = dims[1] - (flags_wrap >> 1 & 1),
                      nz_old = dims[2] - (flags_wrap >> 2 & 1);
    float* const values = grid.GetFloats().GetValues();
    for (std::size_t z = 0, at = 0; z < nz_old; ++z)
      for (std::size_t y = 0; y < ny_old && at < n; ++y, at += nx_old)
        std::copy_n(data + at, std::min(nx_old, n - at), values + (z * dims[1] + y) * dims[0]);
    close_planes(values, dims, flags_wrap);
  }
  place_in_cell(grid, cell, nx, ny, nz, end, start);
  return true;
}

}  // namespace VXCore
