#pragma once

#include <optional>

#include <vxgrid/host/export.h>
#include <vxgrid/xtal/symmetry.h>

namespace VXCore {

class VXMolBase;
class VXSkewGrid;

/// The space group of a map, bound to its cell: the one it was made with, or the one its number gives. Empty
/// when there is none, or when it does not fit the cell.
VXGRID_API VXXtal::VXSymmetry VXGetMapSymmetry(const VXSkewGrid& grid);

/// Where the atoms of a model lie in a map.
struct VXMapCoverage {
  unsigned int atoms = 0;
  unsigned int inside = 0;  ///< at points for which the map has a value
};

/// Cuts the box around a model (its atoms and `margin` Å about them) out of the crystal that a map describes.
///
/// Each point of the box, on the lattice of the map, gets the value of the stored one that symmetry makes
/// equal to it, so a map of an asymmetric unit or of any other part of a crystal serves as one of a whole
/// cell does; where the map has none it gets 0. All atoms of the model then lie on the grid: their densities
/// come out alike, wherever in the cell they are. Without symmetry the map stays and no longer wraps around.
///
/// Nothing, with the map as it was, for a box of more than 2^27 points, for a model without atoms or with a
/// position that is not finite, and for a map of one sample, which shows no values.
VXGRID_API std::optional<VXMapCoverage> VXCutModelBox(VXSkewGrid& grid, const VXXtal::VXSymmetry& symmetry,
                                                      const VXMolBase& model, float margin);

}  // namespace VXCore
