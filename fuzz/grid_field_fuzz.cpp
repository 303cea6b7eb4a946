// Values of fields from untrusted bytes and texts: a grid and a vector of grids, of either kind, to JSON and
// to bytes.

#include <vxgrid/exchange/grid_field.h>

#include "fuzz.h"

using namespace VXRecordKit;

template <class T>
static void run(const VXBytes& bytes, const std::string& text) {
  const VXFieldType<T> grid;
  const VXVectorFieldType<T> grids;
  std::vector<T> vector;
  grid.BytesToJSON(bytes);
  grids.BytesToJSON(bytes);
  if (grids.FromBytes(vector, bytes)) grids.PtrToBytes(&vector);
  grid.JSONToBytes(text);
  grids.BytesToJSON(grids.JSONToBytes(text));
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QuietLog quiet;
  const VXBytes bytes(data, data + size);
  const std::string text(bytes.begin(), bytes.end());
  run<VXCore::VXScalarGrid>(bytes, text);
  run<VXCore::VXSkewGrid>(bytes, text);
  return 0;
}
