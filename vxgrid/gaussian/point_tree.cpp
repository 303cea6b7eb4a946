#include <vxgrid/gaussian/point_tree.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace VXCore {
namespace {

/// Grows an array to n items, the new ones zero.
template <class T>
void grow(T*& array, int old_n, int n) {
  void* block = std::realloc(array, std::max<std::size_t>(1, n * sizeof(T)));
  if (!block) throw std::bad_alloc();
  array = static_cast<T*>(block);
  std::fill(array + old_n, array + n, T());
}

void grow_arrays(TdTree* t, int old_n, int n) {
  grow(t->nodes, old_n, n);
  grow(t->coords, old_n * t->dimension, n * t->dimension);
  grow(t->hits, old_n * t->dimension, n * t->dimension);
  grow(t->queue, old_n * t->dimension, n * t->dimension);
  grow(t->distances, old_n, n);
  t->count = n;
}

}  // namespace

void init_tree(TdTree* t, int capacity, int dimension) {
  *t = {0, dimension, nullptr, nullptr, nullptr, nullptr, nullptr};
  grow_arrays(t, 0, capacity);
}

void clean_tree(TdTree* t) {
  std::fill_n(t->hits, t->count, 0);
  std::fill_n(t->queue, t->count, 0);
  std::fill_n(t->coords, t->count * t->dimension, 0.0f);
  std::fill_n(t->nodes, t->count, TdTreeNode());
  t->count = 0;
}

void realloc_tree(TdTree* t, int capacity) {
  if (capacity > t->count) grow_arrays(t, t->count, capacity);
}

void Free_tree(TdTree* t) {
  for (void* block :
       {static_cast<void*>(t->nodes), static_cast<void*>(t->coords), static_cast<void*>(t->hits),
        static_cast<void*>(t->queue), static_cast<void*>(t->distances)})
    std::free(block);
  *t = {0, t->dimension, nullptr, nullptr, nullptr, nullptr, nullptr};
}

void add_to_tree(const float* points, int first, int last, TdTree* t) {
  std::int64_t steps = 0;
  add_to_tree(points, first, last, t, &steps);
}

void add_to_tree(const float* points, int first, int last, TdTree* t, std::int64_t* steps) {
  int i = first;
  if (t->nodes[0].split == 0) {
    t->nodes[0].split = 1;
    t->nodes[0].point = first;
    if (first < last) std::copy_n(points + 3 * first, 3, t->coords);
    ++i;
  }
  for (; i < last; ++i) {
    const float* point = points + 3 * i;
    std::copy_n(point, 3, t->coords + 3 * i);
    t->nodes[i].point = i;
    int axis = 1, node = 0;
    for (;; ++*steps) {
      const int at = axis - 1;
      axis = axis % 3 + 1;
      TdTreeNode& parent = t->nodes[node];
      int& child = point[at] > points[3 * parent.point + at] ? parent.right : parent.left;
      if (child == 0) {
        child = i;
        t->nodes[i].split = axis;
        break;
      }
      node = child;
    }
  }
  t->count += std::max(0, last - first);
}

int ndt_hits_p(const float* point, float radius, TdTree* t, int limit) {
  std::int64_t steps = 0;
  return ndt_hits_p(point, radius, t, limit, &steps);
}

int ndt_hits_p(const float* point, float radius, TdTree* t, int limit, std::int64_t* steps) {
  if (t->nodes[0].split == 0) return 0;
  const float radius2 = radius * radius;
  int hits = 0, queued = 1;
  t->queue[0] = 0;
  for (int next = 0; next < queued; ++next) {
    const TdTreeNode& node = t->nodes[t->queue[next]];
    if (node.point >= limit) continue;  // and so are all below it
    const float* at = t->coords + 3 * t->queue[next];
    const float q = point[node.split - 1], c = at[node.split - 1];
    const bool only_left = c >= q + radius;
    const bool only_right = !only_left && q - radius >= c;
    if (node.left && !only_right) t->queue[queued++] = node.left;
    if (node.right && !only_left) t->queue[queued++] = node.right;
    if (only_left || only_right) continue;

    float d2 = 0;
    int axis = 0;
    for (; axis < 3; ++axis) {
      const float d = point[axis] - at[axis];
      d2 += d * d;
      if (d2 > radius2) break;
    }
    if (axis < 3) continue;
    t->distances[hits] = d2;
    t->hits[hits++] = t->queue[next];
  }
  *steps += queued;
  return hits;
}

int ndt_hits(const float* point, float radius, TdTree t, int limit) {
  return ndt_hits_p(point, radius, &t, limit);
}

void print_tree(TdTree t) {
  std::printf("Tree has %d nodes and dimensionality %d\n", t.count, t.dimension);
  for (int i = 0; i < t.count; ++i)
    std::printf("node %d belongs to point %d and pointers to points %d %d\n", i, t.nodes[i].point,
                t.nodes[i].left, t.nodes[i].right);
}

}  // namespace VXCore
