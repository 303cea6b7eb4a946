#pragma once

#include <string>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/json.h>

namespace VXCore {

/// Bits of the flags of the writing operations.
enum VXJSONFlags : unsigned int {
  VXJSONFlagBaseData = 0x200,     ///< the attributes follow the values
  VXJSONFlagEscapeTitle = 0x800,  ///< the title goes through VXEscapeJSON first, so a reader sees it escaped
};

/// A grid as one JSON document:
///
///   {"type":"grid","version":"0.91","unitcell":[a,b,c,alpha,beta,gamma],"title":"...","gridtype":"RegularMap",
///    "center":[x,y,z],"dimensions":[x,y,z],"resolution":spacing,"values":[...]}
///
/// "unitcell" stands for skew grids only, "title" when one is set, "gridtype" when it is not 0; values come x
/// fastest, field 0 of a skew grid. Values keep eight decimals, other numbers five, cut off towards zero. The
/// bare words NaN, Infinity and -Infinity stand for such values, which strict readers refuse.
VXGRID_API std::string VXGridToJSON(const VXScalarGrid& grid, unsigned int flags);
VXGRID_API std::string VXGridToJSON(const VXSkewGrid& grid, unsigned int flags);

/// Reads a document back, attributes included. Space group, orientation and wrap flags are not in a document;
/// a skew grid gets its orientation and spacing from the cell, with one grid step a sample along each edge.
///
/// The sixth number of "unitcell" is read and checked, but the grid's gamma is its fifth, beta: readers of
/// this form of document do so, and agree with each other on it.
///
/// False, with a message, for anything else. The grid has been cleared by then, unless the text is no JSON,
/// not a grid, or one of the other kind; title and type may be those of the document.
VXGRID_API bool VXJSONToGrid(VXScalarGrid& grid, const std::string& text);
VXGRID_API bool VXJSONToGrid(VXSkewGrid& grid, const std::string& text);

/// For a grid within a larger document. Writes the keys from "version" on into an object that the caller has
/// opened and closes.
VXGRID_API void VXGenGridJSON(VXJSONWriter& writer, const VXScalarGrid& grid, unsigned int flags);
VXGRID_API void VXGenGridJSON(VXJSONWriter& writer, const VXSkewGrid& grid, unsigned int flags);

/// Reads the keys from "version" on, attributes only with `base_data`. Nothing is cleared before, and the
/// cell of a skew grid is not read.
VXGRID_API bool VXParseGridJSON(VXScalarGrid& grid, const VXJSONValue& value, bool base_data);
VXGRID_API bool VXParseGridJSON(VXSkewGrid& grid, const VXJSONValue& value, bool base_data);

/// Grids as attributes of other objects. The skew handler reads both kinds, which the key "unitcell" tells
/// apart; the scalar handler writes only, and its type is one that no document uses. The new handlers belong
/// to the registry (VXRegisterJSONHandler); libvxgrid registers both when it is loaded.
VXGRID_API VXJSONHandlerBase* VXInitSkewGridJSONHandler();
VXGRID_API VXJSONHandlerBase* VXInitScalarGridJSONHandler();

}  // namespace VXCore
