#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <pybind11/stl.h>

#include <vxgrid/gaussian/gaussian_container.h>
#include <vxgrid/gaussian/gaussian_expansion.h>
#include <vxgrid/gaussian/gaussian_width.h>
#include <vxgrid/gaussian/shape_multipoles.h>
#include <vxgrid/host/radii.h>
#include <vxgrid/molgrid/gaussian_fit.h>
#include <vxgrid/molgrid/molecular_grid.h>

#include "arrays.h"
#include "attributes.h"
#include "bindings.h"
#include "call.h"
#include "grids.h"
#include "records.h"

using namespace VXCore;

namespace {

// Gaussians in Python is VXGaussianContainer.
using GaussiansPtr = std::shared_ptr<VXGaussianContainer>;

constexpr double kPrefactor = 2.7;

std::string number_text(double value) { return py::str(py::float_(value)); }

// --- relations of kappa, prefactor, width and radius ---

/// f of numbers or arrays, as NumPy broadcasts them: a float for numbers alone.
template <class Function>
py::object elementwise(Function f, const py::object& first, const char* first_name, const py::object& second,
                       const char* second_name) {
  const py::object both = py::module_::import("numpy").attr("broadcast_arrays")(
      numbers<Doubles>(first, first_name), numbers<Doubles>(second, second_name));
  const Doubles a(both[py::int_(0)]), b(both[py::int_(1)]);
  Doubles result(std::vector<py::ssize_t>(a.shape(), a.shape() + a.ndim()));
  const double *const from_a = a.data(), *const from_b = b.data();
  double* const to = result.mutable_data();
  compute([&, n = a.size()] {
    for (py::ssize_t i = 0; i < n; ++i) to[i] = f(from_a[i], from_b[i]);
  });
  return a.ndim() == 0 ? py::object(py::float_(*to)) : py::object(result);
}

template <class Function>
py::object elementwise(Function f, const py::object& given, const char* name) {
  return elementwise([f](double a, double) { return f(a); }, given, name, py::float_(0.0), "");
}

void bind_relations(py::module_& module) {
  module.def(
      "gaussian_prefactor",
      [](const py::object& kappa) {
        return elementwise([](double k) { return VXGetPrefactor(k); }, kappa, "kappa");
      },
      py::arg("kappa"),
      "The prefactor p of Gaussians with the volume of a hard sphere and the width kappa / radius².\n\n"
      "p = 4 pi / 3 (kappa / pi)^(3/2). A number or an array.");
  module.def(
      "gaussian_kappa",
      [](const py::object& prefactor) {
        return elementwise([](double p) { return VXGetKappa(p); }, prefactor, "prefactor");
      },
      py::arg("prefactor"),
      "What the width of a Gaussian of that prefactor is times radius², where it has the volume of the "
      "sphere.\n\n"
      "kappa = pi (3 p / (4 pi))^(2/3). A number or an array.");
  module.def(
      "gaussian_width",
      [](const py::object& kappa, const py::object& radius) {
        return elementwise([](double k, double r) { return VXGetWidth(k, r); }, kappa, "kappa", radius,
                           "radius");
      },
      py::arg("kappa"), py::arg("radius"),
      "The width kappa / radius² in Å⁻², for a radius in Å. Numbers or arrays; infinite for a radius of 0.");
  module.def(
      "gaussian_radius",
      [](const py::object& prefactor, const py::object& width) {
        return elementwise([](double p, double a) { return VXGetRadius(p, a); }, prefactor, "prefactor",
                           width, "width");
      },
      py::arg("prefactor"), py::arg("width"),
      "The radius in Å of the hard sphere with the volume of a Gaussian. Numbers or arrays.");
  module.def(
      "gaussian_reach",
      [](const py::object& prefactor, const py::object& width, float cutoff) {
        return elementwise(
            [cutoff](double p, double a) {
              return static_cast<double>(vi_gauss_rad(static_cast<float>(p), static_cast<float>(a), cutoff));
            },
            prefactor, "prefactor", width, "width");
      },
      py::arg("prefactor"), py::arg("width"), py::kw_only(), py::arg("cutoff") = 0.001f,
      "The distance in Å at which |prefactor| exp(-width r²) falls to the cutoff. Numbers or arrays.\n\n"
      "0 where it never does: for a width, a prefactor or a cutoff of 0, or a cutoff above the prefactor.");
}

// --- the container ---

VXIter<VXGaussianBase> all(VXGaussianContainer& gaussians) { return gaussians.GetGaussians(); }
VXIter<const VXGaussianBase> all(const VXGaussianContainer& gaussians) { return gaussians.GetGaussians(); }

struct Columns {
  Floats prefactors, widths;
  py::array_t<unsigned int> colors;
};

bool any_number(double value) { return std::isfinite(value); }
bool above_0(double value) { return std::isfinite(value) && value > 0; }

template <class Array>
Array checked_for(const py::handle& object, const char* name, py::ssize_t n, bool (*fits)(double),
                  const char* wanted) {
  const Array values = numbers_for<Array>(object, name, n);
  for (py::ssize_t i = 0; i < n; ++i)
    if (!fits(static_cast<double>(values.data()[i])))
      throw py::value_error(std::string(name) + ": " + wanted + " were wanted, " +
                            number_text(static_cast<double>(values.data()[i])) + " came");
  return values;
}

Floats prefactors_for(const py::handle& object, py::ssize_t n) {
  return checked_for<Floats>(object, "prefactors", n, any_number, "finite numbers");
}
Floats widths_for(const py::handle& object, py::ssize_t n) {
  return checked_for<Floats>(object, "widths", n, above_0, "numbers of Å⁻² above 0");
}
py::array_t<unsigned int> colors_for(const py::handle& object, py::ssize_t n) {
  const auto fits = [](double color) {
    return color >= 0 && color <= UINT_MAX && color == std::floor(color);
  };
  const Doubles colors =
      checked_for<Doubles>(object, "colors", n, fits, "whole numbers from 0 to 4294967295");
  return py::array_t<unsigned int>(colors);
}

GaussiansPtr new_gaussians(const py::object& points, const py::object& prefactors, const py::object& widths,
                           const py::object& radii, const py::object& colors) {
  if (widths.is_none() == radii.is_none())
    throw py::type_error("Gaussians: either widths or radii were wanted, " +
                         std::string(widths.is_none() ? "neither" : "both") + " came");
  const Floats centers = finite_points(points, "centers");
  const py::ssize_t n = centers.shape(0);
  const Floats heights = prefactors_for(prefactors, n);
  Floats a;
  if (radii.is_none())
    a = widths_for(widths, n);
  else {
    const Doubles r = checked_for<Doubles>(radii, "radii", n, above_0, "numbers of Å above 0");
    a = Floats(n);
    compute([&, p = heights.data(), radius = r.data(), to = a.mutable_data()] {
      for (py::ssize_t i = 0; i < n; ++i)
        to[i] = static_cast<float>(VXGetWidth(VXGetKappa(static_cast<double>(p[i])), radius[i]));
    });
    a = checked_for<Floats>(a, "radii", n, above_0, "radii and prefactors that give widths above 0");
  }
  const py::array_t<unsigned int> tags = colors_for(colors, n);
  auto gaussians = std::make_shared<VXGaussianContainer>();
  const float *const c = centers.data(), *const p = heights.data(), *const w = a.data();
  const unsigned int* const tag = tags.data();
  compute([&] {
    for (py::ssize_t i = 0; i < n; ++i)
      gaussians->AddGaussian(VXGaussian(p[i], w[i], c[3 * i], c[3 * i + 1], c[3 * i + 2], tag[i]));
  });
  return gaussians;
}

GaussiansPtr copy(const VXGaussianContainer& gaussians) {
  return compute([&] { return std::make_shared<VXGaussianContainer>(gaussians); });
}

template <class T, class Get>
py::array column(const VXGaussianContainer& gaussians, py::ssize_t width, const Get& get) {
  const auto n = static_cast<py::ssize_t>(gaussians.NumGaussians());
  std::vector<T> values(static_cast<std::size_t>(n * width));
  compute([&] { get(values); });
  return read_only(array_of(std::move(values),
                            width == 1 ? std::vector<py::ssize_t>{n} : std::vector<py::ssize_t>{n, width}));
}

/// change(gaussian, i) for all.
template <class Change>
void change_all(VXGaussianContainer& gaussians, const Change& change) {
  compute([&] {
    py::ssize_t i = 0;
    for (VXGaussianBase& gaussian : all(gaussians)) change(gaussian, i++);
  });
}

py::ssize_t count(const VXGaussianContainer& gaussians) {
  return static_cast<py::ssize_t>(gaussians.NumGaussians());
}

void bind_columns(py::class_<VXGaussianContainer, GaussiansPtr>& type) {
  type.def_property(
          "centers",
          [](const VXGaussianContainer& g) {
            return column<float>(g, 3, [&](std::vector<float>& to) { g.GetCoords(to.data()); });
          },
          [](VXGaussianContainer& g, const py::object& values) {
            const Floats centers =
                numbers<Floats>(finite_points(values, "centers"), "centers", {count(g), 3});
            change_all(g, [&](VXGaussianBase& gaussian, py::ssize_t i) {
              gaussian.SetX(centers.at(i, 0));
              gaussian.SetY(centers.at(i, 1));
              gaussian.SetZ(centers.at(i, 2));
            });
          },
          "Centres x, y, z in Å, float32 of shape (n, 3).")
      .def_property(
          "prefactors",
          [](const VXGaussianContainer& g) {
            return column<float>(g, 1, [&](std::vector<float>& to) { g.GetPrefactors(to.data()); });
          },
          [](VXGaussianContainer& g, const py::object& values) {
            const Floats prefactors = prefactors_for(values, count(g));
            change_all(
                g, [&](VXGaussianBase& gaussian, py::ssize_t i) { gaussian.SetPrefactor(prefactors.at(i)); });
          },
          "Heights, float32 of shape (n,). To set them leaves the widths as they are.")
      .def_property(
          "widths",
          [](const VXGaussianContainer& g) {
            return column<float>(g, 1, [&](std::vector<float>& to) { g.GetWidths(to.data()); });
          },
          [](VXGaussianContainer& g, const py::object& values) {
            const Floats widths = widths_for(values, count(g));
            change_all(g, [&](VXGaussianBase& gaussian, py::ssize_t i) { gaussian.SetWidth(widths.at(i)); });
          },
          "Widths a of exp(-a r²) in Å⁻², float32 of shape (n,).")
      .def_property_readonly(
          "radii",
          [](const VXGaussianContainer& g) {
            return column<double>(g, 1, [&](std::vector<double>& to) {
              auto radius = to.begin();
              for (const VXGaussianBase& gaussian : all(g)) *radius++ = VXGetRadius(gaussian);
            });
          },
          "Radii in Å of the hard spheres with the volumes of the Gaussians, float64 of shape (n,).")
      .def_property(
          "colors",
          [](const VXGaussianContainer& g) {
            return column<unsigned int>(g, 1, [&](std::vector<unsigned int>& to) { g.GetColors(to.data()); });
          },
          [](VXGaussianContainer& g, const py::object& values) {
            const py::array_t<unsigned int> colors = colors_for(values, count(g));
            change_all(g, [&](VXGaussianBase& gaussian, py::ssize_t i) { gaussian.SetColor(colors.at(i)); });
          },
          "Tags that nothing here reads, uint32 of shape (n,).");
}

GaussiansPtr subset(const VXGaussianContainer& gaussians, const py::object& index) {
  const py::object number = py::module_::import("numpy").attr("arange")(count(gaussians));
  const Ints chosen(number[index].attr("reshape")(-1));
  return compute([&, at = chosen.data(), size = chosen.size()] {
    std::vector<const VXGaussianBase*> from;
    for (const VXGaussianBase& gaussian : all(gaussians)) from.push_back(&gaussian);
    auto result = std::make_shared<VXGaussianContainer>();
    for (py::ssize_t i = 0; i < size; ++i) result->AddGaussian(*from[static_cast<std::size_t>(at[i])]);
    return result;
  });
}

GaussiansPtr joined(const VXGaussianContainer& first, const VXGaussianContainer& second) {
  return compute([&] {
    auto result = std::make_shared<VXGaussianContainer>(first);
    for (const VXGaussianBase& gaussian : all(second)) result->AddGaussian(gaussian);
    return result;
  });
}

std::string repr(const VXGaussianContainer& gaussians) {
  const unsigned int n = gaussians.NumGaussians();
  if (n == 0) return "Gaussians(none)";
  float least_p = INFINITY, most_p = -INFINITY, least_a = INFINITY, most_a = -INFINITY;
  for (const VXGaussianBase& g : all(gaussians)) {
    least_p = std::min(least_p, g.GetPrefactor());
    most_p = std::max(most_p, g.GetPrefactor());
    least_a = std::min(least_a, g.GetWidth());
    most_a = std::max(most_a, g.GetWidth());
  }
  const auto range = [](float least, float most) {
    char text[64];
    std::snprintf(text, sizeof text, least == most ? "%.4g" : "%.4g to %.4g", static_cast<double>(least),
                  static_cast<double>(most));
    return std::string(text);
  };
  return "Gaussians(" + std::to_string(n) + ", prefactor " + range(least_p, most_p) + ", width " +
         range(least_a, most_a) + " Å⁻²)";
}

// --- from molecules, to and from grids ---

/// The molecule or, where it has no radii, a copy with those of Bondi.
const VXGraphMol& with_radii(const VXGraphMol& mol, std::optional<VXGraphMol>& copy) {
  if (HasRadii(mol)) return mol;
  VXAssignBondiVdWRadii(copy.emplace(mol));
  return *copy;
}

GaussiansPtr from_molecule(const VXGraphMol& given, double prefactor) {
  if (!above_0(prefactor))
    throw py::value_error("prefactor: a number above 0 was wanted, " + number_text(prefactor) + " came");
  std::optional<VXGraphMol> copy;
  const VXGraphMol& mol = with_radii(given, copy);
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol.GetAtoms()))
    if (!above_0(atom.GetRadius()))
      throw py::value_error("molecule: radii above 0 were wanted, atom " + std::to_string(atom.GetIdx()) +
                            " has " + number_text(atom.GetRadius()));
  auto gaussians = std::make_shared<VXGaussianContainer>();
  compute([&] { return VXMakeGaussians(*gaussians, mol, prefactor); });
  return gaussians;
}

ScalarGridPtr to_grid(const VXGaussianContainer& gaussians, float spacing) {
  if (gaussians.NumGaussians() == 0) throw py::value_error("no Gaussians, which leaves the box unknown");
  const float step = spacing_of(spacing);
  auto grid = std::make_shared<VXScalarGrid>();
  run("no grid holds these Gaussians",
      [&] { return VXMakeGaussianRepGrid(*grid, gaussians, step) && grid->GetSize() > 1; });
  return grid;
}

ScalarGridPtr to_grid_like(const VXGaussianContainer& gaussians, const VXScalarGrid& like) {
  if (like.GetSize() < 2)
    throw py::value_error("like: a grid of two samples at least was wanted, one of 1 came");
  std::vector<float> centers(3 * static_cast<std::size_t>(count(gaussians)));
  std::vector<float> prefactors(centers.size() / 3), widths(prefactors.size());
  auto grid = std::make_shared<VXScalarGrid>();
  run("no grid holds these Gaussians", [&] {
    gaussians.GetCoords(centers.data());
    gaussians.GetPrefactors(prefactors.data());
    gaussians.GetWidths(widths.data());
    VXZemoGrid sum;
    if (!sum.SetSpacing(like.GetSpacing()) || !sum.SetDim(like.GetXDim(), like.GetYDim(), like.GetZDim()) ||
        !sum.SetMid(like.GetXMid(), like.GetYMid(), like.GetZMid()))
      return false;
    vx_make_gaussian_grid_explicit(centers.data(), widths.data(), prefactors.data(),
                                   static_cast<int>(prefactors.size()), sum.GetSpacing(), sum, 1);
    sum.MoveFloats(*grid);
    return true;
  });
  return grid;
}

/// A density that the fit may work on, with its finite values.
VXZemoGrid density_of(const py::object& density) {
  if (py::isinstance<VXGraphMol>(density)) {
    const auto& mol = density.cast<const VXGraphMol&>();
    VXZemoGrid grid;
    constexpr float kSpacing = 0.5f;
    run("the molecule has no atoms",
        [&] { return VXMakeMolecularGaussianGrid(grid, mol, kSpacing) && grid.GetSize() > 1; });
    return grid;
  }
  const auto copy = [](const auto& from) { return compute([&] { return VXZemoGrid(from); }); };
  VXZemoGrid grid;
  if (py::isinstance<VXScalarGrid>(density))
    grid = copy(density.cast<const VXScalarGrid&>());
  else if (py::isinstance<VXSkewGrid>(density)) {
    const auto& skew = density.cast<const VXSkewGrid&>();
    if (!skew.IsRegular())
      throw py::value_error("density: a grid with axes along x, y and z was wanted, an oblique one came");
    grid = copy(inner(skew));
  } else
    throw py::type_error("density: a ScalarGrid, a SkewGrid or a Molecule was wanted, " +
                         std::string(Py_TYPE(density.ptr())->tp_name) + " came");
  const float* const values = grid.GetFloats().GetValues();
  if (!compute([&] {
        return std::all_of(values, values + grid.GetSize(), [](float v) { return std::isfinite(v); });
      }))
    throw py::value_error("density: finite values were wanted, others came");
  return grid;
}

/// Of what lies above 0, which alone is fitted.
double energy_of(const VXZemoGrid& density) {
  double sum = 0;
  const float* const values = density.GetFloats().GetValues();
  for (unsigned int i = 0; i < density.GetSize(); ++i) {
    const double value = std::max(0.0f, values[i]);
    sum += value * value;
  }
  return sum * std::pow(static_cast<double>(density.GetSpacing()), 3);
}

void want(bool fits, const char* name, const char* wanted, double came) {
  if (!fits)
    throw py::value_error(std::string(name) + ": " + wanted + " was wanted, " + number_text(came) + " came");
}

GaussiansPtr fit(const py::object& density, double tolerance, int levels, float largest_radius,
                 float radius_step, std::optional<int> max_gaussians, float cut, float tail,
                 const py::object& progress) {
  want(std::isfinite(tolerance) && tolerance >= 0, "tolerance", "a share from 0", tolerance);
  want(levels >= 1, "levels", "a number from 1", levels);
  want(above_0(largest_radius), "largest_radius", "a number of Å above 0", largest_radius);
  want(above_0(radius_step), "radius_step", "a number of Å above 0", radius_step);
  want(!max_gaussians || *max_gaussians >= 1, "max_gaussians", "None or a number from 1",
       max_gaussians.value_or(1));
  want(above_0(cut), "cut", "a value above 0", cut);
  want(tail > 0 && tail < 1, "tail", "a share between 0 and 1", tail);
  VXZemoGrid grid = density_of(density);
  auto gaussians = std::make_shared<VXGaussianContainer>();
  PythonProgress tracer(progress);
  compute([&] {
    std::vector<float> centers, prefactors, widths;
    VXZemoGrid sum;
    vx_make_grid_gaussian_representation(grid, tail, cut, static_cast<float>(tolerance * energy_of(grid)), 0,
                                         levels, largest_radius, radius_step, max_gaussians.value_or(0),
                                         centers, prefactors, widths, true, sum, tracer);
    for (std::size_t i = 0; i < widths.size(); ++i)
      gaussians->AddGaussian(VXGaussian(prefactors[i], widths[i], &centers[3 * i], 0));
  });
  tracer.finish();
  return gaussians;
}

// --- overlaps ---

std::vector<Gsphere> spheres_of(const VXGaussianContainer& gaussians) {
  std::vector<Gsphere> spheres;
  spheres.reserve(gaussians.NumGaussians());
  for (const VXGaussianBase& g : all(gaussians))
    spheres.push_back({g.GetWidth(), g.GetX(), g.GetY(), g.GetZ(), g.GetPrefactor(), 0, 0, 0});
  return spheres;
}

double overlap(const VXGaussianContainer& first, const VXGaussianContainer& second) {
  return compute([&] {
    const std::vector<Gsphere> a = spheres_of(first), b = spheres_of(second);
    double sum = 0, volume = 0;
    for (const Gsphere& from : a)
      for (const Gsphere& to : b) {
        vi_vol_sg_intersect(&volume, &from, &to);
        sum += volume;
      }
    return sum;
  });
}

py::array_t<double> overlap_gradient(const VXGaussianContainer& first, const VXGaussianContainer& second) {
  const py::ssize_t n = count(first);
  std::vector<double> gradients(3 * static_cast<std::size_t>(n));
  compute([&] {
    const std::vector<Gsphere> a = spheres_of(first), b = spheres_of(second);
    double volume = 0, gradient[3];
    for (std::size_t i = 0; i < a.size(); ++i)
      for (const Gsphere& to : b) {
        vi_vol_deriv_sg_intersect(&volume, gradient, &a[i], &to);
        for (std::size_t axis = 0; axis < 3; ++axis) gradients[3 * i + axis] += gradient[axis];
      }
  });
  return array_of(std::move(gradients), {n, 3});
}

// --- volumes and shapes ---

enum class Level { Atoms, Bonds, Full };

Level level_of(const std::string& name) {
  if (name == "atoms") return Level::Atoms;
  if (name == "bonds") return Level::Bonds;
  if (name == "full") return Level::Full;
  throw py::value_error("level: \"atoms\", \"bonds\" or \"full\" was wanted, \"" + name + "\" came");
}

// What a thread keeps for the next molecule: expansions with their tables, one for each pair of the smallest
// and the largest radius, and none that has grown with a large molecule.
constexpr std::size_t kMostExpansions = 64;
constexpr int kMostAtomsKept = 2000;

/// A molecule's list of spheres at a level, with the radii of its atoms or, where it has none, those of
/// Bondi.
class Expansion {
 public:
  Expansion(const VXGraphMol& mol, Level level, bool hydrogens, float vmin)
      : level_(level), no_hydrogens_(!hydrogens), mol_(with_radii(mol, copy_)) {
    double least = INFINITY, most = 0;
    for (const VXAtomBase& atom : VXIter<VXAtomBase>(mol_.GetAtoms())) {
      if (no_hydrogens_ && atom.GetAtomicNum() == 1) continue;
      least = std::min(least, atom.GetRadius());
      most = std::max(most, atom.GetRadius());
    }
    const Key key(least, most, vmin);
    if (kept().size() == kMostExpansions && !kept().count(key)) kept().clear();
    gaussian_ = &kept()[key];
    gaussian_->vmin = vmin;
  }
  ~Expansion() {
    if (gaussian_->capacity > kMostAtomsKept) kept().clear();
  }
  Expansion(const Expansion&) = delete;
  Expansion& operator=(const Expansion&) = delete;

  /// Valid until the next expansion of this thread.
  bool list(Gsphere*& spheres, int& n) const {
    const int made = level_ == Level::Full
                         ? gaussian_->make_full_gaussian_rep_base(mol_, no_hydrogens_, &spheres, &n)
                         : gaussian_->make_atomic_gaussian_rep_base(mol_, level_ == Level::Bonds,
                                                                    no_hydrogens_, &spheres, &n);
    return made && n > 0;
  }

  bool volume(double& volume) const {
    if (level_ == Level::Full) {
      float sum = 0;
      gaussian_->vx_calculate_volume_base(mol_, &sum, no_hydrogens_);
      volume = static_cast<double>(sum);
      return sum != 0;
    }
    Gsphere* spheres = nullptr;
    int n = 0;
    if (!list(spheres, n)) return false;
    volume = 0;
    for (int i = 0; i < n; ++i)
      volume +=
          spheres[i].order ? -static_cast<double>(spheres[i].volume) : static_cast<double>(spheres[i].volume);
    return true;
  }

 private:
  using Key = std::tuple<double, double, float>;
  static std::map<Key, Gaussian>& kept() {
    thread_local std::map<Key, Gaussian> expansions;
    return expansions;
  }

  const Level level_;
  const int no_hydrogens_;
  std::optional<VXGraphMol> copy_;
  const VXGraphMol& mol_;
  Gaussian* gaussian_ = nullptr;
};

constexpr const char* kNoSpheres = "no atom of the molecule counts";

float vmin_of(float vmin) {
  want(above_0(vmin), "vmin", "a number of Å³ above 0", vmin);
  return vmin;
}

double molecular_volume(const VXGraphMol& mol, const std::string& level, bool hydrogens, float vmin) {
  double volume = 0;
  run(kNoSpheres, [&, which = level_of(level), least = vmin_of(vmin)] {
    return Expansion(mol, which, hydrogens, least).volume(volume);
  });
  return volume;
}

py::object gaussian_expansion(const VXGraphMol& mol, const std::string& level, bool hydrogens, float vmin) {
  std::vector<Gsphere> list;
  run(kNoSpheres, [&, which = level_of(level), least = vmin_of(vmin)] {
    const Expansion expansion(mol, which, hydrogens, least);
    Gsphere* spheres = nullptr;
    int n = 0;
    if (!expansion.list(spheres, n)) return false;
    list.assign(spheres, spheres + n);
    return true;
  });
  static_assert(sizeof(Gsphere) == 32 && sizeof(float) == 4);
  py::list fields;
  const auto add = [&](const char* name, const char* type, py::tuple shape) {
    fields.append(py::make_tuple(name, type, std::move(shape)));
  };
  add("width", "f4", py::tuple());
  add("center", "f4", py::make_tuple(3));
  add("prefactor", "f4", py::tuple());
  add("order", "i4", py::tuple());
  add("volume", "f4", py::tuple());
  add("radius", "f4", py::tuple());
  auto* const kept = new std::vector<Gsphere>(std::move(list));
  const py::capsule owner(kept, [](void* p) { delete static_cast<std::vector<Gsphere>*>(p); });
  return py::array(py::dtype::from_args(fields), {static_cast<py::ssize_t>(kept->size())}, {}, kept->data(),
                   owner);
}

struct Shape {
  float multipoles[14], center[3], rotation[9];
};

/// Sums of moments are floats about the origin, and 20 Å away from it three digits are lost: so the spheres
/// are brought there.
bool measure(const Expansion& expansion, Shape& shape) {
  Gsphere* spheres = nullptr;
  int n = 0;
  if (!expansion.list(spheres, n)) return false;
  float low[3] = {INFINITY, INFINITY, INFINITY}, high[3] = {-INFINITY, -INFINITY, -INFINITY}, middle[3];
  const auto each = [&](const auto& use) {
    for (int i = 0; i < n; ++i) {
      float* const place[3] = {&spheres[i].x, &spheres[i].y, &spheres[i].z};
      for (int axis = 0; axis < 3; ++axis) use(*place[axis], axis);
    }
  };
  each([&](float at, int axis) {
    low[axis] = std::min(low[axis], at);
    high[axis] = std::max(high[axis], at);
  });
  for (int axis = 0; axis < 3; ++axis) middle[axis] = (low[axis] + high[axis]) / 2;
  each([&](float& at, int axis) { at -= middle[axis]; });
  if (!vx_CalcShapeMultipoles(n, spheres, shape.multipoles, shape.center, shape.rotation)) return false;
  for (int axis = 0; axis < 3; ++axis) shape.center[axis] += middle[axis];
  return true;
}

py::object shape_moments(const VXGraphMol& mol, const std::string& level, bool hydrogens, float vmin,
                         bool irreducible) {
  Shape shape;
  run(kNoSpheres, [&, which = level_of(level), least = vmin_of(vmin)] {
    return measure(Expansion(mol, which, hydrogens, least), shape);
  });
  if (irreducible) vx_make_octopoles_irreducible(shape.multipoles + 4);
  const auto array = [](const float* from, std::vector<py::ssize_t> dimensions) {
    return py::array_t<float>(std::move(dimensions), from);
  };
  return py::module_::import("vxgrid._rows")
      .attr("ShapeMoments")(shape.multipoles[0], array(shape.multipoles + 1, {3}),
                            array(shape.multipoles + 4, {10}), array(shape.center, {3}),
                            array(shape.rotation, {3, 3}));
}

}  // namespace

void bind_gaussians(py::module_& module) {
  bind_relations(module);

  py::class_<VXGaussianContainer, GaussiansPtr> type(
      module, "Gaussians",
      "A set of isotropic Gaussians prefactor * exp(-width * |r - center|²), and their sum as a function.\n\n"
      "Arrays of one value a Gaussian are copies that cannot be written to: give the set a new array, or one "
      "value for all,\nto change it. An index as of NumPy arrays gives a set of those chosen; + joins two "
      "sets.");
  type.def(py::init(&new_gaussians), py::arg("centers"), py::kw_only(), py::arg("prefactors") = kPrefactor,
           py::arg("widths") = py::none(), py::arg("radii") = py::none(), py::arg("colors") = 0,
           "Gaussians at centers, of shape (n, 3) in Å.\n\nEither widths in Å⁻² or radii in Å of hard "
           "spheres of "
           "the same volume: an array of n, or one number for all.\nSo are prefactors and colors, which are "
           "whole numbers that nothing here reads.")
      .def_static("from_molecule", &from_molecule, py::arg("molecule"), py::kw_only(),
                  py::arg("prefactor") = kPrefactor,
                  "One Gaussian an atom, hydrogens too, in the order of the atoms, with the volumes of their "
                  "spheres.\n\nRadii are those of the molecule, all above 0 (ValueError), or, where it has "
                  "none, those of Bondi.")
      .def_static(
          "fit", &fit, py::arg("density"), py::kw_only(), py::arg("tolerance") = 1e-4, py::arg("levels") = 3,
          py::arg("largest_radius") = 3.2f, py::arg("radius_step") = 1.0f,
          py::arg("max_gaussians") = py::none(), py::arg("cut") = 0.01f, py::arg("tail") = 0.01f,
          py::arg("progress") = py::none(),
          "A density as few Gaussians, by matching pursuit: the one first that takes away the most "
          "energy.\n\n"
          "density is a grid with axes along x, y and z, of which the part above 0 counts, or a molecule "
          "(its Gaussian\ngrid at 0.5 Å). Energy is the sum of value² times the volume of a voxel. The "
          "fit ends with max_gaussians, or\nbefore a Gaussian that lowers the energy by less than the "
          "tolerance, a share of the density's.\n\n"
          "Centres are points of the grid above cut; Gaussians to choose from have the volumes of "
          "spheres of largest_radius,\nlargest_radius - radius_step, ... Å, as many as levels; each is "
          "cut off at tail of its height.\n\n"
          "progress(done, total) is called before each Gaussian: how many there are of max_gaussians "
          "or, without it, how many\nthousandths of the energy they took.")
      .def("__len__", &VXGaussianContainer::NumGaussians)
      .def("__getitem__", &subset, py::arg("index"))
      .def("__add__", &joined)
      .def("__repr__", &repr);
  bind_columns(type);
  type.def_property_readonly(
          "attributes",
          [](const py::object& self) {
            return Attributes{&self.cast<VXGaussianContainer&>(), self};
          },
          "What the set carries beside its Gaussians, as a mapping.")
      .def(
          "rotate",
          [](VXGaussianContainer& g, const py::object& matrix) {
            const Floats rows = numbers<Floats>(matrix, "matrix", {3, 3});
            compute([&, m = rows.data()] { VXRotate(g, m); });
          },
          py::arg("matrix"), "Moves each centre c to matrix @ c. matrix is of shape (3, 3).")
      .def(
          "translate",
          [](VXGaussianContainer& g, const py::object& vector) {
            compute([&, xyz = xyz_of(vector, "vector")] { VXTranslate(g, xyz.data()); });
          },
          py::arg("vector"), "Moves each centre by vector, in Å.")
      .def("overlap", &overlap, py::arg("other"),
           "The integral of the product of two sets in Å³: of each Gaussian of the one with each of the "
           "other.\n\n"
           "What does not reach 1e-10 of a pair's product of prefactors counts as 0.")
      .def("overlap_gradient", &overlap_gradient, py::arg("other"),
           "The derivatives of overlap(other) by the centres of this set, float64 of shape (n, 3) in Å².")
      .def(
          "to_grid",
          [](const VXGaussianContainer& g, float spacing, const VXScalarGrid* like) {
            return like ? to_grid_like(g, *like) : to_grid(g, spacing);
          },
          py::kw_only(), py::arg("spacing") = 0.5f, py::arg("like") = py::none(),
          "The sum of the Gaussians on a grid.\n\nThe grid is that around all Gaussians down to 0.001 with "
          "the "
          "spacing, in Å, or the lattice of `like`, a ScalarGrid.")
      .def("copy", &copy, "A set of its own with the same content.")
      .def("__copy__", &copy)
      .def("__deepcopy__", [](const VXGaussianContainer& g, const py::object&) { return copy(g); })
      .def(
          "to_bytes", [](const VXGaussianContainer& g) { return to_bytes<VXGaussianContainerBase>(g); },
          "The set as a native binary record, which a pickle holds.")
      .def_static(
          "from_bytes",
          [](const py::bytes& bytes) {
            auto gaussians = std::make_shared<VXGaussianContainer>();
            from_bytes<VXGaussianContainerBase>(bytes, *gaussians);
            return gaussians;
          },
          py::arg("data"),
          "A set out of to_bytes(). ValueError when they are cut short, damaged or of something else.")
      .def(py::pickle([](const VXGaussianContainer& g) { return to_bytes<VXGaussianContainerBase>(g); },
                      [](const py::bytes& bytes) {
                        auto gaussians = std::make_shared<VXGaussianContainer>();
                        from_bytes<VXGaussianContainerBase>(bytes, *gaussians);
                        return gaussians;
                      }));

  constexpr float kVmin = 0.02f;
  module.def(
      "molecular_volume", &molecular_volume, py::arg("molecule"), py::kw_only(), py::arg("level") = "full",
      py::arg("hydrogens") = false, py::arg("vmin") = kVmin,
      "The volume of a molecule in Å³, about that of the union of its atoms' spheres.\n\n"
      "level \"atoms\" is the sum of the atoms' volumes, \"bonds\" that less one overlap a bond, \"full\" "
      "takes all overlaps of two\nand more atoms with a volume above vmin, in Å³. Radii are those of the "
      "molecule or, where it has none, those of\nBondi. Hydrogens count when asked for.");
  module.def(
      "shape_moments", &shape_moments, py::arg("molecule"), py::kw_only(), py::arg("level") = "full",
      py::arg("hydrogens") = false, py::arg("vmin") = kVmin, py::arg("irreducible") = false,
      "Volume, second and third moments of a molecule's shape, and the frame of its principal axes: a row "
      "ShapeMoments.\n\n"
      "(coordinates - center) @ axes.T are coordinates in the frame. level, hydrogens and vmin are those of "
      "molecular_volume.\nWith irreducible, third holds the three traces and seven components free of "
      "traces.");
  module.def(
      "gaussian_expansion", &gaussian_expansion, py::arg("molecule"), py::kw_only(),
      py::arg("level") = "full", py::arg("hydrogens") = false, py::arg("vmin") = kVmin,
      "The Gaussian spheres whose signed volumes make molecular_volume: a structured array, one row a "
      "sphere.\n\n"
      "Fields: width (Å⁻²), center (three numbers, Å), prefactor, order (0 for an atom, else how many "
      "further atoms\noverlap in it), volume (Å³; of odd order taken off, and negative at level \"full\") "
      "and "
      "radius (Å; at level \"full\" the\nsquared distance beyond which no further atom was looked for).");
}
