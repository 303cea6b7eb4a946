#include "map_file.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <cstdlib>

#include <vxgrid/exchange/grid_json.h>
#include <vxgrid/exchange/grid_records.h>
#include <vxgrid/formats/grasp.h>
#include <vxgrid/formats/gridio.h>
#include <vxgrid/grid/grid_format.h>
#include <vxgrid/host/error_handler.h>
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

/// Whether a JSON document brings the lattice of a grid back: the cell sets it, with one step a sample along
/// each edge, and with beta in the place of gamma.
bool json_holds_lattice(const VXSkewGrid& grid) {
  const VXZemoGrid& inner = grid.GetImpl().GetImpl();
  float a, b, c, alpha, beta, gamma;
  unsigned x, y, z;
  inner.GetUnitCell(a, b, c, alpha, beta, gamma);
  return inner.HasUnitCell() && inner.GetUnitSpacing(x, y, z) && x == grid.GetXDim() && y == grid.GetYDim() &&
         z == grid.GetZDim() && beta == gamma;
}

bool holds_lattice(const FileFormat& format, const VXSkewGrid& grid) {
  switch (format.id) {
    case Format::CCP4:
    case Format::GRD:
    case Format::Native:
      return true;
    case Format::JSON:
      return grid.IsRegular() || json_holds_lattice(grid);
    default:
      return grid.IsRegular();
  }
}

// --- reading ---

bool has_cell(const std::string& text) {
  if (text.find("\"unitcell\"") == text.npos) return false;
  VXJSONDocument document;
  return JSONParseHelper(document, text) && document.IsObject() && document.HasMember("unitcell");
}

bool read_json(VXHost::vxistream& in, VXSkewGrid& grid) {
  std::string text;
  in.read(text, in.max_bytes_left());
  if (has_cell(text)) {
    const bool read = VXJSONToGrid(grid, text);
    VXCopyBaseData(grid.GetImpl().GetImpl(), grid);
    return read;
  }
  VXScalarGrid plain;
  if (!VXJSONToGrid(plain, text)) return false;
  grid = plain_map(plain);
  return true;
}

bool read_native(VXHost::vxistream& in, VXSkewGrid& grid) {
  VXBinaryIOHandler handler;
  VXInitGridHandlers(handler);
  std::string tag;
  VXBReadTag(in, tag);
  in.seek(0);
  unsigned status = VXBDone;
  if (tag == "VXScalarGrid") {
    VXScalarGrid plain;
    status = VXBinaryRead(in, plain, handler);
    grid = plain_map(plain);
  } else if (tag == "VXSkewGrid") {
    status = VXBinaryRead(in, grid, handler);
  } else if (tag == "VXZemoGrid") {
    VXZemoGrid& whole = grid.GetImpl().GetImpl();  // read into the skew grid, its faults would not show
    status = VXBinaryRead(in, whole, handler);
    VXCopyBaseData(grid, whole);
  } else {
    VXThrow.Warning("its first record is no grid but \"%s\"", tag.c_str());
    return false;
  }
  if (status != VXBDone) VXThrow.Warning("its record is cut off or damaged (status %u)", status);
  if (status == VXBDone && in) VXThrow.Warning("what follows its first record is left aside");
  return status == VXBDone;
}

bool read_library_format(VXHost::vxistream& in, VXSkewGrid& grid, unsigned code) {
  const bool read = VXReadGrid(in, grid, code);
  // These are the names that the readers of maps give, not those of files.
  if (code == VXGridFormatCCP4 || code == VXGridFormatXPLOR) grid.SetTitle("");
  VXCopyBaseData(grid, grid.GetImpl().GetImpl());
  return read;
}

/// The library takes whatever is there of a GRASP map; here one that is not whole, or something else under
/// that extension, is a Failure. The stream stands at its start afterwards.
void require_whole_grasp(const std::string& file, VXHost::vxistream& in) {
  constexpr char kFirstText[] = "now starting phimap ";
  constexpr int kTextLength = sizeof kFirstText - 1;
  // Five records, each between its length and its length: three texts, the samples, scale and midpoint.
  constexpr unsigned long kBytes =
      4ul * kGraspDim * kGraspDim * kGraspDim + kTextLength + 70 + 16 + 4 * 4 + 5 * 8;
  std::string head;
  in.read(head, 4 + kTextLength);
  require_undamaged(file, in);
  if (word(head, 0) == kTextLength)
    throw Failure(file, "its numbers are little-endian; GRASP maps are read with big-endian ones");
  if (word(head, 0, true) != kTextLength || head.substr(4) != kFirstText)
    throw Failure(file, text("not a GRASP map: they begin with \"%s\"", kFirstText));
  if (!in.seek(kBytes - 1) || in.getbyte() < 0)
    throw Failure(file, text("the map is cut off: a GRASP map has %lu bytes", kBytes));
  in.seek(0);
}

// --- writing ---

bool write_json(VXHost::vxostream& out, const VXScalarGrid& grid) {
  return !(out << VXGridToJSON(grid, VXJSONFlagBaseData) << "\n").fail();
}

/// A lattice that its cell does not bring back goes out as that of a plain grid; only a regular one comes
/// here.
bool write_json(VXHost::vxostream& out, const VXSkewGrid& grid) {
  if (!json_holds_lattice(grid)) return write_json(out, regular_map("the map", grid));
  return !(out << VXGridToJSON(grid, VXJSONFlagBaseData) << "\n").fail();
}

template <class Grid>
bool write_native(VXHost::vxostream& out, const Grid& grid) {
  VXBinaryIOHandler handler;
  VXInitGridHandlers(handler);
  return VXBinaryWrite(out, grid, handler);
}

// --- what is lost ---

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

bool has_crystal_cell(const VXSkewGrid& grid) {
  return grid.HasUnitCell() && (grid.GetSpaceGroup() != 0 || !grid.IsRegular() || !json_holds_lattice(grid));
}

void require_whole_ccp4(const std::string& file, VXHost::vxistream& in) {
  constexpr size_t kHeader = 1024;
  std::string head;
  in.read(head, kHeader);
  require_undamaged(file, in);
  if (head.size() < kHeader)
    throw Failure(file, text("not a CCP4 map: its header has 1024 bytes, here are %zu", head.size()));

  const bool swap = std::abs(static_cast<long long>(word(head, 0, false))) > 131072;
  const int mode = word(head, 3, swap);
  long long samples = 1;
  for (size_t axis = 0; axis < 3; ++axis) {
    const int count = word(head, axis, swap), on_axis = word(head, 16 + axis, swap);
    if (count < 1 || on_axis < 1 || on_axis > 3 || mode < 0)
      throw Failure(file, "not a CCP4 map: its header makes no sense");
    samples = std::min(samples * count, 1LL << 40);
  }
  if (mode != 0 && mode != 2)
    throw Failure(file,
                  text("samples of mode %d; CCP4 maps of mode 2 (floats) and 0 (bytes) are read", mode));
  const long long records = std::max(0, word(head, 23, swap)) / 80;
  const long long end = static_cast<long long>(kHeader) + 80 * records + samples * (mode == 2 ? 4 : 1);
  if (in.tell() < static_cast<unsigned long long>(end))
    throw Failure(file, text("the map is cut off: its header announces %lld bytes", end));
  in.seek(0);
}

VXSkewGrid read_map(const std::string& file, InputFile& input, const Settings& settings) {
  if (input.format().kind != FileKind::Map) throw Failure(file, "not a map");
  if (input.format().id == Format::CCP4) require_whole_ccp4(file, input.stream());
  if (input.format().id == Format::Grasp) require_whole_grasp(file, input.stream());
  const LibraryLog log;
  VXSkewGrid grid;
  const bool read = input.format().id == Format::JSON ? read_json(input.stream(), grid)
                    : input.format().id == Format::Native
                        ? read_native(input.stream(), grid)
                        : read_library_format(input.stream(), grid, input.format().code);
  require_undamaged(file, input.stream());
  if (!read) throw Failure(file, log.reason(file, "cannot be read as a map"));
  if (!grid.GetValues())
    throw Failure(file, text("it holds %s, which makes no map", grid.GetSize() ? "one point" : "no point"));
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
  write_file(file, [&](VXHost::vxostream& out) {
    if (format.id == Format::JSON) return write_json(out, grid);
    if (format.id == Format::Native) return write_native(out, grid);
    return VXWriteGrid(out, grid, format.code);
  });
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
  if (!holds_lattice(format, grid)) {
    grid = plain_map(regular_map(source, grid));
    if (grid.HasData(ARMS)) renew_statistics(grid);
    note(settings, source + ": brought onto a regular grid, which is all that " + target + " holds");
  }
  if (format.id == Format::CCP4 && grid.GetSpaceGroup() == 0) {
    if (has_crystal_cell(grid) && grid.SetSpaceGroup(1))
      note(settings, source + ": has no space group; written as P 1");
    else
      note(settings, source + ": interpolated onto the lattice that plain grids have in CCP4 maps");
  }
  // Without statistics the header of a crystal's map would tell a mean of 0 and an r.m.s. of 1.
  if (format.id == Format::CCP4 && grid.GetSpaceGroup() != 0 && !grid.GetImpl().GetImpl().HasData(ARMS))
    renew_statistics(grid);
  if (format.id == Format::Grasp)
    note(settings, source + ": interpolated onto the 65 x 65 x 65 points of " + target);
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
  if (has_crystal_cell(grid) && (!keeps.cell || (format.id == Format::JSON && !json_holds_lattice(grid))))
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
