#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

/// The libraries that can run the transform of a map. Both work in double, in place on one array; their maps
/// agree but for the last bit of a float in one value of a million.
enum class VXFFTBackend {
  FFTW2,     ///< FFTW 2.1.5, the default
  PocketFFT  ///< several times as fast on the sizes that crystals give
};

/// Chooses the backend of all maps made from now on, in every thread. False for an unknown one.
VXGRID_API bool VXSetFFTBackend(VXFFTBackend backend);
VXGRID_API VXFFTBackend VXGetFFTBackend();

}  // namespace VXCore
