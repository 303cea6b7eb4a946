// Values of fields from untrusted bytes and texts: a grid and a vector of grids, of either kind, to JSON and
// to bytes.

#include <vxgrid/exchange/grid_field.h>

#include <algorithm>

#include <vxgrid/formats/regular_size.inl>

#include "fuzz.h"

using namespace VXRecordKit;

constexpr double kSmall = 65536;

// Plain grids are made regular when they are read from bytes.
static bool all_small(const VXBytes& bytes) {
  VXCore::VXSkewGrid grid;
  VXVectorFieldType<VXCore::VXSkewGrid>::Grids grids;
  VXFieldType<VXCore::VXSkewGrid>::FromBytes(grid, bytes);
  VXVectorFieldType<VXCore::VXSkewGrid>::FromBytes(grids, bytes);
  grids.push_back(grid);
  return std::all_of(grids.begin(), grids.end(), [](const auto& each) {
    float dims[3];
    return VXCore::regular_points(each.GetImpl().GetImpl(), dims) < kSmall;
  });
}

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
  if (all_small(bytes)) run<VXCore::VXScalarGrid>(bytes, text);
  run<VXCore::VXSkewGrid>(bytes, text);
  return 0;
}
