#pragma once

#include <string>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/molecule.h>

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

/// Brings a map that came from the file `source` onto a regular lattice when the format of `file` holds no
/// other, and tells it: only CCP4 maps hold oblique axes and three step lengths.
void fit_to_format(const std::string& file, const std::string& source, VXCore::VXSkewGrid& grid,
                   const Settings& settings);

/// Says what was written to a file: its format and dimensions.
void report_map(const std::string& file, const VXCore::VXGridAbstractBase& grid, const Settings& settings);
