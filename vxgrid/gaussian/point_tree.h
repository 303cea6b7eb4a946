#pragma once

#include <cstdint>

#include <vxgrid/host/export.h>

namespace VXCore {

/// A node of a TdTree. Node i holds point i; node 0 is the root, so that 0 can stand for no child.
struct TdTreeNode {
  int split;  ///< axis 1, 2 or 3; 0 marks an unused root
  int point;
  int left, right;
};

/// A k-d tree over points in space, in plain arrays, grown by insertion and not balanced. A node is older
/// than its children, so that a query for points below some index can drop whole subtrees.
///
///     TdTree tree;
///     init_tree(&tree, n, 3);
///     clean_tree(&tree);
///     add_to_tree(points, 0, n, &tree);
///     const int near = ndt_hits_p(centre, radius, &tree, n);  // tree.hits[0] to tree.hits[near - 1]
///     Free_tree(&tree);
///
/// Allocation throws std::bad_alloc; nothing else is checked, and the capacity must not be passed.
struct TdTree {
  int count;          ///< nodes in use
  int dimension;      ///< coordinates per point: 3
  TdTreeNode* nodes;  ///< one a point
  float* coords;      ///< the points, `dimension` floats each
  int* hits;          ///< the result of a query: node numbers
  int* queue;         ///< working queue of a query
  float* distances;   ///< squared distance of each hit
};

/// Allocates zeroed arrays for `capacity` points. `count` is the capacity then: clean before the first use.
VXGRID_API void init_tree(TdTree* t, int capacity, int dimension);
/// Makes the tree empty; its arrays stay.
VXGRID_API void clean_tree(TdTree* t);
/// Makes room for `capacity` points when that is more than `count`, which is set to it: clean before use.
VXGRID_API void realloc_tree(TdTree* t, int capacity);
/// Frees the arrays. The record stays with its owner, with null arrays and a count of 0.
VXGRID_API void Free_tree(TdTree* t);

/// Adds the points `first` to `last - 1` of an array of three floats each. Ties go left. At least one point:
/// with none, an empty tree gets a root that stands for `first`.
VXGRID_API void add_to_tree(const float* points, int first, int last, TdTree* t);

/// Finds the points of an index below `limit` within `radius` of `point`, breadth first; returns how many.
/// One at the exact distance counts unless a splitting plane cuts it off, as with a radius of 0 always.
/// Writes into hits, queue and distances of the tree, also in the form by value, which shares them.
VXGRID_API int ndt_hits(const float* point, float radius, TdTree t, int limit);
VXGRID_API int ndt_hits_p(const float* point, float radius, TdTree* t, int limit);

/// The same two, adding the nodes that they visit to `steps`. They are as many as the tree has for each point
/// where points come in order or at one place, and few for others.
VXGRID_API void add_to_tree(const float* points, int first, int last, TdTree* t, std::int64_t* steps);
VXGRID_API int ndt_hits_p(const float* point, float radius, TdTree* t, int limit, std::int64_t* steps);

/// Prints the tree, a line a node, on standard output.
VXGRID_API void print_tree(TdTree t);

}  // namespace VXCore
