#pragma once

// Everything public, in the order in which the folders build on each other.
// scripts/check_umbrella.sh --write keeps the list.

#include <vxgrid/host/base.h>
#include <vxgrid/host/binary_records.h>
#include <vxgrid/host/bit_vector.h>
#include <vxgrid/host/color.h>
#include <vxgrid/host/conformers.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/export.h>
#include <vxgrid/host/half_float.h>
#include <vxgrid/host/json.h>
#include <vxgrid/host/large_array.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/pdb_data.h>
#include <vxgrid/host/platform.h>
#include <vxgrid/host/radii.h>
#include <vxgrid/host/record.h>
#include <vxgrid/host/replace_file.h>
#include <vxgrid/host/residue.h>
#include <vxgrid/host/stream.h>
#include <vxgrid/host/text.h>
#include <vxgrid/host/tracer.h>
#include <vxgrid/host/version.h>
#include <vxgrid/host/zemomol.h>

#include <vxgrid/xtal/scatter_table.h>
#include <vxgrid/xtal/spacegroup.h>
#include <vxgrid/xtal/symmetry.h>
#include <vxgrid/xtal/unit_cell.h>
#include <vxgrid/xtal/xtal_symmetry.h>

#include <vxgrid/grid/ascii_grid.h>
#include <vxgrid/grid/contour.h>
#include <vxgrid/grid/grid_accessors.h>
#include <vxgrid/grid/grid_base.h>
#include <vxgrid/grid/grid_format.h>
#include <vxgrid/grid/multi_grid.h>
#include <vxgrid/grid/refgrid.h>
#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/grid/value_grid.h>
#include <vxgrid/grid/zemogrid.h>

#include <vxgrid/processing/between_grids.h>
#include <vxgrid/processing/contour_levels.h>
#include <vxgrid/processing/grid_file.h>
#include <vxgrid/processing/grid_merge.h>
#include <vxgrid/processing/grid_struct.h>
#include <vxgrid/processing/grid_sweeps.h>
#include <vxgrid/processing/grid_values.h>
#include <vxgrid/processing/interpolation.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/move_grid.h>
#include <vxgrid/processing/radial_potential.h>
#include <vxgrid/processing/regularize.h>
#include <vxgrid/processing/skeletonize.h>
#include <vxgrid/processing/thinning.h>

#include <vxgrid/formats/ccp4.h>
#include <vxgrid/formats/grasp.h>
#include <vxgrid/formats/grd.h>
#include <vxgrid/formats/gridio.h>
#include <vxgrid/formats/xplor.h>

#include <vxgrid/gaussian/gaussian.h>
#include <vxgrid/gaussian/gaussian_container.h>
#include <vxgrid/gaussian/gaussian_expansion.h>
#include <vxgrid/gaussian/gaussian_width.h>
#include <vxgrid/gaussian/gsphere.h>
#include <vxgrid/gaussian/point_tree.h>
#include <vxgrid/gaussian/shape_multipoles.h>

#include <vxgrid/molgrid/contact_grid.h>
#include <vxgrid/molgrid/gaussian_fit.h>
#include <vxgrid/molgrid/molecular_grid.h>
#include <vxgrid/molgrid/molecule_mask.h>
#include <vxgrid/molgrid/proximity_grid.h>
#include <vxgrid/molgrid/soft_sphere.h>
#include <vxgrid/molgrid/sphere_grid.h>

#include <vxgrid/reflection/fft_backend.h>
#include <vxgrid/reflection/map_synthesis.h>
#include <vxgrid/reflection/mtz.h>
#include <vxgrid/reflection/mtz_labels.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/reflection/reflection_impl.h>
#include <vxgrid/reflection/reflection_io.h>
#include <vxgrid/reflection/structure_factors.h>

#include <vxgrid/realspace/density.h>
#include <vxgrid/realspace/fit_statistics.h>
#include <vxgrid/realspace/map_region.h>
#include <vxgrid/realspace/model_fit.h>

#include <vxgrid/exchange/gaussian_records.h>
#include <vxgrid/exchange/grid_field.h>
#include <vxgrid/exchange/grid_files.h>
#include <vxgrid/exchange/grid_json.h>
#include <vxgrid/exchange/grid_records.h>
#include <vxgrid/exchange/molecule_records.h>
#include <vxgrid/exchange/reflection_records.h>
