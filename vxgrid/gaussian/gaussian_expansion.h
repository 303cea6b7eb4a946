#pragma once

#include <memory>
#include <vector>

#include <vxgrid/gaussian/gsphere.h>
#include <vxgrid/gaussian/point_tree.h>
#include <vxgrid/host/export.h>

namespace VXCore {

class VXMolBase;

/// Molecules as lists of Gaussian spheres whose signed volumes add up to about the volume of the union of the
/// atoms' hard spheres, at three levels: the atoms; atoms and one overlap a bond; and in full, every overlap
/// of two, three and more atoms with a volume above `vmin`, by inclusion and exclusion.
///
/// Each atom is a Gaussian with the volume of its sphere. Atoms without any radius in the molecule get those
/// of AssignZemoMolRadii at the first two levels, and van der Waals radii after Bondi at the full one; the
/// molecule stays as it is. Only "hydrogen or not" is asked of the element.
///
/// The routines return 1, or 0 for a molecule without atoms, and in full also when no atom of a radius of
/// 0.0001 Å and more remains or there are no coordinates. The list belongs to the object and lives until the
/// next call. One object for many molecules is the fast way: working arrays stay, and so do the tables while
/// the smallest and the largest radius are the same. Not for several threads at a time.
///
///     Gaussian gaussian;
///     float volume;
///     gaussian.vx_calculate_volume_no_hydrogens(mol, &volume);
class VXGRID_API Gaussian {
 public:
  static constexpr float pi = 3.1415927f;
  static constexpr float ipi = 0.3183099f;
  static constexpr float pi32 = 5.568328f;
  static constexpr int kTableSize = 1001;
  /// Steps (tests of records, nodes and hits of the tree) for each of max_records. Proteins take 7 to 65 for
  /// each record that they have, with close copies of atoms, 100,000 atoms or a vmin of 1e-4.
  static constexpr int kMaxSteps = 128;

  Gaussian();
  Gaussian(const Gaussian&) = delete;
  Gaussian& operator=(const Gaussian&) = delete;
  ~Gaussian();

  // Representations. `out` points at the list and `n` is its length.

  /// The atoms, those with a radius other than 0.
  int vx_make_atomic_gaussian_representation(const VXMolBase& mol, Gsphere** out, int* n);
  int vx_make_atomic_gaussian_representation_with_hydrogens(const VXMolBase& mol, Gsphere** out, int* n);
  int vx_make_atomic_gaussian_representation_no_hydrogens(const VXMolBase& mol, Gsphere** out, int* n);

  /// The atoms and then the bonds, each the overlap of its two atoms however far apart: a record of order 1
  /// with a negative prefactor and a positive volume.
  int vx_make_bond_gaussian_representation(const VXMolBase& mol, Gsphere** out, int* n);
  int vx_make_bond_gaussian_representation_with_hydrogens(const VXMolBase& mol, Gsphere** out, int* n);
  int vx_make_bond_gaussian_representation_no_hydrogens(const VXMolBase& mol, Gsphere** out, int* n);

  /// The full expansion: each atom, followed by its overlaps with the atoms before it. Records of odd order
  /// have negative volumes, all have positive prefactors; `radius` keeps what the expansion had there, the
  /// squared distance beyond which a further atom does not count. The plain form leaves hydrogens out, where
  /// the plain forms of the others keep them; this is meant.
  int vx_make_gaussian_representation(const VXMolBase& mol, Gsphere** out, int* n);
  int vx_make_gaussian_representation_with_hydrogens(const VXMolBase& mol, Gsphere** out, int* n);
  int vx_make_gaussian_representation_no_hydrogens(const VXMolBase& mol, Gsphere** out, int* n);

  /// The sum of the volumes of the full expansion in Å³; 0 where that fails. Always 1.
  int vx_calculate_volume(const VXMolBase& mol, float* volume);
  int vx_calculate_volume_with_hydrogens(const VXMolBase& mol, float* volume);
  int vx_calculate_volume_no_hydrogens(const VXMolBase& mol, float* volume);

  int make_atomic_gaussian_rep_base(const VXMolBase& mol, int bonds, int no_hydrogens, Gsphere** out, int* n);
  int make_full_gaussian_rep_base(const VXMolBase& mol, int no_hydrogens, Gsphere** out, int* n);
  int vx_calculate_volume_base(const VXMolBase& mol, float* volume, int no_hydrogens);

  /// Prints the volumes of all levels and the lengths of the full one on standard output.
  void make_test(const VXMolBase& mol);

  // Moments of the shape at the level `type`: "atoms", "bonds" or "full". What the numbers are stands with
  // vx_CalcShapeMultipoles. Forms without "hydrogens" in the name leave hydrogens out.

  /// `multipoles` takes 14 values: volume, second and third moments.
  int vx_calculate_shape_multipoles(const VXMolBase& mol, const char* type, float* multipoles);
  int vx_calculate_shape_multipoles_no_hydrogens(const VXMolBase& mol, const char* type, float* multipoles);
  int vx_calculate_shape_multipoles_with_hydrogens(const VXMolBase& mol, const char* type, float* multipoles);
  int vx_calculate_shape_multipoles_base(const VXMolBase& mol, const char* type, float* multipoles,
                                         int with_hydrogens);

  /// With the frame: 9 values of the rotation, whose rows are the principal axes, and the centre. 0 when one
  /// of the two is null.
  int vx_calculate_shape_multipoles_and_inertial_frame(const VXMolBase& mol, const char* type,
                                                       float* multipoles, float* rotation, float* center);
  int vx_calculate_shape_multipoles_and_inertial_frame_no_hydrogens(const VXMolBase& mol, const char* type,
                                                                    float* multipoles, float* rotation,
                                                                    float* center);
  int vx_calculate_shape_multipoles_and_inertial_frame_with_hydrogens(const VXMolBase& mol, const char* type,
                                                                      float* multipoles, float* rotation,
                                                                      float* center);
  int vx_calculate_shape_multipoles_and_inertial_frame_base(const VXMolBase& mol, const char* type,
                                                            float* multipoles, float* rotation, float* center,
                                                            int with_hydrogens);

  /// Turns the molecule by the rotation and then shifts it by the centre, as it was before the turn and with
  /// its sign: the result is not centred on the origin, and is not meant to be.
  int vx_transform_to_inertial_frame_using_shape_multipoles(VXMolBase& mol, const char* type);
  int vx_transform_to_inertial_frame_using_shape_multipoles_no_hydrogens(VXMolBase& mol, const char* type);
  int vx_transform_to_inertial_frame_using_shape_multipoles_with_hydrogens(VXMolBase& mol, const char* type);
  int vx_transform_to_inertial_frame_using_shape_multipoles_base(VXMolBase& mol, const char* type,
                                                                 int with_hydrogens);

  // The parts of a full expansion, and its state between calls.

  /// Makes room for a molecule of n atoms; from a capacity of 201 on also in a tree of points.
  void vi_init_gauss_rep(int n);
  /// Sizes the working records to n.
  void vi_init_gs(int n);
  /// Frees the tree at once; the object is not used after it.
  void vi_delete_gauss_rep();
  /// Tables by x, the width of a record over that of a further atom, in steps of 1/c. `w` is the smallest
  /// width, and `r` the largest radius. Uses a prefactor of 2.7, whatever `prefactor` is.
  void make_table(float w, float r, float c);

  /// Of every atom. Changing it, or vmin, does not rebuild the tables; another pair of radii does.
  float prefactor = 2.7f;

  float ratio[kTableSize];            ///< x / (1 + x)
  float logfactor[kTableSize];        ///< log(2.7 ratio^(3/2))
  float cutoff_scale[kTableSize];     ///< (1 + x) / (w x)
  float volume_from_log[kTableSize];  ///< exp over equal steps from log(vmin) to that of the largest sphere

  float rmin = 0, rmax = 0;  ///< for which the tables stand, in Å
  float vmin;                ///< the smallest overlap that is kept, in Å³
  float log_vmin = 0;
  float volume_scale = 0;  ///< steps of volume_from_log per unit of the logarithm
  int capacity = 0;        ///< atoms of the largest molecule so far
  /// A full expansion gives up beyond so many records, or kMaxSteps times as many steps, with a Warning and
  /// 0: many atoms at one place, or a vmin too small for the size of the molecule. Records double with each
  /// further atom at one place. 32 bytes each while it works, 32 in the list.
  int max_records = 1 << 23;

 private:
  struct Working;  // arrays by atom and by record

  bool read_atoms(const VXMolBase& mol, int no_hydrogens);
  void fit_tables();
  bool add_records();
  bool expand(const VXMolBase& mol, int no_hydrogens);
  Gsphere* room_for(std::size_t n);

  std::unique_ptr<TdTree> tree_;
  std::unique_ptr<Working> work_;
  std::vector<Gsphere> out_;
};

}  // namespace VXCore
