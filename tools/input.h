#pragma once

#include <optional>
#include <string>
#include <vector>

#include <molio/read_molecule.h>
#include <vxgrid/grid/skewgrid.h>
#include <vxgrid/host/molecule.h>
#include <vxgrid/reflection/mtz.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/xtal/symmetry.h>

#include "map_file.h"
#include "report.h"

/// Failure for coordinates whose format no extension tells, such as those from standard input.
void require_model_name(const std::string& file);

/// Reads a model; Failure when there are no atoms in it.
VXCore::VXGraphMol read_model(const std::string& file, const Settings& settings,
                              VXCore::VXAlternates alternates = VXCore::VXAlternates::Best);

/// The same; Failure when the file has no residue data.
VXCore::VXGraphMol read_crystal_model(const std::string& file, const Settings& settings,
                                      VXCore::VXAlternates alternates = VXCore::VXAlternates::Best);

/// The group and the cell of a model's CRYST1 record; empty when there is no usable one.
VXCore::VXXtal::VXSymmetry model_symmetry(VXCore::VXGraphMol& model);

/// Writes a text file (write_file).
void write_text(const std::string& file, const std::string& text);

/// Options of the verbs that make a map from reflections.
struct MapOptions {
  std::string type;     // empty for Fwt
  std::string columns;  // "AMPLITUDE,PHASE", or empty for the usual labels
  std::string fft;      // "fftw2", "pocketfft", or empty for the faster one

  std::string type_or_default() const { return type.empty() ? "Fwt" : type; }
  bool any() const { return !type.empty() || !columns.empty() || !fft.empty(); }
};

/// The map types that MapOptions::type may name.
std::vector<std::string> map_types();

/// One column of an MTZ file, with its one-letter type.
struct MtzColumn {
  std::string label;
  char type;
};

/// The columns of an MTZ file in file order, from a stream at its start, where it stands again afterwards;
/// Failure when the header is not whole.
std::vector<MtzColumn> read_columns(const std::string& file, VXHost::vxistream& in);

/// The label of the column of free flags, which the library does not read; empty when there is none.
std::string free_flags_of(const std::vector<MtzColumn>& columns);

/// The map types whose columns are there, with the labels that each one takes.
struct MapChoice {
  std::string type;
  std::vector<std::string> labels;
};
std::vector<MapChoice> possible_maps(const std::string& file, VXHost::vxistream& in);

struct MtzMap {
  VXCore::VXSkewGrid grid;          // one cell, in units of its sigma
  std::vector<std::string> labels;  // of the columns that it was made from
};
MtzMap make_map(const std::string& file, InputFile& input, const MapOptions& options,
                const Settings& settings);

struct MtzReflections {
  VXCore::VXReflection set;
  std::string label;       // of the column of observed amplitudes
  std::string free_flags;  // free_flags_of the file
};
/// Reads an MTZ file; `label` is empty for the usual one. Failure without that column, reflections or group.
MtzReflections read_reflections(const std::string& file, const std::string& label, const Settings& settings);

/// "71.45 71.45 104.204 90 90 120".
std::string cell_text(const VXCore::VXXtal::VXUnitCell& cell);
