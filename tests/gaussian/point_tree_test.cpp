#include <vxgrid/gaussian/point_tree.h>

#include <algorithm>
#include <limits>
#include <random>

#include "support/support.h"

using namespace VXCore;

namespace {

struct Tree : TdTree {
  explicit Tree(const std::vector<float>& points) : Tree(static_cast<int>(points.size() / 3)) {
    add_to_tree(points.data(), 0, static_cast<int>(points.size() / 3), this);
  }
  explicit Tree(int capacity) {
    init_tree(this, capacity, 3);
    EXPECT_EQ(count, capacity);
    clean_tree(this);
  }
  ~Tree() { Free_tree(this); }
};

std::vector<int> hits(const TdTree& tree, int n) {
  std::vector<int> found(tree.hits, tree.hits + n);
  std::sort(found.begin(), found.end());
  return found;
}

/// Points in a cube of 10 Å on a lattice of 0.5 Å, so that many share coordinates, and some all three.
std::vector<float> points(int n) {
  std::mt19937 random(5);
  std::vector<float> xyz(3 * n);
  for (float& v : xyz) v = static_cast<float>(random() % 20) * 0.5f;
  return xyz;
}

TEST(TdTree, FindsWhatAPlainSearchFinds) {
  const std::vector<float> xyz = points(600);
  Tree tree(400);
  realloc_tree(&tree, 600);
  clean_tree(&tree);
  add_to_tree(xyz.data(), 0, 250, &tree);
  add_to_tree(xyz.data(), 250, 600, &tree);
  EXPECT_EQ(tree.count, 600);
  std::mt19937 random(6);
  for (int query = 0; query < 300; ++query) {
    const auto number = [&random](unsigned n) { return static_cast<float>(random() % n) * 0.01f; };
    const float at[3] = {number(1000), number(1000), number(1000)};
    const float radius = number(600);
    const int limit = static_cast<int>(random() % 700);
    std::vector<int> expected;
    for (int i = 0; i < std::min(limit, 600); ++i) {
      const float dx = at[0] - xyz[3 * i], dy = at[1] - xyz[3 * i + 1], dz = at[2] - xyz[3 * i + 2];
      if (dx * dx + dy * dy + dz * dz < radius * radius - 1e-4f) expected.push_back(i);
    }
    const int n = ndt_hits_p(at, radius, &tree, limit);
    const std::vector<int> found = hits(tree, n);
    EXPECT_TRUE(std::includes(found.begin(), found.end(), expected.begin(), expected.end()));
    for (int i = 0; i < n; ++i) {
      EXPECT_LT(tree.hits[i], limit);
      EXPECT_LE(tree.distances[i], radius * radius);
    }
    EXPECT_EQ(ndt_hits(at, radius, tree, limit), n);
    EXPECT_EQ(hits(tree, n), found);
  }
}

TEST(TdTree, GrowsByInsertionAndAnswersBreadthFirst) {
  // 0 (split x); 1 to the right (y), 2 with the same x to the left (y), 3 right of 0 and left of 1 (z).
  Tree tree(std::vector<float>{0, 0, 0, 1, 5, 0, 0, 1, 1, 2, 4, 0, 2, 4, 1});
  testing::internal::CaptureStdout();
  print_tree(tree);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Tree has 5 nodes and dimensionality 3\n"
            "node 0 belongs to point 0 and pointers to points 2 1\n"
            "node 1 belongs to point 1 and pointers to points 3 0\n"
            "node 2 belongs to point 2 and pointers to points 0 0\n"
            "node 3 belongs to point 3 and pointers to points 0 4\n"
            "node 4 belongs to point 4 and pointers to points 0 0\n");
  const float at[3] = {0.5f, 2, 0};
  ASSERT_EQ(ndt_hits_p(at, 10, &tree, 5), 5);
  EXPECT_THAT(std::vector<int>(tree.hits, tree.hits + 5), testing::ElementsAre(0, 2, 1, 3, 4));
  EXPECT_EQ(tree.distances[1], 0.25f + 1 + 1);
}

TEST(TdTree, EdgesOfAQuery) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  Tree tree(std::vector<float>{0, 0, 0, 3, 4, 0, 3, 4, 0, nan, 0, 0});
  const struct {
    const char* what;
    float at[3], radius;
    int limit, hits;
  } rows[] = {
      {"no point below the limit", {0, 0, 0}, 9, 0, 0},
      {"the limit cuts", {0, 0, 0}, 9, 2, 2},
      {"a radius of 0 is cut off by the plane of its own point", {0, 0, 0}, 0, 4, 0},
      {"an exact distance off the planes counts", {0, 0, 0}, 5, 3, 3},
      {"an exact distance on the plane does not", {-5, 0, 0}, 5, 3, 0},
      {"no number is near to all", {nan, nan, nan}, 1, 4, 4},
  };
  for (const auto& row : rows)
    EXPECT_EQ(ndt_hits_p(row.at, row.radius, &tree, row.limit), row.hits) << row.what;

  Tree empty(4);
  const float origin[3] = {};
  EXPECT_EQ(ndt_hits_p(origin, 1, &empty, 9), 0);
  add_to_tree(nullptr, 2, 2, &empty);
  EXPECT_EQ(empty.nodes[0].point, 2);
  EXPECT_EQ(empty.count, 0);
  Free_tree(&empty);
  EXPECT_EQ(empty.nodes, nullptr);
}

TEST(TdTree, SortedPointsMakeAChain) {
  std::vector<float> line(3 * 3000);
  for (int i = 0; i < 3000; ++i) line[3 * i] = line[3 * i + 1] = line[3 * i + 2] = static_cast<float>(i);
  Tree tree(line);
  const float at[3] = {1500, 1500, 1500};
  EXPECT_EQ(ndt_hits_p(at, 3.5f, &tree, 3000), 5);
}

}  // namespace
