#include "map_file.h"

#include <algorithm>

#include <vxgrid/formats/grasp.h>
#include <vxgrid/processing/grid_values.h>

#include "map_values.h"
#include "model_grid.h"

using namespace VXCore;

namespace {

/// What a format holds of a grid beside values, spacing and midpoint.
struct Keeps {
  Format format;
  bool title, cell, group, statistics, fields, attributes;
};
// clang-format off
constexpr Keeps kKeeps[] = {
  {Format::CCP4,   false, true,  true,  true,  false, false},
  {Format::XPLOR,  false, true,  false, false, false, false},
  {Format::Grasp,  false, false, false, false, false, false},
  {Format::GRD,    true,  true,  true,  false, true,  false},
  {Format::Ascii,  true,  false, false, false, false, false},
  {Format::JSON,   true,  true,  false, true,  false, true},
  {Format::Native, true,  true,  true,  true,  true,  true},
};
// clang-format on

const Keeps& keeps_of(const FileFormat& format) {
  return *std::find_if(std::begin(kKeeps), std::end(kKeeps),
                       [&](const Keeps& each) { return each.format == format.id; });
}

bool is_statistic(const std::string& name) {
  return name == AMIN || name == AMAX || name == AMEAN || name == ARMS;
}

bool has_integers(const VXZemoGrid& grid) {
  const VXMultiGrid<int>& integers = grid.GetIntegers();
  const int* const values = integers.GetValues();
  return grid.GetIntegersSet() &&
         std::any_of(values, values + integers.GetSize(), [](int v) { return v != 0; });
}

}  // namespace

bool has_crystal_cell(const VXSkewGrid& grid) { return VXHasCrystalCell(grid.GetImpl().GetImpl()); }

void require_whole_ccp4(const std::string& file, VXHost::vxistream& in) {
  const LibraryLog log;
  if (!VXIsWholeGridFile(in, VXGridFormatCCP4)) throw Failure(file, log.reason(file, "not a CCP4 map"));
}

VXSkewGrid read_map(const std::string& file, InputFile& input, const Settings& settings) {
  if (input.format().kind != FileKind::Map) throw Failure(file, "not a map");
  const LibraryLog log;
  VXSkewGrid grid;
  if (!VXReadGridFile(input.stream(), grid, input.format().code))
    throw Failure(file, log.reason(file, "cannot be read as a map"));
  log.pass_on(settings, file);
  return grid;
}

VXSkewGrid read_map(const std::string& file, const Settings& settings, const std::string& from) {
  InputFile input(file, from);
  return read_map(file, input, settings);
}

const FileFormat& output_format(const std::string& file, const std::string& to) {
  const FileFormat* const format = to.empty() ? format_by_extension(file) : format_named(to);
  if (!format || format->kind != FileKind::Map || !format->is_written)
    throw Failure(file, "no map is written under this extension; those of maps are " +
                            extensions_of(FileKind::Map, true));
  return *format;
}

void require_map_extension(const std::string& file) { output_format(file); }

void require_attributes(const std::string& file, const char* what) {
  const FileFormat& format = output_format(file);
  if (keeps_of(format).attributes) return;
  std::vector<std::string> keepers;
  for (const std::string& name : format_names(FileKind::Map, true))
    if (keeps_of(*format_named(name)).attributes) keepers.push_back("." + name);
  throw Failure(file,
                text("the %s format keeps no %s; %s do", format.title, what, join(keepers, ", ").c_str()));
}

template <class Grid>
void write_map(const std::string& file, const Grid& grid, const FileFormat& format) {
  write_file(file, [&](VXHost::vxostream& out) { return VXWriteGridFile(out, grid, format.code); });
}
template void write_map(const std::string&, const VXSkewGrid&, const FileFormat&);
template void write_map(const std::string&, const VXScalarGrid&, const FileFormat&);

void fit_to_format(const std::string& file, const std::string& source, VXSkewGrid& grid,
                   const Settings& settings, const std::string& to) {
  const FileFormat& format = output_format(file, to);
  VXZemoGrid& inner = grid.GetImpl().GetImpl();
  // GRD files end at the current field.
  if (format.id == Format::GRD) {
    inner.SetFloatsMultiple(inner.GetFloats().GetNumGrids());
    inner.SetIntegersMultiple(inner.GetIntegers().GetNumGrids());
  }
  const std::string target = file == "-" ? std::string("this format") : "the format of " + file;
  if (!VXHoldsLattice(format.code, inner)) {
    grid = VXMakePlainSkewGrid(regular_map(source, grid));
    if (grid.HasData(ARMS)) renew_statistics(grid);
    note(settings, source + ": brought onto a regular grid, which is all that " + target + " holds");
  }
  if (const std::string change = VXChangeInFile(format.code, grid.GetImpl().GetImpl()); !change.empty())
    note(settings, source + ": " + change);
  if (format.id == Format::CCP4 && grid.GetSpaceGroup() == 0 && has_crystal_cell(grid)) grid.SetSpaceGroup(1);
  // Without statistics the header of a crystal's map would tell a mean of 0 and an r.m.s. of 1.
  if (format.id == Format::CCP4 && grid.GetSpaceGroup() != 0 && !grid.GetImpl().GetImpl().HasData(ARMS))
    renew_statistics(grid);
}

std::vector<std::string> attributes_of(const VXSkewGrid& grid) {
  std::vector<std::string> names;
  for (const VXBase* each :
       {static_cast<const VXBase*>(&grid), static_cast<const VXBase*>(&grid.GetImpl().GetImpl())})
    if (each->GetBaseImpl())
      for (const auto& data : each->GetBaseImpl()->GetAll()) {
        const std::string name = VXGetTag(data->GetTag());
        if (!is_statistic(name) && name != "vx_symm" &&
            std::find(names.begin(), names.end(), name) == names.end())
          names.push_back(name);
      }
  return names;
}

std::string losses(const VXSkewGrid& grid, const FileFormat& format) {
  const Keeps& keeps = keeps_of(format);
  const VXZemoGrid& inner = grid.GetImpl().GetImpl();
  std::vector<std::string> lost;
  if (!keeps.title && !grid.GetTitle().empty()) lost.emplace_back("the title");
  if (has_crystal_cell(grid) && (!keeps.cell || (format.id == Format::JSON && !VXDocumentHoldsCell(inner))))
    lost.emplace_back("the cell");
  if (!keeps.group && grid.GetSpaceGroup() != 0) lost.emplace_back("the space group");
  const bool is_interpolated =
      format.id == Format::CCP4 && grid.GetSpaceGroup() == 0 && !has_crystal_cell(grid);
  if ((!keeps.statistics || is_interpolated) && inner.HasData(ARMS)) lost.emplace_back("the statistics");
  if (const unsigned fields = inner.GetFloats().GetNumGrids(); !keeps.fields && fields > 1)
    lost.push_back(text("%u of %u fields", fields - 1, fields));
  if (!keeps.fields && has_integers(inner)) lost.emplace_back("the integers");
  if (const std::vector<std::string> names = attributes_of(grid); !keeps.attributes && !names.empty())
    lost.push_back("attributes (" + join(names, ", ") + ")");
  return join(lost, ", ");
}

void report_map(const std::string& file, const VXGridAbstractBase& grid, const Settings& settings,
                const std::string& to) {
  const FileFormat& format = output_format(file, to);
  const bool is_grasp = format.id == Format::Grasp;
  const unsigned dims[] = {is_grasp ? kGraspDim : grid.GetXDim(), is_grasp ? kGraspDim : grid.GetYDim(),
                           is_grasp ? kGraspDim : grid.GetZDim()};
  if (file == "-") return;  // its place is taken by the map
  if (!settings.json) {
    std::printf("%s: %s, %u x %u x %u points\n", file.c_str(), format.title, dims[0], dims[1], dims[2]);
    return;
  }
  Json json;
  json.open_object();
  json.field("file", file);
  json.field("format", format.title);
  json.list("dimensions", dims);
  json.close_object();
  json.print();
}
