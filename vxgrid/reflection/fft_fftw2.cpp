// The one source that knows FFTW 2.1.5.

#include <rfftw.h>

#include <cstdlib>
#include <cstring>
#include <mutex>

#include <vxgrid/reflection/fft_functions.inl>
#include <vxgrid/reflection/huge_pages.inl>

namespace VXCore {

namespace {

// Making and destroying plans changes tables that all plans share.
std::mutex plan_mutex;

void* allocate(std::size_t bytes) {
  void* const probe = std::malloc(bytes);  // fftw_malloc ends the process when memory is short
  if (!probe) return nullptr;
  std::free(probe);
  void* const memory = fftw_malloc(bytes);
  advise_huge_pages(memory, bytes);
  std::memset(memory, 0, bytes);
  return memory;
}

void release(void* memory, std::size_t) { fftw_free(memory); }

void complex_to_real(int nx, int ny, int nz, const int*, double* data) {
  std::unique_lock<std::mutex> lock(plan_mutex);
  const rfftwnd_plan plan =
      rfftw3d_create_plan(nx, ny, nz, FFTW_COMPLEX_TO_REAL, FFTW_IN_PLACE | FFTW_USE_WISDOM);
  lock.unlock();
  rfftwnd_one_complex_to_real(plan, reinterpret_cast<fftw_complex*>(data), nullptr);
  lock.lock();
  rfftwnd_destroy_plan(plan);
}

}  // namespace

const FFTFunctions vxgrid_fftw2_functions = {allocate, release, complex_to_real};

}  // namespace VXCore
