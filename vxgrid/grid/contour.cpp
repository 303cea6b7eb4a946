#include <vxgrid/grid/contour.h>

#include <vector>

namespace VXCore {
namespace {

const std::vector<float>& levels_of(const VXGridAbstractBase& grid) {
  return grid.GetData<std::vector<float>>(VX_GRID_CONTOUR_LEVELS);
}

const std::vector<unsigned>& colors_of(const VXGridAbstractBase& grid) {
  return grid.GetData<std::vector<unsigned>>(VX_GRID_CONTOUR_COLORS);
}

}  // namespace

void VXAddContour(VXGridAbstractBase& grid, float level, const VXColor& color) {
  std::vector<float> levels = levels_of(grid);
  std::vector<unsigned> colors = colors_of(grid);
  levels.push_back(level);
  colors.push_back(color.GetPackedColor());
  grid.SetData(VX_GRID_CONTOUR_LEVELS, levels);
  grid.SetData(VX_GRID_CONTOUR_COLORS, colors);
}

unsigned int VXNumContours(const VXGridAbstractBase& grid) {
  return static_cast<unsigned>(levels_of(grid).size());
}

float VXGetContourLevel(const VXGridAbstractBase& grid, unsigned int i) {
  const std::vector<float>& levels = levels_of(grid);
  return i < levels.size() ? levels[i] : 0.0f;
}

VXColor VXGetContourColor(const VXGridAbstractBase& grid, unsigned int i) {
  const std::vector<unsigned>& colors = colors_of(grid);
  return i < colors.size() ? VXColor(colors[i]) : VXColor();
}

}  // namespace VXCore
