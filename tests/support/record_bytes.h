#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include <vxgrid/host/binary_records.h>

/// Native records put together by hand, in either byte order. Lengths below 16384.
class RecordBytes {
 public:
  explicit RecordBytes(bool big = false) : big_(big) {}

  RecordBytes& byte(int value) {
    bytes_.push_back(static_cast<char>(value));
    return *this;
  }
  /// The bytes that say which order this is: of integers, of floats.
  RecordBytes& orders() { return byte(big_).byte(big_); }
  template <class T>
  RecordBytes& numbers(std::initializer_list<T> values) {
    for (const T& value : values) {
      char raw[sizeof(T)];
      std::memcpy(raw, &value, sizeof(T));
      if (big_) std::reverse(raw, raw + sizeof(T));
      bytes_.append(raw, sizeof(T));
    }
    return *this;
  }
  RecordBytes& tag(const std::string& text, int flag = 0) {
    byte(flag);
    length(text.size());
    return raw(text);
  }
  RecordBytes& record(const std::string& text, const RecordBytes& data, int flag = 0) {
    tag(text, flag);
    length(data.bytes_.size());
    return raw(data.bytes_);
  }
  RecordBytes& length(std::size_t n) {
    return n < 128 ? byte(static_cast<int>(n))
                   : byte(static_cast<int>(n % 128 + 128)).byte(static_cast<int>(n / 128));
  }
  RecordBytes& raw(const std::string& bytes) {
    bytes_ += bytes;
    return *this;
  }
  const std::string& str() const { return bytes_; }

 private:
  bool big_;
  std::string bytes_;
};

template <class T>
std::string record_of(const T& object, const VXCore::VXBinaryIOHandlerBase& handler) {
  VXHost::vxosstream out;
  EXPECT_TRUE(VXCore::VXBinaryWrite<T>(out, object, handler));
  return out.str();
}

template <class T>
unsigned int read_record(const std::string& bytes, T& object, const VXCore::VXBinaryIOHandlerBase& handler) {
  VXHost::vxisstream in(bytes);
  return VXCore::VXBinaryRead<T>(in, object, handler);
}
