#include <vxgrid/realspace/fit_statistics.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include <vxgrid/grid/scalargrid.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/mol_geometry.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/tracer.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/processing/radial_potential.h>
#include <vxgrid/processing/regularize.h>
#include <vxgrid/realspace/density.h>

namespace VXCore {

namespace {

/// The statistics to work out, as bits.
enum Wanted : unsigned int { kRscc = 1, kRsr = 2, kBoth = kRscc | kRsr };

/// Where a model is: its box, hydrogens included and 4.0 Å larger, and the atoms of its mask.
struct Place {
  float center[3] = {};
  float extents[3] = {};
  std::vector<float> mask_xyz;
};

void widen(Place& place) {
  for (float& extent : place.extents) extent += 4.0f;
}

/// The positions of the atoms in molecule order.
std::vector<float> positions_of(const VXMolBase& mol) {
  std::vector<float> out(3 * static_cast<std::size_t>(mol.NumAtoms()));
  float* xyz = out.data();
  for (VXIter<VXAtomBase> atom = mol.GetAtoms(); atom; ++atom, xyz += 3) mol.GetCoords(&*atom, xyz);
  return out;
}

VXGraphMol without_hydrogens(const VXMolBase& mol) {
  VXGraphMol copy(mol);
  VXSuppressHydrogens(copy, false, false, true);
  copy.Sweep();
  return copy;
}

Place place_of(const VXMolBase& mol, const VXMolBase& heavy) {
  Place place;
  VXGetCenterAndExtents(mol, place.center, place.extents);
  widen(place);
  place.mask_xyz = positions_of(heavy);
  return place;
}

/// The sums over the points inside a mask; x is the observed map, y the calculated one.
struct Sums {
  double n = 0, x = 0, y = 0, xx = 0, yy = 0, xy = 0;
  double plus = 0, minus = 0;

  void Add(double obs, double calc) {
    n += 1.0;
    x += obs;
    y += calc;
    xx += obs * obs;
    yy += calc * calc;
    xy += obs * calc;
    plus += std::fabs(calc + obs);
    minus += std::fabs(calc - obs);
  }
};

VXFitStatistics statistics_of(const Sums& s, unsigned int wanted) {
  VXFitStatistics out;
  if (s.n < 2.0) {
    VXThrow.Warning("Masking the molecule failed (only one element set)");
    return out;
  }
  if (wanted & kRsr) out.rsr = s.minus / s.plus;
  if (wanted & kRscc) {
    const double d = std::sqrt((s.xx * s.n - s.x * s.x) * (s.yy * s.n - s.y * s.y));
    // The text ends without its bracket; readers of logs look for it as it is.
    if (d == 0.0)
      VXThrow.Warning("RSCC: Empty grid (perhaps missing symmetry information for molecule");
    else
      out.rscc = (s.n * s.xy - s.x * s.y) / d;
  }
  return out;
}

/// The statistics of two maps on one lattice, inside the mask around `mask_xyz`. With `annotated` the maps
/// stay on that molecule; `calc` is set to 0 outside the mask then.
VXFitStatistics compare(const VXScalarGrid& obs, VXScalarGrid& calc, const std::vector<float>& mask_xyz,
                        double radius, unsigned int wanted, VXMolBase* annotated = nullptr) {
  VXScalarGrid mask(obs);
  std::fill_n(mask.GetValues(), mask.GetSize(), 0.0f);
  const AtomMask inside(radius);
  const double cutoff = static_cast<float>(radius);
  for (std::size_t i = 0; i < mask_xyz.size(); i += 3)
    MapRadialPotentialToGrid<float, AtomMask, MaxMappingFunctor<float>>(
        mask, inside, mask_xyz[i], mask_xyz[i + 1], mask_xyz[i + 2], cutoff);
  Sums sums;
  const unsigned int size = std::min(obs.GetSize(), calc.GetSize());
  for (unsigned int i = 0; i < size; ++i)
    if (mask[i] > 0.0f)
      sums.Add(obs[i], calc[i]);
    else
      calc[i] = 0.0f;
  if (annotated) {
    annotated->SetData("scatter", calc);
    annotated->SetData("mask", mask);
    annotated->SetData("ed", obs);
  }
  return statistics_of(sums, wanted);
}

/// Whether a place lies beside a map that does not repeat. One step is left for the box of an oriented grid,
/// which is that far from its samples.
bool is_beside(const VXSkewGrid& map, const Place& place) {
  if (map.GetReentrant() != 0) return false;
  float center[3] = {}, extents[3] = {};
  VXGetCenterAndExtents(map, center, extents);
  for (int axis = 0; axis < 3; ++axis) {
    const float reach = (extents[axis] + place.extents[axis]) / 2.0f + map.GetSpacing();
    if (std::fabs(center[axis] - place.center[axis]) > reach) return true;
  }
  return false;
}

/// The common lattice of two skew grids and a place, and the statistics on it. The mask of a model beside the
/// observed map is empty.
VXFitStatistics fit(const VXSkewGrid& obs, const VXSkewGrid& calc, bool calc_wraps, const Place& place,
                    double radius, unsigned int wanted, VXMolBase* annotated = nullptr) {
  const float spacing = XYZToIJK(obs).GetSmallestSpacing();
  VXScalarGrid obs_box, calc_box;
  VXMakeRegularSubGrid(obs_box, obs, place.center, place.extents, spacing, obs.GetReentrant() != 0);
  VXMakeRegularSubGrid(calc_box, calc, place.center, place.extents, spacing, calc_wraps);
  const bool beside = is_beside(obs, place);
  return compare(obs_box, calc_box, beside ? std::vector<float>() : place.mask_xyz, radius, wanted,
                 annotated);
}

VXFitStatistics fit(const VXSkewGrid& obs, const VXSkewGrid& calc, const VXMolBase& mol, double radius,
                    unsigned int wanted, VXMolBase* annotated = nullptr) {
  return fit(obs, calc, calc.GetReentrant() != 0, place_of(mol, without_hydrogens(mol)), radius, wanted,
             annotated);
}

VXFitStatistics fit(const VXSkewGrid& obs, const VXMolBase& mol, double radius, unsigned int wanted,
                    VXMolBase* annotated = nullptr) {
  const VXGraphMol heavy = without_hydrogens(mol);
  // Of the observed map only the attributes matter here: they may hold the symmetry.
  VXSkewGrid calc;
  VXCopyBaseData(calc, obs);
  if (!VXMakeGaussianScatterGrid(calc, heavy, 0.5)) {
    if (heavy) return {};
    calc = obs;  // hydrogens only: the empty mask is what fails, and any map will do
  }
  return fit(obs, calc, false, place_of(mol, heavy), radius, wanted, annotated);
}

VXFitStatistics fit(const VXMolBase& a, const VXMolBase& b, double radius, unsigned int wanted,
                    VXMolBase* annotated = nullptr) {
  const VXGraphMol heavy_a = without_hydrogens(a), heavy_b = without_hydrogens(b);
  VXGraphMol both(heavy_a);
  both += heavy_b;
  Place place;
  VXGetCenterAndExtents(both, place.center, place.extents);
  widen(place);
  VXScalarGrid grid_a, grid_b;
  if (!VXMakeGridFromCenterAndExtents(grid_a, place.center, place.extents, 0.5f)) return {};
  grid_b = grid_a;
  VXScatterToGrid(grid_a, heavy_a);
  VXScatterToGrid(grid_b, heavy_b);
  return compare(grid_a, grid_b, positions_of(heavy_a), radius, wanted, annotated);
}

/// A residue, its atoms in molecule order, and where it is.
struct Residue {
  VXResidue identity;
  std::vector<VXAtomBase*> atoms;
};

/// The residues in the order of their first atoms.
std::vector<Residue> residues_of(const VXMolBase& mol) {
  std::vector<Residue> out;
  std::map<std::tuple<std::string, int, std::string, char>, std::size_t> places;
  std::size_t last = 0;
  for (VXIter<VXAtomBase> atom = mol.GetAtoms(); atom; ++atom) {
    if (!VXHasResidue(&*atom)) continue;
    const VXResidue& residue = VXAtomGetResidue(&*atom);
    if (out.empty() || !VXSameResidue(out[last].identity, residue)) {
      const auto place = places.try_emplace(
          {residue.GetChainId(), residue.GetNumber(), residue.GetName(), residue.GetInsertCode()},
          out.size());
      if (place.second) out.push_back({residue, {}});
      last = place.first->second;
    }
    out[last].atoms.push_back(&*atom);
  }
  return out;
}

/// Where a residue is, without a molecule of its own.
Place place_of(const VXMolBase& mol, const Residue& residue) {
  Place place;
  std::vector<float> xyz(3 * residue.atoms.size());
  for (std::size_t i = 0; i < residue.atoms.size(); ++i) {
    mol.GetCoords(residue.atoms[i], &xyz[3 * i]);
    if (VXIsHeavy()(*residue.atoms[i]))
      place.mask_xyz.insert(place.mask_xyz.end(), &xyz[3 * i], &xyz[3 * i] + 3);
  }
  VXGeom3DGetCenterAndExtents(xyz.data(), static_cast<unsigned int>(residue.atoms.size()), place.center,
                              place.extents);
  widen(place);
  return place;
}

/// Calls take(residue, statistics) for each residue, and the tracer after it; stops when `take` gives false.
template <class Take>
void for_each_residue(const VXSkewGrid& obs, const VXSkewGrid& calc, const VXMolBase& mol, double radius,
                      unsigned int wanted, Take take) {
  const std::vector<Residue> residues = residues_of(mol);
  const unsigned int total = static_cast<unsigned int>(residues.size());
  for (unsigned int i = 0; i < total; ++i) {
    const VXFitStatistics found =
        fit(obs, calc, calc.GetReentrant() != 0, place_of(mol, residues[i]), radius, wanted);
    if (!take(residues[i], found, i, total)) return;
  }
}

bool tag_residues(const VXSkewGrid& obs, const VXSkewGrid& calc, VXMolBase& mol, double radius,
                  VXTracerBase& tracer, Wanted wanted) {
  const unsigned int tag = VXGetTag(wanted == kRscc ? "rscc" : "rsr");
  for_each_residue(
      obs, calc, mol, radius, wanted,
      [&](const Residue& residue, const VXFitStatistics& found, unsigned int i, unsigned int total) {
        const float value = static_cast<float>(wanted == kRscc ? found.rscc : found.rsr);
        for (VXAtomBase* atom : residue.atoms) atom->SetData<float>(tag, value);
        tracer.Progress(i, total);
        return true;
      });
  return true;
}

/// The density of a model on the lattice of a map.
VXSkewGrid calculated(const VXSkewGrid& obs, const VXMolBase& mol) {
  VXSkewGrid calc(obs);
  VXScatterToGrid(calc, mol);
  return calc;
}

}  // namespace

double VXRSR(const VXSkewGrid& obs, const VXSkewGrid& calc, const VXMolBase& mol, double radius) {
  return fit(obs, calc, mol, radius, kRsr).rsr;
}

double VXRSR(const VXScalarGrid& obs, const VXScalarGrid& calc, const VXMolBase& mol, double radius) {
  return VXRSR(VXSkewGrid(obs), VXSkewGrid(calc), mol, radius);
}

double VXRSR(const VXSkewGrid& obs, const VXMolBase& mol, double radius) {
  return fit(obs, mol, radius, kRsr).rsr;
}

double VXRSR(const VXScalarGrid& obs, const VXMolBase& mol, double radius) {
  return VXRSR(VXSkewGrid(obs), mol, radius);
}

double VXRSR(const VXMolBase& a, const VXMolBase& b, double radius) { return fit(a, b, radius, kRsr).rsr; }

double VXRSCC(const VXSkewGrid& obs, const VXSkewGrid& calc, const VXMolBase& mol, double radius) {
  return fit(obs, calc, mol, radius, kRscc).rscc;
}

double VXRSCC(const VXScalarGrid& obs, const VXScalarGrid& calc, const VXMolBase& mol, double radius) {
  return VXRSCC(VXSkewGrid(obs), VXSkewGrid(calc), mol, radius);
}

double VXRSCC(const VXSkewGrid& obs, const VXMolBase& mol, double radius) {
  return fit(obs, mol, radius, kRscc).rscc;
}

double VXRSCC(const VXScalarGrid& obs, const VXMolBase& mol, double radius) {
  return VXRSCC(VXSkewGrid(obs), mol, radius);
}

double VXRSCC(const VXMolBase& a, const VXMolBase& b, double radius) { return fit(a, b, radius, kRscc).rscc; }

double VXAnnotateRSCC(const VXSkewGrid& obs, const VXSkewGrid& calc, VXMolBase& mol, double radius) {
  return fit(obs, calc, mol, radius, kRscc, &mol).rscc;
}

double VXAnnotateRSCC(const VXScalarGrid& obs, const VXScalarGrid& calc, VXMolBase& mol, double radius) {
  return VXAnnotateRSCC(VXSkewGrid(obs), VXSkewGrid(calc), mol, radius);
}

double VXAnnotateRSCC(const VXSkewGrid& obs, VXMolBase& mol, double radius) {
  return fit(obs, mol, radius, kRscc, &mol).rscc;
}

double VXAnnotateRSCC(const VXScalarGrid& obs, VXMolBase& mol, double radius) {
  return VXAnnotateRSCC(VXSkewGrid(obs), mol, radius);
}

double VXAnnotateRSCC(VXMolBase& a, const VXMolBase& b, double radius) {
  return fit(a, b, radius, kRscc, &a).rscc;
}

bool VXResidueRSCC(const VXSkewGrid& obs, const VXSkewGrid& calc, VXMolBase& mol, double radius,
                   VXTracerBase& tracer) {
  return tag_residues(obs, calc, mol, radius, tracer, kRscc);
}

bool VXResidueRSCC(const VXSkewGrid& obs, VXMolBase& mol, double radius, VXTracerBase& tracer) {
  return VXResidueRSCC(obs, calculated(obs, mol), mol, radius, tracer);
}

bool VXResidueRSR(const VXSkewGrid& obs, const VXSkewGrid& calc, VXMolBase& mol, double radius,
                  VXTracerBase& tracer) {
  return tag_residues(obs, calc, mol, radius, tracer, kRsr);
}

bool VXResidueRSR(const VXSkewGrid& obs, VXMolBase& mol, double radius, VXTracerBase& tracer) {
  return VXResidueRSR(obs, calculated(obs, mol), mol, radius, tracer);
}

VXFitStatistics VXGetFitStatistics(const VXSkewGrid& obs, const VXSkewGrid& calc, const VXMolBase& mol,
                                   double radius) {
  return fit(obs, calc, mol, radius, kBoth);
}

VXFitStatistics VXGetFitStatistics(const VXSkewGrid& obs, const VXMolBase& mol, double radius) {
  return fit(obs, mol, radius, kBoth);
}

std::vector<VXResidueFit> VXGetResidueFit(const VXSkewGrid& obs, const VXSkewGrid& calc, const VXMolBase& mol,
                                          double radius, VXTracerBase& tracer) {
  std::vector<VXResidueFit> rows;
  for_each_residue(
      obs, calc, mol, radius, kBoth,
      [&](const Residue& residue, const VXFitStatistics& found, unsigned int i, unsigned int total) {
        rows.push_back({residue.identity, found});
        return tracer.Progress(i, total);
      });
  return rows;
}

std::vector<VXResidueFit> VXGetResidueFit(const VXSkewGrid& obs, const VXMolBase& mol, double radius,
                                          VXTracerBase& tracer) {
  return VXGetResidueFit(obs, calculated(obs, mol), mol, radius, tracer);
}

}  // namespace VXCore
