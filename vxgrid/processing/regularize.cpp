#include <vxgrid/processing/regularize.h>

#include <algorithm>
#include <string>

#include <vxgrid/grid/grid_accessors.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/periodic_sampling.inl>
#include <vxgrid/processing/source.inl>

namespace VXCore {
namespace {

using lattice::Source;

// Calls row(y, z, values) for every row of the output, positions advanced by addition, until it gives false.
template <class Row>
bool for_each_row(const GridStruct& out, Row row) {
  const float y_low = lattice::Span(out.ymid, out.ydim, out.spacing).low;
  float* values = out.floats;
  float z = lattice::Span(out.zmid, out.zdim, out.spacing).low;
  for (int k = 0; k < out.zdim; ++k, z += out.spacing) {
    float y = y_low;
    for (int j = 0; j < out.ydim; ++j, y += out.spacing, values += out.xdim)
      if (!row(y, z, values)) return false;
  }
  return true;
}

// Trilinear inside the source; points outside keep the 0 that they hold.
void resample_clipped(const Source& source, const GridStruct& out) {
  const lattice::Turn to_source = unturn(source);
  const lattice::ClippedLattice from(source.lattice, 0.0f, lattice::ClippedLattice::kClearOfLastCell);
  const float x_low = lattice::Span(out.xmid, out.xdim, out.spacing).low;
  for_each_row(out, [&](float y, float z, float* values) {
    const lattice::Turn::Row row = to_source.row(y, z);
    float x = x_low;
    for (int i = 0; i < out.xdim; ++i, x += out.spacing) {
      const __m128 point = to_source(x, row);
      if (!from.holds(point)) continue;
      __m128 t;
      const float* const corner = source.lattice.floats + from.index(from.cell(point, t));
      values[i] = lattice::trilinear(corner, from.row(), from.plane(), t);
    }
    return true;
  });
}

bool resample_periodic(const Source& source, const lattice::PeriodicLattice& from, const GridStruct& out) {
  const lattice::Turn to_source = unturn(source);
  // How far one output step along x goes in the source, in cells.
  const __m128 step = _mm_div_ps(_mm_sub_ps(to_source(out.spacing, 0, 0), to_source(0, 0, 0)),
                                 _mm_set1_ps(source.lattice.spacing));
  const float x_low = lattice::Span(out.xmid, out.xdim, out.spacing).low;
  return for_each_row(out, [&](float y, float z, float* values) {
    return from.sample_row(to_source(x_low, y, z), step, out.xdim, values);
  });
}

// Fills the values of `out`, which are 0. False when the source has no extent along an axis.
bool resample(const Source& source, int mode, const GridStruct& out) {
  const lattice::PeriodicLattice periodic(source.lattice);
  if (!periodic.has_extent()) return false;
  if (mode) return resample_periodic(source, periodic, out);
  resample_clipped(source, out);
  return true;
}

bool overflows(unsigned long x, unsigned long y, unsigned long z, const char* which) {
  if (VXGridSizeMultiply(x, y, z) != 0) return false;
  VXThrow.Warning("Unable to regularize grid due to %s grid signed integer overflow: %i x %i x %i", which,
                  static_cast<int>(x), static_cast<int>(y), static_cast<int>(z));
  return true;
}

bool overflows(const Source& source) {
  const GridStruct& in = source.lattice;
  return overflows(static_cast<unsigned long>(in.xdim), static_cast<unsigned long>(in.ydim),
                   static_cast<unsigned long>(in.zdim), "input");
}

template <class Grid>
bool overflows(const Grid& out) {
  return overflows(out.GetXDim(), out.GetYDim(), out.GetZDim(), "output");
}

template <class Grid>
bool has_lattice(const Grid& grid) {
  return static_cast<double>(grid.GetXDim()) * grid.GetYDim() * grid.GetZDim() >= 2;
}

// Sizes a grid around eight corners.
template <class Grid>
void enclose_corners(Grid& out, const float* corners, float spacing) {
  unsigned int dim[3];
  float mid[3];
  for (int a = 0; a < 3; ++a) {
    float low = corners[a], high = corners[a];
    for (int corner = 1; corner < 8; ++corner) {
      low = std::min(low, corners[3 * corner + a]);
      high = std::max(high, corners[3 * corner + a]);
    }
    dim[a] = static_cast<unsigned int>(lattice::truncate((high - low) * (1 / spacing))) + 1;
    mid[a] = 0.5f * (low + high);
  }
  out.SetDim(dim[0], dim[1], dim[2]);
  out.SetMid(mid[0], mid[1], mid[2]);
  out.SetSpacing(spacing);
}

float* values_of(VXZemoGrid& grid) { return vi_grid_floats(grid); }
float* values_of(VXScalarGrid& grid) { return grid.GetValues(); }

// The regulariser. `clear` zeroes the values of an output that may hold some.
template <class Grid, class Clear>
bool regularize(Grid& out, int mode, const Source& source, const float* corners, Clear clear) {
  if (overflows(source)) return false;
  if (!has_lattice(out)) {
    out.SetSpacing(source.lattice.spacing);
    if (!corners) return false;
    enclose_corners(out, corners, source.lattice.spacing);
  }
  if (overflows(out)) return false;
  clear(out);
  return resample(source, mode, lattice::view(out, values_of(out)));
}

int regularize(VXZemoGrid& out, int mode, const Source& source, const float* corners) {
  return regularize(out, mode, source, corners, [](VXZemoGrid& grid) { vx_clear_grid_floats(grid); });
}

template <class Grid>
bool make_regular_sub_grid(Grid& out, const Source& source, const std::string& title, const float* center,
                           const float* extents, float spacing, bool reentrant) {
  out.Clear();
  if (spacing == 0) spacing = source.lattice.spacing;
  if (!VXMakeGridFromCenterAndExtents(out, center, extents, spacing)) return false;
  const bool done = regularize(out, reentrant, source, nullptr, [](Grid&) {});  // its values are fresh
  out.SetTitle(title);
  return done;
}

template <class In>
void copy_type_and_attributes(VXScalarGrid& out, const In& in) {
  out.SetType(in.GetType());
  VXCopyBaseData(out, in);
}

int make_regularized_subgrid(const VXZemoGrid& in, int mode, float* center, float* half_extents,
                             float spacing, VXZemoGrid& out) {
  if (spacing == 0) spacing = in.GetSpacing();
  if (spacing == 0) return 0;
  if (&in == &out) return make_regularized_subgrid(VXZemoGrid(in), mode, center, half_extents, spacing, out);
  vx_make_empty_grid(out, center, half_extents, spacing);
  regularize_grid(in, mode, out);
  return 1;
}

}  // namespace

bool VXMakeRegularGrid(VXZemoGrid& out, const VXZemoGrid& in, float spacing) {
  if (!in.GetOrientationSet() && (spacing == 0 || spacing == in.GetSpacing())) {
    out = in;
    return true;
  }
  float center[3] = {}, extents[3] = {};
  VXGetCenterAndExtents(in, center, extents);
  return VXMakeRegularSubGrid(out, in, center, extents, spacing, in.GetReentrant());
}

bool VXMakeRegularGrid(VXScalarGrid& out, const VXSkewGrid& in, float spacing) {
  if (in.IsRegular()) {
    out = in.AsRegularGrid();
    VXCopyBaseData(out, in);
    return true;
  }
  float center[3] = {}, extents[3] = {};
  VXGetCenterAndExtents(in, center, extents);
  return VXMakeRegularSubGrid(out, in, center, extents, spacing, in.GetReentrant());
}

bool VXMakeRegularSubGrid(VXZemoGrid& out, const VXZemoGrid& in, const float* center, const float* extents,
                          float spacing, bool reentrant) {
  if (&out == &in) return VXMakeRegularSubGrid(out, VXZemoGrid(in), center, extents, spacing, reentrant);
  return make_regular_sub_grid(out, Source(in), in.GetTitle(), center, extents, spacing, reentrant);
}

bool VXMakeRegularSubGrid(VXScalarGrid& out, const VXScalarGrid& in, const float* center,
                          const float* extents, float spacing, bool reentrant) {
  if (&out == &in) return VXMakeRegularSubGrid(out, VXScalarGrid(in), center, extents, spacing, reentrant);
  const bool done =
      make_regular_sub_grid(out, Source(in), in.GetTitle(), center, extents, spacing, reentrant);
  copy_type_and_attributes(out, in);
  return done;
}

bool VXMakeRegularSubGrid(VXScalarGrid& out, const VXSkewGrid& in, const float* center, const float* extents,
                          float spacing, bool reentrant) {
  const bool done = make_regular_sub_grid(out, Source(in.GetImpl().GetImpl()), in.GetTitle(), center, extents,
                                          spacing, reentrant);
  copy_type_and_attributes(out, in);
  return done;
}

int vx_regularize_grid_from_grid_params(VXZemoGrid& out, int mode, const float* values, const float* mid,
                                        const int* dims, float spacing, const float* orientation,
                                        const float* corners) {
  GridStruct grid{};
  grid.floats = const_cast<float*>(values);
  grid.xmid = mid[0];
  grid.ymid = mid[1];
  grid.zmid = mid[2];
  grid.xdim = dims[0];
  grid.ydim = dims[1];
  grid.zdim = dims[2];
  grid.spacing = spacing;
  return regularize(out, mode, Source(grid, orientation), corners);
}

int regularize_grid(const VXZemoGrid& in, int mode, VXZemoGrid& out) {
  if (&in == &out) return regularize_grid(VXZemoGrid(in), mode, out);
  float corners[24];
  vx_get_corners_of_grid(corners, in);
  return regularize(out, mode, Source(in), corners);
}

int vx_regularize_grid(const VXZemoGrid& in, VXZemoGrid& out) { return regularize_grid(in, 0, out); }
int vx_regularize_grid_reenterent(const VXZemoGrid& in, VXZemoGrid& out) {
  return regularize_grid(in, 1, out);
}

int vx_make_regularized_subgrid(const VXZemoGrid& in, float* center, float* half_extents, float spacing,
                                VXZemoGrid& out) {
  return make_regularized_subgrid(in, 0, center, half_extents, spacing, out);
}

int vx_make_regularized_subgrid_reenterent(const VXZemoGrid& in, float* center, float* half_extents,
                                           float spacing, VXZemoGrid& out) {
  return make_regularized_subgrid(in, 1, center, half_extents, spacing, out);
}

}  // namespace VXCore
