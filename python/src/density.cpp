#include <cmath>
#include <memory>
#include <string>
#include <utility>

#include <pybind11/stl.h>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/residue.h>
#include <vxgrid/realspace/density.h>
#include <vxgrid/realspace/map_region.h>
#include <vxgrid/reflection/reflection.h>

#include "bindings.h"
#include "call.h"
#include "grids.h"
#include "molecules.h"

using namespace VXCore;

namespace {

constexpr const char* kNoDensity =
    "no density can be computed: the model has no residue data (B factors, occupancies), or the grid has one "
    "sample";

/// The model's density on the lattice of a grid, whose values it replaces.
template <class Grid>
std::shared_ptr<Grid> density_like(const VXGraphMol& model, const Grid& like) {
  std::shared_ptr<Grid> grid;
  run(kNoDensity, [&] {
    grid = std::make_shared<Grid>(like);
    return VXHasResidues(model) && VXScatterToGrid(*grid, model);
  });
  return grid;
}

py::object model_density(const VXGraphMol& model, const py::object& like, double spacing) {
  if (py::isinstance<VXSkewGrid>(like)) return py::cast(density_like(model, like.cast<const VXSkewGrid&>()));
  if (py::isinstance<VXScalarGrid>(like))
    return py::cast(density_like(model, like.cast<const VXScalarGrid&>()));
  if (!like.is_none())
    throw py::type_error(std::string("like: a ScalarGrid, a SkewGrid or None was wanted, ") +
                         Py_TYPE(like.ptr())->tp_name + " came");
  if (!(std::isfinite(spacing) && spacing > 0))
    throw py::value_error("spacing: a number of Å above 0 was wanted, " + std::to_string(spacing) + " came");
  const auto grid = std::make_shared<VXScalarGrid>();
  run(kNoDensity, [&] { return model && VXMakeGaussianScatterGrid(*grid, model, spacing); });
  return py::cast(grid);
}

template <class Source>
py::object resolution_of(const Source& source) {
  double resolution = 0;
  const VXMessageCapture unheard;
  if (!VXGetResolution(resolution, source) || !(resolution > 0)) return py::none();
  return py::float_(resolution);
}

template <class Grid>
bool is_difference_map(const Grid& grid) {
  return compute([&] { return VXGridIsDifferenceMap(grid); });
}

MoleculePtr crystal_atoms(const VXGraphMol& model, const VXSkewGrid& grid) {
  std::shared_ptr<VXGraphMol> all;
  run("there is no symmetry, neither of the model nor of the grid", [&] {
    all = std::make_shared<VXGraphMol>(model);
    if (!VXExpandCrystalSymmetry(grid, *all)) return false;
    all->Sweep();
    return true;
  });
  return all;
}

std::shared_ptr<VXSkewGrid> crystal_map(const VXGraphMol& model, const VXSkewGrid& grid, float margin) {
  const VXXtal::VXSymmetry symmetry = VXGetMapSymmetry(grid);
  unsigned int x = 0, y = 0, z = 0;
  grid.GetImpl().GetUnitSpacing(x, y, z);
  if (!symmetry || x == 0 || y == 0 || z == 0)
    throw py::value_error("grid: a map with a space group that fits its cell was wanted");
  if (!(std::isfinite(margin) && margin >= 0))
    throw py::value_error("margin: a number of Å of 0 or more was wanted, " + std::to_string(margin) +
                          " came");
  std::shared_ptr<VXSkewGrid> box;
  run("the atoms lie too far from each other or at no place, or the map has one sample", [&] {
    box = std::make_shared<VXSkewGrid>(grid);
    return VXCutModelBox(*box, symmetry, model, margin).has_value();
  });
  return box;
}

}  // namespace

void bind_density(py::module_& module) {
  module.def(
      "model_density", &model_density, py::arg("model"), py::arg("like") = py::none(), py::kw_only(),
      py::arg("spacing") = 0.5,
      "The electron density of a model and its crystal mates, in electrons/Å³.\n\n"
      "On the lattice of the grid `like`, and of its kind; without one in a ScalarGrid around the model, "
      "4 Å larger\n"
      "than its atoms, with that spacing in Å. Each atom is five Gaussians after its element, B factor "
      "and occupancy:\n"
      "see set_scatter_defaults for atoms without. In a crystal the atoms of the model itself count "
      "twice, once as\n"
      "they are and once as the identity image.");
  module.def(
      "set_scatter_defaults",
      [](VXGraphMol& model, double b_factor, double occupancy, bool overwrite) {
        for (const auto& [name, value] : {std::pair("b_factor", b_factor), {"occupancy", occupancy}})
          if (!(std::isfinite(value) && value >= 0))
            throw py::value_error(std::string(name) + ": a finite number of 0 or more was wanted, " +
                                  std::to_string(value) + " came");
        compute([&] { VXSetScatterDefaults(model, b_factor, occupancy, overwrite ? 0 : 12); });
      },
      py::arg("model"), py::kw_only(), py::arg("b_factor") = 20.0, py::arg("occupancy") = 1.0,
      py::arg("overwrite") = false,
      "Gives atoms whose B factor (Å²) or occupancy is 0 another one, in place; with overwrite all atoms.");
  module.def(
      "mask_radius",
      [](double resolution) {
        if (std::isfinite(resolution) && resolution > 0) return VXGetEDSRadius(resolution);
        throw py::value_error("resolution: a number of Å above 0 was wanted, " + std::to_string(resolution) +
                              " came");
      },
      py::arg("resolution"),
      "The usual mask radius in Å of scores against a map of that resolution in Å, about a third of it.");
  module.def("resolution_of", &resolution_of<VXSkewGrid>, py::arg("source"),
             "The resolution in Å of a map (attribute \"resolution\") or of a molecule (its record REMARK   "
             "2), or None.");
  module.def("resolution_of", &resolution_of<VXGraphMol>, py::arg("source"));
  module.def("crystal_atoms", &crystal_atoms, py::arg("model"), py::arg("grid"),
             "A molecule with the atoms of a model and of all its crystal mates that lie on a grid.\n\nThe "
             "symmetry is that of the model's CRYST1 record, else the one that the map was made with. The "
             "identity is one\n"
             "of the images, so atoms of the model that lie on the grid come twice.");
  module.def(
      "crystal_map", &crystal_map, py::arg("model"), py::arg("grid"), py::kw_only(), py::arg("margin") = 4.0f,
      "The box around a model and a margin in Å, out of the crystal that a map describes: a SkewGrid with "
      "the "
      "map's lattice.\n\nEach sample is the one of the map that symmetry makes equal to it, so a map of an "
      "asymmetric unit or of any other\npart of the crystal serves; 0 where the map has none.");
  module.def(
      "is_difference_map", &is_difference_map<VXSkewGrid>, py::arg("grid"),
      "Whether a map is a difference map: by its type, or, where it has none, by being as deep as it is "
      "high.");
  module.def("is_difference_map", &is_difference_map<VXScalarGrid>, py::arg("grid"));
}
