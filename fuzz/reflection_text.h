#pragma once

#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_io.h>

#include "fuzz.h"

/// Whatever a text reader takes goes out in each form that can hold it, and the native one gives it back.
inline void read_and_write(bool (*read)(VXHost::vxistream&, VXCore::VXReflection&), const std::uint8_t* bytes,
                           std::size_t size) {
  using namespace VXCore;
  const QuietLog quiet;
  FuzzInput in(bytes, size);
  VXReflection set, back;
  if (!read(in, set)) return;
  VXHost::vxosstream phs, fob, vxx, again;
  VXWriteReflectionPHS(phs, set);
  VXWriteReflectionXPLOR(fob, set);
  VXWriteReflectionVXX(vxx, set);
  VXHost::vxisstream native(vxx.str());
  if (VXReadReflectionVXX(native, back) != 0) __builtin_trap();
  VXWriteReflectionVXX(again, back);
  if (again.str() != vxx.str()) __builtin_trap();
}
