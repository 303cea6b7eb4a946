#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/molgrid/contact_grid.h>
#include <vxgrid/molgrid/molecular_grid.h>
#include <vxgrid/molgrid/proximity_grid.h>
#include <vxgrid/molgrid/sphere_grid.h>
#include <vxgrid/processing/grid_struct.h>

#include "arrays.h"
#include "bindings.h"
#include "call.h"
#include "grids.h"
#include "molecules.h"

using namespace VXCore;

namespace {

constexpr py::ssize_t kMost = 2147483647;  // samples of a grid, numbers in an array

void require_spacing(float spacing) {
  if (!(std::isfinite(spacing) && spacing > 0))
    throw py::value_error("spacing: a number of Å above 0 was wanted, " + std::to_string(spacing) + " came");
}

/// ValueError unless a grid can hold the lattice around a molecule.
void require_lattice(const VXGraphMol& mol, double margin, float spacing) {
  require_spacing(spacing);
  float center[3], extents[3];
  if (!VXGetCenterAndExtents(mol, center, extents))
    throw py::value_error("molecule: it has no atoms with coordinates");
  double samples = 1;
  for (const float extent : extents)
    samples *= std::floor((static_cast<double>(extent) + 2 * margin) / static_cast<double>(spacing)) + 3;
  if (!(samples <= static_cast<double>(kMost)))
    throw py::value_error("spacing: " + std::to_string(spacing) +
                          " Å makes more samples of this molecule than the 2147483647 that a grid holds");
}

VXScalarGrid lattice_of(const VXScalarGrid& grid) {
  return VXScalarGrid(static_cast<int>(grid.GetXDim()), static_cast<int>(grid.GetYDim()),
                      static_cast<int>(grid.GetZDim()), grid.GetXMid(), grid.GetYMid(), grid.GetZMid(),
                      grid.GetSpacing(), std::string(), nullptr);
}

ScalarGridPtr gaussian_grid(const VXGraphMol& mol, float spacing, const VXScalarGrid* like, bool product) {
  if (!like) require_lattice(mol, 4, spacing);
  if (like && like->GetSize() < 2) throw py::value_error("like: a grid of two samples or more was wanted");
  auto grid = std::make_shared<VXScalarGrid>();
  run("the molecule has no atoms", [&] {
    if (like) *grid = lattice_of(*like);
    const float step = like ? like->GetSpacing() : spacing;
    if (!product)
      return (like ? VXMakeMolecularGaussianGrid(*grid, mol)
                   : VXMakeMolecularGaussianGrid(*grid, mol, step)) &&
             grid->GetSize() > 1;
    VXZemoGrid work;
    if (like) work = VXZemoGrid(*grid);
    const bool made = vx_make_molecular_product_gaussian_grid(mol, step, work) != 0;
    work.MoveFloats(*grid);
    return made && grid->GetSize() > 1;
  });
  return grid;
}

ScalarGridPtr contact_grid(const VXGraphMol& mol, const VXGraphMol* other, float spacing, bool hydrogens,
                           const std::string& method, int bond_depth) {
  if (method != "gaussian" && method != "spheres")
    throw py::value_error("method: \"gaussian\" or \"spheres\" was wanted, \"" + method + "\" came");
  if (bond_depth < 0)
    throw py::value_error("bond_depth: 0 or more was wanted, " + std::to_string(bond_depth) + " came");
  require_lattice(mol, 4, spacing);
  if (other) require_lattice(*other, 4, spacing);
  auto grid = std::make_shared<VXScalarGrid>();
  run("there are no atoms but hydrogens", [&] {
    if (other)
      return VXMakeContactGrid(*grid, mol, *other, !hydrogens, spacing, method == "gaussian" ? 0 : 1);
    VXContactGridImpl contact(mol, !hydrogens, spacing);
    contact.MakeContactGrid(static_cast<unsigned int>(bond_depth));
    *grid = contact.ReleaseContactGrid();
    return true;
  });
  return grid;
}

// --- spheres ---

/// x, y, z and radius of n spheres. Radii are an array of n, one for all, or None for 0.
std::vector<float> spheres_of(const py::object& centers, const py::object& radii, const char* centers_name,
                              const char* radii_name) {
  const Floats xyz = numbers<Floats>(centers, centers_name, {-1, 3});
  const py::ssize_t n = xyz.shape(0);
  if (n > kMost / 4) throw py::value_error(std::string(centers_name) + ": too many");
  const Floats r = numbers_for<Floats>(radii.is_none() ? py::float_(0.0) : radii, radii_name, n);
  std::vector<float> spheres(static_cast<std::size_t>(4 * n));
  for (py::ssize_t i = 0; i < n; ++i) {
    float* const sphere = &spheres[static_cast<std::size_t>(4 * i)];
    std::copy_n(xyz.data() + 3 * i, 3, sphere);
    sphere[3] = r.at(i);
    for (int k = 0; k < 4; ++k)
      if (!std::isfinite(sphere[k]))
        throw py::value_error(std::string(k < 3 ? centers_name : radii_name) +
                              ": finite numbers were wanted, " + std::to_string(sphere[k]) + " came for " +
                              std::to_string(i));
  }
  return spheres;
}

float finite(float value, const char* name) {
  if (std::isfinite(value)) return value;
  throw py::value_error(std::string(name) + ": a finite number was wanted, " + std::to_string(value) +
                        " came");
}

/// A record whose integers go with it.
struct Lattice : GridStruct {
  Lattice() : GridStruct{} {}
  explicit Lattice(const VXScalarGrid& grid) : GridStruct{} { take(grid); }
  void take(const VXScalarGrid& grid) {
    xmid = grid.GetXMid();
    ymid = grid.GetYMid();
    zmid = grid.GetZMid();
    xdim = static_cast<int>(grid.GetXDim());
    ydim = static_cast<int>(grid.GetYDim());
    zdim = static_cast<int>(grid.GetZDim());
    spacing = grid.GetSpacing();
    inverse_spacing = 1.0f / spacing;
  }
  Lattice(const Lattice&) = delete;
  Lattice& operator=(const Lattice&) = delete;
  ~Lattice() { std::free(integers); }
  py::ssize_t size() const { return integers ? py::ssize_t{1} * xdim * ydim * zdim : 0; }
};

ScalarGridPtr sphere_grid(const py::object& centers, const py::object& radii, float probe, float spacing,
                          float margin) {
  std::vector<float> spheres = spheres_of(centers, radii, "centers", "radii");
  if (spheres.empty()) throw py::value_error("centers: one sphere at least was wanted");
  require_spacing(spacing);
  finite(probe, "probe");
  finite(margin, "margin");
  auto grid = std::make_shared<VXScalarGrid>();
  run("no grid can hold the lattice around the spheres", [&] {
    Lattice lattice;
    vi_sph_to_grid(0, spheres.data(), nullptr, static_cast<int>(spheres.size() / 4), probe, &lattice, spacing,
                   margin, 4);
    if (!lattice.integers || vx_grid_struct_overflow(lattice) || lattice.size() < 1) return false;
    *grid = VXScalarGrid(lattice.xdim, lattice.ydim, lattice.zdim, lattice.xmid, lattice.ymid, lattice.zmid,
                         spacing, std::string(), nullptr);
    std::copy_n(lattice.integers, lattice.size(), grid->GetValues());
    return true;
  });
  return grid;
}

void mark_spheres(VXScalarGrid& grid, const py::object& centers, const py::object& radii, float probe,
                  float value) {
  std::vector<float> spheres = spheres_of(centers, radii, "centers", "radii");
  finite(probe, "probe");
  Lattice lattice(grid);
  lattice.floats = grid.GetValues();
  run("the spheres cannot be marked", [&] {
    return vi_map_spheres_to_grid(spheres.data(), "spheres", nullptr, lattice, probe,
                                  static_cast<int>(spheres.size() / 4), value) != 0;
  });
}

// --- proximity ---

/// Which points are near each cell of a lattice.
struct Proximity {
  Lattice lattice;
  std::vector<int> runs;
  std::size_t points = 0;
};

std::unique_ptr<Proximity> new_proximity(const py::object& points, const py::object& radii, float probe,
                                         float spacing, float margin, const VXScalarGrid* like,
                                         const py::object& mask_points, const py::object& mask_radii,
                                         float mask_probe) {
  std::vector<float> spheres = spheres_of(points, radii, "points", "radii");
  finite(probe, "probe");
  require_spacing(spacing);
  finite(margin, "margin");
  const auto n = static_cast<int>(spheres.size() / 4);
  if (!mask_points.is_none() && !like) throw py::value_error("mask_points: like= is wanted with them");
  std::vector<float> mask;
  if (!mask_points.is_none()) mask = spheres_of(mask_points, mask_radii, "mask_points", "mask_radii");
  finite(mask_probe, "mask_probe");

  auto made = std::make_unique<Proximity>();
  made->points = static_cast<std::size_t>(n);
  const auto split = [](const std::vector<float>& from, std::vector<float>& xyz, std::vector<float>& r) {
    for (std::size_t i = 0; i < from.size(); i += 4) {
      xyz.insert(xyz.end(), &from[i], &from[i] + 3);
      r.push_back(from[i + 3]);
    }
  };
  compute([&] {
    const VXMessageCapture messages;
    int found = 0;
    if (like) {
      std::vector<float> xyz, r, mask_xyz, mask_r;
      split(spheres, xyz, r);
      split(mask, mask_xyz, mask_r);
      made->lattice.take(*like);
      found = vx_make_masked_and_boxed_proximity_grid(xyz.data(), r.data(), n, probe, mask_xyz.data(),
                                                      mask_r.data(), static_cast<int>(mask_r.size()),
                                                      mask_probe, &made->lattice, made->runs);
    } else {
      found = vx_make_proximity_grid(0, spheres.data(), nullptr, n, probe, &made->lattice, spacing, margin, 4,
                                     made->runs);
    }
    if (!found && (!messages.GetMessages().empty() || !made->lattice.integers))
      throw LibraryError(reason(messages, "no lattice can be made around the points"));
  });
  made->lattice.inverse_spacing = 1.0f / made->lattice.spacing;
  return made;
}

py::array_t<int> locked(py::array_t<int> view) {
  view.attr("setflags")(py::arg("write") = false);
  return view;
}

/// The points near places: for each place a run of indices, and where the runs start.
py::tuple near(const Proximity& proximity, const py::object& points) {
  Floats xyz = numbers<Floats>(points, "points", {-1, 3});
  const auto n = static_cast<std::size_t>(xyz.shape(0));
  if (xyz.shape(0) > kMost) throw py::value_error("points: too many");
  std::vector<float> at(xyz.data(), xyz.data() + xyz.size());
  std::vector<int> indices, starts{0};
  compute([&] {
    std::vector<int> found(n);
    GridStruct lattice = proximity.lattice;
    vx_get_proximity_list(at.data(), static_cast<int>(n), &lattice, 2, found.data());
    for (const int start : found) {
      for (const int* run = proximity.runs.data() + start; start && *run; ++run) indices.push_back(*run - 1);
      if (indices.size() > std::size_t{kMost}) throw LibraryError("too many points are near the places");
      starts.push_back(static_cast<int>(indices.size()));
    }
  });
  return py::make_tuple(array_of(std::move(indices)), array_of(std::move(starts)));
}

void bind_proximity(py::module_& module) {
  py::class_<Proximity>(
      module, "ProximityGrid",
      "Which of many points are near a place: a lattice with a list of points for each "
      "cell.\n\nThe first cell of all that is near a point counts as empty: leave a margin.")
      .def(
          py::init(&new_proximity), py::arg("points"), py::arg("radii") = py::none(), py::kw_only(),
          py::arg("probe") = 0.0f, py::arg("spacing") = 1.0f, py::arg("margin") = 2.0f,
          py::arg("like") = py::none(), py::arg("mask_points") = py::none(),
          py::arg("mask_radii") = py::none(), py::arg("mask_probe") = 0.0f,
          "Lists, for each cell, the points (n, 3) that are nearer to it than their radius and the probe, in "
          "Å.\n\nThe lattice is made around the spheres with a margin in Å, or is that of `like`, a "
          "ScalarGrid, "
          "where cells inside\nthe spheres of mask_points stay empty.")
      .def_property_readonly(
          "cells",
          [](const py::object& self) {
            auto& lattice = self.cast<Proximity&>().lattice;
            return locked(view_of(lattice.integers, {lattice.zdim, lattice.ydim, lattice.xdim}, self));
          },
          "Where the run of each cell starts in `runs`, 0 for none: int32 of shape (nz, ny, nx).")
      .def_property_readonly(
          "runs",
          [](const py::object& self) {
            auto& runs = self.cast<Proximity&>().runs;
            return locked(view_of(runs.data(), {static_cast<py::ssize_t>(runs.size())}, self));
          },
          "Runs of point numbers, counted from 1, each in descending order and ended by 0: int32.")
      .def_property_readonly(
          "spacing", [](const Proximity& p) { return p.lattice.spacing; },
          "Distance of neighbouring cells, in Å.")
      .def_property_readonly(
          "center",
          [](const Proximity& p) { return py::make_tuple(p.lattice.xmid, p.lattice.ymid, p.lattice.zmid); },
          "The middle of the lattice, (x, y, z) in Å.")
      .def(
          "near", &near, py::arg("points"),
          "Which of its own points are near the cells in which other points (m, 3) lie.\n\nTwo int32 arrays: "
          "indices, and m + 1 starts. Those near point i are indices[starts[i]:starts[i + 1]], in\n"
          "descending order; a point outside the lattice has none.")
      .def("__len__", [](const Proximity& p) { return p.points; })
      .def("__repr__", [](const Proximity& p) {
        return "ProximityGrid(" + std::to_string(p.points) + " points, " + std::to_string(p.lattice.zdim) +
               " x " + std::to_string(p.lattice.ydim) + " x " + std::to_string(p.lattice.xdim) + " cells)";
      });
}

}  // namespace

void bind_molecular_grids(py::module_& module) {
  const py::none none;
  module.def(
      "gaussian_grid", &gaussian_grid, py::arg("molecule"), py::kw_only(), py::arg("spacing") = 0.5f,
      py::arg("like") = none, py::arg("product") = false,
      "The atoms as Gaussians of height 2.7 with the volumes of their spheres, on a "
      "ScalarGrid.\n\nThe lattice "
      "is that of `like`, a ScalarGrid, or is made around the atoms, 4 Å wider on each side. A molecule "
      "without radii "
      "has\nthose of assign_radii(\"gaussian\"). The values are sums or, with product, 1 - prod(1 - "
      "g), a soft "
      "union.");
  module.def(
      "contact_grid", &contact_grid, py::arg("molecule"), py::arg("other") = none, py::kw_only(),
      py::arg("spacing") = 0.5f, py::arg("hydrogens") = true, py::arg("method") = "gaussian",
      py::arg("bond_depth") = 4,
      "Where two molecules touch, on a ScalarGrid around the first.\n\nmethod is \"gaussian\", by the "
      "Gaussian grids of both, or \"spheres\", by soft spheres around atoms. Without another\nmolecule, "
      "where a molecule touches itself: atoms more than bond_depth bonds apart, by soft spheres. Radii are "
      "Bondi's.");
  module.def(
      "sphere_grid", &sphere_grid, py::arg("centers"), py::arg("radii"), py::kw_only(),
      py::arg("probe") = 0.0f, py::arg("spacing") = 1.0f, py::arg("margin") = 0.0f,
      "A ScalarGrid around spheres, 1 inside and 0 outside.\n\ncenters are of shape (n, 3); the probe, in "
      "Å, is added to the radii. The lattice is wider than the spheres by margin +\nprobe on each side.");
  auto scalar = py::reinterpret_borrow<py::class_<VXScalarGrid, ScalarGridPtr>>(module.attr("ScalarGrid"));
  scalar.def(
      "mark_spheres", &mark_spheres, py::arg("centers"), py::arg("radii"), py::kw_only(),
      py::arg("probe") = 0.0f, py::arg("value") = 1.0f,
      "Sets the samples inside spheres to a value, in place.\n\ncenters are of shape (n, 3); the probe, in "
      "Å, is added to the radii. The first planes of the grid stay as they are.");
  bind_proximity(module);
}
