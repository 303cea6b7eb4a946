#include <algorithm>

#include <vxgrid/host/radii.h>
#include <vxgrid/molgrid/contact_grid.h>

#include "model_grid.h"
#include "verbs.h"

using namespace VXCore;

void contact(const ContactOptions& options, const Settings& settings) {
  constexpr float kMargin = 4;  // Å on each side, the most that either method leaves about the atoms
  const bool is_pair = !options.other.empty();
  if (!is_pair && !options.method.empty()) throw WrongUsage("--method goes with two models");
  require_map_extension(options.output);
  const VXGraphMol model = read_model(options.model, settings);
  if (options.no_hydrogens) require_heavy_atoms(options.model, model);
  require_bearable_box(options.model, model, kMargin, options.spacing);

  VXScalarGrid grid;
  if (is_pair) {
    VXGraphMol other = read_model(options.other, settings);
    VXAssignBondiVdWRadii(other);  // soft spheres take the second model as it comes
    if (options.no_hydrogens) {
      require_heavy_atoms(options.other, other);
      VXSuppressHydrogens(other);
    }
    const int method = options.method == "spheres";
    if (method == 0) require_bearable_box(options.other, other, kMargin, options.spacing);
    const LibraryLog log;
    if (!VXMakeContactGrid(grid, model, other, options.no_hydrogens, options.spacing, method))
      throw Failure(options.model, log.reason(options.model, "no contact grid could be made"));
  } else {
    VXMakeContactGrid(grid, model, options.no_hydrogens, options.spacing);
  }
  const float* values = grid.GetValues();
  if (std::none_of(values, values + grid.GetSize(), [](float value) { return value != 0; }))
    note(settings, options.output + ": there is no contact, all values are 0");
  write_map(options.output, grid);
  report_map(options.output, grid, settings);
}
