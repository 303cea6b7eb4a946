#pragma once

#include <cstddef>
#include <cstdint>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/stream.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

/// Takes what the library reports away from the terminal while it lives; the lines are still made.
class QuietLog {
 public:
  QuietLog() { VXCore::VXThrow.SetOutput(lines_); }
  ~QuietLog() { VXCore::VXThrow.ResetOutput(); }

 private:
  VXHost::vxosstream lines_;
};

/// The bytes of one run as an input stream, which must not outlive them.
class FuzzInput : public VXHost::vxisstream {
 public:
  FuzzInput(const std::uint8_t* bytes, std::size_t size) {
    set(reinterpret_cast<char*>(const_cast<std::uint8_t*>(bytes)), size, false);
  }
};
