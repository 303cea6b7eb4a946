#pragma once

#include <string>

#include <vxgrid/host/base.h>

namespace VXCore {

/// Codes of the grid file formats.
enum VXGridFormat : unsigned int {
  VXGridFormatUndefined = 0,
  VXGridFormatGrasp = 1,
  VXGridFormatGRD = 2,
  VXGridFormatCCP4 = 3,
  VXGridFormatXPLOR = 4,
  VXGridFormatAscii = 5,
};

/// The format of a file-name extension in either case; 0 for null or an unknown one. The extension need only
/// start with a known one: "phix" is a GRASP grid.
VXGRID_API unsigned int VXGetGridFileType(const char* ext);

/// Whether grids of a format can be read, written. A name is an extension or a whole file name.
VXGRID_API bool VXIsReadableGrid(unsigned int code);
VXGRID_API bool VXIsReadableGrid(const std::string& name);
VXGRID_API bool VXIsWriteableGrid(unsigned int code);
VXGRID_API bool VXIsWriteableGrid(const std::string& name);

/// The extensions of a format, separated by commas, and its name. An unknown code counts as 0, "UNDEFINED".
VXGRID_API const char* VXGetGridFormatExtension(unsigned int code);
VXGRID_API const char* VXGetGridFormatString(unsigned int code);

/// True for a VXScalarGrid, VXSkewGrid or VXZemoGrid.
VXGRID_API bool VXIsGrid(const VXBase& object);

}  // namespace VXCore
