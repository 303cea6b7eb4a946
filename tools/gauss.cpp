#include <vxgrid/molgrid/molecular_grid.h>

#include "model_grid.h"
#include "verbs.h"

using namespace VXCore;

void gauss(const GaussOptions& options, const Settings& settings) {
  constexpr float kMargin = 4;  // Å on each side, which the library leaves about the atoms
  require_map_extension(options.output);
  VXGraphMol model = read_model(options.model, settings);
  if (options.no_hydrogens) {
    require_heavy_atoms(options.model, model);
    VXSuppressHydrogens(model);
  }
  require_bearable_box(options.model, model, kMargin, options.spacing);

  const LibraryLog log;
  VXZemoGrid made;
  const auto make =
      options.product ? vx_make_molecular_product_gaussian_grid : vx_make_molecular_gaussian_grid;
  if (!make(model, options.spacing, made))
    throw Failure(options.model, log.reason(options.model, "no grid could be made"));
  VXScalarGrid grid;
  made.MoveFloats(grid);
  write_map(options.output, grid);
  report_map(options.output, grid, settings);
}
