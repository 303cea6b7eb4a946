#include "map_blobs.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <numeric>

#include <vxgrid/realspace/map_region.h>

#include "input.h"
#include "map_values.h"

using namespace VXCore;

namespace {

using Vector = std::array<double, 3>;

/// Union-find with halved paths.
size_t root_of(std::vector<size_t>& parents, size_t i) {
  while (parents[i] != i) i = parents[i] = parents[parents[i]];
  return i;
}

void unite(std::vector<size_t>& parents, size_t a, size_t b) {
  a = root_of(parents, a);
  b = root_of(parents, b);
  parents[std::max(a, b)] = std::min(a, b);
}

Vector place_of(const VXSkewGrid& grid, unsigned x, unsigned y, unsigned z) {
  float at[3];
  grid.ElementToSpatialCoord((z * grid.GetYDim() + y) * grid.GetXDim() + x, at[0], at[1], at[2]);
  return {at[0], at[1], at[2]};
}

/// The step along an axis of `dim` samples, from the first and the last of them.
Vector step_between(const Vector& first, const Vector& last, unsigned dim) {
  Vector step{};
  for (size_t i = 0; i < 3 && dim > 1; ++i) step[i] = (last[i] - first[i]) / (dim - 1);
  return step;
}

Vector cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

}  // namespace

MapBlobs::MapBlobs(const VXSkewGrid& grid, float level)
    : values_(grid.GetValues()),
      dim_{grid.GetXDim(), grid.GetYDim(), grid.GetZDim()},
      period_(dim_),
      wraps_{} {
  first_ = place_of(grid, 0, 0, 0);
  step_[0] = step_between(first_, place_of(grid, grid.GetXDim() - 1, 0, 0), grid.GetXDim());
  step_[1] = step_between(first_, place_of(grid, 0, grid.GetYDim() - 1, 0), grid.GetYDim());
  step_[2] = step_between(first_, place_of(grid, 0, 0, grid.GetZDim() - 1), grid.GetZDim());
  // One plane has no second to measure to.
  float axes[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  grid.GetImpl().GetImpl().GetOrientation(axes);
  for (size_t axis = 0; axis < 3; ++axis)
    for (size_t i = 0; i < 3 && dim_[axis] == 1; ++i) step_[axis][i] = axes[3 * i + axis] * grid.GetSpacing();

  const std::array<unsigned, 3> periods = whole_periods(grid);
  for (size_t axis = 0; axis < 3; ++axis) {
    wraps_[axis] = periods[axis] > 0;
    if (wraps_[axis]) period_[axis] = periods[axis];
  }
  find_runs(level);
  connect();
  measure(level);
  find_different(grid);
}

void MapBlobs::find_runs(float level) {
  for (long z = 0; z < period_[2]; ++z)
    for (long y = 0; y < period_[1]; ++y) {
      rows_.push_back(runs_.size());
      const float* const row = values(y, z);
      for (long x = 0; x < period_[0];) {
        while (x < period_[0] && !(row[x] >= level)) ++x;
        const long begin = x;
        while (x < period_[0] && row[x] >= level) ++x;
        if (x > begin) runs_.push_back({begin, x});
      }
    }
  rows_.push_back(runs_.size());
  number_.resize(runs_.size());
  std::iota(number_.begin(), number_.end(), size_t{0});
}

// Each row meets itself and four of the eight rows around it; the other four meet it in their turn.
void MapBlobs::connect() {
  constexpr int kHalf[][2] = {{0, 0}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
  for (long z = 0; z < period_[2]; ++z)
    for (long y = 0; y < period_[1]; ++y)
      for (const auto& [dy, dz] : kHalf) {
        long other_y = y + dy, other_z = z + dz;
        if (wraps_[1]) other_y = (other_y + period_[1]) % period_[1];
        if (wraps_[2]) other_z = (other_z + period_[2]) % period_[2];
        if (other_y >= 0 && other_y < period_[1] && other_z >= 0) connect(row(y, z), row(other_y, other_z));
      }
}

void MapBlobs::connect(size_t row, size_t other) {
  size_t a = rows_[row], b = rows_[other];
  const size_t a_end = rows_[row + 1], b_end = rows_[other + 1];
  if (a == a_end || b == b_end) return;
  if (wraps_[0]) {
    if (runs_[a].begin == 0 && runs_[b_end - 1].end == period_[0]) unite(number_, a, b_end - 1);
    if (runs_[b].begin == 0 && runs_[a_end - 1].end == period_[0]) unite(number_, b, a_end - 1);
  }
  if (row == other) return;
  while (a < a_end && b < b_end) {
    if (runs_[a].begin <= runs_[b].end && runs_[b].begin <= runs_[a].end) unite(number_, a, b);
    ++(runs_[a].end < runs_[b].end ? a : b);
  }
}

void MapBlobs::measure(float level) {
  std::vector<size_t> blob_of(runs_.size());
  const auto each_run = [this](auto visit) {
    for (long z = 0; z < period_[2]; ++z)
      for (long y = 0; y < period_[1]; ++y)
        for (size_t run = rows_[row(y, z)]; run < rows_[row(y, z) + 1]; ++run) visit(run, y, z);
  };
  each_run([&](size_t run, long y, long z) {
    const size_t root = root_of(number_, run);
    if (root == run) {
      blob_of[run] = blobs_.size();
      blobs_.push_back({});
      blobs_.back().peak = -INFINITY;
    }
    MapBlob& blob = blobs_[blob_of[run] = blob_of[root]];
    const float* const row = values(y, z);
    const float* const highest = std::max_element(row + runs_[run].begin, row + runs_[run].end);
    blob.points += static_cast<unsigned>(runs_[run].end - runs_[run].begin);
    if (*highest > blob.peak) {
      blob.peak = *highest;
      blob.peak_at = {highest - row, y, z};
    }
  });
  number_ = std::move(blob_of);

  std::vector<double> weights(blobs_.size());
  each_run([&](size_t run, long y, long z) {
    MapBlob& blob = blobs_[number_[run]];
    const float* const row = values(y, z);
    for (long x = runs_[run].begin; x < runs_[run].end; ++x) {
      const Index at = {x, y, z};
      const double weight = level > 0 ? std::min(row[x], FLT_MAX) : 1;
      for (size_t axis = 0; axis < 3; ++axis)
        blob.centre[axis] += weight * static_cast<double>(near(axis, at[axis] - blob.peak_at[axis]));
      weights[number_[run]] += weight;
    }
  });
  for (size_t i = 0; i < blobs_.size(); ++i)
    for (size_t axis = 0; axis < 3; ++axis)
      blobs_[i].centre[axis] =
          static_cast<double>(blobs_[i].peak_at[axis]) + blobs_[i].centre[axis] / weights[i];
}

// All points at the level or above it around a place belong to one blob.
long MapBlobs::blob_around(const Vector& steps) const {
  long number = -1;
  for (int corner = 0; corner < 8 && number < 0; ++corner) {
    Index at;
    for (size_t axis = 0; axis < 3; ++axis)
      at[axis] = static_cast<long>(std::floor(steps[axis])) + (corner >> axis & 1);
    number = blob_at(at);
  }
  return number;
}

// The blobs at the images of a blob's peak are its copies. Images need not lie on points of the map.
void MapBlobs::find_different(const VXSkewGrid& grid) {
  std::vector<size_t> sets(blobs_.size());
  std::iota(sets.begin(), sets.end(), size_t{0});
  const VXXtal::VXSymmetry symmetry = VXGetMapSymmetry(grid);
  for (size_t i = 0; i < blobs_.size() && symmetry; ++i) {
    const Vector at = place(blobs_[i].peak_at);
    for (unsigned op = 0; op < symmetry.GetOpCount(); ++op) {
      float xyz[] = {float(at[0]), float(at[1]), float(at[2])};
      VXXtal::vecmul(xyz, symmetry.cell().Cart2Frac());
      VXXtal::vecmul(xyz, symmetry.GetMatrices() + 16 * op);
      VXXtal::vecmul(xyz, symmetry.cell().Frac2Cart());
      if (const long image = blob_around(steps({xyz[0], xyz[1], xyz[2]})); image >= 0)
        unite(sets, i, static_cast<size_t>(image));
    }
  }
  std::vector<size_t> order(blobs_.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(), [this](size_t a, size_t b) {
    return blobs_[a].points != blobs_[b].points ? blobs_[a].points > blobs_[b].points
                                                : blobs_[a].peak > blobs_[b].peak;
  });
  std::vector<unsigned> sizes(blobs_.size());
  for (size_t i = 0; i < blobs_.size(); ++i) ++sizes[root_of(sets, i)];
  for (size_t i = 0; i < blobs_.size(); ++i) blobs_[i].copies = sizes[root_of(sets, i)];
  for (const size_t i : order)
    if (unsigned& size = sizes[root_of(sets, i)]; size > 0) {
      different_.push_back(blobs_[i]);
      size = 0;
    }
}

long MapBlobs::near(size_t axis, long difference) const {
  if (!wraps_[axis]) return difference;
  const long period = period_[axis], turned = ((difference + period / 2) % period + period) % period;
  return turned - period / 2;
}

bool MapBlobs::into_map(Index& idx) const {
  for (size_t axis = 0; axis < 3; ++axis) {
    if (wraps_[axis]) idx[axis] = (idx[axis] % period_[axis] + period_[axis]) % period_[axis];
    if (idx[axis] < 0 || idx[axis] >= period_[axis]) return false;
  }
  return true;
}

long MapBlobs::blob_at(const Index& idx) const {
  Index at = idx;
  if (!into_map(at)) return -1;
  const auto begin = runs_.begin() + static_cast<long>(rows_[row(at[1], at[2])]);
  const auto end = runs_.begin() + static_cast<long>(rows_[row(at[1], at[2]) + 1]);
  const auto run = std::partition_point(begin, end, [&](const Run& each) { return each.end <= at[0]; });
  return run != end && run->begin <= at[0]
             ? static_cast<long>(number_[static_cast<size_t>(run - runs_.begin())])
             : -1;
}

MapBlob MapBlobs::blob_near(long number, const Index& point) const {
  MapBlob blob = blobs_[static_cast<size_t>(number)];
  for (size_t axis = 0; axis < 3; ++axis) {
    const long moved = point[axis] + near(axis, blob.peak_at[axis] - point[axis]);
    blob.centre[axis] += static_cast<double>(moved - blob.peak_at[axis]);
    blob.peak_at[axis] = moved;
  }
  return blob;
}

float MapBlobs::value(const Index& idx) const {
  Index at = idx;
  return into_map(at) ? values(at[1], at[2])[at[0]] : 0;
}

Index MapBlobs::nearest(const Index& to) const {
  Index best{};
  double least = INFINITY;
  for (long z = 0; z < period_[2]; ++z)
    for (long y = 0; y < period_[1]; ++y)
      for (size_t run = rows_[row(y, z)]; run < rows_[row(y, z) + 1]; ++run)
        for (long x = runs_[run].begin; x < runs_[run].end; ++x) {
          const Index at = {x, y, z};
          Vector apart{};
          for (size_t axis = 0; axis < 3; ++axis)
            for (size_t i = 0; i < 3; ++i)
              apart[i] += static_cast<double>(near(axis, at[axis] - to[axis])) * step_[axis][i];
          if (dot(apart, apart) < least) {
            least = dot(apart, apart);
            for (size_t axis = 0; axis < 3; ++axis) best[axis] = to[axis] + near(axis, at[axis] - to[axis]);
          }
        }
  return best;
}

void MapBlobs::keep(VXSkewGrid& grid, long number) const {
  float* to = grid.GetValues();
  for (long z = 0; z < dim_[2]; ++z)
    for (long y = 0; y < dim_[1]; ++y, to += dim_[0]) {
      const size_t from = row(y % period_[1], z % period_[2]);
      long done = 0;
      for (long turn = 0; turn < dim_[0]; turn += period_[0])
        for (size_t run = rows_[from]; run < rows_[from + 1]; ++run) {
          if (number_[run] != static_cast<size_t>(number)) continue;
          std::fill(to + done, to + std::min(turn + runs_[run].begin, dim_[0]), 0.0f);
          done = std::min(turn + runs_[run].end, dim_[0]);
        }
      std::fill(to + done, to + dim_[0], 0.0f);
    }
}

double MapBlobs::voxel_volume() const { return std::fabs(dot(step_[0], cross(step_[1], step_[2]))); }

Vector MapBlobs::place(const Index& idx) const {
  return place(Vector{double(idx[0]), double(idx[1]), double(idx[2])});
}

Vector MapBlobs::place(const Vector& steps) const {
  Vector at = first_;
  for (size_t axis = 0; axis < 3; ++axis)
    for (size_t i = 0; i < 3; ++i) at[i] += steps[axis] * step_[axis][i];
  return at;
}

Vector MapBlobs::steps(const Vector& place) const {
  const Vector from = {place[0] - first_[0], place[1] - first_[1], place[2] - first_[2]};
  const double volume = dot(step_[0], cross(step_[1], step_[2]));
  Vector at{};
  for (size_t axis = 0; axis < 3; ++axis)
    at[axis] = dot(from, cross(step_[(axis + 1) % 3], step_[(axis + 2) % 3])) / volume;
  return at;
}
