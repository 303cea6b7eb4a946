#pragma once

#include <optional>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/xtal/symmetry.h>

/// Where the atoms of a model lie in a map.
struct Coverage {
  unsigned atoms = 0;
  unsigned inside = 0;  // at points for which the map has a value
};

/// Cuts the box around a model (its atoms and `margin` Å about them) out of the crystal that a map describes.
///
/// Each point of the box, on the lattice of the map, gets the value of the stored one that symmetry makes
/// equal to it, so a map of an asymmetric unit or of any other part of a crystal serves as one of a whole
/// cell does; where the map has none it gets 0. All atoms of the model then lie on the grid: their densities
/// come out alike, wherever in the cell they are. Without symmetry the map stays and no longer wraps around.
///
/// Nothing, with the map as it was, for a box of more than 2^27 points.
std::optional<Coverage> serve_model(VXCore::VXSkewGrid& grid, const VXCore::VXXtal::VXSymmetry& symmetry,
                                    const VXCore::VXGraphMol& model, float margin);
