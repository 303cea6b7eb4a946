// The one source that knows pocketfft.

// Everything that pocketfft.h includes comes first, for its second inclusion below.
#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

#include <vxgrid/host/large_array.h>
#include <vxgrid/reflection/fft_functions.inl>

#define POCKETFFT_NO_MULTITHREADING
#ifdef VXGRID_SANITIZED
#define POCKETFFT_NO_VECTORS  // they come with sizes that AddressSanitizer's aligned_alloc refuses
#endif
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#include <gemmi/third_party/pocketfft_hdronly.h>

// The same once more with vectors of four doubles, where the processor has them: each lane is a transform of
// its own, so the bits are the same. Namespace, target and the macro by which pocketfft chooses its vectors
// (the target does not define it in time) hold for this header alone.
#if defined(__GNUC__) && !defined(__clang__) && !defined(VXGRID_SANITIZED) && defined(__x86_64__) && \
    !defined(__AVX__)
#define VXGRID_POCKETFFT_AVX2
#undef POCKETFFT_HDRONLY_H
#define pocketfft pocketfft_avx2
#define __AVX__ 1
#pragma GCC push_options
#pragma GCC target("avx2")
#include <gemmi/third_party/pocketfft_hdronly.h>
#pragma GCC pop_options
#undef __AVX__
#undef pocketfft
#endif
#pragma GCC diagnostic pop

namespace VXCore {

namespace {

using Complex = std::complex<double>;
using Shape = std::vector<std::size_t>;
using Stride = std::vector<std::ptrdiff_t>;

struct Plain {
  static void c2c(const Shape& shape, const Stride& stride, Complex* data) {
    pocketfft::c2c<double>(shape, stride, stride, {0}, pocketfft::BACKWARD, data, data, 1.0);
  }
  static void c2r(const Shape& shape, const Stride& in, const Stride& out, Complex* data) {
    pocketfft::c2r<double>(shape, in, out, 1, pocketfft::BACKWARD, data, reinterpret_cast<double*>(data),
                           1.0);
  }
};

#ifdef VXGRID_POCKETFFT_AVX2
struct Avx2 {
  static void c2c(const Shape& shape, const Stride& stride, Complex* data) {
    pocketfft_avx2::c2c<double>(shape, stride, stride, {0}, pocketfft_avx2::BACKWARD, data, data, 1.0);
  }
  static void c2r(const Shape& shape, const Stride& in, const Stride& out, Complex* data) {
    pocketfft_avx2::c2r<double>(shape, in, out, 1, pocketfft_avx2::BACKWARD, data,
                                reinterpret_cast<double*>(data), 1.0);
  }
};
#endif

// Axis x first: its lines lie far apart in memory, and about half of them hold nothing but zeros then,
// outside the sphere of reflections. Those are skipped, and so are the lines of y beyond the largest l. What
// follows runs plane by plane.
template <class Engine>
void transform(int nx, int ny, int nz, const int* l_limits, double* data) {
  const auto points = [](int n) { return static_cast<std::size_t>(n); };
  const auto bytes = [](std::size_t elements) {
    return static_cast<std::ptrdiff_t>(elements * sizeof(Complex));
  };
  const std::size_t row = points(nz) / 2 + 1, plane = row * points(ny);
  // A few lines more make whole vectors.
  const auto filled = [row, points](int limit) { return std::min(row, (points(limit) + 3) / 4 * 4); };
  auto* const c = reinterpret_cast<Complex*>(data);

  const Stride along_x = {bytes(plane), bytes(1)};
  for (int y = 0; y < ny; ++y)
    if (l_limits[y] > 0) Engine::c2c({points(nx), filled(l_limits[y])}, along_x, c + points(y) * row);

  const Stride along_y = {bytes(row), bytes(1)};
  const Stride real = {bytes(row), sizeof(double)};
  const std::size_t widest = filled(*std::max_element(l_limits, l_limits + ny));
  for (std::size_t x = 0; x < points(nx); ++x) {
    if (widest) Engine::c2c({points(ny), widest}, along_y, c + x * plane);
    Engine::c2r({points(ny), points(nz)}, along_y, real, c + x * plane);
  }
}

void* allocate(std::size_t bytes) {
  try {
    return VXHost::vxAllocateZeroed(bytes);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void complex_to_real(int nx, int ny, int nz, const int* l_limits, double* data) {
#ifdef VXGRID_POCKETFFT_AVX2
  if (__builtin_cpu_supports("avx2")) return transform<Avx2>(nx, ny, nz, l_limits, data);
#endif
  transform<Plain>(nx, ny, nz, l_limits, data);
}

}  // namespace

const FFTFunctions pocketfft_functions = {allocate, VXHost::vxRelease, complex_to_real};

}  // namespace VXCore
