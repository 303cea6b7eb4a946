#include <algorithm>
#include <cmath>

#include <vxgrid/grid/grid_format.h>
#include <vxgrid/molgrid/gaussian_fit.h>

#include "model_grid.h"
#include "verbs.h"

using namespace VXCore;

namespace {

// A Gaussian ends, and centres of Gaussians are sought, at these values of the density.
constexpr float kTail = 0.01f, kCut = 0.01f;
// Å: the widest Gaussian, and how much narrower the next are.
constexpr float kLargestRadius = 3.2f, kRadiusStep = 1.0f;

struct GaussianFit {
  double energy = 0, energy_left = 0;  // sum of value^2 times Å^3
  std::vector<float> centres, prefactors, widths;
};

VXZemoGrid read_density(const std::string& file, const Settings& settings) {
  VXSkewGrid grid = read_map(file, settings);
  const bool is_regular = grid.IsRegular();
  if (!is_regular) note(settings, file + ": brought onto a regular grid, which the fit needs");
  VXZemoGrid density = is_regular ? std::move(grid.GetImpl().GetImpl()) : VXZemoGrid(regular_map(file, grid));
  const float* values = density.GetValues();
  const float* const end = values + density.GetSize();
  if (!std::all_of(values, end, [](float value) { return std::isfinite(value); }))
    throw Failure(file, "holds values that are not finite numbers");
  if (std::none_of(values, end, [](float value) { return value > kCut; }))
    throw Failure(file, text("holds no value above %g, where Gaussians are sought", kCut));
  return density;
}

/// Of what lies above 0, which alone is fitted.
double energy_of(const VXZemoGrid& density) {
  double sum = 0;
  const float* values = density.GetValues();
  for (unsigned i = 0; i < density.GetSize(); ++i) {
    const double value = std::max(0.0f, values[i]);
    sum += value * value;
  }
  return sum * std::pow(density.GetSpacing(), 3);
}

GaussianFit compute(const GfitOptions& options, const Settings& settings) {
  GaussianFit fit;
  VXZemoGrid density = read_density(options.grid, settings), sum_of_gaussians;
  fit.energy = energy_of(density);
  const LibraryLog log;
  fit.energy_left = vx_make_grid_gaussian_representation(
      density, kTail, kCut, static_cast<float>(options.tolerance * fit.energy), 0, options.levels,
      kLargestRadius, kRadiusStep, options.max_count, fit.centres, fit.prefactors, fit.widths, true,
      sum_of_gaussians);
  log.pass_on(settings, options.grid);
  return fit;
}

void put_numbers(Json& json, const GaussianFit& fit) {
  json.field("count", static_cast<unsigned>(fit.widths.size()));
  json.field("energy", fit.energy);
  json.field("energy_left", fit.energy_left);
}

std::string document(const GaussianFit& fit, const std::string& grid) {
  Json json;
  json.open_object();
  json.field("grid", grid);
  put_numbers(json, fit);
  json.open_array("gaussians");
  for (size_t i = 0; i < fit.widths.size(); ++i) {
    json.open_object();
    json.field("prefactor", fit.prefactors[i]);
    json.field("width", fit.widths[i]);
    json.list("center", std::vector<float>(&fit.centres[3 * i], &fit.centres[3 * i] + 3));
    json.close_object();
  }
  json.close_array();
  json.close_object();
  return json.str() + "\n";
}

}  // namespace

void gfit(const GfitOptions& options, const Settings& settings) {
  if (VXIsWriteableGrid(options.output))
    throw Failure(options.output, "this is the extension of a map, and a JSON document is to be written");
  if (options.output == "-" && settings.json)
    throw WrongUsage("--json goes to standard output, and so do the Gaussians");
  const GaussianFit fit = compute(options, settings);
  write_text(options.output, document(fit, options.grid));
  if (options.output == "-") return;
  if (!settings.json) {
    std::printf("%s: %zu Gaussians, %.2f %% of the energy of %s left\n", options.output.c_str(),
                fit.widths.size(), 100 * fit.energy_left / fit.energy, options.grid.c_str());
    return;
  }
  Json json;
  json.open_object();
  json.field("file", options.output);
  put_numbers(json, fit);
  json.close_object();
  json.print();
}
