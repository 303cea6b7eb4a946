#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>

#include <vxgrid/host/conformers.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/residue.h>
#include <vxgrid/xtal/xtal_symmetry.h>

namespace VXCore {
namespace VXXtal {
namespace {

constexpr float kSamePlace = 0.009999999776482582f;  // Angstrom
constexpr double kMaxTried = 2e6;                    // images tried in one search
constexpr double kMaxNewAtoms = 1 << 25;             // atoms that one Realize may add

struct Box {
  float low[3], high[3];
};

bool is_finite(const float* xyz) {
  return std::isfinite(xyz[0]) && std::isfinite(xyz[1]) && std::isfinite(xyz[2]);
}

void include(Box& box, const float* xyz) {
  for (int axis = 0; axis < 3; ++axis) {
    box.low[axis] = std::min(box.low[axis], xyz[axis]);
    box.high[axis] = std::max(box.high[axis], xyz[axis]);
  }
}

Box empty_box() {
  constexpr float inf = std::numeric_limits<float>::infinity();
  return {{inf, inf, inf}, {-inf, -inf, -inf}};
}

// The box of the atoms whose places are finite; false when there are none.
bool box_of(const VXMolBase& mol, Box& box) {
  box = empty_box();
  float xyz[3];
  for (VXIter<VXAtomBase> atom = mol.GetAtoms(); atom; ++atom)
    if (mol.GetCoords(&*atom, xyz) && is_finite(xyz)) include(box, xyz);
  return box.low[0] <= box.high[0];
}

// Corner i of eight: bit 0, 1 and 2 choose the high side along x, y and z.
void corner_of(const Box& box, int i, float* xyz) {
  for (int axis = 0; axis < 3; ++axis) xyz[axis] = (i >> axis & 1 ? box.high : box.low)[axis];
}

bool is_near(const float* p, const float* q) {
  return std::fabs(p[0] - q[0]) < kSamePlace && std::fabs(p[1] - q[1]) < kSamePlace &&
         std::fabs(p[2] - q[2]) < kSamePlace;
}

// Squared distance of a point to a box, 0 inside.
float distance2(const float* low, const float* high, const float* point) {
  float sum = 0;
  for (int axis = 0; axis < 3; ++axis) {
    const float beyond = std::max({low[axis] - point[axis], point[axis] - high[axis], 0.0f});
    sum += beyond * beyond;
  }
  return sum;
}

// Finds stored images that take the point (1, 1, 1) to nearly the same place: a hash table of their numbers
// by the half-Angstrom cube of that place.
class NearImages {
 public:
  // Calls `visit` with the images in the cubes that a place within kSamePlace of `probe` can lie in, until it
  // returns true; the result says whether it did.
  template <class Visit>
  bool any(const float* probe, Visit visit) const {
    float low[3], high[3], cube[3];
    for (int axis = 0; axis < 3; ++axis) {
      low[axis] = cube_of(probe[axis] - kSamePlace);
      high[axis] = cube_of(probe[axis] + kSamePlace);
    }
    for (int i = 0; i < 8; ++i) {
      bool again = false;
      for (int axis = 0; axis < 3; ++axis) {
        cube[axis] = (i >> axis & 1 ? high : low)[axis];
        again |= (i >> axis & 1) && low[axis] == high[axis];
      }
      if (again) continue;
      for (std::uint32_t image = heads_[slot(cube)]; image != kNone; image = next_[image])
        if (visit(image)) return true;
    }
    return false;
  }

  // Adds image number `next_.size()`.
  void add(const float* probe) {
    const float cube[3] = {cube_of(probe[0]), cube_of(probe[1]), cube_of(probe[2])};
    std::uint32_t& head = heads_[slot(cube)];
    next_.push_back(head);
    head = static_cast<std::uint32_t>(next_.size() - 1);
  }

 private:
  static constexpr std::uint32_t kNone = ~0u;
  static constexpr std::size_t kSlots = 1 << 12;

  static float cube_of(float x) { return std::floor(2 * x) + 0.0f; }  // never -0
  static std::size_t slot(const float* cube) {
    std::uint64_t hash = 0;
    for (int axis = 0; axis < 3; ++axis) {
      std::uint32_t bits;
      std::memcpy(&bits, cube + axis, sizeof bits);
      hash = (hash ^ bits) * 0x9E3779B97F4A7C15u;
    }
    return hash >> 52;
  }

  std::vector<std::uint32_t> heads_ = std::vector<std::uint32_t>(kSlots, kNone);
  std::vector<std::uint32_t> next_;
};

// What the images by one operator share: only the translation tells them apart, so that a translation that
// is out of reach costs a few additions. Every number is the one that the full product of matrices gives.
struct Operator {
  Operator(const VXSymmetry& symmetry, unsigned int op, const Box& box) : index(op) {
    const float* operation = symmetry.GetMatrices() + 16 * op;
    const VXUnitCell& cell = symmetry.cell();
    float middle[3];
    for (int axis = 0; axis < 3; ++axis) middle[axis] = (box.low[axis] + box.high[axis]) * 0.5f;
    vecmul(middle, cell.cart2frac);
    vecmul(middle, operation);
    for (int axis = 0; axis < 3; ++axis) {
      shift[axis] = operation[12 + axis];
      home[axis] = floor_fraction(middle[axis]);
    }

    float rotation[16];
    std::copy_n(operation, 16, rotation);
    std::fill(rotation + 12, rotation + 15, 0.0f);
    matmul(matrix, rotation, cell.cart2frac);
    matmul(matrix, cell.frac2cart, matrix);
    for (int axis = 0; axis < 3; ++axis) {
      low[axis] = high[axis] = 0;
      for (int from = 0; from < 3; ++from) {
        const float p = matrix[4 * from + axis] * box.low[from], q = matrix[4 * from + axis] * box.high[from];
        low[axis] += std::min(p, q);
        high[axis] += std::max(p, q);
      }
    }
    for (int i = 0; i < 8; ++i) {
      corner_of(box, i, corners[i]);
      vecmul(corners[i], matrix);
    }
  }

  // Sets the Cartesian translation of the matrix to that of the image whose middle lies in a lattice cell.
  void move_to(const float* lattice_cell, const float* frac2cart) {
    float t[3];
    for (int axis = 0; axis < 3; ++axis) t[axis] = shift[axis] + lattice_cell[axis] - home[axis];
    for (int col = 0; col < 3; ++col)
      matrix[12 + col] = t[0] * frac2cart[col] + t[1] * frac2cart[4 + col] + t[2] * frac2cart[8 + col];
  }

  // Whether the box of the image comes within the radius, or a corner of the molecule's box does.
  bool reaches(const float* center, float radius) const {
    const float* t = matrix + 12;
    float box_low[3], box_high[3];
    for (int axis = 0; axis < 3; ++axis) {
      box_low[axis] = low[axis] + t[axis];
      box_high[axis] = high[axis] + t[axis];
    }
    if (distance2(box_low, box_high, center) <= radius * radius) return true;
    for (const float* corner : corners) {
      double d2 = 0;
      for (int axis = 0; axis < 3; ++axis) {
        const double d = static_cast<double>(corner[axis] + t[axis]) - center[axis];
        d2 += d * d;
      }
      if (d2 < static_cast<double>(radius) * radius) return true;
    }
    return false;
  }

  unsigned int index;
  float shift[3];         // translation of the operator
  float home[3];          // cell in which the image of the molecule's middle lies, before any translation
  float matrix[16];       // Cartesian to Cartesian
  float low[3], high[3];  // box of the image without its translation
  float corners[8][3];    // the molecule's box likewise
};

// Lattice translations whose cells the search has to visit, whole numbers per axis.
struct CellRange {
  float low[3], high[3];
  // Infinity where steps of 1 would not be exact in float.
  double cells() const {
    double product = 1;
    for (int axis = 0; axis < 3; ++axis) {
      if (!(low[axis] > -8388608.0f && high[axis] < 8388608.0f))
        return std::numeric_limits<double>::infinity();
      product *= static_cast<double>(high[axis]) - low[axis] + 1;
    }
    return product;
  }
};

CellRange cells_around(const VXSymmetry& symmetry, const float* center, float radius) {
  Box around, fractions = empty_box();
  for (int axis = 0; axis < 3; ++axis) {
    around.low[axis] = center[axis] - radius;
    around.high[axis] = center[axis] + radius;
  }
  bool all_finite = true;
  for (int i = 0; i < 8; ++i) {
    float corner[3];
    corner_of(around, i, corner);
    symmetry.CartesianToFractional(corner, 1, 0, false);
    all_finite &= is_finite(corner);
    include(fractions, corner);
  }
  CellRange range;
  for (int axis = 0; axis < 3; ++axis) {
    range.low[axis] = std::floor(fractions.low[axis]) - 1;
    range.high[axis] =
        all_finite ? std::floor(fractions.high[axis]) + 1 : std::numeric_limits<float>::infinity();
  }
  return range;
}

bool maps_alike(const float* m, const float* other) {
  const Box cube = {{-1, -1, -1}, {1, 1, 1}};
  for (int i = 0; i < 8; ++i) {
    float p[3], q[3];
    corner_of(cube, i, p);
    corner_of(cube, i, q);
    transform_coord(m, p);
    transform_coord(other, q);
    if (!is_near(p, q)) return false;
  }
  return true;
}

void transform_all(const float* matrix, const std::vector<float>& from, std::vector<float>& to) {
  to = from;
  for (std::size_t i = 0; i + 3 <= to.size(); i += 3) transform_coord(matrix, &to[i]);
}

// All coordinates of a conformer, by atom index.
std::vector<float> conformer_coords(const VXMCMolBase& mol, unsigned int conf) {
  std::vector<float> xyz(3 * static_cast<std::size_t>(mol.GetMaxAtomIdx()));
  mol.GetConfCoords(conf, xyz.data());
  return xyz;
}

void mark_image(VXMolBase& mol, unsigned int number) {
  for (VXIter<VXAtomBase> atom = mol.GetAtoms(); atom; ++atom) {
    if (!VXHasResidue(&*atom)) continue;
    VXResidue residue = VXAtomGetResidue(&*atom);
    residue.SetImage(static_cast<int>(number));
    VXAtomSetResidue(&*atom, residue);
  }
}

}  // namespace

VXXtalSymmetry::VXXtalSymmetry() = default;
VXXtalSymmetry::VXXtalSymmetry(const VXMolBase& mol, float* center, float radius) {
  valid_ = init(mol, center, radius);
}
VXXtalSymmetry::VXXtalSymmetry(const VXMolBase& mol, bool, bool) { valid_ = init(mol, 0, 0, 0); }
VXXtalSymmetry::VXXtalSymmetry(const VXMolBase& mol, int i, int j, int k) { valid_ = init(mol, i, j, k); }
VXXtalSymmetry::~VXXtalSymmetry() = default;

unsigned int VXXtalSymmetry::NumOps() const { return static_cast<unsigned int>(op_numbers_.size()); }
const float* VXXtalSymmetry::Matrix(unsigned int image) const {
  return image < NumOps() ? &matrices_[16 * static_cast<std::size_t>(image)] : nullptr;
}
bool VXXtalSymmetry::IsIdentity(unsigned int image) const { return image < NumOps() && identity_[image]; }
unsigned int VXXtalSymmetry::GetOpNumber(unsigned int image) const {
  return image < NumOps() ? op_numbers_[image] : 0;
}

void VXXtalSymmetry::store(const float* matrix, bool is_identity, unsigned int op) {
  matrices_.insert(matrices_.end(), matrix, matrix + 16);
  identity_.push_back(is_identity);
  op_numbers_.push_back(op);
}

bool VXXtalSymmetry::init(const VXMolBase& mol, const float* center, float radius) {
  VXSymmetry symmetry;
  Box box;
  if (!center || !VXGetXtalSymmetry(mol, symmetry) || symmetry.GetOpCount() == 0 || !box_of(mol, box))
    return false;
  // A CRYST1 of zeros has no lattice: its matrices would heap every image at the origin.
  if (!symmetry.cell().isValid()) return false;

  std::vector<bool> enabled;
  symmetry.GetEnabled(enabled);
  std::vector<Operator> operators;
  operators.reserve(enabled.size());
  for (unsigned int op = 0; op < enabled.size(); ++op)
    if (enabled[op]) operators.emplace_back(symmetry, op, box);

  const VXUnitCell& cell = symmetry.cell();
  const CellRange range = cells_around(symmetry, center, radius);
  const double tried = range.cells() * static_cast<double>(operators.size());
  if (!(tried <= kMaxTried)) {
    VXThrow.Warning(
        "Crystal symmetry: %g images to try within %g Angstrom of (%g, %g, %g) in a cell of %g x %g x %g "
        "Angstrom; the limit is %g",
        tried, radius, center[0], center[1], center[2], cell.a, cell.b, cell.c, kMaxTried);
    return false;
  }

  constexpr float kOnes[3] = {1, 1, 1};
  NearImages near_images;
  float at[3];
  for (at[0] = range.low[0]; at[0] <= range.high[0]; ++at[0])
    for (at[1] = range.low[1]; at[1] <= range.high[1]; ++at[1])
      for (at[2] = range.low[2]; at[2] <= range.high[2]; ++at[2])
        for (Operator& op : operators) {
          op.move_to(at, cell.frac2cart);
          if (!op.reaches(center, radius)) continue;
          float probe[3] = {1, 1, 1};
          transform_coord(op.matrix, probe);
          // The first image is never compared with: a double of it is kept, those of later ones are not.
          const bool is_double = near_images.any(probe, [&](std::uint32_t image) {
            float other[3] = {1, 1, 1};
            transform_coord(Matrix(image), other);
            return image > 0 && is_near(probe, other) && maps_alike(op.matrix, Matrix(image));
          });
          if (is_double) continue;
          // One point decides, so a three-fold axis through it counts as the identity too: that is meant.
          store(op.matrix, is_near(probe, kOnes), op.index);
          near_images.add(probe);
        }
  return true;
}

bool VXXtalSymmetry::init(const VXMolBase& mol, int i, int j, int k) {
  VXSymmetry symmetry;
  if (!VXGetXtalSymmetry(mol, symmetry) || symmetry.GetOpCount() == 0) return false;
  std::vector<bool> enabled;
  symmetry.GetEnabled(enabled);
  float reference[3] = {}, matrix[16];
  GetCenterOfMass(mol, reference);
  for (unsigned int op = 0; op < enabled.size(); ++op) {
    if (!enabled[op]) continue;
    symmetry.GetImpl()->GetMatrix(matrix, op, i, j, k, reference);
    store(matrix, op == 0 && i == 0 && j == 0 && k == 0, op);
  }
  return true;
}

bool VXXtalSymmetry::Realize(const VXMolBase& mol, VXMCMolBase& mcmol) const {
  if (!valid_ || NumOps() == 0 || !mol) return false;
  if (static_cast<const VXMolBase*>(&mcmol) != &mol) mcmol = mol;
  const std::vector<float> home = conformer_coords(mcmol, 0);
  std::vector<float> moved;
  for (unsigned int image = 0; image < NumOps(); ++image) {
    transform_all(Matrix(image), home, moved);
    if (image == 0)
      mcmol.SetConfCoords(0, moved.data());
    else
      mcmol.NewConf(moved.data());
  }
  return true;
}

VXMolBase* VXXtalSymmetry::Realize(VXMolBase& mol, bool copy, unsigned int op) const {
  if (!valid_ || NumOps() == 0 || !mol) return nullptr;
  if (static_cast<double>(mol.NumAtoms()) * NumOps() > kMaxNewAtoms) {
    VXThrow.Warning("Crystal symmetry: %u images of %u atoms are more than %.0f new atoms", NumOps(),
                    mol.NumAtoms(), kMaxNewAtoms);
    return nullptr;
  }
  VXMCMol work(mol);
  std::unique_ptr<VXMolBase> fresh(copy ? mol.CreateCopy() : nullptr);
  VXMolBase& target = copy ? *fresh : mol;
  const std::string title = (copy ? "Symmetry:" : "") + std::string(mol.GetTitle());

  std::vector<std::vector<float>> home;
  for (unsigned int conf = 0; conf < work.NumConfs(); ++conf) home.push_back(conformer_coords(work, conf));
  const bool has_residues = VXHasResidues(work);
  std::vector<float> moved;
  for (unsigned int image = 0; image < NumOps(); ++image) {
    if (op == ~0u || op == image)
      for (unsigned int conf = 0; conf < home.size(); ++conf) {
        transform_all(Matrix(image), home[conf], moved);
        work.SetConfCoords(conf, moved.data());
      }
    if (has_residues) mark_image(work, image + 1);
    target += work;
  }
  target.SetTitle(title);
  fresh.release();
  return &target;
}

}  // namespace VXXtal
}  // namespace VXCore
