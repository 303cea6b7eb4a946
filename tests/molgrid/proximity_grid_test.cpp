#include <vxgrid/molgrid/proximity_grid.h>

#include <cmath>
#include <cstdlib>
#include <numeric>
#include <random>
#include <utility>

#include <vxgrid/processing/grid_struct.h>

#include "plain_loops.h"
#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// A record without a lattice, whose integers are freed at the end.
struct Record : GridStruct {
  Record() : GridStruct{} {}
  Record(int x, int y, int z, float h) : GridStruct{nullptr, nullptr, 0, 0, 0, x, y, z, h, 1 / h, nullptr} {}
  Record(const Record&) = delete;
  ~Record() { std::free(integers); }
  std::vector<int> cells() const { return {integers, integers + std::size_t{1} * xdim * ydim * zdim}; }
};

PlainSpheres random_spheres(int n, float box, float low_radius, float high_radius, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> place(-box, box), radius(low_radius, high_radius);
  PlainSpheres out;
  for (int i = 0; i < n; ++i) {
    for (int a = 0; a < 3; ++a) out.xyz.push_back(place(random));
    out.radii.push_back(radius(random));
  }
  return out;
}

PlainSpheres grown_by(PlainSpheres points, float probe) {
  for (float& radius : points.radii) radius += probe;
  return points;
}

int make_boxed(PlainSpheres points, float probe, PlainSpheres mask, float mask_probe, GridStruct& grid,
               std::vector<int>& list) {
  return vx_make_masked_and_boxed_proximity_grid(
      points.xyz.data(), points.radii.data(), static_cast<int>(points.radii.size()), probe, mask.xyz.data(),
      mask.radii.data(), static_cast<int>(mask.radii.size()), mask_probe, &grid, list);
}

/// Copies the points into records of a kind; kind 4 holds the radii too.
std::vector<float> records(const PlainSpheres& points, int kind) {
  const int stride = kind == 1 ? 9 : kind == 4 ? 4 : 3;
  std::vector<float> out(stride * points.radii.size(), 77.0f);
  for (std::size_t i = 0; i < points.radii.size(); ++i) {
    std::copy_n(&points.xyz[3 * i], 3, &out[stride * i]);
    if (kind == 4) out[stride * i + 3] = points.radii[i];
  }
  return out;
}

}  // namespace

TEST(ProximityGrid, SameAsPlainWalk) {
  const std::tuple<int, int, float, float, float, float, float, float> rows[] = {
      {400, 1, 12, 1, 2, 1.4f, 1.0f, 0},     {400, 2, 12, -0.5f, 2, 0, 0.7f, 3},
      {300, 3, 9, 0, 1, 0.3f, 0.37f, 0.5f},  {60, 4, 3, 4, 8, 0.1f, 0.4f, 0},
      {40, 2, 500, 100, 300, 0, 9.0f, 0},    {200, 4, 10, 1, 3, -1.5f, 1.0f, -1},
      {100, 2, 0.01f, 2, 2, 0, 0.5f, 0.25f},
  };
  for (const auto& [n, kind, box, low, high, probe, spacing, margin] : rows) {
    SCOPED_TRACE(kind + n * 10);
    PlainSpheres points = random_spheres(n, box, low, high, n + kind);
    if (n == 100)  // on lattice points, with radii of whole steps: every rim cell is a tie
      for (float& x : points.xyz) x = 0.5f * static_cast<float>(static_cast<int>(x * 300));
    std::vector<float> data = records(points, kind);
    Record grid;
    std::vector<int> list, cells, plain_list;
    EXPECT_EQ(1, vx_make_proximity_grid(9, data.data(), points.radii.data(), n, probe, &grid, spacing, margin,
                                        kind, list));
    EXPECT_EQ(grid.xdim % 2 + grid.ydim % 2 + grid.zdim % 2, 3);
    EXPECT_FLOAT_EQ(grid.inverse_spacing, 1 / spacing);
    plain_proximity(grid, grown_by(points, probe), nullptr, cells, plain_list);
    EXPECT_EQ(grid.cells(), cells);
    EXPECT_EQ(list, plain_list);
  }
}

TEST(ProximityGrid, MaskedSameAsPlainWalk) {
  const PlainSpheres points = random_spheres(200, 8, 0.5f, 2, 1), mask = random_spheres(80, 10, 1, 3, 2);
  std::vector<int> list{5}, cells, plain_list;
  Record grid(15, 20, 9, 0.8f);  // smaller than the cloud: spheres reach beyond every face
  ASSERT_EQ(1, make_boxed(points, 0.7f, mask, 0.2f, grid, list));
  const PlainSpheres grown_mask = grown_by(mask, 0.2f);
  plain_proximity(grid, grown_by(points, 0.7f), &grown_mask, cells, plain_list);
  EXPECT_EQ(grid.cells(), cells);
  EXPECT_EQ(list, plain_list);

  // A mask over everything leaves no cell, and the list alone.
  EXPECT_EQ(0, make_boxed(points, 0.7f, mask, 100, grid, list));
  EXPECT_EQ(list, plain_list);
  EXPECT_EQ(grid.cells(), std::vector<int>(15 * 20 * 9));
}

TEST(ProximityGrid, EdgesAndRefusals) {
  float xyz[12] = {0, 0, 0, 1, 1, 1, 4, 0, 0, 0, 0, 0}, radii[4] = {1, 1, 0, 0};
  std::vector<int> list{7};
  const auto make = [&](Record& grid, int n, float probe, float h, int kind, float* r = nullptr) {
    return vx_make_proximity_grid(0, xyz, r, n, probe, &grid, h, 2, kind, list);
  };
  Record bounds;
  EXPECT_EQ(0, make(bounds, 0, 0.5f, 1, 2));
  EXPECT_TRUE(bounds.xdim == 7 && bounds.xmid == 0) << "no points: the margin around the origin";
  EXPECT_EQ(0, make(bounds, 3, 0, 1, 2));
  EXPECT_TRUE(bounds.xdim == 11 && bounds.xmid == 2) << "no radius: bounds alone";
  EXPECT_EQ(bounds.cells(), std::vector<int>(11 * 7 * 7));
  // Two points at (x, x, x) and (1, 1, 1).
  const std::tuple<float, float, float, int, bool> rows[] = {
      // the last: whether there is no room
      {1, 1, 0, 5, false},     {1, 0, 0, 2, false},  {1, 0.5f, 1e6f, 2, true},
      {1, 1e-30f, 0, 2, true}, {1, NAN, 0, 2, true}, {INFINITY, 1, 0, 2, true}};
  for (const auto& [probe, h, x, kind, no_room] : rows) {
    CapturedLog log;
    testing::internal::CaptureStdout();
    std::fill_n(xyz, 3, x);
    Record grid;
    EXPECT_EQ(h == 0, make(grid, 2, probe, h, kind));
    EXPECT_EQ(log.text().find("no room for a lattice") != std::string::npos, no_room) << log.text();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), h == 0 ? "Cant have a grid of zero spacing!" : "");
    EXPECT_EQ(grid.xdim, 0);
    EXPECT_THAT(list, ElementsAre(7));
  }
  std::fill_n(xyz, 3, 0.0f);

  // What is not finite counts for nothing; the other point is found.
  for (const float bad : {NAN, INFINITY, -INFINITY})
    for (float* slot : {&xyz[4], &radii[1]}) {
      const float kept = std::exchange(*slot, bad);
      Record grid;
      EXPECT_EQ(1, make(grid, 2, 0.1f, 1, 2, radii));
      EXPECT_EQ(grid.xdim, 9);
      EXPECT_EQ(list.size(), 15u);  // seven runs of one point
      *slot = kept;
    }

  // Sphere and lattice far apart or out of proportion, on a lattice that is given.
  for (const float x : {1e9f, -1e30f, 3e38f})
    for (const float r : {1.0f, 1e20f, 3e38f}) {
      Record grid(4, 4, 4, 1e-3f);
      EXPECT_LE(0, make_boxed({{x, 0, 0}, {r}}, 0, {{x, 0, 0}, {r}}, 0, grid, list));
    }
  CapturedLog log;
  Record none(4, -4, 4, 1), many(2000, 2000, 2000, 1);
  for (Record* grid : {&none, &many}) {
    EXPECT_EQ(0, make_boxed({{0, 0, 0}, {1}}, 0, {}, 0, *grid, list));
    EXPECT_EQ(grid->integers, nullptr);
  }
  EXPECT_THAT(log.text(), HasSubstr("2000 x 2000 x 2000"));
  // A thousand spheres around 130^3 cells: more than an int counts, unless all are cut out.
  const PlainSpheres thousand = {std::vector<float>(3000), std::vector<float>(1000, 300)},
                     cut_all = {{0, 0, 0}, {300}};
  Record full(130, 130, 130, 1);
  for (const bool cut : {false, true}) {
    CapturedLog says;
    std::vector<int> none_taken;
    EXPECT_EQ(0, make_boxed(thousand, 0, cut ? cut_all : PlainSpheres(), 0, full, none_taken));
    EXPECT_EQ(full.cells(), std::vector<int>(130 * 130 * 130));
    EXPECT_EQ(none_taken.capacity(), 0u);
    EXPECT_THAT(says.text(), HasSubstr(cut ? "" : "130 x 130 x 130"));
    EXPECT_EQ(says.text().empty(), cut);
  }
}

TEST(ProximityGrid, LookUp) {
  Record grid(3, 4, 5, 0.5f);
  grid.inverse_spacing = 0;
  grid.integers = static_cast<int*>(std::malloc(60 * sizeof(int)));
  std::iota(grid.integers, grid.integers + 60, 100);
  // In steps from the first cell; 0 is outside.
  const std::tuple<double, double, double, int> rows[] = {
      {1, 2, 3, 143},    {2.4, 3.4, 4.4, 159}, {0.6, 0, 0, 101},  {2.6, 0, 0, 0},  {0, 3.6, 0, 0},
      {-1.4, 0, 0, 100}, {-1.6, 0, 0, 0},      {1, 1, -1.4, 104}, {0, 0, 1e30, 0}, {0, NAN, 0, 0},
  };
  for (const int kind : {1, 2, 3, 4, 5}) {
    const int stride = kind == 1 ? 9 : kind == 4 ? 4 : 3;
    std::vector<double> doubles;
    std::vector<int> expected, out(std::size(rows), -5);
    for (const auto& [x, y, z, value] : rows) {
      doubles.insert(doubles.end(), {x * 0.5 - 0.5, y * 0.5 - 0.75, z * 0.5 - 1});
      doubles.resize(doubles.size() + stride - 3);
      expected.push_back(value);
    }
    std::vector<float> floats(doubles.begin(), doubles.end());
    void* const points = kind == 5 ? static_cast<void*>(doubles.data()) : floats.data();
    EXPECT_EQ(1, vx_get_proximity_list(points, static_cast<int>(out.size()), &grid, kind, out.data()));
    EXPECT_EQ(out, expected) << kind;
    EXPECT_EQ(grid.inverse_spacing, 2);
  }
  int kept = 9;
  EXPECT_TRUE(vx_get_proximity_list(&kept, 1, &grid, 6, &kept) == 0 && kept == 9) << "unknown kind";
}
