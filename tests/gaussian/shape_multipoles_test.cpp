#include <vxgrid/gaussian/shape_multipoles.h>

#include <algorithm>
#include <cmath>
#include <random>

#include <vxgrid/gaussian/gaussian_expansion.h>
#include <vxgrid/host/zemomol.h>

#include "realspace/model.h"

using namespace VXCore;
using testing::Each;
using testing::ElementsAreArray;
using testing::FloatNear;
using testing::Pointwise;

namespace {

using Shape = std::vector<Gsphere>;

Gsphere sphere(float volume, float width, float x, float y, float z, int order = 0) {
  return {width, x, y, z, 2.7f, order, volume, 0};
}

struct Moments {
  float values[14], center[3], rotation[9];
  explicit Moments(const Shape& shape, bool irreducible = false) {
    if (irreducible) vx_shape_multipoles_irreducible_octopoles_on();
    vx_CalcShapeMultipoles(static_cast<int>(shape.size()), shape.data(), values, center, rotation);
    vx_shape_multipoles_irreducible_octopoles_off();
  }
};

void apply(const float* m, const float* shift, const float* from, float* to) {
  for (int a = 0; a < 3; ++a, m += 3) to[a] = m[0] * from[0] + m[1] * from[1] + m[2] * from[2] + shift[a];
}

/// Turned at random, and shifted by up to 2 Å on each axis.
Shape posed(Shape shape, std::mt19937& random) {
  std::normal_distribution<float> normal;
  std::uniform_real_distribution<float> u(-2, 2);
  const float q[] = {normal(random), normal(random), normal(random), normal(random)};
  const float shift[] = {u(random), u(random), u(random)};
  float rotation[9];
  vx_quaternions_to_rotation_matrix(q, rotation);
  for (Gsphere& g : shape) {
    const float center[] = {g.x, g.y, g.z};
    apply(rotation, shift, center, &g.x);
  }
  return shape;
}

Shape lopsided() {
  std::mt19937 random(5);
  const auto u = [&random](float low, float high) {
    return std::uniform_real_distribution(low, high)(random);
  };
  Shape shape;
  for (int i = 0; i < 30; ++i)
    shape.push_back(
        sphere(u(1, 9), u(0.5f, 1.5f), u(-6, 6), u(-4, 4) + (i > 20 ? 3 : 0), u(-2, 2), i % 4 == 3));
  return shape;
}

}  // namespace

// Moments about the centre of point masses, with the spread 1/(2a) of each Gaussian, whatever the pose.
TEST(ShapeMultipoles, ClosedForms) {
  Shape box, right_hand;
  for (int i = 0; i < 8; ++i) {
    const float x = i & 1 ? 3 : -3, y = i & 2 ? 2 : -2, z = i & 4 ? 1 : -1;
    box.push_back(sphere(2, 1, x, y, z));
    if (x * y * z > 0) right_hand.push_back(sphere(2, 1, x, y, z));
  }
  const Gsphere left = sphere(5, 1, -1.5f, 0, 0), right = sphere(5, 1, 1.5f, 0, 0),
                one = sphere(1, 1, 0, 0, 0);
  const Shape line = {sphere(3, 0.5f, 0, 0, 0), sphere(1, 1, 4, 0, 0)};  // -1 and 3 from the centre
  const struct {
    const char* what;
    Shape shape;
    std::vector<float> values, third;
  } rows[] = {
      {"a sphere", {sphere(5, 0.8f, 0, 0, 0)}, {5, 0.625f, 0.625f, 0.625f}, {}},
      {"two of spreads 1, 0.5", line, {4, 3.875f, 0.875f, 0.875f}, {4.875f, 0, 0, 0, 0, -0.375f, 0, -0.375f}},
      {"less an overlap", {left, right, sphere(-2, 1, 0, 0, 0, 1)}, {8, 3.3125f, 0.5f, 0.5f}, {}},
      {"the same, unsigned", {left, right, sphere(2, 1, 0, 0, 0, 3)}, {8, 3.3125f, 0.5f, 0.5f}, {}},
      {"an ellipsoid", box, {16, 9.5f, 4.5f, 1.5f}, {}},
      {"a right hand", right_hand, {8, 9.5f, 4.5f, 1.5f}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 6}},
  };
  std::mt19937 random(1);
  for (auto row : rows) {
    SCOPED_TRACE(row.what);
    row.values.resize(14);
    std::copy(row.third.begin(), row.third.end(), row.values.begin() + 4);
    EXPECT_THAT(Moments(row.shape).values, Pointwise(FloatNear(1e-5f), row.values));
    EXPECT_THAT(Moments(posed(row.shape, random)).values, Pointwise(FloatNear(5e-5f), row.values));
  }
  const float turned[9] = {-1, 0, 0, 0, -1, 0, 0, 0, 1};
  EXPECT_THAT(Moments(rows[0].shape).rotation, ElementsAreArray(turned)) << "no third moment is positive";
  EXPECT_EQ(Moments({sphere(16777216, 1, 0, 0, 0), one, one}).values[0], 16777216) << "sums are floats";
  // from xxx = 4.875, xyy = xzz = -0.375 with sqrt(3/8) and sqrt(5/8), of which six digits hold
  const std::vector<float> irreducible = {4, 3.875f,     0.875f, 0.875f, 4.125f, 0,         0,
                                          0, -3.674235f, 0,      0,      0,      4.743416f, 0};
  EXPECT_THAT(Moments(line, true).values, Pointwise(FloatNear(5e-5f), irreducible));
}

// The sums in the frame know nothing of the rest: they hold the centre, the axes, the second moments and the
// traces of the third ones. Those are a vector and the other components a tensor T' of rank 3, with
// |T'|^2 = 5/2 T:T - 3/2 |vector|^2  for the whole tensor T; 0.6666 for 2/3 costs 1e-4.
TEST(ShapeMultipoles, SameInAThousandPosesAndInTheFrame) {
  const Moments still(lopsided());
  std::mt19937 random(2);
  const float zero[3] = {};
  float coords[90], second[3], third[3], axes[9], center[3];
  for (int pose = 0; pose < 1000; ++pose) {
    const Shape shape = posed(lopsided(), random);
    const Moments m(shape), irreducible(shape, true);
    EXPECT_THAT(m.values, Pointwise(FloatNear(1e-3f), still.values));  // sums of up to 200 in float
    if (pose > 2) continue;
    vx_CalcShapeInertialFrame(30, shape.data(), axes, center);
    EXPECT_THAT(center, ElementsAreArray(m.center));
    for (int i = 0; i < 9; ++i)
      EXPECT_NEAR(std::fabs(axes[i]), std::fabs(m.rotation[i]), 1e-5) << "either way";
    for (int i = 0; i < 30; ++i) {
      const float from[] = {shape[i].x - center[0], shape[i].y - center[1], shape[i].z - center[2]};
      apply(m.rotation, zero, from, coords + 3 * i);
    }
    vx_CalcInFrameShapeQuadrapoles(30, coords, shape.data(), second);
    vx_CalcInFrameShapeOctopoles(30, coords, shape.data(), third);
    for (int a = 0; a < 3; ++a) {
      EXPECT_NEAR(second[a] / m.values[0], m.values[1 + a], 1e-4 * m.values[1]);
      EXPECT_NEAR(third[a] / m.values[0], irreducible.values[4 + a], 1e-3);
    }
    float whole = 0, vector = 0, tensor = 0;
    for (int k = 4; k < 14; ++k) {
      whole += (k < 7 ? 1 : k < 13 ? 3 : 6) * m.values[k] * m.values[k];
      (k < 7 ? vector : tensor) += irreducible.values[k] * irreducible.values[k];
    }
    EXPECT_NEAR(tensor / (2.5f * whole - 1.5f * vector), 1, 1e-3);
  }
}

TEST(ShapeMultipoles, NothingToMeasure) {
  float rotation[9], center[3], values[14];
  const Shape nothing = {sphere(1, 1, 2, 0, 0), sphere(1, 1, 1, 0, 0, 1)};
  for (const int n : {0, 2}) {
    EXPECT_EQ(vx_CalcShapeMultipoles(n, nothing.data(), values, center, rotation), 0);
    EXPECT_EQ(vx_CalcShapeInertialFrame(n, nothing.data(), rotation, center), 0);
    EXPECT_THAT(rotation, Each(0));
    EXPECT_THAT(center, Each(0));
  }
  vx_CalcInFrameShapeQuadrapoles(0, nullptr, nullptr, center);
  EXPECT_EQ(vx_CalcInFrameShapeOctopoles(0, nullptr, nullptr, rotation), 1);
  EXPECT_TRUE(std::isnan(center[0]) && std::isnan(center[2]) && std::isnan(rotation[2]));
  const Shape flat = {sphere(1, 1, 0, -5, 0.001f), sphere(1, 1, 0, 5, 0), sphere(1, 1, 1, 0, 0)};
  EXPECT_EQ(vx_CalcShapeInertialFrame(3, flat.data(), rotation, center), 1);
  EXPECT_THAT(rotation, ElementsAreArray(kIdentity)) << "counts as diagonal, not sorted";
}

TEST(ShapeMultipoles, OfMolecules) {
  Gaussian gaussian;
  VXGraphMol given = helix(7);
  float plain[14], values[14], rotation[9], center[3], turned[3], coords[30], before[30];
  std::vector<float> volumes;
  for (const char* level : {"atoms", "bonds", "full"}) {
    SCOPED_TRACE(level);
    VXGraphMol mol(given), heavy(given);
    VXSuppressHydrogens(heavy);
    EXPECT_EQ(gaussian.vx_calculate_shape_multipoles(mol, level, plain), 1);
    volumes.push_back(plain[0]);
    gaussian.vx_calculate_shape_multipoles_with_hydrogens(heavy, level, values);
    EXPECT_THAT(values, ElementsAreArray(plain));
    gaussian.vx_calculate_shape_multipoles_with_hydrogens(mol, level, values);
    EXPECT_GT(values[0], plain[0] + 1);

    const auto measure = [&](float* to) {
      return gaussian.vx_calculate_shape_multipoles_and_inertial_frame(mol, level, values, rotation, to);
    };
    EXPECT_TRUE(measure(nullptr) == 0 && measure(center) == 1);
    EXPECT_EQ(gaussian.vx_transform_to_inertial_frame_using_shape_multipoles(mol, level), 1);
    apply(rotation, center, center, turned);
    measure(center);
    EXPECT_THAT(values, Pointwise(FloatNear(1e-3f), plain));
    EXPECT_THAT(rotation, Pointwise(FloatNear(1e-4f), kIdentity));
    EXPECT_THAT(center, Pointwise(FloatNear(1e-4f), turned)) << "turned, then shifted by the first centre";
  }
  gaussian.vx_calculate_volume_no_hydrogens(given, values);
  EXPECT_TRUE(volumes[1] < volumes[0] - 10 && volumes[2] == values[0]) << "overlaps are taken off";
  given.GetCoords(before);
  EXPECT_EQ(gaussian.vx_calculate_shape_multipoles(given, "Atoms", values), 0);
  EXPECT_EQ(gaussian.vx_transform_to_inertial_frame_using_shape_multipoles(given, nullptr), 0);
  given.GetCoords(coords);
  EXPECT_THAT(coords, ElementsAreArray(before)) << "stays where it was";
}
