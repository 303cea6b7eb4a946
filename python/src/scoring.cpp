#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/residue.h>
#include <vxgrid/realspace/density.h>
#include <vxgrid/realspace/fit_statistics.h>
#include <vxgrid/realspace/model_fit.h>

#include "arrays.h"
#include "bindings.h"
#include "call.h"
#include "grids.h"
#include "molecules.h"

using namespace VXCore;

namespace {

py::object row_type(const char* name) { return py::module_::import("vxgrid._rows").attr(name); }

[[noreturn]] void throw_wrong_type(const char* name, const char* wanted, const py::object& came) {
  throw py::type_error(std::string(name) + ": " + wanted + " was wanted, " + Py_TYPE(came.ptr())->tp_name +
                       " came");
}

/// A grid out of an argument, or null when it is no such grid.
template <class Grid>
const Grid* grid_of(const py::object& object) {
  return py::isinstance<Grid>(object) ? &object.cast<const Grid&>() : nullptr;
}

/// A number of Å above 0; where None is given, the usual one for the resolution.
double radius_of(const py::object& given, const VXSkewGrid* observed, const VXGraphMol& model) {
  double radius = 0;
  if (given.is_none()) {
    double resolution = 0;
    const VXMessageCapture unheard;
    if ((observed && VXGetResolution(resolution, *observed) && resolution > 0) ||
        (VXGetResolution(resolution, model) && resolution > 0))
      return VXGetEDSRadius(resolution);
    throw py::value_error(
        "radius: the mask radius in Å was wanted, as neither the map nor the model knows its resolution "
        "(mask_radius(resolution) is usual)");
  }
  try {
    radius = given.cast<double>();
  } catch (const py::cast_error&) {
    throw_wrong_type("radius", "a number of Å or None", given);
  }
  if (std::isfinite(radius) && radius > 0) return radius;
  throw py::value_error("radius: a number of Å above 0 was wanted, " + std::to_string(radius) + " came");
}

/// What a model is compared with: a map and perhaps a calculated one, or another model.
struct Scored {
  Scored(const VXGraphMol& mol, const py::object& observed, const py::object& calculated,
         const py::object& given_radius)
      : model(mol),
        obs(grid_of<VXSkewGrid>(observed)),
        plain_obs(grid_of<VXScalarGrid>(observed)),
        other(py::isinstance<VXGraphMol>(observed) ? &observed.cast<const VXGraphMol&>() : nullptr),
        calc(grid_of<VXSkewGrid>(calculated)),
        plain_calc(grid_of<VXScalarGrid>(calculated)) {
    if (!obs && !plain_obs && !other)
      throw_wrong_type("observed", "a SkewGrid, a ScalarGrid or a Molecule", observed);
    if (!calculated.is_none() && ((obs && !calc) || (plain_obs && !plain_calc) || other))
      throw_wrong_type("calculated",
                       other ? "None beside a molecule" : "a grid of the kind of observed or None",
                       calculated);
    radius = radius_of(given_radius, obs, model);
  }

  const VXGraphMol& model;
  const VXSkewGrid* obs;
  const VXScalarGrid* plain_obs;
  const VXGraphMol* other;
  const VXSkewGrid* calc;
  const VXScalarGrid* plain_calc;
  double radius;
};

constexpr const char* kNoScore = "no score: fewer than two grid points lie within the radius of the model";

/// Calls statistic(...) with what there is, for a molecule `mol` that may be a copy of the model.
template <class Molecule, class Statistic>
double statistic_of(const Scored& s, Molecule& mol, Statistic&& statistic) {
  double score = -1;
  run(kNoScore, [&] {
    score = s.obs ? (s.calc ? statistic(*s.obs, *s.calc, mol, s.radius) : statistic(*s.obs, mol, s.radius))
            : s.plain_obs ? (s.plain_calc ? statistic(*s.plain_obs, *s.plain_calc, mol, s.radius)
                                          : statistic(*s.plain_obs, mol, s.radius))
                          : statistic(mol, const_cast<VXGraphMol&>(*s.other), s.radius);
    return score != -1 && std::isfinite(score);
  });
  return score;
}

double rscc(const VXGraphMol& model, const py::object& observed, const py::object& radius,
            const py::object& calculated) {
  return statistic_of(Scored(model, observed, calculated, radius), model,
                      [](const auto&... given) { return VXRSCC(given...); });
}

double rsr(const VXGraphMol& model, const py::object& observed, const py::object& radius,
           const py::object& calculated) {
  return statistic_of(Scored(model, observed, calculated, radius), model,
                      [](const auto&... given) { return VXRSR(given...); });
}

py::object rscc_maps(const VXGraphMol& model, const py::object& observed, const py::object& radius,
                     const py::object& calculated) {
  const Scored scored(model, observed, calculated, radius);
  VXGraphMol annotated = compute([&] { return VXGraphMol(model); });
  const double score =
      statistic_of(scored, annotated, [](auto&... given) { return VXAnnotateRSCC(given...); });
  const auto map = [&](const char* name) {
    return compute([&] { return std::make_shared<VXScalarGrid>(annotated.GetData<VXScalarGrid>(name)); });
  };
  return row_type("RsccMaps")(score, map("ed"), map("scatter"), map("mask"));
}

double or_nan(double score) { return score == -1 ? std::numeric_limits<double>::quiet_NaN() : score; }

py::list rows_of(const std::vector<VXResidueFit>& residues) {
  const py::object row = row_type("ResidueFit");
  py::list rows;
  for (const VXResidueFit& each : residues) {
    const VXResidue& r = each.residue;
    const std::string insert_code(r.GetInsertCode() == ' ' ? 0 : 1, r.GetInsertCode());
    rows.append(row(text_of(r.GetChainId()), r.GetNumber(), text_of(insert_code), text_of(r.GetName()),
                    or_nan(each.fit.rscc), or_nan(each.fit.rsr)));
  }
  return rows;
}

py::list score_residues(const VXGraphMol& model, const py::object& observed, const py::object& radius,
                        const py::object& calculated, const py::object& progress) {
  const Scored s(model, observed, calculated, radius);
  if (s.other) throw_wrong_type("observed", "a SkewGrid or a ScalarGrid", observed);
  std::vector<VXResidueFit> residues;
  PythonProgress tracer(progress);
  run("the model has no residues", [&] {
    const VXMessageCapture unheard;  // of residues without a score: their rows show it
    if (!VXHasResidues(s.model)) return false;
    const auto score = [&](const VXSkewGrid& obs) { return VXGetResidueFit(obs, s.model, s.radius, tracer); };
    if (s.obs)
      residues = s.calc ? VXGetResidueFit(*s.obs, *s.calc, s.model, s.radius, tracer) : score(*s.obs);
    else if (s.plain_calc)
      residues =
          VXGetResidueFit(VXSkewGrid(*s.plain_obs), VXSkewGrid(*s.plain_calc), s.model, s.radius, tracer);
    else
      residues = score(VXSkewGrid(*s.plain_obs));
    return true;
  });
  tracer.finish();
  return rows_of(residues);
}

py::object score_model(const VXGraphMol& model, const VXSkewGrid& observed, const py::object& given,
                       const py::object& progress) {
  const double radius = radius_of(given, &observed, model);
  VXModelFit fit;
  PythonProgress tracer(progress);
  try {
    run("the model cannot be scored", [&] { return VXFitModel(fit, observed, model, radius, tracer); });
  } catch (const LibraryError&) {
    tracer.rethrow();  // what progress raised stopped it
    throw;
  }
  tracer.finish();
  return row_type("ModelFit")(or_nan(fit.whole.rscc), or_nan(fit.whole.rsr), radius, rows_of(fit.residues));
}

}  // namespace

void bind_scoring(py::module_& module) {
  const py::none none;
  module.def(
      "score_model", &score_model, py::arg("model"), py::arg("observed"), py::kw_only(),
      py::arg("radius") = none, py::arg("progress") = none,
      "Scores a model against a map of its crystal, as files give them: a ModelFit with the figures of "
      "`vxgrid fit`.\n\n"
      "Atoms without a B factor or an occupancy get 20 Å² and 1; the map is brought into units of its "
      "sigma unless it\n"
      "is, and completed around the model by symmetry: the model's own where its cell is that of the "
      "map, else the\n"
      "map's. Warnings on the logger tell what was assumed. Model and map stay as they are.\n\n"
      "radius (Å) is that of the mask about each atom, by default mask_radius of the resolution of the "
      "map or the\n"
      "model; progress(done, total) is called for each residue.");
  module.def("score_residues", &score_residues, py::arg("model"), py::arg("observed"), py::kw_only(),
             py::arg("radius") = none, py::arg("calculated") = none, py::arg("progress") = none,
             "RSCC and RSR of each residue in the map as it stands, a list of ResidueFit in the order of the "
             "molecule.\n\n"
             "The calculated map, where none is given, is that of the whole model on the lattice of the "
             "observed one.\n"
             "score_model prepares map and model first.");
  module.def(
      "rscc", &rscc, py::arg("model"), py::arg("observed"), py::kw_only(), py::arg("radius") = none,
      py::arg("calculated") = none,
      "The real-space correlation coefficient of a map and the density of a model, 1 for a perfect fit."
      "\n\n"
      "Over the points within radius (Å) of the atoms other than hydrogen, on a regular grid around the "
      "model. The\n"
      "observed map may be another Molecule, whose density then counts. Without a calculated map that "
      "of the model is\n"
      "made. Map and model are taken as they stand: score_model prepares them first.");
  module.def("rsr", &rsr, py::arg("model"), py::arg("observed"), py::kw_only(), py::arg("radius") = none,
             py::arg("calculated") = none,
             "The real-space R value, sum |calc - obs| / sum |calc + obs|, 0 for a perfect fit.\n\nOver the "
             "points that rscc takes; unlike there, the scale of the maps matters.");
  module.def("rscc_maps", &rscc_maps, py::arg("model"), py::arg("observed"), py::kw_only(),
             py::arg("radius") = none, py::arg("calculated") = none,
             "rscc with what it was computed from: the observed map, the calculated one (0 outside the mask) "
             "and the mask (2\n"
             "inside, 0 outside) as ScalarGrids on one lattice, in RsccMaps.");
}
