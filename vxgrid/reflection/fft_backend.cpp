#include <vxgrid/reflection/fft_backend.h>

#include <dlfcn.h>

#include <atomic>
#include <string>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/reflection/fft_array.inl>

namespace VXCore {

namespace {

std::atomic<VXFFTBackend> chosen{VXFFTBackend::FFTW2};

#ifdef VXGRID_SANITIZED
const FFTFunctions* fftw2() { return &vxgrid_fftw2_functions; }
#else
// The object stands beside this library, in the build tree and installed. RTLD_DEEPBIND lets its libraries
// find their own names before those of an FFTW 3 that the process may have.
const FFTFunctions* open_fftw2() {
  Dl_info self;
  if (!dladdr(reinterpret_cast<const void*>(&VXSetFFTBackend), &self) || !self.dli_fname) return nullptr;
  const std::string library = self.dli_fname;
  const std::string path = library.substr(0, library.rfind('/') + 1) + "vxgrid_fftw2.so";
  void* const object = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
  void* const table = object ? dlsym(object, "vxgrid_fftw2_functions") : nullptr;
  if (!table) VXThrow.Error("FFTW 2.1.5 is not available: %s", dlerror());
  return static_cast<const FFTFunctions*>(table);
}

const FFTFunctions* fftw2() {
  static std::atomic<const FFTFunctions*> functions{nullptr};  // a failed opening is tried again
  if (!functions.load()) functions = open_fftw2();
  return functions;
}
#endif

}  // namespace

bool VXSetFFTBackend(VXFFTBackend backend) {
  if (backend != VXFFTBackend::FFTW2 && backend != VXFFTBackend::PocketFFT) return false;
  chosen = backend;
  return true;
}

VXFFTBackend VXGetFFTBackend() { return chosen; }

FFTArray::FFTArray(std::size_t doubles)
    : functions_(chosen == VXFFTBackend::FFTW2 ? fftw2() : &pocketfft_functions),
      bytes_(doubles * sizeof(double)) {
  if (!functions_) return;
  data_ = static_cast<double*>(functions_->allocate(bytes_));
  if (!data_) VXThrow.Error("No memory for a transform of %zu bytes", bytes_);
}

FFTArray::~FFTArray() {
  if (data_) functions_->release(data_, bytes_);
}

void FFTArray::ComplexToReal(int nx, int ny, int nz, const int* l_limits) {
  functions_->complex_to_real(nx, ny, nz, l_limits, data_);
}

}  // namespace VXCore
