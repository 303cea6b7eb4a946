#pragma once

#include <cstddef>

#include <vxgrid/host/stream.h>

namespace VXCore {

/// How one sample stands in a file: a 4-byte float, perhaps in the other byte order, or one byte that stands
/// for an entry of a table of 256 floats.
struct SampleCode {
  bool swap = false;
  const float* byte_values = nullptr;

  int width() const { return byte_values ? 1 : 4; }
};

/// Where the samples of a file go. count[0] is the axis that runs fastest on file, count[2] the slowest; the
/// sample (i, j, k) of the file stands at i * stride[0] + j * stride[1] + k * stride[2], and one of the
/// strides is 1. With close_x each row of x gets one more sample, the first once again.
struct SampleOrder {
  std::size_t count[3];
  std::size_t stride[3];
  bool close_x = false;

  std::size_t size() const { return count[0] * count[1] * count[2]; }
};

/// True when a file that may end before its announced samples is still taken for what it claims: up to a Mi
/// (2^20) samples always, beyond that when it holds at least one in sixteen of them.
bool file_can_pay(const VXHost::vxistream& in, std::size_t samples, const SampleCode& code);

/// Reads a box of samples to their places, whatever the order of its axes. False where the input ends early:
/// the places of the samples that did not come stay as they were, of a last one cut short the missing bytes
/// count as 0, and rows of x may not be closed.
bool read_samples(VXHost::vxistream& in, const SampleCode& code, const SampleOrder& order, float* values);

}  // namespace VXCore
