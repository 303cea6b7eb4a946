#include <vxgrid/host/platform.h>

#include <zlib.h>

#include <algorithm>

namespace VXHost {
namespace {

// zlib's window bits say the frame: 15 zlib, 15 + 16 gzip, -15 none. 0 for an unknown method.
int window_bits(const std::string& method) {
  return method == "gzip" ? 15 + 16 : method == "zlib" ? 15 : method == "deflate" ? -15 : 0;
}

}  // namespace

bool VXCompress(std::string& out, const char* bytes, unsigned long n, const char* method) {
  const std::string name = method ? method : "";
  if (name == "none") {
    out.assign(bytes, n);
    return true;
  }
  out.clear();
  z_stream z = {};
  const int bits = window_bits(name);
  if (!bits || deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, bits, 8, Z_DEFAULT_STRATEGY) != Z_OK)
    return false;
  out.resize(deflateBound(&z, n));
  constexpr unsigned long kMost = 1ul << 30;  // zlib counts in 32 bits
  unsigned long taken = 0, made = 0;
  int status = Z_OK;
  while (status == Z_OK) {
    const unsigned long in = std::min(n - taken, kMost), room = std::min(out.size() - made, kMost);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes + taken));
    z.avail_in = static_cast<uInt>(in);
    z.next_out = reinterpret_cast<Bytef*>(out.data() + made);
    z.avail_out = static_cast<uInt>(room);
    status = deflate(&z, taken + in == n ? Z_FINISH : Z_NO_FLUSH);
    taken += in - z.avail_in;
    made += room - z.avail_out;
  }
  deflateEnd(&z);
  out.resize(status == Z_STREAM_END ? made : 0);
  return status == Z_STREAM_END;
}

}  // namespace VXHost
