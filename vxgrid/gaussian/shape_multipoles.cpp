#include <vxgrid/gaussian/shape_multipoles.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

#include <vxgrid/gaussian/gaussian_expansion.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/zemomol.h>
#include <vxgrid/host/wide.inl>

namespace VXCore {

int IRREDUCIBLE = 0;

namespace {

// The axes of each third moment, and where the moment of three axes stands; the same for second moments in
// the order xx, yy, zz, xy, xz, yz.
// clang-format off
constexpr int kAxes[10][3] = {
  {0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {0, 0, 1}, {0, 0, 2}, {0, 1, 1}, {1, 1, 2}, {0, 2, 2}, {1, 2, 2}, {0, 1, 2},
};
constexpr int kThird[3][3][3] = {
  {{0, 3, 4}, {3, 5, 9}, {4, 9, 7}},
  {{3, 5, 9}, {5, 1, 6}, {9, 6, 8}},
  {{4, 9, 7}, {9, 6, 8}, {7, 8, 2}},
};
constexpr int kSecond[3][3] = {{0, 3, 4}, {3, 1, 5}, {4, 5, 2}};
// clang-format on

/// -|V| for an odd order, V for an even one: an odd order sets the sign bit. Orders follow no pattern that a
/// processor could guess, so there is no branch on them.
float signed_volume(const Gsphere& g) {
  std::uint32_t bits;
  std::memcpy(&bits, &g.volume, sizeof bits);
  bits |= static_cast<std::uint32_t>(g.order) << 31;
  float v;
  std::memcpy(&v, &bits, sizeof v);
  return v;
}

using Floats = float __attribute__((vector_size(16)));

/// Volume and moments about the origin, not yet divided by the volume. Each sum is a lane of its own and runs
/// over the records in their order, so the bits are those of plain sums, at two thirds of the time. Lane 0
/// is the volume in `first` and nothing in the others.
struct Sums {
  Floats first = {}, squares = {}, products = {};         // 1 x y z, xx yy zz, xy yz zx
  Floats cubes = {}, next = {}, last = {}, product = {};  // xxx yyy zzz, xxy yyz zzx, xxz yyx zzy, xyz

  VXGRID_PART_OF_CLONE inline void add(const Gsphere& g) {
    const float v = signed_volume(g);
    const Floats c = {1, g.x, g.y, g.z}, spread = Floats{0.5f, 1.5f, 1, 1} / g.width;
    const Floats square = c * c, moment = square + spread[0], product2 = c * yzx(c);
    first += v * c;
    squares += v * moment;
    products += v * product2;
    cubes += v * (c * (square + spread[1]));
    next += v * (yzx(c) * moment);
    last += v * (zxy(c) * moment);
    product += v * (product2 * zxy(c));
  }

 private:
  VXGRID_PART_OF_CLONE static Floats yzx(Floats c) { return __builtin_shufflevector(c, c, 0, 2, 3, 1); }
  VXGRID_PART_OF_CLONE static Floats zxy(Floats c) { return __builtin_shufflevector(c, c, 0, 3, 1, 2); }
};

VXGRID_WIDE
void sum_up(int n, const Gsphere* spheres, Sums& result) {
  Sums sums;
  for (int i = 0; i < n; ++i) sums.add(spheres[i]);
  result = sums;
}

/// Centre, and second and third moments about it, of the volume 1. The sums are floats; all that follows them
/// is taken in double, so that nothing more is lost.
struct Central {
  double center[3], second[6], third[10];

  explicit Central(const Sums& s) {
    const double volume = s.first[0];
    for (int i = 0; i < 3; ++i) center[i] = s.first[1 + i] / volume;
    const float sums2[6] = {s.squares[1],  s.squares[2],  s.squares[3],
                            s.products[1], s.products[3], s.products[2]};
    for (int i = 0; i < 6; ++i) second[i] = sums2[i] / volume;
    const float sums3[10] = {s.cubes[1], s.cubes[2], s.cubes[3], s.next[1], s.last[1],
                             s.last[2],  s.next[2],  s.next[3],  s.last[3], s.product[1]};
    for (int i = 0; i < 10; ++i) third[i] = sums3[i] / volume;

    const double* c = center;
    for (int i = 0; i < 10; ++i) {
      const auto [p, q, r] = kAxes[i];
      third[i] += 2 * c[p] * c[q] * c[r] - (c[p] * second[kSecond[q][r]] + c[q] * second[kSecond[p][r]] +
                                            c[r] * second[kSecond[p][q]]);
    }
    for (int p = 0; p < 3; ++p)
      for (int q = p; q < 3; ++q) second[kSecond[p][q]] -= c[p] * c[q];
  }

  void get_matrix(float* matrix) const {
    for (int i = 0; i < 9; ++i) matrix[i] = static_cast<float>(second[kSecond[i / 3][i % 3]]);
  }

  /// The third moment along three directions.
  double along(const float* a, const float* b, const float* c) const {
    double sum = 0;
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j)
        for (int k = 0; k < 3; ++k) {
          const double weight =
              static_cast<double>(a[i]) * static_cast<double>(b[j]) * static_cast<double>(c[k]);
          sum += third[kThird[i][j][k]] * weight;
        }
    return sum;
  }
};

void negate(float* axis) {
  for (int i = 0; i < 3; ++i) axis[i] = -axis[i];
}

/// Turns x and y to where their third moments are positive; z follows, so that a right-handed frame stays
/// one.
void orient(const Central& moments, float* x, float* y, float* z) {
  const bool turn_x = !(moments.along(x, x, x) > 0), turn_y = !(moments.along(y, y, y) > 0);
  if (turn_x) negate(x);
  if (turn_y) negate(y);
  if (turn_x != turn_y) negate(z);
}

/// The records of a molecule at a level, which belong to the Gaussian; none for an unknown level.
struct Shape {
  Gsphere* spheres = nullptr;
  int n = 0;
};

Shape make_shape(Gaussian& gaussian, const VXMolBase& mol, const char* type, int with_hydrogens) {
  const std::string_view level = type ? type : "";
  const int no_hydrogens = std::abs(1 - with_hydrogens);
  Shape shape;
  int made = 0;
  if (level == "atoms")
    made = gaussian.make_atomic_gaussian_rep_base(mol, 0, no_hydrogens, &shape.spheres, &shape.n);
  else if (level == "bonds")
    made = gaussian.make_atomic_gaussian_rep_base(mol, 1, no_hydrogens, &shape.spheres, &shape.n);
  else if (level == "full")
    made = gaussian.make_full_gaussian_rep_base(mol, no_hydrogens, &shape.spheres, &shape.n);
  return made ? shape : Shape();
}

}  // namespace

void vx_shape_multipoles_irreducible_octopoles_on() { IRREDUCIBLE = 1; }
void vx_shape_multipoles_irreducible_octopoles_off() { IRREDUCIBLE = 0; }

// 0.6666 for 2/3 and 0.7905649 for sqrt(5/8) are part of the definition, as they stand.
void vx_make_octopoles_irreducible(float* octopoles) {
  float o[10];
  std::copy_n(octopoles, 10, o);
  octopoles[0] = o[0] + o[5] + o[7];
  octopoles[1] = o[1] + o[3] + o[8];
  octopoles[2] = o[2] + o[4] + o[6];
  octopoles[3] = 1.5f * (0.6666f * o[2] - o[4] - o[6]);
  octopoles[4] = 0.61237246f * (4 * o[7] - o[0] - o[5]);
  octopoles[5] = 0.61237246f * (4 * o[8] - o[1] - o[3]);
  octopoles[6] = 1.9364916f * (o[4] - o[6]);
  octopoles[7] = 3.8729832f * o[9];
  octopoles[8] = 0.7905649f * (o[0] - 3 * o[5]);
  octopoles[9] = 0.7905649f * (3 * o[3] - o[1]);
}

int vx_CalcShapeMultipoles(int n, const Gsphere* spheres, float* multipoles, float* center, float* rotation) {
  Sums sums;
  sum_up(n, spheres, sums);
  const Central moments(sums);

  float matrix[9], *rows[3], *axes[3];
  moments.get_matrix(matrix);
  for (int i = 0; i < 3; ++i) {
    rows[i] = matrix + 3 * i;
    axes[i] = rotation + 3 * i;
    center[i] = static_cast<float>(moments.center[i]);
  }
  multipoles[0] = sums.first[0];
  eigen_solve_3_by_3(rows, multipoles + 1, axes);
  orient(moments, axes[0], axes[1], axes[2]);
  for (int i = 0; i < 10; ++i) {
    const auto [p, q, r] = kAxes[i];
    multipoles[4 + i] = static_cast<float>(moments.along(axes[p], axes[q], axes[r]));
  }
  if (IRREDUCIBLE) vx_make_octopoles_irreducible(multipoles + 4);
  return std::all_of(multipoles, multipoles + 14, [](float m) { return std::isfinite(m); });
}

int vx_CalcShapeInertialFrame(int n, const Gsphere* spheres, float* rotation, float* center) {
  std::fill_n(rotation, 9, 0.0f);
  std::fill_n(center, 3, 0.0f);
  Sums sums;
  sum_up(n, spheres, sums);
  if (sums.first[0] == 0) return 0;

  const Central moments(sums);
  for (int i = 0; i < 3; ++i) center[i] = static_cast<float>(moments.center[i]);
  moments.get_matrix(rotation);
  float *m = rotation, roots[3];
  const float diagonal = std::max({std::fabs(m[0]), std::fabs(m[4]), std::fabs(m[8])});
  const float other = std::max({std::fabs(m[1]), std::fabs(m[2]), std::fabs(m[5])});
  if (diagonal > 1000 * other) {
    for (int i = 0; i < 9; ++i) m[i] = i % 4 == 0 ? 1.0f : 0.0f;
    return 1;
  }
  get_roots_3(m, roots);
  std::swap(m[1], m[3]);
  std::swap(m[2], m[6]);
  std::swap(m[5], m[7]);
  return 1;
}

int vx_CalcInFrameShapeQuadrapoles(int n, const float* coords, const Gsphere* spheres, float* out) {
  std::fill_n(out, 3, n < 1 ? std::numeric_limits<float>::quiet_NaN() : 0.0f);
  for (int i = 0; i < n; ++i, coords += 3) {
    const float v = signed_volume(spheres[i]), spread = 0.5f / spheres[i].width;
    for (int a = 0; a < 3; ++a) out[a] += v * (coords[a] * coords[a] + spread);
  }
  return 1;
}

int vx_CalcInFrameShapeOctopoles(int n, const float* coords, const Gsphere* spheres, float* out) {
  std::fill_n(out, 3, n < 1 ? std::numeric_limits<float>::quiet_NaN() : 0.0f);
  for (int i = 0; i < n; ++i, coords += 3) {
    const float x = coords[0], y = coords[1], z = coords[2], v = signed_volume(spheres[i]);
    const float r2 = x * x + y * y + z * z + 2.5f / spheres[i].width;
    for (int a = 0; a < 3; ++a) out[a] += coords[a] * v * r2;
  }
  return 1;
}

int Gaussian::vx_calculate_shape_multipoles(const VXMolBase& mol, const char* type, float* multipoles) {
  return vx_calculate_shape_multipoles_base(mol, type, multipoles, 0);
}

int Gaussian::vx_calculate_shape_multipoles_no_hydrogens(const VXMolBase& mol, const char* type,
                                                         float* multipoles) {
  return vx_calculate_shape_multipoles_base(mol, type, multipoles, 0);
}

int Gaussian::vx_calculate_shape_multipoles_with_hydrogens(const VXMolBase& mol, const char* type,
                                                           float* multipoles) {
  return vx_calculate_shape_multipoles_base(mol, type, multipoles, 1);
}

int Gaussian::vx_calculate_shape_multipoles_base(const VXMolBase& mol, const char* type, float* multipoles,
                                                 int with_hydrogens) {
  float rotation[9], center[3];
  return vx_calculate_shape_multipoles_and_inertial_frame_base(mol, type, multipoles, rotation, center,
                                                               with_hydrogens);
}

int Gaussian::vx_calculate_shape_multipoles_and_inertial_frame(const VXMolBase& mol, const char* type,
                                                               float* multipoles, float* rotation,
                                                               float* center) {
  return vx_calculate_shape_multipoles_and_inertial_frame_base(mol, type, multipoles, rotation, center, 0);
}

int Gaussian::vx_calculate_shape_multipoles_and_inertial_frame_no_hydrogens(const VXMolBase& mol,
                                                                            const char* type,
                                                                            float* multipoles,
                                                                            float* rotation, float* center) {
  return vx_calculate_shape_multipoles_and_inertial_frame_base(mol, type, multipoles, rotation, center, 0);
}

int Gaussian::vx_calculate_shape_multipoles_and_inertial_frame_with_hydrogens(
    const VXMolBase& mol, const char* type, float* multipoles, float* rotation, float* center) {
  return vx_calculate_shape_multipoles_and_inertial_frame_base(mol, type, multipoles, rotation, center, 1);
}

int Gaussian::vx_calculate_shape_multipoles_and_inertial_frame_base(const VXMolBase& mol, const char* type,
                                                                    float* multipoles, float* rotation,
                                                                    float* center, int with_hydrogens) {
  if (!rotation || !center) return 0;
  const Shape shape = make_shape(*this, mol, type, with_hydrogens);
  return vx_CalcShapeMultipoles(shape.n, shape.spheres, multipoles, center, rotation);
}

int Gaussian::vx_transform_to_inertial_frame_using_shape_multipoles(VXMolBase& mol, const char* type) {
  return vx_transform_to_inertial_frame_using_shape_multipoles_base(mol, type, 0);
}

int Gaussian::vx_transform_to_inertial_frame_using_shape_multipoles_no_hydrogens(VXMolBase& mol,
                                                                                 const char* type) {
  return vx_transform_to_inertial_frame_using_shape_multipoles_base(mol, type, 0);
}

int Gaussian::vx_transform_to_inertial_frame_using_shape_multipoles_with_hydrogens(VXMolBase& mol,
                                                                                   const char* type) {
  return vx_transform_to_inertial_frame_using_shape_multipoles_base(mol, type, 1);
}

int Gaussian::vx_transform_to_inertial_frame_using_shape_multipoles_base(VXMolBase& mol, const char* type,
                                                                         int with_hydrogens) {
  float multipoles[14], rotation[9], center[3];
  if (!vx_calculate_shape_multipoles_and_inertial_frame_base(mol, type, multipoles, rotation, center,
                                                             with_hydrogens))
    return 0;
  VXRotate(mol, rotation);
  VXTranslate(mol, center);
  return 1;
}

}  // namespace VXCore
