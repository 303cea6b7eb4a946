#include <climits>
#include <cmath>
#include <random>

#include <vxgrid/host/zemomol.h>

#include "support/support.h"

using testing::ElementsAre;

static constexpr float kUnit[] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

TEST(ZemoMol, NearestInteger) {
  const std::pair<float, int> rows[] = {{0.5f, 1},        {-0.5f, -1},       {1.5f, 2},
                                        {2.4999f, 2},     {0.49999997f, 0},  {8388609.0f, 8388609},
                                        {1e20f, INT_MAX}, {-1e20f, INT_MIN}, {NAN, 0}};
  for (const auto& [x, n] : rows) EXPECT_EQ(vi_nint(x), n) << x;
  EXPECT_TRUE(vi_IsZero(-9e-6f));
  EXPECT_FALSE(vi_IsZero(1.1e-5f));
  EXPECT_FALSE(vi_IsZero(NAN));
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
    for (int i = 0; i < 9; ++i) {
      double error = -double(at[i]) * roots[i % 3];
      for (int k = 0; k < 3; ++k) error += double(a[i / 3 * 3 + k]) * at[3 * k + i % 3];
      EXPECT_NEAR(error, 0, 1e-6 * size);
    }

    float* rows[] = {a, a + 3, a + 6};
    float v[9], values[3];
    float* vectors[] = {v, v + 3, v + 6};
    eigen_solve_3_by_3(rows, values, vectors);
    vx_make_rmat2(a, rotation, 0);
    for (int i = 0; i < 9; ++i) {
      EXPECT_EQ(v[i], at[3 * (i % 3) + i / 3]);
      EXPECT_EQ(v[i], rotation[i]);
    }

    // The frame is orthonormal and right-handed, so it survives the way through a quaternion.
    float q[4], again[9];
    vx_rotation_matrix_to_quaternions(rotation, q);
    vx_quaternions_to_rotation_matrix(q, again);
    EXPECT_GE(q[0], 0);
    for (int i = 0; i < 9; ++i) EXPECT_NEAR(again[i], rotation[i], 1e-6);
  }
  float bad[] = {NAN, 0, 0, 0, 1, 0, 0, 0, 1}, roots[3];
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
  for (int axis = 0; axis < 3; ++axis) {
    float half_turn[9] = {-1, 0, 0, 0, -1, 0, 0, 0, -1}, q[4];
    half_turn[4 * axis] = 1;
    vx_rotation_matrix_to_quaternions(half_turn, q);
    EXPECT_EQ(std::fabs(q[1 + axis]), 1);
    EXPECT_EQ(q[0], 0);
  }
  const float none[4] = {0, 0, 0, 0};
  vx_quaternions_to_rotation_matrix(none, m);
  EXPECT_THAT(m, testing::ElementsAreArray(kUnit));
}

TEST(ZemoMol, NumbersInText) {
  const std::pair<const char*, int> rows[] = {{"", 0},         {"   \n", 0},           {"9", 1},
                                              {" 1 2 -3 ", 3}, {"1.5E+01-2.0E+00", 2}, {"ZYX", 0},
                                              {"- . e5", 0},   {".5 5. +7e", 3},       {"  40 REMARK 3", 2}};
  for (const auto& [text, count] : rows) EXPECT_EQ(vx_number_of_numbers_in_a_string(text), count) << text;
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
