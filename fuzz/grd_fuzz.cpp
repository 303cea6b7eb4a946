// GRD files from untrusted bytes, and what was read written and read again.

#include <vxgrid/formats/grd.h>

#include <cstdlib>

#include "fuzz.h"

using namespace VXCore;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const QuietLog quiet;
  FuzzInput in(bytes, size);
  VXZemoGrid grid;
  if (!VXReadGridGRD(in, grid)) return 0;
  VXHost::vxosstream out;
  VXHost::vxisstream written;
  if (!VXWriteGridGRD(out, grid)) std::abort();
  written.set(out.str());
  if (!VXReadGridGRD(written, grid)) std::abort();
  return 0;
}
