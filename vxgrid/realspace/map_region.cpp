#include <vxgrid/realspace/map_region.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/realspace/density.h>

namespace VXCore {

using VXXtal::VXSymmetry;
using VXXtal::VXUnitCell;

namespace {

using Index = std::array<long, 3>;

/// A symmetry operator in grid steps: image[r] = sum of turn[r][c] * idx[c] + shift[r].
struct StepOperator {
  long turn[3][3];
  long shift[3];
};

/// A box of samples on the lattice of a cell: `steps` along the cell edges, `dim` samples from `start` on.
struct Lattice {
  Index steps, dim, start;

  long size() const { return dim[0] * dim[1] * dim[2]; }
  /// The sample of a lattice point or of a translate of it, or -1.
  long element(const Index& idx) const {
    Index at;
    for (size_t axis = 0; axis < 3; ++axis) {
      at[axis] = (idx[axis] - start[axis]) % steps[axis];
      if (at[axis] < 0) at[axis] += steps[axis];
      if (at[axis] >= dim[axis]) return -1;
    }
    return (at[2] * dim[1] + at[1]) * dim[0] + at[0];
  }
};

bool near_whole(double value, long& whole) {
  whole = std::lround(value);
  return std::fabs(value - static_cast<double>(whole)) < 1e-3;
}

/// The operators that map the lattice onto itself.
std::vector<StepOperator> step_operators(const VXSymmetry& symmetry, const Index& steps) {
  std::vector<StepOperator> operators;
  for (unsigned i = 0; i < symmetry.GetOpCount(); ++i) {
    const float* m = symmetry.GetMatrices() + 16 * i;
    StepOperator op;
    bool whole = true;
    for (size_t r = 0; r < 3; ++r) {
      const double n = static_cast<double>(steps[r]);
      whole = near_whole(m[12 + r] * n, op.shift[r]) && whole;
      for (size_t c = 0; c < 3; ++c)
        whole = near_whole(m[4 * c + r] * n / static_cast<double>(steps[c]), op.turn[r][c]) && whole;
    }
    if (whole) operators.push_back(op);
  }
  return operators;
}

/// The first sample whose point is an image of `idx`, or -1.
long find_sample(const Lattice& map, const std::vector<StepOperator>& operators, const Index& idx) {
  for (const StepOperator& op : operators) {
    Index image;
    for (size_t r = 0; r < 3; ++r)
      image[r] = op.turn[r][0] * idx[0] + op.turn[r][1] * idx[1] + op.turn[r][2] * idx[2] + op.shift[r];
    if (const long element = map.element(image); element >= 0) return element;
  }
  return -1;
}

/// The positions of all atoms in steps along the cell edges.
std::vector<std::array<double, 3>> atoms_in_steps(const VXMolBase& model, const VXUnitCell& cell,
                                                  const Index& steps) {
  std::vector<float> coords(3ul * model.GetMaxAtomIdx());
  model.GetCoords(coords.data());
  std::vector<std::array<double, 3>> positions;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(model.GetAtoms())) {
    float* xyz = &coords[3ul * atom.GetIdx()];
    VXXtal::vecmul(xyz, cell.Cart2Frac());
    positions.push_back({xyz[0] * static_cast<double>(steps[0]), xyz[1] * static_cast<double>(steps[1]),
                         xyz[2] * static_cast<double>(steps[2])});
  }
  return positions;
}

/// The box of lattice points around the positions, `margin` Å wider on each side; no points when it is too
/// large.
Lattice box_around(const std::vector<std::array<double, 3>>& positions, const VXUnitCell& cell,
                   const Index& steps, float margin) {
  constexpr double kMaxPoints = 1 << 27;
  Lattice box{steps, {0, 0, 0}, {0, 0, 0}};
  double low[3], high[3], points = 1;
  for (size_t axis = 0; axis < 3; ++axis) {
    low[axis] = high[axis] = positions.front()[axis];
    for (const auto& position : positions) {
      low[axis] = std::min(low[axis], position[axis]);
      high[axis] = std::max(high[axis], position[axis]);
    }
    // One step along an axis moves 1 / |row of cart2frac| / steps across the planes of the other two.
    const float* m = cell.Cart2Frac() + axis;
    const double extra = margin * std::hypot(m[0], m[4], m[8]) * static_cast<double>(steps[axis]) + 1;
    low[axis] = std::floor(low[axis] - extra);
    high[axis] = std::ceil(high[axis] + extra);
    points *= high[axis] - low[axis] + 1;
  }
  if (!(points <= kMaxPoints)) return box;
  for (size_t axis = 0; axis < 3; ++axis) {
    box.start[axis] = static_cast<long>(low[axis]);
    box.dim[axis] = static_cast<long>(high[axis] - low[axis]) + 1;
  }
  return box;
}

Lattice lattice_of(const VXSkewGrid& grid, const VXUnitCell& cell, const Index& steps) {
  Lattice map{steps, {grid.GetXDim(), grid.GetYDim(), grid.GetZDim()}, {0, 0, 0}};
  float first[3];
  grid.ElementToSpatialCoord(0, first[0], first[1], first[2]);
  VXXtal::vecmul(first, cell.Cart2Frac());
  for (size_t axis = 0; axis < 3; ++axis)
    map.start[axis] = std::lround(static_cast<double>(first[axis]) * static_cast<double>(steps[axis]));
  return map;
}

/// The grid of a box, on the lattice, with the cell and the attributes of `grid`.
VXSkewGrid make_box(const VXSkewGrid& grid, const VXUnitCell& cell, const Lattice& box,
                    const std::vector<float>& values) {
  VXSkewGrid made(grid);
  made.SetDim(static_cast<unsigned>(box.dim[0]), static_cast<unsigned>(box.dim[1]),
              static_cast<unsigned>(box.dim[2]));
  made.SetValues(values.data(), static_cast<unsigned>(values.size()));
  float middle[3];
  for (size_t axis = 0; axis < 3; ++axis)
    middle[axis] = static_cast<float>(
        (static_cast<double>(box.start[axis]) + 0.5 * static_cast<double>(box.dim[axis] - 1)) /
        static_cast<double>(box.steps[axis]));
  VXXtal::vecmul(middle, cell.Frac2Cart());
  made.SetMid(middle[0], middle[1], middle[2]);
  made.SetReentrant(false);
  return made;
}

VXMapCoverage atoms_in_grid(const VXSkewGrid& grid, const VXMolBase& model) {
  const XYZToIJK mapping(grid);
  const float last[3] = {static_cast<float>(grid.GetXDim() - 1), static_cast<float>(grid.GetYDim() - 1),
                         static_cast<float>(grid.GetZDim() - 1)};
  VXMapCoverage coverage;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(model.GetAtoms())) {
    float xyz[3], ijk[3];
    model.GetCoords(&atom, xyz);
    mapping.ToIndex(xyz, ijk);
    ++coverage.atoms;
    coverage.inside += ijk[0] >= 0 && ijk[0] <= last[0] && ijk[1] >= 0 && ijk[1] <= last[1] && ijk[2] >= 0 &&
                       ijk[2] <= last[2];
  }
  return coverage;
}

/// Whether there are atoms, all at finite positions.
bool has_places(const VXMolBase& model) {
  if (!model) return false;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(model.GetAtoms())) {
    float xyz[3];
    model.GetCoords(&atom, xyz);
    if (!std::isfinite(xyz[0] + xyz[1] + xyz[2])) return false;
  }
  return true;
}

}  // namespace

VXSymmetry VXGetMapSymmetry(const VXSkewGrid& grid) {
  if (grid.HasData("vx_symm")) return grid.GetData<VXSymmetry>("vx_symm");
  if (!grid.HasSpaceGroup()) return {};
  float six[6];
  grid.GetUnitCell(six[0], six[1], six[2], six[3], six[4], six[5]);
  const VXMessageCapture unheard;
  const VXSymmetry symmetry(grid.GetSpaceGroup(), VXUnitCell(six));
  return symmetry && !symmetry.HasWarnings() && symmetry.cell().isValid() ? symmetry : VXSymmetry();
}

std::optional<VXMapCoverage> VXCutModelBox(VXSkewGrid& grid, const VXSymmetry& symmetry,
                                           const VXMolBase& model, float margin) {
  if (!has_places(model) || !grid.GetValues()) return std::nullopt;
  unsigned nx = 0, ny = 0, nz = 0;
  grid.GetImpl().GetUnitSpacing(nx, ny, nz);
  if (!symmetry || nx == 0 || ny == 0 || nz == 0) {
    grid.SetReentrant(false);
    return atoms_in_grid(grid, model);
  }

  const VXUnitCell& cell = symmetry.cell();
  const Index steps = {nx, ny, nz};
  const Lattice map = lattice_of(grid, cell, steps);
  const std::vector<StepOperator> operators = step_operators(symmetry, steps);
  const auto positions = atoms_in_steps(model, cell, steps);
  const Lattice box = box_around(positions, cell, steps, margin);
  if (box.size() == 0) return std::nullopt;

  std::vector<float> values(static_cast<size_t>(box.size()));
  std::vector<bool> known(values.size());
  const float* from = grid.GetValues();
  size_t point = 0;
  for (long z = 0; z < box.dim[2]; ++z)
    for (long y = 0; y < box.dim[1]; ++y)
      for (long x = 0; x < box.dim[0]; ++x, ++point)
        if (const long sample =
                find_sample(map, operators, {x + box.start[0], y + box.start[1], z + box.start[2]});
            sample >= 0) {
          values[point] = from[sample];
          known[point] = true;
        }

  VXMapCoverage coverage{model.NumAtoms(), 0};
  for (const auto& position : positions) {
    Index at;
    for (size_t axis = 0; axis < 3; ++axis) at[axis] = std::lround(position[axis]) - box.start[axis];
    coverage.inside += known[static_cast<size_t>((at[2] * box.dim[1] + at[1]) * box.dim[0] + at[0])];
  }
  grid = make_box(grid, cell, box, values);
  return coverage;
}

}  // namespace VXCore
