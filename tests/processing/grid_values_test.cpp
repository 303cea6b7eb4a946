#include <vxgrid/processing/grid_values.h>

#include <cmath>

#include <vxgrid/grid/skewgrid.h>

#include "support/support.h"

using namespace VXCore;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

VXScalarGrid grid_of(const std::vector<float>& values) {
  return VXScalarGrid(static_cast<int>(values.size()), 1, 1, 0, 0, 0, 1, "", values.data());
}

std::vector<float> values_of(const VXScalarGrid& grid) {
  return {grid.GetValues(), grid.GetValues() + grid.GetSize()};
}

}  // namespace

TEST(SigmaNormalize, DividesBySigmaOnce) {
  const double root = std::sqrt(5.0 / 3);  // sample standard deviation of 1, 2, 3, 4
  const struct {
    const char* what;
    std::vector<float> values;
    float arms;
    float sigma;
    float first;
  } rows[] = {
      {"own deviation", {1, 2, 3, 4}, 0, static_cast<float>(root), static_cast<float>(1 / root)},
      {"the file's figure", {1, 2, 3, 4}, 2, 2, 0.5f},
      {"deviation of exactly 1", {3, 4, 5}, 0, 1, 3},
      {"one element", {7}, 0, 1, 7},
      {"one element, the file's figure", {7}, 2, 2, 3.5f},
      {"constant", {5, 5, 5}, 0, 0, INFINITY},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    VXScalarGrid grid = grid_of(row.values);
    if (row.arms > 0) grid.SetData<float>(ARMS, row.arms);
    VXSkewGrid skew(grid);
    EXPECT_FLOAT_EQ(VXSigmaNormalizeGrid(grid), row.sigma);
    EXPECT_FLOAT_EQ(grid[0], row.first);
    EXPECT_TRUE(grid.GetData<bool>("vx_no_norm"));
    EXPECT_FLOAT_EQ(grid.GetData<float>("SIGMA"), row.sigma);

    const std::vector<float> once = values_of(grid);
    CapturedLog log;
    EXPECT_FLOAT_EQ(VXSigmaNormalizeGrid(grid), row.sigma);
    EXPECT_EQ(log.text(),
              "Warning: VXSigmaNormalizeGrid: grid has been previously normalized, skipping...\n");
    EXPECT_EQ(values_of(grid), once);

    EXPECT_FLOAT_EQ(VXSigmaNormalizeGrid(skew), row.sigma);
    EXPECT_FLOAT_EQ(skew.GetData<float>(SIGMA), row.sigma);
    EXPECT_TRUE(skew.GetImpl().GetImpl().GetData<bool>(ALREADY_NORMALIZED));
    if (row.values.size() > 1) {
      EXPECT_FLOAT_EQ(skew.GetValues()[0], row.first);
    }
  }
}

// The two sums keep their order and precision: values where float squares or another order would show.
TEST(SigmaNormalize, SumsAsThePlainLoop) {
  std::vector<float> values(100000);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = 1000 + std::sin(static_cast<float>(i)) * 3.7f;
  double sum = 0, squares = 0;
  for (const float v : values) {
    const float square = v * v;
    sum += static_cast<double>(v);
    squares += static_cast<double>(square);
  }
  const double n = static_cast<double>(values.size());
  VXScalarGrid grid = grid_of(values);
  EXPECT_EQ(VXSigmaNormalizeGrid(grid), static_cast<float>(std::sqrt((squares - sum * sum / n) / (n - 1))));
}

TEST(SigmaNormalize, SkewGridAsksItsInnerGrid) {
  VXSkewGrid skew(grid_of({1, 2, 3, 4}));
  skew.SetData<float>(ARMS, 8);
  skew.GetImpl().GetImpl().SetData<float>(ARMS, 4);
  EXPECT_EQ(VXSigmaNormalizeGrid(skew), 4);
  EXPECT_EQ(skew.GetValues()[3], 1);
  EXPECT_EQ(skew.GetData<float>(SIGMA), 4);
}

TEST(GridValues, Masks) {
  const float mask[4] = {0, 0.5f, 2, NAN}, e = std::exp(-1.0f), q = std::exp(-0.25f);
  const struct {
    unsigned kind;
    bool result;
    float at[3];
  } rows[] = {{4, true, {10, 10, 0}},          {5, true, {0, 10, 10}},
              {6, true, {10, 10 * q, 10 * e}}, {7, true, {0, 10 * (1 - q), 10 * (1 - e)}},
              {3, false, {10, 10, 10}},        {8, false, {10, 10, 10}}};
  for (const auto& row : rows) {
    float values[4] = {10, 10, 10, 10};
    EXPECT_EQ(VXMaskGridValues(values, mask, 4, row.kind), row.result);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(values[i], row.at[i]) << row.kind;
    EXPECT_EQ(VXMaskGridValues(values, mask, 0, row.kind), true) << "nothing to mask";
  }
}

TEST(GridValues, HasNonZeroValue) {
  const struct {
    std::vector<float> values;
    bool expected;
  } rows[] = {{{0, 0, 0}, false}, {{0, 0, -1e-30f}, true}, {{NAN, -0.0f, 0}, false}, {{NAN, 0, 1}, true}};
  for (const auto& row : rows) {
    const VXScalarGrid grid = grid_of(row.values);
    EXPECT_EQ(VXGridHasNonZeroValue(grid), row.expected);
    EXPECT_EQ(VXGridHasNonZeroValue(VXSkewGrid(grid)), row.expected);
    EXPECT_EQ(VXGridHasNonZeroValue(VXZemoGrid(grid)), row.expected);
  }
  EXPECT_FALSE(VXGridHasNonZeroValue(VXZemoGrid()));
}

TEST(GridValues, ClearsTheBoundary) {
  const std::vector<float> ones(4 * 3 * 5, 1);
  VXScalarGrid grid(4, 3, 5, 0, 0, 0, 1, "", ones.data()), flat(4, 1, 5, 0, 0, 0, 1, "", ones.data());
  EXPECT_TRUE(VXClearGridBoundary(grid));
  for (unsigned i = 0; i < 60; ++i) {
    const unsigned x = i % 4, y = i / 4 % 3, z = i / 12;
    EXPECT_EQ(grid[i], x > 0 && x < 3 && y == 1 && z > 0 && z < 4);
  }
  VXClearGridBoundary(flat);
  EXPECT_THAT(values_of(flat), Each(0));

  VXZemoGrid fields(VXScalarGrid(3, 3, 3, 0, 0, 0, 1, "", ones.data()));
  fields.SetFloatsMultiple(2);
  std::copy(ones.begin(), ones.begin() + 27, fields.CurrentFloats().GetValues());
  VXSkewGrid skew;
  skew.GetImpl().GetImpl() = fields;
  EXPECT_TRUE(VXClearGridBoundary(skew));
  EXPECT_EQ(skew.GetValues()[0], 1) << "only the current field";
  EXPECT_EQ(skew.GetImpl().GetImpl().CurrentFloats()[0], 0);
  EXPECT_EQ(skew.GetImpl().GetImpl().CurrentFloats()[13], 1);
}

TEST(GridValues, InterpolatesBetweenGrids) {
  VXScalarGrid source(5, 5, 5, 0, 0, 0, 1, "source", nullptr);
  for (unsigned i = 0; i < 125; ++i) source[i] = static_cast<float>(i % 5) - 2;  // x
  source.SetType(4);
  source.SetData<int>("of source", 1);
  VXScalarGrid target(4, 3, 3, 1.75f, 0, 0, 0.5f, "target", nullptr), far(2, 2, 2, 50, 0, 0, 1, "", nullptr);
  std::fill_n(target.GetValues(), 36, 9.0f);
  target.SetData<int>("of target", 2);
  VXZemoGrid inner_target(target);
  EXPECT_TRUE(VXInterpolateBetweenGrids(target, source));
  EXPECT_THAT(std::vector<float>(target.GetValues(), target.GetValues() + 4), ElementsAre(1, 1.5f, 9, 9));
  EXPECT_EQ(target.GetType(), 4u);
  EXPECT_EQ(target.GetTitle(), "target");
  EXPECT_EQ(target.GetData<int>("of source") + target.GetData<int>("of target"), 3);

  far[0] = 3;
  EXPECT_TRUE(VXInterpolateBetweenGrids(far, source));
  EXPECT_EQ(far[0], 3);
  EXPECT_TRUE(far.HasData("of source"));

  EXPECT_TRUE(VXInterpolateBetweenGrids(inner_target, VXZemoGrid(source)));
  EXPECT_EQ(inner_target.GetValues()[1], 1.5f);
  VXZemoGrid unset;
  unset.SetData<int>("of unset", 1);
  EXPECT_FALSE(VXInterpolateBetweenGrids(inner_target, unset));
  EXPECT_FALSE(inner_target.HasData("of unset"));
  EXPECT_TRUE(VXInterpolateBetweenGrids(far, VXScalarGrid()));
}
