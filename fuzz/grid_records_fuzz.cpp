// Native records of every kind from untrusted bytes. What was read is written and read again; from the second
// time on that gives the same bytes. (The first reading drops attributes named as the placeholder is.)

#include <vxgrid/exchange/gaussian_records.h>
#include <vxgrid/exchange/grid_records.h>
#include <vxgrid/exchange/molecule_records.h>

#include <cstdlib>
#include <string>

#include "fuzz.h"

using namespace VXCore;

template <class T>
static std::string written(const T& object, const VXBinaryIOHandlerBase& handler) {
  VXHost::vxosstream out;
  return VXBinaryWrite<T>(out, object, handler) ? out.str() : std::string();
}

// False for what does not go out or does not come back, as records too deep for another level.
template <class T>
static bool through(std::string& bytes, const VXBinaryIOHandlerBase& handler) {
  VXHost::vxisstream in(bytes);
  T copy;
  if (VXBinaryRead<T>(in, copy, handler) != VXBDone) return false;
  bytes = written(copy, handler);
  return !bytes.empty();
}

template <class T>
static void round_trip(FuzzInput& in, const VXBinaryIOHandlerBase& handler) {
  T object;
  in.seek(0);
  while (in && VXBinaryRead<T>(in, object, handler) == VXBDone) {
  }
  std::string second = written(object, handler);
  if (second.empty() || !through<T>(second, handler)) return;
  std::string third = second;
  if (through<T>(third, handler) && third != second) std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const VXBinaryIOHandler& handler = *[] {
    auto* const made = new VXBinaryIOHandler;
    VXInitGridHandlers(*made);
    VXInitMoleculeHandlers(*made);
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
  round_trip<VXGraphMol>(in, handler);
  return 0;
}
