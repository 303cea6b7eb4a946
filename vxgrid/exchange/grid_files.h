#pragma once

#include <array>
#include <string>

#include <vxgrid/grid/grid_format.h>
#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/grid/zemogrid.h>
#include <vxgrid/host/stream.h>

namespace VXCore {

// Grids in every format, JSON documents and native records too, each lattice as it is. VXReadGrid and
// VXWriteGrid, which know the formats of VXGridFormat alone, bring a lattice that a format does not hold onto
// another one.

/// Codes behind those of VXGridFormat.
constexpr unsigned int VXGridFormatJSON = 6;
constexpr unsigned int VXGridFormatNative = 7;

struct VXGridFileFormat {
  unsigned int code;
  const char* name;        ///< "ccp4"
  const char* title;       ///< "CCP4 Map"
  const char* extensions;  ///< separated by commas
  bool is_writeable;       ///< all are read
};

/// All formats, in the order in which to list them.
VXGRID_API const std::array<VXGridFileFormat, 7>& VXGetGridFileFormats();

/// The format of a name, or of a file by its extension in any letter case, where ".gz" does not count; null
/// when there is none.
VXGRID_API const VXGridFileFormat* VXFindGridFileFormat(const std::string& name);
VXGRID_API const VXGridFileFormat* VXGetGridFileFormat(const std::string& file);

/// A skew grid of the values of a plain one, without cell and orientation, with its attributes on the skew
/// grid and on the inner one. `grid` is left without a sample.
VXGRID_API VXSkewGrid VXMakePlainSkewGrid(VXScalarGrid&& grid);

/// False, with a message, for compressed content that is damaged, and for a CCP4 or a GRASP map that is not
/// whole or none, of which VXReadGrid takes what is there. The stream stands at its start afterwards.
VXGRID_API bool VXIsWholeGridFile(VXHost::vxistream& in, unsigned int code);

/// Reads a grid, with its attributes on the skew grid and on its inner one. A plain grid, from a document or
/// a record of one, becomes a plain skew grid; titles that only name the format of the file are left out.
/// False, with a message, for what is not whole and for a grid of one sample; the grid may have changed by
/// then.
VXGRID_API bool VXReadGridFile(VXHost::vxistream& in, VXSkewGrid& grid, unsigned int code);
/// The same made regular: a plain lattice keeps its samples, an oblique one is resampled at its own spacing.
VXGRID_API bool VXReadGridFile(VXHost::vxistream& in, VXScalarGrid& grid, unsigned int code);

/// Whether a grid has the cell of a crystal: that of a plain grid says no more than its spacing does.
VXGRID_API bool VXHasCrystalCell(const VXZemoGrid& grid);

/// Whether the JSON document of a grid has its cell, which then sets the lattice, with one step a sample
/// along each edge, and with beta in the place of gamma.
VXGRID_API bool VXDocumentHoldsCell(const VXZemoGrid& grid);

/// Whether the samples of a grid keep their places in a file of a format. GRASP maps and CCP4 maps of plain
/// grids, which have a lattice of their own, count as such.
VXGRID_API bool VXHoldsLattice(unsigned int code, const VXZemoGrid& grid);

/// What a file of a format makes of a grid that it does not hold as it is, in words that follow its name:
/// "interpolated onto ..." for GRASP maps and for CCP4 maps of plain grids, "has no space group; written as
/// P 1" for a CCP4 map of a crystal without a group. Empty for all others.
VXGRID_API std::string VXChangeInFile(unsigned int code, const VXZemoGrid& grid);

/// Writes a grid, all its fields where the format has fields, as VXWriteGrid does it. False, with a message,
/// for a lattice that the format does not hold.
VXGRID_API bool VXWriteGridFile(VXHost::vxostream& out, const VXZemoGrid& grid, unsigned int code);
VXGRID_API bool VXWriteGridFile(VXHost::vxostream& out, const VXSkewGrid& grid, unsigned int code);
VXGRID_API bool VXWriteGridFile(VXHost::vxostream& out, const VXScalarGrid& grid, unsigned int code);

/// The JSON document of a map with its attributes: that of a plain grid where it would not hold the cell.
/// Empty, with a Warning, for a lattice that no document holds. VXJSONToMap reads both kinds.
VXGRID_API std::string VXMapToJSON(const VXSkewGrid& grid);
VXGRID_API bool VXJSONToMap(VXSkewGrid& grid, const std::string& text);

}  // namespace VXCore
