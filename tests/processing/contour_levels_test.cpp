#include <vxgrid/processing/contour_levels.h>

#include <cmath>
#include <random>

#include <vxgrid/grid/scalargrid.h>

#include "plain_contour_levels.h"
#include "support/support.h"

using namespace VXCore;

namespace {

using List = std::vector<float>;

VXScalarGrid grid_of(const List& values, int x = 0, int y = 1, int z = 1) {
  return VXScalarGrid(x ? x : static_cast<int>(values.size()), y, z, 0, 0, 0, 1, "", values.data());
}

List levels_of(const VXScalarGrid& grid, unsigned levels, bool descending, std::optional<float> limit,
               unsigned stride = 1) {
  VXIter<const float> walk(limit ? VXGetGridContourLevels(grid, levels, descending, *limit, stride)
                                 : VXGetGridContourLevels(grid, levels, descending, stride));
  List list;
  for (const float level : walk) list.push_back(level);
  return list;
}

}  // namespace

TEST(ContourLevels, AtTheEdges) {
  constexpr float nan = NAN, inf = INFINITY;
  constexpr std::nullopt_t none = std::nullopt;
  const List six{4, 2, 6, 1, 3, 5}, gaps{nan, 4, 2, -nan, 6, 1, 3, nan, 5};
  const std::tuple<List, unsigned, bool, std::optional<float>, List> rows[] = {
      {six, 3, false, none, {2, 2, 5}},
      {six, 3, true, none, {5, 5, 2}},
      {six, 3, false, 0.0f, {2, 1}},     // a limit before all values
      {six, 3, false, 4.0f, {2, 2, 3}},  // 4 is not below 4
      {six, 3, true, 2.5f, {5, 5, 3}},
      {six, 3, false, nan, {2, 1}},                      // nothing is below it
      {{-0.0f, 0.0f, -0.0f, 1}, 2, true, none, {0, 1}},  // both zeros are one run
      {{5, 5, 5}, 5, true, 5.0f, {5, 5}},
      {{-3}, 5, false, 1.0f, {-3, -3}},
      {{inf, -inf, 1, 2}, 2, false, none, {1, 2}},
      {gaps, 3, false, none, {2, 2, 5}},
      {List(800000, nan), 3, false, none, {}},
  };
  for (const auto& [values, levels, descending, limit, list] : rows)
    EXPECT_EQ(levels_of(grid_of(values), levels, descending, limit), list) << "row " << values.size();
  VXScalarGrid empty;
  empty.SetDim(0, 4, 4);
  EXPECT_EQ(levels_of(empty, 3, false, none), List());
}

// Grids that are sorted and one that is large enough to be counted; values that spread over many exponents,
// over one, over few distinct numbers, and over a flat background. What is no number, put in between, changes
// nothing.
TEST(ContourLevels, AreThoseOfASort) {
  std::mt19937 random(4);
  std::normal_distribution<float> normal;
  const std::function<float()> kinds[] = {
      [&] { return normal(random); },
      [&] { return 1.25f + 1e-5f * normal(random); },
      [&] { return 1e-45f * std::round(3 * normal(random)); },
      [&] { return random() % 10 ? (random() % 2 ? 0.0f : -0.0f) : std::exp(20 * normal(random)); },
  };
  const int dims[][3] = {{101, 103, 89}, {1, 29, 31}, {13, 1, 11}, {1, 1, 90}};
  for (const auto& dim : dims)
    for (const auto& kind : kinds) {
      List values(static_cast<size_t>(dim[0]) * dim[1] * dim[2]);
      for (float& value : values) value = kind();
      const VXScalarGrid grid = grid_of(values, dim[0], dim[1], dim[2]);
      const std::optional<float> limits[] = {std::nullopt, values[7], 0.5f, -1.0f, 1e30f};
      for (const float nan : {NAN, -NAN}) values.insert(values.begin() + 5, 100, nan);
      const VXScalarGrid with_gaps = grid_of(values);
      for (unsigned run = 0; run < 30; ++run) {
        if (values.size() > 10000 && random() % 6) continue;  // sorting takes its time
        const unsigned stride = run < 20 ? 0 : run % 3 + 1, levels = (run * 7 + 5) % 11;
        const auto limit = limits[run % 5];
        ASSERT_EQ(levels_of(stride < 2 ? with_gaps : grid, levels, run % 2, limit, stride),
                  plain_contour_levels(grid, levels, run % 2, limit, stride))
            << dim[0] << " columns, kind " << &kind - kinds << ", run " << run;
      }
    }
}

TEST(ContourLevels, AWalkGoesBothWays) {
  const std::unique_ptr<VXContourLevelIter> walk(VXGetGridContourLevels(grid_of({1, 2, 3, 4}), 2, false, 1));
  EXPECT_EQ(*++*walk, 3);
  EXPECT_FALSE(++*walk);
  EXPECT_EQ(*--*walk, 3);
  EXPECT_EQ(*--*walk, 2);
  EXPECT_FALSE(--*walk);
  EXPECT_EQ(*++*walk, 2);
}
