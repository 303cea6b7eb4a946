#pragma once

#include <vxgrid/grid/grid_base.h>
#include <vxgrid/host/color.h>

namespace VXCore {

/// Contour levels that a grid carries for display, each with its colour: two attributes, of which entry i of
/// one belongs to entry i of the other. Levels stand in the order in which they were added.
inline constexpr const char* VX_GRID_CONTOUR_LEVELS = "VX_grid_contour_levels";  ///< std::vector<float>
inline constexpr const char* VX_GRID_CONTOUR_COLORS =
    "VX_grid_contour_colors";  ///< std::vector<unsigned>, VXColor::GetPackedColor

/// Appends a level; one that is there already is there twice then. A list of another type under one of the
/// names reads as empty and stays, with Warnings.
VXGRID_API void VXAddContour(VXGridAbstractBase& grid, float level, const VXColor& color);
VXGRID_API unsigned int VXNumContours(const VXGridAbstractBase& grid);
/// 0 and the default colour for an index that is not below the length of the list.
VXGRID_API float VXGetContourLevel(const VXGridAbstractBase& grid, unsigned int i);
VXGRID_API VXColor VXGetContourColor(const VXGridAbstractBase& grid, unsigned int i);

}  // namespace VXCore
