#include <vxgrid/reflection/map_synthesis.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <new>
#include <utility>
#include <vector>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/large_array.h>
#include <vxgrid/host/platform.h>
#include <vxgrid/reflection/fft_backend.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/fft_array.inl>
#include <vxgrid/reflection/map_coefficients.inl>

namespace VXCore {

namespace {

// 1 + the largest |index| of each axis.
using Limits = std::array<long long, 3>;

long long index_limit(const int* column, std::size_t n) {
  int low = 0, high = 0;
  for (std::size_t i = 0; i < n; ++i) {
    low = std::min(low, column[i]);
    high = std::max(high, column[i]);
  }
  return 1 + std::max(-static_cast<long long>(low), static_cast<long long>(high));
}

// Gives the map at least 2.5 points per index limit, an even number an axis. False, after an Error, when the
// transform, or the map with its repeated planes, passes what indices can count or what this machine's memory
// can hold. In double: no such product overflows.
bool size_map(FFTMap& map, const Limits& limits) {
  std::array<long long, 3> n;
  for (int axis = 0; axis < 3; ++axis)
    n[axis] = static_cast<long long>(static_cast<double>(limits[axis]) * 2.5);
  VXThrow.Verbose("Hmax %lld, kmax %lld, lmax %lld", limits[0], limits[1], limits[2]);
  VXThrow.Verbose("Dimensions %lld %lld %lld", n[0], n[1], n[2]);
  for (long long& points : n) points += points % 2;

  const auto d = [&n](int axis) { return static_cast<double>(n[axis]); };
  const double reals = d(0) * d(1) * (d(2) + 2);
  const double points = (d(0) + 1) * (d(1) + 1) * (d(2) + 1);
  const double memory =
      static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
  const char* const too_many = std::max(reals, points) > 2147483647.0 ? "2147483647 is the limit"
                               : reals * sizeof(double) + points * sizeof(float) > memory
                                   ? "memory is too small"
                                   : nullptr;
  if (too_many) {
    VXThrow.Error("Miller indices ask for a transform of %lld x %lld x %lld points, %s", n[0], n[1], n[2],
                  too_many);
    return false;
  }
  const auto whole = [&n](int axis) { return static_cast<int>(n[axis]); };
  map.nx = map.cx = map.rx = whole(0);
  map.ny = map.cy = map.ry = whole(1);
  map.nz = whole(2);
  map.cz = map.nz / 2 + 1;
  map.rz = 2 * map.cz;
  return true;
}

// An index brought into [0, n).
inline int wrap(long long index, int n) {
  if (index < -n || index >= n) index %= n;
  return static_cast<int>(index < 0 ? index + n : index);
}

// put(h, k, l, a, b) for each reflection with a coefficient (a, b), at h >= 0.
template <class Put>
void for_each_coefficient(const VXReflectionImpl& set, int maptype, Put&& put) {
  if (!set.h || !set.k || !set.l) return;
  with_map_type(set, maptype, [&](auto amplitude, const float* phases, bool present) {
    if (!present || !phases) return;
    constexpr std::size_t kBlock = 256;
    float amp[kBlock], a[kBlock], b[kBlock];
    for (std::size_t first = 0; first < set.nref; first += kBlock) {
      const std::size_t n = std::min(kBlock, set.nref - first);
      for (std::size_t j = 0; j < n; ++j) amp[j] = amplitude(first + j);
      polar_to_complex(amp, phases + first, n, a, b);
      for (std::size_t j = 0; j < n; ++j) {
        const std::size_t i = first + j;
        if (VXHost::VXIsNaN(amp[j]) || VXHost::VXIsNaN(phases[i])) continue;
        const long long h = set.h[i], k = set.k[i], l = set.l[i];
        if (h < 0)
          put(-h, -k, -l, a[j], -b[j]);
        else
          put(h, k, l, a[j], b[j]);
      }
    }
  });
}

// Fills the half spectrum: store(x, y, z, a, b) stores one coefficient. A reflection goes to its own place
// and its Friedel mate to the opposite one, as far as the stored half of l holds them. In the plane h = 0,
// where a reflection may stand at both places, its own coefficient comes last.
template <class Store>
void fill_spectrum(const VXReflectionImpl& set, const FFTMap& map, int maptype, Store&& store) {
  for_each_coefficient(set, maptype, [&](long long h, long long k, long long l, float a, float b) {
    const int own_z = wrap(l, map.nz), mate_z = own_z ? map.nz - own_z : 0;
    const auto put_own = [&] {
      if (own_z < map.cz) store(wrap(h, map.nx), wrap(k, map.ny), own_z, a, b);
    };
    put_own();
    if (mate_z < map.cz) store(wrap(-h, map.nx), wrap(-k, map.ny), mate_z, a, -b);
    if (h == 0) put_own();
  });
}

double* element(const FFTMap& map, int x, int y, int z) {
  return map.complex_data[(static_cast<std::size_t>(x) * map.cy + y) * map.cz + z];
}

// A whole spectrum in two float arrays, h fastest.
struct FullArrays {
  float* re;
  float* im;
  int nx, ny, nz;

  // Negative k and l wrap once; what then lies outside the arrays is left out.
  void Put(long long h, long long k, long long l, float a, float b) const {
    const long long row = (l < 0 ? l + nz : l) * ny + (k < 0 ? k + ny : k);
    long long at;
    if (__builtin_mul_overflow(row, nx, &at) || __builtin_add_overflow(at, h, &at)) return;
    if (at < 0 || at >= static_cast<long long>(nx) * ny * nz) return;
    re[at] = a;
    im[at] = b;
  }
};

void fill_full_arrays(const VXReflectionImpl& set, const FullArrays& arrays, int maptype) {
  for_each_coefficient(set, maptype, [&](long long h, long long k, long long l, float a, float b) {
    arrays.Put(h, k, l, a, b);
    if (h == 0) arrays.Put(0, -k, -l, a, -b);
  });
}

// Seconds since a pair of clocks was read: of processor time, unless that counter has wrapped.
class Stopwatch {
 public:
  double seconds() const {
    const double wall = std::difftime(std::time(nullptr), wall_);
    return wall > 2147 ? wall : static_cast<double>(std::clock() - processor_) / CLOCKS_PER_SEC;
  }

 private:
  std::clock_t processor_ = std::clock();
  std::time_t wall_ = std::time(nullptr);
};

// The transform of a set into the values of a grid with repeated planes; no values when memory for them is
// short. False, after an Error, without an array to work in. `spent`, where given, is the set itself: its
// columns are released before the values are made, so that both need not be held at once.
bool synthesise(const VXReflectionImpl& set, VXReflectionImpl* spent, FFTMap& map, unsigned int maptype,
                VXHost::VXLargeArray<float>& values) {
  const Stopwatch watch;
  VXThrow.Debug(VXGetFFTBackend() == VXFFTBackend::FFTW2 ? "Using FFTW" : "Using pocketfft");
  VXThrow.Debug("Final Dimensions %d %d %d", map.nx, map.ny, map.nz);
  const auto size = [](int n) { return static_cast<std::size_t>(n); };
  FFTArray array(size(map.rx) * size(map.ry) * size(map.rz));
  if (!array.data()) return false;
  map.real_data = array.data();
  map.complex_data = reinterpret_cast<double(*)[2]>(array.data());

  // The library's sign is positive, a map's negative: the conjugates are transformed. Scaling them on the way
  // in saves a pass over the array.
  const double scale = map.scale;
  std::vector<int> l_limits(size(map.ny));
  fill_spectrum(set, map, static_cast<int>(maptype), [&](int x, int y, int z, float a, float b) {
    double* const c = element(map, x, y, z);
    c[0] = a * scale;
    c[1] = -(b * scale);
    l_limits[y] = std::max(l_limits[y], z + 1);
  });
  if (spent) spent->ReleaseColumns();
  try {
    array.ComplexToReal(map.nx, map.ny, map.nz, l_limits.data());
    values = VXMakeValueBlock<float>(size(map.nx + 1) * size(map.ny + 1) * size(map.nz + 1),
                                     VXHost::VXLargeArray<float>::Uninitialised);
    ReorderWithZeroPlanes(map, values.data());
  } catch (const std::bad_alloc&) {
  }
  VXThrow.Debug("Time elapsed for fft %f", watch.seconds());
  return true;
}

// Gives the grid the map's dimensions and values; false when memory is short.
bool take_values(VXSkewGrid& grid, const FFTMap& map, VXHost::VXLargeArray<float>&& values) try {
  const auto closed = [](int points) { return static_cast<unsigned int>(points) + 1; };
  return values.size() != 0 && grid.SetDim(closed(map.nx), closed(map.ny), closed(map.nz)) &&
         grid.GetImpl().GetImpl().GetFloats().AdoptValues(std::move(values));
} catch (const std::bad_alloc&) {
  return false;
}

// Half the cell diagonal, which is where the middle of the grid lies.
void set_middle(VXSkewGrid& grid, int nx, int ny, int nz) {
  float o[9] = {};
  grid.GetImpl().GetOrientation(o);
  const float s = grid.GetSpacing();
  const auto n = [](int points) { return static_cast<float>(points); };
  const auto half = [&](const float* r) { return 0.5f * s * (r[0] * n(nx) + r[1] * n(ny) + r[2] * n(nz)); };
  grid.SetMid(half(o), half(o + 3), half(o + 6));
}

bool make_map(const VXReflectionImpl& set, VXReflectionImpl* spent, VXSkewGrid& grid, unsigned int maptype) {
  const VXXtal::VXUnitCell& cell = set.symmetry.cell();
  if (set.nref == 0 || !cell.isValid() || !set.ValidateMaptype(static_cast<int>(maptype))) return false;
  const float volume = cell.GetVolume();
  if (!(volume >= 1e-5) || !set.h || !set.k || !set.l) return false;

  const Limits limits = {index_limit(set.h, set.nref), index_limit(set.k, set.nref),
                         index_limit(set.l, set.nref)};
  FFTMap map;
  if (!size_map(map, limits)) return false;
  map.scale = 1.0f / volume;
  VXHost::VXLargeArray<float> values;
  if (!synthesise(set, spent, map, maptype, values)) return false;

  grid.Clear();
  if (!take_values(grid, map, std::move(values))) return false;
  grid.SetTitle("FT: " + (set.title.empty() ? "grid" : set.title));
  grid.SetData<unsigned int>("MapType", maptype);
  grid.SetReentrant(true);
  grid.SetSpaceGroup(set.symmetry.GetNumber());
  grid.SetUnitCell(cell.a, cell.b, cell.c, cell.alpha, cell.beta, cell.gamma,
                   static_cast<unsigned int>(map.nx), static_cast<unsigned int>(map.ny),
                   static_cast<unsigned int>(map.nz));
  grid.SetData<VXXtal::VXSymmetry>("vx_symm", set.symmetry);
  set_middle(grid, map.nx, map.ny, map.nz);
  return true;
}

}  // namespace

void VXReflectionImpl::FillGrid(FFTMap* map, int maptype) const {
  fill_spectrum(*this, *map, maptype, [map](int x, int y, int z, float a, float b) {
    double* const c = element(*map, x, y, z);
    c[0] = a;
    c[1] = b;
  });
}

void VXReflectionImpl::FillGrid(float* re, float* im, int nx, int ny, int nz, int maptype) const {
  const FullArrays arrays = {re, im, nx, ny, nz};
  fill_full_arrays(*this, arrays, maptype);
}

bool VXReflectionImpl::MakeMap(VXSkewGrid& grid, unsigned int maptype) const& {
  return make_map(*this, nullptr, grid, maptype);
}

bool VXReflectionImpl::MakeMap(VXSkewGrid& grid, unsigned int maptype) && {
  return make_map(*this, this, grid, maptype);
}

float* CopyZeroPlanes(int nx, int ny, int nz, int dx, int dy, int dz, float* src) {
  if (nx <= 0 || ny <= 0 || nz <= 0 || dx <= 0 || dy <= 0 || dz <= 0) return nullptr;
  const auto size = [](int n) { return static_cast<std::size_t>(n); };
  std::size_t count;
  if (__builtin_mul_overflow(size(dx) * size(dy), size(dz), &count)) return nullptr;
  float* const out = static_cast<float*>(std::calloc(count, sizeof(float)));
  if (!out) return nullptr;
  float* to = out;
  for (int z = 0; z < dz; ++z)
    for (int y = 0; y < dy; ++y) {
      const float* const row = src + (size(z % nz) * size(ny) + size(y % ny)) * size(nx);
      for (int left = dx; left > 0; left -= nx) to = std::copy_n(row, std::min(nx, left), to);
    }
  return out;
}

// Blocks of points along x and z turn the order of the axes, so that cache lines are read and written whole,
// several in a row. Each value keeps its bits (MapSynthesis.IsTheFourierSum).
void ReorderWithZeroPlanes(const FFTMap& map, float* out) {
  constexpr int kBlockX = 16, kBlockZ = 64;
  const std::size_t row = static_cast<std::size_t>(map.nx) + 1,
                    plane = row * (static_cast<std::size_t>(map.ny) + 1);
  const std::size_t from_row = static_cast<std::size_t>(map.rz), from_plane = from_row * map.ry;
  for (int z0 = 0; z0 < map.nz; z0 += kBlockZ) {
    const int z_end = std::min(z0 + kBlockZ, map.nz);
    for (int y = 0; y < map.ny; ++y) {
      const double* const from = map.real_data + from_row * y;
      float* const to = out + row * y;
      for (int x0 = 0; x0 < map.nx; x0 += kBlockX) {
        const int x_end = std::min(x0 + kBlockX, map.nx);
        for (int z = z0; z < z_end; ++z)
          for (int x = x0; x < x_end; ++x) to[plane * z + x] = static_cast<float>(from[from_plane * x + z]);
      }
      for (int z = z0; z < z_end; ++z) to[plane * z + map.nx] = to[plane * z];
    }
    for (int z = z0; z < z_end; ++z) std::copy_n(out + plane * z, row, out + plane * z + row * map.ny);
  }
  std::copy_n(out, plane, out + plane * map.nz);
}

}  // namespace VXCore
