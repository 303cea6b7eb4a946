#include <vxgrid/xtal/symmetry.h>

#include <array>
#include <cmath>

#include <support/support.h>

using namespace VXCore;
using namespace VXCore::VXXtal;

namespace {

constexpr char kConstraint[] = "The specified cell does not meet the constraints for the given spacegroup";

TEST(Symmetry, ConstructionSaysWhatIsWrong) {
  const std::string warning = "Warning: " + std::string(kConstraint) + "\n";
  const char* c_unique = "Monoclinic cell in nonstandard C-unique setting";
  const char* a_unique = "Monoclinic cell in nonstandard A-unique setting";
  // Number, cell, what is logged, what GetError tells.
  const std::tuple<unsigned int, std::array<float, 6>, std::string, const char*> rows[] = {
      {1, {1, 2, 3, 40, 50, 60}, "", ""},
      {4, {10, 20, 30, 90, 100, 90}, "", ""},
      {4, {10, 20, 30, 90, 90, 100}, "", c_unique},  // GetError alone tells of these two
      {4, {10, 20, 30, 100, 90, 90}, "", a_unique},
      {4, {10, 20, 30, 100, 100, 90}, "Warning: \n", ""},  // a warning without a text
      {4, {10, 20, 30, 100, 90, 100}, "Warning: \n", ""},
      {19, {10, 20, 30, 90, 90, 90}, "", ""},
      {19, {10, 20, 30, 90, 90, 90.001f}, warning, kConstraint},
      {96, {10, 10.004f, 30, 90, 90, 90}, "", ""},
      {96, {10, 10.006f, 30, 90, 90, 90}, warning, kConstraint},
      {152, {10, 10, 30, 90, 90, 120}, "", ""},
      {179, {10, 10, 30, 90, 90, 119.99f}, warning, kConstraint},
      {179, {10, 11, 30, 90, 90, 120}, warning, kConstraint},
      {1146, {10, 10, 10, 80, 80, 80}, warning, kConstraint},  // rhombohedral axes never pass
      {197, {10, 10, 10, 90, 90, 90}, "", ""},
      {197, {10, 10, 10.01f, 90, 90, 90}, warning, kConstraint},
  };
  for (const auto& [number, cell, text, error] : rows) {
    SCOPED_TRACE(testing::Message() << number << " " << cell[1] << " " << cell[5]);
    CapturedLog log;
    const VXSymmetry symmetry(number, VXUnitCell(cell.data()));
    EXPECT_TRUE(symmetry) << "is built in any case";
    EXPECT_EQ(symmetry.GetNumber(), number);
    EXPECT_EQ(log.text(), text);
    EXPECT_EQ(symmetry.GetError(), error);
    EXPECT_EQ(symmetry.HasWarnings(), *error != '\0');
  }
}

TEST(Symmetry, EmptyAndFailedObjects) {
  CapturedLog log;
  const VXSymmetry failed(999u, VXUnitCell(10, 10, 10, 90, 90, 90));
  EXPECT_EQ(log.text(), "Error: " + failed.GetError() + "\n");
  EXPECT_EQ(failed.GetError(), "Unknown spacegroup number");
  EXPECT_FALSE(failed.cell().isValid() || VXSymmetry().HasWarnings()) << "the cell remains unset";
  for (const VXSymmetry& symmetry : {failed, VXSymmetry()}) {
    float xyz[3] = {1, 2, 3}, matrix[16];
    EXPECT_TRUE(!symmetry && symmetry.GetName() == "");
    EXPECT_FALSE(symmetry.CartesianToFractional(xyz, 1, 0, true) ||
                 symmetry.FractionalToCartesian(xyz, 1, 0, true) ||
                 symmetry.GetImpl()->GetMatrix(matrix, 0, 0, 0, 0, nullptr));
    EXPECT_THAT(xyz, testing::ElementsAre(1, 2, 3));
  }
}

TEST(Symmetry, NamesFitTheirField) {
  const VXUnitCell cell(10, 20, 30, 90, 90, 90);
  EXPECT_EQ(VXSymmetry(62u, cell).GetName(), "Pnma");
  EXPECT_EQ(VXSymmetry(14u, cell).GetName(), "P 1 21/c 1") << "ten characters still fit";
  EXPECT_EQ(VXSymmetry(1010u, cell).GetName(), "P 1 1 2/m");
}

TEST(Symmetry, CopiesAreDeep) {
  VXSymmetry original(19u, VXUnitCell(10, 20, 30, 90, 90, 90)), copy(original), assigned;
  assigned = original;
  EXPECT_FALSE(original.SetEnabled({true, false, true})) << "three flags for four operators";
  EXPECT_TRUE(original.SetEnabled({true, false, true, true}));
  original.cell().a = 99;
  for (const VXSymmetry* other : {&copy, &assigned}) {
    std::vector<bool> flags;
    EXPECT_TRUE(other->GetEnabled(flags) && flags == std::vector<bool>(4, true) && other->cell().a == 10);
    EXPECT_EQ(other->GetMatrices(), original.GetMatrices()) << "operators are shared";
  }
}

class Conversions : public testing::Test {
 protected:
  const VXSymmetry symmetry{152u, VXUnitCell(50, 50, 80, 90, 90, 120)};  // P 31 2 1
  const std::vector<float> points = {1, 2, 3, -40, 7.5f, 200, 33, -61, -0.5f};
};

TEST_F(Conversions, ThereAndBack) {
  std::vector<float> xyz = points;
  ASSERT_TRUE(symmetry.CartesianToFractional(xyz.data(), 3, 0, false));
  EXPECT_NEAR(xyz[3], (-40 + 7.5 / std::sqrt(3.0)) / 50, 1e-6);  // x + y / tan(60 degrees), by the edge
  EXPECT_NEAR(xyz[5], 2.5, 1e-6);
  ASSERT_TRUE(symmetry.FractionalToCartesian(xyz.data(), 3, 0, false));
  for (std::size_t i = 0; i < xyz.size(); ++i) EXPECT_NEAR(xyz[i], points[i], 4e-5);

  EXPECT_FALSE(symmetry.CartesianToFractional(xyz.data(), 3, 6, false) ||
               symmetry.FractionalToCartesian(xyz.data(), 3, 6, false))
      << "one past the last operator";
  EXPECT_TRUE(symmetry.CartesianToFractional(nullptr, 0, 0, true));
}

TEST_F(Conversions, OperatorsActOnFractions) {
  // Operator 1 of P 31 2 1 is -y, x-y, z+1/3.
  std::vector<float> frac = points, image = points;
  symmetry.CartesianToFractional(frac.data(), 3, 0, false);
  symmetry.CartesianToFractional(image.data(), 3, 1, true);
  for (std::size_t i = 0; i < frac.size(); i += 3) {
    const float expected[3] = {-frac[i + 1], frac[i] - frac[i + 1], frac[i + 2] + 1 / 3.0f};
    for (int axis = 0; axis < 3; ++axis) {
      EXPECT_NEAR(image[i + axis], expected[axis] - std::floor(expected[axis]), 2e-6);
      EXPECT_TRUE(image[i + axis] >= 0 && image[i + axis] < 1);
    }
  }
  // In the other direction the operator meets Cartesian numbers: not the position of the mate, and meant.
  float cart[3] = {0.5f, 0.25f, 0.125f}, plain[3] = {0.5f, 0.25f, 0.125f};
  symmetry.FractionalToCartesian(plain, 1, 0, false);
  symmetry.FractionalToCartesian(cart, 1, 1, false);
  const float mate[3] = {-plain[1], plain[0] - plain[1], plain[2] + 1 / 3.0f};
  EXPECT_THAT(cart, testing::Pointwise(testing::FloatNear(1e-5f), mate));

  float wrapped[3] = {-0.75f, 2.25f, -1}, inside[3] = {0.25f, 0.25f, 0};
  symmetry.FractionalToCartesian(wrapped, 1, 0, true);  // wraps before the matrix
  symmetry.FractionalToCartesian(inside, 1, 0, false);
  EXPECT_THAT(wrapped, testing::ElementsAreArray(inside));
}

TEST_F(Conversions, ImageMatrices) {
  const VXSymmetryImpl& impl = *symmetry.GetImpl();
  float m[16];
  ASSERT_TRUE(impl.GetMatrix(m, 0, 0, 0, 0, nullptr));
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(m[i], i % 5 == 0, 1e-5) << i;
  EXPECT_FALSE(impl.GetMatrix(m, 6, 0, 0, 0, nullptr));

  const float center[3] = {-333, 58, 1017};
  for (unsigned int op = 0; op < 6; ++op) {
    SCOPED_TRACE(op);
    ASSERT_TRUE(impl.GetMatrix(m, op, 2, -1, 3, center));
    float image[3] = {center[0], center[1], center[2]}, other[3] = {center[0] + 3, center[1] - 4, center[2]};
    transform_coord(m, image);
    transform_coord(m, other);
    EXPECT_NEAR(std::hypot(image[0] - other[0], image[1] - other[1], image[2] - other[2]), 5, 1e-3);
    symmetry.CartesianToFractional(image, 1, 0, false);
    for (int axis = 0; axis < 3; ++axis)  // the home cell of the center, then the translation
      EXPECT_EQ(std::floor(image[axis]), (std::array<float, 3>{2, -1, 3}[axis])) << axis;
  }
}

// Numbers without end neither trap nor loop.
TEST_F(Conversions, WildNumbersStayHarmless) {
  for (const float v : {INFINITY, -INFINITY, NAN, 3e38f, -3e38f}) {
    float xyz[3] = {v, v, v}, center[3] = {v, v, v}, m[16];
    EXPECT_TRUE(symmetry.CartesianToFractional(xyz, 1, 3, true));
    EXPECT_TRUE(symmetry.GetImpl()->GetMatrix(m, 3, 2147483647, -2147483647 - 1, 0, center));
    CapturedLog log;
    EXPECT_TRUE(VXSymmetry(96u, VXUnitCell(v, v, v, v, v, v)));
  }
}

}  // namespace
