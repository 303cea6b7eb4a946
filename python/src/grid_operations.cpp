#include "grid_operations.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <pybind11/stl.h>

#include <vxgrid/grid/contour.h>
#include <vxgrid/molgrid/molecule_mask.h>
#include <vxgrid/processing/between_grids.h>
#include <vxgrid/processing/contour_levels.h>
#include <vxgrid/processing/grid_merge.h>
#include <vxgrid/processing/grid_values.h>
#include <vxgrid/processing/interpolation.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/move_grid.h>
#include <vxgrid/processing/regularize.h>
#include <vxgrid/processing/skeletonize.h>
#include <vxgrid/processing/thinning.h>
#include <vxgrid/processing/lattice.inl>

#include "arrays.h"
#include "bindings.h"
#include "call.h"
#include "grids.h"
#include "molecules.h"

using namespace VXCore;

namespace {

using Grid = VXGridAbstractBase;

template <class G>
constexpr bool is_scalar = std::is_same_v<std::decay_t<G>, VXScalarGrid>;

/// The one of a few names.
template <class Value, std::size_t n>
Value named(const std::string& name, const char* argument, const std::pair<const char*, Value> (&all)[n]) {
  std::string known;
  for (const auto& [each, value] : all) {
    if (name == each) return value;
    known += (known.empty() ? "\"" : ", \"") + std::string(each) + "\"";
  }
  throw py::value_error(std::string(argument) + ": one of " + known + " was wanted, \"" + name + "\" came");
}

VXInterpolation method_of(const std::string& method) {
  return named<VXInterpolation>(method, "method",
                                {{"linear", VXInterpolation::Linear},
                                 {"quadratic", VXInterpolation::Quadratic},
                                 {"nearest", VXInterpolation::Nearest}});
}

float spacing_or(std::optional<float> spacing, float otherwise) {
  return spacing ? spacing_of(*spacing) : otherwise;
}

/// ValueError when a grid of full widths would have too many samples.
void require_room(const float* extents, float spacing) {
  double samples = 1;
  for (int axis = 0; axis < 3; ++axis) samples *= double{extents[axis]} / spacing + 1;
  if (!(samples <= 2147483647.0)) throw py::value_error("spacing: a grid holds at most 2147483647 samples");
}

VXFixedGrid<float>& field_of(VXScalarGrid& grid) { return grid; }
VXFixedGrid<float>& field_of(VXSkewGrid& grid) { return grid.AsRegularGrid(); }
VXFixedGrid<float>& field_of(VXZemoGrid& grid) { return grid.CurrentFloats(); }

// --- values between samples ---

/// work(points) with positions (..., 3) as they lie in memory: double ones stay, all others become float.
template <class Work>
auto with_points(const py::object& points, Work&& work) {
  if (py::isinstance<py::array_t<double>>(points)) return work(points_of<Doubles>(points, "points"));
  return work(points_of<Floats>(points, "points"));
}

/// Interpolates at points; `gradients` is null or of their shape. The values.
template <class Array>
py::array_t<float> interpolate_at(Grid& grid, const Array& points, VXInterpolation method, float outside,
                                  float* gradients) {
  py::array_t<float> values(std::vector<py::ssize_t>(points.shape(), points.shape() + points.ndim() - 1));
  float* const out = values.mutable_data();
  const auto* const xyz = points.data();
  const auto n = static_cast<std::size_t>(values.size());
  compute([&] {
    return visit(grid, [&](auto& g) { return VXInterpolate(g, xyz, n, method, outside, out, gradients); });
  });
  return values;
}

py::array_t<float> interpolate(Grid& grid, const py::object& points, const std::string& method,
                               float outside) {
  const VXInterpolation how = method_of(method);
  return with_points(points,
                     [&](const auto& xyz) { return interpolate_at(grid, xyz, how, outside, nullptr); });
}

py::tuple interpolate_with_gradients(Grid& grid, const py::object& points, const std::string& method,
                                     float outside) {
  const VXInterpolation how = method_of(method);
  return with_points(points, [&](const auto& xyz) {
    py::array_t<float> gradients(std::vector<py::ssize_t>(xyz.shape(), xyz.shape() + xyz.ndim()));
    return py::make_tuple(interpolate_at(grid, xyz, how, outside, gradients.mutable_data()), gradients);
  });
}

// --- other lattices ---

template <class G>
bool is_periodic(const G& grid) {
  if constexpr (is_scalar<G>)
    return false;
  else
    return inner(grid).GetReentrant() != 0;
}

/// A grid along x, y and z between two corners, with values of a grid at its own places.
template <class G>
auto subgrid(const G& grid, const py::object& lower, const py::object& upper, std::optional<float> spacing,
             std::optional<bool> periodic) {
  const std::array<float, 3> low = xyz_of(lower, "lower"), high = xyz_of(upper, "upper");
  float center[3], widths[3];
  for (int axis = 0; axis < 3; ++axis) {
    if (high[axis] < low[axis]) throw py::value_error("upper: it must not lie below lower");
    center[axis] = static_cast<float>((double{high[axis]} + low[axis]) / 2);
    widths[axis] = static_cast<float>(double{high[axis]} - low[axis]);
  }
  const float step = spacing_or(spacing, grid.GetSpacing());
  require_room(widths, step);
  const bool wraps = periodic.value_or(is_periodic(grid));
  auto out = std::make_shared<std::conditional_t<std::is_same_v<G, VXZemoGrid>, VXZemoGrid, VXScalarGrid>>();
  run("a grid with two samples or more on each axis was wanted",
      [&] { return VXMakeRegularSubGrid(*out, grid, center, widths, step, wraps); });
  return out;
}

/// The box from the first to the last sample, at another spacing.
ScalarGridPtr resampled(const VXScalarGrid& grid, float spacing) {
  const float center[3] = {grid.GetXMid(), grid.GetYMid(), grid.GetZMid()};
  const unsigned int dim[3] = {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()};
  float widths[3];
  for (int axis = 0; axis < 3; ++axis) {
    if (dim[axis] < 2) throw py::value_error("a grid with two samples or more on each axis was wanted");
    widths[axis] = static_cast<float>(dim[axis] - 1) * grid.GetSpacing();
  }
  require_room(widths, spacing);
  auto out = std::make_shared<VXScalarGrid>();
  run("the grid cannot be made", [&] {
    return VXMakeGridFromCenterAndExtents(*out, center, widths, spacing) &&
           VXInterpolateBetweenGrids(*out, grid) && out->SetTitle(grid.GetTitle());
  });
  return out;
}

ScalarGridPtr regular_of_scalar(const VXScalarGrid& grid, std::optional<float> spacing) {
  const float step = spacing_or(spacing, grid.GetSpacing());
  if (step != grid.GetSpacing()) return resampled(grid, step);
  return compute([&] { return std::make_shared<VXScalarGrid>(grid); });
}

ScalarGridPtr regular_of_skew(const VXSkewGrid& grid, std::optional<float> spacing) {
  const float step = spacing_or(spacing, grid.GetSpacing());
  float center[3] = {}, extents[3] = {};
  VXGetCenterAndExtents(grid, center, extents);
  if (!grid.IsRegular()) require_room(extents, step);
  auto out = std::make_shared<VXScalarGrid>();
  run("a grid with two samples or more on each axis was wanted",
      [&] { return VXMakeRegularGrid(*out, grid, step) && out->SetTitle(grid.GetTitle()); });
  return step == out->GetSpacing() ? out : resampled(*out, step);
}

MultiGridPtr regular_of_multi(const VXZemoGrid& grid, std::optional<float> spacing) {
  const float step = spacing_or(spacing, grid.GetSpacing());
  float center[3] = {}, extents[3] = {};
  VXGetCenterAndExtents(grid, center, extents);
  require_room(extents, step);
  auto out = std::make_shared<VXZemoGrid>();
  run("a grid with two samples or more on each axis was wanted",
      [&] { return VXMakeRegularGrid(*out, grid, step); });
  return out;
}

void fill_from(VXScalarGrid& grid, const VXScalarGrid& source, const std::string& method,
               const std::string& region) {
  const int where = named<int>(region, "region", {{"all", 2}, {"interior", 1}, {"faces", 0}}),
            mode = where + named<int>(method, "method", {{"linear", 0}, {"quadratic", 3}});
  compute([&] {
    if (lattice::is_sized(source))
      vi_int_btw_grids(lattice::view(source, source.GetValues()), lattice::view(grid, grid.GetValues()),
                       mode);
  });
}

template <VXMerge how>
void merge(VXScalarGrid& grid, const VXScalarGrid& other) {
  run("the lattices do not match", [&] { return VXMergeGrids(grid, other, how); });
}

// --- moves ---

template <class G>
void translate(G& grid, const py::object& vector) {
  const std::array<float, 3> by = xyz_of(vector, "vector");
  VXTranslate(grid, by.data());
}

template <class G>
void rotate(G& grid, const py::object& matrix) {
  VXRotate(grid, matrix_of(matrix, "matrix").data());
}

template <class G>
void orient_by_inertia(G& grid) {
  run("a grid with values was wanted",
      [&] { return vx_orient_grid_by_moments_of_inertia(inner(grid)) != 0; });
}

// --- masks ---

void mask(Grid& grid, const py::object& given, const std::string& mode) {
  const unsigned int kind = mask_mode(mode);
  const std::vector<py::ssize_t> shape = shape_of(grid);
  const Floats density = numbers<Floats>(given, "density", {shape[0], shape[1], shape[2]});
  const float* const from = density.data();
  run("no such mask", [&] {
    return visit(grid, [&](auto& g) { return VXMaskGridValues(values_of(g), from, g.GetSize(), kind); });
  });
}

void mask_by_spheres(VXScalarGrid& grid, const py::object& centers, const py::object& radii,
                     const std::string& mode) {
  const unsigned int kind = mask_mode(mode);
  const Floats xyz = numbers<Floats>(centers, "centers", {-1, 3});
  const Floats r = numbers<Floats>(radii, "radii", {xyz.shape(0)});
  const float *const at = xyz.data(), *const of = r.data();
  const auto n = static_cast<unsigned int>(xyz.shape(0));
  run("a grid of more than one sample was wanted",
      [&] { return VXMaskGridByCoordsAndRadii(grid, at, of, n, kind); });
}

void mask_by_molecule(VXScalarGrid& grid, const VXGraphMol& molecule, const std::string& mode, float level) {
  const unsigned int kind = mask_mode(mode);
  run("a molecule with atoms was wanted", [&] { return VXMaskGridByMolecule(grid, molecule, kind, level); });
}

// --- contours ---

py::array_t<float> contour_levels(Grid& grid, unsigned int count, bool descending, std::optional<float> limit,
                                  unsigned int stride) {
  if (count < 2 || count > 1000000)
    throw py::value_error("count: 2 to 1000000 was wanted, " + std::to_string(count) + " came");
  return array_of(compute([&] {
    const VXFixedGrid<float>& field = visit(
        grid, [](auto& g) -> auto& { return field_of(g); });
    const std::unique_ptr<VXContourLevelIter> level(
        limit ? VXGetGridContourLevels(field, count, descending, *limit, stride)
              : VXGetGridContourLevels(field, count, descending, stride));
    std::vector<float> levels;
    for (; level && *level; ++*level) levels.push_back(**level);
    return levels;
  }));
}

VXColor color_of(const py::handle& object) {
  try {
    py::object channels = py::reinterpret_borrow<py::object>(object);
    if (PyUnicode_Check(object.ptr())) {
      const auto text = object.cast<std::string>();
      if (text.empty() || text[0] != '#') throw py::cast_error();
      channels = py::module_::import("builtins").attr("bytes").attr("fromhex")(text.substr(1));
    }
    const auto c = py::list(channels).cast<std::vector<unsigned char>>();
    if (c.size() == 3) return VXColor(c[0], c[1], c[2]);
    if (c.size() == 4) return VXColor(c[0], c[1], c[2], c[3]);
  } catch (const py::cast_error&) {
  } catch (const py::error_already_set&) {
  }
  throw py::value_error(
      "color: \"#rrggbb\", \"#rrggbbaa\" or three or four numbers of 0 to 255 were wanted, " + shown(object) +
      " came");
}

py::list contours(const Grid& grid) {
  py::list all;
  for (unsigned int i = 0; i < VXNumContours(grid); ++i) {
    const VXColor c = VXGetContourColor(grid, i);
    all.append(py::make_tuple(VXGetContourLevel(grid, i),
                              py::make_tuple(c.GetRed(), c.GetGreen(), c.GetBlue(), c.GetAlpha())));
  }
  return all;
}

void set_contours(Grid& grid, const py::iterable& given) {
  std::vector<std::pair<float, VXColor>> all;
  for (const py::handle each : given) {
    try {
      const auto [level, color] = each.cast<std::pair<float, py::object>>();
      all.emplace_back(level, color_of(color));
    } catch (const py::cast_error&) {
      throw py::type_error("contours: pairs of a level and a color were wanted, " + shown(each) + " came");
    }
  }
  run_short("", [&] {
    grid.DeleteData(VX_GRID_CONTOUR_LEVELS);
    grid.DeleteData(VX_GRID_CONTOUR_COLORS);
    for (const auto& [level, color] : all) VXAddContour(grid, level, color);
    return true;
  });
}

// --- skeletons and blobs ---

ScalarGridPtr skeleton(const VXScalarGrid& grid, float threshold, std::optional<float> spacing) {
  const float step = spacing_or(spacing, VXNoResampling);
  if (spacing) {
    float center[3] = {}, extents[3] = {};
    VXGetCenterAndExtents(static_cast<const VXGridBase&>(grid), center, extents);
    require_room(extents, step);
  }
  return compute([&] {
    auto out = std::make_shared<VXScalarGrid>(grid);
    VXSkeletonizeGrid(*out, threshold, step);
    return out;
  });
}

/// The element of an index (z, y, x), or of one into all values in their order.
unsigned int element_of(const VXScalarGrid& grid, const py::object& seed) {
  const std::vector<py::ssize_t> shape = shape_of(grid);
  try {
    const auto at = PyIndex_Check(seed.ptr()) ? std::vector<py::ssize_t>{0, 0, seed.cast<py::ssize_t>()}
                                              : seed.cast<std::vector<py::ssize_t>>();
    const bool flat = PyIndex_Check(seed.ptr());
    if (at.size() == 3) {
      const py::ssize_t last = flat ? static_cast<py::ssize_t>(grid.GetSize()) : shape[2];
      if (at[0] >= 0 && at[0] < shape[0] && at[1] >= 0 && at[1] < shape[1] && at[2] >= 0 && at[2] < last)
        return static_cast<unsigned int>((at[0] * shape[1] + at[1]) * shape[2] + at[2]);
    }
  } catch (const py::cast_error&) {
  }
  throw py::index_error("seed: an index (z, y, x) below " + std::string(py::repr(py::cast(shape))) +
                        ", or one below " + std::to_string(grid.GetSize()) + " was wanted, " + shown(seed) +
                        " came");
}

ScalarGridPtr blob(const VXScalarGrid& grid, const py::object& seed, std::optional<float> level) {
  const unsigned int element = element_of(grid, seed);
  const float from = level.value_or(VXLevelOfSeed);
  auto out = compute([&] { return std::make_shared<VXScalarGrid>(grid); });
  run("no blob", [&] { return VXExtractBlob(*out, element, from); });
  return out;
}

// --- what the classes have ---

void bind_all_kinds(py::class_<Grid, std::shared_ptr<Grid>>& grid) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  grid.def(
          "interpolate", &interpolate, py::arg("points"), py::arg("method") = "linear", py::kw_only(),
          py::arg("outside") = nan,
          "Values at points (..., 3) in Å, a float32 array of shape (...).\n\n"
          "method is \"linear\" (trilinear), \"quadratic\" (a B-spline over 27 samples, which smooths) or "
          "\"nearest\". A\n"
          "grid holds the points between its first and its last samples, for \"quadratic\" those half a step "
          "inside, and a\n"
          "periodic grid every point to some 10^8 Å away; all others get outside, as do all of a grid with "
          "one\n"
          "sample on an axis. Positions are taken in single precision.")
      .def(
          "interpolate_with_gradients", &interpolate_with_gradients, py::arg("points"),
          py::arg("method") = "quadratic", py::kw_only(), py::arg("outside") = nan,
          "Values as interpolate() gives them, and their gradients per Å, float32 arrays of shapes (...) and "
          "(..., 3).\n\n"
          "The quadratic kind has smooth gradients, the linear one those of each cell.")
      .def("mask", &mask, py::arg("density"), py::arg("mode") = "gaussian",
           "Cuts values out, by a density of the same shape (nz, ny, nx), in place.\n\n"
           "mode is \"gaussian\" (0 where the density is above 0.5), \"gaussian-\" (0 where it is below), "
           "\"gaussian_smooth\"\n"
           "(times exp(-density / 2)) or \"gaussian_smooth-\" (times 1 - exp(-density / 2)).")
      .def(
          "clear_boundary",
          [](Grid& g) {
            compute([&] { return visit(g, [](auto& each) { return VXClearGridBoundary(each); }); });
          },
          "Sets the samples on the six faces to 0, in place.")
      .def(
          "has_nonzero",
          [](Grid& g) {
            return compute([&] { return visit(g, [](auto& each) { return VXGridHasNonZeroValue(each); }); });
          },
          "Whether a value is above or below 0; not-a-number is neither. Of a MultiGrid, of its first field.")
      .def(
          "contour_levels", &contour_levels, py::arg("count"), py::kw_only(), py::arg("descending") = false,
          py::arg("limit") = py::none(), py::arg("stride") = 1,
          "Levels for contours, by the ranks of the grid's own values, a float32 array.\n\n"
          "They crowd at the low end of the values, or the high end when descending. limit is a level to end "
          "at; with a\n"
          "stride only every so many samples on each axis are looked at. Two levels come of a grid of few "
          "different values.")
      .def_property("contours", &contours, &set_contours,
                    "Levels to draw that the grid carries: a list of (level, color), with color (red, green, "
                    "blue, alpha), each\n"
                    "0 to 255. \"#rrggbb\", \"#rrggbbaa\" and three numbers will do to set one.");
}

void bind_scalar(py::class_<VXScalarGrid, Grid, ScalarGridPtr>& grid) {
  grid.def("regular", &regular_of_scalar, py::arg("spacing") = py::none(),
           "A new grid of the same box; with a spacing in Å sampled trilinearly at that.")
      .def("fill_from", &fill_from, py::arg("source"), py::arg("method") = "linear", py::kw_only(),
           py::arg("region") = "all",
           "Takes values of another ScalarGrid at the own samples that lie inside it, in place; the others "
           "stay.\n\n"
           "method is \"linear\" or \"quadratic\", region \"all\", \"interior\" (all but the six faces) or "
           "\"faces\".")
      .def("add", &merge<VXMerge::Add>, py::arg("other"),
           "Adds the values of another ScalarGrid where the two overlap, in place.\n\n"
           "Spacings must agree and midpoints be a whole number of steps apart; vxgrid.Error otherwise.")
      .def("subtract", &merge<VXMerge::Subtract>, py::arg("other"), "Subtracts values as add() adds them.")
      .def("put", &merge<VXMerge::Put>, py::arg("other"), "Takes values over where add() adds them.")
      .def(
          "normalize", [](VXScalarGrid& g) { return compute([&] { return VXSigmaNormalizeGrid(g); }); },
          "Divides the values by their standard deviation, in place, and gives that.\n\n"
          "The mean is not subtracted. The attribute ARMS, where a file has given one, is taken in place of "
          "the "
          "deviation;\n"
          "a grid that has been normalized stays as it is.")
      .def("mask_by_spheres", &mask_by_spheres, py::arg("centers"), py::arg("radii"),
           py::arg("mode") = "gaussian",
           "Cuts values out by the Gaussian density of spheres, centers (n, 3) and radii (n,) in Å, in "
           "place.\n\n"
           "mode as in mask().")
      .def("mask_by_molecule", &mask_by_molecule, py::arg("molecule"), py::arg("mode") = "gaussian",
           py::kw_only(), py::arg("level") = 0.5f,
           "Cuts a molecule out, or all but the molecule, by the Gaussian density of its atoms, in place.\n\n"
           "mode as in mask(), with level in place of 0.5: of \"gaussian\" and \"gaussian-\" the density at "
           "the "
           "border, of the\n"
           "smooth ones the factor in the exponent.")
      .def(
          "thin", [](VXScalarGrid& g) { return compute([&] { return VXThinGrid(g); }); },
          "Thins what is not 0 to lines of 1 in a field of 0, in place; the number of rounds that it "
          "took.\n\n"
          "The outermost layer becomes 0.")
      .def("skeleton", &skeleton, py::arg("threshold"), py::kw_only(), py::arg("spacing") = py::none(),
           "A new grid of 0 and 1: what is not below a threshold, thinned to lines.\n\n"
           "With a spacing in Å the values are first sampled at that.")
      .def("blob", &blob, py::arg("seed"), py::kw_only(), py::arg("level") = py::none(),
           "A new grid with the values that hang together with a sample, above a level, and 0 elsewhere.\n\n"
           "seed is an index (z, y, x) into values, or one number, as values.argmax() gives it. A sample "
           "hangs "
           "together with\n"
           "its 26 neighbours by its place in memory, so a blob goes on from the end of a row to the start "
           "of the "
           "next. level\n"
           "None is the value at the seed; below 0 the seed alone is kept.");
}

template <class G, class Class>
void bind_subgrid(Class& grid) {
  grid.def("subgrid", &subgrid<G>, py::arg("lower"), py::arg("upper"), py::arg("spacing") = py::none(),
           py::kw_only(), py::arg("periodic") = py::none(),
           std::is_same_v<G, VXZemoGrid> ? "A new MultiGrid along x, y and z: the box between two corners "
                                           "(x, y, z) in Å of the current field, sampled\n"
                                           "trilinearly; see ScalarGrid.subgrid()."
                                         : "A new ScalarGrid along x, y and z: the box between two corners "
                                           "(x, y, z) in Å, sampled trilinearly.\n\n"
                                           "spacing   in Å; None is that of this grid\n"
                                           "periodic  whether values outside this grid are those of its "
                                           "repeats, or 0; None is what the grid "
                                           "says");
}

template <class G, class Class>
void bind_moves(Class& grid) {
  grid.def("translate", &translate<G>, py::arg("vector"),
           "Moves the grid by (x, y, z) in Å, in place; the space group is forgotten.")
      .def("rotate", &rotate<G>, py::arg("matrix"),
           "Turns the grid about the origin by a (3, 3) matrix, in place; the space group is forgotten.")
      .def("orient_by_inertia", &orient_by_inertia<G>,
           "Turns the grid about its center so that the principal axes of its values above 0 lie along x, y "
           "and "
           "z, in place.");
}

void bind_skew(py::class_<VXSkewGrid, Grid, SkewGridPtr>& grid) {
  grid.def(
          "regular", &regular_of_skew, py::arg("spacing") = py::none(),
          "A new ScalarGrid of the box around the grid, sampled trilinearly, and periodically where the grid "
          "is.\n\n"
          "spacing None is the grid's own. A grid whose axes lie along x, y and z keeps its samples then.")
      .def(
          "normalize", [](VXSkewGrid& g) { return compute([&] { return VXSigmaNormalizeGrid(g); }); },
          "Divides the values by their standard deviation, in place, and gives that; see "
          "ScalarGrid.normalize().")
      .def(
          "thin", [](VXSkewGrid& g) { return compute([&] { return VXThinGrid(g); }); },
          "Thins the grid on its own lattice, in place; see ScalarGrid.thin().");
}

}  // namespace

unsigned int mask_mode(const std::string& mode) {
  return named<unsigned int>(
      mode, "mode", {{"gaussian", 4}, {"gaussian-", 5}, {"gaussian_smooth", 6}, {"gaussian_smooth-", 7}});
}

void bind_grid_operations(py::module_& module) {
  py::class_<Grid, std::shared_ptr<Grid>> base(module.attr("Grid"));
  bind_all_kinds(base);
  py::class_<VXScalarGrid, Grid, ScalarGridPtr> scalar(module.attr("ScalarGrid"));
  bind_subgrid<VXScalarGrid>(scalar);
  bind_scalar(scalar);
  py::class_<VXSkewGrid, Grid, SkewGridPtr> skew(module.attr("SkewGrid"));
  bind_subgrid<VXSkewGrid>(skew);
  bind_skew(skew);
  bind_moves<VXSkewGrid>(skew);
  py::class_<VXZemoGrid, Grid, MultiGridPtr> multi(module.attr("MultiGrid"));
  bind_subgrid<VXZemoGrid>(multi);
  multi.def(
      "regular", &regular_of_multi, py::arg("spacing") = py::none(),
      "A new MultiGrid of the box around the current field, sampled trilinearly, and periodically where "
      "the grid is.\n\n"
      "A grid whose axes lie along x, y and z keeps all fields at its own spacing, which None stands for.");
  bind_moves<VXZemoGrid>(multi);
}
