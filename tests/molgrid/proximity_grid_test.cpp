#include <vxgrid/molgrid/proximity_grid.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <utility>

#include <vxgrid/processing/grid_struct.h>

#include "plain_loops.h"
#include "support/support.h"

using namespace VXCore;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// A record without a lattice, whose integers are freed at the end.
struct Record : GridStruct {
  Record() : GridStruct{} {}
  Record(int x, int y, int z, float h) : GridStruct{nullptr, nullptr, 0, 0, 0, x, y, z, h, 1 / h, nullptr} {}
  Record(const Record&) = delete;
  ~Record() { std::free(integers); }
  std::vector<int> cells() const {
    return integers ? std::vector<int>(integers, integers + std::size_t{1} * xdim * ydim * zdim)
                    : std::vector<int>();
  }
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
  const struct {
    int n, kind;
    float box, low, high, probe, spacing, margin;
  } rows[] = {
      {400, 1, 12, 1, 2, 1.4f, 1.0f, 0},     {400, 2, 12, -0.5f, 2, 0, 0.7f, 3},
      {300, 3, 9, 0, 1, 0.3f, 0.37f, 0.5f},  {300, 4, 9, 1, 2, 0.1f, 0.5f, 0},
      {60, 4, 3, 4, 8, 0, 0.4f, 0},          {40, 2, 500, 100, 300, 0, 9.0f, 0},
      {200, 2, 10, 1, 3, -1.5f, 1.0f, 2},    {200, 4, 10, 1, 3, 0, 1.0f, -2.5f},
      {100, 2, 0.01f, 2, 2, 0, 0.5f, 0.25f},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.kind + row.n * 10);
    PlainSpheres points = random_spheres(row.n, row.box, row.low, row.high, row.n + row.kind);
    if (row.n == 100)  // on lattice points, with radii of whole steps: every rim cell is a tie
      for (float& x : points.xyz) x = 0.5f * static_cast<float>(static_cast<int>(x * 300));
    std::vector<float> data = records(points, row.kind);
    Record grid;
    std::vector<int> list, cells, plain_list;
    EXPECT_EQ(1, vx_make_proximity_grid(9, data.data(), points.radii.data(), row.n, row.probe, &grid,
                                        row.spacing, row.margin, row.kind, list));
    EXPECT_EQ(grid.xdim % 2 + grid.ydim % 2 + grid.zdim % 2, 3);
    EXPECT_FLOAT_EQ(grid.inverse_spacing, 1 / row.spacing);
    for (float& radius : points.radii) radius += row.probe;
    plain_proximity(grid, points, nullptr, cells, plain_list);
    EXPECT_EQ(grid.cells(), cells);
    EXPECT_EQ(list, plain_list);
  }
}

// A law, apart from the walk: a run names just the points whose sphere holds the cell's place.
TEST(ProximityGrid, RunsNameThePointsNearACell) {
  PlainSpheres points = random_spheres(150, 6, 1, 2, 3);
  Record grid;
  std::vector<int> list;
  ASSERT_EQ(1, vx_make_proximity_grid(0, points.xyz.data(), points.radii.data(), 150, 0.5f, &grid, 0.6f, 1.0f,
                                      2, list));
  const float mid[3] = {grid.xmid, grid.ymid, grid.zmid};
  const int dim[3] = {grid.xdim, grid.ydim, grid.zdim};
  bool is_first = true;
  for (int e = 0; e < dim[0] * dim[1] * dim[2]; ++e) {
    const int idx[3] = {e % dim[0], e / dim[0] % dim[1], e / dim[0] / dim[1]};
    std::vector<int> near;
    bool is_at_rim = false;
    for (int p = 149; p >= 0; --p) {
      double d2 = 0;
      for (int a = 0; a < 3; ++a)
        d2 += std::pow(mid[a] + (idx[a] - (dim[a] - 1) / 2.0) * grid.spacing - points.xyz[3 * p + a], 2);
      const double inside = points.radii[p] + 0.5 - std::sqrt(d2);
      is_at_rim = is_at_rim || std::fabs(inside) < 1e-4;  // rounding decides
      if (inside > 0) near.push_back(p + 1);
    }
    if (is_at_rim || near.empty()) {
      EXPECT_TRUE(is_at_rim || grid.integers[e] == 0);
      continue;
    }
    near.push_back(0);
    // The first cell reads 0 although its run stands from slot 1 on.
    const int* const run = &list[is_first ? 1 : grid.integers[e]];
    EXPECT_EQ(grid.integers[e] == 0, is_first);
    is_first = false;
    ASSERT_EQ(std::vector<int>(run, run + near.size()), near) << e;
  }
}

TEST(ProximityGrid, MaskedSameAsPlainWalk) {
  const PlainSpheres points = random_spheres(200, 8, 0.5f, 2, 1), cut = random_spheres(80, 10, 1, 3, 2);
  PlainSpheres grown = points, grown_cut = cut;
  for (float& radius : grown.radii) radius += 0.7f;
  for (float& radius : grown_cut.radii) radius += 0.2f;
  std::vector<float> xyz = points.xyz, radii = points.radii, cut_xyz = cut.xyz, cut_radii = cut.radii;
  std::vector<int> list{5}, cells, plain_list;

  Record grid(15, 20, 9, 0.8f);  // smaller than the cloud: spheres reach beyond every face
  ASSERT_EQ(1, vx_make_masked_and_boxed_proximity_grid(xyz.data(), radii.data(), 200, 0.7f, cut_xyz.data(),
                                                       cut_radii.data(), 80, 0.2f, &grid, list));
  plain_proximity(grid, grown, &grown_cut, cells, plain_list);
  EXPECT_EQ(grid.cells(), cells);
  EXPECT_EQ(list, plain_list);

  // A mask over everything leaves no cell, and the list alone.
  float centre[3] = {}, all = 100;
  EXPECT_EQ(0, vx_make_masked_and_boxed_proximity_grid(xyz.data(), radii.data(), 200, 0.7f, centre, &all, 1,
                                                       0, &grid, list));
  EXPECT_EQ(list, plain_list);
  EXPECT_EQ(grid.cells(), std::vector<int>(15 * 20 * 9));
}

TEST(ProximityGrid, EdgesAndRefusals) {
  float xyz[12] = {0, 0, 0, 1, 1, 1, 4, 0, 0, 0, 0, 0}, radii[4] = {1, 1, 0, 0};
  const auto make = [&](Record& grid, std::vector<int>& list, int n, float probe, float h, int kind,
                        float* r = nullptr) {
    return vx_make_proximity_grid(0, xyz, r, n, probe, &grid, h, 2, kind, list);
  };
  std::vector<int> list{7};
  {
    Record grid;
    EXPECT_EQ(0, make(grid, list, 0, 0.5f, 1, 2));  // no points: the margin around the origin
    EXPECT_EQ(grid.xdim, 7);
    EXPECT_EQ(grid.xmid, 0);
    EXPECT_EQ(0, make(grid, list, 3, 0, 1, 2));  // no radius: bounds alone
    EXPECT_EQ(grid.xdim, 11);
    EXPECT_EQ(grid.xmid, 2);
    EXPECT_EQ(grid.cells(), std::vector<int>(11 * 7 * 7));
  }
  // Two points at (x, x, x) and (1, 1, 1).
  const char* const no_room = "no room for a lattice";
  const struct {
    float probe, h, x;
    int kind, result;
    const char *says, *prints;
  } rows[] = {
      {1, 1, 0, 5, 0, "", ""},
      {1, 0, 0, 2, 1, "", "Cant have a grid of zero spacing!\n"},
      {1, 0.5f, 1e6f, 2, 0, no_room, ""},
      {1, 1e-30f, 0, 2, 0, no_room, ""},
      {1, kNan, 0, 2, 0, no_room, ""},
      {kInfinity, 1, 0, 2, 0, no_room, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.kind << " " << row.h << " " << row.x);
    CapturedLog log;
    testing::internal::CaptureStdout();
    std::fill_n(xyz, 3, row.x);
    Record grid;
    EXPECT_EQ(row.result, make(grid, list, 2, row.probe, row.h, row.kind));
    EXPECT_THAT(log.text(), HasSubstr(row.says));
    EXPECT_EQ(log.text().empty(), row.says[0] == 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), row.prints);
    EXPECT_EQ(grid.xdim, 0);
    EXPECT_THAT(list, ElementsAre(7));
  }
  std::fill_n(xyz, 3, 0.0f);

  // What is not finite counts for nothing; the other point is found.
  for (const float bad : {kNan, kInfinity, -kInfinity})
    for (float* slot : {&xyz[4], &radii[1]}) {
      const float kept = std::exchange(*slot, bad);
      Record grid;
      EXPECT_EQ(1, make(grid, list, 2, 0.1f, 1, 2, radii));
      EXPECT_EQ(grid.xdim, 9);
      EXPECT_EQ(std::count(list.begin(), list.end(), 2), 0);
      EXPECT_EQ(std::count(list.begin(), list.end(), 1), 7);
      *slot = kept;
    }

  // Sphere and lattice far apart or out of proportion, on a lattice that is given.
  for (const float x : {1e9f, -1e30f, 3e38f})
    for (const float r : {1.0f, 1e20f, 3e38f}) {
      float far[3] = {x, 0, 0}, radius = r;
      Record grid(4, 4, 4, 1e-3f);
      EXPECT_LE(0,
                vx_make_masked_and_boxed_proximity_grid(far, &radius, 1, 0, far, &radius, 1, 0, &grid, list));
    }
  CapturedLog log;
  Record none(4, -4, 4, 1), many(2000, 2000, 2000, 1);
  for (Record* grid : {&none, &many}) {
    EXPECT_EQ(0, vx_make_masked_and_boxed_proximity_grid(xyz, radii, 2, 0, xyz, radii, 0, 0, grid, list));
    EXPECT_EQ(grid->integers, nullptr);
  }
  EXPECT_THAT(log.text(), HasSubstr("2000 x 2000 x 2000"));
}

TEST(ProximityGrid, LookUp) {
  Record grid(3, 4, 5, 0.5f);
  grid.inverse_spacing = 0;
  grid.integers = static_cast<int*>(std::malloc(60 * sizeof(int)));
  for (int i = 0; i < 60; ++i) grid.integers[i] = 100 + i;
  // In steps from the first cell, and the element or -1.
  const struct {
    double x, y, z;
    int element;
  } rows[] = {
      {0, 0, 0, 0},    {1, 2, 3, 43},    {2.4, 3.4, 4.4, 59}, {0.6, 0, 0, 1},
      {2.6, 0, 0, -1}, {0, 3.6, 0, -1},  {-1.4, 0, 0, 0},     {-1.6, 0, 0, -1},
      {1, 1, -1.4, 4}, {0, 0, 1e30, -1}, {0, kNan, 0, -1},
  };
  for (const int kind : {1, 2, 3, 4, 5}) {
    const int stride = kind == 1 ? 9 : kind == 4 ? 4 : 3;
    std::vector<double> doubles;
    std::vector<int> expected, out(std::size(rows), -5);
    for (const auto& row : rows) {
      doubles.insert(doubles.end(), {row.x * 0.5 - 0.5, row.y * 0.5 - 0.75, row.z * 0.5 - 1});
      doubles.resize(doubles.size() + stride - 3);
      expected.push_back(row.element < 0 ? 0 : 100 + row.element);
    }
    std::vector<float> floats(doubles.begin(), doubles.end());
    void* const points = kind == 5 ? static_cast<void*>(doubles.data()) : floats.data();
    EXPECT_EQ(1, vx_get_proximity_list(points, static_cast<int>(out.size()), &grid, kind, out.data()));
    EXPECT_EQ(out, expected) << kind;
    EXPECT_EQ(grid.inverse_spacing, 2);
  }
  int kept = 9;
  float at[3] = {};
  EXPECT_EQ(0, vx_get_proximity_list(at, 1, &grid, 6, &kept));
  EXPECT_EQ(kept, 9);
}
