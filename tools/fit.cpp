#include <algorithm>
#include <cmath>

#include <CLI/App.hpp>

#include <vxgrid/host/residue.h>
#include <vxgrid/processing/grid_values.h>
#include <vxgrid/realspace/density.h>
#include <vxgrid/realspace/fit_statistics.h>
#include <vxgrid/xtal/xtal_symmetry.h>

#include "input.h"
#include "map_region.h"
#include "verbs.h"

using namespace VXCore;

namespace {

// Filled in for atoms whose file gives 0 (Å² and a fraction).
constexpr double kDefaultBFactor = 20.0;
constexpr double kDefaultOccupancy = 1.0;

// Residues whose RSCC lies below these are marked on a terminal.
constexpr double kDoubtful = 0.8, kBad = 0.6;
constexpr const char* kYellow = "\033[33m";
constexpr const char* kRed = "\033[31m";

struct Options {
  std::string model, data;
  double radius = 0;
  bool sort = false;
  MapOptions map;
};

struct Fit {
  std::string map_text;  // what the map was made of
  double radius = 0;
  VXFitStatistics whole;
  std::vector<VXResidueFit> residues;
};

VXGraphMol read_scored_model(const std::string& file, const Settings& settings) {
  VXGraphMol model = read_model(file, settings);
  if (!VXHasResidues(model))
    throw Failure(file,
                  "no residue data (B factors, occupancies) in this file; a PDB or mmCIF file has them");
  unsigned no_b = 0, no_occupancy = 0;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(model.GetAtoms())) {
    no_b += VXAtomGetResidue(&atom).GetBFactor() == 0;
    no_occupancy += VXAtomGetResidue(&atom).GetOccupancy() == 0;
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

VXSkewGrid read_data(const Options& options, const Settings& settings, std::string& map_text) {
  if (kind_of(options.data) == FileKind::Mtz) {
    MtzMap map = make_map(options.data, options.map, settings);
    map_text = options.map.type + " from " + join(map.labels, ", ");
    return std::move(map.grid);
  }
  for (const char* name : {"--type", "--columns", "--fft"})
    if (options.map.verb->count(name) > 0)
      throw CLI::ValidationError(name, "goes with an MTZ file, and " + options.data + " is none");
  map_text = "map";
  VXSkewGrid grid = read_map(options.data, settings);
  // In units of its sigma, as a map made from reflections is; a header without one leaves it to be computed.
  VXZemoGrid& inner = grid.GetImpl().GetImpl();
  if (!(inner.GetData<float>("ARMS") > 0)) inner.DeleteData("ARMS");
  VXSigmaNormalizeGrid(grid);
  return grid;
}

double mask_radius(const Options& options, const VXSkewGrid& grid, const VXGraphMol& model,
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

/// Sees to it that the crystal mates of the model are there: from its own CRYST1, else from the map.
void give_symmetry(VXSkewGrid& grid, const VXXtal::VXSymmetry& of_map, VXGraphMol& model,
                   const Options& options, const Settings& settings) {
  const LibraryLog log;
  VXXtal::VXSymmetry of_model;
  const bool has = VXHasCrystalSymmetryImpl(model) && VXXtal::VXSetXtalSymmetryFromPDBData(model) &&
                   VXXtal::VXGetXtalSymmetry(model, of_model);
  if (has) {
    if (of_map && !of_map.cell().equalsCell(of_model.cell(), 0.02f * of_map.cell().a))
      note(settings, text("the cells differ: %s in %s, %s in %s", cell_text(of_model.cell()).c_str(),
                          options.model.c_str(), cell_text(of_map.cell()).c_str(), options.data.c_str()));
  } else if (of_map) {
    grid.SetData("vx_symm", of_map);
    note(settings, text("%s: no usable CRYST1 record; group %u %s of %s is taken", options.model.c_str(),
                        of_map.GetNumber(), of_map.GetName().c_str(), options.data.c_str()));
  } else if (grid.HasSpaceGroup()) {
    throw Failure(options.model,
                  text("no usable CRYST1 record, and group %u of %s does not fit its cell: give the "
                       "model a CRYST1 record (P 1 when there is no symmetry)",
                       grid.GetSpaceGroup(), options.data.c_str()));
  }
}

void serve_or_refuse(VXSkewGrid& grid, const VXXtal::VXSymmetry& symmetry, const VXGraphMol& model,
                     double radius, const Options& options, const Settings& settings) {
  const float margin = static_cast<float>(std::max(4.0, radius + 1));
  const Coverage coverage = serve_model(grid, symmetry, model, margin);
  if (coverage.inside == 0)
    throw Failure(options.model, text("far away from the map: none of its %u atoms lies inside %s",
                                      coverage.atoms, options.data.c_str()));
  if (coverage.inside < coverage.atoms)
    note(settings, text("%s: %u of %u atoms lie outside %s, where the map counts as 0", options.model.c_str(),
                        coverage.atoms - coverage.inside, coverage.atoms, options.data.c_str()));
}

Fit compute(const Options& options, const Settings& settings) {
  Fit fit;
  VXGraphMol model = read_scored_model(options.model, settings);
  VXSkewGrid grid = read_data(options, settings, fit.map_text);
  fit.radius = mask_radius(options, grid, model, fit.map_text);
  const VXXtal::VXSymmetry symmetry = map_symmetry(grid);
  give_symmetry(grid, symmetry, model, options, settings);
  serve_or_refuse(grid, symmetry, model, fit.radius, options, settings);

  const LibraryLog log;
  fit.whole = VXGetFitStatistics(grid, model, fit.radius);
  if (fit.whole.rscc == -1.0)
    throw Failure(options.model, log.reason(options.model, "no score could be computed"));
  ProgressBar progress(settings);
  fit.residues = VXGetResidueFit(grid, model, fit.radius, progress);
  return fit;
}

/// -1 stands for a score that could not be computed.
bool scored(double value) { return std::isfinite(value) && value != -1.0; }
double or_nan(double value) { return scored(value) ? value : std::nan(""); }
std::string score_text(double value) { return scored(value) ? text("%.3f", value) : "-"; }

std::string insert_text(const VXResidue& residue) {
  return residue.GetInsertCode() == ' ' ? std::string() : std::string(1, residue.GetInsertCode());
}

void print_json(const Fit& fit) {
  Json json;
  json.open_object();
  json.field("rscc", fit.whole.rscc);
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

void print_table(const Fit& fit, const Options& options) {
  std::printf("%s in %s (%s)\n", options.model.c_str(), options.data.c_str(), fit.map_text.c_str());
  std::printf("RSCC %.3f  RSR %.3f  radius %.3f Å  residues %zu\n\n", fit.whole.rscc, fit.whole.rsr,
              fit.radius, fit.residues.size());
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

void run(const Options& options, const Settings& settings) {
  Fit fit = compute(options, settings);
  const auto failed = std::count_if(fit.residues.begin(), fit.residues.end(),
                                    [](const VXResidueFit& each) { return !scored(each.fit.rscc); });
  if (failed > 0)
    note(settings,
         text("%s: %ld residues not scored: fewer than two grid points within the mask radius, or no density "
              "there; a larger --radius may help",
              options.model.c_str(), static_cast<long>(failed)));
  if (options.sort)
    std::stable_sort(
        fit.residues.begin(), fit.residues.end(), [](const VXResidueFit& a, const VXResidueFit& b) {
          // What has no score stands last: it is not known to be bad.
          return (scored(a.fit.rscc) ? a.fit.rscc : 2.0) < (scored(b.fit.rscc) ? b.fit.rscc : 2.0);
        });
  if (settings.json)
    print_json(fit);
  else
    print_table(fit, options);
}

}  // namespace

void add_fit(CLI::App& app, Settings& settings) {
  auto options = std::make_shared<Options>();
  CLI::App* verb =
      add_verb(app, settings, "fit", "score a model against a map: RSCC and RSR, whole and per residue",
               "fit model.pdb data.mtz --sort");
  verb->add_option("MODEL", options->model, "coordinates: .pdb, .ent, .cif, .mmcif, also .gz")->required();
  verb->add_option("DATA", options->data, "reflections (.mtz) or a map (.map, .ccp4, .ccp, .agd)")
      ->required();
  verb->add_option("--radius", options->radius,
                   "mask radius about the atoms in Å; by default from the resolution")
      ->check(CLI::Range(0.01, 10.0))
      ->type_name("R");
  verb->add_flag("--sort", options->sort, "worst residues first");
  options->map.add_to(verb);
  verb->callback([options, &settings] { run(*options, settings); });
}
