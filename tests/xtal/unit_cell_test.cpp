#include <vxgrid/xtal/unit_cell.h>

#include <cmath>

#include <support/support.h>

using namespace VXCore::VXXtal;

namespace {

double dot(const float* p, const float* q) {
  return static_cast<double>(p[0]) * q[0] + static_cast<double>(p[1]) * q[1] +
         static_cast<double>(p[2]) * q[2];
}

// The rows of frac2cart are the edges: their lengths, their angles and their box product are known, a lies
// along x and b in the xy plane.
TEST(UnitCell, MatricesHaveTheCellsGeometry) {
  const float cells[][6] = {{10, 20, 30, 90, 90, 90},
                            {71.45f, 71.45f, 104.204f, 90, 90, 120},
                            {63.1f, 50.17f, 111.07f, 90, 96.19f, 90},
                            {4.87f, 10.06f, 30.66f, 94.85f, 90.264f, 99.988f},
                            {11, 23, 37, 50, 75, 62},
                            {300, 2, 40, 130, 101, 80}};
  for (const float* six : cells) {
    SCOPED_TRACE(testing::PrintToString(std::vector<float>(six, six + 6)));
    const VXUnitCell cell(six);
    const float* f = cell.Frac2Cart();
    const float *a = f, *b = f + 4, *c = f + 8;
    for (int i = 0; i < 3; ++i) {
      const float *p = f + (4 * i + 4) % 12, *q = f + (4 * i + 8) % 12;
      EXPECT_NEAR(std::sqrt(dot(f + 4 * i, f + 4 * i)) / six[i], 1, 2e-7);
      EXPECT_NEAR(std::acos(dot(p, q) / std::sqrt(dot(p, p) * dot(q, q))) * 180 / M_PI, six[3 + i], 2e-4);
    }
    EXPECT_TRUE(a[1] == 0 && a[2] == 0 && b[2] == 0 && c[2] > 0);
    EXPECT_NEAR(cell.GetVolume() / (static_cast<double>(a[0]) * b[1] * c[2]), 1, 3e-7);

    // cart2frac is the inverse, both ways round; in units of the edges, as those differ by up to 150.
    float product[16];
    matmul(product, cell.cart2frac, cell.frac2cart);
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(product[i], i % 5 == 0, 2e-6) << i;
    matmul(product, cell.frac2cart, cell.cart2frac);
    for (int i = 0; i < 12; ++i)
      EXPECT_NEAR(product[i] * six[i / 4] / six[std::min(i % 4, 2)], i % 5 == 0, 2e-4) << i;
  }
}

TEST(UnitCell, RightAnglesKeepTheirRounding) {
  const VXUnitCell cell(10, 20, 30, 90, 90, 90);
  EXPECT_EQ(cell.GetVolume(), 6000.0f);
  EXPECT_TRUE(cell.frac2cart[4] != 0 && std::fabs(cell.frac2cart[4]) < 1e-12f) << "cos(90 degrees) in double";
}

TEST(UnitCell, InvalidCells) {
  const float rows[][6] = {{10, 10, 10, 90, 90, 180}, {-1, 10, 10, 90, 90, 90}, {10, 0, 10, 90, 90, 90},
                           {10, 10, 10, 0, 90, 90},   {10, 10, 10, 90, -5, 90}, {0, 0, 0, 0, 0, 0}};
  for (const float* six : rows) {
    const VXUnitCell cell(six);
    EXPECT_FALSE(cell.isValid());
    EXPECT_THAT(cell.frac2cart, testing::Each(0));
    EXPECT_THAT(cell.cart2frac, testing::Each(0));
    EXPECT_TRUE(cell.equalsCell(VXUnitCell(), 0)) << "all invalid cells are equal";
    EXPECT_FALSE(cell.equalsCell(VXUnitCell(10, 10, 10, 90, 90, 90), 1e6f));
  }
  EXPECT_TRUE(VXUnitCell(NAN, 10, 10, 90, 90, 90).isValid()) << "not-a-number is not rejected";
  EXPECT_TRUE(std::isnan(VXUnitCell(10, 10, 10, 90, NAN, 90).GetVolume()));
  EXPECT_TRUE(std::isnan(VXUnitCell(10, 10, 10, 20, 20, 90).GetVolume())) << "angles that close no cell";
}

TEST(UnitCell, EqualsCellHasOneToleranceForAll) {
  const VXUnitCell cell(10, 20, 30, 80, 85, 95);
  for (int i = 0; i < 6; ++i) {
    float six[] = {10, 20, 30, 80, 85, 95};
    six[i] += 0.25f;
    EXPECT_TRUE(cell.equalsCell(VXUnitCell(six), 0.25f) && !cell.equalsCell(VXUnitCell(six), 0.2f));
  }
  EXPECT_TRUE(cell.equalsCell(VXUnitCell(10, 20, 30, 80, 85, -95), 200)) << "an invalid other goes by number";
}

TEST(UnitCell, ProductsApplyTheSecondFactorFirst) {
  const float turn[16] = {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};  // x to y
  const float shift[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1};  // along x
  float product[16], p[3] = {1, 0, 0};
  matmul(product, shift, turn);
  transform_coord(product, p);
  EXPECT_THAT(p, testing::ElementsAre(5, 1, 0));
  float out[16];  // the result may take the place of a factor
  std::copy(turn, turn + 16, out);
  matmul(out, shift, out);
  EXPECT_TRUE(std::equal(out, out + 16, product));
}

TEST(UnitCell, FractionsWrapIntoTheCell) {
  const float rows[][2] = {{-1, 0},         {-0.25f, 0.75f}, {0, 0},      {1, 0},    {2.5f, 0.5f},
                           {-3.75f, 0.25f}, {-1e-12f, 0},    {-1e30f, 0}, {1e30f, 0}};
  for (const auto& row : rows) EXPECT_EQ(wrap_fraction(row[0]), row[1]) << row[0];
  EXPECT_TRUE(std::isnan(wrap_fraction(INFINITY)) && std::isnan(wrap_fraction(-INFINITY)) &&
              std::isnan(wrap_fraction(NAN)));
}

}  // namespace
