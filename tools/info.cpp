#include <algorithm>
#include <cmath>
#include <set>

#include <vxgrid/formats/ccp4.h>
#include <vxgrid/grid/grid_format.h>
#include <vxgrid/host/residue.h>
#include <vxgrid/host/text.h>
#include <vxgrid/realspace/density.h>
#include <vxgrid/reflection/reflection.h>
#include <vxgrid/xtal/spacegroup.h>
#include <vxgrid/xtal/xtal_symmetry.h>

#include "file_report.h"
#include "map_values.h"
#include "reflection_file.h"
#include "verbs.h"

using namespace VXCore;
using VXXtal::VXSymmetry;
using VXXtal::VXUnitCell;

namespace {

void put(Report& report, const MapStatistics& statistics) {
  report.field("min", statistics.lowest);
  report.field("max", statistics.highest);
  report.field("mean", statistics.mean);
  report.field("rms", statistics.rms);
  if (statistics.not_finite) report.field("not_finite", statistics.not_finite);
}

/// Name of the first row of the table with this number; "?" when there is none.
std::string group_name(unsigned number) {
  for (const SGRecord& group : sglib)
    if (group.number == number) return group.long_name;
  return "?";
}

void report_ccp4(const std::string& file, VXHost::vxistream& in, Json* json, const Settings& settings) {
  require_whole_ccp4(file, in);
  const LibraryLog log;
  VXCCP4Map map;
  if (!map.Read(in)) throw Failure(file, log.reason(file, "cannot be read as a CCP4 map"));
  log.pass_on(settings, file);

  const int on_axis[] = {map.MAPC, map.MAPR, map.MAPS};
  const int counts[] = {map.NC, map.NR, map.NS}, starts[] = {map.NCSTART, map.NRSTART, map.NSSTART};
  int dims[3] = {}, start[3] = {};
  std::vector<std::string> axes;
  for (int i = 0; i < 3; ++i) {
    dims[on_axis[i] - 1] = counts[i];
    start[on_axis[i] - 1] = starts[i];
    axes.emplace_back(1, "xyz"[on_axis[i] - 1]);
  }
  const int sampling[] = {map.NX, map.NY, map.NZ};
  const VXUnitCell cell(map.a, map.b, map.c, map.alpha, map.beta, map.gamma);

  Report report(file, "map", json);
  report.field("format", VXGetGridFormatString(VXGridFormatCCP4));
  report.field("mode", map.MODE);
  report.list("dimensions", dims);
  report.list("start", start);
  report.list("sampling", sampling);
  report.list("axes", axes);
  report.cell(cell);
  report.group(map.ISPG, map.ISPG > 0 ? group_name(static_cast<unsigned>(map.ISPG)) : "none");
  if (sampling[0] > 0 && sampling[1] > 0 && sampling[2] > 0)
    report.list("spacing",
                std::vector<float>{map.a / static_cast<float>(map.NX), map.b / static_cast<float>(map.NY),
                                   map.c / static_cast<float>(map.NZ)});
  put(report, MapStatistics(map.data.data(), map.data.size()));
}

void report_other_map(const std::string& file, InputFile& input, Json* json, const Settings& settings) {
  const VXSkewGrid grid = read_map(file, input, settings);
  const VXZemoGrid& inner = grid.GetImpl().GetImpl();
  Report report(file, "map", json);
  report.field("format", input.format().title);
  if (!grid.GetTitle().empty()) report.field("title", grid.GetTitle());
  report.list("dimensions", std::vector<unsigned>{grid.GetXDim(), grid.GetYDim(), grid.GetZDim()});
  report.list("middle", std::vector<float>{grid.GetXMid(), grid.GetYMid(), grid.GetZMid()});
  std::vector<float> spacing(3, grid.GetSpacing());
  std::vector<unsigned> steps(3);
  if (has_crystal_cell(grid) && inner.GetUnitSpacing(steps[0], steps[1], steps[2])) {
    float six[6];
    grid.GetUnitCell(six[0], six[1], six[2], six[3], six[4], six[5]);
    for (size_t axis = 0; axis < 3; ++axis) spacing[axis] = six[axis] / static_cast<float>(steps[axis]);
    report.list("sampling", steps);
    report.cell(VXUnitCell(six));
  }
  if (grid.GetSpaceGroup())
    report.group(static_cast<int>(grid.GetSpaceGroup()), group_name(grid.GetSpaceGroup()));
  report.list("spacing", spacing);
  if (const unsigned fields = inner.GetFloats().GetNumGrids(); fields > 1) report.field("fields", fields);
  if (const std::vector<std::string> names = attributes_of(grid); !names.empty())
    report.list("attributes", names);
  put(report, MapStatistics(grid.GetValues(), grid.GetSize()));
}

void report_mtz(const std::string& file, VXHost::vxistream& in, Json* json) {
  const std::vector<MtzColumn> columns = read_columns(file, in);
  const LibraryLog log;
  VXReflection set;
  if (!VXReadReflectionMTZ(in, set, VXMTZColumnNames()))
    throw Failure(file, log.reason(file, "its reflections cannot be read"));
  const VXSymmetry& symmetry = set.GetSymmetry();
  const double low = set.GetData<double>("reslo");

  Report report(file, "mtz", json);
  report.cell(symmetry.cell());
  if (symmetry) report.group(static_cast<int>(symmetry.GetNumber()), symmetry.GetName());
  report.field("reflections", set.GetCount());
  in.seek(0);
  const std::vector<MapChoice> maps = possible_maps(file, in);
  if (!json) {
    report.line("resolution",
                text("%.2f - %.2f Å", low > 0 ? 1 / std::sqrt(low) : INFINITY, set.GetResolution()));
    std::vector<std::string> words;
    for (const MtzColumn& column : columns) words.push_back(column.label + ":" + column.type);
    report.line("columns", join(words, " "));
    words.clear();
    for (const MapChoice& map : maps) words.push_back(map.type + " (" + join(map.labels, ", ") + ")");
    report.line("maps", words.empty() ? "none with the usual labels" : join(words, "; "));
    return;
  }
  json->open_object("resolution");
  json->field("low", low > 0 ? 1 / std::sqrt(low) : INFINITY);
  json->field("high", set.GetResolution());
  json->close_object();
  json->open_array("columns");
  for (const MtzColumn& column : columns) {
    json->open_object();
    json->field("label", column.label);
    json->field("type", std::string(1, column.type));
    json->close_object();
  }
  json->close_array();
  json->open_array("maps");
  for (const MapChoice& map : maps) {
    json->open_object();
    json->field("type", map.type);
    json->list("columns", map.labels);
    json->close_object();
  }
  json->close_array();
}

void report_model(const std::string& file, Json* json, const Settings& settings) {
  require_model_name(file);
  VXGraphMol model = read_model(file, settings);
  unsigned residues = 0, hydrogens = 0;
  std::vector<std::string> chains;
  for (const VXResidue& residue : VXGetResidues(model)) {
    ++residues;
    if (std::find(chains.begin(), chains.end(), residue.GetChainId()) == chains.end())
      chains.push_back(residue.GetChainId());
  }
  for (const VXAtomBase& atom : VXIter<VXAtomBase>(model.GetAtoms())) hydrogens += atom.GetAtomicNum() == 1;

  Report report(file, "model", json);
  report.field("atoms", model.NumAtoms());
  report.field("hydrogens", hydrogens);
  report.field("residues", residues);
  report.list("chains", chains);
  const LibraryLog log;
  float six[6];
  std::string name;
  unsigned z = 0;
  if (VXXtal::VXExtractCRYST1(model, six, name, z)) {
    report.cell(VXUnitCell(six));
    if (const VXSymmetry symmetry(name, VXUnitCell(six)); symmetry)
      report.group(static_cast<int>(symmetry.GetNumber()), symmetry.GetName());
  }
  double resolution = 0;
  if (VXGetResolution(resolution, model)) report.field("resolution", resolution);
}

void report_file(const std::string& file, Json* json, const Settings& settings) {
  InputFile input(file);
  switch (input.format().kind) {
    case FileKind::Map:
      if (input.format().id == Format::CCP4)
        report_ccp4(file, input.stream(), json, settings);
      else
        report_other_map(file, input, json, settings);
      break;
    case FileKind::Mtz:
      report_mtz(file, input.stream(), json);
      break;
    case FileKind::Reflections:
      report_reflections(file, input.format(), read_reflection_file(file, input, settings).set, json);
      break;
    case FileKind::Model:
      report_model(file, json, settings);
      break;
  }
}

}  // namespace

/// Goes on behind a file that cannot be read, and fails at the end.
void info(const InfoOptions& options, const Settings& settings) {
  Json json;
  json.open_array();
  const std::vector<Failure> failures = try_each(options.files, [&](const std::string& file) {
    report_file(file, settings.json ? &json : nullptr, settings);
  });
  json.close_array();
  if (settings.json) json.print();
  throw_last(failures);
}
