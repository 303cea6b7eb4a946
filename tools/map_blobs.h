#pragma once

#include <array>
#include <vector>

#include <vxgrid/grid/skewgrid.h>

/// A point of a map, by its numbers along x, y and z.
using Index = std::array<long, 3>;

/// Points of a map at a level or above it that touch by faces, edges or corners.
struct MapBlob {
  unsigned points = 0;
  unsigned copies = 1;                // itself and those that symmetry makes of it
  float peak = 0;                     // the highest value
  Index peak_at = {};                 // and its point
  std::array<double, 3> centre = {};  // mean place in grid steps, near the peak; weighted by the
                                      // values when the level is above 0
};

/// The blobs of a map. Where the map holds a whole period of its cell they go on across the border, and
/// points of the period count once.
class MapBlobs {
 public:
  MapBlobs(const VXCore::VXSkewGrid& grid, float level);

  /// One of each set that symmetry makes equal, the one of most points first.
  const std::vector<MapBlob>& different() const { return different_; }

  /// Takes a point into the period that it repeats. False for one outside the map.
  bool into_map(Index& idx) const;
  /// The number of the blob that a point belongs to, or -1.
  long blob_at(const Index& idx) const;
  /// A blob with its peak and centre in the cell in which they are near a point.
  MapBlob blob_near(long number, const Index& point) const;
  float value(const Index& idx) const;  // of a point of the map or of one that repeats it
  /// The point of a blob that is nearest to a point; in its neighbourhood, be it outside the period.
  Index nearest(const Index& to) const;

  /// Sets the values outside a blob to 0.
  void keep(VXCore::VXSkewGrid& grid, long number) const;

  double voxel_volume() const;                                            // Å^3
  std::array<double, 3> place(const Index& idx) const;                    // in Å
  std::array<double, 3> place(const std::array<double, 3>& steps) const;  // in Å
  std::array<double, 3> steps(const std::array<double, 3>& place) const;

 private:
  struct Run {
    long begin, end;  // along x
  };

  size_t row(long y, long z) const { return static_cast<size_t>(z * period_[1] + y); }
  const float* values(long y, long z) const { return values_ + (z * dim_[1] + y) * dim_[0]; }
  /// The shortest of the differences along an axis that are equal but for periods.
  long near(size_t axis, long difference) const;
  void find_runs(float level);
  void connect();
  void connect(size_t row, size_t other);
  void measure(float level);
  void find_different(const VXCore::VXSkewGrid& grid);
  long blob_around(const std::array<double, 3>& steps) const;

  const float* values_;
  Index dim_, period_;
  std::array<bool, 3> wraps_;
  std::array<double, 3> first_, step_[3];  // the place of the first point and the steps along the axes, in Å
  std::vector<Run> runs_;
  std::vector<size_t> rows_;    // where the runs of a row begin
  std::vector<size_t> number_;  // of each run: one that it is connected with; in the end its blob
  std::vector<MapBlob> blobs_, different_;
};
