// What an outside project does first: a model, a map from reflections, one score.

#include <cstdio>
#include <string>

#include <molio/read_molecule.h>
#include <vxgrid/vxgrid.h>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::string name = std::string(argv[1]) + "/4hg7";
  VXCore::VXGraphMol model;
  VXCore::VXSkewGrid map;
  if (!VXCore::VXReadMolecule(name + ".pdb", model)) return 1;
  if (!VXCore::VXReadMTZ(name + ".mtz", map, VXCore::VXMTZMapType::Fwt)) return 1;
  double resolution = 0;
  VXCore::VXGetResolution(resolution, map);
  const double rscc = VXCore::VXRSCC(map, model, VXCore::VXGetEDSRadius(resolution));
  std::printf("RSCC %.3f\n", rscc);
  return rscc > 0.8 ? 0 : 1;
}
