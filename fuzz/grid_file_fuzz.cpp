// The private grid file from untrusted bytes, which reach it as a file without a name.

#include <vxgrid/processing/grid_file.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const QuietLog quiet;
  const int fd = memfd_create("grid", MFD_CLOEXEC);
  if (fd < 0 || write(fd, bytes, size) != static_cast<ssize_t>(size)) std::abort();
  VXCore::GridStruct grid{};
  if (VXCore::vi_read_grid(0, &grid, ("/proc/self/fd/" + std::to_string(fd)).c_str()))
    VXCore::vx_deallocate_grid_struct(grid, true, true);
  close(fd);
  return 0;
}
