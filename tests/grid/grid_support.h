#pragma once

#include <numeric>

#include <vxgrid/grid/scalargrid.h>

/// A grid whose values are their element numbers plus 1.
inline VXCore::VXScalarGrid numbered_grid(int x, int y, int z, float spacing = 1.0f) {
  VXCore::VXScalarGrid grid(x, y, z, 0.25f, -3.0f, 7.5f, spacing, "numbered", nullptr);
  std::iota(grid.GetValues(), grid.GetValues() + grid.GetSize(), 1.0f);
  return grid;
}

template <class Grid>
std::vector<float> values_of(const Grid& grid) {
  return {grid.GetValues(), grid.GetValues() + grid.GetSize()};
}

/// The function in a slot (counted from 1) of an object's virtual table, called on the object.
template <class Result, class... Args>
Result call_slot(void* object, int slot, Args... args) {
  using Function = Result (*)(void*, Args...);
  return (*reinterpret_cast<Function**>(object))[slot - 1](object, args...);
}
