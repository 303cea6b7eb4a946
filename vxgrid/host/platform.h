#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include <vxgrid/host/export.h>

namespace VXHost {

/// Bytes up to which a temporary buffer may go on the stack; a larger one goes on the heap.
constexpr unsigned long VXGetAllocaThreshold() { return 16384; }

/// True for not-a-number, judged by the bits, so that no optimisation of floating point can take it away.
inline bool VXIsNaN(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return (bits & 0x7fffffffu) > 0x7f800000u;
}
inline bool VXIsNaN(double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return (bits & 0x7fffffffffffffffu) > 0x7ff0000000000000u;
}

/// Compresses n bytes with "gzip", "zlib" or "deflate" (without a frame); "none" copies. `out` is replaced.
/// False, with `out` empty, for another method.
VXGRID_API bool VXCompress(std::string& out, const char* bytes, unsigned long n, const char* method);

}  // namespace VXHost
