#include <vxgrid/molgrid/gaussian_fit.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include <vxgrid/gaussian/gaussian_container.h>
#include <vxgrid/gaussian/gaussian_width.h>
#include <vxgrid/gaussian/gsphere.h>
#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/large_array.h>
#include <vxgrid/host/tracer.h>
#include <vxgrid/molgrid/molecular_grid.h>
#include <vxgrid/processing/grid_struct.h>
#include <vxgrid/host/wide.inl>

namespace VXCore {

namespace {

using VXHost::VXLargeArray;
using Floats = float __attribute__((vector_size(32)));
using Bits = unsigned int __attribute__((vector_size(32)));

constexpr std::size_t kLanes = 8;
// What vectors may read and write behind the last point of a lattice.
constexpr std::size_t kSlack = 4 * kLanes;

constexpr float kCut = 0.01f;
constexpr float kPublicTail = 0.01f;
constexpr int kLevels = 3;
constexpr float kLargestRadius = 3.2f;
constexpr float kRadiusStep = 1.0f;
constexpr float kPrefactor = 2.7f;
constexpr float kMoleculeSpacing = 0.5f;
constexpr float kPi3 = 31.006203f;
constexpr float kTwoOverPi3 = 0.25801292f;
// Points below it add nothing to a correlation.
constexpr float kSmallestDensity = 1e-7f;
// A list holds what is above this share of the largest correlation, and the threshold falls by it.
constexpr float kStep = 0.85f;

/// A lattice as the routines here see it: along the axes, whatever the orientation of the grid.
struct Lattice {
  explicit Lattice(const VXZemoGrid& grid)
      : dim{static_cast<int>(grid.GetXDim()), static_cast<int>(grid.GetYDim()),
            static_cast<int>(grid.GetZDim())},
        spacing(grid.GetSpacing()),
        low{Low(0, grid.GetXMid()), Low(1, grid.GetYMid()), Low(2, grid.GetZMid())} {}
  explicit Lattice(const GridStruct& grid)
      : dim{grid.xdim, grid.ydim, grid.zdim},
        spacing(grid.spacing),
        low{Low(0, grid.xmid), Low(1, grid.ymid), Low(2, grid.zmid)} {}

  std::size_t Row() const { return static_cast<std::size_t>(dim[0]); }
  std::size_t Plane() const { return Row() * static_cast<std::size_t>(dim[1]); }
  std::size_t Size() const { return Plane() * static_cast<std::size_t>(dim[2]); }

  const int dim[3];
  const float spacing;
  const float low[3];  ///< the first sample

 private:
  float Low(int axis, float mid) const { return mid - static_cast<float>(dim[axis] - 1) * spacing / 2; }
};

/// Grid steps after which exp(-width r^2) has fallen to `tail`: at most `most`, 0 for what is not a number.
int whole_reach(float tail, float width, float spacing, int most) {
  const float steps = std::sqrt(-std::log(tail) / width) / spacing;
  if (!(steps >= 1.0f)) return 0;
  return steps < static_cast<float>(most) ? static_cast<int>(steps) : most;
}

/// The points along one axis that a Gaussian changes, from `first` up to `end`, and its factors there.
struct AxisWindow {
  int first = 0, end = 0;
  std::vector<float> factor;

  /// Around the point at or below the centre; one point shorter on the high side. False when nothing is left.
  bool SetOnPoint(const Lattice& lattice, int axis, float centre, float width, float tail) {
    constexpr int kFar = 1 << 29;
    const float h = lattice.spacing;
    const float at = (centre - lattice.low[axis]) / h + 0.01f;
    if (!(std::fabs(at) < static_cast<float>(kFar))) return false;
    const int middle = static_cast<int>(at);
    const int reach = whole_reach(tail, width, h, kFar);
    return SetRange(std::max(middle - reach, 0), std::min(middle + reach, lattice.dim[axis]), [&](int i) {
      const float d = static_cast<float>(i - middle);
      return std::exp(-width * h * h * d * d);
    });
  }

  /// Of all points no further than `reach` from the centre.
  bool SetWithin(const Lattice& lattice, int axis, float centre, float width, float reach) {
    const double low = lattice.low[axis], h = lattice.spacing, last = lattice.dim[axis] - 1;
    const double from = std::ceil((centre - static_cast<double>(reach) - low) / h);
    const double to = std::floor((centre + static_cast<double>(reach) - low) / h);
    if (!(from <= last && to >= 0.0)) return false;
    return SetRange(static_cast<int>(std::max(from, 0.0)), static_cast<int>(std::min(to, last)) + 1,
                    [&](int i) {
                      const float d = static_cast<float>(low + i * h - centre);
                      return std::exp(-width * d * d);
                    });
  }

 private:
  template <class Factor>
  bool SetRange(int from, int up_to, Factor factor_at) {
    if (from >= up_to) return false;
    first = from;
    end = up_to;
    factor.resize(static_cast<std::size_t>(end - first));
    for (int i = first; i < end; ++i) factor[i - first] = factor_at(i);
    return true;
  }
};
using Windows = std::array<AxisWindow, 3>;

/// value -= prefactor * z * y * x at all points of the windows, multiplied in that order.
VXGRID_WIDE void subtract_product(const Lattice& lattice, const Windows& windows, float prefactor,
                                  float* values) {
  const AxisWindow &x = windows[0], &y = windows[1], &z = windows[2];
  const std::size_t count = x.factor.size();
  const float* __restrict const along_x = x.factor.data();
  for (int k = z.first; k < z.end; ++k) {
    const float amplitude = prefactor * z.factor[k - z.first];
    for (int j = y.first; j < y.end; ++j) {
      const float height = amplitude * y.factor[j - y.first];
      float* __restrict const row = values + k * lattice.Plane() + j * lattice.Row() + x.first;
      for (std::size_t i = 0; i < count; ++i) row[i] -= height * along_x[i];
    }
  }
}

/// Subtracts one Gaussian; the windows are working memory.
void subtract(const Lattice& lattice, const Gsphere& g, float tail, Windows& windows, float* values) {
  const float centre[3] = {g.x, g.y, g.z};
  for (int axis = 0; axis < 3; ++axis)
    if (!windows[axis].SetOnPoint(lattice, axis, centre[axis], g.width, tail)) return;
  subtract_product(lattice, windows, g.prefactor, values);
}

/// out[x] = (sum over i of kernel[i] * in[x + i stride]) * scale, i ascending, for 8 kVectors outputs. The
/// accumulators stay in registers.
template <int kVectors>
VXGRID_PART_OF_CLONE inline void weighted_block(const float* in, std::size_t stride, const float* kernel,
                                                int taps, float scale, float* out) {
  Floats sum[kVectors] = {};
  for (int i = 0; i < taps; ++i, in += stride)
    for (int v = 0; v < kVectors; ++v) {
      Floats value;
      std::memcpy(&value, in + kLanes * v, sizeof value);
      sum[v] += value * kernel[i];
    }
  for (int v = 0; v < kVectors; ++v) sum[v] *= scale;
  std::memcpy(out, sum, sizeof sum);
}

/// The same for n outputs, rounded up to eight.
VXGRID_WIDE void weighted_sums(const float* in, std::size_t stride, const float* kernel, int taps,
                               float scale, float* out, std::size_t n) {
  std::size_t x = 0;
  for (; x + 3 * kLanes < n; x += 4 * kLanes) weighted_block<4>(in + x, stride, kernel, taps, scale, out + x);
  for (; x < n; x += kLanes) weighted_block<1>(in + x, stride, kernel, taps, scale, out + x);
}

/// The largest |value| of n, which lie in an array with slack; not-a-number values do not count.
VXGRID_WIDE float largest_magnitude(const float* values, std::size_t n) {
  const Bits lanes = {0, 1, 2, 3, 4, 5, 6, 7};
  Floats best = {};
  for (std::size_t i = 0; i < n; i += kLanes) {
    Bits bits;
    std::memcpy(&bits, values + i, sizeof bits);
    bits &= 0x7fffffffu;
    if (n - i < kLanes) bits &= (Bits)(lanes < static_cast<unsigned int>(n - i));
    const Floats size = (Floats)bits;
    best = size > best ? size : best;
  }
  float largest = 0.0f;
  for (std::size_t lane = 0; lane < kLanes; ++lane) largest = std::max(largest, best[lane]);
  return largest;
}

/// Copies a row with zeros for what is too small to count; whether anything does.
VXGRID_WIDE bool copy_what_counts(const float* row, std::size_t n, float* __restrict out) {
  int any = 0;
  for (std::size_t x = 0; x < n; ++x) {
    const int counts = !(row[x] < kSmallestDensity);
    out[x] = counts ? row[x] : 0.0f;
    any |= counts;
  }
  return any != 0;
}

/// Points that follow one another in memory.
struct Run {
  std::size_t first, count;
};

/// From the first that is used to one past the last.
struct Span {
  int first = INT_MAX, end = 0;
  void Add(int i) {
    first = std::min(first, i);
    end = i + 1;
  }
};

/// One width of the dictionary, and the correlations of the residual with its Gaussians of unit norm.
struct Level {
  float width;
  float norm;   ///< 1 / integral of the squared Gaussian of height 1
  float scale;  ///< sqrt(norm)
  VXLargeArray<float> values;
  std::vector<Run> list;  ///< candidates above the threshold
};

/// Correlates a density with one kernel along x, y and z.
class Correlator {
 public:
  Correlator(const Lattice& lattice, const float* density, const std::vector<Run>& candidates)
      : lattice_(lattice),
        density_(density),
        candidates_(candidates),
        plane_(lattice.Plane() + kSlack, VXLargeArray<float>::Zeroed),
        planes_(lattice.Size() + kSlack, VXLargeArray<float>::Zeroed) {}

  /// Fills the candidates of a level; what stands between them is not read.
  void Fill(Level& level, float tail) {
    SetKernel(level.width, tail);
    used_planes_ = Span();
    for (int z = 0; z < lattice_.dim[2]; ++z) {
      const Span rows = AlongX(z);
      if (rows.end) used_planes_.Add(z);
      AlongY(z, rows);
    }
    AlongZ(level);
  }

 private:
  void SetKernel(float width, float tail);
  Span AlongX(int z);
  void AlongY(int z, const Span& rows);
  void AlongZ(Level& level) const;

  /// The part of the kernel around point i that meets used points: the first of these, and their number.
  int Taps(int i, const Span& used, int& first) const {
    first = std::max(i - reach_, used.first);
    return std::min(i + reach_ + 1, used.end) - first;
  }
  const float* KernelFrom(int offset) const { return kernel_.data() + reach_ + offset; }

  const Lattice& lattice_;
  const float* density_;
  const std::vector<Run>& candidates_;
  int reach_ = 0;
  std::vector<float> kernel_;   // offsets -reach to reach
  std::vector<float> padded_;   // a row between zeros
  VXLargeArray<float> plane_;   // one plane, after x
  VXLargeArray<float> planes_;  // all, after x and y
  Span used_planes_;
};

void Correlator::SetKernel(float width, float tail) {
  const float h = lattice_.spacing;
  reach_ = whole_reach(tail, width, h, *std::max_element(lattice_.dim, lattice_.dim + 3));
  kernel_.resize(2 * static_cast<std::size_t>(reach_) + 1);
  for (int i = -reach_; i <= reach_; ++i) {
    const float r = static_cast<float>(i) * h;
    kernel_[i + reach_] = h * std::exp(-width * (r * r));
  }
  padded_.assign(lattice_.Row() + 2 * static_cast<std::size_t>(reach_) + kSlack, 0.0f);
}

// Here and below, rows and runs are made in ascending order: what one writes behind its end is overwritten by
// the next.
Span Correlator::AlongX(int z) {
  const std::size_t n = lattice_.Row();
  Span used;
  for (int y = 0; y < lattice_.dim[1]; ++y) {
    float* const out = plane_.data() + y * n;
    if (copy_what_counts(density_ + z * lattice_.Plane() + y * n, n, padded_.data() + reach_)) {
      weighted_sums(padded_.data(), 1, kernel_.data(), 2 * reach_ + 1, 1.0f, out, n);
      used.Add(y);
    } else {
      std::fill_n(out, n, 0.0f);
    }
  }
  return used;
}

void Correlator::AlongY(int z, const Span& rows) {
  const std::size_t n = lattice_.Row();
  for (int y = 0; y < lattice_.dim[1]; ++y) {
    float* const out = planes_.data() + z * lattice_.Plane() + y * n;
    int first;
    const int taps = Taps(y, rows, first);
    if (taps > 0)
      weighted_sums(plane_.data() + first * n, n, KernelFrom(first - y), taps, 1.0f, out, n);
    else
      std::fill_n(out, n, 0.0f);
  }
}

void Correlator::AlongZ(Level& level) const {
  const std::size_t plane = lattice_.Plane();
  for (const Run& run : candidates_) {
    const int z = static_cast<int>(run.first / plane);
    int first;
    const int taps = Taps(z, used_planes_, first);
    float* const out = level.values.data() + run.first;
    if (taps > 0)
      weighted_sums(planes_.data() + first * plane + run.first % plane, plane, KernelFrom(first - z), taps,
                    level.scale, out, run.count);
    else
      std::fill_n(out, run.count, 0.0f);
  }
}

struct FitArguments {
  float tail, cut, tolerance;
  bool energy_test;
  int levels;
  float largest_radius, radius_step;
  int max_gaussians;
};

/// Matching pursuit. After the first correlation the density is not looked at again: each Gaussian found is
/// subtracted, in closed form, from the correlations themselves.
class GaussianFit {
 public:
  /// Sets negative values of the grid to 0.
  GaussianFit(VXZemoGrid& grid, const FitArguments& arguments, VXTracerBase& tracer);
  void Run();

  std::vector<Gsphere>& Gaussians() { return gaussians_; }
  double EnergyLeft() const { return energy_; }

 private:
  struct Best {
    float value = 0.0f, size = 0.0f;
    std::size_t level = 0, index = 0;
  };

  void ReadDensity(float* density);
  void MakeLevels(const float* density);
  float Threshold() const { return kStep * top_; }
  float MakeLists();
  bool FillLists();
  Best FindBest();
  bool Add(const Best& best);
  bool EndsAt(double energy) const;
  bool MayGoOn() const;
  void Subtract(const Level& level, const Gsphere& g);

  const FitArguments arguments_;
  VXTracerBase& tracer_;
  const Lattice lattice_;
  std::vector<VXCore::Run> candidates_;  // ascending, each within a plane
  std::vector<Level> levels_;
  double density_energy_ = 0.0, energy_ = 0.0;
  std::size_t limit_ = SIZE_MAX;
  float top_ = std::numeric_limits<float>::infinity();
  std::vector<Gsphere> gaussians_;
  Windows windows_;
};

GaussianFit::GaussianFit(VXZemoGrid& grid, const FitArguments& arguments, VXTracerBase& tracer)
    : arguments_(arguments), tracer_(tracer), lattice_(grid) {
  gaussians_.reserve(100);
  float* const density = grid.GetFloats().GetValues();
  ReadDensity(density);
  if (!candidates_.empty()) MakeLevels(density);
}

void GaussianFit::ReadDensity(float* density) {
  std::size_t count = 0;
  for (int z = 0; z < lattice_.dim[2]; ++z) {
    bool open = false;
    for (std::size_t i = z * lattice_.Plane(), end = i + lattice_.Plane(); i < end; ++i) {
      if (density[i] < 0.0f) density[i] = 0.0f;
      density_energy_ += static_cast<double>(density[i]) * density[i];
      const bool is_candidate = std::fabs(density[i]) > arguments_.cut;
      if (is_candidate && !open) candidates_.push_back({i, 0});
      if (is_candidate) ++candidates_.back().count, ++count;
      open = is_candidate;
    }
  }
  const double h = lattice_.spacing;
  density_energy_ *= h * h * h;
  energy_ = density_energy_;
  if (arguments_.max_gaussians > 0)
    limit_ = static_cast<std::size_t>(arguments_.max_gaussians);
  else if (!(arguments_.energy_test && arguments_.tolerance > 0.0f))
    limit_ = count;
}

void GaussianFit::MakeLevels(const float* density) {
  Correlator correlator(lattice_, density, candidates_);
  for (int l = 0; l < arguments_.levels; ++l) {
    const float radius = arguments_.largest_radius - static_cast<float>(l) * arguments_.radius_step;
    if (!(radius > 0.0f)) break;
    Level level;
    vi_assign_gwid_from_rad_pre(&kPrefactor, &radius, &level.width, 1);
    level.norm = std::sqrt(level.width * level.width * level.width * kTwoOverPi3);
    level.scale = std::sqrt(level.norm);
    level.values = VXLargeArray<float>(lattice_.Size() + kSlack, VXLargeArray<float>::Zeroed);
    correlator.Fill(level, arguments_.tail);
    levels_.push_back(std::move(level));
  }
}

void GaussianFit::Run() {
  top_ = MakeLists();
  bool more = FillLists();
  while (more) {
    const Best best = FindBest();
    if (best.size > Threshold()) {
      more = MayGoOn() && Add(best);
    } else {
      top_ = Threshold();
      more = FillLists();
    }
  }
}

/// Lists the candidates above the threshold; the result is the largest |value| of all.
float GaussianFit::MakeLists() {
  constexpr std::size_t kChunk = 64;
  const float threshold = Threshold();
  float largest = 0.0f;
  for (Level& level : levels_) {
    const float* const values = level.values.data();
    std::vector<VXCore::Run>& list = level.list;
    list.clear();
    for (const VXCore::Run& run : candidates_)
      for (std::size_t from = run.first, end = from + run.count; from < end; from += kChunk) {
        const std::size_t n = std::min(kChunk, end - from);
        const float size = largest_magnitude(values + from, n);
        largest = std::max(largest, size);
        if (!(size > threshold)) continue;
        for (std::size_t i = from; i < from + n; ++i) {
          if (!(std::fabs(values[i]) > threshold)) continue;
          if (list.empty() || list.back().first + list.back().count != i) list.push_back({i, 0});
          ++list.back().count;
        }
      }
  }
  return largest;
}

/// Makes the lists, at the first threshold on the way down at which something is above it. False when there
/// is none: the threshold stands still at 0, at the smallest number, or at infinity.
bool GaussianFit::FillLists() {
  const float largest = MakeLists();
  if (largest > Threshold()) return true;
  do {
    if (Threshold() == top_) return false;
    top_ = Threshold();
  } while (!(largest > Threshold()));
  MakeLists();
  return true;
}

/// The largest |value| in the lists, the first in order of levels and points. Lists without one that reaches
/// the threshold are given up.
GaussianFit::Best GaussianFit::FindBest() {
  Best best;
  for (std::size_t l = 0; l < levels_.size(); ++l) {
    Level& level = levels_[l];
    const float* const values = level.values.data();
    float size = 0.0f;
    const VXCore::Run* where = nullptr;
    for (const VXCore::Run& run : level.list) {
      const float of_run = largest_magnitude(values + run.first, run.count);
      if (of_run > size) size = of_run, where = &run;
    }
    if (size > best.size) {
      std::size_t i = where->first;
      while (std::fabs(values[i]) != size) ++i;
      best = {values[i], size, l, i};
    }
    if (size < Threshold()) level.list.clear();
  }
  return best;
}

/// False when the fit ends, with the Gaussian or before it.
bool GaussianFit::Add(const Best& best) {
  const Level& level = levels_[best.level];
  const std::size_t row = best.index / lattice_.Row();
  const std::size_t point[3] = {best.index % lattice_.Row(), row % lattice_.dim[1], row / lattice_.dim[1]};
  const auto place = [&](int axis) {
    return lattice_.low[axis] + static_cast<float>(point[axis]) * lattice_.spacing;
  };
  Gsphere g = {};
  g.width = level.width;
  g.x = place(0);
  g.y = place(1);
  g.z = place(2);
  g.prefactor = best.value * level.scale;

  const double energy = energy_ - static_cast<double>(best.value * g.prefactor / level.scale);
  if (EndsAt(energy)) return false;
  energy_ = energy;
  gaussians_.push_back(g);
  if (gaussians_.size() == limit_) return false;
  Subtract(level, g);
  return arguments_.max_gaussians > 0 || std::fabs(level.values[best.index]) < best.size;
}

bool GaussianFit::EndsAt(double energy) const {
  if (arguments_.energy_test && energy_ - energy < arguments_.tolerance) return true;
  return arguments_.max_gaussians <= 0 && !(energy < energy_ && energy > -density_energy_);
}

/// Tells the tracer how far the fit has come.
bool GaussianFit::MayGoOn() const {
  const auto found = static_cast<unsigned int>(gaussians_.size());
  if (arguments_.max_gaussians > 0)
    return tracer_.Progress(found, static_cast<unsigned int>(arguments_.max_gaussians));
  const double taken = 1000 * (1 - energy_ / density_energy_);
  return tracer_.Progress(taken > 0 ? static_cast<unsigned int>(std::min(taken, 1000.0)) : 0, 1000);
}

/// The product of two Gaussians on one line of centres integrates to a Gaussian of their distance.
void GaussianFit::Subtract(const Level& level, const Gsphere& g) {
  for (Level& other : levels_) {
    const float sum = level.width + other.width;
    Gsphere overlap = g;
    overlap.width = other.width * level.width / sum;
    overlap.prefactor = std::sqrt(kPi3 / (sum * sum * sum)) * other.scale * g.prefactor;
    subtract(lattice_, overlap, arguments_.tail, windows_, other.values.data());
  }
}

int to_int(unsigned int n) { return static_cast<int>(std::min<unsigned int>(n, INT_MAX)); }

template <class T>
T or_default(T value, T fallback) {
  return value == T(0) ? fallback : value;
}

/// Zeros on the grid's own lattice or, when it has none, on that of `like`.
void clear_values(VXZemoGrid& grid, const VXZemoGrid& like) {
  if (grid.GetSize() > 1) {
    std::fill_n(grid.GetFloats().GetValues(), grid.GetSize(), 0.0f);
    return;
  }
  grid.Clear();
  grid.SetSpacing(like.GetSpacing());
  grid.SetDim(like.GetXDim(), like.GetYDim(), like.GetZDim());
  grid.SetMid(like.GetXMid(), like.GetYMid(), like.GetZMid());
}

}  // namespace

bool VXMakeGaussianRepresentation(VXGaussianContainerBase& gaussians, VXZemoGrid& grid, float tolerance,
                                  unsigned int levels, unsigned int max_gaussians) {
  const int level_count = levels == 0 ? kLevels : to_int(levels);
  VXTracerBase no_tracer;
  GaussianFit fit(
      grid,
      {kPublicTail, kCut, tolerance, true, level_count, kLargestRadius, kRadiusStep, to_int(max_gaussians)},
      no_tracer);
  fit.Run();
  gaussians.Clear();
  for (const Gsphere& g : fit.Gaussians())
    gaussians.AddGaussian(VXGaussian(g.prefactor, g.width, g.x, g.y, g.z, 0));
  return true;
}

bool VXMakeGaussianRepresentation(VXGaussianContainerBase& gaussians, const VXMolBase& mol, float tolerance,
                                  unsigned int levels, unsigned int max_gaussians) {
  VXZemoGrid grid;
  VXMakeMolecularGaussianGrid(grid, mol, kMoleculeSpacing);
  return VXMakeGaussianRepresentation(gaussians, grid, tolerance, levels, max_gaussians);
}

bool VXMakeGaussianRepresentation(VXGaussianContainerBase& gaussians, const VXScalarGrid& grid,
                                  float tolerance, unsigned int levels, unsigned int max_gaussians) {
  VXZemoGrid copy(grid);
  return VXMakeGaussianRepresentation(gaussians, copy, tolerance, levels, max_gaussians);
}

bool VXMakeGaussianRepGrid(VXScalarGrid& grid, const VXGaussianContainerBase& gaussians, float spacing) {
  const unsigned int n = gaussians.NumGaussians();
  if (n == 0) return true;
  std::vector<float> coords(3 * static_cast<std::size_t>(n)), prefactors(n), widths(n);
  gaussians.GetCoords(coords.data());
  gaussians.GetPrefactors(prefactors.data());
  gaussians.GetWidths(widths.data());
  VXZemoGrid sum;
  vx_make_gaussian_grid_explicit(coords.data(), widths.data(), prefactors.data(), static_cast<int>(n),
                                 spacing, sum, 1);
  sum.MoveFloats(grid);
  return true;
}

float vx_make_grid_gaussian_representation(VXZemoGrid& grid, float tail, float cut, float tolerance,
                                           int no_energy_test, int levels, float largest_radius,
                                           float radius_step, int max_gaussians,
                                           std::vector<float>& positions, std::vector<float>& prefactors,
                                           std::vector<float>& widths, bool return_lists,
                                           VXZemoGrid& reconstruction) {
  VXTracerBase no_tracer;
  return vx_make_grid_gaussian_representation(grid, tail, cut, tolerance, no_energy_test, levels,
                                              largest_radius, radius_step, max_gaussians, positions,
                                              prefactors, widths, return_lists, reconstruction, no_tracer);
}

float vx_make_grid_gaussian_representation(VXZemoGrid& grid, float tail, float cut, float tolerance,
                                           int no_energy_test, int levels, float largest_radius,
                                           float radius_step, int max_gaussians,
                                           std::vector<float>& positions, std::vector<float>& prefactors,
                                           std::vector<float>& widths, bool return_lists,
                                           VXZemoGrid& reconstruction, VXTracerBase& tracer) {
  tail = or_default(tail, 0.004f);
  GaussianFit fit(
      grid,
      {tail, or_default(cut, kCut), tolerance, no_energy_test == 0, or_default(levels, kLevels),
       or_default(largest_radius, kLargestRadius), or_default(radius_step, kRadiusStep), max_gaussians},
      tracer);
  fit.Run();

  std::vector<Gsphere>& records = fit.Gaussians();
  const std::size_t n = records.size();
  clear_values(reconstruction, grid);
  for (Gsphere& g : records) g.prefactor = -g.prefactor;
  subtract_gaussians_from_grid(reconstruction, records.data(), static_cast<int>(n), tail);
  if (return_lists) {
    positions.resize(3 * n);
    prefactors.resize(n);
    widths.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
      positions[3 * i] = records[i].x;
      positions[3 * i + 1] = records[i].y;
      positions[3 * i + 2] = records[i].z;
      prefactors[i] = -records[i].prefactor;
      widths[i] = records[i].width;
    }
  }
  return static_cast<float>(fit.EnergyLeft());
}

void subtract_gaussians_from_grid(VXZemoGrid& grid, Gsphere* spheres, int n, float tail) {
  const Lattice lattice(grid);
  Windows windows;
  for (int i = 0; i < n; ++i) subtract(lattice, spheres[i], tail, windows, grid.GetFloats().GetValues());
}

void vi_gauss_grid_tegs(int n, float* coords, float* widths, float* prefactors, float cutoff, int mode,
                        GridStruct* grid, float*, float*) {
  std::vector<PdbStruct> records(static_cast<std::size_t>(std::max(n, 0)));
  for (std::size_t i = 0; i < records.size(); ++i)
    records[i] = {coords[3 * i], coords[3 * i + 1], coords[3 * i + 2], {}};
  switch (mode) {
    case 0:
      VXThrow.Info("Calculating Sum of Radial Gaussians");
      break;
    case 2:
      VXThrow.Info("Calculating Sum of Gaussians");
      break;
    case 4:
      VXThrow.Info("Calculating Product of Gaussians");
      break;
    case 6:
      VXThrow.Info("Calculating Sum and Derivatives of Gaussians");
      break;
    case 8:
      VXThrow.Info("Calculating Product and Derivatives of Gaussians");
      break;
    default:
      break;
  }
  vi_gauss_grid(0, n, records.data(), widths, prefactors, cutoff, mode, *grid, nullptr);
}

void vx_make_docking_grid(int n, const PdbStruct* atoms, float* widths, float* prefactors, float cutoff,
                          GridStruct* grid) {
  std::vector<float> coords;
  for (int i = 0; i < n; ++i) coords.insert(coords.end(), {atoms[i].x, atoms[i].y, atoms[i].z});
  vi_gauss_grid_tegs(n, coords.data(), widths, prefactors, cutoff, 2, grid, nullptr, nullptr);
}

void vx_ellipsoid_gauss_grid(int n, const float* coords, const float* widths, const float* prefactors,
                             float cutoff, GridStruct* grid) {
  const Lattice lattice(*grid);
  Windows windows;
  for (int i = 0; i < n; ++i) {
    bool touches = grid->floats != nullptr;
    for (int axis = 0; axis < 3 && touches; ++axis) {
      const float width = widths[3 * i + axis];
      touches = windows[axis].SetWithin(lattice, axis, coords[3 * i + axis], width,
                                        vi_gauss_rad(prefactors[i], width, cutoff));
    }
    if (touches) subtract_product(lattice, windows, -prefactors[i], grid->floats);
  }
}

}  // namespace VXCore
