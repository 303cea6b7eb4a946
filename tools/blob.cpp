#include <algorithm>
#include <cmath>

#include "map_blobs.h"
#include "map_values.h"
#include "model_grid.h"
#include "verbs.h"

using namespace VXCore;

namespace {

constexpr size_t kListed = 10;

using Place = std::array<double, 3>;

struct Row {
  MapBlob blob;
  double volume;  // Å^3
  Place peak_at, centre;
};

Row row_of(const MapBlobs& blobs, const MapBlob& blob) {
  return {blob, blob.points * blobs.voxel_volume(), blobs.place(blob.peak_at), blobs.place(blob.centre)};
}

std::string place_text(const Place& place) { return text("%.2f,%.2f,%.2f", place[0], place[1], place[2]); }

/// The corners of the smallest box along x, y and z around a map.
std::string box_text(const MapBlobs& blobs, const VXSkewGrid& grid) {
  const long last[] = {grid.GetXDim() - 1l, grid.GetYDim() - 1l, grid.GetZDim() - 1l};
  Place low, high;
  for (unsigned corner = 0; corner < 8; ++corner) {
    const Place at =
        blobs.place(Index{corner & 1 ? last[0] : 0, corner & 2 ? last[1] : 0, corner & 4 ? last[2] : 0});
    for (size_t i = 0; i < 3; ++i) {
      low[i] = corner ? std::min(low[i], at[i]) : at[i];
      high[i] = corner ? std::max(high[i], at[i]) : at[i];
    }
  }
  return place_text(low) + " to " + place_text(high);
}

/// The point that is nearest to a place. Failure for a place more than half a step or so outside the map.
Index point_at(const BlobOptions& options, const MapBlobs& blobs, const VXSkewGrid& grid) {
  const Place place = {options.at[0], options.at[1], options.at[2]}, steps = blobs.steps(place);
  Index found{};
  double least = INFINITY;
  const bool countable =
      std::all_of(steps.begin(), steps.end(), [](double n) { return std::fabs(n) < 1e15; });
  for (int corner = 0; corner < 8 && countable; ++corner) {
    Index at;
    for (size_t axis = 0; axis < 3; ++axis)
      at[axis] = std::lround(std::floor(steps[axis])) + (corner >> axis & 1);
    const Place is = blobs.place(at);
    const double away = std::hypot(is[0] - place[0], is[1] - place[1], is[2] - place[2]);
    if (Index inside = at; away < least && blobs.into_map(inside)) {
      least = away;
      found = at;
    }
  }
  if (least == INFINITY)
    throw Failure(options.map, "the place " + place_text(place) + " lies outside the map, which spans " +
                                   box_text(blobs, grid) +
                                   " Å; name one within, or take a map of that region");
  return found;
}

/// The blob at a point. Failure, with where the next one is, when there is none.
long blob_at(const BlobOptions& options, const MapBlobs& blobs, const Index& point, float level) {
  const long number = blobs.blob_at(point);
  if (number >= 0) return number;
  throw Failure(options.map,
                text("the value at the place, %.5g, is below the level, %.5g; the nearest blob reaches to %s",
                     blobs.value(point), level, place_text(blobs.place(blobs.nearest(point))).c_str()));
}

void print_json(const BlobOptions& options, float level, size_t count, const std::vector<Row>& rows) {
  Json json;
  json.open_object();
  json.field("file", options.map);
  if (!options.output.empty()) json.field("output", options.output);
  json.field("level", level);
  json.field("count", static_cast<unsigned>(count));
  json.open_array("blobs");
  for (const Row& row : rows) {
    json.open_object();
    json.field("points", row.blob.points);
    json.field("volume", row.volume);
    json.field("peak", row.blob.peak);
    json.list("peak_at", row.peak_at);
    json.list("centre", row.centre);
    json.field("copies", row.blob.copies);
    json.close_object();
  }
  json.close_array();
  json.close_object();
  json.print();
}

void print_tsv(const std::vector<Row>& rows) {
  std::puts("points\tvolume\tpeak\tpeak_x\tpeak_y\tpeak_z\tcentre_x\tcentre_y\tcentre_z\tcopies");
  for (const Row& row : rows) {
    std::vector<std::string> cells = {std::to_string(row.blob.points), shortest(row.volume),
                                      shortest(row.blob.peak)};
    for (const Place& place : {row.peak_at, row.centre})
      for (const double coordinate : place) cells.push_back(shortest(coordinate));
    cells.push_back(std::to_string(row.blob.copies));
    std::puts(join(cells, "\t").c_str());
  }
}

void print_table(const BlobOptions& options, float level, size_t count, const std::vector<Row>& rows) {
  if (options.output.empty())
    std::printf("%s: %zu blob%s at level %.5g, copies by symmetry aside\n\n", options.map.c_str(), count,
                count == 1 ? "" : "s", level);
  else
    std::printf("%s: the blob of %s at level %.5g\n\n", options.output.c_str(), options.map.c_str(), level);
  Table table({">points", ">volume", ">peak", ">peak at", ">centre", ">copies"});
  for (const Row& row : rows)
    table.add({std::to_string(row.blob.points), text("%.2f", row.volume), text("%.4g", row.blob.peak),
               place_text(row.peak_at), place_text(row.centre), std::to_string(row.blob.copies)});
  table.print();
}

}  // namespace

void blob(const BlobOptions& options, const Settings& settings) {
  if (!options.output.empty()) {
    if (options.at.empty()) throw WrongUsage("-o writes the blob at a place, which --at X,Y,Z names");
    require_map_extension(options.output);
  }
  VXSkewGrid grid = read_map(options.map, settings);
  require_lattice(options.map, grid);
  const float level = level_in_map(options.map, grid, options.level);
  const MapBlobs blobs(grid, level);

  std::vector<Row> rows;
  if (options.at.empty()) {
    for (size_t i = 0; i < std::min(kListed, blobs.different().size()); ++i)
      rows.push_back(row_of(blobs, blobs.different()[i]));
  } else {
    const Index point = point_at(options, blobs, grid);
    const long number = blob_at(options, blobs, point, level);
    rows.push_back(row_of(blobs, blobs.blob_near(number, point)));
    if (!options.output.empty()) {
      blobs.keep(grid, number);
      renew_statistics(grid);
      fit_to_format(options.output, options.map, grid, settings);
      write_map(options.output, grid);
    }
  }
  if (settings.json)
    print_json(options, level, blobs.different().size(), rows);
  else if (options.tsv)
    print_tsv(rows);
  else
    print_table(options, level, blobs.different().size(), rows);
}
