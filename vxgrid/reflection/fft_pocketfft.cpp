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
#include <utility>
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
// and one as its imaginary parts. Without b it is a line of 0.
void pack_pair(const Complex* a, const Complex* b, std::size_t n, Complex* row) {
  const auto both = [a, b](std::size_t k) { return std::pair(a[k], b ? b[k] : Complex()); };
  const auto real_parts = [&both](std::size_t k) {
    const auto [p, q] = both(k);
    return Complex(p.real(), q.real());
  };
  row[0] = real_parts(0);
  for (std::size_t k = 1; 2 * k < n; ++k) {
    const auto [p, q] = both(k);
    row[k] = Complex(p.real() - q.imag(), p.imag() + q.real());
    row[n - k] = Complex(p.real() + q.imag(), q.real() - p.imag());
  }
  if (n % 2 == 0) row[n / 2] = real_parts(n / 2);
}

void unpack_pair(const Complex* row, std::size_t n, double* a, double* b) {
  for (std::size_t z = 0; z < n; ++z) a[z] = row[z].real();
  for (std::size_t z = 0; b && z < n; ++z) b[z] = row[z].imag();
}

// The rows of one plane, `half` elements apart, become real lines in place. In pairs through complex
// transforms: for sizes with a large prime these take half the time of real ones. `work` holds kPairs rows.
constexpr std::size_t kPairs = 16;
template <class Engine>
void rows_to_lines(std::size_t rows, std::size_t n, std::size_t half, Complex* plane, Complex* work) {
  for (std::size_t first = 0; first < rows; first += 2 * kPairs) {
    const std::size_t end = std::min(first + 2 * kPairs, rows), pairs = (end - first + 1) / 2;
    const auto pair = [=](std::size_t i) {
      Complex* const a = plane + (first + 2 * i) * half;
      return std::pair(a, first + 2 * i + 1 < end ? a + half : nullptr);
    };
    for (std::size_t i = 0; i < pairs; ++i) pack_pair(pair(i).first, pair(i).second, n, work + i * n);
    Engine::c2c({n, pairs}, {bytes(1), bytes(n)}, work);
    for (std::size_t i = 0; i < pairs; ++i)
      unpack_pair(work + i * n, n, reinterpret_cast<double*>(pair(i).first),
                  reinterpret_cast<double*>(pair(i).second));
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
