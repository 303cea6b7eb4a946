#pragma once

#include <string>
#include <vector>

#include <vxgrid/exchange/grid_files.h>
#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>

#include "file_format.h"
#include "report.h"

/// The library reads what is there of a CCP4 map; here one that is not whole, or not a CCP4 map, is a
/// Failure. The stream stands at its start afterwards.
void require_whole_ccp4(const std::string& file, VXHost::vxistream& in);

/// Reads a map, "-" for standard input, and leaves what the library had to say about it as notes. Failure for
/// one of one point too. `from` names the format, or is empty.
VXCore::VXSkewGrid read_map(const std::string& file, const Settings& settings, const std::string& from = "");
VXCore::VXSkewGrid read_map(const std::string& file, InputFile& input, const Settings& settings);

/// The format in which a map goes into a file: `to` when that is given, else by the extension. Failure when
/// maps are not written in it.
const FileFormat& output_format(const std::string& file, const std::string& to = "");

/// The same Failure: asked before the work, not after it.
void require_map_extension(const std::string& file);

/// Failure also when the format of that extension keeps no attributes, of which `what` are some.
void require_attributes(const std::string& file, const char* what);

/// Writes a grid in a format, by default that of the extension. Grid: VXSkewGrid or VXScalarGrid.
template <class Grid>
void write_map(const std::string& file, const Grid& grid, const FileFormat& format);
template <class Grid>
void write_map(const std::string& file, const Grid& grid) {
  write_map(file, grid, output_format(file));
}

/// Prepares a map that came from the file `source` for a format, by default that of `file`, and tells it: a
/// lattice that the format does not hold becomes a regular one, and a crystal without a group gets P 1 in a
/// CCP4 map, which keeps its samples.
void fit_to_format(const std::string& file, const std::string& source, VXCore::VXSkewGrid& grid,
                   const Settings& settings, const std::string& to = "");

/// What a grid has that a format does not hold: "its title and 2 further fields"; empty for nothing.
std::string losses(const VXCore::VXSkewGrid& grid, const FileFormat& format);

/// Whether a grid has the cell of a crystal: that of a plain grid says no more than its spacing does.
bool has_crystal_cell(const VXCore::VXSkewGrid& grid);

/// The names of the attributes of a grid, its statistics aside, and the symmetry that its cell and group
/// tell.
std::vector<std::string> attributes_of(const VXCore::VXSkewGrid& grid);

/// Says what was written to a file: its format and dimensions.
void report_map(const std::string& file, const VXCore::VXGridAbstractBase& grid, const Settings& settings,
                const std::string& to = "");
