#include <vxgrid/molgrid/molecular_grid.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include <vxgrid/gaussian/gaussian_width.h>
#include <vxgrid/gaussian/gsphere.h>
#include <vxgrid/grid/grid_accessors.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/radii.h>
#include <vxgrid/host/zemomol.h>
#include <vxgrid/host/wide.inl>
#include <vxgrid/processing/lattice.inl>

namespace VXCore {
namespace {

constexpr float kPrefactor = 2.7f;
constexpr float kKappa = 2.344229f;  // VXGetKappa(2.7)
constexpr float kCutoff = 0.001f;
constexpr float kMargin = 4.0f;  // Å

constexpr int kSum = 2, kProduct = 4;

using Index = std::ptrdiff_t;

// A centre may be this many steps outside the lattice: the largest number whose square is an int.
constexpr Index kFarthest = 46340;
// Longer reaches are cut to this many steps.
constexpr float kLongestReach = 0x1p30f;

using Floats = float __attribute__((vector_size(32)));
using Mask = int __attribute__((vector_size(32)));
constexpr Index kLanes = 8;

/// floor(sqrt(s)) for s >= 0: a table, as far as ReachTo asked for and a byte holds the root.
class IntegerRoots {
 public:
  void ReachTo(Index square) {
    const Index end = std::min<Index>(square, 256 * 256 - 1) + 1;
    for (Index s = size_; s < end; ++s) {
      if ((root_ + 1) * (root_ + 1) == s) ++root_;
      table_[s] = static_cast<unsigned char>(root_);
    }
    size_ = std::max(size_, end);
  }

  Index operator()(Index s) const {
    if (s < size_) return table_[s];
    Index root = static_cast<Index>(std::sqrt(static_cast<double>(s)));
    while (root * root > s) --root;
    while ((root + 1) * (root + 1) <= s) ++root;
    return root;
  }

 private:
  Index size_ = 0, root_ = 0;
  unsigned char table_[256 * 256];
};

/// The points that one Gaussian touches: those of a box of offsets from its nearest lattice point whose
/// square length is within a limit.
struct Patch {
  Index nearest[3], first[3], last[3];
  Index square;
  float amplitude;
  const float* factor[3];  // of the first offset on
};

/// What a Gaussian does to a value.
struct Sum {
  template <class T>
  VXGRID_PART_OF_CLONE static T Combine(T value, T g) {
    return value + g;
  }
};
struct Product {
  template <class T>
  VXGRID_PART_OF_CLONE static T Combine(T value, T g) {
    return value * (1.0f - g);
  }
};

/// Evaluates Gaussians one by one on the floats of a lattice.
class GaussianLattice {
 public:
  explicit GaussianLattice(const GridStruct& grid)
      : dim_{grid.xdim, grid.ydim, grid.zdim},
        spacing_(grid.spacing),
        values_(grid.floats),
        end_(grid.floats + lattice::element_count(grid)) {
    vi_get_grid_limits(grid, &low_[0], &low_[1], &low_[2], &high_[0], &high_[1], &high_[2]);
  }

  bool Misses(const float* centre, float radius) const {
    for (int a = 0; a < 3; ++a)
      if (centre[a] + radius < low_[a] || centre[a] - radius > high_[a]) return true;
    return false;
  }

  /// The whole steps within the radius are a ball (vi_gauss_grid), or else the box around it. `exp` may give
  /// float or double: then the amplitude is rounded once.
  template <class Op, class Exp>
  void Evaluate(const float* centre, float width, float prefactor, float radius, bool ball, Exp exp);

 private:
  template <class Exp>
  void FillFactors(float a, const float* d, Patch& patch, Exp exp);
  void Run(Sum, const Patch& patch) const;
  void Run(Product, const Patch& patch) const;
  template <class Op>
  void RunRows(Patch patch) const;

  Index dim_[3];
  float spacing_, low_[3], high_[3];
  float *values_, *end_;
  IntegerRoots roots_;
  std::vector<float> factors_[3];
};

template <class Op, class Exp>
void GaussianLattice::Evaluate(const float* centre, float width, float prefactor, float radius, bool ball,
                               Exp exp) {
  Patch patch;
  float d[3];
  for (int axis = 0; axis < 3; ++axis) {
    const float f = (centre[axis] - low_[axis]) / spacing_;
    patch.nearest[axis] = vi_nint(f);
    d[axis] = f - static_cast<float>(patch.nearest[axis]);
    if (!(std::fabs(d[axis]) <= 0.5f)) return;  // not a number, or no int
    if (patch.nearest[axis] < -kFarthest || patch.nearest[axis] >= dim_[axis] + kFarthest) return;
  }
  const float d2 = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
  const float reach = std::min(std::sqrt(d2) + radius / spacing_, kLongestReach);
  if (!(reach > -kLongestReach)) return;
  const Index n = static_cast<Index>(reach);
  for (int axis = 0; axis < 3; ++axis) {
    patch.first[axis] = -std::min(patch.nearest[axis], n);
    patch.last[axis] = std::min(dim_[axis] - 1 - patch.nearest[axis], n);
    if (patch.first[axis] > patch.last[axis]) return;
  }

  const float a = width * spacing_ * spacing_;
  patch.amplitude = static_cast<float>(prefactor * exp(-a * d2));
  if (n == 0) {
    float& value = values_[(patch.nearest[2] * dim_[1] + patch.nearest[1]) * dim_[0] + patch.nearest[0]];
    value = Op::Combine(value, patch.amplitude);
    return;
  }
  // The box holds every offset whose square is within three times its edge's. The rounded square of a long
  // reach may be below that of its whole steps.
  patch.square = ball ? std::max(static_cast<Index>(reach * reach), n * n) : 3 * n * n;
  roots_.ReachTo(patch.square);
  FillFactors(a, d, patch, exp);
  Run(Op(), patch);
}

/// exp(-a (i^2 - 2 d i)) for the offsets of each axis, by products outwards from 1.
template <class Exp>
void GaussianLattice::FillFactors(float a, const float* d, Patch& patch, Exp exp) {
  const float q = static_cast<float>(exp(-a)), qq = q * q;
  for (int axis = 0; axis < 3; ++axis) {
    const Index first = patch.first[axis], last = patch.last[axis];
    const std::size_t count =
        static_cast<std::size_t>(last - first + 1 + kLanes);  // rows are read in vectors
    if (factors_[axis].size() < count) factors_[axis].resize(count);
    float* const factor = factors_[axis].data();
    patch.factor[axis] = factor;

    const float up = static_cast<float>(exp(2.0f * d[axis] * a)), down = 1.0f / up;
    if (first <= 0 && last >= 0) factor[-first] = 1.0f;
    float t = 1.0f, s = q;
    for (Index i = 1; i <= last; ++i, s *= qq) {
      t = t * up * s;
      if (i >= first) factor[i - first] = t;
    }
    t = 1.0f;
    s = q;
    for (Index i = -1; i >= first; --i, s *= qq) {
      t = t * down * s;
      if (i <= last) factor[i - first] = t;
    }
  }
}

/// One row in vectors. The last vector may pass the end of the row: the lanes behind it keep their values.
template <class Op>
VXGRID_PART_OF_CLONE inline void run_row(float* value, const float* factor, Index count, float row,
                                         const float* end) {
  const auto combined = [&](Index i, Floats& old) VXGRID_PART_OF_CLONE {
    Floats g;
    std::memcpy(&old, value + i, sizeof old);
    std::memcpy(&g, factor + i, sizeof g);
    return Op::Combine(old, row * g);
  };
  Floats old;
  Index i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const Floats fresh = combined(i, old);
    std::memcpy(value + i, &fresh, sizeof fresh);
  }
  if (end - value >= i + kLanes) {
    constexpr Mask kLane = {0, 1, 2, 3, 4, 5, 6, 7};
    const Floats fresh = combined(i, old), kept = kLane < static_cast<int>(count - i) ? fresh : old;
    std::memcpy(value + i, &kept, sizeof kept);
  } else {
    for (; i < count; ++i) value[i] = Op::Combine(value[i], row * factor[i]);
  }
}

/// g = amplitude * z * y * x in this order; each point of a row on its own, in vectors. Works on copies: the
/// stores to values then cannot be suspected of changing what a row needs.
template <class Op>
VXGRID_PART_OF_CLONE inline void GaussianLattice::RunRows(const Patch patch) const {
  const Index nx = dim_[0], ny = dim_[1];
  float* const values = values_;
  const float* const end = end_;
  for (Index k = patch.first[2]; k <= patch.last[2]; ++k) {
    const Index plane_square = patch.square - k * k, y_reach = roots_(plane_square);
    const Index y_first = std::max(patch.first[1], -y_reach), y_last = std::min(patch.last[1], y_reach);
    const float plane = patch.amplitude * patch.factor[2][k - patch.first[2]];
    const Index origin = ((patch.nearest[2] + k) * ny + patch.nearest[1]) * nx + patch.nearest[0];
    for (Index j = y_first; j <= y_last; ++j) {
      const Index x_reach = roots_(plane_square - j * j);
      const Index x_first = std::max(patch.first[0], -x_reach), x_last = std::min(patch.last[0], x_reach);
      if (x_first <= x_last)
        run_row<Op>(values + origin + j * nx + x_first, patch.factor[0] + (x_first - patch.first[0]),
                    x_last - x_first + 1, plane * patch.factor[1][j - patch.first[1]], end);
    }
  }
}

VXGRID_WIDE void GaussianLattice::Run(Sum, const Patch& patch) const { RunRows<Sum>(patch); }
VXGRID_WIDE void GaussianLattice::Run(Product, const Patch& patch) const { RunRows<Product>(patch); }

bool can_hold_gaussians(const GridStruct& grid) {
  return grid.floats && lattice::element_count(grid) > 0 && grid.spacing > 0 && std::isfinite(grid.spacing);
}

template <class Op, class GaussianAt>
void evaluate_all(const GridStruct& grid, int n, GaussianAt gaussian_at) {
  GaussianLattice points(grid);
  for (int i = 0; i < n; ++i) {
    const Gsphere g = gaussian_at(i);
    const float centre[3] = {g.x, g.y, g.z};
    if (!points.Misses(centre, g.radius))
      points.Evaluate<Op>(centre, g.width, g.prefactor, g.radius, true, vi_exp_f);
  }
}

template <class GaussianAt>
void evaluate_by_mode(const GridStruct& grid, int mode, int n, GaussianAt gaussian_at) {
  if (!can_hold_gaussians(grid)) return;
  if (mode == kSum) {
    evaluate_all<Sum>(grid, n, gaussian_at);
  } else if (mode == kProduct) {
    vi_constant_grid(grid, 1.0f);
    evaluate_all<Product>(grid, n, gaussian_at);
    std::transform(grid.floats, grid.floats + lattice::element_count(grid), grid.floats,
                   [](float product) { return 1.0f - product; });
  }
}

/// What is gathered from the atoms of a molecule, in their order.
struct AtomGaussians {
  explicit AtomGaussians(const VXMolBase& mol) {
    const std::size_t n = mol.NumAtoms();
    records.reserve(n);
    coords.reserve(3 * n);
    prefactors.assign(n, kPrefactor);
    if (HasRadii(mol)) {
      ReadRadii(mol);
    } else {
      VXGraphMol copy(mol);
      AssignZemoMolRadii(copy);
      ReadRadii(copy);
    }
    widths.resize(n);
    vi_assign_gwid_from_rad_pre(prefactors.data(), radii.data(), widths.data(), Count());
    for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms())) {
      PdbStruct record{};
      float xyz[3];
      mol.GetCoords(&atom, xyz);
      record.x = xyz[0];
      record.y = xyz[1];
      record.z = xyz[2];
      records.push_back(record);
      coords.insert(coords.end(), xyz, xyz + 3);
    }
  }

  int Count() const { return static_cast<int>(prefactors.size()); }

  std::vector<PdbStruct> records;
  std::vector<float> coords, radii, widths, prefactors;

 private:
  void ReadRadii(const VXMolBase& mol) {
    radii.reserve(mol.NumAtoms());
    for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms()))
      radii.push_back(static_cast<float>(atom.GetRadius()));
  }
};

template <class Grid>
bool is_sized(const Grid& grid) {
  return grid.GetSize() > 1;
}

/// False, with one Warning, for what is no spacing or no lattice.
template <class Grid>
bool set_lattice(float spacing, const float* mid, const int* dim, Grid& grid) {
  if (!grid.SetSpacing(spacing)) {
    VXThrow.Warning("A Gaussian grid needs a spacing above 0, not %g", spacing);
    return false;
  }
  return grid.SetMid(mid[0], mid[1], mid[2]) &&
         grid.SetDim(static_cast<unsigned int>(dim[0]), static_cast<unsigned int>(dim[1]),
                     static_cast<unsigned int>(dim[2]));
}

/// Gives the grid a lattice around the atoms.
template <class Grid>
bool size_around(AtomGaussians& atoms, float spacing, Grid& grid) {
  GridStruct box{};
  vx_set_grid_from_points(atoms.coords.data(), atoms.Count(), kMargin, kMargin, kMargin, spacing, &box);
  const float mid[3] = {box.xmid, box.ymid, box.zmid};
  const int dim[3] = {box.xdim, box.ydim, box.zdim};
  return set_lattice(spacing, mid, dim, grid);
}

float* current_values(VXScalarGrid& grid) { return grid.GetValues(); }
float* current_values(VXZemoGrid& grid) { return vi_grid_floats(grid); }
float* first_values(VXScalarGrid& grid) { return grid.GetValues(); }
float* first_values(VXZemoGrid& grid) { return grid.GetFloats().GetValues(); }

template <class Grid>
bool add_molecule(const VXMolBase& mol, float spacing, int mode, Grid& grid) {
  if (!mol) return false;
  AtomGaussians atoms(mol);
  float* values = nullptr;
  if (is_sized(grid))
    values = current_values(grid);
  else if (size_around(atoms, spacing, grid))
    values = first_values(grid);
  if (values)
    vi_gauss_grid(0, atoms.Count(), atoms.records.data(), atoms.widths.data(), atoms.prefactors.data(),
                  kCutoff, mode, lattice::view(grid, values), nullptr);
  return true;
}

/// The radius at which a Gaussian of the width falls to the cut-off.
float explicit_reach(float prefactor, float width) {
  return static_cast<float>(std::sqrt(-std::log(static_cast<double>(kCutoff) / prefactor) / width));
}

float explicit_margin(const float* values, const float* prefactors, int n, bool widths) {
  if (!widths) return n > 0 ? std::max(*std::max_element(values, values + n), 0.0f) : 0.0f;
  float narrowest = 100000.0f, highest = prefactors ? 0.0f : kPrefactor;
  for (int i = 0; i < n; ++i) {
    narrowest = std::min(narrowest, values[i]);
    if (prefactors) highest = std::max(highest, std::fabs(prefactors[i]));
  }
  return explicit_reach(highest, narrowest);
}

bool size_around(const float* coords, int n, float margin, float spacing, VXZemoGrid& grid) {
  float centre[3], extents[3];
  VXGeom3DGetCenterAndExtents(coords, static_cast<unsigned int>(std::max(n, 0)), centre, extents);
  int dim[3];
  for (int axis = 0; axis < 3; ++axis)
    dim[axis] = lattice::truncate((extents[axis] + 2.0f * margin) / spacing) + 1;
  return set_lattice(spacing, centre, dim, grid);
}

}  // namespace

bool VXMakeMolecularGaussianGrid(VXZemoGrid& grid, const VXMolBase& mol, float spacing) {
  return vx_make_molecular_gaussian_grid(VXGraphMol(mol), spacing, grid) != 0;
}

bool VXMakeMolecularGaussianGrid(VXZemoGrid& grid, const VXMolBase& mol) {
  return VXMakeMolecularGaussianGrid(grid, mol, grid.GetSpacing());
}

bool VXMakeMolecularGaussianGrid(VXScalarGrid& grid, const VXMolBase& mol, float spacing) {
  grid = VXScalarGrid();
  return add_molecule(VXGraphMol(mol), spacing, kSum, grid);
}

bool VXMakeMolecularGaussianGrid(VXScalarGrid& grid, const VXMolBase& mol) {
  VXScalarGrid made;
  VXGridCopyGeometry(made, grid);
  const bool done = add_molecule(VXGraphMol(mol), made.GetSpacing(), kSum, made);
  grid = std::move(made);
  return done;
}

int vx_make_molecular_gaussian_grid(const VXMolBase& mol, float spacing, VXZemoGrid& grid) {
  return vx_make_molecular_gaussian_grid_base(mol, spacing, kSum, grid);
}

int vx_make_molecular_product_gaussian_grid(const VXMolBase& mol, float spacing, VXZemoGrid& grid) {
  return vx_make_molecular_gaussian_grid_base(mol, spacing, kProduct, grid);
}

int vx_make_molecular_gaussian_grid_base(const VXMolBase& mol, float spacing, int mode, VXZemoGrid& grid) {
  return add_molecule(mol, spacing, mode, grid);
}

void vx_make_gaussian_grid_explicit(const float* coords, const float* values, const float* prefactors, int n,
                                    float spacing, VXZemoGrid& grid, int values_are_widths) {
  const bool widths = values_are_widths != 0;
  if (!is_sized(grid) &&
      !size_around(coords, n, explicit_margin(values, prefactors, n, widths), spacing, grid))
    return;
  const GridStruct record = lattice::view(grid, vi_grid_floats(grid));
  if (!can_hold_gaussians(record)) return;

  const auto exp = [](float x) { return std::exp(static_cast<double>(x)); };
  GaussianLattice points(record);
  float last_prefactor = kPrefactor;
  for (Index i = 0; i < n; ++i) {
    const float value = values[i], radius = widths ? explicit_reach(std::fabs(last_prefactor), value) : value;
    if (points.Misses(coords + 3 * i, radius)) continue;
    if (prefactors) last_prefactor = prefactors[i];
    points.Evaluate<Sum>(coords + 3 * i, widths ? value : kKappa / (value * value), last_prefactor, radius,
                         false, exp);
  }
}

void vi_gauss_grid(int, int n, void* records, float* widths, float* prefactors, float cutoff, int mode,
                   GridStruct grid, float*) {
  if (!widths && !prefactors) {
    Gsphere* const spheres = static_cast<Gsphere*>(records);
    for (int i = 0; i < n; ++i)
      if (spheres[i].radius == 0.0f)
        spheres[i].radius = vi_gauss_rad(spheres[i].prefactor, spheres[i].width, cutoff);
    evaluate_by_mode(grid, mode, n, [&](int i) { return spheres[i]; });
  } else {
    const PdbStruct* const atoms = static_cast<const PdbStruct*>(records);
    evaluate_by_mode(grid, mode, n, [&](int i) {
      const float width = widths[i], prefactor = prefactors[i];
      return Gsphere{width,     atoms[i].x, atoms[i].y, atoms[i].z,
                     prefactor, 0,          0.0f,       vi_gauss_rad(prefactor, width, cutoff)};
    });
  }
}

void vi_grid_size(int n, float* coords, float* widths, float* prefactors, float cutoff, float spacing,
                  float* xmid, float* ymid, float* zmid, int* xdim, int* ydim, int* zdim) {
  constexpr float kNothing = std::numeric_limits<float>::max();
  float low[3] = {kNothing, kNothing, kNothing}, high[3] = {-kNothing, -kNothing, -kNothing};
  for (Index i = 0; i < n; ++i) {
    const float radius = vi_gauss_rad(prefactors[i], widths[i], cutoff);
    for (int axis = 0; axis < 3; ++axis) {
      low[axis] = std::min(low[axis], coords[3 * i + axis] - radius);
      high[axis] = std::max(high[axis], coords[3 * i + axis] + radius);
    }
  }
  float* const mids[3] = {xmid, ymid, zmid};
  int* const dims[3] = {xdim, ydim, zdim};
  for (int axis = 0; axis < 3; ++axis) {
    if (low[axis] > high[axis]) low[axis] = high[axis] = 0.0f;
    *mids[axis] = (low[axis] + high[axis]) * 0.5f;
    *dims[axis] = lattice::odd_dimension((high[axis] - *mids[axis]) / spacing);
  }
}

}  // namespace VXCore
