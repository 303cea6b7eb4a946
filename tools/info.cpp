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

#include "map_values.h"
#include "verbs.h"

using namespace VXCore;
using VXXtal::VXSymmetry;
using VXXtal::VXUnitCell;

namespace {

/// What is known of one file: a line each for people, a field each for programs.
class Report {
 public:
  Report(const std::string& file, const char* kind, Json* json) : json_(json) {
    if (!json_) {
      std::printf("%s: %s\n", file.c_str(), kind);
      return;
    }
    json_->open_object();
    json_->field("file", file);
    json_->field("kind", kind);
  }
  ~Report() {
    if (json_) json_->close_object();
  }

  /// A value that reads the same for both.
  template <class T>
  void field(const char* key, const T& value) {
    if (json_)
      json_->field(key, value);
    else
      line(key, as_text(value));
  }
  template <class T>
  void list(const char* key, const T& values) {
    if (json_) {
      json_->list(key, values);
      return;
    }
    std::vector<std::string> words;
    for (const auto& each : values) words.push_back(as_text(each));
    line(key, join(words, " "));
  }
  void cell(const VXUnitCell& cell) {
    if (cell.isValid())
      list("cell", std::vector<float>{cell.a, cell.b, cell.c, cell.alpha, cell.beta, cell.gamma});
  }
  void group(int number, const std::string& name) {
    if (!json_) {
      line("group", text("%d %s", number, name.c_str()));
      return;
    }
    json_->open_object("group");
    json_->field("number", number);
    json_->field("name", name);
    json_->close_object();
  }
  void line(const char* key, const std::string& value) const {
    std::printf("  %-11s  %s\n", key, value.c_str());
  }
  Json* json() const { return json_; }

 private:
  static std::string as_text(const std::string& value) { return value; }
  static std::string as_text(const char* value) { return value; }
  static std::string as_text(double value) { return text("%.6g", value); }
  static std::string as_text(float value) { return text("%.6g", value); }
  static std::string as_text(unsigned value) { return std::to_string(value); }
  static std::string as_text(int value) { return std::to_string(value); }

  Json* json_;
};

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

void report_ccp4(const std::string& file, Json* json, const Settings& settings) {
  require_whole_ccp4(file);
  const LibraryLog log;
  VXHost::vxifstream in(file);
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

void report_other_map(const std::string& file, Json* json, const Settings& settings) {
  const VXSkewGrid grid = read_map(file, settings);
  Report report(file, "map", json);
  report.field("format", VXGetGridFormatString(grid.GetType()));
  report.list("dimensions", std::vector<unsigned>{grid.GetXDim(), grid.GetYDim(), grid.GetZDim()});
  report.list("middle", std::vector<float>{grid.GetXMid(), grid.GetYMid(), grid.GetZMid()});
  report.list("spacing", std::vector<float>(3, grid.GetSpacing()));
  put(report, MapStatistics(grid.GetValues(), grid.GetSize()));
}

void report_mtz(const std::string& file, Json* json) {
  const std::vector<MtzColumn> columns = read_columns(file);
  const LibraryLog log;
  VXHost::vxifstream in(file);
  VXReflection set;
  if (!VXReadReflectionMTZ(in, set, VXMTZColumnNames()))
    throw Failure(file, log.reason(file, "its reflections cannot be read"));
  const VXSymmetry& symmetry = set.GetSymmetry();
  const double low = set.GetData<double>("reslo");

  Report report(file, "mtz", json);
  report.cell(symmetry.cell());
  if (symmetry) report.group(static_cast<int>(symmetry.GetNumber()), symmetry.GetName());
  report.field("reflections", set.GetCount());
  const std::vector<MapChoice> maps = possible_maps(file);
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
  switch (kind_of(file)) {
    case FileKind::Map:
      if (VXGetGridFileType(VXGetFileExtension(file.c_str()).c_str()) == VXGridFormatCCP4)
        report_ccp4(file, json, settings);
      else
        report_other_map(file, json, settings);
      break;
    case FileKind::Mtz:
      report_mtz(file, json);
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
