#include <vxgrid/processing/contour_levels.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include <vxgrid/grid/scalargrid.h>

#include "plain_contour_levels.h"
#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using List = std::vector<float>;

VXScalarGrid grid_of(const List& values, int x = 0, int y = 1, int z = 1) {
  return VXScalarGrid(x ? x : static_cast<int>(values.size()), y, z, 0, 0, 0, 1, "", values.data());
}

List levels_of(const VXScalarGrid& grid, unsigned levels, bool descending, std::optional<float> limit,
               unsigned stride = 1) {
  List list;
  for (const float level :
       VXIter<const float>(limit ? VXGetGridContourLevels(grid, levels, descending, *limit, stride)
                                 : VXGetGridContourLevels(grid, levels, descending, stride)))
    list.push_back(level);
  return list;
}

}  // namespace

TEST(ContourLevels, AtTheEdges) {
  constexpr float nan = NAN, inf = INFINITY;
  constexpr std::nullopt_t none = std::nullopt;
  const List six{4, 2, 6, 1, 3, 5};
  const struct {
    List values;
    unsigned levels;
    bool descending;
    std::optional<float> limit;
    List list;
  } rows[] = {
      {six, 3, false, none, {2, 2, 5}},
      {six, 3, true, none, {5, 5, 2}},
      {six, 2, false, none, {2, 5}},
      {six, 0, false, none, {2, 5}},
      {six, 3, false, 0.0f, {2, 1}},                                    // a limit before all values
      {six, 3, false, 4.5f, {2, 2, 4}},                                 // trunc(0.125 * 2 + 1.5) = 1
      {six, 3, false, 4.0f, {2, 2, 3}},                                 // 4 is not below 4
      {six, 3, true, 2.5f, {5, 5, 3}},                                  //
      {six, 3, false, 9.0f, {2, 2, 5}},                                 // beyond all: as without
      {six, 3, false, nan, {2, 1}},                                     // nothing is below it
      {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 4, false, none, {2, 2, 4, 9}},  // rank 2 + 0.5 + 2 is 4, one less
      {{0, 0, 0, 1, 2, 9, 9}, 5, false, none, {1, 1, 1, 1, 2}},
      {{-0.0f, 0.0f, -0.0f, 1}, 2, true, none, {0, 1}},  // both zeros are one run
      {{7, 8}, 5, false, none, {8, 7}},                  // lo above hi
      {{5, 5, 5}, 5, false, none, {5, 5}},
      {{5, 5, 5}, 5, true, 5.0f, {5, 5}},
      {{-3}, 5, false, none, {-3, -3}},
      {{-3}, 5, false, 1.0f, {-3, -3}},
      {{inf, -inf, 1, 2}, 2, false, none, {1, 2}},
      {{nan, 4, 2, -nan, 6, 1, 3, nan, 5}, 3, false, none, {2, 2, 5}},
      {{nan, 4, 2, -nan, 6, 1, 3, nan, 5}, 3, true, none, {5, 5, 2}},
      {{nan, nan}, 3, false, none, {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.values) + testing::PrintToString(row.levels));
    EXPECT_EQ(levels_of(grid_of(row.values), row.levels, row.descending, row.limit), row.list);
  }
  VXScalarGrid empty;
  empty.SetDim(0, 4, 4);
  EXPECT_THAT(levels_of(empty, 3, false, none), IsEmpty());
}

// Grids that are sorted and such that are large enough to be counted; values that spread over many
// exponents, over one, over few distinct numbers, and over a flat background.
TEST(ContourLevels, AreThoseOfASort) {
  std::mt19937 random(4);
  std::normal_distribution<float> normal;
  const float tiny = std::numeric_limits<float>::denorm_min();
  const std::function<float()> kinds[] = {
      [&] { return normal(random); },
      [&] { return 1.25f + 1e-5f * normal(random); },
      [&] { return std::round(3 * normal(random)); },
      [&] { return random() % 10 ? (random() % 2 ? 0.0f : -0.0f) : std::exp(20 * normal(random)); },
      [&] { return tiny * static_cast<float>(random() % 5) - 2 * tiny; },
  };
  const int dims[][3] = {{113, 127, 111}, {1, 29, 31}, {13, 1, 11}, {1, 1, 90}};
  for (const auto& dim : dims)
    for (const auto& kind : kinds) {
      List values(static_cast<size_t>(dim[0]) * dim[1] * dim[2]);
      for (float& value : values) value = kind();
      const VXScalarGrid grid = grid_of(values, dim[0], dim[1], dim[2]);
      const std::optional<float> limits[] = {std::nullopt, values[7], 0.5f, -1.0f, 1e30f};
      for (unsigned run = 0; run < 30; ++run) {
        if (values.size() > 10000 && random() % 5) continue;  // sorting takes its time
        const bool descending = run % 2;
        const auto limit = limits[run % 5];
        const unsigned stride = run < 20 ? 0 : run % 3 + 1, levels = (run * 7 + 5) % 20;
        ASSERT_EQ(levels_of(grid, levels, descending, limit, stride),
                  plain_contour_levels(grid, levels, descending, limit, stride))
            << dim[0] << " columns, kind " << &kind - kinds << ", run " << run << ", levels " << levels;
      }
    }
}

TEST(ContourLevels, WhatIsNoNumberIsLeftOutOfLargeGridsToo) {
  List values(800000);
  for (size_t i = 0; i < values.size(); ++i) values[i] = std::sin(static_cast<float>(i));
  const List list = levels_of(grid_of(values), 8, true, 0.2f);
  for (const float nan : {NAN, -NAN}) values.insert(values.begin() + 5, 1000, nan);
  EXPECT_EQ(levels_of(grid_of(values), 8, true, 0.2f), list);
  EXPECT_THAT(levels_of(grid_of(List(800000, NAN)), 8, false, std::nullopt), IsEmpty());
}

TEST(ContourLevels, AWalkGoesBothWaysAndOutlivesTheGrid) {
  std::unique_ptr<VXContourLevelIter> walk;
  {
    const VXScalarGrid grid = grid_of({1, 2, 3, 4});
    walk.reset(VXGetGridContourLevels(grid, 2, false, 1));
  }
  EXPECT_EQ(**walk, 2);
  EXPECT_EQ(*++*walk, 3);
  EXPECT_FALSE(++*walk);
  EXPECT_EQ(*--*walk, 3);
  EXPECT_EQ(*--*walk, 2);
  EXPECT_FALSE(--*walk);
  EXPECT_EQ(*++*walk, 2);
}
