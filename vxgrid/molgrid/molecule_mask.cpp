#include <vxgrid/molgrid/molecule_mask.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/molgrid/molecular_grid.h>
#include <vxgrid/processing/grid_values.h>

namespace VXCore {
namespace {

constexpr float kDefault = 0.5f;

constexpr struct MaskMode {
  unsigned int number;
  const char* type;
} kMaskModes[] = {{4, "gaussian"}, {5, "gaussian-"}, {6, "gaussian_smooth"}, {7, "gaussian_smooth-"}};

const char* type_of(unsigned int mode) {
  for (const MaskMode& known : kMaskModes)
    if (known.number == mode) return known.type;
  return nullptr;
}

/// The number of a type, 0 for none.
unsigned int mode_of(const char* type) {
  for (const MaskMode& known : kMaskModes)
    if (type && std::string_view(known.type) == type) return known.number;
  return 0;
}

template <class Op>
void mask_each(float* values, const float* mask, unsigned int count, Op op) {
  for (unsigned int i = 0; i < count; ++i) values[i] = op(values[i], mask[i]);
}

/// Sets values to 0 by their mask: for a type that is `name` and + where mask > threshold, for `name` and -
/// where mask < threshold. False for another type.
bool mask_by_threshold(float* values, const float* mask, unsigned int count, float threshold,
                       std::string_view name, const char* type) {
  const std::string_view given = type ? type : "";
  if (given.size() != name.size() + 1 || given.substr(0, name.size()) != name) return false;
  if (given.back() != '+' && given.back() != '-') return false;
  if (!values || !mask) return true;
  if (given.back() == '+')
    mask_each(values, mask, count, [=](float v, float m) { return m > threshold ? 0.0f : v; });
  else
    mask_each(values, mask, count, [=](float v, float m) { return m < threshold ? 0.0f : v; });
  return true;
}

template <class Grid>
bool mask_by_molecule(Grid& grid, const VXMolBase& mol, unsigned int mode, float c) {
  if (grid.GetSize() <= 1) return true;  // not sized
  VXZemoGrid density;
  if (!VXGridCopyGeometry(density, grid)) return false;
  vx_make_molecular_gaussian_grid(mol, grid.GetSpacing(), density);
  float* const values = grid.GetValues();
  const float* const m = density.GetValues();
  const unsigned int count = std::min(grid.GetSize(), density.GetSize());
  switch (mode) {
    case 4:
      mask_each(values, m, count, [c](float v, float d) { return d > c ? 0.0f : v; });
      break;
    case 5:
      mask_each(values, m, count, [c](float v, float d) { return d < c ? 0.0f : v; });
      break;
    case 6:
      mask_each(values, m, count, [c](float v, float d) { return v * std::exp(-c * d); });
      break;
    case 7:
      mask_each(values, m, count, [c](float v, float d) {
        return static_cast<float>(v * (1.0 - std::exp(static_cast<double>(-c * d))));
      });
      break;
  }
  return true;
}

}  // namespace

bool VXMaskGridByMolecule(VXScalarGrid& grid, const VXMolBase& mol, unsigned int mode) {
  return VXMaskGridByMolecule(grid, mol, mode, kDefault);
}

bool VXMaskGridByMolecule(VXScalarGrid& grid, const VXMolBase& mol, unsigned int mode, float c) {
  if (!mol) {
    VXThrow.Warning("%s : empty molecule!", "VXMaskGridByMolecule()");
    return false;
  }
  if (mol.GetDimension() != 3) {
    VXThrow.Warning("%s : 3D molecule coordinates required!", "VXMaskGridByMolecule()");
    return false;
  }
  return type_of(mode) && mask_by_molecule(grid, VXGraphMol(mol), mode, c);
}

bool VXMaskGridByMolecule(VXZemoGrid& grid, const VXMolBase& mol, unsigned int mode) {
  return VXMaskGridByMolecule(grid, mol, mode, kDefault);
}

bool VXMaskGridByMolecule(VXZemoGrid& grid, const VXMolBase& mol, unsigned int mode, float c) {
  return vx_mask_grid(grid, VXGraphMol(mol), c, type_of(mode)) != 0;
}

bool VXMaskGridByCoordsAndRadii(VXScalarGrid& grid, const float* coords, const float* radii, unsigned int n,
                                unsigned int mode) {
  VXZemoGrid density;
  if (!VXGridCopyGeometry(density, grid) || !density.GetValues()) return false;  // one sample
  vx_make_gaussian_grid_explicit(coords, radii, nullptr, static_cast<int>(n), 0.0f, density, 0);
  return VXGridSameGeometry(density, grid) &&
         VXMaskGridValues(grid.GetValues(), density.GetValues(), grid.GetSize(), mode);
}

int vx_mask_grid(VXZemoGrid& grid, float threshold, const char* type) {
  return mask_by_threshold(grid.GetValues(), grid.GetValues(), grid.GetSize(), threshold, "value", type);
}

int vx_mask_grid(VXZemoGrid& grid, const VXZemoGrid& mask, float threshold, const char* type) {
  return mask_by_threshold(grid.GetValues(), mask.GetValues(), std::min(grid.GetSize(), mask.GetSize()),
                           threshold, "grid", type);
}

int vx_mask_grid(VXZemoGrid& grid, const VXMolBase& mol, float c, const char* type) {
  const unsigned int mode = mode_of(type);
  return mode != 0 && mask_by_molecule(grid, mol, mode, c);
}

}  // namespace VXCore
