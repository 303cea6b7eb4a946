#include <vxgrid/processing/grid_values.h>

#include <algorithm>
#include <cmath>

#include <vxgrid/grid/grid_accessors.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/processing/between_grids.h>
#include <vxgrid/processing/lattice.inl>

namespace VXCore {
namespace {

// The sample standard deviation. Both sums run through the values in order.
double standard_deviation(const float* values, unsigned int count) {
  double sum = 0, sum_of_squares = 0;
  for (unsigned int i = 0; i < count; ++i) {
    sum += values[i];
    sum_of_squares += values[i] * values[i];  // squared in float
  }
  const double n = count;
  return std::sqrt((sum_of_squares - sum * sum / n) / (n - 1));
}

float normalize_array_by_sigma(VXBase& grid, float* values, unsigned int count) {
  if (grid.HasData(SIGMA) && grid.GetData<bool>(ALREADY_NORMALIZED)) {
    VXThrow.Warning("VXSigmaNormalizeGrid: grid has been previously normalized, skipping...");
    return grid.GetData<float>(SIGMA);
  }
  // The file's own figure goes first, so that a map keeps the scale its author published.
  const double deviation =
      grid.HasData(ARMS) ? static_cast<double>(grid.GetData<float>(ARMS)) : standard_deviation(values, count);
  if (!(deviation < 1.0) && !(deviation > 1.0)) return 1.0f;
  const float sigma = static_cast<float>(deviation);
  const float scale = 1.0f / sigma;
  for (unsigned int i = 0; i < count; ++i) values[i] *= scale;
  return sigma;
}

void mark_normalized(VXBase& grid, float sigma) {
  grid.SetData<bool>(ALREADY_NORMALIZED, true);
  grid.SetData<float>(SIGMA, sigma);
}

bool has_non_zero(const float* values, unsigned int count) {
  return values && std::any_of(values, values + count, [](float v) { return v < 0.0f || v > 0.0f; });
}

template <class Op>
void mask_each(float* values, const float* mask, unsigned int count, Op op) {
  for (unsigned int i = 0; i < count; ++i) values[i] = op(values[i], mask[i]);
}

}  // namespace

float VXSigmaNormalizeGrid(VXScalarGrid& grid) {
  const float sigma = normalize_array_by_sigma(grid, grid.GetValues(), grid.GetSize());
  mark_normalized(grid, sigma);
  return sigma;
}

float VXSigmaNormalizeGrid(VXSkewGrid& grid) {
  VXZemoGrid& inner = grid.GetImpl().GetImpl();
  // A grid of one sample shows no values, and has none to divide.
  float* const values = grid.GetValues();
  const float sigma = normalize_array_by_sigma(inner, values, values ? grid.GetSize() : 0);
  mark_normalized(grid, sigma);
  mark_normalized(inner, sigma);
  return sigma;
}

bool VXClearGridBoundary(VXScalarGrid& grid) { return VXZeroGridBoundary(grid); }
bool VXClearGridBoundary(VXZemoGrid& grid) { return VXZeroGridBoundary(grid.CurrentFloats()); }
bool VXClearGridBoundary(VXSkewGrid& grid) { return VXClearGridBoundary(grid.GetImpl().GetImpl()); }

bool VXMaskGridValues(float* values, const float* mask, unsigned int count, unsigned int kind) {
  switch (kind) {
    case 4:
      mask_each(values, mask, count, [](float v, float m) { return m > 0.5f ? 0.0f : v; });
      return true;
    case 5:
      mask_each(values, mask, count, [](float v, float m) { return m < 0.5f ? 0.0f : v; });
      return true;
    case 6:
      mask_each(values, mask, count, [](float v, float m) { return v * std::exp(-0.5f * m); });
      return true;
    case 7:
      mask_each(values, mask, count, [](float v, float m) { return v * (1.0f - std::exp(-0.5f * m)); });
      return true;
  }
  return count == 0;
}

bool VXGridHasNonZeroValue(const VXScalarGrid& grid) {
  return has_non_zero(grid.GetValues(), grid.GetSize());
}
bool VXGridHasNonZeroValue(const VXSkewGrid& grid) { return has_non_zero(grid.GetValues(), grid.GetSize()); }
bool VXGridHasNonZeroValue(const VXZemoGrid& grid) { return has_non_zero(grid.GetValues(), grid.GetSize()); }

bool VXInterpolateBetweenGrids(VXZemoGrid& target, const VXZemoGrid& source) {
  if (!source.GetFloatsSet()) return false;
  vi_int_btw_grids(lattice::view(source, source.GetFloats().GetValues()),
                   lattice::view(target, target.GetFloats().GetValues()), 2);
  VXCopyBaseData(target, source);
  return true;
}

bool VXInterpolateBetweenGrids(VXScalarGrid& target, const VXScalarGrid& source) {
  if (lattice::is_sized(source))
    vi_int_btw_grids(lattice::view(source, source.GetValues()), lattice::view(target, target.GetValues()), 2);
  target.SetType(source.GetType());
  VXCopyBaseData(target, source);
  return true;
}

}  // namespace VXCore
