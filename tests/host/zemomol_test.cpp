#include <cmath>
#include <limits>
#include <random>

#include <vxgrid/host/zemomol.h>

#include "support/support.h"

using testing::ElementsAre;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// |a b - expected| over 3x3 matrices, b transposed if asked for.
double product_error(const float* a, const float* b, bool transposed, const float* expected) {
  double worst = 0;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      double sum = -expected[3 * i + j];
      for (int k = 0; k < 3; ++k) sum += double(a[3 * i + k]) * (transposed ? b[3 * j + k] : b[3 * k + j]);
      worst = std::max(worst, std::fabs(sum));
    }
  return worst;
}

constexpr float kUnit[] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

}  // namespace

TEST(ZemoMol, NearestInteger) {
  const struct {
    float x;
    int n;
  } rows[] = {{0.5f, 1},
              {-0.5f, -1},
              {1.5f, 2},
              {2.4999f, 2},
              {0.49999997f, 0},
              {-7.6f, -8},
              {kNaN, 0},
              {1e20f, 2147483647},
              {-1e20f, -2147483647 - 1},
              {8388609.0f, 8388609}};
  for (const auto& row : rows) EXPECT_EQ(vi_nint(row.x), row.n) << row.x;
  EXPECT_TRUE(vi_IsZero(-9e-6f));
  EXPECT_FALSE(vi_IsZero(1.1e-5f));
  EXPECT_FALSE(vi_IsZero(kNaN));
}

// A v = lambda v for random symmetric matrices; equal, zero and hugely different eigenvalues among them.
TEST(ZemoMol, EigenvectorsAreEigenvectors) {
  std::mt19937 random(7);
  std::normal_distribution<float> value;
  for (int run = 0; run < 500; ++run) {
    float a[9], at[9], roots[3], rotation[9];
    for (int i = 0; i < 3; ++i)
      for (int j = i; j < 3; ++j)
        a[3 * i + j] = a[3 * j + i] =
            run % 5 == 0 ? (i == j ? 2.0f : 0.0f)
                         : value(random) * (run % 5 == 1 ? static_cast<float>(i) * 1e4f : 1.0f);
    std::copy(a, a + 9, at);
    get_roots_3(at, roots);
    EXPECT_TRUE(roots[0] >= roots[1] && roots[1] >= roots[2]);
    const double size = std::max({std::fabs(roots[0]), std::fabs(roots[2]), 1e-3f});
    float scaled[9];
    for (int i = 0; i < 9; ++i) scaled[i] = at[i] * roots[i % 3];
    EXPECT_LT(product_error(a, at, false, scaled), 1e-6 * size);
    EXPECT_LT(product_error(at, at, true, kUnit), 1e-6);

    float* rows[] = {a, a + 3, a + 6};
    float v[9], values[3];
    float* vectors[] = {v, v + 3, v + 6};
    eigen_solve_3_by_3(rows, values, vectors);
    vx_make_rmat2(a, rotation, 0);
    for (int i = 0; i < 9; ++i) {
      EXPECT_EQ(v[i], at[3 * (i % 3) + i / 3]);
      EXPECT_EQ(v[i], rotation[i]);
    }

    // The frame is right-handed, so it survives the way through a quaternion.
    float q[4], again[9];
    vx_rotation_matrix_to_quaternions(rotation, q);
    vx_quaternions_to_rotation_matrix(q, again);
    EXPECT_GE(q[0], 0);
    for (int i = 0; i < 9; ++i) EXPECT_NEAR(again[i], rotation[i], 1e-6);
  }
  float bad[] = {kNaN, 0, 0, 0, 1, 0, 0, 0, 1}, roots[3];
  get_roots_3(bad, roots);
  EXPECT_THAT(bad, testing::ElementsAreArray(kUnit));
  EXPECT_THAT(roots, ElementsAre(0, 0, 0));
}

TEST(ZemoMol, Quaternions) {
  const float half = std::sqrt(0.5f);
  const float about_z[] = {2 * half, 0, 0, 2 * half};  // 90 degrees, not normalised
  float m[9];
  vx_quaternions_to_rotation_matrix(about_z, m);
  const float expected[] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(m[i], expected[i], 1e-7);
  const float half_turns[3][9] = {
      {1, 0, 0, 0, -1, 0, 0, 0, -1}, {-1, 0, 0, 0, 1, 0, 0, 0, -1}, {-1, 0, 0, 0, -1, 0, 0, 0, 1}};
  for (int axis = 0; axis < 3; ++axis) {
    float q[4];
    vx_rotation_matrix_to_quaternions(half_turns[axis], q);
    EXPECT_EQ(std::fabs(q[1 + axis]), 1);
    EXPECT_EQ(q[0], 0);
  }
  const float none[4] = {0, 0, 0, 0};
  vx_quaternions_to_rotation_matrix(none, m);
  EXPECT_THAT(m, testing::ElementsAreArray(kUnit));
}

TEST(ZemoMol, NumbersInText) {
  const struct {
    const char* text;
    int count;
  } rows[] = {{"", 0},    {"   \n", 0},  {"9", 1},         {" 1 2 -3 ", 3},     {"1.5E+01-2.0E+00", 2},
              {"ZYX", 0}, {"- . e5", 0}, {".5 5. +7e", 3}, {"  40 REMARK 3", 2}};
  for (const auto& row : rows) EXPECT_EQ(vx_number_of_numbers_in_a_string(row.text), row.count) << row.text;
  EXPECT_EQ(vx_end_position_of_number_in_string("  1.5E+01-2.0", 0), 9);
  EXPECT_EQ(vx_end_position_of_number_in_string("  1.5E+01-2.0", 9), 13);
  EXPECT_EQ(vx_end_position_of_number_in_string("abc", 1), 1);
  EXPECT_EQ(vx_end_position_of_number_in_string("5   ", 1), 1);
}

TEST(ZemoMol, ReportsWithoutLineEnd) {
  CapturedLog log;
  vi_warning_print("minimum x of points is greater than original grid\n");
  vi_warning("%d atoms", 3);
  vx_printf(0, "done\n");
  vx_printf(2, "hidden");
  EXPECT_EQ(log.text(),
            "Warning: minimum x of points is greater than original grid\nWarning: 3 atoms\ndone\n");
  EXPECT_EQ(vi_fopen(nullptr, "rb"), nullptr);
  EXPECT_EQ(vi_fclose(nullptr), EOF);
}
