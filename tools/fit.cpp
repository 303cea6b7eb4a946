#include <algorithm>
#include <cmath>

#include <vxgrid/host/residue.h>
#include <vxgrid/realspace/density.h>
#include <vxgrid/realspace/model_fit.h>

#include "verbs.h"

using namespace VXCore;

namespace {

// Residues whose RSCC lies below these are marked on a terminal.
constexpr double kDoubtful = 0.8, kBad = 0.6;
constexpr const char* kYellow = "\033[33m";
constexpr const char* kRed = "\033[31m";

struct Fit {
  std::string map_text;  // what the map was made of
  double radius = 0;
  VXModelFit scores;
};

/// -1 stands for a score that could not be computed.
bool scored(double value) { return std::isfinite(value) && value != -1.0; }

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
  return read_map(options.data, input, settings);
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

Fit compute(const FitOptions& options, const Settings& settings) {
  Fit fit;
  const VXGraphMol model = read_crystal_model(options.model, settings);
  VXSkewGrid grid = read_data(options, settings, fit.map_text);
  fit.radius = mask_radius(options, grid, model, fit.map_text);
  const LibraryLog log;
  ProgressBar progress(settings);
  const bool done = VXFitModel(fit.scores, std::move(grid), model, fit.radius, progress);
  progress.Hide();
  if (!done) throw Failure(options.model, log.reason(options.model, "it could not be scored"));
  log.pass_on(settings, options.model);
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
  json.field("rscc", or_nan(fit.scores.whole.rscc));
  json.field("rsr", or_nan(fit.scores.whole.rsr));
  json.field("radius", fit.radius);
  json.open_array("residues");
  for (const VXResidueFit& each : fit.scores.residues) {
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
  std::printf("RSCC %s  RSR %s  radius %.3f Å  residues %zu\n\n", score_text(fit.scores.whole.rscc).c_str(),
              score_text(fit.scores.whole.rsr).c_str(), fit.radius, fit.scores.residues.size());
  Table table({"chain", ">number", "name", ">RSCC", ">RSR"});
  for (const VXResidueFit& each : fit.scores.residues) {
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
  if (options.sort)
    std::stable_sort(found.scores.residues.begin(), found.scores.residues.end(),
                     [](const VXResidueFit& a, const VXResidueFit& b) {
                       // What has no score stands last: it is not known to be bad.
                       return (scored(a.fit.rscc) ? a.fit.rscc : 2.0) <
                              (scored(b.fit.rscc) ? b.fit.rscc : 2.0);
                     });
  if (settings.json)
    print_json(found);
  else
    print_table(found, options);
}
