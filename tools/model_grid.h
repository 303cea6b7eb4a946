#pragma once

#include <string>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/molecule.h>

#include "file_format.h"
#include "report.h"

// What the verbs share that make grids from molecules, or regular ones of maps.

/// Most points of a grid that is made around a model: a GiB of values.
constexpr double kMostPoints = 268435456;  // 2^28

/// Failure when a model has no atoms but hydrogens.
void require_heavy_atoms(const std::string& file, const VXCore::VXMolBase& model);

/// Failure when the box of the atoms with `margin` Å on each side takes more than kMostPoints at a spacing,
/// or too many along one axis; it names a spacing that fits.
void require_bearable_box(const std::string& file, const VXCore::VXMolBase& model, float margin,
                          float spacing);

/// A map on a regular lattice with its own spacing. Failure when that takes points out of proportion.
VXCore::VXScalarGrid regular_map(const std::string& file, const VXCore::VXSkewGrid& grid);

/// The same with another spacing, or 0 for its own: the points within the box of the map whose coordinates
/// are multiples of the spacing. hold_samples() keeps them in a CCP4 map.
VXCore::VXScalarGrid regular_map(const std::string& file, const VXCore::VXSkewGrid& grid, float spacing);

/// Gives a plain grid a cell of its own, twice as large, when it goes into a CCP4 map, which has starts in
/// whole steps.
void hold_samples(VXCore::VXSkewGrid& grid, const FileFormat& format);
