#pragma once

#include <vxgrid/host/export.h>

namespace VXCore {

class VXMolBase;
class VXScalarGrid;
class VXSkewGrid;

/// One Gaussian term of an atom's electron density,
///   rho(d) = amplitude * exp(-exponent * d^2),
/// the Fourier transform of the form-factor term a * exp(-b s^2), blurred by the atom's B factor.
struct VXGRID_API ScatterPotential {
  /// amplitude = occupancy * a * (4 pi / t)^(3/2) and exponent = 4 pi^2 / t with t = bfactor + b.
  ///
  /// With t = 0 amplitude and exponent are infinite and the density is not a number: atoms need B factors
  /// (VXSetScatterDefaults). With a negative t amplitude and radius are not a number.
  ScatterPotential(double a, double b, double bfactor, double occupancy);

  double amplitude;  ///< electrons/Å³
  double exponent;   ///< Å⁻²
  double radius;     ///< 1 / sqrt(exponent) in Å
};

/// Marks the points within `radius` of an atom: 2.0 inside, 0 outside.
struct AtomMask {
  explicit AtomMask(double r) : radius(r), radius_squared(r * r) {}
  double operator()(double distance) const { return distance <= radius ? 2.0 : 0.0; }

  double radius;
  double radius_squared;
};

/// The map between Cartesian space and the grid indices of a skew grid:
///   xyz = O ((index - centre) * spacing) + mid,   index = (O^-1 (xyz - mid)) / spacing + centre,
/// in float, each product with a matrix summed from left to right.
struct VXGRID_API XYZToIJK {
  explicit XYZToIJK(const VXSkewGrid& grid);

  void ToIndex(const float* xyz, float* ijk) const;
  void ToCartesian(const float* ijk, float* xyz) const;
  /// The length of one index step along an axis (0, 1, 2) in Å.
  double StepLength(int axis) const;
  /// The smallest distance between the points of index (0, 0, 0) and (1, 0, 0), (0, 1, 0), (0, 0, 1), in Å.
  float GetSmallestSpacing() const;

  float orientation[9];  ///< O, row-major
  float centre[3];       ///< (dim - 1) / 2
  float spacing;
  float mid[3];
  float inverse[9];         ///< O^-1
  float element_xyz[4][3];  ///< positions of the elements 0, 1, nx and nx * ny
};

/// Fills the grid with the electron density of the molecule and its crystal mates, in electrons/Å³.
///
/// The molecule is copied and expanded with VXExpandCrystalSymmetry; each of its atoms adds the five
/// Gaussians of its row of `scatter_data`, widened by the B factor and scaled by the occupancy of its
/// residue data, to the grid points nearer than the largest `radius` of the five. The atoms of the model
/// itself count twice, once as they are and once as the identity image.
///
/// The range of indices that an atom reaches leans to the low side of an axis when the atom lies below its
/// nearest grid point; points within the radius but beyond that range get nothing. This is meant.
///
/// Atoms without a row in the table, with positions that are not finite and with B factors that are not
/// finite add nothing. False for a grid of a single point (or none).
VXGRID_API bool VXScatterToGrid(VXSkewGrid& grid, const VXMolBase& mol);
VXGRID_API bool VXScatterToGrid(VXScalarGrid& grid, const VXMolBase& mol);

/// Sizes a regular grid around the molecule, its extents plus 4.0 Å, and fills it with its density.
/// False, with a Warning, for a molecule without residue data.
VXGRID_API bool VXMakeGaussianScatterGrid(VXSkewGrid& grid, const VXMolBase& mol, double spacing);
VXGRID_API bool VXMakeGaussianScatterGrid(VXScalarGrid& grid, const VXMolBase& mol, double spacing);

/// Sets B factor and occupancy of the residue data of every atom. Flag 4 keeps B factors other than 0,
/// flag 8 keeps occupancies other than 0: 0 overwrites all, 12 only fills in zeros.
VXGRID_API void VXSetScatterDefaults(VXMolBase& mol, double bfactor, double occupancy, unsigned int flags);

/// The usual mask radius of a map of that resolution, both in Å: 0.7 below 0.6, half the resolution above
/// 3.0, and a third of (resolution + 0.1) between. The jump at 0.6 is meant.
VXGRID_API double VXGetEDSRadius(double resolution);

/// The resolution in Å: the attribute "resolution" of a map, the record "REMARK   2 RESOLUTION." of a
/// molecule's PDB data. False, with `out` as it was, when there is none.
VXGRID_API bool VXGetResolution(double& out, const VXSkewGrid& grid);
VXGRID_API bool VXGetResolution(double& out, const VXMolBase& mol);

/// Adds to the molecule all its crystal mates whose atoms lie on the grid, and deletes all atoms off it.
///
/// The symmetry is that of the molecule's CRYST1 record, else the grid's attribute "vx_symm". False when
/// neither gives images or the grid has no dimensions.
VXGRID_API bool VXExpandCrystalSymmetry(const VXSkewGrid& grid, VXMolBase& mol);

}  // namespace VXCore
