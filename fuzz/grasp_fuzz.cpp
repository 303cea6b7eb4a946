// GRASP and DelPhi maps from untrusted bytes, and records of text and numbers by themselves.

#include <vxgrid/formats/grasp.h>

#include "fuzz.h"

using namespace VXCore;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const QuietLog quiet;
  FuzzInput in(bytes, size);
  while (!in.eof()) {
    VXGraspIO::ReadGraspLine(in);
    VXGraspIO::ReadGraspDouble(in, true);
  }
  in.seek(0);
  VXZemoGrid grid;
  VXReadGraspGrid(in, grid);
  return 0;
}
