#include <algorithm>
#include <cmath>

#include <vxgrid/host/residue.h>
#include <vxgrid/processing/grid_values.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/realspace/density.h>
#include <vxgrid/realspace/fit_statistics.h>
#include <vxgrid/xtal/xtal_symmetry.h>

#include "map_region.h"
#include "verbs.h"

using namespace VXCore;
using VXXtal::VXSymmetry;

namespace {

// Filled in for atoms whose file gives 0 (Å² and a fraction).
constexpr double kDefaultBFactor = 20.0;
constexpr double kDefaultOccupancy = 1.0;

// An atom of this B factor (Å²) reaches over 16 Å; nothing in a crystal has a larger one.
constexpr double kLargestBFactor = 10000.0;

// More atoms of crystal mates than this are not looked for.
constexpr double kMostMates = 3e8;

// Residues whose RSCC lies below these are marked on a terminal.
constexpr double kDoubtful = 0.8, kBad = 0.6;
constexpr const char* kYellow = "\033[33m";
constexpr const char* kRed = "\033[31m";

struct Fit {
  std::string map_text;  // what the map was made of
  double radius = 0;
  VXFitStatistics whole;
  std::vector<VXResidueFit> residues;
};

/// -1 stands for a score that could not be computed.
bool scored(double value) { return std::isfinite(value) && value != -1.0; }

VXGraphMol read_scored_model(const std::string& file, const Settings& settings) {
  VXGraphMol model = read_crystal_model(file, settings);
  unsigned no_b = 0, no_occupancy = 0;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(model.GetAtoms())) {
    const VXResidue& residue = VXAtomGetResidue(&atom);
    if (!(residue.GetBFactor() >= 0 && residue.GetBFactor() <= kLargestBFactor))
      throw Failure(file, text("the B factor %g of an atom of residue %s %d lies outside 0 to %g Å²",
                               residue.GetBFactor(), residue.GetChainId().c_str(), residue.GetNumber(),
                               kLargestBFactor));
    no_b += residue.GetBFactor() == 0;
    no_occupancy += residue.GetOccupancy() == 0;
  }
  VXSetScatterDefaults(model, kDefaultBFactor, kDefaultOccupancy, 12);
  if (no_b)
    note(settings,
         text("%s: %u atoms have a B factor of 0; taken as %g", file.c_str(), no_b, kDefaultBFactor));
  if (no_occupancy)
    note(settings, text("%s: %u atoms have an occupancy of 0; taken as %g", file.c_str(), no_occupancy,
                        kDefaultOccupancy));
  return model;
}

VXSkewGrid read_data(const FitOptions& options, const Settings& settings, std::string& map_text) {
  InputFile input(options.data);
  if (input.format().kind == FileKind::Mtz) {
    MtzMap map = make_map(options.data, input, options.map, settings);
    map_text = options.map.type_or_default() + " from " + join(map.labels, ", ");
    return std::move(map.grid);
  }
  if (options.map.any())
    throw WrongUsage("--type, --columns and --fft go with an MTZ file, and " + options.data + " is none");
  map_text = "map";
  VXSkewGrid grid = read_map(options.data, input, settings);
  // In units of its sigma, as a map made from reflections is; a header without one leaves it to be computed.
  VXZemoGrid& inner = grid.GetImpl().GetImpl();
  if (!(inner.GetData<float>("ARMS") > 0)) inner.DeleteData("ARMS");
  VXSigmaNormalizeGrid(grid);
  return grid;
}

double mask_radius(const FitOptions& options, const VXSkewGrid& grid, const VXGraphMol& model,
                   std::string& map_text) {
  double resolution = 0;
  const bool known = (VXGetResolution(resolution, grid) && resolution > 0) ||
                     (VXGetResolution(resolution, model) && resolution > 0);
  if (known) map_text += text(", %.2f Å", resolution);
  if (options.radius > 0) return options.radius;
  if (!known)
    throw Failure(options.data,
                  "its resolution is not known, from it or from " + options.model +
                      "; give the mask radius in Å: --radius R (a third of the resolution is usual)");
  return VXGetEDSRadius(resolution);
}

/// The symmetry that the model is scored with: its own CRYST1 where that has the cell of the map, else the
/// map's.
VXSymmetry agree_on_symmetry(const VXSkewGrid& grid, VXGraphMol& model, const FitOptions& options,
                             const Settings& settings) {
  const LibraryLog log;
  const VXSymmetry of_map = map_symmetry(grid);
  const VXSymmetry of_model = model_symmetry(model);
  if (of_model && (!of_map || of_map.cell().equalsCell(of_model.cell(), 0.02f * of_map.cell().a)))
    return of_model;
  if (of_map) {
    const std::string why =
        of_model ? "the cell " + cell_text(of_model.cell()) + " of its CRYST1 record is another"
                 : "no usable CRYST1 record";
    note(settings, text("%s: %s; group %u %s and cell %s of %s are taken", options.model.c_str(), why.c_str(),
                        of_map.GetNumber(), of_map.GetName().c_str(), cell_text(of_map.cell()).c_str(),
                        options.data.c_str()));
    VXXtal::VXXtalSymmetry::SetSymmetry(model, of_map, false);
    VXXtal::VXSetPDBDataFromXtalSymmetry(model);
  } else if (grid.HasSpaceGroup()) {
    throw Failure(options.model,
                  text("no usable CRYST1 record, and group %u of %s does not fit its cell: give the "
                       "model a CRYST1 record (P 1 when there is no symmetry)",
                       grid.GetSpaceGroup(), options.data.c_str()));
  }
  return of_map;
}

void serve_or_refuse(VXSkewGrid& grid, const VXGraphMol& model, double radius, const FitOptions& options,
                     const Settings& settings) {
  const float margin = static_cast<float>(std::max(4.0, radius + 1));
  const std::optional<Coverage> coverage = serve_model(grid, map_symmetry(grid), model, margin);
  if (!coverage)
    throw Failure(options.model, "its atoms lie too far from each other to cut a box out of the map");
  if (coverage->inside == 0)
    throw Failure(options.model, text("far away from the map: none of its %u atoms lies inside %s",
                                      coverage->atoms, options.data.c_str()));
  if (coverage->inside < coverage->atoms)
    note(settings, text("%s: %u of %u atoms lie outside %s, where the map counts as 0", options.model.c_str(),
                        coverage->atoms - coverage->inside, coverage->atoms, options.data.c_str()));
}

/// Refuses a cell so small that the mates about the model would be too many.
void require_bearable_cell(const VXSkewGrid& grid, const VXSymmetry& symmetry, const VXGraphMol& model,
                           const FitOptions& options) {
  if (!symmetry) return;
  float centre[3], extents[3];
  VXGetCenterAndExtents(grid, centre, extents);
  const double reach = 2.0 * std::max({extents[0], extents[1], extents[2]});
  double mates = static_cast<double>(model.NumAtoms()) * symmetry.GetOpCount();
  const float* m = symmetry.cell().Cart2Frac();
  for (int axis = 0; axis < 3; ++axis) mates *= 1 + reach * std::hypot(m[axis], m[4 + axis], m[8 + axis]);
  if (!(mates <= kMostMates))
    throw Failure(options.model,
                  "the cell " + cell_text(symmetry.cell()) + " is too small for a model of this size");
}

Fit compute(const FitOptions& options, const Settings& settings) {
  Fit fit;
  VXGraphMol model = read_scored_model(options.model, settings);
  VXSkewGrid grid = read_data(options, settings, fit.map_text);
  fit.radius = mask_radius(options, grid, model, fit.map_text);
  const VXSymmetry symmetry = agree_on_symmetry(grid, model, options, settings);
  serve_or_refuse(grid, model, fit.radius, options, settings);
  require_bearable_cell(grid, symmetry, model, options);

  const LibraryLog log;
  fit.whole = VXGetFitStatistics(grid, model, fit.radius);
  ProgressBar progress(settings);
  fit.residues = VXGetResidueFit(grid, model, fit.radius, progress);
  if (std::none_of(fit.residues.begin(), fit.residues.end(),
                   [](const VXResidueFit& each) { return scored(each.fit.rscc); }))
    throw Failure(options.model, log.reason(options.model, "no residue could be scored"));
  return fit;
}

double or_nan(double value) { return scored(value) ? value : std::nan(""); }
std::string score_text(double value) { return scored(value) ? text("%.3f", value) : "-"; }

std::string insert_text(const VXResidue& residue) {
  return residue.GetInsertCode() == ' ' ? std::string() : std::string(1, residue.GetInsertCode());
}

void print_json(const Fit& fit) {
  Json json;
  json.open_object();
  json.field("rscc", or_nan(fit.whole.rscc));
  json.field("rsr", or_nan(fit.whole.rsr));
  json.field("radius", fit.radius);
  json.open_array("residues");
  for (const VXResidueFit& each : fit.residues) {
    json.open_object();
    json.field("chain", each.residue.GetChainId());
    json.field("number", each.residue.GetNumber());
    json.field("insert", insert_text(each.residue));
    json.field("name", each.residue.GetName());
    json.field("rscc", or_nan(each.fit.rscc));
    json.field("rsr", or_nan(each.fit.rsr));
    json.close_object();
  }
  json.close_array();
  json.close_object();
  json.print();
}

void print_table(const Fit& fit, const FitOptions& options) {
  std::printf("%s in %s (%s)\n", options.model.c_str(), options.data.c_str(), fit.map_text.c_str());
  std::printf("RSCC %s  RSR %s  radius %.3f Å  residues %zu\n\n", score_text(fit.whole.rscc).c_str(),
              score_text(fit.whole.rsr).c_str(), fit.radius, fit.residues.size());
  Table table({"chain", ">number", "name", ">RSCC", ">RSR"});
  for (const VXResidueFit& each : fit.residues) {
    const char* mark = !scored(each.fit.rscc)      ? ""
                       : each.fit.rscc < kBad      ? kRed
                       : each.fit.rscc < kDoubtful ? kYellow
                                                   : "";
    table.add(
        {each.residue.GetChainId(), std::to_string(each.residue.GetNumber()) + insert_text(each.residue),
         each.residue.GetName(), score_text(each.fit.rscc), score_text(each.fit.rsr)},
        mark);
  }
  table.print();
}

}  // namespace

void fit(const FitOptions& options, const Settings& settings) {
  Fit found = compute(options, settings);
  const auto failed = std::count_if(found.residues.begin(), found.residues.end(),
                                    [](const VXResidueFit& each) { return !scored(each.fit.rscc); });
  if (failed > 0)
    note(settings,
         text("%s: %ld residues not scored: fewer than two grid points within the mask radius, or no density "
              "there; a larger --radius may help",
              options.model.c_str(), static_cast<long>(failed)));
  if (options.sort)
    std::stable_sort(
        found.residues.begin(), found.residues.end(), [](const VXResidueFit& a, const VXResidueFit& b) {
          // What has no score stands last: it is not known to be bad.
          return (scored(a.fit.rscc) ? a.fit.rscc : 2.0) < (scored(b.fit.rscc) ? b.fit.rscc : 2.0);
        });
  if (settings.json)
    print_json(found);
  else
    print_table(found, options);
}
