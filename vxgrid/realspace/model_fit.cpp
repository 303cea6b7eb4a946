#include <vxgrid/realspace/model_fit.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/host/tracer.h>
#include <vxgrid/processing/grid_values.h>
#include <vxgrid/processing/make_grid.h>
#include <vxgrid/realspace/density.h>
#include <vxgrid/realspace/map_region.h>
#include <vxgrid/xtal/xtal_symmetry.h>

namespace VXCore {

using VXXtal::VXSymmetry;

namespace {

// Filled in for atoms whose file gives 0 (Å² and a fraction).
constexpr double kDefaultBFactor = 20.0;
constexpr double kDefaultOccupancy = 1.0;

// An atom of this B factor (Å²) reaches over 16 Å; nothing in a crystal has a larger one.
constexpr double kLargestBFactor = 10000.0;

// More atoms of crystal mates than this are not looked for.
constexpr double kMostMates = 3e8;

std::string cell_text(const VXXtal::VXUnitCell& cell) {
  char text[120];
  std::snprintf(text, sizeof text, "%.6g %.6g %.6g %.6g %.6g %.6g", cell.a, cell.b, cell.c, cell.alpha,
                cell.beta, cell.gamma);
  return text;
}

/// Fills in what atoms lack.
bool complete(VXMolBase& model) {
  if (!model || !VXHasResidues(model)) {
    VXThrow.Warning("the model has %s", model ? "no residue data (B factors, occupancies)" : "no atoms");
    return false;
  }
  unsigned int no_b = 0, no_occupancy = 0;
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(model.GetAtoms())) {
    const VXResidue& residue = VXAtomGetResidue(&atom);
    if (!(residue.GetBFactor() >= 0 && residue.GetBFactor() <= kLargestBFactor)) {
      VXThrow.Warning("the B factor %g of an atom of residue %s %d lies outside 0 to %g Å²",
                      residue.GetBFactor(), residue.GetChainId().c_str(), residue.GetNumber(),
                      kLargestBFactor);
      return false;
    }
    no_b += residue.GetBFactor() == 0;
    no_occupancy += residue.GetOccupancy() == 0;
  }
  VXSetScatterDefaults(model, kDefaultBFactor, kDefaultOccupancy, 12);
  if (no_b) VXThrow.Warning("%u atoms have a B factor of 0; taken as %g", no_b, kDefaultBFactor);
  if (no_occupancy)
    VXThrow.Warning("%u atoms have an occupancy of 0; taken as %g", no_occupancy, kDefaultOccupancy);
  return true;
}

/// In units of its sigma, as a map made from reflections is; a header without one leaves it to be computed.
void normalize(VXSkewGrid& map) {
  VXZemoGrid& inner = map.GetImpl().GetImpl();
  if (inner.HasData("SIGMA") && inner.GetData<bool>("vx_no_norm")) return;
  if (!(inner.GetData<float>("ARMS") > 0)) inner.DeleteData("ARMS");
  VXSigmaNormalizeGrid(map);
}

VXSymmetry model_symmetry(VXMolBase& model) {
  const VXMessageCapture unheard;
  VXSymmetry symmetry;
  if (VXHasCrystalSymmetryImpl(model) && VXXtal::VXSetXtalSymmetryFromPDBData(model))
    VXXtal::VXGetXtalSymmetry(model, symmetry);
  return symmetry;
}

/// The symmetry that the model is scored with: its own CRYST1 where that has the cell of the map, else the
/// map's.
bool agree_on_symmetry(const VXSkewGrid& map, VXMolBase& model, VXSymmetry& symmetry) {
  const VXSymmetry of_map = VXGetMapSymmetry(map);
  symmetry = model_symmetry(model);
  if (symmetry && (!of_map || of_map.cell().equalsCell(symmetry.cell(), 0.02f * of_map.cell().a)))
    return true;
  if (of_map) {
    const std::string why =
        symmetry ? "the cell " + cell_text(symmetry.cell()) + " of its CRYST1 record is another"
                 : "no usable CRYST1 record";
    VXThrow.Warning("%s; group %u %s and cell %s of the map are taken", why.c_str(), of_map.GetNumber(),
                    of_map.GetName().c_str(), cell_text(of_map.cell()).c_str());
    VXXtal::VXXtalSymmetry::SetSymmetry(model, of_map, false);
    VXXtal::VXSetPDBDataFromXtalSymmetry(model);
  } else if (map.HasSpaceGroup()) {
    VXThrow.Warning(
        "no usable CRYST1 record, and group %u of the map does not fit its cell: give the model a CRYST1 "
        "record (P 1 when there is no symmetry)",
        map.GetSpaceGroup());
    return false;
  }
  symmetry = of_map;
  return true;
}

bool cut_box(VXSkewGrid& map, const VXMolBase& model, double radius) {
  const float margin = static_cast<float>(std::max(4.0, radius + 1));
  const std::optional<VXMapCoverage> coverage = VXCutModelBox(map, VXGetMapSymmetry(map), model, margin);
  if (!coverage) {
    VXThrow.Warning(
        "no box can be cut out of the map: the atoms lie too far from each other or at no place, or it has "
        "one sample");
    return false;
  }
  if (coverage->inside == 0) {
    VXThrow.Warning("far away from the map: none of its %u atoms lies inside", coverage->atoms);
    return false;
  }
  if (coverage->inside < coverage->atoms)
    VXThrow.Warning("%u of %u atoms lie outside the map, where it counts as 0",
                    coverage->atoms - coverage->inside, coverage->atoms);
  return true;
}

/// False for a cell so small that the mates about the model would be too many.
bool is_bearable(const VXSkewGrid& map, const VXSymmetry& symmetry, const VXMolBase& model) {
  if (!symmetry) return true;
  float centre[3], extents[3];
  VXGetCenterAndExtents(map, centre, extents);
  const double reach = 2.0 * std::max({extents[0], extents[1], extents[2]});
  double mates = static_cast<double>(model.NumAtoms()) * symmetry.GetOpCount();
  const float* m = symmetry.cell().Cart2Frac();
  for (int axis = 0; axis < 3; ++axis) mates *= 1 + reach * std::hypot(m[axis], m[4 + axis], m[8 + axis]);
  if (mates <= kMostMates) return true;
  VXThrow.Warning("the cell %s is too small for a model of this size", cell_text(symmetry.cell()).c_str());
  return false;
}

bool is_scored(const VXResidueFit& each) { return std::isfinite(each.fit.rscc) && each.fit.rscc != -1.0; }

}  // namespace

bool VXFitModel(VXModelFit& fit, VXSkewGrid map, const VXMolBase& given, double radius,
                VXTracerBase& tracer) {
  VXGraphMol model(given);
  VXSymmetry symmetry;
  normalize(map);
  if (!complete(model) || !agree_on_symmetry(map, model, symmetry) || !cut_box(map, model, radius) ||
      !is_bearable(map, symmetry, model))
    return false;

  {
    const VXMessageCapture unheard;  // of residues without a score, which are counted instead
    fit.whole = VXGetFitStatistics(map, model, radius);
    fit.residues = VXGetResidueFit(map, model, radius, tracer);
  }
  const auto failed = static_cast<std::size_t>(std::count_if(
      fit.residues.begin(), fit.residues.end(), [](const auto& row) { return !is_scored(row); }));
  constexpr char kWhy[] = "fewer than two grid points within the mask radius, or no density there";
  if (failed == fit.residues.size())
    VXThrow.Warning("no residue could be scored: %s", kWhy);
  else if (failed)
    VXThrow.Warning("%zu residues not scored: %s; a larger radius may help", failed, kWhy);
  return failed < fit.residues.size();
}

}  // namespace VXCore
