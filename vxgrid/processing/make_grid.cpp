#include <vxgrid/processing/make_grid.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include <vxgrid/grid/grid_accessors.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/zemomol.h>
#include <vxgrid/processing/lattice.inl>
#include <vxgrid/processing/orientation.inl>

namespace VXCore {
namespace {

constexpr int kMaxDimension = 16777216;  // 2^24: every smaller whole number is a float

void warn_of_dimension(float f, const char* fault, int limit) {
  VXThrow.Warning(
      "Unable to make dimension from extent because of (float)%f%s(unsigned int)%d when performing "
      "conversions between integers and floating point types",
      f, fault, limit);
}

// The low test is against -2^24, not 0: a small negative extent passes, and its huge unsigned dimension is
// for SetDim to refuse.
bool MakeDimensionFromExtent(unsigned int& dim, float extent, float spacing) {
  const float f = (extent + 1e-5f) / spacing + 1.0f;
  if (std::trunc(f) > static_cast<float>(kMaxDimension)) {
    warn_of_dimension(f, " is greater than the maximum allowed", kMaxDimension);
    return false;
  }
  if (!(std::trunc(f) >= -static_cast<float>(kMaxDimension))) {
    warn_of_dimension(f, " is less than the minimum allowed", 0);
    return false;
  }
  dim = static_cast<unsigned int>(static_cast<std::int64_t>(f));
  return true;
}

template <class Grid>
bool make_grid(Grid& grid, const float* center, const float* extents, float spacing) {
  if (!center || !extents || spacing == 0) return false;
  unsigned int dim[3];
  return grid.SetSpacing(spacing) && grid.SetMid(center[0], center[1], center[2]) &&
         MakeDimensionFromExtent(dim[0], extents[0], spacing) &&
         MakeDimensionFromExtent(dim[1], extents[1], spacing) &&
         MakeDimensionFromExtent(dim[2], extents[2], spacing) && grid.SetDim(dim[0], dim[1], dim[2]);
}

template <class Grid>
void get_aligned_box(const Grid& grid, float* center, float* extents) {
  if (grid.IsSpacingSet()) {
    extents[0] = static_cast<float>(grid.GetXDim()) * grid.GetSpacing();
    extents[1] = static_cast<float>(grid.GetYDim()) * grid.GetSpacing();
    extents[2] = static_cast<float>(grid.GetZDim()) * grid.GetSpacing();
  }
  center[0] = grid.GetXMid();
  center[1] = grid.GetYMid();
  center[2] = grid.GetZMid();
}

// One axis of the cut of a block: indices count from a low bound that is half the whole-number part of the
// span away from the midpoint.
struct CutAxis {
  CutAxis(unsigned int n, float mid, float step) : dim(static_cast<int>(n)), spacing(step) {
    const float half_width = 0.5f * std::trunc(static_cast<float>(dim - 1) * spacing);
    low = mid - half_width;
    high = mid + half_width;
  }
  // The block [a, b] that a box from `from` to `to` touches.
  void cut(float from, float to) {
    const auto index = [this](float x) {
      return std::clamp(lattice::truncate((x - low) / spacing), 0, dim - 1);
    };
    a = low > from ? 0 : index(from);
    b = to > high ? dim - 1 : index(to);
  }
  int count() const { return b - a + 1; }
  float middle() const { return low + static_cast<float>(a + b) * 0.5f * spacing; }

  int dim;
  float spacing;
  float low, high;
  int a = 0, b = 0;
};

template <class T>
void copy_block(const T* from, const CutAxis* cut, T* to) {
  for (std::ptrdiff_t z = cut[2].a; z <= cut[2].b; ++z)
    for (std::ptrdiff_t y = cut[1].a; y <= cut[1].b; ++y)
      to = std::copy_n(from + cut[0].a + cut[0].dim * (y + cut[1].dim * z), cut[0].count(), to);
}

// False, with one Warning, when the boxes miss each other.
bool meets(const float* low, const float* high, const CutAxis* cut) {
  for (int a = 0; a < 3; ++a)
    if (low[a] > cut[a].high) {
      vi_warning_print("minimum %c of points is greater than original grid\n", "xyz"[a]);
      return false;
    }
  for (int a = 0; a < 3; ++a)
    if (high[a] < cut[a].low) {
      vi_warning_print("maximum %c of points is less than original grid\n", "xyz"[a]);
      return false;
    }
  return true;
}

}  // namespace

bool VXMakeGridFromCenterAndExtents(VXZemoGrid& grid, const float* center, const float* extents,
                                    float spacing) {
  return make_grid(grid, center, extents, spacing);
}

bool VXMakeGridFromCenterAndExtents(VXScalarGrid& grid, const float* center, const float* extents,
                                    float spacing) {
  return make_grid(grid, center, extents, spacing);
}

void VXGetCenterAndExtents(const VXGridBase& grid, float* center, float* extents) {
  get_aligned_box(grid, center, extents);
}

void VXGetCenterAndExtents(const VXZemoGrid& grid, float* center, float* extents) {
  if (!grid.GetOrientationSet()) return get_aligned_box(grid, center, extents);
  const unsigned int nx = grid.GetXDim(), ny = grid.GetYDim(), nz = grid.GetZDim();
  if (nx == 0 || ny == 0 || nz == 0) return;
  float low[3] = {HUGE_VALF, HUGE_VALF, HUGE_VALF}, high[3] = {-HUGE_VALF, -HUGE_VALF, -HUGE_VALF};
  for (int corner = 0; corner < 8; ++corner) {
    const unsigned int x = corner & 1 ? nx - 1 : 0, y = corner & 2 ? ny - 1 : 0, z = corner & 4 ? nz - 1 : 0;
    float p[3];
    grid.ElementToSpatialCoord((z * ny + y) * nx + x, p[0], p[1], p[2]);
    for (int a = 0; a < 3; ++a) {
      p[a] += grid.GetSpacing();  // the box is meant to lie one spacing up, and stays there
      low[a] = std::min(low[a], p[a]);
      high[a] = std::max(high[a], p[a]);
    }
  }
  for (int a = 0; a < 3; ++a) {
    extents[a] = high[a] - low[a];
    center[a] = static_cast<float>(high[a] - 0.5 * extents[a]);
  }
}

void VXGetCenterAndExtents(const VXSkewGrid& grid, float* center, float* extents) {
  VXGetCenterAndExtents(grid.GetImpl().GetImpl(), center, extents);
}

int vx_make_empty_grid(VXZemoGrid& grid, float* center, float* half_extents, float spacing) {
  if (!center || !half_extents || spacing == 0) return 0;
  grid.SetSpacing(spacing);
  grid.SetMid(center[0], center[1], center[2]);
  unsigned int dim[3];
  for (int a = 0; a < 3; ++a)
    dim[a] = static_cast<unsigned int>(lattice::truncate((2.0 * half_extents[a] + 1e-5) / spacing)) + 1;
  grid.SetDim(dim[0], dim[1], dim[2]);
  return 1;
}

int vx_get_corners_of_grid(float* corners24, const VXZemoGrid& grid) {
  float orientation[9];
  if (!grid.GetOrientation(orientation)) std::copy_n(lattice::kIdentity, 9, orientation);
  const float mid[3] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
  const lattice::Turn turn(orientation, mid);
  const GridStruct v = lattice::view(grid, nullptr);
  float low[3], high[3];
  vi_get_grid_limits(v, &low[0], &low[1], &low[2], &high[0], &high[1], &high[2]);
  for (int corner = 0; corner < 8; ++corner)
    lattice::store_point(
        turn((corner & 1 ? high : low)[0], (corner & 2 ? high : low)[1], (corner & 4 ? high : low)[2]),
        corners24 + 3 * corner);
  return 1;
}

int vx_make_subgrid_that_encloses_points(const VXZemoGrid& in, const float* xyz, int n, float margin,
                                         VXZemoGrid& out) {
  if (&in == &out) return vx_make_subgrid_that_encloses_points(VXZemoGrid(in), xyz, n, margin, out);
  if (in.GetSize() == 0) return 0;
  CutAxis cut[3] = {{in.GetXDim(), in.GetXMid(), in.GetSpacing()},
                    {in.GetYDim(), in.GetYMid(), in.GetSpacing()},
                    {in.GetZDim(), in.GetZMid(), in.GetSpacing()}};
  float low[3], high[3];
  for (int a = 0; a < 3; ++a) {
    low[a] = n < 1 ? xyz[a] : xyz[a] - margin;
    high[a] = n < 1 ? xyz[a] : xyz[a] + margin;
    for (std::ptrdiff_t i = 1; i < n; ++i) {
      low[a] = std::min(low[a], xyz[3 * i + a] - margin);
      high[a] = std::max(high[a], xyz[3 * i + a] + margin);
    }
  }
  if (!meets(low, high, cut)) return 0;
  for (int a = 0; a < 3; ++a) cut[a].cut(low[a], high[a]);
  if (std::any_of(cut, cut + 3, [](const CutAxis& axis) { return axis.count() < 1; }))
    return 0;  // negative margin

  out.SetSpacing(in.GetSpacing());
  out.SetMid(cut[0].middle(), cut[1].middle(), cut[2].middle());
  out.SetDim(static_cast<unsigned int>(cut[0].count()), static_cast<unsigned int>(cut[1].count()),
             static_cast<unsigned int>(cut[2].count()));
  if (in.GetFloatsSet()) copy_block(vi_grid_floats(in), cut, vi_grid_floats(out));
  if (in.GetIntegersSet()) copy_block(vi_grid_integers(in), cut, vi_grid_integers(out));
  return 1;
}

}  // namespace VXCore
