#pragma once

#include <cstddef>

#include <vxgrid/reflection/fft_functions.inl>

namespace VXCore {

/// The array of one transform, all 0, from the backend that is chosen when it is made.
class FFTArray {
 public:
  /// Null data, after one Error, when the backend or the memory is not to be had.
  explicit FFTArray(std::size_t doubles);
  ~FFTArray();
  FFTArray(const FFTArray&) = delete;
  FFTArray& operator=(const FFTArray&) = delete;

  double* data() { return data_; }
  /// FFTFunctions::complex_to_real on this array.
  void ComplexToReal(int nx, int ny, int nz, const int* l_limits);

 private:
  const FFTFunctions* functions_;
  std::size_t bytes_;
  double* data_ = nullptr;
};

}  // namespace VXCore
