#pragma once

#include <memory>
#include <vector>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/processing/radial_potential.h>

namespace VXCore {

/// The soft sphere of an atom: amplitude * exp(-width d^2) up to d = range, in Å.
struct VXGRID_API GaussPot {
  float range = 0.0f;
  float width = 0.0f;
  float amplitude = 3.3374093f;

  /// width = 2.7 / radius^2, range = 2 / sqrt(width). False, with an Error and both left alone, for a
  /// negative radius. Radius 0 gives an infinite width and range 0.
  bool Set(float radius);

  double operator()(double d) const { return AtSquare(d * d); }
  double AtSquare(double d2) const { return amplitude * std::exp(-width * d2); }
};

/// Adds a mapped value to a grid point.
struct AddMappingFunctor {
  template <class T>
  void operator()(T& point, double value) const {
    point = static_cast<T>(point + value);
  }
};

/// Takes a mapped value from a grid point.
struct SubtractMappingFunctor {
  template <class T>
  void operator()(T& point, double value) const {
    point = static_cast<T>(point - value);
  }
};

/// The mapping of soft spheres, many points at a time. The same bits as the general template gives.
template <>
VXGRID_API unsigned int MapRadialPotentialToGrid<float, GaussPot, AddMappingFunctor>(VXFixedGrid<float>& grid,
                                                                                     const GaussPot& pot,
                                                                                     AddMappingFunctor f,
                                                                                     double x, double y,
                                                                                     double z, double range);
template <>
VXGRID_API unsigned int MapRadialPotentialToGrid<float, GaussPot, SubtractMappingFunctor>(
    VXFixedGrid<float>& grid, const GaussPot& pot, SubtractMappingFunctor f, double x, double y, double z,
    double range);

/// Raises the contact grid to the contact of one atom with the target, on the points within `range` of it
/// whose target value T is above 0.0001. With g the atom's potential there the contact is
///
///     2 T min(g / (g + T), T / (g + T))
///
/// in double (2 T in float): T where the two are equal, towards 0 where one outweighs the other. It never
/// lowers a value. Both grids have one lattice; with different sizes nothing is done. Returns the points
/// visited.
VXGRID_API unsigned int MapContactPotential(VXScalarGrid& contact, VXScalarGrid& target, const GaussPot& pot,
                                            double x, double y, double z, double range);

/// A molecule's soft spheres on a grid, the target, and where something else touches them, the contact grid.
class VXGRID_API VXContactGridImpl {
 public:
  /// Copies the molecule, gives the copy Bondi radii, and makes the target in the box of the molecule as
  /// passed, hydrogens and all. With `no_hydrogens` the copy loses its hydrogens.
  VXContactGridImpl(const VXMolBase& mol, bool no_hydrogens, float spacing);
  /// The same in the box center -+ extents / 2.
  VXContactGridImpl(const float* center, const float* extents, const VXMolBase& mol, bool no_hydrogens,
                    float spacing);
  VXContactGridImpl(const VXContactGridImpl& other);
  VXContactGridImpl& operator=(const VXContactGridImpl&) = delete;
  ~VXContactGridImpl();

  /// The potential of the atom's element, made from the radius of the first atom of that element that asks;
  /// all others of the element share it. A negative radius leaves it without width and range. Atomic numbers
  /// of 254 and more share one.
  const GaussPot* GetPotential(const VXAtomBase* atom);

  /// Adds every atom of the molecule to the target; the constructors do.
  void MakeTargetGrid();

  /// The contact with another molecule: all of its atoms, with their own radii where their element is not in
  /// this one. Clears the contact grid first.
  void MakeContactGrid(const VXMolBase& other);

  /// The contact of the molecule with itself: for each atom that of the other atoms more than `bond_depth`
  /// bonds away. Those nearer are taken out of the target for the time, which leaves it changed by rounding.
  void MakeContactGrid(unsigned int bond_depth);

  const VXScalarGrid& GetContactGrid() const { return *contact_; }

 private:
  static constexpr unsigned int kPotentials = 255;

  VXGraphMol mol_;
  std::unique_ptr<VXScalarGrid> target_;
  std::unique_ptr<VXScalarGrid> contact_;
  std::vector<std::unique_ptr<GaussPot>> potentials_;  // by atomic number
  std::vector<float> coords_;                          // by atom index
};

/// The contact of a molecule with itself, atoms within four bonds of each other apart. True.
VXGRID_API bool VXMakeContactGrid(VXScalarGrid& grid, const VXMolBase& mol, bool no_hydrogens, float spacing);

/// The contact of two molecules.
///
/// method 0   v the molecular Gaussian grid of the first, with Bondi radii, and u that of the second at the
/// same
///            place (trilinear; 0 outside its grid and in its last planes): 2 v min(u, v) / (u + v), and 0
///            where both are 0. False when either has no atoms.
/// others     the soft spheres of the first in its box and half an Å around, and the contact of the second
/// with
///            them, as VXContactGridImpl; true
VXGRID_API bool VXMakeContactGrid(VXScalarGrid& grid, const VXMolBase& mol1, const VXMolBase& mol2,
                                  bool no_hydrogens, float spacing, int method);

}  // namespace VXCore
