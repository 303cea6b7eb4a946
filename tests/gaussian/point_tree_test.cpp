#include <vxgrid/gaussian/point_tree.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "support/support.h"

using namespace VXCore;

namespace {

struct Tree : TdTree {
  explicit Tree(const std::vector<float>& points) {
    init_tree(this, 4, 3);
    realloc_tree(this, static_cast<int>(points.size() / 3));
    clean_tree(this);
    add_to_tree(points.data(), 0, static_cast<int>(points.size() / 3), this);
  }
  ~Tree() { Free_tree(this); }
};

TEST(TdTree, FindsWhatAPlainSearchFinds) {
  // On a lattice of 0.5, so that many points share coordinates, and some all three; no query ties.
  std::mt19937 random(5);
  const auto number = [&random](unsigned n, float step) { return static_cast<float>(random() % n) * step; };
  std::vector<float> xyz(3 * 600);
  for (float& v : xyz) v = number(20, 0.5f);
  Tree tree(xyz);
  for (int query = 0; query < 300; ++query) {
    const float at[3] = {number(1000, 0.0101f), number(1000, 0.0103f), number(1000, 0.0107f)};
    const float radius = number(600, 0.0109f);
    const int limit = static_cast<int>(random() % 601), n = ndt_hits(at, radius, tree, limit);
    std::vector<int> found(tree.hits, tree.hits + n), inside;
    for (int i = 0; i < limit; ++i) {
      const float dx = at[0] - xyz[3 * i], dy = at[1] - xyz[3 * i + 1], dz = at[2] - xyz[3 * i + 2];
      if (dx * dx + dy * dy + dz * dz <= radius * radius) inside.push_back(i);
    }
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, inside);
  }
}

TEST(TdTree, GrowsByInsertionAndAnswersBreadthFirst) {
  // 1 goes right of 0 by x; 2, with the same x, left; 3 left of 1 by y; 4 right of 3 by z.
  Tree tree({0, 0, 0, 1, 5, 0, 0, 1, 1, 2, 4, 0, 2, 4, 1});
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
}

TEST(TdTree, Edges) {
  Tree tree({0, 0, 0, 3, 4, 0, 3, 4, 0, NAN, 0, 0});
  const struct {
    const char* what;
    float at[3], radius;
    int limit, hits;
  } rows[] = {
      {"a radius of 0 is cut off by the plane of its own point", {0, 0, 0}, 0, 4, 0},
      {"an exact distance off the planes counts", {0, 0, 0}, 5, 3, 3},
      {"an exact distance on the plane does not", {-5, 0, 0}, 5, 3, 0},
      {"no number is near to all", {NAN, NAN, NAN}, 1, 4, 4},
  };
  for (const auto& row : rows)
    EXPECT_EQ(ndt_hits_p(row.at, row.radius, &tree, row.limit), row.hits) << row.what;
  clean_tree(&tree);
  EXPECT_EQ(ndt_hits_p(rows[0].at, 1, &tree, 9), 0) << "empty";
  add_to_tree(nullptr, 2, 2, &tree);
  EXPECT_TRUE(tree.nodes[0].point == 2 && tree.count == 0) << "no points for an empty tree";
}

}  // namespace
