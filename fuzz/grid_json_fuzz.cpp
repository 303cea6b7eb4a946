#include <vxgrid/exchange/grid_json.h>

#include <string>

#include "fuzz.h"

namespace {

constexpr unsigned int kFlags = VXCore::VXJSONFlagBaseData;

// What was read is written, and that text is read again: the same lattice. Values differ by the decimals that
// are cut off; a spacing below five decimals, of the grid or of one among its attributes, comes back as none.
template <class Grid>
void read_and_write(const std::string& text) {
  Grid grid, back;
  if (!VXCore::VXJSONToGrid(grid, text)) return;
  const std::string written = VXCore::VXGridToJSON(grid, kFlags);
  if (!VXCore::VXJSONToGrid(back, written)) {
    if (!grid.GetBaseImpl() && grid.GetSpacing() > 1e-4f) __builtin_trap();
    return;
  }
  if (back.GetSize() != grid.GetSize() || back.GetTitle() != grid.GetTitle()) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const QuietLog quiet;
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  read_and_write<VXCore::VXScalarGrid>(text);
  read_and_write<VXCore::VXSkewGrid>(text);
  return 0;
}
