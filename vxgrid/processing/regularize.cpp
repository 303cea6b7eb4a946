#include <vxgrid/processing/regularize.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <string>

#include <vxgrid/grid/grid_accessors.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/orientation.inl>
#include <vxgrid/processing/sampling.inl>

namespace VXCore {
namespace {

// A lattice of values and how it stands in the world.
struct Source {
  GridStruct lattice;
  float orientation[9];

  explicit Source(const GridStruct& grid, const float* matrix = lattice::kIdentity) : lattice(grid) {
    std::copy_n(matrix, 9, orientation);
  }
  // The current float field.
  explicit Source(const VXZemoGrid& grid) : Source(lattice::view(grid, vi_grid_floats(grid))) {
    grid.GetOrientation(orientation);
  }
  explicit Source(const VXScalarGrid& grid) : Source(lattice::view(grid, grid.GetValues())) {}

  void get_mid(float* mid) const {
    mid[0] = lattice.xmid;
    mid[1] = lattice.ymid;
    mid[2] = lattice.zmid;
  }
};

// From the world to the axes of the source. A singular matrix leaves the points where they are.
lattice::Turn unturn(const Source& source) {
  const float origin[3] = {0, 0, 0};
  float inverse[9], mid[3];
  source.get_mid(mid);
  return lattice::invert(source.orientation, inverse) ? lattice::Turn(inverse, mid)
                                                      : lattice::Turn(lattice::kIdentity, origin);
}

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

// Takes `period` off c while c >= stop. False when that no longer changes c.
//
// Within one binade of c every step rounds to the same grid and so takes off the same amount: such steps are
// taken together, with the bits of the single steps. Where a step falls half-way between two neighbours, this
// holds from the first even one on, as the even neighbour is taken each time.
bool step_below(float& c, float period, float stop) {
  while (c >= stop) {
    const float next = c - period;
    if (next == c) return false;
    const double amount = static_cast<double>(c) - next;
    const bool is_tie = std::fabs(amount - period) * 2 == std::ldexp(1.0, std::ilogb(c) - FLT_MANT_DIG + 1);
    const double floor = std::max<double>(std::ldexp(1.0, std::ilogb(c)), stop);
    const bool is_even = std::fmod(std::ldexp(c, FLT_MANT_DIG - 1 - std::ilogb(c)), 2.0f) == 0;
    c = next;
    if (next > floor && (is_even || !is_tie))
      c = static_cast<float>(next - (std::ceil((next - floor) / amount) - 1) * amount);
  }
  return true;
}

// Brings a coordinate into [0, period) by repeated subtraction or addition, with the rounding of each step.
// False when the coordinate is too large for a step to change it, or no number.
bool reduce(float& c, float period) {
  if (!std::isfinite(c) || !step_below(c, period, period)) return false;
  if (c < 0) {
    float below = -c;
    if (!step_below(below, period, FLT_TRUE_MIN)) return false;
    c = 0.0f - below;
  }
  return true;
}

// The lattice that repeats with a period of dim - 1 cells.
class PeriodicLattice {
 public:
  PeriodicLattice(const GridStruct& grid, const float* low, const float* period)
      : values_(grid.floats), index_(grid.xdim, grid.ydim), row_(grid.xdim), plane_(row_ * grid.ydim) {
    const int dim[3] = {grid.xdim, grid.ydim, grid.zdim};
    for (int a = 0; a < 3; ++a) {
      low_[a] = low[a];
      period_[a] = period[a];
      cells_[a] = dim[a] - 1;
      steps_[a] = period[a] / grid.spacing;
    }
    spacing_ = grid.spacing;
  }

  // The values along a row of n points that begins at `first` and advances by `step`, in cells. False when a
  // coordinate cannot be brought into the lattice.
  bool sample_row(__m128 first, __m128 step, int n, float* out) const {
    alignas(16) float f_lanes[4];
    _mm_store_ps(f_lanes, first);
    const float scale = 1.0f / spacing_;
    for (int a = 0; a < 3; ++a) {
      f_lanes[a] -= low_[a];
      if (!reduce(f_lanes[a], period_[a])) return false;
      f_lanes[a] *= scale;
    }
    f_lanes[3] = 0;

    const __m128i last = _mm_sub_epi32(load(cells_), _mm_set1_epi32(1)), zero = _mm_setzero_si128();
    __m128 f = _mm_load_ps(f_lanes);
    for (int i = 0; i < n; ++i, f = _mm_add_ps(f, step)) {
      __m128i cell = _mm_cvttps_epi32(f);
      __m128 t = _mm_sub_ps(f, _mm_cvtepi32_ps(cell));  // before any wrap
      const __m128i outside = _mm_or_si128(_mm_cmpgt_epi32(cell, last), _mm_cmplt_epi32(cell, zero));
      if ((_mm_movemask_epi8(outside) & 0xfff) && !wrap(cell, f, t)) return false;
      out[i] = lattice::trilinear(values_ + index_(cell), row_, plane_, t);
    }
    return true;
  }

 private:
  static __m128i load(const int* v) { return _mm_load_si128(reinterpret_cast<const __m128i*>(v)); }

  // Brings cells, and the positions that they came from, back into the lattice.
  bool wrap(__m128i& cell_lanes, __m128& f_lanes, __m128& t_lanes) const {
    alignas(16) int cell[4];
    alignas(16) float f[4], t[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(cell), cell_lanes);
    _mm_store_ps(f, f_lanes);
    _mm_store_ps(t, t_lanes);
    for (int a = 0; a < 3; ++a)
      if ((cell[a] < 0 || cell[a] >= cells_[a]) && !wrap(a, cell[a], f[a], t[a])) return false;
    cell_lanes = load(cell);
    f_lanes = _mm_load_ps(f);
    t_lanes = _mm_load_ps(t);
    return true;
  }

  // One period is the rule; a step longer than the lattice takes several.
  bool wrap(int a, int& cell, float& f, float& t) const {
    if (!(std::fabs(f) < 1e9f)) {  // soon beyond what an int counts, and a whole number anyway
      f = std::fmod(f, steps_[a]);
      if (!std::isfinite(f)) return false;
      cell = static_cast<int>(f);
      t = 0;
    }
    const int periods = cell >= 0 ? cell / cells_[a] : -((cells_[a] - 1 - cell) / cells_[a]);
    cell -= periods * cells_[a];
    f -= static_cast<float>(periods) * steps_[a];
    return true;
  }

  const float* values_;
  lattice::CellIndex index_;
  std::ptrdiff_t row_, plane_;
  float low_[3], period_[3], steps_[3];
  alignas(16) int cells_[4] = {};
  float spacing_;
};

bool resample_periodic(const Source& source, const float* low, const float* period, const GridStruct& out) {
  const lattice::Turn to_source = unturn(source);
  const PeriodicLattice lattice(source.lattice, low, period);
  // How far one output step along x goes in the source, in cells.
  const __m128 step = _mm_div_ps(_mm_sub_ps(to_source(out.spacing, 0, 0), to_source(0, 0, 0)),
                                 _mm_set1_ps(source.lattice.spacing));
  const float x_low = lattice::Span(out.xmid, out.xdim, out.spacing).low;
  return for_each_row(out, [&](float y, float z, float* values) {
    return lattice.sample_row(to_source(x_low, y, z), step, out.xdim, values);
  });
}

// Fills the values of `out`, which are 0. False when the source has no extent along an axis.
bool resample(const Source& source, int mode, const GridStruct& out) {
  const GridStruct& in = source.lattice;
  const int dim[3] = {in.xdim, in.ydim, in.zdim};
  const float h = 0.5f * in.spacing;
  float mid[3], low[3], period[3];
  source.get_mid(mid);
  for (int a = 0; a < 3; ++a) {
    const float half = static_cast<float>(dim[a] - 1) * h;
    low[a] = mid[a] - half;
    period[a] = (half + mid[a]) - low[a];
    if (period[a] <= 0 || period[a] / in.spacing == 0) return false;
  }
  if (mode) return resample_periodic(source, low, period, out);
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
