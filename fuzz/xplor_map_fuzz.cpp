// X-PLOR maps of both forms from untrusted bytes.

#include <vxgrid/formats/xplor.h>

#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const QuietLog quiet;
  FuzzInput in(bytes, size);
  VXCore::VXZemoGrid grid;
  VXCore::VXReadXPLORMap(in, grid);
  return 0;
}
