#pragma once

#include <string>
#include <vector>

#include <vxgrid/host/base.h>
#include <vxgrid/host/export.h>
#include <vxgrid/xtal/symmetry.h>

namespace VXCore {

class VXMolBase;
class VXMCMolBase;

namespace VXXtal {

/// Tags of the attributes that carry a crystal: the cell (std::array<float, 6>), the group's number (unsigned
/// int) and name (std::string), a flag per operator (std::vector<bool>), and the reference point of images
/// (std::array<float, 3>).
VXGRID_API unsigned int VXSymmCellTag();     ///< "VX_unit_cell"
VXGRID_API unsigned int VXSymmSGTag();       ///< "VX_spacegroup"
VXGRID_API unsigned int VXSymmSGNameTag();   ///< "VX_spacegroup_name"
VXGRID_API unsigned int VXSymmEnabledTag();  ///< "VX_symm_enabled"
VXGRID_API unsigned int VXSymmComTag();      ///< "VX_symm_com"

/// Whether the object has a cell, operator flags, and a group by number or by name.
VXGRID_API bool VXHasXtalSymmetry(const VXBase& object);
/// The symmetry that the attributes describe; the name wins over the number. False without them.
VXGRID_API bool VXGetXtalSymmetry(const VXBase& object, VXSymmetry& symmetry);
/// Stores cell, number, name and flags. True when all four were stored.
VXGRID_API bool VXSetXtalSymmetry(VXBase& object, const VXSymmetry& symmetry);

/// Reads the CRYST1 record from the molecule's PDB data: cell, the first ten characters of the group's name
/// with any blanks behind it, and Z (0 when not there). False without the record or without six numbers.
VXGRID_API bool VXExtractCRYST1(const VXMolBase& mol, float* six, std::string& name, unsigned int& z);
/// CRYST1 to attributes. False without the record, or for a group that is not known.
VXGRID_API bool VXSetXtalSymmetryFromPDBData(VXMolBase& mol);
/// Attributes to CRYST1, on the first conformer of a multi-conformer molecule; Z is kept. False without
/// symmetry.
VXGRID_API bool VXSetPDBDataFromXtalSymmetry(VXMolBase& mol);

/// The symmetry images of a molecule, each a Cartesian-to-Cartesian matrix in the layout of SGRecord.
class VXGRID_API VXXtalSymmetry {
 public:
  /// No images.
  VXXtalSymmetry();
  /// The images whose box comes within `radius` of `center` (Angstrom), by lattice translation and operator.
  /// None for an invalid cell, and none, with one Warning, when the cell is so small that millions of images
  /// would have to be tried.
  VXXtalSymmetry(const VXMolBase& mol, float* center, float radius);
  /// One image per enabled operator, its reference point moved into the home cell. The flags are not used.
  VXXtalSymmetry(const VXMolBase& mol, bool, bool);
  /// The same, moved on by a lattice translation.
  VXXtalSymmetry(const VXMolBase& mol, int i, int j, int k);
  virtual ~VXXtalSymmetry();

  unsigned int NumOps() const;
  /// Image data; null, false and 0 beyond the last image.
  const float* Matrix(unsigned int image) const;
  bool IsIdentity(unsigned int image) const;
  unsigned int GetOpNumber(unsigned int image) const;

  /// The images as conformers of `mcmol`, which becomes a copy of `mol` when it is another molecule. The
  /// first image replaces the first conformer's coordinates. False without images or atoms.
  bool Realize(const VXMolBase& mol, VXMCMolBase& mcmol) const;

  /// The images as atoms, added to `mol` or, with `copy`, to a new copy of it, which the caller owns. The
  /// molecule's own atoms stay, so the identity image is a further copy of them. `op` is the index of the one
  /// image whose coordinates are worked out, or ~0u for all of them; every image adds atoms in either case,
  /// an index only leaves them where the last worked-out image was. The residues of added atoms carry the
  /// number of their image, from 1. Null without images or atoms, and with one Warning for more than 2^25 new
  /// atoms.
  VXMolBase* Realize(VXMolBase& mol, bool copy, unsigned int op) const;

  static bool GetSymmetry(const VXMolBase& mol, VXSymmetry& symmetry);
  /// Stores the symmetry, and with `store_center` the present centre of mass as the reference point of
  /// images. False for an empty symmetry.
  static bool SetSymmetry(VXMolBase& mol, const VXSymmetry& symmetry, bool store_center);
  /// The operators of the molecule's symmetry, 0 without one.
  static unsigned int NumOps(const VXMolBase& mol);
  static bool GetOpEnabled(const VXMolBase& mol, unsigned int op);
  static bool SetOpEnabled(VXMolBase& mol, unsigned int op, bool enabled);
  /// The stored reference point, else the centre of mass. False for an empty molecule without one.
  static bool GetCenterOfMass(const VXMolBase& mol, float* out);
  static unsigned int CenterOfMassTag();  ///< "VX_symm_com"

 private:
  void store(const float* matrix, bool is_identity, unsigned int op);
  bool init(const VXMolBase& mol, const float* center, float radius);
  bool init(const VXMolBase& mol, int i, int j, int k);

  bool valid_ = false;
  std::vector<float> matrices_;
  std::vector<bool> identity_;
  std::vector<unsigned int> op_numbers_;
};

}  // namespace VXXtal

/// Whether the molecule has usable symmetry: its attributes, or a CRYST1 record that is not the PDB's dummy
/// cell (edges of 1, right angles).
VXGRID_API bool VXHasCrystalSymmetryImpl(const VXMolBase& mol);
/// The images within `radius` of `center` (the molecule's centre when null), by the molecule's CRYST1 record,
/// whose symmetry becomes the molecule's attributes. False without symmetry or images.
VXGRID_API bool VXFindCrystalImages(VXMolBase& mol, float radius, float* center,
                                    VXXtal::VXXtalSymmetry& images);
/// Adds those images to the molecule.
VXGRID_API bool VXExpandCrystalSymmetryImpl(VXMolBase& mol, float radius, float* center);

}  // namespace VXCore
