#pragma once

#include <memory>
#include <utility>
#include <vector>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/molgrid/soft_sphere.h>

namespace VXCore {

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
  /// Gives the contact grid away; what stays behind has no contact grid to make any more.
  VXScalarGrid ReleaseContactGrid() { return std::move(*contact_); }

 private:
  void MakeGrids(const float* center, const float* extents, float spacing);

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
/// method 0  v is the molecular Gaussian grid of the first, with Bondi radii, and u that of the second at the
///           same place (trilinear; 0 outside its grid and in its last planes). The result is
///           2 v min(u, v) / (u + v) on the grid of the first, 0 where both are 0. False when either has no
///           atoms.
/// others    the soft spheres of the first in its box and half an Å around, and the contact of the second
///           with them, as VXContactGridImpl has it. True.
VXGRID_API bool VXMakeContactGrid(VXScalarGrid& grid, const VXMolBase& mol1, const VXMolBase& mol2,
                                  bool no_hydrogens, float spacing, int method);

}  // namespace VXCore
