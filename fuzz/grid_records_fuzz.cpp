// Native records of every kind from untrusted bytes. What was read is written, and that is read again: to the
// same bytes, as far as it fits into a record.

#include <vxgrid/exchange/gaussian_records.h>
#include <vxgrid/exchange/grid_records.h>

#include <cstdlib>
#include <string>

#include "fuzz.h"

using namespace VXCore;

template <class T>
static std::string written(const T& object, const VXBinaryIOHandlerBase& handler) {
  VXHost::vxosstream out;
  return VXBinaryWrite<T>(out, object, handler) ? out.str() : std::string();
}

template <class T>
static void round_trip(FuzzInput& in, const VXBinaryIOHandlerBase& handler) {
  T object;
  in.seek(0);
  while (in && VXBinaryRead<T>(in, object, handler) == VXBDone) {
  }
  const std::string first = written(object, handler);
  VXHost::vxisstream again(first);
  T copy;
  if (!first.empty() && VXBinaryRead<T>(again, copy, handler) == VXBDone && written(copy, handler) != first)
    std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const VXBinaryIOHandler& handler = *[] {
    auto* const made = new VXBinaryIOHandler;
    VXInitGridHandlers(*made);
    made->AddReadFxn(VXGroupReadFxn<VXBase>("Group"));
    made->AddReadFxn(VXGroupReadFxn<VXBase>("Group", "gz"));
    return made;
  }();
  const QuietLog quiet;
  FuzzInput in(bytes, size);
  round_trip<VXSkewGrid>(in, handler);
  round_trip<VXZemoGrid>(in, handler);
  round_trip<VXScalarGrid>(in, handler);
  round_trip<VXGaussian>(in, handler);
  round_trip<VXGaussianContainer>(in, handler);
  return 0;
}
