// Makes a grid, fills it, writes it as a CCP4 map and reads it back.
//
//     make_map OUT.map

#include <cmath>
#include <cstdio>

#include <vxgrid/vxgrid.h>

using namespace VXCore;

int main(int argc, char** argv) {
  if (argc != 2) return 1;
  const float box[] = {-4.0f, -5.0f, -6.0f, 4.0f, 5.0f, 6.0f};  // from x, y, z to x, y, z in Å
  VXScalarGrid grid(box, 0.5f, "a round blob");
  float* value = grid.GetValues();  // x runs fastest, then y, then z
  for (float z = box[2]; z <= box[5]; z += 0.5f)
    for (float y = box[1]; y <= box[4]; y += 0.5f)
      for (float x = box[0]; x <= box[3]; x += 0.5f) *value++ = std::exp(-(x * x + y * y + z * z));
  if (!VXWriteGrid(argv[1], grid)) return 1;

  VXScalarGrid back;
  if (!VXReadGrid(argv[1], back)) return 1;
  const float centre =
      back[(back.GetZIdx(0.0f) * back.GetYDim() + back.GetYIdx(0.0f)) * back.GetXDim() + back.GetXIdx(0.0f)];
  std::printf("%u x %u x %u samples, %.2f A apart, %.2f at the centre\n", back.GetXDim(), back.GetYDim(),
              back.GetZDim(), back.GetSpacing(), centre);
  return 0;
}
