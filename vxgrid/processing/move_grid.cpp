#include <vxgrid/processing/move_grid.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include <vxgrid/grid/grid_accessors.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/zemomol.h>
#include <vxgrid/processing/orientation.inl>

namespace VXCore {
namespace {

constexpr float kOrigin[3] = {0, 0, 0};

// The grid's own orientation, or the identity.
void get_orientation(const VXZemoGrid& grid, float* matrix) {
  if (!grid.GetOrientation(matrix)) std::copy_n(lattice::kIdentity, 9, matrix);
}

void turn_points(float* xyz, int n, const float* matrix, const float* center) {
  const lattice::Turn turn(matrix, center);
  for (std::ptrdiff_t i = 0; i < n; ++i, xyz += 3) lattice::store_point(turn(xyz[0], xyz[1], xyz[2]), xyz);
}

template <class Part>
void translate(Part& part, const float* shift) {
  part.SetXMid(part.GetXMid() + shift[0]);
  part.SetYMid(part.GetYMid() + shift[1]);
  part.SetZMid(part.GetZMid() + shift[2]);
}

// Sums over the samples of positive value, z outermost, in single precision.
class Moments {
 public:
  explicit Moments(const VXFixedGrid<float>& grid) : grid_(grid) {
    for (int a = 0; a < 3; ++a) {
      const unsigned int dim[3] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
      const float mid[3] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
      axis_[a].resize(dim[a]);
      for (unsigned int i = 0; i < dim[a]; ++i)
        axis_[a][i] =
            (static_cast<float>(i) - static_cast<float>(dim[a] - 1) * 0.5f) * grid.GetSpacing() + mid[a];
    }
  }

  void center_of_mass(float* center) const {
    float total = 0, sum[3] = {0, 0, 0};
    for_each_positive([&](float w, float x, float y, float z) {
      total += w;
      sum[0] += w * x;
      sum[1] += w * y;
      sum[2] += w * z;
    });
    for (int a = 0; a < 3; ++a) center[a] = sum[a] / total;
  }

  // Row-major, symmetric, about a centre.
  void second_moments(const float* center, float* matrix) const {
    float xx = 0, xy = 0, xz = 0, yy = 0, yz = 0, zz = 0;
    for_each_positive([&](float w, float x, float y, float z) {
      x -= center[0];
      y -= center[1];
      z -= center[2];
      xx += w * x * x;
      xy += w * x * y;
      xz += w * x * z;
      yy += w * y * y;
      yz += w * y * z;
      zz += w * z * z;
    });
    const float rows[9] = {xx, xy, xz, xy, yy, yz, xz, yz, zz};
    std::copy_n(rows, 9, matrix);
  }

 private:
  template <class Op>
  void for_each_positive(Op op) const {
    const float* value = grid_.GetValues();
    for (const float z : axis_[2])
      for (const float y : axis_[1])
        for (const float x : axis_[0]) {
          const float w = *value++;
          if (w > 0) op(w, x, y, z);
        }
  }

  const VXFixedGrid<float>& grid_;
  std::vector<float> axis_[3];
};

// A narrowed copy of n doubles.
template <int n>
struct Floats {
  explicit Floats(const double* from) {
    for (int i = 0; i < n; ++i) v[i] = static_cast<float>(from[i]);
  }
  float v[n];
};

}  // namespace

bool VXTranslate(VXZemoGrid& grid, const float* shift) {
  if (!shift) return false;
  translate(grid.GetFloats(), shift);
  translate(grid.GetIntegers(), shift);
  return grid.SetSpaceGroup(0);
}

bool VXTranslate(VXZemoGrid& grid, const double* shift) {
  return shift && VXTranslate(grid, Floats<3>(shift).v);
}
bool VXTranslate(VXSkewGrid& grid, const float* shift) {
  return VXTranslate(grid.GetImpl().GetImpl(), shift);
}
bool VXTranslate(VXSkewGrid& grid, const double* shift) {
  return VXTranslate(grid.GetImpl().GetImpl(), shift);
}

bool VXRotate(VXZemoGrid& grid, const float* matrix) {
  if (!matrix) return false;
  const float m[9] = {matrix[0], matrix[1], matrix[2], matrix[3], matrix[4],
                      matrix[5], matrix[6], matrix[7], matrix[8]};
  float mid[3] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
  turn_points(mid, 1, m, kOrigin);
  grid.SetMid(mid[0], mid[1], mid[2]);

  float orientation[9], product[9];
  get_orientation(grid, orientation);
  for (int row = 0; row < 3; ++row)
    for (int column = 0; column < 3; ++column)
      product[3 * row + column] = m[3 * row] * orientation[column] +
                                  m[3 * row + 1] * orientation[3 + column] +
                                  m[3 * row + 2] * orientation[6 + column];
  grid.SetOrientation(product);
  return grid.SetSpaceGroup(0);
}

bool VXRotate(VXZemoGrid& grid, const double* matrix) {
  return matrix && VXRotate(grid, Floats<9>(matrix).v);
}
bool VXRotate(VXSkewGrid& grid, const float* matrix) { return VXRotate(grid.GetImpl().GetImpl(), matrix); }
bool VXRotate(VXSkewGrid& grid, const double* matrix) { return VXRotate(grid.GetImpl().GetImpl(), matrix); }

int vx_transform_coordinates_by_orientation_matrix(float* xyz, int n, const float* matrix,
                                                   const float* center) {
  turn_points(xyz, n, matrix, center ? center : kOrigin);
  return 1;
}

int vx_untransform_coordinates_by_orientation_matrix(float* xyz, int n, const float* matrix,
                                                     const float* center) {
  float inverse[9];
  if (!lattice::invert(matrix, inverse)) return 0;
  return vx_transform_coordinates_by_orientation_matrix(xyz, n, inverse, center);
}

int vx_transform_coordinates_by_grid_orientation(float* xyz, int n, const VXZemoGrid& grid) {
  float matrix[9];
  if (!grid.GetOrientation(matrix)) return 0;
  const float center[3] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
  return vx_transform_coordinates_by_orientation_matrix(xyz, n, matrix, center);
}

int vx_untransform_coordinates_by_grid_orientation(float* xyz, int n, const VXZemoGrid& grid) {
  float matrix[9];
  if (!grid.GetOrientation(matrix)) return 0;
  const float center[3] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
  return vx_untransform_coordinates_by_orientation_matrix(xyz, n, matrix, center);
}

int vx_orient_grid_by_moments_of_inertia(VXZemoGrid& grid) {
  if (!grid.GetFloatsSet()) return 0;
  const Moments moments(grid.CurrentFloats());
  float center[3], matrix[9], rotation[9], quaternion[4];
  moments.center_of_mass(center);
  moments.second_moments(center, matrix);
  vx_make_rmat2(matrix, rotation, 0);
  // Through a quaternion and back cleans it into a proper rotation.
  vx_rotation_matrix_to_quaternions(rotation, quaternion);
  vx_quaternions_to_rotation_matrix(quaternion, rotation);
  vx_set_grid_orientation(rotation, grid);
  return 1;
}

}  // namespace VXCore
