#include <vxgrid/grid/ascii_grid.h>

#include "fuzz.h"

// Whatever was read is written and read again: the same values, as far as the text has digits for them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const QuietLog quiet;
  FuzzInput in(bytes, size);
  VXCore::VXZemoGrid grid;
  if (!VXCore::VXReadAsciiGrid(in, grid)) return 0;
  VXHost::vxosstream text;
  VXCore::VXWriteAsciiGrid(text, grid);
  VXHost::vxisstream again(text.str());
  VXCore::VXZemoGrid back;
  if (!VXCore::VXReadAsciiGrid(again, back) || back.GetSize() != grid.GetSize()) __builtin_trap();
  return 0;
}
