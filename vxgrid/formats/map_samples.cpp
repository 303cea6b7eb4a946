#include <vxgrid/formats/map_samples.inl>

#include <xmmintrin.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include <vxgrid/host/binary_records.h>
#include <vxgrid/host/large_array.h>

namespace VXCore {
namespace {

using VXHost::VXLargeArray;

// What is read at a time: it stays in the second-level cache until it is at its place.
constexpr std::size_t kBlock = 65536;

// Sections read at a time when x runs slowest on file, so that each row of the grid gets 128 bytes in one go.
constexpr std::size_t kSections = 32;

/// Decodes samples in file order.
class Decoder {
 public:
  Decoder(VXHost::vxistream& in, const SampleCode& code) : in_(in), code_(code) {}

  // The number that came is below n only at the end of the input.
  std::size_t read(float* to, std::size_t n) {
    if (code_.byte_values) return read_bytes(to, n);
    std::size_t done = 0;
    while (done < n) {
      // Native samples in one call; others in blocks, which are swapped while they are in the cache.
      const std::size_t part = code_.swap ? std::min(n - done, kBlock) : n;
      const unsigned long bytes = in_.read(reinterpret_cast<char*>(to + done), 4 * part);
      const std::size_t got = (bytes + 3) / 4;
      if (bytes % 4) std::memset(reinterpret_cast<char*>(to + done) + bytes, 0, 4 - bytes % 4);
      if (code_.swap) ArraySwapBytes(reinterpret_cast<unsigned char*>(to + done), got, sizeof(float));
      done += got;
      if (got < part) break;
    }
    return done;
  }

 private:
  std::size_t read_bytes(float* to, std::size_t n) {
    bytes_.resize(kBlock);
    std::size_t done = 0;
    while (done < n) {
      const std::size_t part = std::min(n - done, kBlock);
      const std::size_t got = in_.read(bytes_.data(), part);
      for (std::size_t i = 0; i < got; ++i) to[done + i] = code_.byte_values[bytes_[i]];
      done += got;
      if (got < part) break;
    }
    return done;
  }

  VXHost::vxistream& in_;
  const SampleCode& code_;
  std::vector<unsigned char> bytes_;
};

// out[i * out_pitch + j] = in[j * in_pitch + i] for a tile of up to 16 x 16. Each line of 64 bytes of `in` is
// read once, four at a time, and each row of `out` is written in one go: rows that are a power of two apart
// would otherwise push each other out of the first-level cache.
void transpose_tile(const float* in, std::size_t in_pitch, float* out, std::size_t out_pitch, std::size_t ni,
                    std::size_t nj) {
  alignas(64) float tile[16][16];
  std::size_t j = 0;
  for (; j + 4 <= nj; j += 4) {
    const float* const from = in + j * in_pitch;
    std::size_t i = 0;
    for (; i + 4 <= ni; i += 4) {
      __m128 a = _mm_loadu_ps(from + i), b = _mm_loadu_ps(from + in_pitch + i),
             c = _mm_loadu_ps(from + 2 * in_pitch + i), d = _mm_loadu_ps(from + 3 * in_pitch + i);
      _MM_TRANSPOSE4_PS(a, b, c, d);
      _mm_store_ps(&tile[i][j], a);
      _mm_store_ps(&tile[i + 1][j], b);
      _mm_store_ps(&tile[i + 2][j], c);
      _mm_store_ps(&tile[i + 3][j], d);
    }
    for (; i < ni; ++i)
      for (std::size_t k = 0; k < 4; ++k) tile[i][j + k] = from[k * in_pitch + i];
  }
  for (; j < nj; ++j)
    for (std::size_t i = 0; i < ni; ++i) tile[i][j] = in[j * in_pitch + i];
  if (nj == 16)
    for (std::size_t i = 0; i < ni; ++i) std::memcpy(out + i * out_pitch, tile[i], 64);
  else
    for (std::size_t i = 0; i < ni; ++i) std::memcpy(out + i * out_pitch, tile[i], 4 * nj);
}

void transpose(const float* in, std::size_t in_pitch, float* out, std::size_t out_pitch, std::size_t ni,
               std::size_t nj) {
  for (std::size_t i = 0; i < ni; i += 16)
    for (std::size_t j = 0; j < nj; j += 16)
      transpose_tile(in + j * in_pitch + i, in_pitch, out + i * out_pitch + j, out_pitch,
                     std::min<std::size_t>(16, ni - i), std::min<std::size_t>(16, nj - j));
}

// The last samples before the end of an input that is too short, one by one: n of them from file index
// `first`. False, as their readers then are.
bool place_singly(const SampleOrder& order, const float* from, std::size_t first, std::size_t n,
                  float* values) {
  for (std::size_t at = first; at < first + n; ++at, ++from) {
    const std::size_t i = at % order.count[0], j = at / order.count[0] % order.count[1],
                      k = at / order.count[0] / order.count[1];
    values[i * order.stride[0] + j * order.stride[1] + k * order.stride[2]] = *from;
  }
  return false;
}

// x runs fastest on file: rows are copied, or read to their places when these lie one after another.
bool read_x_fastest(Decoder& decoder, const SampleOrder& order, float* values) {
  const std::size_t nx = order.count[0], rows = order.count[1] * order.count[2];
  if (!order.close_x && order.stride[1] == nx && order.stride[2] == nx * order.count[1]) {
    return decoder.read(values, order.size()) == order.size();
  }
  const std::size_t most = std::min(rows, std::max<std::size_t>(1, kBlock / nx));
  VXLargeArray<float> block(most * nx, VXLargeArray<float>::Uninitialised);
  for (std::size_t row = 0; row < rows;) {
    const std::size_t n = std::min(most, rows - row);
    const std::size_t got = decoder.read(block.data(), n * nx);
    if (got < n * nx) return place_singly(order, block.data(), row * nx, got, values);
    for (std::size_t k = 0; k < n; ++k, ++row) {
      float* const to =
          values + row % order.count[1] * order.stride[1] + row / order.count[1] * order.stride[2];
      std::memcpy(to, block.data() + k * nx, nx * sizeof(float));
      if (order.close_x) to[nx] = to[0];
    }
  }
  return true;
}

// x is the middle axis: each section is a matrix to be transposed, some of its rows at a time.
bool read_x_middle(Decoder& decoder, const SampleOrder& order, float* values) {
  const std::size_t nc = order.count[0], nx = order.count[1];
  const std::size_t most = std::min(nx, std::max<std::size_t>(16, kBlock / nc / 16 * 16));
  // With room for the row that closes x.
  VXLargeArray<float> block((most + 1) * nc, VXLargeArray<float>::Uninitialised);
  std::vector<float> first(order.close_x ? nc : 0);
  for (std::size_t section = 0; section < order.count[2]; ++section)
    for (std::size_t x = 0; x < nx; x += most) {
      std::size_t n = std::min(most, nx - x);
      const std::size_t got = decoder.read(block.data(), n * nc);
      if (got < n * nc) return place_singly(order, block.data(), (section * nx + x) * nc, got, values);
      if (order.close_x) {
        if (x == 0) std::copy_n(block.data(), nc, first.data());
        if (x + n == nx) std::copy_n(first.data(), nc, block.data() + n++ * nc);
      }
      transpose(block.data(), nc, values + section * order.stride[2] + x, order.stride[0], nc, n);
    }
  return true;
}

// x runs slowest: some sections are read, then each row of the grid gets its samples from all of them.
bool read_x_slowest(Decoder& decoder, const SampleOrder& order, float* values) {
  const std::size_t nc = order.count[0], nr = order.count[1], nx = order.count[2];
  const std::size_t most = std::min(nx, kSections);
  // Sections stand a line more than their length apart: at a power of two they would share cache sets.
  const std::size_t pitch = nc * nr + 16;
  VXLargeArray<float> block((most + 1) * pitch, VXLargeArray<float>::Uninitialised);
  VXLargeArray<float> first(order.close_x ? nc * nr : 0, VXLargeArray<float>::Uninitialised);
  for (std::size_t x = 0; x < nx; x += most) {
    std::size_t n = std::min(most, nx - x);
    for (std::size_t k = 0; k < n; ++k) {
      const std::size_t got = decoder.read(block.data() + k * pitch, nc * nr);
      if (got == nc * nr) continue;
      for (std::size_t whole = 0; whole < k; ++whole)
        place_singly(order, block.data() + whole * pitch, (x + whole) * nc * nr, nc * nr, values);
      return place_singly(order, block.data() + k * pitch, (x + k) * nc * nr, got, values);
    }
    if (order.close_x) {
      if (x == 0) std::copy_n(block.data(), nc * nr, first.data());
      if (x + n == nx) std::copy_n(first.data(), nc * nr, block.data() + n++ * pitch);
    }
    for (std::size_t r = 0; r < nr; ++r)
      transpose(block.data() + r * nc, pitch, values + r * order.stride[1] + x, order.stride[0], nc, n);
  }
  return true;
}

}  // namespace

bool file_can_pay(const VXHost::vxistream& in, std::size_t samples, const SampleCode& code) {
  const unsigned long long present = in.max_bytes_left() / static_cast<unsigned long long>(code.width());
  return samples <= std::size_t{1} << 20 || samples / 16 <= present;
}

bool read_samples(VXHost::vxistream& in, const SampleCode& code, const SampleOrder& order, float* values) {
  if (order.size() == 0) return true;
  Decoder decoder(in, code);
  if (order.stride[0] == 1) return read_x_fastest(decoder, order, values);
  if (order.stride[1] == 1) return read_x_middle(decoder, order, values);
  return read_x_slowest(decoder, order, values);
}

}  // namespace VXCore
