// How well does each residue of a model fit the map of its data?
//
//     fit_residues MODEL.pdb DATA.mtz

#include <cstdio>

#include <molio/read_molecule.h>
#include <vxgrid/vxgrid.h>

using namespace VXCore;

int main(int argc, char** argv) {
  VXGraphMol model;
  VXSkewGrid map;
  double resolution = 0.0;
  if (argc != 3 || !VXReadMolecule(argv[1], model) || !VXReadMTZ(argv[2], map, VXMTZMapType::Fwt) ||
      !VXGetResolution(resolution, map))
    return 1;

  VXTracerBase progress;
  const double radius = VXGetEDSRadius(resolution);
  for (const auto& [residue, fit] : VXGetResidueFit(map, model, radius, progress))
    std::printf("%s %4d %-3s  RSCC %6.3f  RSR %5.3f\n", residue.GetChainId().c_str(), residue.GetNumber(),
                residue.GetName().c_str(), fit.rscc, fit.rsr);
  return 0;
}
