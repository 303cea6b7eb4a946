#include <cmath>

#include <vxgrid/molgrid/molecule_mask.h>

#include "map_values.h"
#include "model_grid.h"
#include "verbs.h"

using namespace VXCore;

namespace {

constexpr struct {
  const char* name;
  unsigned code;
} kModes[] = {{"gaussian", 4}, {"gaussian-", 5}, {"gaussian_smooth", 6}, {"gaussian_smooth-", 7}};

unsigned mode_of(const std::string& name) {
  for (const auto& mode : kModes)
    if (name == mode.name) return mode.code;
  throw WrongUsage("no mask mode " + name);
}

bool is_inside(const VXGridAbstractBase& grid, const float* xyz) {
  const float mid[] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
  const unsigned dims[] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
  for (int i = 0; i < 3; ++i)
    if (!(std::fabs(xyz[i] - mid[i]) <= 0.5f * grid.GetSpacing() * static_cast<float>(dims[i]))) return false;
  return true;
}

void tell_if_outside(const VXGridAbstractBase& grid, const VXGraphMol& model, const MaskOptions& options,
                     const Settings& settings) {
  unsigned outside = 0;
  float xyz[3];
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(model.GetAtoms()))
    outside += model.GetCoords(&atom, xyz) && !is_inside(grid, xyz);
  if (outside > 0)
    note(settings, text("%s: %u of %u atoms lie outside %s", options.model.c_str(), outside, model.NumAtoms(),
                        options.grid.c_str()));
}

/// On the inner grid, so that a map keeps its cell and its group.
void apply(VXSkewGrid& map, const VXGraphMol& model, const MaskOptions& options) {
  VXZemoGrid& grid = map.GetImpl().GetImpl();
  const LibraryLog log;
  if (!VXMaskGridByMolecule(grid, model, mode_of(options.mode), options.level))
    throw Failure(options.model, log.reason(options.model, "the map cannot be masked by it"));
}

}  // namespace

std::vector<std::string> mask_modes() {
  std::vector<std::string> names;
  for (const auto& mode : kModes) names.emplace_back(mode.name);
  return names;
}

void mask(const MaskOptions& options, const Settings& settings) {
  const FileFormat& format = output_format(options.output);
  VXSkewGrid grid = read_map(options.grid, settings);
  const VXGraphMol model = read_model(options.model, settings);
  const bool was_oblique = !grid.IsRegular();
  if (was_oblique) {
    grid = VXMakePlainSkewGrid(regular_map(options.grid, grid, 0));
    note(settings, options.grid + ": brought onto a regular grid, which masks need");
  }
  tell_if_outside(grid, model, options, settings);
  apply(grid, model, options);
  renew_statistics(grid);
  if (was_oblique) hold_samples(grid, format);
  fit_to_format(options.output, options.grid, grid, settings);
  write_map(options.output, grid, format);
  report_map(options.output, grid, settings);
}
