#pragma once

#include <cstddef>

namespace VXCore {

/// What a transform library does for a map, in double and in place. The array is that of FFTMap: complex
/// coefficients (x, y, z) of x, y and half of z, which become the reals of the grid.
struct FFTFunctions {
  /// Bytes of 0 from the library's allocator; null when memory is short.
  void* (*allocate)(std::size_t bytes);
  void (*release)(void* memory, std::size_t bytes);
  /// Sum of c(h, k, l) exp(+2 pi i (hx/nx + ky/ny + lz/nz)), unnormalised. Coefficients (x, y, z) with
  /// z >= l_limits[y] are 0; ny is even. Safe from any thread.
  void (*complex_to_real)(int nx, int ny, int nz, const int* l_limits, double* data);
};

/// pocketfft, of this library.
extern const FFTFunctions pocketfft_functions;

/// FFTW 2.1.5. In an object of its own, opened at the first use: its names are those of FFTW 3 in part, and a
/// process may hold that one already. Linked in where sanitizers run, which do not go with such an opening.
extern "C" __attribute__((visibility("default"))) const FFTFunctions vxgrid_fftw2_functions;

}  // namespace VXCore
