#include "reflection_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  read_and_write(VXCore::VXReadReflectionHKL, bytes, size);
  return 0;
}
