#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

/// The array of one Fourier synthesis. Axes x, y, z go with h, k, l; the last runs fastest, so complex
/// element (x, y, z) stands at (x * cy + y) * cz + z and real element (x, y, z) at (x * ry + y) * rz + z.
struct FFTMap {
  int nx, ny, nz;             ///< grid points
  int cx, cy, cz;             ///< complex dimensions: nx, ny, nz / 2 + 1
  int rx, ry, rz;             ///< real dimensions: nx, ny, 2 * (nz / 2 + 1)
  double* real_data;          ///< the array as reals
  double (*complex_data)[2];  ///< the same array as (re, im) pairs
  float scale;                ///< 1 / cell volume, Å^-3
};

/// Periodic extension: point (x, y, z) of dx * dy * dz is the source's (x mod nx, y mod ny, z mod nz), x
/// fastest in both. The new block belongs to the caller, who frees it with free(); null when a dimension is
/// not positive or memory is short.
VXGRID_API float* CopyZeroPlanes(int nx, int ny, int nz, int dx, int dy, int dz, float* src);

/// The reals of a transform as the values of a grid: floats with x fastest, (nx + 1) * (ny + 1) * (nz + 1) of
/// them, with the first plane of each axis once more behind the last. One pass in place of the change of
/// order and CopyZeroPlanes.
VXGRID_API void ReorderWithZeroPlanes(const FFTMap& map, float* out);

}  // namespace VXCore
