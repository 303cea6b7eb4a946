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
};

#ifdef VXGRID_POCKETFFT_AVX2
struct Avx2 {
  static void c2c(const Shape& shape, const Stride& stride, Complex* data) {
    pocketfft_avx2::c2c<double>(shape, stride, stride, {0}, pocketfft_avx2::BACKWARD, data, data, 1.0);
  }
};
#endif

std::size_t points(int n) { return static_cast<std::size_t>(n); }

std::ptrdiff_t bytes(std::size_t elements) { return static_cast<std::ptrdiff_t>(elements * sizeof(Complex)); }

// The half rows a and b of two real lines as the whole row a + ib, whose transform has one line as its real
// and one as its imaginary parts.
void pack_pair(const Complex* a, const Complex* b, std::size_t n, Complex* row) {
  using Pair = double __attribute__((vector_size(16)));
  const auto load = [](const Complex& c) { return Pair{c.real(), c.imag()}; };
  const auto store = [](Pair p, Complex& c) { c = Complex(p[0], p[1]); };
  row[0] = Complex(a[0].real(), b[0].real());
  for (std::size_t k = 1; 2 * k < n; ++k) {
    const Pair p = load(a[k]), ib = Pair{-b[k].imag(), b[k].real()};
    const Pair own = p + ib, mate = p - ib;
    store(own, row[k]);
    store(Pair{mate[0], -mate[1]}, row[n - k]);
  }
  if (n % 2 == 0) row[n / 2] = Complex(a[n / 2].real(), b[n / 2].real());
}

void unpack_pair(const Complex* row, std::size_t n, double* a, double* b) {
  for (std::size_t z = 0; z < n; ++z) {
    a[z] = row[z].real();
    b[z] = row[z].imag();
  }
}

// The rows of one plane, an even number `half` elements apart, become real lines in place. In pairs through
// complex transforms: for sizes with a large prime these take half the time of real ones. `work` holds kPairs
// rows.
constexpr std::size_t kPairs = 16;
template <class Engine>
void rows_to_lines(std::size_t rows, std::size_t n, std::size_t half, Complex* plane, Complex* work) {
  for (std::size_t first = 0; first < rows; first += 2 * kPairs) {
    const std::size_t pairs = std::min(kPairs, (rows - first) / 2);
    Complex* const begin = plane + first * half;
    for (std::size_t i = 0; i < pairs; ++i)
      pack_pair(begin + 2 * i * half, begin + (2 * i + 1) * half, n, work + i * n);
    Engine::c2c({n, pairs}, {bytes(1), bytes(n)}, work);
    auto* const lines = reinterpret_cast<double*>(begin);
    for (std::size_t i = 0; i < pairs; ++i)
      unpack_pair(work + i * n, n, lines + 4 * i * half, lines + (4 * i + 2) * half);
  }
}

// Axis x first: its lines lie far apart in memory, and about half of them hold nothing but zeros then,
// outside the sphere of reflections. Those are skipped, and so are the lines of y beyond the largest l. What
// follows runs plane by plane.
template <class Engine>
void transform(int nx, int ny, int nz, const int* l_limits, double* data) {
  const std::size_t row = points(nz) / 2 + 1, plane = row * points(ny);
  // A few lines more make whole vectors.
  const auto filled = [row](int limit) { return std::min(row, (points(limit) + 3) / 4 * 4); };
  auto* const c = reinterpret_cast<Complex*>(data);

  const Stride along_x = {bytes(plane), bytes(1)};
  for (int y = 0; y < ny; ++y)
    if (l_limits[y] > 0) Engine::c2c({points(nx), filled(l_limits[y])}, along_x, c + points(y) * row);

  const Stride along_y = {bytes(row), bytes(1)};
  const std::size_t widest = filled(*std::max_element(l_limits, l_limits + ny));
  std::vector<Complex> work(kPairs * points(nz));
  for (std::size_t x = 0; x < points(nx); ++x) {
    if (widest) Engine::c2c({points(ny), widest}, along_y, c + x * plane);
    rows_to_lines<Engine>(points(ny), points(nz), row, c + x * plane, work.data());
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
