#include <vxgrid/processing/grid_values.h>

#include <cmath>
#include <tuple>

#include <vxgrid/grid/skewgrid.h>

#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;

namespace {

VXScalarGrid grid_of(const std::vector<float>& values) {
  return VXScalarGrid(static_cast<int>(values.size()), 1, 1, 0, 0, 0, 1, "", values.data());
}

}  // namespace

TEST(SigmaNormalize, DividesBySigmaOnce) {
  // Values, the file's own figure (0: none), sigma, and what the first value becomes. The standard deviation
  // of 1, 2, 3, 4 is sqrt(5/3).
  const std::tuple<std::vector<float>, float, float, float> rows[] = {
      {{1, 2, 3, 4}, 0, std::sqrt(5.0f / 3), std::sqrt(0.6f)},
      {{1, 2, 3, 4}, 2, 2, 0.5f},
      {{3, 4, 5}, 0, 1, 3},
      {{7}, 0, 1, 7},
      {{7}, 2, 2, 3.5f},
      {{5, 5, 5}, 0, 0, INFINITY}};
  for (const auto& [values, arms, sigma, first] : rows) {
    VXScalarGrid grid = grid_of(values);
    if (arms > 0) grid.SetData<float>(ARMS, arms);
    VXSkewGrid skew(grid);
    CapturedLog log;
    for (int time = 0; time < 2; ++time) {  // the second time changes nothing
      EXPECT_FLOAT_EQ(VXSigmaNormalizeGrid(grid), sigma);
      EXPECT_FLOAT_EQ(grid[0], first);
    }
    EXPECT_TRUE(grid.GetData<bool>("vx_no_norm"));
    EXPECT_EQ(log.text(),
              "Warning: VXSigmaNormalizeGrid: grid has been previously normalized, skipping...\n");

    skew.SetData<float>(ARMS, 99);  // the inner grid's attributes count
    EXPECT_FLOAT_EQ(VXSigmaNormalizeGrid(skew), sigma);
    EXPECT_FLOAT_EQ(skew.GetData<float>(SIGMA), sigma);
    EXPECT_TRUE(skew.GetImpl().GetImpl().GetData<bool>(ALREADY_NORMALIZED));
  }
}

// The two sums keep their order and precision: values where squares in double or another order would show.
TEST(SigmaNormalize, SumsAsThePlainLoop) {
  std::vector<float> values(100000);
  double sum = 0, squares = 0, n = 0;
  for (float& v : values) {
    v = 1000 + std::sin(static_cast<float>(n++)) * 3.7f;
    sum += double{v};
    squares += double{v * v};  // squares are floats
  }
  VXScalarGrid grid = grid_of(values);
  EXPECT_EQ(VXSigmaNormalizeGrid(grid), static_cast<float>(std::sqrt((squares - sum * sum / n) / (n - 1))));
}

TEST(GridValues, HasNonZeroValue) {
  const std::tuple<std::vector<float>, bool> rows[] = {
      {{0, 0, 0}, false}, {{0, 0, -1e-30f}, true}, {{NAN, -0.0f, 0}, false}, {{NAN, 0, 1}, true}};
  for (const auto& [values, expected] : rows)
    for (const bool result :
         {VXGridHasNonZeroValue(grid_of(values)), VXGridHasNonZeroValue(VXSkewGrid(grid_of(values)))})
      EXPECT_EQ(result, expected);
  EXPECT_FALSE(VXGridHasNonZeroValue(VXZemoGrid()));
}

TEST(GridValues, ClearsTheBoundaryOfTheCurrentField) {
  const std::vector<float> ones(27, 1);
  VXScalarGrid grid(3, 3, 3, 0, 0, 0, 1, "", ones.data());
  VXSkewGrid skew(grid);
  VXZemoGrid& inner = skew.GetImpl().GetImpl();
  inner.SetFloatsMultiple(2);
  std::copy(ones.begin(), ones.end(), inner.CurrentFloats().GetValues());
  EXPECT_TRUE(VXClearGridBoundary(grid) && VXClearGridBoundary(skew));
  for (const float* v : {grid.GetValues(), inner.CurrentFloats().GetValues()})
    EXPECT_TRUE(std::count(v, v + 27, 0.0f) == 26 && v[13] == 1);
  EXPECT_EQ(skew.GetValues()[0], 1);
}

TEST(GridValues, InterpolatesBetweenGrids) {
  VXScalarGrid source(5, 5, 5, 0, 0, 0, 1, "source", nullptr),
      target(4, 3, 3, 1.75f, 0, 0, 0.5f, "target", nullptr);
  for (unsigned i = 0; i < 125; ++i) source[i] = static_cast<float>(i % 5) - 2;  // x
  source.SetType(4);
  source.SetData<int>("of source", 1);
  std::fill_n(target.GetValues(), 36, 9.0f);
  target.SetData<int>("of target", 2);
  VXZemoGrid inner(target), unset;
  EXPECT_TRUE(VXInterpolateBetweenGrids(target, source));
  EXPECT_THAT(std::vector<float>(target.GetValues(), target.GetValues() + 4), ElementsAre(1, 1.5f, 9, 9));
  EXPECT_EQ(target.GetType(), 4u);
  EXPECT_EQ(target.GetTitle(), "target");
  EXPECT_EQ(target.GetData<int>("of source") + target.GetData<int>("of target"), 3);
  EXPECT_TRUE(VXInterpolateBetweenGrids(inner, VXZemoGrid(source)));
  EXPECT_EQ(inner.GetValues()[1], 1.5f);

  target.SetMid(50, 0, 0);
  EXPECT_TRUE(VXInterpolateBetweenGrids(target, source)) << "outside: only attributes are copied";
  EXPECT_EQ(target[0], 1);
  unset.SetData<int>("of unset", 1);
  EXPECT_FALSE(VXInterpolateBetweenGrids(inner, unset));
  EXPECT_FALSE(inner.HasData("of unset"));
  EXPECT_TRUE(VXInterpolateBetweenGrids(target, VXScalarGrid()));
}

TEST(GridValues, MasksBeyondTheLimitAlone) {
  const float limit = 0.5f;
  for (const unsigned kind : {4u, 5u}) {
    float value = 10;
    EXPECT_TRUE(VXMaskGridValues(&value, &limit, 1, kind) && value == 10);
  }
  EXPECT_TRUE(VXMaskGridValues(nullptr, nullptr, 0, 3)) << "nothing to mask";
}
