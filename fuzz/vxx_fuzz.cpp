#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_io.h>

#include "fuzz.h"

// Whatever was read is written and read again, to the same bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace VXCore;
  const QuietLog quiet;
  FuzzInput in(bytes, size);
  VXReflection set, back;
  if (VXReadReflectionVXX(in, set) != 0) return 0;
  set.CalcResolution();
  VXHost::vxosstream fob, first, second;
  VXWriteReflectionXPLOR(fob, set);
  VXWriteReflectionVXX(first, set);
  VXHost::vxisstream image(first.str());
  if (VXReadReflectionVXX(image, back) != 0) __builtin_trap();
  VXWriteReflectionVXX(second, back);
  if (second.str() != first.str()) __builtin_trap();
  return 0;
}
