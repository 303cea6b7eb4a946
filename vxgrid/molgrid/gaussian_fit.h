#pragma once

#include <vector>

#include <vxgrid/host/export.h>

namespace VXCore {

class VXGaussianContainerBase;
class VXMolBase;
class VXScalarGrid;
class VXTracerBase;
class VXZemoGrid;
struct GridStruct;
struct Gsphere;
struct PdbStruct;

/// Expresses a density as a short list of Gaussians, by greedy matching pursuit (Mallat and Zhang, IEEE
/// Trans. Signal Process. 41 (1993) 3397) on a dictionary of a few widths at all candidate points. The
/// container is cleared and gets the Gaussians in the order found, with color 0. Always true.
///
/// grid           the density; negative values are set to 0 in place (the constant grid is copied, the
///                molecule's density is that of VXMakeMolecularGaussianGrid at 0.5 Å)
/// tolerance      the fit ends before a Gaussian that lowers the energy, sum(value^2) * spacing^3, by less
/// levels         widths in the dictionary, of radius 3.2, 2.2, 1.2, ... Å; 0 means 3
/// max_gaussians  the fit ends with this many; 0 means no limit
VXGRID_API bool VXMakeGaussianRepresentation(VXGaussianContainerBase& gaussians, VXZemoGrid& grid,
                                             float tolerance, unsigned int levels,
                                             unsigned int max_gaussians);
VXGRID_API bool VXMakeGaussianRepresentation(VXGaussianContainerBase& gaussians, const VXMolBase& mol,
                                             float tolerance, unsigned int levels,
                                             unsigned int max_gaussians);
VXGRID_API bool VXMakeGaussianRepresentation(VXGaussianContainerBase& gaussians, const VXScalarGrid& grid,
                                             float tolerance, unsigned int levels,
                                             unsigned int max_gaussians);

/// The other way: the sum of the Gaussians on a grid that is sized around them, by
/// vx_make_gaussian_grid_explicit. Without Gaussians the grid stays as it is. Always true.
VXGRID_API bool VXMakeGaussianRepGrid(VXScalarGrid& grid, const VXGaussianContainerBase& gaussians,
                                      float spacing);

/// The fit with all its arguments; 0 takes the default where one is named.
///
/// tail            fraction of its height at which a Gaussian is cut off; 0.004
/// cut             points above it are candidates for centres; 0.01
/// no_energy_test  other than 0: the tolerance is not looked at
/// levels          3; the dictionary ends before the first radius that is not above 0
/// largest_radius  3.2 Å;  radius_step  1.0 Å
/// max_gaussians   0 for no limit
/// positions, prefactors, widths   3n, n and n values, replaced when return_lists is true
/// reconstruction  its values become the sum of the Gaussians; without a lattice of its own it takes the
///                 grid's
///
/// Returns the energy left, by the account of the fit: each Gaussian, of correlation b with the residual,
/// lowers it by b^2. Correlations are in single precision, each kernel's terms in ascending order; energies
/// in double.
///
/// Everything ends: when no candidate correlates with the density any more, and without a limit also when
/// the energy stops falling or sinks below minus that of the density, when a Gaussian subtracts nothing at
/// its own centre (its window is empty where the spacing is wide), and, with a tolerance that is not above 0
/// as well, at as many Gaussians as there are candidates.
VXGRID_API float vx_make_grid_gaussian_representation(VXZemoGrid& grid, float tail, float cut,
                                                      float tolerance, int no_energy_test, int levels,
                                                      float largest_radius, float radius_step,
                                                      int max_gaussians, std::vector<float>& positions,
                                                      std::vector<float>& prefactors,
                                                      std::vector<float>& widths, bool return_lists,
                                                      VXZemoGrid& reconstruction);
/// The same with progress before each Gaussian: how many there are of max_gaussians or, without that limit,
/// how many thousandths of the energy they took, which need not reach 1000. When the tracer asks to stop, the
/// fit ends with the Gaussians that there are.
VXGRID_API float vx_make_grid_gaussian_representation(VXZemoGrid& grid, float tail, float cut,
                                                      float tolerance, int no_energy_test, int levels,
                                                      float largest_radius, float radius_step,
                                                      int max_gaussians, std::vector<float>& positions,
                                                      std::vector<float>& prefactors,
                                                      std::vector<float>& widths, bool return_lists,
                                                      VXZemoGrid& reconstruction, VXTracerBase& tracer);

/// Subtracts n Gaussians (width, centre and prefactor of the records) from the first float field, each in a
/// window of m = trunc(sqrt(-log(tail) / width) / spacing) points around its centre.
///
/// The window runs from -m up to but not including +m on each axis: one point shorter on the high side, which
/// the energies of the fit rely on. A centre between grid points is moved to the point below it.
VXGRID_API void subtract_gaussians_from_grid(VXZemoGrid& grid, Gsphere* spheres, int n, float tail);

/// vi_gauss_grid for centres in a plain array of 3n floats, with an Info line on what the mode calculates.
/// `a` and `b` are kept for derivatives and not looked at.
VXGRID_API void vi_gauss_grid_tegs(int n, float* coords, float* widths, float* prefactors, float cutoff,
                                   int mode, GridStruct* grid, float* a, float* b);

/// Adds the Gaussians of n atoms, of one width (Å^-2) and prefactor each, to the floats of a lattice, down to
/// `cutoff`.
VXGRID_API void vx_make_docking_grid(int n, const PdbStruct* atoms, float* widths, float* prefactors,
                                     float cutoff, GridStruct* grid);

/// Adds n Gaussians  p * exp(-(wx dx^2 + wy dy^2 + wz dz^2))  to the floats of a lattice: coords and widths
/// are 3n floats. Each reaches, axis by axis, as far as its height on that axis is `cutoff` or more.
VXGRID_API void vx_ellipsoid_gauss_grid(int n, const float* coords, const float* widths,
                                        const float* prefactors, float cutoff, GridStruct* grid);

}  // namespace VXCore
